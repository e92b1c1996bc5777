// One drape: the call of the library, with arrays of a fitting size.
#pragma once

#include "host/cloth/grid.h"
#include "host/cloth/mould.h"
#include "host/cloth/start.h"

namespace drape::host {

// Looks on while a run is under way, from the caller's thread or one of its own.
class RunWatch {
public:
    virtual ~RunWatch() = default;

    // `nodes` counts the nodes that stand; it changes until `ended` and has to be read atomically.
    virtual void begun(std::int32_t& nodes, double expectedNodes) = 0;
    virtual void ended() = 0;
};

// Nodes beyond which a drape is given up unless the caller says otherwise: several layers all over the mould,
// as cloth makes that winds round and round it, and never more than a common machine holds with ease.
std::int32_t usualMostNodes(const Mould& mould, const Choice& choice);

// Fills `choice.nodeCapacity` in. Runs again with more room if the nodes don't suffice, up to `mostNodes`.
// `watch` can be null. Throws InputError (closed) if the mould has no edge.
Grid runDrape(const Mould& mould, Choice& choice, std::int32_t mostNodes, RunWatch* watch);

// Cells that a mould of this area will take, roughly.
double expectedCells(const Mould& mould, const Choice& choice);

} // namespace drape::host
