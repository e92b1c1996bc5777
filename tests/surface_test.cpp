// Surface queries: the boundary chain, distances to triangles, cuts of planes and circles with triangles, and
// the choice of the point where a circle meets the surface.
#include "lattice.h"

#include <gtest/gtest.h>

#include <map>
#include <set>

namespace {

using namespace drape_test;

Point operator+(const Point& a, const Point& b) {
    return {a[0] + b[0], a[1] + b[1], a[2] + b[2]};
}
Point operator-(const Point& a, const Point& b) {
    return {a[0] - b[0], a[1] - b[1], a[2] - b[2]};
}
Point operator*(double s, const Point& a) {
    return {s * a[0], s * a[1], s * a[2]};
}
double dot(const Point& a, const Point& b) {
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}
Point cross(const Point& a, const Point& b) {
    return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}
double length(const Point& a) {
    return std::sqrt(dot(a, a));
}
Point unit(const Point& a) {
    return (1.0 / length(a)) * a;
}
Point randomPoint(Random& random) {
    return {random.between(-1, 1), random.between(-1, 1), random.between(-1, 1)};
}
using Triangle = std::array<Point, 3>;

// Boundary chain.

struct Chain {
    std::int32_t result = 0, status = 0, count = 0;
    std::vector<std::int32_t> edges;
    std::vector<double> normals;

