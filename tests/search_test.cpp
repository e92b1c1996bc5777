// The surface search and the crossings of a row on both roads, asked what no run happens to ask: balls,
// circles, directions and points behind in any relation to each other, rows of any shape. It looks inside the
// library, where a question can be put by itself.
#include "surface/surface_search.h"

#include "inner_view.h"
#include "rows/crossing.h"
#include "surface/boundary_chain.h"
#include "surface/nearest_listed.h"
#include "surface/point_triangle.h"
#include "surface/run_indices.h"
#include "surface/tree_search.h"
#include "surfaces.h"

#include <gtest/gtest.h>

#include <limits>
#include <vector>

namespace {

using namespace drape;
using drape_test::meshOf;
using drape_test::Random;
using drape_test::Surface;

Vec3 within(Random& random, double size) {
    const double x = random.between(-size, size), y = random.between(-size, size),
                 z = random.between(-size, size);
    return {x, y, z};
}

// The answer of the plain road; the indices have to give the same.
SurfacePoint sameOnBothRoads(const CircleSearch& asked, std::int32_t start, const Ball& ball,
                             RunIndices& indices, const std::string& what) {
    std::vector<std::int32_t> work(2 * static_cast<std::size_t>(model->mesh.triCount));
    std::int32_t status = 0;
    SurfacePoint plain, fast;
    CircleSearch question = asked;
    SearchScratch scratch(work.data());
    EXPECT_TRUE(searchSurface(start, &ball, 1, question, scratch, plain, status));
    model->indices = &indices;
    question = asked;
    EXPECT_TRUE(searchSurface(start, &ball, 1, question, indices.scratch, fast, status));
    model->indices = nullptr;
    EXPECT_EQ(fast.triangle, plain.triangle) << what;
    EXPECT_EQ(cadis(fast.point, plain.point), 0.0) << what;
    return plain;
}

TEST(Search, BothRoadsGiveTheSameAnswerToAnyQuestion) {
    Random random(8);
    int answered = 0, dropped = 0;
    for (int round = 0; round < 60; ++round) {
        Surface surface = round % 3 == 0
                              ? drape_test::squareMould(5.0, 10, drape_test::level)
                              : drape_test::squareMould(5.0, 10, drape_test::doubleDomeHeight(5.0));
        shuffle(surface, random);
        const double tolerance = round % 4 == 0 ? 0.0 : round % 4 == 1 ? 1e-6 : 0.05 * random.unit();
        const OwnModel own;
        model->mesh = meshOf(surface);
        model->tolerance = tolerance;
        SurfaceMesh inner = model->mesh;
        RunIndices indices;
        std::int32_t status = 0;
        ASSERT_TRUE(indices.build(inner, nullptr, tolerance, 2.0, status));
        for (int k = 0; k < 100; ++k) {
            if (k == 50 && round % 2 == 0) // stamps begin anew
                indices.scratch.stamp = std::numeric_limits<std::int32_t>::max();
            const std::int32_t start = 1 + random.below(surface.triCount());
            const Vec3 centre = inner.corner(start, random.below(3)) +
                                (random.below(2) == 0 ? 0.0 : 0.3) * within(random, 1.0);
            const double radius = random.below(2) == 0 ? 1.0 : random.between(0.3, 2.0);
            Vec3 forward = random.below(2) == 0 ? Vec3{1.0, 0.0, 0.0} : within(random, 1.0);
            // The point behind lies behind, right where the answer would be, or anywhere.
            const double ahead = random.below(2) == 0 ? -radius : random.between(0.5, 1.2) * radius;
            const Vec3 back = centre + ahead * forward + random.between(0.0, 0.2) * within(random, 1.0);
            const CircleSearch asked{centre, {0.0, 0.0, 1.0}, forward, radius, back};
            const Ball ball(centre, radius, tolerance);

            model->mesh = inner;
            const SurfacePoint plain =
                sameOnBothRoads(asked, start, ball, indices,
                                "round " + std::to_string(round) + " question " + std::to_string(k));
            answered += plain.triangle != 0 ? 1 : 0;
            dropped += plain.triangle != 0 && prosca(plain.point - centre, forward) < 0.0 ? 1 : 0;
        }
        indices.release(status);
    }
    EXPECT_GT(answered, 3000);
    EXPECT_GT(dropped, 300);
}

// Where hits are equal, or nearly so, their order decides, and what the flood lists: two on one wall ahead;
// one on each of two blades that lie like mirror images behind; two walls that hang together, and one just
// ahead of them that doesn't.
TEST(Search, EqualHitsAreTakenInTheOrderOfTheFlood) {
    const double c = 0.995, s = 0.1, x = 0.97, more = 0.97 * (1.0 + 1e-9);
    struct Scene {
        double tolerance;
        std::vector<double> places;
        std::vector<std::int32_t> triangles;
    };
    const Scene scenes[] = {
        {1e-9, {x, -2, -2, x, 2, -2, x, 0, 3}, {1, 2, 3}},
        {0.05,
         {0,     0.9, 0,  0.3, 1.2,    0,   -0.3,   1.2, 0,  -2 * c, 0.9,
          2 * s, -c,  -2, s,   -2 * c, 0.9, -2 * s, -c,  -2, -s},
         {1, 2, 3, 1, 4, 5, 1, 6, 7}},
        {1e-9,
         {x, -2, -2, x, 2, -2, x, 0, 3, 0.96, -2, -2, 0.96, 2, -2, more, -2, -2, more, 2, -2, more, 0, 3},
         {1, 2, 3, 4, 5, 3, 6, 7, 8}},
    };
    Random random(9);
    for (int round = 0; round < 60; ++round) {
        const Scene& scene = scenes[round % 3];
        Surface surface;
        surface.vertPos = scene.places;
        surface.triVerts = scene.triangles;
        joinUp(surface);
        shuffle(surface, random);
        const OwnModel own;
        model->mesh = meshOf(surface);
        model->tolerance = scene.tolerance;
        SurfaceMesh inner = model->mesh;
        RunIndices indices;
        std::int32_t status = 0;
        ASSERT_TRUE(indices.build(inner, nullptr, scene.tolerance, 1.0, status));
        model->mesh = inner;
        const Vec3 centre{0.0, 0.0, 0.0};
        for (std::int32_t start = 1; start <= inner.triCount; ++start)
            EXPECT_GT(sameOnBothRoads({centre, {0.0, 0.0, 1.0}, {1.0, 0.0, 0.0}, 1.0, {-1.0, 0.0, 0.0}},
                                      start, Ball(centre, 1.0, scene.tolerance), indices,
                                      std::to_string(round))
                          .triangle,
                      0);
        indices.release(status);
    }
}

// The tree's cones go by cosines with the axis. Where a cross product is so short that squares lose their
// bits, what was to be of unit length isn't, and the search goes without the tree.
TEST(Search, TheTreeIsAskedOnlyWithAnAxisOfUnitLength) {
    const Surface surface = drape_test::squareMould(5.0, 10, drape_test::domeHeight(5.0));
    const OwnModel own;
    model->mesh = meshOf(surface);
    RunIndices indices;
    std::int32_t status = 0;
    ASSERT_TRUE(indices.build(model->mesh, nullptr, 0.0, 2.0, status));
    model->indices = &indices;
    const Vec3 centre = model->mesh.corner(1, 0), forward = {1.0, 0.0, 0.0};
    const Ball ball(centre, 1.0, 0.0);
    for (const double length : {0.0, 0.9, 1.0, 1.1}) {
        const Circle circle{centre, length * Vec3{0.0, -1.0, 0.0}, 1.0};
        SurfacePoint found;
        const TreeAnswer answer =
            searchByTree({1, &ball, 1, circle, forward, centre - forward}, indices.scratch, found, status);
        EXPECT_EQ(answer == TreeAnswer::open, length != 1.0) << length;
    }
    const double tiny = 1.3e-162; // its square is one or two of the smallest number
    const double length2 = vor(unitNormal({0.0, 0.0, 1.0}, {tiny, tiny, 0.0}));
    EXPECT_TRUE(length2 < 0.999 || length2 > 1.001) << length2;
    model->indices = nullptr;
    indices.release(status);
}

// Lists of triangles that lead one way only, which a caller may hand in: from one start the flood comes to a
// wall near the point behind and to one a little further on, and drops both; from the other it comes to the
// second alone, which is kept. A cell asks from both, with what the first told.
TEST(Search, WhatOneStartDropsAnotherMayKeep) {
    Surface surface;
    surface.vertPos = {-0.3, -2, -2, -0.3, 2, -2, -0.3, 0,   3, 0.05, -2, -2, 0.05, 2, -2, 0.05, 0,   3,
                       0,    0,  1,  0.1,  0, 1,  0,    0.1, 1, 0,    0,  -1, 0.1,  0, -1, 0,    0.1, -1};
    surface.triVerts = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12};
    surface.vertBoundary.assign(12, 0);
    const std::vector<std::int32_t> fans[] = {{1}, {2}, {1, 2, 3}, {2, 4}}; // at the corners of each triangle
    for (std::size_t v = 0; v < 12; ++v) {
        surface.vertTriStart.push_back(surface.vertTriCount());
        const auto& fan = fans[v / 3];
        surface.vertTriList.insert(surface.vertTriList.end(), fan.begin(), fan.end());
    }
    const OwnModel own;
    model->mesh = meshOf(surface);
    const double tolerance = model->tolerance = 0.4;
    SurfaceMesh inner = model->mesh;
    RunIndices indices;
    std::int32_t status = 0;
    ASSERT_TRUE(indices.build(inner, nullptr, tolerance, 2.0, status));
    const Ball ball({}, 2.0, tolerance);
    const CircleSearch asked{{}, {0.0, 0.0, 1.0}, {1.0, 0.0, 0.0}, 0.3, {-0.3, 0.0, 0.0}};
    for (const bool fast : {false, true}) {
        std::vector<std::int32_t> work(8);
        SearchScratch plain(work.data());
        if (fast) {
            model->mesh = inner;
            model->indices = &indices;
        }
        const auto outer = [&](std::int32_t triangle) {
            return fast ? indices.innerMesh.outerTriangle(triangle) : triangle;
        };
        std::int32_t starts[2] = {3, 4};
        for (std::int32_t t = 1; t <= 4; ++t)
            if (outer(t) > 2)
                starts[outer(t) - 3] = t;
        CircleSearch question = asked;
        SurfacePoint found;
        SearchScratch& scratch = fast ? indices.scratch : plain;
        ASSERT_TRUE(searchSurface(starts[0], &ball, 1, question, scratch, found, status));
        EXPECT_EQ(found.triangle, 0) << fast;
        ASSERT_TRUE(searchSurface(starts[1], &ball, 1, question, scratch, found, status));
        ASSERT_NE(found.triangle, 0) << fast;
        EXPECT_EQ(outer(found.triangle), 2) << fast;
        EXPECT_EQ(cadis(found.point, {0.05, 0.0, 0.0}), 0.0) << fast;
    }
    model->indices = nullptr;
    indices.release(status);
}

