// Row building: the pivot, the new row, the crossings of its cell edges with the boundary, the statuses of
// its nodes, and the one-sided rule of side fronts.
#include "lattice.h"

#include <gtest/gtest.h>

namespace {

using namespace drape_test;

// Pivot and new row.

struct Row {
    std::int32_t result = 9, status = 9, first = 0;
    Front record;
};
Row buildRow(Lattice& model, std::int32_t front) {
    Row row;
    row.record.fill(55);
    row.first = model.grid.count + 1;
    row.result = gzprnf(&front, model.work.data(), row.record.data(), &row.status);
    return row;
}

TEST(NewRow, GrowsFromThePivotToBothSidesInAllDirections) {
    for (std::int32_t d = 1; d <= 4; ++d)
        for (int pivot = 0; pivot < 4; ++pivot) {
            Lattice model(4);
            const std::int32_t front = model.addOuterFront(d);
            model.front(front)[DRAPE_FRONT_PIVOT_REQUEST] = model.node(d, 3, pivot);
            const Row row = buildRow(model, front);
            ASSERT_EQ(row.result, 0);
            ASSERT_EQ(model.grid.count, 20);
            EXPECT_EQ(row.record, (Front{d, model.link(d, model.node(d, 3, 0)), 4, 0, 0, 0, 0, 0, 0, 0}));
            EXPECT_EQ(model.link(oppositeOf(d), row.first), model.node(d, 3, pivot));
            std::int32_t n = row.record[DRAPE_FRONT_FIRST_NODE];
            for (int p = 0; p < 4; ++p, n = model.link(nextOf(d), n)) {
                EXPECT_EQ(model.link(oppositeOf(d), n), model.node(d, 3, p));
                const Point expected = latticePoint(4, d, 4, p);
                EXPECT_NEAR(model.position(n)[0], expected[0], 1e-12);
                EXPECT_NEAR(model.position(n)[1], expected[1], 1e-12);
                // Directions 1 and 4 go to their end first, 2 and 3 to their start.
                const bool endFirst = d == 1 || d == 4;
                const int order = p == pivot ? 0
                                  : (p > pivot) == endFirst
                                      ? std::abs(p - pivot)
                                      : (endFirst ? 3 - pivot : pivot) + std::abs(p - pivot);
                EXPECT_EQ(n, row.first + order)
                    << "direction " << d << " pivot " << pivot << " position " << p;
            }
        }
}

TEST(NewRow, LeavesAnEmptyRecordWhereItCannotStart) {
    Lattice model(4);
    const std::int32_t front = model.addOuterFront(1);
    model.front(front)[DRAPE_FRONT_PIVOT_REQUEST] = model.node(1, 0, 0);
    const Row row = buildRow(model, front);
    EXPECT_EQ(row.result, 1);
    EXPECT_EQ(row.status, DRAPE_PIVOT_NOT_IN_ROW);
    EXPECT_EQ(row.record, Front{});
    EXPECT_EQ(model.grid.count, 16);
}

// The pivot of a front on the outermost row, as position from 1. `line` is the position on the grid line
// through the seed, 0 for none; `sheared` moves that inner node's neighbours behind so that its cells shear.
struct PivotCase {
    const char* statuses;
    std::int32_t request; // -1, -2, or a position from 1
    int line;
    const char* sheared; // one digit per node: '1' for a row of cells out of square behind it
    int byShear, byLine;
};

TEST(Pivot, IsChosenByShearByGridLineOrByRequest) {
    const PivotCase cases[] = {
        {"00000", 0, 0, "00000", 2, 3}, // the first of equally square cells; the middle
        {"0000", 0, 0, "0000", 2, 3},   // the upper of two middles
        {"00", 0, 0, "00", 2, 2},       // too short for a cell on both sides
        {"0", 0, 0, "0", 1, 1},
        {"00000", 0, 4, "00000", 2, 4}, // on the line through the seed
        {"00000", 0, 0, "01000", 3, 3}, // the first that isn't sheared
        {"00000", 0, 0, "01100", 4, 3},
        {"00100", 0, 1, "00000", 5, 1}, // the cell in the middle, moved to the last open node
        {"10101", 0, 2, "00000", 4, 2},
        {"11011", 0, 1, "00000", 3, 3}, // moved to the open node
        {"12221", 0, 2, "00000", 2, 2}, // no open node to move to
        {"00000", -1, 3, "00000", 1, 1},
        {"11111", -2, 3, "00000", 5, 5}, // a request is never moved
        {"00100", 3, 1, "00000", 3, 3},
        {"00/00", 0, 3, "00000", 3, 3}, // a status above 0 is left alone
    };
    for (std::int32_t d = 1; d <= 4; ++d)
        for (const PivotCase& c : cases)
            for (const std::int32_t byLine : {0, 1}) {
                const std::string statuses = c.statuses;
                SCOPED_TRACE("direction " + std::to_string(d) + " case " + std::to_string(&c - cases));
                Settings settings;
                settings.byGridLine = byLine;
                Lattice model(5, {}, settings);
                const int length = static_cast<int>(statuses.size());
                setStatuses(model, d, 4, statuses);
                const bool alongI = d == 1 || d == 3; // then the line is where nodeJ is 0
                std::vector<std::int32_t> nodes;
                for (int p = 0; p < length; ++p) {
                    const std::int32_t n = model.node(d, 4, p), back = model.node(d, 3, p);
                    nodes.push_back(n);
                    const auto k = static_cast<std::size_t>(n - 1);
                    model.grid.nodeI[k] = alongI ? 7 : p + 1 - c.line + (c.line == 0 ? 50 : 0);
                    model.grid.nodeJ[k] = alongI ? p + 1 - c.line + (c.line == 0 ? 50 : 0) : 7;
                    if (c.sheared[p] == '1') { // along the row, and nearer, as cell sides keep their length
                        model.position(back)[alongI ? 1 : 0] += 0.6;
                        model.position(back)[alongI ? 0 : 1] += d == 1 || d == 4 ? 0.2 : -0.2;
                    }
                }
                const std::int32_t request =
                    c.request > 0 ? nodes[static_cast<std::size_t>(c.request - 1)] : c.request;
                const std::int32_t front = model.addFront(d, nodes[0], length);
                model.front(front)[DRAPE_FRONT_PIVOT_REQUEST] = request;
                if (byLine == 0) {
                    std::int32_t pivot = 9, status = 9;
                    EXPECT_EQ(uzprpi(nodes.data(), &length, &d, &request, &pivot, &status), 0);
                    EXPECT_EQ(pivot, c.byShear);
                }
                const Row row = buildRow(model, front);
                const int expected = byLine == 0 ? c.byShear : c.byLine;
                EXPECT_EQ(model.link(oppositeOf(d), row.first),
                          nodes[static_cast<std::size_t>(expected - 1)]);
            }
    Lattice model(3);
    const std::int32_t nodes[] = {1, 2}, none = 0, two = 2, one = 1, last = -2, foreign = 7;
    std::int32_t pivot = 9, status = 9;
    EXPECT_EQ(uzprpi(nodes, &two, &one, &foreign, &pivot, &status), 1);
    EXPECT_EQ(status, DRAPE_PIVOT_NOT_IN_ROW);
    EXPECT_EQ(pivot, 0);
    EXPECT_EQ(uzprpi(nodes, &none, &one, &last, &pivot, &status), 0);
    EXPECT_EQ(pivot, 1);
    // A list that begins with no node: the second has nothing before it, so it is the third that is square.
    Lattice wide(5);
    const std::int32_t row[] = {0, wide.node(4, 1, 1), wide.node(4, 1, 2), wide.node(4, 1, 3),
                                wide.node(4, 1, 4)};
    const std::int32_t length = 5, upward = 4;
    EXPECT_EQ(uzprpi(row, &length, &upward, &none, &pivot, &status), 0);
    EXPECT_EQ(pivot, 4);
}

// Crossings.

struct Crossed {
    std::int32_t result = 9, count = 9, status = 9;
};
Crossed crossings(const Point& a, const Point& b, double step, bool offSurface = false) {
    Crossed c;
    const std::int32_t off = offSurface ? -1 : 0;
    c.result = uzprxb(a.data(), b.data(), &step, &off, &c.count, &c.status);
    return c;
}

TEST(Crossings, OfLevelSegmentsAreTheCrossingsOfTheDrawing) {
    Random random(21);
    const auto side = [](double px, double py, double qx, double qy, double x, double y) {
        return (qx - px) * (y - py) - (qy - py) * (x - px);
    };
    for (int k = 0; k < 300; ++k) {
        std::vector<Fence> ring(static_cast<std::size_t>(3 + random.below(7)));
        for (Fence& f : ring)
            f = {random.between(0, 3), random.between(0, 3), 0, 0};
        for (std::size_t e = 0; e < ring.size(); ++e) {
            ring[e].x1 = ring[(e + 1) % ring.size()].x0;
            ring[e].y1 = ring[(e + 1) % ring.size()].y0;
        }
        Settings settings;
        settings.tolerance = 1e-9;
        settings.capacity = 20;
        Lattice model(3, ring, settings);
        for (int j = 0; j < 20; ++j) {
            const Point a = {random.between(0, 3), random.between(0, 3), 0},
                        b = {random.between(0, 3), random.between(0, 3), 0};
            int expected = 0;
            for (const Fence& f : ring)
                expected +=
                    side(a[0], a[1], b[0], b[1], f.x0, f.y0) * side(a[0], a[1], b[0], b[1], f.x1, f.y1) < 0 &&
                            side(f.x0, f.y0, f.x1, f.y1, a[0], a[1]) *
                                    side(f.x0, f.y0, f.x1, f.y1, b[0], b[1]) <
                                0
                        ? 1
                        : 0;
            ASSERT_EQ(crossings(a, b, 1.0).count, expected) << k << ' ' << j;
        }
    }
}

TEST(Crossings, CountNearTheBoundaryOnceAtItsVerticesAndTenAtMost) {
    const Point left = {0.5, 1, 0}, right = {1.5, 1, 0};
    const auto lifted = [](Point p, double z) { return Point{p[0], p[1], z}; };
    {
        Lattice model(3, {{1, 0.2, 1, 1.7}});
        EXPECT_EQ(crossings(left, right, 1.0).count, 1);
        EXPECT_EQ(crossings(right, left, 1.0).count, 1);
        EXPECT_EQ(crossings(lifted(left, 0.4), lifted(right, 0.4), 1.0).count, 1);
        EXPECT_EQ(crossings(lifted(left, -0.5), lifted(right, -0.5), 1.0).count, 0); // half a cell away
        EXPECT_EQ(crossings(lifted(left, 0.5), lifted(right, 0.5), 1.0, true).count, 1);
        EXPECT_EQ(crossings(lifted(left, 1.5), lifted(right, 1.5), 1.0, true).count, 0); // out of the box
        EXPECT_EQ(crossings({0.4, 1, 0}, {0.9, 1, 0}, 1.0).count, 0);
        EXPECT_EQ(crossings({0.4, 1, 0}, {1.0, 1, 0}, 1.0).count, 1); // a ruling through the segment's end
    }
    for (const bool first : {true, false}) { // through a shared vertex, at the closing one too
        const Fence low = {1, 0, 1, 1}, high = {1, 1, 1, 2};
        Lattice model(3, {first ? low : high, first ? high : low});
        EXPECT_EQ(crossings(left, right, 1.0).count, 1);
    }
    {
        Lattice model(3, {{1, 0, 1, 1}, {1.2, 2, 1.2, 1}}); // ends that only lie side by side
        EXPECT_EQ(crossings(left, right, 1.0).count, 2);
    }
    std::vector<Fence> comb;
    for (int k = 0; k < 11; ++k) {
        EXPECT_EQ(comb.size(), static_cast<std::size_t>(k));
        Lattice model(3, comb);
        EXPECT_EQ(crossings(left, right, 1.0).count, k);
        comb.push_back({0.55 + 0.08 * k, 0.5, 0.55 + 0.08 * k, 1.5});
    }
    Lattice model(3, comb);
    const Crossed tooMany = crossings(left, right, 1.0);
    EXPECT_EQ(tooMany.result, 1);
    EXPECT_EQ(tooMany.status, DRAPE_TOO_MANY_CROSSINGS);
    EXPECT_EQ(tooMany.count, 0);
}

TEST(Crossings, OfOneStrip) {
    struct Case {
        const char* name;
        Point a, b, p, np, q, nq;
        std::int32_t count, kind1, kind2, status;
        double distance;
    };
    const Point x = {1, 0, 0}, z = {0, 0, 1};
    const double h = std::sqrt(0.5);
    const Case cases[] = {
        {"middle", {-1, 0, 0.2}, {1, 0, 0.2}, {0, -1, 0}, z, {0, 1, 0}, z, 1, 3, 0, 0, 0.2},
        {"start", {-1, -1, 0}, {1, -1, 0}, {0, -1, 0}, z, {0, 1, 0}, z, 1, 1, 0, 0, 0.0},
        {"end", {-1, 1, -3}, {1, 1, -3}, {0, -1, 0}, z, {0, 1, 0}, z, 1, 2, 0, 0, 3.0},
        {"beyond", {-1, 1.1, 0}, {1, 1.1, 0}, {0, -1, 0}, z, {0, 1, 0}, z, 0, 0, 0, 0, 0},
        {"short", {-1, 0, 0}, {-0.1, 0, 0}, {0, -1, 0}, z, {0, 1, 0}, z, 0, 0, 0, 0, 0},
        {"along", {0, -2, 0}, {0, 2, 0}, {0, -1, 0}, z, {0, 1, 0}, z, 0, 0, 0, 0, 0},
        {"leaning", {-1, 0, 0}, {1, 0, 0}, {0, -1, 0.5}, {h, 0, h}, {0, 1, 0.5}, {h, 0, h}, 1, 3, 0, 0, h},
        {"twisted, twice",
         {0.25, -0.9, -0.9},
         {0.25, 0.9, 0.9},
         {0, -1, 0},
         {-h, 0, h},
         {0, 1, 0},
         {h, 0, h},
         2,
         3,
         3,
         0,
         0.5 * std::sqrt(1.25)},
        // The roots lie where the square of a place along the edge, from -1 to 1, is the segment's x.
        {"twisted, all but once",
         {5.8e-8, -0.9, -0.9},
         {5.8e-8, 0.9, 0.9},
         {0, -1, 0},
         {-h, 0, h},
         {0, 1, 0},
         {h, 0, h},
         2,
         3,
         3,
         0,
         std::sqrt(5.8e-8 * (1.0 + 5.8e-8))},
        {"twisted, once",
         {3e-8, -0.9, -0.9},
         {3e-8, 0.9, 0.9},
         {0, -1, 0},
         {-h, 0, h},
         {0, 1, 0},
         {h, 0, h},
         1,
         3,
         0,
         0,
         0.0},
        {"no longer than the tolerance",
         {-1, 0, 0.2},
         {1, 0, 0.2},
         {0, -4e-7, 0},
         z,
         {0, 4e-7, 0},
         z,
         1,
         1,
         0,
         0,
         0.2},
        {"ruling along the segment",
         {-0.5, 0, 0},
         {0.5, 0, 0},
         {0, -1, 0},
         x,
         {0, 1, 0},
         z,
         1,
         3,
         0,
         9,
         0.0}};
    for (const Case& c : cases) {
        const double tolerance = 1e-6;
        std::int32_t count = 9, kinds[2] = {9, 9}, status = 9;
        double distance[2] = {-1, -1};
        const std::int32_t result = npxseb(c.a.data(), c.b.data(), c.p.data(), c.np.data(), c.q.data(),
                                           c.nq.data(), &tolerance, &count, distance, kinds, &status);
        EXPECT_EQ(status, c.status) << c.name;
        EXPECT_EQ(result, c.status == 0 ? 0 : 1) << c.name;
        if (c.status == 0) {
            EXPECT_EQ(count, c.count) << c.name;
            EXPECT_EQ(kinds[0], c.kind1) << c.name;
            EXPECT_EQ(kinds[1], c.kind2) << c.name;
            if (c.count > 0) {
                EXPECT_NEAR(distance[0], c.distance, 1e-9) << c.name;
            }
        }
    }
}

TEST(Crossings, OfARowGoToTheirPlaces) {
    for (std::int32_t d = 1; d <= 4; ++d) {
        std::vector<Fence> fences = {rowFence(4, d, 2, 1), backFence(4, d, 2, 0), backFence(4, d, 2, 3),
                                     rowFence(4, d, 2, 2)};
        for (std::size_t k = 0; k < 2; ++k) { // a second fence beside the last one
            fences.push_back(fences.back());
            fences.back().x0 += 0.05, fences.back().x1 += 0.05, fences.back().y0 += 0.05,
                fences.back().y1 += 0.05;
        }
        fences.pop_back();
        Lattice model(4, fences);
        const Front row = {d, model.node(d, 2, 0), 4};
        std::int32_t nodes[4], across[3], back[4], status = 9;
        ASSERT_EQ(gzpric(row.data(), nodes, across, back, &status), 0);
        for (int p = 0; p < 4; ++p)
            EXPECT_EQ(nodes[p], model.node(d, 2, p));
        EXPECT_EQ(std::vector<std::int32_t>(across, across + 3), (std::vector<std::int32_t>{0, 1, 2})) << d;
        EXPECT_EQ(std::vector<std::int32_t>(back, back + 4), (std::vector<std::int32_t>{1, 0, 0, 1})) << d;
        // Lifted by more than half a cell, only a row off the surface still meets the fences.
        for (std::int32_t n = 1; n <= 16; ++n)
            model.position(n)[2] = 0.7;
        for (const bool off : {false, true}) {
            if (off)
                model.triangle(model.node(d, 2, 1)) = 0;
            ASSERT_EQ(gzpric(row.data(), nodes, across, back, &status), 0);
            EXPECT_EQ(std::vector<std::int32_t>(across, across + 3),
                      (std::vector<std::int32_t>{0, off ? 1 : 0, 0}));
            EXPECT_EQ(back[0], 0);
        }
    }
}

// Statuses.

TEST(Classification, FollowsFromBehindAndAlongTheRow) {
    struct Case {
        const char *behind, *back, *across, *off, *expected; // off: '1' for a node off the surface
    };
    const Case cases[] = {{"0000", "0000", "000", "0000", "0000"},
                          {"0", "0", "", "0", "0"},
                          {"1", "0", "", "0", "1"},
                          {"3", "0", "", "0", "0"},                     // a cut node behind counts as open
                          {"0", "0", "", "1", "1"},                     // off the surface
                          {"01110", "00000", "0000", "00000", "00100"}, // one node opens at each side
                          {"0111", "0000", "100", "0000", "0111"},      // not across a crossing
                          {"000", "010", "00", "000", "000"},           // opened along the row
                          {"000", "020", "00", "000", "020"},           // across a gap
                          {"000", "020", "11", "000", "010"},           // not reachable along the row
                          {"030", "020", "00", "000", "000"},           // no gap over a cut node
                          {"000", "030", "00", "000", "000"},           // three crossings are no gap
                          {"000", "020", "00", "010", "010"},           // off the surface wins
                          {"2000", "0000", "100", "0000", "1000"}};
    for (std::int32_t d = 1; d <= 4; ++d)
        for (const Case& c : cases) {
            Lattice model(5);
            const std::string behind = c.behind;
            const int length = static_cast<int>(behind.size());
            setStatuses(model, d, 1, behind);
            for (int p = 0; p < length; ++p) {
                model.status(model.node(d, 2, p)) = 44;
                if (c.off[p] == '1')
                    model.triangle(model.node(d, 2, p)) = 0;
            }
            const Front row = {d, model.node(d, 2, 0), length};
            const std::int32_t side = 1;
            std::int32_t status = 9;
            EXPECT_EQ(gzprip(row.data(), &side, counts(c.across).data(), counts(c.back).data(), &status), 0);
            EXPECT_EQ(status, 0);
            for (int p = 0; p < length; ++p)
                EXPECT_EQ(model.status(model.node(d, 2, p)), statusOf(c.expected[p]))
                    << "direction " << d << " case " << &c - cases << " position " << p + 1;
        }
}

// Long rows, with links that lead one way only, against the seven passes over a list.
TEST(Classification, OfLongRowsIsThatOfAList) {
    Random random(5);
    for (const std::int32_t length : {63, 64, 65, 66, 130, 200})
        for (std::int32_t d = 1; d <= 4; ++d) {
            Lattice model(
                20); // 400 nodes: the first ones are the row, and each has one of the others behind it
            std::vector<std::int32_t> across, back, expected;
            for (std::int32_t n = 1; n <= length; ++n) {
                across.push_back(random.below(3) == 0 ? 1 : 0);
                back.push_back(random.below(4));
                model.link(nextOf(d), n) = n + 1;
                model.link(previousOf(d), n) = 0;
                model.link(oppositeOf(d), n) = n + 200;
                model.status(n + 200) = random.below(3) == 0 ? DRAPE_NODE_CUT : DRAPE_NODE_OPEN;
                expected.push_back(back.back() == 0 ? DRAPE_NODE_OPEN : DRAPE_NODE_UNDECIDED);
            }
            const auto take = [&](std::size_t to, std::size_t from, std::size_t edge) {
                if (expected[to] == DRAPE_NODE_UNDECIDED && across[edge] == 0)
                    expected[to] = expected[from];
            };
            const auto last = static_cast<std::size_t>(length - 1);
            for (std::size_t i = 0; i < last; ++i)
                take(i, i + 1, i);
            for (std::size_t i = last; i > 0; --i)
                take(i, i - 1, i - 1);
            const Front row = {d, 1, length};
            const std::int32_t side = 0;
            std::int32_t status = 9;
            ASSERT_EQ(gzprip(row.data(), &side, across.data(), back.data(), &status), 0);
            for (std::int32_t n = 1; n <= length; ++n) {
                const auto i = static_cast<std::size_t>(n - 1);
                const bool gap = back[i] == 2 && model.status(n + 200) == DRAPE_NODE_OPEN;
                ASSERT_EQ(model.status(n), expected[i] != DRAPE_NODE_OPEN ? DRAPE_NODE_CLOSED
                                           : gap                          ? DRAPE_NODE_ACROSS_GAP
                                                                          : DRAPE_NODE_OPEN)
                    << "length " << length << " direction " << d << " position " << n;
            }
        }
}

// The row of a front of five or fewer nodes, with fences where '1' stands.
TEST(Completion, SideFrontsAreWalkedFromOneEnd) {
    struct Case {
        const char *front, *across, *back;
        std::int32_t sideFlag;
        const char* expected;
    };
    const Case cases[] = {
        {"0000", "000", "0000", 0, "0000"},
        {"0000", "000", "0100", 0, "0000"},
        {"0", "", "0", 1, "0"}, // start and end at once
        {"3", "", "0", 1, "1"},
        {"1", "", "0", 1, "1"},
        {"00", "0", "00", 1, "01"}, // from the last node; the first opens
        {"10", "0", "00", 1, "11"},
        {"0000", "000", "0000", 1, "0111"},
        {"0000", "010", "0000", 1, "0011"}, // a crossing opens the walk
        {"0000", "110", "0000", 1, "1011"}, // a second one closes it
        {"0000", "010", "1000", 1, "1011"}, // so does one behind
        {"0000", "010", "0100", 1, "1111"}, // on the same node too, and nothing opens the far end any more
        {"0000", "000", "0001", 1, "0111"}, // behind the start itself nothing is looked at
        {"3000", "000", "0000", 1, "1110"}, // from the first node
        {"3001", "000", "0000", 1, "1111"},
        {"3000", "010", "0000", 1, "1100"},
        {"3000", "010", "0010", 1, "1111"},
        {"3000", "101", "0000", 1, "1001"},
        {"30000", "0100", "00010", 1, "11011"}, // any length
        {"00000", "0000", "00000", 1, "01111"}};
    for (std::int32_t d = 1; d <= 4; ++d)
        for (const Case& c : cases) {
            SCOPED_TRACE("direction " + std::to_string(d) + " case " + std::to_string(&c - cases));
            const std::string statuses = c.front, across = c.across, back = c.back;
            std::vector<Fence> fences;
            for (std::size_t p = 0; p < across.size(); ++p)
                if (across[p] == '1')
                    fences.push_back(rowFence(5, d, 5, double(p)));
            for (std::size_t p = 0; p < back.size(); ++p)
                if (back[p] == '1')
                    fences.push_back(backFence(5, d, 5, double(p)));
            Lattice model(5, fences);
            setStatuses(model, d, 4, statuses);
            const int length = static_cast<int>(statuses.size());
            const std::int32_t front = model.addFront(d, model.node(d, 4, 0), length);
            model.front(front)[DRAPE_FRONT_SIDE_FLAG] = c.sideFlag;
            Front row{};
            std::vector<std::int32_t> nodes(5), rowCrossings(5), backCrossings(5);
            std::int32_t status = 9;
            ASSERT_EQ(
                gzprpf(&front, row.data(), nodes.data(), rowCrossings.data(), backCrossings.data(), &status),
                0);
            EXPECT_EQ(row[DRAPE_FRONT_LENGTH], length);
            for (std::size_t p = 0; p < across.size(); ++p)
                EXPECT_EQ(rowCrossings[p], across[p] - '0');
            for (std::size_t p = 0; p < back.size(); ++p) {
                EXPECT_EQ(backCrossings[p], back[p] - '0');
                EXPECT_EQ(model.status(nodes[p]), statusOf(c.expected[p])) << "position " << p + 1;
            }
        }
}

} // namespace
