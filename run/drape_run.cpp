// The run: from the caller's mesh and seed to the finished grid.
//
// The run takes its work arrays, registers the model, walks the boundary, builds the indices that make its
// searches independent of the size of the mesh, stores the seed and opens one front in each direction. Then
// the front loop does the rest. The caller keeps all nodes made, whatever ends the run.
#include "run/front_loop.h"
#include "run/input_check.h"
#include "run/model.h"
#include "services/work_arrays.h"
#include "surface/boundary_chain.h"
#include "surface/flatness.h"
#include "surface/point_triangle.h"
#include "surface/run_indices.h"

#include <algorithm>

namespace drape {
namespace {

// Everything that a run holds beyond the caller's arrays.
struct RunArrays {
    WorkArray<std::int32_t> fronts;
    WorkArray<std::int32_t> boundaryEdges;
    WorkArray<double> boundaryNormals;
    RunIndices indices;

    // Whatever is written there is written before it is read, so none of these needs clearing.
    bool takeTables(std::int32_t nodeCapacity, std::int32_t vertCount, std::int32_t& status) {
        return fronts.take(std::int64_t{nodeCapacity} * DRAPE_FRONT_FIELDS, status) &&
               boundaryEdges.take(3 * std::int64_t{vertCount}, status) &&
               boundaryNormals.take(3 * std::int64_t{vertCount}, status);
    }

    // The last failing release wins.
    void release(std::int32_t& status) {
        fronts.release(status);
        boundaryEdges.release(status);
        boundaryNormals.release(status);
        indices.release(status);
    }
};

double distanceFromSeed(std::int32_t triangle) {
    const SurfaceMesh& mesh = model->mesh;
    return distanceToTriangle(model->seedPoint, mesh.corner(triangle, 0), mesh.corner(triangle, 1),
                              mesh.corner(triangle, 2), model->tolerance)
        .distance;
}

// The first of the triangles nearest to the seed, by the caller's numbers.
std::int32_t seedTriangle(const RunIndices& indices) {
    std::int32_t nearest = indices.firstTriangle;
    double best = distanceFromSeed(nearest);
    if (best != best)
        return nearest; // not a number: nothing is strictly nearer
    indices.triangleTree.forEachWithin(model->seedPoint, best, [&](std::int32_t t) {
        if (BoundedTriangle(model->mesh, t).distanceBelow(model->seedPoint, model->tolerance) > best)
            return;
        const double distance = distanceFromSeed(t);
        if (distance < best || (distance == best && indices.innerMesh.outerTriangle(t) <
                                                        indices.innerMesh.outerTriangle(nearest))) {
            nearest = t;
            best = distance;
        }
    });
    return nearest;
}

bool storeSeed(const RunIndices& indices, std::int32_t& status) {
    const SurfaceMesh& mesh = model->mesh;
    const std::int32_t triangle = seedTriangle(indices);
    const Vec3 a = mesh.corner(triangle, 0);
    const Vec3 b = mesh.corner(triangle, 1);
    const Vec3 c = mesh.corner(triangle, 2);
    Vec3 normal = unitNormal(b - a, c - b);
    if (enclosesNothing(b - a, c - a, parvis(b - a, c - a)))
        normal = 0.0 * normal; // which the store refuses
    *model->nodeCount = 0;
    if (!storeNode(model->seedPoint, normal, triangle, 0, {}, {}, status))
        return false;
    model->setStatus(1, DRAPE_NODE_OPEN);
    return true;
}

void openSeedFronts() {
    *model->frontCount = 4;
    for (std::int32_t d = 1; d <= 4; ++d) {
        FrontRecord front;
        front.direction = d;
        front.firstNode = 1;
        front.length = 1;
        model->front(d) = front;
    }
}

// A finished grid knows open and closed nodes only.
void closeMarkedNodes() {
    for (std::int32_t n = 1; n <= *model->nodeCount; ++n) {
        std::int32_t& status = model->nodeStatus[n - 1];
        if (status == DRAPE_NODE_ACROSS_GAP || status == DRAPE_NODE_CUT)
            status = DRAPE_NODE_CLOSED;
    }
}

// The run's triangle numbers back into the caller's, whatever ended the run.
void restoreTriangleNumbers(const InnerMesh& innerMesh) {
    for (std::int32_t n = 1; n <= model->trianglesWritten; ++n) {
        std::int32_t& triangle = model->nodeTri[n - 1];
        if (triangle != 0)
            triangle = innerMesh.outerTriangle(triangle);
    }
}

LoopEnd runOnMesh(const RunIndices& indices, std::int32_t& status) {
    if (!storeSeed(indices, status))
        return LoopEnd::stopped;
    openSeedFronts();
    const LoopEnd end = runFrontLoop(status);
    if (end == LoopEnd::tableEmpty)
        closeMarkedNodes();
    return end;
}

LoopEnd runOnModel(RunArrays& arrays, const std::int32_t* vertBoundary, std::int32_t& status) {
    if (!walkBoundary(model->mesh, vertBoundary, model->mesh.boundaryCount, arrays.boundaryEdges.data(),
                      arrays.boundaryNormals.data(), status) ||
        !arrays.indices.build(model->mesh, arrays.boundaryEdges.data(), model->tolerance,
                              std::max(model->stepA, model->stepB), status))
        return LoopEnd::stopped;
    model->indices = &arrays.indices;
    const LoopEnd end = runOnMesh(arrays.indices, status);
    restoreTriangleNumbers(arrays.indices.innerMesh);
    return end;
}

} // namespace
} // namespace drape

