// Surface search: a depth-first flood over neighbouring triangles lists those that the circle can reach, then
// the circle is cut against each of them and the point furthest forward is taken.
//
// The order of the list decides between equal candidates, so the flood keeps the order of the plain recursion
// whatever it uses to go faster.
#include "surface/surface_search.h"

#include "services/growing_list.h"
#include "surface/circle_triangle.h"
#include "surface/point_triangle.h"

#include <algorithm>
#include <limits>

namespace drape {
namespace {

// Where the walk stands in the fans of one triangle.
struct FanWalk {
    std::int32_t triangle;
    std::int32_t corner;
    std::int32_t vertex;   // at that corner
    std::int32_t position; // next entry of vertTriList
    std::int32_t end;
};

struct Candidate {
    Vec3 point;
    std::int32_t triangle;
};

// Working tables of one call; they outgrow their fixed places only on very fine meshes.
GrowingList<FanWalk, 1024> fanStack;
GrowingList<Candidate, 512> candidates;

bool exactlyInRange(std::int32_t triangle, const Ball& ball) {
    const SurfaceMesh& mesh = model.mesh;
    const TriangleDistance exact =
        distanceToTriangle(ball.centre, mesh.corner(triangle, 0), mesh.corner(triangle, 1),
                           mesh.corner(triangle, 2), ball.tolerance);
    return ball.radius + ball.tolerance > exact.distance;
}

// Settles what the sphere of a triangle left open.
bool settled(Range range, std::int32_t triangle, const Ball& ball) {
    if (range == Range::unknown)
        range = model.triangleBounds->inRangeByCorners(triangle, ball);
    return range == Range::unknown ? exactlyInRange(triangle, ball) : range == Range::in;
}

// The first test of the cut itself.
bool liesBesideCircle(std::int32_t triangle, const Circle& circle, double tolerance) {
    const SurfaceMesh& mesh = model.mesh;
    return outsideSlab(circle, mesh.corner(triangle, 0), mesh.corner(triangle, 1), mesh.corner(triangle, 2),
                       tolerance);
}

struct Visit {
    bool goOn; // the walk goes on from this triangle
    bool list;
};

// The plain rule: on from triangles in range of any ball, listing those in range of all.
Visit visitPlainly(std::int32_t triangle, const Ball* balls, int ballCount) {
    const bool first = exactlyInRange(triangle, balls[0]);
    const bool second = ballCount == 2 ? exactlyInRange(triangle, balls[1]) : first;
    return {first || second, first && second};
}

// The same answer from bounds. With `reach` given, triangles that this circle certainly misses are left off
// the list, which saves most of the second questions.
Visit visitByBounds(std::int32_t triangle, const Ball* balls, int ballCount, const Circle* reach) {
    const TriangleBounds& bounds = *model.triangleBounds;
    const Ball& a = balls[0];
    const Ball& b = balls[ballCount - 1];
    Range first = bounds.inRange(triangle, a);
    Range second = ballCount == 2 ? bounds.inRange(triangle, b) : first;
    if (first == Range::out && second == Range::out)
        return {false, false};
    if (first != Range::in && second != Range::in) {
        first = settled(first, triangle, a) ? Range::in : Range::out;
        if (ballCount == 1)
            second = first;
        if (first == Range::out) {
            if (ballCount == 1 || !settled(second, triangle, b))
                return {false, false};
            second = Range::in;
        }
    }
    if (reach != nullptr && (bounds.missesCircle(triangle, *reach, a.tolerance) ||
                             liesBesideCircle(triangle, *reach, a.tolerance)))
        return {true, false};
    return {true, settled(first, triangle, a) && settled(second, triangle, b)};
}

// The marks of a caller's array: 1 in range, 2 out of range. Fans are looked through every time.
struct CallersMarks {
    std::int32_t* marks;
    bool visited(std::int32_t triangle) const { return marks[triangle - 1] > 0; }
    void mark(std::int32_t triangle, bool goOn) const { marks[triangle - 1] = goOn ? 1 : 2; }
    bool fanDone(std::int32_t) const { return false; }
    void finishFan(std::int32_t) const {}
};

// The run's stamps. A fan that has been looked through to its end holds no unvisited triangle.
struct RunMarks {
    std::int32_t* marks;
    std::int32_t* fansDone;
    std::int32_t stamp;
    bool visited(std::int32_t triangle) const { return marks[triangle - 1] == stamp; }
    void mark(std::int32_t triangle, bool) const { marks[triangle - 1] = stamp; }
    bool fanDone(std::int32_t v) const { return fansDone[v - 1] == stamp; }
    void finishFan(std::int32_t v) const { fansDone[v - 1] = stamp; }
};

template <class Marks>
class Flood {
public:
    Flood(const Marks& marks, const Ball* balls, int ballCount, const Circle* reach, SearchScratch& scratch)
        : marks_(marks), balls_(balls), ballCount_(ballCount), reach_(reach), scratch_(scratch) {}

