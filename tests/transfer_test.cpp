// Curve transfer: cell searches, the walk over cells, mapping through one cell, whole curves, and the mapping
// of a point between triangles.
#include "plain_curve_transfer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>

namespace {

using namespace drape_test;

constexpr double pi = 3.14159265358979323846;
constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double infinity = std::numeric_limits<double>::infinity();

// Adds a grid with no link to the first, its flat positions moved by `flatShift` along the pattern.
void append(Grid& grid, const Grid& other, double flatShift) {
    const auto moved = [&](std::int32_t node) { return node == 0 ? 0 : node + grid.count; };
    for (std::size_t n = 0; n < other.link1.size(); ++n) {
        grid.link3.push_back(moved(other.link3[n]));
        grid.link1.push_back(moved(other.link1[n]));
        grid.link2.push_back(moved(other.link2[n]));
        grid.link4.push_back(moved(other.link4[n]));
        grid.nodeStatus.push_back(other.nodeStatus[n]);
        grid.nodeFlat.push_back(other.nodeFlat[2 * n] + flatShift);
        grid.nodeFlat.push_back(other.nodeFlat[2 * n + 1]);
    }
    grid.nodePos.insert(grid.nodePos.end(), other.nodePos.begin(), other.nodePos.end());
    grid.count += other.count;
}

std::array<std::int32_t, 4> fourNearest(const Grid& grid, const Place& point) {
    std::array<std::int32_t, 4> ranks{};
    std::int32_t status = -1;
    EXPECT_EQ(uzftp2(point.data(), nullptr, grid.link1.data(), nullptr, grid.link4.data(), nullptr,
                     grid.nodePos.data(), &grid.count, ranks.data(), &status),
              0);
    EXPECT_EQ(status, DRAPE_OK);
    const CellPair pair = nearestCells(grid, point.data());
    EXPECT_EQ(pair.nearest, ranks[0]);
    EXPECT_EQ(pair.second, ranks[1]);
    return ranks;
}

TEST(CellRanking, OfEqualCellsTheLowestNumberComesFirst) {
    EXPECT_EQ(fourNearest(flatLattice(4, 3), {1.0, 1.0, 0.0}), (std::array<std::int32_t, 4>{1, 2, 5, 6}));
    EXPECT_EQ(fourNearest(flatLattice(4, 3), {2.6, 1.4, 0.0}), (std::array<std::int32_t, 4>{7, 3, 6, 2}));
}

TEST(CellRanking, PlacesWithoutACompleteCellHoldOne) {
    Grid grid = flatLattice(3, 3);
    grid.link4[1] = 0; // node 2: no cell 2, and no fourth corner for cell 1
    grid.link1[3] = 0;
    EXPECT_EQ(fourNearest(grid, {0.0, 0.0, 0.0}), (std::array<std::int32_t, 4>{5, 1, 1, 1}));
    grid.link1[4] = 0;
    EXPECT_EQ(fourNearest(grid, {0.0, 0.0, 0.0}), (std::array<std::int32_t, 4>{1, 1, 1, 1}));
}

struct Found {
    std::int32_t cell = -1, third = -1;
    bool operator==(const Found& other) const { return cell == other.cell && third == other.third; }
};

enum class Reach { EdgeOnly, Inner };

Found walk(const Grid& grid, const Place& point, std::int32_t start, Reach reach) {
    Found found;
    const std::int32_t index = 1, low = 1, high = reach == Reach::Inner ? 1 : 0;
    std::int32_t status = -1;
    EXPECT_EQ(uzftcq(point.data(), &index, &start, grid.link3.data(), grid.link1.data(), grid.link2.data(),
                     grid.link4.data(), grid.nodeStatus.data(), grid.nodePos.data(), &grid.count, &found.cell,
                     &found.third, &low, &high, &status),
              0);
    EXPECT_EQ(status, DRAPE_OK);
    return found;
}

TEST(CellWalk, AmongInnerCellsOnlyAPointInRangeMoves) {
    const Grid grid = flatLattice(6, 5);
    EXPECT_EQ(walk(grid, {3.4, 2.5, 0.0}, 15, Reach::EdgeOnly), (Found{15, 0}));
    EXPECT_EQ(walk(grid, {3.4, 2.5, 0.0}, 15, Reach::Inner), (Found{16, 0}));
    EXPECT_EQ(walk(grid, {0.5, 0.5, 0.0}, 23, Reach::Inner), (Found{1, 0}));
    for (const std::int32_t none : {0, -2, grid.count + 1})
        EXPECT_EQ(walk(grid, {3.4, 2.5, 0.0}, none, Reach::Inner), (Found{16, 0})) << "nearest of all";
}

TEST(CellWalk, EdgeCellsDrawAPointOutOfRangeEvenFromItsOwnCell) {
    Grid grid = flatLattice(6, 5);
    closeRim(grid);
    // Left and below of cell 8 lie edge cells at the same distance, and the left one is looked at first.
    EXPECT_EQ(walk(grid, {1.5, 1.5, 0.0}, 8, Reach::EdgeOnly), (Found{7, 0}));
    EXPECT_EQ(walk(grid, {1.5, 1.5, 0.0}, 8, Reach::Inner), (Found{8, 0}));
}

TEST(CellWalk, AWalkThatEndsNextToAClosedNodeIsHeldAgainstTheRanking) {
    Grid grid = flatLattice(6, 5);
    closeRim(grid);
    const Place point = {1.4, 0.5, 0.0};
    // The two nearest, 2 and 1, lie around the walk's own cell 2: the third nearest is taken.
    EXPECT_EQ(walk(grid, point, 3, Reach::EdgeOnly), (Found{8, 1}));
    Grid other = grid; // whatever isn't open counts
    std::replace(other.nodeStatus.begin(), other.nodeStatus.end(), -1, 7);
    EXPECT_EQ(walk(other, point, 3, Reach::EdgeOnly), (Found{8, 1}));
    // A walk that doesn't move isn't examined.
    EXPECT_EQ(walk(grid, point, 2, Reach::EdgeOnly), (Found{2, 0}));
    // A twin of cell 2 is as near and lies around no cell of the first grid: it is the second nearest.
    Grid twin = lattice(2, 2, [](int i, int j) { return Place{1.0 + i, double(j), 0.0}; });
    append(grid, twin, 100.0);
    EXPECT_EQ(walk(grid, point, 3, Reach::EdgeOnly), (Found{31, 0}));
}

// Cells 1 and 2 are plain, 4 and 5 lie on the edge, and cell 4 is far away for its raised corner: from 1 the
// walk is drawn to 4, goes on to 5, is led by free passes to 2 and 1, and begins again.
TEST(CellWalk, ACircleOfMovesEndsWithTheNearestCell) {
    Grid grid = flatLattice(3, 3);
    grid.nodePos[3 * 6 + 2] = 9.0;
    grid.nodeStatus[6] = grid.nodeStatus[7] = grid.nodeStatus[8] = DRAPE_NODE_CLOSED;
    EXPECT_EQ(walk(grid, {0.9, 0.5, 0.0}, 1, Reach::Inner), (Found{1, 0}));
    // Without free passes it stays in 5, next to a closed node, and the nearest cell isn't around 5.
    EXPECT_EQ(walk(grid, {0.9, 0.5, 0.0}, 1, Reach::EdgeOnly), (Found{1, 0}));
}

struct Mapped {
    std::array<double, 2> flat;
    bool inside;
};

constexpr std::array<double, 2> untouched = {-7.0, -8.0};

// Node 1 is c, 2 is a, 3 is b and 4 is e.
Mapped mapThrough(const Grid& grid, std::int32_t cell, const Place& point,
                  const Place& direction = {0.0, 0.0, 1.0}) {
    Mapped mapped{untouched, false};
    const std::int32_t index = 1;
    std::int32_t inside = 5, status = -1;
    EXPECT_EQ(uzfttp(point.data(), direction.data(), &index, &cell, nullptr, grid.link1.data(), nullptr,
                     grid.link4.data(), nullptr, nullptr, grid.nodePos.data(), grid.nodeFlat.data(), nullptr,
                     nullptr, mapped.flat.data(), &inside, &status),
              0);
    EXPECT_EQ(status, DRAPE_OK);
    EXPECT_TRUE(inside == 0 || inside == -1);
    mapped.inside = inside == -1;
    return mapped;
}

// A cell whose two halves are stretched differently on the pattern, so that each mapping shows.
Grid oneCell(const Place& b = {0.0, 1.0, 0.0}, const Place& e = {1.0, 1.0, 0.0}) {
    Grid grid = lattice(2, 2, [&](int i, int j) {
        return j == 0 ? Place{double(i), 0.0, 0.0} : i == 0 ? b : e;
    });
    grid.nodeFlat = {0.0, 0.0, 10.0, 0.0, 0.0, 20.0, 1.0, 1.0};
    return grid;
}

void expectFlat(const Mapped& mapped, bool inside, double x, double y) {
    EXPECT_EQ(mapped.inside, inside);
    EXPECT_NEAR(mapped.flat[0], x, 1e-12);
    EXPECT_NEAR(mapped.flat[1], y, 1e-12);
}

TEST(FlatMapping, TheSecondTriangleOverridesTheFirst) {
    const Grid grid = oneCell();
    expectFlat(mapThrough(grid, 1, {0.25, 0.75, 3.0}), true, 0.25, 10.25);
    expectFlat(mapThrough(grid, 1, {1.0, 0.0, 0.0}), true, 1.0, -19.0);
    expectFlat(mapThrough(grid, 1, {0.0, 1.0, 0.0}), true, 0.0, 20.0);
}

TEST(FlatMapping, ThePointIsInsideInAParallelogramNotInATriangle) {
    // Only the first triangle's parallelogram holds the point, beyond the diagonal.
    expectFlat(mapThrough(oneCell({1.0, 2.0, 0.0}), 1, {0.2, 0.9, 0.0}), true, -6.1, 0.9);
}

TEST(FlatMapping, OutsideThePointIsCarriedOnByTheTriangleOnItsSide) {
    const Grid grid = oneCell();
    expectFlat(mapThrough(grid, 1, {1.5, 0.5, 0.0}), false, 10.5, 0.5);
    expectFlat(mapThrough(grid, 1, {0.5, 1.5, 0.0}), false, 0.5, 20.5);
    expectFlat(mapThrough(grid, 1, {2.0, 2.0, 0.0}), false, 2.0, 2.0);
    // Both triangles lie on one side of the diagonal and the point on the other: nobody has a place for it.
    EXPECT_EQ(mapThrough(oneCell({3.0, 0.0, 0.0}), 1, {-3.0, 4.0, 0.0}).flat, untouched);
}

TEST(FlatMapping, TheShorterDiagonalCutsTheCell) {
    // From a to b it's shorter, so the apexes are c and e, and e is 7/12 of both its sides away.
    expectFlat(mapThrough(oneCell({0.0, 1.0, 0.0}, {2.0, 2.0, 0.0}), 1, {0.25, 0.25, 0.0}), true, 17.0 / 3.0,
               11.5);
}

TEST(FlatMapping, WithoutAnAnswerTheFlatPointStays) {
    Grid grid = oneCell();
    const Mapped along = mapThrough(grid, 1, {0.5, 0.5, 0.0}, {1.0, 0.0, 0.0});
    EXPECT_FALSE(along.inside);
    EXPECT_EQ(along.flat, untouched);
    for (const std::int32_t incomplete : {2, 4, 0, -3}) {
        const Mapped mapped = mapThrough(grid, incomplete, {0.5, 0.5, 0.0});
        EXPECT_FALSE(mapped.inside);
        EXPECT_EQ(mapped.flat, untouched);
    }
}

TEST(FlatMapping, CoefficientsInAPlane) {
    const Place point = {1.0, 2.0, 5.0}, direction = {1.0, 0.0, 1.0}, origin = {0.0, 0.0, 1.0},
                u = {-2.0, 0.0, 1.0}, v = {0.0, 4.0, 1.0};
    double s = 0.0, t = 0.0;
    EXPECT_EQ(npprtr(point.data(), direction.data(), origin.data(), u.data(), v.data(), &s, &t), 0);
    EXPECT_DOUBLE_EQ(s, 1.5);
    EXPECT_DOUBLE_EQ(t, 0.5);
}

struct Second {
    std::array<double, 2> flat;
    std::int32_t cell;
};

Second secondTry(const Grid& grid, std::int32_t oldCell, const Place& point,
                 const Place& direction = {0.0, 0.0, 1.0}) {
    // The operation works on entry 2 of its arrays.
    std::vector<double> points(3, nan), directions(3, nan), flat(4, nan);
    points.insert(points.end(), point.begin(), point.end());
    directions.insert(directions.end(), direction.begin(), direction.end());
    std::int32_t cellOf[2] = {-1, oldCell}, status = -1;
    const std::int32_t index = 2;
    EXPECT_EQ(uzftte(points.data(), directions.data(), &index, nullptr, grid.link1.data(), nullptr,
                     grid.link4.data(), nullptr, nullptr, nullptr, grid.nodePos.data(), grid.nodeFlat.data(),
                     nullptr, &grid.count, flat.data(), cellOf, &status),
              0);
    EXPECT_EQ(status, DRAPE_OK);
    EXPECT_TRUE(std::isnan(flat[0]) && std::isnan(flat[1]) && cellOf[0] == -1);
    return {{flat[2], flat[3]}, cellOf[1]};
}

TEST(SecondTry, TakesTheOtherOfTheTwoNearestOrElseTheSecond) {
    const Grid grid = flatLattice(5, 2);
    const Place point = {0.9, 0.5, 0.0}; // nearest 1, second 2
    EXPECT_EQ(secondTry(grid, 1, point).cell, 2);
    EXPECT_EQ(secondTry(grid, 2, point).cell, 1);
    EXPECT_EQ(secondTry(grid, 4, point).cell, 2);
}

TEST(SecondTry, KeepsItsFlatPointUntilOneIsWritten) {
    const Grid grid = flatLattice(5, 2);
    const Second first = secondTry(grid, 4, {1.25, 0.5, 0.0});
    EXPECT_NEAR(first.flat[0], 1.25, 1e-12);
    const Second kept = secondTry(grid, 4, {2.75, 0.5, 0.0}, {1.0, 0.0, 0.0});
    EXPECT_EQ(kept.flat, first.flat);
    EXPECT_EQ(kept.cell, 3) << "the cell changes all the same";
}

// Leaves known values in what the operations carry from call to call: place (x, 0.5) of a strip.
constexpr std::array<double, 2> primedFlat = {1.25, 0.5};

void primeCarriedValues() {
    const Grid strip = flatLattice(5, 2);
    secondTry(strip, 4, {primedFlat[0], primedFlat[1], 0.0});
    Curve curve;
    addPoint(curve, {primedFlat[0], primedFlat[1], 0.0});
    transfer(strip, curve);
}

Place load3(const std::vector<double>& triples, int index) {
    const double* p = triples.data() + 3 * index;
    return {p[0], p[1], p[2]};
}

TEST(Rotation, WrapsAsOftenAsItNeedsTo) {
    for (const std::int32_t count : {1, 2, 5, 6})
        for (const std::int32_t step : {0, 2, 5, 13, -3}) {
            Curve curve;
            for (int i = 0; i < count; ++i)
                addPoint(curve, {double(i), 10.0 + i, -1.0 * i}, {20.0 + i, 0.0, 1.0 * i});
            std::int32_t status = -1;
            EXPECT_EQ(uzftrt(&step, &count, curve.points.data(), curve.directions.data(), &status), 0);
            EXPECT_EQ(status, DRAPE_OK);
            for (int i = 0; i < count; ++i) {
                const int from = ((i + step) % count + count) % count;
                EXPECT_EQ(load3(curve.points, i), (Place{double(from), 10.0 + from, -1.0 * from}));
                EXPECT_EQ(load3(curve.directions, i), (Place{20.0 + from, 0.0, 1.0 * from}));
            }
        }
}

void expectAt(const Curve& curve, std::size_t i, double x, double y, double within = 1e-9) {
    EXPECT_NEAR(curve.flat[2 * i], x, within) << "point " << i;
    EXPECT_NEAR(curve.flat[2 * i + 1], y, within) << "point " << i;
}

// Cells (4, 2) and (4, 3) have twins at the same place, so a point there has no neighbours as nearest cells.
Grid latticeWithTwins() {
    Grid grid = flatLattice(6, 6);
    append(grid, lattice(2, 3, [](int i, int j) { return Place{4.0 + i, 2.0 + j, 0.0}; }), 100.0);
    return grid;
}

TEST(StartSearch, TheFlatPositionsKeepTheOrderOfACurveThatIsTurned) {
    const Grid grid = latticeWithTwins();
    const std::vector<Place> places = {
        {4.6, 2.6, 0.0}, {2.5, 2.5, 0.0}, {4.4, 3.6, 0.0}, {3.5, 3.5, 0.0}, {4.4, 2.4, 0.0}};
    Curve curve;
    for (const Place& place : places)
        addPoint(curve, place, {place[0] - 4.0, 0.0, 1.0});
    const Curve before = curve;
    transfer(grid, curve);
    EXPECT_EQ(curve.status, DRAPE_OK);
    // Points 1, 3 and 5 fail, so point 2 is the first after three turns by two.
    for (std::size_t i = 0; i < places.size(); ++i) {
        expectAt(curve, i, places[i][0], places[i][1]);
        for (std::size_t k = 0; k < 3; ++k) {
            const std::size_t from = (i + 6) % places.size();
            EXPECT_EQ(curve.points[3 * i + k], before.points[3 * from + k]);
            EXPECT_EQ(curve.directions[3 * i + k], before.directions[3 * from + k]);
        }
    }
}

TEST(StartSearch, EndsWithACodeAndTheCurveAsItCame) {
    const Grid grid = latticeWithTwins();
    for (const int count : {1, 2, 3, 99, 100}) {
        Curve curve;
        for (int i = 0; i < count; ++i) // of an even count the second points are good, and never tried
            addPoint(curve, {count % 2 == 0 && i % 2 == 1 ? 2.5 : 4.5, 2.5 + 0.001 * i, 0.0});
        const Curve before = curve;
        transfer(grid, curve);
        EXPECT_EQ(curve.result, 1);
        EXPECT_EQ(curve.status, DRAPE_NO_CURVE_START) << count;
        EXPECT_EQ(curve.points, before.points) << count;
        EXPECT_EQ(curve.directions, before.directions);
        EXPECT_EQ(curve.flat, std::vector<double>(2 * static_cast<std::size_t>(count), 0.0));
    }
}

TEST(CurveTransfer, AnEmptyCurveOrGridEndsWithACode) {
    Grid noCell = flatLattice(4, 1), noNode = flatLattice(3, 3), noPoint = noNode;
    noNode.count = 0;
    Curve curve;
    for (const Grid* grid : {&noCell, &noNode}) {
        curve = Curve();
        addPoint(curve, {0.5, 0.5, 0.0});
        transfer(*grid, curve);
        EXPECT_EQ(curve.status, DRAPE_EMPTY_CURVE_OR_GRID);
        EXPECT_EQ(curve.result, 1);
    }
    curve = Curve();
    transfer(noPoint, curve);
    EXPECT_EQ(curve.status, DRAPE_EMPTY_CURVE_OR_GRID);
}

Curve circle(int count, double x, double y, double radius) {
    Curve curve;
    for (int i = 0; i < count; ++i) {
        const double angle = 0.3 + 2.0 * pi * i / count;
        addPoint(curve, {x + radius * std::cos(angle), y + radius * std::sin(angle), 0.1});
    }
    return curve;
}

// On a flat grid the pattern is the grid itself, whatever the number of points. The circle begins on twins,
// so that all but the shortest curves are turned.
TEST(CurveTransfer, CurvesOfAnyLength) {
    Grid grid = flatLattice(41, 41);
    append(grid, lattice(4, 5, [](int i, int j) { return Place{30.0 + i, 22.0 + j, 0.0}; }), 100.0);
    for (const int count : {1, 2, 3, 5, 1000, 1001, 100000}) {
        Curve curve = circle(count, 20.0, 20.0, 12.5);
        if (count < 3)
            curve.points[0] = 3.5;
        const Curve before = curve;
        transfer(grid, curve);
        ASSERT_EQ(curve.status, DRAPE_OK) << count;
        EXPECT_EQ(curve.points == before.points, count < 3);
        for (std::size_t i = 0; i < static_cast<std::size_t>(count); ++i)
            expectAt(curve, i, before.points[3 * i], before.points[3 * i + 1]);
        if (HasFailure())
            return;
    }
}

// A sheet that is bent and perhaps uneven, closed at its rim or at random, with a twin of one of its parts.
Grid randomSheet(Random& random) {
    const int columns = 2 + random.below(14), rows = 2 + random.below(14), bend = random.below(3) - 1;
    const double noise = random.below(3) * 0.15;
    const auto place = [&](int i, int j) {
        return Place{i + noise * random.unit(), j + noise * random.unit(),
                     bend * 0.05 * (i * i - j * j) + noise * random.unit()};
    };
    Grid grid = lattice(columns, rows, place);
    if (random.below(2) == 0)
        append(grid, flatLattice(2 + random.below(4), 2 + random.below(4)), 50.0);
    if (random.below(3) > 0)
        closeRim(grid);
    for (int k = random.below(6); k > 0; --k) {
        const auto node = static_cast<std::size_t>(random.below(grid.count));
        if (random.below(2) == 0)
            grid.nodeStatus[node] = DRAPE_NODE_CLOSED;
        else
            grid.link1[node] = 0;
    }
    return grid;
}

// Half of the curves go through points at which many cells are equally near.
Curve randomCurve(Random& random) {
    Curve curve;
    const bool onCorners = random.below(2) == 0, smooth = random.below(2) == 0;
    const double radius = random.between(1.0, 9.0);
    const int count = 1 + random.below(120);
    for (int i = 0; i < count; ++i) {
        const double angle = 2.0 * pi * i / count;
        double x = smooth ? 6.0 + radius * std::cos(angle) : random.between(-4.0, 18.0);
        double y = smooth ? 6.0 + radius * std::sin(angle) : random.between(-4.0, 18.0);
        if (onCorners) {
            x = std::floor(2.0 * x) / 2.0;
            y = std::floor(2.0 * y) / 2.0;
        }
        addPoint(curve, {x, y, 0.0}, {0.0, random.below(8) == 0 ? 1.0 : 0.0, random.below(30) ? 1.0 : 0.0});
    }
    if (random.below(3) == 0) {
        curve.low = random.below(count);
        curve.high = curve.low + random.below(20);
    }
    if (random.below(4) == 0)
        for (const double strange : {nan, infinity, 1e160, -1e149})
            curve.points[static_cast<std::size_t>(random.below(3 * count))] = strange;
    return curve;
}

bool sameBits(const std::vector<double>& a, const std::vector<double>& b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](double x, double y) { return x == y || (std::isnan(x) && std::isnan(y)); });
}

