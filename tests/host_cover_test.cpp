// Pieces that cover a part, on sheets small enough to know the answer: territories that overlap are shared
// out without loss, the choice takes no more of them than it needs, and each piece is what its part of the
// surface drapes to.
#include "host_drape.h"

#include "host/search/cover.h"
#include "host/search/cover_claims.h"
#include "host/search/cover_layout.h"
#include "host/search/territory_pool.h"
#include "host/search/territory_shares.h"

#include <gtest/gtest.h>
#include <set>

namespace drape_test {
namespace {

using host::at;
using host::Point;
using host::Territory;

// `columns` by `rows` squares of 1, two triangles each.
host::TriangleMesh sheet(std::int32_t columns, std::int32_t rows, double bend) {
    host::TriangleMesh mesh;
    for (std::int32_t j = 0; j <= rows; ++j) {
        for (std::int32_t i = 0; i <= columns; ++i) {
            const double x = i - 0.5 * columns;
            const double y = j - 0.5 * rows;
            mesh.positions.push_back({x, y, bend * (x * x + y * y)});
        }
    }
    for (std::int32_t j = 0; j < rows; ++j) {
        for (std::int32_t i = 0; i < columns; ++i) {
            const std::int32_t v = j * (columns + 1) + i;
            mesh.triangles.push_back({v, v + 1, v + columns + 2});
            mesh.triangles.push_back({v, v + columns + 2, v + columns + 1});
        }
    }
    mesh.sourceFaces.assign(mesh.triangles.size(), 1);
    return mesh;
}

struct Part {
    explicit Part(host::TriangleMesh mesh, double step) {
        surface.mesh = std::move(mesh);
        surface.mould = std::make_shared<const host::Mould>(host::mouldOf(surface.mesh));
        surface.steps = {step, step};
        cover = std::make_unique<host::CoverGround>(host::coverGroundOf(
            surface, wishes,
            {std::numeric_limits<double>::infinity(), std::numeric_limits<double>::infinity()}));
    }

    // Of all within a box, as deep as the way to its sides.
    Territory box(double left, double right, double low, double high) const {
        Territory territory;
        territory.start.seed = {0.5 * (left + right), 0.5 * (low + high), 0.0};
        const auto& places = cover->ground.mesh.positions;
        for (std::size_t v = 0; v < places.size(); ++v) {
            const Point& p = places[v];
            const double depth = std::min({p[0] - left, right - p[0], p[1] - low, high - p[1]});
            if (depth > -surface.steps[0]) {
                territory.vertices.push_back(static_cast<std::int32_t>(v));
                territory.depths.push_back(static_cast<float>(depth));
                territory.area += depth > 0.0 ? cover->ground.areas[v] : 0.0;
            }
        }
        return territory;
    }

