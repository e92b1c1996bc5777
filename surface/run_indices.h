// The indices of a run, and the choice between its fast road and the plain one.
//
// A run answers its questions by indices that it builds once; an operation called by itself answers the same
// questions by a full pass over the mesh or the boundary, with the same result. Which of the two it is, is
// decided here and nowhere else, by whether the present model has indices.
#pragma once

#include "run/model.h"
#include "services/work_arrays.h"
#include "surface/boundary_tree.h"
#include "surface/inner_mesh.h"
#include "surface/search_scratch.h"
#include "surface/triangle_bounds.h"
#include "surface/triangle_tree.h"

namespace drape {

struct RunIndices {
    // Puts the renumbered mesh in the place of `mesh` and its numbers into the chain, which stands in
    // `boundaryEdges`. `reach` bounds the radius of all circles. False with a work-array code.
    bool build(SurfaceMesh& mesh, std::int32_t* boundaryEdges, double tolerance, double reach,
               std::int32_t& status);
    // The last failing release wins.
    void release(std::int32_t& status);

    InnerMesh innerMesh;
    std::int32_t firstTriangle = 0; // number 1 of the caller
    TriangleTree triangleTree;
    BoundaryTree boundaryTree;
    SearchScratch scratch;

private:
    bool renumber(SurfaceMesh& mesh, std::int32_t* boundaryEdges, std::int32_t& status);

    WorkArray<std::int32_t> foundList_, marks_, fansDone_;
};

inline bool onFastRoad() {
    return model->indices != nullptr;
}

// Whether there is a tree of triangles: not on the plain road, nor for meshes that it can't bound.
inline bool hasTriangleTree() {
    return onFastRoad() && model->indices->triangleTree.usable();
}

// What no triangle's distance is off by more, at the origin; not bound on the plain road.
inline margins::DistanceSlack largestSlack() {
    return onFastRoad() ? model->indices->triangleTree.largestSlack() : margins::DistanceSlack{};
}

// Calls visit(edge) in ascending order for all boundary edges that can overlap `box`, until it returns false.
template <class Visit>
void forEachBoundaryEdgeNear(const Box& box, Visit visit) {
    if (onFastRoad()) {
        model->indices->boundaryTree.forEachNear(box, visit);
        return;
    }
    for (std::int32_t e = 1; e <= model->mesh.boundaryCount; ++e)
        if (!visit(e))
            return;
}

// The first edge of the chain whose triangle is `triangle`, 0 if there is none.
std::int32_t firstBoundaryEdgeOf(std::int32_t triangle);

// The edge of the chain with the least distanceTo(edge), which is the distance from `point` to its triangle;
// the first of equals. The chain has at least one edge.
template <class Distance>
std::int32_t nearestBoundaryEdge(const Vec3& point, Distance distanceTo) {
    if (onFastRoad())
        return model->indices->boundaryTree.nearest(point, distanceTo);
    std::int32_t nearest = 1;
    double best = distanceTo(1);
    for (std::int32_t e = 2; e <= model->mesh.boundaryCount; ++e) {
        const double distance = distanceTo(e);
        if (distance < best) {
            best = distance;
            nearest = e;
        }
    }
    return nearest;
}

// Calls search(scratch) with the scratch of the run, or else with one in a work array that is held meanwhile.
// False with a code in `status` if that can't be had; a failing release puts its code in `released`.
template <class Search>
bool withScratch(Search search, std::int32_t& status, std::int32_t& released) {
    if (onFastRoad())
        return search(model->indices->scratch);
    WorkArray<std::int32_t> work;
    if (!work.take(2 * std::int64_t{model->mesh.triCount}, status))
        return false;
    SearchScratch scratch(work.data());
    const bool done = search(scratch);
    work.release(released);
    return done;
}

} // namespace drape
