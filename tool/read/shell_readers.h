// Readers of the files in which solvers and meshers keep shell meshes. Each throws InputError with the line
// in which something is wrong.
#pragma once

#include "host/mesh/shell_mesh.h"

#include <string>
#include <string_view>

namespace tool {

using namespace drape::host;

ShellMesh readInpMesh(const std::string& path);     // Abaqus and CalculiX decks
ShellMesh readNastranMesh(const std::string& path); // Nastran and OptiStruct decks
ShellMesh readGmshMesh(const std::string& path);    // Gmsh 2.2 and 4.1, text
ShellMesh readVtuMesh(const std::string& path);     // VTK XML: unstructured grids and polygons
ShellMesh readVtkMesh(const std::string& path);     // VTK legacy files: the same

using ShellReader = ShellMesh (*)(const std::string& path);

// For files whose name ends so, without the dot and in small letters; null if there's none.
ShellReader shellReaderFor(std::string_view ending);

} // namespace tool
