// The mesh as a run sees it: the caller's, renumbered along a space-filling curve.
//
// Files from scanners, mergers and partitioners hold their triangles in any order. A run goes to the same few
// triangles again and again, so it pays to copy the mesh once with neighbours side by side: what a search
// touches then lies in few cache lines, and trees over runs of numbers are tight. The corners of a triangle
// and the triangles around a vertex keep their order, since walks and ties hang on it; what hangs on the
// numbers themselves goes by the caller's.
#pragma once

#include "run/model.h"
#include "services/work_arrays.h"

namespace drape {

class InnerMesh {
public:
    // Keeps 42 bytes per triangle of a usual mesh. `work` has room for workRoom() doubles. `innerTriangles`
    // and `innerVertices`, with room for one number per triangle and vertex of the caller's, become the new
    // numbers by the old. False with a work-array code.
    bool build(const SurfaceMesh& outer, double* work, std::int32_t* innerTriangles,
               std::int32_t* innerVertices, std::int32_t& status);
    static std::int64_t workRoom(const SurfaceMesh& outer);
    void release(std::int32_t& status);

    // With the boundary of `outer`, whose chain keeps the caller's numbers.
    const SurfaceMesh& mesh() const { return mesh_; }

    // The caller's number of a triangle.
    std::int32_t outerTriangle(std::int32_t triangle) const { return outerTriangles_.data()[triangle - 1]; }

private:
    bool takeArrays(const SurfaceMesh& outer, std::int32_t& status);

    SurfaceMesh mesh_;
    WorkArray<double> positions_;
    WorkArray<std::int32_t> triVerts_, fanStarts_, fans_, outerTriangles_;
};

} // namespace drape
