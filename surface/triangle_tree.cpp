// Building the triangle tree: how far from a triangle a hit can lie, the order along a space-filling curve,
// and the boxes from the leaves up.
#include "surface/triangle_tree.h"

#include "surface/flatness.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace drape {
namespace {

// Shares by which bounds stay clear of rounding.
constexpr double SIZE_MARGIN = 1e-5;
constexpr double OFFSET_MARGIN = 1e-12;
constexpr double LARGEST_LENGTH = 1e15; // its square, and that of its inverse, fit single precision

// The curve's resolution: so many bits for each coordinate, sorted so many at a time.
constexpr int BITS_PER_AXIS = 16;
constexpr int BITS_PER_PASS = 12;
constexpr std::int32_t BUCKETS = 1 << BITS_PER_PASS;

double coordinate(const Vec3& v, int k) {
    return k == 0 ? v.x : (k == 1 ? v.y : v.z);
}

// The share is twice what single precision rounds off, so these stay on their side.
float roundedDown(double value) {
    return static_cast<float>(value - (std::fabs(value) * 1.2e-7 + 1e-37));
}
float roundedUp(double value) {
    return static_cast<float>(value + (std::fabs(value) * 1.2e-7 + 1e-37));
}

// Spreads 16 bits so that two zero bits follow each.
std::uint64_t spread(std::uint64_t bits) {
    bits = (bits | (bits << 16)) & 0x0000ff0000ffULL;
    bits = (bits | (bits << 8)) & 0x00f00f00f00fULL;
    bits = (bits | (bits << 4)) & 0x0c30c30c30c3ULL;
    return (bits | (bits << 2)) & 0x249249249249ULL;
}

std::uint64_t cellOf(double value, double low, double scale) {
    constexpr double last = (1 << BITS_PER_AXIS) - 1;
    const double cell = (value - low) * scale;
    return static_cast<std::uint64_t>(cell > 0.0 ? std::min(cell, last) : 0.0);
}

struct Keyed {
    std::uint64_t* keys;
    std::int32_t* triangles;
};

// One stable pass of a radix sort over the bits from `shift` on.
void sortPass(const Keyed& from, const Keyed& to, std::int64_t count, int shift, std::int32_t* places) {
    const auto bucketOf = [shift](std::uint64_t key) { return (key >> shift) & (BUCKETS - 1); };
    std::fill_n(places, BUCKETS, 0);
    for (std::int64_t k = 0; k < count; ++k)
        ++places[bucketOf(from.keys[k])];
    std::int32_t start = 0;
    for (std::int32_t b = 0; b < BUCKETS; ++b) {
        const std::int32_t size = places[b];
        places[b] = start;
        start += size;
    }
    for (std::int64_t k = 0; k < count; ++k) {
        const std::int32_t place = places[bucketOf(from.keys[k])]++;
        to.keys[place] = from.keys[k];
        to.triangles[place] = from.triangles[k];
    }
}

struct Extent {
    Vec3 low, high;
};

Extent extentOf(const SurfaceMesh& mesh) {
    Extent extent{mesh.vertex(1), mesh.vertex(1)};
    for (std::int32_t v = 2; v <= mesh.vertCount; ++v) {
        const Vec3 p = mesh.vertex(v);
        extent.low = {std::min(extent.low.x, p.x), std::min(extent.low.y, p.y), std::min(extent.low.z, p.z)};
        extent.high = {std::max(extent.high.x, p.x), std::max(extent.high.y, p.y),
                       std::max(extent.high.z, p.z)};
    }
    return extent;
}

} // namespace

TriangleTree::Band::Band(const Circle& circle)
    : centre{static_cast<float>(circle.centre.x), static_cast<float>(circle.centre.y),
             static_cast<float>(circle.centre.z)},
      axis{static_cast<float>(circle.axis.x), static_cast<float>(circle.axis.y),
           static_cast<float>(circle.axis.z)},
      axisSize{std::fabs(axis[0]), std::fabs(axis[1]), std::fabs(axis[2])} {
    constexpr double rounding = 1e-6;
    const double size = std::fabs(circle.centre.x) + std::fabs(circle.centre.y) + std::fabs(circle.centre.z);
    const double slack = rounding * (size + circle.radius);
    margin = static_cast<float>(slack);
    const double outer = circle.radius * (1.0 + static_cast<double>(SINGLE_MARGIN)) + slack;
    const double inner = circle.radius * (1.0 - static_cast<double>(SINGLE_MARGIN)) - slack;
    outer2 = roundedUp(outer * outer);
    inner2 = inner > 0.0 ? roundedDown(inner * inner) : 0.0f;
}

// How far from its triangle a point can lie that the cut takes for a hit: what the tolerance snaps, what the
// side tests lose against circles of the largest radius, and how far a thin triangle's normal can tilt.
// Infinite for needles; below 0 for triangles without area, which are never hit.
double TriangleTree::hitMargin(const Vec3& a, const Vec3& b, const Vec3& c) const {
    constexpr double rounding = 1e-13;
    const double endless = std::numeric_limits<double>::infinity();
    if (enclosesNothing(b - a, c - a, parvis(b - a, c - a)))
        return -1.0;
    const TriangleShape shape(a, b, c);
    const double longest = shape.longest;
    const double ratio = shape.area / (longest * longest);
    const double span = 2.0 * reach_ + longest;
    const double size = std::fabs(a.x) + std::fabs(a.y) + std::fabs(a.z);
    double margin = 2.0 * tolerance_ + SIZE_MARGIN * longest + rounding * span * span / shape.shortest +
                    rounding * span / ratio + OFFSET_MARGIN * size;
    if (shape.isSliver())
        margin += longest;
    return margin < span ? margin : endless;
}

