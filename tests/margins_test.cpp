// What an index leaves out, the exact test that it stands before would have left out too: each index of a run
// against its exact test on random triangles of all sizes, offsets and shapes, with the questions asked where
// the answer is about to turn. These look inside the library, since nothing outside shows a margin.
#include "height_field.h"
#include "surface/boundary_tree.h"
#include "surface/circle_pair.h"
#include "surface/point_triangle.h"
#include "surface/triangle_bounds.h"
#include "surface/triangle_tree.h"
#include "transfer/cell_index.h"

#include <gtest/gtest.h>

#include <cmath>
#include <set>
#if defined(__GLIBC__)
#include <malloc.h>
#endif

namespace {

#if defined(__GLIBC__)
// Work arrays that nobody has written yet hold 12.08 in single precision, so that what an index leaves
// unwritten isn't by chance the harmless 0.
const int unwrittenMemoryIsFilled = mallopt(M_PERTURB, 0xff ^ 0x41);
#endif

using namespace drape;
using drape_test::Random;

double power(Random& random, double low, double high) { // 10 to some exponent
    return std::pow(10.0, random.between(low, high));
}

Vec3 randomVector(Random& random) { // within the cube of edge 2
    const double x = random.between(-1.0, 1.0), y = random.between(-1.0, 1.0), z = random.between(-1.0, 1.0);
    return {x, y, z};
}
Vec3 randomDirection(Random& random) {
    Vec3 v = randomVector(random);
    devor(v);
    return v;
}

// The circumstances of one trial, all lengths in proportion to the triangles.
struct Scene {
    double size, offset, tolerance;
    Vec3 origin;

    explicit Scene(Random& random) {
        size = power(random, -6.0, 6.0);
        offset = random.below(3) == 0 ? 0.0 : size * power(random, 0.0, 8.0);
        const int kind = random.below(4);
        tolerance =
            kind == 0 ? 0.0
            : kind == 1
                ? size * power(random, -17.0,
                               random.below(2) == 0 ? -15.5 : -13.0) // where snapping and rounding meet
                : size * power(random, -13.0, -1.0);
        origin = offset * randomVector(random);
    }
};

Vec3 placeOn(const Corners& t, double u, double v) {
    return t.a + u * (t.b - t.a) + v * (t.c - t.a);
}

// Any triangle, one of a lattice, a flat one or a needle, down to heights of 1e-8 of the longest side.
Corners randomTriangle(const Scene& scene, Random& random) {
    Vec3 a = scene.origin;
    if (random.below(3) > 0)
        a = a + scene.size * randomVector(random);
    if (random.below(4) == 0) { // two axes of a lattice, so that planes are those of floors and walls
        const int axis = random.below(3);
        const Vec3 sides[] = {{scene.size, 0, 0}, {0, scene.size, 0}, {0, 0, scene.size}};
        return {a, a + sides[axis], a + sides[(axis + 1) % 3]};
    }
    const Vec3 along = scene.size * randomDirection(random), across = scene.size * randomDirection(random);
    const int thin = random.below(3);
    const double height = thin == 0 ? 1.0 : power(random, thin == 1 ? -3.0 : -8.0, thin == 1 ? -2.0 : 0.0);
    const double place = random.below(3) == 0 ? random.unit() * height : random.unit();
    const Corners made{a, a + along, a + place * along + height * across};
    switch (random.below(3)) { // any corner may come first
    case 0:
        return made;
    case 1:
        return {made.b, made.c, made.a};
    default:
        return {made.c, made.a, made.b};
    }
}

// Triangles without anything in common, in the arrays in which the library reads a mesh.
struct Soup {
    std::vector<double> positions;
    std::vector<std::int32_t> corners, chain;
    SurfaceMesh mesh;

