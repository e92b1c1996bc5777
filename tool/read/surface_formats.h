// The readers that keep double precision and the file's own vertex numbers: OBJ, OFF, PLY and STL, out of a
// stream, wherever its bytes come from.
#pragma once

#include "host/mesh/triangle_mesh.h"

#include <iosfwd>
#include <string>

namespace tool {

using namespace drape::host;

// `ending` of a file's name, without the dot and in small letters.
bool isSurfaceFormat(const std::string& ending);

// Throws std::exception of any kind. Faces name points that are there; whether these are finite isn't looked
// at.
PolygonSoup readSurface(std::istream& in, const std::string& ending);

// Throws InputError if a point isn't finite or there are no faces.
void requireSurface(const PolygonSoup& soup);

} // namespace tool