TEST(CurveTransfer, IsThatOfPlainSearchesToTheLastBit) {
    int carried = 0, withoutStart = 0;
    for (unsigned seed = 1; seed <= 1500; ++seed) {
        Random random(seed);
        Grid grid = randomSheet(random);
        // Now and then a coordinate for which there is no bound.
        if (seed % 16 == 0)
            grid.nodePos[static_cast<std::size_t>(random.below(3 * grid.count))] = seed % 32 ? nan : 1e160;
        Curve fast = randomCurve(random);
        Curve plain = fast;
        primeCarriedValues();
        transfer(grid, fast);
        if (fast.status == DRAPE_EMPTY_CURVE_OR_GRID)
            continue;
        primeCarriedValues();
        PlainTransfer(grid, plain, primedFlat).run();
        ASSERT_EQ(fast.status, plain.status) << "seed " << seed;
        ASSERT_TRUE(sameBits(fast.flat, plain.flat)) << "seed " << seed;
        ASSERT_TRUE(sameBits(fast.points, plain.points)) << "seed " << seed;
        ASSERT_TRUE(sameBits(fast.directions, plain.directions)) << "seed " << seed;
        ++(fast.status == DRAPE_OK ? carried : withoutStart);
    }
    EXPECT_GT(carried, 500);
    EXPECT_GT(withoutStart, 10);
}

