// The map is a chain of anchors between which colours are mixed in the OKLab space, in which equal distances
// look equally large.
#include "tool/draw/colour.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <span>

namespace tool {
namespace {

// Below locking: pale yellow over green and teal to deep blue.
constexpr std::array<Colour, 6> coolAnchors{{{0.992, 0.961, 0.741},
                                             {0.780, 0.906, 0.651},
                                             {0.439, 0.792, 0.667},
                                             {0.176, 0.612, 0.694},
                                             {0.133, 0.400, 0.627},
                                             {0.125, 0.173, 0.451}}};

// Beyond locking: orange to dark red.
constexpr std::array<Colour, 3> hotAnchors{
    {{0.992, 0.553, 0.235}, {0.890, 0.188, 0.141}, {0.498, 0.0, 0.118}}};

struct Lab {
    double lightness, a, b;
};

Lab toLab(const Colour& colour) {
    const double r = toLinear(colour.red);
    const double g = toLinear(colour.green);
    const double b = toLinear(colour.blue);
    const double l = std::cbrt(0.4122214708 * r + 0.5363325363 * g + 0.0514459929 * b);
    const double m = std::cbrt(0.2119034982 * r + 0.6806995451 * g + 0.1073969566 * b);
    const double s = std::cbrt(0.0883024619 * r + 0.2817188376 * g + 0.6299787005 * b);
    return {0.2104542553 * l + 0.7936177850 * m - 0.0040720468 * s,
            1.9779984951 * l - 2.4285922050 * m + 0.4505937099 * s,
            0.0259040371 * l + 0.7827717662 * m - 0.8086757660 * s};
}

Colour fromLab(const Lab& lab) {
    const double l = std::pow(lab.lightness + 0.3963377774 * lab.a + 0.2158037573 * lab.b, 3);
    const double m = std::pow(lab.lightness - 0.1055613458 * lab.a - 0.0638541728 * lab.b, 3);
    const double s = std::pow(lab.lightness - 0.0894841775 * lab.a - 1.2914855480 * lab.b, 3);
    return {fromLinear(4.0767416621 * l - 3.3077115913 * m + 0.2309699292 * s),
            fromLinear(-1.2684380046 * l + 2.6097574011 * m - 0.3413193965 * s),
            fromLinear(-0.0041960863 * l - 0.7034186147 * m + 1.7076147010 * s)};
}

Colour along(std::span<const Colour> anchors, double part) {
    const double place = std::clamp(part, 0.0, 1.0) * static_cast<double>(anchors.size() - 1);
    const auto below = std::min(static_cast<std::size_t>(place), anchors.size() - 2);
    return mix(anchors[below], anchors[below + 1], place - static_cast<double>(below));
}

} // namespace

double toLinear(double component) {
    return component <= 0.04045 ? component / 12.92 : std::pow((component + 0.055) / 1.055, 2.4);
}

double fromLinear(double component) {
    const double inside = std::clamp(component, 0.0, 1.0);
    return inside <= 0.0031308 ? 12.92 * inside : 1.055 * std::pow(inside, 1.0 / 2.4) - 0.055;
}

Colour mix(const Colour& from, const Colour& to, double part) {
    const Lab a = toLab(from);
    const Lab b = toLab(to);
    return fromLab({a.lightness + part * (b.lightness - a.lightness), a.a + part * (b.a - a.a),
                    a.b + part * (b.b - a.b)});
}

ShearScale shearScale(const Measures& measures) {
    constexpr std::array<double, 15> tops{1, 2, 5, 10, 15, 20, 25, 30, 35, 40, 45, 50, 60, 75, 90};
    ShearScale scale;
    scale.top = tops.back();
    for (const double top : tops) {
        if (measures.largestShear <= top) {
            scale.top = top;
            break;
        }
    }
    const bool locks = measures.lockingAngle > 0.0 && measures.lockingAngle < measures.largestShear;
    scale.locking = locks ? measures.lockingAngle : scale.top;
    return scale;
}

Colour shearColour(const ShearScale& scale, double shear) {
    const double angle = std::isfinite(shear) ? std::abs(shear) : scale.top;
    if (angle > scale.locking) {
        return along(hotAnchors, (angle - scale.locking) / std::max(scale.top - scale.locking, 1e-9));
    }
    return along(coolAnchors, angle / scale.locking);
}

} // namespace tool
