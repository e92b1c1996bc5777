// Memory that runs out at every possible moment: each request for a work array is refused in turn, and the
// operation must end with the layer's code, give back all that it holds, and leave the process as good as
// new.
#include "failing_work_arrays.h"
#include "plain_run.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

namespace {

using namespace drape_test;

// A dome with a notch: its run takes every kind of work array, those of a repair too.
Surface notchedDome() {
    return heightField(
        12, 12,
        [](double x, double y) {
            const double r2 = (x - 6.0) * (x - 6.0) + (y - 6.0) * (y - 6.0);
            return r2 < 25.0 ? std::sqrt(49.0 - r2) - std::sqrt(24.0) : 0.0;
        },
        [](int x, int y) { return !(x == 8 && y < 4) && !(x < 3 && y == 9); });
}

Settings onTop() {
    Settings settings;
    const double top[3] = {6.1, 5.8, std::sqrt(49.0 - 0.05) - std::sqrt(24.0)};
    std::copy(top, top + 3, settings.seed);
    settings.stepA = settings.stepB = 0.9;
    return settings;
}

Curve ringOn(int points) {
    Curve curve;
    for (int k = 0; k < points; ++k) {
        const double angle = 6.283185307179586 * k / points;
        const double x = 6.0 + 3.0 * std::cos(angle), y = 6.0 + 3.0 * std::sin(angle);
        curve.points.insert(curve.points.end(), {x, y, std::sqrt(49.0 - 9.0) - std::sqrt(24.0)});
        curve.directions.insert(curve.directions.end(), {0.0, 0.0, 1.0});
    }
    return curve;
}

// Refuses each request of a curve's transfer in turn; returns the code that it ends with when none is.
std::int32_t refuseEachRequest(const Grid& grid, const Curve& curve) {
    beginRequests(0, 0x00);
    Curve whole = curve;
    transfer(grid, whole);
    const std::int64_t total = requestsMade();
    EXPECT_GE(total, 4); // the index among them
    for (std::int64_t failing = 1; failing <= total; ++failing) {
        beginRequests(failing, 0xA5);
        Curve refused = curve;
        transfer(grid, refused);
        EXPECT_EQ(refused.status, DRAPE_NO_MEMORY) << "request " << failing << " of " << total;
        EXPECT_EQ(refused.result, 1);
        EXPECT_EQ(arraysHeld(), 0);
    }
    beginRequests(0, 0xA5);
    Curve again = curve;
    transfer(grid, again);
    EXPECT_EQ(again.flat, whole.flat);
    EXPECT_EQ(arraysHeld(), 0);
    return whole.status;
}

// Refuses each request of a run in turn; returns how many there are.
std::int64_t refuseEachRequest(const Surface& surface, const Settings& settings) {
    beginRequests(0, 0x00);
    const Grid whole = run(surface, settings);
    const std::int64_t total = requestsMade();
    EXPECT_EQ(whole.status, DRAPE_OK);
    EXPECT_EQ(arraysHeld(), 0);

    for (std::int64_t failing = 1; failing <= total; ++failing) {
        beginRequests(failing, 0xA5);
        const Grid partial = run(surface, settings);
        EXPECT_EQ(partial.status, DRAPE_NO_MEMORY) << "request " << failing << " of " << total;
        EXPECT_EQ(partial.result, 0);
        EXPECT_EQ(arraysHeld(), 0) << "request " << failing;
        // The grid so far stays, from the seed on.
        if (partial.count > 0) {
            EXPECT_EQ(partial.nodePos[0], whole.nodePos[0]);
        }
        if (testing::Test::HasFailure())
            return total;
    }

    beginRequests(0, 0x00);
    EXPECT_EQ(digestOf(run(surface, settings)), digestOf(whole));
    return total;
}

TEST(WorkArrayFaults, EveryRefusedRequestEndsTheRunWithItsCodeAndNothingIsLeft) {
    EXPECT_GT(refuseEachRequest(notchedDome(), onTop()), 10);
}

// Cells of twenty mesh edges outgrow the fixed tables of a search.
TEST(WorkArrayFaults, TablesOfAFineMesh) {
    const auto level = [](double, double) { return 0.0; };
    const auto everywhere = [](int, int) { return true; };
    Settings coarse;
    coarse.seed[0] = coarse.seed[1] = 31.0;
    coarse.stepA = coarse.stepB = 20.0;
    Settings fine = coarse;
    fine.seed[0] = fine.seed[1] = 3.1;
    fine.stepA = fine.stepB = 2.0;
    const std::int64_t grown = refuseEachRequest(heightField(62, 62, level, everywhere), coarse);
    EXPECT_GT(grown, refuseEachRequest(heightField(6, 6, level, everywhere), fine));
}

TEST(WorkArrayFaults, WhatAnArrayHoldsWhenItIsTakenHasNoPartInTheResult) {
    const Surface surface = notchedDome();
    beginRequests(0, 0x00);
    const std::uint64_t zeros = digestOf(run(surface, onTop()));
    for (const int fill : {0x01, 0x7F, 0xA5, 0xFF}) {
        beginRequests(0, static_cast<unsigned char>(fill));
        EXPECT_EQ(digestOf(run(surface, onTop())), zeros) << fill;
    }
}

TEST(WorkArrayFaults, ARunTakesNoMoreThan250BytesForEachTriangleAndBoundaryEdge) {
    for (const Surface& surface : {squareMould(20.0, 60, doubleDomeHeight(20.0)), toothedPlate(40, 20, 15)}) {
        Settings settings = seededAt(surface, 1.3, 2.2, 1.1);
        settings.capacity = 100;
        beginRequests(0, 0x00);
        ASSERT_EQ(run(surface, settings).status, DRAPE_NODES_FULL);
        const auto edges = std::count(surface.vertBoundary.begin(), surface.vertBoundary.end(), 1);
        EXPECT_LE(mostBytesHeld() - 40 * settings.capacity, 250 * (surface.triCount() + edges));
    }
}

TEST(WorkArrayFaults, TransferOfACurve) {
    const Surface surface = notchedDome();
    beginRequests(0, 0x00);
    const Grid grid = run(surface, onTop());
    ASSERT_EQ(grid.status, DRAPE_OK);
    EXPECT_EQ(refuseEachRequest(grid, ringOn(41)), DRAPE_OK);

    // Two cells that don't touch: no point has two neighbours as its nearest cells, and every point is tried.
    Grid apart = emptyGrid(8);
    apart.count = 8;
    for (std::size_t c = 0; c < 8; c += 4) {
        const auto n = static_cast<std::int32_t>(c);
        apart.link1[c] = n + 2;
        apart.link4[c] = n + 3;
        apart.link4[c + 1] = n + 4;
        const double x = 4.0 + static_cast<double>(c);
        const double corners[] = {x, 6.0, 0.0, x + 1.0, 6.0, 0.0, x, 7.0, 0.0, x + 1.0, 7.0, 0.0};
        std::copy_n(corners, 12, &apart.nodePos[3 * c]);
    }
    EXPECT_EQ(refuseEachRequest(apart, ringOn(41)), DRAPE_NO_CURVE_START);
}

// What an operation gives back itself; a release that isn't the operation's own may go unreported.
// More hits than the choice holds without an array.
TEST(WorkArrayFaults, AChoiceWithoutRoomFindsNoTriangle) {
    PlainModel model(heightField(
                         2, 2, [](double, double) { return 0.0; }, [](int, int) { return true; }),
                     Settings{});
    model.registerModel();
    const double centre[3] = {0.75, 0.5, 0.0}, up[3] = {0.0, 0.0, 1.0}, back[3] = {-1.0, 0.5, 0.0};
    const double radius = 0.5, tolerance = 1e-6;
    const std::vector<std::int32_t> found(2000, triangleAbove(model.surface, 1.25, 0.4));
    const auto count = static_cast<std::int32_t>(found.size());
    for (const std::int64_t failing : {0, 1, 2}) {
        beginRequests(failing, 0xA5);
        double forward[3] = {2.0, -0.1, 0.0}, point[3], normal[3];
        std::int32_t triangle = 7, status = 7;
        const std::int32_t result = uzprcm(centre, up, forward, &radius, back, found.data(), &count,
                                           &tolerance, point, normal, &triangle, &status);
        EXPECT_EQ(result, failing == 0 ? 0 : 1);
        EXPECT_EQ(status, failing == 0 ? DRAPE_OK : DRAPE_NO_MEMORY);
        EXPECT_EQ(triangle, failing == 0 ? found[0] : 0);
        EXPECT_GE(requestsMade(), failing == 0 ? 2 : failing);
        EXPECT_EQ(arraysHeld(), 0);
    }
}

TEST(WorkArrayFaults, AFailedReleaseIsReported) {
    const auto reported = [](auto operation) { // the releases that are, one by one, as '1'
        beginRequests(0, 0xA5);
        operation();
        std::string text;
        for (std::int64_t failing = releasesMade(); failing >= 1; --failing) {
            beginRequests(0, 0xA5);
            failRelease(failing);
            text.insert(0, operation() == RELEASE_FAILED ? "1" : "0");
            EXPECT_EQ(arraysHeld(), 0);
        }
        return text;
    };
    const Surface surface = notchedDome();
    const std::string run = reported([&] { return drape_test::run(surface, onTop()).status; });
    EXPECT_EQ(run.find('0'), std::string::npos) << run;
    // Of several the last has its say, so the order counts: front table, boundary edges, their normals,
    // and then the indices.
    beginRequests(0, 0xA5);
    drape_test::run(surface, onTop());
    const auto& order = releaseOrder();
    const auto tables = std::find(order.begin(), order.end(), 1);
    EXPECT_EQ(std::vector(tables, order.end()),
              (std::vector<std::int64_t>{1, 2, 3, 10, 11, 12, 13, 14, 6, 7, 8, 9, 16, 17}));

    PlainModel model(surface, onTop());
    std::int32_t status = 0;
    EXPECT_EQ(reported([&] {
                  model.walkBoundary();
                  return model.grid.status;
              }),
              "11");
    EXPECT_EQ(releaseOrder(), (std::vector<std::int64_t>{1, 2}));
    beginRequests(2, 0xA5); // the second array is refused, and giving the first one back fails too
    failRelease(1);
    EXPECT_FALSE(model.walkBoundary());
    EXPECT_EQ(model.grid.status, RELEASE_FAILED);
    beginRequests(0, 0xA5);
    failRelease(1, 0); // the code counts, whatever the result
    EXPECT_FALSE(model.walkBoundary());
    EXPECT_EQ(model.grid.status, RELEASE_FAILED);
    beginRequests(0, 0xA5);
    model.grid.status = 0;
    ASSERT_TRUE(model.walkBoundary());
    const std::int32_t front = 1, start = 2;
    std::int32_t flag = 0, defect[DRAPE_DEFECT_FIELDS], row[DRAPE_FRONT_FIELDS], node, across, back;
    const auto begin = [&] {
        model.grid.count = model.frontCount = 0;
        model.registerModel();
        const std::int32_t none = 0, triangle = triangleAbove(surface, 6.1, 5.8);
        const double up[3] = {0.0, 0.0, 1.0};
        uzprsp(onTop().seed, up, &triangle, &none, &none, &none, &none, &none, &status);
        const Front seed = {1, 1, 1};
        uzpraf(seed.data(), &front, &status);
    };
    EXPECT_EQ(reported([&] {
                  begin();
                  const std::int32_t result = gzprnf(&front, model.work.data(), row, &status);
                  EXPECT_EQ(result, status == DRAPE_OK ? 0 : 1);
                  return status;
              }),
              "1");
    EXPECT_EQ(reported([&] { // the scratch of a whole row is given back in silence
                  begin();
                  gzprpf(&front, row, &node, &across, &back, &status);
                  return status;
              }),
              "10");
    EXPECT_EQ(reported([&] {
                  begin();
                  const std::int32_t result = gzprfm(&front, row, &node, &across, &back, &status);
                  EXPECT_EQ(result, status == DRAPE_OK ? 0 : 1);
                  return status;
              }),
              "1");
    EXPECT_EQ(reported([&] {
                  begin();
                  const std::int32_t result = gzprre(&front, &flag, defect, &status);
                  EXPECT_EQ(result, status == DRAPE_OK ? 0 : 1);
                  return status;
              }),
              "11");

    beginRequests(0, 0xA5);
    const Grid grid = drape_test::run(surface, onTop());
    EXPECT_EQ(reported([&] {
                  Curve curve = ringOn(5);
                  uzftrt(&start, &front, curve.points.data(), curve.directions.data(), &status);
                  return status;
              }),
              "1");
    const std::string transferred = reported([&] {
        Curve curve = ringOn(41);
        transfer(grid, curve);
        EXPECT_EQ(curve.result, curve.status == 0 ? 0 : 1);
        return curve.status;
    });
    EXPECT_EQ(transferred.find('0'), std::string::npos) << transferred;
    // The sorting of the index, its boxes and its cells, and the cells of the points last.
    beginRequests(0, 0xA5);
    Curve curve = ringOn(41);
    transfer(grid, curve);
    EXPECT_EQ(releaseOrder(), (std::vector<std::int64_t>{3, 4, 2, 1}));
}

TEST(WorkArrayFaults, RotationOfACurveAndLevelOrdering) {
    Curve curve = ringOn(5);
    const std::vector<double> before = curve.points;
    const std::int32_t step = 2, count = 5;
    std::int32_t status = 0;
    beginRequests(1, 0xA5);
    EXPECT_EQ(uzftrt(&step, &count, curve.points.data(), curve.directions.data(), &status), 1);
    EXPECT_EQ(status, DRAPE_NO_MEMORY);
    EXPECT_EQ(curve.points, before);
    EXPECT_EQ(arraysHeld(), 0);

    const std::int32_t none = 0, start = 1, items = 3;
    std::vector<std::int32_t> inDegree = {0, 1, 1}, order(3, 0);
    const std::vector<std::int32_t> successorCount = {1, 1, 0}, successors = {2, 3};
    std::int32_t ordered = 0;
    const auto level = [&] {
        return gz0zorc(&none, &none, &start, &items, inDegree.data(), successorCount.data(),
                       successors.data(), &ordered, order.data(), &status);
    };
    beginRequests(1, 0xA5);
    EXPECT_EQ(level(), 1);
    EXPECT_EQ(status, DRAPE_NO_MEMORY);
    EXPECT_EQ(arraysHeld(), 0);
    beginRequests(0, 0xA5);
    EXPECT_EQ(level(), 0);
    EXPECT_EQ(order, (std::vector<std::int32_t>{1, 2, 3}));
    EXPECT_EQ(arraysHeld(), 0);
}

TEST(WorkArrayFaults, TenThousandRunsNeitherLeakNorDrift) {
    const Surface surface = heightField(
        4, 4, [](double x, double y) { return 0.05 * x * y; },
        [](int x, int y) { return !(x == 1 && y < 2); });
    Settings settings;
    settings.seed[0] = 2.7;
    settings.seed[1] = 2.6;
    settings.seed[2] = 0.35;
    settings.capacity = 200;
    Settings tooSmall = settings;
    tooSmall.capacity = 9;

    beginRequests(0, 0xA5);
    const std::uint64_t first = digestOf(run(surface, settings));
    const std::int64_t each = requestsMade();
    for (int i = 1; i < 10000; ++i) {
        beginRequests(0, 0xA5);
        // Every third run fails on the way, with the node store full.
        if (i % 3 == 0) {
            ASSERT_EQ(run(surface, tooSmall).status, DRAPE_NODES_FULL);
        }
        beginRequests(0, 0xA5);
        ASSERT_EQ(digestOf(run(surface, settings)), first) << "run " << i;
        ASSERT_EQ(requestsMade(), each) << "run " << i;
        ASSERT_EQ(arraysHeld(), 0);
    }
}

} // namespace
