// A registered model in the middle of a run that never was: a small mesh of any outline, a graph of nodes
// laid over it by hand, with any statuses and with links that are missing, run one way or lead astray, and a
// few fronts. What a step does with it shows in the state that it leaves.
#pragma once

#include "../plain_run.h"
#include "moulds.h"
#include "numbers.h"

#include <limits>
#include <numeric>

namespace drape_digest {

using namespace drape_test;

struct SceneSettings {
    Kind kind = Kind::whole;
    bool tidy = false;     // whole rows, no link astray: what a step of a run would meet
    bool longRows = false; // of more nodes than any table that a step might keep in place
    bool foreign = false;  // as a careless host may leave it: statuses, links and fronts of any value
};

inline Settings sceneSteps(Block& block, Kind kind) {
    Settings settings;
    if (kind == Kind::any) {
        settings.stepA = block.random.between(0.6, 1.5);
        settings.stepB = block.chance(0.5) ? settings.stepA : block.random.between(0.6, 1.5);
    } else {
        settings.stepA = block.oneOf({1.0, 1.0, 0.5, 2.0});
        settings.stepB = block.oneOf({1.0, 1.0, 1.5});
    }
    settings.tolerance = block.oneOf({0.0, 1e-9, 1e-3, 1e-3, 0.05, 0.25});
    settings.byGridLine = block.below(2);
    const Vector seed = vector(block, kind), warp = vector(block, kind), weft = vector(block, kind);
    std::copy(seed.begin(), seed.end(), settings.seed);
    std::copy(warp.begin(), warp.end(), settings.warp);
    std::copy(weft.begin(), weft.end(), settings.weft);
    return settings;
}

// What is drawn before a model can be made of it.
struct ScenePlan {
    ScenePlan(Block& block, const SceneSettings& how) {
        columns = 1 + block.below(5);
        rows = 1 + block.below(5);
        if (how.longRows)
            (block.chance(0.5) ? columns : rows) = block.within(60, 200);
        surface = sceneMesh(block, how.kind);
        settings = sceneSteps(block, how.kind);
        settings.capacity = std::max(4, columns * rows + block.oneOf({0, 1, 2, 3, 6, 30, 30, 30, 30}));
    }
    int columns, rows;
    Surface surface;
    Settings settings;
};

class Scene : public PlainModel {
public:
    const bool foreign;
    bool strayRows = false; // rows of a direction that is none

    Scene(Block& block, const SceneSettings& how) : Scene(block, how, ScenePlan(block, how)) {}

    // A row that follows its links and meets no node twice, from any node on; at most `longest` nodes.
    std::vector<std::int32_t> rowFrom(std::int32_t n, std::int32_t d, std::size_t longest) {
        std::vector<std::int32_t> row;
        while (n >= 1 && n <= settings.capacity && row.size() < longest &&
               std::find(row.begin(), row.end(), n) == row.end()) {
            row.push_back(n);
            n = link(nextOf(d), n);
        }
        return row;
    }
    Front anyRow(Block& block) {
        const std::int32_t d = block.within(1, 4), n = anyNode(block);
        const auto length = static_cast<std::int32_t>(rowFrom(n, d, longestRow).size());
        Front row = {d, n, block.chance(0.7) ? length : block.within(1, length)};
        if (foreign && block.chance(0.2))
            row[DRAPE_FRONT_LENGTH] = block.oneOf({0, length + 1});
        if (strayRows)
            row[DRAPE_FRONT_DIRECTION] = block.oneOf({-1, 0, 5, 6});
        return row;
    }
    // The nodes of a front of the table, or at least its first.
    std::vector<std::int32_t> nodesOf(const std::int32_t* record) {
        return rowFrom(record[DRAPE_FRONT_FIRST_NODE], record[DRAPE_FRONT_DIRECTION],
                       static_cast<std::size_t>(std::max(record[DRAPE_FRONT_LENGTH], 1)));
    }
    std::int32_t anyDirection(Block& block) const {
        const std::int32_t d = block.within(1, 4);
        return foreign && block.chance(0.3) ? block.oneOf({-1, 0, 5}) : d;
    }
    // Of the front table; only a foreign scene asks for one that isn't there.
    std::int32_t anyPosition(Block& block) const {
        const std::int32_t position = block.within(1, frontCount);
        return foreign && block.chance(0.3) ? block.oneOf({-1, 0, frontCount + 1}) : position;
    }
    std::int32_t anyNode(Block& block) const { return block.within(1, grid.count); }
    std::int32_t anyNodeOrNot(Block& block) const {
        return block.chance(0.9) ? anyNode(block) : block.oneOf({0, -1, grid.count + 1, settings.capacity});
    }

