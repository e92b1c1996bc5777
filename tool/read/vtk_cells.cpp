// Cells without an area are passed over. Without numbers of their own, elements are numbered as the cells
// stand in the file, from 1.
#include "tool/read/vtk_cells.h"

#include "host/mesh/error.h"
#include "tool/read/shell_builder.h"

namespace tool {
namespace {

// Corners of a cell by its type; 0 for one that is no surface.
std::size_t cornersOf(std::int64_t type, std::size_t nodes) {
    switch (type) {
    case 5: // triangle
        return nodes == 3 ? 3 : 0;
    case vtkPolygon:
        return nodes >= 3 ? nodes : 0;
    case 9: // quad
        return nodes == 4 ? 4 : 0;
    case 22: // with middles of sides
        return nodes == 6 ? 3 : 0;
    case 23:
        return nodes == 8 ? 4 : 0;
    case 28:
        return nodes == 9 ? 4 : 0;
    default:
        return 0;
    }
}

} // namespace

ShellMesh shellOf(const VtkGrid& grid) {
    const std::size_t cells = grid.ends.size();
    if (grid.coordinates.size() % 3 != 0 || grid.types.size() != cells ||
        (!grid.numbers.empty() && grid.numbers.size() != cells)) {
        throw InputError("its arrays don't fit each other");
    }
    ShellBuilder builder;
    for (std::size_t p = 0; 3 * p < grid.coordinates.size(); ++p) {
        const double* xyz = grid.coordinates.data() + 3 * p;
        const Point point{xyz[0], xyz[1], xyz[2]};
        const auto number = static_cast<std::int64_t>(p);
        if (!vec::isFinite(point)) {
            throw InputError("point " + std::to_string(number + 1) + " isn't three finite numbers");
        }
        builder.addPoint(number + 1, point, {});
    }
    std::int64_t begin = 0;
    for (std::size_t c = 0; c < cells; ++c) {
        const std::int64_t end = grid.ends[c];
        const std::string name = "cell " + std::to_string(c + 1);
        if (end < begin || end > static_cast<std::int64_t>(grid.connectivity.size())) {
            throw InputError(name + " ends outside of the list of corners");
        }
        std::vector<std::int64_t> nodes;
        for (std::int64_t k = begin; k < end; ++k) {
            const std::int64_t node = grid.connectivity[static_cast<std::size_t>(k)];
            if (node < 0 || static_cast<std::size_t>(node) >= grid.coordinates.size() / 3) {
                throw InputError(name + " names a point that isn't in the file");
            }
            nodes.push_back(node + 1);
        }
        if (grid.types[c] == 8 && nodes.size() == 4) { // a pixel goes row by row
            std::swap(nodes[2], nodes[3]);
        }
        const std::size_t corners =
            grid.types[c] == 8 && nodes.size() == 4 ? 4 : cornersOf(grid.types[c], nodes.size());
        const std::int64_t number = grid.numbers.empty() ? static_cast<std::int64_t>(c) + 1 : grid.numbers[c];
        if (corners > 0) {
            builder.addElement(number, corners, nodes, 0, {c + 1, "the cells"});
        } else {
            builder.addOther(number, std::to_string(grid.types[c]));
        }
        begin = end;
    }
    return builder.finish();
}

} // namespace tool
