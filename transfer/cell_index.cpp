// A packed hierarchy of boxes over the cells of a grid, for many searches on one grid.
//
// The sum of the squared distances from p to four corners with mean m is 4 |p - m|^2 plus the spread of the
// corners around m, which doesn't hang on p. So a box over the means of some cells, with the least of their
// spreads, bounds the distance of all of them from below. Cells are put in Morton order, eight make a box,
// eight boxes the next, and a search leaves out every box whose bound lies above what it already holds. What
// it doesn't leave out is measured exactly, so the ranking is that of the plain scan.
#include "transfer/cell_index.h"

#include "drape.h"
#include "surface/margins.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace drape {
namespace {

// A work array for the sorting has three elements per cell.
constexpr std::int64_t mostCells = std::numeric_limits<std::int32_t>::max() / 3;

constexpr std::int32_t bitsPerAxis = 10;
constexpr std::int32_t stepsPerAxis = 1 << bitsPerAxis;

struct Box {
    Vec3 low, high;
    double leastSpread;
};
constexpr std::int64_t boxSize = sizeof(Box) / sizeof(double);

Box loadBox(const double* boxes, std::int64_t index) {
    const double* p = boxes + boxSize * index;
    return {load(p, 1), load(p, 2), p[6]};
}

void storeBox(double* boxes, std::int64_t index, const Box& box) {
    double* p = boxes + boxSize * index;
    store(p, box.low, 1);
    store(p, box.high, 2);
    p[6] = box.leastSpread;
}

Box emptyBox() {
    constexpr double infinity = std::numeric_limits<double>::infinity();
    return {{infinity, infinity, infinity}, {-infinity, -infinity, -infinity}, infinity};
}

void extend(Box& box, const Box& other) {
    box.low = {std::min(box.low.x, other.low.x), std::min(box.low.y, other.low.y),
               std::min(box.low.z, other.low.z)};
    box.high = {std::max(box.high.x, other.high.x), std::max(box.high.y, other.high.y),
                std::max(box.high.z, other.high.z)};
    box.leastSpread = std::min(box.leastSpread, other.leastSpread);
}

Vec3 meanOfCorners(const GridView& grid, const CellCorners& cell) {
    const Vec3 sum =
        (grid.position(cell.c) + grid.position(cell.a)) + (grid.position(cell.b) + grid.position(cell.e));
    return 0.25 * sum;
}

// A quarter of the squared distances between all pairs of corners, which spares the rounding of the mean.
double spreadOfCorners(const GridView& grid, const CellCorners& cell) {
    const Vec3 c = grid.position(cell.c);
    const Vec3 a = grid.position(cell.a);
    const Vec3 b = grid.position(cell.b);
    const Vec3 e = grid.position(cell.e);
    return 0.25 * (cadis(c, a) + cadis(c, b) + cadis(c, e) + cadis(a, b) + cadis(a, e) + cadis(b, e));
}

// The means that the cell can have in exact arithmetic.
Box boxOfCell(const GridView& grid, std::int32_t cell) {
    const CellCorners corners = grid.corners(cell);
    const double largest = std::max({margins::largestCoordinate(grid.position(corners.c)),
                                     margins::largestCoordinate(grid.position(corners.a)),
                                     margins::largestCoordinate(grid.position(corners.b)),
                                     margins::largestCoordinate(grid.position(corners.e))});
    const double margin = margins::MEAN_ROUNDING * largest;
    const Vec3 mean = meanOfCorners(grid, corners);
    const Vec3 reach = {margin, margin, margin};
    return {mean - reach, mean + reach, spreadOfCorners(grid, corners)};
}

double gap(double low, double high, double value) {
    return value < low ? low - value : value > high ? value - high : 0.0;
}

// No cell in the box has a smaller computed distance to p than this.
double boundOf(const Box& box, const Vec3& p) {
    const Vec3 d = {gap(box.low.x, box.high.x, p.x), gap(box.low.y, box.high.y, p.y),
                    gap(box.low.z, box.high.z, p.z)};
    return (4.0 * vor(d) + box.leastSpread) * (1.0 - margins::CELL_SHARE) - margins::CELL_FLOOR;
}

struct BoundedBox {
    double bound;
    std::int64_t box;
};

bool inRange(const Vec3& v) {
    return std::fabs(v.x) <= margins::LARGEST_CELL_COORDINATE &&
           std::fabs(v.y) <= margins::LARGEST_CELL_COORDINATE &&
           std::fabs(v.z) <= margins::LARGEST_CELL_COORDINATE;
}

bool finite(const Vec3& v) {
    return std::isfinite(v.x) && std::isfinite(v.y) && std::isfinite(v.z);
}

std::uint32_t latticeStep(double value, double low, double perStep) {
    const double step = (value - low) * perStep;
    if (step >= stepsPerAxis - 1)
        return stepsPerAxis - 1;
    return step > 0.0 ? static_cast<std::uint32_t>(step) : 0;
}

// Leaves two free bits above each of the ten lowest.
std::uint32_t spreadBits(std::uint32_t v) {
    v = (v | (v << 16)) & 0x030000FF;
    v = (v | (v << 8)) & 0x0300F00F;
    v = (v | (v << 4)) & 0x030C30C3;
    return (v | (v << 2)) & 0x09249249;
}

// One stable counting pass by ten bits of the codes.
void sortByDigit(std::int64_t count, std::int32_t shift, const std::int32_t* codes, const std::int32_t* cells,
                 std::int32_t* sortedCodes, std::int32_t* sortedCells) {
    std::int64_t place[stepsPerAxis + 1] = {};
    const auto digit = [&](std::int64_t i) { return (codes[i] >> shift) & (stepsPerAxis - 1); };
    for (std::int64_t i = 0; i < count; ++i)
        ++place[digit(i) + 1];
    for (std::int32_t d = 0; d < stepsPerAxis; ++d)
        place[d + 1] += place[d];
    for (std::int64_t i = 0; i < count; ++i) {
        const std::int64_t to = place[digit(i)]++;
        sortedCodes[to] = codes[i];
        sortedCells[to] = cells[i];
    }
}

} // namespace

