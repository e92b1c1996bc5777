// A dart: a slit in the piece as it shows on the flat pattern, where its two sides lie apart or over each
// other.
#pragma once

#include "host/cloth/net_pattern.h"

#include <span>

namespace drape::host {

struct Dart {
    std::vector<Point> line; // on the mould, from the tip to the mouth at the edge of the piece
    double length = 0.0;     // of that, in the mould's unit
    // The two sides on the pattern from the tip to the mouth, each with the pattern beside it: to the left of
    // the first and to the right of the second. They begin in one place unless the piece has a hole there.
    std::array<std::vector<FlatPoint>, 2> legs;
    double width = 0.0; // between the legs' ends: above 0 for a V that is cut out, below 0 where the cloth of
                        // one side lies over that of the other
    double angle = 0.0; // degrees between the legs from end to end, with the same sign

    bool isV() const { return angle >= 0.0; }
};

// Of each line along which the mould was slit, from its tip on, that the pattern has both sides of. `step` is
// the longer cell length.
std::vector<Dart> dartsOn(const NetPattern& net, std::span<const std::vector<Point>> slits, double step);

} // namespace drape::host
