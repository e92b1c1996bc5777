/* drape.h: the one public header of Drape. */
#ifndef DRAPE_H
#define DRAPE_H

#include <stdint.h>

#if defined(_WIN32)
#define DRAPE_API
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

/* Node statuses. */
enum {
    DRAPE_NODE_OPEN = 0,        /* on the surface, a further row can start here */
    DRAPE_NODE_CLOSED = -1,     /* off the surface, beyond its boundary, or closed by a repair */
    DRAPE_NODE_ACROSS_GAP = -2, /* reachable along its row, but its back link crosses the boundary twice */
    DRAPE_NODE_CUT = -3,        /* front node at which a repair has cut the front */
    DRAPE_NODE_UNDECIDED = -10  /* only inside one classification, never seen outside it */
};

/* Location codes on a triangle A, B, C. */
enum {
    DRAPE_AT_NOWHERE = 0,
    DRAPE_AT_VERTEX_A = 1,
    DRAPE_AT_VERTEX_B = 2,
    DRAPE_AT_VERTEX_C = 3,
    DRAPE_ON_EDGE_AB = 4,
    DRAPE_ON_EDGE_BC = 5,
    DRAPE_ON_EDGE_CA = 6,
    DRAPE_IN_INTERIOR = 7
};

/* Fields of a front record, 0-based offsets into its ten int32. */
enum {
    DRAPE_FRONT_DIRECTION = 0,
    DRAPE_FRONT_FIRST_NODE = 1,
    DRAPE_FRONT_LENGTH = 2,
    DRAPE_FRONT_PIVOT_REQUEST = 3,
    DRAPE_FRONT_STEP_MODE = 4,
    DRAPE_FRONT_HOLD_COUNT = 5,
    DRAPE_FRONT_SIDE_FLAG = 6,
    DRAPE_FRONT_FIELDS = 10
};

/* Fields of a defect record, 0-based offsets into its five int32. */
enum {
    DRAPE_DEFECT_KIND = 0,
    DRAPE_DEFECT_NODE = 1,
    DRAPE_DEFECT_TWIN = 2,
    DRAPE_DEFECT_NEXT_NODE = 3,
    DRAPE_DEFECT_FIELDS = 5
};

/* Fields of a corner record, 0-based offsets into its seven int32. */
enum {
    DRAPE_CORNER_NEW_DIRECTION = 0,
    DRAPE_CORNER_BACK_NODE = 1,
    DRAPE_CORNER_PRIOR_NODE = 2,
    DRAPE_CORNER_KIND = 3,
    DRAPE_CORNER_FIRST_NODE = 4,
    DRAPE_CORNER_LAST_NODE = 5,
    DRAPE_CORNER_FRONT_INDEX = 6,
    DRAPE_CORNER_FIELDS = 7
};

/* Status codes. */
enum {
    DRAPE_OK = 0,
    DRAPE_BAD_ROW_DIRECTION = 1,
    DRAPE_ROW_LINK_MISSING = 2,
    DRAPE_BOUNDARY_CANDIDATES_FULL = 3,
    DRAPE_BOUNDARY_NOT_CLOSED = 4,
    DRAPE_PASS_ARRAY_HELD = 5,
    DRAPE_RULING_ALONG_SEGMENT = 9,
    DRAPE_BAD_FRONT_POSITION = 10,
    DRAPE_CUT_WALK_LOST_NODE = 11,
    DRAPE_GAP_WALK_LOST_NODE = 12,
    DRAPE_NODE_NOT_COPIED = 13,
    DRAPE_DIRECTIONS_NOT_NEIGHBOURS = 14,
    DRAPE_NODES_COINCIDE = 15,
    DRAPE_CELL_FOLDS = 16,
    DRAPE_NOTHING_TO_STEP_FROM = 17,
    DRAPE_EDGE_TABLE_FULL = 18,
    DRAPE_NO_FALLBACK_HIT = 19,
    DRAPE_NO_FORWARD_HIT = 20,
    DRAPE_PIVOT_NOT_IN_ROW = 20,
    DRAPE_BAD_PREVIOUS_NODE_1 = 21,
    DRAPE_BAD_PREVIOUS_NODE_2 = 22,
    DRAPE_NODES_FULL = 23,
    DRAPE_NORMAL_NOT_UNIT = 24,
    DRAPE_TOO_MANY_CROSSINGS = 24,
    DRAPE_SOURCE_TRIANGLE_FLAT = 161,
    DRAPE_BAD_ARGUMENT = 201,
    DRAPE_BAD_MESH = 202,
    DRAPE_FRONTS_FULL = 203,
    DRAPE_NODES_NOT_NEIGHBOURS = 204,
    DRAPE_NO_CURVE_START = 205,
    DRAPE_EMPTY_CURVE_OR_GRID = 206,
    DRAPE_REPAIR_CUTS_NOTHING = 207,
    DRAPE_BROKEN_GRID_LINK = 208,
    DRAPE_NO_MEMORY = 301,
    DRAPE_BAD_ARRAY_SIZE = 302,
    DRAPE_UNKNOWN_HANDLE = 303
};

