/* Drapes a unit square with cells of 0.1 and prints what came of it. */
#include <drape.h>
#include <stdio.h>

enum { CAPACITY = 1000 };
static int32_t link1[CAPACITY], link2[CAPACITY], link3[CAPACITY], link4[CAPACITY];
static int32_t nodeI[CAPACITY], nodeJ[CAPACITY], nodeStatus[CAPACITY], nodeTri[CAPACITY];
static double nodePos[3 * CAPACITY], nodeFlat[2 * CAPACITY], nodeNormal[3 * CAPACITY];

int main(void) {
    /* Four corners, two triangles, and for each corner the triangles around it. Numbers count from 1. */
    const double vertPos[] = {0, 0, 0, 1, 0, 0, 1, 1, 0, 0, 1, 0};
    const int32_t triVerts[] = {1, 2, 3, 1, 3, 4}, vertBoundary[] = {1, 1, 1, 1};
    const int32_t vertTriStart[] = {0, 2, 3, 5}, vertTriList[] = {1, 2, 1, 1, 2, 2};
    const int32_t triCount = 2, vertCount = 4, vertTriCount = 6, capacity = CAPACITY, byGridLine = 1,
                  none = 0;
    const double seed[] = {0.55, 0.45, 0}, warp[] = {1, 0, 0}, weft[] = {0, 1, 0}, step = 0.1,
                 tolerance = 1e-6;
    int32_t nodeCount, status, onSurface = 0;

    gzprp2(seed, warp, weft, &step, &step, link3, link1, link2, link4, nodeI, nodeJ, nodeStatus, nodeTri,
           nodePos, nodeFlat, nodeNormal, &capacity, &none, &triCount, &vertCount, &vertTriCount,
           vertTriStart, vertTriList, triVerts, vertPos, vertBoundary, &nodeCount, &tolerance, &byGridLine,
           &status);
    for (int32_t n = 0; n < nodeCount; ++n)
        onSurface += nodeStatus[n] == DRAPE_NODE_OPEN;
    printf("status %d: %d nodes, %d of them on the surface\n", status, nodeCount, onSurface);
    return status != DRAPE_OK;
}
