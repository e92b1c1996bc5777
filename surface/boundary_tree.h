// The boundary chain as a tree of boxes.
//
// Consecutive edges of the chain lie side by side in space, so boxes over runs of edges in chain order make
// a tight hierarchy without any sorting, and going through it from left to right meets the edges in chain
// order, as a full pass would.
#pragma once

#include "run/model.h"
#include "services/work_arrays.h"
#include "surface/box.h"

#include <algorithm>
#include <limits>

namespace drape {

class BoundaryTree {
public:
    bool build(const SurfaceMesh& mesh, double tolerance, std::int32_t& status);
    void release(std::int32_t& status);

    // The first boundary edge of a triangle in chain order, 0 if it has none.
    std::int32_t firstEdgeOf(std::int32_t triangle) const { return firstEdge_.data()[triangle - 1]; }

    // Calls visit(edge) in ascending order for every edge whose box overlaps `box`, and perhaps for others,
    // until visit returns false.
    template <class Visit>
    void forEachNear(const Box& box, Visit visit) const {
        if (edgeCount_ == 0)
            return;
        std::int64_t pending[64];
        int depth = 0;
        pending[depth++] = 1;
        while (depth > 0) {
            const std::int64_t node = pending[--depth];
            if (!boxes_[node].overlaps(box))
                continue;
            if (node < leafCount_) {
                pending[depth++] = 2 * node + 1;
                pending[depth++] = 2 * node;
                continue;
            }
            const EdgeRun run = edgesOf(node);
            for (std::int32_t e = run.first; e <= run.last; ++e)
                if (!visit(e))
                    return;
        }
    }

    // The edge whose triangle is nearest to `point` by distanceTo(edge), the first of equals. The chain has
    // at least one edge.
    template <class Distance>
    std::int32_t nearest(const Vec3& point, Distance distanceTo) const {
        std::int32_t bestEdge = 1;
        double best = distanceTo(1);
        if (best != best)
            return bestEdge; // not a number: nothing is strictly nearer
        std::int64_t pending[64];
        int depth = 0;
        pending[depth++] = 1;
        while (depth > 0) {
            const std::int64_t node = pending[--depth];
            // Equally near boxes are opened too: an earlier edge may stand there.
            if (distanceBelow(node, point) > best)
                continue;
            if (node < leafCount_) {
                const bool leftFirst = !(distanceBelow(2 * node, point) > distanceBelow(2 * node + 1, point));
                pending[depth++] = leftFirst ? 2 * node + 1 : 2 * node;
                pending[depth++] = leftFirst ? 2 * node : 2 * node + 1;
                continue;
            }
            const EdgeRun run = edgesOf(node);
            for (std::int32_t e = run.first; e <= run.last; ++e) {
                const double distance = distanceTo(e);
                if (distance < best || (distance == best && e < bestEdge)) {
                    best = distance;
                    bestEdge = e;
                }
            }
        }
        return bestEdge;
    }

private:
    static constexpr std::int32_t EDGES_PER_LEAF = 4;

    struct EdgeRun {
        std::int32_t first, last;
    };
    EdgeRun edgesOf(std::int64_t leaf) const;
    double distanceBelow(std::int64_t node, const Vec3& point) const;
    void fillLeaf(const SurfaceMesh& mesh, std::int64_t leaf, double tolerance);

    std::int32_t edgeCount_ = 0;
    std::int64_t leafCount_ = 0; // a power of two; node k has children 2k and 2k + 1, leaves come last
    Box* boxes_ = nullptr;       // entry 0 unused
    WorkArray<double> block_;
    WorkArray<std::int32_t> firstEdge_;
};

} // namespace drape
