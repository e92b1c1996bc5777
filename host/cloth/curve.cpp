// The library asks for a direction with each point; where the curve brings none, the mould's normals serve.
#include "host/cloth/curve.h"

#include "drape.h"
#include "host/cloth/status_text.h"
#include "host/mesh/surface_tree.h"
#include "host/mesh/text.h"

#include <algorithm>

namespace drape::host {

CurveResult carryOver(const DrawnCurve& curve, const TriangleMesh& surface, const Choice& choice,
                      const Grid& grid, Notes& notes) {
    const SurfaceTree tree(surface);
    const double cell = std::max(choice.stepA, choice.stepB);
    std::vector<Point> points = curve.points;
    std::vector<Point> directions = curve.directions;
    std::size_t away = 0;
    for (const Point& p : points) {
        const SurfacePoint below = tree.nearest(p);
        away += below.distance > cell ? 1 : 0;
        if (curve.directions.empty()) {
            directions.push_back(normalOf(surface, below.triangle));
        }
    }
    if (away > 0) {
        tell(notes, NoteKind::curveOffSurface,
             counted(away, "point", "points") + " of the curve lie more than a cell off the surface");
    }
    const auto count = static_cast<std::int32_t>(points.size());
    const std::int32_t first = 1;
    std::int32_t status = 0;
    CurveResult result;
    result.points = curve.points;
    result.flat.resize(points.size());
    gzfttc(grid.link3.data(), grid.link1.data(), grid.link2.data(), grid.link4.data(), nullptr, nullptr,
           grid.nodeStatus.data(), grid.position.data(), grid.flat.data(), nullptr, &grid.count,
           points.front().data(), directions.front().data(), &count, result.flat.front().data(), &first,
           &count, &status);
    if (status != 0) {
        throw StatusError("the curve can't be carried onto the pattern", status);
    }
    return result;
}

} // namespace drape::host
