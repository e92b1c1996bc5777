/* drape.h: the one public header of Drape, and its manual.
 *
 * Drape lays a grid of four-sided cells with fixed side lengths over a triangulated surface, as a woven
 * fabric comes to lie on a mould: row after row outward from a seed, each node at its distance from the
 * nodes that it is woven to, and on the surface. Beside that it carries a closed curve onto the flat pattern
 * of a finished grid, carries a point from one triangle to another, and puts the items of a graph in level
 * order.
 *
 * A host calls four operations: gzprp2, gzfttc, nptfpt and gz0zorc. They stand first. All the other
 * operations are the steps that these are made of, exported so that a host can look at one step by itself; a
 * host that only wants a drape needs none of them.
 *
 *
 * CONVENTIONS
 *
 * Arguments    Every argument is a pointer: to an int32_t, to a double, or to the first element of an array
 *              of them. There are no structures. An argument that is never read is a const void* and may be
 *              anything; no other pointer may be null.
 * Vectors      Three consecutive doubles x, y, z. An array of vectors is packed: element n of `nodePos`
 *              starts at nodePos[3 * (n - 1)].
 * Numbers      Nodes, triangles, vertices, fronts, cells, curve points and positions in a row count from 1,
 *              and 0 is none. Entry n of an array is array[n - 1] in C.
 * Units        Lengths, positions, steps and `tolerance` are in the unit of the surface. No operation takes
 *              or gives an angle. The unit matters: some tests hold an area, or a sine, against `tolerance`
 *              as it stands. Scale the mesh, the seed and the steps so that a step is near 1, and the result
 *              back. At steps of 1000 and more a tolerance of a thousandth of a step gives a wrong drape, and
 *              no code tells: status 0 and as little as one node.
 * Direction    "in" is read only, "out" is written only, "in/out" both. No argument may overlap one that is
 *              written, unless the operation says so.
 * Results      An operation that can fail returns 0 or 1 and writes a code to `status`, its last argument: 0
 *              (DRAPE_OK) or one of the codes below. Where it returns 1, `status` has the code. gzprp2
 *              returns 0 also after a failed run: ask `status`. docs/status-codes.md has each code's cause
 *              and cure.
 *
 * Ownership    The caller owns every array that it hands in, and the library keeps no pointer to any of them
 *              beyond the call, but for npinco, which is there for that. Work arrays live for one call and
 *              are given back on every road out of it.
 * Threads      gzprp2, nptfpt and gz0zorc keep nothing between calls: any number of threads may be in them at
 *              once, each with output arrays of its own. All other operations share the state of the process,
 *              the model that npinco registers among it, and are called one after the other, from any
 *              thread; runs of gzprp2 beside them neither see nor change that state.
 * Bad input    The four host entry points end with a result or a code whatever the arrays hold, so long as
 *              the arrays have the sizes given here. The other operations take what they are handed on
 *              trust, as steps of a run do, unless they name a code for it.
 * Determinism  Equal input gives equal output, bit for bit, from every build and on every machine with IEEE
 *              double arithmetic. One thing carries over from call to call: uzftte, and gzfttc through it,
 *              give a point for which no cell has a position the last one that uzftte gave, and (0, 0) before
 *              there was any.
 *
 *
 * THE SURFACE
 *
 *   triCount      number of triangles, at least 1
 *   triVerts      3 int32 per triangle: its vertices, all triangles wound the same way round
 *   vertCount     number of vertices, at least 1
 *   vertPos       3 doubles per vertex: its position; at a vertex that no triangle names it may be anything
 *   vertTriCount  length of vertTriList, at least 0; 3 * triCount for a mesh whose lists are complete
 *   vertTriStart  vertCount int32: how many entries of vertTriList stand before the vertex's own, ascending
 *   vertTriList   vertTriCount int32: the triangles around vertex 1, then those around vertex 2, and so on;
 *                 the triangles of vertex v are entries vertTriStart[v] + 1 to vertTriStart[v + 1], for the
 *                 last vertex to vertTriCount
 *   vertBoundary  vertCount int32: 1 for a vertex on the boundary, 0 for one inside. The run walks one loop,
 *                 the one through the lowest flagged vertex; the fabric ends at that loop and bridges all
 *                 others. On a surface with holes flag the outer loop alone
 *
 *
 * THE GRID
 *
 * Four directions, clockwise; front and row rules turn with them:
 *
 *   d   grid step    links    opposite   next   previous   cell side
 *   1   nodeI + 1    link1    3          2      4          stepA
 *   2   nodeJ - 1    link2    4          3      1          stepB
 *   3   nodeI - 1    link3    1          4      2          stepA
 *   4   nodeJ + 1    link4    2          1      3          stepB
 *
 * Node arrays, nodeCapacity elements each, of which the first nodeCount hold nodes:
 *
 *   link1..link4  1 int32: neighbour in that direction, 0 for none. The arguments come in the order 3, 1, 2,
 *                 4. Two nodes of one row or of two rows woven together point at each other; around a cut a
 *                 link can run one way
 *   nodeI, nodeJ  1 int32: grid column and row, (0, 0) at the seed. Around a cut two nodes can share them
 *   nodeStatus    1 int32: DRAPE_NODE_OPEN or DRAPE_NODE_CLOSED after a finished run
 *   nodeTri       1 int32: triangle that holds the node, 0 off the surface
 *   nodePos       3 doubles: position in space
 *   nodeFlat      2 doubles: position in the flat pattern, (nodeI * stepA, nodeJ * stepB)
 *   nodeNormal    3 doubles: unit normal of the surface there
 *
 * A cell is named by its lowest corner c and has the corners c, link1[c], link4[c] and link4[link1[c]]; it
 * is complete if all four are there.
 *
 * A front is a row that can still advance, in direction d: its nodes follow each other along link[next(d)],
 * the row behind it lies at link[opposite(d)] and its new row comes to lie at link[d]. A row record
 * describes a row just built in the same form. The node over which a new row is begun is its pivot.
 */
#ifndef DRAPE_H
#define DRAPE_H

#include <stdint.h>

/* On Windows a host that links the static library defines DRAPE_STATIC, as the CMake target does for it; the
 * library's own sources define DRAPE_BUILDING. */
#if defined(_WIN32) && defined(DRAPE_STATIC)
#define DRAPE_API
#elif defined(_WIN32) && defined(DRAPE_BUILDING)
#define DRAPE_API __declspec(dllexport)
#elif defined(_WIN32)
#define DRAPE_API __declspec(dllimport)
#elif defined(__GNUC__)
#define DRAPE_API __attribute__((visibility("default")))
#else
#define DRAPE_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* Version of the interface described here. */
#define DRAPE_VERSION_MAJOR 1
#define DRAPE_VERSION_MINOR 0
#define DRAPE_VERSION_PATCH 0

