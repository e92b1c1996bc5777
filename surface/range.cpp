// Range of a triangle, by bounds and by the exact distance.
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

bool inRangeByBounds(const BoundedTriangle& bounded, std::int32_t triangle, const Ball& ball) {
    const Range range = bounded.inRange(ball);
    return range == Range::unknown ? exactlyInRange(triangle, ball) : range == Range::in;
}

} // namespace

Visit visitPlainly(std::int32_t triangle, const Ball* balls, int ballCount) {
    const bool first = exactlyInRange(triangle, balls[0]);
    const bool second = ballCount == 2 ? exactlyInRange(triangle, balls[1]) : first;
    return {first || second, first && second};
}

Visit visitByBounds(std::int32_t triangle, const Ball* balls, int ballCount) {
    const BoundedTriangle bounded(model->mesh, triangle);
    const bool first = inRangeByBounds(bounded, triangle, balls[0]);
    const bool second = ballCount == 2 ? inRangeByBounds(bounded, triangle, balls[1]) : first;
    return {first || second, first && second};
}

bool inRangeOfAny(std::int32_t triangle, const Ball* balls, int ballCount) {
    const BoundedTriangle bounded(model->mesh, triangle);
    return inRangeByBounds(bounded, triangle, balls[0]) ||
           (ballCount == 2 && inRangeByBounds(bounded, triangle, balls[1]));
}

} // namespace drape
