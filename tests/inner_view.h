// A test's surface as the library's own code sees it.
#pragma once

#include "run/model.h"
#include "surfaces.h"

namespace drape_test {

// Refers to the surface's arrays, so that has to stay.
inline drape::SurfaceMesh meshOf(const Surface& surface) {
    drape::SurfaceMesh mesh;
    mesh.triCount = surface.triCount();
    mesh.vertCount = surface.vertCount();
    mesh.vertTriCount = surface.vertTriCount();
    mesh.vertTriStart = surface.vertTriStart.data();
    mesh.vertTriList = surface.vertTriList.data();
    mesh.triVerts = surface.triVerts.data();
    mesh.vertPos = surface.vertPos.data();
    return mesh;
}

} // namespace drape_test