    void add(const Corners& t) {
        for (const Vec3& p : {t.a, t.b, t.c}) {
            positions.insert(positions.end(), {p.x, p.y, p.z});
            corners.push_back(static_cast<std::int32_t>(positions.size() / 3));
        }
        const auto last = static_cast<std::int32_t>(corners.size());
        chain.insert(chain.end(), {last / 3, last - 2, last - 1});
    }
    const SurfaceMesh& finished() {
        mesh.triCount = static_cast<std::int32_t>(corners.size() / 3);
        mesh.vertCount = static_cast<std::int32_t>(positions.size() / 3);
        mesh.triVerts = corners.data();
        mesh.vertPos = positions.data();
        mesh.boundaryCount = mesh.triCount;
        mesh.boundaryEdges = chain.data();
        return mesh;
    }
    Corners triangle(std::int32_t t) const {
        return {mesh.corner(t, 0), mesh.corner(t, 1), mesh.corner(t, 2)};
    }
};

// A soup whose triangles lie about one place and one size.
void fill(Soup& soup, const Scene& scene, int count, Random& random) {
    const double spread = scene.size * power(random, 0.0, 2.0);
    for (int k = 0; k < count; ++k) {
        const Corners t = randomTriangle(scene, random);
        const Vec3 away = spread * randomVector(random);
        soup.add({t.a + away, t.b + away, t.c + away});
    }
}

double exactDistance(const Vec3& p, const Corners& t, double tolerance) {
    return distanceToTriangle(p, t.a, t.b, t.c, tolerance).distance;
}

// A direction that leads out of the triangle's box at one of its corners, if the box has one there.
Vec3 awayFrom(const Corners& t, const Vec3& corner, Random& random) {
    const Vec3 out = corner - placeOn(t, 1.0 / 3.0, 1.0 / 3.0), way = randomVector(random);
    const auto signedLike = [](double value, double sign) {
        return sign == 0.0 ? value : std::copysign(value, sign);
    };
    Vec3 away{signedLike(way.x, out.x), signedLike(way.y, out.y), signedLike(way.z, out.z)};
    devor(away);
    return away;
}

// Near the triangle or far off, over its inside, beyond its ends, or beyond an end along an edge, as far as
// the edge's own test may reach over it.
Vec3 pointNear(const Corners& t, const Scene& scene, Random& random) {
    const double height = scene.size * power(random, -9.0, 6.0);
    const Vec3 up = unitNormal(t.b - t.a, t.c - t.a);
    switch (random.below(5)) {
    case 0:
        return placeOn(t, random.between(-0.5, 1.5), random.between(-0.5, 1.5)) + height * up;
    case 1:
        return placeOn(t, random.between(-2.0, 3.0), 0.0) + height * up;
    case 2:
        return t.a + height * awayFrom(t, t.a, random);
    case 3: {
        const double length2 = vor(t.b - t.a);
        const double beyond = scene.tolerance / length2 * (random.below(2) == 0 ? 1.0 : random.unit());
        return placeOn(t, 1.0 + beyond, 0.0) +
               (random.below(2) == 0 ? 0.0 : height) * randomDirection(random);
    }
    default:
        return placeOn(t, 1.0 / 3.0, 1.0 / 3.0) + height * randomDirection(random);
    }
}

bool built(TriangleTree& tree, const SurfaceMesh& mesh, double tolerance, double reach,
           std::int32_t& status) {
    if (!tree.take(mesh.triCount, 0, status))
        return false;
    tree.build(mesh, tolerance, reach);
    return true;
}

TEST(Margins, BoundsSettleARangeAsTheExactDistanceDoes) {
    Random random(41);
    int settled = 0, open = 0;
    for (int round = 0; round < 6000; ++round) {
        const Scene scene(random);
        Soup soup;
        const int count = round % 2 == 0 ? 8 : 2; // of which none may be a sliver
        for (int k = 0; k < count; ++k)
            soup.add(randomTriangle(scene, random));
        const SurfaceMesh& mesh = soup.finished();
        TriangleTree tree;
        std::int32_t status = 0;
        ASSERT_TRUE(built(tree, mesh, scene.tolerance, scene.size, status));
        for (std::int32_t t = 1; t <= count; ++t)
            for (int k = 0; k < 96 / count; ++k) {
                const Vec3 p = pointNear(soup.triangle(t), scene, random);
                const double distance = exactDistance(p, soup.triangle(t), scene.tolerance);
                const BoundedTriangle bounded(mesh, t);
                ASSERT_LE(bounded.distanceBelow(p, scene.tolerance), distance);
                const double size = power(random, -17.0, random.below(2) == 0 ? -13.0 : -1.0);
                const double off = random.below(2) == 0 ? size : -size;
                const double reach =
                    random.below(2) == 0 ? distance * (1.0 + off) : distance + off * scene.size;
                if (!(reach > scene.tolerance))
                    continue;
                const auto slack = random.below(2) == 0 ? tree.largestSlack() : margins::DistanceSlack{};
                const Ball ball(p, reach - scene.tolerance, scene.tolerance, slack);
                const Range exact = ball.radius + ball.tolerance > distance ? Range::in : Range::out;
                const bool byCorner = inRangeByCorner(mesh, t, mesh.corner(t, k % 3), ball);
                for (const Range range : {bounded.inRange(ball), byCorner ? Range::in : Range::unknown}) {
                    ++(range == Range::unknown ? open : settled);
                    ASSERT_TRUE(range == Range::unknown || range == exact)
                        << "size " << scene.size << " offset " << scene.offset / scene.size << " tolerance "
                        << scene.tolerance / scene.size << " distance " << distance / scene.size << " off "
                        << (reach - distance) / distance;
                }
            }
        tree.release(status);
    }
    EXPECT_GT(settled, 60000);
    EXPECT_GT(open, 100000);
}

// The slack that holds for all triangles is no less than that of any, wherever among the others it stands,
// and endless where one of them has none.
TEST(Margins, TheLargestSlackHoldsForEachTriangle) {
    Random random(57);
    int bounded = 0, unbounded = 0;
    for (int round = 0; round < 3000; ++round) {
        const Scene scene(random);
        Soup soup;
        const double thin = random.below(2) == 0 ? 1.0 : 0.7; // share of triangles that are no slivers
        for (int k = 1 + random.below(12); k > 0; --k) {
            const double size = random.below(8) == 0 ? 1e-12 : power(random, -2.0, 2.0);
            const Vec3 along = size * scene.size * randomDirection(random);
            const Vec3 across = parvis(along, randomDirection(random));
            const double height = random.unit() < thin ? 1.0 : 1e-4;
            soup.add({{}, along, random.unit() * along + height * across});
        }
        const SurfaceMesh& mesh = soup.finished();
        TriangleTree tree;
        std::int32_t status = 0;
        ASSERT_TRUE(built(tree, mesh, scene.tolerance, scene.size, status));
        const double slack = tree.largestSlack().sum();
        for (std::int32_t t = 1; t <= mesh.triCount; ++t) {
            const Corners own = soup.triangle(t);
            const double least =
                margins::distanceSlack(TriangleShape(own.a, own.b, own.c), 0.0, scene.tolerance).sum();
            ASSERT_GE(slack, least) << "triangle " << t << " of " << mesh.triCount;
        }
        ++(slack < margins::ENDLESS ? bounded : unbounded);
        tree.release(status);
    }
    EXPECT_GT(bounded, 500);
    EXPECT_GT(unbounded, 500);
}

// Triangles without a bound are visited whatever is asked for; more of them than the tree keeps, and there is
// no tree.
TEST(Margins, NeedlesAreAlwaysVisited) {
    for (const int count : {1, 5, 64, 65, 90}) {
        Soup soup;
        for (int k = 0; k < count; ++k) {
            const Vec3 a{3.0 * k, 0.0, 0.0};
            soup.add({a, a + Vec3{1.0, 0.0, 0.0}, a + Vec3{0.5, 1e-9, 0.0}});
            if (k % 3 == 0)
                soup.add({a, a + Vec3{1.0, 0.0, 0.0}, a + Vec3{0.5, 1.0, 0.0}});
        }
        const SurfaceMesh& mesh = soup.finished();
        TriangleTree tree;
        std::int32_t status = 0;
        ASSERT_TRUE(built(tree, mesh, 0.0, 1.0, status));
        ASSERT_EQ(tree.usable(), count <= 64) << count;
        if (tree.usable()) {
            int visited = 0;
            tree.forEachNearCircle({{0.0, 0.0, 1e3}, {0.0, 0.0, 1.0}, 1.0}, [&](std::int32_t t) {
                visited += soup.triangle(t).c.y < 0.5 ? 1 : 0;
                return true;
            });
            EXPECT_EQ(visited, count);
        }
        tree.release(status);
    }
}

// A ball that a corner comes as near to as it has to, with a tolerance that is no more than the rounding of
// the distance of a small triangle far off, or as large as the triangle, so that it snaps to another corner.
TEST(Margins, ACornerSettlesARangeAsTheExactDistanceDoes) {
    Random random(48);
    int settled = 0;
    for (int round = 0; round < 60000; ++round) {
        const bool loose = round % 2 == 0;
        Scene scene(random);
        const Corners t = randomTriangle(scene, random);
        const Vec3 corner = loose ? t.b : t.a;
        double away = scene.size * power(random, 0.0, 9.0);
        scene.tolerance = away * power(random, -17.0, -11.0);
        Vec3 way = random.below(2) == 0 ? awayFrom(t, corner, random) : randomDirection(random);
        if (loose) {
            scene.tolerance = std::sqrt(cadis(t.a, t.b)) * random.between(0.9, 1.1);
            away = scene.tolerance * random.between(0.1, 0.4);
            way = unitNormal(t.b - t.a, t.c - t.a);
        }
        const Vec3 p = corner + away * way;
        const double radius = std::sqrt(cadis(p, corner)) - random.between(-0.05, 0.3) * scene.tolerance;
        if (!(radius > 0.0))
            continue;
        Soup soup;
        soup.add(t);
        const SurfaceMesh& mesh = soup.finished();
        const Ball ball(p, radius, scene.tolerance);
        const bool exact = radius + scene.tolerance > exactDistance(p, t, scene.tolerance);
        const Range range = BoundedTriangle(mesh, 1).inRange(ball);
        const bool byCorner = inRangeByCorner(mesh, 1, corner, ball);
        settled += byCorner ? 1 : 0;
        ASSERT_TRUE(!byCorner || exact) << "tolerance " << scene.tolerance / radius << " of the radius";
        ASSERT_TRUE(range == Range::unknown || (range == Range::in) == exact)
            << "tolerance " << scene.tolerance / radius << " of the radius";
    }
    EXPECT_GT(settled, 500);
}

TEST(Margins, TheNearestBoundaryTriangleIsThatOfAFullPass) {
    Random random(42);
    for (int round = 0; round < 2500; ++round) {
        Scene scene(random);
        if (random.below(2) == 0) // an overhang as large as the last bit of a coordinate
            scene.tolerance = scene.size * std::min(4e-16 * scene.offset * random.unit(), 0.1 * scene.size);
        Soup soup;
        const int count = 1 + random.below(40);
        const Corners first = randomTriangle(scene, random);
        const double bits = random.below(2) == 0 ? 0.0 : 4e-16 * scene.offset + 1e-14 * scene.size;
        for (int k = 0; k < count; ++k) { // many of them alike, also in one place or nearly so
            const Corners t = random.below(3) > 0 ? first : randomTriangle(scene, random);
            const Vec3 away = scene.size * Vec3{double(random.below(3)), double(random.below(3)), 0.0} +
                              bits * randomVector(random);
            soup.add({t.a + away, t.b + away, t.c + away});
        }
        BoundaryTree tree;
        std::int32_t status = 0;
        ASSERT_TRUE(tree.build(soup.finished(), scene.tolerance, status));
        for (int k = 0; k < 30; ++k) {
            const std::int32_t edge = 1 + random.below(count);
            const Corners near = soup.triangle(edge);
            // Every so often a corner, at which many triangles may be as near as can be.
            const Vec3 p = k % 6 == 0             ? near.a
                           : random.below(2) == 0 ? pointNear(near, scene, random)
                                                  : near.b + 2.0 * bits * randomVector(random);
            const auto distanceTo = [&](std::int32_t e) {
                return exactDistance(p, soup.triangle(e), scene.tolerance);
            };
            // No box lies beyond the distance of what it holds: nothing else is as near, but nearly.
            const double least = distanceTo(edge), more = std::nextafter(least, 2.0 * least + 1.0);
            ASSERT_EQ(tree.nearest(p, [&](std::int32_t e) { return e == edge ? least : more; }), edge)
                << "size " << scene.size << " offset " << scene.offset / scene.size << " tolerance "
                << scene.tolerance / scene.size;
            if (k % 6 > 0 && k % 4 > 0)
                continue;
            std::int32_t nearest = 1;
            for (std::int32_t e = 2; e <= count; ++e)
                if (distanceTo(e) < distanceTo(nearest))
                    nearest = e;
            ASSERT_EQ(tree.nearest(p, distanceTo), nearest)
                << "size " << scene.size << " offset " << scene.offset / scene.size << " tolerance "
                << scene.tolerance / scene.size;
        }
        // Edges near a box come in the order of the chain, and none is left out.
        for (int k = 0; k < 10; ++k) {
            Box box = Box::nothing();
            for (int end = 0; end < 2; ++end)
                box.include(soup.triangle(1 + random.below(count)).a + scene.size * randomVector(random));
            std::int32_t last = 0;
            const auto passOver = [&](std::int32_t from, std::int32_t to) {
                for (std::int32_t e = from; e < to; ++e) {
                    Box edge = Box::nothing();
                    edge.include(soup.triangle(e).a);
                    edge.include(soup.triangle(e).b);
                    EXPECT_FALSE(edge.overlaps(box)) << "edge " << e;
                }
            };
            tree.forEachNear(box, [&](std::int32_t e) {
                EXPECT_GT(e, last);
                passOver(last + 1, e);
                last = e;
                return true;
            });
            passOver(last + 1, count + 1);
        }
        tree.release(status);
    }
}

// A circle that comes by a place on the triangle: across its plane, or nearly in it, and there by chance at
// the height of its own rounding; also one that touches the triangle's box from without or within.
Circle circleThrough(const Corners& t, const Scene& scene, double radius, Random& random) {
    const Vec3 normal = unitNormal(t.b - t.a, t.c - t.a);
    Vec3 axis = randomDirection(random);
    const bool coplanar = random.below(2) == 0;
    if (coplanar)
        axis = normal + power(random, -17.0, -1.0) * randomDirection(random);
    devor(axis);
    Vec3 place = placeOn(t, random.between(-0.3, 1.3), random.between(-0.3, 1.3));
    Vec3 outward = unitNormal(axis, randomDirection(random));
    const int kind = random.below(3);
    if (kind == 0) // on an edge, but for the tolerance
        place = placeOn(t, random.unit(), 0.0);
    if (kind == 1) {
        place = t.a;
        outward = awayFrom(t, place, random);
        if (coplanar)
            outward = unitNormal(axis, unitNormal(outward, axis));
        else
            axis = unitNormal(outward, randomDirection(random));
        if (random.below(2) == 0)
            outward = -outward;
    }
    place = place + scene.tolerance * random.between(0.0, 1.5) * randomDirection(random);
    return {place + radius * outward, axis, radius};
}

bool sameCut(const CircleCut& a, const CircleCut& b) {
    bool same = a.count == b.count && a.singular == b.singular;
    for (std::int32_t k = 0; same && k < a.count; ++k)
        same = a.kinds[k] == b.kinds[k] && a.points[k].x == b.points[k].x && a.points[k].y == b.points[k].y &&
               a.points[k].z == b.points[k].z;
    return same;
}

// A cut without the points that aren't read.
CircleCut readOf(const CircleCut& cut, const Vec3& centre, const ReadAhead& read) {
    CircleCut left = cut;
    left.count = 0;
    for (std::int32_t k = 0; k < cut.count; ++k)
        if (!(prosca(cut.points[k] - centre, read.forward) < read.least)) {
            left.kinds[left.count] = cut.kinds[k];
            left.points[left.count++] = cut.points[k];
        }
    return left;
}

TEST(Margins, TwoTrianglesCutAtOnceHaveTheHitsOfEach) {
    Random random(43);
    int hits = 0, unread = 0;
    for (int round = 0; round < 100000; ++round) {
        const Scene scene(random);
        const Corners t = randomTriangle(scene, random), other = randomTriangle(scene, random);
        const bool even = random.below(2) == 0;
        const double radius = scene.size * power(random, even ? -1.0 : -3.0, even ? 0.0 : 3.0);
        for (int k = 0; k < 5; ++k) {
            const Circle circle = circleThrough(t, scene, radius, random);
            const PairCutter cutter(circle, scene.tolerance);
            const PairCut cuts = k % 2 == 0 ? cutter.cut(t, other) : cutter.cut(other, t);
            const auto plainly = [&](const Corners& c) {
                return cutCircle(circle, c.a, c.b, c.c, scene.tolerance, CLIP_AFTER_SLAB_TEST);
            };
            const CircleCut plain = plainly(t);
            ASSERT_TRUE(sameCut(cuts.of[k % 2], plain) && sameCut(cuts.of[1 - k % 2], plainly(other)))
                << "size " << scene.size << " offset " << scene.offset / scene.size << " tolerance "
                << scene.tolerance / scene.size << " kind " << plain.kinds[0] << " " << plain.kinds[1];
            const ReadAhead read{unitNormal(circle.axis, randomDirection(random)),
                                 random.between(-1.0, 1.0) * radius};
            const PairCut ahead = PairCutter(circle, scene.tolerance, read).cut(t, other);
            const CircleCut left = readOf(plain, circle.centre, read);
            ASSERT_TRUE(sameCut(readOf(ahead.of[0], circle.centre, read), left) &&
                        sameCut(readOf(ahead.of[1], circle.centre, read),
                                readOf(plainly(other), circle.centre, read)));
            hits += plain.count;
            unread += plain.count - ahead.of[0].count;
        }
    }
    EXPECT_GT(hits, 30000);
    EXPECT_GT(unread, 10000);
}

// Compares the tree with a cut of every triangle; gives the number of hits, -1 if it left one out.
int hitsOfCircle(const TriangleTree& tree, const Soup& soup, const Circle& circle, double tolerance,
                 int& visited) {
    std::set<std::int32_t> met;
    tree.forEachNearCircle(circle, [&](std::int32_t t) {
        met.insert(t);
        return true;
    });
    visited += static_cast<int>(met.size());
    int hits = 0;
    for (std::int32_t t = 1; t <= soup.mesh.triCount; ++t) {
        const Corners c = soup.triangle(t);
        const CircleCut cut = cutCircle(circle, c.a, c.b, c.c, tolerance, CLIP_AFTER_SLAB_TEST);
        hits += cut.count;
        if (cut.count > 0 && met.count(t) == 0)
            return -1;
    }
    return hits;
}

TEST(Margins, TheTreeOfTrianglesLeavesOutNothingThatACircleHits) {
    Random random(44);
    int hits = 0, visited = 0, asked = 0;
    for (int round = 0; round < 12000; ++round) {
        const Scene scene(random);
        Soup soup;
        const int count = 1 + random.below(30);
        fill(soup, scene, count, random);
        const double reach = scene.size * power(random, random.below(4) == 0 ? -8.0 : -2.0, 2.0);
        TriangleTree tree;
        std::int32_t status = 0;
        ASSERT_TRUE(built(tree, soup.finished(), scene.tolerance, reach, status));
        for (int k = 0; k < 10 && tree.usable(); ++k) {
            const double radius = random.below(2) == 0 ? reach : reach * random.unit();
            const Circle circle =
                circleThrough(soup.triangle(1 + random.below(count)), scene, radius, random);
            const int found = hitsOfCircle(tree, soup, circle, scene.tolerance, visited);
            ASSERT_GE(found, 0) << "size " << scene.size << " offset " << scene.offset / scene.size
                                << " tolerance " << scene.tolerance / scene.size << " radius "
                                << radius / scene.size;
            hits += found;
            asked += count;
        }
        tree.release(status);
    }
    EXPECT_GT(hits, 10000);
    EXPECT_LT(visited, asked / 2);
}

TEST(Margins, TheTreeOfTrianglesLeavesOutNothingThatTheForwardArcHits) {
    Random random(47);
    int hits = 0, visited = 0, asked = 0;
    for (int round = 0; round < 12000; ++round) {
        const Scene scene(random);
        Soup soup;
        const int count = 1 + random.below(30);
        fill(soup, scene, count, random);
        const double reach = scene.size * power(random, random.below(4) == 0 ? -8.0 : -2.0, 2.0);
        TriangleTree tree;
        std::int32_t status = 0;
        ASSERT_TRUE(built(tree, soup.finished(), scene.tolerance, reach, status));
        for (int k = 0; k < 20 && tree.usable(); ++k) {
            const Corners aim = soup.triangle(1 + random.below(count));
            const Circle circle = circleThrough(aim, scene, reach, random);
            // Ahead lies the triangle, the limit, or any place; the length of `forward` doesn't matter.
            const Vec3 towards = random.below(2) == 0
                                     ? placeOn(aim, random.unit(), random.unit() * 0.5) - circle.centre
                                     : randomDirection(random);
            const Vec3 side = unitNormal(circle.axis, towards);
            const double turn = random.below(2) == 0 ? 0.0 : 0.3175604 * (1.0 + power(random, -12.0, -1.0));
            const Vec3 forward = power(random, -3.0, 3.0) *
                                 (std::cos(turn) * unitNormal(side, circle.axis) + std::sin(turn) * side);
            const margins::ForwardArc arc(circle.centre, circle.axis, reach, forward, scene.tolerance);
            if (!arc.bounded)
                continue;
            std::set<std::int32_t> met;
            tree.forEachNearArc(circle, arc, [&](std::int32_t t) {
                met.insert(t);
                return true;
            });
            visited += static_cast<int>(met.size());
            asked += count;
            for (std::int32_t t = 1; t <= count; ++t) {
                const Corners c = soup.triangle(t);
                const CircleCut cut = cutCircle(circle, c.a, c.b, c.c, scene.tolerance, CLIP_AFTER_SLAB_TEST);
                for (std::int32_t hit = 0; hit < cut.count; ++hit) {
                    if (prosca(cut.points[hit] - circle.centre, forward) < arc.least)
                        continue;
                    ++hits;
                    ASSERT_EQ(met.count(t), 1u)
                        << "size " << scene.size << " offset " << scene.offset / scene.size << " tolerance "
                        << scene.tolerance / scene.size << " radius " << reach / scene.size;
                }
            }
        }
        tree.release(status);
    }
    EXPECT_GT(hits, 5000);
    EXPECT_LT(visited, asked / 3);
}

TEST(Margins, TheTreeOfTrianglesLeavesOutNothingThatIsNearAPoint) {
    Random random(48);
    int near = 0, visited = 0, asked = 0;
    for (int round = 0; round < 12000; ++round) {
        const Scene scene(random);
        Soup soup;
        const int count = 1 + random.below(30);
        const bool sound = random.below(2) == 0; // no slivers, of which none can be left out
        if (!sound)
            fill(soup, scene, count, random);
        for (int k = 0; sound && k < count; ++k) {
            const Vec3 a = scene.origin + 10.0 * scene.size * randomVector(random);
            const Vec3 along = scene.size * randomDirection(random);
            const Vec3 across = scene.size * unitNormal(along, randomDirection(random));
            soup.add({a, a + along, a + random.between(-1.0, 2.0) * along + across});
        }
        TriangleTree tree;
        std::int32_t status = 0;
        ASSERT_TRUE(built(tree, soup.finished(), scene.tolerance, scene.size, status));
        for (int k = 0; k < 20; ++k) {
            const Vec3 p = k == 0 ? power(random, 10.0, 80.0) * randomVector(random)
                                  : pointNear(soup.triangle(1 + random.below(count)), scene, random);
            const auto distanceTo = [&](std::int32_t t) {
                return exactDistance(p, soup.triangle(t), scene.tolerance);
            };
            double distance = distanceTo(1 + random.below(count));
            std::set<std::int32_t> met;
            tree.forEachWithin(p, distance, [&](std::int32_t t) { met.insert(t); });
            visited += static_cast<int>(met.size());
            asked += count;
            for (std::int32_t t = 1; t <= count; ++t)
                if (distanceTo(t) <= distance) {
                    ++near;
                    ASSERT_EQ(met.count(t), 1u)
                        << "size " << scene.size << " offset " << scene.offset / scene.size << " tolerance "
                        << scene.tolerance / scene.size << " distance " << distance / scene.size;
                }
            ASSERT_TRUE(met.empty() || *met.rbegin() <= count);
        }
        tree.release(status);
    }
    EXPECT_GT(near, 10000);
    EXPECT_LT(visited, asked / 10 * 9);
}

// A wall of a regular lattice, turned any way, and circles that lie in it but for rounding: the cut's points
// are then anywhere on the circle's disc.
TEST(Margins, TheTreeOfTrianglesLeavesOutNothingOnAWallInTheCirclesPlane) {
    Random random(46);
    int hits = 0, visited = 0;
    for (int round = 0; round < 800; ++round) {
        const Scene scene(random);
        const Vec3 normal = random.below(4) == 0 ? Vec3{0.0, 1.0, 0.0} : randomDirection(random);
        const Vec3 u = scene.size * unitNormal(normal, randomDirection(random));
        const Vec3 v = (random.below(2) == 0 ? 1.0 : power(random, -7.0, 0.0)) * parvis(normal, u);
        const auto at = [&](int i, int j) { return scene.origin + (double(i) * u + double(j) * v); };
        Soup soup;
        // Odd, so that the last leaf and the last cone aren't full.
        const int side = random.below(2) == 0 ? 11 : 3;
        // Each square leans a little more than the one before, so that only cones over squares hold their
        // normals.
        const double lean = random.below(2) == 0 ? 0.0 : random.between(0.0, 0.03);
        const auto leaning = [&](int i, int j) {
            const double turn = lean * (side * j + i);
            return std::cos(turn) * v + std::sin(turn) * std::sqrt(vor(v)) * unitNormal(u, v);
        };
        for (int j = 0; j < side; ++j)
            for (int i = 0; i < side; ++i) {
                const Vec3 corner = at(i, j), up = leaning(i, j);
                soup.add({corner, corner + u, corner + u + up});
                soup.add({corner, corner + u + up, corner + up});
            }
        const double reach =
            scene.size * (random.below(2) == 0 ? random.between(0.5, 6.0) : power(random, -4.0, 0.0));
        TriangleTree tree;
        std::int32_t status = 0;
        ASSERT_TRUE(built(tree, soup.finished(), 0.0, reach, status));
        for (int k = 0; k < 12 && tree.usable(); ++k) {
            const int among = random.below(2) == 0 ? side : 1; // anywhere, or at the last triangles
            const int i = side - 1 - random.below(among), j = side - 1 - random.below(among);
            Vec3 axis = unitNormal(u, leaning(i, j)) + power(random, -20.0, -6.0) * randomDirection(random);
            devor(axis);
            const Circle circle{at(i, j) + power(random, -20.0, -14.0) * scene.size * randomVector(random),
                                axis, reach};
            const int found = hitsOfCircle(tree, soup, circle, 0.0, visited);
            ASSERT_GE(found, 0) << "size " << scene.size << " offset " << scene.offset / scene.size
                                << " height " << std::sqrt(vor(v)) / scene.size << " radius "
                                << reach / scene.size;
            hits += found;
        }
        tree.release(status);
    }
    EXPECT_GT(hits, 3000);
}

// One square of a fan of squares, each leaning more than the one before, lies in a circle's plane but for
// rounding, and just beside its rim. Rounding moves hits off the rim, ahead of it too, and only a cone that
// holds the square's normal tells.
TEST(Margins, TheTreeOfTrianglesLeavesOutNothingBesideTheRimInTheCirclesPlane) {
    Random random(49);
    int hits = 0, ahead = 0, offRim = 0;
    for (int round = 0; round < 1000; ++round) {
        const double size = power(random, -6.0, 6.0);
        const int count = 2 + random.below(60);
        const double lean = random.below(4) == 0 ? 0.0 : random.between(0.002, 0.2);
        const int alike = random.below(2) == 0 ? 8 : 1; // squares before the next is turned over
        // Along the axes boxes end where triangles do.
        const Vec3 u = random.below(3) > 0 ? Vec3{0.0, 1.0, 0.0} : randomDirection(random),
                   v = random.below(3) > 0 ? unitNormal(u, {1.0, 0.0, 0.0})
                                           : unitNormal(u, randomDirection(random)),
                   w = unitNormal(u, v);
        Soup soup;
        for (int k = 0; k < count; ++k) {
            const Vec3 up = std::cos(lean * k) * v + std::sin(lean * k) * w, at = (3.0 * size * k) * u;
            const Vec3 far = at + size * u + size * up;
            const Vec3 sides[] = {at + size * u, at + size * up};
            const int turned = k / alike % 2;
            soup.add({at, sides[turned], far});
            soup.add({far, sides[1 - turned], at});
        }
        const double reach = size * random.between(0.5, 3.0);
        TriangleTree tree;
        std::int32_t status = 0;
        ASSERT_TRUE(built(tree, soup.finished(), 0.0, reach, status));
        ASSERT_TRUE(tree.usable());
        for (int k = 0; k < 24; ++k) {
            const std::int32_t aim = 1 + random.below(2 * count);
            const Corners t = soup.triangle(aim);
            const Vec3 normal = unitNormal(t.b - t.a, t.c - t.a);
            Vec3 axis = normal + power(random, -16.0, -13.0) * randomDirection(random);
            devor(axis);
            // Beyond one of the corners by so much that the rim just misses the triangle.
            const Vec3& corner = random.below(2) == 0 ? t.a : t.c;
            const Vec3 inward = placeOn(t, 1.0 / 3.0, 1.0 / 3.0) - corner;
            Vec3 out = random.below(2) == 0 ? -inward : prosca(inward, u) < 0.0 ? u : -u;
            devor(out);
            const Vec3 centre = corner + reach * (1.0 + power(random, -5.0, -2.5)) * out +
                                power(random, -18.0, -15.0) * size * randomVector(random);
            const Circle circle{centre, axis, reach};
            int visited = 0;
            const int found = hitsOfCircle(tree, soup, circle, 0.0, visited);
            ASSERT_GE(found, 0) << "size " << size << " reach " << reach / size << " lean " << lean;
            hits += found;
            const margins::ForwardArc arc(centre, axis, reach, -out, 0.0);
            bool met = false;
            tree.forEachNearArc(circle, arc, [&](std::int32_t t2) {
                met = met || t2 == aim;
                return true;
            });
            const CircleCut cut = cutCircle(circle, t.a, t.b, t.c, 0.0, CLIP_AFTER_SLAB_TEST);
            for (std::int32_t hit = 0; hit < cut.count; ++hit) {
                offRim += std::fabs(std::sqrt(cadis(cut.points[hit], centre)) - reach) > 1e-5 * reach ? 1 : 0;
                if (!(prosca(cut.points[hit] - centre, -out) < arc.least)) {
                    ++ahead;
                    ASSERT_TRUE(met) << "size " << size << " reach " << reach / size << " lean " << lean;
                }
            }
        }
        tree.release(status);
    }
    EXPECT_GT(hits, 100);
    EXPECT_GT(ahead, 20);
    EXPECT_GT(offRim, 20);
}

// A grid of cells at any size and offset; even lattices are full of ties.
struct Cells {
    std::vector<std::int32_t> link1, link4, none;
    std::vector<double> positions;
    int side;