// One coordinate beyond all bounds, at any corner of any cell: that of a cell alone, of the first, of the
// last.
TEST(CurveTransfer, ACornerWithoutABoundChangesNoRanking) {
    Random random(3);
    Grid good = flatLattice(2, 2);
    append(good, lattice(4, 3, [](int i, int j) { return Place{3.0 + i, 1.0 * j, 0.1 * i * j}; }), 50.0);
    for (std::size_t at = 0; at < good.nodePos.size(); ++at)
        for (const double strange : {nan, infinity, 1e160, -1e149}) {
            Grid grid = good;
            grid.nodePos[at] = strange;
            Curve fast = randomCurve(random);
            Curve plain = fast;
            primeCarriedValues();
            transfer(grid, fast);
            primeCarriedValues();
            PlainTransfer(grid, plain, primedFlat).run();
            ASSERT_EQ(fast.status, plain.status) << "coordinate " << at << " is " << strange;
            ASSERT_TRUE(sameBits(fast.flat, plain.flat)) << "coordinate " << at << " is " << strange;
        }
}

// The one good point of a curve may come first or after any number of turns, also after those that are looked
// ahead instead of carried out.
TEST(StartSearch, FindsTheOnlyGoodPointHoweverLateItComes) {
    const Grid grid = latticeWithTwins();
    for (const int count : {64, 99, 141})
        for (int good = 0; good < count; ++good) {
            Curve fast;
            for (int i = 0; i < count; ++i)
                addPoint(fast, {i == good ? 2.5 : 4.5, 2.5 + 0.01 * i / count, 0.0}, {0.0, 0.1, 1.0 + i});
            Curve plain = fast;
            primeCarriedValues();
            transfer(grid, fast);
            primeCarriedValues();
            PlainTransfer(grid, plain, primedFlat).run();
            ASSERT_EQ(fast.status, count % 2 == 0 && good % 2 == 1 ? DRAPE_NO_CURVE_START : DRAPE_OK);
            ASSERT_EQ(fast.status, plain.status) << good << " of " << count;
            ASSERT_TRUE(sameBits(fast.flat, plain.flat)) << good << " of " << count;
            ASSERT_TRUE(sameBits(fast.points, plain.points)) << good << " of " << count;
            ASSERT_TRUE(sameBits(fast.directions, plain.directions)) << good << " of " << count;
        }
}

