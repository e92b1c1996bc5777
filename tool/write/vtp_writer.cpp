// The draped grid as VTK PolyData: nodes are points, complete cells are quads. Every array of the run goes in
// as the library gave it (links and triangles 1-based), with the fibre directions worked out beside it.
#include "host/cloth/fibre_directions.h"
#include "tool/write/vtk_xml.h"
#include "tool/write/writers.h"

#include <algorithm>
#include <iterator>

namespace tool {
namespace {

template <class Value, class More>
void append(std::vector<Value>& values, const More& more) {
    values.insert(values.end(), more.begin(), more.end());
}

// The arrays of all nodes, piece after piece. Links, triangles and node numbers are those of the piece.
struct NodeArrays {
    std::vector<std::int32_t> number, link1, link2, link3, link4, i, j, status, triangle, piece;
    std::vector<double> position, flat, normal, warp, weft;

    void add(const Grid& grid, std::int32_t pieceNumber) {
        append(link1, grid.link1);
        append(link2, grid.link2);
        append(link3, grid.link3);
        append(link4, grid.link4);
        append(i, grid.i);
        append(j, grid.j);
        append(status, grid.nodeStatus);
        append(triangle, grid.triangle);
        append(position, grid.position);
        append(flat, grid.flat);
        append(normal, grid.normal);
        for (std::int32_t node = 0; node < grid.count; ++node) {
            number.push_back(node + 1);
            piece.push_back(pieceNumber);
            append(warp, warpAtNode(grid, node));
            append(weft, weftAtNode(grid, node));
        }
    }

    void put(PolyDataFile& file, bool pieces) const {
        file.addPointArray("node", number, 1);
        file.addPointArray("link1", link1, 1);
        file.addPointArray("link2", link2, 1);
        file.addPointArray("link3", link3, 1);
        file.addPointArray("link4", link4, 1);
        file.addPointArray("i", i, 1);
        file.addPointArray("j", j, 1);
        file.addPointArray("status", status, 1);
        file.addPointArray("triangle", triangle, 1);
        file.addPointArray("flat", flat, 2);
        file.addPointArray("normal", normal, 3);
        file.addPointArray("warp", warp, 3);
        file.addPointArray("weft", weft, 3);
        if (pieces) {
            file.addPointArray("piece", piece, 1);
        }
        file.useNormals("normal");
    }
};

// The same of all cells.
struct CellArrays {
    std::vector<std::int32_t> quads, name, onSurface, piece;
    std::vector<double> shear, thickness, warp, weft;

    void add(const Grid& grid, const std::vector<Cell>& cells, std::int32_t firstNode,
             std::int32_t pieceNumber) {
        for (const Cell& cell : cells) {
            for (const std::int32_t node : cell.nodes) {
                quads.push_back(firstNode + node);
            }
            name.push_back(cell.nodes[0] + 1);
            onSurface.push_back(cell.onSurface ? 1 : 0);
            shear.push_back(cell.shear);
            thickness.push_back(thicknessFactor(cell.shear));
            append(warp, warpInCell(grid, cell, 0.5));
            append(weft, weftInCell(grid, cell, 0.5));
            piece.push_back(pieceNumber);
        }
    }

    void put(PolyDataFile& file, bool pieces) const {
        file.addCellArray("shear", shear, 1);
        file.addCellArray("thickness", thickness, 1);
        file.addCellArray("onSurface", onSurface, 1);
        file.addCellArray("cell", name, 1);
        file.addCellArray("warp", warp, 3);
        file.addCellArray("weft", weft, 3);
        if (pieces) {
            file.addCellArray("piece", piece, 1);
        }
        file.showCellArray(pieces ? "piece" : "shear");
    }
};

std::string gridsVtp(std::span<const Scene> scenes, bool pieces) {
    NodeArrays nodes;
    CellArrays cells;
    std::int32_t number = 0;
    for (const Scene& scene : scenes) {
        ++number;
        cells.add(*scene.grid, scene.measures->cells, static_cast<std::int32_t>(nodes.number.size()), number);
        nodes.add(*scene.grid, number);
    }
    PolyDataFile file(nodes.position, cells.quads, 4);
    std::vector<double> statuses;
    std::transform(scenes.begin(), scenes.end(), std::back_inserter(statuses),
                   [](const Scene& scene) { return static_cast<double>(scene.grid->status); });
    file.addFieldArray("runStatus", statuses);
    file.addFieldArray("step", {scenes.front().choice->stepA, scenes.front().choice->stepB});
    nodes.put(file, pieces);
    cells.put(file, pieces);
    return file.bytes();
}

} // namespace

std::string gridVtp(const Scene& scene) {
    return gridsVtp({&scene, 1}, false);
}

std::string piecesVtp(std::span<const Scene> pieces) {
    return gridsVtp(pieces, true);
}

} // namespace tool
