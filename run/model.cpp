// Registration of the model: values are copied, arrays and counters stay with the caller.
#include "run/model.h"

namespace drape {

namespace {

constinit Model processModel;

} // namespace

constinit thread_local Model* model = &processModel;

} // namespace drape

using namespace drape;

extern "C" void npinco(const double* seedPoint, const double* seedDirA, const double* seedDirB,
                       const double* stepA, const double* stepB, int32_t* frontTable, int32_t* frontCount,
                       int32_t* link3, int32_t* link1, int32_t* link2, int32_t* link4, int32_t* nodeI,
                       int32_t* nodeJ, int32_t* nodeStatus, int32_t* nodeTri, double* nodePos,
                       double* nodeFlat, double* nodeNormal, const int32_t* nodeCapacity, int32_t* nodeCount,
                       const int32_t* triCount, const int32_t* vertCount, const int32_t* vertTriCount,
                       const int32_t* vertTriStart, const int32_t* vertTriList, const int32_t* triVerts,
                       const double* vertPos, const int32_t* boundaryCount, int32_t* boundaryEdges,
                       double* boundaryNormals, const int32_t* pivotByGridLine, const double* tolerance) {
    Model m;
    m.seedPoint = load(seedPoint);
    m.seedDirA = load(seedDirA);
    m.seedDirB = load(seedDirB);
    m.stepA = *stepA;
    m.stepB = *stepB;
    m.fronts = reinterpret_cast<FrontRecord*>(frontTable);
    m.frontCount = frontCount;
    m.links[DRAPE_DIRECTION_1] = link1;
    m.links[DRAPE_DIRECTION_2] = link2;
    m.links[DRAPE_DIRECTION_3] = link3;
    m.links[DRAPE_DIRECTION_4] = link4;
    m.nodeI = nodeI;
    m.nodeJ = nodeJ;
    m.nodeStatus = nodeStatus;
    m.nodeTri = nodeTri;
    m.nodePos = nodePos;
    m.nodeFlat = nodeFlat;
    m.nodeNormal = nodeNormal;
    m.nodeCapacity = *nodeCapacity;
    m.nodeCount = nodeCount;
    m.mesh = {*triCount, *vertCount, *vertTriCount,  vertTriStart,  vertTriList,
              triVerts,  vertPos,    *boundaryCount, boundaryEdges, boundaryNormals};
    m.pivotByGridLine = *pivotByGridLine;
    m.tolerance = *tolerance;
    *model = m;
}