// A row of nodes anywhere about a mould, each with a node behind it.
struct AnyRow {
    AnyRow(Random& random, double size, std::int32_t length) : record{4, 1, length} {
        const auto nodes = 2 * static_cast<std::size_t>(length);
        for (auto& list : links)
            list.assign(nodes, 0);
        const Vec3 from = within(random, size), way = within(random, 2.5);
        const double spread = random.between(0.0, 2.5);
        for (std::int32_t n = 1; n <= length; ++n) {
            const Vec3 at = from + (n - 1.0) * way + spread * within(random, 1.0);
            const Vec3 behind = at + spread * within(random, 1.0);
            for (const Vec3& v : {at, behind}) {
                positions.insert(positions.end(), {v.x, v.y, random.below(2) == 0 ? 0.0 : 0.2 * v.z});
                triangles.push_back(random.below(4) > 0 ? 1 : 0);
            }
            // Node n of the row is number 2 n - 1, the one behind it 2 n.
            const auto own = 2 * static_cast<std::size_t>(n - 1);
            links[next(4)][own] = n < length ? 2 * n + 1 : 0;
            links[opposite(4)][own] = random.below(10) > 0 ? 2 * n : 0;
        }
    }

    void putInto(Model& into) {
        for (std::int32_t d = 1; d <= 4; ++d)
            into.links[d] = links[d].data();
        into.nodePos = positions.data();
        into.nodeTri = triangles.data();
        into.nodeCapacity = 2 * record.length;
    }

