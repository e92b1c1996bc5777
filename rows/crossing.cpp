// Crossing test: does a cell edge stay within the boundary of the surface?
//
// A segment between two nodes and the boundary are both curves in space and don't meet exactly. So each
// boundary edge is widened into a strip: at every point of the edge stands the surface normal, blended from
// those of its ends. A crossing is a place where the line of the segment meets such a ruling.
#include "rows/crossing.h"

#include "rows/near_edges.h"
#include "surface/run_indices.h"

#include <algorithm>
#include <cmath>

namespace drape {
namespace {

constexpr std::int32_t ACCEPTED_HITS = 10; // on one segment
// Hits further along the ruling than this share of a cell belong to another part of the surface.
constexpr double RULING_REACH = 0.5;

enum HitKind : std::int32_t { AT_START = 1, AT_END = 2, BETWEEN = 3 };

struct BoundaryStrip {
    Vec3 start, startNormal, end, endNormal;
};

// Points of the strip's edge whose rulings meet the line of a segment.
enum StripCase : std::int32_t {
    ONE_ROOT = 1,
    DOUBLE_ROOT = 2,
    TWO_ROOTS = 3,
    NO_REAL_ROOT = 4,
    NO_EQUATION = 5,
};

struct StripRoots {
    StripCase caseCode = NO_EQUATION;
    std::int32_t count = 0;
    double parameters[2] = {0.0, 0.0}; // along the edge, 0 at its start and 1 at its end
};

struct StripHits {
    std::int32_t count = 0;
    double distance[2] = {0.0, 0.0}; // along the ruling
    std::int32_t kinds[2] = {0, 0};
    std::int32_t written = 0; // entries of `distance` that hold a value
};

// The line a + r u meets the ruling at P(s) where the triple product (a - P(s), N(s), u) is 0, a quadratic
// in s.
StripRoots solveStrip(const Vec3& a, const Vec3& u, const BoundaryStrip& strip, double tolerance) {
    const Vec3 d = strip.start - strip.end;
    const Vec3 e = a - strip.start;
    const Vec3 f = strip.endNormal - strip.startNormal;
    const double qa = promix(d, f, u);
    const double qb = promix(d, strip.startNormal, u) + promix(e, f, u);
    const double qc = promix(e, strip.startNormal, u);
    StripRoots roots;
    if (std::fabs(qa) < tolerance) {
        if (std::fabs(qb) < tolerance)
            return roots;
        roots.caseCode = ONE_ROOT;
        roots.count = 1;
        roots.parameters[0] = -(qc / qb);
        return roots;
    }
    const double discriminant = qb * qb - (qa * 4.0) * qc;
    if (std::fabs(discriminant) < tolerance) {
        roots.caseCode = DOUBLE_ROOT;
        roots.count = 1;
        roots.parameters[0] = -(qb / (qa * 2.0));
    } else if (discriminant > 0.0) {
        const double root = std::sqrt(discriminant);
        roots.caseCode = TWO_ROOTS;
        roots.count = 2;
        roots.parameters[0] = (-qb - root) / (qa * 2.0);
        roots.parameters[1] = (root - qb) / (qa * 2.0);
    } else {
        roots.caseCode = NO_REAL_ROOT;
    }
    return roots;
}

// A root with its point on the edge, the ruling there, and the kind of place, 0 if it is no hit.
struct StripRoot {
    Vec3 point, normal;
    std::int32_t kind = 0;
};

std::int32_t placeOnEdge(const Vec3& point, const BoundaryStrip& strip, double tolerance2) {
    if (cadis(strip.start, point) < tolerance2)
        return AT_START;
    if (cadis(strip.end, point) < tolerance2)
        return AT_END;
    return prosca(point - strip.start, point - strip.end) < 0.0 ? BETWEEN : 0;
}

// False if both ends of the segment lie on one side of the ruling.
bool reachesRuling(const Vec3& a, const Vec3& b, const Vec3& u, const StripRoot& root, double tolerance2) {
    const Vec3 toA = a - root.point;
    const Vec3 toB = b - root.point;
    const double length2 = vor(root.normal);
    const double h1 = vor(parvis(toA, root.normal)) / length2;
    const double h2 = vor(parvis(toB, root.normal)) / length2;
    if (!(h1 > tolerance2) && !(h2 > tolerance2))
        return true;
    const Vec3 across = unitNormal(u, root.normal);
    const double m1 = promix(toA, root.normal, across);
    const double m2 = promix(root.normal, toB, across);
    return !((m1 > 0.0 && m2 < 0.0) || (m1 < 0.0 && m2 > 0.0));
}

// How far along the ruling the line of the segment passes; false if the two run side by side.
bool appendHit(const Vec3& a, const Vec3& u, const StripRoot& root, double tolerance2, StripHits& hits,
               std::int32_t& status) {
    hits.kinds[hits.count] = root.kind;
    ++hits.count;
    const Vec3 c = parvis(root.normal, u);
    const Vec3 e = parvis(a - root.point, u);
    const double square = vor(c);
    if (tolerance2 > square) {
        status = DRAPE_RULING_ALONG_SEGMENT;
        return false;
    }
    hits.distance[hits.count - 1] = std::fabs(prosca(e, c) / square);
    hits.written = hits.count;
    return true;
}

bool hitsOnStrip(const Vec3& a, const Vec3& b, const BoundaryStrip& strip, double tolerance, StripHits& hits,
                 std::int32_t& status) {
    status = DRAPE_OK;
    const double tolerance2 = tolerance * tolerance;
    const Vec3 u = b - a;
    const StripRoots solved = solveStrip(a, u, strip, tolerance);
    StripRoot roots[2];
    for (std::int32_t k = 0; k < solved.count; ++k) {
        const double s = solved.parameters[k];
        roots[k].point = (1.0 - s) * strip.start + s * strip.end;
        roots[k].kind = placeOnEdge(roots[k].point, strip, tolerance2);
        if (roots[k].kind == 0)
            continue;
        roots[k].normal = s * strip.endNormal + (1.0 - s) * strip.startNormal;
        devor(roots[k].normal);
        if (!reachesRuling(a, b, u, roots[k], tolerance2))
            roots[k].kind = 0;
    }
    for (std::int32_t k = 0; k < solved.count; ++k)
        if (roots[k].kind != 0 && !appendHit(a, u, roots[k], tolerance2, hits, status))
            return false;
    return true;
}

// All tests are strict: an edge that only touches the box, or fills it exactly, doesn't overlap.
bool overlaps(double low, double high, double p, double q) {
    const double m = std::min(p, q);
    const double M = std::max(p, q);
    return (m < low && low < M) || (m < high && high < M) || (low < m && m < high) || (low < M && M < high);
}

// What reaches over `box` by a cell and the tolerance.
Box searchBox(const Box& box, double cellStep, double tolerance) {
    const auto below = [&](double low) { return low - cellStep - tolerance; };
    const auto above = [&](double high) { return high + cellStep + tolerance; };
    return {{below(box.low.x), below(box.low.y), below(box.low.z)},
            {above(box.high.x), above(box.high.y), above(box.high.z)}};
}

Box boxAround(const Vec3& a, const Vec3& b) {
    Box box{a, a};
    box.include(b);
    return box;
}

// The accepted hits of one segment, in the order of the chain.
struct SegmentHits {
    std::int32_t count = 0;
    std::int32_t kinds[ACCEPTED_HITS];
    std::int32_t edges[ACCEPTED_HITS];
};

bool acceptHits(const StripHits& hits, std::int32_t edge, bool acceptAll, double reach, SegmentHits& accepted,
                std::int32_t& status) {
    for (std::int32_t k = 0; k < hits.count; ++k) {
        if (!acceptAll && !(hits.distance[k] < reach))
            continue;
        if (accepted.count == ACCEPTED_HITS) {
            status = DRAPE_TOO_MANY_CROSSINGS;
            return false;
        }
        accepted.kinds[accepted.count] = hits.kinds[k];
        accepted.edges[accepted.count] = edge;
        ++accepted.count;
    }
    return true;
}

// A segment through a vertex of the chain hits both edges there, and crosses once.
std::int32_t mergeAtVertices(const SegmentHits& hits) {
    std::int32_t count = hits.count;
    if (hits.count < 2)
        return count;
    for (std::int32_t i = 0; i < hits.count; ++i) {
        const std::int32_t j = i + 1 == hits.count ? 0 : i + 1;
        if (hits.edges[j] == model->mesh.nextBoundaryEdge(hits.edges[i]) && hits.kinds[i] == AT_END &&
            hits.kinds[j] == AT_START)
            --count;
    }
    return count;
}

// All edges of the chain, where none have been gathered.
struct WholeBoundary {
    template <class Visit>
    void forEachNear(const Box& box, Visit visit) const {
        forEachBoundaryEdgeNear(box, visit);
    }
};

template <class Edges>
bool countOnSegment(const Edges& edges, const Vec3& a, const Vec3& b, double cellStep, bool offSurface,
                    std::int32_t& count, std::int32_t& status) {
    status = DRAPE_OK;
    count = 0;
    const SurfaceMesh& mesh = model->mesh;
    const double tolerance = model->tolerance;
    const double reach = RULING_REACH * cellStep;
    const Box box = searchBox(boxAround(a, b), cellStep, tolerance);
    SegmentHits accepted;
    edges.forEachNear(box, [&](std::int32_t e) {
        const BoundaryEdge edge = mesh.boundaryEdge(e);
        const Vec3 p = mesh.vertex(edge.start);
        const Vec3 q = mesh.vertex(edge.end);
        if (!overlaps(box.low.x, box.high.x, p.x, q.x) || !overlaps(box.low.y, box.high.y, p.y, q.y) ||
            !overlaps(box.low.z, box.high.z, p.z, q.z))
            return true;
        const BoundaryStrip strip{p, load(mesh.boundaryNormals, e), q,
                                  load(mesh.boundaryNormals, mesh.nextBoundaryEdge(e))};
        StripHits hits;
        return hitsOnStrip(a, b, strip, tolerance, hits, status) &&
               acceptHits(hits, e, offSurface, reach, accepted, status);
    });
    if (status != DRAPE_OK)
        return false;
    count = mergeAtVertices(accepted);
    return true;
}

bool anyOffSurface(std::int32_t m, std::int32_t n) {
    return model->triangleOf(m) == 0 || model->triangleOf(n) == 0;
}

// How many nodes of a row, from `n` on, are looked at together.
constexpr std::int32_t STRETCH = 8;

// Holds the search boxes of all cell edges of the next nodes of a row.
Box boxOfStretch(const FrontRecord& row, std::int32_t n, std::int32_t count, double cellStep) {
    Box box = Box::nothing();
    for (std::int32_t k = 0; k < count; ++k) {
        const std::int32_t follower = model->link(next(row.direction), n);
        const std::int32_t behind = model->link(opposite(row.direction), n);
        box.include(model->positionOf(n));
        if (follower != 0)
            box.include(model->positionOf(follower));
        box.include(model->positionOf(behind));
        n = follower;
    }
    return searchBox(box, cellStep, model->tolerance);
}

// Fills entry i of the lists for node n.
template <class Edges>
bool countAtNode(const Edges& edges, const FrontRecord& row, std::int32_t n, std::int32_t i, double cellStep,
                 const RowArrays& lists, std::int32_t& status) {
    const std::int32_t follower = model->link(next(row.direction), n);
    const std::int32_t behind = model->link(opposite(row.direction), n);
    const Vec3 position = model->positionOf(n);
    if (i + 1 < row.length && !countOnSegment(edges, position, model->positionOf(follower), cellStep,
                                              anyOffSurface(n, follower), lists.rowCrossings[i], status))
        return false;
    return countOnSegment(edges, model->positionOf(behind), position, cellStep, anyOffSurface(n, behind),
                          lists.backCrossings[i], status);
}

} // namespace

bool countCrossings(const FrontRecord& row, const RowArrays& lists, std::int32_t& status) {
    status = DRAPE_OK;
    const double cellStep = model->stepAlong(row.direction);
    std::int32_t n = row.firstNode;
    NearEdges near;
    bool gathered = false;
    for (std::int32_t i = 0; i < row.length; ++i) {
        if (i % STRETCH == 0 && onFastRoad())
            gathered = near.gather(boxOfStretch(row, n, std::min(STRETCH, row.length - i), cellStep));
        lists.nodes[i] = n;
        if (gathered && near.empty()) {
            if (i + 1 < row.length)
                lists.rowCrossings[i] = 0;
            lists.backCrossings[i] = 0;
        } else if (!(gathered ? countAtNode(near, row, n, i, cellStep, lists, status)
                              : countAtNode(WholeBoundary{}, row, n, i, cellStep, lists, status))) {
            return false;
        }
        n = model->link(next(row.direction), n);
    }
    return true;
}

} // namespace drape