    std::array<std::int32_t, 3> edge(std::int32_t e) const { // cyclic, from 1
        const auto k = 3 * static_cast<std::size_t>((e - 1 + count) % count);
        return {edges[k], edges[k + 1], edges[k + 2]};
    }
};

Chain chainOf(const Surface& surface, std::int32_t room = 0) {
    const std::int32_t t = surface.triCount(), v = surface.vertCount(), l = surface.vertTriCount();
    Chain chain;
    chain.count = room > 0 ? room : v;
    chain.edges.assign(3 * static_cast<std::size_t>(v), -7);
    chain.normals.assign(3 * static_cast<std::size_t>(v), 0.0);
    chain.result = gzprel(surface.vertBoundary.data(), &t, &v, &l, surface.vertTriStart.data(),
                          surface.vertTriList.data(), surface.triVerts.data(), surface.vertPos.data(),
                          &chain.count, chain.edges.data(), chain.normals.data(), &chain.status);
    return chain;
}

Surface meshOf(const std::vector<double>& positions, const std::vector<std::int32_t>& triangles) {
    Surface surface;
    surface.vertPos = positions;
    surface.triVerts = triangles;
    joinUp(surface);
    return surface;
}

TEST(BoundaryChain, OneTriangleAndOneSquare) {
    const Chain triangle = chainOf(meshOf({0, 0, 0, 2, 0, 0, 0, 1, 0}, {1, 2, 3}));
    ASSERT_EQ(triangle.count, 3);
    EXPECT_EQ(triangle.edge(1), (std::array<std::int32_t, 3>{1, 1, 2}));
    EXPECT_EQ(triangle.edge(2), (std::array<std::int32_t, 3>{1, 2, 3}));
    EXPECT_EQ(triangle.edge(3), (std::array<std::int32_t, 3>{1, 3, 1}));
    EXPECT_EQ(triangle.normals, (std::vector<double>{0, 0, 1, 0, 0, 1, 0, 0, 1}));

    const Chain square = chainOf(meshOf({0, 0, 0, 1, 0, 0, 1, 1, 0, 0, 1, 0}, {1, 2, 3, 1, 3, 4}));
    ASSERT_EQ(square.count, 4);
    EXPECT_EQ(square.edge(1), (std::array<std::int32_t, 3>{1, 1, 2}));
    EXPECT_EQ(square.edge(4), (std::array<std::int32_t, 3>{2, 4, 1}));
}

// On any manifold outline the chain is the loop through the lowest flagged vertex, of edges that one triangle
// alone has, and its normals are the means of their two triangles.
TEST(BoundaryChain, IsTheClosedLoopOfTheLowestFlaggedVertex) {
    std::vector<Mould> moulds = tornMoulds();
    for (Mould& smooth : smoothMoulds())
        moulds.push_back(smooth);
    for (const Mould& mould : moulds) {
        SCOPED_TRACE(mould.name);
        const Surface& s = mould.surface;
        const Chain chain = chainOf(s);
        ASSERT_EQ(chain.result, 0);
        std::map<std::pair<std::int32_t, std::int32_t>, std::vector<std::int32_t>> owners;
        for (std::size_t k = 0; k < s.triVerts.size(); ++k) {
            const std::int32_t a = s.triVerts[k], b = s.triVerts[k % 3 == 2 ? k - 2 : k + 1];
            owners[std::minmax(a, b)].push_back(static_cast<std::int32_t>(k / 3 + 1));
        }
        const auto normalOf = [&](std::int32_t t) {
            Point p[3];
            for (std::size_t k = 0; k < 3; ++k)
                for (std::size_t c = 0; c < 3; ++c)
                    p[k][c] = s.vertPos[3 * static_cast<std::size_t>(
                                                s.triVerts[3 * static_cast<std::size_t>(t - 1) + k] - 1) +
                                        c];
            return unit(cross(p[1] - p[0], p[2] - p[0]));
        };
        std::set<std::int32_t> starts;
        for (std::int32_t e = 1; e <= chain.count; ++e) {
            const auto [triangle, from, to] = chain.edge(e);
            ASSERT_EQ(to, chain.edge(e + 1)[1]);
            ASSERT_EQ(owners.at(std::minmax(from, to)), std::vector<std::int32_t>{triangle});
            ASSERT_TRUE(starts.insert(from).second);
            const Point mean = unit(normalOf(chain.edge(e - 1)[0]) + normalOf(triangle));
            for (std::size_t c = 0; c < 3; ++c)
                ASSERT_NEAR(chain.normals[3 * static_cast<std::size_t>(e - 1) + c], mean[c], 1e-12);
        }
        const auto lowest =
            std::find(s.vertBoundary.begin(), s.vertBoundary.end(), 1) - s.vertBoundary.begin() + 1;
        EXPECT_EQ(chain.edge(1)[1], lowest);
    }
}

TEST(BoundaryChain, FailsWithoutTouchingTheCount) {
    Surface square = meshOf({0, 0, 0, 1, 0, 0, 1, 1, 0, 0, 1, 0}, {1, 2, 3, 1, 3, 4});
    const Chain tight = chainOf(square, 3); // no room for the fourth edge
    EXPECT_EQ(tight.status, DRAPE_BOUNDARY_NOT_CLOSED);
    EXPECT_EQ(tight.count, 3);
    square.vertBoundary[0] = 2; // a start that no walk comes back to
    const Chain open = chainOf(square);
    EXPECT_EQ(open.result, 1);
    EXPECT_EQ(open.status, DRAPE_BOUNDARY_NOT_CLOSED);
    EXPECT_EQ(open.count, 4);
    EXPECT_EQ(open.edge(1)[1], 1);
    square.vertBoundary.assign(4, 0);
    EXPECT_EQ(chainOf(square).status, DRAPE_BOUNDARY_NOT_CLOSED);
}

// The rule as it reads: pairs around a vertex cancel with the next pair of the same vertex, and the walk
// takes the first that is left. The edges, or none where it doesn't close; 3 or 4 in `status`.
std::vector<std::int32_t> chainByTheRule(const Surface& s, std::int32_t& status) {
    using Pair = std::pair<std::int32_t, std::int32_t>; // triangle, vertex
    const auto at = [](const std::vector<std::int32_t>& list, std::int32_t n) {
        return list[static_cast<std::size_t>(n - 1)];
    };
    std::int32_t start = 1;
    while (start < s.vertCount() && at(s.vertBoundary, start) == 0)
        ++start;
    std::vector<std::int32_t> edges;
    std::int32_t current = start, previous = 0;
    for (std::int32_t n = 1; n <= s.vertCount(); ++n) {
        std::vector<Pair> pairs;
        const std::int32_t end = current < s.vertCount() ? at(s.vertTriStart, current + 1) : s.vertTriCount();
        for (std::int32_t k = at(s.vertTriStart, current) + 1; k <= end; ++k)
            for (std::int32_t corner = 2; corner >= 0; --corner) {
                const std::int32_t t = at(s.vertTriList, k), w = at(s.triVerts, 3 * t - corner);
                if (at(s.vertBoundary, w) != 1 || w == current || w == previous)
                    continue;
                status = DRAPE_BOUNDARY_CANDIDATES_FULL;
                if (pairs.size() == 2 * static_cast<std::size_t>(s.vertCount()))
                    return {};
                pairs.emplace_back(t, w);
            }
        for (auto i = pairs.begin(); i != pairs.end(); ++i) {
            const auto j =
                std::find_if(i + 1, pairs.end(), [&](const Pair& p) { return p.second == i->second; });
            if (i->second != 0 && j != pairs.end())
                i->second = j->second = 0;
        }
        pairs.erase(std::remove_if(pairs.begin(), pairs.end(), [](const Pair& p) { return p.second == 0; }),
                    pairs.end());
        status = DRAPE_BOUNDARY_NOT_CLOSED;
        if (pairs.empty() || pairs.size() > 2)
            return {};
        edges.insert(edges.end(), {pairs[0].first, current, pairs[0].second});
        previous = current;
        current = pairs[0].second;
        status = DRAPE_OK;
        if (current == start)
            return edges;
    }
    status = DRAPE_BOUNDARY_NOT_CLOSED;
    return {};
}

// Any triangles around any vertices: the walk takes the way of the rule, or its code.
TEST(BoundaryChain, OfAnyListsIsThatOfTheRule) {
    Random random(10);
    std::map<std::int32_t, int> ends;
    for (int k = 0; k < 40000; ++k) {
        Surface s;
        const std::int32_t vertices = 2 + random.below(7), triangles = 1 + random.below(8);
        for (std::int32_t i = 0; i < 3 * vertices; ++i)
            s.vertPos.push_back(random.unit());
        for (std::int32_t i = 0; i < 3 * triangles; ++i)
            s.triVerts.push_back(1 + random.below(vertices));
        for (std::int32_t v = 0; v < vertices; ++v) {
            s.vertTriStart.push_back(s.vertTriCount());
            s.vertBoundary.push_back(random.unit() < 0.9 ? 1 : random.below(3));
            for (int more = random.below(k % 2 == 0 ? 3 : 12); more > 0; --more)
                s.vertTriList.push_back(1 + random.below(triangles));
        }
        std::int32_t status = 0;
        const std::vector<std::int32_t> expected = chainByTheRule(s, status);
        Chain chain = chainOf(s);
        ASSERT_EQ(chain.status, status) << k;
        ASSERT_EQ(chain.count,
                  status == DRAPE_OK ? static_cast<std::int32_t>(expected.size() / 3) : vertices);
        chain.edges.resize(expected.size());
        ASSERT_EQ(chain.edges, expected) << k;
        ++ends[status];
    }
    EXPECT_GT(ends[DRAPE_OK], 500);
    EXPECT_GT(ends[DRAPE_BOUNDARY_CANDIDATES_FULL], 100);
}

// From vertex 1 into a ring that never comes back to it: however much room there is said to be, no edge is
// taken again once the ring has shown.
TEST(BoundaryChain, EndsWhereItWouldGoRoundForEver) {
    Surface s = meshOf({0, 0, 0, 1, 0, 0, 1, 1, 0, 0, 1, 0}, {1, 1, 2, 2, 2, 3, 3, 3, 4, 4, 4, 2});
    s.vertTriStart = {0, 1, 2, 3};
    s.vertTriList = {1, 2, 3, 4};
    s.vertBoundary.assign(4, 1);
    const Chain chain = chainOf(s, 1000000000);
    EXPECT_EQ(chain.result, 1);
    EXPECT_EQ(chain.status, DRAPE_BOUNDARY_NOT_CLOSED);
    EXPECT_EQ(chain.count, 1000000000);

    // The same where the ring is the second way out of two of its vertices: 1 2 4 5 6 4 2 3 7, and 4 again.
    const std::int32_t ways[][2] = {{1, 2}, {2, 4}, {2, 3}, {3, 7}, {4, 2}, {4, 5}, {5, 6}, {6, 4}, {7, 4}};
    Surface twice;
    twice.vertPos.assign(36, 0.5);
    for (const auto& way : ways)
        twice.triVerts.insert(twice.triVerts.end(), {way[0], way[1], 8});
    joinUp(twice);
    twice.vertTriStart = {0, 1, 3, 4, 6, 7, 8, 9, 9, 9, 9, 9};
    twice.vertTriList = {1, 2, 3, 4, 5, 6, 7, 8, 9};
    twice.vertBoundary = {1, 1, 1, 1, 1, 1, 1, 0, 0, 0, 0, 0};
    Chain ring = chainOf(twice);
    EXPECT_EQ(ring.status, DRAPE_BOUNDARY_NOT_CLOSED);
    ring.edges.resize(30);
    EXPECT_EQ(ring.edges, (std::vector<std::int32_t>{1, 1, 2, 2, 2, 4, 6, 4, 5, 7, 5, 6, 8,  6,  4,
                                                     5, 4, 2, 3, 2, 3, 4, 3, 7, 9, 7, 4, -7, -7, -7}));
}

// A model registered before its boundary is walked, as a host has it that knows no more than the room. The
// square has four edges, and a vertex in its middle makes room for five.
TEST(BoundaryChain, OfTheRegisteredTableIsTheModelsOwn) {
    PlainModel model(
        meshOf({0, 0, 0, 1, 0, 0, 1, 1, 0, 0, 1, 0, 0.4, 0.5, 0}, {1, 2, 5, 2, 3, 5, 3, 4, 5, 4, 1, 5}), {});
    const Surface& s = model.surface;
    const std::int32_t triCount = 4, vertCount = 5, vertTriCount = 12, off = -1, none = 0;
    model.boundaryCount = vertCount;
    std::fill(model.edges.begin(), model.edges.end(), 0x7f7f7f7f);
    model.registerModel();
    std::int32_t count = -3, crossings = -1, status = -1;
    ASSERT_EQ(gzprel(s.vertBoundary.data(), &triCount, &vertCount, &vertTriCount, s.vertTriStart.data(),
                     s.vertTriList.data(), s.triVerts.data(), s.vertPos.data(), &count, model.edges.data(),
                     model.edgeNormals.data(), &status),
              0);
    EXPECT_EQ(count, 4);
    EXPECT_EQ(chainOf(meshOf({0, 0, 0, 2, 0, 0, 0, 1, 0}, {1, 2, 3})).count, 3); // into a table of its own
    const double to[3] = {0.5, 0.1, 0.0}, step = 1.0, tolerance = 1e-6;
    for (const auto& [a, b] : {std::pair(Point{0.5, -0.1, 0}, Point{0.5, 0.1, 0}),
                               {{0.9, 0.5, 0}, {1.1, 0.5, 0}},
                               {{0.5, 0.9, 0}, {0.5, 1.1, 0}},
                               {{-0.1, 0.5, 0}, {0.1, 0.5, 0}}}) {
        EXPECT_EQ(uzprxb(a.data(), b.data(), &step, &off, &crossings, &status), 0);
        EXPECT_EQ(crossings, 1);
    }
    const double up[3] = {0, 0, 1}, outward[3] = {0, -1, 0};
    double point[3], normal[3];
    EXPECT_EQ(uzprpf(to, up, outward, &step, to, &none, &none, &tolerance, point, normal, &status), 0);
    EXPECT_NEAR(point[1], -0.9, 1e-12);
}

// Point to triangle.

struct Measured {
    double distance = -1.0;
    std::int32_t location = -1;
};
Measured measure(const Point& p, const Triangle& t, double tolerance) {
    Measured m;
    npdmpe(p.data(), t[0].data(), t[1].data(), t[2].data(), &tolerance, &m.distance, &m.location);
    return m;
}

double distanceToSegment(const Point& p, const Point& a, const Point& b) {
    const double squared = dot(b - a, b - a);
    const double s = squared > 0.0 ? std::clamp(dot(p - a, b - a) / squared, 0.0, 1.0) : 0.0;
    return length(p - (a + s * (b - a)));
}
double trueDistance(const Point& p, const Triangle& t) {
    double best = std::min({distanceToSegment(p, t[0], t[1]), distanceToSegment(p, t[1], t[2]),
                            distanceToSegment(p, t[2], t[0])});
    const Point n = cross(t[1] - t[0], t[2] - t[0]);
    if (length(n) == 0.0)
        return best;
    bool inside = true;
    for (std::size_t k = 0; k < 3; ++k)
        inside = inside && dot(n, cross(t[(k + 1) % 3] - t[k], p - t[k])) > 0.0;
    return inside ? std::fabs(dot(p - t[0], unit(n))) : best;
}

TEST(PointToTriangle, GivesTheTrueDistance) {
    Random random(4);
    for (int k = 0; k < 20000; ++k) {
        Triangle t = {randomPoint(random), randomPoint(random), randomPoint(random)};
        switch (k % 10) { // triangles without area too
        case 7:
            t[1] = t[0] + Point{random.between(0.1, 1.0), 0.0, 0.0};
            t[2] = t[0] + Point{random.between(-1.0, 2.0), 0.0, 0.0};
            break;
        case 8:
            t[1] = t[0];
            break;
        case 9:
            t[1] = t[2] = t[0];
            break;
        default:
            break;
        }
        const Point p = 2.0 * randomPoint(random);
        const Measured m = measure(p, t, 1e-12);
        ASSERT_NEAR(m.distance, trueDistance(p, t), 1e-7) << k;
        ASSERT_TRUE(m.location >= 1 && m.location <= 7) << k;
    }
}

TEST(PointToTriangle, NamesTheFeature) {
    const Triangle t = {Point{0, 0, 0}, Point{4, 0, 0}, Point{0, 4, 0}};
    struct Case {
        Point p;
        double tolerance, distance;
        std::int32_t location;
    };
    const Case cases[] = {
        {{-1, -1, 0}, 1e-3, std::sqrt(2.0), DRAPE_AT_VERTEX_A},
        {{4, 0, 0}, 1e-3, 0.0, DRAPE_AT_VERTEX_B},
        {{4, 0, 0}, 0.0, 0.0, DRAPE_AT_VERTEX_B},
        {{-1, 6, 0}, 1e-3, std::sqrt(5.0), DRAPE_AT_VERTEX_C},
        {{2, -1, 0}, 1e-3, 1.0, DRAPE_ON_EDGE_AB},
        {{2, 0, 3}, 0.0, 3.0, DRAPE_ON_EDGE_AB},
        {{3, 3, 0}, 1e-3, std::sqrt(2.0), DRAPE_ON_EDGE_BC},
        {{-2, 1, 0}, 1e-3, 2.0, DRAPE_ON_EDGE_CA},
        {{1, 1, -5}, 1e-3, 5.0, DRAPE_IN_INTERIOR},
        {{1, 0.05, 0}, 0.1, 0.05, DRAPE_ON_EDGE_AB}, // inside, but within tolerance of an edge
        {{0.05, 0.05, 0}, 0.1, std::sqrt(0.005), DRAPE_AT_VERTEX_A}, // a corner goes before the edges
        {{-1, -1, 1}, 1e-3, std::sqrt(3.0), DRAPE_AT_VERTEX_A}};
    for (const Case& c : cases) {
        const Measured m = measure(c.p, t, c.tolerance);
        EXPECT_NEAR(m.distance, c.distance, 1e-12) << c.p[0] << ' ' << c.p[1] << ' ' << c.p[2];
        EXPECT_EQ(m.location, c.location) << c.p[0] << ' ' << c.p[1] << ' ' << c.p[2];
    }
}

// Whether corners count as standing on a line doesn't hang on the unit, however far off that is.
TEST(PointToTriangle, KnowsATriangleAtAnyScale) {
    for (const double s : {1.0, 1e-40, 4e-82, 1e-150, 1e40, 4e77, 1e150}) {
        const Triangle right = {Point{0, 0, 0}, Point{s, 0, 0}, Point{0, s, 0}};
        const Measured above = measure({0.25 * s, 0.25 * s, s}, right, 0.0);
        EXPECT_EQ(above.location, DRAPE_IN_INTERIOR) << s;
        EXPECT_NEAR(above.distance / s, 1.0, 1e-12) << s;
        const Triangle line = {Point{0, 0, 0}, Point{s, 0.3 * s, 0}, Point{0.7 * s, (0.7 * s) * 0.3, 0}};
        const Measured beside = measure({0, 0, 0.5 * s}, line, 0.0);
        EXPECT_EQ(beside.location, DRAPE_AT_VERTEX_A) << s;
        EXPECT_NEAR(beside.distance / s, 0.5, 1e-12) << s;
    }
    for (const auto& [s, t] : {std::pair(1e130, 1e30), std::pair(1e30, 1e130)})
        EXPECT_EQ(
            measure({0.25 * s, 0.25 * t, s}, {Point{0, 0, 0}, Point{s, 0, 0}, Point{0, t, 0}}, 0.0).location,
            DRAPE_IN_INTERIOR);
    EXPECT_EQ(measure({1, 0, 0}, {Point{2, 0, 0}, Point{2, 0, 0}, Point{3, 0, 0}}, 0.0).distance, 1.0);
}

// Planes and circles.

TEST(ThreePlanes, MeetInThePointThatLiesOnAll) {
    Random random(8);
    for (int k = 0; k < 2000; ++k) {
        const Point p[3] = {randomPoint(random), randomPoint(random), randomPoint(random)};
        const Point n[3] = {randomPoint(random), randomPoint(random), randomPoint(random)};
        const double det = dot(n[0], cross(n[1], n[2])), threshold = 1e-3;
        Point found;
        std::int32_t singular = -1;
        npx3pl(p[0].data(), n[0].data(), p[1].data(), n[1].data(), p[2].data(), n[2].data(), &threshold,
               found.data(), &singular);
        ASSERT_EQ(singular, std::fabs(det) < threshold ? 1 : 0);
        for (int j = 0; j < 3 && singular == 0; ++j)
            ASSERT_NEAR(dot(found - p[j], n[j]), 0.0, 1e-9);
    }
    const Point o{}, x = {1, 0, 0}, y = {0, 1, 0}, z = {0, 0, 0.25};
    Point found;
    std::int32_t singular = -1;
    for (const double threshold : {0.25, 0.2501}) { // a determinant at the threshold is regular
        npx3pl(o.data(), x.data(), o.data(), y.data(), o.data(), z.data(), &threshold, found.data(),
               &singular);
        EXPECT_EQ(singular, threshold > 0.25 ? 1 : 0);
    }
}

struct Cut {
    std::int32_t result = 0, count = 0, singular = 0;
    std::array<Point, 2> points{};
    std::array<std::int32_t, 2> kinds{};
};
Cut cut(const Point& centre, const Point& axis, double radius, const Triangle& t, double tolerance,
        std::int32_t mode) {
    Cut c;
    c.count = c.singular = 9;
    c.kinds = {9, 9};
    c.result = npxctr(centre.data(), axis.data(), &radius, t[0].data(), t[1].data(), t[2].data(), &tolerance,
                      &mode, &c.count, c.points[0].data(), c.kinds.data(), &c.singular);
    return c;
}

// The circle's height over the triangle's plane is a wave; its zeros that lie well inside the triangle must
// all be found, those well outside must not.
TEST(CircleAndTriangle, FindsTheZerosOfTheCirclesHeight) {
    Random random(15);
    int hits = 0;
    for (int k = 0; k < 20000; ++k) {
        const Triangle t = {randomPoint(random), randomPoint(random), randomPoint(random)};
        const Point centre = 0.7 * randomPoint(random), axis = unit(randomPoint(random));
        const double radius = random.between(0.1, 1.2), tolerance = 1e-9;
        const Point normal = unit(cross(t[1] - t[0], t[2] - t[0]));
        const Point u = unit(cross(axis, std::fabs(axis[0]) < 0.9 ? Point{1, 0, 0} : Point{0, 1, 0})),
                    v = cross(axis, u);
        const double a = radius * dot(u, normal), b = radius * dot(v, normal), c = dot(centre - t[0], normal);
        const double swing = std::hypot(a, b);
        int inPlane = 0, inside = 0;
        bool clear = std::fabs(std::fabs(c) - swing) > 1e-6 && swing > 1e-3 * radius;
        if (std::fabs(c) < swing)
            for (const double side : {-1.0, 1.0}) {
                const double angle = std::atan2(b, a) + side * std::acos(-c / swing);
                const Point p = centre + (radius * std::cos(angle)) * u + (radius * std::sin(angle)) * v;
                ++inPlane;
                double least = 1.0;
                for (std::size_t j = 0; j < 3; ++j)
                    least = std::min(least, dot(normal, cross(t[(j + 1) % 3] - t[j], p - t[j])));
                inside += least > 0.0 ? 1 : 0;
                clear = clear && std::fabs(least) > 1e-6;
            }
        if (!clear)
            continue;
        for (const std::int32_t mode : {0, 1, 2}) {
            const Cut found = cut(centre, axis, radius, t, tolerance, mode);
            ASSERT_EQ(found.count, mode == 0 ? inPlane : inside) << k << " mode " << mode;
            ASSERT_EQ(found.result, 0);
            for (std::size_t j = 0; j < static_cast<std::size_t>(found.count); ++j) {
                ASSERT_NEAR(length(found.points[j] - centre), radius, 1e-7);
                ASSERT_NEAR(dot(found.points[j] - centre, axis), 0.0, 1e-7);
                ASSERT_NEAR(dot(found.points[j] - t[0], normal), 0.0, 1e-7);
                ASSERT_EQ(found.kinds[j], mode == 0 ? DRAPE_AT_NOWHERE : DRAPE_IN_INTERIOR);
            }
        }
        hits += inside;
    }
    EXPECT_GT(hits, 1000);
}

TEST(CircleAndTriangle, SnapsToCornersThenEdgesThenTheInterior) {
    // The circle stands upright in the plane y = 0 or another, and cuts the level triangle.
    const Triangle t = {Point{0, 0, 0}, Point{4, 0, 0}, Point{0, 4, 0}};
    const Point y = {0, 1, 0};
    const auto kinds = [&](const Point& centre, double radius, double tolerance = 0.01,
                           const Point& axis = {0, 1, 0}, std::int32_t mode = 1) {
        const Cut c = cut(centre, axis, radius, t, tolerance, mode);
        std::vector<std::int32_t> list(c.kinds.begin(), c.kinds.begin() + c.count);
        return list;
    };
    using List = std::vector<std::int32_t>;
    EXPECT_EQ(kinds({2, 1, 0}, 0.5), (List{DRAPE_IN_INTERIOR, DRAPE_IN_INTERIOR}));
    EXPECT_EQ(kinds({2, 0, 0}, 0.5), (List{DRAPE_ON_EDGE_AB, DRAPE_ON_EDGE_AB}));
    EXPECT_EQ(kinds({2, 0.009, 0}, 2.0), (List{DRAPE_AT_VERTEX_A, DRAPE_AT_VERTEX_B}));
    EXPECT_EQ(kinds({2, 1, 0}, 1.0), (List{DRAPE_ON_EDGE_BC, DRAPE_IN_INTERIOR}));
    EXPECT_EQ(kinds({0, 2, 0}, 1.0), (List{DRAPE_IN_INTERIOR}));
    // A corner that comes second on the line still comes first in the list.
    const Cut corner =
        cut({2, 0.005, 0}, y, 2.0, {Point{-1, -1, 0}, Point{4, 0, 0}, Point{-1, 1, 0}}, 0.01, 1);
    ASSERT_EQ(corner.count, 2);
    EXPECT_EQ(corner.kinds, (std::array<std::int32_t, 2>{DRAPE_AT_VERTEX_B, DRAPE_IN_INTERIOR}));
    EXPECT_NEAR(corner.points[0][0], 4.0, 0.01);
    // Beyond an edge's end, and in the plane but far off.
    EXPECT_EQ(kinds({-1, 0, 0}, 0.5), List{});
    EXPECT_EQ(cut({9, 9, 0}, y, 1.0, t, 0.01, 0).count, 2);
    // Level with the triangle, or the triangle without area: no hit, and no failure.
    EXPECT_EQ(cut({1, 1, 0}, {0, 0, 1}, 0.5, t, 0.01, 1).result, 0);
    EXPECT_EQ(cut({1, 1, 0}, {0, 0, 1}, 0.5, t, 0.01, 0).count, 0);
    EXPECT_EQ(cut({1, 0, 0}, {1, 0, 0}, 0.5, {t[0], t[1], Point{2, 0, 0}}, 0.01, 1).count, 0);
    // A circle that just touches the plane gives one point; at exactly the tolerance it gives none or two.
    EXPECT_EQ(cut({2, 1, 1.0 + 0.0078125 / 2}, y, 1.0, t, 0.0078125, 2).count, 1);
    EXPECT_EQ(cut({2, 1, 1.0 + 0.0078125}, y, 1.0, t, 0.0078125, 2).count, 0);
    EXPECT_EQ(cut({2, 1, 1.0 - 0.0078125}, y, 1.0, t, 0.0078125, 2).count, 2);
    // A corner at exactly the tolerance from the circle's plane isn't screened out.
    const Triangle aside = {Point{2, 0.0078125, 0}, Point{1, 3, 0}, Point{3, 3, 0}};
    EXPECT_EQ(cut({2, 0, 0}, y, 1.0, aside, 0.0078125, 1).count,
              cut({2, 0, 0}, y, 1.0, aside, 0.0078125, 2).count);
}

// Choice of the point on the surface.

struct Choice {
    Point point = {-9, -9, -9}, normal = {-9, -9, -9}, forward{};
    std::int32_t triangle = -1;
};
Choice choose(const Point& centre, const Point& planeNormal, const Point& forward, double radius,
              const Point& back, const std::vector<std::int32_t>& found, double tolerance) {
    Choice c;
    c.forward = forward;
    std::int32_t count = static_cast<std::int32_t>(found.size()), status = 9;
    EXPECT_EQ(uzprcm(centre.data(), planeNormal.data(), c.forward.data(), &radius, back.data(), found.data(),
                     &count, &tolerance, c.point.data(), c.normal.data(), &c.triangle, &status),
              0);
    EXPECT_EQ(status, 0);
    return c;
}

TEST(SurfaceChoice, TakesThePointFurthestForward) {
    PlainModel model(picture(std::vector<std::string>(6, "######")), Settings{});
    model.registerModel();
    std::vector<std::int32_t> all;
    for (std::int32_t t = 1; t <= model.surface.triCount(); ++t)
        all.push_back(t);
    const Point centre = {3.1, 3.3, 0}, up = {0, 0, 1};
    const Choice c = choose(centre, up, {5, 0, 0}, 1.0, {2.1, 3.3, 0}, all, 1e-3);
    EXPECT_NEAR(c.point[0], 4.1, 1e-12);
    EXPECT_NEAR(c.point[1], 3.3, 1e-12);
    EXPECT_EQ(c.triangle, triangleAbove(model.surface, 4.1, 3.3));
    EXPECT_EQ(c.forward, (Point{1, 0, 0})); // brought to unit length
    EXPECT_EQ(c.normal, up);

    // Only triangles of the list count: without those ahead, nothing is left but the point behind, which is
    // dropped while it is nearer to the back point than the radius.
    const std::vector<std::int32_t> behind = {triangleAbove(model.surface, 2.1, 3.3)};
    EXPECT_EQ(choose(centre, up, {1, 0, 0}, 1.0, {2.1, 3.3, 0}, behind, 1e-3).triangle, 0);
    EXPECT_EQ(choose(centre, up, {1, 0, 0}, 1.0, {2.1, 3.3, 0}, behind, 1e-3).point, (Point{-9, -9, -9}));
    EXPECT_EQ(choose(centre, up, {1, 0, 0}, 1.0, {2.1, 4.3, 0}, behind, 1e-3).triangle,
              behind[0]); // just a radius away
    EXPECT_EQ(choose(centre, up, {1, 0, 0}, 1.0, {2.1, 3.3, 0}, {}, 1e-3).triangle, 0);

    // On an edge that two triangles share the first of the list is taken.
    const std::int32_t left = triangleAbove(model.surface, 3.9, 3.3),
                       right = triangleAbove(model.surface, 4.1, 3.3);
    for (const auto& pair : {std::vector<std::int32_t>{left, right}, std::vector<std::int32_t>{right, left}})
        EXPECT_EQ(choose({3.0, 3.3, 0}, up, {1, 0, 0}, 1.0, {2, 3.3, 0}, pair, 1e-3).triangle, pair[0]);
}

// More candidates than any fixed table would hold: the furthest is still found, in any order of the list.
TEST(SurfaceChoice, HasNoLimitOnCandidates) {
    PlainModel model(squareMould(1.0, 60, level), Settings{});
    model.registerModel();
    std::vector<std::int32_t> list;
    for (int round = 0; round < 12; ++round)
        for (std::int32_t t = 1; t <= model.surface.triCount(); ++t)
            list.push_back(t);
    std::reverse(list.begin(), list.end());
    const Choice c = choose({0.011, 0.012, 0}, {0, 0, 1}, {0, 1, 0}, 0.7, {0.011, -0.688, 0}, list, 1e-6);
    EXPECT_NEAR(c.point[1], 0.712, 1e-9);
}

} // namespace
