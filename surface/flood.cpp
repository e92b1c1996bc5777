// The flood: depth first over the triangles around the corners of each triangle. The order of its list
// decides between equal candidates, so it keeps the order of the plain recursion, with a stack of its own.
#include "surface/flood.h"

#include "surface/range.h"

#include <algorithm>
#include <limits>

namespace drape {
namespace {

// Which triangles of the list somebody will read.
enum class Reading { all, goals, firstGoal, boundary };

// The plain road of a flood, over the marks of a caller's array: 1 in range, 2 out of range. Fans are looked
// through every time.
struct PlainFlood {
    std::int32_t* marks;
    bool visited(std::int32_t triangle) const { return marks[triangle - 1] > 0; }
    void mark(std::int32_t triangle, bool goOn) const { marks[triangle - 1] = goOn ? 1 : 2; }
    bool fanDone(std::int32_t) const { return false; }
    void finishFan(std::int32_t) const {}
    Visit visit(std::int32_t triangle, const Ball* balls, int ballCount, bool) const {
        return visitPlainly(triangle, balls, ballCount);
    }
};

// The run's, over stamps. A fan that has been looked through to its end holds no unvisited triangle.
struct RunFlood {
    std::int32_t* marks;
    std::int32_t* fansDone;
    std::int32_t stamp;
    AnyBall anyBall;
    bool visited(std::int32_t triangle) const { return marks[triangle - 1] == stamp; }
    void mark(std::int32_t triangle, bool) const { marks[triangle - 1] = stamp; }
    bool fanDone(std::int32_t v) const { return fansDone[v - 1] == stamp; }
    void finishFan(std::int32_t v) const { fansDone[v - 1] = stamp; }
    Visit visit(std::int32_t triangle, const Ball* balls, int ballCount, bool isRead) const {
        return isRead ? visitByBounds(triangle, balls, ballCount) : Visit{anyBall.reaches(triangle), false};
    }
};

template <class Road>
class Flood {
public:
    Flood(const Road& road, const Ball* balls, int ballCount, Reading reading, const Goals& goals,
          SearchScratch& scratch)
        : road_(road), balls_(balls), ballCount_(ballCount), reading_(reading), goals_(goals),
          scratch_(scratch) {}

    // False with a work-array code.
    bool run(std::int32_t start, std::int32_t& status) {
        auto& stack = scratch_.fanStack;
        stack.reset();
        if (visit(start) && !stack.push(fanOf(start, 0), status))
            return false;
        while (!stack.empty() && reached_ == 0) {
            const std::int32_t triangle = nextUnvisited(stack.top());
            if (triangle == 0)
                stack.pop();
            else if (visit(triangle) && !stack.push(fanOf(triangle, 0), status))
                return false;
        }
        return true;
    }

    std::int32_t reached() const { return reached_; }

private:
    // Marks a triangle, lists it if it belongs there, and says if the walk goes on from it.
    bool visit(std::int32_t triangle) {
        const Visit found = road_.visit(triangle, balls_, ballCount_, isRead(triangle));
        road_.mark(triangle, found.goOn);
        if (found.list) {
            scratch_.foundList[scratch_.foundCount++] = triangle;
            if (endsWith(triangle))
                reached_ = triangle;
        }
        return found.goOn;
    }

    bool isRead(std::int32_t triangle) const {
        switch (reading_) {
        case Reading::goals:
        case Reading::firstGoal:
            return goals_.has(triangle);
        case Reading::boundary:
            return scratch_.foundCount == 0 || firstBoundaryEdgeOf(triangle) != 0;
        default:
            return true;
        }
    }

    // Whether nothing more of the list is read.
    bool endsWith(std::int32_t triangle) const {
        return (reading_ == Reading::firstGoal && goals_.has(triangle)) ||
               (reading_ == Reading::goals && scratch_.foundCount == goals_.count);
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
    Reading reading_;
    Goals goals_;
    std::int32_t reached_ = 0;
    SearchScratch& scratch_;
};

template <class Road>
bool flood(const Road& road, std::int32_t start, const Ball* balls, int ballCount, Reading reading,
           const Goals& goals, SearchScratch& scratch, std::int32_t& reached, std::int32_t& status) {
    Flood<Road> walk(road, balls, ballCount, reading, goals, scratch);
    const bool done = walk.run(start, status);
    reached = walk.reached();
    scratch.fanStack.reset();
    return done;
}

bool flood(std::int32_t start, const Ball* balls, int ballCount, Reading reading, const Goals& goals,
           SearchScratch& scratch, std::int32_t& reached, std::int32_t& status) {
    scratch.beginFlood();
    if (!scratch.ownedByRun())
        return flood(PlainFlood{scratch.marks}, start, balls, ballCount, reading, goals, scratch, reached,
                     status);
    const RunFlood road{scratch.marks, scratch.fansDone, scratch.stamp, AnyBall(balls, ballCount)};
    return flood(road, start, balls, ballCount, reading, goals, scratch, reached, status);
}

} // namespace

bool floodTo(const Goals& goals, std::int32_t start, const Ball* balls, int ballCount, SearchScratch& scratch,
             std::int32_t& reached, std::int32_t& status) {
    return flood(start, balls, ballCount, Reading::firstGoal, goals, scratch, reached, status);
}

bool listInRange(std::int32_t start, const Ball* balls, int ballCount, SearchScratch& scratch,
                 std::int32_t& status) {
    std::int32_t none = 0;
    return flood(start, balls, ballCount, Reading::all, {}, scratch, none, status);
}

bool listGoals(const Goals& goals, std::int32_t start, const Ball* balls, int ballCount,
               SearchScratch& scratch, std::int32_t& status) {
    std::int32_t last = 0;
    return flood(start, balls, ballCount, Reading::goals, goals, scratch, last, status);
}

bool listBoundaryInRange(std::int32_t start, const Ball* balls, int ballCount, SearchScratch& scratch,
                         std::int32_t& status) {
    std::int32_t none = 0;
    return flood(start, balls, ballCount, Reading::boundary, {}, scratch, none, status);
}

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

} // namespace drape
