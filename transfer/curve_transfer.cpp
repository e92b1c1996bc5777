// A closed curve carried from space into the flat pattern of a finished grid.
//
// The curve is turned until its first point sits firmly in the grid: its two nearest cells are neighbours.
// From there each point starts in the cell of the point before it, walks to another cell if it doesn't lie in
// that one, and is held against the ranking of all cells if the walk doesn't settle it. At the end the flat
// positions are put back into the order in which the curve came.
#include "drape.h"
#include "transfer/cell_walk.h"
#include "transfer/curve_rotation.h"
#include "transfer/flat_mapping.h"

#include <algorithm>

namespace drape {
namespace {

// The start search takes every second point.
constexpr std::int64_t startStep = 2;

// So many points are tried by turning the curve to each; then the next good one is looked up before turning,
// so that a curve that lies beside the grid for most of its length isn't turned once per point.
constexpr std::int64_t triesByTurning = 32;

// Outlives the call: a point that no cell can place takes the place of the last one that had one.
double lastFlat[2] = {0.0, 0.0};

// The cells that the curve has settled on, one bit per node.
class CellMarks {
public:
    static std::int64_t sizeFor(std::int32_t nodeCount) { return nodeCount / bitsPerWord + 1; }

    CellMarks(std::int32_t* words, std::int32_t nodeCount) : words_(words) {
        clear(words_, sizeFor(nodeCount));
    }

    void set(std::int32_t cell) { words_[cell / bitsPerWord] |= bit(cell); }
    bool has(std::int32_t cell) const { return (words_[cell / bitsPerWord] & bit(cell)) != 0; }

private:
    static constexpr std::int32_t bitsPerWord = 31; // the sign bit is left alone

    static std::int32_t bit(std::int32_t cell) { return std::int32_t{1} << (cell % bitsPerWord); }

