// The net pattern against what is known of it from elsewhere. On a flat mould it is the mould itself, turned
// into the seed's frame, point for point; on a mould that can be rolled flat it falls short by what the
// cells' chords cut off; on any mould its area is that of the mould's triangles, each divided by the cosine
// of the shear over it.
#include "host_drape.h"

#include "host/cloth/area_by_shear.h"
#include "host/cloth/fibre_map.h"
#include "host/cloth/net_faces.h"
#include "host/mesh/edge_split.h"
#include "host/mesh/repair.h"

#include <gtest/gtest.h>
#include <numbers>

namespace drape_test {
namespace {

using host::FlatPoint;
using host::NetBorder;
using host::NetLoop;
using host::NetPattern;

double areaOfCells(const HostDrape& drape) {
    const double whole = static_cast<double>(drape.net.wholeCells.size());
    double sum = whole * drape.choice.stepA * drape.choice.stepB;
    for (const auto& cell : drape.net.clippedCells) {
        for (const auto& polygon : cell.polygons) {
            sum += host::signedArea(polygon);
        }
    }
    return sum;
}

// What holds for every pattern: loops that add up to the area and to the cells, the largest first.
void expectSound(const HostDrape& drape) {
    const NetPattern& net = drape.net;
    double area = 0.0;
    double cloth = 0.0;
    std::array<double, 4> extent{};
    for (const NetLoop& loop : net.loops) {
        ASSERT_EQ(loop.flat.size(), loop.space.size());
        ASSERT_EQ(loop.flat.size(), loop.borders.size());
        EXPECT_NEAR(loop.area, host::signedArea(loop.flat), 1e-9 * std::abs(net.area));
        area += loop.area;
        for (std::size_t k = 0; k < loop.flat.size(); ++k) {
            const FlatPoint& a = loop.flat[k];
            const FlatPoint& b = loop.flat[(k + 1) % loop.flat.size()];
            cloth += loop.borders[k] == NetBorder::cloth ? std::hypot(b[0] - a[0], b[1] - a[1]) : 0.0;
            const bool isFirst = &loop == &net.loops.front() && k == 0;
            for (std::size_t axis = 0; axis < 2; ++axis) {
                extent[axis] = isFirst ? a[axis] : std::min(extent[axis], a[axis]);
                extent[axis + 2] = isFirst ? a[axis] : std::max(extent[axis + 2], a[axis]);
            }
        }
        const bool withinCloth = std::count(loop.borders.begin(), loop.borders.end(), NetBorder::cloth) ==
                                 std::ssize(loop.borders);
        EXPECT_FALSE(withinCloth && std::abs(loop.area) < 1e-9 * net.area); // nothing to cut out
    }
    EXPECT_TRUE(std::is_sorted(net.loops.begin(), net.loops.end(), [](const NetLoop& a, const NetLoop& b) {
        return std::abs(a.area) > std::abs(b.area);
    }));
    EXPECT_EQ(net.extent, extent);
    EXPECT_NEAR(area, net.area, 1e-9 * net.area);
    EXPECT_NEAR(cloth, net.clothEdgeLength, 1e-9 * cloth);
    EXPECT_NEAR(areaOfCells(drape), net.area, 1e-4 * net.area);
    if (!net.loops.empty()) {
        EXPECT_GT(net.loops.front().area, 0.0);
    }
}

// The farthest that a point of the outline lies from where a flat mould's own frame at the seed puts it, in
// cells.
double farthestOff(const HostDrape& drape) {
    double worst = 0.0;
    for (const NetLoop& loop : drape.net.loops) {
        for (std::size_t k = 0; k < loop.flat.size(); ++k) {
            const host::Point way = host::vec::subtract(loop.space[k], drape.choice.seed);
            worst = std::max(worst, std::hypot(loop.flat[k][0] - host::vec::dot(way, drape.choice.warp),
                                               loop.flat[k][1] - host::vec::dot(way, drape.choice.weft)));
        }
    }
    return worst / std::min(drape.choice.stepA, drape.choice.stepB);
}

// The part of a flat mould's vertices' loops that the outline doesn't come by, in cells: each vertex of the
// mould's edge has to lie on the outline.
double farthestVertex(const HostDrape& drape) {
    double worst = 0.0;
    for (const host::Loop& boundary : host::boundaryLoops(drape.mesh)) {
        for (const std::int32_t v : boundary.vertices) {
            const host::Point way =
                host::vec::subtract(drape.mesh.positions[static_cast<std::size_t>(v)], drape.choice.seed);
            const FlatPoint p{host::vec::dot(way, drape.choice.warp), host::vec::dot(way, drape.choice.weft)};
            double nearest = 1e300;
            for (const NetLoop& loop : drape.net.loops) {
                for (std::size_t k = 0; k < loop.flat.size(); ++k) {
                    const FlatPoint& a = loop.flat[k];
                    const FlatPoint& b = loop.flat[(k + 1) % loop.flat.size()];
                    const double dx = b[0] - a[0];
                    const double dy = b[1] - a[1];
                    const double square = dx * dx + dy * dy;
                    const double t =
                        square > 0.0
                            ? std::clamp(((p[0] - a[0]) * dx + (p[1] - a[1]) * dy) / square, 0.0, 1.0)
                            : 0.0;
                    nearest = std::min(nearest, std::hypot(p[0] - a[0] - t * dx, p[1] - a[1] - t * dy));
                }
            }
            worst = std::max(worst, nearest);
        }
    }
    return worst / std::min(drape.choice.stepA, drape.choice.stepB);
}

// Sum over the mould's triangles of area / cos(shear).
double shearedArea(const HostDrape& drape) {
    const auto fibres = host::mapFibres(drape.mould, drape.grid, drape.measures);
    double sum = 0.0;
    for (std::size_t t = 0; t < fibres.size(); ++t) {
        if (fibres[t].cover != host::Cover::none) {
            sum +=
                host::vec::areaOf(drape.mesh.corner(t, 0), drape.mesh.corner(t, 1), drape.mesh.corner(t, 2)) /
                std::cos(fibres[t].shear * std::numbers::pi / 180.0);
        }
    }
    return sum;
}

// Squares of a plate of 24 by 24, lying in the plane through `corner` along `u` and `v`.
struct Plate {
    const char* name;
    bool (*present)(int, int);
    host::Point seed; // in squares
};

const Plate plates[] = {
    {"square", [](int, int) { return true; }, {11.3, 12.4, 0}},
    {"notch", [](int i, int j) { return !(i >= 10 && i < 14 && j >= 12); }, {5.1, 4.2, 0}},
    {"notch on grid lines", [](int i, int j) { return !(i >= 10 && i < 14 && j >= 12); }, {5, 4, 0}},
    {"two slots", [](int i, int j) { return !((i == 6 && j > 8) || (i == 15 && j < 14)); }, {11, 11, 0}},
    {"steps", [](int i, int j) { return i + j < 30; }, {6.5, 7.25, 0}},
    {"small holes", [](int i, int j) { return (i != 6 && i != 17) || j % 9 != 5; }, {11, 11, 0}},
};

TEST(HostNet, AFlatMouldIsItsOwnPattern) {
    int reached = 0;
    for (const Plate& plate : plates) {
        const double r = 1.0 / std::sqrt(3.0);
        for (const int turned : {0, 1}) {
            const auto place = [&](double x, double y) {
                return turned == 0 ? Point{x, y, 0.0}
                                   : Point{1e4 + 0.8 * x - 0.6 * r * y, 0.6 * x + 0.8 * r * y,
                                           std::sqrt(2.0 / 3.0) * y};
            };
            const Surface surface = gridSurface(
                24, 24, [&](int i, int j) { return place(i, j); }, plate.present);
            for (const auto& [angle, stepA, stepB] :
                 {std::array{0.0, 1.0, 1.0}, {45.0, 1.3, 1.3}, {20.0, 0.9, 1.2}, {-33.0, 2.0, 1.7}}) {
                HostStart start{place(plate.seed[0], plate.seed[1]), stepA, stepB, angle, 0};
                const HostDrape drape = hostDrape(surface, start);
                SCOPED_TRACE(std::string(plate.name) + (turned != 0 ? " turned" : "") + ", angle " +
                             std::to_string(angle) + ", step " + std::to_string(stepA));
                expectSound(drape);
                EXPECT_LT(farthestOff(drape), 0.01);
                // From some starts the run leaves a part of the mould bare; then the outline says so.
                EXPECT_EQ(drape.net.reachesEdge(), drape.measures.coveredShare > 0.99);
                reached += drape.net.reachesEdge() ? 1 : 0;
                if (drape.net.reachesEdge()) {
                    EXPECT_NEAR(drape.net.area, host::areaOf(drape.mesh), 1e-5 * host::areaOf(drape.mesh));
                    EXPECT_EQ(drape.net.loops.size(), host::boundaryLoops(drape.mesh).size());
                    EXPECT_LT(farthestVertex(drape), 0.01);
                    EXPECT_EQ(drape.net.overlapArea, 0.0);
                }
            }
        }
    }
    EXPECT_GE(reached, 40); // of 48
}

// A slit without width, from the rim to `tip` along y = 12 of a plate of 24 by 24 squares: the vertices along
// it stand twice.
host::TriangleMesh slitPlate(int tip, double lift) {
    const Surface surface = gridSurface(
        24, 24,
        [=](int i, int j) {
            const double x = i - 12.0;
            const double y = j - 12.0;
            return Point{double(i), double(j), lift * (144.0 - 0.5 * (x * x + y * y)) / 12.0};
        },
        everywhere);
    host::TriangleMesh mesh = hostMesh(surface);
    std::vector<std::int32_t> twin(mesh.positions.size(), -1);
    for (std::size_t v = 0; v < twin.size(); ++v) {
        const host::Point p = mesh.positions[v];
        if (p[1] == 12.0 && p[0] > tip) {
            twin[v] = static_cast<std::int32_t>(mesh.positions.size());
            mesh.positions.push_back(p);
        }
    }
    for (std::size_t t = 0; t < mesh.triangles.size(); ++t) {
        const double y = (mesh.corner(t, 0)[1] + mesh.corner(t, 1)[1] + mesh.corner(t, 2)[1]) / 3.0;
        for (std::int32_t& v : mesh.triangles[t]) {
            if (y > 12.0 && static_cast<std::size_t>(v) < twin.size() &&
                twin[static_cast<std::size_t>(v)] >= 0) {
                v = twin[static_cast<std::size_t>(v)];
            }
        }
    }
    return mesh;
}

TEST(HostNet, TheOutlineGoesRoundASlitOnBothSides) {
    int bare = 0;
    for (const int tip : {9, 10}) {
        for (const auto& [angle, step] : {std::array{0.0, 1.0}, {0.0, 1.3}, {45.0, 1.1}, {27.0, 1.2}}) {
            const HostDrape drape = hostDrape(slitPlate(tip, 0.0), {{4.0, 6.0, 0.0}, step, step, angle, 0});
            SCOPED_TRACE("tip " + std::to_string(tip) + ", angle " + std::to_string(angle));
            expectSound(drape);
            if (!drape.net.reachesEdge()) { // the run leaves the mould beyond the slit bare
                ++bare;
                continue;
            }
            ASSERT_EQ(drape.net.loops.size(), 1U);
            EXPECT_NEAR(drape.net.area, 576.0, 1e-3);
            EXPECT_NEAR(drape.net.loops[0].length, 96.0 + 2.0 * (24 - tip), 0.02);
            EXPECT_NEAR(drape.net.overlapArea, 0.0, 1e-3);
            EXPECT_LT(farthestOff(drape), 0.01);
        }
    }
    EXPECT_LE(bare, 1);
    // On a dome the two sides of the slit part: the pattern opens there.
    const HostDrape dome = hostDrape(slitPlate(9, 0.6), {{4.0, 6.0, 5.0}, 1.0, 1.0, 30.0, 0});
    expectSound(dome);
    EXPECT_EQ(dome.net.loops.size(), 1U);
    EXPECT_TRUE(dome.net.reachesEdge());
    EXPECT_NEAR(dome.net.area, shearedArea(dome), 0.01 * dome.net.area);
}

TEST(HostNet, ARolledMouldFallsShortByTheChordsAlone) {
    const double radius = 10.0;
    const double halfAngle = 0.9;
    const Surface cylinder = cylinderPiece(radius, 16.0, halfAngle, 180, 16);
    const double area = 2.0 * halfAngle * radius * 16.0;
    std::array<double, 2> lost{};
    for (const std::size_t k : {0U, 1U}) {
        const double step = k == 0 ? 1.6 : 0.8;
        const HostDrape drape = hostDrape(cylinder, {{0.3, 0.2, radius}, step, step, 0.0, 0});
        expectSound(drape);
        EXPECT_TRUE(drape.net.reachesEdge());
        lost[k] = 1.0 - drape.net.area / area;
        // An arc of half angle a is longer than its chord by a * a / 6.
        EXPECT_NEAR(lost[k], step * step / (24.0 * radius * radius), 0.35 * lost[k]);
        const host::AreaByShear byShear = host::areaByShear(drape.mould, drape.grid, drape.measures);
        EXPECT_NEAR(host::chordError(drape.measures, byShear).value_or(9.0), -lost[k], 0.02 * lost[k]);
        EXPECT_NEAR(drape.net.extent[3] - drape.net.extent[1], 16.0, 1e-3);
    }
    EXPECT_NEAR(lost[0] / lost[1], 4.0, 1.0);
}

TEST(HostNet, AnyMouldGivesItsTrianglesAreaOverTheCosineOfTheShear) {
    const double half = 10.0;
    const std::pair<const char*, Surface> moulds[] = {
        {"dome", squareMould(half, 60, domeHeight(1.3 * half))},
        {"double dome", squareMould(half, 60, doubleDomeHeight(half))},
        {"saddle", squareMould(half, 60, saddleHeight(half))},
        {"round dome", dome(half, 60)},
    };
    for (const auto& [name, surface] : moulds) {
        for (const double angle : {0.0, 30.0}) {
            SCOPED_TRACE(std::string(name) + ", angle " + std::to_string(angle));
            const HostDrape drape = hostDrape(surface, {{0.4, 0.7, 12.0}, 0.5, 0.5, angle, 0});
            expectSound(drape);
            EXPECT_LT(drape.net.clothEdgeLength, 0.05 * drape.net.loops[0].length);
            EXPECT_NEAR(drape.net.area, shearedArea(drape), 0.01 * drape.net.area);
            const host::AreaByShear byShear = host::areaByShear(drape.mould, drape.grid, drape.measures);
            EXPECT_NEAR(byShear.sum, shearedArea(drape), 1e-3 * byShear.sum);
            EXPECT_NEAR(host::chordError(drape.measures, byShear).value_or(9.0), 0.0, 0.01);
        }
        // A run that is given up has triangles at its rim that are bare in part.
        for (const std::int32_t nodes : {300, 500, 900}) {
            SCOPED_TRACE(std::string(name) + ", nodes " + std::to_string(nodes));
            const HostDrape drape = hostDrape(surface, {{0.4, 0.7, 12.0}, 0.5, 0.5, 20.0, nodes});
            EXPECT_NE(drape.grid.status, 0);
            const host::AreaByShear byShear = host::areaByShear(drape.mould, drape.grid, drape.measures);
            EXPECT_NEAR(host::chordError(drape.measures, byShear).value_or(9.0), 0.0, 0.01);
        }
    }
}

// One shear for a large flat triangle over which the shear changes isn't enough; its pieces have their own.
TEST(HostNet, LargeTrianglesTakeTheShearOfTheirPieces) {
    host::TriangleMesh roof; // four faces
    roof.positions = {{-12, -12, 2}, {12, -12, 2}, {12, 12, 2}, {-12, 12, 2}, {0, 0, 8}};
    roof.triangles = {{0, 1, 4}, {1, 2, 4}, {2, 3, 4}, {3, 0, 4}};
    roof.sourceFaces = {1, 2, 3, 4};
    std::array<double, 2> areas{};
    for (const std::size_t k : {0U, 1U}) {
        const HostDrape drape =
            hostDrape(k == 0 ? roof : host::refined(roof, 0.6), {{0.3, -2.2, 7.0}, 0.5, 0.5, 0.0, 0});
        const host::AreaByShear byShear = host::areaByShear(drape.mould, drape.grid, drape.measures);
        areas[k] = byShear.sum;
        EXPECT_GT(drape.measures.largestShear, 10.0);
        EXPECT_NEAR(host::chordError(drape.measures, byShear).value_or(9.0), 0.0, 0.006);
    }
    EXPECT_NEAR(areas[0], areas[1], 2e-3 * areas[1]);
}

// Cells cut the corner of a plate bent by a right angle. Where a row runs along the mould's edge, that stands
// off the side of such a cell without leaving it: the cloth reaches it all the same.
TEST(HostNet, AnEdgeThatStandsOffACellIsReached) {
    const Surface bent = gridSurface(
        40, 40,
        [](int i, int j) {
            const double x = 2.5 * i;
            return Point{std::min(x, 50.0), 2.5 * j, std::min(0.0, 50.0 - x)};
        },
        everywhere);
    // The last rows lie a rounding beyond the edge; rows right on it end the run.
    for (const double angle : {0.0, 90.0}) {
        const HostDrape drape = hostDrape(bent, {{43.6, 50.0 + 1.5e-13, 0.0}, 2.5, 2.5, angle, 0});
        ASSERT_EQ(drape.grid.status, 0);
        expectSound(drape);
        EXPECT_TRUE(drape.net.reachesEdge());
        for (const double y : {0.0, 100.0}) {
            double nearest = 1e300;
            for (const host::Point& point : drape.net.loops[0].rim) {
                nearest = std::min(nearest, host::vec::distance(point, {50.0, y, 0.0}));
            }
            EXPECT_LT(nearest, 1e-9) << "the outline cuts the corner at y = " << y;
        }
    }
}

// A ramp that winds by `turns` around a post, `rise` higher with each turn.
Surface ramp(double turns, double rise) {
    const int around = static_cast<int>(72 * turns);
    return gridSurface(
        around, 20,
        [=](int i, int j) {
            const double angle = 2.0 * std::numbers::pi * i / 72.0;
            const double radius = 12.0 - 0.4 * j; // so that the normal points up
            return Point{radius * std::cos(angle), radius * std::sin(angle), rise * i / 72.0};
        },
        everywhere);
}

TEST(HostNet, APatternThatLiesOverItselfSaysWhere) {
    const HostDrape whole = hostDrape(ramp(0.8, 2.4), {{-8.0, 0.0, 1.2}, 0.5, 0.5, 0.0, 0});
    expectSound(whole);
    EXPECT_EQ(whole.net.overlapArea, 0.0);

    const HostDrape drape = hostDrape(ramp(1.2, 2.4), {{-8.0, 0.0, 1.2}, 0.5, 0.5, 0.0, 0});
    expectSound(drape);
    ASSERT_TRUE(drape.net.reachesEdge());
    double sum = 0.0;
    for (const auto& polygon : drape.net.overlaps) {
        sum += host::signedArea(polygon);
    }
    EXPECT_NEAR(sum, drape.net.overlapArea, 1e-9 * sum);
    // A fifth of a turn and a little less: on a ramp a turn is longer than on the flat.
    const double turn = std::numbers::pi * (12.0 * 12.0 - 4.0 * 4.0);
    EXPECT_NEAR(drape.net.overlapArea, 0.2 * turn, 0.1 * turn);
}

TEST(HostNet, WhereTheClothEndsEarlyItsOwnEdgeClosesTheOutline) {
    const Surface square = squareMould(12.0, 24, level);
    HostStart start{{0.3, 0.4, 0.0}, 1.0, 1.0, 0.0, 400};
    const HostDrape drape = hostDrape(square, start);
    EXPECT_NE(drape.grid.status, 0);
    expectSound(drape);
    EXPECT_FALSE(drape.net.reachesEdge());
    EXPECT_GT(drape.net.area, 200.0);
    EXPECT_LT(drape.net.area, 400.0);
    EXPECT_LT(farthestOff(drape), 0.01);

    // A hole that the run doesn't know as an edge bounds the pattern all the same, and the bare mould behind
    // it doesn't.
    const Surface holed = squareMould(
        12.0, 48, level, [](int i, int j) { return (i - 24) * (i - 24) + (j - 24) * (j - 24) > 60; });
    const HostDrape around = hostDrape(holed, {{-8.0, -6.2, 0.0}, 0.7, 0.7, 0.0, 0});
    expectSound(around);
    EXPECT_GT(around.net.clothEdgeLength, 5.0);
    EXPECT_LT(farthestOff(around), 0.01);
    const auto inHole = [](const host::Point& p) { return std::hypot(p[0], p[1]) < 3.0; };
    std::size_t onHole = 0;
    for (const NetLoop& loop : around.net.loops) {
        for (std::size_t k = 0; k < loop.space.size(); ++k) {
            EXPECT_FALSE(inHole(loop.space[k]));
            onHole +=
                loop.borders[k] == NetBorder::mould && std::hypot(loop.space[k][0], loop.space[k][1]) < 5.0
                    ? 1
                    : 0;
        }
    }
    EXPECT_GT(onHole, 5U);
}

// However few triangles a plate has, the bare part of it is what the pattern doesn't have.
TEST(HostNet, BareMouldIsMeasuredByItsArea) {
    host::TriangleMesh frame; // a square with a square hole, of eight triangles
    frame.positions = {{0, 0, 5},   {30, 0, 5},  {30, 30, 5}, {0, 30, 5},
                       {12, 12, 5}, {18, 12, 5}, {18, 18, 5}, {12, 18, 5}};
    frame.triangles = {{0, 1, 5}, {0, 5, 4}, {1, 2, 6}, {1, 6, 5},
                       {2, 3, 7}, {2, 7, 6}, {3, 0, 4}, {3, 4, 7}};
    frame.sourceFaces.assign(frame.triangles.size(), 0);
    for (const auto& [angle, step] : {std::array{0.0, 0.6}, {0.0, 1.7}, {30.0, 1.1}, {71.0, 0.3}}) {
        SCOPED_TRACE("angle " + std::to_string(angle) + ", step " + std::to_string(step));
        const HostDrape drape = hostDrape(frame, {{6.0, 7.0, 5.0}, step, step, angle, 0});
        ASSERT_FALSE(drape.net.reachesEdge());
        EXPECT_NEAR(drape.measures.coveredShare, drape.net.area / drape.mould.area, 1e-5);
        EXPECT_LT(drape.measures.doubledShare, 1e-5);
    }
    // A run that is given up leaves its rows' ends all round.
    const HostDrape ended = hostDrape(frame, {{6.0, 7.0, 5.0}, 0.5, 0.5, 20.0, 900});
    EXPECT_NE(ended.grid.status, 0);
    EXPECT_NEAR(ended.measures.coveredShare, ended.net.area / ended.mould.area, 1e-5);

    // Cloth that winds round a tube lies over itself, once for each further turn.
    const Surface tube = gridSurface(
        80, 12,
        [](int i, int j) {
            const double angle = 2.0 * std::numbers::pi * i / 80.0;
            return Point{3.0 * std::cos(angle), 1.0 * j, 3.0 * std::sin(angle)};
        },
        everywhere);
    host::PolygonSoup soup{hostMesh(tube).positions, {}};
    for (const auto& [a, b, c] : hostMesh(tube).triangles) {
        soup.polygons.push_back({a, b, c});
    }
    host::Notes notes;
    const HostDrape wound =
        hostDrape(host::repairedMesh(soup, true, notes), {{0.1, 6.1, 3.0}, 0.5, 0.5, 0.0, 2500});
    EXPECT_GT(wound.measures.doubledShare, 0.2);
    EXPECT_NEAR(wound.measures.coveredShare + wound.measures.doubledShare, wound.net.area / wound.mould.area,
                0.02 * wound.net.area / wound.mould.area);
}

// On the mould the pattern has the mould's area, its rim is the mould's edge, and its yarns are as long as
// the sides of its cells.
TEST(HostNet, FacesAndYarnsEndWithThePattern) {
    const Surface cylinder = cylinderPiece(10.0, 16.0, 0.9, 180, 16);
    const Surface holed =
        squareMould(12.0, 48, level, [](int i, int j) { return i * i + (j - 20) * (j - 20) > 90; });
    for (const auto& [surface, seed] :
         {std::pair{cylinder, host::Point{0.3, 0.2, 10.0}}, std::pair{holed, host::Point{2.0, 3.0, 0.0}}}) {
        const HostDrape drape = hostDrape(surface, {seed, 0.9, 0.7, 25.0, 0});
        const auto faces = host::netFaces(drape.grid, drape.measures);
        double area = 0.0;
        for (const host::NetFace& face : faces) {
            area += host::areaOf(drape.grid, drape.measures.cells[face.cell], face);
            EXPECT_LT(std::abs(face.shear), 2.0); // neither mould shears cloth, whatever hangs over its edge
        }
        EXPECT_NEAR(area, drape.measures.coveredShare * drape.mould.area, 3e-3 * drape.mould.area);
        double yarns = 0.0;
        for (const host::Fibre fibre : {host::Fibre::warp, host::Fibre::weft}) {
            const double spacing = fibre == host::Fibre::warp ? 0.7 : 0.9;
            for (const host::Yarn& yarn : host::netYarns(drape.grid, drape.measures, faces, fibre, 1)) {
                for (std::size_t k = 1; k < yarn.points.size(); ++k) {
                    yarns += 0.5 * spacing * host::vec::distance(yarn.points[k - 1], yarn.points[k]);
                }
            }
        }
        EXPECT_NEAR(yarns, drape.net.area, 0.02 * drape.net.area);
        double rim = 0.0;
        for (const NetLoop& loop : drape.net.loops) {
            ASSERT_EQ(loop.rim.size(), loop.rimBorders.size());
            for (std::size_t k = 0; k < loop.rim.size(); ++k) {
                rim += loop.rimBorders[k] != NetBorder::cloth
                           ? host::vec::distance(loop.rim[k], loop.rim[(k + 1) % loop.rim.size()])
                           : 0.0;
            }
        }
        double edge = 0.0;
        for (const host::Loop& loop : drape.mould.loops) {
            edge += loop.length;
        }
        EXPECT_LE(rim, 1.001 * edge);
        EXPECT_GE(rim, drape.net.reachesEdge() ? 0.999 * edge : 0.8 * edge);
    }
}

// Folds, tears and cloth over cloth: whatever the grid is, the loops close and agree with the cells.
TEST(HostNet, AnyGridHasASoundPattern) {
    Random random(7);
    for (const Mould& mould : tornMoulds()) {
        for (int k = 0; k < 6; ++k) {
            Surface surface = mould.surface;
            makeIrregular(surface, 0.2, random, true);
            const auto v = 3 * static_cast<std::size_t>(random.below(surface.vertCount()));
            const double step = random.between(0.6, 2.5);
            const HostDrape drape =
                hostDrape(surface, {{surface.vertPos[v], surface.vertPos[v + 1], surface.vertPos[v + 2]},
                                    step,
                                    step * random.between(0.8, 1.25),
                                    random.between(0.0, 90.0),
                                    0});
            SCOPED_TRACE(std::string(mould.name) + " " + std::to_string(k));
            expectSound(drape);
        }
    }
}

} // namespace
} // namespace drape_test
