// Slits and darts on surfaces whose answer is known: a slit takes nothing away, the sides of a dart open by
// the angle that the surface lacks around the tip and close by what it has too much, and a bowl that locks
// drapes farther with darts.
#include "host_drape.h"

#include "host/cloth/dart.h"
#include "host/mesh/slit.h"
#include "host/search/cover.h"
#include "host/search/dart_search.h"
#include "host/search/slit_cover.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <numbers>

namespace drape_test {
namespace {

using namespace drape::host::vec;
using host::at;
using host::Point;
using host::SlitWay;

constexpr double pi = std::numbers::pi;

// Rings of triangles around the origin out to radius 1, at `place(radius, turn)`.
template <class Place>
host::TriangleMesh disc(std::int32_t rings, std::int32_t around, Place place) {
    host::TriangleMesh mesh;
    mesh.positions.push_back(place(0.0, 0.0));
    for (std::int32_t r = 1; r <= rings; ++r) {
        for (std::int32_t s = 0; s < around; ++s) {
            mesh.positions.push_back(place(static_cast<double>(r) / rings, 2.0 * pi * s / around));
        }
    }
    const auto on = [&](std::int32_t r, std::int32_t s) { return 1 + (r - 1) * around + s % around; };
    for (std::int32_t s = 0; s < around; ++s) {
        mesh.triangles.push_back({0, on(1, s), on(1, s + 1)});
        for (std::int32_t r = 1; r < rings; ++r) {
            mesh.triangles.push_back({on(r, s), on(r + 1, s), on(r + 1, s + 1)});
            mesh.triangles.push_back({on(r, s), on(r + 1, s + 1), on(r, s + 1)});
        }
    }
    mesh.sourceFaces.assign(mesh.triangles.size(), 1);
    return mesh;
}

// Rays of length 100 from the origin. With `wave` 0 a cone of the slope that `height` gives; with waves they
// rise and fall, so that there is more than a full turn around the origin.
host::TriangleMesh rays(double height, double wave) {
    return disc(20, 80, [&](double radius, double turn) {
        const Point along = unit({std::cos(turn), std::sin(turn), -height + wave * std::cos(2.0 * turn)});
        return scale(along, 100.0 * radius);
    });
}

host::TriangleMesh bowl() {
    return disc(16, 48, [](double radius, double turn) {
        const double x = 10.0 * radius * std::cos(turn);
        const double y = 10.0 * radius * std::sin(turn);
        return Point{x, y, -0.045 * (x * x + y * y)};
    });
}

// Along the surface away from the origin, beside all vertices.
SlitWay wayFromMiddle(const host::TriangleMesh& mesh, double turn) {
    const Point out = unit({std::cos(turn), std::sin(turn), 0.0});
    return {mesh.positions[0], out, {-out[1], out[0], 0.0}};
}

struct Part {
    Part(host::TriangleMesh mesh, double step, double locking) {
        surface.mesh = std::move(mesh);
        surface.mould = std::make_shared<const host::Mould>(host::mouldOf(surface.mesh));
        surface.steps = {step, step};
        wishes.lockingAngle = locking;
        constexpr double infinite = std::numeric_limits<double>::infinity();
        cover =
            std::make_unique<host::CoverGround>(host::coverGroundOf(surface, wishes, {infinite, infinite}));
    }

