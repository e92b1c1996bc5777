// Vertices of a ground that hang together, and vertices that lie far apart.
#pragma once

#include "host/cloth/ground.h"

namespace drape::host {

// Vertices that hang together.
using GroundPart = std::vector<std::int32_t>;

double areaOf(const Ground& ground, const GroundPart& part);

// The parts of those of `vertices` that `isOpen`, a value per vertex of the ground, is 1 for; it is 0 for
// all of these afterwards, and has to be 0 elsewhere. In the order of their first vertices.
std::vector<GroundPart> openParts(const Ground& ground, const std::vector<std::int32_t>& vertices,
                                  std::vector<char>& isOpen);

// The part with the most area, the first of several; `parts.end()` if there is none.
std::vector<GroundPart>::const_iterator largestOf(const Ground& ground, const std::vector<GroundPart>& parts);

// Up to `count` vertices that `isOpen` is 1 for, each as far as can be from those before it and from all of
// `from`, and farther than `least`.
std::vector<std::size_t> farApart(const Ground& ground, const std::vector<char>& isOpen,
                                  const std::vector<Point>& from, std::size_t count, double least);

} // namespace drape::host
