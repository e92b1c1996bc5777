// Whole runs: moulds of all kinds, torn and bent, shuffled, turned, scaled and moved away, by both pivot
// rules, down to the codes that end a run. Each goes down the fast road and, operation by operation, down the
// plain one; the line tells what repairs and corners came about there.
#include "moulds.h"

#include "../plain_run.h"

#include <limits>

namespace drape_digest {
namespace {

// A mould with a place to begin on it; its cells are to be about `cell` long.
struct Case {
    Surface surface;
    Settings settings;
    double cell = 1.0;
};

Surface smooth(Block& block) {
    const double a = block.random.between(-0.06, 0.06), b = block.random.between(-0.06, 0.06),
                 hump = block.random.between(0.0, 3.0);
    return picture(std::vector<std::string>(11, "############"), 1, [=](double x, double y) {
        return a * x * x + b * y * y + hump / (1.0 + 0.2 * (x * x + y * y));
    });
}

Surface torn(Block& block) {
    const int columns = block.within(4, 12), rows = block.within(4, 12);
    auto lines = tornPlan(block, columns, rows, block.oneOf({0.05, 0.1, 0.2}));
    if (block.chance(0.5)) { // a notch from the edge inwards
        const auto column = static_cast<std::size_t>(block.below(columns));
        for (int j = block.below(rows); j < rows; ++j)
            lines[static_cast<std::size_t>(j)][column] = '.';
    }
    const double bend = block.random.between(-0.08, 0.08), twist = block.random.between(-0.08, 0.08);
    return picture(lines, 1, [=](double x, double y) { return bend * (x * x + y * y) + twist * x * y; });
}

Surface slit(Block& block) {
    const double width = block.oneOf({0.02, 0.3, 1.0, 1.7});
    return slitPlate(12, width, block.within(4, 9));
}

// Triangles many times larger than cells, so that neither the corners of a triangle nor the end of a slit lie
// within a cell of what is near to it in space.
Surface coarse(Block& block) {
    const int size = block.within(3, 5), depth = block.within(1, size - 1);
    Surface surface = slitPlate(size, block.oneOf({0.004, 0.02, 0.1, 0.4}), depth);
    const double along = block.oneOf({3.0, 5.0, 8.0}), across = block.oneOf({3.0, 5.0, 8.0}),
                 bend = block.random.between(-0.02, 0.02);
    for (std::size_t v = 0; v < surface.vertPos.size(); v += 3) {
        double* at = &surface.vertPos[v];
        at[2] = bend * (at[0] * at[0] + at[1] * at[1]);
        at[0] *= across;
        at[1] *= along;
    }
    return surface;
}

// Moulds whose runs take a tolerance of a cell's size.
Surface loose(Block& block) {
    return block.chance(0.5) ? slit(block) : smooth(block);
}

Surface toothed(Block& block) {
    const int rows = block.within(6, 11), depth = block.within(2, 5);
    const double edge = block.oneOf({1.0, 0.5, 0.3});
    return toothedPlate(block.within(2, 6), rows, depth, edge);
}

Surface holed(Block& block) {
    const int x0 = block.within(2, 6), y0 = block.within(2, 6), x1 = x0 + block.within(1, 4),
              y1 = y0 + block.within(1, 4);
    Surface surface = gridSurface(
        12, 12,
        [](int i, int j) {
            return Point{double(i), double(j), 0.02 * (i - 6) * (j - 6)};
        },
        [=](int i, int j) { return i < x0 || i >= x1 || j < y0 || j >= y1; });
    if (block.chance(0.5))
        unflag(surface, [=](double x, double y) { return x >= x0 && x <= x1 && y >= y0 && y <= y1; });
    return surface;
}

// Steps with upright walls: level, up, level again, in whole units.
Surface walled(Block& block) {
    const int foot = block.within(3, 6), height = block.within(1, 4);
    return gridSurface(
        12, 8,
        [=](int i, int j) {
            const int up = std::clamp(i - foot, 0, height);
            return Point{double(i - up), double(j), double(up)};
        },
        everywhere);
}

// A plate on which all things tie.
Surface plate(Block& block) {
    const int side = block.within(4, 9);
    return picture(std::vector<std::string>(static_cast<std::size_t>(side), "########"),
                   block.chance(0.7) ? 1 : 2);
}

Surface strip(Block& block) {
    const double width = block.oneOf({0.3, 1.0, 2.0}), skew = block.random.between(-0.5, 0.5);
    const int columns = block.within(4, 20), rows = block.within(1, 2);
    return gridSurface(
        columns, rows,
        [=](int i, int j) {
            return Point{double(i), width * j + skew * i, 0.1 * i * j};
        },
        everywhere);
}

// Coarse and jagged, with slopes of any kind: where rows fold.
Surface jagged(Block& block) {
    const double roughness = block.oneOf({0.3, 1.0, 3.0});
    Surface surface = picture(std::vector<std::string>(7, "#######"));
    for (std::size_t v = 2; v < surface.vertPos.size(); v += 3)
        surface.vertPos[v] = block.random.between(0.0, roughness);
    return surface;
}

// Flags that describe a loop only by chance.
Surface misflagged(Block& block) {
    Surface surface = torn(block);
    const double share = block.oneOf({0.02, 0.1, 0.5});
    for (std::int32_t& flag : surface.vertBoundary)
        flag = block.chance(share) ? block.within(0, 2) : flag;
    return surface;
}

// More needles than an index keeps by themselves.
Surface needled(Block& block) {
    Surface surface = smooth(block);
    addSlivers(surface, block, 160);
    return surface;
}

// Lists that name a vertex's triangles again and again: too many ways on for the boundary walk.
Surface doublyListed(Block& block) {
    Surface surface = plate(block);
    repeatFan(surface, 1, 2 * surface.vertCount());
    return surface;
}

void seedOnIt(Block& block, Case& run, bool onVertex) {
    const auto triangle = 3 * static_cast<std::size_t>(block.below(run.surface.triCount()));
    const double u = block.random.unit(), v = block.random.unit() * (1.0 - u);
    const double shares[] = {onVertex ? 1.0 : 1.0 - u - v, onVertex ? 0.0 : u, onVertex ? 0.0 : v};
    for (std::size_t c = 0; c < 3; ++c) {
        run.settings.seed[c] = 0.0;
        for (std::size_t k = 0; k < 3; ++k)
            run.settings.seed[c] +=
                shares[k] *
                run.surface.vertPos[3 * static_cast<std::size_t>(run.surface.triVerts[triangle + k] - 1) + c];
    }
    if (block.chance(0.1))
        run.settings.seed[2] += 0.3;
}

// Rotation matrix of a quaternion of small whole numbers, not quite exact and the same everywhere.
void turnInSpace(Block& block, Case& run) {
    const double w = block.within(1, 3), x = block.within(-2, 2), y = block.within(-2, 2),
                 z = block.within(-2, 2), n = w * w + x * x + y * y + z * z;
    const double m[3][3] = {
        {(w * w + x * x - y * y - z * z) / n, 2 * (x * y - w * z) / n, 2 * (x * z + w * y) / n},
        {2 * (x * y + w * z) / n, (w * w - x * x + y * y - z * z) / n, 2 * (y * z - w * x) / n},
        {2 * (x * z - w * y) / n, 2 * (y * z + w * x) / n, (w * w - x * x - y * y + z * z) / n}};
    const auto turn = [&](double* v) {
        const Vector old = {v[0], v[1], v[2]};
        for (std::size_t r = 0; r < 3; ++r)
            v[r] = m[r][0] * old[0] + m[r][1] * old[1] + m[r][2] * old[2];
    };
    for (std::size_t v = 0; v < run.surface.vertPos.size(); v += 3)
        turn(&run.surface.vertPos[v]);
    for (double* v : {run.settings.seed, run.settings.warp, run.settings.weft})
        turn(v);
}

void scaleAndMove(Case& run, double scale, double offset) {
    for (double& x : run.surface.vertPos)
        x = x * scale + offset;
    for (double& x : run.settings.seed)
        x = x * scale + offset;
    run.cell *= scale;
}

// Fibres along the axes, or at an angle with rational sine and cosine, or askew.
void direct(Block& block, Settings& settings, bool straight) {
    const double t = straight ? 0.0 : block.random.between(-1.0, 1.0);
    const double c = (1.0 - t * t) / (1.0 + t * t), s = 2.0 * t / (1.0 + t * t);
    const Vector warp = {c, s, 0.0};
    Vector weft = {-s, c, 0.0};
    if (block.chance(0.1))
        weft = {0.3 * c - s, 0.3 * s + c, 0.0};
    std::copy(warp.begin(), warp.end(), settings.warp);
    std::copy(weft.begin(), weft.end(), settings.weft);
}

Case draw(Block& block, Surface (*mould)(Block&), bool ties) {
    Case run;
    run.surface = mould(block);
    if (!ties && block.chance(0.4)) {
        const double amount = block.oneOf({0.05, 0.2, 0.3});
        const bool rim = block.chance(0.4);
        makeIrregular(run.surface, amount, block.random, rim);
    }
    if (block.chance(0.2))
        addSlivers(run.surface, block, block.within(1, 6));
    seedOnIt(block, run, ties && block.chance(0.5));
    direct(block, run.settings, ties && block.chance(0.7));
    if (!ties && block.chance(0.4))
        turnInSpace(block, run);
    const int far = block.below(10);
    if (far < 3)
        scaleAndMove(run, block.oneOf({1e-6, 1e-3, 1e3, 1e6}), 0.0);
    else if (far < 5)
        scaleAndMove(run, 1.0, block.oneOf({1e3, 1e5, 1048576.0}));
    if (block.chance(0.4))
        shuffleNumbers(run.surface, block.random);
    Settings& settings = run.settings;
    settings.stepA =
        run.cell * (ties ? block.oneOf({0.5, 1.0, 1.0, 1.5, 2.0}) : block.random.between(0.5, 1.7));
    settings.stepB = block.chance(0.5)
                         ? settings.stepA
                         : run.cell * (ties ? block.oneOf({0.5, 1.0, 2.0}) : block.random.between(0.5, 1.7));
    settings.tolerance = run.cell * block.oneOf({0.0, 1e-9, 1e-6, 1e-3, 1e-3, 1e-3, 1e-2, 0.05});
    if (mould == loose)
        settings.tolerance = run.cell * block.oneOf({0.2, 0.7, 1.5, 4.0, 30.0});
    settings.byGridLine = block.below(2);
    settings.capacity = block.chance(0.1) ? block.within(4, 60) : 1200;
    return run;
}

template <std::size_t SIZE>
std::string joined(const std::array<int, SIZE>& counts) {
    std::string text;
    for (std::size_t k = 1; k < SIZE; ++k)
        text += (k > 1 ? " " : "") + std::to_string(counts[k]);
    return text;
}

void addGrid(Hash& hash, const Grid& grid) {
    const auto n = static_cast<std::size_t>(grid.count);
    hash.add(grid.count);
    hash.add(grid.status);
    hash.add(grid.result);
    for (const auto* list : {&grid.link3, &grid.link1, &grid.link2, &grid.link4, &grid.nodeI, &grid.nodeJ,
                             &grid.nodeStatus, &grid.nodeTri})
        hash.add(list->data(), n);
    hash.add(grid.nodePos.data(), 3 * n);
    hash.add(grid.nodeFlat.data(), 2 * n);
    hash.add(grid.nodeNormal.data(), 3 * n);
}

void reportRun(Report& report, const std::string& name, const Case& run) {
    const Grid grid = drape(run.surface, run.settings);
    const PlainResult plain = plainRun(run.surface, run.settings);
    Hash hash;
    addGrid(hash, grid);
    report.line(name,
                "status " + std::to_string(grid.status) + ", " + std::to_string(grid.count) +
                    " nodes, repairs " + joined(plain.repairs) + ", corners " + joined(plain.corners) +
                    (firstDifference(grid, plain.grid).empty() ? "" : ", the plain road differs"),
                hash);
}

// The first `runs` cases of a kind, and chosen ones, in which every repair, every corner and every code that
// a run can end with come about.
struct Family {
    const char* name;
    Surface (*mould)(Block&);
    bool ties;
    int runs;
    std::vector<int> chosen;
};

std::vector<Family> families() {
    return {
        {"smooth", smooth, false, 20, {2039}},
        {"torn", torn, false, 16, {224,  261,  569,  690,  771,  776,  817,  820,  1023,
                                   1142, 1190, 1200, 1213, 1298, 1304, 1335, 1652, 1946,
                                   1950, 2144, 2178, 2319, 2336, 2465, 2658, 2727, 2977}},
        {"slit",
         slit,
         false,
         12,
         {41, 96, 820, 900, 1251, 1359, 1360, 1579, 1676, 1723, 2167, 2213, 2305, 2544, 2975}},
        {"slit with ties",
         slit,
         true,
         10,
         {209, 475, 602, 608, 676, 692, 845, 941, 1007, 1008, 1069, 1685, 1902, 2046, 2230, 2764, 2934}},
        {"coarse", coarse, false, 8, {}},
        {"loose", loose, false, 10, {}},
        {"toothed", toothed, false, 12, {49,   521,  685,  736,  782,  786,  906,  954,  980,
                                         1028, 1064, 1077, 1151, 1301, 1357, 1407, 1428, 1601,
                                         1710, 1950, 1977, 2014, 2024, 2169, 2208, 2563}},
        {"toothed with ties", toothed, true, 10, {128,  259,  317,  636,  837,  968,  1045,
                                                  1089, 1271, 1463, 1471, 1669, 1844, 1881,
                                                  1939, 1991, 2167, 2181, 2338, 2731, 2862}},
        {"holed", holed, false, 14, {433, 732, 743, 1644, 2048, 2490, 2509}},
        {"walled", walled, false, 12, {745, 2843}},
        {"walled with ties", walled, true, 12, {350, 514, 1220, 1600, 1825, 2392, 2397, 2799, 2958, 2984}},
        {"plate with ties", plate, true, 16, {212, 1618, 2115, 2891}},
        {"strip", strip, false, 14, {}},
        {"jagged",
         jagged,
         false,
         20,
         {45, 237, 326, 398, 570, 629, 1105, 1169, 1771, 1842, 2049, 2768, 2955}},
        {"misflagged", misflagged, false, 12, {478, 928, 1086, 1226, 1299, 1709, 2071}},
        {"needled", needled, false, 8, {}},
        {"doubly listed", doublyListed, false, 4, {}}};
}

// Input that no run begins on: a single thing is wrong with each.
void reportRefusals(Report& report) {
    Block block("refusals");
    const Case good = draw(block, plate, true);
    const double endless = std::numeric_limits<double>::infinity();
    const auto refuse = [&](const std::string& name, auto spoil) {
        Case run = good;
        run.settings.capacity = 8;
        Grid grid = emptyGrid(8);
        grid.count = 77;
        spoil(run.surface, run.settings);
        drape(run.surface, run.settings, grid);
        Hash hash;
        hash.add(grid.result);
        report.line("refused for " + name,
                    "status " + std::to_string(grid.status) + ", " + std::to_string(grid.count) + " nodes",
                    hash);
    };
    refuse("no room", [](Surface&, Settings& s) { s.capacity = 3; });
    refuse("more room than an array can have", [](Surface&, Settings& s) { s.capacity = 429496730; });
    for (const double step : {0.0, -1.0, endless}) {
        refuse("its step A " + std::to_string(step), [=](Surface&, Settings& s) { s.stepA = step; });
        refuse("its step B " + std::to_string(step), [=](Surface&, Settings& s) { s.stepB = step; });
    }
    for (const double near : {-1e-9, endless})
        refuse("its tolerance " + std::to_string(near), [=](Surface&, Settings& s) { s.tolerance = near; });
    for (std::size_t k = 0; k < 3; ++k) {
        refuse("seed " + std::to_string(k), [=](Surface&, Settings& s) { s.seed[k] = endless; });
        refuse("warp " + std::to_string(k), [=](Surface&, Settings& s) { s.warp[k] = -endless; });
        refuse("weft " + std::to_string(k), [=](Surface&, Settings& s) { s.weft[k] = endless - endless; });
    }
    refuse("no triangle", [](Surface& m, Settings&) { m.triVerts.clear(); });
    const std::int32_t vertices = good.surface.vertCount(), triangles = good.surface.triCount(),
                       entries = good.surface.vertTriCount();
    for (const std::int32_t v : {0, vertices + 1}) {
        refuse("first corner " + std::to_string(v), [=](Surface& m, Settings&) { m.triVerts.front() = v; });
        refuse("last corner " + std::to_string(v), [=](Surface& m, Settings&) { m.triVerts.back() = v; });
    }
    for (const std::int32_t t : {0, triangles + 1}) {
        refuse("first entry " + std::to_string(t), [=](Surface& m, Settings&) { m.vertTriList.front() = t; });
        refuse("last entry " + std::to_string(t), [=](Surface& m, Settings&) { m.vertTriList.back() = t; });
    }
    refuse("a start below", [](Surface& m, Settings&) { m.vertTriStart.front() = -1; });
    refuse("a start beyond", [=](Surface& m, Settings&) { m.vertTriStart.back() = entries + 1; });
    refuse("starts that descend", [](Surface& m, Settings&) { m.vertTriStart[2] = m.vertTriStart[1] - 1; });
    refuse("its last position", [=](Surface& m, Settings&) { m.vertPos.back() = endless; });
    refuse("its first position", [=](Surface& m, Settings&) { m.vertPos.front() = endless - endless; });
}

} // namespace

void reportRuns(Report& report) {
    for (Family family : families()) {
        for (int k = family.runs; k >= 1; --k)
            family.chosen.insert(family.chosen.begin(), k);
        for (const int k : family.chosen) {
            const std::string name = std::string("run ") + family.name + " " + std::to_string(k);
            Block block(name);
            reportRun(report, name, draw(block, family.mould, family.ties));
        }
    }
    reportRefusals(report);
}

} // namespace drape_digest