    std::int32_t* words_;
};

bool hasCompleteCell(const GridView& grid) {
    for (std::int64_t number = 1; number <= grid.nodeCount; ++number)
        if (grid.corners(static_cast<std::int32_t>(number)).complete())
            return true;
    return false;
}

// Whether `cell` is one of the eight cells around `middle`.
bool isAround(const GridView& grid, std::int32_t middle, std::int32_t cell) {
    const std::int32_t up = grid.follow(grid.link4, middle);
    const std::int32_t down = grid.follow(grid.link2, middle);
    if (cell == up || cell == down)
        return true;
    for (const std::int32_t row : {middle, up, down})
        if (cell == grid.follow(grid.link3, row) || cell == grid.follow(grid.link1, row))
            return true;
    return false;
}

// The nearest cell of a point if its second nearest is a neighbour, else 0.
std::int32_t wellDeterminedCell(GlobalSearch& search, const Vec3& p) {
    std::int32_t ranks[2];
    search.rank(p, 2, ranks);
    return isAround(search.grid(), ranks[1], ranks[0]) ? ranks[0] : 0;
}

// How many tries it takes to get from the first point to the next well determined one, or past the last try.
std::int64_t triesToNextStart(GlobalSearch& search, const Curve& curve, std::int64_t triesLeft) {
    std::int64_t tries = 1;
    for (; tries < triesLeft; ++tries)
        if (wellDeterminedCell(search, load(curve.points, 1 + startStep * tries % curve.count)) != 0)
            break;
    return tries;
}

struct Start {
    std::int32_t cell = 0;
    std::int64_t rotation = 0;
};

// Turns the curve to a well determined point. Every point is tried once, of an even count every second one;
// a curve without such a point is back in its order at the end.
bool findStart(GlobalSearch& search, const Curve& curve, Start& start, std::int32_t& status) {
    const std::int64_t limit = curve.count % 2 == 0 ? curve.count / 2 : curve.count;
    for (std::int64_t tries = 0; tries < limit;) {
        start.cell = wellDeterminedCell(search, load(curve.points));
        status = search.status();
        if (start.cell != 0 || status != DRAPE_OK)
            return status == DRAPE_OK;
        const std::int64_t taken =
            tries < triesByTurning ? 1 : triesToNextStart(search, curve, limit - tries);
        tries += taken;
        start.rotation += startStep * taken;
        if (!rotateCurve(curve, startStep * taken, status))
            return false;
    }
    status = DRAPE_NO_CURVE_START;
    return false;
}

struct Transfer {
    GlobalSearch& search;
    const double* nodeFlat;
    Curve curve;
    double* flatOut;
    std::int32_t* cellOf;
    CellMarks marks;
    std::int32_t low, high;
};

// What is known of one point on its way to a flat position.
struct PointState {
    std::int32_t cell;
    bool inside = false;
    bool third = false;
    bool revisit = false;
};

// Whether the curve has come back to a cell that it left, other than the one at which it began.
bool comesBack(const Transfer& transfer, std::int64_t i, std::int32_t cell) {
    return i >= 2 && cell != transfer.cellOf[i - 2] && cell != transfer.cellOf[0] && transfer.marks.has(cell);
}

// Holds the cell against the two nearest of all. A cell that the curve comes back to is exchanged for the
// other of the two. False if it is neither.
bool settleByRanking(GlobalSearch& search, const Vec3& p, PointState& state) {
    std::int32_t ranks[2];
    search.rank(p, 2, ranks);
    if (state.cell != ranks[0] && state.cell != ranks[1])
        return false;
    if (state.revisit)
        state.cell = state.cell == ranks[0] ? ranks[1] : ranks[0];
    return true;
}

// Carries point i, starting in `cell`; gives the cell that the next point starts from.
std::int32_t transferPoint(Transfer& transfer, std::int64_t i, std::int32_t cell) {
    GlobalSearch& search = transfer.search;
    const CurvePoint point = {load(transfer.curve.points, i), load(transfer.curve.directions, i)};
    PointState state{cell};
    state.inside = mapThroughCell(search.grid(), transfer.nodeFlat, point, cell, lastFlat);
    bool settled = state.inside;
    if (!state.inside) {
        const bool inner = i >= transfer.low && i <= transfer.high;
        const WalkResult walk = walkToCell(search, point.position, cell, inner);
        state.cell = walk.cell;
        state.third = walk.third;
        state.revisit = comesBack(transfer, i, state.cell);
        if (!state.revisit)
            state.inside = mapThroughCell(search.grid(), transfer.nodeFlat, point, state.cell, lastFlat);
        settled = state.inside || state.third || settleByRanking(search, point.position, state);
    }
    double* flat = transfer.flatOut + 2 * (i - 1);
    flat[0] = lastFlat[0];
    flat[1] = lastFlat[1];
    if (!settled)
        mapThroughOtherCell(search, transfer.nodeFlat, point, state.cell, flat);
    transfer.cellOf[i - 1] = state.cell;
    transfer.marks.set(state.cell);
    return state.cell;
}

// Puts pairs that belong to a curve turned by `rotation` into the order of the unturned curve.
void restoreOrder(double* pairs, std::int64_t count, std::int64_t rotation) {
    const std::int64_t back = (count - rotation % count) % count;
    std::rotate(pairs, pairs + 2 * back, pairs + 2 * count);
}

// Carries point after point and puts the flat positions into the curve's own order.
void transferPoints(Transfer& transfer, const Start& start, std::int32_t& status) {
    std::int32_t cell = start.cell;
    for (std::int64_t i = 1; i <= transfer.curve.count; ++i) {
        cell = transferPoint(transfer, i, cell);
        status = transfer.search.status();
        if (status != DRAPE_OK)
            return;
    }
    restoreOrder(transfer.flatOut, transfer.curve.count, start.rotation);
}

// The whole road with its work array, which holds a cell per point and the marks behind them.
void transferCurve(GlobalSearch& search, const double* nodeFlat, const Curve& curve, double* flatOut,
                   std::int32_t low, std::int32_t high, std::int32_t& status) {
    const std::int32_t nodeCount = search.grid().nodeCount;
    WorkArray<std::int32_t> work;
    if (!work.take(curve.count + CellMarks::sizeFor(nodeCount), status))
        return;
    Start start;
    if (findStart(search, curve, start, status)) {
        const CellMarks marks(work.data() + curve.count, nodeCount);
        Transfer transfer = {search, nodeFlat, curve, flatOut, work.data(), marks, low, high};
        transferPoints(transfer, start, status);
    }
    search.release(status);
    work.release(status);
}

} // namespace
} // namespace drape

extern "C" int32_t gzfttc(const int32_t* link3, const int32_t* link1, const int32_t* link2,
                          const int32_t* link4, const void* /*spareA*/, const void* /*spareB*/,
                          const int32_t* nodeStatus, const double* nodePos, const double* nodeFlat,
                          const void* /*spareC*/, const int32_t* nodeCount, double* points,
                          double* directions, const int32_t* pointCount, double* flatOut, const int32_t* low,
                          const int32_t* high, int32_t* status) {
    *status = DRAPE_OK;
    const drape::GridView grid = {link3, link1, link2, link4, nodeStatus, nodePos, *nodeCount};
    if (*pointCount < 1 || !drape::hasCompleteCell(grid)) {
        *status = DRAPE_EMPTY_CURVE_OR_GRID;
        return 1;
    }
    drape::GlobalSearch search(grid);
    drape::transferCurve(search, nodeFlat, {points, directions, *pointCount}, flatOut, *low, *high, *status);
    return *status == DRAPE_OK ? 0 : 1;
}
