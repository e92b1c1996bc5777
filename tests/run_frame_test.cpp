// The run around its front loop, over a loop that a test plays: what it hands to the loop, and what it makes
// of the store however the loop ends.
#include "run/front_loop.h"

#include "drape_case.h"
#include "run/model.h"
#include "surface/run_indices.h"

#include <gtest/gtest.h>

#include <functional>
#include <set>

namespace {

using drape::LoopEnd;
using drape::model;

std::function<LoopEnd(std::int32_t&)> play;

} // namespace

namespace drape {

LoopEnd runFrontLoop(std::int32_t& status) {
    return play(status);
}

} // namespace drape

namespace {

using namespace drape_test;

// A node beside the last one.
void storeNode(std::int32_t triangle, std::int32_t status) {
    const std::int32_t last = *model->nodeCount;
    std::int32_t code = 0;
    ASSERT_TRUE(drape::storeNode(model->positionOf(last), model->normalOf(last), triangle, 1,
                                 {DRAPE_DIRECTION_1, last}, {}, code));
    model->setStatus(*model->nodeCount, status);
}

Grid runWith(const std::function<LoopEnd(std::int32_t&)>& loop, const Surface& surface, double stepA = 1.0,
             double stepB = 1.0) {
    play = loop;
    Settings settings = seededAt(surface, 1.2, 1.3, 1.0);
    settings.stepA = stepA;
    settings.stepB = stepB;
    settings.capacity = 100;
    Grid grid = emptyGrid(settings.capacity);
    std::fill(grid.nodeTri.begin(), grid.nodeTri.end(), -7);
    drape_test::drape(surface, settings, grid);
    return grid;
}

TEST(RunFrame, TheLoopBeginsWithFourFrontsOnTheSeed) {
    const Grid grid = runWith(
        [](std::int32_t&) {
            EXPECT_EQ(*model->nodeCount, 1);
            EXPECT_EQ(model->statusOf(1), DRAPE_NODE_OPEN);
            EXPECT_EQ(*model->frontCount, 4);
            for (std::int32_t d = 1; d <= 4; ++d) {
                drape::FrontRecord front;
                front.direction = d;
                front.firstNode = front.length = 1;
                EXPECT_TRUE(model->front(d) == front) << d;
            }
            return LoopEnd::tableEmpty;
        },
        picture({"###", "###"}));
    EXPECT_EQ(grid.count, 1);
}

TEST(RunFrame, AFinishedGridKnowsOpenAndClosedNodesOnly) {
    for (const LoopEnd end : {LoopEnd::tableEmpty, LoopEnd::stopped, LoopEnd::passArrayHeld})
        for (const std::int32_t last : {DRAPE_NODE_ACROSS_GAP, DRAPE_NODE_CUT}) {
            const Grid grid = runWith(
                [&](std::int32_t& status) {
                    model->setStatus(1, last);
                    for (const std::int32_t mark : std::initializer_list<std::int32_t>{
                             DRAPE_NODE_OPEN, DRAPE_NODE_CUT, DRAPE_NODE_CLOSED, DRAPE_NODE_ACROSS_GAP, last})
                        storeNode(1, mark);
                    status = end == LoopEnd::tableEmpty ? DRAPE_OK : 77;
                    return end;
                },
                picture({"###", "###"}));
            const bool finished = end == LoopEnd::tableEmpty;
            EXPECT_EQ(grid.result, end == LoopEnd::passArrayHeld ? 1 : 0);
            EXPECT_EQ(grid.status, finished ? DRAPE_OK : 77);
            const auto marked = [&](std::int32_t mark) { return finished ? DRAPE_NODE_CLOSED : mark; };
            const std::vector<std::int32_t> expected = {marked(last),
                                                        DRAPE_NODE_OPEN,
                                                        marked(DRAPE_NODE_CUT),
                                                        DRAPE_NODE_CLOSED,
                                                        marked(DRAPE_NODE_ACROSS_GAP),
                                                        marked(last)};
            EXPECT_EQ(std::vector(grid.nodeStatus.begin(), grid.nodeStatus.begin() + grid.count), expected);
        }
}

TEST(RunFrame, TriangleNumbersAreTheCallersAgainAlsoOfDroppedRows) {
    const Surface surface = picture({"####", "##..", "####"});
    const std::int32_t triangles = surface.triCount();
    for (const LoopEnd end : {LoopEnd::tableEmpty, LoopEnd::stopped, LoopEnd::passArrayHeld}) {
        std::vector<drape::Vec3> corners;
        const Grid grid = runWith(
            [&](std::int32_t& status) {
                storeNode(0, DRAPE_NODE_OPEN);
                for (std::int32_t t = 1; t <= triangles; ++t) {
                    storeNode(t, DRAPE_NODE_OPEN);
                    corners.push_back(model->mesh.corner(t, 0));
                }
                *model->nodeCount = 4;
                status = 77;
                return end;
            },
            surface);
        ASSERT_EQ(grid.count, 4);
        EXPECT_EQ(grid.nodeTri[1], 0);
        std::set<std::int32_t> met;
        for (std::int32_t t = 1; t <= triangles; ++t) {
            const std::int32_t own = grid.nodeTri[static_cast<std::size_t>(t + 1)];
            ASSERT_TRUE(own >= 1 && own <= triangles && met.insert(own).second) << own;
            const auto vertex =
                static_cast<std::size_t>(surface.triVerts[3 * static_cast<std::size_t>(own - 1)] - 1);
            EXPECT_EQ(drape::cadis(corners[static_cast<std::size_t>(t - 1)],
                                   drape::load(&surface.vertPos[3 * vertex])),
                      0.0);
        }
        EXPECT_EQ(grid.nodeTri[static_cast<std::size_t>(triangles + 2)], -7);
    }
}

// Circles have either side of a cell as their radius. The tree is there if the longer one can be squared in
// single precision, whichever that is.
TEST(RunFrame, TheTreeIsMadeForTheLongerSideOfACell) {
    const auto hasTree = [](double stepA, double stepB) {
        bool usable = false;
        runWith(
            [&](std::int32_t&) {
                usable = drape::hasTriangleTree();
                return LoopEnd::tableEmpty;
            },
            picture({"###", "###"}), stepA, stepB);
        return usable;
    };
    EXPECT_TRUE(hasTree(1.0, 1.0));
    EXPECT_TRUE(hasTree(1.0, 1e-16));
    EXPECT_TRUE(hasTree(1e-16, 1.0));
    EXPECT_FALSE(hasTree(1.0, 1e16));
    EXPECT_FALSE(hasTree(1e16, 1.0));
    EXPECT_FALSE(hasTree(1e-16, 1e-16));
}

} // namespace
