// The side of a surface on which the cloth lies, which is the one that its normals point to. A direction in
// space names it, not the order in which a file happens to wind its faces.
#pragma once

#include "host/mesh/note.h"
#include "host/mesh/topology.h"

#include <optional>
#include <string>

namespace drape::host {

enum class SideRule {
    named,   // the caller gave a direction
    usual,   // +z, or +y or +x where the surface faces no clear z
    outward, // away from the middle of a surface that faces all ways
    asWound  // none of these tells the sides apart
};

struct Side {
    SideRule rule = SideRule::asWound;
    Point towards{}; // unit vector for the rules `named` and `usual`
};

// Winds the triangles so that all normals point to the wanted side. Where `wanted` tells nothing of the
// surface as a whole, as on a closed one, the triangle `atSeed` decides. The windings must agree with each
// other. Throws InputError (noSuchSide) if `wanted` tells nothing there either.
Side turnToSide(Sheet& sheet, const std::optional<Point>& wanted, std::size_t atSeed, Notes& notes);

// "towards +z", "outward", ...
std::string textOf(const Side& side);

} // namespace drape::host
