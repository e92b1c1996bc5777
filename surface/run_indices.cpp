// Building and giving back what a run needs to search a large mesh.
#include "surface/run_indices.h"

namespace drape {

bool RunIndices::takeScratch(const SurfaceMesh& mesh, std::int32_t& status) {
    if (!foundList_.take(mesh.triCount, status) || !marks_.take(mesh.triCount, status) ||
        !fansDone_.take(mesh.vertCount, status))
        return false;
    clear(marks_.data(), mesh.triCount);
    clear(fansDone_.data(), mesh.vertCount);
    scratch.foundList = foundList_.data();
    scratch.marks = marks_.data();
    scratch.fansDone = fansDone_.data();
    return true;
}

bool RunIndices::build(const SurfaceMesh& mesh, double tolerance, double reach, std::int32_t& status) {
    return takeScratch(mesh, status) && triangleBounds.build(mesh, tolerance, status) &&
           triangleTree.build(mesh, tolerance, reach, status) && boundaryTree.build(mesh, tolerance, status);
}

void RunIndices::release(std::int32_t& status) {
    foundList_.release(status);
    marks_.release(status);
    fansDone_.release(status);
    triangleBounds.release(status);
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
