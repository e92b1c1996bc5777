// Figures of the host core worked out anew on moulds and cells that no swap or mirror leaves as they are:
// where candidates start, how a start is laid, how plies build up, how triangles are split, and where seams
// run on the flat pattern.
#include "host_drape.h"

#include "host/cloth/cloth_lines.h"
#include "host/cloth/edge_image.h"
#include "host/laminate/build_up.h"
#include "host/mesh/edge_split.h"
#include "host/search/candidates.h"
#include "host/search/piece_claims.h"

#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>
#include <numbers>

namespace drape_test {
namespace {

using host::Point;
using host::Triangle;
using namespace host::vec;

host::TriangleMesh meshOf(std::vector<Point> positions, std::vector<Triangle> triangles) {
    host::TriangleMesh mesh{std::move(positions), std::move(triangles), {}};
    for (std::size_t t = 0; t < mesh.triangles.size(); ++t) {
        mesh.sourceFaces.push_back(static_cast<std::int32_t>(t + 1));
    }
    return mesh;
}

host::Surface surfaceOf(const host::TriangleMesh& mesh, const Point& seed) {
    host::Surface surface;
    surface.mesh = mesh;
    surface.mould = std::make_shared<const host::Mould>(host::mouldOf(mesh));
    surface.defaultSeed = seed;
    surface.steps = {1.3, 0.9};
    return surface;
}

// A level strip of `columns` by `rows` rectangles over the spans `x` and `y`.
host::TriangleMesh strip(double x, double y, int columns, int rows) {
    std::vector<Point> positions;
    std::vector<Triangle> triangles;
    for (int j = 0; j <= rows; ++j) {
        for (int i = 0; i <= columns; ++i) {
            positions.push_back({x * i / columns, y * j / rows, 0.0});
            if (i < columns && j < rows) {
                const int a = i + (columns + 1) * j;
                const int b = a + columns + 1;
                triangles.push_back({a, a + 1, b + 1});
                triangles.push_back({a, b + 1, b});
            }
        }
    }
    return meshOf(std::move(positions), std::move(triangles));
}

TEST(HostFigures, SeedsStandInRowsAlongTheFirstAxisAndNeverOutnumberTheTriangles) {
    const auto high = surfaceOf(strip(6.0, 20.0, 3, 5), {3.1, 9.0, 0.0});
    const std::vector<Point> seeds = host::gridSeeds(high, 3, 2);
    ASSERT_EQ(seeds.size(), 6U);
    for (std::size_t k = 0; k < seeds.size(); ++k) {
        const Point wanted{1.0 + 2.0 * static_cast<double>(k % 3), 5.0 + 10.0 * static_cast<double>(k / 3),
                           0.0};
        EXPECT_LT(distance(seeds[k], wanted), 1e-12) << k;
    }
    const auto small = surfaceOf(strip(6.0, 20.0, 1, 1), {3.1, 9.0, 0.0});
    EXPECT_EQ(host::spreadSeeds(small, 5).size(), 2U);
    EXPECT_EQ(host::spreadSeeds(high, 5).size(), 5U);
    EXPECT_EQ(host::spreadSeeds(high, 1), std::vector<Point>{high.defaultSeed});
}

TEST(HostFigures, WarpIsLaidAlongXUnlessTheSurfaceStandsAcrossIt) {
    for (const double sine : {0.005, 0.019, 0.021, 0.3}) {
        const double cosine = std::sqrt(1.0 - sine * sine);
        const Point normal{cosine, 0.0, sine};
        const Point up{-sine, 0.0, cosine};
        const Point y{0.0, 1.0, 0.0};
        const host::Mould mould = host::mouldOf(meshOf({{0, 0, 0}, 9.0 * y, 9.0 * up}, {{0, 1, 2}}));
        ASSERT_LT(distance(mould.facets[0].normal, normal), 1e-12);
        host::Notes notes;
        const host::Choice choice = host::choiceAt(mould, host::nearestPoint(mould, 2.0 * y + 2.0 * up),
                                                   host::StartWishes{}, 0.0, {1.3, 0.9}, notes);
        const bool upright = sine < 0.02;
        EXPECT_LT(distance(choice.warp, upright ? y : -1.0 * up), 1e-9) << sine;
        EXPECT_LT(distance(choice.weft, cross(normal, choice.warp)), 1e-12);
        ASSERT_EQ(notes.size(), upright ? 1U : 0U);
        EXPECT_TRUE(!upright || notes[0].kind == host::NoteKind::warpUpright);
    }
}

// A strip bent down on both sides of its middle: outside, the planes above both sides meet above the ridge;
// a ridge too sharp for that is moved by twice the thickness.
TEST(HostFigures, PliesBuildUpOverRidgesAndAreHeldInGrooves) {
    constexpr double thickness = 0.11;
    for (const double lean : {20.0, 50.0, 70.0, 80.0}) {
        const double cosine = std::cos(lean * std::numbers::pi / 180.0);
        const double sine = std::sin(lean * std::numbers::pi / 180.0);
        host::TriangleMesh tent = strip(8.0, 6.0, 2, 3);
        for (Point& p : tent.positions) {
            const double side = p[0] - 4.0;
            p = {side * cosine, p[1], -std::abs(side) * sine};
        }
        const auto surface = surfaceOf(tent, tent.positions[1]);
        host::Notes notes;
        const host::Surface above =
            host::builtUp(surface, host::Thickness(tent.triangles.size(), thickness), notes);
        EXPECT_TRUE(notes.empty());
        for (std::size_t v = 0; v < tent.positions.size(); ++v) {
            const Point moved = above.mesh.positions[v] - tent.positions[v];
            if (tent.positions[v][0] != 0.0) {
                EXPECT_NEAR(length(moved), thickness, 1e-12);
            } else if (v > 2 && v < tent.positions.size() - 3) { // at the ends one side has the wider angles
                EXPECT_NEAR(length(moved), thickness / std::max(cosine, 0.5), 1e-12) << lean;
            }
        }
    }
    // Three facets of a narrow groove, deep below walls that keep clear of each other.
    host::TriangleMesh groove = strip(8.0, 6.0, 4, 3);
    const std::array<Point, 5> section{{{-6, 0, 5}, {-1, 0, 0}, {0, 0, -0.1}, {1, 0, 0}, {6, 0, 5}}};
    for (Point& p : groove.positions) {
        const Point& at = section[static_cast<std::size_t>(std::lround(p[0] / 2.0))];
        p = {at[0], p[1], at[2]};
    }
    host::Notes notes;
    const host::Surface above = host::builtUp(surfaceOf(groove, groove.positions[1]),
                                              host::Thickness(groove.triangles.size(), 2.5), notes);
    ASSERT_EQ(notes.size(), 1U);
    EXPECT_EQ(notes[0].kind, host::NoteKind::buildUpHeld);
    std::size_t outer = 0; // the walls' own edges are free to move by all of it
    for (std::size_t v = 0; v < groove.positions.size(); ++v) {
        const double way = distance(above.mesh.positions[v], groove.positions[v]);
        outer += std::abs(groove.positions[v][0]) == 6.0 && std::abs(way - 2.5) < 1e-9 ? 1 : 0;
    }
    EXPECT_NE(notes[0].text.find(" at " + std::to_string(groove.positions.size() - outer) + " vertices"),
              std::string::npos)
        << notes[0].text << " " << outer;
}

TEST(HostFigures, SplitTrianglesAreCutAlongTheShorterDiagonal) {
    for (const double top : {1.0, 9.0}) { // which diagonal is the shorter one
        const host::TriangleMesh mesh = meshOf({{0, 0, 0}, {10, 0, 0}, {top, 4, 0}}, {{0, 1, 2}});
        for (std::int32_t whole = 0; whole < 3; ++whole) {
            const auto isWhole = [&](std::int32_t a, std::int32_t b) { return 3 - a - b == whole; };
            const host::SplitMesh split =
                host::splitEdges(mesh, [&](std::int32_t low, std::int32_t high) -> std::optional<double> {
                    return isWhole(low, high) ? std::nullopt : std::optional(0.4);
                });
            ASSERT_EQ(split.mesh.triangles.size(), 3U);
            EXPECT_EQ(split.added.size(), 2U);
            double area = 0.0;
            for (std::size_t t = 0; t < 3; ++t) {
                area += 0.5 * cross(split.mesh.corner(t, 1) - split.mesh.corner(t, 0),
                                    split.mesh.corner(t, 2) - split.mesh.corner(t, 0))[2];
            }
            EXPECT_NEAR(area, 20.0, 1e-12); // none is turned over, none lies on another
            // From both ends of the whole edge to the new vertex beyond: the one that is an edge now.
            std::vector<double> lengths;
            double drawn = 0.0;
            for (const host::EdgePoint& on : split.added) {
                const auto added = static_cast<std::int32_t>(3 + (&on - split.added.data()));
                const std::int32_t across = 3 - on.low - on.high;
                const Point& place = split.mesh.positions[host::at(added)];
                lengths.push_back(distance(place, mesh.positions[host::at(across)]));
                for (const Triangle& t : split.mesh.triangles) {
                    const auto names = [&](std::int32_t v) {
                        return std::find(t.begin(), t.end(), v) != t.end();
                    };
                    drawn = names(added) && names(across) ? lengths.back() : drawn;
                }
            }
            EXPECT_GT(std::abs(lengths[0] - lengths[1]), 0.1);
            EXPECT_EQ(drawn, std::min(lengths[0], lengths[1])) << top << " " << whole;
        }
    }
}

TEST(HostFigures, SeamsLieOnThePatternWhereTheClothDoes) {
    const Point seed{9.1, 4.2, 0.0};
    const HostDrape drape = hostDrape(strip(20.0, 11.0, 4, 3), {seed, 1.3, 0.9, 20.0});
    host::PieceSet set;
    set.pieces.resize(2);
    host::Trial& trial = set.pieces[1].drape;
    trial.mould = std::make_shared<const host::Mould>(drape.mould);
    trial.grid = drape.grid;
    trial.measures = drape.measures;
    const std::vector<Point> points{{3.0, 2.0, 0}, {7.7, 3.1, 0}, {8.2, 9.0, 0},  {60, 9, 0},
                                    {9.0, 9.5, 0}, {60, 8, 0},    {15.3, 2.2, 0}, {16.1, 7.3, 0}};
    set.seams.push_back({{0, 1}, points, 0.0});
    set.seams.push_back({{0, 0}, points, 0.0}); // of others
    const auto lines = host::seamsOnPattern(set, 1);
    ASSERT_EQ(lines.size(), 2U); // one point by itself is no line
    const std::array<std::vector<std::size_t>, 2> wanted{{{0, 1, 2}, {6, 7}}};
    for (std::size_t l = 0; l < 2; ++l) {
        ASSERT_EQ(lines[l].size(), wanted[l].size());
        for (std::size_t k = 0; k < wanted[l].size(); ++k) {
            const Point arm = points[wanted[l][k]] - drape.choice.seed;
            EXPECT_NEAR(lines[l][k][0], dot(arm, drape.choice.warp), 1e-6);
            EXPECT_NEAR(lines[l][k][1], dot(arm, drape.choice.weft), 1e-6);
        }
    }
}

// Over a cell that is bent to a saddle, a level line is near the cell at both ends of its diagonal and too
// far above it between them.
TEST(HostFigures, EdgesHaveAPartForEachStretchThatComesNearACell) {
    host::CellMap cell;
    cell.corners = {{{0.0, 0.0, 0.9}, {1.3, 0.0, -0.9}, {1.3, 0.9, 0.9}, {0.0, 0.9, -0.9}}};
    cell.normals.fill({0.0, 0.0, 1.0});
    constexpr double step = 1.3;
    const auto heightAt = [](double t) { return 0.9 * (1.0 - 2.0 * t) * (1.0 - 2.0 * t); };
    const host::Segment line{{0.0, 0.0, 1.5}, {1.3, 0.9, 1.5}};
    const host::Fence fence(cell, step);
    const auto parts = host::insideOf(cell, fence, line, step);
    ASSERT_EQ(parts.size(), 2U);
    for (const host::Samples& part : parts) {
        for (const host::Sample& sample : part) {
            EXPECT_NEAR(sample.place[0], sample.share, 1e-6);
            EXPECT_NEAR(sample.place[1], sample.share, 1e-6);
            EXPECT_LE(1.5 - heightAt(sample.share), step + 1e-6);
        }
    }
    EXPECT_LT(parts[0].back().share, 0.5);
    EXPECT_GT(parts[1].front().share, 0.5);
    const host::Segment lower{{0.0, 0.0, 1.2}, {1.3, 0.9, 1.2}};
    ASSERT_EQ(host::insideOf(cell, fence, lower, step).size(), 1U);
}

// Where fibres part, each goes on in a line of its own, and each side of a cell belongs to one line.
TEST(HostFigures, FibresThatPartAreFollowedOnceEach) {
    host::Grid grid;
    grid.count = 11;
    grid.i = {0, 1, 2, 2, 2, 0, 1, 2, 2, 2, 2};
    grid.j = {3, 3, 3, 3, 3, 4, 4, 4, 4, 4, 4};
    const auto cell = [](std::int32_t a, std::int32_t b, std::int32_t c, std::int32_t d) {
        return host::Cell{{a, b, c, d}, 0.0, true};
    };
    const std::vector<host::Cell> cells{cell(0, 1, 6, 5), cell(1, 2, 7, 6), cell(1, 3, 8, 6),
                                        cell(1, 4, 9, 6)};
    const auto lines = host::fibreLines(grid, cells, host::Fibre::warp, 1);
    const std::vector<host::NodeChain> wanted{{0, 1, 2}, {5, 6, 7}, {1, 3}, {1, 4}, {6, 8}, {6, 9}};
    EXPECT_EQ(lines, wanted);
    EXPECT_EQ(host::fibreLines(grid, cells, host::Fibre::warp, 2),
              (std::vector<host::NodeChain>{{5, 6, 7}, {6, 8}, {6, 9}}));
    EXPECT_EQ(host::fibreLines(grid, cells, host::Fibre::weft, 1),
              (std::vector<host::NodeChain>{{0, 5}, {1, 6}, {2, 7}, {3, 8}, {4, 9}}));
}

TEST(HostFigures, AHalfTurnOfTheWarpIsToldAsOneNumber) {
    for (const double zero : {0.0, -0.0}) {
        host::Choice choice;
        choice.normal = {zero, zero, -1.0};
        choice.rosette = {1.0, 0.0, 0.0};
        choice.warp = {-1.0, 0.0, 0.0};
        EXPECT_EQ(host::plyAngle(choice), 180.0) << zero;
        choice.warp = choice.rosette;
        EXPECT_FALSE(std::signbit(host::plyAngle(choice))) << zero;
    }
}

// A seed on a ridge goes toward a place within the facet that comes first, off the middle of any symmetry.
TEST(HostFigures, SeedsOnARidgeMoveIntoTheFacetThatComesFirst) {
    const std::array<double, 2> steps{1.3, 0.9};
    const host::Mould mould =
        host::mouldOf(meshOf({{0, 0, 0}, {9, 0, 0}, {4, -7, -2}, {5, 8, -3}}, {{0, 2, 1}, {0, 1, 3}}));
    host::Notes notes;
    const Point named{4.1, 0.0, 0.0};
    const host::SurfacePoint seed = host::seedOn(mould, named, steps, notes);
    const Point wanted = 0.5 * Point{4, -7, -2} + 0.31 * Point{0, 0, 0} + 0.19 * Point{9, 0, 0};
    ASSERT_EQ(notes.size(), 1U);
    EXPECT_LT(distance(unit(seed.position - named), unit(wanted - named)), 1e-3);
    EXPECT_GE(-seed.position[1], 0.9 * 0.9 * 0.0015);
    EXPECT_LT(distance(seed.position, named), 0.02 * 0.9);
}

TEST(HostFigures, ClothThatJustReachesTheEdgeDoublesNothing) {
    int reached = 0;
    for (const Mould& mould : smoothMoulds()) {
        const HostDrape drape = hostDrape(mould.surface, {{mould.seedX, mould.seedY, 0.0}, 1.3, 0.9, 20.0});
        EXPECT_GE(drape.measures.doubledShare, 0.0) << mould.name;
        EXPECT_LE(drape.measures.coveredShare, 1.0) << mould.name;
        reached += drape.measures.net.reachesEdge() ? 1 : 0;
    }
    EXPECT_GT(reached, 1);
}

} // namespace
} // namespace drape_test
