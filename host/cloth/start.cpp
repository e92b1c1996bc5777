// All directions live in the plane of the seed triangle; the normal is that of its winding, so seen against
// it the weft lies a quarter turn to the left of the warp.
#include "host/cloth/start.h"

#include "host/mesh/error.h"
#include "host/mesh/nearest_point.h"
#include "host/mesh/point.h"
#include "host/mesh/text.h"
#include "host/mesh/turn.h"

#include <algorithm>
#include <cstdlib>
#include <limits>
#include <numbers>

namespace drape::host {

using namespace vec;

double along(const Point& place) {
    return dot(place, {0.37, 1.0, 0.17});
}

namespace {

// A direction this close to the normal (as the sine of the angle between them) says too little. One that was
// asked for has to be clearer, since the facets of a dome lean by some degrees even at its top.
constexpr double leastSine = 0.02;
constexpr double leastAskedSine = 0.1;
constexpr double toleranceShare = 1e-3;
constexpr double mostToleranceShare = 0.1;
constexpr double slenderRatio = 1.6;

// A start is moved off an edge by this share of a cell, or by this share of the way to its triangle's middle
// if that is less; by half as much again each time, until rows along the edge and the library's own search
// for the start's triangle keep clear of it by more than the tolerance, or as far as a slender triangle lets
// it.
constexpr double inward = 5.0 * toleranceShare;
constexpr double mostInward = 0.05;
constexpr double growth = 1.5;
constexpr double clearShare = 1.5 * toleranceShare; // of a cell
constexpr double mostFromTip = 0.005;               // of a cell
constexpr double mostOfSide = 0.3;                  // of the triangle's longest side
constexpr double sameFacing = 1e-6;                 // difference of unit normals
constexpr int mostMoves = 20;

double powerOfTen(int exponent) {
    double power = 1.0;
    for (int k = std::abs(exponent); k > 0; --k) {
        power *= 10.0;
    }
    return exponent < 0 ? 1.0 / power : power;
}

// To two significant digits, for a step that is easy to read and to repeat. The whole drape hangs on its last
// bit, in which C libraries may differ on logarithms and powers.
double rounded(double value) {
    int exponent = 0;
    while (exponent < std::numeric_limits<double>::max_exponent10 && value >= powerOfTen(exponent + 1)) {
        ++exponent;
    }
    while (exponent > std::numeric_limits<double>::min_exponent10 && value < powerOfTen(exponent)) {
        --exponent;
    }
    const double unit = powerOfTen(exponent - 1);
    return std::round(value / unit) * unit;
}

Point inPlane(const Point& wanted, const Point& normal) {
    return unit(wanted) - dot(unit(wanted), normal) * normal;
}

// A wanted direction as a unit vector in the plane.
Point laidIn(const Point& wanted, const Point& normal, const std::string& what) {
    const Point laid = inPlane(wanted, normal);
    if (length(laid) < leastAskedSine) {
        throw InputError("the " + what + " direction " + pointText(wanted) +
                             " stands upright on the surface at the seed; give one that runs along it there",
                         Refusal::upright);
    }
    return unit(laid);
}

// Along x, or where the surface stands across it, along y.
Point usualDirection(const Point& normal, Notes& notes) {
    const Point along = inPlane({1.0, 0.0, 0.0}, normal);
    if (length(along) >= leastSine) {
        return unit(along);
    }
    tell(notes, NoteKind::warpUpright,
         "the surface stands square to x at the seed, so the warp was laid along y there");
    return unit(inPlane({0.0, 1.0, 0.0}, normal));
}

// A point inside a triangle that no symmetry of the mould keeps in its place.
Point placeWithin(const Mould& mould, std::size_t triangle) {
    std::array<Point, 3> corners{mould.corner(triangle, 0), mould.corner(triangle, 1),
                                 mould.corner(triangle, 2)};
    std::sort(corners.begin(), corners.end(),
              [](const Point& a, const Point& b) { return along(a) < along(b); });
    return 0.5 * corners[0] + 0.31 * corners[1] + 0.19 * corners[2];
}

// Whether one of a triangle's edges at which the mould ends lies within reach of a point.
bool endsNear(const Mould& mould, std::size_t triangle, const Point& point, double reach) {
    for (std::size_t k = 0; k < 3; ++k) {
        const Point nearest =
            nearestOnSegment(mould.corner(triangle, k), mould.corner(triangle, (k + 1) % 3), point);
        if (mould.edges.beyond[triangle][k] < 0 && distance(nearest, point) <= reach) {
            return true;
        }
    }
    return false;
}

// How a start is moved: at most by a length and by a share of the way, off what lies within `clear` of it.
// Where slender triangles meet, being clear of their sides takes a long way, so there less than `clear` is
// asked: what takes no more than about `most` of a way from their tip.
struct Move {
    double length, share, clear, most;

