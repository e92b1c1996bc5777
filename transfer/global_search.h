// The nearest cells of a point, for an operation that may have to ask often.
#pragma once

#include "transfer/cell_index.h"

namespace drape {

// The first few searches scan the grid, later ones go through an index; the answers are the same.
class GlobalSearch {
public:
    explicit GlobalSearch(const GridView& grid) : grid_(grid) {}

    const GridView& grid() const { return grid_; }

    // Always answers, even if the index is refused its memory.
    void rank(const Vec3& p, std::int32_t count, std::int32_t* ranks);

    // The code of such a refusal, else 0.
    std::int32_t status() const { return status_; }

    void release(std::int32_t& status) { index_.release(status); }

private:
    enum class Index { NotAskedFor, Ready, NotToBeHad };

    GridView grid_;
    CellIndex index_;
    Index state_ = Index::NotAskedFor;
    std::int32_t scans_ = 0;
    std::int32_t status_ = 0;
};

} // namespace drape
