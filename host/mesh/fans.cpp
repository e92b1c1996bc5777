// Triangles are counted per vertex, then put in place.
#include "host/mesh/fans.h"

#include <numeric>

namespace drape::host {

Fans fansOf(const TriangleMesh& mesh) {
    Fans fans;
    fans.start.assign(mesh.positions.size() + 1, 0);
    for (const Triangle& t : mesh.triangles) {
        for (const std::int32_t v : t) {
            ++fans.start[at(v) + 1];
        }
    }
    std::partial_sum(fans.start.begin(), fans.start.end(), fans.start.begin());
    std::vector<std::int32_t> next(fans.start.begin(), fans.start.end() - 1);
    fans.triangles.resize(3 * mesh.triangles.size());
    for (std::size_t t = 0; t < mesh.triangles.size(); ++t) {
        for (const std::int32_t v : mesh.triangles[t]) {
            fans.triangles[at(next[at(v)]++)] = static_cast<std::int32_t>(t);
        }
    }
    return fans;
}

} // namespace drape::host