// Arrays of exactly the promised size, so that a sanitizer sees every step beyond them.
TEST(CurveTransfer, AnyArrayContentsEndWithAResultOrACode) {
    constexpr std::int32_t lowest = std::numeric_limits<std::int32_t>::min();
    constexpr std::int32_t highest = std::numeric_limits<std::int32_t>::max();
    for (unsigned seed = 1; seed <= 500; ++seed) {
        Random random(seed);
        Grid grid = flatLattice(2 + random.below(8), 2 + random.below(8));
        for (auto* link : {&grid.link1, &grid.link2, &grid.link3, &grid.link4})
            for (std::int32_t& node : *link)
                if (random.below(4) == 0)
                    node = std::array{lowest, highest, -1, grid.count + 1,
                                      random.below(grid.count)}[std::size_t(random.below(5))];
        for (std::int32_t& status : grid.nodeStatus)
            status = random.below(3) == 0 ? (random.below(2) ? lowest : highest) : -random.below(2);
        for (int k = random.below(4); k > 0; --k)
            grid.nodePos[static_cast<std::size_t>(random.below(3 * grid.count))] =
                random.below(2) ? nan : infinity;
        Curve curve = randomCurve(random);
        transfer(grid, curve);
        EXPECT_TRUE(curve.status == DRAPE_OK || curve.status == DRAPE_NO_CURVE_START ||
                    curve.status == DRAPE_EMPTY_CURVE_OR_GRID)
            << "seed " << seed;
        EXPECT_EQ(curve.result, curve.status == DRAPE_OK ? 0 : 1);
    }
}

