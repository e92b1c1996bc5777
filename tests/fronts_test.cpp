// Front maintenance: extension, defects, the trial row, the four repairs, segmentation and the six corners,
// each by direct calls on a lattice laid by hand. Fronts run in all four directions.
#include "lattice.h"

#include <gtest/gtest.h>

namespace {

using namespace drape_test;

Front frontAt(Lattice& model, std::int32_t position) {
    Front record;
    std::copy_n(model.front(position), record.size(), record.begin());
    return record;
}
std::vector<Front> table(Lattice& model) {
    std::vector<Front> list;
    for (std::int32_t k = 1; k <= model.frontCount; ++k)
        list.push_back(frontAt(model, k));
    return list;
}
Front record(std::int32_t direction, std::int32_t firstNode, std::int32_t length, std::int32_t pivot = 0,
             std::int32_t stepMode = 0, std::int32_t hold = 0, std::int32_t side = 0) {
    return {direction, firstNode, length, pivot, stepMode, hold, side, 0, 0, 0};
}
Settings roomFor(std::int32_t nodes) {
    Settings settings;
    settings.capacity = nodes;
    return settings;
}

// Extension.

TEST(Extension, GoesOverOpenNodesWithoutARow) {
    struct Case {
        const char *statuses, *taken; // taken: '1' for a node that has a row already
        int first, length, newFirst, newLength;
    };
    const Case cases[] = {
        {"00000", "00000", 3, 1, 1, 5}, {"00000", "00000", 1, 5, 1, 5},
        {"10001", "00000", 3, 1, 1, 5}, // a closed node joins as the outermost
        {"01010", "00000", 3, 1, 2, 3}, // and stops the walk
        {"02020", "00000", 3, 1, 2, 3}, {"03030", "00000", 3, 1, 1, 5}, // a cut node is passed
        {"00100", "00000", 3, 1, 3, 1},                                 // nothing joins beyond a closed end
        {"00000", "01010", 3, 1, 3, 1}, {"00000", "10000", 3, 1, 2, 4},
        {"00100", "00000", 2, 2, 1, 3}, {"0", "0", 1, 1, 1, 5}};
    for (std::int32_t d = 1; d <= 4; ++d)
        for (const Case& c : cases) {
            Lattice model(5);
            setStatuses(model, d, 4, c.statuses);
            for (int p = 0; c.taken[p] != 0; ++p)
                model.link(d, model.node(d, 4, p)) = c.taken[p] == '1' ? 1 : 0;
            const std::int32_t front = model.addFront(d, model.node(d, 4, c.first - 1), c.length);
            std::int32_t status = 9;
            model.grid.count = 1; // has no part in it
            EXPECT_EQ(gzpref(model.front(front), &status), 0);
            EXPECT_EQ(status, 0);
            EXPECT_EQ(frontAt(model, front), record(d, model.node(d, 4, c.newFirst - 1), c.newLength))
                << "direction " << d << " case " << &c - cases;
        }
}

TEST(Extension, FailsOnRowsThatEndTooSoonOrNever) {
    for (const bool ring : {false, true}) {
        Lattice model(4);
        const std::int32_t front = model.addFront(4, model.node(4, 3, 2), ring ? 1 : 3);
        if (ring) {
            model.link(1, model.node(4, 3, 3)) = model.node(4, 3, 0);
            model.link(3, model.node(4, 3, 0)) = model.node(4, 3, 3);
        }
        const Front before = frontAt(model, front);
        std::int32_t status = 0;
        EXPECT_EQ(gzpref(model.front(front), &status), 1);
        EXPECT_EQ(status, DRAPE_ROW_LINK_MISSING);
        EXPECT_EQ(frontAt(model, front), before);
    }
}

// Defects.

using Defects = std::array<std::int32_t, 10 * DRAPE_DEFECT_FIELDS>;

TEST(Defects, FirstOneOfARow) {
    struct Case {
        const char *row, *across, *behind;
        int kind, at;
    };
    const Case cases[] = {
        {"00000", "0111", "00000", 0, 0}, {"00000", "0030", "00000", 2, 3},
        {"00000", "0020", "00200", 0, 0}, // not over a node across a gap
        {"00000", "0020", "00020", 0, 0}, {"00100", "0000", "00000", 1, 3},
        {"10000", "0000", "00000", 0, 0},                                   // no node before it
        {"00001", "0000", "00000", 0, 0}, {"01100", "0000", "00000", 0, 0}, // two closed nodes are no defect
        {"02000", "9000", "00000", 3, 2}, {"02000", "0900", "00000", 4, 1}, // the smaller position goes first
        {"20000", "9000", "00000", 3, 1}, {"00022", "0000", "00000", 4, 3},
        {"00022", "0010", "00000", 0, 0}, // only over a free edge
        {"22222", "0000", "00000", 0, 0}, {"20010", "0000", "00000", 3, 1},
        {"01002", "0020", "00000", 1, 2}, {"0", "", "0", 0, 0}};
    for (std::int32_t d = 1; d <= 4; ++d)
        for (const Case& c : cases) {
            SCOPED_TRACE("direction " + std::to_string(d) + " case " + std::to_string(&c - cases));
            Lattice model(5);
            setStatuses(model, d, 2, c.row);
            setStatuses(model, d, 1, c.behind);
            const Front row = record(d, model.node(d, 2, 0), static_cast<int>(std::string(c.row).size()));
            std::array<std::int32_t, DRAPE_DEFECT_FIELDS> defect = {-5, -5, -5, -5, -5};
            std::int32_t flag = 9, status = 9;
            EXPECT_EQ(gzprde(row.data(), counts(c.across).data(), &flag, defect.data(), &status), 0);
            EXPECT_EQ(status, 0);
            EXPECT_EQ(flag, c.kind == 0 ? 0 : 1);
            const std::int32_t node = c.kind == 0 ? -5 : model.node(d, 1, c.at - 1);
            const std::int32_t nextNode = c.kind < 2 ? -5 : model.node(d, 1, c.at);
            EXPECT_EQ(defect,
                      (std::array<std::int32_t, 5>{c.kind == 0 ? -5 : c.kind, node, -5, nextNode, -5}));
        }
    Lattice model(3);
    for (const std::int32_t length : {1, 2}) { // one node has no pair, whatever its direction
        const Front row = record(5, 1, length);
        std::int32_t flag = 9, status = 9, defect[5] = {};
        EXPECT_EQ(gzprde(row.data(), counts("00").data(), &flag, defect, &status), length - 1);
        EXPECT_EQ(status, length == 2 ? DRAPE_BAD_ROW_DIRECTION : 0);
        EXPECT_EQ(flag, 0);
    }
}

// A gap in the row ahead of an outer front, between positions p and p + 1.
std::vector<Fence> gapAhead(int size, std::int32_t d, double p) {
    return {rowFence(size, d, size, p - 0.1), rowFence(size, d, size, p + 0.1)};
}

TEST(TrialRow, LooksAndLeavesNoTrace) {
    for (std::int32_t d = 1; d <= 4; ++d)
        for (const bool gap : {false, true}) {
            Lattice model(4, gap ? gapAhead(4, d, 1) : std::vector<Fence>{});
            const std::int32_t front = model.addOuterFront(d);
            model.front(front)[DRAPE_FRONT_SIDE_FLAG] = 1; // none of these has a part in it
            model.front(front)[DRAPE_FRONT_PIVOT_REQUEST] = 999;
            model.front(front)[DRAPE_FRONT_STEP_MODE] = 1;
            const Grid before = model.grid;
            const std::vector<Front> fronts = table(model);
            std::array<std::int32_t, DRAPE_DEFECT_FIELDS> defect = {-5, -5, -5, -5, -5};
            std::int32_t flag = 9, status = 9;
            ASSERT_EQ(gzprre(&front, &flag, defect.data(), &status), 0);
            EXPECT_EQ(flag, gap ? 1 : 0);
            const std::int32_t a = model.node(d, 3, 1), b = model.node(d, 3, 2);
            EXPECT_EQ(defect, gap ? (std::array<std::int32_t, 5>{2, a, -5, b, -5})
                                  : (std::array<std::int32_t, 5>{-5, -5, -5, -5, -5}));
            EXPECT_EQ(firstDifference(model.grid, before), "");
            EXPECT_EQ(table(model), fronts);

            // The row itself, before it is dropped: stepped node by node, in the order of the front.
            Front row{};
            std::int32_t nodes[4], across[3], back[4];
            ASSERT_EQ(gzprfm(&front, row.data(), nodes, across, back, &status), 0);
            EXPECT_EQ(row, record(d, 17, 4));
            for (int p = 0; p < 4; ++p) {
                EXPECT_EQ(nodes[p], 17 + p);
                EXPECT_EQ(model.link(oppositeOf(d), nodes[p]), model.node(d, 3, p));
                EXPECT_EQ(model.link(previousOf(d), nodes[p]), p > 0 ? 16 + p : 0);
                EXPECT_EQ(model.status(nodes[p]), 0);
            }
            EXPECT_EQ(across[1], gap ? 2 : 0);
        }
}

// Repairs.

struct Repair {
    std::int32_t result = 9, status = 9, frontIndex = 0;
};
Repair walk(int kind, std::int32_t node, std::int32_t nextNode, std::int32_t front) {
    Defects defects{};
    defects[DRAPE_DEFECT_KIND] = kind;
    defects[DRAPE_DEFECT_NODE] = node;
    defects[DRAPE_DEFECT_NEXT_NODE] = nextNode;
    // What stands behind the last record is left from another repair.
    std::copy_n(defects.begin(), DRAPE_DEFECT_FIELDS, defects.begin() + DRAPE_DEFECT_FIELDS);
    defects[DRAPE_DEFECT_FIELDS + DRAPE_DEFECT_NODE] = nextNode;
    Repair repair;
    repair.frontIndex = front;
    std::int32_t count = 1;
    repair.result = (kind < 3 ? uzprce : uzprcl)(&repair.frontIndex, &count, defects.data(), &repair.status);
    return repair;
}

// The fronts that take the place of an outer front cut at position p, and the state of the cut.
TEST(Repair, CutsTheFrontIntoItsPieces) {
    for (std::int32_t d = 1; d <= 4; ++d)
        for (int kind = 1; kind <= 4; ++kind)
            for (int p = 1; p <= 4; ++p) {
                SCOPED_TRACE("direction " + std::to_string(d) + " kind " + std::to_string(kind) +
                             " position " + std::to_string(p));
                Lattice model(5);
                model.addFront(1, 1, 1);
                const std::int32_t front = model.addOuterFront(d);
                model.addFront(2, 2, 2);
                std::copy_n(&Front{d, model.node(d, 4, 0), 5, 44, 1, 3, 1, 8, 9, 10}[0], 10,
                            model.front(front));
                const std::int32_t first = model.node(d, 4, 0), n = model.node(d, 4, p - 1),
                                   m = model.node(d, 4, p);
                const std::int32_t w = nextOf(d), back = previousOf(d);
                const Front old = frontAt(model, front);
                const Repair repair = walk(kind, n, m, front);
                ASSERT_EQ(repair.result, 0);

                std::vector<Front> expected = {record(1, 1, 1), old};
                switch (kind) {
                case 1:
                    expected.insert(expected.end(), {record(d, first, p, n), record(d, 26, 6 - p, 26)});
                    break;
                case 2:
                    expected.insert(expected.end(),
                                    {record(d, first, p, n, 1), record(w, n, 1, -1, 0, 1, 1),
                                     record(back, m, 1, -2, 0, 2, 1), record(d, m, 5 - p, m, 2)});
                    break;
                case 3:
                    expected.insert(expected.end(),
                                    {record(d, first, p + 1, n), record(back, m, 1, -2, 0, 2, 1),
                                     record(d, m, 5 - p, m, 2)});
                    break;
                default:
                    expected.insert(expected.end(), {record(d, first, p, n, 1), record(w, n, 1, -1, 0, 1, 1),
                                                     record(d, 26, 6 - p, m)});
                }
                EXPECT_EQ(repair.frontIndex, static_cast<std::int32_t>(expected.size()));
                expected.push_back(record(2, 2, 2));
                EXPECT_EQ(table(model), expected);
                EXPECT_EQ(model.grid.count, kind == 2 ? 27 : 26);

                // Each piece can be walked to its end, and meets the next one nowhere.
                for (std::size_t k = 2; k + 1 < expected.size(); ++k) {
                    std::int32_t at = expected[k][DRAPE_FRONT_FIRST_NODE];
                    const std::int32_t along = nextOf(expected[k][DRAPE_FRONT_DIRECTION]);
                    for (int s = 1; s < expected[k][DRAPE_FRONT_LENGTH]; ++s)
                        ASSERT_NE(at = model.link(along, at), 0);
                    if (expected[k][DRAPE_FRONT_DIRECTION] == d) {
                        EXPECT_EQ(model.link(along, at), 0);
                    }
                }
                const std::int32_t behind = model.node(d, 3, p - 1);
                switch (kind) {
                case 1: // closed node and closed twin; the way on and the way back are the twin's
                    EXPECT_EQ(model.status(n), DRAPE_NODE_CLOSED);
                    EXPECT_EQ(model.status(26), DRAPE_NODE_CLOSED);
                    EXPECT_EQ(model.link(w, 26), m);
                    EXPECT_EQ(model.link(back, m), 26);
                    EXPECT_EQ(model.link(oppositeOf(d), 26), behind);
                    EXPECT_EQ(model.link(d, behind), n);
                    break;
                case 2: // both ends cut; the copies are open, as their sources were, and joined
                    EXPECT_EQ(model.status(n), DRAPE_NODE_CUT);
                    EXPECT_EQ(model.status(m), DRAPE_NODE_CUT);
                    EXPECT_EQ(model.status(26), DRAPE_NODE_OPEN);
                    EXPECT_EQ(model.link(w, 26), 27);
                    EXPECT_EQ(model.link(back, 27), 26);
                    EXPECT_EQ(model.link(back, m), 0);
                    break;
                case 3: // the closed copy of the far end ends the leading piece
                    EXPECT_EQ(model.status(26), DRAPE_NODE_CLOSED);
                    EXPECT_EQ(model.status(m), DRAPE_NODE_CUT);
                    EXPECT_EQ(model.link(w, n), 26);
                    EXPECT_EQ(model.link(back, m), 0);
                    break;
                default: // the closed copy of the near end begins the trailing piece
                    EXPECT_EQ(model.status(26), DRAPE_NODE_CLOSED);
                    EXPECT_EQ(model.status(n), DRAPE_NODE_CUT);
                    EXPECT_EQ(model.link(back, m), 26);
                    EXPECT_EQ(model.link(w, 26), m);
                    EXPECT_EQ(model.link(back, 26), 0);
                }
                // Twins and copies stand where their sources do.
                EXPECT_TRUE(std::equal(model.position(26), model.position(26) + 3,
                                       model.position(kind == 3 ? m : n)));
            }
}

TEST(Repair, WalksFailOnBrokenFrontsAndFullStores) {
    struct Case {
        int kind;
        std::int32_t length, room, code, frontsLeft; // frontsLeft: with the old one
        bool nothingBehind;
        int position;
    };
    const Case cases[] = {
        {2, 5, 99, DRAPE_CUT_WALK_LOST_NODE, 1, false, 9}, {3, 5, 99, DRAPE_GAP_WALK_LOST_NODE, 1, false, 9},
        {1, 5, 99, DRAPE_CUT_WALK_LOST_NODE, 2, false, 2}, {2, 4, 17, DRAPE_NODE_NOT_COPIED, 1, false, 2},
        {3, 4, 16, DRAPE_NODE_NOT_COPIED, 1, false, 2},    {4, 4, 16, DRAPE_NODE_NOT_COPIED, 1, false, 2},
        {1, 4, 16, DRAPE_NODES_FULL, 2, false, 2},         {1, 4, 99, DRAPE_BAD_PREVIOUS_NODE_1, 2, true, 2},
        {1, 4, 99, DRAPE_BAD_PREVIOUS_NODE_2, 2, false, 4}};
    for (const Case& c : cases) {
        SCOPED_TRACE(&c - cases);
        Lattice model(4, {}, roomFor(c.room));
        const std::int32_t front = model.addFront(1, model.node(1, 3, 0), c.length);
        const std::int32_t n = c.position <= 4 ? model.node(1, 3, c.position - 1) : 1;
        const std::int32_t m = c.position < 4 ? model.node(1, 3, c.position) : 2;
        if (c.nothingBehind)
            model.link(3, n) = 0;
        const Repair repair = walk(c.kind, n, m, front);
        EXPECT_EQ(repair.result, 1);
        EXPECT_EQ(repair.status, c.code);
        EXPECT_EQ(model.frontCount, c.frontsLeft);
    }
    for (const int kind : {2, 3}) { // a front without nodes, and one that the record isn't on
        Lattice model(4);
        const std::int32_t empty = model.addFront(1, 4, 0);
        if (kind == 3)
            model.addFront(2, 7, 1);
        EXPECT_EQ(walk(kind, 4, 3, empty).result, 0);
        EXPECT_EQ(model.frontCount, kind);
        Lattice whole(4);
        const std::int32_t front = whole.addOuterFront(1);
        if (kind == 3) // its insertion point is raised once more even so
            whole.addFront(2, 7, 1);
        EXPECT_EQ(walk(kind, 1, 2, front).result, 0);
        EXPECT_EQ(frontAt(whole, kind == 3 ? 3 : 2), record(1, whole.node(1, 3, 0), 4));
    }
}

// The driver: the row goes, a trial row decides which defect is repaired, and the old front goes too.
TEST(Repair, TakesTheDefectOfTheTrialRowOrElseTheSavedOne) {
    for (const bool gap : {false, true}) {
        Lattice model(4, gap ? gapAhead(4, 4, 0) : std::vector<Fence>{});
        model.addFront(1, 1, 1);
        std::int32_t front = model.addOuterFront(4);
        std::int32_t nodes[4], across[3], back[4], status = 9;
        Front row{};
        ASSERT_EQ(gzprpf(&front, row.data(), nodes, across, back, &status), 0);
        ASSERT_EQ(model.grid.count, 20);
        Defects defects{};
        const std::int32_t saved[] = {2, model.node(4, 3, 2), 0, model.node(4, 3, 3)};
        for (std::size_t k = 0; k < 3; ++k) // one to go by, and two that stay in the table
            std::copy_n(saved, 4, defects.begin() + static_cast<std::ptrdiff_t>(k * DRAPE_DEFECT_FIELDS));
        const Defects given = defects;
        std::int32_t count = 3;
        ASSERT_EQ(gzprge(&front, &count, defects.data(), &status), 0);
        EXPECT_EQ(front, 2);
        EXPECT_EQ(count, 1);
        EXPECT_TRUE(std::equal(given.begin() + DRAPE_DEFECT_FIELDS, given.begin() + 3 * DRAPE_DEFECT_FIELDS,
                               defects.begin() + DRAPE_DEFECT_FIELDS));
        const int p = gap ? 0 : 2; // where it was cut
        const std::int32_t n = model.node(4, 3, p), m = model.node(4, 3, p + 1);
        EXPECT_EQ(table(model),
                  (std::vector<Front>{record(1, 1, 1), record(4, model.node(4, 3, 0), p + 1, n, 1),
                                      record(1, n, 1, -1, 0, 1, 1), record(3, m, 1, -2, 0, 2, 1),
                                      record(4, m, 3 - p, m, 2)}));
        EXPECT_EQ(model.grid.count, 18);
        for (int q = 0; q < 4; ++q)
            EXPECT_EQ(model.link(4, model.node(4, 3, q)), 0);
    }
}

// Twins.

TEST(Twins, SplitANodeOrDoubleAnEdge) {
    for (std::int32_t d = 1; d <= 4; ++d) {
        const std::int32_t w = nextOf(d), before = previousOf(d), o = oppositeOf(d);
        Lattice model(4);
        const std::int32_t n = model.node(d, 2, 1), a = model.node(d, 2, 2), b = model.node(d, 1, 1),
                           z = model.node(d, 2, 0);
        std::int32_t status = 9;
        model.status(17) = 44;
        ASSERT_EQ(uzprdp(&n, &d, &status), 0);
        EXPECT_EQ(model.link(w, 17), a);
        EXPECT_EQ(model.link(before, a), 17);
        EXPECT_EQ(model.link(o, 17), b);
        EXPECT_EQ(model.link(d, b), n);
        EXPECT_EQ(model.link(w, n), 0);
        EXPECT_EQ(model.link(before, n), z);
        EXPECT_EQ(model.status(17), 44);
        EXPECT_EQ(model.grid.nodeI[16], model.grid.nodeI[static_cast<std::size_t>(n - 1)]);
        EXPECT_EQ(model.grid.nodeJ[16], model.grid.nodeJ[static_cast<std::size_t>(n - 1)]);

        Lattice edge(4); // the edge from A to B along w, with P before A, and Q and R behind them
        const std::int32_t A = edge.node(d, 2, 1), B = edge.node(d, 2, 2), P = edge.node(d, 2, 0),
                           Q = edge.node(d, 1, 1), R = edge.node(d, 1, 2);
        ASSERT_EQ(uzprds(&A, &B, &status), 0);
        ASSERT_EQ(edge.grid.count, 18);
        EXPECT_EQ(edge.link(w, 17), 18);
        EXPECT_EQ(edge.link(before, 18), 17);
        EXPECT_EQ(edge.link(o, 17), Q);
        EXPECT_EQ(edge.link(o, 18), R);
        EXPECT_EQ(edge.link(d, Q), A);
        EXPECT_EQ(edge.link(d, R), B);
        EXPECT_EQ(edge.link(w, P), 17);
        EXPECT_EQ(edge.link(before, 17), P);
        EXPECT_EQ(edge.link(before, A), 0);
        EXPECT_EQ(edge.link(w, A), B);
        EXPECT_EQ(edge.link(w, B), edge.node(d, 2, 3));

        const Grid unchanged = edge.grid;
        EXPECT_EQ(uzprds(&P, &B, &status), 1);
        EXPECT_EQ(status, DRAPE_NODES_NOT_NEIGHBOURS);
        EXPECT_EQ(firstDifference(edge.grid, unchanged), "");
    }
}

// Segmentation.

TEST(Segmentation, MakesAFrontOfEachUsableStretch) {
    struct Case {
        const char *statuses, *across;
        std::vector<std::array<int, 2>> stretches; // first position and length
    };
    const Case cases[] = {{"0000", "000", {{1, 4}}},
                          {"0011", "000", {{1, 3}}},
                          {"1001", "000", {{1, 4}}},
                          {"1100", "000", {{2, 3}}},
                          {"0110", "000", {{1, 2}, {3, 2}}},
                          {"0011100", "000000", {{1, 3}, {5, 3}}},
                          {"111", "00", {}},
                          {"0", "", {{1, 1}}},
                          {"1", "", {}},
                          {"0220", "000", {{1, 2}, {3, 2}}},           // across a gap is closed here
                          {"01110", "0020", {{1, 2}, {3, 2}, {4, 2}}}, // a narrow gap between closed nodes
                          {"01110", "0010", {{1, 2}, {4, 2}}},
                          {"11111", "2022", {{3, 2}}}, // not at the ends of the row
                          {"11211", "0220", {}},       // and only between closed nodes
                          {"01010", "0000", {{1, 2}, {2, 3}, {4, 2}}}};
    for (std::int32_t d = 1; d <= 4; ++d)
        for (const Case& c : cases) {
            Lattice model(8);
            const std::string statuses = c.statuses;
            setStatuses(model, d, 6, statuses);
            const int length = static_cast<int>(statuses.size());
            const std::int32_t end = model.node(d, 6, length - 1);
            model.link(nextOf(d), end) = 0; // the row ends here
            model.addFront(3, 5, 1);
            std::int32_t index = model.addFront(d, model.node(d, 5, 0), length), status = 9;
            std::fill_n(model.front(index) + 3, 7, 7); // nothing of this is handed on
            model.addFront(2, 9, 4);
            const Front row = record(d, model.node(d, 6, 0), length);
            ASSERT_EQ(gzprgf(row.data(), &index, counts(c.across).data(), &status), 0);
            std::vector<Front> expected = {record(3, 5, 1)};
            for (const auto& [first, nodes] : c.stretches)
                expected.push_back(record(d, model.node(d, 6, first - 1), nodes));
            EXPECT_EQ(index, static_cast<std::int32_t>(expected.size()));
            expected.push_back(record(2, 9, 4));
            EXPECT_EQ(table(model), expected) << "direction " << d << ", " << statuses;
        }
    // A row whose links end before its length does: no open node ends it.
    Lattice model(4);
    std::int32_t index = model.addOuterFront(1), status = 9;
    const Front row = record(1, model.node(1, 3, 0), 5);
    ASSERT_EQ(gzprgf(row.data(), &index, counts("0000").data(), &status), 0);
    EXPECT_EQ(model.frontCount, 0);
}

// Corners.

struct Corners {
    std::array<std::int32_t, 2 * DRAPE_CORNER_FIELDS> records{};
    std::int32_t count = 9;