    host::Surface surface;
    host::TrialWishes wishes;
    std::unique_ptr<host::CoverGround> cover;
};

// How many parts each label falls into.
std::vector<int> partsOf(const host::Ground& ground, const std::vector<std::int32_t>& labels,
                         std::size_t count) {
    std::vector<int> parts(count, 0);
    std::vector<char> seen(labels.size(), 0);
    for (std::size_t first = 0; first < labels.size(); ++first) {
        if (labels[first] < 0 || seen[first] != 0) {
            continue;
        }
        ++parts[at(labels[first])];
        std::vector<std::int32_t> open{static_cast<std::int32_t>(first)};
        seen[first] = 1;
        for (std::size_t k = 0; k < open.size(); ++k) {
            for (const std::int32_t next : ground.around(open[k])) {
                if (seen[at(next)] == 0 && labels[at(next)] == labels[first]) {
                    seen[at(next)] = 1;
                    open.push_back(next);
                }
            }
        }
    }
    return parts;
}

TEST(Cover, TwoThatOverlapMeetInTheMiddle) {
    const Part part(sheet(20, 10, 0.0), 1.0);
    const Territory left = part.box(-11.0, 3.25, -99.0, 99.0);
    const Territory right = part.box(-2.25, 11.0, -99.0, 99.0);
    const host::TerritoryShares shares(*part.cover, 0.0, {&left, &right});
    EXPECT_NEAR(shares.coveredShare(), 1.0, 1e-12);
    EXPECT_NEAR(shares.areas()[0], 105.0, 5.0); // up to x = 0.5
    const auto& places = part.cover->ground.mesh.positions;
    for (const host::Triangle& t : part.cover->ground.mesh.triangles) {
        const std::int32_t low = std::min(t[0], t[1]);
        const std::int32_t high = std::max(t[0], t[1]);
        if (shares.labels()[at(low)] != shares.labels()[at(high)]) {
            const double share = shares.lineBetween(low, high);
            EXPECT_NEAR(host::vec::mix(places[at(low)], places[at(high)], share)[0], 0.5, 1e-6);
        }
    }
}

TEST(Cover, WhereATerritoryHasNoClothAnotherGoesFirst) {
    const Part part(sheet(20, 10, 0.0), 1.0);
    Territory left = part.box(-11.0, 3.25, -99.0, 99.0);
    const Territory right = part.box(-2.25, 11.0, -99.0, 99.0);
    const auto& places = part.cover->ground.mesh.positions;
    double lost = 0.0;
    for (const std::int32_t v : left.vertices) {
        const double x = places[at(v)][0];
        if (x < -9.0 || (x > -2.0 && x < 3.25)) {
            left.bare.push_back(v);
            lost += x < -9.0 ? part.cover->ground.areas[at(v)] : 0.0;
        }
    }
    const host::TerritoryShares shares(*part.cover, 0.0, {&left, &right});
    for (const std::int32_t v : left.bare) {
        EXPECT_EQ(shares.labels()[at(v)], places[at(v)][0] < -9.0 ? 0 : 1);
    }
    EXPECT_GT(lost, 0.0);
    EXPECT_NEAR(shares.coveredShare() * part.cover->ground.area, part.cover->ground.area - lost, 1e-9);
    EXPECT_LT(shares.mostShareWithout(1), 0.65); // neither what the right one alone has nor the bare places
}

TEST(Cover, ABarAcrossAnotherLeavesBothWhole) {
    // The upright bar is deeper in the middle and would cut the lying one in two.
    const Part part(sheet(20, 20, 0.0), 1.0);
    const Territory lying = part.box(-9.5, 9.5, -1.5, 1.5);
    const Territory upright = part.box(-2.5, 2.5, -8.5, 2.5);
    const host::TerritoryShares shares(*part.cover, 0.0, {&lying, &upright});
    for (const int parts : partsOf(part.cover->ground, shares.labels(), 2)) {
        EXPECT_EQ(parts, 1);
    }
    const double whole = lying.area + upright.area - part.box(-2.5, 2.5, -1.5, 1.5).area;
    EXPECT_NEAR(shares.coveredShare() * part.cover->ground.area, whole, 16.0); // what sticks out on one side
}

TEST(Cover, WhatATerritoryCannotHaveGoesToItsNeighbour) {
    const Part part(sheet(20, 10, 0.0), 1.0);
    const Territory left = part.box(-11.0, 3.0, -99.0, 99.0);
    const Territory right = part.box(-5.5, 11.0, -99.0, 99.0);
    host::TerritoryShares shares(*part.cover, 0.0, {&left, &right});
    const auto& places = part.cover->ground.mesh.positions;
    std::vector<double> most;
    for (const Point& p : places) {
        most.push_back(-7.5 - p[0]);
    }
    shares.limit(0, most);
    for (std::size_t v = 0; v < places.size(); ++v) {
        const double x = places[v][0];
        EXPECT_EQ(shares.labels()[v], x < -7.5 ? 0 : x > -5.5 ? 1 : -1) << x;
    }
    // The claims are cut along the ends of both.
    host::CoverClaims claims(part.cover->ground, shares);
    const host::TriangleMesh& mesh = claims.mesh();
    double bare = 0.0;
    for (std::size_t t = 0; t < claims.pieces().size(); ++t) {
        bare += claims.pieces()[t] < 0
                    ? host::vec::areaOf(mesh.corner(t, 0), mesh.corner(t, 1), mesh.corner(t, 2))
                    : 0.0;
    }
    EXPECT_NEAR(bare, 20.0, 0.25);
    // What else a piece can't have is cut off its claim, and that of its neighbour stays as it is.
    std::vector<double> less;
    for (const Point& p : places) {
        less.push_back(-8.25 - p[0]);
    }
    const host::Sheet cut = claims.partUnder(0, 0.0, claims.reachOf(0, 0.0, less));
    EXPECT_NEAR(host::mouldOf(cut).area, 17.5, 0.25);
    const host::Sheet before = claims.partUnder(1, 0.0, claims.reachOf(1, 0.0, {}));
    claims.leave(0, less);
    const host::Sheet after = claims.partUnder(1, 0.0, claims.reachOf(1, 0.0, {}));
    EXPECT_EQ(after.mesh.positions, before.mesh.positions);
    EXPECT_EQ(after.mesh.triangles, before.mesh.triangles);
    EXPECT_NEAR(host::mouldOf(claims.partUnder(0, 0.0, claims.reachOf(0, 0.0, {}))).area, 17.5, 0.25);
}

TEST(Cover, WhereNoClothStartsIsLeftBare) {
    const Part part(sheet(20, 10, 0.0), 1.0);
    host::TrialWishes upright;
    upright.start.warp = Point{0.0, 0.0, 1.0};
    const double any = std::numeric_limits<double>::infinity();
    const host::CoverGround cover = host::coverGroundOf(part.surface, upright, {any, any});
    const Territory left = part.box(-11.0, 3.0, -99.0, 99.0);
    const Territory right = part.box(-5.5, 11.0, -99.0, 99.0);
    const host::LaidOut none = host::laidOut(cover, {}, {&left, &right}, 0.0, host::inTurn);
    EXPECT_TRUE(none.set.pieces.empty());
    EXPECT_EQ(none.set.coveredShare, 0.0);
}

TEST(Cover, PiecesDrapeByThemselvesToWhatTheyAre) {
    Part part(sheet(14, 14, 0.06), 1.0);
    part.wishes.lockingAngle = 12.0;
    host::CoverWishes wishes;
    wishes.share = 0.97;
    const host::PieceSet set = host::coveredBy(part.surface, part.wishes, wishes,
                                               host::spreadBy(host::inTurn), host::inTurn, nullptr, false);
    ASSERT_GT(set.pieces.size(), 1U);
    EXPECT_GE(set.coveredShare, wishes.share);
    double claimed = 0.0;
    double lain = 0.0;
    for (const host::CoverPiece& piece : set.pieces) {
        host::Surface alone(part.surface);
        alone.mould = piece.drape.mould;
        host::Notes notes;
        const host::Trial again =
            host::drapeFrom(alone, part.wishes, piece.drape.choice.seed, piece.start.angle, notes);
        EXPECT_EQ(again.grid.position, piece.drape.grid.position);
        EXPECT_LE(again.measures.largestShear, 12.0);
        claimed += piece.claimed;
        lain += piece.drape.mould->area * again.measures.coveredShare;
    }
    EXPECT_NEAR(claimed / part.surface.mould->area, set.coveredShare, 1e-9);
    EXPECT_NEAR(claimed, lain, 1e-2 * claimed); // butt joints
}

// On a flat sheet how far the inside of a territory goes along warp and weft, and whether its seed is inside.
struct Stretch {
    std::array<double, 2> low{99.0, 99.0};
    std::array<double, 2> high{-99.0, -99.0};
    bool holdsSeed = false;

