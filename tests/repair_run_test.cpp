// Moulds with cuts in their outline: runs get past them by repairs and corners. The kinds of both are counted
// on the plain road, and the same run by gzprp2 must agree with it bit by bit.
//
// Corners of kinds 3 and 6 don't arise in whole runs: a node across a gap beside an open one is a defect of
// the row before anybody looks at its corners. They are tested by direct calls.
#include "plain_run.h"

#include <gtest/gtest.h>

#include <map>

namespace {

using namespace drape_test;

struct Kinds {
    std::array<int, 5> repairs{};
    std::array<int, 7> corners{};
};

struct Expectation {
    const char *repairs, *corners; // kinds that must arise, as digits
};

// Three cell sizes, nine turns of the seed directions, by turns with one pivot rule and the other.
void runAll(const Mould& mould, Kinds& kinds) {
    for (const double step : {0.8, 1.0, 1.4})
        for (int turnBy = 0; turnBy < 9; ++turnBy) {
            SCOPED_TRACE(mould.name + ", step " + std::to_string(step) + ", turn " +
                         std::to_string(10 * turnBy));
            Settings settings = seededAt(mould.surface, mould.seedX, mould.seedY, step, 10.0 * turnBy);
            settings.byGridLine = turnBy % 2;
            const PlainResult plain = plainRun(mould.surface, settings);
            const Grid grid = drape(mould.surface, settings);
            ASSERT_EQ(firstDifference(grid, plain.grid), "");
            // A repair beside the seed may leave a front or a split with nothing behind it.
            ASSERT_TRUE(grid.status == DRAPE_OK || grid.status == DRAPE_NOTHING_TO_STEP_FROM ||
                        grid.status == DRAPE_BAD_PREVIOUS_NODE_1)
                << grid.status;
            if (mould.name != "toothed edge") {
                ASSERT_EQ(grid.status, DRAPE_OK);
            }
            ASSERT_LT(plain.passes, 2L * grid.count);
            for (std::size_t k = 0; k < kinds.repairs.size(); ++k)
                kinds.repairs[k] += plain.repairs[k];
            for (std::size_t k = 0; k < kinds.corners.size(); ++k)
                kinds.corners[k] += plain.corners[k];
        }
}

TEST(RepairRun, EachCutBringsItsRepairsAndCornersAbout) {
    const std::map<std::string, Expectation> expected = {{"notch", {"1234", "1245"}},
                                                         {"wide slit", {"124", "145"}},
                                                         {"narrow slit", {"124", "145"}},
                                                         {"hairline slit", {"124", "14"}},
                                                         {"comb", {"1234", "1245"}},
                                                         {"U", {"1234", "1245"}},
                                                         {"L", {"123", "124"}},
                                                         {"star", {"1234", "1245"}},
                                                         {"hole with its rim flagged", {"1", "14"}},
                                                         {"hole with its rim unflagged", {"1", "14"}},
                                                         {"slit dome", {"1234", "1245"}},
                                                         {"fine slit dome", {"1234", "14"}},
                                                         {"toothed edge", {"1234", "1245"}}};
    const std::vector<Mould> moulds = tornMoulds();
    ASSERT_EQ(moulds.size(), expected.size());
    for (const Mould& mould : moulds) {
        Kinds kinds;
        runAll(mould, kinds);
        if (HasFatalFailure())
            return;
        for (const char* kind = expected.at(mould.name).repairs; *kind != 0; ++kind)
            EXPECT_GT(kinds.repairs.at(static_cast<std::size_t>(*kind - '0')), 0)
                << mould.name << ", repair " << *kind;
        for (const char* kind = expected.at(mould.name).corners; *kind != 0; ++kind)
            EXPECT_GT(kinds.corners.at(static_cast<std::size_t>(*kind - '0')), 0)
                << mould.name << ", corner " << *kind;
        EXPECT_EQ(kinds.corners[3] + kinds.corners[6], 0) << mould.name;
    }
}

// Cloth on both sides of a cut: from a seed on one side, the grid reaches the far end of the other.
TEST(RepairRun, ClothReachesBothSidesOfACut) {
    for (const char* name : {"notch", "narrow slit", "wide slit", "U"})
        for (const Mould& mould : tornMoulds())
            if (mould.name == name) {
                const Settings settings = seededAt(mould.surface, mould.seedX, mould.seedY, 0.8);
                const Grid grid = drape(mould.surface, settings);
                ASSERT_EQ(grid.status, DRAPE_OK);
                double right = 0.0;
                for (std::size_t v = 0; v < mould.surface.vertPos.size(); v += 3)
                    right = std::max(right, mould.surface.vertPos[v]);
                const double far[2][2] = {{0.5, name[0] == 'U' ? 6.5 : 0.5},
                                          {right - 0.5, name[0] == 'U' ? 6.5 : 0.5}};
                for (const auto& corner : far) {
                    double nearest = 100.0;
                    for (std::size_t n = 0; n < static_cast<std::size_t>(grid.count); ++n)
                        if (grid.nodeTri[n] > 0 && grid.nodeStatus[n] == DRAPE_NODE_OPEN)
                            nearest = std::min(nearest, std::hypot(grid.nodePos[3 * n] - corner[0],
                                                                   grid.nodePos[3 * n + 1] - corner[1]));
                    EXPECT_LT(nearest, 0.8) << name << " at " << corner[0];
                }
            }
}

// However torn the outline, the run ends, by itself or with a code, within the room that it is given.
TEST(RepairRun, RunsEndOnAnyOutline) {
    Random random(7);
    std::map<std::int32_t, int> codes;
    for (int k = 0; k < 1500; ++k) {
        std::vector<std::string> lines(7, std::string(7, '#'));
        for (auto& line : lines)
            for (auto& square : line)
                square = random.unit() < 0.16 ? '.' : '#';
        lines[3][3] = '#';
        Surface surface = picture(lines);
        if (k % 3 == 0) // flags of whole loops are gone, or stand where none is
            unflag(surface, [&](double, double) { return random.unit() < 0.05; });
        const double x = 3.0 + random.unit(), y = 3.0 + 0.3 * random.unit(), step = random.between(0.3, 2.0);
        Settings settings = seededAt(surface, x, y, step, random.between(0.0, 90.0));
        settings.byGridLine = k % 2;
        const Grid grid = drape(surface, settings);
        ++codes[grid.status];
        ASSERT_LE(grid.count, settings.capacity);
    }
    EXPECT_GT(codes[DRAPE_OK], 300);
}

} // namespace
