// The library's status codes in words: what happened, and what kind of remedy there is. Each face says in its
// own terms (options, arguments, buttons) how to take it.
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>

namespace drape::host {

enum class Remedy {
    none,
    otherStart,            // another seed or angle, squarer cells, a smaller patch
    finerOrOther,          // another seed or angle, or another step
    checkMesh,             // the outline isn't one clean loop
    reportFault,           // shouldn't happen on a sound mesh
    moreNodes,             // room for more nodes
    moreNodesOrLargerStep, // the same, or cloth that winds round the mould
    otherSeed,             // the seed lies badly
    checkCurve,            // the curve lies off the cloth
    smallerStep,
    lessMemory, // a larger step or room for fewer nodes
    fewerNodes
};

struct StatusText {
    std::string name;    // short and fixed, for machines
    std::string meaning; // one sentence without a full stop
    Remedy remedy = Remedy::none;
};

// Of any number; one that the library doesn't give is called unknown.
StatusText textOfStatus(std::int32_t status);

// An operation of the library that ended with a code and left nothing that could be used.
struct StatusError : std::runtime_error {
    // The text is `what`, the code and its meaning.
    StatusError(const std::string& what, std::int32_t code);

    std::int32_t status;
};

} // namespace drape::host
