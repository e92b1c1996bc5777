// "Above" is the mean normal of the mould, or the normal at the seed where the mould closes around itself.
// The mould is turned so that its longer principal axis runs across the picture, then the eye is moved aside
// and lowered: depth shows best when no principal direction points along the view. Of four such sides that
// one is taken from which the seed can be seen.
#include "tool/draw/mould_view.h"

#include "host/cloth/grid.h"
#include "host/mesh/box.h"
#include "host/mesh/point.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace tool {
namespace {

constexpr double degree = std::numbers::pi / 180.0;
constexpr double sideways = 28.0 * degree;
constexpr double turns[] = {sideways, -sideways, std::numbers::pi + sideways, std::numbers::pi - sideways};
constexpr double leastFacing = 0.15; // cosine between the eye and the seed's normal, for it to be seen
constexpr double hidingShare = 5e-3; // of the mould's size by which what hides the seed stands before it
constexpr double elevation = 38.0 * degree;

struct Moments {
    Point centroid{};
    Point normal{}; // of all triangles, weighted by area
    double area = 0.0;
};

Point triangleArea(const Mould& mould, std::size_t t) { // normal, as long as the area
    const Point& a = mould.corner(t, 0);
    return vec::scale(vec::cross(vec::subtract(mould.corner(t, 1), a), vec::subtract(mould.corner(t, 2), a)),
                      0.5);
}

Point triangleCentre(const Mould& mould, std::size_t t) {
    return vec::scale(vec::add(mould.corner(t, 0), vec::add(mould.corner(t, 1), mould.corner(t, 2))),
                      1.0 / 3.0);
}

Moments momentsOf(const Mould& mould) {
    Moments moments;
    for (std::size_t t = 0; t < mould.triangleCount(); ++t) {
        const Point normal = triangleArea(mould, t);
        const double area = vec::length(normal);
        moments.area += area;
        moments.normal = vec::add(moments.normal, normal);
        moments.centroid = vec::add(moments.centroid, vec::scale(triangleCentre(mould, t), area));
    }
    moments.centroid = vec::scale(moments.centroid, moments.area > 0.0 ? 1.0 / moments.area : 0.0);
    return moments;
}

Point anySquareTo(const Point& direction) {
    const Point axis = std::abs(direction[0]) < 0.9 ? Point{1.0, 0.0, 0.0} : Point{0.0, 1.0, 0.0};
    return vec::unit(vec::subtract(axis, vec::scale(direction, vec::dot(axis, direction))));
}

Point chooseAbove(const Mould& mould, const Grid& grid, const Moments& moments) {
    Point above = moments.normal;
    if (vec::length(above) < 0.1 * moments.area && grid.count > 0) {
        above = nodeNormal(grid, 0);
    }
    above = vec::unit(above);
    if (mould.triangleCount() == 0 || vec::length(above) < 0.5) {
        return {0.0, 0.0, 1.0};
    }
    return above[2] < -0.2 ? vec::scale(above, -1.0) : above; // z is up in most files
}

// The longer axis of the mould square to `above`; along x where no axis is clearly longer.
Point chooseAcross(const Mould& mould, const Moments& moments, const Point& above) {
    const Point e1 = anySquareTo(above);
    const Point e2 = vec::cross(above, e1);
    double xx = 0.0;
    double xy = 0.0;
    double yy = 0.0;
    for (std::size_t t = 0; t < mould.triangleCount(); ++t) {
        const Point arm = vec::subtract(triangleCentre(mould, t), moments.centroid);
        const double area = vec::length(triangleArea(mould, t));
        const double x = vec::dot(arm, e1);
        const double y = vec::dot(arm, e2);
        xx += area * x * x;
        xy += area * x * y;
        yy += area * y * y;
    }
    const double spread = std::hypot(xx - yy, 2.0 * xy);
    if (spread < 0.1 * (xx + yy)) {
        return e1;
    }
    const double angle = 0.5 * std::atan2(2.0 * xy, xx - yy);
    const Point across = vec::add(vec::scale(e1, std::cos(angle)), vec::scale(e2, std::sin(angle)));
    const double sign = std::abs(across[0]) > 1e-6 ? across[0] : across[1] + across[2];
    return vec::scale(across, sign < 0.0 ? -1.0 : 1.0);
}

// Whether no triangle stands between the eye and the seed.
bool showsSeed(const MouldView& view, const Mould& mould, const Grid& grid, double area) {
    const Seen seed = view.see(nodePosition(grid, 0));
    const double before = seed.near + hidingShare * std::sqrt(area);
    const auto covers = [&](std::size_t t) {
        const std::array<Seen, 3> s{view.see(mould.corner(t, 0)), view.see(mould.corner(t, 1)),
                                    view.see(mould.corner(t, 2))};
        if (!(std::max({s[0].near, s[1].near, s[2].near}) > before)) {
            return false;
        }
        std::array<double, 3> parts{}; // of the triangle as seen, across from each corner
        for (std::size_t k = 0; k < 3; ++k) {
            const Seen& a = s[(k + 1) % 3];
            const Seen& b = s[(k + 2) % 3];
            parts[k] = (a.x - seed.x) * (b.y - seed.y) - (a.y - seed.y) * (b.x - seed.x);
        }
        const double sum = parts[0] + parts[1] + parts[2];
        const auto [least, most] = std::minmax_element(parts.begin(), parts.end());
        return sum != 0.0 && *least * *most >= 0.0 &&
               (parts[0] * s[0].near + parts[1] * s[1].near + parts[2] * s[2].near > before * sum) ==
                   (sum > 0.0);
    };
    if (!(std::abs(vec::dot(nodeNormal(grid, 0), view.toEye)) > leastFacing)) {
        return false;
    }
    for (std::size_t t = 0; t < mould.triangleCount(); ++t) {
        if (covers(t)) {
            return false;
        }
    }
    return true;
}

void fit(MouldView& view, const Mould& mould, double width, double height) {
    Box2 box;
    for (const Point& position : mould.positions) {
        const Seen seen = view.see(position);
        box.add({seen.x, seen.y});
    }
    const auto [left, top] = box.low;
    const auto [right, bottom] = box.high;
    const double spanX = std::max(right - left, 1e-12);
    const double spanY = std::max(bottom - top, 1e-12);
    if (!std::isfinite(spanX) || !std::isfinite(spanY)) {
        return;
    }
    view.scale = std::min(width / spanX, height / spanY);
    view.shiftX = -view.scale * left;
    view.shiftY = -view.scale * top;
    view.width = view.scale * spanX;
    view.height = view.scale * spanY;
}

} // namespace

