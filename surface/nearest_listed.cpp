#include "surface/nearest_listed.h"

#include "surface/flood_reach.h"
#include "surface/point_triangle.h"
#include "surface/range.h"

#include <algorithm>

namespace drape {
namespace {

// Holds what is in range of all balls.
Box boxOfRange(const Ball* balls, int ballCount) {
    Box box{{-margins::ENDLESS, -margins::ENDLESS, -margins::ENDLESS},
            {margins::ENDLESS, margins::ENDLESS, margins::ENDLESS}};
    for (int k = 0; k < ballCount; ++k) {
        const Ball& ball = balls[k];
        const double reach = margins::reachOfRange(ball.radius, ball.tolerance);
        const Vec3 half{reach, reach, reach};
        const Vec3 low = ball.centre - half, high = ball.centre + half;
        box.low = {std::max(box.low.x, low.x), std::max(box.low.y, low.y), std::max(box.low.z, low.z)};
        box.high = {std::min(box.high.x, high.x), std::min(box.high.y, high.y), std::min(box.high.z, high.z)};
    }
    return box;
}

// Triangles on the boundary that may be in range, with bounds of their distances from a place.
class Nearby {
public:
    Nearby(const Vec3& place, double tolerance)
        : place_(place), tolerance_(tolerance), slack_(largestSlack().at(margins::largestCoordinate(place))) {
    }

    // False if there are more than the fallback's table would surely hold, or if nothing can be bounded.
    bool gather(const Ball* balls, int ballCount) {
        const Box box = boxOfRange(balls, ballCount);
        bool done = slack_.sum() < margins::ENDLESS &&
                    margins::largestCoordinate(box.low) < margins::LARGEST_LENGTH &&
                    margins::largestCoordinate(box.high) < margins::LARGEST_LENGTH;
        if (done)
            model->indices->boundaryTree.forEachNear(box, [&](std::int32_t e) { return done = add(e); });
        return done && bound();
    }

    // The nearest of them in range of all balls, several if they are equally near; none if none is in range.
    // False if a distance is no number to compare.
    bool nearest(const Ball* balls, int ballCount, Goals& goals) {
        int ties = 0;
        while (count_ > 0 && ties == 0) {
            double limit = margins::ENDLESS;
            for (int k = 0; k < count_; ++k)
                limit = std::min(limit, near_[k].above);
            double best = margins::ENDLESS;
            for (int k = 0; k < count_; ++k) {
                if (!(near_[k].below <= limit))
                    continue;
                const double distance = settle(near_[k]);
                if (!(distance < margins::ENDLESS))
                    return false;
                best = std::min(best, distance);
            }
            ties = takeTies(best, balls, ballCount);
        }
        goals = {ties_, ties};
        return true;
    }

private:
    struct Near {
        std::int32_t triangle;
        double below, above; // equal once the distance is known
    };

    bool add(std::int32_t edge) {
        const std::int32_t triangle = model->mesh.boundaryEdge(edge).triangle;
        if (firstBoundaryEdgeOf(triangle) != edge)
            return true;
        if (count_ == FALLBACK_TABLE_SIZE)
            return false;
        near_[count_++].triangle = triangle;
        return true;
    }

    // False if a distance is no number.
    bool bound() {
        bool bounded = true;
        for (int k = 0; k < count_; k += PAIR) {
            const int last = std::min(k + 1, count_ - 1);
            const DoublePair distances = distancesOf(place_, BoundedTriangle(model->mesh, near_[k].triangle),
                                                     BoundedTriangle(model->mesh, near_[last].triangle));
            for (int lane = 0; lane <= last - k; ++lane) {
                Near& near = near_[k + lane];
                near.below = margins::distanceBelow(distances[lane]) - slack_.sum();
                near.above = margins::distanceAbove(distances[lane], tolerance_) + slack_.sum();
                bounded = bounded && near.above < margins::ENDLESS;
            }
        }
        return bounded;
    }

    // The distance as the fallback measures it.
    double settle(Near& near) const {
        const SurfaceMesh& mesh = model->mesh;
        if (near.below < near.above)
            near.below = near.above =
                distanceToTriangle(place_, mesh.corner(near.triangle, 0), mesh.corner(near.triangle, 1),
                                   mesh.corner(near.triangle, 2), tolerance_)
                    .distance;
        return near.above;
    }

    // Takes away all at the least distance and keeps those that are listed.
    int takeTies(double best, const Ball* balls, int ballCount) {
        int ties = 0, left = 0;
        for (int k = 0; k < count_; ++k) {
            if (!(near_[k].below == best && near_[k].above == best))
                near_[left++] = near_[k];
            else if (visitByBounds(near_[k].triangle, balls, ballCount).list)
                ties_[ties++] = near_[k].triangle;
        }
        count_ = left;
        return ties;
    }

    Vec3 place_;
    double tolerance_;
    margins::DistanceSlack slack_; // of any triangle
    Near near_[FALLBACK_TABLE_SIZE];
    std::int32_t ties_[FALLBACK_TABLE_SIZE];
    int count_ = 0;
};

// A place on a triangle that a way there can lead to: its corner nearest to a point.
Vec3 cornerNearest(std::int32_t triangle, const Vec3& point) {
    Vec3 nearest = model->mesh.corner(triangle, 0);
    for (int k = 1; k < 3; ++k) {
        const Vec3 corner = model->mesh.corner(triangle, k);
        if (cadis(corner, point) < cadis(nearest, point))
            nearest = corner;
    }
    return nearest;
}

} // namespace

bool listNearestBoundary(std::int32_t start, const Ball* balls, int ballCount, const Vec3& place,
                         SearchScratch& scratch, std::int32_t& status) {
    Nearby nearby(place, balls[0].tolerance);
    Goals nearest;
    if (!visitByBounds(start, balls, ballCount).goOn || !nearby.gather(balls, ballCount) ||
        !nearby.nearest(balls, ballCount, nearest))
        return listBoundaryInRange(start, balls, ballCount, scratch, status);
    std::int32_t first = 0;
    if (nearest.count == 0) // nothing of the list is read but whether there is one
        return floodTo({nullptr, 0, true}, start, balls, ballCount, scratch, first, status);
    const Vec3 middle = 0.5 * (balls[0].centre + balls[ballCount - 1].centre);
    if (nearest.count == 1 && floodReaches(nearest.triangles[0], cornerNearest(nearest.triangles[0], middle),
                                           start, balls, ballCount)) {
        scratch.beginFlood();
        scratch.foundList[scratch.foundCount++] = nearest.triangles[0];
        return true;
    }
    return floodTo(nearest, start, balls, ballCount, scratch, first, status) &&
           (first != 0 || listBoundaryInRange(start, balls, ballCount, scratch, status));
}

} // namespace drape