    // Everything that a step may write; what lies beyond the live nodes only with `whole`.
    void addTo(Hash& hash, bool whole = true) {
        hash.add(grid.count);
        hash.add(frontCount);
        const auto n = whole ? grid.nodeI.size() : static_cast<std::size_t>(std::max(grid.count, 0));
        for (const auto* list : {&grid.link1, &grid.link2, &grid.link3, &grid.link4, &grid.nodeI, &grid.nodeJ,
                                 &grid.nodeStatus, &grid.nodeTri})
            hash.add(list->data(), n);
        hash.add(grid.nodePos.data(), 3 * n);
        hash.add(grid.nodeFlat.data(), 2 * n);
        hash.add(grid.nodeNormal.data(), 3 * n);
        hash.addAll(fronts);
    }

private:
    Scene(Block& block, const SceneSettings& how, const ScenePlan& plan)
        : PlainModel(plan.surface, plan.settings), foreign(how.foreign), longestRow(how.longRows ? 200 : 9),
          onSurface(how.longRows ? 0.95 : 0.3) {
        if (!block.chance(0.8) || !walkBoundary())
            fenceIn(block, how.kind);
        registerModel();
        layNodes(block, how, plan.columns, plan.rows);
        for (int f = block.within(1, 4); f > 0 && frontCount < settings.capacity; --f)
            addFront(block);
        if (foreign)
            spoil(block);
    }

    std::size_t longestRow;
    double onSurface; // the share of nodes beside the mesh that count as on it

    // Numbers that mean nothing where a step looks for a status, a link or a field of a front.
    void spoil(Block& block) {
        const std::int32_t room = settings.capacity, most = std::numeric_limits<std::int32_t>::max();
        for (std::int32_t n = 1; n <= grid.count; ++n) {
            if (block.chance(0.25))
                status(n) = block.oneOf({1, 1, 2, 3, 7, -4, 999, most, -most - 1});
            for (std::int32_t d = 1; d <= 4; ++d)
                if (block.chance(0.04))
                    link(d, n) = block.oneOf({-1, grid.count + 1, room, room + 1, most, -most - 1});
        }
        for (std::int32_t position = 1; position <= frontCount; ++position) {
            std::int32_t* record = front(position);
            if (block.chance(0.2))
                record[DRAPE_FRONT_LENGTH] = block.oneOf({0, 0, record[DRAPE_FRONT_LENGTH] + 1});
            if (block.chance(0.1))
                record[DRAPE_FRONT_DIRECTION] = block.oneOf({0, 5});
            if (block.chance(0.2))
                record[DRAPE_FRONT_STEP_MODE] = block.oneOf({-1, 3, most});
            if (block.chance(0.2))
                record[DRAPE_FRONT_SIDE_FLAG] = block.oneOf({-1, 2, most});
        }
    }

    // A chain of any edges in the place of the mesh's boundary.
    void fenceIn(Block& block, Kind kind) {
        boundaryCount = std::min(block.oneOf({0, 3, 8, 30}), surface.vertCount());
        for (std::size_t e = 0; e < static_cast<std::size_t>(boundaryCount); ++e) {
            edges[3 * e] = block.within(1, surface.triCount());
            edges[3 * e + 1] = block.within(1, surface.vertCount());
            edges[3 * e + 2] = block.within(1, surface.vertCount());
            const Vector normal = block.chance(0.7) ? Vector{0, 0, 1} : unitVector(block, kind);
            std::copy(normal.begin(), normal.end(), edgeNormals.begin() + static_cast<std::ptrdiff_t>(3 * e));
        }
    }

