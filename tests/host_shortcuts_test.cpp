// The host's short cuts against the plain ways that they stand for: the cover of a triangle by a hint and
// cheap bounds, the nearest point by facets, and a sweep that is spread over threads.
#include "host_drape.h"

#include "host/cloth/cell_cover.h"
#include "host/search/ranking.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <random>
#include <thread>

namespace drape_test {
namespace {

TEST(HostShortcuts, CoverIsThatOfTheNearestCell) {
    std::mt19937 random(7);
    std::array<int, 3> seen{};
    for (const auto* moulds : {"smooth", "torn"}) {
        for (const Mould& mould : moulds[0] == 's' ? smoothMoulds() : tornMoulds()) {
            for (const double step : {0.4, 2.3}) {
                const HostDrape drape =
                    hostDrape(mould.surface, {{mould.seedX, mould.seedY, 0.0}, step, 1.3 * step, 25.0, 2000});
                const host::CellCover cells(drape.grid, drape.measures.cells);
                std::vector<host::Facet> facets = drape.mould.facets;
                for (int order = 0; order < 2; ++order) {
                    host::CellCover::Hint hint;
                    for (const host::Facet& facet : facets) {
                        const host::Cover cover = cells.nearestOver(facet).cover;
                        ASSERT_EQ(cells.coverOf(facet, hint), cover);
                        ++seen[static_cast<std::size_t>(cover)];
                    }
                    std::shuffle(facets.begin(), facets.end(), random);
                }
            }
        }
    }
    for (const int count : seen) {
        EXPECT_GT(count, 100);
    }
}

TEST(HostShortcuts, NearestPointOfAMouldIsThatOfItsTriangles) {
    std::mt19937 random(11);
    std::uniform_real_distribution<double> far(-12.0, 12.0);
    for (const double offset : {0.0, 1e6}) {
        host::TriangleMesh mesh = hostMesh(dome(5.0, 10));
        for (host::Point& p : mesh.positions) {
            p[0] += offset;
        }
        const host::Mould mould = host::mouldOf(mesh);
        std::vector<host::Point> points(mesh.positions.begin(), mesh.positions.end());
        for (int i = 0; i < 300; ++i) {
            points.push_back({offset + far(random), far(random), far(random)});
        }
        for (const host::Point& p : points) {
            const host::SurfacePoint quick = host::nearestPoint(mould, p);
            const host::SurfacePoint plain = host::nearestSurfacePoint(mesh, p);
            EXPECT_EQ(quick.triangle, plain.triangle);
            EXPECT_EQ(quick.position, plain.position);
        }
    }
}

TEST(HostShortcuts, SweepGivesTheSameOnAnyThreads) {
    host::PolygonSoup soup;
    const Surface surface = dome(5.0, 16);
    const host::TriangleMesh mesh = hostMesh(surface);
    soup.points = mesh.positions;
    for (const host::Triangle& t : mesh.triangles) {
        soup.polygons.emplace_back(t.begin(), t.end());
    }
    host::TrialWishes wishes;
    wishes.start.stepA = 0.8;
    host::Notes notes;
    const host::Surface prepared = host::preparedSurface(soup, {}, wishes.start, notes);
    const auto candidates = host::candidatesOf(host::spreadSeeds(prepared, 4), {0.0, 30.0, 45.0});
    const auto sweepBy = [&](std::size_t threads) {
        return host::sweep(prepared, wishes, candidates, [&](std::size_t count, const auto& work) {
            std::vector<host::SweepResult> results(count);
            std::vector<std::thread> workers;
            for (std::size_t k = 0; k < threads; ++k) {
                workers.emplace_back([&, k] {
                    for (std::size_t i = k; i < count; i += threads) {
                        results[i] = work(i);
                    }
                });
            }
            for (std::thread& worker : workers) {
                worker.join();
            }
            return results;
        });
    };
    const auto alone = sweepBy(1);
    const auto together = sweepBy(4);
    ASSERT_EQ(alone.size(), 12U);
    for (std::size_t i = 0; i < alone.size(); ++i) {
        EXPECT_TRUE(host::isWhole(alone[i]));
        EXPECT_EQ(alone[i].candidate.number, together[i].candidate.number);
        EXPECT_EQ(alone[i].largestShear, together[i].largestShear);
        EXPECT_EQ(alone[i].coveredShare, together[i].coveredShare);
    }
}

} // namespace
} // namespace drape_test
