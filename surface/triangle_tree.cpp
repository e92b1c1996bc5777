// Building the triangle tree: how far from a triangle a hit can lie, the order along a space-filling curve,
// and the boxes from the leaves up.
#include "surface/triangle_tree.h"

#include "surface/margins.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace drape {
namespace {

// The curve's resolution: so many bits for each coordinate, sorted so many at a time.
constexpr int BITS_PER_AXIS = 16;
constexpr int BITS_PER_PASS = 12;
constexpr std::int32_t BUCKETS = 1 << BITS_PER_PASS;

double coordinate(const Vec3& v, int k) {
    return k == 0 ? v.x : (k == 1 ? v.y : v.z);
}

// The share is just above what single precision rounds off, so these stay on their side.
float roundedDown(double value) {
    return static_cast<float>(value - (std::fabs(value) * 6e-8 + 1e-44));
}
float roundedUp(double value) {
    return static_cast<float>(value + (std::fabs(value) * 6e-8 + 1e-44));
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
    const double slack = margins::SINGLE_SLACK * (margins::sizeOf(circle.centre) + circle.radius);
    margin = static_cast<float>(slack);
    const auto squareUp = [](double length) { return roundedUp(length * length); };
    const double inner = circle.radius - slack;
    rim.outer2 = squareUp(circle.radius + slack);
    rim.inner2 = inner > 0.0 ? roundedDown(inner * inner) : 0.0f;
    disc.outer2 = squareUp(margins::DISC_REACH * circle.radius + slack);
    disc.inner2 = 0.0f;
}

// How far from its triangle a point can lie that the cut takes for a hit. Infinite for needles; below 0 for
// triangles without area, which are never hit.
double TriangleTree::hitMargin(const Vec3& a, const Vec3& b, const Vec3& c) const {
    if (enclosesNothing(b - a, c - a, parvis(b - a, c - a)))
        return -1.0;
    return margins::hitMargin(TriangleShape(a, b, c), tolerance_, reach_, extent_);
}

void TriangleTree::putTriangle(const Vec3& a, const Vec3& b, const Vec3& c, double margin, Quad& quad,
                               int lane) {
    for (int k = 0; k < 3; ++k) {
        const double p = coordinate(a, k), q = coordinate(b, k), r = coordinate(c, k);
        quad.low[k][lane] = roundedDown(std::min(p, std::min(q, r)) - margin);
        quad.high[k][lane] = roundedUp(std::max(p, std::max(q, r)) + margin);
    }
}

// Puts all triangles that can be hit in the order of the curve, with their margins by number; needles go on a
// list of their own.
bool TriangleTree::sortTriangles(const SurfaceMesh& mesh, double* hitMargins, std::int32_t& status) {
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
    if (!(offset < margins::LARGEST_SINGLE) || !(largest > 1.0 / margins::LARGEST_SINGLE) ||
        !(reach_ < margins::LARGEST_SINGLE) || !(reach_ > 1.0 / margins::LARGEST_SINGLE) ||
        !(tolerance_ < margins::LARGEST_SINGLE))
        return true;
    extent_ = margins::sizeOf(size);
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
        hitMargins[t - 1] = margin;
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

void TriangleTree::putQuad(const Quad& below, Quad& quad, int lane) {
    for (int k = 0; k < 3; ++k)
        for (int part = 0; part < ARITY; ++part) {
            quad.low[k][lane] = std::min<float>(quad.low[k][lane], below.low[k][part]);
            quad.high[k][lane] = std::max<float>(quad.high[k][lane], below.high[k][part]);
        }
}

TriangleTree::Cone TriangleTree::Cone::around(const Part* parts, int count) {
    Vec3 middle{0.0, 0.0, 0.0};
    for (int k = 0; k < count; ++k)
        middle = prosca(parts[k].axis, middle) < 0.0 ? middle - parts[k].axis : middle + parts[k].axis;
    devor(middle);
    double turn = 1.0, spread = 1.0; // cosines of the largest angles
    for (int k = 0; k < count; ++k) {
        turn = std::min(turn, std::fabs(prosca(parts[k].axis, middle)));
        spread = std::min(spread, parts[k].cosine);
    }
    const double cosine = turn * spread - std::sqrt((1.0 - turn * turn) * (1.0 - spread * spread));
    if (!(spread > 0.0) || !(cosine > 0.0))
        return {}; // all directions
    return {{static_cast<float>(middle.x), static_cast<float>(middle.y), static_cast<float>(middle.z)},
            roundedDown(cosine - margins::SINGLE_SLACK)};
}

void TriangleTree::fillQuads(const SurfaceMesh& mesh, const double* hitMargins) {
    constexpr float endless = std::numeric_limits<float>::infinity();
    const double coplanar = std::sqrt(1.0 - margins::NEARLY_COPLANAR * margins::NEARLY_COPLANAR);
    for (int level = 0; level < levelCount_; ++level) {
        const std::int64_t children = level == 0 ? treeCount_ : levelSize_[level - 1];
        for (std::int64_t node = 0; node < levelSize_[level]; ++node) {
            Quad& quad = quads_[levelStart_[level] + node];
            for (int k = 0; k < 3; ++k) {
                quad.low[k] = FloatLanes{} + endless;
                quad.high[k] = FloatLanes{} - endless;
            }
            const auto count = static_cast<int>(std::min<std::int64_t>(children - ARITY * node, ARITY));
            Cone::Part parts[ARITY];
            for (int lane = 0; lane < count; ++lane) {
                const std::int64_t child = ARITY * node + lane;
                if (level == 0) {
                    const std::int32_t triangle = order_.data()[child];
                    const Vec3 a = mesh.corner(triangle, 0);
                    const Vec3 b = mesh.corner(triangle, 1);
                    const Vec3 c = mesh.corner(triangle, 2);
                    putTriangle(a, b, c, hitMargins[triangle - 1], quad, lane);
                    parts[lane] = {unitNormal(b - a, c - a), coplanar};
                } else {
                    const Quad& below = quads_[levelStart_[level - 1] + child];
                    putQuad(below, quad, lane);
                    parts[lane] = below.cone.asPart();
                }
            }
            quad.cone = Cone::around(parts, count);
        }
    }
}

bool TriangleTree::build(const SurfaceMesh& mesh, double tolerance, double reach, std::int32_t& status) {
    tolerance_ = tolerance;
    reach_ = reach;
    WorkArray<double> hitMargins;
    if (!hitMargins.take(mesh.triCount, status) || !sortTriangles(mesh, hitMargins.data(), status))
        return false;
    if (levelCount_ > 0) {
        constexpr std::int64_t words = sizeof(Quad) / sizeof(std::int32_t);
        const std::int64_t quadCount = levelStart_[levelCount_ - 1] + 1;
        if (!quadBlock_.take(quadCount * words, status))
            return false;
        quads_ = reinterpret_cast<Quad*>(quadBlock_.data());
        fillQuads(mesh, hitMargins.data());
    }
    hitMargins.release(status);
    return status == DRAPE_OK;
}

void TriangleTree::release(std::int32_t& status) {
    order_.release(status);
    quadBlock_.release(status);
}

} // namespace drape