/* Directions of the grid, clockwise. */
enum {
    DRAPE_DIRECTION_1 = 1, /* nodeI + 1, cells of length stepA */
    DRAPE_DIRECTION_2 = 2, /* nodeJ - 1, cells of length stepB */
    DRAPE_DIRECTION_3 = 3, /* nodeI - 1, cells of length stepA */
    DRAPE_DIRECTION_4 = 4  /* nodeJ + 1, cells of length stepB */
};

/* Node statuses. A finished run leaves only the first two. */
enum {
    DRAPE_NODE_OPEN = 0,        /* on the surface, a further row can start here */
    DRAPE_NODE_CLOSED = -1,     /* off the surface, beyond its boundary, or closed by a repair */
    DRAPE_NODE_ACROSS_GAP = -2, /* reachable along its row, but its back link crosses the boundary twice */
    DRAPE_NODE_CUT = -3,        /* front node at which a repair has cut the front */
    DRAPE_NODE_UNDECIDED = -10  /* only inside one classification, never seen outside it */
};

/* Location codes: the feature of a triangle A, B, C at which a point lies or to which it is nearest. */
enum {
    DRAPE_AT_NOWHERE = 0, /* not classified */
    DRAPE_AT_VERTEX_A = 1,
    DRAPE_AT_VERTEX_B = 2,
    DRAPE_AT_VERTEX_C = 3,
    DRAPE_ON_EDGE_AB = 4,
    DRAPE_ON_EDGE_BC = 5,
    DRAPE_ON_EDGE_CA = 6,
    DRAPE_IN_INTERIOR = 7
};

/* Fields of a front record, 0-based offsets into its ten int32. A record starts as all zeros; the last three
 * fields are spare. A row record uses the first three. */
enum {
    DRAPE_FRONT_DIRECTION = 0,     /* in which the front advances */
    DRAPE_FRONT_FIRST_NODE = 1,    /* of its row */
    DRAPE_FRONT_LENGTH = 2,        /* nodes in its row */
    DRAPE_FRONT_PIVOT_REQUEST = 3, /* 0 automatic, -1 first node, -2 last node, else a node of the row */
    DRAPE_FRONT_STEP_MODE = 4,  /* the pivot's step is shaped by 0 both row neighbours, 1 the one before it,
                                   2 the one after it */
    DRAPE_FRONT_HOLD_COUNT = 5, /* times that the run still passes over this front */
    DRAPE_FRONT_SIDE_FLAG = 6,  /* 1 for a front that a repair has opened sideways */
    DRAPE_FRONT_FIELDS = 10
};

/* Fields of a defect record, 0-based offsets into its five int32; the last is spare.
 *
 *   kind 1   one closed node between open ones
 *   kind 2   two open neighbours with the boundary between them
 *   kind 3   a node across a gap, then an open one
 *   kind 4   an open node, then one across a gap
 */
enum {
    DRAPE_DEFECT_KIND = 0,
    DRAPE_DEFECT_NODE = 1,      /* front node behind the row node at which the defect begins */
    DRAPE_DEFECT_TWIN = 2,      /* twin that the repair of kind 1 has made */
    DRAPE_DEFECT_NEXT_NODE = 3, /* front node behind the row node after that; not for kind 1 */
    DRAPE_DEFECT_FIELDS = 5
};

/* Fields of a corner record, 0-based offsets into its seven int32.
 *
 *   kind 1   first end: a front on the nodes that are there
 *   kind 2   first end: a front on a twin of the node behind
 *   kind 3   first end: the edge to the node behind is doubled
 *   kind 4   last end: a front on the nodes that are there
 *   kind 5   last end: the node behind is copied and unhooked
 *   kind 6   last end: the edge to the node behind is doubled
 */
enum {
    DRAPE_CORNER_NEW_DIRECTION = 0, /* of the front to open */
    DRAPE_CORNER_BACK_NODE = 1,     /* node behind the end node */
    DRAPE_CORNER_PRIOR_NODE = 2,    /* node before the last one; kind 6 */
    DRAPE_CORNER_KIND = 3,
    DRAPE_CORNER_FIRST_NODE = 4,  /* first node of the front; kind 3 */
    DRAPE_CORNER_LAST_NODE = 5,   /* last node of the front; kinds 4 to 6 */
    DRAPE_CORNER_FRONT_INDEX = 6, /* the front's place in the table */
    DRAPE_CORNER_FIELDS = 7
};

/* Status codes, with the operation that raises each. Two numbers have two meanings, told apart by what was
 * called. 6 to 8 aren't used; 200 to 299 guard the input, 300 to 399 come from the work arrays. */
enum {
    DRAPE_OK = 0,
    DRAPE_BAD_ROW_DIRECTION = 1,          /* gzprde: the row's direction isn't 1 to 4 */
    DRAPE_ROW_LINK_MISSING = 2,           /* gzpref: the row's links end before its length */
    DRAPE_BOUNDARY_CANDIDATES_FULL = 3,   /* gzprel: too many ways on at a boundary vertex */
    DRAPE_BOUNDARY_NOT_CLOSED = 4,        /* gzprel: the boundary flags describe no closed loop */
    DRAPE_PASS_ARRAY_HELD = 5,            /* gzprp2: a work array was never given back */
    DRAPE_RULING_ALONG_SEGMENT = 9,       /* npxseb: a cell side runs along the boundary's normal */
    DRAPE_BAD_FRONT_POSITION = 10,        /* uzpraf: no such place in the front table */
    DRAPE_CUT_WALK_LOST_NODE = 11,        /* uzprce: the walk along the front met no node */
    DRAPE_GAP_WALK_LOST_NODE = 12,        /* uzprcl: the walk along the front met no node */
    DRAPE_NODE_NOT_COPIED = 13,           /* uzprcp: no such node, or the store is full */
    DRAPE_DIRECTIONS_NOT_NEIGHBOURS = 14, /* uzprdf: the two directions aren't neighbours */
    DRAPE_NODES_COINCIDE = 15,            /* uzprdf: the two known nodes of a cell coincide */
    DRAPE_CELL_FOLDS = 16,                /* uzprdf: the new cell would fold over */
    DRAPE_NOTHING_TO_STEP_FROM = 17,      /* uzprmo: no neighbour to step from */
    DRAPE_EDGE_TABLE_FULL = 18,           /* uzprpf: too many boundary triangles in reach */
    DRAPE_NO_FALLBACK_HIT = 19,           /* uzprpf: the circle misses the plane */
    DRAPE_NO_FORWARD_HIT = 20,            /* uzprpf: no hit lies ahead */
    DRAPE_PIVOT_NOT_IN_ROW = 20,          /* uzprpi: the pivot asked for isn't in the row */
    DRAPE_BAD_PREVIOUS_NODE_1 = 21,       /* uzprsp: prevNode1 is no node */
    DRAPE_BAD_PREVIOUS_NODE_2 = 22,       /* uzprsp: prevNode2 is no node */
    DRAPE_NODES_FULL = 23,                /* uzprsp: nodeCapacity is used up */
    DRAPE_NORMAL_NOT_UNIT = 24,           /* uzprsp: the normal isn't of unit length */
    DRAPE_TOO_MANY_CROSSINGS = 24,        /* uzprxb: more than ten hits on one segment */
    DRAPE_SOURCE_TRIANGLE_FLAT = 161,     /* nptfpt: the source triangle has no area */
    DRAPE_BAD_ARGUMENT = 201,             /* gzprp2, gz0zorc: an argument is out of range */
    DRAPE_BAD_MESH = 202,                 /* gzprp2: the mesh arrays don't fit together */
    DRAPE_FRONTS_FULL = 203,              /* uzpraf: the front table is full */
    DRAPE_NODES_NOT_NEIGHBOURS = 204,     /* uzprds: the two nodes aren't neighbours */
    DRAPE_NO_CURVE_START = 205,           /* gzfttc: no point of the curve lies clearly in a cell */
    DRAPE_EMPTY_CURVE_OR_GRID = 206,      /* gzfttc: no point, no node or no complete cell */
    DRAPE_REPAIR_CUTS_NOTHING = 207,      /* gzprp2: a repair leaves everything as it was */
    DRAPE_BROKEN_GRID_LINK = 208,         /* uzprdf: a node that the row needs isn't linked to it */
    DRAPE_NO_MEMORY = 301,                /* a work array can't be had */
    DRAPE_BAD_ARRAY_SIZE = 302,           /* a work array of a size below 0 or too large */
    DRAPE_UNKNOWN_HANDLE = 303            /* a work array given back that isn't held */
};

