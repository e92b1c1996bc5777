// Node placement: the boundary fallback, the filling of a row cell by cell, and the straight step.
#include "lattice.h"

#include <gtest/gtest.h>

namespace {

using namespace drape_test;

double distanceOf(const double* p, const double* q) {
    return std::sqrt((p[0] - q[0]) * (p[0] - q[0]) + (p[1] - q[1]) * (p[1] - q[1]) +
                     (p[2] - q[2]) * (p[2] - q[2]));
}

// Boundary fallback.

struct Fallback {
    std::int32_t result = 9, status = 9;
    Point point = {-9, -9, -9}, normal = {-9, -9, -9};
};
Fallback fallBack(const Point& centre, const Point& planeNormal, const Point& forward, double radius,
                  const std::vector<std::int32_t>& found) {
    Fallback f;
    const std::int32_t count = static_cast<std::int32_t>(found.size());
    const double tolerance = 1e-6, back[3] = {};
    f.result = uzprpf(centre.data(), planeNormal.data(), forward.data(), &radius, back, &count, found.data(),
                      &tolerance, f.point.data(), f.normal.data(), &f.status);
    return f;
}

TEST(BoundaryFallback, GoesOnInThePlaneOfTheNearestBoundaryTriangle) {
    // A plate with its right edge turned up by 45 degrees.
    PlainModel model(gridSurface(
                         4, 4,
                         [](int i, int j) {
                             return Point{double(i), double(j), i == 4 ? 1.0 : 0.0};
                         },
                         everywhere),
                     Settings{});
    ASSERT_TRUE(model.walkBoundary());
    model.registerModel();
    const Point up = {0, 0, 1};
    // Beyond the flat side: in the plane z = 0, outside the surface.
    const Fallback flat = fallBack({1.3, 0.4, 0}, up, {0, -1, 0}, 1.0, {});
    EXPECT_EQ(flat.result, 0);
    EXPECT_EQ(flat.status, 0);
    EXPECT_NEAR(flat.point[0], 1.3, 1e-12);
    EXPECT_NEAR(flat.point[1], -0.6, 1e-12);
    EXPECT_EQ(flat.normal, up);
    // Beyond the raised side: in the plane of the slope.
    const double half = std::sqrt(0.5);
    const Fallback slope = fallBack({3.8, 2.3, 0.8}, {-half, 0, half}, {half, 0, half}, 1.0, {});
    EXPECT_EQ(slope.result, 0);
    EXPECT_NEAR(slope.point[0], 3.8 + half, 1e-9);
    EXPECT_NEAR(slope.point[2], 0.8 + half, 1e-9);
    EXPECT_NEAR(slope.normal[0], -half, 1e-9);
    // Boundary triangles of the list go before nearer ones outside of it; others don't count.
    const std::vector<std::int32_t> sloping = {triangleAbove(model.surface, 3.9, 0.2)},
                                    inner = {triangleAbove(model.surface, 1.9, 1.7)};
    EXPECT_NEAR(fallBack({1.3, 0.4, 0}, up, {0, -1, 0}, 3.0, sloping).normal[0], -half, 1e-9);
    EXPECT_EQ(fallBack({1.3, 0.4, 0}, up, {0, -1, 0}, 1.0, inner).normal, up);
}

TEST(BoundaryFallback, SaysWhyItFails) {
    PlainModel model(picture({std::string(24, '#'), std::string(24, '#')}), Settings{});
    ASSERT_TRUE(model.walkBoundary());
    model.registerModel();
    std::vector<std::int32_t> rim;
    for (int i = 0; rim.size() < 22; ++i)
        rim.push_back(triangleAbove(model.surface, i + 0.7, 0.1));
    const Point up = {0, 0, 1}, down = {0, -1, 0}, centre = {5.3, 0.4, 0};
    EXPECT_EQ(fallBack(centre, up, down, 1.0, rim).status, DRAPE_EDGE_TABLE_FULL);
    rim.pop_back();
    EXPECT_EQ(fallBack(centre, up, down, 1.0, rim).status, 0);

    Fallback f = fallBack({5.3, 0.4, 5.0}, up, down, 1.0, {});
    EXPECT_EQ(f.status, DRAPE_NO_FALLBACK_HIT);
    EXPECT_EQ(f.result, 1);
    EXPECT_EQ(f.point, (Point{-9, -9, -9}));
    EXPECT_EQ(fallBack(centre, {1, 0, 0}, down, 1.0, {}).status,
              DRAPE_NO_FALLBACK_HIT); // circle level with the plane
    // All of the plane lies behind the centre, or level with it.
    EXPECT_EQ(fallBack({5.3, 0.4, -0.5}, {0, 1, 0}, {0, 0, -1}, 1.0, {}).status, DRAPE_NO_FORWARD_HIT);
    EXPECT_EQ(fallBack({5.3, 0.4, 0.0}, {0, 1, 0}, {0, 0, -1}, 1.0, {}).status, DRAPE_NO_FORWARD_HIT);

    Lattice bare(3); // no boundary at all
    EXPECT_EQ(fallBack(centre, up, down, 1.0, {}).status, DRAPE_NO_FALLBACK_HIT);
}

// Row filling.

struct Filled {
    std::int32_t result = 9, status = 9;
    Front row{};
};
// Fills from the node at `pivot` of a front row of direction d to the side of `walk`.
Filled fill(Lattice& model, std::int32_t d, std::int32_t walk, std::int32_t pivot, std::int32_t length) {
    std::vector<std::int32_t> nodes;
    for (int p = 0; p < length; ++p)
        nodes.push_back(model.node(d, model.size - 1, p));
    Filled filled;
    filled.row[DRAPE_FRONT_DIRECTION] = d;
    filled.row[DRAPE_FRONT_FIRST_NODE] = model.grid.count;
    filled.row[DRAPE_FRONT_LENGTH] = 1;
    filled.row[DRAPE_FRONT_PIVOT_REQUEST] = 77;
    filled.result = uzprdf(nodes.data(), &pivot, &length, &d, &walk, model.work.data(), filled.row.data(),
                           &filled.status);
    return filled;
}
// Steps the front node at position p (from 1) straight forward.
std::int32_t step(Lattice& model, std::int32_t d, int p, std::int32_t mode = 0) {
    const std::int32_t n = model.node(d, model.size - 1, p - 1);
    std::int32_t status = 0;
    const std::int32_t result = uzprmo(&n, &d, &mode, model.work.data(), &status);
    EXPECT_EQ(result, status == 0 ? 0 : 1);
    return status;
}

TEST(RowFilling, ClosesCellsToBothSidesInAllDirections) {
    Settings settings;
    settings.stepA = 0.85;
    settings.stepB = 0.65;
    for (std::int32_t d = 1; d <= 4; ++d)
        for (std::int32_t pivot = 1; pivot <= 4; ++pivot)
            for (const std::int32_t walk : {nextOf(d), previousOf(d)}) {
                Lattice model(4, {}, settings);
                ASSERT_EQ(step(model, d, pivot), 0);
                const std::int32_t first = model.grid.count;
                const Filled filled = fill(model, d, walk, pivot, 4);
                ASSERT_EQ(filled.result, 0);
                const int cells = walk == nextOf(d) ? 4 - pivot : pivot - 1;
                EXPECT_EQ(model.grid.count, first + cells);
                EXPECT_EQ(filled.row[DRAPE_FRONT_LENGTH], 1 + cells);
                EXPECT_EQ(filled.row[DRAPE_FRONT_FIRST_NODE], walk == nextOf(d) ? first : first + cells);
                EXPECT_EQ(filled.row[DRAPE_FRONT_PIVOT_REQUEST], 0);
                for (std::int32_t n = first; n <= model.grid.count; ++n) {
                    const auto k = static_cast<std::size_t>(n - 1);
                    const double expected[3] = {model.grid.nodeI[k] * 0.85, model.grid.nodeJ[k] * 0.65, 0.0};
                    EXPECT_LT(distanceOf(model.position(n), expected), 1e-12);
                    EXPECT_EQ(model.triangle(n), triangleAbove(model.surface, expected[0], expected[1]));
                    EXPECT_EQ(model.link(walk, n), n < model.grid.count ? n + 1 : 0);
                    EXPECT_EQ(model.link(d, model.link(oppositeOf(d), n)), n);
                }
            }
}

TEST(RowFilling, RefusesWhatIsNoCell) {
    for (const std::int32_t walk : {1, 3}) { // not neighbours of direction 3
        Lattice model(3);
        const Filled filled = fill(model, 3, walk, 1, 3);
        EXPECT_EQ(filled.status, DRAPE_DIRECTIONS_NOT_NEIGHBOURS);
        EXPECT_EQ(filled.row[DRAPE_FRONT_PIVOT_REQUEST], 77);
        EXPECT_EQ(model.grid.count, 9);
    }
    for (const bool cellLeft : {false, true}) { // neighbours by number, but one of them is no direction
        Lattice model(3);
        const Filled filled = fill(model, 4, 5, cellLeft ? 2 : 3, 3);
        EXPECT_EQ(filled.result, cellLeft ? 1 : 0);
        EXPECT_EQ(filled.status, cellLeft ? DRAPE_DIRECTIONS_NOT_NEIGHBOURS : 0);
        EXPECT_EQ(filled.row[DRAPE_FRONT_PIVOT_REQUEST], cellLeft ? 77 : 0);
        EXPECT_EQ(model.grid.count, 9);
    }
    {
        Lattice model(4); // the known corners of the second cell coincide
        ASSERT_EQ(step(model, 4, 1), 0);
        ASSERT_EQ(fill(model, 4, 1, 1, 2).status, 0);
        std::copy_n(model.position(18), 3, model.position(model.node(4, 3, 2)));
        const Filled filled = fill(model, 4, 1, 2, 4);
        EXPECT_EQ(filled.status, DRAPE_NODES_COINCIDE);
        EXPECT_EQ(filled.result, 1);
        EXPECT_EQ(model.grid.count, 18);
        EXPECT_EQ(filled.row[DRAPE_FRONT_LENGTH], 1);
    }
    {
        Lattice model(3); // no new node over the pivot
        EXPECT_EQ(fill(model, 4, 1, 1, 3).status, DRAPE_BROKEN_GRID_LINK);
        EXPECT_EQ(model.grid.count, 9);
    }
}

// Off the surface the fourth corner follows from the other three alone, and its normal from the two beside
// it.
TEST(RowFilling, BuildsTheCornerWithoutASurface) {
    Settings settings;
    settings.stepA = 0.9;
    settings.stepB = 0.6;
    Lattice model(3, {}, settings);
    ASSERT_EQ(step(model, 1, 1), 0);
    const std::int32_t e = model.grid.count, r = model.node(1, 2, 1);
    model.triangle(e) = model.triangle(r) = 0;
    const Point tilted = {0.6, 0.0, 0.8};
    std::copy(tilted.begin(), tilted.end(), model.normal(r));
    ASSERT_EQ(fill(model, 1, 2, 1, 2).status, 0);
    const std::int32_t x = model.grid.count;
    EXPECT_EQ(model.triangle(x), 0);
    const double place[3] = {3 * 0.9, 1 * 0.6, 0.0};
    EXPECT_LT(distanceOf(model.position(x), place), 1e-12);
    // 0.9 of the normal of E, straight up, and 0.6 of that of R
    const double nx = 0.6 * 0.6, nz = 0.9 + 0.6 * 0.8, size = std::sqrt(nx * nx + nz * nz);
    EXPECT_NEAR(model.normal(x)[0], nx / size, 1e-12);
    EXPECT_NEAR(model.normal(x)[2], nz / size, 1e-12);

    // With one of the two on the surface, the search starts there.
    Lattice half(3);
    ASSERT_EQ(step(half, 1, 1), 0);
    half.triangle(half.grid.count) = 0;
    ASSERT_EQ(fill(half, 1, 2, 1, 2).status, 0);
    EXPECT_GT(half.triangle(half.grid.count), 0);
}

// A cell twice as long as wide whose new corner lies off the surface, with its mirror image on it.
TEST(RowFilling, RefusesACellThatFoldsOver) {
    Settings settings;
    settings.stepB = 2.0;
    PlainModel model(gridSurface(
                         7, 10,
                         [](int i, int j) {
                             return Point{0.5 * i - 3.0, 0.5 * j - 1.0, 0.0};
                         },
                         everywhere),
                     settings);
    model.registerModel();
    const Point corners[] = {{0, 0, 0}, {1, 0, 0}, {0, 2, 0}}; // of the pivot, after it, over it
    const double up[3] = {0, 0, 1};
    const std::int32_t linkCount[] = {0, 1, 1}, direction[] = {0, 1, 4}, one = 1, two = 2, four = 4;
    std::int32_t status = 0;
    for (std::size_t k = 0; k < 3; ++k) {
        const std::int32_t triangle = triangleAbove(model.surface, corners[k][0], corners[k][1]);
        ASSERT_EQ(
            uzprsp(corners[k].data(), up, &triangle, &linkCount[k], &direction[k], &one, &one, &one, &status),
            0);
    }
    const std::int32_t nodes[] = {1, 2};
    Front row{};
    EXPECT_EQ(uzprdf(nodes, &one, &two, &four, &one, model.work.data(), row.data(), &status), 1);
    EXPECT_EQ(status, DRAPE_CELL_FOLDS);
    EXPECT_EQ(model.grid.count, 3);
}

// A cell of three nodes at H, R and E on a surface of one triangle, closed by its fourth node.
struct LoneCell {
    std::int32_t status = 9;
    Point node = {}; // the fourth

