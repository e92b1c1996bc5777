// Missing members and null leave a wish open.
#include "web/core/settings_json.h"

namespace drape::web {
namespace {

template <class T>
std::optional<T> valueOf(const Json& object, const char* name) {
    const auto found = object.find(name);
    return found == object.end() || found->is_null() ? std::optional<T>() : std::optional<T>(found->get<T>());
}

std::optional<double> radiusOf(const Json& settings) {
    const auto within = settings.find("within");
    return within != settings.end() && within->is_number() ? std::optional<double>(within->get<double>())
                                                           : std::nullopt;
}

} // namespace

std::optional<Point> pointOf(const Json& object, const char* name) {
    return valueOf<Point>(object, name);
}

SurfaceWishes surfaceWishesOf(const Json& settings) {
    SurfaceWishes wishes;
    wishes.seed = pointOf(settings, "seed");
    wishes.startsInMiddle = false;
    using Six = std::array<double, 6>;
    for (const Six& c : valueOf<std::vector<Six>>(settings, "clips").value_or(std::vector<Six>())) {
        wishes.clips.push_back({{c[0], c[1], c[2]}, vec::unit({c[3], c[4], c[5]})});
    }
    wishes.side = pointOf(settings, "side");
    wishes.weld = valueOf<bool>(settings, "weld").value_or(true);
    wishes.fillHoles = valueOf<bool>(settings, "fillHoles").value_or(false);
    wishes.within = radiusOf(settings);
    return wishes;
}

TrialWishes trialWishesOf(const Json& settings) {
    TrialWishes wishes;
    if (const auto step = valueOf<std::array<double, 2>>(settings, "step")) {
        wishes.start.stepA = (*step)[0];
        wishes.start.stepB = (*step)[1];
    }
    wishes.start.rosette = pointOf(settings, "rosette");
    wishes.start.warp = pointOf(settings, "warp");
    wishes.start.tolerance = valueOf<double>(settings, "tolerance");
    wishes.start.pivotByGridLine = valueOf<std::string>(settings, "pivot").value_or("grid") == "grid";
    wishes.mostNodes = valueOf<std::int32_t>(settings, "mostNodes");
    wishes.lockingAngle = valueOf<double>(settings, "locking").value_or(wishes.lockingAngle);
    wishes.within = radiusOf(settings);
    const auto within = settings.find("within");
    wishes.withinLargest = within != settings.end() && *within == "max";
    return wishes;
}

std::optional<std::string> plyNameOf(const Json& settings) {
    return valueOf<std::string>(settings, "name");
}

std::vector<DrawnCurve> curvesOf(const Json& settings) {
    std::vector<DrawnCurve> curves;
    for (const Json& curve : valueOf<std::vector<Json>>(settings, "curves").value_or(std::vector<Json>())) {
        curves.push_back({curve.at("name").get<std::string>(), curve.at("points").get<std::vector<Point>>(),
                          curve.at("directions").get<std::vector<Point>>()});
    }
    return curves;
}

} // namespace drape::web
