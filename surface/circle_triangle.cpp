// Circle and triangle: at most two points, each with the kind of place where it lies on the triangle.
//
// The circle's plane and the triangle's plane meet in a line. The foot of the centre on that line comes from
// three planes, the circle's points on the line from the foot, and what lies on the triangle is told apart in
// three stages: corners, edges, interior.
#include "surface/circle_triangle.h"

#include "drape.h"
#include "surface/margins.h"

#include <algorithm>
#include <cmath>

namespace drape {
namespace {

// The triangle and the tolerance that all stages share.
struct Clip {
    Vec3 a, b, c;
    Vec3 normal;
    double tolerance2;
};

// Points still to be placed on the triangle, at most two, in order.
struct WorkingPoints {
    std::int32_t count = 0;
    Vec3 points[2]{};
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
        if (cadis(point, clip.a) < clip.tolerance2)
            append(cut, point, DRAPE_AT_VERTEX_A);
        else if (cadis(point, clip.b) < clip.tolerance2)
            append(cut, point, DRAPE_AT_VERTEX_B);
        else if (cadis(point, clip.c) < clip.tolerance2)
            append(cut, point, DRAPE_AT_VERTEX_C);
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

// On which side of each edge a point lies: the edge's length times the distance, above 0 inside.
struct Sides {
    double ab, bc, ca;

    Sides(const Clip& clip, const Vec3& point) {
        const Vec3 a = clip.a - point;
        const Vec3 b = clip.b - point;
        const Vec3 c = clip.c - point;
        ab = promix(a, b, clip.normal);
        bc = promix(b, c, clip.normal);
        ca = promix(c, a, clip.normal);
    }
    bool inside() const {
        return (ab < 0.0 && bc < 0.0 && ca < 0.0) || (ab >= 0.0 && bc >= 0.0 && ca >= 0.0);
    }
    bool anyBelow(double limit) const { return ab < limit || bc < limit || ca < limit; }
    bool allAbove(double limit) const { return ab > limit && bc > limit && ca > limit; }
};

void interiorStage(const Clip& clip, const WorkingPoints& working, CircleCut& cut) {
    for (std::int32_t k = 0; k < working.count; ++k)
        if (Sides(clip, working.points[k]).inside())
            append(cut, working.points[k], DRAPE_IN_INTERIOR);
}

void clipToTriangle(const Clip& clip, WorkingPoints& working, CircleCut& cut) {
    cornerStage(clip, working, cut);
    if (working.count == 0)
        return;
    if (!edgeStage(clip, working, cut)) {
        cut.singular = true;
        return;
    }
    interiorStage(clip, working, cut);
}

// Takes out the points that lie clearly beside the triangle. Where the others all lie clear of its edges
// inside, the interior stage has decided, and the result is true.
bool clipByInteriorAlone(const Clip& clip, WorkingPoints& working, double tolerance, CircleCut& cut) {
    const margins::SideLimit limit(clip.a, clip.b - clip.a, clip.a - clip.c, tolerance);
    WorkingPoints left;
    bool allInside = true;
    for (std::int32_t k = 0; k < working.count; ++k) {
        const Sides sides(clip, working.points[k]);
        const double clear = limit.at(working.points[k] - clip.a);
        const bool settled = sides.anyBelow(-clear) || sides.allAbove(clear);
        if (settled && !sides.inside())
            continue;
        left.points[left.count++] = working.points[k];
        allInside = allInside && settled;
    }
    working = left;
    for (std::int32_t k = 0; allInside && k < left.count; ++k)
        append(cut, left.points[k], DRAPE_IN_INTERIOR);
    return allInside;
}

enum class ShortCuts { none, taken };

template <ShortCuts shortCuts>
CircleCut cut(const Circle& circle, const Vec3& a, const Vec3& b, const Vec3& c, double tolerance,
              std::int32_t clipMode) {
    CircleCut cut;
    if (clipMode == CLIP_AFTER_SLAB_TEST && outsideSlab(circle, a, b, c, tolerance))
        return cut;
    if (enclosesNothing(b - a, c - a, parvis(b - a, c - a)))
        return cut;
    const Clip clip{a, b, c, unitNormal(b - a, c - a), tolerance * tolerance};
    Vec3 direction = parvis(circle.axis, clip.normal);
    if (clip.tolerance2 > vor(direction))
        return cut; // parallel planes
    devor(direction);
    const PlanesPoint foot = commonPoint({circle.centre, circle.axis}, {a, clip.normal},
                                         {circle.centre, direction}, clip.tolerance2);
    if (foot.singular) {
        cut.singular = true;
        return cut;
    }
    WorkingPoints working = pointsOnLine(circle, foot.point, direction, tolerance);
    if (clipMode == CUT_TRIANGLE_PLANE) {
        for (std::int32_t k = 0; k < working.count; ++k)
            append(cut, working.points[k], DRAPE_AT_NOWHERE);
        return cut;
    }
    if (working.count == 0 ||
        (shortCuts == ShortCuts::taken && clipByInteriorAlone(clip, working, tolerance, cut)))
        return cut;
    clipToTriangle(clip, working, cut);
    return cut;
}

} // namespace

PlanesPoint commonPoint(const Plane& p1, const Plane& p2, const Plane& p3, double threshold) {
    const double d1 = prosca(p1.point, p1.normal);
    const double d2 = prosca(p2.point, p2.normal);
    const double d3 = prosca(p3.point, p3.normal);
    const Vec3 c23 = parvis(p2.normal, p3.normal);
    const Vec3 c31 = parvis(p3.normal, p1.normal);
    const Vec3 c12 = parvis(p1.normal, p2.normal);
    const double det = prosca(p1.normal, c23);
    return {(d1 * c23 + d2 * c31 + d3 * c12) / det, threshold > std::fabs(det)};
}

bool outsideSlab(const Circle& circle, const Vec3& a, const Vec3& b, const Vec3& c, double tolerance) {
    const double level = prosca(circle.centre, circle.axis);
    const double ha = prosca(a, circle.axis) - level;
    const double hb = prosca(b, circle.axis) - level;
    const double hc = prosca(c, circle.axis) - level;
    const double low = std::min(ha, std::min(hb, hc));
    const double high = std::max(ha, std::max(hb, hc));
    return low > tolerance || 0.0 - tolerance > high;
}

CircleCut cutCircle(const Circle& circle, const Vec3& a, const Vec3& b, const Vec3& c, double tolerance,
                    std::int32_t clipMode) {
    return cut<ShortCuts::none>(circle, a, b, c, tolerance, clipMode);
}

CircleCut cutCircleShortly(const Circle& circle, const Vec3& a, const Vec3& b, const Vec3& c,
                           double tolerance) {
    return cut<ShortCuts::taken>(circle, a, b, c, tolerance, CLIP_AFTER_SLAB_TEST);
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
