// How far an index or a short cut stays clear of the exact test that it stands before.
//
// Each exact test works in floating point, so "what the index leaves out, the test would have left out too"
// has to hold with the test as it rounds, not with the geometry that it means. Every bound of that kind is
// derived here, from the steps of its test. Where a test is too ill-conditioned to be bounded, the margin is
// endless and the test itself decides.
//
// u stands for the unit roundoff. Differences of given points carry a relative error of u however far off the
// points lie, so offsets count only where coordinates themselves are multiplied, averaged or widened.
//
// The bounds hold for the worst of all roundings at once, which no search comes up to. Measured against
// numbers of twice the digits, climbing from the worst of 300,000, a distance was off by 3.1 u k (d + 2
// longest), a place on two planes by 2.3 u / s of coordinates and radius, a triple product by 5.4 u |a||b|, a
// cell's sum and its bound together by 8.3 u, a mean by 1.8 u. So no test can tell these from bounds that are
// but a few times smaller.
#pragma once

#include "services/vectors.h"
#include "surface/flatness.h"
#include "surface/lanes.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace drape::margins {

constexpr double ROUNDOFF = 0x1p-53;
constexpr double ENDLESS = std::numeric_limits<double>::infinity();

// Lengths beyond these overflow or vanish in the fourth powers of the exact tests.
constexpr double LARGEST_LENGTH = 1e70;
constexpr double SMALLEST_LENGTH = 1e-70;

inline double largestCoordinate(const Vec3& v) {
    return std::max(std::fabs(v.x), std::max(std::fabs(v.y), std::fabs(v.z)));
}

// Sum of the coordinates' sizes; no dot product with a unit vector is larger.
template <class Real>
Real sizeOf(const VecOf<Real>& v) {
    return largerOf(v.x, -v.x) + largerOf(v.y, -v.y) + largerOf(v.z, -v.z);
}

// Distance of a point to a triangle, as distanceToTriangle computes it.
//
// The test lays the triangle into a frame of its own. The frame's normal is a cross product with an error of
// 8 u |u||c - a|, a tilt of 8 u k with k = longest^2 / area, and so the frame is square, and the corners lie
// in its plane, but for as much. That and the rounding of the dot products move the distance d by at most
// 20 u k (d + 2 longest); inRangeByCorners, which takes a cross product of its own, adds 10 u k (d +
// longest). On top of rounding
//  - a foot within `tolerance` of a corner or an edge takes that for the nearest place: too far by no more
//    than the tolerance, which the limit of the range holds anyway;
//  - an edge reaches over its ends by tolerance / length, since the overhang is allowed on dot products that
//    aren't divided by the length: too near by that.
// A foot beside an edge by less than 4 u times its length can count as inside, far below the rest.
constexpr double FRAME_ROUNDING = 64.0 * ROUNDOFF;

// The share of a distance, and of the triangle's length, that is lost on the thinnest triangle that still has
// a bound: for all others k is below the inverse of SLIVER_RATIO.
constexpr double DISTANCE_SHARE = FRAME_ROUNDING / TriangleShape::SLIVER_RATIO;

// An average of three points, or a box widened by a margin, is off by less than so much of its coordinates.
constexpr double PLACE_ROUNDING = 8.0 * ROUNDOFF;

// By how much a distance to a triangle, the share of that distance aside, can be off beyond the tolerance
// itself. `offset` is the largest coordinate of the triangle or of the point: the two differ by no more than
// the distance and the longest side, of which the share is thousands of times the rounding of a place.
struct DistanceSlack {
    double overhang = ENDLESS, rounding = ENDLESS; // endless for slivers

    DistanceSlack() = default;
    DistanceSlack(double longest, double shortest, double offset, double tolerance)
        : overhang(tolerance / shortest),
          rounding(DISTANCE_SHARE * (longest + overhang) + PLACE_ROUNDING * offset) {}
    double sum() const { return overhang + rounding; }
    // The same at another place, where it was taken at the origin. Distances by differences alone would do
    // without; places that are averaged or widened don't.
    DistanceSlack at(double offset) const {
        DistanceSlack there = *this;
        there.rounding += PLACE_ROUNDING * offset;
        return there;
    }
};
inline DistanceSlack distanceSlack(const TriangleShape& shape, double offset, double tolerance) {
    if (shape.isSliver() || !(shape.shortest2 > SMALLEST_LENGTH * SMALLEST_LENGTH) ||
        !(shape.longest2 < LARGEST_LENGTH * LARGEST_LENGTH) || !(offset < LARGEST_LENGTH) ||
        !(tolerance < LARGEST_LENGTH))
        return {};
    return {std::sqrt(shape.longest2), std::sqrt(shape.shortest2), offset, tolerance};
}

