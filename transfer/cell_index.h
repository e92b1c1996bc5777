// A packed hierarchy of boxes over the cells of a grid, for many searches on one grid.
#pragma once

#include "services/work_arrays.h"
#include "transfer/cell_search.h"

namespace drape {

class CellIndex {
public:
    // False if the plain scan has to serve: a work array is refused, which leaves its code in `status`, or
    // the grid is out of the range in which the bounds hold, which leaves 0.
    bool build(const GridView& grid, std::int32_t& status);

    // Whether `rank` can answer for this point.
    bool serves(const Vec3& p) const;

    // The same ranking as rankCells, place by place.
    void rank(const GridView& grid, const Vec3& p, std::int32_t count, std::int32_t* ranks) const;

    void release(std::int32_t& status);

private:
    // Ten levels of eight-fold branching hold more cells than there can be codes for in a work array.
    static constexpr std::int32_t branching = 8;
    static constexpr std::int32_t mostLevels = 10;

    struct Ranking;

    bool sortCells(const GridView& grid, const Vec3& low, const Vec3& high, std::int32_t& status);
    bool buildBoxes(const GridView& grid, std::int32_t& status);
    void visit(const GridView& grid, std::int32_t level, std::int64_t box, Ranking& ranking) const;
    std::int64_t membersOf(std::int32_t level) const;

    WorkArray<std::int32_t> cells_; // complete cells, neighbours in space close together
    WorkArray<double> boxes_;       // level after level, the lowest first
    std::int64_t cellCount_ = 0;
    std::int64_t boxCount_[mostLevels] = {};
    std::int64_t firstBox_[mostLevels] = {};
    std::int32_t levelCount_ = 0;
    std::int32_t lowestCells_[longestRanking] = {};
};

} // namespace drape
