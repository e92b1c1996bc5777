// Which package reads which kind of file. OBJ, OFF, PLY and STL go to readers that keep double precision and
// the file's own vertex numbers; everything else goes to the scene importer, which works in single precision.
#pragma once

#include "host/mesh/triangle_mesh.h"

#include <string>

namespace tool {

using namespace drape::host;

// Throws std::exception of any kind; nothing is promised about the faces beyond what the reader checks.
PolygonSoup readMeshFile(const std::string& path);

} // namespace tool