/* Host entry points. */

/* Drape a fibre grid over a surface: one call, one whole run.
 *
 *   seedPoint        in   3 doubles: where the grid starts. Node 1 stands at this very point, on or off the
 *                         surface, and counts to the triangle nearest to it
 *   seedDirA         in   3 doubles: way of the first step in direction 1; its negative in direction 3
 *   seedDirB         in   3 doubles: way of the first step in direction 4; its negative in direction 2.
 *                         Neither needs unit length, and they needn't be square to each other or lie in the
 *                         surface
 *   stepA, stepB     in   length of the cell sides along directions 1 and 3, and along 2 and 4; above 0
 *   link3 to link4   out  nodeCapacity int32 each, in the order 3, 1, 2, 4
 *   nodeI, nodeJ     out  nodeCapacity int32 each
 *   nodeStatus       out  nodeCapacity int32
 *   nodeTri          out  nodeCapacity int32
 *   nodePos          out  3 * nodeCapacity doubles
 *   nodeFlat         out  2 * nodeCapacity doubles
 *   nodeNormal       out  3 * nodeCapacity doubles. The eleven arrays need no preparation and may not
 *                         overlap
 *   nodeCapacity     in   size of the node arrays in nodes, at least 4. The ring of nodes beyond the
 *                         boundary and the twins at cuts count too:
 *                             2 * area / (stepA * stepB) + 4 * boundary length / min(stepA, stepB) + 100
 *                         is ample as a rule, on long strips too
 *   reserved         in   never read; it keeps its place
 *   triCount to vertBoundary
 *                    in   the surface, as above
 *   nodeCount        out  nodes made
 *   tolerance        in   0 or more. Points nearer to each other than this count as one; a thousandth of a
 *                         cell side is a good value where a step is near 1 (Units, above)
 *   pivotByGridLine  in   0: a row begins where its cells are least sheared; any other value: where it
 *                         crosses the grid line through the seed
 *   status           out  0, or the code that ended the run
 *
 * Returns 0, also after a failed run; 1 only with status 5, which guards against a fault of the library
 * itself. Status 0 says that no front was left to go on, not that the surface is covered: what lies behind a
 * slit can stay bare, and so can all of it where the unit doesn't suit. Hold the cells' area against the
 * surface's.
 *
 * Codes: 201 and 202 for input that can't be used, before anything is done, with nodeCount 0; 3 and 4 if the
 * boundary flags describe no closed loop; 24 with one node if the triangle nearest to the seed has no area,
 * or none but for rounding;
 * 23 if nodeCapacity is used up, 13 if a repair finds it so; 9 and 24 where the boundary meets a cell side
 * in a way that can't be counted; 15, 16 and 17 where a cell can't be placed; 207 where a repair gets
 * nowhere; 301 and 302 for want of a work array. 1, 2, 10 to 12, 14, 20 to 22, 203 and 208 guard the steps
 * of a run.
 *
 * After a failure all nodes made so far stay, with nodeCount valid; with 3, 4, 301 and 302 before the first
 * node, nodeCount stays as the caller left it. nodeStatus can then hold DRAPE_NODE_ACROSS_GAP and
 * DRAPE_NODE_CUT too, and the nodes of the row in hand may have none yet.
 */
DRAPE_API int32_t gzprp2(const double* seedPoint, const double* seedDirA, const double* seedDirB,
                         const double* stepA, const double* stepB, int32_t* link3, int32_t* link1,
                         int32_t* link2, int32_t* link4, int32_t* nodeI, int32_t* nodeJ, int32_t* nodeStatus,
                         int32_t* nodeTri, double* nodePos, double* nodeFlat, double* nodeNormal,
                         const int32_t* nodeCapacity, const void* reserved, const int32_t* triCount,
                         const int32_t* vertCount, const int32_t* vertTriCount, const int32_t* vertTriStart,
                         const int32_t* vertTriList, const int32_t* triVerts, const double* vertPos,
                         const int32_t* vertBoundary, int32_t* nodeCount, const double* tolerance,
                         const int32_t* pivotByGridLine, int32_t* status);