    double clearIn(const Mould& mould, std::size_t triangle) const {
        double longest = 0.0;
        for (std::size_t k = 0; k < 3; ++k) {
            longest =
                std::max(longest, distance(mould.corner(triangle, k), mould.corner(triangle, (k + 1) % 3)));
        }
        const double slope = 2.0 * mould.facets[triangle].area / (longest * longest);
        return finite(std::min(clear, 0.5 * slope * std::min(mostOfSide * longest, most)));
    }
};

// Where a place on the mould goes if the mould ends there, or triangles meet there that face differently;
// nothing if it may stay. `onRim` says which it was.
std::optional<SurfacePoint> movedOffEdges(const Mould& mould, const SurfacePoint& place, const Move& move,
                                          bool& onRim) {
    const double reach = move.clearIn(mould, place.triangle);
    SurfacePoint chosen = place;
    bool alike = true;
    const auto look = [&](std::size_t t) {
        const Facet& facet = mould.facets[t];
        const Point away = place.position - facet.centroid;
        if (facet.area == 0.0 || dot(away, away) > (reach + facet.reach) * (reach + facet.reach)) {
            return;
        }
        const Point q =
            nearestOnTriangle(mould.corner(t, 0), mould.corner(t, 1), mould.corner(t, 2), place.position);
        if (distance(q, place.position) <= reach) {
            alike = alike && distance(facet.normal, mould.facets[place.triangle].normal) <= sameFacing;
            onRim = onRim || endsNear(mould, t, place.position, reach);
            if (along(facet.centroid) < along(mould.facets[chosen.triangle].centroid)) {
                chosen = {q, t, place.distance};
            }
        }
    };
    eachTriangleNear(
        mould, place.position, [&] { return reach; }, look);
    if (alike && !onRim) {
        return std::nullopt;
    }
    const Point within = placeWithin(mould, chosen.triangle);
    const double way = distance(chosen.position, within);
    chosen.position = mix(chosen.position, within, way > 0.0 ? std::min(move.share, move.length / way) : 0.0);
    return chosen;
}

} // namespace

SurfacePoint seedOn(const Mould& mould, const Point& point, const std::array<double, 2>& steps,
                    Notes& notes) {
    const SurfacePoint nearest = nearestPoint(mould, point);
    const double cell = std::min(steps[0], steps[1]);
    Move move{inward * cell, mostInward, clearShare * cell, mostFromTip * cell};
    SurfacePoint seed = nearest;
    bool onRim = false; // at any of the moves
    // The last place may stay, since a drape from the start that is told has to be the same drape.
    for (int moves = 0; moves < mostMoves; ++moves) {
        bool ends = false;
        const std::optional<SurfacePoint> next = movedOffEdges(mould, seed, move, ends);
        if (!next) {
            break;
        }
        seed = *next;
        onRim = onRim || ends;
        move.length *= growth;
        move.share = std::min(1.0, growth * move.share);
    }
    const double moved = distance(seed.position, nearest.position);
    if (moved > 0.0) {
        tell(notes, NoteKind::seedMoved,
             std::string(onRim ? "the seed lies on the mould's edge"
                               : "the seed lies where triangles meet that face differently") +
                 "; it was moved by " + number(moved) + (onRim ? " inward" : " into one of them") + ", to " +
                 pointText(seed.position, finestOf(steps)));
    }
    return seed;
}

double finestOf(const std::array<double, 2>& steps) {
    return 1e-3 * std::min(steps[0], steps[1]);
}

std::array<double, 2> stepsFor(const StartWishes& wishes, double area) {
    if (wishes.stepA) {
        return {*wishes.stepA, wishes.stepB.value_or(*wishes.stepA)};
    }
    const double step = rounded(std::sqrt(area) / cellsAcross);
    return {step, step};
}

void tellOfSlenderCells(const std::array<double, 2>& steps, Notes& notes) {
    const double ratio = std::max(steps[0], steps[1]) / std::min(steps[0], steps[1]);
    if (ratio > slenderRatio) {
        tell(notes, NoteKind::slenderCells,
             "cells of " + number(steps[0]) + " by " + number(steps[1]) + " are slender (" +
                 number(ratio, 3) + " to 1); above 1.6 a row that leaves the mould may fold and end the run");
    }
}

Choice choiceAt(const Mould& mould, const SurfacePoint& seed, const StartWishes& wishes, double angle,
                const std::array<double, 2>& steps, Notes& notes) {
    Choice choice;
    choice.seed = seed.position;
    const Point& normal = mould.facets[seed.triangle].normal;
    choice.normal = normal;
    choice.rosette = wishes.rosette ? laidIn(*wishes.rosette, normal, "rosette")
                     : wishes.warp  ? laidIn(*wishes.warp, normal, "warp")
                                    : usualDirection(normal, notes);
    const Point warp = wishes.warp ? laidIn(*wishes.warp, normal, "warp") : choice.rosette;
    choice.warp = turned(warp, normal, angle);
    choice.weft = cross(normal, choice.warp);
    choice.stepA = steps[0];
    choice.stepB = steps[1];
    choice.tolerance = wishes.tolerance.value_or(toleranceShare * std::sqrt(steps[0] * steps[1]));
    choice.pivotByGridLine = wishes.pivotByGridLine;
    tellOfSlenderCells(steps, notes);
    return choice;
}

double plyAngle(const Choice& choice) {
    const double degrees =
        std::atan2(dot(choice.normal, cross(choice.rosette, choice.warp)), dot(choice.rosette, choice.warp)) *
        180.0 / std::numbers::pi;
    return degrees <= -180.0 ? 180.0 : degrees + 0.0;
}

void checkTolerance(const StartWishes& wishes, const std::array<double, 2>& steps) {
    const double most = mostToleranceShare * std::min(steps[0], steps[1]);
    if (wishes.tolerance && !(*wishes.tolerance <= most)) {
        throw InputError("a tolerance of " + number(*wishes.tolerance) + " swallows cells of " +
                             number(steps[0]) + " by " + number(steps[1]) +
                             "; the most is a tenth of a cell, " + number(most),
                         Refusal::tooCoarse);
    }
}

} // namespace drape::host
