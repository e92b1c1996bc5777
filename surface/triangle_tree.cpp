// Building the triangle tree: how far from a triangle a hit can lie, and the boxes from the leaves up.
#include "surface/triangle_tree.h"

#include "surface/measured_triangle.h"
#include "surface/triangle_pair.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace drape {
namespace {

constexpr float ENDLESS = std::numeric_limits<float>::infinity();
constexpr unsigned ALL_BELOW = 0xffffu; // triangles below four leaves

// For bounds that have to stay on their side, as with single numbers: the share is above twice what a number
// loses that is brought to single precision.
FloatLanes lossOf(const FloatLanes& v) {
    return 1.3e-7f * largerOf(v, -v) + 1e-37f;
}
FloatLanes roundedDown(const FloatLanes& v) {
    return v - lossOf(v);
}
FloatLanes roundedUp(const FloatLanes& v) {
    return v + lossOf(v);
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

TriangleTree::Arc::Arc(const Circle& circle, const margins::ForwardArc& arc)
    : band(circle), low{roundedDown(arc.low.x) - FloatLanes{}, roundedDown(arc.low.y) - FloatLanes{},
                        roundedDown(arc.low.z) - FloatLanes{}},
      high{roundedUp(arc.high.x) - FloatLanes{}, roundedUp(arc.high.y) - FloatLanes{},
           roundedUp(arc.high.z) - FloatLanes{}} {}

TriangleTree::Vicinity::Vicinity(const Vec3& point, const double& furthest,
                                 const margins::DistanceSlack& exactTest)
    : place{static_cast<float>(point.x) + FloatLanes{}, static_cast<float>(point.y) + FloatLanes{},
            static_cast<float>(point.z) + FloatLanes{}},
      distance(furthest),
      slack(exactTest.sum() + (margins::PLACE_ROUNDING + margins::SINGLE_SLACK) * margins::sizeOf(point)) {}

// Of a cone around `middle`, a unit vector, that holds what is turned against it by the cosine `turn` and
// spread by the cosine `spread` around that.
TriangleTree::Cone TriangleTree::Cone::around(const Vec3& middle, double turn, double spread) {
    const double sines = std::max((1.0 - turn * turn) * (1.0 - spread * spread), 0.0);
    const double least = turn * spread - std::sqrt(sines);
    if (!(turn > 0.0) || !(spread > 0.0) || !(least > 0.0))
        return {}; // all directions
    return {{static_cast<float>(middle.x), static_cast<float>(middle.y), static_cast<float>(middle.z)},
            drape::roundedDown(least - margins::SINGLE_SLACK)};
}

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
    return around(middle, turn, spread);
}

TriangleTree::Cone TriangleTree::Cone::around(FloatLanes (&normals)[ARITY][3], unsigned present) {
    if (present == 0)
        return ofNothing();
    const int first = firstOf(present);
    const auto component = [&](int lane, int c) { return normals[lane / LANES][c][lane % LANES]; };
    for (int lane = 0; present != ALL_BELOW && lane < ARITY * LANES; ++lane)
        for (int c = 0; c < 3; ++c)
            if ((present >> lane & 1u) == 0)
                normals[lane / LANES][c][lane % LANES] = component(first, c);
    const auto along = [&](float x, float y, float z, const FloatLanes(&leaf)[3]) {
        return x * leaf[0] + y * leaf[1] + z * leaf[2];
    };
    const float axis[3] = {component(first, 0), component(first, 1), component(first, 2)};
    FloatLanes sums[3] = {};
    for (const auto& leaf : normals) {
        const IntLanes forward = along(axis[0], axis[1], axis[2], leaf) >= FloatLanes{};
        for (int c = 0; c < 3; ++c)
            sums[c] += choose(forward, leaf[c], -leaf[c]);
    }
    const auto sum = [](const FloatLanes& v) { return double{v[0] + v[1]} + double{v[2] + v[3]}; };
    Vec3 middle{sum(sums[0]), sum(sums[1]), sum(sums[2])};
    devor(middle);
    FloatLanes turns = FloatLanes{} + 2.0f;
    for (const auto& leaf : normals) {
        const FloatLanes cosines = along(static_cast<float>(middle.x), static_cast<float>(middle.y),
                                         static_cast<float>(middle.z), leaf);
        turns = smallerOf(turns, largerOf(cosines, -cosines));
    }
    const double turn = std::min(std::min(turns[0], turns[1]), std::min(turns[2], turns[3]));
    // Single precision loses less than that on the cosines.
    return around(middle, turn - 0.5 * margins::SINGLE_SLACK, margins::COPLANAR_COSINE);
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

void TriangleTree::addNeedle(std::int32_t triangle) {
    if (needleCount_ < MAX_NEEDLES)
        needles_[needleCount_++] = triangle;
    else
        levelCount_ = 0;
}

// Fills the quads from the leaves up. Triangles are measured four at a time; those whose bounds don't hold by
// the quick measure are looked at by themselves.
class TriangleTree::Builder {
public:
    Builder(TriangleTree& tree, const SurfaceMesh& mesh, double tolerance, double reach, double extent)
        : tree_(tree), mesh_(mesh), tolerance_(tolerance), reach_(reach), extent_(extent) {}

    void run() {
        for (std::int64_t node = 0; node < tree_.levelSize_[0] && tree_.usable(); node += ARITY)
            fillLeaves(node);
        for (int level = 1; level < tree_.levelCount_; ++level)
            for (std::int64_t node = 0; node < tree_.levelSize_[level]; ++node)
                fillUpperQuad(level, node);
        if (!anyUnbounded_)
            tree_.slack_ = {std::sqrt(std::max(longest2_[0], longest2_[1])),
                            std::sqrt(std::min(shortest2_[0], shortest2_[1])), 0.0, tolerance_};
    }

private:
    struct Leaf {
        Quad& quad;
        FloatLanes (&normals)[3];
        unsigned boxed;  // lanes that have their box
        unsigned normal; // and those that have a normal
    };

    // Two triangles with what the margins of both make of them.
    struct BoundedPair : TrianglePair {
        BoundedPair(const Builder& builder, std::int32_t first, std::int32_t second)
            : TrianglePair(builder.mesh_, first, second), perArea(1.0 / rootOf(area2)),
              margin(rootOf(longest2), longest2 * perArea, builder.tolerance_, builder.reach_) {
            constexpr double sliver2 = TriangleShape::SLIVER_RATIO * TriangleShape::SLIVER_RATIO;
            bounded =
                maskOfPair(margin.holdsFor(builder.extent_) & (area2 > sliver2 * (longest2 * longest2)) &
                           (shortest2 > SMALLEST2 + DoublePair{}) & (longest2 < LARGEST2 + DoublePair{}));
        }

        // Between these squared lengths a triangle that is no sliver has a plane and bounds.
        static constexpr double SMALLEST2 = 1e-70, LARGEST2 = 1e70;
        DoublePair perArea;
        margins::HitMargin<DoublePair> margin;
        unsigned bounded; // a bit for each of the two
    };

    // Up to four leaves with the same parent, and its cone.
    void fillLeaves(std::int64_t firstLeaf) {
        const std::int64_t end = std::min(firstLeaf + ARITY, tree_.levelSize_[0]);
        FloatLanes normals[ARITY][3] = {};
        unsigned present = 0;
        for (std::int64_t node = firstLeaf; node < end; ++node)
            present |= fillLeaf(node, normals[node - firstLeaf]) << LANES * (node - firstLeaf);
        if (tree_.levelCount_ > 1)
            tree_.cones_[firstLeaf / ARITY] = Cone::around(normals, present);
    }

    // The mask of the lanes that have a normal.
    unsigned fillLeaf(std::int64_t node, FloatLanes (&normals)[3]) {
        Leaf leaf{tree_.quads_[node], normals, 0, 0};
        const auto first = static_cast<std::int32_t>(ARITY * node + 1);
        const std::int32_t last = tree_.triCount_;
        putPairs({*this, first, std::min(first + 1, last)},
                 {*this, std::min(first + 2, last), std::min(first + 3, last)}, leaf);
        constexpr unsigned all = (1u << ARITY) - 1;
        if (first + (ARITY - 1) > last)
            leaf.boxed = leaf.normal &= all >> (first + (ARITY - 1) - last);
        for (int lane = 0; leaf.boxed != all && lane < ARITY; ++lane)
            if ((leaf.boxed >> lane & 1u) == 0)
                putAlone(first + lane, leaf, lane);
        return leaf.normal;
    }

    void putPairs(const BoundedPair& p, const BoundedPair& q, Leaf& leaf) {
        const auto put = [&](DoublePair PairVec::*c, int k) {
            leaf.quad.low[k] = roundedDown(narrowed(p.low.*c - p.margin.value, q.low.*c - q.margin.value));
            leaf.quad.high[k] = roundedUp(narrowed(p.high.*c + p.margin.value, q.high.*c + q.margin.value));
            leaf.normals[k] = narrowed(p.cross.*c * p.perArea, q.cross.*c * q.perArea);
        };
        put(&PairVec::x, 0);
        put(&PairVec::y, 1);
        put(&PairVec::z, 2);
        shortest2_ = smallerOf(shortest2_, smallerOf(p.shortest2, q.shortest2));
        longest2_ = largerOf(longest2_, largerOf(p.longest2, q.longest2));
        leaf.boxed = leaf.normal = p.bounded | q.bounded << PAIR;
    }

    static void putBox(const Box& box, Leaf& leaf, int lane) {
        const Vec3& low = box.low;
        const Vec3& high = box.high;
        leaf.quad.low[0][lane] = drape::roundedDown(low.x);
        leaf.quad.low[1][lane] = drape::roundedDown(low.y);
        leaf.quad.low[2][lane] = drape::roundedDown(low.z);
        leaf.quad.high[0][lane] = drape::roundedUp(high.x);
        leaf.quad.high[1][lane] = drape::roundedUp(high.y);
        leaf.quad.high[2][lane] = drape::roundedUp(high.z);
    }

    // A triangle that the quick measure leaves open, a needle, or no triangle at all.
    void putAlone(std::int32_t triangle, Leaf& leaf, int lane) {
        for (int k = 0; k < 3; ++k) { // inside out
            leaf.quad.low[k][lane] = ENDLESS;
            leaf.quad.high[k][lane] = -ENDLESS;
        }
        if (triangle > tree_.triCount_)
            return;
        const MeasuredTriangle measured(mesh_, triangle);
        const TriangleShape& shape = measured.shape;
        anyUnbounded_ |= !(margins::distanceSlack(shape, 0.0, tolerance_).sum() < margins::ENDLESS);
        // What has no plane is never hit, so its box needs no margin.
        const bool hasPlane = measured.hasPlane();
        const double margin = hasPlane ? margins::hitMargin(shape, tolerance_, reach_, extent_) : 0.0;
        if (!(margin < margins::ENDLESS)) {
            tree_.addNeedle(triangle);
            return;
        }
        const Vec3 aside{margin, margin, margin};
        putBox({measured.box().low - aside, measured.box().high + aside}, leaf, lane);
        if (!hasPlane)
            return;
        const Vec3 normal = shape.cross / std::sqrt(shape.area2);
        leaf.normals[0][lane] = static_cast<float>(normal.x);
        leaf.normals[1][lane] = static_cast<float>(normal.y);
        leaf.normals[2][lane] = static_cast<float>(normal.z);
        leaf.normal |= 1u << lane;
    }

    void fillUpperQuad(int level, std::int64_t node) {
        const Quad* children = tree_.quads_ + tree_.levelStart_[level - 1] + ARITY * node;
        const auto present =
            static_cast<int>(std::min<std::int64_t>(ARITY, tree_.levelSize_[level - 1] - ARITY * node));
        Quad& quad = tree_.quads_[tree_.levelStart_[level] + node];
        for (int k = 0; k < 3; ++k) {
            FloatLanes low[ARITY], high[ARITY];
            for (int lane = 0; lane < ARITY; ++lane) {
                low[lane] = lane < present ? children[lane].low[k] : FloatLanes{} + ENDLESS;
                high[lane] = lane < present ? children[lane].high[k] : FloatLanes{} - ENDLESS;
            }
            quad.low[k] = smallestOfEach(low);
            quad.high[k] = largestOfEach(high);
        }
        if (level > 1)
            tree_.cones_[tree_.coneStart(level) + node] =
                coneOver(tree_.cones_ + tree_.coneStart(level - 1) + ARITY * node, present);
    }

    static Cone coneOver(const Cone* children, int present) {
        Cone::Part parts[ARITY];
        int partCount = 0;
        for (int k = 0; k < present; ++k)
            if (!children[k].holdsNothing())
                parts[partCount++] = children[k].asPart();
        return Cone::around(parts, partCount);
    }

    TriangleTree& tree_;
    const SurfaceMesh mesh_; // a copy, which no store to the quads can touch
    double tolerance_, reach_, extent_;
    DoublePair shortest2_ = margins::ENDLESS + DoublePair{}, longest2_ = {};
    bool anyUnbounded_ = false;
};

bool TriangleTree::take(std::int32_t triCount, std::int64_t leastRoom, std::int32_t& status) {
    triCount_ = triCount;
    layOutLevels(triCount);
    constexpr std::int64_t quadSize = sizeof(Quad) / sizeof(double), coneSize = sizeof(Cone) / sizeof(double);
    const std::int64_t quads = levelStart_[levelCount_ - 1] + 1;
    const std::int64_t cones = quads - levelSize_[0];
    if (!block_.take(std::max(quads * quadSize + cones * coneSize, leastRoom), status))
        return false;
    quads_ = reinterpret_cast<Quad*>(block_.data());
    cones_ = reinterpret_cast<Cone*>(block_.data() + quads * quadSize);
    return true;
}

void TriangleTree::build(const SurfaceMesh& mesh, double tolerance, double reach) {
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
        levelCount_ = 0;
    else
        Builder(*this, mesh, tolerance, reach, margins::sizeOf(size)).run();
}

} // namespace drape