    FrontRecord record;
    std::vector<std::int32_t> links[5], triangles;
    std::vector<double> positions;
};

// A mould with its boundary walked, and the indices of a run over it.
struct BoundedScene {
    BoundedScene(const Surface& of, double tolerance) : surface(of) {
        model->mesh = meshOf(surface);
        model->tolerance = tolerance;
        edges.resize(3 * static_cast<std::size_t>(surface.vertCount()));
        normals.resize(edges.size());
        std::int32_t status = 0;
        EXPECT_TRUE(walkBoundary(model->mesh, surface.vertBoundary.data(), model->mesh.boundaryCount,
                                 edges.data(), normals.data(), status));
        model->mesh.boundaryEdges = edges.data();
        model->mesh.boundaryNormals = normals.data();
        innerEdges = edges;
        outer = inner = model->mesh;
        inner.boundaryEdges = innerEdges.data();
        EXPECT_TRUE(indices.build(inner, innerEdges.data(), tolerance, 2.0, status));
    }
    BoundedScene(const BoundedScene&) = delete;
    ~BoundedScene() {
        std::int32_t status = 0;
        model->indices = nullptr;
        indices.release(status);
    }

    void take(bool fastRoad) {
        model->mesh = fastRoad ? inner : outer;
        model->indices = fastRoad ? &indices : nullptr;
    }

