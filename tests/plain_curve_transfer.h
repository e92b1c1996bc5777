// The transfer of a curve as a chain of plain searches: every nearest cell by a look at all cells, every look
// back over the curve point by point, every turn of the curve carried out. What gzfttc gives has to be the
// same to the last bit. Also lattices to carry curves onto.
#pragma once

#include "height_field.h"

#include <algorithm>
#include <array>
#include <functional>

namespace drape_test {

using Place = std::array<double, 3>;

// columns x rows nodes, numbered row by row from 1, all open, with (column, row) as flat position.
inline Grid lattice(int columns, int rows, const std::function<Place(int, int)>& place) {
    Grid grid;
    grid.count = columns * rows;
    const auto number = [&](int i, int j) {
        return i < 0 || j < 0 || i >= columns || j >= rows ? 0 : 1 + i + j * columns;
    };
    for (int j = 0; j < rows; ++j)
        for (int i = 0; i < columns; ++i) {
            grid.link3.push_back(number(i - 1, j));
            grid.link1.push_back(number(i + 1, j));
            grid.link2.push_back(number(i, j - 1));
            grid.link4.push_back(number(i, j + 1));
            grid.nodeStatus.push_back(DRAPE_NODE_OPEN);
            const Place at = place(i, j);
            grid.nodePos.insert(grid.nodePos.end(), at.begin(), at.end());
            grid.nodeFlat.insert(grid.nodeFlat.end(), {double(i), double(j)});
        }
    return grid;
}

inline Grid flatLattice(int columns, int rows) {
    return lattice(columns, rows, [](int i, int j) { return Place{double(i), double(j), 0.0}; });
}

// Closes every node that misses a neighbour.
inline void closeRim(Grid& grid) {
    for (std::size_t n = 0; n < grid.nodeStatus.size(); ++n)
        if (grid.link1[n] == 0 || grid.link2[n] == 0 || grid.link3[n] == 0 || grid.link4[n] == 0)
            grid.nodeStatus[n] = DRAPE_NODE_CLOSED;
}

inline void addPoint(Curve& curve, const Place& place, const Place& direction = {0.0, 0.0, 1.0}) {
    curve.points.insert(curve.points.end(), place.begin(), place.end());
    curve.directions.insert(curve.directions.end(), direction.begin(), direction.end());
    curve.high = curve.count();
}

struct CellPair {
    std::int32_t nearest = 0, second = 0;
};

inline CellPair nearestCells(const Grid& grid, const double* point) {
    CellPair pair;
    std::int32_t status = 0;
    uzftpq(point, grid.link3.data(), grid.link1.data(), grid.link2.data(), grid.link4.data(),
           grid.nodeStatus.data(), grid.nodePos.data(), &grid.count, &pair.nearest, &pair.second, &status);
    return pair;
}

// One transfer by plain searches, with `flatPoint` as the value that an earlier transfer left behind.
class PlainTransfer {
public:
    PlainTransfer(const Grid& grid, Curve& curve, std::array<double, 2> flatPoint)
        : grid_(grid), curve_(curve), flatPoint_(flatPoint) {}

    void run() {
        const std::int32_t count = curve_.count();
        cellOf_.assign(static_cast<std::size_t>(count), 0);
        curve_.flat.assign(2 * static_cast<std::size_t>(count), 0.0);
        std::int32_t rotation = 0, cell = 0;
        for (std::int32_t tries = count % 2 == 0 ? count / 2 : count; (cell = startCell()) == 0; --tries) {
            if (tries == 0) {
                curve_.status = DRAPE_NO_CURVE_START;
                return;
            }
            const std::int32_t step = 2;
            uzftrt(&step, &count, curve_.points.data(), curve_.directions.data(), &curve_.status);
            rotation = (rotation + step) % count;
        }
        for (std::int32_t i = 1; i <= count; ++i)
            cell = transferPoint(i, cell);
        std::rotate(curve_.flat.begin(), curve_.flat.end() - 2 * rotation, curve_.flat.end());
    }

private:
    std::int32_t startCell() const {
        const CellPair pair = nearestCells(grid_, curve_.points.data());
        const auto at = [](const std::vector<std::int32_t>& link, std::int32_t node) {
            return node > 0 ? link[static_cast<std::size_t>(node - 1)] : 0;
        };
        const std::int32_t up = at(grid_.link4, pair.second), down = at(grid_.link2, pair.second);
        for (const std::int32_t around :
             {up, down, at(grid_.link3, pair.second), at(grid_.link1, pair.second), at(grid_.link3, up),
              at(grid_.link1, up), at(grid_.link3, down), at(grid_.link1, down)})
            if (around == pair.nearest)
                return pair.nearest;
        return 0;
    }

    bool map(std::int32_t i, std::int32_t cell) {
        std::int32_t inside = 0;
        uzfttp(curve_.points.data(), curve_.directions.data(), &i, &cell, grid_.link3.data(),
               grid_.link1.data(), grid_.link2.data(), grid_.link4.data(), nullptr, nullptr,
               grid_.nodePos.data(), grid_.nodeFlat.data(), nullptr, &grid_.count, flatPoint_.data(), &inside,
               &curve_.status);
        return (inside & 1) != 0;
    }

    bool isRevisit(std::int32_t i, std::int32_t cell) const {
        for (std::int32_t j = 0; j < i - 1; ++j)
            if (cell == cellOf_[std::size_t(j)] && cell != cellOf_[std::size_t(i - 2)] && cell != cellOf_[0])
                return true;
        return false;
    }

    std::int32_t transferPoint(std::int32_t i, std::int32_t cell) {
        const auto at = static_cast<std::size_t>(i - 1);
        bool settled = map(i, cell);
        if (!settled) {
            std::int32_t found = 0, third = 0;
            uzftcq(curve_.points.data(), &i, &cell, grid_.link3.data(), grid_.link1.data(),
                   grid_.link2.data(), grid_.link4.data(), grid_.nodeStatus.data(), grid_.nodePos.data(),
                   &grid_.count, &found, &third, &curve_.low, &curve_.high, &curve_.status);
            cell = found;
            const bool revisit = isRevisit(i, cell);
            settled = (!revisit && map(i, cell)) || third == 1;
            if (!settled) {
                const CellPair pair = nearestCells(grid_, curve_.points.data() + 3 * at);
                settled = cell == pair.nearest || cell == pair.second;
                if (settled && revisit)
                    cell = cell == pair.nearest ? pair.second : pair.nearest;
            }
        }
        curve_.flat[2 * at] = flatPoint_[0];
        curve_.flat[2 * at + 1] = flatPoint_[1];
        cellOf_[at] = cell;
        if (!settled)
            uzftte(curve_.points.data(), curve_.directions.data(), &i, grid_.link3.data(), grid_.link1.data(),
                   grid_.link2.data(), grid_.link4.data(), nullptr, nullptr, grid_.nodeStatus.data(),
                   grid_.nodePos.data(), grid_.nodeFlat.data(), nullptr, &grid_.count, curve_.flat.data(),
                   cellOf_.data(), &curve_.status);
        return cellOf_[at];
    }

    const Grid& grid_;
    Curve& curve_;
    std::array<double, 2> flatPoint_;
    std::vector<std::int32_t> cellOf_;
};

} // namespace drape_test