// How far off a corner of a triangle in range may lie, and that it may at all. The distance that the test
// gives is no longer than the way to any corner, but for rounding, and but for a corner within tolerance of
// the foot that comes first: so no longer than the root of c^2 + tolerance^2 for a corner c away. With c up
// to radius + tolerance / 4 that is less than radius + 0.8 tolerance, and rounding may take an eighth.
constexpr double CORNER_SHARE = 0.25; // of the tolerance
inline bool cornersSettleRange(double radius, double tolerance, double rounding) {
    return tolerance < radius && rounding + 2.0 * DISTANCE_SHARE * radius < 0.125 * tolerance;
}

// A distance that no exact test falls short of, where `distance` bounds the true one from below. Nothing is
// bounded at distances whose squares come near the end of the numbers.
inline double distanceBelow(double distance) {
    return distance < LARGEST_LENGTH ? distance * (1.0 - DISTANCE_SHARE) : -ENDLESS;
}

// The same from above: the snap to a corner or an edge costs no more than the tolerance.
inline double distanceAbove(double distance, double tolerance) {
    return distance < LARGEST_LENGTH ? distance * (1.0 + DISTANCE_SHARE) + tolerance : ENDLESS;
}

// How far from the centre of a ball, coordinate by coordinate, what is in range of it can lie, boxes being
// widened by the slack of their triangles. That slack has four times what is rounded off where the two meet:
// the centre's coordinates differ from the triangle's by no more than distance and longest side.
inline double reachOfRange(double radius, double tolerance) {
    return (radius + tolerance) * (1.0 + 2.0 * DISTANCE_SHARE);
}

// A hit of a circle on a triangle, as cutCircle computes it.
//
// The hit P lies on the line of two planes: P = Q -+ h d with d = axis x n at unit length, Q the point common
// to both planes and the plane square to d through the centre C, and h^2 = r^2 - |Q - C|^2. With s = |axis x
// n|, the sine between the planes, Q solves three equations whose numerators carry 24 u times the coordinates
// of C and of the triangle, divided by a determinant s. So P may lie off the triangle's plane, and off the
// circle, by up to 64 u (|C| + |a|) / s. Whatever has become of Q, |P - C| <= |Q - C| + h <= sqrt(2) r, or
// r + tolerance where the foot itself counts as the point.
//
// Neither the corner and edge stages nor the interior stage ask for a height over the plane; they bound where
// P lies along it:
//  - corners and edges take P within 2 tolerance (foot within one of an end, P within one of its foot);
//  - the interior stage takes the signs of three triple products. Each is the length of an edge times P's
//    distance beside it, but for an error e = 8 u |a||b| with a, b the way to its ends. A point beside two
//    edges of lengths p and q by no more than e / p and e / q lies within (p + q) e / area of the triangle,
//    so within 2 k e / longest.
constexpr double CUT_ROUNDING = 64.0 * ROUNDOFF;
constexpr double SIDE_ROUNDING = 8.0 * ROUNDOFF;

// Planes closer to parallel than this sine count as nearly coplanar: then nothing but |P - C| is known of a
// hit, and the places of hits spread over the disc. At all others P is off by CUT_ROUNDING / NEARLY_COPLANAR
// of the coordinates, 7e-12, which vanishes in the slack of the single precision in which boxes are tested.
// Cones lose SINGLE_SLACK on their cosines as well, which by itself holds twice that angle.
constexpr double NEARLY_COPLANAR = 1e-3;
constexpr double COPLANAR_COSINE = 1.0 - 0.5 * NEARLY_COPLANAR * NEARLY_COPLANAR * (1.0 + NEARLY_COPLANAR);
constexpr double SINGLE_SLACK = 2e-6; // of coordinates, boxes and radius; 6e-8 is lost some ten times over
static_assert(10.0 * CUT_ROUNDING / NEARLY_COPLANAR < SINGLE_SLACK);
constexpr double LARGEST_SINGLE = 1e15; // its square, and that of its inverse, fit single precision

// A hit on a nearly coplanar triangle lies beside the triangle's foot by no more than |P - C|, and the foot's
// height over the circle's plane is no more than NEARLY_COPLANAR of some 1.5 r, since the triangle has to
// pass the slab test. Together less than 1.5 r.
constexpr double DISC_REACH = 1.5; // of the radius

// How far beside the box of its triangle a hit of a circle with radius up to `reach` can lie. The height of P
// over the plane is within that reach even where planes are nearly coplanar, and counts by the tilt of the
// normal too, 8 u k. So with D the way from the triangle, d <= K (D + longest)^2 + 4 k (8 u k) D, where K =
// 32 u k / longest; that holds for small d and again for d near 1 / K, which has to lie beyond the `extent`
// of the whole mesh. Endless where the triangle is too thin for that. The last term
// stands for the coordinates that a triangle larger than the circle has beyond those of its centre.
//
// Real is double, or lanes of it; the bound holds where holdsFor() says so.
template <class Real>
struct HitMargin {
    HitMargin(const Real& longestSide, const Real& conditioning, double tolerance, double reach)
        : longest(longestSide), span(2.0 * longest + 2.0 * (2.0 * reach + tolerance)),
          curvature(4.0 * SIDE_ROUNDING * conditioning),
          beside(curvature * span * (span / longest + conditioning)),
          value(2.0 * tolerance + beside + SINGLE_SLACK * longest) {}

