// Building the box tree over the boundary chain.
#include "surface/boundary_tree.h"

#include "surface/margins.h"

#include <algorithm>
#include <cmath>

namespace drape {
namespace {

using margins::ENDLESS;
constexpr Box WHOLE_SPACE{{-ENDLESS, -ENDLESS, -ENDLESS}, {ENDLESS, ENDLESS, ENDLESS}};

Vec3 lower(const Vec3& a, const Vec3& b) {
    return {std::min(a.x, b.x), std::min(a.y, b.y), std::min(a.z, b.z)};
}
Vec3 upper(const Vec3& a, const Vec3& b) {
    return {std::max(a.x, b.x), std::max(a.y, b.y), std::max(a.z, b.z)};
}
Box joined(const Box& a, const Box& b) {
    return {lower(a.low, b.low), upper(a.high, b.high)};
}

// The box of a triangle, widened by what its exact distance may fall short of the true one. Where that can't
// be bounded it is the whole space.
Box boxOf(const SurfaceMesh& mesh, std::int32_t triangle, double tolerance) {
    const Vec3 a = mesh.corner(triangle, 0);
    const Vec3 b = mesh.corner(triangle, 1);
    const Vec3 c = mesh.corner(triangle, 2);
    const Box box{lower(a, lower(b, c)), upper(a, upper(b, c))};
    const double offset = std::max(margins::largestCoordinate(box.low), margins::largestCoordinate(box.high));
    const double slack = margins::distanceSlack(TriangleShape(a, b, c), offset, tolerance).sum();
    if (!(slack < ENDLESS))
        return WHOLE_SPACE;
    const Vec3 widening{slack, slack, slack};
    return {box.low - widening, box.high + widening};
}

double gap(double low, double high, double value) {
    return value < low ? low - value : (value > high ? value - high : 0.0);
}

} // namespace

BoundaryTree::EdgeRun BoundaryTree::edgesOf(std::int64_t leaf) const {
    const auto first = static_cast<std::int32_t>((leaf - leafCount_) * EDGES_PER_LEAF + 1);
    return {first, std::min(first + (EDGES_PER_LEAF - 1), edgeCount_)};
}

double BoundaryTree::distanceBelow(std::int64_t node, const Vec3& point) const {
    const Box& box = boxes_[node];
    const Vec3 d{gap(box.low.x, box.high.x, point.x), gap(box.low.y, box.high.y, point.y),
                 gap(box.low.z, box.high.z, point.z)};
    return margins::distanceBelow(std::sqrt(vor(d)));
}

void BoundaryTree::fillLeaf(const SurfaceMesh& mesh, std::int64_t leaf, double tolerance) {
    boxes_[leaf] = Box::nothing();
    if ((leaf - leafCount_) * EDGES_PER_LEAF >= edgeCount_)
        return;
    const EdgeRun run = edgesOf(leaf);
    for (std::int32_t e = run.first; e <= run.last; ++e) {
        const BoundaryEdge edge = mesh.boundaryEdge(e);
        const Vec3 p = mesh.vertex(edge.start);
        const Vec3 q = mesh.vertex(edge.end);
        const Box own{lower(p, q), upper(p, q)};
        boxes_[leaf] = joined(boxes_[leaf], joined(own, boxOf(mesh, edge.triangle, tolerance)));
    }
}

bool BoundaryTree::build(const SurfaceMesh& mesh, double tolerance, std::int32_t& status) {
    edgeCount_ = mesh.boundaryCount;
    leafCount_ = 1;
    while (leafCount_ * EDGES_PER_LEAF < edgeCount_)
        leafCount_ *= 2;
    constexpr std::int64_t doubles = sizeof(Box) / sizeof(double);
    if (!block_.take(2 * leafCount_ * doubles, status) || !firstEdge_.take(mesh.triCount, status))
        return false;
    boxes_ = reinterpret_cast<Box*>(block_.data());
    for (std::int64_t leaf = leafCount_; leaf < 2 * leafCount_; ++leaf)
        fillLeaf(mesh, leaf, tolerance);
    for (std::int64_t node = leafCount_ - 1; node >= 1; --node)
        boxes_[node] = joined(boxes_[2 * node], boxes_[2 * node + 1]);

    clear(firstEdge_.data(), mesh.triCount);
    for (std::int32_t e = edgeCount_; e >= 1; --e)
        firstEdge_.data()[mesh.boundaryEdge(e).triangle - 1] = e;
    return true;
}

void BoundaryTree::release(std::int32_t& status) {
    block_.release(status);
    firstEdge_.release(status);
}

} // namespace drape