using namespace drape;

extern "C" int32_t gzpric(const int32_t* rowRecord, int32_t* rowNodes, int32_t* rowCrossings,
                          int32_t* backCrossings, int32_t* status) {
    return countCrossings(asFront(rowRecord), {rowNodes, rowCrossings, backCrossings}, *status) ? 0 : 1;
}

extern "C" int32_t uzprxb(const double* pointA, const double* pointB, const double* cellStep,
                          const int32_t* offSurface, int32_t* count, int32_t* status) {
    return countOnSegment(WholeBoundary{}, load(pointA), load(pointB), *cellStep, *offSurface != 0, *count,
                          *status)
               ? 0
               : 1;
}

extern "C" int32_t npxseb(const double* pointA, const double* pointB, const double* edgeStart,
                          const double* startNormal, const double* edgeEnd, const double* endNormal,
                          const double* tolerance, int32_t* hitCount, double* hitDistance, int32_t* hitKinds,
                          int32_t* status) {
    const BoundaryStrip strip{load(edgeStart), load(startNormal), load(edgeEnd), load(endNormal)};
    StripHits hits;
    const bool done = hitsOnStrip(load(pointA), load(pointB), strip, *tolerance, hits, *status);
    *hitCount = hits.count;
    for (std::int32_t k = 0; k < hits.written; ++k)
        hitDistance[k] = hits.distance[k];
    hitKinds[0] = hits.kinds[0];
    hitKinds[1] = hits.kinds[1];
    return done ? 0 : 1;
}