    Cells(const Scene& scene, Random& random) : side(3 + random.below(10)) {
        const double jitter = random.below(2) == 0 ? 0.0 : power(random, -17.0, 0.0);
        for (int j = 0; j < side; ++j)
            for (int i = 0; i < side; ++i) {
                const Vec3 p = scene.origin +
                               scene.size * (Vec3{double(i), double(j), 0.0} + jitter * randomVector(random));
                positions.insert(positions.end(), {p.x, p.y, p.z});
                const int n = j * side + i + 1;
                link1.push_back(i + 1 < side ? n + 1 : 0);
                link4.push_back(j + 1 < side ? n + side : 0);
            }
        none.assign(link1.size(), 0);
    }
    GridView view() const {
        return {none.data(),
                link1.data(),
                none.data(),
                link4.data(),
                none.data(),
                positions.data(),
                static_cast<std::int32_t>(link1.size())};
    }
};

// What lies ahead on a circle lies on the arc's box to the last bit, ends and touched feet included; where
// the way ahead isn't square to the axis, the box is bounded only as far as it still holds.
TEST(Margins, TheForwardArcHoldsAllThatLiesAhead) {
    Random random(50);
    int held = 0, skew = 0;
    for (int round = 0; round < 60000; ++round) {
        const double radius = power(random, -6.0, 6.0);
        const double tolerance = random.below(2) == 0 ? 0.0 : radius * power(random, -9.0, -1.0);
        const Vec3 centre =
            random.below(2) == 0 ? Vec3{} : radius * power(random, 0.0, 8.0) * randomVector(random);
        const Vec3 axis = randomDirection(random), ahead = unitNormal(axis, randomDirection(random));
        Vec3 forward = ahead;
        if (random.below(4) == 0)
            forward = ahead + power(random, -16.0, 0.0) * axis;
        forward = power(random, -3.0, 3.0) * forward;
        const margins::ForwardArc arc(centre, axis, radius, forward, tolerance);
        if (!arc.bounded) {
            ++skew;
            continue;
        }
        const Vec3 side = parvis(axis, ahead);
        for (int k = 0; k < 4; ++k) {
            const double reach = k % 2 == 0 ? radius + tolerance : radius;
            const double along =
                k < 2 ? margins::FORWARD_SHARE * radius * (1.0 + power(random, -16.0, -2.0)) : reach;
            const double aside = std::sqrt(std::max(reach * reach - along * along, 0.0));
            const Vec3 p = centre + along * ahead + (random.below(2) == 0 ? aside : -aside) * side;
            if (prosca(p - centre, forward) < arc.least)
                continue;
            ++held;
            ASSERT_TRUE(arc.low.x <= p.x && p.x <= arc.high.x && arc.low.y <= p.y && p.y <= arc.high.y &&
                        arc.low.z <= p.z && p.z <= arc.high.z)
                << "radius " << radius << " tolerance " << tolerance / radius;
        }
    }
    EXPECT_GT(held, 50000);
    EXPECT_GT(skew, 1000);
}

// A place behind by just less than the radius, and a hit beyond it by just less than the tolerance: the hit
// is dropped, so it may not pass for safe, however the squares are rounded.
TEST(Margins, NoHitThatIsDroppedPassesForSafe) {
    Random random(51);
    int dropped = 0;
    for (int round = 0; round < 300000; ++round) {
        const double radius = power(random, -3.0, 3.0), tolerance = radius * power(random, -2.0, -0.3);
        const Vec3 back{}, way = randomDirection(random);
        const Vec3 place = radius * (1.0 - random.below(4) * margins::ROUNDOFF) * way;
        const Vec3 hit = place + tolerance * (1.0 - random.below(4) * margins::ROUNDOFF) * way;
        if (!(radius * radius > cadis(place, back)) || !(cadis(hit, place) < tolerance * tolerance))
            continue;
        ++dropped;
        ASSERT_LE(cadis(hit, back), margins::safeFromDropping2(radius, tolerance)) << "radius " << radius;
    }
    EXPECT_GT(dropped, 10000);
}

TEST(Margins, TheIndexOfCellsRanksAsAScanDoes) {
    Random random(45);
    for (int round = 0; round < 2500; ++round) {
        Scene scene(random);
        if (round % 10 == 0) { // so small that squares vanish
            scene.size = power(random, -165.0, -145.0);
            scene.origin = Vec3{};
        }
        const Cells cells(scene, random);
        CellIndex index;
        std::int32_t status = 0;
        ASSERT_TRUE(index.build(cells.view(), status));
        for (int k = 0; k < 20; ++k) {
            const double step = random.below(2) == 0 ? 0.5 : random.unit();
            const Vec3 p =
                scene.origin + scene.size * Vec3{step * random.below(2 * cells.side),
                                                 step * random.below(2 * cells.side),
                                                 random.below(2) == 0 ? 0.0 : power(random, -9.0, 9.0)};
            std::int32_t ranks[longestRanking], scanned[longestRanking];
            index.rank(cells.view(), p, longestRanking, ranks);
            rankCells(cells.view(), p, longestRanking, scanned);
            for (int place = 0; place < longestRanking; ++place)
                ASSERT_EQ(ranks[place], scanned[place])
                    << "size " << scene.size << " offset " << scene.offset / scene.size;
        }
        index.release(status);
    }
}

} // namespace
