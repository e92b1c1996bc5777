// A closed curve drawn on the mould, such as a trim line, from a file.
#pragma once

#include "host/cloth/curve.h"

#include <string>

namespace tool {

using namespace drape::host;

// Reads x y z per line, with three more numbers for the direction in which a point is projected onto the
// cloth, or the vertices and lines of an OBJ file. A last point equal to the first is left out. Throws
// InputError.
DrawnCurve readCurve(const std::string& path);

} // namespace tool