    host::Surface surface;
    host::TrialWishes wishes;
    std::unique_ptr<host::CoverGround> cover;
};

double lengthOf(const std::vector<Point>& line) {
    double sum = 0.0;
    for (std::size_t k = 0; k + 1 < line.size(); ++k) {
        sum += distance(line[k], line[k + 1]);
    }
    return sum;
}

TEST(Slit, TakesNothingAwayAndDoublesWhatLiesOnIt) {
    const host::TriangleMesh whole = bowl();
    const host::Mould before = host::mouldOf(whole);
    const Point inside = host::centreOf(whole, 700);
    // From the vertex in the middle, and from within a triangle.
    for (const SlitWay& way :
         {wayFromMiddle(whole, 0.07), SlitWay{inside, {0.0, 1.0, 0.0}, {1.0, 0.0, 0.0}}}) {
        const std::vector<SlitWay> ways{way};
        const host::SlitMesh slit = host::slitAlong(whole, ways);
        ASSERT_EQ(slit.lines.size(), 1U);
        const std::vector<Point>& line = slit.lines[0];
        ASSERT_GT(line.size(), 3U);
        const host::Mould after = host::mouldOf(slit.mesh);
        EXPECT_NEAR(after.area, before.area, 1e-9 * before.area);
        ASSERT_EQ(after.loops.size(), 1U);
        EXPECT_NEAR(after.loops[0].length, before.loops[0].length + 2.0 * lengthOf(line), 1e-9);
        EXPECT_EQ(host::SlitLines(whole).lineOf(way), line);
        for (std::size_t k = 0; k < line.size(); ++k) {
            EXPECT_NEAR(dot(line[k] - way.tip, way.normal), 0.0, 0.03) << "off the plane";
            EXPECT_EQ(std::count(slit.mesh.positions.begin(), slit.mesh.positions.end(), line[k]),
                      k == 0 ? 1 : 2);
        }
        std::vector<double> x;
        for (const Point& p : whole.positions) {
            x.push_back(p[0]);
        }
        x = host::onSlit(x, slit);
        ASSERT_EQ(x.size(), slit.mesh.positions.size());
        for (std::size_t v = 0; v < x.size(); ++v) {
            EXPECT_NEAR(x[v], slit.mesh.positions[v][0], 1e-12);
        }
    }
}

TEST(Slit, EndsAtAnEarlierOneAndNeedsASurfaceThatEnds) {
    const host::TriangleMesh whole = bowl();
    const host::SurfacePoint above = host::nearestSurfacePoint(whole, {5.0, 3.0, -1.5});
    const std::vector<SlitWay> ways{
        wayFromMiddle(whole, 0.07),
        {host::centreOf(whole, above.triangle), {0.0, -1.0, 0.0}, {1.0, 0.0, 0.0}}};
    const host::SlitMesh slit = host::slitAlong(whole, ways);
    const Point across{-ways[0].along[1], ways[0].along[0], 0.0};
    ASSERT_FALSE(slit.lines[1].empty());
    EXPECT_NEAR(dot(slit.lines[1].back(), across), 0.0, 0.02);
    EXPECT_EQ(host::mouldOf(slit.mesh).loops.size(), 1U);

    host::TriangleMesh closed;
    closed.positions = {{1, 0, 0}, {-1, 0, 0}, {0, 1, 0}, {0, -1, 0}, {0, 0, 1}, {0, 0, -1}};
    closed.triangles = {{0, 2, 4}, {2, 1, 4}, {1, 3, 4}, {3, 0, 4},
                        {2, 0, 5}, {1, 2, 5}, {3, 1, 5}, {0, 3, 5}};
    closed.sourceFaces.assign(8, 1);
    SlitWay round{host::centreOf(closed, 0), unit({1.0, -1.0, 0.0}), unit({1.0, 1.0, -2.0})};
    EXPECT_TRUE(host::slitAlong(closed, std::vector{round}).lines[0].empty());
    round.farthest = 1.5;
    const host::SlitMesh cut = host::slitAlong(closed, std::vector{round});
    const host::Mould mould = host::mouldOf(cut.mesh);
    ASSERT_EQ(mould.loops.size(), 1U);
    EXPECT_NEAR(mould.loops[0].length, 2.0 * lengthOf(cut.lines[0]), 1e-12);
}

TEST(Dart, OpensByTheAngleThatTheSurfaceLacksAroundItsTip) {
    struct Case {
        double height, wave;
    };
    for (const auto& [height, wave] : {Case{0.0, 0.0}, Case{0.45, 0.0}, Case{0.9, 0.0}, Case{0.0, 0.35}}) {
        const host::TriangleMesh mesh = rays(height, wave);
        double full = 0.0;
        for (std::int32_t s = 0; s < 80; ++s) {
            const Point a = mesh.positions[at(1 + s)];
            const Point b = mesh.positions[at(1 + (s + 1) % 80)];
            full += std::acos(dot(unit(a), unit(b)));
        }
        const double lacks = (2.0 * pi - full) * 180.0 / pi;
        const Part part(mesh, 4.0, 80.0);
        const host::SlitCover slit(*part.cover, {wayFromMiddle(mesh, pi - 0.013)});
        const Point seed = mesh.positions[at(1 + 9 * 80)] +
                           0.2 * (mesh.positions[at(2 + 9 * 80)] - mesh.positions[at(1 + 9 * 80)]);
        const host::Trial drape = host::drapePart(slit.cover(), slit.cover().surface.mould, {seed, 0.0});
        ASSERT_EQ(drape.grid.status, DRAPE_OK);
        const auto measures = host::measure(*drape.mould, drape.grid, 45.0);
        const auto darts = host::dartsOn(measures.net, slit.lines(), 4.0);
        ASSERT_EQ(darts.size(), 1U) << "lacks " << lacks;
        const host::Dart& dart = darts[0];
        EXPECT_NEAR(dart.length, 100.0, 1.0);
        EXPECT_NEAR(dart.angle, lacks, 2.0);
        EXPECT_NEAR(dart.width, 200.0 * std::sin(0.5 * lacks * pi / 180.0), 3.0);
        EXPECT_EQ(dart.isV() || std::abs(lacks) < 1.0, lacks > -1.0);
        EXPECT_EQ(measures.net.overlapArea > 50.0, lacks < -1.0) << "cloth over cloth on the pattern";
        for (const auto& leg : dart.legs) {
            double length = 0.0;
            for (std::size_t k = 0; k + 1 < leg.size(); ++k) {
                length += std::hypot(leg[k + 1][0] - leg[k][0], leg[k + 1][1] - leg[k][1]);
            }
            EXPECT_NEAR(length, dart.length, 0.04 * dart.length);
        }
    }
}

TEST(DartSearch, LetsABowlThatLocksDrapeFarther) {
    const Part part(bowl(), 1.0, 14.0);
    const host::PieceTry plain{{{0.1, 0.2, 0.0}, 0.0}, nullptr};
    host::PieceTry wished(plain);
    wished.darts = 4;
    const host::ForEach forward = host::inTurn;
    const host::ForEach backward = [](std::size_t count, const std::function<void(std::size_t)>& work) {
        for (std::size_t k = count; k-- > 0;) {
            work(k);
        }
    };
    const host::Territory without = host::territoryOf(*part.cover, plain);
    const host::Territory with = host::dartedTerritory(*part.cover, wished, forward);
    ASSERT_FALSE(with.slits.empty());
    EXPECT_LE(with.slits.size(), 4U);
    EXPECT_GT(with.area,
              without.area + 0.02 * static_cast<double>(with.slits.size()) * part.cover->ground.area);
    const host::Territory again = host::dartedTerritory(*part.cover, wished, backward);
    EXPECT_EQ(again.vertices, with.vertices);
    EXPECT_EQ(again.depths, with.depths);

    host::CoverWishes wishes;
    wishes.darts = 4;
    const host::PieceSet set = host::pieceFrom(part.surface, part.wishes, wishes, plain.start, forward);
    ASSERT_EQ(set.pieces.size(), 1U);
    const host::CoverPiece& piece = set.pieces[0];
    EXPECT_EQ(piece.darts.size(), with.slits.size());
    EXPECT_EQ(piece.drape.grid.status, DRAPE_OK);
    EXPECT_LE(piece.drape.measures.largestShear, 14.0);
    EXPECT_LT(piece.drape.measures.doubledShare, 1e-3);
    EXPECT_FALSE(host::liesOverItself(piece.drape.measures.net));
    EXPECT_NEAR(set.coveredShare * part.cover->ground.area, with.area, 0.03 * with.area);
    for (const host::Dart& dart : piece.darts) {
        EXPECT_GT(dart.width, 0.0) << "on a bowl all open";
    }
}

TEST(DartSearch, ADartInASetSavesAPiece) {
    const Part part(bowl(), 1.0, 16.0);
    const host::TerritorySpread spread =
        [](const std::vector<host::PieceTry>& tries,
           const std::function<host::Territory(const host::PieceTry&)>& work) {
            std::vector<host::Territory> found;
            std::transform(tries.begin(), tries.end(), std::back_inserter(found), work);
            return found;
        };
    host::CoverWishes wishes;
    wishes.share = 0.97;
    const host::PieceSet without =
        host::coveredBy(part.surface, part.wishes, wishes, spread, host::inTurn, nullptr, false);
    wishes.darts = 4;
    const host::PieceSet with =
        host::coveredBy(part.surface, part.wishes, wishes, spread, host::inTurn, nullptr, false);
    ASSERT_GE(without.coveredShare, wishes.share);
    EXPECT_GE(with.coveredShare, wishes.share);
    EXPECT_LT(with.pieces.size(), without.pieces.size());
    // Nothing is slit where one piece covers all as it is.
    const Part shallow(bowl(), 1.0, 60.0);
    const host::PieceSet whole =
        host::coveredBy(shallow.surface, shallow.wishes, wishes, spread, host::inTurn, nullptr, false);
    ASSERT_EQ(whole.pieces.size(), 1U);
    EXPECT_TRUE(whole.pieces[0].darts.empty());
}

} // namespace
} // namespace drape_test
