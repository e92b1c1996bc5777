// Direct calls of what needs no registered model: vectors, triangles, circles, strips, cells, level order.
#include "numbers.h"

#include <algorithm>
#include <limits>

namespace drape_digest {
namespace {

void unitNormals(Block& block, Kind kind) {
    Vector a = vector(block, kind), b = vector(block, kind);
    if (block.chance(0.2))
        for (std::size_t k = 0; k < 3; ++k)
            b[k] = 2.0 * a[k];
    const double scale = block.oneOf({1.0, 1.0, 1e-170, 1e160});
    for (double& x : a)
        x *= scale;
    Vector result = {-7, -7, -7};
    const std::int32_t dimension = block.chance(0.9) ? 3 : block.within(-1, 4);
    const int where = block.below(3); // the result may be one of the operands
    Vector& to = where == 0 ? result : where == 1 ? a : b;
    parbisfortran(a.data(), b.data(), to.data(), &dimension);
    for (const Vector& v : {a, b, result})
        block.hash.addAll(v);
    block.outcome(0, dimension);
}

// A triangle that is flat, degenerate, small or far away every so often.
std::array<Vector, 3> triangle(Block& block, Kind kind) {
    std::array<Vector, 3> t = {vector(block, kind), vector(block, kind), vector(block, kind)};
    const int shape = block.below(10);
    if (shape == 0)
        t[2] = t[static_cast<std::size_t>(block.below(2))];
    else if (shape == 1)
        for (std::size_t k = 0; k < 3; ++k)
            t[2][k] = t[0][k] + 0.5 * (t[1][k] - t[0][k]);
    else if (shape < 6)
        for (Vector& v : t)
            v[2] = 0.0;
    return t;
}

void scaleAll(std::initializer_list<double*> vectors, double scale, double offset) {
    for (double* v : vectors)
        for (std::size_t k = 0; k < 3; ++k)
            v[k] = v[k] * scale + offset;
}

void pointTriangles(Block& block, Kind kind) {
    std::array<Vector, 3> t = triangle(block, kind);
    Vector p = vector(block, kind);
    double near = tolerance(block, kind);
    if (block.chance(0.2))
        p = t[static_cast<std::size_t>(block.below(3))];
    if (block.chance(0.1)) {
        const double scale = block.oneOf({1e-82, 1e-9, 1e9, 1e77});
        scaleAll({p.data(), t[0].data(), t[1].data(), t[2].data()}, scale, 0.0);
        near *= scale;
    }
    double distance = -7.0;
    std::int32_t location = -7;
    npdmpe(p.data(), t[0].data(), t[1].data(), t[2].data(), &near, &distance, &location);
    block.hash.add(distance);
    block.outcome(0, location);
}

void threePlanes(Block& block, Kind kind) {
    Vector p[3], n[3];
    for (int k = 0; k < 3; ++k) {
        p[k] = vector(block, kind);
        n[k] = vector(block, kind, 2);
    }
    const double threshold = aboutEdge(block, block.oneOf({0.0, 1e-6, 1.0, 2.0, 3.0, 5.0}));
    Vector solution = {-7, -7, -7};
    std::int32_t singular = -7;
    npx3pl(p[0].data(), n[0].data(), p[1].data(), n[1].data(), p[2].data(), n[2].data(), &threshold,
           solution.data(), &singular);
    block.hash.addAll(solution);
    block.outcome(0, singular);
}

void circleCuts(Block& block, Kind kind) {
    std::array<Vector, 3> t = triangle(block, kind);
    Vector centre = vector(block, kind), axis = unitVector(block, kind);
    if (block.chance(0.3))
        centre[2] = block.oneOf({0.0, 3.0, 4.0});
    double radius = kind == Kind::any ? block.random.between(0.1, 4.0) : 0.5 * block.within(1, 10);
    double near = tolerance(block, kind);
    if (block.chance(0.1)) {
        const double scale = block.oneOf({1e-80, 1e-6, 1e6, 1e70});
        scaleAll({centre.data(), t[0].data(), t[1].data(), t[2].data()}, scale, 0.0);
        radius *= scale;
        near *= scale;
    } else if (block.chance(0.1)) {
        scaleAll({centre.data(), t[0].data(), t[1].data(), t[2].data()}, 1.0,
                 block.oneOf({1e3, 1e6, 4194304.0}));
    }
    const std::int32_t clip = block.within(0, 2);
    std::int32_t count = -7, kinds[2] = {-7, -7}, singular = -7;
    double hits[6] = {-7, -7, -7, -7, -7, -7};
    const std::int32_t result = npxctr(centre.data(), axis.data(), &radius, t[0].data(), t[1].data(),
                                       t[2].data(), &near, &clip, &count, hits, kinds, &singular);
    block.hash.add(hits, 6);
    block.hash.add(kinds, 2);
    block.hash.add(singular);
    block.outcome(result, count);
}

// Circles in planes that lean little against the triangle's, and triangles that are slivers.
void leaningCuts(Block& block) {
    const double lean = block.oneOf({1e-3, 1e-6, 1e-9, 1e-12}), thin = block.oneOf({1.0, 1e-3, 1e-6, 1e-9});
    Vector a = {0, 0, 0}, b = {2, 0, 0}, c = {block.random.between(-1, 3), thin, 0};
    Vector axis = {lean * block.random.between(-1, 1), lean, 0};
    axis[2] = std::sqrt(1.0 - axis[0] * axis[0] - axis[1] * axis[1]);
    Vector centre = {block.random.between(0, 2), block.random.between(0, thin), 0.1 * lean};
    const double radius = block.random.between(0.3, 1.5), near = block.oneOf({0.0, 1e-9, 1e-6, 1e-3});
    const std::int32_t clip = block.within(0, 2);
    std::int32_t count = -7, kinds[2] = {-7, -7}, singular = -7;
    double hits[6] = {-7, -7, -7, -7, -7, -7};
    const std::int32_t result = npxctr(centre.data(), axis.data(), &radius, a.data(), b.data(), c.data(),
                                       &near, &clip, &count, hits, kinds, &singular);
    block.hash.add(hits, 6);
    block.hash.add(kinds, 2);
    block.outcome(result, count);
}

// Circles that come down at a chosen place by a triangle's corner or edge, a tolerance away to the bit.
void cutsAtTheRim(Block& block) {
    const double near = block.oneOf({0.25, 0.5, 1.0}), side = block.oneOf({2.0, 3.0, 4.0}),
                 lift = block.oneOf({0.0, 1.0, near, -near});
    std::array<Vector, 3> t = {Vector{0, 0, 0}, Vector{side, 0, 0},
                               Vector{block.oneOf({0.0, 1.0, side}), block.oneOf({2.0, 3.0}), 0}};
    const double off[] = {0.0, near, -near, 0.5 * near, 2.0 * near};
    Vector place = t[static_cast<std::size_t>(block.below(3))];
    if (block.chance(0.4))
        place = {0.5 * side, 0, 0};
    for (std::size_t k = 0; k < 2; ++k)
        place[k] = aboutEdge(block, place[k] + off[block.below(5)]);
    const double radius = block.oneOf({0.5, 1.0, 5.0, near});
    const auto along = static_cast<std::size_t>(block.below(2));
    Vector centre = place, axis = {0, 0, 0};
    centre[along] -= block.chance(0.5) ? radius : -radius;
    centre[2] = block.chance(0.7) ? 0.0 : lift;
    axis[1 - along] = block.chance(0.5) ? 1.0 : -1.0;
    std::rotate(t.begin(), t.begin() + block.below(3), t.end());
    if (block.chance(0.3))
        std::swap(t[0], t[1]);
    const auto turn = block.below(3); // the same along other axes
    for (Vector* v : {&t[0], &t[1], &t[2], &centre, &axis})
        std::rotate(v->begin(), v->begin() + turn, v->end());
    const std::int32_t clip = block.within(1, 2);
    std::int32_t count = -7, kinds[2] = {-7, -7}, singular = -7;
    double hits[6] = {-7, -7, -7, -7, -7, -7};
    const std::int32_t result = npxctr(centre.data(), axis.data(), &radius, t[0].data(), t[1].data(),
                                       t[2].data(), &near, &clip, &count, hits, kinds, &singular);
    block.hash.add(hits, 6);
    block.hash.add(singular);
    block.hash.add(count);
    block.hash.add(kinds[1]);
    block.outcome(result, kinds[0]);
}

void strips(Block& block, Kind kind) {
    Vector a = vector(block, kind), b = vector(block, kind), p = vector(block, kind), q = vector(block, kind);
    Vector np = unitVector(block, kind), nq = block.chance(0.5) ? np : unitVector(block, kind);
    if (block.chance(0.5)) { // a strip that stands on the plane of the segment
        np = nq = {0, 0, 1};
        p[2] = q[2] = 0.0;
        if (block.chance(0.5))
            b[2] = a[2] = block.oneOf({0.0, 1.0, -2.0});
    }
    const double near = tolerance(block, kind);
    std::int32_t count = -7, kinds[2] = {-7, -7}, status = -7;
    double distance[2] = {-7, -7};
    const std::int32_t result = npxseb(a.data(), b.data(), p.data(), np.data(), q.data(), nq.data(), &near,
                                       &count, distance, kinds, &status);
    block.hash.add(count);
    block.hash.add(distance, 2);
    block.hash.add(kinds, 2);
    block.outcome(result, status);
}

// The tolerances and radii at which a place or a kind of hit changes: every bit of what they are held
// against.
void turningPoints(Block& block, Kind kind) {
    const std::array<Vector, 3> t = triangle(block, kind);
    const Vector p = vector(block, kind);
    block.hash.add(turningPoint(0.0, 3.0, [&](double near) {
        double distance = 0.0;
        std::int32_t location = 0;
        npdmpe(p.data(), t[0].data(), t[1].data(), t[2].data(), &near, &distance, &location);
        return location;
    }));
    const Vector centre = vector(block, kind), axis = unitVector(block, kind);
    const double radius = block.random.between(0.2, 4.0), near = block.oneOf({1e-9, 1e-3, 0.1});
    const std::int32_t clip = block.below(2);
    const auto cut = [&](double r, double tolerance) {
        std::int32_t count = 0, kinds[2] = {0, 0}, singular = 0;
        double hits[6];
        npxctr(centre.data(), axis.data(), &r, t[0].data(), t[1].data(), t[2].data(), &tolerance, &clip,
               &count, hits, kinds, &singular);
        return std::array{count, kinds[0], kinds[1], singular};
    };
    block.hash.add(turningPoint(0.0, 2.0, [&](double x) { return cut(radius, x); }));
    block.hash.add(turningPoint(0.0, 6.0, [&](double x) { return cut(x, near); }));
    const Vector a = vector(block, kind), b = vector(block, kind), s = vector(block, kind),
                 e = vector(block, kind), ns = unitVector(block, kind), ne = unitVector(block, kind);
    const double turn = turningPoint(1e-9, 2.0, [&](double tolerance) {
        std::int32_t count = 0, kinds[2] = {0, 0}, status = 0;
        double distance[2];
        npxseb(a.data(), b.data(), s.data(), ns.data(), e.data(), ne.data(), &tolerance, &count, distance,
               kinds, &status);
        return std::array{count, kinds[0], kinds[1], status};
    });
    block.hash.add(turn);
    block.outcome(0, turn < 2.0 ? 1 : 0);
}

void linesAndPlanes(Block& block, Kind kind) {
    const Vector point = vector(block, kind), direction = vector(block, kind), o = vector(block, kind),
                 u = vector(block, kind), v = vector(block, kind);
    double s = -7.0, t = -7.0;
    const std::int32_t result = npprtr(point.data(), direction.data(), o.data(), u.data(), v.data(), &s, &t);
    block.hash.add(s);
    block.hash.add(t);
    block.outcome(result, 0);
}

void trianglePoints(Block& block, Kind kind) {
    double source[9], target[9], point[3], mapped[3] = {-7, -7, -7};
    for (double* list : {source, target})
        for (int k = 0; k < 9; ++k)
            list[k] = number(block, kind);
    for (double& x : point)
        x = number(block, kind);
    const int spoiled = block.below(12);
    if (spoiled == 0)
        std::copy(source, source + 3, source + 6);
    else if (spoiled == 1)
        source[block.below(9)] = 1e200;
    else if (spoiled == 2)
        source[block.below(9)] = std::numeric_limits<double>::quiet_NaN();
    else if (spoiled == 3)
        point[block.below(3)] = std::numeric_limits<double>::infinity();
    std::int32_t status = -7;
    const std::int32_t result = nptfpt(source, target, point, mapped, &status);
    block.hash.add(mapped, 3);
    block.outcome(result, status);
}

void rotations(Block& block) {
    const std::int32_t count = block.within(0, 9), step = block.within(-25, 25);
    std::vector<double> points(3 * static_cast<std::size_t>(count) + 1), directions(points.size());
    for (auto* list : {&points, &directions})
        for (double& x : *list)
            x = number(block, Kind::any);
    std::int32_t status = -7;
    const std::int32_t result = uzftrt(&step, &count, points.data(), directions.data(), &status);
    block.hash.addAll(points);
    block.hash.addAll(directions);
    block.outcome(result, status);
}

void levelOrders(Block& block) {
    const std::int32_t count = block.chance(0.05) ? block.within(-1, 0) : block.within(1, 14);
    const auto items = static_cast<std::size_t>(std::max(count, 1));
    const std::int32_t start =
        block.chance(0.9) ? block.within(1, static_cast<int>(items)) : block.oneOf({0, -1, count + 1, count});
    std::vector<std::int32_t> inDegree(items), counts(items), successors, order(items, -7);
    const int most = block.within(0, 4);
    for (std::size_t k = 0; k < items; ++k) {
        inDegree[k] = block.chance(0.8) ? block.within(1, 3) : block.within(-1, 0);
        counts[k] = block.chance(0.05) ? -2 : block.within(0, most);
        for (std::int32_t s = 0; s < counts[k]; ++s)
            successors.push_back(block.within(block.chance(0.1) ? -1 : 1, static_cast<int>(items) + 1));
    }
    successors.push_back(1);
    const std::int32_t none = 0;
    std::int32_t ordered = -7, status = -7;
    const std::int32_t result = gz0zorc(&none, &none, &start, &count, inDegree.data(), counts.data(),
                                        successors.data(), &ordered, order.data(), &status);
    block.hash.add(ordered);
    block.hash.addAll(inDegree);
    block.hash.addAll(order);
    block.outcome(result, status);
}

} // namespace

void reportGeometry(Report& report) {
    for (const Kind kind : ALL_KINDS) {
        const auto blocks = [&](const char* name, int calls, void (*oneCase)(Block&, Kind),
                                const char* what) {
            reportBlocks(
                report, std::string(name) + " " + nameOf(kind), 3, calls,
                [&](Block& block) { oneCase(block, kind); }, what);
        };
        blocks("unit normal", 300, unitNormals, "dimension");
        blocks("point to triangle", 3000, pointTriangles, "location");
        blocks("three planes", 500, threePlanes, "singular");
        blocks("circle and triangle", 5000, circleCuts, "hits");
        blocks("segment and strip", 4000, strips, "status");
        blocks("turning points", 400, turningPoints, "of strips");
        blocks("line and plane", 300, linesAndPlanes, "status");
        blocks("triangle to triangle", 400, trianglePoints, "status");
    }
    reportBlocks(report, "circle and leaning triangle", 3, 2000, leaningCuts, "hits");
    reportBlocks(report, "circle at a triangle's rim", 3, 3000, cutsAtTheRim, "kind");
    reportBlocks(report, "rotation of a curve", 2, 200, rotations);
    reportBlocks(report, "level order", 4, 500, levelOrders);
}

} // namespace drape_digest
