// Fibre directions and shear per triangle of the mould, as VTK PolyData on the mould itself and as a table. A
// bare triangle has cover 0, cell 0 and zero vectors.
#include "host/cloth/fibre_map.h"
#include "tool/write/file_numbers.h"
#include "tool/write/vtk_xml.h"
#include "tool/write/writers.h"

namespace tool {
namespace {

// 1-based number of the cell's first node, by which the grid file names it too; 0 for none.
std::int32_t cellName(const Scene& scene, const TriangleFibres& fibres) {
    return fibres.cell < 0 ? 0 : scene.measures->cells[static_cast<std::size_t>(fibres.cell)].nodes[0] + 1;
}

} // namespace

std::string fibresVtp(const Scene& scene) {
    const Mould& mould = *scene.mould;
    std::vector<double> points;
    for (const Point& position : mould.positions) {
        points.insert(points.end(), position.begin(), position.end());
    }
    std::vector<std::int32_t> triangles = mould.corners;
    for (std::int32_t& corner : triangles) {
        --corner;
    }
    std::vector<std::int32_t> cover;
    std::vector<std::int32_t> cell;
    std::vector<double> shear;
    std::vector<double> thickness;
    std::vector<double> warp;
    std::vector<double> weft;
    for (const TriangleFibres& fibres : mapFibres(mould, *scene.grid, *scene.measures)) {
        cover.push_back(static_cast<std::int32_t>(fibres.cover));
        cell.push_back(cellName(scene, fibres));
        shear.push_back(fibres.shear);
        thickness.push_back(thicknessFactor(fibres.shear));
        warp.insert(warp.end(), fibres.warp.begin(), fibres.warp.end());
        weft.insert(weft.end(), fibres.weft.begin(), fibres.weft.end());
    }
    PolyDataFile file(points, triangles, 3);
    file.addCellArray("shear", shear, 1);
    file.addCellArray("thickness", thickness, 1);
    file.addCellArray("cover", cover, 1);
    file.addCellArray("cell", cell, 1);
    file.addCellArray("warp", warp, 3);
    file.addCellArray("weft", weft, 3);
    file.showCellArray("shear");
    return file.bytes();
}

std::string fibresCsv(const Scene& scene) {
    const Mould& mould = *scene.mould;
    const auto all = mapFibres(mould, *scene.grid, *scene.measures);
    std::string text =
        "triangle,face,cover,cell,shear_deg,thickness,warp_x,warp_y,warp_z,weft_x,weft_y,weft_z\n";
    for (std::size_t t = 0; t < all.size(); ++t) {
        const TriangleFibres& fibres = all[t];
        const std::int32_t face = t < mould.sourceFaces.size() ? mould.sourceFaces[t] : 0;
        text += std::to_string(t + 1) + "," + std::to_string(face) + "," +
                std::to_string(static_cast<int>(fibres.cover)) + "," +
                std::to_string(cellName(scene, fibres)) + "," + fileNumber(fibres.shear) + "," +
                fileNumber(thicknessFactor(fibres.shear));
        for (const Point& direction : {fibres.warp, fibres.weft}) {
            for (const double component : direction) {
                text += "," + fileNumber(component);
            }
        }
        text += "\n";
    }
    return text;
}

} // namespace tool