/* Host entry points. */

/* Drape a fibre grid over a surface: one call, one whole run. */
DRAPE_API int32_t gzprp2(const double* seedPoint, const double* seedDirA, const double* seedDirB,
                         const double* stepA, const double* stepB, int32_t* link3, int32_t* link1,
                         int32_t* link2, int32_t* link4, int32_t* nodeI, int32_t* nodeJ, int32_t* nodeStatus,
                         int32_t* nodeTri, double* nodePos, double* nodeFlat, double* nodeNormal,
                         const int32_t* nodeCapacity, const int32_t* reserved, const int32_t* triCount,
                         const int32_t* vertCount, const int32_t* vertTriCount, const int32_t* vertTriStart,
                         const int32_t* vertTriList, const int32_t* triVerts, const double* vertPos,
                         const int32_t* vertBoundary, int32_t* nodeCount, const double* tolerance,
                         const int32_t* pivotByGridLine, int32_t* status);

/* Carry a closed space curve onto the flat pattern of a finished grid. */
DRAPE_API int32_t gzfttc(const int32_t* link3, const int32_t* link1, const int32_t* link2,
                         const int32_t* link4, const int32_t* spareA, const int32_t* spareB,
                         const int32_t* nodeStatus, const double* nodePos, const double* nodeFlat,
                         const double* spareC, const int32_t* nodeCount, double* points, double* directions,
                         const int32_t* pointCount, double* flatOut, const int32_t* low, const int32_t* high,
                         int32_t* status);

/* Carry a point from one triangle to another. */
DRAPE_API int32_t nptfpt(const double* source, const double* target, const double* point, double* mapped,
                         int32_t* status);

/* Put the items of a directed graph in level order. */
DRAPE_API int32_t gz0zorc(const int32_t* reserved1, const int32_t* reserved2, const int32_t* start,
                          const int32_t* count, int32_t* inDegree, const int32_t* successorCount,
                          const int32_t* successors, int32_t* orderedCount, int32_t* order, int32_t* status);

/* Run set-up and store. */

/* Register the model of one run. */
DRAPE_API void npinco(const double* seedPoint, const double* seedDirA, const double* seedDirB,
                      const double* stepA, const double* stepB, int32_t* frontTable, int32_t* frontCount,
                      int32_t* link3, int32_t* link1, int32_t* link2, int32_t* link4, int32_t* nodeI,
                      int32_t* nodeJ, int32_t* nodeStatus, int32_t* nodeTri, double* nodePos,
                      double* nodeFlat, double* nodeNormal, const int32_t* nodeCapacity, int32_t* nodeCount,
                      const int32_t* triCount, const int32_t* vertCount, const int32_t* vertTriCount,
                      const int32_t* vertTriStart, const int32_t* vertTriList, const int32_t* triVerts,
                      const double* vertPos, const int32_t* boundaryCount, int32_t* boundaryEdges,
                      double* boundaryNormals, const int32_t* pivotByGridLine, const double* tolerance);

/* Store a new node and wire its links. */
DRAPE_API int32_t uzprsp(const double* position, const double* normal, const int32_t* triangle,
                         const int32_t* linkCount, const int32_t* direction1, const int32_t* prevNode1,
                         const int32_t* direction2, const int32_t* prevNode2, int32_t* status);

/* Duplicate a node. */
DRAPE_API int32_t uzprcp(const int32_t* node, int32_t* status);

/* Insert a record into the front table. */
DRAPE_API int32_t uzpraf(const int32_t* record, const int32_t* position, int32_t* status);

/* Remove a record from the front table. */
DRAPE_API int32_t uzprrf(const int32_t* position, int32_t* status);

/* Drop the row that a front has just built. */
DRAPE_API void uzprap(const int32_t* position);

/* Vectors. */

/* Unit cross product of two vectors. */
DRAPE_API void parbisfortran(const double* a, const double* b, double* result, const int32_t* dimension);

/* Surface queries. */

