// The library's arrays count vertices from 1, meshes from 0.
#include "host/cloth/mould_mesh.h"

namespace drape::host {

TriangleMesh meshOf(const Mould& mould) {
    TriangleMesh mesh;
    mesh.positions = mould.positions;
    mesh.sourceFaces = mould.sourceFaces;
    mesh.triangles.reserve(mould.triangleCount());
    for (std::size_t c = 0; c < mould.corners.size(); c += 3) {
        mesh.triangles.push_back({mould.corners[c] - 1, mould.corners[c + 1] - 1, mould.corners[c + 2] - 1});
    }
    return mesh;
}

} // namespace drape::host
