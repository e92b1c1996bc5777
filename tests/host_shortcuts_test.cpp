// The host's short cuts against the plain ways that they stand for: the cover of a triangle by a hint and
// cheap bounds, the nearest point by facets, the ways that a front leaves out, and a sweep that is spread
// over threads.
#include "host_drape.h"

#include "host/cloth/cell_cover.h"
#include "host/mesh/counting_sort.h"
#include "host/mesh/front.h"
#include "host/mesh/pieces.h"
#include "host/mesh/spatial_order.h"
#include "host/mesh/turn.h"
#include "host/search/ranking.h"

#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>
#include <numbers>
#include <random>
#include <set>
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

TEST(HostShortcuts, CountingSortsAsAStableSortDoes) {
    std::mt19937 random(3);
    std::vector<std::pair<std::int32_t, int>> entries;
    host::countingSort(entries, [](const auto& entry) { return entry.first; });
    EXPECT_TRUE(entries.empty());
    for (int k = 0; k < 500; ++k) {
        entries.emplace_back(static_cast<std::int32_t>(random() % 60) - 40, k);
    }
    auto expected = entries;
    std::stable_sort(expected.begin(), expected.end(),
                     [](const auto& a, const auto& b) { return a.first < b.first; });
    host::countingSort(entries, [](const auto& entry) { return entry.first; });
    EXPECT_EQ(entries, expected);
}

