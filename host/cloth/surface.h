// The surface that is draped, from the polygons of a file to the one piece, before any seed matters:
// repaired, clipped, made manifold.
#pragma once

#include "host/cloth/start.h"
#include "host/mesh/clip.h"
#include "host/mesh/error.h"
#include "host/mesh/note.h"
#include "host/mesh/side.h"
#include "host/mesh/triangle_mesh.h"

#include <memory>
#include <optional>
#include <vector>

namespace drape::host {

struct Surface {
    TriangleMesh mesh;                  // one piece
    std::shared_ptr<const Mould> mould; // the same, ready for the library; never null
    Point defaultSeed{};                // the seed asked for, moved onto the mesh, else one near the middle
    std::array<double, 2> steps{};      // cell lengths along warp and weft
    Side side;                          // to which the normals point and on which the cloth lies
};

// What is done to the polygons on their way.
struct SurfaceWishes {
    std::optional<Point> seed; // names the piece to keep and the default seed
    std::vector<Plane> clips;
    bool startsInMiddle = true; // tell where the middle is, as the drape starts there if no seed is asked for
    std::optional<Point> side;  // the cloth lies on the side to which this points
    bool weld = true;
    bool fillHoles = false;
    std::optional<double> within; // the area within this distance of the seed sets the cell lengths
};

// Throws InputError where nothing is left that can be draped.
Surface preparedSurface(const PolygonSoup& soup, const SurfaceWishes& wishes, const StartWishes& start,
                        Notes& notes);

} // namespace drape::host