// The nearest cells met so far, by distance and then by number.
struct CellIndex::Ranking {
    Vec3 p;
    std::int32_t wanted;
    std::int32_t held = 0;
    double distances[longestRanking] = {};
    std::int32_t cells[longestRanking] = {};

    bool excludes(double bound) const { return held == wanted && bound > distances[held - 1]; }

    void offer(double distance, std::int32_t cell) {
        std::int32_t place = held;
        while (place > 0 && (distance < distances[place - 1] ||
                             (distance == distances[place - 1] && cell < cells[place - 1])))
            --place;
        if (place == wanted)
            return;
        held = std::min(held + 1, wanted);
        for (std::int32_t i = held - 1; i > place; --i) {
            distances[i] = distances[i - 1];
            cells[i] = cells[i - 1];
        }
        distances[place] = distance;
        cells[place] = cell;
    }
};

bool CellIndex::build(const GridView& grid, std::int32_t& status) {
    status = DRAPE_OK;
    Box extent = emptyBox();
    cellCount_ = 0;
    for (std::int64_t number = 1; number <= grid.nodeCount; ++number) {
        const auto cell = static_cast<std::int32_t>(number);
        const CellCorners corners = grid.corners(cell);
        if (!corners.complete())
            continue;
        for (const std::int32_t node : {corners.c, corners.a, corners.b, corners.e})
            if (!inRange(grid.position(node)))
                return false;
        const Vec3 mean = meanOfCorners(grid, corners);
        extend(extent, {mean, mean, 0.0});
        if (cellCount_ < longestRanking)
            lowestCells_[cellCount_] = cell;
        ++cellCount_;
    }
    return cellCount_ > 0 && cellCount_ <= mostCells && sortCells(grid, extent.low, extent.high, status) &&
           buildBoxes(grid, status);
}

