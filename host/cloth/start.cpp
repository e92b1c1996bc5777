// All directions live in the plane of the seed triangle; the normal is that of its winding, so seen against
// it the weft lies a quarter turn to the left of the warp.
#include "host/cloth/start.h"

#include "host/mesh/point.h"
#include "host/mesh/text.h"

#include <numbers>

namespace drape::host {

using namespace vec;

namespace {

// A warp direction this close to the normal (as the sine of the angle between them) says too little.
constexpr double leastSine = 0.02;
constexpr double toleranceShare = 1e-3;
constexpr double slenderRatio = 1.6;

// To two significant digits, for a step that is easy to read and to repeat.
double rounded(double value) {
    const double unit = std::pow(10.0, std::floor(std::log10(value)) - 1.0);
    return std::round(value / unit) * unit;
}

// `v` turned by `degrees` about the unit vector `axis`, to which it is square.
Point turned(const Point& v, const Point& axis, double degrees) {
    const double radians = degrees * std::numbers::pi / 180.0;
    return std::cos(radians) * v + std::sin(radians) * cross(axis, v);
}

Point inPlane(const Point& wanted, const Point& normal) {
    return unit(wanted) - dot(unit(wanted), normal) * normal;
}

} // namespace

std::array<double, 2> stepsFor(const StartWishes& wishes, double area) {
    if (wishes.stepA) {
        return {*wishes.stepA, wishes.stepB.value_or(*wishes.stepA)};
    }
    const double step = rounded(std::sqrt(area) / cellsAcross);
    return {step, step};
}

Choice choiceAt(const TriangleMesh& mesh, const SurfacePoint& seed, const StartWishes& wishes, double angle,
                const std::array<double, 2>& steps, Notes& notes) {
    Choice choice;
    choice.seed = seed.position;
    const Point normal = normalOf(mesh, seed.triangle);
    Point warp = inPlane(wishes.warp, normal);
    if (length(warp) < leastSine) {
        const Point other = std::abs(normal[1]) < 0.9 ? Point{0.0, 1.0, 0.0} : Point{1.0, 0.0, 0.0};
        warp = inPlane(other, normal);
        tell(notes, NoteKind::warpUpright,
             "the warp direction " + pointText(wishes.warp) + " stands upright on the surface at the seed; " +
                 pointText(other) + " was taken instead");
    }
    choice.warp = turned(unit(warp), normal, angle);
    choice.weft = turned(cross(normal, choice.warp), normal, wishes.bias);
    choice.stepA = steps[0];
    choice.stepB = steps[1];
    choice.tolerance = wishes.tolerance.value_or(toleranceShare * std::sqrt(steps[0] * steps[1]));
    choice.pivotByGridLine = wishes.pivotByGridLine;
    const double ratio = std::max(steps[0], steps[1]) / std::min(steps[0], steps[1]);
    if (ratio > slenderRatio) {
        tell(notes, NoteKind::slenderCells,
             "cells of " + number(steps[0]) + " by " + number(steps[1]) + " are slender (" +
                 number(ratio, 3) + " to 1); above 1.6 a row that leaves the mould may fold and end the run");
    }
    return choice;
}

} // namespace drape::host
