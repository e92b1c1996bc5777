// The front loop by itself, over steps that a test plays: which front it takes next, which it passes over,
// and when it gives up on repairs that cut nothing, which no mould is known to bring about.
#include "run/front_loop.h"

#include "failing_work_arrays.h"
#include "fronts/corner.h"
#include "fronts/extension.h"
#include "fronts/repair.h"
#include "fronts/segmentation.h"
#include "rows/completion.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <vector>

namespace {

using drape::FrontRecord;
using drape::model;

// What the steps of a run are to do; the passes tell which fronts came, by their first nodes.
struct Play {
    std::function<bool()> hasDefect = [] { return false; };
    std::function<void(std::int32_t&)> repair, segment;
    std::function<void()> openCorners = [] {};
    std::vector<std::int32_t> passes, cornersLookedFor;
};
Play play;

} // namespace

namespace drape {

bool extendFront(FrontRecord& front, std::int32_t&) {
    play.passes.push_back(front.firstNode);
    return true;
}
bool completeRow(std::int32_t, FrontRecord&, const RowArrays&, std::int32_t&) {
    return true;
}
bool findDefect(const FrontRecord&, const std::int32_t*, std::int32_t& found, DefectRecord&, std::int32_t&) {
    found = play.hasDefect() ? 1 : 0;
    return true;
}
bool repairFront(std::int32_t& index, std::int32_t&, DefectRecord*, DefectRecord*, std::int32_t&) {
    play.repair(index);
    return true;
}
bool segmentRow(const FrontRecord&, std::int32_t& index, const std::int32_t*, std::int32_t&) {
    play.segment(index);
    return true;
}
void findCorners(const RowLists&, std::int32_t, std::int32_t index, std::int32_t*, CornerRecord*,
                 std::int32_t&) {
    play.cornersLookedFor.push_back(model->front(index).firstNode);
}
bool openCorners(const CornerRecord*, std::int32_t, std::int32_t&) {
    play.openCorners();
    return true;
}

} // namespace drape

namespace {

class FrontLoop : public testing::Test {
protected:
    // Fronts with the first nodes 1, 2, ... and these hold counts.
    void open(const std::vector<std::int32_t>& holdCounts) {
        std::fill(table, table + 20, FrontRecord{});
        frontCount = 0;
        for (const std::int32_t hold : holdCounts) {
            FrontRecord& front = table[frontCount++];
            front.firstNode = frontCount;
            front.length = 1;
            front.holdCount = hold;
        }
        model->fronts = table;
        model->frontCount = &frontCount;
        model->nodeCount = &nodeCount;
        model->nodeCapacity = 20;
        play = {};
        play.segment = [](std::int32_t& index) { drape::removeFront(index--); };
    }
    void TearDown() override {
        *model = {};
        EXPECT_EQ(drape_test::arraysHeld(), 0);
    }
    std::int32_t run() {
        std::int32_t status = 0;
        drape::runFrontLoop(status);
        return status;
    }