    bool run(std::int32_t start, std::int32_t& status) {
        fanStack.reset();
        if (visit(start) && !fanStack.push(fanOf(start, 0), status))
            return false;
        while (!fanStack.empty()) {
            const std::int32_t triangle = nextUnvisited(fanStack.top());
            if (triangle == 0)
                fanStack.pop();
            else if (visit(triangle) && !fanStack.push(fanOf(triangle, 0), status))
                return false;
        }
        return true;
    }

private:
    // Marks a triangle, lists it if it belongs there, and says if the walk goes on from it.
    bool visit(std::int32_t triangle) {
        const Visit found = model.triangleBounds != nullptr
                                ? visitByBounds(triangle, balls_, ballCount_, reach_)
                                : visitPlainly(triangle, balls_, ballCount_);
        marks_.mark(triangle, found.goOn);
        if (found.list)
            scratch_.foundList[scratch_.foundCount++] = triangle;
        return found.goOn;
    }

    FanWalk fanOf(std::int32_t triangle, std::int32_t corner) const {
        const std::int32_t v = mesh_.vertexOf(triangle, corner);
        if (marks_.fanDone(v))
            return {triangle, corner, v, 0, 0};
        return {triangle, corner, v, mesh_.fanBegin(v), mesh_.fanEnd(v)};
    }

    // The next unvisited triangle around the corners of the walk's triangle, 0 when there is none left.
    std::int32_t nextUnvisited(FanWalk& walk) const {
        // The walk from a triangle of this fan may have looked the fan through to its end.
        if (marks_.fanDone(walk.vertex))
            walk.position = walk.end;
        for (;;) {
            while (walk.position < walk.end) {
                const std::int32_t triangle = mesh_.vertTriList[walk.position++];
                if (!marks_.visited(triangle))
                    return triangle;
            }
            marks_.finishFan(walk.vertex);
            if (walk.corner == 2)
                return 0;
            walk = fanOf(walk.triangle, walk.corner + 1);
        }
    }

