// The draped grid as VTK PolyData: nodes are points, complete cells are quads. Every array of the run goes in
// as the library gave it (links and triangles 1-based), with the fibre directions worked out beside it.
#include "host/cloth/fibre_directions.h"
#include "tool/write/vtk_xml.h"
#include "tool/write/writers.h"

namespace tool {
namespace {

void append(std::vector<double>& values, const Point& vector) {
    values.insert(values.end(), vector.begin(), vector.end());
}

void addNodeArrays(PolyDataFile& file, const Grid& grid) {
    std::vector<std::int32_t> number(static_cast<std::size_t>(grid.count));
    std::vector<double> warp;
    std::vector<double> weft;
    for (std::int32_t node = 0; node < grid.count; ++node) {
        number[static_cast<std::size_t>(node)] = node + 1;
        append(warp, warpAtNode(grid, node));
        append(weft, weftAtNode(grid, node));
    }
    file.addPointArray("node", number, 1);
    file.addPointArray("link1", grid.link1, 1);
    file.addPointArray("link2", grid.link2, 1);
    file.addPointArray("link3", grid.link3, 1);
    file.addPointArray("link4", grid.link4, 1);
    file.addPointArray("i", grid.i, 1);
    file.addPointArray("j", grid.j, 1);
    file.addPointArray("status", grid.nodeStatus, 1);
    file.addPointArray("triangle", grid.triangle, 1);
    file.addPointArray("flat", grid.flat, 2);
    file.addPointArray("normal", grid.normal, 3);
    file.addPointArray("warp", warp, 3);
    file.addPointArray("weft", weft, 3);
    file.useNormals("normal");
}

void addCellArrays(PolyDataFile& file, const Grid& grid, const std::vector<Cell>& cells) {
    std::vector<std::int32_t> name;
    std::vector<std::int32_t> onSurface;
    std::vector<double> shear, thickness;
    std::vector<double> warp;
    std::vector<double> weft;
    for (const Cell& cell : cells) {
        name.push_back(cell.nodes[0] + 1);
        onSurface.push_back(cell.onSurface ? 1 : 0);
        shear.push_back(cell.shear);
        thickness.push_back(thicknessFactor(cell.shear));
        append(warp, warpInCell(grid, cell, 0.5));
        append(weft, weftInCell(grid, cell, 0.5));
    }
    file.addCellArray("shear", shear, 1);
    file.addCellArray("thickness", thickness, 1);
    file.addCellArray("onSurface", onSurface, 1);
    file.addCellArray("cell", name, 1);
    file.addCellArray("warp", warp, 3);
    file.addCellArray("weft", weft, 3);
    file.showCellArray("shear");
}

} // namespace

std::string gridVtp(const Scene& scene) {
    const Grid& grid = *scene.grid;
    std::vector<std::int32_t> quads;
    for (const Cell& cell : scene.measures->cells) {
        quads.insert(quads.end(), cell.nodes.begin(), cell.nodes.end());
    }
    PolyDataFile file(grid.position, quads, 4);
    file.addFieldArray("runStatus", {static_cast<double>(grid.status)});
    file.addFieldArray("step", {scene.choice->stepA, scene.choice->stepB});
    addNodeArrays(file, grid);
    addCellArrays(file, grid, scene.measures->cells);
    return file.bytes();
}

} // namespace tool
