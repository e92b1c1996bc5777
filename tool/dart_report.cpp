// Sizes are those on the flat pattern, above 0 for a V and below 0 where cloth lies over cloth.
#include "tool/dart_report.h"

#include "host/mesh/text.h"

#include <cmath>

namespace tool {

using namespace drape::host;

std::string dartText(const Dart& dart) {
    return std::string(dart.isV() ? "a V of " : "an overlap of ") + number(std::abs(dart.width)) +
           " at its mouth, " + fixed(std::abs(dart.angle), 1) + " degrees, " + number(dart.length) +
           " long, tip at " + pointText(dart.line.front()) + ", mouth at " + pointText(dart.line.back());
}

nlohmann::ordered_json dartsJson(std::span<const Dart> darts) {
    nlohmann::ordered_json list = nlohmann::ordered_json::array();
    for (const Dart& dart : darts) {
        const auto& [first, second] = dart.legs;
        const FlatPoint tip{0.5 * (first.front()[0] + second.front()[0]),
                            0.5 * (first.front()[1] + second.front()[1])};
        list.push_back({{"kind", dart.isV() ? "V" : "overlap"},
                        {"tip", dart.line.front()},
                        {"mouth", dart.line.back()},
                        {"tipOnPattern", tip},
                        {"mouthOnPattern", {first.back(), second.back()}},
                        {"length", dart.length},
                        {"width", dart.width},
                        {"angle", dart.angle}});
    }
    return list;
}

} // namespace tool