    LoneCell(const Point& h, const Point& r, const Point& e, double stepA, double stepB,
             const Point& normalOfH, const std::vector<double>& triangle, bool bounded = false,
             double tolerance = Settings{}.tolerance) {
        Surface slope;
        slope.vertPos = triangle;
        slope.triVerts = {1, 2, 3};
        joinUp(slope);
        Settings settings;
        settings.stepA = stepA;
        settings.stepB = stepB;
        settings.tolerance = tolerance;
        PlainModel model(slope, settings);
        EXPECT_TRUE(!bounded || model.walkBoundary());
        model.registerModel();
        const Point corners[] = {h, r, e}, normals[] = {normalOfH, {0, 0, 1}, {0, 0, 1}};
        const std::int32_t linkCount[] = {0, 1, 1}, direction[] = {0, 1, 4}, one = 1, two = 2, four = 4;
        for (std::size_t k = 0; k < 3; ++k)
            EXPECT_EQ(uzprsp(corners[k].data(), normals[k].data(), &one, &linkCount[k], &direction[k], &one,
                             &one, &one, &status),
                      0);
        const std::int32_t nodes[] = {1, 2};
        Front row{};
        uzprdf(nodes, &one, &two, &four, &one, model.work.data(), row.data(), &status);
        if (status == DRAPE_OK)
            std::copy_n(model.position(4), 3, node.begin());
    }
};

// The limit of folding is that of single precision, and a cell right at it, to the last bit, doesn't fold.
TEST(RowFilling, KnowsTheLastBitsOfItsLimit) {
    const Point h = {0, 0, 0}, r = {1, 0, 0}, e = {0, 2, 0};
    const auto onSlope = [&](double turned) { // a triangle in a plane through R and E, on the side of H
        const double size = std::sqrt(5.0), rise = std::sqrt(1.0 - turned * turned);
        const Point way = {-2 * turned / size, -1 * turned / size, rise};
        std::vector<double> corners;
        for (const auto& [along, up] : {std::pair(-3.0, -0.1), std::pair(0.5, 4.0), std::pair(4.0, -0.1)})
            for (std::size_t k = 0; k < 3; ++k)
                corners.push_back(r[k] + along * (e[k] - r[k]) + up * way[k]);
        return LoneCell(h, r, e, 1.0, 2.0, {0, 0, 1}, corners);
    };
    EXPECT_EQ(onSlope(0.94999997).status, DRAPE_OK);
    EXPECT_EQ(onSlope(0.949999995).status, DRAPE_CELL_FOLDS);
    const double limit = static_cast<double>(0.95f);
    int atTheLimit = 0;
    for (int bits = -40; bits < 40; ++bits) {
        const LoneCell cell = onSlope(limit + bits * 0x1p-53);
        Point toE, toR, corner;
        for (std::size_t k = 0; k < 3; ++k) {
            toE[k] = e[k] - cell.node[k];
            toR[k] = r[k] - cell.node[k];
        }
        const std::int32_t three = 3;
        parbisfortran(toE.data(), toR.data(), corner.data(), &three);
        atTheLimit += cell.status == DRAPE_OK && corner[2] == -limit ? 1 : 0;
    }
    EXPECT_GT(atTheLimit, 0);
}

// Of two hits equally far ahead the first counts, and the surface normal at H says which way round they come.
TEST(RowFilling, TurnsItsCircleByTheNormalAtTheInnerCorner) {
    const double side = std::sqrt(2.0);
    for (const Point& normal : {Point{0, 0, 1}, Point{1, 0, 0}, Point{0, 0, -1}}) {
        const LoneCell cell({0, 0, 0}, {1, -1, 0}, {1, 1, 0}, side, side, normal,
                            {1.5, -3, -3, 1.5, 3, -3, 1.5, 0, 5});
        ASSERT_EQ(cell.status, DRAPE_OK);
        EXPECT_NEAR(cell.node[0], 1.5, 1e-12);
        EXPECT_NEAR(cell.node[2], std::sqrt(0.75) * (normal[2] < 0.0 ? -1.0 : 1.0), 1e-12);
    }
}

// Beyond the edge of a wall ahead, the circle meets the wall's plane above and below at the same distance
// from that edge: again the first counts. Just beyond its reach, but within the tolerance, it touches the
// plane.
TEST(RowFilling, GoesByTheSameCircleBeyondTheBoundary) {
    const Point h = {0, 0, 0}, r = {1, 0, 0}, e = {0, 1, 0};
    for (const double up : {1.0, -1.0}) {
        const LoneCell cell(h, r, e, 1.0, 1.0, {0, 0, up}, {1.25, 0.25, -3, 1.25, 0.25, 3, 2.5, -1, 0}, true);
        ASSERT_EQ(cell.status, DRAPE_OK);
        EXPECT_NEAR(cell.node[0], 0.75, 1e-12);
        EXPECT_NEAR(cell.node[2], -up * std::sqrt(0.375), 1e-12);
    }
    const LoneCell touching(h, r, e, 1.0, 1.0, {0, 0, 1}, {1.14, 0.88, -3, 1.14, 0.88, 3, 2.14, -0.12, 0},
                            true, 0.05);
    ASSERT_EQ(touching.status, DRAPE_OK);
    EXPECT_NEAR(touching.node[0], 1.01, 1e-12);
    EXPECT_NEAR(touching.node[1], 1.01, 1e-12);
}

// Nodes further apart than two sides: the circle has shrunk to its centre.
TEST(RowFilling, ClosesAnOverstretchedCellAtItsMiddle) {
    const LoneCell cell({0, 0, 0}, {2, 0, 0}, {0, 2, 0}, 1.0, 1.0, {0, 0, 1},
                        {-9, -9, 0, 9, -9, 0, 0, 18, 0});
    EXPECT_EQ(cell.status, DRAPE_OK);
    EXPECT_EQ(cell.node, (Point{1, 1, 0}));
}

// Straight stepping.

TEST(StraightStep, FollowsTheSeedDirectionsAtFirst) {
    Settings settings = seededAt(fencedPlate(3, {}), 0.2, 0.3, 1.0, 30.0);
    settings.stepA = 0.8;
    settings.stepB = 0.5;
    settings.warp[0] *= 3.0; // neither unit length nor square to each other
    for (std::int32_t d = 1; d <= 4; ++d)
        for (const bool onSurface : {true, false}) {
            Lattice model(3, {}, settings);
            model.grid.count = 1;
            for (std::int32_t e = 1; e <= 4; ++e)
                model.link(e, 1) = 0;
            if (!onSurface)
                model.triangle(1) = 0;
            const std::int32_t one = 1, mode = 0;
            std::int32_t status = 9;
            ASSERT_EQ(uzprmo(&one, &d, &mode, model.work.data(), &status), 0);
            ASSERT_EQ(model.grid.count, 2);
            const double* way = d % 2 == 1 ? settings.warp : settings.weft;
            const double side = d % 2 == 1 ? 0.8 : 0.5, sign = d == 1 || d == 4 ? 1.0 : -1.0;
            // Off the surface the direction is taken at the length that it was given.
            const double length = onSurface ? std::hypot(way[0], way[1]) : 1.0;
            EXPECT_NEAR(model.position(2)[0], sign * side * way[0] / length, 1e-12);
            EXPECT_NEAR(model.position(2)[1], sign * side * way[1] / length, 1e-12);
            EXPECT_EQ(model.triangle(2) != 0, onSurface);
            EXPECT_EQ(model.link(d, 1), 2);
            EXPECT_EQ(model.link(oppositeOf(d), 2), 1);
        }
}

TEST(StraightStep, RowNeighboursShapeTheStep) {
    // The node before is moved so that a step square to it turns one way, the one after so that it turns the
    // other way; the node behind is straight behind.
    for (std::int32_t d = 1; d <= 4; ++d) {
        struct Case {
            bool before, after, behind;
            std::int32_t mode;
            int turn; // of the step: -1 towards the follower, +1 towards the predecessor, 0 straight
        };
        const Case cases[] = {
            {true, true, true, 0, 0},    {true, false, true, 0, -1}, {false, true, true, 0, 1},
            {false, false, true, 0, 0},  {true, true, true, 1, -1},  {false, true, true, 1, 0},
            {true, true, true, 2, 1},    {true, false, true, 2, 0},  {true, true, false, 0, 0},
            {true, false, false, 0, -1}, {false, true, false, 0, 1}};
        for (const Case& c : cases) {
            SCOPED_TRACE("direction " + std::to_string(d) + " case " + std::to_string(&c - cases));
            Lattice model(3);
            const std::int32_t n = model.node(d, 2, 1), before = model.node(d, 2, 0),
                               after = model.node(d, 2, 2), behind = model.node(d, 1, 1);
            const auto axis = [&](std::int32_t from, std::int32_t to, std::size_t k) {
                return model.position(to)[k] - model.position(from)[k];
            };
            const Point ahead = {axis(behind, n, 0), axis(behind, n, 1), 0},
                        side = {axis(n, after, 0), axis(n, after, 1), 0};
            for (std::size_t k = 0; k < 2; ++k) { // both neighbours a little forward
                model.position(before)[k] += 0.2 * ahead[k];
                model.position(after)[k] += 0.2 * ahead[k];
            }
            if (!c.before)
                model.link(previousOf(d), n) = 0;
            if (!c.after)
                model.link(nextOf(d), n) = 0;
            if (!c.behind)
                model.link(oppositeOf(d), n) = 0;
            ASSERT_EQ(step(model, d, 2, c.mode), 0);
            const double* q = model.position(model.grid.count);
            const double dx = q[0] - model.position(n)[0], dy = q[1] - model.position(n)[1];
            const double forward = dx * ahead[0] + dy * ahead[1], sideways = dx * side[0] + dy * side[1];
            EXPECT_NEAR(std::hypot(dx, dy), 1.0, 1e-9);
            // Square to (1, 0.2) or to (-1, 0.2), seen along the row.
            EXPECT_NEAR(sideways / forward, c.turn * -0.2, 1e-9);
            EXPECT_GT(forward, 0.0);
        }
    }
}

TEST(StraightStep, LeavesTheSurfaceStraightOnAndNeedsANeighbour) {
    Lattice model(3);
    const std::int32_t n = model.node(4, 2, 1);
    model.triangle(n) = 0;
    const Point tilted = {0.0, 0.6, 0.8};
    std::copy(tilted.begin(), tilted.end(), model.normal(n));
    ASSERT_EQ(step(model, 4, 2), 0);
    EXPECT_EQ(model.triangle(10), 0);
    EXPECT_TRUE(std::equal(tilted.begin(), tilted.end(), model.normal(10)));

    for (std::int32_t d = 1; d <= 4; ++d)
        model.link(d, n) = 0;
    const std::int32_t before = model.grid.count, mode = 0;
    EXPECT_EQ(step(model, 4, 2), DRAPE_NOTHING_TO_STEP_FROM);
    std::int32_t status = 0;
    for (const std::int32_t noDirection : {0, 5}) {
        EXPECT_EQ(uzprmo(&n, &noDirection, &mode, model.work.data(), &status), 1);
        EXPECT_EQ(status, DRAPE_NOTHING_TO_STEP_FROM);
    }
    EXPECT_EQ(model.grid.count, before);
}

// Forward lies the edge of the plate, so all that the circle meets lies behind, by a node that stands far up.
TEST(StraightStep, FoldsBackBeyondALimitOfSinglePrecision) {
    const double limit = static_cast<double>(0.9f);
    for (const auto& [back, folds] : {std::pair(limit, false), std::pair(limit + 1e-8, true)}) {
        Settings settings;
        settings.stepB = 2.0;
        Lattice model(3, {}, settings);
        const std::int32_t n = model.node(4, 2, 1), behind = model.node(4, 1, 1);
        const double* at = model.position(n);
        const Point far = {at[0], at[1] - 8.0 * back, 8.0 * std::sqrt(1.0 - back * back)};
        std::copy(far.begin(), far.end(), model.position(behind));
        ASSERT_EQ(step(model, 4, 2), 0);
        EXPECT_NEAR(model.position(model.grid.count)[1] - at[1], folds ? 2.0 : -2.0, 1e-9) << back;
    }
}

// Beyond the edge of the mesh the node lies in the plane of the last triangle, at its distance, off the
// surface.
TEST(StraightStep, RunsOverTheEdgeOfTheMesh) {
    PlainModel model(picture({"###", "###", "###"}), seededAt(picture({"###", "###", "###"}), 2.4, 1.3, 1.0));
    ASSERT_TRUE(model.walkBoundary());
    model.registerModel();
    const std::int32_t triangle = triangleAbove(model.surface, 2.4, 1.3), none = 0, one = 1;
    const double up[3] = {0, 0, 1};
    std::int32_t status = 0;
    ASSERT_EQ(uzprsp(model.settings.seed, up, &triangle, &none, &none, &none, &none, &none, &status), 0);
    ASSERT_EQ(uzprmo(&one, &one, &none, model.work.data(), &status), 0);
    EXPECT_NEAR(model.position(2)[0], 3.4, 1e-12);
    EXPECT_NEAR(model.position(2)[1], 1.3, 1e-12);
    EXPECT_EQ(model.triangle(2), 0);
}

// A wall ahead, just beyond the step but within the tolerance, whose edge lies to the side: the node stands
// in the wall's plane.
TEST(StraightStep, TouchesThePlaneBeyondTheEdgeWithinTheTolerance) {
    Surface wall;
    wall.vertPos = {1.02, 0.1, -3, 1.02, 0.1, 3, 1.02, 4, 0};
    wall.triVerts = {1, 2, 3};
    joinUp(wall);
    Settings settings;
    settings.tolerance = 0.05;
    settings.warp[0] = 1.0;
    PlainModel model(wall, settings);
    ASSERT_TRUE(model.walkBoundary());
    model.registerModel();
    const double origin[3] = {0, 0, 0}, up[3] = {0, 0, 1};
    const std::int32_t one = 1, none = 0;
    std::int32_t status = 0;
    ASSERT_EQ(uzprsp(origin, up, &one, &none, &none, &none, &none, &none, &status), 0);
    ASSERT_EQ(uzprmo(&one, &one, &none, model.work.data(), &status), 0);
    EXPECT_NEAR(model.position(2)[0], 1.02, 1e-12);
    EXPECT_NEAR(model.position(2)[1], 0.0, 1e-12);
    EXPECT_EQ(model.triangle(2), 0);
}

} // namespace
