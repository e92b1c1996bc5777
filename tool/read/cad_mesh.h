// Exact surfaces of CAD files, cut into triangles by the mesher gmsh. It is a program of its own under a
// licence of its own, so it is run and not linked.
#pragma once

#include "tool/read/mesh_import.h"

namespace tool {

// Of processor time and of the clock that the mesher may take, beside some for a file's size.
constexpr unsigned mesherSeconds = 300;

// STEP, IGES and BREP, by the ending of the name.
bool isCadFile(const std::string& path);

// In millimetres where the file has a unit. The faces that were asked for, else all. `folder` is an empty
// place for passing files. Throws InputError, also where the mesher isn't installed.
ShellMesh meshOfCad(const std::string& path, const ImportWishes& wishes, const std::string& folder);

} // namespace tool
