// Which package reads which kind of file. OBJ, OFF, PLY and STL go to readers that keep double precision and
// the file's own vertex numbers, files of solvers and meshers to readers of our own, CAD files to a mesher;
// everything else goes to the scene importer, which works in single precision.
#pragma once

#include "tool/read/mesh_import.h"

#include <string>

namespace tool {

using namespace drape::host;

// The ending of a name in small letters.
std::string endingOf(const std::string& path);

// `folder` is a place for passing files. Throws std::exception of any kind; nothing is promised about the
// faces beyond what the reader checks.
ImportedMesh readMeshFile(const std::string& path, const ImportWishes& wishes, const std::string& folder);

} // namespace tool
