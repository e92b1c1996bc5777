#include "rows/near_edges.h"

#include "surface/run_indices.h"

namespace drape {

void NearEdges::add(std::int32_t edge, const Box& box) {
    const int lane = count_ % PAIR;
    BoxPair& pair = boxes_[count_ / PAIR];
    const double low[] = {box.low.x, box.low.y, box.low.z};
    const double high[] = {box.high.x, box.high.y, box.high.z};
    for (int c = 0; c < 3; ++c) {
        if (lane == 0) { // the other overlaps nothing
            pair.low[c] = pairOf(low[c], margins::ENDLESS);
            pair.high[c] = pairOf(high[c], -margins::ENDLESS);
            continue;
        }
        pair.low[c][lane] = low[c];
        pair.high[c][lane] = high[c];
    }
    edges_[count_++] = edge;
}

bool NearEdges::gather(const Box& box) {
    count_ = 0;
    bool fits = true;
    const SurfaceMesh& mesh = model->mesh;
    forEachBoundaryEdgeNear(box, [&](std::int32_t e) {
        const BoundaryEdge edge = mesh.boundaryEdge(e);
        const Vec3 p = mesh.vertex(edge.start), q = mesh.vertex(edge.end);
        Box own = Box{p, p};
        own.include(q);
        if (!own.overlaps(box))
            return true;
        fits = count_ < LARGEST;
        if (fits)
            add(e, own);
        return fits;
    });
    return fits;
}

} // namespace drape