Seen MouldView::see(const Point& point) const {
    return {scale * vec::dot(point, right) + shiftX, shiftY - scale * vec::dot(point, up),
            scale * vec::dot(point, toEye)};
}

MouldView chooseView(const Mould& mould, const Grid& grid, double width, double height) {
    const Moments moments = momentsOf(mould);
    const Point above = chooseAbove(mould, grid, moments);
    const Point across = chooseAcross(mould, moments, above);
    const Point back = vec::cross(above, across);
    const auto turned = [&](double turn) {
        MouldView view;
        view.right = vec::add(vec::scale(across, std::cos(turn)), vec::scale(back, std::sin(turn)));
        const Point ahead = vec::cross(above, view.right); // level, away from the eye
        view.toEye =
            vec::subtract(vec::scale(above, std::sin(elevation)), vec::scale(ahead, std::cos(elevation)));
        view.up = vec::cross(view.toEye, view.right);
        return view;
    };
    MouldView view = turned(turns[0]);
    if (grid.count > 0) {
        const auto* shown = std::find_if(std::begin(turns), std::end(turns), [&](double turn) {
            return showsSeed(turned(turn), mould, grid, moments.area);
        });
        view = turned(shown == std::end(turns) ? turns[0] : *shown);
    }
    fit(view, mould, width, height);
    return view;
}

} // namespace tool