TEST(HostShortcuts, TurnsAreSineAndCosine) {
    for (int k = -7300; k <= 7300; ++k) {
        const double degrees = 0.1 * k;
        const host::Turn turn = host::turnOf(degrees);
        const double radians = degrees * std::numbers::pi / 180.0;
        EXPECT_NEAR(turn.cosine, std::cos(radians), 1e-14);
        EXPECT_NEAR(turn.sine, std::sin(radians), 1e-14);
    }
    const std::array<std::array<double, 2>, 4> quarters{{{1.0, 0.0}, {0.0, 1.0}, {-1.0, 0.0}, {0.0, -1.0}}};
    for (int k = -8; k <= 8; ++k) {
        const host::Turn turn = host::turnOf(90.0 * k);
        EXPECT_EQ((std::array{turn.cosine, turn.sine}), quarters[static_cast<std::size_t>((k + 8) % 4)]);
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

// Every way over every edge, the nearest vertex first.
std::vector<double> plainDistances(const host::TriangleMesh& mesh, const host::SurfacePoint& from,
                                   double farthest) {
    using namespace drape::host::vec;
    std::vector<double> reached(mesh.positions.size(), std::numeric_limits<double>::infinity());
    std::set<std::pair<double, std::int32_t>> open;
    const auto improve = [&](std::int32_t v, double d) {
        if (d < reached[host::at(v)]) {
            reached[host::at(v)] = d;
            open.emplace(d, v);
        }
    };
    const auto way = [&](std::int32_t start, std::int32_t to, std::int32_t over) {
        const host::Point side = mesh.positions[host::at(to)] - mesh.positions[host::at(start)];
        const host::Point base = mesh.positions[host::at(over)] - mesh.positions[host::at(start)];
        const double d = reached[host::at(start)], other = reached[host::at(over)];
        const double both = dot(base, side);
        const double along = 0.5 * (d * d - other * other + dot(base, base));
        const double offSquare = d * d * dot(base, base) - along * along;
        const bool onBase = offSquare < 0.0 && offSquare >= -1e-12 * d * d * dot(base, base);
        const double pointOff = onBase ? 0.0 : std::sqrt(offSquare);
        const double cornerOff = std::sqrt(dot(side, side) * dot(base, base) - both * both);
        const bool crosses =
            cornerOff > 0.0 && along * cornerOff + both * pointOff >= 0.0 &&
            (dot(base, base) - along) * cornerOff + (dot(base, base) - both) * pointOff >= 0.0;
        const double apart = both - along, off = pointOff + cornerOff;
        return crosses ? std::sqrt((apart * apart + off * off) / dot(base, base)) : d + length(side);
    };
    for (const std::int32_t v : mesh.triangles[from.triangle]) {
        improve(v, distance(mesh.positions[host::at(v)], from.position));
    }
    while (!open.empty() && open.begin()->first <= farthest) {
        const auto [d, v] = *open.begin();
        open.erase(open.begin());
        for (const auto& [a, b, c] : mesh.triangles) {
            if (d <= reached[host::at(v)] && (a == v || b == v || c == v)) {
                const std::int32_t next = a == v ? b : b == v ? c : a;
                const std::int32_t last = a == v ? c : b == v ? a : b;
                improve(next, way(v, next, last));
                improve(last, way(v, last, next));
            }
        }
    }
    return reached;
}

TEST(HostShortcuts, FrontGoesAsThePlainOne) {
    std::mt19937 random(5);
    std::vector<Mould> moulds = smoothMoulds();
    for (const Mould& mould : tornMoulds()) {
        moulds.push_back(mould);
    }
    for (std::size_t m = 0; m < moulds.size(); ++m) {
        for (const double squeeze : {1.0, 1e-2, 1e-6}) {
            host::TriangleMesh mesh = hostMesh(moulds[m].surface);
            for (host::Point& p : mesh.positions) {
                p = {1e3 * static_cast<double>(m % 3) + p[0], squeeze * p[1], p[2]};
            }
            const host::Front front(mesh);
            for (const double farthest : {1e300, 2.0}) {
                const std::size_t t = random() % mesh.triangles.size();
                const host::SurfacePoint from{host::centreOf(mesh, t), t, 0.0};
                ASSERT_EQ(front.distancesFrom(from, farthest), plainDistances(mesh, from, farthest))
                    << m << ' ' << squeeze;
            }
        }
    }
}

host::PolygonSoup soupOf(const host::TriangleMesh& mesh) {
    host::PolygonSoup soup;
    soup.points = mesh.positions;
    for (const host::Triangle& t : mesh.triangles) {
        soup.polygons.emplace_back(t.begin(), t.end());
    }
    return soup;
}

// Each lies in the triangle that is farthest from the seeds before it and half as far from the outline, by
// distances all over the surface.
TEST(HostShortcuts, SeedsAreThoseOfWholeFronts) {
    std::vector<Surface> moulds{squareMould(100.0, 90, doubleDomeHeight(100.0))};
    for (const Mould& mould : smoothMoulds()) {
        moulds.push_back(mould.surface);
    }
    for (const Surface& mould : moulds) {
        host::Notes notes;
        const host::Surface surface = host::preparedSurface(soupOf(hostMesh(mould)), {}, {}, notes);
        const std::vector<host::Point> seeds = host::spreadSeeds(surface, 12);
        ASSERT_EQ(seeds.size(), 12U);
        const host::Front front(surface.mesh);
        std::vector<double> room = front.distancesFrom(surface.mould->loops.front().vertices);
        std::transform(room.begin(), room.end(), room.begin(), [](double d) { return 2.0 * d; });
        for (std::size_t k = 0; k + 1 < seeds.size(); ++k) {
            const auto more = front.distancesFrom(host::nearestPoint(*surface.mould, seeds[k]));
            std::transform(room.begin(), room.end(), more.begin(), room.begin(),
                           [](double a, double b) { return std::min(a, b); });
            std::size_t farthest = 0;
            double most = 0.0;
            for (std::size_t t = 0; t < surface.mesh.triangles.size(); ++t) {
                const auto& [a, b, c] = surface.mesh.triangles[t];
                const double least = std::min({room[host::at(a)], room[host::at(b)], room[host::at(c)]});
                if (least > (1.0 + 1e-6) * most) {
                    most = least;
                    farthest = t;
                }
            }
            ASSERT_EQ(seeds[k + 1], host::centreOf(surface.mesh, farthest)) << k;
        }
    }
}

// Random triangles between a few points meet by threes, touch at vertices and wind round to their back.
TEST(HostShortcuts, NeighboursHandedOnAreThoseOfTheMesh) {
    std::mt19937 random(7);
    std::size_t known = 0;
    for (int round = 0; round < 3000; ++round) {
        host::TriangleMesh mesh;
        const std::size_t points = 4 + random() % 9;
        for (std::size_t p = 0; p < points; ++p) {
            const auto coordinate = [&] { return static_cast<double>(random() % 1000); };
            const double x = coordinate(), y = coordinate(), z = coordinate();
            mesh.positions.push_back({x, y, z});
        }
        std::set<std::set<std::int32_t>> taken;
        for (std::size_t k = 0, count = 2 + random() % 7; k < count; ++k) {
            const auto corner = [&] { return static_cast<std::int32_t>(random() % points); };
            const std::int32_t a = corner(), b = corner(), c = corner();
            if (a != b && b != c && c != a && taken.insert({a, b, c}).second) {
                mesh.triangles.push_back({a, b, c});
                mesh.sourceFaces.push_back(static_cast<std::int32_t>(mesh.triangles.size()));
            }
        }
        host::Notes notes;
        host::Sheet sheet = host::chosenPiece(host::sheetOf(mesh, notes), nullptr, notes);
        if (round % 2 == 0) {
            host::turnOver(sheet);
        }
        sheet = host::inSpatialOrder(sheet);
        if (!sheet.neighbours.empty()) {
            EXPECT_EQ(sheet.neighbours, host::topologyOf(sheet.mesh).neighbours) << round;
            ++known;
        }
    }
    EXPECT_GT(known, 300U);
}

// The distances of a base's ends add up to its length then but for rounding, whichever way that falls.
TEST(HostShortcuts, FrontFromAnEdgeGoesStraight) {
    using namespace drape::host::vec;
    host::TriangleMesh mesh =
        hostMesh(squareMould(10.0, 12, [](double x, double y) { return 0.3 * x - 0.2 * y; }));
    const host::Front front(mesh);
    std::mt19937 random(3);
    for (std::size_t round = 0; round < 50; ++round) {
        const std::size_t t = random() % mesh.triangles.size();
        const double share = 0.01 * static_cast<double>(1 + random() % 99);
        const host::Point from = mix(mesh.corner(t, round % 3), mesh.corner(t, (round + 1) % 3U), share);
        const std::vector<double> distances = front.distancesFrom(host::SurfacePoint{from, t, 0.0});
        for (std::size_t v = 0; v < distances.size(); ++v) {
            const double straight = distance(from, mesh.positions[v]);
            ASSERT_NEAR(distances[v], straight, 0.01 * straight) << round;
        }
    }
}

TEST(HostShortcuts, SweepGivesTheSameOnAnyThreads) {
    const host::PolygonSoup soup = soupOf(hostMesh(dome(5.0, 16)));
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