/* Carry a closed space curve onto the flat pattern of a finished grid.
 *
 *   link3, link1, link2, link4
 *                    in      nodeCount int32 each, as gzprp2 gave them
 *   spareA, spareB   in      never read
 *   nodeStatus       in      nodeCount int32
 *   nodePos          in      3 * nodeCount doubles
 *   nodeFlat         in      2 * nodeCount doubles
 *   spareC           in      never read
 *   nodeCount        in      number of nodes, at least 1
 *   points           in/out  3 * pointCount doubles: the curve, point after point; the last one joins the
 *                            first
 *   directions       in/out  3 * pointCount doubles: the way in which each point is projected onto its cell,
 *                            of any length but 0; the surface normal there is a good choice
 *   pointCount       in      at least 1
 *   flatOut          out     2 * pointCount doubles: flat positions, in the order in which the curve came
 *   low, high        in      inclusive range of point numbers whose search may also move through inner cells
 *                            of the grid, counted on the rotated curve: 1 and pointCount for all, 1 and 0
 *                            for none
 *   status           out     0 or a code
 *
 * Returns 1 if status isn't 0.
 *
 * The search starts at a point that lies clearly in one cell. To find it the curve is rotated, and `points`
 * and `directions` are left rotated alike: a caller that needs them keeps its own copy. A point that no cell
 * holds still gets a flat position, extrapolated from the nearest cells, or else the position of the point
 * before it. That position carries over from one call to the next (Determinism, above).
 *
 * Codes: 205 if no point lies clearly in one cell, with the curve back in its order; 206 if pointCount or
 * nodeCount is below 1 or no cell is complete; flatOut isn't written with either. 301 and 302 for want of a
 * work array; flatOut can be written in part then.
 */
DRAPE_API int32_t gzfttc(const int32_t* link3, const int32_t* link1, const int32_t* link2,
                         const int32_t* link4, const void* spareA, const void* spareB,
                         const int32_t* nodeStatus, const double* nodePos, const double* nodeFlat,
                         const void* spareC, const int32_t* nodeCount, double* points, double* directions,
                         const int32_t* pointCount, double* flatOut, const int32_t* low, const int32_t* high,
                         int32_t* status);

/* Carry a point from one triangle to another.
 *
 *   source  in   9 doubles: three corners
 *   target  in   9 doubles: three corners
 *   point   in   3 doubles: point in the plane of source; one off it counts as its foot in that plane
 *   mapped  out  3 doubles: point with the same barycentric coordinates on target; it may not overlap the
 *                input
 *   status  out  0, or 161
 *
 * Points outside source map outside target: nothing is clamped.
 *
 * Returns 1 with 161 if source has no area or holds a coordinate that is not a number; mapped is unchanged
 * then. One in target or point goes on into mapped.
 */
DRAPE_API int32_t nptfpt(const double* source, const double* target, const double* point, double* mapped,
                         int32_t* status);

/* Put the items of a directed graph in level order: from one item outward, ascending within a level.
 *
 *   reserved1, reserved2  in      never read; they keep their places
 *   start                 in      first item, 1 to count
 *   count                 in      number of items, at least 1
 *   inDegree              in/out  count int32: incoming links of each item. An item with 0 or less is never
 *                                 reached, whatever points to it; each item taken into the order is lowered
 *                                 by 1
 *   successorCount        in      count int32: number of successors of each item; below 0 counts as 0. Not
 *                                 read if count is 1
 *   successors            in      the successors of item 1, then those of item 2, and so on, as many as
 *                                 successorCount adds up to. Items outside 1 to count are skipped
 *   orderedCount          out     items in order; below count if some weren't reached, which is no failure
 *   order                 out     count int32, of which the first orderedCount are written
 *   status                out     0 or a code
 *
 * Returns 1 with 201 if count is below 1 or start out of range, with orderedCount 0 and nothing else
 * written; with 301 or 302 for want of a work array.
 */
DRAPE_API int32_t gz0zorc(const void* reserved1, const void* reserved2, const int32_t* start,
                          const int32_t* count, int32_t* inDegree, const int32_t* successorCount,
                          const int32_t* successors, int32_t* orderedCount, int32_t* order, int32_t* status);

/* Run set-up and store. */

/* Register the model on which single steps work. gzprp2 has one of its own.
 *
 * For hosts that call single steps. Values are copied, so that a later change of the caller's variable isn't
 * seen. Arrays and counters are held by reference: they must stay in place, and belong to the steps, until
 * the next npinco. Nothing is checked, and no boundary is walked: call gzprel first, or fill the
 * chain by hand.
 *
 *   seedPoint to stepB            in      copied; as for gzprp2
 *   frontTable                    in/out  nodeCapacity records of 10 int32, held
 *   frontCount                    in/out  number of live records, held
 *   link3 to nodeNormal           in/out  node arrays, nodeCapacity elements each, held
 *   nodeCapacity                  in      copied
 *   nodeCount                     in/out  nodes in use, held; the store raises it
 *   triCount, vertCount, vertTriCount
 *                                 in      copied
 *   vertTriStart, vertTriList, triVerts, vertPos
 *                                 in      the surface, held
 *   boundaryCount                 in      number of boundary edges, copied
 *   boundaryEdges                 in      3 int32 per boundary edge: triangle, start vertex, end vertex;
 *                                         held
 *   boundaryNormals               in      3 doubles per boundary edge: unit normal at its start vertex; held
 *   pivotByGridLine, tolerance    in      copied; as for gzprp2
 */
DRAPE_API void npinco(const double* seedPoint, const double* seedDirA, const double* seedDirB,
                      const double* stepA, const double* stepB, int32_t* frontTable, int32_t* frontCount,
                      int32_t* link3, int32_t* link1, int32_t* link2, int32_t* link4, int32_t* nodeI,
                      int32_t* nodeJ, int32_t* nodeStatus, int32_t* nodeTri, double* nodePos,
                      double* nodeFlat, double* nodeNormal, const int32_t* nodeCapacity, int32_t* nodeCount,
                      const int32_t* triCount, const int32_t* vertCount, const int32_t* vertTriCount,
                      const int32_t* vertTriStart, const int32_t* vertTriList, const int32_t* triVerts,
                      const double* vertPos, const int32_t* boundaryCount, int32_t* boundaryEdges,
                      double* boundaryNormals, const int32_t* pivotByGridLine, const double* tolerance);

/* Store a new node and wire its links.
 *
 *   position    in   3 doubles
 *   normal      in   3 doubles of unit length: |1 - length squared| at most 0.003
 *   triangle    in   triangle of the node, 0 off the surface
 *   linkCount   in   0: no links, at (0, 0) of the grid; 1: linked to prevNode1; 2: to prevNode2 too. Below 0
 *                    counts as 0; above 2 both must be nodes, and the new one is linked to prevNode1 alone
 *   direction1  in   from prevNode1 to the new node. Column, row and flat position follow from these two
 *   prevNode1   in   node, read if linkCount is above 0
 *   direction2  in   from prevNode2 to the new node
 *   prevNode2   in   node, read if linkCount is above 1
 *   status      out  0 or a code
 *
 * The new node is node nodeCount. Its nodeStatus isn't written: that is the caller's.
 *
 * Returns 1 with 21 or 22 if prevNode1 or prevNode2 is no node, 23 if the store is full, all with nothing
 * changed; with 24 if the normal isn't of unit length: nodeCount is raised then, and position and normal are
 * written.
 */
DRAPE_API int32_t uzprsp(const double* position, const double* normal, const int32_t* triangle,
                         const int32_t* linkCount, const int32_t* direction1, const int32_t* prevNode1,
                         const int32_t* direction2, const int32_t* prevNode2, int32_t* status);

