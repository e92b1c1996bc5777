// The order matters: welding joins what the clip then cuts once, and only a whole, clipped surface shows
// which piece the seed is on.
#include "surface.h"

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
    const SurfacePoint start = nearestSurfacePoint(surface.mesh, seed.value_or(centroidOf(surface.mesh)));
    surface.defaultSeed = start.position;
    double area = areaOf(surface.mesh);
    if (settings.within) {
        const auto distances = distancesAlong(surface.mesh, start);
        area = areaOf(patchWithin(surface.mesh, start, distances, *settings.within));
    }
    surface.steps = stepsFor(settings, area);
    sayIfMoved(start, seed, std::min(surface.steps[0], surface.steps[1]), log);
    return surface;
}

} // namespace tool
