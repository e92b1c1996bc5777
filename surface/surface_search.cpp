// Surface search: a depth-first flood over neighbouring triangles lists those that the circle can reach, then
// the circle is cut against each of them and the point furthest forward is taken.
//
// The order of the list decides between equal candidates, so the flood keeps the order of the plain recursion
// whatever it uses to go faster.
#include "surface/surface_search.h"

#include "services/growing_list.h"
#include "surface/circle_triangle.h"
#include "surface/point_triangle.h"
#include "surface/triangle_bounds.h"

#include <algorithm>
#include <limits>

namespace drape {
namespace {

// Where the walk stands in the fans of one triangle.
struct FanWalk {
    std::int32_t triangle;
    std::int32_t corner;
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

bool inRange(std::int32_t triangle, const Ball& ball) {
    if (model.triangleBounds != nullptr) {
        const Range range = model.triangleBounds->inRange(triangle, ball);
        if (range != Range::unknown)
            return range == Range::in;
    }
    const SurfaceMesh& mesh = model.mesh;
    const TriangleDistance exact =
        distanceToTriangle(ball.centre, mesh.corner(triangle, 0), mesh.corner(triangle, 1),
                           mesh.corner(triangle, 2), ball.tolerance);
    return ball.radius + ball.tolerance > exact.distance;
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
    Flood(const Marks& marks, const Ball* balls, int ballCount, SearchScratch& scratch)
        : marks_(marks), balls_(balls), ballCount_(ballCount), scratch_(scratch) {}

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
    // Marks a triangle, lists it if it is in range of all balls, and says if the walk goes on from it.
    bool visit(std::int32_t triangle) {
        if (marks_.visited(triangle))
            return false;
        bool goOn = inRange(triangle, balls_[0]);
        bool list = goOn;
        if (ballCount_ == 2) {
            const bool nearSecond = inRange(triangle, balls_[1]);
            list = goOn && nearSecond;
            goOn = goOn || nearSecond;
        }
        marks_.mark(triangle, goOn);
        if (list)
            scratch_.foundList[scratch_.foundCount++] = triangle;
        return goOn;
    }

    FanWalk fanOf(std::int32_t triangle, std::int32_t corner) const {
        const std::int32_t v = model.mesh.vertexOf(triangle, corner);
        if (marks_.fanDone(v))
            return {triangle, corner, 0, 0};
        return {triangle, corner, model.mesh.fanBegin(v), model.mesh.fanEnd(v)};
    }

    // The next unvisited triangle around the corners of the walk's triangle, 0 when there is none left.
    std::int32_t nextUnvisited(FanWalk& walk) const {
        for (;;) {
            while (walk.position < walk.end) {
                const std::int32_t triangle = model.mesh.vertTriList[walk.position++];
                if (!marks_.visited(triangle))
                    return triangle;
            }
            marks_.finishFan(model.mesh.vertexOf(walk.triangle, walk.corner));
            if (walk.corner == 2)
                return 0;
            walk = fanOf(walk.triangle, walk.corner + 1);
        }
    }

    Marks marks_;
    const Ball* balls_;
    int ballCount_;
    SearchScratch& scratch_;
};

// Cuts the circle against every listed triangle, in order.
bool gatherCandidates(const Circle& circle, const std::int32_t* foundList, std::int32_t foundCount,
                      double tolerance, std::int32_t& status) {
    const SurfaceMesh& mesh = model.mesh;
    // A quick look at the spheres presumes an axis of unit length.
    const double axis2 = vor(circle.axis);
    const bool useBounds = model.triangleBounds != nullptr && axis2 > 0.999 && axis2 < 1.001;
    candidates.reset();
    for (std::int32_t k = 0; k < foundCount; ++k) {
        const std::int32_t triangle = foundList[k];
        if (useBounds && model.triangleBounds->missesCircle(triangle, circle, tolerance))
            continue;
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

void SearchScratch::beginFloodAndClearList() {
    beginFlood();
    if (!ownedByRun())
        clear(foundList, model.mesh.triCount);
}

bool floodFrom(std::int32_t start, const Ball* balls, int ballCount, SearchScratch& scratch,
               std::int32_t& status) {
    if (scratch.ownedByRun()) {
        const RunMarks marks{scratch.marks, scratch.fansDone, scratch.stamp};
        return Flood<RunMarks>(marks, balls, ballCount, scratch).run(start, status);
    }
    return Flood<CallersMarks>({scratch.marks}, balls, ballCount, scratch).run(start, status);
}

bool furthestOnSurface(const Vec3& centre, const Vec3& planeNormal, Vec3& forward, double radius,
                       const Vec3& backPoint, const std::int32_t* foundList, std::int32_t foundCount,
                       double tolerance, SurfacePoint& found, std::int32_t& status) {
    status = DRAPE_OK;
    const Vec3 given = forward;
    devor(forward);
    const Circle circle{centre, unitNormal(planeNormal, given), radius};
    if (!gatherCandidates(circle, foundList, foundCount, tolerance, status))
        return false;
    dropBackwardCandidates(backPoint, radius, tolerance);
    if (candidates.empty()) {
        found.triangle = 0;
        return true;
    }
    const Candidate& furthest = furthestForward(centre, given);
    const SurfaceMesh& mesh = model.mesh;
    const Vec3 a = mesh.corner(furthest.triangle, 0);
    found = {furthest.point,
             unitNormal(mesh.corner(furthest.triangle, 1) - a, mesh.corner(furthest.triangle, 2) - a),
             furthest.triangle};
    return true;
}

} // namespace drape

using namespace drape;

extern "C" int32_t uzprcm(const double* centre, const double* planeNormal, double* forward,
                          const double* radius, const double* backPoint, const int32_t* foundList,
                          const int32_t* foundCount, const double* tolerance, double* point, double* normal,
                          int32_t* triangle, int32_t* status) {
    Vec3 direction = load(forward);
    SurfacePoint found;
    const bool done = furthestOnSurface(load(centre), load(planeNormal), direction, *radius, load(backPoint),
                                        foundList, *foundCount, *tolerance, found, *status);
    store(forward, direction);
    *triangle = done ? found.triangle : 0;
    if (*triangle != 0) {
        store(point, found.point);
        store(normal, found.normal);
    }
    candidates.reset();
    return done ? 0 : 1;
}
