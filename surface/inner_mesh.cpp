// Renumbering: vertices along the curve, triangles as a walk from fan to fan meets them.
#include "surface/inner_mesh.h"

#include "surface/vertex_order.h"

namespace drape {
namespace {

// The walk over the vertices in their new order, which writes the new mesh as it goes.
class Renumbering {
public:
    Renumbering(const SurfaceMesh& outer, const PlacedVertex* order, std::int32_t* innerVertices,
                std::int32_t* innerTriangles, std::int32_t* outerTriangles)
        : outer_(outer), order_(order), innerVertices_(innerVertices), innerTriangles_(innerTriangles),
          outerTriangles_(outerTriangles) {}

    void run(double* positions, std::int32_t* triVerts, std::int32_t* fanStarts, std::int32_t* fans) {
        std::int32_t listed = 0;
        for (std::int32_t k = 0; k < outer_.vertCount; ++k) {
            const std::int32_t v = order_[k].vertex();
            store(positions, outer_.vertex(v), k + 1);
            fanStarts[k] = listed;
            for (std::int32_t position = outer_.fanBegin(v); position < outer_.fanEnd(v); ++position)
                fans[listed++] = numberOf(outer_.vertTriList[position], triVerts);
        }
        // Triangles that stand in no fan.
        for (std::int32_t t = 1; triangleCount_ < outer_.triCount; ++t)
            numberOf(t, triVerts);
        // In a pass of its own, where nothing waits for the vertices' new numbers.
        for (std::int64_t k = 0; k < 3 * std::int64_t{outer_.triCount}; ++k)
            triVerts[k] = innerVertices_[triVerts[k] - 1];
    }

private:
    // The number of a triangle, which gets one when it is first met.
    std::int32_t numberOf(std::int32_t triangle, std::int32_t* triVerts) {
        std::int32_t& number = innerTriangles_[triangle - 1];
        if (number == 0) {
            for (int corner = 0; corner < 3; ++corner)
                triVerts[3 * std::int64_t{triangleCount_} + corner] = outer_.vertexOf(triangle, corner);
            outerTriangles_[triangleCount_] = triangle;
            number = ++triangleCount_;
        }
        return number;
    }

    const SurfaceMesh& outer_;
    const PlacedVertex* order_;
    const std::int32_t* innerVertices_;
    std::int32_t* innerTriangles_;
    std::int32_t* outerTriangles_;
    std::int32_t triangleCount_ = 0;
};

} // namespace

bool InnerMesh::takeArrays(const SurfaceMesh& outer, std::int32_t& status) {
    return positions_.take(3 * std::int64_t{outer.vertCount}, status) &&
           triVerts_.take(3 * std::int64_t{outer.triCount}, status) &&
           fanStarts_.take(outer.vertCount, status) && fans_.take(outer.vertTriCount, status) &&
           outerTriangles_.take(outer.triCount, status);
}

bool InnerMesh::build(const SurfaceMesh& outer, std::int32_t* innerTriangles, std::int32_t* innerVertices,
                      std::int32_t& status) {
    static_assert(sizeof(PlacedVertex) == sizeof(double));
    WorkArray<double> ordered, spare;
    if (!takeArrays(outer, status) || !ordered.take(outer.vertCount, status) ||
        !spare.take(outer.vertCount, status))
        return false;
    auto* order = reinterpret_cast<PlacedVertex*>(ordered.data());
    if (!orderVertices(outer, order, reinterpret_cast<PlacedVertex*>(spare.data()), status))
        return false;
    for (std::int32_t k = 0; k < outer.vertCount; ++k)
        innerVertices[order[k].vertex() - 1] = k + 1;
    clear(innerTriangles, outer.triCount);
    Renumbering(outer, order, innerVertices, innerTriangles, outerTriangles_.data())
        .run(positions_.data(), triVerts_.data(), fanStarts_.data(), fans_.data());
    mesh_ = outer;
    mesh_.vertPos = positions_.data();
    mesh_.triVerts = triVerts_.data();
    mesh_.vertTriStart = fanStarts_.data();
    mesh_.vertTriList = fans_.data();
    mesh_.vertTriCount = outer.vertTriCount - outer.fanBegin(1);
    ordered.release(status);
    spare.release(status);
    return status == DRAPE_OK;
}

void InnerMesh::release(std::int32_t& status) {
    positions_.release(status);
    triVerts_.release(status);
    fanStarts_.release(status);
    fans_.release(status);
    outerTriangles_.release(status);
}

} // namespace drape
