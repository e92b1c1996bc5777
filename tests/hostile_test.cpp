// Hostile input: arrays of the promised sizes with any contents, moulds spoiled by triangles without area,
// and thousands of runs in one process. A run may refuse or fail, but it ends, stays within its arrays and
// leaves nothing behind.
#include "drape_case.h"

#include <gtest/gtest.h>

#include <limits>
#include <set>

#if defined(__GLIBC__)
#include <malloc.h>
#endif

namespace {

using namespace drape_test;

// Numbers from plausible to absurd.
std::int32_t wildIndex(Random& random, std::int32_t limit) {
    const std::int32_t absurd[] = {0, -1, limit + 1, std::numeric_limits<std::int32_t>::max(),
                                   std::numeric_limits<std::int32_t>::min()};
    return random.unit() < 0.97 ? 1 + random.below(limit) : absurd[random.below(5)];
}
double wildNumber(Random& random) {
    const double absurd[] = {0.0,
                             -1.0,
                             1e300,
                             -1e300,
                             1e-300,
                             std::numeric_limits<double>::infinity(),
                             std::numeric_limits<double>::quiet_NaN()};
    return random.unit() < 0.9 ? random.between(-3.0, 3.0) : absurd[random.below(7)];
}

// A grid whose arrays are followed by values that nobody may touch.
class GuardedGrid {
public:
    explicit GuardedGrid(std::int32_t capacity) : capacity_(capacity), grid(emptyGrid(capacity + 3)) {
        for (auto* array : lists())
            std::fill(array->end() - 3, array->end(), MARK);
        std::fill(grid.nodePos.end() - 9, grid.nodePos.end(), MARK);
        std::fill(grid.nodeFlat.end() - 6, grid.nodeFlat.end(), MARK);
        std::fill(grid.nodeNormal.end() - 9, grid.nodeNormal.end(), MARK);
    }
    bool intact() {
        bool whole = grid.count >= 0 && grid.count <= capacity_;
        for (auto* array : lists())
            whole = whole && std::count(array->end() - 3, array->end(), MARK) == 3;
        return whole && std::count(grid.nodePos.end() - 9, grid.nodePos.end(), MARK) == 9 &&
               std::count(grid.nodeFlat.end() - 6, grid.nodeFlat.end(), MARK) == 6 &&
               std::count(grid.nodeNormal.end() - 9, grid.nodeNormal.end(), MARK) == 9;
    }

private:
    static constexpr std::int32_t MARK = -123456;
    std::array<std::vector<std::int32_t>*, 8> lists() {
        return {&grid.link1, &grid.link2, &grid.link3,      &grid.link4,
                &grid.nodeI, &grid.nodeJ, &grid.nodeStatus, &grid.nodeTri};
    }
    std::int32_t capacity_;

public:
    Grid grid;
};

// Replaces some of a mesh's contents; sizes stay.
void spoil(Surface& surface, Random& random) {
    const bool everything = random.unit() < 0.2;
    const auto some = [&](auto& list, auto value) {
        const std::size_t changes = everything ? list.size() : static_cast<std::size_t>(1 + random.below(4));
        for (std::size_t k = 0; k < changes; ++k)
            list[everything ? k : static_cast<std::size_t>(random.below(static_cast<int>(list.size())))] =
                value();
    };
    switch (random.below(5)) {
    case 0:
        return some(surface.triVerts, [&] { return wildIndex(random, surface.vertCount()); });
    case 1:
        return some(surface.vertTriList, [&] { return wildIndex(random, surface.triCount()); });
    case 2:
        some(surface.vertTriStart, [&] { return wildIndex(random, surface.vertTriCount()); });
        return std::sort(surface.vertTriStart.begin(), surface.vertTriStart.end());
    case 3:
        return some(surface.vertPos, [&] { return wildNumber(random); });
    default:
        return some(surface.vertBoundary, [&] { return wildIndex(random, 3) % 3; });
    }
}

TEST(Hostile, AnyContentsEndWithACodeWithinTheArrays) {
    Random random(66);
    std::set<std::int32_t> codes;
    for (int k = 0; k < 6000; ++k) {
        Surface surface = squareMould(
            2.5, 5,
            k % 2 == 0 ? [](double, double) { return 0.0; } : [](double x, double y) { return 0.1 * x * y; });
        Settings settings = seededAt(surface, 0.1, 0.2, 1.0, 30.0);
        for (int changes = random.below(3); changes >= 0; --changes)
            spoil(surface, random);
        settings.byGridLine = k % 3;
        settings.capacity = 4 + random.below(150);
        if (random.unit() < 0.3)
            settings.warp[random.below(3)] = wildNumber(random);
        if (random.unit() < 0.2)
            settings.seed[random.below(3)] = wildNumber(random);
        if (random.unit() < 0.2)
            settings.stepB = wildNumber(random);
        if (random.unit() < 0.2)
            settings.tolerance = wildNumber(random);
        GuardedGrid guarded(settings.capacity);
        drape(surface, settings, guarded.grid);
        ASSERT_TRUE(guarded.intact()) << k;
        ASSERT_EQ(guarded.grid.result, 0) << k;
        codes.insert(guarded.grid.status);
    }
    EXPECT_GE(codes.size(), 6u); // the runs come far enough to fail in many ways
    EXPECT_TRUE(codes.count(DRAPE_OK) == 1);
}

// Triangles without area inside a good mould cost a run nothing: the cloth is that of the mould without them,
// within a few tolerances.
TEST(Hostile, SliversAndDuplicateVerticesDontRuinARun) {
    const struct {
        const char* name;
        double u, v;
    } splits[] = {{"sliver", 0.4, 1e-7},
                  {"thin sliver", 0.6, 1e-12},
                  {"corners on a line but for rounding", 0.6, 1e-16},
                  {"triangle without area", 0.5, 0.0},
                  {"duplicate vertex", 0.0, 0.0},
                  {"plain split", 0.3, 0.3}};
    for (const Mould& mould : smoothMoulds())
        for (const auto& split : splits) {
            SCOPED_TRACE(mould.name + ", " + split.name);
            Surface spoiled = mould.surface;
            const auto inside = [&](std::int32_t t) {
                const std::int32_t* corner = &mould.surface.triVerts[3 * static_cast<std::size_t>(t - 1)];
                return std::none_of(corner, corner + 3, [&](std::int32_t v) {
                    return mould.surface.vertBoundary[static_cast<std::size_t>(v - 1)] != 0;
                });
            };
            for (std::int32_t t = 3; t <= mould.surface.triCount(); t += 5)
                if (inside(t))
                    splitTriangle(spoiled, t, split.u, split.v);
            joinUp(spoiled); // a duplicate vertex makes no edge of its own, so the flags stay what they were
            const Settings settings = seededAt(mould.surface, mould.seedX, mould.seedY, 1.0, 70.0);
            const Grid good = drape(mould.surface, settings), grid = drape(spoiled, settings);
            ASSERT_EQ(good.status, DRAPE_OK);
            ASSERT_EQ(grid.status, DRAPE_OK);
            ASSERT_EQ(grid.count, good.count);
            EXPECT_EQ(grid.nodeStatus, good.nodeStatus);
            for (std::size_t k = 0; k < 3 * static_cast<std::size_t>(grid.count); ++k)
                if (good.nodeStatus[k / 3] == DRAPE_NODE_OPEN) {
                    ASSERT_NEAR(grid.nodePos[k], good.nodePos[k], 10.0 * settings.tolerance)
                        << "node " << k / 3 + 1;
                }
        }
}

// Bytes that the heap has handed out, mapped blocks too; 0 where it doesn't tell, or where a leak checker has
// its place.
std::size_t bytesInUse() {
#if defined(__GLIBC__) && (__GLIBC__ > 2 || __GLIBC_MINOR__ >= 33)
    const struct mallinfo2 heap = mallinfo2();
    return heap.uordblks + heap.hblkhd;
#else
    return 0;
#endif
}

// Ten thousand runs, good, torn and failing, keep to the memory of the first ones and to their results.
TEST(Hostile, TenThousandRunsNeitherLeakNorDrift) {
    const Surface surfaces[] = {picture({"####", "####", "####"}),
                                picture({"#####", "##.##", "##.##", "##.##"}),
                                squareMould(2.0, 4, saddleHeight(2.0))};
    std::vector<Settings> settings;
    std::vector<std::uint64_t> digests;
    for (const Surface& surface : surfaces)
        for (const std::int32_t capacity : {200, 9}) {
            const Point& low = reinterpret_cast<const Point&>(surface.vertPos[0]);
            settings.push_back(seededAt(surface, low[0] + 1.2, low[1] + 1.4, 0.8, 15.0));
            settings.back().capacity = capacity;
            digests.push_back(digestOf(drape(surface, settings.back())));
        }
    std::size_t before = 0;
    for (std::size_t k = 0; k < 10000; ++k) {
        if (k == 100)
            before = bytesInUse();
        const std::size_t which = k % digests.size();
        ASSERT_EQ(digestOf(drape(surfaces[which / 2], settings[which])), digests[which]) << "run " << k;
    }
    EXPECT_LE(bytesInUse(), before + 4096);
}

} // namespace