    void layNodes(Block& block, const SceneSettings& how, int columns, int rows) {
        grid.count = columns * rows;
        std::vector<std::int32_t> numbers(static_cast<std::size_t>(grid.count));
        std::iota(numbers.begin(), numbers.end(), 1);
        if (block.chance(0.5))
            shuffle(numbers, block.random);
        const auto node = [&](int i, int j) {
            return i < 0 || j < 0 || i >= columns || j >= rows
                       ? 0
                       : numbers[static_cast<std::size_t>(i + columns * j)];
        };
        const int seedI = block.within(-1, columns), seedJ = block.within(-1, rows);
        const double x0 = number(block, how.kind, 1) + 1.0, y0 = number(block, how.kind, 1) + 1.0;
        const double bend = how.kind == Kind::whole ? 0.0 : block.oneOf({0.0, 0.0, 0.1, 0.4});
        const double astray = how.tidy ? 0.0 : block.oneOf({0.0, 0.05, 0.15});
        const double closed = block.oneOf({0.0, 0.1, 0.3, 0.6});
        for (int j = 0; j < rows; ++j)
            for (int i = 0; i < columns; ++i) {
                const std::int32_t n = node(i, j);
                const auto at = static_cast<std::size_t>(n - 1);
                grid.nodeI[at] = i - seedI;
                grid.nodeJ[at] = j - seedJ;
                place(block, how.kind, n, x0 + i * settings.stepA, y0 + j * settings.stepB, bend);
                const std::int32_t around[] = {node(i + 1, j), node(i, j - 1), node(i - 1, j),
                                               node(i, j + 1)};
                for (std::int32_t d = 1; d <= 4; ++d)
                    link(d, n) = !block.chance(astray) ? around[d - 1]
                                 : block.chance(0.7)   ? 0
                                                       : block.within(1, grid.count);
                status(n) = block.chance(closed) ? block.oneOf({-1, -1, -2, -3}) : 0;
            }
    }

    void place(Block& block, Kind kind, std::int32_t n, double x, double y, double bend) {
        if (bend > 0.0) {
            x += block.random.between(-bend, bend);
            y += block.random.between(-bend, bend);
        }
        double z = 0.0;
        triangle(n) = triangleAbove(surface, x, y, &z);
        if (triangle(n) == 0 && block.chance(onSurface))
            triangle(n) = block.within(1, surface.triCount());
        else if (block.chance(0.1))
            triangle(n) = 0;
        const Vector at = {x, y, z}, up = block.chance(0.8) ? Vector{0, 0, 1} : unitVector(block, kind);
        std::copy(at.begin(), at.end(), position(n));
        std::copy(up.begin(), up.end(), normal(n));
    }

    void addFront(Block& block) {
        const Front row = anyRow(block);
        std::int32_t* record = front(++frontCount);
        std::copy(row.begin(), row.end(), record);
        const std::int32_t last = row[DRAPE_FRONT_FIRST_NODE];
        record[DRAPE_FRONT_PIVOT_REQUEST] =
            block.chance(0.6) ? 0 : block.oneOf({-1, -2, last, anyNode(block), 999});
        record[DRAPE_FRONT_STEP_MODE] = block.chance(0.6) ? 0 : block.within(0, 2);
        record[DRAPE_FRONT_HOLD_COUNT] = block.below(3);
        record[DRAPE_FRONT_SIDE_FLAG] = block.chance(0.3) ? 1 : 0;
        for (std::size_t k = 7; k < 10; ++k)
            record[k] = block.below(5);
    }
};

} // namespace drape_digest
