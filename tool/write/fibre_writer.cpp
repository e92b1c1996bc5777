// Fibre directions and shear per triangle of the mould, as VTK PolyData on the mould itself. A bare triangle
// has cover 0, cell 0 and zero vectors.
#include "host/search/cover_fibres.h"
#include "tool/write/cell_name.h"
#include "tool/write/vtk_xml.h"
#include "tool/write/writers.h"

namespace tool {
namespace {

// `cells` and, if there are several pieces, `pieces` are per triangle; `faceNumbers` as in a scene.
std::string fibreFile(const Mould& mould, const std::vector<TriangleFibres>& all,
                      const std::vector<std::int32_t>& cells, const std::vector<std::int32_t>* pieces,
                      const std::vector<std::int64_t>& faceNumbers) {
    std::vector<double> points;
    for (const Point& position : mould.positions) {
        points.insert(points.end(), position.begin(), position.end());
    }
    std::vector<std::int32_t> triangles = mould.corners;
    for (std::int32_t& corner : triangles) {
        --corner;
    }
    std::vector<std::int64_t> faces;
    for (std::size_t t = 0; t < mould.triangleCount(); ++t) {
        faces.push_back(faceName(mould, t, faceNumbers));
    }
    std::vector<std::int32_t> cover;
    std::vector<double> shear;
    std::vector<double> thickness;
    std::vector<double> warp;
    std::vector<double> weft;
    for (const TriangleFibres& fibres : all) {
        cover.push_back(static_cast<std::int32_t>(fibres.cover));
        shear.push_back(fibres.shear);
        thickness.push_back(thicknessFactor(fibres.shear));
        warp.insert(warp.end(), fibres.warp.begin(), fibres.warp.end());
        weft.insert(weft.end(), fibres.weft.begin(), fibres.weft.end());
    }
    PolyDataFile file(points, triangles, 3);
    file.addCellArray("shear", shear, 1);
    file.addCellArray("thickness", thickness, 1);
    file.addCellArray("cover", cover, 1);
    file.addCellArray("cell", cells, 1);
    file.addCellArray("face", faces, 1);
    file.addCellArray("warp", warp, 3);
    file.addCellArray("weft", weft, 3);
    if (pieces != nullptr) {
        file.addCellArray("piece", *pieces, 1);
    }
    file.showCellArray(pieces != nullptr ? "piece" : "shear");
    return file.bytes();
}

} // namespace

std::string fibresVtp(const Scene& scene) {
    const auto all = mapFibres(*scene.mould, *scene.grid, *scene.measures);
    std::vector<std::int32_t> cells;
    for (const TriangleFibres& fibres : all) {
        cells.push_back(cellName(*scene.measures, fibres));
    }
    return fibreFile(*scene.mould, all, cells, nullptr, scene.faceNumbers);
}

std::string piecesFibresVtp(const CoverScene& scene) {
    const CoverFibres all = coverFibresOf(*scene.surface, *scene.set);
    std::vector<std::int32_t> cells;
    for (std::size_t t = 0; t < all.fibres.size(); ++t) {
        cells.push_back(all.pieces[t] == 0 ? 0
                                           : cellName(scene.set->pieces[at(all.pieces[t]) - 1].drape.measures,
                                                      all.fibres[t]));
    }
    return fibreFile(*scene.surface, all.fibres, cells, &all.pieces, scene.pieces.front().faceNumbers);
}

} // namespace tool
