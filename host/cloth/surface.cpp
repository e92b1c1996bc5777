// The order matters: welding joins what the clip then cuts once, and only a whole, clipped surface shows
// which piece the seed is on.
#include "host/cloth/surface.h"

#include "host/mesh/boundary_loops.h"
#include "host/mesh/error.h"
#include "host/mesh/nearest_point.h"
#include "host/mesh/patch.h"
#include "host/mesh/pieces.h"
#include "host/mesh/point.h"
#include "host/mesh/repair.h"
#include "host/mesh/spatial_order.h"
#include "host/mesh/surface_point.h"
#include "host/mesh/text.h"
#include "host/mesh/topology.h"

#include <algorithm>
#include <limits>

namespace drape::host {

using namespace vec;

namespace {

TriangleMesh clippedBy(TriangleMesh mesh, const std::vector<Plane>& planes, Notes& notes) {
    for (const Plane& plane : planes) {
        const double size = diagonalOf(mesh.positions);
        mesh = clipped(mesh, plane);
        if (mesh.triangles.empty()) {
            throw InputError("nothing of the surface lies on the side of the plane at " +
                                 pointText(plane.point, 1e-3 * size) + " to which " +
                                 pointText(plane.normal) + " points",
                             Refusal::nothingLeft);
        }
        tell(notes, NoteKind::clipped,
             "clipped to " + counted(mesh.triangles.size(), "triangle", "triangles"));
    }
    return mesh;
}

std::vector<double> distancesToEdge(const TriangleMesh& mesh, const Mould& mould) {
    std::vector<std::int32_t> edge;
    for (const Loop& loop : mould.loops) {
        edge.insert(edge.end(), loop.vertices.begin(), loop.vertices.end());
    }
    return distancesAlong(mesh, edge);
}

// The surface point nearest to `point`. Of several places that are equally near, as on a symmetric part, the
// first along a fixed direction.
SurfacePoint firstNearest(const Mould& mould, const Point& point) {
    constexpr double onePlace = 5e-3; // square roots of the area that a place reaches out
    const double size = std::sqrt(mould.area);
    std::vector<SurfacePoint> near{nearestPoint(mould, point)};
    const double reach = near.front().distance + equallyNear * size;
    eachTriangleNear(
        mould, point, [&] { return reach; },
        [&](std::size_t t) {
            const Point q =
                nearestOnTriangle(mould.corner(t, 0), mould.corner(t, 1), mould.corner(t, 2), point);
            if (const double away = distance(q, point); away <= reach) {
                near.push_back({q, t, away});
            }
        });
    const Point first = std::min_element(near.begin(), near.end(), [](const auto& a, const auto& b) {
                            return along(a.position) < along(b.position);
                        })->position;
    std::erase_if(near, [&](const SurfacePoint& p) { return distance(p.position, first) > onePlace * size; });
    return *std::min_element(near.begin(), near.end(),
                             [](const auto& a, const auto& b) { return a.distance < b.distance; });
}

// Whether a triangle is farther than `enough` from every edge as the crow flies; then it is along the surface
// too, which is longer to measure.
bool hasRoomInSpace(const Mould& mould, std::size_t triangle, double enough) {
    constexpr double clear = 1.0 + 1e-6; // far above rounding
    const double reach = clear * enough + 2.0 * mould.facets[triangle].reach;
    return std::all_of(mould.edges.boundary.begin(), mould.edges.boundary.end(), [&](const BoundaryEdge& e) {
        const Point& from = mould.positions[at(e.from)];
        const Point& to = mould.positions[at(e.to)];
        const Point& middle = mould.facets[triangle].centroid;
        return distance(middle, nearestOnSegment(from, to, middle)) >= reach;
    });
}

// The surface point nearest to the centroid, unless that lies at an edge of the surface, where a drape gets
// nowhere: then the nearest place to it that has a few cells of room, or half of the most room there is.
SurfacePoint middleOf(const TriangleMesh& mesh, const Mould& mould, Notes& notes) {
    constexpr double cellsOfRoom = 3.0;
    const Point centroid = centroidOf(mesh);
    const SurfacePoint nearest = firstNearest(mould, centroid);
    const double enough = cellsOfRoom * std::sqrt(mould.area) / cellsAcross;
    if (mould.loops.empty() || hasRoomInSpace(mould, nearest.triangle, enough)) {
        return nearest;
    }
    const std::vector<double> toEdge = distancesToEdge(mesh, mould);
    const auto room = [&](std::size_t t, const Point& p) {
        const double area = mould.facets[t].area;
        double sum = 0.0;
        for (std::size_t k = 0; k < 3; ++k) {
            const double share = areaOf(p, mesh.corner(t, (k + 1) % 3), mesh.corner(t, (k + 2) % 3)) / area;
            sum += share * toEdge[static_cast<std::size_t>(mesh.triangles[t][k])];
        }
        return sum;
    };
    double most = 0.0;
    for (std::size_t t = 0; t < mesh.triangles.size() && 0.5 * most < enough; ++t) {
        most = std::max(most, room(t, centreOf(mesh, t)));
    }
    const double wanted = std::min(0.5 * most, enough);
    if (room(nearest.triangle, nearest.position) >= wanted) {
        return nearest;
    }
    SurfacePoint best;
    best.distance = std::numeric_limits<double>::infinity();
    const double same = equallyNear * std::sqrt(mould.area);
    for (std::size_t t = 0; t < mesh.triangles.size(); ++t) {
        const Point here = centreOf(mesh, t);
        const double away = distance(here, centroid);
        const bool better = away < best.distance - same ||
                            (away < best.distance + same && along(here) < along(best.position));
        if (better && room(t, here) >= (1.0 - equallyNear) * wanted) {
            best = {here, t, away};
        }
    }
    tell(notes, NoteKind::seedMoved,
         "the surface point nearest to the centroid lies at an edge; the seed was moved inward to " +
             pointText(best.position, 1e-3 * std::sqrt(mould.area) / cellsAcross));
    return best;
}

void sayIfMoved(const SurfacePoint& seed, const std::optional<Point>& named, double fine, Notes& notes) {
    if (named && seed.distance > fine) {
        tell(notes, NoteKind::seedMoved,
             "the seed " + pointText(*named, fine) + " was moved by " + number(seed.distance) +
                 " onto the surface, to " + pointText(seed.position, fine));
    }
}

} // namespace

Surface preparedSurface(const PolygonSoup& soup, const SurfaceWishes& wishes, const StartWishes& start,
                        Notes& notes) {
    const std::optional<Point>& seed = wishes.seed;
    Notes untold;
    TriangleMesh repaired = repairedMesh(soup, wishes.weld, notes);
    Sheet sheet = chosenPiece(sheetOf(clippedBy(std::move(repaired), wishes.clips, notes), notes),
                              seed ? &*seed : nullptr, notes);
    if (wishes.fillHoles) {
        sheet = {withoutHoles(std::move(sheet.mesh), notes), {}};
    }
    // Sides and numbers are settled before any point is looked for, so that a file's windings leave no trace.
    Surface surface;
    const Point place = seed ? *seed : centroidOf(sheet.mesh);
    const std::size_t atSeed = wishes.side ? nearestSurfacePoint(sheet.mesh, place).triangle : 0;
    surface.side = turnToSide(sheet, wishes.side, atSeed, notes);
    // Anew, for what clips, holes and cuts have added.
    sheet = inSpatialOrder(sheet);
    surface.mesh = sheet.mesh;
    surface.mould = std::make_shared<const Mould>(mouldOf(std::move(sheet)));
    const SurfacePoint middle =
        seed ? nearestPoint(*surface.mould, *seed)
             : middleOf(surface.mesh, *surface.mould, wishes.startsInMiddle ? notes : untold);
    surface.defaultSeed = middle.position;
    double area = surface.mould->area;
    if (wishes.within) {
        const auto distances = distancesAlong(surface.mesh, middle);
        area = areaOf(patchWithin(surface.mesh, middle, distances, *wishes.within));
    }
    if (!std::isfinite(area)) {
        throw InputError("the surface is too wide for its area to be worked out", Refusal::unfit);
    }
    surface.steps = stepsFor(start, area);
    checkTolerance(start, surface.steps);
    sayIfMoved(middle, seed, finestOf(surface.steps), notes);
    return surface;
}

} // namespace drape::host
