// A surface slit along the line in which a plane meets it, from a tip inside to the surface's edge. Both
// sides of the slit get vertices of their own at the same places, so the surface ends there and keeps its
// shape.
#pragma once

#include "host/mesh/edge_split.h"
#include "host/mesh/topology.h"

#include <limits>
#include <span>

namespace drape::host {

// Where a slit runs. The same on every mesh of the same surface, however finely that is cut up.
struct SlitWay {
    Point tip{};                                               // on the surface, at a vertex or in a triangle
    Point along{};                                             // unit vector, from the tip into the slit
    Point normal{};                                            // of the plane, unit vector, square to `along`
    double farthest = std::numeric_limits<double>::infinity(); // along the line, where the surface goes on
};

struct SlitMesh {
    TriangleMesh mesh;            // the vertices that were there before keep their numbers
    std::vector<EdgePoint> added; // the vertices after those, each between two with lower numbers; those of a
                                  // slit's two sides are at equal places
    std::vector<std::vector<Point>> lines; // per way, the line from the tip on; none where nothing was slit
};

// Where ways run on one mesh, without slitting it.
class SlitLines {
public:
    explicit SlitLines(const TriangleMesh& mesh); // `mesh` must be manifold and outlive the lines

    // From the tip to where the surface ends; none where the way doesn't start on the surface or comes back
    // to its start.
    std::vector<Point> lineOf(const SlitWay& way) const;

private:
    const TriangleMesh& mesh_;
    Neighbours neighbours_;
};

// Slits the mesh, which must be manifold, along each way that can be gone. A slit ends at one made before it.
SlitMesh slitAlong(TriangleMesh mesh, std::span<const SlitWay> ways);

// Values at the vertices of a mesh, carried over to the vertices of the slit one.
std::vector<double> onSlit(std::vector<double> values, const SlitMesh& slit);

} // namespace drape::host