/* Duplicate a node.
 *
 *   node    in   node to copy
 *   status  out  0, or 13
 *
 * Node nodeCount becomes a copy with all values and links of `node`. No other node links to it yet.
 *
 * Returns 1 with 13 if `node` is no node or the store is full; nothing is changed then.
 */
DRAPE_API int32_t uzprcp(const int32_t* node, int32_t* status);

/* Insert a record into the front table.
 *
 *   record    in   10 int32; it may stand in the table itself
 *   position  in   place that it takes, 1 to frontCount + 1; the records from there on move up
 *   status    out  0 or a code
 *
 * Returns 1 with 10 if position is out of range, 203 if the table holds nodeCapacity records already.
 * frontCount stays raised by 1 then, and no record has moved.
 */
DRAPE_API int32_t uzpraf(const int32_t* record, const int32_t* position, int32_t* status);

/* Remove a record from the front table.
 *
 *   position  in   live record; the records behind it move down
 *   status    out  always 0
 *
 * Returns 0.
 */
DRAPE_API int32_t uzprrf(const int32_t* position, int32_t* status);

/* Drop the row that a front has just built.
 *
 *   position  in   the front's place in the table; its record stays
 *
 * The row's nodes must be the last ones of the store. nodeCount falls by the front's length and the forward
 * links of the front's nodes become 0.
 */
DRAPE_API void uzprap(const int32_t* position);

/* Vectors. */

/* Unit cross product of two vectors.
 *
 *   a, b       in   3 doubles each
 *   result     out  3 doubles: a x b at unit length, or the zero vector if it has none. It may be a or b
 *   dimension  in   3; with any other value nothing happens
 */
DRAPE_API void parbisfortran(const double* a, const double* b, double* result, const int32_t* dimension);

/* Surface queries. */

/* Walk the surface boundary into one closed chain.
 *
 *   vertBoundary .. vertPos  in   the surface, as above; triCount is never read
 *   boundaryCount            in/out  in: edges that the two tables hold, vertCount in a run; below 1 counts
 *                                    as vertCount; out: edges of the chain
 *   boundaryEdges            out  3 int32 per edge: triangle, start vertex, end vertex. Each edge ends where
 *                                 the next one starts, and the last where the first does
 *   boundaryNormals          out  3 doubles per edge: unit normal at its start vertex, the mean of the
 *                                 triangles of the two edges that meet there
 *   status                   out  0 or a code
 *
 * The chain goes through the lowest flagged vertex; the order of that vertex's triangles sets its sense. If
 * boundaryEdges is the table that npinco registered, the model's own number of boundary edges is set too.
 *
 * Returns 1 with 3 if a vertex has too many candidates, 4 if the walk finds no way on, meets more than two
 * ways, comes to an edge again or fills the tables, or a code of the work arrays. boundaryCount is unchanged
 * then.
 */
DRAPE_API int32_t gzprel(const int32_t* vertBoundary, const void* triCount, const int32_t* vertCount,
                         const int32_t* vertTriCount, const int32_t* vertTriStart, const int32_t* vertTriList,
                         const int32_t* triVerts, const double* vertPos, int32_t* boundaryCount,
                         int32_t* boundaryEdges, double* boundaryNormals, int32_t* status);

/* Distance from a point to a triangle, and the nearest feature.
 *
 *   point                      in   3 doubles
 *   vertexA, vertexB, vertexC  in   3 doubles each
 *   tolerance                  in   a foot nearer than this to a corner or an edge counts to it
 *   distance                   out  distance, not squared
 *   location                   out  location code, 1 to 7
 *
 * A triangle without area gives the distance to its nearest corner or edge.
 */
DRAPE_API void npdmpe(const double* point, const double* vertexA, const double* vertexB,
                      const double* vertexC, const double* tolerance, double* distance, int32_t* location);

/* The point common to three planes.
 *
 *   point1, normal1 .. point3, normal3  in   3 doubles each: a point on the plane, and its normal
 *   threshold                           in   smallest determinant of the normals that counts as regular
 *   solution                            out  3 doubles; means nothing if singular is 1
 *   singular                            out  1 if the planes have no single common point, else 0
 */
DRAPE_API void npx3pl(const double* point1, const double* normal1, const double* point2,
                      const double* normal2, const double* point3, const double* normal3,
                      const double* threshold, double* solution, int32_t* singular);

/* Cut a circle in space against a triangle.
 *
 *   centre                     in   3 doubles
 *   axis                       in   3 doubles of unit length: normal of the circle's plane
 *   radius                     in   of the circle
 *   vertexA, vertexB, vertexC  in   3 doubles each
 *   tolerance                  in   a hit nearer than this to a corner or an edge counts to it
 *   clipMode                   in   0: cut with the triangle's whole plane; 1: with the triangle, after a
 *                                   quick test of its corners against the circle's plane; any other value:
 *                                   without that test
 *   hitCount                   out  0, 1 or 2
 *   hitPoints                  out  2 x 3 doubles, of which hitCount are written; hits at corners come
 *                                   first, then those on edges, then those inside
 *   hitKinds                   out  2 int32: location codes, 0 without clipping or without a hit
 *   singular                   out  1 if a plane solution failed, else 0
 *
 * Returns `singular`; the hits found before that stand. A triangle parallel to the circle's plane gives no
 * hit.
 */
DRAPE_API int32_t npxctr(const double* centre, const double* axis, const double* radius,
                         const double* vertexA, const double* vertexB, const double* vertexC,
                         const double* tolerance, const int32_t* clipMode, int32_t* hitCount,
                         double* hitPoints, int32_t* hitKinds, int32_t* singular);

/* Choose the point where a circle meets the listed triangles furthest forward. Reads the model.
 *
 *   centre       in      3 doubles
 *   planeNormal  in      3 doubles: with forward it spans the plane that is square to the circle's axis
 *   forward      in/out  3 doubles: way in which the node is to go; brought to unit length
 *   radius       in      of the circle
 *   backPoint    in      3 doubles: position behind the node to be placed
 *   foundList    in      foundCount int32: triangles
 *   foundCount   in      their number
 *   tolerance    in      as for npxctr
 *   point        out     3 doubles, not written if nothing is found
 *   normal       out     3 doubles: unit normal of its triangle, not written if nothing is found
 *   triangle     out     its triangle, 0 if nothing is found
 *   status       out     always 0
 *
 * Returns 0.
 */
DRAPE_API int32_t uzprcm(const double* centre, const double* planeNormal, double* forward,
                         const double* radius, const double* backPoint, const int32_t* foundList,
                         const int32_t* foundCount, const double* tolerance, double* point, double* normal,
                         int32_t* triangle, int32_t* status);

