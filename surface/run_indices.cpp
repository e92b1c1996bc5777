// Building and giving back what a run needs to search a large mesh.
#include "surface/run_indices.h"

namespace drape {

// The marks serve as tables of the new numbers before they serve as marks, and the tree's room as work room
// before the tree: memory that is touched for the first time costs more than what is done there.
bool RunIndices::renumber(SurfaceMesh& mesh, std::int32_t* boundaryEdges, std::int32_t& status) {
    if (!foundList_.take(mesh.triCount, status) || !marks_.take(mesh.triCount, status) ||
        !fansDone_.take(mesh.vertCount, status) ||
        !triangleTree.take(mesh.triCount, InnerMesh::workRoom(mesh), status) ||
        !innerMesh.build(mesh, triangleTree.room(), marks_.data(), fansDone_.data(), status))
        return false;
    const std::int32_t* innerTriangles = marks_.data();
    const std::int32_t* innerVertices = fansDone_.data();
    for (std::int64_t e = 0; e < mesh.boundaryCount; ++e) {
        std::int32_t* edge = boundaryEdges + 3 * e;
        edge[0] = innerTriangles[edge[0] - 1];
        edge[1] = innerVertices[edge[1] - 1];
        edge[2] = innerVertices[edge[2] - 1];
    }
    firstTriangle = innerTriangles[0];
    clear(marks_.data(), mesh.triCount);
    clear(fansDone_.data(), mesh.vertCount);
    scratch.foundList = foundList_.data();
    scratch.marks = marks_.data();
    scratch.fansDone = fansDone_.data();
    mesh = innerMesh.mesh();
    return true;
}

bool RunIndices::build(SurfaceMesh& mesh, std::int32_t* boundaryEdges, double tolerance, double reach,
                       std::int32_t& status) {
    if (!renumber(mesh, boundaryEdges, status))
        return false;
    triangleTree.build(mesh, tolerance, reach);
    return boundaryTree.build(mesh, tolerance, status);
}

void RunIndices::release(std::int32_t& status) {
    innerMesh.release(status);
    foundList_.release(status);
    marks_.release(status);
    fansDone_.release(status);
    triangleTree.release(status);
    boundaryTree.release(status);
}

std::int32_t firstBoundaryEdgeOf(std::int32_t triangle) {
    if (onFastRoad())
        return model->indices->boundaryTree.firstEdgeOf(triangle);
    for (std::int32_t e = 1; e <= model->mesh.boundaryCount; ++e)
        if (model->mesh.boundaryEdge(e).triangle == triangle)
            return e;
    return 0;
}

} // namespace drape
