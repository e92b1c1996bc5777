// The nearest cells of a point, for an operation that may have to ask often.
//
// An index costs about as much as a handful of scans, so it is built once that many were asked for. If it
// can't be had, the scans go on: slower, and with the same answers. Running out of memory is reported all the
// same, as from any other work array.
#include "transfer/global_search.h"

namespace drape {
namespace {

constexpr std::int32_t scansBeforeIndex = 8;

} // namespace

void GlobalSearch::rank(const Vec3& p, std::int32_t count, std::int32_t* ranks) {
    if (state_ == Index::NotAskedFor && ++scans_ > scansBeforeIndex)
        state_ = index_.build(grid_, status_) ? Index::Ready : Index::NotToBeHad;
    if (state_ == Index::Ready && index_.serves(p))
        index_.rank(grid_, p, count, ranks);
    else
        rankCells(grid_, p, count, ranks);
}

} // namespace drape