struct Road {
    const char* name;
    Surface surface;
    Settings settings;
};

std::vector<Road> roads() {
    Settings centred;
    centred.seed[0] = centred.seed[1] = 8.0;
    std::vector<Road> all(3);
    const auto dome = [](double x, double y) {
        return std::sqrt(400.0 - (x - 8.0) * (x - 8.0) - (y - 8.0) * (y - 8.0)) - 15.0;
    };
    const auto saddle = [](double x, double y) {
        return 0.03 * ((x - 8.0) * (x - 8.0) - (y - 8.0) * (y - 8.0));
    };
    all[0] = {"dome", heightField(16, 16, dome), centred};
    all[1] = {"saddle", heightField(16, 16, saddle), centred};
    all[2] = {"notched plate",
              heightField(
                  16, 16, [](double, double) { return 0.0; }, [](int x, int y) { return x != 3 || y > 3; }),
              centred};
    all[0].settings.seed[2] = dome(8.0, 8.0);
    for (Road& road : all) {
        road.settings.stepA = 0.75;
        road.settings.stepB = 0.5;
    }
    return all;
}

std::int32_t follow(const std::vector<std::int32_t>& link, std::int32_t node) {
    return link[static_cast<std::size_t>(node - 1)];
}

// The middle of a cell's shorter diagonal, where both its triangles agree, with the surface normal of its
// node.
void addCellMiddle(Curve& curve, const Grid& grid, std::int32_t cell) {
    const std::int32_t a = follow(grid.link1, cell), b = follow(grid.link4, cell), e = follow(grid.link4, a);
    const Place pc = load3(grid.nodePos, cell - 1), pa = load3(grid.nodePos, a - 1),
                pb = load3(grid.nodePos, b - 1), pe = load3(grid.nodePos, e - 1);
    const auto distance = [](const Place& p, const Place& q) {
        return std::hypot(p[0] - q[0], p[1] - q[1], p[2] - q[2]);
    };
    const bool ce = distance(pc, pe) <= distance(pa, pb);
    const Place &p = ce ? pc : pa, &q = ce ? pe : pb;
    addPoint(curve, {(p[0] + q[0]) / 2, (p[1] + q[1]) / 2, (p[2] + q[2]) / 2},
             load3(grid.nodeNormal, cell - 1));
}

