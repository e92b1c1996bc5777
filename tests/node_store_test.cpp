// Model, node store and front table: how nodes come into being and how fronts are listed.
#include "lattice.h"

#include <gtest/gtest.h>

#include <limits>

namespace {

using namespace drape_test;

// Stores a node at `where`, wired from up to two nodes.
std::int32_t storeNode(PlainModel& model, const Point& where, const Point& normal, std::int32_t triangle,
                       std::int32_t linkCount, std::int32_t d1 = 0, std::int32_t n1 = 0, std::int32_t d2 = 0,
                       std::int32_t n2 = 0) {
    return uzprsp(where.data(), normal.data(), &triangle, &linkCount, &d1, &n1, &d2, &n2, &model.grid.status);
}

const Point UP = {0.0, 0.0, 1.0};

TEST(NodeStore, NewNodesTakeTheirPlaceInTheGridFromTheFirstNeighbour) {
    Settings settings;
    settings.stepA = 0.9;
    settings.stepB = 0.4;
    settings.capacity = 40;
    const int step[5][2] = {{}, {1, 0}, {0, -1}, {-1, 0}, {0, 1}};
    for (std::int32_t d = 1; d <= 4; ++d) {
        Lattice model(3, {}, settings);
        const std::int32_t from = model.node(d, 2, 1), other = model.node(d, 0, 0);
        model.settings.stepA = 100.0; // registered by value
        model.status(10) = 55;
        ASSERT_EQ(storeNode(model, {7, 8, 9}, UP, 3, 2, d, from, nextOf(d), other), 0);
        ASSERT_EQ(model.grid.count, 10);
        EXPECT_EQ(model.grid.nodeI[9], model.grid.nodeI[static_cast<std::size_t>(from - 1)] + step[d][0]);
        EXPECT_EQ(model.grid.nodeJ[9], model.grid.nodeJ[static_cast<std::size_t>(from - 1)] + step[d][1]);
        EXPECT_EQ(model.grid.nodeFlat[18], model.grid.nodeI[9] * 0.9);
        EXPECT_EQ(model.grid.nodeFlat[19], model.grid.nodeJ[9] * 0.4);
        EXPECT_EQ(model.link(d, from), 10);
        EXPECT_EQ(model.link(oppositeOf(d), 10), from);
        EXPECT_EQ(model.link(nextOf(d), other), 10);
        EXPECT_EQ(model.link(previousOf(d), 10), other);
        EXPECT_EQ(model.link(d, 10), 0);
        EXPECT_EQ(model.link(nextOf(d), 10), 0);
        EXPECT_EQ(model.triangle(10), 3);
        EXPECT_EQ(model.position(10)[1], 8.0);
        EXPECT_EQ(model.status(10), 55); // left to whoever makes the node

        ASSERT_EQ(storeNode(model, {1, 1, 1}, UP, 0, 1, d, 10), 0);
        EXPECT_EQ(model.link(oppositeOf(d), 11), 10);
        EXPECT_EQ(model.link(previousOf(d), 11), 0);
        ASSERT_EQ(storeNode(model, {1, 1, 1}, UP, 0, 0), 0);
        EXPECT_EQ(model.grid.nodeI[11], 0);
        EXPECT_EQ(model.grid.nodeFlat[22], 0.0);
        // Counts that aren't foreseen: below none there is none, above two the first alone.
        ASSERT_EQ(storeNode(model, {1, 1, 1}, UP, 0, -1, d, 10), 0);
        EXPECT_EQ(model.grid.nodeI[12], 0);
        EXPECT_EQ(model.link(oppositeOf(d), 13), 0);
        ASSERT_EQ(storeNode(model, {1, 1, 1}, UP, 0, 3, d, 11, nextOf(d), 12), 0);
        EXPECT_EQ(model.link(oppositeOf(d), 14), 11);
        EXPECT_EQ(model.link(previousOf(d), 14), 0);
    }
}

TEST(NodeStore, RefusesBadNeighboursFullStoresAndNormals) {
    Settings settings;
    settings.capacity = 9;
    Lattice model(3, {}, settings);
    const Grid before = model.grid;
    for (const std::int32_t bad : {0, -1, 10}) { // the neighbours are looked at before the room
        EXPECT_EQ(storeNode(model, {}, UP, 0, 1, 1, bad), 1);
        EXPECT_EQ(model.grid.status, DRAPE_BAD_PREVIOUS_NODE_1);
        EXPECT_EQ(storeNode(model, {}, UP, 0, 2, 1, 1, 1, bad), 1);
        EXPECT_EQ(model.grid.status, DRAPE_BAD_PREVIOUS_NODE_2);
    }
    EXPECT_EQ(storeNode(model, {}, UP, 0, 2, 1, 1, 1, 2), 1);
    EXPECT_EQ(model.grid.status, DRAPE_NODES_FULL);
    model.grid.status = 0;
    EXPECT_EQ(firstDifference(model.grid, before), "");

    settings.capacity = 12;
    Lattice roomy(3, {}, settings);
    const auto length = [](double squared) { return Point{0.0, std::sqrt(squared), 0.0}; };
    for (const double fits : {1.0029, 0.9971, std::numeric_limits<double>::quiet_NaN()}) {
        EXPECT_EQ(storeNode(roomy, {}, length(fits), 0, 0), 0) << fits;
        roomy.grid.count = 9;
    }
    for (const double off : {1.0031, 0.9969, 0.0}) {
        roomy.grid.nodeTri[9] = 44;
        EXPECT_EQ(storeNode(roomy, {5, 0, 0}, length(off), 7, 1, 1, 3), 1) << off;
        EXPECT_EQ(roomy.grid.status, DRAPE_NORMAL_NOT_UNIT);
        EXPECT_EQ(roomy.grid.count, 10); // half made
        EXPECT_EQ(roomy.position(10)[0], 5.0);
        EXPECT_EQ(roomy.triangle(10), 44);
        EXPECT_EQ(roomy.link(1, 3), 0);
        roomy.grid.count = 9;
    }
}

TEST(NodeStore, CopiesHaveAllOfTheirSourceAndNobodyPointsAtThem) {
    Settings settings;
    settings.capacity = 10;
    Lattice model(3, {}, settings);
    model.status(5) = DRAPE_NODE_CUT;
    std::int32_t source = 5, status = 99;
    ASSERT_EQ(uzprcp(&source, &status), 0);
    EXPECT_EQ(status, 0);
    ASSERT_EQ(model.grid.count, 10);
    for (std::int32_t d = 1; d <= 4; ++d) {
        EXPECT_EQ(model.link(d, 10), model.link(d, 5));
        EXPECT_EQ(model.link(oppositeOf(d), model.link(d, 5)), 5);
    }
    EXPECT_EQ(model.status(10), DRAPE_NODE_CUT);
    EXPECT_EQ(model.triangle(10), model.triangle(5));
    EXPECT_EQ(model.grid.nodeI[9], 1);
    EXPECT_EQ(model.grid.nodeFlat[18], model.grid.nodeFlat[8]);
    EXPECT_TRUE(std::equal(model.position(10), model.position(10) + 3, model.position(5)));
    EXPECT_TRUE(std::equal(model.normal(10), model.normal(10) + 3, model.normal(5)));
    for (const std::int32_t bad : {0, -4, 11, 10}) { // 10 exists, but the store is full
        EXPECT_EQ(uzprcp(&bad, &status), 1);
        EXPECT_EQ(status, DRAPE_NODE_NOT_COPIED);
        EXPECT_EQ(model.grid.count, 10);
    }
}

// The table against a plain list, through any sequence of insertions and removals.
TEST(FrontTable, KeepsTheOrderOfAList) {
    Settings settings;
    settings.capacity = 30;
    Lattice model(3, {}, settings);
    Random random(11);
    std::vector<Front> list;
    std::int32_t status = 0;
    for (std::int32_t stamp = 1; stamp <= 3000; ++stamp) {
        const auto size = static_cast<std::int32_t>(list.size());
        if (random.unit() < 0.52 && size < 30) {
            Front record;
            for (std::size_t k = 0; k < record.size(); ++k)
                record[k] = 10 * stamp + static_cast<std::int32_t>(k);
            const std::int32_t position = 1 + random.below(size + 1);
            ASSERT_EQ(uzpraf(record.data(), &position, &status), 0);
            list.insert(list.begin() + (position - 1), record);
        } else if (size > 0) {
            const std::int32_t position = 1 + random.below(size);
            ASSERT_EQ(uzprrf(&position, &status), 0);
            list.erase(list.begin() + (position - 1));
        }
        ASSERT_EQ(status, 0);
        ASSERT_EQ(model.frontCount, static_cast<std::int32_t>(list.size()));
        for (std::size_t k = 0; k < list.size(); ++k)
            ASSERT_TRUE(
                std::equal(list[k].begin(), list[k].end(), model.front(static_cast<std::int32_t>(k + 1))));
    }
}

TEST(FrontTable, RefusesPlacesOutsideAndOneRecordTooMany) {
    Settings settings;
    settings.capacity = 9;
    Lattice model(3, {}, settings);
    model.addFront(1, 3, 2);
    Front record{};
    std::int32_t status = 0;
    for (const std::int32_t bad : {0, -1, 3}) {
        model.frontCount = 1;
        EXPECT_EQ(uzpraf(record.data(), &bad, &status), 1);
        EXPECT_EQ(status, DRAPE_BAD_FRONT_POSITION);
        EXPECT_EQ(model.frontCount, 2);
        EXPECT_EQ(model.front(1)[DRAPE_FRONT_FIRST_NODE], 3);
    }
    model.frontCount = 9;
    const std::int32_t first = 1, far = 11;
    EXPECT_EQ(uzpraf(record.data(), &far, &status), 1);
    EXPECT_EQ(status, DRAPE_BAD_FRONT_POSITION); // the place is looked at first
    model.frontCount = 9;
    EXPECT_EQ(uzpraf(record.data(), &first, &status), 1);
    EXPECT_EQ(status, DRAPE_FRONTS_FULL);
    EXPECT_EQ(model.front(1)[DRAPE_FRONT_FIRST_NODE], 3);
}

TEST(FrontTable, DroppingARowFreesTheFrontAndNothingElse) {
    for (std::int32_t d = 1; d <= 4; ++d) {
        Lattice model(4);
        // The last three nodes of the store pass for the row built from three nodes of the first row.
        const std::int32_t position = model.addFront(d, model.node(d, 0, 1), 3);
        const Grid before = model.grid;
        uzprap(&position);
        EXPECT_EQ(model.grid.count, 13);
        EXPECT_EQ(model.frontCount, 1);
        int cleared = 0;
        for (std::int32_t n = 1; n <= 16; ++n)
            for (std::int32_t e = 1; e <= 4; ++e) {
                const std::vector<std::int32_t>* links[] = {&before.link1, &before.link2, &before.link3,
                                                            &before.link4};
                cleared += model.link(e, n) != (*links[e - 1])[static_cast<std::size_t>(n - 1)] ? 1 : 0;
            }
        EXPECT_EQ(cleared, 3);
        for (int p = 0; p < 4; ++p)
            EXPECT_EQ(model.link(d, model.node(d, 0, p)) == 0, p > 0);
    }
    Lattice model(4);
    const std::int32_t position = model.addFront(1, model.node(1, 0, 1), -1);
    const Grid before = model.grid;
    uzprap(&position); // the length is taken as it stands, and no node is freed
    EXPECT_EQ(model.grid.count, 17);
    EXPECT_EQ(model.grid.link1, before.link1);
}

} // namespace
