// What the two readers of VTK files share: the cells of a grid become the elements of a shell mesh.
#pragma once

#include "host/mesh/shell_mesh.h"

#include <cstdint>
#include <vector>

namespace tool {

using namespace drape::host;

struct VtkGrid {
    std::vector<double> coordinates; // 3 per point
    std::vector<std::int64_t> connectivity;
    std::vector<std::int64_t> ends;    // of each cell in `connectivity`
    std::vector<std::int64_t> types;   // of each cell, as VTK numbers them
    std::vector<std::int64_t> numbers; // of the cells, empty if the file gives none
};

constexpr std::int64_t vtkPolygon = 7;

// Throws InputError for cells that can't be.
ShellMesh shellOf(const VtkGrid& grid);

} // namespace tool