// A closed curve along the fibres of a draped surface, out from the seed and round four corners.
TEST(WholeRoad, AlongTheFibresACurveKeepsItsLengthAndCloses) {
    for (const Road& road : roads()) {
        const Grid grid = run(road.surface, road.settings);
        ASSERT_EQ(grid.status, DRAPE_OK) << road.name;
        ASSERT_GT(grid.count, 500) << road.name;
        Curve curve;
        std::int32_t cell = 1;
        for (const auto* link : {&grid.link1, &grid.link4, &grid.link3, &grid.link2})
            for (int k = 0; k < 6; ++k) {
                addCellMiddle(curve, grid, cell);
                cell = follow(*link, cell);
                ASSERT_NE(cell, 0) << road.name;
            }
        ASSERT_EQ(cell, 1);
        transfer(grid, curve);
        ASSERT_EQ(curve.status, DRAPE_OK) << road.name;
        const std::size_t count = curve.flat.size() / 2;
        for (std::size_t i = 0; i < count; ++i) {
            const std::size_t next = (i + 1) % count;
            const double step = std::hypot(curve.flat[2 * next] - curve.flat[2 * i],
                                           curve.flat[2 * next + 1] - curve.flat[2 * i + 1]);
            EXPECT_NEAR(step, i / 6 % 2 == 0 ? road.settings.stepA : road.settings.stepB, 1e-9)
                << road.name << ", point " << i;
        }
        expectAt(curve, 0, 0.5 * road.settings.stepA, 0.5 * road.settings.stepB);
    }
}

