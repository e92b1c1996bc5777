#include "surface/flood_reach.h"

namespace drape {
namespace {

// A way to `goal`, which is listed, over vertices within a ball; each is nearer to `towards` than the one
// before, and each two stand on a triangle that is in range for sure. False means only that there is no such
// way.
class Chain {
public:
    Chain(const Ball* balls, int ballCount, std::int32_t goal, const Vec3& towards)
        : balls_(balls), ballCount_(ballCount), goal_(goal), towards_(towards) {}

    // Whether the flood from `start`, which it goes on from, would come to the goal.
    bool leadsFrom(std::int32_t start) {
        if (start == goal_)
            return true;
        std::int32_t v = mesh_.vertexOf(start, 0);
        nearest_ = cadis(mesh_.vertex(v), towards_);
        for (int k = 1; k < 3; ++k)
            if (nearer(mesh_.vertexOf(start, k)))
                v = mesh_.vertexOf(start, k);
        constexpr int longest = 64;
        for (int k = 0; k < longest; ++k) {
            const Step step = stepFrom(v);
            if (step.reached)
                return true;
            if (step.vertex == 0 || !clearlyInRange(step.triangle, v, step.vertex))
                return false;
            v = step.vertex;
        }
        return false;
    }

private:
    struct Step {
        bool reached; // the goal stands at the vertex
        std::int32_t vertex, triangle;
    };

    // Whether a vertex is the nearest so far, and then it is.
    bool nearer(std::int32_t v) {
        const double distance2 = cadis(mesh_.vertex(v), towards_);
        if (!(distance2 < nearest_))
            return false;
        nearest_ = distance2;
        return true;
    }

    // To the nearest of the vertices that follow `v` in the triangles around it: all of its neighbours where
    // the fan is closed.
    Step stepFrom(std::int32_t v) {
        Step step{false, 0, 0};
        for (std::int32_t position = mesh_.fanBegin(v); position < mesh_.fanEnd(v); ++position) {
            const std::int32_t triangle = mesh_.vertTriList[position];
            if (triangle == goal_)
                return {true, 0, 0};
            const std::int32_t a = mesh_.vertexOf(triangle, 0), b = mesh_.vertexOf(triangle, 1);
            const std::int32_t following = a == v ? b : (b == v ? mesh_.vertexOf(triangle, 2) : a);
            if (nearer(following))
                step = {false, following, triangle};
        }
        return step;
    }

    bool clearlyInRange(std::int32_t triangle, std::int32_t corner, std::int32_t other) const {
        const Vec3 p = mesh_.vertex(corner), q = mesh_.vertex(other);
        for (int k = 0; k < ballCount_; ++k)
            if (inRangeByCorner(mesh_, triangle, p, balls_[k]) ||
                inRangeByCorner(mesh_, triangle, q, balls_[k]))
                return true;
        return false;
    }

    const SurfaceMesh& mesh_ = model->mesh;
    const Ball* balls_;
    int ballCount_;
    std::int32_t goal_;
    const Vec3& towards_;
    double nearest_ = 0.0; // squared distance of the nearest vertex so far
};

} // namespace

bool floodReaches(std::int32_t goal, const Vec3& towards, std::int32_t start, const Ball* balls,
                  int ballCount) {
    return Chain(balls, ballCount, goal, towards).leadsFrom(start);
}

} // namespace drape