void TriangleTree::putTriangle(const SurfaceMesh& mesh, std::int32_t triangle, Quad& quad, int lane) const {
    const Vec3 a = mesh.corner(triangle, 0);
    const Vec3 b = mesh.corner(triangle, 1);
    const Vec3 c = mesh.corner(triangle, 2);
    const double margin = hitMargin(a, b, c);
    for (int k = 0; k < 3; ++k) {
        const double p = coordinate(a, k), q = coordinate(b, k), r = coordinate(c, k);
        quad.low[k][lane] = roundedDown(std::min(p, std::min(q, r)) - margin);
        quad.high[k][lane] = roundedUp(std::max(p, std::max(q, r)) + margin);
    }
}

// Puts all triangles that can be hit in the order of the curve; needles go on a list of their own.
bool TriangleTree::sortTriangles(const SurfaceMesh& mesh, std::int32_t& status) {
    const std::int64_t count = mesh.triCount;
    WorkArray<double> keys, otherKeys;
    WorkArray<std::int32_t> otherOrder, places;
    if (!order_.take(count, status) || !keys.take(count, status) || !otherKeys.take(count, status) ||
        !otherOrder.take(count, status) || !places.take(BUCKETS, status))
        return false;
    const Extent extent = extentOf(mesh);
    const Vec3 size = extent.high - extent.low;
    const double largest = std::max(size.x, std::max(size.y, size.z));
    const double offset = std::max(std::max(std::fabs(extent.low.x), std::fabs(extent.high.x)),
                                   std::max(std::max(std::fabs(extent.low.y), std::fabs(extent.high.y)),
                                            std::max(std::fabs(extent.low.z), std::fabs(extent.high.z))));
    if (!(offset < LARGEST_LENGTH) || !(largest > 1.0 / LARGEST_LENGTH) || !(reach_ < LARGEST_LENGTH) ||
        !(reach_ > 1.0 / LARGEST_LENGTH) || !(tolerance_ < LARGEST_LENGTH))
        return true;
    const double scale = (1 << BITS_PER_AXIS) / largest;

    Keyed now{reinterpret_cast<std::uint64_t*>(keys.data()), order_.data()};
    Keyed other{reinterpret_cast<std::uint64_t*>(otherKeys.data()), otherOrder.data()};
    for (std::int32_t t = 1; t <= mesh.triCount; ++t) {
        const Vec3 a = mesh.corner(t, 0), b = mesh.corner(t, 1), c = mesh.corner(t, 2);
        const double margin = hitMargin(a, b, c);
        if (margin < 0.0)
            continue;
        if (!(margin < std::numeric_limits<double>::infinity())) {
            if (needleCount_ == MAX_NEEDLES)
                return true; // the tree stays unusable
            needles_[needleCount_++] = t;
            continue;
        }
        const Vec3 centre = (a + b + c) / 3.0;
        now.keys[treeCount_] = spread(cellOf(centre.x, extent.low.x, scale)) << 2 |
                               spread(cellOf(centre.y, extent.low.y, scale)) << 1 |
                               spread(cellOf(centre.z, extent.low.z, scale));
        now.triangles[treeCount_++] = t;
    }
    for (int shift = 0; shift < 3 * BITS_PER_AXIS; shift += BITS_PER_PASS) {
        sortPass(now, other, treeCount_, shift, places.data());
        std::swap(now, other);
    }
    // An even number of passes ends where it began.
    static_assert((3 * BITS_PER_AXIS / BITS_PER_PASS) % 2 == 0);
    layOutLevels();
    return true;
}

void TriangleTree::layOutLevels() {
    std::int64_t children = treeCount_;
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

void TriangleTree::fillQuads(const SurfaceMesh& mesh) {
    constexpr float endless = std::numeric_limits<float>::infinity();
    for (int level = 0; level < levelCount_; ++level) {
        const std::int64_t children = level == 0 ? treeCount_ : levelSize_[level - 1];
        for (std::int64_t node = 0; node < levelSize_[level]; ++node) {
            Quad& quad = quads_[levelStart_[level] + node];
            for (int lane = 0; lane < ARITY; ++lane) {
                const std::int64_t child = ARITY * node + lane;
                if (child < children && level == 0) {
                    putTriangle(mesh, order_.data()[child], quad, lane);
                    continue;
                }
                for (int k = 0; k < 3; ++k) {
                    quad.low[k][lane] = endless;
                    quad.high[k][lane] = -endless;
                    if (child >= children)
                        continue;
                    const Quad& below = quads_[levelStart_[level - 1] + child];
                    for (int part = 0; part < ARITY; ++part) {
                        quad.low[k][lane] = std::min<float>(quad.low[k][lane], below.low[k][part]);
                        quad.high[k][lane] = std::max<float>(quad.high[k][lane], below.high[k][part]);
                    }
                }
            }
        }
    }
}

bool TriangleTree::build(const SurfaceMesh& mesh, double tolerance, double reach, std::int32_t& status) {
    tolerance_ = tolerance;
    reach_ = reach;
    if (!sortTriangles(mesh, status))
        return false;
    if (levelCount_ == 0)
        return true;
    constexpr std::int64_t words = sizeof(Quad) / sizeof(std::int32_t);
    const std::int64_t quadCount = levelStart_[levelCount_ - 1] + 1;
    if (!quadBlock_.take(quadCount * words, status))
        return false;
    quads_ = reinterpret_cast<Quad*>(quadBlock_.data());
    fillQuads(mesh);
    return true;
}

void TriangleTree::release(std::int32_t& status) {
    order_.release(status);
    quadBlock_.release(status);
}

} // namespace drape
