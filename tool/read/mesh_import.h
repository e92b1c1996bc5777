// Reads a surface from a file. The readers of mesh packages run in a process of their own, so that a file
// that breaks one of them, or asks it for endless memory or time, ends in a clear message and nothing else.
#pragma once

#include "host/mesh/triangle_mesh.h"

#include <string>

namespace tool {

using namespace drape::host;

// Points and faces of the file, in its order where the format has one. All points are finite and all faces
// name points that are there. Throws InputError.
PolygonSoup importMesh(const std::string& path);

} // namespace tool