TEST(WholeRoad, OnAFlatSquareThePatternIsTheOffsetFromTheSeed) {
    Settings settings;
    settings.seed[0] = 3.1;
    settings.seed[1] = 3.2;
    settings.byGridLine = 0;
    const Grid grid = run(heightField(6, 6, [](double, double) { return 0.0; }), settings);
    ASSERT_EQ(grid.status, DRAPE_OK);
    Curve curve;
    for (const Place& place : {Place{1.5, 1.4, 0.0}, Place{2.6, 1.7, 0.0}, Place{4.4, 1.3, 0.0},
                               Place{4.7, 3.8, 0.0}, Place{3.3, 4.6, 0.0}, Place{1.2, 4.1, 0.0}})
        addPoint(curve, place);
    const Curve before = curve;
    transfer(grid, curve);
    EXPECT_EQ(curve.status, DRAPE_OK);
    EXPECT_EQ(curve.points, before.points) << "nothing is turned";
    expectAt(curve, 0, -1.6, -1.8);
    expectAt(curve, 1, -0.5, -1.5);
    expectAt(curve, 2, 1.3, -1.9);
    expectAt(curve, 3, 1.6, 0.6);
    expectAt(curve, 4, 0.2, 1.4);
    expectAt(curve, 5, -1.9, 0.9);
}

