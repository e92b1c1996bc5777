// The order matters: welding joins what the clip then cuts once, and only a whole, clipped surface shows
// which piece the seed is on.
#include "surface.h"

#include "boundary_loops.h"
#include "clip.h"
#include "errors.h"
#include "mesh_import.h"
#include "mesh_repair.h"
#include "mesh_topology.h"
#include "mould.h"
#include "patch.h"
#include "point_math.h"
#include "start.h"
#include "surface_point.h"
#include "text.h"

#include <limits>

namespace tool {

namespace {

TriangleMesh clippedBy(TriangleMesh mesh, const std::vector<Plane>& planes, const Log& log) {
    for (const Plane& plane : planes) {
        mesh = clipped(mesh, plane);
        if (mesh.triangles.empty()) {
            throw InputError("--clip: nothing of the surface lies on the side of the plane at " +
                             pointText(plane.point) + " to which " + pointText(plane.normal) + " points");
        }
        log.detail("clipped to " + counted(mesh.triangles.size(), "triangle", "triangles"));
    }
    return mesh;
}

// The surface point nearest to the centroid, unless that lies at an edge of the surface, where a drape gets
// nowhere: then the nearest place to it that has a few cells of room, or half of the most room there is.
SurfacePoint middleOf(const TriangleMesh& mesh, const Log& log) {
    constexpr double cellsOfRoom = 3.0;
    const Point centroid = centroidOf(mesh);
    const SurfacePoint nearest = nearestSurfacePoint(mesh, centroid);
    std::vector<std::int32_t> edge;
    for (const Loop& loop : boundaryLoops(mesh)) {
        edge.insert(edge.end(), loop.vertices.begin(), loop.vertices.end());
    }
    const std::vector<double> toEdge = distancesAlong(mesh, edge);
    const auto room = [&](std::size_t t, const Point& p) {
        const double area = vec::areaOf(mesh.corner(t, 0), mesh.corner(t, 1), mesh.corner(t, 2));
        double sum = 0.0;
        for (std::size_t k = 0; k < 3; ++k) {
            const double share =
                vec::areaOf(p, mesh.corner(t, (k + 1) % 3), mesh.corner(t, (k + 2) % 3)) / area;
            sum += share * toEdge[static_cast<std::size_t>(mesh.triangles[t][k])];
        }
        return sum;
    };
    double most = 0.0;
    for (std::size_t t = 0; t < mesh.triangles.size(); ++t) {
        most = std::max(most, room(t, centreOf(mesh, t)));
    }
    const double wanted = std::min(0.5 * most, cellsOfRoom * std::sqrt(areaOf(mesh)) / cellsAcross);
    if (edge.empty() || room(nearest.triangle, nearest.position) >= wanted) {
        return nearest;
    }
    SurfacePoint best;
    best.distance = std::numeric_limits<double>::infinity();
    for (std::size_t t = 0; t < mesh.triangles.size(); ++t) {
        const Point here = centreOf(mesh, t);
        const double away = vec::distance(here, centroid);
        if (room(t, here) >= wanted && away < best.distance) {
            best = {here, t, away};
        }
    }
    log.note("the surface point nearest to the centroid lies at an edge; the seed was moved inward to " +
             pointText(best.position));
    return best;
}

void sayIfMoved(const SurfacePoint& seed, const std::optional<Point>& named, double step, const Log& log) {
    constexpr double noticed = 1e-3; // of a cell
    if (named && seed.distance > noticed * step) {
        log.note("the seed " + pointText(*named) + " was moved by " + number(seed.distance) +
                 " onto the surface, to " + pointText(seed.position));
    }
}

} // namespace

Surface loadSurface(const Settings& settings, const Log& log) {
    const PolygonSoup soup = importMesh(settings.input);
    log.detail("read " + counted(soup.points.size(), "vertex", "vertices") + " and " +
               counted(soup.polygons.size(), "face", "faces") + " from " + settings.input);
    const std::optional<Point> seed = namedSeed(settings, soup.points);
    TriangleMesh mesh = repairedMesh(soup, settings.weld, log);
    mesh = manifoldOf(clippedBy(std::move(mesh), settings.clips, log), log);
    Surface surface;
    surface.mesh = chosenPiece(mesh, seed ? &*seed : nullptr, log);
    if (settings.fillHoles) {
        surface.mesh = withoutHoles(std::move(surface.mesh), log);
    }
    const SurfacePoint start = seed ? nearestSurfacePoint(surface.mesh, *seed) : middleOf(surface.mesh, log);
    surface.defaultSeed = start.position;
    double area = areaOf(surface.mesh);
    if (settings.within) {
        const auto distances = distancesAlong(surface.mesh, start);
        area = areaOf(patchWithin(surface.mesh, start, distances, *settings.within));
    }
    if (!std::isfinite(area)) {
        throw InputError("the surface is too wide for its area to be worked out");
    }
    surface.steps = stepsFor(settings, area);
    sayIfMoved(start, seed, std::min(surface.steps[0], surface.steps[1]), log);
    return surface;
}

} // namespace tool