/* Walk the surface boundary into one closed chain. */
DRAPE_API int32_t gzprel(const int32_t* vertBoundary, const int32_t* triCount, const int32_t* vertCount,
                         const int32_t* vertTriCount, const int32_t* vertTriStart, const int32_t* vertTriList,
                         const int32_t* triVerts, const double* vertPos, int32_t* boundaryCount,
                         int32_t* boundaryEdges, double* boundaryNormals, int32_t* status);

/* Distance from a point to a triangle, and the nearest feature. */
DRAPE_API void npdmpe(const double* point, const double* vertexA, const double* vertexB,
                      const double* vertexC, const double* tolerance, double* distance, int32_t* location);

/* The point common to three planes. */
DRAPE_API void npx3pl(const double* point1, const double* normal1, const double* point2,
                      const double* normal2, const double* point3, const double* normal3,
                      const double* threshold, double* solution, int32_t* singular);

/* Cut a circle in space against a triangle. */
DRAPE_API int32_t npxctr(const double* centre, const double* axis, const double* radius,
                         const double* vertexA, const double* vertexB, const double* vertexC,
                         const double* tolerance, const int32_t* clipMode, int32_t* hitCount,
                         double* hitPoints, int32_t* hitKinds, int32_t* singular);

/* Choose the point where a circle meets the listed triangles furthest forward. */
DRAPE_API int32_t uzprcm(const double* centre, const double* planeNormal, double* forward,
                         const double* radius, const double* backPoint, const int32_t* foundList,
                         const int32_t* foundCount, const double* tolerance, double* point, double* normal,
                         int32_t* triangle, int32_t* status);

/* Node placement. */

/* Place a point in the plane of the nearest boundary triangle. */
DRAPE_API int32_t uzprpf(const double* centre, const double* planeNormal, const double* forward,
                         const double* radius, const double* backPoint, const int32_t* foundCount,
                         const int32_t* foundList, const double* tolerance, double* point, double* normal,
                         int32_t* status);

/* Fill a row to one side of its pivot. */
DRAPE_API int32_t uzprdf(const int32_t* nodes, const int32_t* pivotIndex, const int32_t* length,
                         const int32_t* direction, const int32_t* walkDirection, int32_t* work,
                         int32_t* rowRecord, int32_t* status);

/* Step one node straight forward. */
DRAPE_API int32_t uzprmo(const int32_t* node, const int32_t* direction, const int32_t* stepMode,
                         int32_t* work, int32_t* status);

/* Row building. */

/* Choose the pivot of a row by its least sheared cell. */
DRAPE_API int32_t uzprpi(const int32_t* nodes, const int32_t* length, const int32_t* direction,
                         const int32_t* pivotRequest, int32_t* pivotIndex, int32_t* status);

/* Build the next row of a front. */
DRAPE_API int32_t gzprnf(const int32_t* frontIndex, int32_t* work, int32_t* rowRecord, int32_t* status);

/* Count the boundary crossings of every cell edge of a row. */
DRAPE_API int32_t gzpric(const int32_t* rowRecord, int32_t* rowNodes, int32_t* rowCrossings,
                         int32_t* backCrossings, int32_t* status);

/* Count the crossings of one segment with the boundary chain. */
DRAPE_API int32_t uzprxb(const double* pointA, const double* pointB, const double* cellStep,
                         const int32_t* offSurface, int32_t* count, int32_t* status);

/* Find the hits of one segment on the strip over one boundary edge. */
DRAPE_API int32_t npxseb(const double* pointA, const double* pointB, const double* edgeStart,
                         const double* startNormal, const double* edgeEnd, const double* endNormal,
                         const double* tolerance, int32_t* hitCount, double* hitDistance, int32_t* hitKinds,
                         int32_t* status);

/* Give the nodes of a row their status. */
DRAPE_API int32_t gzprip(const int32_t* rowRecord, const int32_t* sideFlag, const int32_t* rowCrossings,
                         const int32_t* backCrossings, int32_t* status);

/* Build, test and classify the next row of a front. */
DRAPE_API int32_t gzprpf(const int32_t* frontIndex, int32_t* rowRecord, int32_t* rowNodes,
                         int32_t* rowCrossings, int32_t* backCrossings, int32_t* status);

/* Front maintenance. */

/* Extend a front along its row. */
DRAPE_API int32_t gzpref(int32_t* front, int32_t* status);

/* Find the first defect of a row. */
DRAPE_API int32_t gzprde(const int32_t* rowRecord, const int32_t* rowCrossings, int32_t* defectFlag,
                         int32_t* defectRecord, int32_t* status);

/* Try a row by straight steps, examine it and take it away again. */
DRAPE_API int32_t gzprre(const int32_t* frontIndex, int32_t* defectFlag, int32_t* defectRecord,
                         int32_t* status);