    const SurfaceMesh mesh_ = model.mesh; // a copy, which no store to the marks can touch
    Marks marks_;
    const Ball* balls_;
    int ballCount_;
    const Circle* reach_;
    SearchScratch& scratch_;
};

bool flood(std::int32_t start, const Ball* balls, int ballCount, const Circle* reach, SearchScratch& scratch,
           std::int32_t& status) {
    if (scratch.ownedByRun()) {
        const RunMarks marks{scratch.marks, scratch.fansDone, scratch.stamp};
        return Flood<RunMarks>(marks, balls, ballCount, reach, scratch).run(start, status);
    }
    return Flood<CallersMarks>({scratch.marks}, balls, ballCount, reach, scratch).run(start, status);
}

// Cuts the circle against every listed triangle, in order.
bool gatherCandidates(const Circle& circle, const std::int32_t* foundList, std::int32_t foundCount,
                      double tolerance, std::int32_t& status) {
    const SurfaceMesh& mesh = model.mesh;
    candidates.reset();
    for (std::int32_t k = 0; k < foundCount; ++k) {
        const std::int32_t triangle = foundList[k];
        const CircleCut cut = cutCircle(circle, mesh.corner(triangle, 0), mesh.corner(triangle, 1),
                                        mesh.corner(triangle, 2), tolerance, CLIP_AFTER_SLAB_TEST);
        for (std::int32_t hit = 0; hit < cut.count; ++hit)
            if (!candidates.push({cut.points[hit], triangle}, status))
                return false;
    }
    return true;
}

// Takes out the candidates at the place nearest to the point behind, if that is less than a cell away.
void dropBackwardCandidates(const Vec3& backPoint, double radius, double tolerance) {
    if (candidates.empty())
        return;
    Vec3 nearPoint = candidates[0].point;
    double best = cadis(nearPoint, backPoint);
    for (const Candidate& candidate : candidates) {
        const double distance2 = cadis(candidate.point, backPoint);
        if (distance2 < best) {
            best = distance2;
            nearPoint = candidate.point;
        }
    }
    if (!(radius * radius > best))
        return;
    const double tolerance2 = tolerance * tolerance;
    const auto* kept = std::remove_if(candidates.begin(), candidates.end(), [&](const Candidate& candidate) {
        return cadis(candidate.point, nearPoint) < tolerance2;
    });
    candidates.truncate(kept - candidates.begin());
}

const Candidate& furthestForward(const Vec3& centre, const Vec3& forward) {
    const Candidate* furthest = candidates.begin();
    double best = prosca(furthest->point - centre, forward);
    for (const Candidate& candidate : candidates) {
        const double along = prosca(candidate.point - centre, forward);
        if (along > best) {
            best = along;
            furthest = &candidate;
        }
    }
    return *furthest;
}

// Cuts the circle against the listed triangles and chooses among the points. `found` keeps its point and
// normal if there is none.
bool chooseOnList(const Circle& circle, const Vec3& forward, const Vec3& backPoint,
                  const std::int32_t* foundList, std::int32_t foundCount, double tolerance,
                  SurfacePoint& found, std::int32_t& status) {
    if (!gatherCandidates(circle, foundList, foundCount, tolerance, status))
        return false;
    dropBackwardCandidates(backPoint, circle.radius, tolerance);
    if (candidates.empty()) {
        found.triangle = 0;
        return true;
    }
    const Candidate& furthest = furthestForward(circle.centre, forward);
    const SurfaceMesh& mesh = model.mesh;
    const Vec3 a = mesh.corner(furthest.triangle, 0);
    found = {furthest.point,
             unitNormal(mesh.corner(furthest.triangle, 1) - a, mesh.corner(furthest.triangle, 2) - a),
             furthest.triangle};
    return true;
}

// The quick look at the spheres presumes an axis of unit length.
bool hasUnitAxis(const Circle& circle) {
    const double length2 = vor(circle.axis);
    return length2 > 0.999 && length2 < 1.001;
}

} // namespace

void SearchScratch::beginFlood() {
    foundCount = 0;
    if (!ownedByRun()) {
        clear(marks, model.mesh.triCount);
        return;
    }
    if (stamp == std::numeric_limits<std::int32_t>::max()) {
        clear(marks, model.mesh.triCount);
        clear(fansDone, model.mesh.vertCount);
        stamp = 0;
    }
    ++stamp;
}

void SearchScratch::clearCallersList() {
    if (!ownedByRun())
        clear(foundList, model.mesh.triCount);
}

bool listInRange(std::int32_t start, const Ball* balls, int ballCount, SearchScratch& scratch,
                 std::int32_t& status) {
    scratch.beginFlood();
    return flood(start, balls, ballCount, nullptr, scratch, status);
}

bool searchSurface(std::int32_t start, const Ball* balls, int ballCount, CircleSearch& search,
                   SearchScratch& scratch, SurfacePoint& found, std::int32_t& status) {
    const Circle circle{search.centre, unitNormal(search.planeNormal, search.forward), search.radius};
    const double tolerance = balls[0].tolerance;
    found.triangle = 0;
    const Vec3 given = search.forward;
    if (model.triangleBounds != nullptr && hasUnitAxis(circle)) {
        scratch.beginFlood();
        if (!flood(start, balls, ballCount, &circle, scratch, status) ||
            !chooseOnList(circle, given, search.backPoint, scratch.foundList, scratch.foundCount, tolerance,
                          found, status))
            return false;
        if (found.triangle != 0) {
            devor(search.forward);
            return true;
        }
    }
    // The full list, for those who go on without a point.
    if (!listInRange(start, balls, ballCount, scratch, status))
        return false;
    if (scratch.foundCount == 0)
        return true;
    devor(search.forward);
    return chooseOnList(circle, given, search.backPoint, scratch.foundList, scratch.foundCount, tolerance,
                        found, status);
}

} // namespace drape

using namespace drape;

extern "C" int32_t uzprcm(const double* centre, const double* planeNormal, double* forward,
                          const double* radius, const double* backPoint, const int32_t* foundList,
                          const int32_t* foundCount, const double* tolerance, double* point, double* normal,
                          int32_t* triangle, int32_t* status) {
    *status = DRAPE_OK;
    const Vec3 given = load(forward);
    Vec3 direction = given;
    devor(direction);
    store(forward, direction);
    const Circle circle{load(centre), unitNormal(load(planeNormal), given), *radius};
    SurfacePoint found;
    const bool done =
        chooseOnList(circle, given, load(backPoint), foundList, *foundCount, *tolerance, found, *status);
    *triangle = done ? found.triangle : 0;
    if (*triangle != 0) {
        store(point, found.point);
        store(normal, found.normal);
    }
    candidates.reset();
    return done ? 0 : 1;
}