    auto holdsFor(double extent) const {
        return (curvature * (extent + span) < 0.25 * longest) & (beside < span);
    }

    Real longest, span, curvature, beside, value;
};
inline double hitMargin(const TriangleShape& shape, double tolerance, double reach, double extent) {
    const HitMargin<double> margin(std::sqrt(shape.longest2), shape.longest2 / std::sqrt(shape.area2),
                                   tolerance, reach);
    return margin.holdsFor(extent) ? margin.value : ENDLESS;
}

// Where on a circle the answer of a search lies as a rule: at least FORWARD_SHARE of the radius ahead.
//
// With f the unit way ahead, square to the axis but for SQUARE_SHARE, and s = axis x f, a hit that far ahead
// is C + x f + y s with 0.95 r <= x and x^2 + y^2 <= (r + tolerance)^2, since the foot itself can count as a
// point within the tolerance of the rim. That leaves a rectangle. On planes that aren't nearly coplanar with
// the circle's, hits are off it by CUT_ROUNDING / NEARLY_COPLANAR of their coordinates, which at the ends of
// the rectangle counts some three times; both are far below the share by which it is widened.
constexpr double FORWARD_SHARE = 0.95;
constexpr double SQUARE_SHARE = 1e-10;
constexpr double ARC_SHARE = 1e-9; // of coordinates and radius
static_assert(10.0 * CUT_ROUNDING / NEARLY_COPLANAR < ARC_SHARE);

struct ForwardArc {
    ForwardArc(const Vec3& centre, const Vec3& axis, double radius, const Vec3& forward, double tolerance) {
        const double length = std::sqrt(vor(forward));
        const Vec3 f = forward / length;
        bounded =
            length > SMALLEST_LENGTH && length < LARGEST_LENGTH && std::fabs(prosca(axis, f)) < SQUARE_SHARE;
        const Vec3 s = parvis(axis, f);
        const double outer = radius + tolerance;
        const double inner = FORWARD_SHARE * radius;
        const double aside = std::sqrt(outer * outer - inner * inner);
        const double slack = ARC_SHARE * (sizeOf(centre) + outer);
        least = inner * length;
        const Vec3 middle = 0.5 * (inner + outer) * f;
        const auto reach = [&](double fk, double sk) {
            return 0.5 * (outer - inner) * std::fabs(fk) + aside * std::fabs(sk) + slack;
        };
        const Vec3 half{reach(f.x, s.x), reach(f.y, s.y), reach(f.z, s.z)};
        low = centre + middle - half;
        high = centre + middle + half;
    }

    bool bounded;
    double least; // that a hit so far ahead has as its dot product with `forward`
    Vec3 low, high;
};

// What is dropped where the grid came from lies within tolerance of a place within the radius of the point
// behind. So a hit is safe from that beyond the sum of the two, three roundings aside.
inline double safeFromDropping2(double radius, double tolerance) {
    return (radius + tolerance) * (radius + tolerance) * (1.0 + 16.0 * ROUNDOFF);
}

// The same for a single point whose triple products are at hand: where one of them is below minus the limit,
// or all are above it, no corner and no edge takes the point, and the triple products alone decide. An edge
// takes points within 2 tolerance, and it finds its foot from three planes nearly square to each other, the
// edge's own in the same direction as the triple product, so off by CUT_ROUNDING of the coordinates; `size`
// bounds the edge's length. Planes nearly square to each other never count as parallel below a tolerance of
// one half.
//
// Real is lanes of numbers; the limit at a point holds where holdsFor() says so.
template <class Real>
struct SideLimit {
    // Of the triangle a, a + ab, a - ca.
    SideLimit(const VecOf<Real>& a, const VecOf<Real>& ab, const VecOf<Real>& ca, double tolerance)
        : size(sizeOf(ab) + sizeOf(ca)), fixed((2.0 * tolerance + CUT_ROUNDING * sizeOf(a)) * size),
          longestAway(tolerance < 0.5 ? LARGEST_LENGTH : -ENDLESS) {}

    Real away(const VecOf<Real>& fromA) const { return sizeOf(fromA) + size; }
    Real at(const VecOf<Real>& fromA) const { return fixed + CUT_ROUNDING * (away(fromA) * away(fromA)); }
    auto holdsFor(const VecOf<Real>& fromA) const {
        return (size > SMALLEST_LENGTH + Real{}) & (away(fromA) < longestAway + Real{});
    }

    Real size, fixed;
    double longestAway;
};

// The sum of the squared distances of a point to a cell's corners, as cellDistance computes it: ten
// roundings, and as many in its bound by mean and spread. The mean of four points is off by 3 u of their
// coordinates.
constexpr double CELL_SHARE = 32.0 * ROUNDOFF;
constexpr double CELL_FLOOR = 1e-300; // squares below it vanish
constexpr double MEAN_ROUNDING = 4.0 * ROUNDOFF;
constexpr double LARGEST_CELL_COORDINATE = 1e150; // no sum of squares overflows

} // namespace drape::margins
