// Fibre directions and shear per triangle of the mould, as a table. A bare triangle has cover 0, cell 0 and
// zero vectors. Rows are in the order of the file's faces, as whoever joins them with the file expects.
#include "host/search/cover_fibres.h"
#include "tool/write/cell_name.h"
#include "tool/write/file_numbers.h"
#include "tool/write/writers.h"

#include <algorithm>
#include <numeric>

namespace tool {
namespace {

constexpr const char* heading =
    "triangle,face,cover,cell,shear_deg,thickness,warp_x,warp_y,warp_z,weft_x,weft_y,weft_z";

void addRow(std::string& text, const Mould& mould, std::size_t t, const TriangleFibres& fibres,
            std::int32_t cell, const std::vector<std::int64_t>& faceNumbers) {
    text += std::to_string(t + 1) + "," + std::to_string(faceName(mould, t, faceNumbers)) + "," +
            std::to_string(static_cast<int>(fibres.cover)) + "," + std::to_string(cell) + "," +
            fileNumber(fibres.shear) + "," + fileNumber(thicknessFactor(fibres.shear));
    for (const Point& direction : {fibres.warp, fibres.weft}) {
        for (const double component : direction) {
            text += "," + fileNumber(component);
        }
    }
}

std::vector<std::size_t> inOrderOfFaces(const Mould& mould) {
    std::vector<std::size_t> order(mould.triangleCount());
    std::iota(order.begin(), order.end(), std::size_t{0});
    if (order.size() == mould.sourceFaces.size()) {
        std::stable_sort(order.begin(), order.end(), [&](std::size_t a, std::size_t b) {
            return mould.sourceFaces[a] < mould.sourceFaces[b];
        });
    }
    return order;
}

} // namespace

std::string fibresCsv(const Scene& scene) {
    const auto all = mapFibres(*scene.mould, *scene.grid, *scene.measures);
    std::string text = std::string(heading) + "\n";
    for (const std::size_t t : inOrderOfFaces(*scene.mould)) {
        addRow(text, *scene.mould, t, all[t], cellName(*scene.measures, all[t]), scene.faceNumbers);
        text += "\n";
    }
    return text;
}

std::string piecesFibresCsv(const CoverScene& scene) {
    const CoverFibres all = coverFibresOf(*scene.surface, *scene.set);
    std::string text = std::string(heading) + ",piece\n";
    for (const std::size_t t : inOrderOfFaces(*scene.surface)) {
        const std::int32_t piece = all.pieces[t];
        const std::int32_t cell =
            piece == 0 ? 0 : cellName(scene.set->pieces[at(piece) - 1].drape.measures, all.fibres[t]);
        addRow(text, *scene.surface, t, all.fibres[t], cell, scene.pieces.front().faceNumbers);
        text += "," + std::to_string(piece) + "\n";
    }
    return text;
}

} // namespace tool