    const OwnModel own;
    Surface surface;
    std::vector<std::int32_t> edges, innerEdges;
    std::vector<double> normals;
    SurfaceMesh outer, inner;
    RunIndices indices;
};

TEST(Crossings, BothRoadsCountTheSameOnRowsOfAnyShape) {
    Random random(10);
    int crossed = 0;
    for (int round = 0; round < 60; ++round) {
        // The last kind has more edges than are gathered for a stretch.
        Surface surface = round % 2 == 0 ? drape_test::slitPlate(10, 0.7, 6)
                                         : drape_test::squareMould(5.0, round % 4 == 1 ? 6 : 80,
                                                                   drape_test::doubleDomeHeight(5.0));
        shuffle(surface, random);
        BoundedScene scene(surface, round % 3 == 0 ? 0.0 : 1e-3);
        model->stepA = random.between(0.1, 2.0);
        model->stepB = random.between(0.1, 2.0);
        for (int k = 0; k < 40; ++k) {
            AnyRow row(random, 8.0, 1 + random.below(20));
            row.putInto(*model);
            std::vector<std::int32_t> counts[2];
            std::int32_t statuses[2] = {0, 0};
            for (const int fast : {0, 1}) {
                counts[fast].assign(static_cast<std::size_t>(RowArrays::sizeFor(row.record.length)), -7);
                scene.take(fast == 1);
                countCrossings(row.record, RowArrays::in(counts[fast].data(), row.record.length),
                               statuses[fast]);
            }
            ASSERT_EQ(statuses[0], statuses[1]) << "round " << round << " row " << k;
            if (statuses[0] != DRAPE_OK)
                continue;
            ASSERT_EQ(counts[0], counts[1]) << "round " << round << " row " << k;
            for (auto count = counts[0].begin() + row.record.length; count != counts[0].end(); ++count)
                crossed += *count > 0 ? 1 : 0;
        }
    }
    EXPECT_GT(crossed, 500);
}

