// Surface search: a depth-first flood over neighbouring triangles lists those that the circle can reach, then
// the circle is cut against each of them and the point furthest forward is taken.
//
// The order of the list decides between equal candidates, so the flood keeps the order of the plain
// recursion. A run asks the tree of triangles first: it leads straight to what the circle meets, and wherever
// no tie hangs on the order and every triangle can be shown to lie within the flood, the answer is the same.
// Where not, and where nothing is found, the flood decides.
#include "surface/surface_search.h"

#include "surface/circle_triangle.h"
#include "surface/point_triangle.h"
#include "surface/run_indices.h"

#include <algorithm>
#include <limits>

namespace drape {
namespace {

using Candidates = decltype(SearchScratch::candidates);

bool exactlyInRange(std::int32_t triangle, const Ball& ball) {
    const SurfaceMesh& mesh = model->mesh;
    const TriangleDistance exact =
        distanceToTriangle(ball.centre, mesh.corner(triangle, 0), mesh.corner(triangle, 1),
                           mesh.corner(triangle, 2), ball.tolerance);
    return ball.radius + ball.tolerance > exact.distance;
}

// Settles what the sphere of a triangle left open.
bool settled(Range range, std::int32_t triangle, const Ball& ball) {
    if (range == Range::unknown)
        range = model->indices->triangleBounds.inRangeByCorners(triangle, ball);
    return range == Range::unknown ? exactlyInRange(triangle, ball) : range == Range::in;
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

// The same answer from bounds.
Visit visitByBounds(std::int32_t triangle, const Ball* balls, int ballCount) {
    const TriangleBounds& bounds = model->indices->triangleBounds;
    const Range first = bounds.inRange(triangle, balls[0]);
    if (ballCount == 1) {
        const bool within = settled(first, triangle, balls[0]);
        return {within, within};
    }
    const Range second = bounds.inRange(triangle, balls[1]);
    if (first == Range::out && second == Range::out)
        return {false, false};
    const bool inFirst = settled(first, triangle, balls[0]);
    const bool inSecond = settled(second, triangle, balls[1]);
    return {inFirst || inSecond, inFirst && inSecond};
}

// The plain road of a flood, over the marks of a caller's array: 1 in range, 2 out of range. Fans are looked
// through every time.
struct PlainFlood {
    std::int32_t* marks;
    bool visited(std::int32_t triangle) const { return marks[triangle - 1] > 0; }
    void mark(std::int32_t triangle, bool goOn) const { marks[triangle - 1] = goOn ? 1 : 2; }
    bool fanDone(std::int32_t) const { return false; }
    void finishFan(std::int32_t) const {}
    static Visit visit(std::int32_t triangle, const Ball* balls, int ballCount) {
        return visitPlainly(triangle, balls, ballCount);
    }
};

// The run's, over stamps. A fan that has been looked through to its end holds no unvisited triangle.
struct RunFlood {
    std::int32_t* marks;
    std::int32_t* fansDone;
    std::int32_t stamp;
    bool visited(std::int32_t triangle) const { return marks[triangle - 1] == stamp; }
    void mark(std::int32_t triangle, bool) const { marks[triangle - 1] = stamp; }
    bool fanDone(std::int32_t v) const { return fansDone[v - 1] == stamp; }
    void finishFan(std::int32_t v) const { fansDone[v - 1] = stamp; }
    static Visit visit(std::int32_t triangle, const Ball* balls, int ballCount) {
        return visitByBounds(triangle, balls, ballCount);
    }
};

template <class Road>
class Flood {
public:
    Flood(const Road& road, const Ball* balls, int ballCount, SearchScratch& scratch)
        : road_(road), balls_(balls), ballCount_(ballCount), scratch_(scratch) {}

    bool run(std::int32_t start, std::int32_t& status) {
        auto& stack = scratch_.fanStack;
        stack.reset();
        if (visit(start) && !stack.push(fanOf(start, 0), status))
            return false;
        while (!stack.empty()) {
            const std::int32_t triangle = nextUnvisited(stack.top());
            if (triangle == 0)
                stack.pop();
            else if (visit(triangle) && !stack.push(fanOf(triangle, 0), status))
                return false;
        }
        return true;
    }

private:
    // Marks a triangle, lists it if it belongs there, and says if the walk goes on from it.
    bool visit(std::int32_t triangle) {
        const Visit found = Road::visit(triangle, balls_, ballCount_);
        road_.mark(triangle, found.goOn);
        if (found.list)
            scratch_.foundList[scratch_.foundCount++] = triangle;
        return found.goOn;
    }

    FanWalk fanOf(std::int32_t triangle, std::int32_t corner) const {
        const std::int32_t v = mesh_.vertexOf(triangle, corner);
        if (road_.fanDone(v))
            return {triangle, corner, v, 0, 0};
        return {triangle, corner, v, mesh_.fanBegin(v), mesh_.fanEnd(v)};
    }

    // The next unvisited triangle around the corners of the walk's triangle, 0 when there is none left.
    std::int32_t nextUnvisited(FanWalk& walk) const {
        // The walk from a triangle of this fan may have looked the fan through to its end.
        if (road_.fanDone(walk.vertex))
            walk.position = walk.end;
        for (;;) {
            while (walk.position < walk.end) {
                const std::int32_t triangle = mesh_.vertTriList[walk.position++];
                if (!road_.visited(triangle))
                    return triangle;
            }
            road_.finishFan(walk.vertex);
            if (walk.corner == 2)
                return 0;
            walk = fanOf(walk.triangle, walk.corner + 1);
        }
    }

    const SurfaceMesh mesh_ = model->mesh; // a copy, which no store to the marks can touch
    Road road_;
    const Ball* balls_;
    int ballCount_;
    SearchScratch& scratch_;
};

bool flood(std::int32_t start, const Ball* balls, int ballCount, SearchScratch& scratch,
           std::int32_t& status) {
    if (scratch.ownedByRun()) {
        const RunFlood road{scratch.marks, scratch.fansDone, scratch.stamp};
        return Flood<RunFlood>(road, balls, ballCount, scratch).run(start, status);
    }
    return Flood<PlainFlood>({scratch.marks}, balls, ballCount, scratch).run(start, status);
}

// Cuts the circle against every listed triangle, in order. A run takes the short cuts of the cut.
bool gatherCandidates(const Circle& circle, const std::int32_t* foundList, std::int32_t foundCount,
                      double tolerance, Candidates& candidates, std::int32_t& status) {
    const SurfaceMesh& mesh = model->mesh;
    const bool shortly = onFastRoad();
    candidates.reset();
    for (std::int32_t k = 0; k < foundCount; ++k) {
        const std::int32_t triangle = foundList[k];
        const Vec3 a = mesh.corner(triangle, 0);
        const Vec3 b = mesh.corner(triangle, 1);
        const Vec3 c = mesh.corner(triangle, 2);
        const CircleCut cut = shortly ? cutCircleShortly(circle, a, b, c, tolerance)
                                      : cutCircle(circle, a, b, c, tolerance, CLIP_AFTER_SLAB_TEST);
        for (std::int32_t hit = 0; hit < cut.count; ++hit)
            if (!candidates.push({cut.points[hit], triangle}, status)) {
                candidates.reset();
                return false;
            }
    }
    return true;
}

// Takes out the candidates at the place nearest to the point behind, if that is less than a cell away. False
// if two places are equally near, so that the order of the candidates decided.
bool dropBackwardCandidates(Candidates& candidates, const Vec3& backPoint, double radius, double tolerance) {
    if (candidates.empty())
        return true;
    Vec3 nearPoint = candidates[0].point;
    double best = cadis(nearPoint, backPoint);
    bool clear = true;
    for (const Candidate& candidate : candidates) {
        const double distance2 = cadis(candidate.point, backPoint);
        if (distance2 < best) {
            best = distance2;
            nearPoint = candidate.point;
            clear = true;
        } else if (distance2 == best && cadis(candidate.point, nearPoint) > 0.0) {
            clear = false;
        }
    }
    if (!(radius * radius > best))
        return clear;
    const double tolerance2 = tolerance * tolerance;
    const auto* kept = std::remove_if(candidates.begin(), candidates.end(), [&](const Candidate& candidate) {
        return cadis(candidate.point, nearPoint) < tolerance2;
    });
    candidates.truncate(kept - candidates.begin());
    return clear;
}

struct Furthest {
    const Candidate* candidate;
    bool clear; // no other lies as far
};

Furthest furthestForward(Candidates& candidates, const Vec3& centre, const Vec3& forward) {
    Furthest furthest{candidates.begin(), true};
    double best = prosca(furthest.candidate->point - centre, forward);
    for (const Candidate& candidate : candidates) {
        const double along = prosca(candidate.point - centre, forward);
        if (along > best) {
            best = along;
            furthest = {&candidate, true};
        } else if (&candidate != furthest.candidate && !(along < best)) {
            furthest.clear = false;
        }
    }
    return furthest;
}

// What is chosen, and whether no tie was decided by the order of the candidates.
struct Choice {
    SurfacePoint found;
    bool clear;
};

// Uses the candidates up.
Choice chooseCandidate(Candidates& candidates, const Circle& circle, const Vec3& forward,
                       const Vec3& backPoint, double tolerance) {
    const bool dropClear = dropBackwardCandidates(candidates, backPoint, circle.radius, tolerance);
    if (candidates.empty()) {
        candidates.reset();
        return {{}, dropClear};
    }
    const Furthest furthest = furthestForward(candidates, circle.centre, forward);
    const SurfaceMesh& mesh = model->mesh;
    const auto [point, triangle] = *furthest.candidate;
    candidates.reset();
    const Vec3 a = mesh.corner(triangle, 0);
    return {{point, unitNormal(mesh.corner(triangle, 1) - a, mesh.corner(triangle, 2) - a), triangle},
            dropClear && furthest.clear};
}

// Whether the flood from `start` would come to `goal`, which is in range: a chain of neighbours, each clearly
// in range of a ball and nearer to `towards` than the one before, leads there. False means only that no such
// chain was found.
bool reaches(std::int32_t start, std::int32_t goal, const Vec3& towards, const Ball* balls, int ballCount) {
    constexpr int longestChain = 64;
    const SurfaceMesh& mesh = model->mesh;
    const TriangleBounds& bounds = model->indices->triangleBounds;
    const auto clearlyInRange = [&](std::int32_t t) {
        return bounds.inRange(t, balls[0]) == Range::in ||
               (ballCount == 2 && bounds.inRange(t, balls[1]) == Range::in);
    };
    std::int32_t current = start;
    double best = std::numeric_limits<double>::infinity();
    for (int k = 0; k < longestChain; ++k) {
        if (current == goal)
            return true;
        const std::int32_t before = current;
        for (int corner = 0; corner < 3; ++corner) {
            const std::int32_t v = mesh.vertexOf(before, corner);
            for (std::int32_t position = mesh.fanBegin(v); position < mesh.fanEnd(v); ++position) {
                const std::int32_t t = mesh.vertTriList[position];
                if (t == goal)
                    return true;
                const double distance2 = bounds.squaredDistanceToCentre(t, towards);
                if (distance2 < best && clearlyInRange(t)) {
                    best = distance2;
                    current = t;
                }
            }
        }
        if (current == before)
            return false;
    }
    return false;
}

// The search by the tree of triangles: all that the circle meets, if the flood would have listed it. False if
// that can't be told without the flood, or if the order of its list decides; also with a work-array code.
bool searchByTree(const TriangleTree& tree, std::int32_t start, const Ball* balls, int ballCount,
                  const CircleSearch& search, const Circle& circle, Candidates& candidates,
                  SurfacePoint& found, std::int32_t& status) {
    const SurfaceMesh& mesh = model->mesh;
    const double tolerance = balls[0].tolerance;
    if (!visitByBounds(start, balls, ballCount).goOn)
        return false;
    candidates.reset();
    bool certain = true;
    tree.forEachNearCircle(circle, [&](std::int32_t triangle) {
        const CircleCut cut = cutCircleShortly(circle, mesh.corner(triangle, 0), mesh.corner(triangle, 1),
                                               mesh.corner(triangle, 2), tolerance);
        if (cut.count == 0 || !visitByBounds(triangle, balls, ballCount).list)
            return true;
        certain = reaches(start, triangle, cut.points[0], balls, ballCount);
        for (std::int32_t hit = 0; certain && hit < cut.count; ++hit)
            certain = candidates.push({cut.points[hit], triangle}, status);
        return certain;
    });
    if (!certain) {
        candidates.reset();
        return false;
    }
    const Choice choice = chooseCandidate(candidates, circle, search.forward, search.backPoint, tolerance);
    found = choice.found;
    return choice.clear && found.triangle != 0;
}

// The tree presumes an axis of unit length.
bool hasUnitAxis(const Circle& circle) {
    const double length2 = vor(circle.axis);
    return length2 > 0.999 && length2 < 1.001;
}

} // namespace

void SearchScratch::beginFlood() {
    foundCount = 0;
    if (!ownedByRun()) {
        clear(marks, model->mesh.triCount);
        return;
    }
    if (stamp == std::numeric_limits<std::int32_t>::max()) {
        clear(marks, model->mesh.triCount);
        clear(fansDone, model->mesh.vertCount);
        stamp = 0;
    }
    ++stamp;
}

void SearchScratch::clearCallersList() {
    if (!ownedByRun())
        clear(foundList, model->mesh.triCount);
}

bool listInRange(std::int32_t start, const Ball* balls, int ballCount, SearchScratch& scratch,
                 std::int32_t& status) {
    scratch.beginFlood();
    const bool done = flood(start, balls, ballCount, scratch, status);
    scratch.fanStack.reset();
    return done;
}

bool searchSurface(std::int32_t start, const Ball* balls, int ballCount, CircleSearch& search,
                   SearchScratch& scratch, SurfacePoint& found, std::int32_t& status) {
    status = DRAPE_OK;
    const Circle circle{search.centre, unitNormal(search.planeNormal, search.forward), search.radius};
    const Vec3 given = search.forward;
    const TriangleTree* tree = treeOfTriangles();
    if (tree != nullptr && hasUnitAxis(circle) &&
        searchByTree(*tree, start, balls, ballCount, search, circle, scratch.candidates, found, status)) {
        devor(search.forward);
        return true;
    }
    found.triangle = 0;
    if (status != DRAPE_OK)
        return false;
    if (!listInRange(start, balls, ballCount, scratch, status))
        return false;
    if (scratch.foundCount == 0)
        return true;
    devor(search.forward);
    const double tolerance = balls[0].tolerance;
    if (!gatherCandidates(circle, scratch.foundList, scratch.foundCount, tolerance, scratch.candidates,
                          status))
        return false;
    const SurfacePoint chosen =
        chooseCandidate(scratch.candidates, circle, given, search.backPoint, tolerance).found;
    if (chosen.triangle != 0)
        found = chosen;
    return true;
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
    Candidates candidates;
    const bool done = gatherCandidates(circle, foundList, *foundCount, *tolerance, candidates, *status);
    *triangle = 0;
    if (done) {
        const SurfacePoint found =
            chooseCandidate(candidates, circle, given, load(backPoint), *tolerance).found;
        *triangle = found.triangle;
        if (found.triangle != 0) {
            store(point, found.point);
            store(normal, found.normal);
        }
    }
    return done ? 0 : 1;
}
