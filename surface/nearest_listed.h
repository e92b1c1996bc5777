// What the boundary fallback takes from a flood's list, without the flood: the triangle on the boundary that
// is nearest to a place.
//
// The tree over the boundary tells which of them are in range at all. The nearest is the one, if a way leads
// there; among equally near ones it is the one to which the flood comes first.
#pragma once

#include "surface/flood.h"

namespace drape {

// Room in the boundary fallback's table: more listed triangles with a boundary edge are an error.
constexpr std::int32_t FALLBACK_TABLE_SIZE = 21;

// Leaves a list from which the fallback takes what it would take from the whole one: empty only if that is,
// and of its triangles with a boundary edge the one nearest to `place` or none, if there is none. Within a
// run. False with a work-array code.
bool listNearestBoundary(std::int32_t start, const Ball* balls, int ballCount, const Vec3& place,
                         SearchScratch& scratch, std::int32_t& status);

} // namespace drape
