// Building the triangle tree: how far from a triangle a hit can lie, and the boxes from the leaves up.
#include "surface/triangle_tree.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace drape {
namespace {

constexpr float ENDLESS = std::numeric_limits<float>::infinity();

} // namespace

TriangleTree::Band::Band(const Circle& circle)
    : centre{static_cast<float>(circle.centre.x), static_cast<float>(circle.centre.y),
             static_cast<float>(circle.centre.z)},
      axis{static_cast<float>(circle.axis.x), static_cast<float>(circle.axis.y),
           static_cast<float>(circle.axis.z)},
      axisSize{std::fabs(axis[0]), std::fabs(axis[1]), std::fabs(axis[2])} {
    const double slack = margins::SINGLE_SLACK * (margins::sizeOf(circle.centre) + circle.radius);
    margin = static_cast<float>(slack);
    const auto squareUp = [](double length) { return roundedUp(length * length); };
    const double inner = circle.radius - slack;
    rim.outer2 = squareUp(circle.radius + slack);
    rim.inner2 = inner > 0.0 ? roundedDown(inner * inner) : 0.0f;
    disc.outer2 = squareUp(margins::DISC_REACH * circle.radius + slack);
    disc.inner2 = 0.0f;
}

TriangleTree::Arc::Arc(const Circle& circle, const margins::ForwardArc& arc)
    : band(circle), low{roundedDown(arc.low.x) - FloatLanes{}, roundedDown(arc.low.y) - FloatLanes{},
                        roundedDown(arc.low.z) - FloatLanes{}},
      high{roundedUp(arc.high.x) - FloatLanes{}, roundedUp(arc.high.y) - FloatLanes{},
           roundedUp(arc.high.z) - FloatLanes{}} {}

TriangleTree::Cone TriangleTree::Cone::around(const Part* parts, int count) {
    if (count == 0)
        return ofNothing();
    Vec3 middle{0.0, 0.0, 0.0};
    for (int k = 0; k < count; ++k)
        middle = prosca(parts[k].axis, middle) < 0.0 ? middle - parts[k].axis : middle + parts[k].axis;
    devor(middle);
    // The largest turn of all and the largest spread of all, by their cosines.
    double turn = 1.0, spread = 1.0;
    for (int k = 0; k < count; ++k) {
        turn = std::min(turn, std::fabs(prosca(parts[k].axis, middle)));
        spread = std::min(spread, parts[k].cosine);
    }
    const double sines = std::max((1.0 - turn * turn) * (1.0 - spread * spread), 0.0);
    const double least = turn * spread - std::sqrt(sines);
    if (!(spread > 0.0) || !(least > 0.0))
        return {}; // all directions
    return {{static_cast<float>(middle.x), static_cast<float>(middle.y), static_cast<float>(middle.z)},
            roundedDown(least - margins::SINGLE_SLACK)};
}

void TriangleTree::layOutLevels(std::int64_t triangles) {
    std::int64_t children = triangles;
    std::int64_t start = 0;
    while (children > 0) {
        const std::int64_t size = (children + ARITY - 1) / ARITY;
        levelStart_[levelCount_] = start;
        levelSize_[levelCount_] = size;
        start += size;
        ++levelCount_;
        children = size == 1 ? 0 : size;
    }
}

bool TriangleTree::begin(const SurfaceMesh& mesh, double tolerance, double reach, std::int32_t& status) {
    tolerance_ = tolerance;
    reach_ = reach;
    Box extent = Box::nothing();
    for (std::int32_t v = 1; v <= mesh.vertCount; ++v)
        extent.include(mesh.vertex(v));
    const Vec3 size = extent.high - extent.low;
    const double largest = std::max(size.x, std::max(size.y, size.z));
    const double offset =
        std::max(margins::largestCoordinate(extent.low), margins::largestCoordinate(extent.high));
    if (!(offset < margins::LARGEST_SINGLE) || !(largest > 1.0 / margins::LARGEST_SINGLE) ||
        !(reach < margins::LARGEST_SINGLE) || !(reach > 1.0 / margins::LARGEST_SINGLE) ||
        !(tolerance < margins::LARGEST_SINGLE))
        return true;
    triCount_ = mesh.triCount;
    extent_ = margins::sizeOf(size);
    layOutLevels(mesh.triCount);
    constexpr std::int64_t words = sizeof(Quad) / sizeof(std::int32_t);
    if (!quadBlock_.take((levelStart_[levelCount_ - 1] + 1) * words, status))
        return false;
    quads_ = reinterpret_cast<Quad*>(quadBlock_.data());
    return true;
}