    std::int32_t field(int corner, int which) const {
        return records[static_cast<std::size_t>(corner * DRAPE_CORNER_FIELDS + which)];
    }
};
// Looks at an outer front whose row is exactly its own nodes, or begins where it's told.
Corners lookAt(Lattice& model, std::int32_t front, const std::string& across, const std::string& back,
               std::int32_t first = 0) {
    const Front f = frontAt(model, front);
    std::vector<std::int32_t> nodes = {first > 0 ? first : f[DRAPE_FRONT_FIRST_NODE]};
    while (nodes.size() < back.size())
        nodes.push_back(model.link(nextOf(f[DRAPE_FRONT_DIRECTION]), nodes.back()));
    Corners corners;
    const std::int32_t length = static_cast<std::int32_t>(back.size());
    std::int32_t status = 9;
    EXPECT_EQ(gzprld(nodes.data(), counts(across).data(), counts(back).data(), &length, &front,
                     corners.records.data(), &corners.count, &status),
              0);
    EXPECT_EQ(status, 0);
    return corners;
}

TEST(Corners, AreSeenByStatusAndCrossings) {
    struct Case {
        const char *row, *behind, *behindThat, *across, *back;
        int first, last; // kinds at the two ends, 0 for none
    };
    const Case cases[] = {{"0000", "0000", "0000", "000", "1111", 0, 0},
                          {"0000", "1001", "1001", "000", "1001", 1, 4},
                          {"0000", "1001", "1001", "000", "0000", 0, 0},
                          {"0000", "2003", "3002", "000", "2003", 1, 4},
                          {"0000", "1001", "0000", "000", "1001", 2, 5},
                          {"0000", "2003", "0000", "000", "1001", 0, 0},
                          {"2002", "0000", "1001", "000", "0000", 3, 6},
                          {"2002", "0000", "0000", "101", "0000", 0, 0},
                          {"2000", "0001", "0001", "000", "0001", 3, 4},
                          {"1001", "1001", "1001", "000", "1001", 0, 0},
                          {"00", "11", "00", "0", "11", 2, 5},
                          {"02", "00", "00", "1", "00", 0, 6},
                          {"20", "00", "00", "1", "00", 0, 0},
                          {"2", "0", "0", "", "0", 3, 6},
                          {"0", "1", "1", "", "1", 0, 0}};
    for (std::int32_t d = 1; d <= 4; ++d)
        for (const Case& c : cases) {
            SCOPED_TRACE("direction " + std::to_string(d) + " case " + std::to_string(&c - cases));
            Lattice model(4);
            const int length = static_cast<int>(std::string(c.row).size());
            setStatuses(model, d, 3, c.row);
            setStatuses(model, d, 2, c.behind);
            setStatuses(model, d, 1, c.behindThat);
            const std::int32_t front = model.addFront(d, model.node(d, 3, 0), length);
            const Corners corners = lookAt(model, front, c.across, c.back);
            ASSERT_EQ(corners.count, (c.first > 0 ? 1 : 0) + (c.last > 0 ? 1 : 0));
            if (c.first > 0) {
                EXPECT_EQ(corners.field(0, DRAPE_CORNER_KIND), c.first);
                EXPECT_EQ(corners.field(0, DRAPE_CORNER_NEW_DIRECTION), previousOf(d));
                EXPECT_EQ(corners.field(0, DRAPE_CORNER_BACK_NODE), model.node(d, 2, 0));
                EXPECT_EQ(corners.field(0, DRAPE_CORNER_FIRST_NODE), model.node(d, 3, 0));
                EXPECT_EQ(corners.field(0, DRAPE_CORNER_FRONT_INDEX), front);
            }
            if (c.last > 0) {
                const int k = corners.count - 1;
                EXPECT_EQ(corners.field(k, DRAPE_CORNER_KIND), c.last);
                EXPECT_EQ(corners.field(k, DRAPE_CORNER_NEW_DIRECTION), nextOf(d));
                EXPECT_EQ(corners.field(k, DRAPE_CORNER_BACK_NODE), model.node(d, 2, length - 1));
                EXPECT_EQ(corners.field(k, DRAPE_CORNER_LAST_NODE), model.node(d, 3, length - 1));
                EXPECT_EQ(corners.field(k, DRAPE_CORNER_PRIOR_NODE),
                          length > 1 ? model.node(d, 3, length - 2) : 0);
            }
            // Without a second node behind there is no corner.
            for (const int p : {0, length - 1})
                model.link(oppositeOf(d), model.node(d, 2, p)) = 0;
            EXPECT_EQ(lookAt(model, front, c.across, c.back).count, 0);
        }
}

// A front's first end is looked for in the row but for its last node, its last end but for the first one.
TEST(Corners, OfAnEndThatTheRowDoesNotHoldAreNone) {
    for (std::int32_t d = 1; d <= 4; ++d)
        for (const bool gap : {false, true})
            for (const int place : {0, 3}) {
                Lattice model(4);
                setStatuses(model, d, 3, gap ? "2222" : "0000");
                setStatuses(model, d, 2, gap ? "0000" : "1111");
                setStatuses(model, d, 1, "1111");
                const std::int32_t front = model.addFront(d, model.node(d, 3, place), 1);
                const Corners corners =
                    lookAt(model, front, "000", gap ? "0000" : "1111", model.node(d, 3, 0));
                ASSERT_EQ(corners.count, 1);
                EXPECT_EQ(corners.field(0, DRAPE_CORNER_KIND), (gap ? 3 : 1) + (place > 0 ? 3 : 0));
            }
}

TEST(Corners, OpenAFrontSideways) {
    for (std::int32_t d = 1; d <= 4; ++d)
        for (const int kind : {1, 2, 3, 4, 5, 6}) {
            SCOPED_TRACE("direction " + std::to_string(d) + " kind " + std::to_string(kind));
            Lattice model(4);
            const bool atFirst = kind <= 3;
            const int p = atFirst ? 0 : 3, inward = atFirst ? 1 : 2;
            const std::int32_t end = model.node(d, 3, p), A = model.node(d, 2, p),
                               behind = model.node(d, 1, p), prior = model.node(d, 3, inward),
                               priorBehind = model.node(d, 2, inward);
            const std::int32_t e = atFirst ? previousOf(d) : nextOf(d), o = oppositeOf(d);
            model.status(end) = kind % 3 == 0 ? DRAPE_NODE_ACROSS_GAP : DRAPE_NODE_OPEN;
            model.status(A) = kind % 3 == 0 ? DRAPE_NODE_OPEN : DRAPE_NODE_CLOSED;
            model.status(behind) = kind % 3 == 1 ? DRAPE_NODE_CLOSED : DRAPE_NODE_OPEN;
            const std::int32_t front = model.addOuterFront(d);
            model.addFront(2, 2, 2);
            const bool byCrossing = kind % 3 != 0;
            const Corners corners =
                lookAt(model, front, "000", byCrossing ? (atFirst ? "1000" : "0001") : "0000");
            ASSERT_EQ(corners.count, 1);
            ASSERT_EQ(corners.field(0, DRAPE_CORNER_KIND), kind);
            std::int32_t status = 9;
            ASSERT_EQ(gzprlc(corners.records.data(), &corners.count, &status), 0);

            const std::int32_t starts[] = {0, A, 17, A, end, end, 17}, pivots[] = {0, -2, -2, -2, -1, 0, -1};
            const Front opened = record(e, starts[kind], 2, pivots[kind]);
            EXPECT_EQ(table(model),
                      (std::vector<Front>{record(d, model.node(d, 3, 0), 4), opened, record(2, 2, 2)}));
            const std::int32_t second = model.link(nextOf(e), starts[kind]);
            const int made[] = {0, 0, 1, 2, 0, 1, 2};
            EXPECT_EQ(model.grid.count, 16 + made[kind]);
            switch (kind) {
            case 1:
                EXPECT_EQ(second, end);
                break;
            case 2: // a closed twin of the node behind, to which the end goes back
                EXPECT_EQ(second, end);
                EXPECT_EQ(model.link(o, end), 17);
                EXPECT_EQ(model.status(17), DRAPE_NODE_CLOSED);
                EXPECT_EQ(model.link(d, A), 0);
                break;
            case 3: // the row behind goes on over the twins; the edge itself faces outward
                EXPECT_EQ(second, end);
                EXPECT_EQ(model.status(end), DRAPE_NODE_OPEN);
                EXPECT_EQ(model.status(A), DRAPE_NODE_CLOSED);
                EXPECT_EQ(model.status(17), DRAPE_NODE_OPEN);
                EXPECT_EQ(model.status(18), DRAPE_NODE_CLOSED);
                EXPECT_EQ(model.link(e, A), 0);
                EXPECT_EQ(model.link(e, end), 0);
                break;
            case 4:
                EXPECT_EQ(second, A);
                break;
            case 5: // the end is unhooked from the node behind and goes back to its copy
                EXPECT_EQ(second, 17);
                EXPECT_EQ(model.link(o, end), 17);
                EXPECT_EQ(model.link(o, 17), 0);
                EXPECT_EQ(model.link(d, A), 0);
                EXPECT_EQ(model.status(17), DRAPE_NODE_CLOSED);
                break;
            default:
                EXPECT_EQ(second, 18);
                EXPECT_EQ(model.status(17), DRAPE_NODE_OPEN);
                EXPECT_EQ(model.status(18), DRAPE_NODE_CLOSED);
                EXPECT_EQ(model.link(e, prior), 17);
                EXPECT_EQ(model.link(e, priorBehind), 18);
            }
        }
}

TEST(Corners, OfBothEndsStandInReverseAndBadRecordsDoNoHarm) {
    Lattice model(4);
    setStatuses(model, 4, 2, "1001");
    setStatuses(model, 4, 1, "1001");
    const std::int32_t front = model.addOuterFront(4);
    const Corners both = lookAt(model, front, "000", "1001");
    ASSERT_EQ(both.count, 2);
    std::int32_t status = 9;
    ASSERT_EQ(gzprlc(both.records.data(), &both.count, &status), 0);
    EXPECT_EQ(frontAt(model, 2), record(1, model.node(4, 3, 3), 2, -1));
    EXPECT_EQ(frontAt(model, 3), record(3, model.node(4, 2, 0), 2, -2));

    const Grid before = model.grid;
    const std::int32_t one = 1, noKind[7] = {1, 5, 0, 7, 1, 2, 1}, noEdge[7] = {3, 1, 0, 3, 16, 2, 1};
    EXPECT_EQ(gzprlc(noKind, &one, &status), 0);
    EXPECT_EQ(gzprlc(noEdge, &one, &status), 0); // kind 3 between nodes that aren't neighbours
    EXPECT_EQ(model.frontCount, 3);
    EXPECT_EQ(firstDifference(model.grid, before), "");
    // Kind 6 on a front of one node has no node before its last: the rest is done all the same.
    const std::int32_t single[7] = {1, model.node(4, 2, 3), 0, 6, 1, model.node(4, 3, 3), 1};
    EXPECT_EQ(gzprlc(single, &one, &status), 0);
    EXPECT_EQ(model.grid.count, before.count + 2);
    EXPECT_EQ(model.frontCount, 4);

    // Kind 5 beside a front that isn't there has no direction in which to unhook.
    const Grid unhooked = model.grid;
    const std::int32_t lost[7] = {1, model.node(4, 2, 3), 0, 5, 1, model.node(4, 3, 3), 6};
    EXPECT_EQ(gzprlc(lost, &one, &status), 1);
    EXPECT_EQ(status, DRAPE_BAD_FRONT_POSITION);
    EXPECT_EQ(model.grid.count--, unhooked.count + 1);
    EXPECT_EQ(firstDifference(model.grid, unhooked), "");
}

// A full store stops each kind that makes nodes.
TEST(Corners, FailWhereTheirNodesFindNoRoom) {
    for (const auto& [kind, code] : {std::pair{2, DRAPE_NODES_FULL}, std::pair{3, DRAPE_NODES_FULL},
                                     std::pair{5, DRAPE_NODE_NOT_COPIED}, std::pair{6, DRAPE_NODES_FULL}}) {
        Lattice model(4, {}, roomFor(16));
        model.addOuterFront(4);
        const int p = kind <= 3 ? 0 : 3;
        const std::int32_t one = 1, corner[7] = {kind <= 3 ? 3 : 1,
                                                 model.node(4, 2, p),
                                                 model.node(4, 3, 2),
                                                 kind,
                                                 model.node(4, 3, 0),
                                                 model.node(4, 3, p),
                                                 1};
        std::int32_t status = 0;
        EXPECT_EQ(gzprlc(corner, &one, &status), 1);
        EXPECT_EQ(status, code) << kind;
        EXPECT_EQ(model.frontCount, 1);
    }
}

} // namespace