/* Build and classify a trial row. */
DRAPE_API int32_t gzprfm(const int32_t* frontIndex, int32_t* rowRecord, int32_t* rowNodes,
                         int32_t* rowCrossings, int32_t* backCrossings, int32_t* status);

/* Repair a front whose row has a defect. */
DRAPE_API int32_t gzprge(int32_t* frontIndex, int32_t* defectCount, int32_t* defects, int32_t* status);

/* Cut a front at defects of kinds 1 and 2. */
DRAPE_API int32_t uzprce(int32_t* frontIndex, int32_t* defectCount, int32_t* defects, int32_t* status);

/* Cut a front at defects of kinds 3 and 4. */
DRAPE_API int32_t uzprcl(int32_t* frontIndex, int32_t* defectCount, int32_t* defects, int32_t* status);

/* Make the twin of a node that opens a second piece of its row. */
DRAPE_API int32_t uzprdp(const int32_t* node, const int32_t* direction, int32_t* status);

/* Cut a finished row into new fronts. */
DRAPE_API int32_t gzprgf(const int32_t* rowRecord, int32_t* frontIndex, const int32_t* rowCrossings,
                         int32_t* status);

/* Look for corners at the two ends of a front. */
DRAPE_API int32_t gzprld(const int32_t* rowNodes, const int32_t* rowCrossings, const int32_t* backCrossings,
                         const int32_t* rowLength, const int32_t* frontIndex, int32_t* corners,
                         int32_t* cornerCount, int32_t* status);

/* Open a short sideways front at each corner. */
DRAPE_API int32_t gzprlc(const int32_t* corners, const int32_t* cornerCount, int32_t* status);

/* Double the edge between two neighbouring nodes. */
DRAPE_API int32_t uzprds(const int32_t* nodeA, const int32_t* nodeB, int32_t* status);

/* Curve transfer. */

/* The nearest and the second nearest cell of a point. */
DRAPE_API int32_t uzftpq(const double* point, const int32_t* link3, const int32_t* link1,
                         const int32_t* link2, const int32_t* link4, const int32_t* nodeStatus,
                         const double* nodePos, const int32_t* nodeCount, int32_t* nearest, int32_t* second,
                         int32_t* status);

/* The four nearest cells of a point. */
DRAPE_API int32_t uzftp2(const double* point, const int32_t* link3, const int32_t* link1,
                         const int32_t* link2, const int32_t* link4, const int32_t* nodeStatus,
                         const double* nodePos, const int32_t* nodeCount, int32_t* ranks, int32_t* status);

/* Walk from a known cell to the cell of a curve point. */
DRAPE_API int32_t uzftcq(const double* points, const int32_t* pointIndex, const int32_t* startCell,
                         const int32_t* link3, const int32_t* link1, const int32_t* link2,
                         const int32_t* link4, const int32_t* nodeStatus, const double* nodePos,
                         const int32_t* nodeCount, int32_t* foundCell, int32_t* thirdFlag, const int32_t* low,
                         const int32_t* high, int32_t* status);

/* Carry a curve point into the flat pattern through a given cell. */
DRAPE_API int32_t uzfttp(const double* points, const double* directions, const int32_t* pointIndex,
                         const int32_t* cell, const int32_t* link3, const int32_t* link1,
                         const int32_t* link2, const int32_t* link4, const int32_t* spareA,
                         const int32_t* spareB, const double* nodePos, const double* nodeFlat,
                         const double* spareC, const int32_t* nodeCount, double* flatPoint, int32_t* inside,
                         int32_t* status);

/* Where a line meets the plane of three points, in that plane's coordinates. */
DRAPE_API int32_t npprtr(const double* point, const double* direction, const double* origin,
                         const double* uPoint, const double* vPoint, double* s, double* t);

/* Second try for a curve point whose cell turned out wrong. */
DRAPE_API int32_t uzftte(const double* points, const double* directions, const int32_t* pointIndex,
                         const int32_t* link3, const int32_t* link1, const int32_t* link2,
                         const int32_t* link4, const int32_t* spareA, const int32_t* spareB,
                         const int32_t* nodeStatus, const double* nodePos, const double* nodeFlat,
                         const double* spareC, const int32_t* nodeCount, double* flatOut, int32_t* cellOf,
                         int32_t* status);

/* Rotate a closed curve by a number of points. */
DRAPE_API int32_t uzftrt(const int32_t* step, const int32_t* count, double* points, double* directions,
                         int32_t* status);

#ifdef __cplusplus
}
#endif

#endif
