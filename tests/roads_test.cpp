// Two roads to one result: a run with its indices, and the same run taken operation by operation without
// them, must agree in every bit of every array, on smooth moulds and on torn ones.
#include "plain_run.h"

#include <gtest/gtest.h>

#include <map>

namespace {

using namespace drape_test;

// A small random mould: any outline that a random mask leaves, any slope, sizes of cell and mesh apart, and
// triangles of all shapes.
Surface randomSurface(Random& random) {
    const int columns = 3 + random.below(9), rows = 3 + random.below(9);
    const double torn = random.unit() < 0.6 ? random.between(0.0, 0.25) : 0.0;
    std::vector<std::string> lines(static_cast<std::size_t>(rows),
                                   std::string(static_cast<std::size_t>(columns), '#'));
    for (auto& line : lines)
        for (auto& square : line)
            square = random.unit() < torn ? '.' : '#';
    if (random.unit() < 0.5) { // a notch or slit from an edge inwards
        const auto column = static_cast<std::size_t>(random.below(columns));
        for (int j = random.below(rows); j < rows; ++j)
            lines[static_cast<std::size_t>(j)][column] = '.';
    }
    lines[static_cast<std::size_t>(rows / 2)][static_cast<std::size_t>(columns / 2)] = '#';
    const double bend = random.between(-0.08, 0.08), twist = random.between(-0.08, 0.08),
                 wave = random.between(0.0, 0.6);
    Surface surface = picture(lines, 1, [=](double x, double y) {
        return bend * (x * x + y * y) + twist * x * y + wave / (1.0 + x * x + y * y);
    });
    // Each number is drawn by a statement of its own, so that all compilers draw them in one order.
    if (random.unit() < 0.6) {
        const double amount = random.between(0.0, 0.3);
        const bool rim = random.unit() < 0.5;
        makeIrregular(surface, amount, random, rim);
    }
    if (random.unit() < 0.3) {
        for (int k = 0; k < 6; ++k) {
            const int triangle = 1 + random.below(surface.triCount());
            const double u = random.between(0.0, 0.5);
            const double v = random.between(0.0, random.unit() < 0.5 ? 1e-4 : 0.5);
            splitTriangle(surface, triangle, u, v);
        }
        joinUp(surface);
    }
    if (random.unit() < 0.5)
        shuffle(surface, random);
    return surface;
}

Settings randomSettings(const Surface& surface, Random& random) {
    const auto triangle = 3 * static_cast<std::size_t>(random.below(surface.triCount()));
    Settings settings;
    double left = 1.0;
    std::fill(settings.seed, settings.seed + 3, 0.0);
    for (std::size_t k = 0; k < 3; ++k) {
        const double share = k < 2 ? left * random.unit() : left;
        left -= share;
        const auto v = static_cast<std::size_t>(surface.triVerts[triangle + k] - 1);
        for (std::size_t c = 0; c < 3; ++c)
            settings.seed[c] += share * surface.vertPos[3 * v + c];
    }
    const double tolerances[] = {0.0, 1e-9, 1e-6, 1e-3, 1e-2, 0.05};
    settings.stepA = random.between(0.4, 1.6);
    settings.stepB = random.unit() < 0.5 ? settings.stepA : random.between(0.4, 1.6);
    settings.tolerance = tolerances[random.below(6)];
    settings.byGridLine = random.below(2);
    settings.capacity = random.unit() < 0.1 ? 4 + random.below(60) : 1500;
    turn(settings, random.between(0.0, 90.0));
    return settings;
}

// The nodes that stand on an earlier one: twins and copies, which repairs and corners leave.
std::vector<std::int32_t> twinsIn(const Grid& grid) {
    std::map<Point, int> met;
    std::vector<std::int32_t> twins;
    for (std::int32_t n = 1; n <= grid.count; ++n) {
        const double* p = &grid.nodePos[3 * static_cast<std::size_t>(n - 1)];
        if (met[{p[0], p[1], p[2]}]++ > 0)
            twins.push_back(n);
    }
    return twins;
}

TEST(Roads, RandomSurfacesGiveTheSameBitsOnBothRoads) {
    Random random(20);
    int finished = 0, repaired = 0, cornered = 0, cutShort = 0;
    long nodes = 0;
    for (int k = 0; k < 600; ++k) {
        const Surface surface = randomSurface(random);
        const Settings settings = randomSettings(surface, random);
        const PlainResult plain = plainRun(surface, settings);
        const Grid fast = drape(surface, settings);
        ASSERT_EQ(firstDifference(fast, plain.grid), "") << "surface " << k;
        // The run numbers its triangles anew, so what it leaves of dropped rows is looked at too.
        ASSERT_EQ(fast.nodeTri, plain.grid.nodeTri) << "surface " << k;
        // The same where a twin is the last for which there is room.
        for (const std::int32_t twin : twinsIn(fast)) {
            Settings narrow = settings;
            narrow.capacity = std::max(twin, 4);
            const Grid cut = drape(surface, narrow), plainCut = plainRun(surface, narrow).grid;
            ASSERT_EQ(firstDifference(cut, plainCut), "") << "surface " << k << ", twin " << twin;
            ASSERT_EQ(cut.nodeTri, plainCut.nodeTri) << "surface " << k << ", twin " << twin;
            if (++cutShort % 3 == 0)
                break;
        }
        finished += fast.status == DRAPE_OK ? 1 : 0;
        nodes += fast.count;
        for (const int count : plain.repairs)
            repaired += count;
        for (const int count : plain.corners)
            cornered += count;
    }
    // The surfaces are worth the comparison only while they bring runs to their end and into repairs.
    EXPECT_GT(finished, 200);
    EXPECT_GT(repaired, 100);
    EXPECT_GT(cornered, 50);
    EXPECT_GT(cutShort, 100);
    EXPECT_GT(nodes, 20000);
}

// Floors, walls and stairs on regular lattices, where circles lie in walls and ties are everywhere.
Surface randomWalls(Random& random) {
    const int columns = 3 + random.below(8), rows = 3 + random.below(8), fold = 1 + random.below(columns - 1);
    const double width = random.below(3) == 0 ? std::pow(10.0, random.between(-4.0, 0.0)) : 1.0;
    const double height = random.between(0.3, 3.0);
    const int kind = random.below(4);
    Surface surface = gridSurface(
        columns, rows,
        [&](int i, int j) -> Point {
            switch (kind) {
            case 0: // a plate of even or thin triangles
                return {i * width, double(j), 0.0};
            case 1: // a floor and a wall
                return {double(std::min(i, fold)), double(j), std::max(i - fold, 0) * width};
            case 2: // stairs
                return {double((i + 1) / 2), double(j), double(i / 2)};
            default: // a block in one corner
                return {double(i), double(j), i > fold && j > rows / 2 ? height : 0.0};
            }
        },
        everywhere);
    if (random.below(4) == 0) {
        for (int k = 0; k < 4; ++k) {
            const int triangle = 1 + random.below(surface.triCount());
            const double u = random.between(0.0, 0.5);
            splitTriangle(surface, triangle, u, std::pow(10.0, random.between(-9.0, -1.0)));
        }
        joinUp(surface);
    }
    return surface;
}

// Turns, scales and shifts a mould with its settings.
void moveAbout(Surface& surface, Settings& settings, double scale, double offset, Random& random) {
    double q[4], shift[3], length2 = 0.0;
    for (double& x : q) {
        x = random.between(-1.0, 1.0);
        length2 += x * x;
    }
    for (double& x : q)
        x /= std::sqrt(length2);
    for (double& x : shift)
        x = scale * offset * random.between(-1.0, 1.0);
    const auto [w, x, y, z] = q;
    const double turn[3][3] = {
        {1 - 2 * (y * y + z * z), 2 * (x * y - w * z), 2 * (x * z + w * y)},
        {2 * (x * y + w * z), 1 - 2 * (x * x + z * z), 2 * (y * z - w * x)},
        {2 * (x * z - w * y), 2 * (y * z + w * x), 1 - 2 * (x * x + y * y)},
    };
    const auto move = [&](double* v, double by, bool shifted) {
        const double old[3] = {by * v[0], by * v[1], by * v[2]};
        for (int k = 0; k < 3; ++k)
            v[k] =
                turn[k][0] * old[0] + turn[k][1] * old[1] + turn[k][2] * old[2] + (shifted ? shift[k] : 0.0);
    };
    for (std::size_t k = 0; k < surface.vertPos.size(); k += 3)
        move(&surface.vertPos[k], scale, true);
    move(settings.seed, scale, true);
    move(settings.warp, 1.0, false);
    move(settings.weft, 1.0, false);
    for (double* value : {&settings.stepA, &settings.stepB, &settings.tolerance})
        *value *= scale;
}

TEST(Roads, TurnedWallsOfAnySizeAndPlaceGiveTheSameBitsOnBothRoads) {
    Random random(21);
    long nodes = 0;
    for (int k = 0; k < 1000; ++k) {
        Surface surface = randomWalls(random);
        Settings settings = randomSettings(surface, random);
        if (random.below(2) == 0) // whole steps from a corner of the lattice
            settings = seededAt(surface, 0.0, 0.0, 0.25 * (1 + random.below(8)));
        settings.capacity = 300;
        settings.tolerance = random.below(2) == 0 ? 0.0 : settings.tolerance;
        const double scale = random.below(2) == 0 ? 1.0 : std::pow(10.0, random.between(-6.0, 6.0));
        const double offset = random.below(2) == 0 ? 0.0 : std::pow(10.0, random.between(0.0, 8.0));
        if (random.below(4) > 0)
            moveAbout(surface, settings, scale, offset, random);
        const Grid fast = drape(surface, settings);
        if (fast.status == DRAPE_NORMAL_NOT_UNIT && fast.count == 1)
            continue; // of a seed on a triangle without area, which the plain road doesn't look for
        ASSERT_EQ(firstDifference(fast, plainRun(surface, settings).grid), "") << "surface " << k;
        nodes += fast.count;
    }
    EXPECT_GT(nodes, 20000);
}

// On a mould so wide that the way to a triangle overflows no triangle is nearer than the first, by the
// caller's numbers.
TEST(Roads, WhereADistanceIsNoNumberTheFirstTriangleHoldsTheSeed) {
    Random random(22);
    int first = 0;
    for (int k = 0; k < 12; ++k) {
        Surface surface = squareMould(5.0, 8, doubleDomeHeight(5.0));
        shuffle(surface, random);
        Settings settings = seededAt(surface, 4.5, 4.4, 1.0);
        settings.capacity = 60;
        for (double& x : surface.vertPos)
            x *= 3e307;
        for (double* value : {&settings.seed[0], &settings.seed[1], &settings.seed[2], &settings.stepA,
                              &settings.stepB, &settings.tolerance})
            *value *= 3e307;
        const Grid fast = drape(surface, settings), plain = plainRun(surface, settings).grid;
        EXPECT_EQ(fast.status, plain.status);
        ASSERT_GE(fast.count, 1);
        EXPECT_EQ(fast.nodeTri[0], plain.nodeTri[0]);
        first += fast.nodeTri[0] == 1 ? 1 : 0;
    }
    EXPECT_GT(first, 2);
}

TEST(Roads, FineMeshesUnderLongCellsGiveTheSameBits) {
    for (const double step : {0.7, 1.3})
        for (const double tolerance : {0.0, 1e-3}) {
            for (const Surface& surface :
                 {squareMould(5.0, 40, doubleDomeHeight(5.0)), dome(5.0, 40, 2), slitPlate(12, 0.4, 7)}) {
                Settings settings = seededAt(surface, 2.03, 1.04, step, 17.0);
                settings.tolerance = tolerance;
                for (settings.byGridLine = 0; settings.byGridLine < 2; ++settings.byGridLine)
                    ASSERT_EQ(firstDifference(drape(surface, settings), plainRun(surface, settings).grid),
                              "");
            }
        }
}

} // namespace
