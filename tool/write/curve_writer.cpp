// The transferred curves as a table: each point on the mould beside its place on the flat pattern, all in the
// mould's own unit.
#include "tool/write/file_numbers.h"
#include "tool/write/writers.h"

#include <stdexcept>

namespace tool {

std::string curveCsv(const Scene& scene) {
    if (scene.curves.empty()) {
        throw std::runtime_error("no curve to write: none was transferred in this run");
    }
    std::string text = "curve,stretch,point,x,y,z,u,v\n";
    for (std::size_t c = 0; c < scene.curves.size(); ++c) {
        const auto& stretches = scene.curves[c].stretches;
        for (std::size_t s = 0; s < stretches.size(); ++s) {
            for (std::size_t k = 0; k < stretches[s].points.size(); ++k) {
                text += std::to_string(c + 1) + "," + std::to_string(s + 1) + "," +
                        std::to_string(stretches[s].numbers[k]);
                for (const double value : stretches[s].points[k]) {
                    text += "," + fileNumber(value);
                }
                for (const double value : stretches[s].flat[k]) {
                    text += "," + fileNumber(value);
                }
                text += "\n";
            }
        }
    }
    return text;
}

} // namespace tool