/* Node placement. */

/* Place a point in the plane of the nearest boundary triangle. Reads the model.
 *
 * The arguments are those of uzprcm, with foundCount before foundList and without a triangle: the point may
 * lie off the surface. forward is read only and has unit length; backPoint is never read; point and normal
 * aren't written after a failure.
 *
 * Returns 1 with 18 if more than 21 listed triangles have a boundary edge, 19 if the circle misses the plane
 * or the surface has no boundary, 20 if no hit lies ahead.
 */
DRAPE_API int32_t uzprpf(const double* centre, const double* planeNormal, const double* forward,
                         const double* radius, const void* backPoint, const int32_t* foundCount,
                         const int32_t* foundList, const double* tolerance, double* point, double* normal,
                         int32_t* status);

/* Fill a row to one side of its pivot. Reads and extends the model.
 *
 *   nodes          in      length int32: the old row
 *   pivotIndex     in      position in it from which the walk starts; its new node is there already
 *   length         in      of the old row
 *   direction      in      of the front
 *   walkDirection  in      direction in which the new row grows, a neighbour of `direction`
 *   work           in/out  2 * triCount int32 of scratch
 *   rowRecord      in/out  10 int32: the new row, with `firstNode` the pivot's new node and `length` 1 on
 *                          entry; both follow as the row grows
 *   status         out     0 or a code
 *
 * Returns 1 with 14 if the directions aren't neighbours, 208 if the row's links are broken, 15 if the two
 * known nodes of a cell coincide, 16 if a cell would fold over, or a code of uzprsp. The cells made before
 * that stay.
 */
DRAPE_API int32_t uzprdf(const int32_t* nodes, const int32_t* pivotIndex, const int32_t* length,
                         const int32_t* direction, const int32_t* walkDirection, int32_t* work,
                         int32_t* rowRecord, int32_t* status);

/* Step one node straight forward. Reads and extends the model.
 *
 *   node       in      node to step from
 *   direction  in      of the step
 *   stepMode   in      1: only the node before it in its row shapes the step; 2: only the one after it; any
 *                      other value: both
 *   work       in/out  2 * triCount int32 of scratch
 *   status     out     0 or a code
 *
 * The new node is node nodeCount. From a node without neighbours, the seed, the step follows seedDirA or
 * seedDirB.
 *
 * Returns 1 with 17 if direction isn't 1 to 4 or there is nothing to step from, with nothing stored, or a
 * code of uzprsp.
 */
DRAPE_API int32_t uzprmo(const int32_t* node, const int32_t* direction, const int32_t* stepMode,
                         int32_t* work, int32_t* status);

/* Row building. */

/* Choose the pivot of a row by its least sheared cell. Reads the model.
 *
 *   nodes         in   length int32: the row
 *   length        in   of the row
 *   direction     in   of the front
 *   pivotRequest  in   0: choose; -1: the first node; -2: the last one; any other value: that node
 *   pivotIndex    out  position in nodes, 0 after a failure
 *   status        out  0, or 20
 *
 * A row without a least sheared cell takes the last node on the grid line through the seed, or else its
 * middle; where that node isn't open, the last open one.
 *
 * Returns 1 with 20 if the node asked for isn't in the row.
 */
DRAPE_API int32_t uzprpi(const int32_t* nodes, const int32_t* length, const int32_t* direction,
                         const int32_t* pivotRequest, int32_t* pivotIndex, int32_t* status);

/* Build the next row of a front. Reads and extends the model.
 *
 *   frontIndex  in      front's place in the table; its record isn't changed
 *   work        in/out  2 * triCount int32 of scratch
 *   rowRecord   out     10 int32: the new row
 *   status      out     0 or a code
 *
 * Returns 1 with 20, a code of uzprmo or uzprdf, or a code of the work arrays. The nodes made until then
 * stay, and rowRecord tells of them.
 */
DRAPE_API int32_t gzprnf(const int32_t* frontIndex, int32_t* work, int32_t* rowRecord, int32_t* status);

/* Count the boundary crossings of every cell edge of a row. Reads the model.
 *
 *   rowRecord      in   10 int32: direction, firstNode and length of the row
 *   rowNodes       out  length int32: its nodes in order
 *   rowCrossings   out  length - 1 int32: crossings between each node and the next
 *   backCrossings  out  length int32: crossings between each node and the one behind it
 *   status         out  0 or a code
 *
 * Returns 1 with 9 or 24 of uzprxb; the entries behind the failing one aren't written then.
 */
DRAPE_API int32_t gzpric(const int32_t* rowRecord, int32_t* rowNodes, int32_t* rowCrossings,
                         int32_t* backCrossings, int32_t* status);

/* Count the crossings of one segment with the boundary chain. Reads the model.
 *
 *   pointA, pointB  in   3 doubles each: ends of the segment
 *   cellStep        in   length that sets the range of the search; a crossing counts if it passes the
 *                        boundary nearer than half of it
 *   offSurface      in   -1 if an end of the segment is off the surface, and then every hit counts; else 0
 *   count           out  crossings, 0 after a failure
 *   status          out  0 or a code
 *
 * Returns 1 with 9 of npxseb, or 24 after more than ten hits.
 */
DRAPE_API int32_t uzprxb(const double* pointA, const double* pointB, const double* cellStep,
                         const int32_t* offSurface, int32_t* count, int32_t* status);

/* Find the hits of one segment on the strip over one boundary edge.
 *
 *   pointA, pointB          in   3 doubles each: ends of the segment
 *   edgeStart, startNormal  in   3 doubles each
 *   edgeEnd, endNormal      in   3 doubles each. The strip is ruled by the normals along the edge
 *   tolerance               in   a hit nearer than this to an end of the edge counts to it
 *   hitCount                out  0, 1 or 2
 *   hitDistance             out  2 doubles, of which hitCount are written: distance along the ruling from
 *                                the edge to the segment, 0 or more
 *   hitKinds                out  2 int32: 1 at the start of the edge, 2 at its end, 3 between; 0 for no hit
 *   status                  out  0, or 9
 *
 * Returns 1 with 9 if a ruling runs along the segment; the hits before it stand.
 */
DRAPE_API int32_t npxseb(const double* pointA, const double* pointB, const double* edgeStart,
                         const double* startNormal, const double* edgeEnd, const double* endNormal,
                         const double* tolerance, int32_t* hitCount, double* hitDistance, int32_t* hitKinds,
                         int32_t* status);

/* Give the nodes of a row their status. Reads and writes the model.
 *
 *   rowRecord      in   10 int32: direction, firstNode and length of the row
 *   sideFlag       in   never read
 *   rowCrossings   in   length - 1 int32, from gzpric
 *   backCrossings  in   length int32, from gzpric
 *   status         out  always 0
 *
 * Returns 0.
 */
