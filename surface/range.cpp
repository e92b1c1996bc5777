// Range of a triangle, by spheres, by corners and by the exact distance.
#include "surface/range.h"

#include "surface/point_triangle.h"

namespace drape {
namespace {

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

} // namespace

Visit visitPlainly(std::int32_t triangle, const Ball* balls, int ballCount) {
    const bool first = exactlyInRange(triangle, balls[0]);
    const bool second = ballCount == 2 ? exactlyInRange(triangle, balls[1]) : first;
    return {first || second, first && second};
}

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

} // namespace drape
