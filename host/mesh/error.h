// The way in which a host's stages refuse: by an exception that says in words and by kind what can't be done.
#pragma once

#include <stdexcept>
#include <string>

namespace drape::host {

enum class Refusal {
    unreadable,  // a file, or numbers that aren't a mesh
    unfit,       // a surface whose size or shape leaves nothing to drape
    nothingLeft, // a plane cut everything away
    closed,      // cloth needs an edge to end at
    tooFine,     // more cells than a common machine holds
    noSuchSide,  // no side of the surface faces the direction that was named
    upright,     // a direction along the surface is wanted, and this one stands on it
    tooCoarse,   // the tolerance swallows cells
    curveOffCloth
};

struct InputError : std::runtime_error {
    explicit InputError(const std::string& text, Refusal why = Refusal::unreadable)
        : std::runtime_error(text), refusal(why) {}

    Refusal refusal;
};

} // namespace drape::host