DRAPE_API int32_t gzprip(const int32_t* rowRecord, const void* sideFlag, const int32_t* rowCrossings,
                         const int32_t* backCrossings, int32_t* status);

/* Build, test and classify the next row of a front. Reads and extends the model.
 *
 *   frontIndex     in   front's place in the table
 *   rowRecord      out  10 int32: the new row
 *   rowNodes       out  length int32 of the front's length: the new row's nodes
 *   rowCrossings   out  length - 1 int32
 *   backCrossings  out  length int32
 *   status         out  0 or a code
 *
 * Returns 1 with a code of gzprnf, gzpric or the work arrays. The row, or its half, stays without statuses
 * then.
 */
DRAPE_API int32_t gzprpf(const int32_t* frontIndex, int32_t* rowRecord, int32_t* rowNodes,
                         int32_t* rowCrossings, int32_t* backCrossings, int32_t* status);

/* Front maintenance. */

/* Extend a front along its row, over open nodes that carry no row yet. Reads the model.
 *
 *   front   in/out  10 int32: firstNode and length are written if all goes well; it may stand in the table
 *   status  out     0, or 2
 *
 * Returns 1 with 2 if the row's links end before its length, or lead round in a ring of more nodes than
 * nodeCapacity; the record is unchanged then.
 */
DRAPE_API int32_t gzpref(int32_t* front, int32_t* status);

/* Find the first defect of a row. Reads the model.
 *
 *   rowRecord     in   10 int32: direction, firstNode and length of the row
 *   rowCrossings  in   length - 1 int32, from gzpric
 *   defectFlag    out  1 if there is one, else 0
 *   defectRecord  out  5 int32, of which the fields of its kind are written, and only if there is one
 *   status        out  0, or 1
 *
 * Returns 1 with 1 if the row's direction isn't 1 to 4.
 */
DRAPE_API int32_t gzprde(const int32_t* rowRecord, const int32_t* rowCrossings, int32_t* defectFlag,
                         int32_t* defectRecord, int32_t* status);

/* Try a row by straight steps, examine it and take it away again. Reads the model and leaves it as it was.
 *
 *   frontIndex    in   front's place in the table; its own row must be gone already (uzprap)
 *   defectFlag    out  1 if the trial row has a defect, else 0
 *   defectRecord  out  5 int32, as for gzprde
 *   status        out  0 or a code
 *
 * Returns 1 with a code of gzprfm, gzprde or the work arrays; the trial row, or a part of it, can stay then.
 */
DRAPE_API int32_t gzprre(const int32_t* frontIndex, int32_t* defectFlag, int32_t* defectRecord,
                         int32_t* status);

/* Build and classify a trial row. Reads and extends the model.
 *
 * The arguments are those of gzprpf. Each node of the front is stepped forward by itself, and the new nodes
 * aren't linked with each other's cells as gzprnf does it: the row is there to be looked at and dropped.
 *
 * Returns 1 with a code of uzprmo, gzpric or the work arrays; the nodes made until then stay.
 */
DRAPE_API int32_t gzprfm(const int32_t* frontIndex, int32_t* rowRecord, int32_t* rowNodes,
                         int32_t* rowCrossings, int32_t* backCrossings, int32_t* status);

/* Repair a front whose row has a defect. Reads and changes the model.
 *
 *   frontIndex   in/out  front's place in the table; unchanged after success, and then the place of the
 *                        first of the fronts that replace it
 *   defectCount  in/out  live records in defects, at least 1 on entry, 1 on return
 *   defects      in/out  10 records of 5 int32
 *   status       out     0 or a code
 *
 * Drops the row, tries it again by straight steps, cuts the front at the defect and removes the old front.
 *
 * Returns 1 with a code of gzprre, uzprce or uzprcl. What was cut until then stays.
 */
DRAPE_API int32_t gzprge(int32_t* frontIndex, int32_t* defectCount, int32_t* defects, int32_t* status);

/* Cut a front at defects of kinds 1 and 2. Reads and changes the model.
 *
 * The arguments are those of gzprge. The new fronts are inserted behind the old one, which stays, and
 * frontIndex becomes the place of the last of them.
 *
 * Returns 1 with 11 if the walk along the front meets no node, 13 if a node can't be copied, 21 to 24 of
 * uzprsp, or 10 or 203 of uzpraf. Fronts inserted until then stay.
 */
DRAPE_API int32_t uzprce(int32_t* frontIndex, int32_t* defectCount, int32_t* defects, int32_t* status);

/* Cut a front at defects of kinds 3 and 4. Reads and changes the model.
 *
 * As uzprce, with 12 in place of 11.
 */
DRAPE_API int32_t uzprcl(int32_t* frontIndex, int32_t* defectCount, int32_t* defects, int32_t* status);

/* Make the twin of a node that opens a second piece of its row. Extends the model.
 *
 *   node       in   node at which the row is split
 *   direction  in   of the front
 *   status     out  0 or a code
 *
 * The twin is node nodeCount, at the same place. It takes over the way on along the row; `node` keeps the
 * way there.
 *
 * Returns 1 with a code of uzprsp.
 */
DRAPE_API int32_t uzprdp(const int32_t* node, const int32_t* direction, int32_t* status);

/* Cut a finished row into new fronts, one for each usable stretch. Reads and changes the model.
 *
 *   rowRecord     in      10 int32: direction, firstNode and length of the row
 *   frontIndex    in/out  in: the front that built it, which is removed; out: place of the last new front,
 *                         one below the old place if there is none
 *   rowCrossings  in      length - 1 int32, from gzpric
 *   status        out     0 or a code
 *
 * Returns 1 with 10 or 203 of uzpraf; the fronts inserted until then stay.
 */
DRAPE_API int32_t gzprgf(const int32_t* rowRecord, int32_t* frontIndex, const int32_t* rowCrossings,
                         int32_t* status);

/* Look for corners at the two ends of a front. Reads the model.
 *
 *   rowNodes       in   rowLength int32: the whole row from which the front was cut
 *   rowCrossings   in   rowLength - 1 int32, from gzpric
 *   backCrossings  in   rowLength int32, from gzpric
 *   rowLength      in   nodes of that row
 *   frontIndex     in   front's place in the table
 *   corners        out  2 records of 7 int32, of which cornerCount are written
 *   cornerCount    out  0, 1 or 2
 *   status         out  always 0
 *
 * Returns 0.
 */
DRAPE_API int32_t gzprld(const int32_t* rowNodes, const int32_t* rowCrossings, const int32_t* backCrossings,
                         const int32_t* rowLength, const int32_t* frontIndex, int32_t* corners,
                         int32_t* cornerCount, int32_t* status);