// Morton order on a lattice over the cells' means. The lattice decides how tight the boxes get, and nothing
// else: cells that fall on one point of it stay in the order of their numbers.
bool CellIndex::sortCells(const GridView& grid, const Vec3& low, const Vec3& high, std::int32_t& status) {
    WorkArray<std::int32_t> scratch;
    if (!cells_.take(cellCount_, status) || !scratch.take(3 * cellCount_, status))
        return false;
    std::int32_t* cells = cells_.data();
    std::int32_t* codes = scratch.data();
    std::int32_t* otherCodes = codes + cellCount_;
    std::int32_t* otherCells = otherCodes + cellCount_;

    const double width = std::max({high.x - low.x, high.y - low.y, high.z - low.z});
    const double perStep = width > 0.0 ? stepsPerAxis / width : 0.0;
    std::int64_t filled = 0;
    for (std::int64_t number = 1; number <= grid.nodeCount; ++number) {
        const auto cell = static_cast<std::int32_t>(number);
        const CellCorners corners = grid.corners(cell);
        if (!corners.complete())
            continue;
        const Vec3 mean = meanOfCorners(grid, corners);
        otherCells[filled] = cell;
        otherCodes[filled] = static_cast<std::int32_t>(spreadBits(latticeStep(mean.x, low.x, perStep)) |
                                                       spreadBits(latticeStep(mean.y, low.y, perStep)) << 1 |
                                                       spreadBits(latticeStep(mean.z, low.z, perStep)) << 2);
        ++filled;
    }
    sortByDigit(cellCount_, 0, otherCodes, otherCells, codes, cells);
    sortByDigit(cellCount_, bitsPerAxis, codes, cells, otherCodes, otherCells);
    sortByDigit(cellCount_, 2 * bitsPerAxis, otherCodes, otherCells, codes, cells);
    scratch.release(status);
    return status == DRAPE_OK;
}

bool CellIndex::buildBoxes(const GridView& grid, std::int32_t& status) {
    std::int64_t members = cellCount_;
    std::int64_t total = 0;
    levelCount_ = 0;
    do {
        members = (members + branching - 1) / branching;
        firstBox_[levelCount_] = total;
        boxCount_[levelCount_] = members;
        total += members;
        ++levelCount_;
    } while (members > 1);

    if (!boxes_.take(boxSize * total, status))
        return false;
    for (std::int32_t level = 0; level < levelCount_; ++level)
        for (std::int64_t i = 0; i < boxCount_[level]; ++i) {
            Box box = emptyBox();
            const std::int64_t end = std::min((i + 1) * branching, membersOf(level));
            for (std::int64_t member = i * branching; member < end; ++member)
                extend(box, level == 0 ? boxOfCell(grid, cells_.data()[member])
                                       : loadBox(boxes_.data(), firstBox_[level - 1] + member));
            storeBox(boxes_.data(), firstBox_[level] + i, box);
        }
    return true;
}

// What the boxes of a level are made of: cells, or the boxes below.
std::int64_t CellIndex::membersOf(std::int32_t level) const {
    return level == 0 ? cellCount_ : boxCount_[level - 1];
}

bool CellIndex::serves(const Vec3& p) const {
    return inRange(p) || !finite(p);
}

void CellIndex::rank(const GridView& grid, const Vec3& p, std::int32_t count, std::int32_t* ranks) const {
    // Infinitely far from all cells, or not a number for all: no cell beats the one before it.
    if (!finite(p)) {
        for (std::int32_t place = 0; place < count; ++place)
            ranks[place] = place < cellCount_ ? lowestCells_[place] : 1;
        return;
    }
    Ranking ranking{p, count};
    visit(grid, levelCount_ - 1, 0, ranking);
    for (std::int32_t place = 0; place < count; ++place)
        ranks[place] = place < ranking.held ? ranking.cells[place] : 1;
}

// Goes down into a box, to the members of the lowest bounds first.
void CellIndex::visit(const GridView& grid, std::int32_t level, std::int64_t box, Ranking& ranking) const {
    const std::int64_t first = box * branching;
    const auto count = static_cast<std::int32_t>(std::min<std::int64_t>(branching, membersOf(level) - first));
    if (level == 0) {
        for (std::int32_t i = 0; i < count; ++i) {
            const std::int32_t cell = cells_.data()[first + i];
            ranking.offer(cellDistance(grid, ranking.p, grid.corners(cell)), cell);
        }
        return;
    }
    BoundedBox members[branching];
    for (std::int32_t i = 0; i < count; ++i) {
        const std::int64_t member = first + i;
        const double bound = boundOf(loadBox(boxes_.data(), firstBox_[level - 1] + member), ranking.p);
        std::int32_t place = i;
        for (; place > 0 && bound < members[place - 1].bound; --place)
            members[place] = members[place - 1];
        members[place] = {bound, member};
    }
    for (std::int32_t i = 0; i < count && !ranking.excludes(members[i].bound); ++i)
        visit(grid, level - 1, members[i].box, ranking);
}

void CellIndex::release(std::int32_t& status) {
    boxes_.release(status);
    cells_.release(status);
}

} // namespace drape
