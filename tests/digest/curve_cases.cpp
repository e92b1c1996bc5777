// Curves carried onto the pattern, whole and step by step: on grids of runs and on graphs laid by hand, with
// points in cells, between them, on their corners and far off, and walks over open and closed cells.
#include "moulds.h"

namespace drape_digest {
namespace {

using List = std::vector<std::int32_t>;

// A grid with cells that are missing, links astray and nodes of any status.
Grid graph(Block& block, Kind kind, bool hostile) {
    const int columns = block.within(block.chance(0.9) ? 2 : 1, 7), rows = block.within(2, 7);
    Grid grid = emptyGrid(columns * rows);
    grid.count = columns * rows;
    List numbers(static_cast<std::size_t>(grid.count));
    for (std::size_t k = 0; k < numbers.size(); ++k)
        numbers[k] = static_cast<std::int32_t>(k + 1);
    if (block.chance(0.5))
        shuffle(numbers, block.random);
    const auto node = [&](int i, int j) {
        return i < 0 || j < 0 || i >= columns || j >= rows
                   ? 0
                   : numbers[static_cast<std::size_t>(i + columns * j)];
    };
    const double closed = block.oneOf({0.0, 0.2, 0.5, 1.0}), astray = block.oneOf({0.0, 0.0, 0.05, 0.2}),
                 bend = kind == Kind::any ? 0.3 : 0.0;
    List* links[] = {&grid.link1, &grid.link2, &grid.link3, &grid.link4};
    for (int j = 0; j < rows; ++j)
        for (int i = 0; i < columns; ++i) {
            const auto n = static_cast<std::size_t>(node(i, j) - 1);
            const std::int32_t around[] = {node(i + 1, j), node(i, j - 1), node(i - 1, j), node(i, j + 1)};
            for (int d = 0; d < 4; ++d)
                (*links[d])[n] = !block.chance(astray) ? around[d]
                                 : block.chance(0.6)   ? 0
                                 : hostile             ? block.within(-3, grid.count + 3)
                                                       : block.within(1, grid.count);
            grid.nodeStatus[n] = block.chance(closed) ? block.oneOf({-1, -1, -1, -2, -3}) : 0;
            for (std::size_t k = 0; k < 3; ++k)
                grid.nodePos[3 * n + k] = (k == 0 ? i : k == 1 ? j : 0) + block.random.between(-bend, bend);
            grid.nodeFlat[2 * n] = 1.25 * i;
            grid.nodeFlat[2 * n + 1] = 0.75 * j;
        }
    return grid;
}

Vector pointNear(Block& block, Kind kind) {
    Vector p{};
    for (double& x : p)
        x = kind == Kind::any ? block.random.between(-1.5, 7.5) : 0.5 * block.within(-2, 14);
    p[2] = block.chance(0.6) ? 0.0 : number(block, kind, 2);
    if (kind == Kind::nearWhole)
        p[0] = aboutEdge(block, p[0]);
    return p;
}

Curve curveNear(Block& block, Kind kind, int count) {
    Curve curve;
    Vector at = pointNear(block, kind);
    for (int k = 0; k < count; ++k) {
        if (block.chance(0.15)) {
            at = pointNear(block, kind);
        } else {
            at[0] += number(block, kind, 1) * 0.5;
            at[1] += number(block, kind, 1) * 0.5;
        }
        const Vector along = block.chance(0.8) ? Vector{0, 0, 1} : vector(block, kind);
        curve.points.insert(curve.points.end(), at.begin(), at.end());
        curve.directions.insert(curve.directions.end(), along.begin(), along.end());
    }
    curve.low = block.within(-1, count + 1);
    curve.high = block.chance(0.5) ? count : block.within(0, count);
    return curve;
}

// Brings what outlives a call to a known place.
void settle() {
    Grid grid = emptyGrid(4);
    grid.count = 4;
    grid.link1 = {2, 0, 4, 0};
    grid.link4 = {3, 4, 0, 0};
    grid.nodePos = {0, 0, 0, 1, 0, 0, 0, 1, 0, 1, 1, 0};
    Curve curve;
    curve.points = {0.5, 0.5, 0.0};
    curve.directions = {0.0, 0.0, 1.0};
    const std::int32_t one = 1, none = 0;
    const double spare = 0.0;
    std::int32_t cell = 1, status = 0;
    double flat[2];
    uzftte(curve.points.data(), curve.directions.data(), &one, grid.link3.data(), grid.link1.data(),
           grid.link2.data(), grid.link4.data(), &none, &none, grid.nodeStatus.data(), grid.nodePos.data(),
           grid.nodeFlat.data(), &spare, &grid.count, flat, &cell, &status);
    transfer(grid, curve);
}

void addCurve(Block& block, const Curve& curve) {
    block.hash.addAll(curve.points);
    block.hash.addAll(curve.directions);
    block.hash.addAll(curve.flat);
    block.outcome(curve.result, curve.status);
}

void wholeCurves(Block& block, Kind kind) {
    const Grid grid = graph(block, kind, true);
    Curve curve = curveNear(block, kind, block.oneOf({0, 1, 2, 3, 4, 5, 8, 13, 40, 90}));
    if (curve.points.empty())
        curve.points.reserve(1);
    transfer(grid, curve);
    addCurve(block, curve);
}

void nearestCells(Block& block, Kind kind) {
    const Grid grid = graph(block, kind, true);
    const Vector p = pointNear(block, kind);
    std::int32_t ranks[4] = {-7, -7, -7, -7}, first = -7, second = -7, status = -7;
    const std::int32_t result =
        uzftpq(p.data(), grid.link3.data(), grid.link1.data(), grid.link2.data(), grid.link4.data(),
               grid.nodeStatus.data(), grid.nodePos.data(), &grid.count, &first, &second, &status);
    block.outcome(result, status);
    block.hash.add(first);
    block.hash.add(second);
    uzftp2(p.data(), grid.link3.data(), grid.link1.data(), grid.link2.data(), grid.link4.data(),
           grid.nodeStatus.data(), grid.nodePos.data(), &grid.count, ranks, &status);
    block.hash.add(ranks, 4);
}

void cellWalks(Block& block, Kind kind) {
    const Grid grid = graph(block, kind, true);
    const Curve curve = curveNear(block, kind, 4);
    const std::int32_t index = block.within(1, 4), start = block.chance(0.9)
                                                               ? block.within(1, grid.count)
                                                               : block.within(-1, grid.count + 1);
    std::int32_t found = -7, third = -7, status = -7;
    const std::int32_t result =
        uzftcq(curve.points.data(), &index, &start, grid.link3.data(), grid.link1.data(), grid.link2.data(),
               grid.link4.data(), grid.nodeStatus.data(), grid.nodePos.data(), &grid.count, &found, &third,
               &curve.low, &curve.high, &status);
    block.hash.add(found);
    block.hash.add(status);
    block.outcome(result, third);
}

// A few nodes that are linked anyhow, so that walks take as many laps as they can, or never end.
void tangledWalks(Block& block, Kind) {
    Grid grid = emptyGrid(block.within(3, 6));
    grid.count = static_cast<std::int32_t>(grid.link1.size());
    const double cut = block.oneOf({0.0, 0.1, 0.2});
    for (List* links : {&grid.link1, &grid.link2, &grid.link3, &grid.link4})
        for (std::int32_t& to : *links)
            to = block.chance(cut) ? 0 : block.within(1, grid.count);
    for (std::size_t n = 0; n < grid.link1.size(); ++n) {
        grid.nodeStatus[n] = block.chance(0.3) ? -1 : 0;
        grid.nodePos[3 * n] = block.within(0, 6);
        grid.nodePos[3 * n + 1] = block.within(0, 6);
        grid.nodePos[3 * n + 2] = 0.0;
    }
    const double x = 0.5 * block.within(0, 12), y = 0.5 * block.within(0, 12), point[3] = {x, y, 0.0};
    const std::int32_t one = 1, inner = block.chance(0.8) ? 1 : 0, start = block.within(1, grid.count);
    std::int32_t found = -7, third = -7, status = -7;
    const std::int32_t result = uzftcq(
        point, &one, &start, grid.link3.data(), grid.link1.data(), grid.link2.data(), grid.link4.data(),
        grid.nodeStatus.data(), grid.nodePos.data(), &grid.count, &found, &third, &one, &inner, &status);
    block.hash.add(found);
    block.hash.add(status);
    block.outcome(result, third);
}

void cellMappings(Block& block, Kind kind) {
    const Grid grid = graph(block, kind, false);
    Curve curve = curveNear(block, kind, 3);
    const std::int32_t index = block.within(1, 3), cell = block.within(1, grid.count), none = 0;
    if (block.chance(0.8)) // in the cell, on its rim or close by
        for (std::size_t k = 0; k < 2; ++k)
            curve.points[3 * static_cast<std::size_t>(index - 1) + k] =
                grid.nodePos[3 * static_cast<std::size_t>(cell - 1) + k] +
                aboutEdge(block,
                          kind == Kind::any ? block.random.between(-0.3, 1.3) : 0.25 * block.within(0, 4));
    const double spare = 0.0;
    double flat[2] = {-7, -7};
    std::int32_t inside = -7, status = -7;
    const std::int32_t result =
        uzfttp(curve.points.data(), curve.directions.data(), &index, &cell, grid.link3.data(),
               grid.link1.data(), grid.link2.data(), grid.link4.data(), &none, &none, grid.nodePos.data(),
               grid.nodeFlat.data(), &spare, &grid.count, flat, &inside, &status);
    block.hash.add(flat, 2);
    block.hash.add(status);
    block.outcome(result, inside);
}

void otherCells(Block& block, Kind kind) {
    const Grid grid = graph(block, kind, true);
    const Curve curve = curveNear(block, kind, 3);
    List cells = {block.within(1, grid.count), block.within(1, grid.count), block.within(1, grid.count)};
    std::vector<double> flat(6, -7.0);
    const std::int32_t index = block.within(1, 3), none = 0;
    const double spare = 0.0;
    std::int32_t status = -7;
    const std::int32_t result = uzftte(
        curve.points.data(), curve.directions.data(), &index, grid.link3.data(), grid.link1.data(),
        grid.link2.data(), grid.link4.data(), &none, &none, grid.nodeStatus.data(), grid.nodePos.data(),
        grid.nodeFlat.data(), &spare, &grid.count, flat.data(), cells.data(), &status);
    block.hash.addAll(flat);
    block.hash.addAll(cells);
    block.outcome(result, status);
}

// Rings on a draped mould, through cells open and closed and beyond them.
void reportRings(Report& report) {
    for (int k = 1; k <= 24; ++k) {
        const std::string name = "curve on a draped mould " + std::to_string(k);
        Block block(name);
        settle();
        auto plan = tornPlan(block, 14, 14, block.oneOf({0.0, 0.0, 0.05}));
        const double bend = block.random.between(-0.06, 0.06);
        const auto height = [=](double x, double y) { return bend * (x * x + y * y); };
        const Surface surface = picture(plan, 1, height);
        Settings settings;
        const Point seed = pointAbove(surface, 7.3, 7.4);
        std::copy(seed.begin(), seed.end(), settings.seed);
        settings.stepA = block.random.between(0.6, 1.4);
        settings.stepB = block.random.between(0.6, 1.4);
        settings.byGridLine = block.below(2);
        const Grid grid = drape_test::run(surface, settings);
        const double reach = block.random.between(1.0, 9.0), cx = block.random.between(4, 10),
                     cy = block.random.between(4, 10);
        const int side = block.within(2, 40);
        Curve curve;
        for (int i = 0; i < 4 * side; ++i) {
            const double along = 2.0 * (i % side) / side - 1.0;
            const double ring[4][2] = {{along, -1.0}, {1.0, along}, {-along, 1.0}, {-1.0, -along}};
            const double x = cx + reach * ring[i / side][0], y = cy + reach * ring[i / side][1];
            curve.points.insert(curve.points.end(), {x, y, height(x - 7.0, y - 7.0)});
            curve.directions.insert(curve.directions.end(), {0.1, 0.0, 1.0});
        }
        curve.high = block.chance(0.5) ? 0 : curve.count();
        transfer(grid, curve);
        addCurve(block, curve);
        report.line(name, block.outcomes("status") + ", " + std::to_string(grid.count) + " nodes",
                    block.hash);
    }
}

} // namespace

void reportCurves(Report& report) {
    for (const Kind kind : ALL_KINDS) {
        const auto blocks = [&](const char* name, int calls, void (*oneCase)(Block&, Kind),
                                const char* what) {
            settle();
            reportBlocks(
                report, std::string(name) + " " + nameOf(kind), 4, calls,
                [&](Block& block) { oneCase(block, kind); }, what);
        };
        blocks("curve on a graph", 300, wholeCurves, "status");
        blocks("nearest cells", 200, nearestCells, "status");
        blocks("walk to a cell", 500, cellWalks, "third");
        blocks("mapping through a cell", 400, cellMappings, "inside");
        blocks("mapping through another cell", 300, otherCells, "status");
    }
    settle();
    reportBlocks(
        report, "walk over a tangle", 4, 20000, [](Block& block) { tangledWalks(block, Kind::whole); },
        "third");
    reportRings(report);
}

} // namespace drape_digest