/* Open a short sideways front at each corner. Reads and changes the model.
 *
 *   corners      in   cornerCount records of 7 int32, from gzprld
 *   cornerCount  in   their number
 *   status       out  0 or a code
 *
 * The new fronts come to stand behind the one at whose corners they open.
 *
 * A record of kind 3 whose two nodes aren't neighbours is passed over, as one of no known kind is.
 *
 * Returns 1 with 13 of uzprcp, 21 to 24 of uzprsp, 204 if the two nodes of kind 6 aren't neighbours, or 10 or
 * 203 of uzpraf. What was done for earlier records stays.
 */
DRAPE_API int32_t gzprlc(const int32_t* corners, const int32_t* cornerCount, int32_t* status);

/* Double the edge between two neighbouring nodes. Extends the model.
 *
 *   nodeA   in   node
 *   nodeB   in   one of its four neighbours
 *   status  out  0 or a code
 *
 * The twin of nodeA is node nodeCount - 1 on return, that of nodeB node nodeCount.
 *
 * Returns 1 with 204 if nodeB is no neighbour of nodeA, with nothing changed, or a code of uzprsp.
 */
DRAPE_API int32_t uzprds(const int32_t* nodeA, const int32_t* nodeB, int32_t* status);

/* Curve transfer. */

/* The nearest and the second nearest cell of a point, over the whole grid.
 *
 *   point              in   3 doubles
 *   link3 .. nodePos   in   grid, as for gzfttc; link3, link2 and nodeStatus are never read
 *   nodeCount          in   number of nodes
 *   nearest, second    out  cells; near is what has the least sum of squared distances to its four corners
 *   status             out  always 0
 *
 * Returns 0.
 */
DRAPE_API int32_t uzftpq(const double* point, const void* link3, const int32_t* link1, const void* link2,
                         const int32_t* link4, const void* nodeStatus, const double* nodePos,
                         const int32_t* nodeCount, int32_t* nearest, int32_t* second, int32_t* status);

/* The four nearest cells of a point, over the whole grid.
 *
 *   point              in   3 doubles
 *   link3 .. nodePos   in   grid, as for uzftpq
 *   nodeCount          in   number of nodes
 *   ranks              out  4 int32: cells, nearest first
 *   status             out  always 0
 *
 * Returns 0.
 */
DRAPE_API int32_t uzftp2(const double* point, const void* link3, const int32_t* link1, const void* link2,
                         const int32_t* link4, const void* nodeStatus, const double* nodePos,
                         const int32_t* nodeCount, int32_t* ranks, int32_t* status);

/* Walk from a known cell to the cell of a curve point.
 *
 *   points             in   3 doubles per curve point
 *   pointIndex         in   point looked for
 *   startCell          in   cell to start from, complete or not
 *   link3 .. nodePos   in   grid, as for gzfttc
 *   nodeCount          in   number of nodes
 *   foundCell          out  cell found
 *   thirdFlag          out  1 if it was taken as third nearest from the search over the whole grid, else 0
 *   low, high          in   inclusive range of point numbers whose walk may also move to inner cells
 *   status             out  always 0
 *
 * Returns 0. A startCell below 1, and a walk that comes to no end, give the nearest cell of the whole grid.
 */
DRAPE_API int32_t uzftcq(const double* points, const int32_t* pointIndex, const int32_t* startCell,
                         const int32_t* link3, const int32_t* link1, const int32_t* link2,
                         const int32_t* link4, const int32_t* nodeStatus, const double* nodePos,
                         const int32_t* nodeCount, int32_t* foundCell, int32_t* thirdFlag, const int32_t* low,
                         const int32_t* high, int32_t* status);

/* Carry a curve point into the flat pattern through a given cell.
 *
 *   points, directions  in      3 doubles each per curve point
 *   pointIndex          in      point to carry
 *   cell                in      cell to use
 *   link3 .. link4      in      links of the grid; link3 and link2 are never read
 *   spareA, spareB      in      never read
 *   nodePos, nodeFlat   in      3 and 2 doubles per node
 *   spareC, nodeCount   in      never read
 *   flatPoint           in/out  2 doubles: flat position; keeps its value if the cell gives none
 *   inside              out     -1 if the point lies in the cell, else 0
 *   status              out     always 0
 *
 * Returns 0. An incomplete cell leaves flatPoint as it is, with inside 0.
 */
DRAPE_API int32_t uzfttp(const double* points, const double* directions, const int32_t* pointIndex,
                         const int32_t* cell, const void* link3, const int32_t* link1, const void* link2,
                         const int32_t* link4, const void* spareA, const void* spareB, const double* nodePos,
                         const double* nodeFlat, const void* spareC, const void* nodeCount, double* flatPoint,
                         int32_t* inside, int32_t* status);

/* Where a line meets the plane of three points, in that plane's coordinates.
 *
 *   point, direction        in   3 doubles each: the line
 *   origin, uPoint, vPoint  in   3 doubles each: the plane
 *   s, t                    out  meeting point = origin + s (uPoint - origin) + t (vPoint - origin);
 *                                infinite or not a number for a line along the plane
 *
 * Always returns 0.
 */
DRAPE_API int32_t npprtr(const double* point, const double* direction, const double* origin,
                         const double* uPoint, const double* vPoint, double* s, double* t);

/* Second try for a curve point whose cell turned out wrong.
 *
 *   points, directions   in      3 doubles each per curve point
 *   pointIndex           in      point to carry
 *   link3 .. nodeCount   in      grid, in the order given; link3, link2, nodeStatus and the spare
 *                                arguments are never read
 *   flatOut              in/out  2 doubles per curve point: the point's own is written
 *   cellOf               in/out  1 int32 per curve point: the point's own is read and becomes the cell taken
 *                                instead, the nearest or the second nearest
 *   status               out     always 0
 *
 * Returns 0. Where that cell gives no position, the one of the call before stands (Determinism, above).
 */
DRAPE_API int32_t uzftte(const double* points, const double* directions, const int32_t* pointIndex,
                         const void* link3, const int32_t* link1, const void* link2, const int32_t* link4,
                         const void* spareA, const void* spareB, const void* nodeStatus,
                         const double* nodePos, const double* nodeFlat, const void* spareC,
                         const int32_t* nodeCount, double* flatOut, int32_t* cellOf, int32_t* status);

/* Rotate a closed curve by a number of points.
 *
 *   step                in      entry i takes entry i + step, round the end of the curve
 *   count               in      number of points
 *   points, directions  in/out  3 doubles each per point
 *   status              out     0 or a code
 *
 * Returns 1 with 301 or 302 for want of a work array; points, or both, are unchanged then.
 */
DRAPE_API int32_t uzftrt(const int32_t* step, const int32_t* count, double* points, double* directions,
                         int32_t* status);

#ifdef __cplusplus
}
#endif

#endif
