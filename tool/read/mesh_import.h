// Reads a surface from a file. The readers of mesh packages run in a process of their own, so that a file
// that breaks one of them, or asks it for endless memory or time, ends in a clear message and nothing else.
#pragma once

#include "host/mesh/shell_mesh.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace tool {

using namespace drape::host;

// What is taken of a file that holds more than one surface, or none yet.
struct ImportWishes {
    std::vector<std::string> sets;   // of elements, in files of solvers and meshers; all if none is named
    std::vector<std::int64_t> faces; // of a CAD file, counted from 1; all if none is named
    std::optional<double> meshSize;  // longest side of the triangles of a CAD file, in millimetres
};

struct ImportedMesh {
    PolygonSoup soup;
    std::optional<ShellMesh>
        shell; // where the file numbers its elements: one for each polygon, in their order
};

// The same promises as those of importMesh. Throws InputError.
ImportedMesh importSurface(const std::string& path, const ImportWishes& wishes);

// Points and faces of the file, in its order where the format has one. All points are finite and all faces
// name points that are there. Throws InputError.
PolygonSoup importMesh(const std::string& path);

} // namespace tool