struct Plate {
    const char* name;
    std::function<bool(int, int)> present;
    double x, y, radius; // of the curve, a circle
};

// On a plate the pattern goes on beyond the cloth, so the offset from the seed holds out there as well, and
// on both sides of a cut.
TEST(WholeRoad, ACurveLeavesTheClothAndComesBackAndCrossesCuts) {
    const auto whole = [](int, int) { return true; };
    const auto notch = [](int x, int y) { return x != 3 || y > 3; };
    const auto slit = [](int x, int y) { return x != 12 || y < 5 || y > 10; };
    Settings settings;
    settings.seed[0] = 8.1;
    settings.seed[1] = 8.2;
    settings.stepA = 0.75;
    settings.stepB = 0.5;
    for (const Plate& plate :
         {Plate{"over the rim", whole, 14.0, 8.0, 3.0}, Plate{"far away", whole, 20.0, 8.0, 8.0},
          Plate{"notch", notch, 3.5, 3.0, 3.0}, Plate{"slit", slit, 12.5, 7.7, 3.0}}) {
        const Grid grid = run(heightField(
                                  16, 16, [](double, double) { return 0.0; }, plate.present),
                              settings);
        ASSERT_EQ(grid.status, DRAPE_OK) << plate.name;
        Curve curve = circle(80, plate.x, plate.y, plate.radius);
        const Curve before = curve;
        transfer(grid, curve);
        ASSERT_EQ(curve.status, DRAPE_OK) << plate.name;
        ASSERT_EQ(curve.points, before.points) << plate.name;
        for (std::size_t i = 0; i < 80; ++i)
            expectAt(curve, i, before.points[3 * i] - 8.1, before.points[3 * i + 1] - 8.2);
        EXPECT_FALSE(HasFailure()) << plate.name;
    }
}

TEST(TriangleMapping, KeepsBarycentricCoordinates) {
    const double source[9] = {0.0, 0.0, 0.0, 2.0, 0.0, 0.0, 0.0, 4.0, 0.0};
    const double target[9] = {1.0, 1.0, 1.0, 4.0, 1.0, 1.0, 1.0, 1.0, 7.0};
    const auto map = [&](const Place& point) {
        Place mapped = {nan, nan, nan};
        std::int32_t status = -1;
        EXPECT_EQ(nptfpt(source, target, point.data(), mapped.data(), &status), 0);
        EXPECT_EQ(status, DRAPE_OK);
        return mapped;
    };
    EXPECT_EQ(map({0.0, 0.0, 0.0}), (Place{1.0, 1.0, 1.0}));
    EXPECT_EQ(map({2.0, 0.0, 0.0}), (Place{4.0, 1.0, 1.0}));
    EXPECT_EQ(map({0.0, 4.0, 9.0}), (Place{1.0, 1.0, 7.0})) << "off the plane: its foot counts";
    EXPECT_EQ(map({-1.0, 6.0, 0.0}), (Place{-0.5, 1.0, 10.0})) << "outside: nothing is clamped";
}

TEST(TriangleMapping, ASourceWithoutAreaIsRefusedAndATargetWithoutIsNot) {
    const double flat[9] = {0.0, 0.0, 0.0, 1.0, 1.0, 1.0, 2.0, 2.0, 2.0};
    const double odd[9] = {0.0, 0.0, 0.0, nan, 0.0, 0.0, 0.0, 4.0, 0.0};
    const double sliver[9] = {0.0, 0.0, 0.0, 1.0, 0.0, 0.0, 0.0, 1e-100, 0.0};
    const Place point = {0.5, 0.0, 0.0};
    Place mapped = {3.0, 4.0, 5.0};
    std::int32_t status = -1;
    for (const double* source : {flat, odd}) {
        EXPECT_EQ(nptfpt(source, sliver, point.data(), mapped.data(), &status), 1);
        EXPECT_EQ(status, DRAPE_SOURCE_TRIANGLE_FLAT);
        EXPECT_EQ(mapped, (Place{3.0, 4.0, 5.0}));
    }
    EXPECT_EQ(nptfpt(sliver, flat, point.data(), mapped.data(), &status), 0);
    EXPECT_EQ(mapped, (Place{0.5, 0.5, 0.5}));
}

} // namespace
