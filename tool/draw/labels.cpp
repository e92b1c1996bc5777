// The pattern is drawn with the warp to the right and the weft up the page, which is how the cloth looks from
// the side to which the normals of the mould point.
#include "tool/draw/labels.h"

#include "host/mesh/text.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <string_view>

namespace tool {

std::string plyTitle(const Scene& scene) {
    constexpr std::string_view word = "ply";
    const std::string& name = scene.ply;
    std::string start = name.substr(0, word.size());
    std::transform(start.begin(), start.end(), start.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    const bool says = start == word && (name.size() == word.size() ||
                                        std::isalpha(static_cast<unsigned char>(name[word.size()])) == 0);
    return says ? name : "Ply " + name;
}

std::string dartLabel(const Dart& dart, std::size_t number, double millimetresPerUnit) {
    return "dart " + std::to_string(number) + ": " + (dart.isV() ? "V" : "overlap") + " of " +
           fixed(millimetresPerUnit * std::abs(dart.width), 1) + " mm, " + fixed(std::abs(dart.angle), 1) +
           "°";
}

std::string sideLabel(const Scene& scene) {
    return "THIS SIDE UP: away from the mould, " + scene.side;
}

std::string angleLabel(const Scene& scene) {
    return "warp at " + number(plyAngle(*scene.choice)) + " degrees from the rosette " +
           pointText(scene.choice->rosette) + ", anticlockwise seen from this side";
}

std::string sizeLabel(const Scene& scene) {
    const double mm = scene.millimetresPerUnit;
    const auto& e = scene.measures->net.extent;
    return "net " + number((e[2] - e[0]) * mm) + " × " + number((e[3] - e[1]) * mm) + " mm" +
           (scene.cut->allowance > 0.0 ? " + allowance " + number(scene.cut->allowance * mm) + " mm" : "");
}

std::string mouldLabel(const Scene& scene) {
    const bool inMillimetres = scene.millimetresPerUnit == 1.0;
    return "mould " + scene.mouldName +
           (inMillimetres ? ", in mm" : ", 1 unit = " + number(scene.millimetresPerUnit) + " mm");
}

std::vector<std::string> plyLabels(const Scene& scene) {
    return {plyTitle(scene), sideLabel(scene), angleLabel(scene), mouldLabel(scene)};
}

} // namespace tool
