// The triangles around each vertex, as one list.
#pragma once

#include "host/mesh/triangle_mesh.h"

#include <span>

namespace drape::host {

struct Fans {
    std::vector<std::int32_t>
        start; // per vertex, entries of `triangles` before its own, and one more at the end
    std::vector<std::int32_t> triangles; // 0-based, ascending around each vertex

    std::span<const std::int32_t> around(std::size_t vertex) const {
        return std::span(triangles).subspan(at(start[vertex]), at(start[vertex + 1] - start[vertex]));
    }
};

// Of any mesh; a vertex that no triangle has gets none.
Fans fansOf(const TriangleMesh& mesh);

} // namespace drape::host
