// The transferred curve as a table: each point on the mould beside its place on the flat pattern, all in the
// mould's own unit.
#include "tool/write/file_numbers.h"
#include "tool/write/writers.h"

#include <stdexcept>

namespace tool {

std::string curveCsv(const Scene& scene) {
    if (scene.curve == nullptr) {
        throw std::runtime_error("no curve to write: none was transferred in this run");
    }
    std::string text = "x,y,z,u,v\n";
    for (std::size_t k = 0; k < scene.curve->points.size() && k < scene.curve->flat.size(); ++k) {
        const Point& point = scene.curve->points[k];
        const auto& flat = scene.curve->flat[k];
        for (const double value : {point[0], point[1], point[2], flat[0]}) {
            text += fileNumber(value) + ",";
        }
        text += fileNumber(flat[1]) + "\n";
    }
    return text;
}

} // namespace tool
