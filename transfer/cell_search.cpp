// The nearest cells of a point, by a look at every cell of the grid.
//
// One pass over all cells per place of the ranking, each pass leaving out the winners before it. Slow and
// without conditions: this is what every faster road has to agree with to the last bit.
#include "transfer/cell_search.h"

#include "drape.h"

namespace drape {
namespace {

constexpr double noValue = -1.0;

bool isOneOf(std::int32_t cell, const std::int32_t* cells, std::int32_t count) {
    for (std::int32_t i = 0; i < count; ++i)
        if (cells[i] == cell)
            return true;
    return false;
}

} // namespace

void rankCells(const GridView& grid, const Vec3& p, std::int32_t count, std::int32_t* ranks) {
    for (std::int32_t place = 0; place < count; ++place) {
        ranks[place] = 1;
        double best = noValue;
        std::int32_t winner = 1;
        for (std::int64_t number = 1; number <= grid.nodeCount; ++number) {
            const auto cell = static_cast<std::int32_t>(number);
            const CellCorners corners = grid.corners(cell);
            if (!corners.complete() || isOneOf(cell, ranks, place))
                continue;
            const double distance = cellDistance(grid, p, corners);
            if (best == noValue || distance < best) {
                best = distance;
                winner = cell;
            }
        }
        ranks[place] = winner;
    }
}

} // namespace drape

extern "C" int32_t uzftpq(const double* point, const void* /*link3*/, const int32_t* link1,
                          const void* /*link2*/, const int32_t* link4, const void* /*nodeStatus*/,
                          const double* nodePos, const int32_t* nodeCount, int32_t* nearest, int32_t* second,
                          int32_t* status) {
    *status = DRAPE_OK;
    int32_t ranks[2];
    drape::rankCells({nullptr, link1, nullptr, link4, nullptr, nodePos, *nodeCount}, drape::load(point), 2,
                     ranks);
    *nearest = ranks[0];
    *second = ranks[1];
    return 0;
}

extern "C" int32_t uzftp2(const double* point, const void* /*link3*/, const int32_t* link1,
                          const void* /*link2*/, const int32_t* link4, const void* /*nodeStatus*/,
                          const double* nodePos, const int32_t* nodeCount, int32_t* ranks, int32_t* status) {
    *status = DRAPE_OK;
    drape::rankCells({nullptr, link1, nullptr, link4, nullptr, nodePos, *nodeCount}, drape::load(point),
                     drape::longestRanking, ranks);
    return 0;
}