// What the fallback takes from a list: the first of the triangles nearest to a place, of those with a
// boundary edge.
std::int32_t takenFrom(const SearchScratch& scratch, const Vec3& place) {
    std::int32_t nearest = 0;
    double best = std::numeric_limits<double>::infinity();
    for (std::int32_t k = 0; k < scratch.foundCount; ++k) {
        const std::int32_t t = scratch.foundList[k];
        const double distance = distanceToTriangle(place, model->mesh.corner(t, 0), model->mesh.corner(t, 1),
                                                   model->mesh.corner(t, 2), model->tolerance)
                                    .distance;
        if (firstBoundaryEdgeOf(t) != 0 && distance < best) {
            best = distance;
            nearest = t;
        }
    }
    return nearest;
}

TEST(Fallback, TheNearestListedTriangleIsTakenWithoutTheWholeFlood) {
    Random random(11);
    int taken = 0, empty = 0, bare = 0;
    for (int round = 0; round < 60; ++round) {
        // Teeth that hang together further back only, a slit, and a fine rim with more triangles than fit the
        // fallback's table; on flat plates many are equally near.
        Surface surface = round % 3 == 0   ? drape_test::toothedPlate(12, 8, 3)
                          : round % 3 == 1 ? drape_test::slitPlate(10, 0.7, 6)
                                           : drape_test::squareMould(5.0, 40, drape_test::level);
        if (round % 2 == 0)
            makeIrregular(surface, 0.2 * random.unit(), random);
        shuffle(surface, random);
        // Where lengths are large numbers, a foot that snaps to a corner counts as far more distant than it
        // is.
        const double scale = round % 5 == 0 ? 1000.0 : 1.0;
        for (double& x : surface.vertPos)
            x *= scale;
        BoundedScene scene(surface, scale * (round % 4 == 0   ? 0.0
                                             : round % 4 == 1 ? 0.05
                                             : scale > 1.0    ? 0.3
                                                              : 1e-3));
        scene.take(true);
        const SurfaceMesh& mesh = model->mesh;
        for (int k = 0; k < 200; ++k) {
            const std::int32_t start = 1 + random.below(mesh.triCount);
            const Vec3 rim = mesh.vertex(mesh.boundaryEdge(1 + random.below(mesh.boundaryCount)).start);
            const Vec3 from = random.below(2) == 0 ? rim : mesh.corner(start, 0);
            const margins::DistanceSlack slack =
                random.below(4) == 0 ? margins::DistanceSlack{} : largestSlack();
            const double radius = scale * random.between(0.5, 1.5), half = 0.5 * scale;
            const Ball balls[] = {{from + half * within(random, 1.0), radius, model->tolerance, slack},
                                  {from + half * within(random, 1.0), radius, model->tolerance, slack}};
            const int count = 1 + random.below(2);
            // Right above a corner all triangles around it are equally near.
            const Vec3 place = random.below(2) == 0   ? rim + Vec3{0.0, 0.0, half}
                               : random.below(2) == 0 ? from + scale * within(random, 1.5)
                                                      : from + scale * Vec3{random.between(-1.5, 1.5),
                                                                            random.between(-1.5, 1.5), 0.0};
            std::int32_t status = 0;
            SearchScratch& scratch = scene.indices.scratch;
            ASSERT_TRUE(listInRange(start, balls, count, scratch, status));
            const bool none = scratch.foundCount == 0;
            const std::int32_t whole = takenFrom(scratch, place);
            ASSERT_TRUE(listNearestBoundary(start, balls, count, place, scratch, status));
            ASSERT_EQ(scratch.foundCount == 0, none) << "round " << round << " question " << k;
            ASSERT_EQ(takenFrom(scratch, place), whole) << "round " << round << " question " << k;
            taken += whole != 0 ? 1 : 0;
            empty += none ? 1 : 0;
            bare += !none && whole == 0 ? 1 : 0;
        }
    }
    EXPECT_GT(taken, 2000);
    EXPECT_GT(empty, 2000);
    EXPECT_GT(bare, 200);
}

} // namespace
