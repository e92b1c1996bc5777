// Point to triangle: which corner, edge or interior is nearest, and how far.
//
// The triangle is laid into its own plane, A at the origin and B on the first axis, and the point is split
// into its foot in that plane and its height above it. Corners are tried first, then edges, then the
// interior; a feature within `tolerance` of the foot is taken at once.
#include "surface/point_triangle.h"

#include "drape.h"
#include "surface/flatness.h"

#include <cmath>
#include <limits>

namespace drape {
namespace {

struct Vec2 {
    double x, y;
};

Vec2 operator-(const Vec2& a, const Vec2& b) {
    return {a.x - b.x, a.y - b.y};
}
double dot(const Vec2& a, const Vec2& b) {
    return a.x * b.x + a.y * b.y;
}
double cross(const Vec2& a, const Vec2& b) {
    return a.x * b.y - a.y * b.x;
}

// Squared distance to the segment from s to t where its foot lies strictly between them; else none of its
// own, since an end is nearer.
double squaredDistanceToSegment(const Vec3& p, const Vec3& s, const Vec3& t) {
    const Vec3 e = t - s;
    const double along = prosca(p - s, e) / vor(e);
    return along > 0.0 && along < 1.0 ? cadis(p, s + along * e) : std::numeric_limits<double>::infinity();
}

// A triangle without a plane: its corners and edges are all there is.
TriangleDistance distanceToDegenerate(const Vec3& p, const Vec3& a, const Vec3& b, const Vec3& c) {
    const double squares[] = {cadis(p, a),
                              cadis(p, b),
                              cadis(p, c),
                              squaredDistanceToSegment(p, a, b),
                              squaredDistanceToSegment(p, b, c),
                              squaredDistanceToSegment(p, c, a)};
    std::int32_t nearest = 0;
    for (std::int32_t k = 1; k < 6; ++k)
        if (squares[k] < squares[nearest])
            nearest = k;
    return {std::sqrt(squares[nearest]), DRAPE_AT_VERTEX_A + nearest};
}

// The nearest corner or edge of a triangle from the foot of the point, all in the triangle's plane.
class FeatureSearch {
public:
    FeatureSearch(const Vec2& toA, const Vec2& toB, const Vec2& toC, double tolerance)
        : a_(toA), b_(toB), c_(toC), tolerance_(tolerance), snap2_(tolerance * tolerance) {}

    // True if a feature lies within tolerance, which ends the search.
    bool run(const Vec2& ab, const Vec2& bc, const Vec2& ca) {
        best_ = dot(a_, a_);
        nearest_ = DRAPE_AT_VERTEX_A;
        if (best_ < snap2_)
            return true;
        return take(dot(b_, b_), DRAPE_AT_VERTEX_B) || take(dot(c_, c_), DRAPE_AT_VERTEX_C) ||
               takeEdge(a_, b_, ab, DRAPE_ON_EDGE_AB) || takeEdge(b_, c_, bc, DRAPE_ON_EDGE_BC) ||
               takeEdge(c_, a_, ca, DRAPE_ON_EDGE_CA);
    }

    double best() const { return best_; }
    std::int32_t nearest() const { return nearest_; }

private:
    bool take(double square, std::int32_t feature) {
        if (!(square < best_))
            return false;
        best_ = square;
        nearest_ = feature;
        return best_ < snap2_;
    }

    // The overhang beyond the corners is allowed on dot products that aren't divided by the edge's length.
    bool takeEdge(const Vec2& s, const Vec2& t, const Vec2& e, std::int32_t feature) {
        const double area = cross(s, e);
        const double square = area * area / dot(e, e);
        if (!(square < best_) || !(dot(s, e) < tolerance_) || !(dot(t, e) > -tolerance_))
            return false;
        return take(square, feature);
    }

    Vec2 a_, b_, c_;
    double tolerance_, snap2_;
    double best_ = 0.0;
    std::int32_t nearest_ = DRAPE_AT_VERTEX_A;
};

bool strictlyInside(const Vec2& a, const Vec2& b, const Vec2& c) {
    const double ab = cross(a, b);
    const double bc = cross(b, c);
    const double ca = cross(c, a);
    return (ab < 0.0 && bc < 0.0 && ca < 0.0) || (ab > 0.0 && bc > 0.0 && ca > 0.0);
}

} // namespace

TriangleDistance distanceToTriangle(const Vec3& point, const Vec3& a, const Vec3& b, const Vec3& c,
                                    double tolerance) {
    Vec3 u = b - a;
    if (enclosesNothing(u, c - a, parvis(u, c - a)))
        return distanceToDegenerate(point, a, b, c);
    devor(u);
    const Vec3 n = unitNormal(u, c - a);
    const Vec3 v = unitNormal(n, u);
    const Vec2 flatA{0.0, 0.0};
    const Vec2 flatB{std::sqrt(cadis(a, b)), 0.0};
    const Vec2 flatC{prosca(u, c - a), prosca(v, c - a)};
    const Vec3 w = point - a;
    const Vec2 foot{prosca(u, w), prosca(v, w)};
    const double height = prosca(n, w);
    const double height2 = height * height;

    const Vec2 toA = flatA - foot;
    const Vec2 toB = flatB - foot;
    const Vec2 toC = flatC - foot;
    FeatureSearch search(toA, toB, toC, tolerance);
    const bool snapped = search.run(flatB - flatA, flatC - flatB, flatA - flatC);
    if (!snapped && strictlyInside(toA, toB, toC))
        return {std::sqrt(height2), DRAPE_IN_INTERIOR};
    return {std::sqrt(height2 + search.best()), search.nearest()};
}

} // namespace drape

using namespace drape;

extern "C" void npdmpe(const double* point, const double* vertexA, const double* vertexB,
                       const double* vertexC, const double* tolerance, double* distance, int32_t* location) {
    const TriangleDistance found =
        distanceToTriangle(load(point), load(vertexA), load(vertexB), load(vertexC), *tolerance);
    *distance = found.distance;
    *location = found.location;
}
