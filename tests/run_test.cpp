// Whole runs: a grid known to the last node, invariants of every grid on moulds of all shapes, and each code
// that can end a run, with what it leaves behind.
#include "plain_run.h"

#include <gtest/gtest.h>

#include <functional>
#include <limits>

namespace {

using namespace drape_test;

const std::int32_t* linksOf(const Grid& grid, std::int32_t d) {
    const std::vector<std::int32_t>* arrays[] = {&grid.link1, &grid.link2, &grid.link3, &grid.link4};
    return arrays[d - 1]->data() - 1; // node numbers count from 1
}
double distanceOf(const double* p, const double* q) {
    return std::sqrt((p[0] - q[0]) * (p[0] - q[0]) + (p[1] - q[1]) * (p[1] - q[1]) +
                     (p[2] - q[2]) * (p[2] - q[2]));
}
const double* positionOf(const Grid& grid, std::int32_t n) {
    return &grid.nodePos[3 * static_cast<std::size_t>(n - 1)];
}
std::size_t at(std::int32_t n) {
    return static_cast<std::size_t>(n - 1);
}

// What holds for the grid of a finished run on any mould, torn or not.
void expectSoundGrid(const Surface& surface, const Settings& settings, const Grid& grid) {
    ASSERT_EQ(grid.status, DRAPE_OK);
    ASSERT_GE(grid.count, 1);
    for (std::int32_t n = 1; n <= grid.count; ++n) {
        SCOPED_TRACE("node " + std::to_string(n));
        ASSERT_TRUE(grid.nodeStatus[at(n)] == DRAPE_NODE_OPEN || grid.nodeStatus[at(n)] == DRAPE_NODE_CLOSED);
        ASSERT_EQ(grid.nodeFlat[2 * at(n)], grid.nodeI[at(n)] * settings.stepA);
        ASSERT_EQ(grid.nodeFlat[2 * at(n) + 1], grid.nodeJ[at(n)] * settings.stepB);
        const double* normal = &grid.nodeNormal[3 * at(n)];
        const double zero[3] = {};
        ASSERT_NEAR(distanceOf(normal, zero), 1.0, 1e-9);

        const std::int32_t triangle = grid.nodeTri[at(n)];
        ASSERT_TRUE(triangle >= 0 && triangle <= surface.triCount());
        if (triangle > 0) {
            const double* corner[3];
            for (std::size_t k = 0; k < 3; ++k)
                corner[k] = &surface.vertPos[3 * at(surface.triVerts[3 * at(triangle) + k])];
            double distance = 0.0;
            std::int32_t location = 0;
            npdmpe(positionOf(grid, n), corner[0], corner[1], corner[2], &settings.tolerance, &distance,
                   &location);
            ASSERT_LE(distance, 1.5 * settings.tolerance);
        }

        for (std::int32_t d = 1; d <= 4; ++d) {
            const std::int32_t m = linksOf(grid, d)[n];
            ASSERT_TRUE(m >= 0 && m <= grid.count);
            if (m != 0) {
                const double side = d % 2 == 1 ? settings.stepA : settings.stepB;
                ASSERT_NEAR(distanceOf(positionOf(grid, n), positionOf(grid, m)), side,
                            1.01 * settings.tolerance);
            }
        }
    }
}

// What holds besides where no repair has cut the grid.
void expectWholeGrid(const Grid& grid) {
    const std::int32_t step[5][2] = {{}, {1, 0}, {0, -1}, {-1, 0}, {0, 1}};
    for (std::int32_t n = 1; n <= grid.count; ++n) {
        SCOPED_TRACE("node " + std::to_string(n));
        for (std::int32_t d = 1; d <= 4; ++d)
            if (const std::int32_t m = linksOf(grid, d)[n]; m != 0) {
                ASSERT_EQ(linksOf(grid, oppositeOf(d))[m], n);
                ASSERT_EQ(grid.nodeI[at(m)], grid.nodeI[at(n)] + step[d][0]);
                ASSERT_EQ(grid.nodeJ[at(m)], grid.nodeJ[at(n)] + step[d][1]);
            } else {
                ASSERT_EQ(grid.nodeStatus[at(n)], DRAPE_NODE_CLOSED) << "no way on from an open node";
            }
        if (grid.nodeTri[at(n)] == 0) {
            ASSERT_EQ(grid.nodeStatus[at(n)], DRAPE_NODE_CLOSED);
        }
    }
}

// No corner of the mesh is further than a cell side from the next node.
void expectCovered(const Surface& surface, const Settings& settings, const Grid& grid) {
    for (std::size_t v = 0; v < surface.vertPos.size(); v += 3) {
        double nearest = std::numeric_limits<double>::max();
        for (std::int32_t n = 1; n <= grid.count; ++n)
            nearest = std::min(nearest, distanceOf(&surface.vertPos[v], positionOf(grid, n)));
        ASSERT_LT(nearest, std::max(settings.stepA, settings.stepB)) << "vertex " << v / 3 + 1;
    }
}

TEST(Run, SquarePlateGivesTheWholeLatticeInItsOrder) {
    const Surface plate = picture(std::vector<std::string>(6, "######"));
    Settings settings = seededAt(plate, 3.1, 3.2, 1.0);
    settings.tolerance = 1e-3;
    for (settings.byGridLine = 0; settings.byGridLine < 2; ++settings.byGridLine) {
        const Grid grid = drape(plate, settings);
        expectSoundGrid(plate, settings, grid);
        expectWholeGrid(grid);
        expectCovered(plate, settings, grid);
        ASSERT_EQ(grid.count, 64);
        int onPlate = 0;
        for (std::int32_t n = 1; n <= 64; ++n) {
            const double x = 3.1 + grid.nodeI[at(n)], y = 3.2 + grid.nodeJ[at(n)];
            const double expected[3] = {x, y, 0.0};
            EXPECT_LT(distanceOf(positionOf(grid, n), expected), 1e-9);
            const bool inside = x > 0.0 && x < 6.0 && y > 0.0 && y < 6.0;
            EXPECT_EQ(grid.nodeStatus[at(n)], inside ? DRAPE_NODE_OPEN : DRAPE_NODE_CLOSED);
            EXPECT_EQ(grid.nodeTri[at(n)] != 0, inside);
            onPlate += inside ? 1 : 0;
        }
        EXPECT_EQ(onPlate, 36);
        const int first[9][2] = {{0, 0},   {1, 0}, {0, -1}, {1, -1}, {-1, 0},
                                 {-1, -1}, {0, 1}, {1, 1},  {-1, 1}};
        for (std::size_t n = 0; n < 9; ++n) {
            EXPECT_EQ(grid.nodeI[n], first[n][0]) << n;
            EXPECT_EQ(grid.nodeJ[n], first[n][1]) << n;
        }
    }
}

TEST(Run, SmoothMouldsAreCoveredByAWholeGrid) {
    int uncut = 0;
    for (const Mould& mould : smoothMoulds())
        for (const double ratio : {1.0, 0.8, 1.4})
            for (const double degrees : {0.0, 30.0, 45.0, 77.0})
                for (const std::int32_t byGridLine : {0, 1}) {
                    SCOPED_TRACE(mould.name + " " + std::to_string(ratio) + " " + std::to_string(degrees));
                    Settings settings = seededAt(mould.surface, mould.seedX, mould.seedY, 1.0, degrees);
                    settings.stepB = ratio;
                    settings.byGridLine = byGridLine;
                    const Grid grid = drape(mould.surface, settings);
                    expectSoundGrid(mould.surface, settings, grid);
                    expectCovered(mould.surface, settings, grid);
                    // Where a row bends into the boundary, corners may open; elsewhere all links are pairs.
                    const PlainResult plain = plainRun(mould.surface, settings);
                    const auto some = [](int count) { return count > 0; };
                    if (std::none_of(plain.repairs.begin(), plain.repairs.end(), some) &&
                        std::none_of(plain.corners.begin(), plain.corners.end(), some)) {
                        ++uncut;
                        expectWholeGrid(grid);
                    }
                    if (HasFatalFailure())
                        return;
                }
    EXPECT_GT(uncut, 70);
}

TEST(Run, TornMouldsKeepCellSidesTrianglesAndStatuses) {
    for (const Mould& mould : tornMoulds())
        for (const double degrees : {0.0, 35.0, 60.0}) {
            SCOPED_TRACE(mould.name + " " + std::to_string(degrees));
            const Settings settings = seededAt(mould.surface, mould.seedX, mould.seedY, 1.0, degrees);
            expectSoundGrid(mould.surface, settings, drape(mould.surface, settings));
        }
}

// Any lattice lies in a plane without distortion, so its nodes are known beforehand, and a cylinder unrolls:
// rows along its axis stay straight.
TEST(Run, FlatAndDevelopableMouldsTakeUndistortedGrids) {
    const Surface plate = squareMould(7.0, 9, level);
    for (const double degrees : {0.0, 12.0, 45.0, 170.0, 251.0}) {
        Settings settings = seededAt(plate, 0.3, 0.2, 1.1, degrees);
        settings.stepB = 0.8;
        const Grid grid = drape(plate, settings);
        ASSERT_EQ(grid.status, DRAPE_OK);
        for (std::int32_t n = 1; n <= grid.count; ++n) {
            const double u = 1.1 * grid.nodeI[at(n)], v = 0.8 * grid.nodeJ[at(n)];
            const double expected[3] = {0.3 + u * settings.warp[0] + v * settings.weft[0],
                                        0.2 + u * settings.warp[1] + v * settings.weft[1], 0.0};
            ASSERT_LT(distanceOf(positionOf(grid, n), expected), 1e-9) << "node " << n << " at " << degrees;
        }
    }

    const Surface pipe = cylinderPiece(5.0, 12.0, 0.9, 20, 9);
    const Settings settings = seededAt(pipe, 0.3, 0.2, 1.0, 90.0); // warp along the axis
    const Grid grid = drape(pipe, settings);
    ASSERT_EQ(grid.status, DRAPE_OK);
    for (std::int32_t n = 1; n <= grid.count; ++n)
        if (const std::int32_t m = grid.link1[at(n)];
            m != 0 && grid.nodeTri[at(n)] != 0 && grid.nodeTri[at(m)] != 0) {
            EXPECT_NEAR(positionOf(grid, m)[0], positionOf(grid, n)[0], 1e-9);
            EXPECT_NEAR(positionOf(grid, m)[1], positionOf(grid, n)[1] + 1.0, 1e-9);
        }
}

TEST(Run, NothingCarriesOverFromOneRunToTheNext) {
    const std::vector<Mould> moulds = tornMoulds();
    std::vector<std::uint64_t> digests;
    Grid used = emptyGrid(Settings{}.capacity);
    used.count = 7; // of a host that counts in its own way
    for (int round = 0; round < 2; ++round)
        for (std::size_t k = 0; k < moulds.size(); ++k) {
            const std::size_t m = round == 0 ? k : moulds.size() - 1 - k;
            Settings settings = seededAt(moulds[m].surface, moulds[m].seedX, moulds[m].seedY, 0.9, 25.0);
            if (round == 0)
                digests.push_back(digestOf(drape(moulds[m].surface, settings)));
            for (auto* left : {&used.nodeStatus, &used.link1, &used.link4, &used.nodeTri})
                if (round == 0) // of a host that clears nothing, or else what the run before left
                    std::fill(left->begin(), left->end(), 0x7f7f7f7f);
            drape(moulds[m].surface, settings, used);
            EXPECT_EQ(digestOf(used), digests[m]) << moulds[m].name;
            settings.capacity = 20; // a failed run in between
            EXPECT_EQ(drape(moulds[m].surface, settings).status, DRAPE_NODES_FULL);
        }
}

TEST(Run, SeedOffTheSurfaceStandsWhereItIsAndTakesTheLowestNearestTriangle) {
    const Surface plate = picture(std::vector<std::string>(4, "####"));
    Settings settings = seededAt(plate, 2.0, 2.0, 1.0); // a corner of six triangles
    settings.seed[2] = 0.4;
    const Grid grid = drape(plate, settings);
    std::int32_t lowest = 0;
    for (std::size_t k = 0; lowest == 0; ++k) {
        const double* corner = &plate.vertPos[3 * at(plate.triVerts[k])];
        if (corner[0] == 2.0 && corner[1] == 2.0)
            lowest = static_cast<std::int32_t>(k / 3 + 1);
    }
    EXPECT_GT(lowest, 1);
    EXPECT_EQ(grid.nodeTri[0], lowest);
    EXPECT_EQ(distanceOf(positionOf(grid, 1), settings.seed), 0.0);
}

// Failures.

// The room that the manual advises is enough where the nodes beyond the boundary outnumber those on the
// surface.
TEST(Run, AdvisedRoomIsEnoughForStrips) {
    for (const double width : {0.1, 0.5, 2.0})
        for (const double stepB : {1.0, 0.7})
            for (const double degrees : {0.0, 40.0}) {
                constexpr double length = 200.0;
                const Surface strip = gridSurface(
                    200, 1,
                    [=](int i, int j) {
                        return Point{double(i), j * width, 0.0};
                    },
                    everywhere);
                Settings settings = seededAt(strip, 90.3, 0.6 * width, 1.0, degrees);
                settings.stepB = stepB;
                settings.tolerance = 1e-3 * stepB;
                settings.capacity = static_cast<std::int32_t>(2.0 * length * width / stepB +
                                                              8.0 * (length + width) / stepB + 100.0);
                const Grid grid = drape(strip, settings);
                EXPECT_EQ(grid.status, DRAPE_OK) << width << ' ' << stepB << ' ' << degrees;
                if (degrees == 0.0 && width < 1.0) { // turned, a cell steps over a narrow strip at once
                    EXPECT_GT(grid.count, 2.0 * length * width / stepB + 100.0);
                }
            }
}

TEST(Run, FullStoreKeepsTheNodesMadeSoFar) {
    const Surface surface = squareMould(6.0, 24, domeHeight(9.0));
    Settings settings = seededAt(surface, 0.3, 0.2, 1.0, 20.0);
    const Grid whole = drape(surface, settings);
    ASSERT_EQ(whole.status, DRAPE_OK);
    for (const std::int32_t capacity : {4, 5, 33, whole.count - 1}) {
        settings.capacity = capacity;
        const Grid partial = drape(surface, settings);
        EXPECT_EQ(partial.status, DRAPE_NODES_FULL);
        EXPECT_EQ(partial.result, 0);
        EXPECT_EQ(partial.count, capacity);
        EXPECT_TRUE(std::equal(partial.nodePos.begin(), partial.nodePos.end(), whole.nodePos.begin()));
        EXPECT_TRUE(std::equal(partial.nodeTri.begin(), partial.nodeTri.end(), whole.nodeTri.begin()));
    }
    settings.capacity = whole.count;
    EXPECT_EQ(firstDifference(drape(surface, settings), whole), "");
}

TEST(Run, BoundaryThatIsNoLoopEndsTheRunBeforeAnyNode) {
    const Surface plate = picture(std::vector<std::string>(4, "####"));
    struct Case {
        const char* name;
        std::int32_t code;
        std::function<void(Surface&)> spoil;
    };
    const Case cases[] = {
        {"no flag at all", 4, [](Surface& s) { s.vertBoundary.assign(s.vertBoundary.size(), 0); }},
        {"a gap in the flags", 4, [](Surface& s) { s.vertBoundary[9] = 0; }},
        {"a flag that allows a start alone", 4, [](Surface& s) { s.vertBoundary[0] = 2; }},
        {"all vertices flagged on a closed surface", 4,
         [](Surface& s) {
             s.vertPos = {0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0, 1};
             s.triVerts = {1, 3, 2, 1, 2, 4, 2, 3, 4, 3, 1, 4};
             joinUp(s);
             s.vertBoundary.assign(4, 1);
         }},
        {"one triangle listed over and over", 3, [](Surface& s) {
             s.vertPos = {0, 0, 0, 1, 0, 0, 0, 1, 0};
             s.triVerts = {1, 2, 3};
             s.vertTriStart = {0, 4, 5};
             s.vertTriList = {1, 1, 1, 1, 1, 1};
             s.vertBoundary.assign(3, 1);
         }}};
    for (const Case& c : cases) {
        Surface surface = plate;
        c.spoil(surface);
        Settings settings = seededAt(plate, 2.2, 2.1, 1.0);
        Grid grid = emptyGrid(settings.capacity);
        grid.count = 77;
        drape(surface, settings, grid);
        EXPECT_EQ(grid.status, c.code) << c.name;
        EXPECT_EQ(grid.count, 77) << c.name;
        EXPECT_EQ(grid.result, 0) << c.name;
    }
}

// Codes that a shape brings about, each with the same grid on the plain road, and fit to go on afterwards.
TEST(Run, CodesOfShapesThatCannotBeDraped) {
    const auto lyingTriangle = [] {
        Surface s = picture(std::vector<std::string>(4, "####"));
        splitTriangle(s, 9, 0.5, 0.0);
        joinUp(s);
        return s;
    };
    const Surface floorAndWall = gridSurface(
        12, 6,
        [](int i, int j) {
            return Point{double(std::min(i, 6)), double(j), double(std::max(0, i - 6))};
        },
        everywhere);
    const Surface plate = squareMould(7.0, 10, level), teeth = toothedPlate(8, 12, 5);
    const Surface combOfHairs = toothedPlate(60, 100, 40, 0.04);
    struct Case {
        const char* name;
        std::int32_t code, leastNodes;
        Surface surface;
        double x, y, step, ratio, degrees;
    };
    const Case cases[] = {
        {"seed in a triangle without area", DRAPE_NORMAL_NOT_UNIT, 1, lyingTriangle(), 0, 0, 1.0, 1.0, 0.0},
        {"boundary normal along a cell side", DRAPE_RULING_ALONG_SEGMENT, 50, floorAndWall, 2.3, 3.2, 1.0,
         1.0, 0.0},
        {"cells twice as long as wide", DRAPE_CELL_FOLDS, 40, plate, 0.3, 0.2, 1.0, 2.0, 10.0},
        {"front left without a neighbour", DRAPE_NOTHING_TO_STEP_FROM, 50, teeth, 8.2, 3.1, 0.8, 1.0, 20.0},
        {"split with nothing behind it", DRAPE_BAD_PREVIOUS_NODE_1, 50, teeth, 8.2, 3.1, 1.0, 1.0, 20.0},
        {"boundary crossed too often", DRAPE_TOO_MANY_CROSSINGS, 10, combOfHairs, 2.4, 1.2, 1.0, 1.0, 0.0}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        Settings settings = seededAt(c.surface, c.x, c.y, c.step, c.degrees);
        settings.stepB = c.step * c.ratio;
        if (c.leastNodes == 1) { // on the middle of the edge that the flat triangle lies along
            const auto last = c.surface.vertPos.end() - 3;
            std::copy(last, last + 3, settings.seed);
        }
        const Grid grid = drape(c.surface, settings);
        EXPECT_EQ(grid.status, c.code);
        EXPECT_EQ(grid.result, 0);
        EXPECT_GE(grid.count, c.leastNodes);
        EXPECT_EQ(firstDifference(grid, plainRun(c.surface, settings).grid), "");
        EXPECT_EQ(drape(plate, seededAt(plate, 0.3, 0.2, 1.0)).status, DRAPE_OK);
    }
}

// Corners on a line but for rounding have a cross product that points anywhere. The seed's triangle is told
// by the measure of all triangles, not by what that product makes of itself.
TEST(Run, SeedOnATriangleThatIsFlatButForRounding) {
    Random random(24);
    for (int k = 0; k < 200; ++k) {
        Surface mesh;
        const double share = random.between(0.2, 0.8);
        Point a, way;
        for (std::size_t c = 0; c < 3; ++c) {
            a[c] = random.between(-1.0, 1.0);
            way[c] = random.between(-1.0, 1.0);
        }
        for (const double along : {0.0, 1.0, share})
            for (std::size_t c = 0; c < 3; ++c)
                mesh.vertPos.push_back(a[c] + along * way[c]);
        mesh.triVerts = {1, 2, 3};
        joinUp(mesh);
        Settings settings;
        std::copy(a.begin(), a.end(), settings.seed);
        settings.stepA = settings.stepB = 0.3;
        const Grid grid = drape(mesh, settings);
        ASSERT_EQ(grid.status, DRAPE_NORMAL_NOT_UNIT) << k;
        ASSERT_EQ(grid.count, 1) << k;
        ASSERT_EQ(distanceOf(positionOf(grid, 1), settings.seed), 0.0);
    }
    // The sides that leave the first corner count: square to each other they enclose something, however short
    // one is.
    Surface needle;
    needle.vertPos = {0, 0, 0, 1, 0, 0, 0, 1e-14, 0};
    needle.triVerts = {1, 2, 3};
    joinUp(needle);
    Settings settings;
    std::fill_n(settings.seed, 3, 0.0);
    settings.stepA = settings.stepB = 0.3;
    EXPECT_NE(drape(needle, settings).status, DRAPE_NORMAL_NOT_UNIT);
}

// A failed run may leave the marks that a finished one rewrites.
TEST(Run, FailedRunsKeepTheMarksOfTheirRepairs) {
    const Surface surface = dome(8.0, 24, 1);
    Settings settings = seededAt(surface, 0.2, 3.3, 0.8);
    const std::int32_t all = drape(surface, settings).count;
    bool marked = false;
    for (settings.capacity = 20; settings.capacity < all && !marked; settings.capacity += 7) {
        const Grid grid = drape(surface, settings);
        ASSERT_TRUE(grid.status == DRAPE_NODES_FULL || grid.status == DRAPE_NODE_NOT_COPIED);
        const auto end = grid.nodeStatus.begin() + grid.count;
        marked = std::find(grid.nodeStatus.begin(), end, DRAPE_NODE_CUT) != end;
    }
    EXPECT_TRUE(marked);
}

TEST(Run, InputThatCannotBeUsedIsRefusedBeforeAnythingIsDone) {
    const double nan = std::numeric_limits<double>::quiet_NaN(),
                 inf = std::numeric_limits<double>::infinity();
    const Surface plate = picture(std::vector<std::string>(3, "###"));
    struct Case {
        const char* name;
        std::int32_t code;
        std::function<void(Surface&, Settings&)> spoil;
    };
    const Case cases[] = {
        {"no triangle", 201, [](Surface& s, Settings&) { s.triVerts.clear(); }},
        {"no vertex", 201, [](Surface& s, Settings&) { s.vertPos.clear(); }},
        {"lists shorter than their starts", 202, [](Surface& s, Settings&) { s.vertTriList.clear(); }},
        {"room for three nodes", 201, [](Surface&, Settings& g) { g.capacity = 3; }},
        {"step 0", 201, [](Surface&, Settings& g) { g.stepA = 0.0; }},
        {"step below 0", 201, [](Surface&, Settings& g) { g.stepB = -1.0; }},
        {"step nan", 201, [=](Surface&, Settings& g) { g.stepB = nan; }},
        {"step infinite", 201, [=](Surface&, Settings& g) { g.stepA = inf; }},
        {"tolerance below 0", 201, [](Surface&, Settings& g) { g.tolerance = -1e-9; }},
        {"tolerance nan", 201, [=](Surface&, Settings& g) { g.tolerance = nan; }},
        {"seed nan", 201, [=](Surface&, Settings& g) { g.seed[2] = nan; }},
        {"warp infinite", 201, [=](Surface&, Settings& g) { g.warp[0] = inf; }},
        {"weft nan", 201, [=](Surface&, Settings& g) { g.weft[1] = nan; }},
        {"vertex 0", 202, [](Surface& s, Settings&) { s.triVerts[5] = 0; }},
        {"vertex beyond the last", 202, [](Surface& s, Settings&) { s.triVerts[0] = 17; }},
        {"start below 0", 202, [](Surface& s, Settings&) { s.vertTriStart[0] = -1; }},
        {"starts descending", 202,
         [](Surface& s, Settings&) { std::swap(s.vertTriStart[3], s.vertTriStart[7]); }},
        {"start behind the list", 202,
         [](Surface& s, Settings&) { s.vertTriStart.back() = s.vertTriCount() + 1; }},
        {"triangle 0", 202, [](Surface& s, Settings&) { s.vertTriList[4] = 0; }},
        {"triangle beyond the last", 202, [](Surface& s, Settings&) { s.vertTriList.back() = 19; }},
        {"position nan", 202, [=](Surface& s, Settings&) { s.vertPos.back() = nan; }},
        {"position infinite", 202, [=](Surface& s, Settings&) { s.vertPos[7] = -inf; }},
        {"position nan at the last corner alone", 202, [=](Surface& s, Settings&) {
             s.triVerts.back() = s.vertCount() + 1;
             s.vertPos.insert(s.vertPos.end(), {1.0, 1.0, nan});
             s.vertTriStart.push_back(s.vertTriCount());
             s.vertBoundary.push_back(0);
         }}};
    for (const Case& c : cases) {
        Surface surface = plate;
        Settings settings = seededAt(plate, 1.2, 1.3, 1.0);
        c.spoil(surface, settings);
        Grid grid = emptyGrid(settings.capacity);
        grid.count = 77;
        drape(surface, settings, grid);
        EXPECT_EQ(grid.status, c.code) << c.name;
        EXPECT_EQ(grid.count, 0) << c.name;
        EXPECT_EQ(grid.result, 0) << c.name;
    }
    // The bounds themselves are no fault of the input.
    Settings settings = seededAt(plate, 1.2, 1.3, 1.0);
    settings.tolerance = 0.0;
    settings.capacity = 4;
    EXPECT_LT(drape(plate, settings).status, 200);
}

// What the steps have an answer to: meshes too small for a boundary, and vertices without a triangle.
TEST(Run, OddMeshesAreNotRefused) {
    for (const std::int32_t vertices : {1, 2, 3})
        for (const bool listed : {false, true}) {
            Surface mesh;
            mesh.vertPos.assign(3 * at(vertices + 1), 0.0);
            mesh.vertBoundary.assign(at(vertices + 1), 1);
            mesh.triVerts = {1, vertices > 1 ? 2 : 1, 1};
            mesh.vertTriStart.assign(at(vertices + 1), 0);
            if (listed)
                mesh.vertTriList = {1};
            Grid grid = emptyGrid(8);
            grid.count = 77;
            drape(mesh, {}, grid);
            EXPECT_EQ(grid.status, DRAPE_BOUNDARY_NOT_CLOSED) << vertices;
            EXPECT_EQ(grid.count, 77); // as the caller left it
        }

    const Surface plate = picture(std::vector<std::string>(3, "###"));
    Surface strewn = plate; // a point first, which is on no boundary, and one last
    const double nan = std::numeric_limits<double>::quiet_NaN();
    strewn.vertPos.insert(strewn.vertPos.begin(), {nan, 1e308, -nan});
    strewn.vertPos.insert(strewn.vertPos.end(), {0.0, std::numeric_limits<double>::infinity(), nan});
    strewn.vertBoundary.insert(strewn.vertBoundary.begin(), 0);
    strewn.vertBoundary.push_back(0);
    strewn.vertTriStart.insert(strewn.vertTriStart.begin(), 0);
    strewn.vertTriStart.push_back(strewn.vertTriCount());
    for (std::int32_t& v : strewn.triVerts)
        ++v;
    const Settings settings = seededAt(plate, 1.2, 1.3, 0.9, 20.0);
    EXPECT_EQ(firstDifference(drape(strewn, settings), drape(plate, settings)), "");
    EXPECT_EQ(drape(plate, settings).status, DRAPE_OK);
}

} // namespace
