// Fibre directions and shear per triangle of the mould, as VTK PolyData on the mould itself. A bare triangle
// has cover 0, cell 0 and zero vectors.
#include "tool/write/cell_name.h"
#include "tool/write/vtk_xml.h"
#include "tool/write/writers.h"

namespace tool {
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
        cell.push_back(cellName(*scene.measures, fibres));
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

} // namespace tool
