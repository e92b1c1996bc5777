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

AnyBall::AnyBall(const Ball* balls, int ballCount) : balls_(balls), ballCount_(ballCount) {
    const Ball &first = balls[0], &second = balls[ballCount - 1];
    const auto corner2 = [](const Ball& ball) { return ball.limits.bounded ? ball.limits.corner2 : 0.0; };
    const auto beyond2 = [](const Ball& ball) {
        return ball.limits.bounded ? ball.limits.beyond * ball.limits.beyond : margins::ENDLESS;
    };
    centre_ = pairOf(first.centre, second.centre);
    corner2_ = pairOf(corner2(first), corner2(second));
    beyond2_ = pairOf(beyond2(first), beyond2(second));
}

// As BoundedTriangle::inRange goes, whose exact side is asked where this leaves a ball open.
bool AnyBall::reaches(std::int32_t triangle) const {
    const BoundedTriangle bounded(model->mesh, triangle);
    const PairVec a = twice(bounded.a()) - centre_, b = twice(bounded.b()) - centre_,
                  c = twice(bounded.c()) - centre_;
    if (maskOfPair(smallerOf(smallerOf(vor(c), vor(b)), vor(a)) < corner2_) != 0)
        return true;
    const PairVec across = a + b + c;
    const DoublePair nearest = smallerOf(smallerOf(prosca(c, across), prosca(b, across)), prosca(a, across));
    const unsigned out = maskOfPair((nearest > DoublePair{}) & (nearest * nearest > beyond2_ * vor(across)));
    for (int k = 0; k < ballCount_; ++k)
        if ((out >> k & 1u) == 0 && inRangeByBounds(bounded, triangle, balls_[k]))
            return true;
    return false;
}

} // namespace drape
