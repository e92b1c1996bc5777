// Circle and triangle: at most two points, each with the kind of place where it lies on the triangle.
//
// The circle's plane and the triangle's plane meet in a line. The foot of the centre on that line comes from
// three planes, the circle's points on the line from the foot, and what lies on the triangle is told apart in
// three stages: corners, edges, interior.
#include "surface/circle_triangle.h"

#include "surface/flatness.h"

#include <cmath>

namespace drape {
namespace {

// The triangle and the tolerance that all stages share.
struct Clip {
    Vec3 a, b, c;
    Vec3 normal;
    double tolerance2;
};

void append(CircleCut& cut, const Vec3& point, std::int32_t kind) {
    cut.points[cut.count] = point;
    cut.kinds[cut.count] = kind;
    ++cut.count;
}

// The circle's points on the line where its plane meets the triangle's.
WorkingPoints pointsOnLine(const Circle& circle, const Vec3& foot, const Vec3& direction, double tolerance) {
    WorkingPoints found;
    const double foot2 = cadis(circle.centre, foot);
    const double beyond = std::sqrt(foot2) - circle.radius;
    if (tolerance > std::fabs(beyond)) {
        found.count = 1;
        found.points[0] = foot;
    } else if (beyond < 0.0) {
        const double half = std::sqrt(circle.radius * circle.radius - foot2);
        found.count = 2;
        found.points[0] = foot - half * direction;
        found.points[1] = foot + half * direction;
    }
    return found;
}

void cornerStage(const Clip& clip, WorkingPoints& working, CircleCut& cut) {
    WorkingPoints left;
    for (std::int32_t k = 0; k < working.count; ++k) {
        const Vec3& point = working.points[k];
        const std::int32_t corner = cornerAt(point, clip.a, clip.b, clip.c, clip.tolerance2);
        if (corner != 0)
            append(cut, point, corner);
        else
            left.points[left.count++] = point;
    }
    working = left;
}

struct EdgeFrame {
    Vec3 from, to;
    Vec3 along;  // unit
    Vec3 inward; // in-plane normal of the edge, unit
    std::int32_t kind;
};

EdgeFrame edgeFrame(const Vec3& from, const Vec3& to, const Vec3& normal, std::int32_t kind) {
    Vec3 along = to - from;
    devor(along);
    return {from, to, along, unitNormal(along, normal), kind};
}

enum class OnEdge { yes, no, singular };

OnEdge liesOnEdge(const Clip& clip, const EdgeFrame& edge, const Vec3& point) {
    const PlanesPoint foot =
        commonPoint({clip.a, clip.normal}, {edge.from, edge.inward}, {point, edge.along}, clip.tolerance2);
    if (foot.singular)
        return OnEdge::singular;
    const Vec3& r = foot.point;
    const bool within = clip.tolerance2 >= cadis(r, edge.from) || clip.tolerance2 >= cadis(r, edge.to) ||
                        prosca(r - edge.from, edge.to - r) > 0.0;
    return within && clip.tolerance2 > cadis(r, point) ? OnEdge::yes : OnEdge::no;
}

// False if an edge's planes have no common point, which ends the whole cut.
bool edgeStage(const Clip& clip, WorkingPoints& working, CircleCut& cut) {
    const EdgeFrame edges[] = {edgeFrame(clip.a, clip.b, clip.normal, DRAPE_ON_EDGE_AB),
                               edgeFrame(clip.b, clip.c, clip.normal, DRAPE_ON_EDGE_BC),
                               edgeFrame(clip.c, clip.a, clip.normal, DRAPE_ON_EDGE_CA)};
    WorkingPoints left;
    for (std::int32_t k = 0; k < working.count; ++k) {
        OnEdge found = OnEdge::no;
        for (const EdgeFrame& edge : edges) {
            found = liesOnEdge(clip, edge, working.points[k]);
            if (found == OnEdge::singular)
                return false;
            if (found == OnEdge::yes) {
                append(cut, working.points[k], edge.kind);
                break;
            }
        }
        if (found == OnEdge::no)
            left.points[left.count++] = working.points[k];
    }
    working = left;
    return true;
}

// Whether a point lies on the same side of all edges.
bool isInside(const Clip& clip, const Vec3& point) {
    const Vec3 a = clip.a - point;
    const Vec3 b = clip.b - point;
    const Vec3 c = clip.c - point;
    const double ab = promix(a, b, clip.normal);
    const double bc = promix(b, c, clip.normal);
    const double ca = promix(c, a, clip.normal);
    return (ab < 0.0 && bc < 0.0 && ca < 0.0) || (ab >= 0.0 && bc >= 0.0 && ca >= 0.0);
}

void interiorStage(const Clip& clip, const WorkingPoints& working, CircleCut& cut) {
    for (std::int32_t k = 0; k < working.count; ++k)
        if (isInside(clip, working.points[k]))
            append(cut, working.points[k], DRAPE_IN_INTERIOR);
}

} // namespace

CircleCut clipToTriangle(const Vec3& a, const Vec3& b, const Vec3& c, const Vec3& normal,
                         const WorkingPoints& points, double tolerance) {
    CircleCut cut;
    const Clip clip{a, b, c, normal, tolerance * tolerance};
    WorkingPoints working = points;
    cornerStage(clip, working, cut);
    if (working.count == 0)
        return cut;
    if (edgeStage(clip, working, cut))
        interiorStage(clip, working, cut);
    else
        cut.singular = true;
    return cut;
}

CircleCut cutCircle(const Circle& circle, const Vec3& a, const Vec3& b, const Vec3& c, double tolerance,
                    std::int32_t clipMode) {
    CircleCut cut;
    if (clipMode == CLIP_AFTER_SLAB_TEST && outsideSlab(circle, a, b, c, tolerance))
        return cut;
    if (enclosesNothing(b - a, c - a, parvis(b - a, c - a)))
        return cut;
    const double tolerance2 = tolerance * tolerance;
    const Vec3 normal = unitNormal(b - a, c - a);
    Vec3 direction = parvis(circle.axis, normal);
    if (tolerance2 > vor(direction))
        return cut; // parallel planes
    devor(direction);
    const PlanesPoint foot =
        commonPoint({circle.centre, circle.axis}, {a, normal}, {circle.centre, direction}, tolerance2);
    if (foot.singular) {
        cut.singular = true;
        return cut;
    }
    const WorkingPoints points = pointsOnLine(circle, foot.point, direction, tolerance);
    if (clipMode != CUT_TRIANGLE_PLANE)
        return points.count == 0 ? cut : clipToTriangle(a, b, c, normal, points, tolerance);
    for (std::int32_t k = 0; k < points.count; ++k)
        append(cut, points.points[k], DRAPE_AT_NOWHERE);
    return cut;
}

PlanesPoint commonPoint(const Plane& p1, const Plane& p2, const Plane& p3, double threshold) {
    const PlanesSolution<double> solution = solvePlanes(p1, p2, p3);
    return {solution.point, threshold > std::fabs(solution.determinant)};
}

} // namespace drape

using namespace drape;

extern "C" void npx3pl(const double* point1, const double* normal1, const double* point2,
                       const double* normal2, const double* point3, const double* normal3,
                       const double* threshold, double* solution, int32_t* singular) {
    const PlanesPoint found = commonPoint({load(point1), load(normal1)}, {load(point2), load(normal2)},
                                          {load(point3), load(normal3)}, *threshold);
    store(solution, found.point);
    *singular = found.singular ? 1 : 0;
}

extern "C" int32_t npxctr(const double* centre, const double* axis, const double* radius,
                          const double* vertexA, const double* vertexB, const double* vertexC,
                          const double* tolerance, const int32_t* clipMode, int32_t* hitCount,
                          double* hitPoints, int32_t* hitKinds, int32_t* singular) {
    const CircleCut cut = cutCircle({load(centre), load(axis), *radius}, load(vertexA), load(vertexB),
                                    load(vertexC), *tolerance, *clipMode);
    *hitCount = cut.count;
    for (std::int32_t k = 0; k < cut.count; ++k)
        store(hitPoints, cut.points[k], k + 1);
    hitKinds[0] = cut.kinds[0];
    hitKinds[1] = cut.kinds[1];
    *singular = cut.singular ? 1 : 0;
    return *singular;
}
