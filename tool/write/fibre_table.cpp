// Fibre directions and shear per triangle of the mould, as a table. A bare triangle has cover 0, cell 0 and
// zero vectors.
#include "tool/write/cell_name.h"
#include "tool/write/file_numbers.h"
#include "tool/write/writers.h"

namespace tool {

std::string fibresCsv(const Scene& scene) {
    const Mould& mould = *scene.mould;
    const auto all = mapFibres(mould, *scene.grid, *scene.measures);
    std::string text =
        "triangle,face,cover,cell,shear_deg,thickness,warp_x,warp_y,warp_z,weft_x,weft_y,weft_z\n";
    for (std::size_t t = 0; t < all.size(); ++t) {
        const TriangleFibres& fibres = all[t];
        const std::int32_t face = t < mould.sourceFaces.size() ? mould.sourceFaces[t] : 0;
        const std::int64_t number =
            face > 0 && !scene.faceNumbers.empty() ? scene.faceNumbers[at(face) - 1] : face;
        text += std::to_string(t + 1) + "," + std::to_string(number) + "," +
                std::to_string(static_cast<int>(fibres.cover)) + "," +
                std::to_string(cellName(*scene.measures, fibres)) + "," + fileNumber(fibres.shear) + "," +
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
