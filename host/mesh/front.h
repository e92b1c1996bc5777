// A wave front over a surface: how far every vertex lies from a start, as measured along the surface. Built
// once for a mesh, and sent out as often as is wanted.
#pragma once

#include "host/mesh/surface_point.h"

#include <limits>

namespace drape::host {

class Front {
public:
    // `mesh` must outlive the front.
    explicit Front(const TriangleMesh& mesh);

    // Per vertex, its distance from `from` in the mesh's unit; infinite on other pieces. Never below the true
    // distance by more than rounding, and above it by a percent or so on a fair mesh. Beyond `farthest`
    // nothing is worked out, and what stands there is no distance but lies above it.
    std::vector<double> distancesFrom(const SurfacePoint& from,
                                      double farthest = std::numeric_limits<double>::infinity()) const;

    // The same from the nearest of several vertices, 0-based.
    std::vector<double> distancesFrom(const std::vector<std::int32_t>& vertices) const;

private:
    // The other two corners of a triangle around a vertex, 0-based, in the triangle's sense.
    struct Corners {
        std::int32_t next, last;
    };
    struct Start {
        std::int32_t vertex;
        double distance;
    };

    std::vector<double> run(const std::vector<Start>& starts, double farthest) const;

    const TriangleMesh& mesh_;
    std::vector<std::int32_t> start_; // per vertex, entries of `corners_` before its own, and one more
    std::vector<Corners> corners_;    // of the triangles around each vertex, in their order
    double layer_ = 0.0;              // width of a layer of the queue, in the mesh's unit
};

} // namespace drape::host