    Stretch(const Territory& territory, const host::Ground& ground) {
        const double angle = territory.start.angle * std::acos(-1.0) / 180.0;
        for (std::size_t k = 0; k < territory.vertices.size(); ++k) {
            if (territory.depths[k] > 0.0F) {
                const Point& p = ground.mesh.positions[at(territory.vertices[k])];
                const std::array<double, 2> flat{std::cos(angle) * p[0] + std::sin(angle) * p[1],
                                                 std::cos(angle) * p[1] - std::sin(angle) * p[0]};
                for (std::size_t axis = 0; axis < 2; ++axis) {
                    low[axis] = std::min(low[axis], flat[axis]);
                    high[axis] = std::max(high[axis], flat[axis]);
                }
                holdsSeed = holdsSeed || p == territory.start.seed;
            }
        }
    }
};

TEST(Cover, AStripOfNarrowClothHoldsItsSeedWhereverThatIs) {
    Part part(sheet(18, 18, 0.0), 1.0);
    const std::array<double, 2> most{9.0, 3.5};
    for (const std::array<double, 2> steps : {std::array<double, 2>{0.75, 0.75}, {1.0, 0.7}, {0.7, 1.0}}) {
        part.surface.steps = steps;
        const host::CoverGround cover = host::coverGroundOf(part.surface, part.wishes, most);
        for (const double x : {-8.0, -5.0, 0.0, 3.0, 8.0}) {
            for (const double y : {-8.0, -2.0, 0.0, 5.0, 8.0}) {
                const Territory strip = host::territoryOf(cover, {{{x, y, 0.0}, 20.0}, nullptr, 0});
                const Stretch stretch(strip, cover.ground);
                EXPECT_TRUE(stretch.holdsSeed) << x << ' ' << y << ' ' << steps[0];
                for (std::size_t axis = 0; axis < 2; ++axis) {
                    const double length = stretch.high[axis] - stretch.low[axis];
                    EXPECT_LE(length, most[axis]);
                    EXPECT_GT(length, 0.7 * most[axis]) << x << ' ' << y << ' ' << steps[0];
                }
            }
        }
    }
}

TEST(Cover, NoMoreAreChosenThanAreNeeded) {
    const Part part(sheet(20, 10, 0.0), 1.0);
    host::TerritoryPool pool(*part.cover, 0.0);
    // The greedy first would be the middle one, which needs two more.
    pool.add(part.box(-6.2, 6.2, -99.0, 99.0));
    pool.add(part.box(-11.0, 0.2, -99.0, 99.0));
    pool.add(part.box(-0.2, 11.0, -99.0, 99.0));
    pool.add(part.box(-11.0, -4.8, -99.0, 99.0));
    const host::Chosen chosen = pool.carriedOn({0}, 0.99);
    EXPECT_EQ(std::set<std::size_t>(chosen.begin(), chosen.end()), (std::set<std::size_t>{1, 2}));
    EXPECT_EQ(pool.carriedOn({}, 0.99), pool.carriedOn({}, 0.99));
}

TEST(Cover, FewerAreFoundPastChoicesThatCoverLess) {
    const Part part(sheet(20, 10, 0.0), 1.0);
    host::TerritoryPool pool(*part.cover, 0.0);
    // Three strips lie over all of it, and any exchange of one of them for a half loses a good part.
    pool.add(part.box(-11.0, -2.9, -99.0, 99.0));
    pool.add(part.box(-3.2, 3.2, -99.0, 99.0));
    pool.add(part.box(2.9, 11.0, -99.0, 99.0));
    pool.add(part.box(-99.0, 99.0, -11.0, 0.2));
    pool.add(part.box(-99.0, 99.0, -0.2, 11.0));
    const std::vector<host::Chosen> two = pool.choicesOf(2, {0, 1, 2}, 0.99);
    ASSERT_EQ(two.size(), 1U);
    EXPECT_EQ(std::set<std::size_t>(two[0].begin(), two[0].end()), (std::set<std::size_t>{3, 4}));
    EXPECT_TRUE(pool.choicesOf(1, {3, 4}, 0.99).empty());
}

TEST(Cover, MoreBatchesNeverGiveAWorseSet) {
    // A bowl too deep for one ply at a locking angle of 12 degrees.
    Part part(sheet(14, 14, 0.06), 1.0);
    part.wishes.lockingAngle = 12.0;
    host::CoverWishes wishes;
    wishes.share = 0.97;
    double share = 0.0;
    std::size_t pieces = 99;
    double seams = 0.0;
    for (const int batches : {1, 2, 4, 7}) {
        int told = 0;
        const host::GoOn heard = [&](const host::CoverProgress&) { return ++told <= batches; };
        const host::PieceSet set = host::coveredBy(part.surface, part.wishes, wishes,
                                                   host::spreadBy(host::inTurn), host::inTurn, heard, true);
        ASSERT_FALSE(set.pieces.empty());
        for (const host::CoverPiece& piece : set.pieces) {
            EXPECT_LE(piece.drape.measures.largestShear, 12.0);
        }
        if (share < wishes.share) {
            EXPECT_GE(set.coveredShare, share);
        } else {
            EXPECT_GE(set.coveredShare, wishes.share);
            EXPECT_LE(set.pieces.size(), pieces);
            EXPECT_TRUE(set.pieces.size() < pieces || set.seamLength <= seams || set.coveredShare >= share);
        }
        share = set.coveredShare;
        pieces = set.pieces.size();
        seams = set.seamLength;
    }
    EXPECT_GT(pieces, 1U);
}

} // namespace
} // namespace drape_test