void TriangleTree::addNeedle(std::int32_t triangle) {
    if (needleCount_ < MAX_NEEDLES)
        needles_[needleCount_++] = triangle;
    else
        levelCount_ = 0;
}

void TriangleTree::putBox(std::int32_t triangle, const MeasuredTriangle& measured, Quad& quad, int lane) {
    // What has no plane is never hit.
    if (!measured.hasPlane())
        return;
    const double margin = margins::hitMargin(measured.shape, tolerance_, reach_, extent_);
    if (!(margin < margins::ENDLESS)) {
        addNeedle(triangle);
        return;
    }
    Box box{measured.a, measured.a};
    box.include(measured.b);
    box.include(measured.c);
    const Vec3 low = box.low - Vec3{margin, margin, margin};
    const Vec3 high = box.high + Vec3{margin, margin, margin};
    quad.low[0][lane] = roundedDown(low.x);
    quad.low[1][lane] = roundedDown(low.y);
    quad.low[2][lane] = roundedDown(low.z);
    quad.high[0][lane] = roundedUp(high.x);
    quad.high[1][lane] = roundedUp(high.y);
    quad.high[2][lane] = roundedUp(high.z);
    parts_[partCount_++] = {(1.0 / measured.shape.area) * measured.shape.cross, margins::COPLANAR_COSINE};
}

void TriangleTree::put(std::int32_t triangle, const MeasuredTriangle& measured) {
    if (!usable())
        return;
    const int lane = (triangle - 1) % ARITY;
    Quad& quad = quads_[(triangle - 1) / ARITY];
    if (lane == 0) {
        for (int k = 0; k < 3; ++k) {
            quad.low[k] = FloatLanes{} + ENDLESS;
            quad.high[k] = FloatLanes{} - ENDLESS;
        }
        partCount_ = 0;
    }
    putBox(triangle, measured, quad, lane);
    if (lane == ARITY - 1 || triangle == triCount_)
        quad.cone = Cone::around(parts_, partCount_);
}

void TriangleTree::fillUpperQuad(int level, std::int64_t node) {
    Quad& quad = quads_[levelStart_[level] + node];
    Cone::Part parts[ARITY];
    int partCount = 0;
    for (int lane = 0; lane < ARITY; ++lane) {
        const std::int64_t child = ARITY * node + lane;
        const bool present = child < levelSize_[level - 1];
        const Quad& below = quads_[levelStart_[level - 1] + (present ? child : ARITY * node)];
        for (int k = 0; k < 3; ++k) {
            quad.low[k][lane] = ENDLESS;
            quad.high[k][lane] = -ENDLESS;
            for (int part = 0; present && part < ARITY; ++part) {
                quad.low[k][lane] = std::min<float>(quad.low[k][lane], below.low[k][part]);
                quad.high[k][lane] = std::max<float>(quad.high[k][lane], below.high[k][part]);
            }
        }
        if (present && !below.cone.holdsNothing())
            parts[partCount++] = below.cone.asPart();
    }
    quad.cone = Cone::around(parts, partCount);
}

void TriangleTree::finish() {
    for (int level = 1; level < levelCount_; ++level)
        for (std::int64_t node = 0; node < levelSize_[level]; ++node)
            fillUpperQuad(level, node);
}

bool TriangleTree::build(const SurfaceMesh& mesh, double tolerance, double reach, std::int32_t& status) {
    if (!begin(mesh, tolerance, reach, status))
        return false;
    for (std::int32_t t = 1; t <= mesh.triCount; ++t)
        put(t, MeasuredTriangle(mesh, t));
    finish();
    return true;
}

} // namespace drape