using namespace drape;

extern "C" int32_t gzprp2(const double* seedPoint, const double* seedDirA, const double* seedDirB,
                          const double* stepA, const double* stepB, int32_t* link3, int32_t* link1,
                          int32_t* link2, int32_t* link4, int32_t* nodeI, int32_t* nodeJ, int32_t* nodeStatus,
                          int32_t* nodeTri, double* nodePos, double* nodeFlat, double* nodeNormal,
                          const int32_t* nodeCapacity, const void*, const int32_t* triCount,
                          const int32_t* vertCount, const int32_t* vertTriCount, const int32_t* vertTriStart,
                          const int32_t* vertTriList, const int32_t* triVerts, const double* vertPos,
                          const int32_t* vertBoundary, int32_t* nodeCount, const double* tolerance,
                          const int32_t* pivotByGridLine, int32_t* status) {
    *status = DRAPE_OK;
    SurfaceMesh mesh{*triCount, *vertCount, *vertTriCount, vertTriStart, vertTriList, triVerts, vertPos};
    *status = checkRunInput(seedPoint, seedDirA, seedDirB, *stepA, *stepB, *tolerance, *nodeCapacity, mesh);
    if (*status != DRAPE_OK) {
        *nodeCount = 0;
        return 0;
    }

    RunArrays arrays;
    LoopEnd end = LoopEnd::stopped;
    if (arrays.takeTables(*nodeCapacity, *vertCount, *status)) {
        const OwnModel own;
        std::int32_t frontCount = 0;
        const std::int32_t boundaryRoom = *vertCount;
        npinco(seedPoint, seedDirA, seedDirB, stepA, stepB, arrays.fronts.data(), &frontCount, link3, link1,
               link2, link4, nodeI, nodeJ, nodeStatus, nodeTri, nodePos, nodeFlat, nodeNormal, nodeCapacity,
               nodeCount, triCount, vertCount, vertTriCount, vertTriStart, vertTriList, triVerts, vertPos,
               &boundaryRoom, arrays.boundaryEdges.data(), arrays.boundaryNormals.data(), pivotByGridLine,
               tolerance);
        end = runOnModel(arrays, vertBoundary, *status);
    }
    if (end == LoopEnd::passArrayHeld)
        return 1;
    arrays.release(*status);
    return 0;
}
