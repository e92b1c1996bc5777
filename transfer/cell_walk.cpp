// The way from a known cell to the cell of a point, over neighbouring cells.
//
// The walk looks at a cell and its four side neighbours and moves to the nearest, and it is drawn along the
// edge of the grid: a cell whose corners are partly open and partly closed outweighs all others. A walk that
// ends next to a closed node is held against the ranking of all cells.
#include "transfer/cell_walk.h"

#include "drape.h"

namespace drape {
namespace {

// Sides of a cell, by their places in a 3 by 3 block that is numbered row by row from the top left.
enum Side : std::int32_t { noSide = 0, above = 2, left = 4, centre = 5, right = 6, below = 8 };
constexpr Side sides[] = {above, left, centre, right, below};

std::int32_t cellAt(const GridView& grid, std::int32_t cell, Side side) {
    switch (side) {
    case above:
        return grid.follow(grid.link4, cell);
    case left:
        return grid.follow(grid.link3, cell);
    case right:
        return grid.follow(grid.link1, cell);
    case below:
        return grid.follow(grid.link2, cell);
    default:
        return cell;
    }
}

bool onGridEdge(const GridView& grid, const CellCorners& cell) {
    const std::int64_t sum =
        grid.status(cell.c) + grid.status(cell.a) + grid.status(cell.b) + grid.status(cell.e);
    return sum != 0 && sum != 4 * std::int64_t{DRAPE_NODE_CLOSED};
}

struct Choice {
    Side side = centre;
    bool plainNearer = false; // a cell inside the grid was nearer before any cell on its edge was taken
};

// Calls `use` with each complete one of a cell and its four neighbours, by their numbers, and its distance.
template <class Use>
void eachCellAround(const GridView& grid, const Vec3& p, std::int32_t cell, Use use) {
    for (const Side side : sides) {
        const CellCorners corners = grid.corners(cellAt(grid, cell, side));
        if (corners.complete())
            use(side, corners, cellDistance(grid, p, corners));
    }
}

// The nearest of the cells on the grid's edge.
Choice nearestEdgeCell(const GridView& grid, const Vec3& p, std::int32_t cell) {
    Choice choice;
    double best = -1.0;
    eachCellAround(grid, p, cell, [&](Side side, const CellCorners& corners, double distance) {
        if (!(best < 0.0 || distance < best))
            return;
        if (onGridEdge(grid, corners)) {
            best = distance;
            choice.side = side;
            if (side != centre)
                choice.plainNearer = false;
        } else if (choice.side == centre) {
            choice.plainNearer = true;
        }
    });
    return choice;
}

// The nearest of all five cells.
Side nearestCell(const GridView& grid, const Vec3& p, std::int32_t cell) {
    Side nearest = centre;
    double best = -1.0;
    eachCellAround(grid, p, cell, [&](Side side, const CellCorners&, double distance) {
        if (best < 0.0 || distance < best) {
            best = distance;
            nearest = side;
        }
    });
    return nearest;
}

struct Walk {
    std::int32_t current;
    std::int32_t previous = 0;
    Side lastMove = noSide;
    std::int32_t found = 0;
    // Where the weighted pass of the last lap led, before any free pass.
    std::int32_t checkCell = 0;
    Side checkMove = noSide;
};

void move(const GridView& grid, Walk& walk, Side side) {
    if (side == centre) {
        walk.found = walk.current;
        return;
    }
    walk.found = 0;
    walk.current = cellAt(grid, walk.current, side);
    walk.lastMove = side;
}

void lap(const GridView& grid, const Vec3& p, bool inner, Walk& walk) {
    const Choice choice = nearestEdgeCell(grid, p, walk.current);
    move(grid, walk, choice.side);
    walk.checkCell = walk.current;
    walk.checkMove = walk.lastMove;
    bool plainNearer = choice.plainNearer;
    if (walk.current == walk.previous && inner) {
        plainNearer = true;
        move(grid, walk, nearestCell(grid, p, walk.current));
    }
    walk.previous = walk.checkCell;
    if (plainNearer && inner)
        move(grid, walk, nearestCell(grid, p, walk.current));
}

// Laps until the walk stands; false if it never does. A lap hangs on the current and the previous cell alone,
// so a walk that comes back to both would go round for ever. The state that later ones are held against moves
// on at each power of two, so that it gets into the circle however late that begins.
bool finish(const GridView& grid, const Vec3& p, bool inner, Walk& walk) {
    Walk mark = walk;
    std::int32_t nextMark = 1;
    for (std::int32_t laps = 1; laps <= grid.nodeCount; ++laps) {
        lap(grid, p, inner, walk);
        if (walk.found != 0)
            return true;
        if (laps == grid.nodeCount || (walk.current == mark.current && walk.previous == mark.previous))
            break;
        if (laps == nextMark) {
            mark = walk;
            nextMark = laps <= grid.nodeCount / 2 ? 2 * laps : grid.nodeCount;
        }
    }
    return false;
}

// The corner of a cell at an end of the edge over which the walk came in.
std::int32_t entryCorner(const GridView& grid, std::int32_t cell, Side side) {
    switch (side) {
    case above:
        return cell;
    case left:
        return grid.follow(grid.link1, cell);
    case right:
        return grid.follow(grid.link4, cell);
    default: {
        const std::int32_t b = grid.follow(grid.link4, cell);
        if (b != 0)
            return grid.follow(grid.link1, b);
        return grid.follow(grid.link4, grid.follow(grid.link1, cell));
    }
    }
}

bool inNeighbourhood(const GridView& grid, std::int32_t centreCell, std::int32_t cell) {
    for (const Side side : sides)
        if (cellAt(grid, centreCell, side) == cell)
            return true;
    return false;
}

bool endsAtClosedNode(const GridView& grid, const Walk& walk) {
    const bool checked = walk.checkMove != noSide;
    const Side side = checked ? walk.checkMove : walk.lastMove;
    if (side == noSide)
        return false;
    const std::int32_t corner = entryCorner(grid, checked ? walk.checkCell : walk.found, side);
    return corner != 0 && grid.status(corner) != DRAPE_NODE_OPEN;
}

WalkResult compareWithRanking(GlobalSearch& search, const Vec3& p, const Walk& walk) {
    std::int32_t ranks[longestRanking];
    search.rank(p, 2, ranks);
    const std::int32_t nearest = ranks[0];
    const std::int32_t second = ranks[1];
    const std::int32_t found = walk.found != nearest ? nearest : second;
    const GridView& grid = search.grid();
    if (!inNeighbourhood(grid, walk.current, nearest) || !inNeighbourhood(grid, walk.current, second))
        return {found, false};
    search.rank(p, longestRanking, ranks);
    return {ranks[2], true};
}

} // namespace

WalkResult walkToCell(GlobalSearch& search, const Vec3& p, std::int32_t startCell, bool inner) {
    const GridView& grid = search.grid();
    Walk walk{startCell};
    if (!grid.holds(startCell) || !finish(grid, p, inner, walk)) {
        std::int32_t ranks[2];
        search.rank(p, 2, ranks);
        return {ranks[0], false};
    }
    if (endsAtClosedNode(grid, walk))
        return compareWithRanking(search, p, walk);
    return {walk.found, false};
}

} // namespace drape

extern "C" int32_t uzftcq(const double* points, const int32_t* pointIndex, const int32_t* startCell,
                          const int32_t* link3, const int32_t* link1, const int32_t* link2,
                          const int32_t* link4, const int32_t* nodeStatus, const double* nodePos,
                          const int32_t* nodeCount, int32_t* foundCell, int32_t* thirdFlag,
                          const int32_t* low, const int32_t* high, int32_t* status) {
    *status = DRAPE_OK;
    drape::GlobalSearch search({link3, link1, link2, link4, nodeStatus, nodePos, *nodeCount});
    const bool inner = *pointIndex >= *low && *pointIndex <= *high;
    const drape::WalkResult result =
        drape::walkToCell(search, drape::load(points, *pointIndex), *startCell, inner);
    *foundCell = result.cell;
    *thirdFlag = result.third ? 1 : 0;
    return 0;
}