    FrontRecord table[20];
    std::int32_t frontCount = 0, nodeCount = 1;
};

using Nodes = std::vector<std::int32_t>;

TEST_F(FrontLoop, PassesOverHeldFrontsButTheFirstOfASweep) {
    open({0, 2, 0, 1, 0});
    EXPECT_EQ(run(), 0);
    EXPECT_EQ(play.passes, (Nodes{1, 3, 5, 2, 4}));
    open({0, 1});
    play.segment = [this](std::int32_t& index) {
        EXPECT_EQ(table[index - 1].holdCount, 0);
        drape::removeFront(index--);
    };
    EXPECT_EQ(run(), 0);
}

TEST_F(FrontLoop, StepsOverTheFrontsOfARow) {
    open({0, 0});
    play.segment = [](std::int32_t& index) { // the front of node 1 becomes those of nodes 3 and 4
        const bool first = model->front(index).firstNode == 1;
        drape::removeFront(index--);
        std::int32_t status = 0;
        for (const std::int32_t node : {3, 4}) {
            FrontRecord front;
            front.firstNode = node;
            front.length = 1;
            if (first)
                drape::insertFront(front, ++index, status);
        }
    };
    const auto split = play.segment;
    EXPECT_EQ(run(), 0);
    EXPECT_EQ(play.passes, (Nodes{1, 2, 3, 4}));
    // A corner opens a front behind that of node 3, which is stepped over as well.
    open({0, 0});
    play.segment = split;
    play.openCorners = [] {
        if (play.cornersLookedFor == Nodes{3}) {
            FrontRecord front;
            front.firstNode = 9;
            front.length = 1;
            std::int32_t status = 0;
            drape::insertFront(front, 2, status);
        }
    };
    EXPECT_EQ(run(), 0);
    EXPECT_EQ(play.cornersLookedFor, (Nodes{3, 4}));
    EXPECT_EQ(play.passes, (Nodes{1, 2, 3, 9, 4}));
}

TEST_F(FrontLoop, EndsWhereARepairLeavesItsFrontAsItWas) {
    open({0, 0});
    play.hasDefect = [] { return true; };
    play.repair = [](std::int32_t&) {};
    EXPECT_EQ(run(), DRAPE_REPAIR_CUTS_NOTHING);
    EXPECT_EQ(play.passes, (Nodes{1}));
    // The first repair of a front may change the record alone.
    open({0, 0});
    play.hasDefect = [] { return true; };
    play.repair = [this](std::int32_t& index) { table[index - 1].pivotRequest = 5; };
    EXPECT_EQ(run(), DRAPE_REPAIR_CUTS_NOTHING);
    EXPECT_EQ(play.passes, (Nodes{1, 1}));
}

TEST_F(FrontLoop, EndsWhereRepairsOnlyChangeTheOrderOfTheFronts) {
    open({0, 0});
    play.hasDefect = [] { return true; };
    play.repair = [this](std::int32_t&) { std::swap(table[0], table[1]); };
    EXPECT_EQ(run(), DRAPE_REPAIR_CUTS_NOTHING);
    EXPECT_EQ(play.passes, (Nodes{1, 2, 1, 2, 1, 2}));
}

TEST_F(FrontLoop, GoesOnWhileRepairsStoreNodesOrFronts) {
    open({0, 0});
    int repairs = 0;
    play.hasDefect = [&] { return repairs < 60; };
    play.repair = [&](std::int32_t&) {
        if (++repairs % 5 == 0)
            ++nodeCount;
        std::swap(table[0], table[1]);
    };
    EXPECT_EQ(run(), 0);
    EXPECT_EQ(play.passes.size(), 62u);
    open({0});
    repairs = 0;
    play.hasDefect = [&] { return ++repairs < 9; };
    play.repair = [](std::int32_t&) {
        std::int32_t status = 0;
        drape::insertFront(model->front(1), 1, status);
    };
    EXPECT_EQ(run(), 0);
    EXPECT_EQ(play.passes.size(), 17u);
}

TEST_F(FrontLoop, ReportsTheArrayOfAPassThatCannotBeHadOrGivenBack) {
    open({0, 0});
    drape_test::beginRequests(2, 0);
    EXPECT_EQ(run(), DRAPE_NO_MEMORY);
    EXPECT_EQ(play.passes, (Nodes{1, 2}));
    for (const bool defect : {false, true}) {
        open({0, 0});
        play.hasDefect = [=] { return defect; };
        play.repair = [this](std::int32_t&) { ++nodeCount; };
        drape_test::beginRequests(0, 0);
        drape_test::failRelease(2);
        EXPECT_EQ(run(), drape_test::RELEASE_FAILED);
        EXPECT_EQ(play.passes.size(), 2u);
    }
    drape_test::beginRequests(0, 0);
}

} // namespace
