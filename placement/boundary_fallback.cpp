// Boundary fallback: where the grid runs over the edge of the mesh, the row goes on a little way in the plane
// of the nearest boundary triangle, so that it ends beyond the boundary and not before it.
#include "placement/boundary_fallback.h"

#include "surface/circle_triangle.h"
#include "surface/nearest_listed.h"
#include "surface/point_triangle.h"
#include "surface/run_indices.h"

namespace drape {
namespace {

struct EdgeTable {
    std::int32_t edges[FALLBACK_TABLE_SIZE];
    std::int32_t count = 0;
};

// The first boundary edge of each listed triangle that has one; false if there are too many.
bool listBoundaryEdges(const std::int32_t* foundList, std::int32_t foundCount, EdgeTable& table) {
    for (std::int32_t k = 0; k < foundCount; ++k) {
        const std::int32_t edge = firstBoundaryEdgeOf(foundList[k]);
        if (edge == 0)
            continue;
        if (table.count == FALLBACK_TABLE_SIZE)
            return false;
        table.edges[table.count++] = edge;
    }
    return true;
}

double distanceToEdgeTriangle(const Vec3& point, std::int32_t edge, double tolerance) {
    const SurfaceMesh& mesh = model->mesh;
    const std::int32_t triangle = mesh.boundaryEdge(edge).triangle;
    return distanceToTriangle(point, mesh.corner(triangle, 0), mesh.corner(triangle, 1),
                              mesh.corner(triangle, 2), tolerance)
        .distance;
}

// The first of the table's edges that are nearest.
std::int32_t nearestListed(const EdgeTable& table, const Vec3& point, double tolerance) {
    std::int32_t nearest = table.edges[0];
    double best = distanceToEdgeTriangle(point, nearest, tolerance);
    for (std::int32_t k = 1; k < table.count; ++k) {
        const double distance = distanceToEdgeTriangle(point, table.edges[k], tolerance);
        if (distance < best) {
            best = distance;
            nearest = table.edges[k];
        }
    }
    return nearest;
}

std::int32_t nearestEdge(const Vec3& ahead, const EdgeTable& table, double tolerance) {
    if (table.count > 0)
        return nearestListed(table, ahead, tolerance);
    return nearestBoundaryEdge(ahead,
                               [&](std::int32_t e) { return distanceToEdgeTriangle(ahead, e, tolerance); });
}

// Of the hits ahead of the centre the one nearest to the edge's line, -1 if all lie behind.
std::int32_t chooseHit(const CircleCut& cut, const Vec3& centre, const Vec3& forward, const Vec3& edgeStart,
                       const Vec3& edgeEnd) {
    const Vec3 along = edgeEnd - edgeStart;
    std::int32_t chosen = -1;
    double best = 0.0;
    for (std::int32_t k = 0; k < cut.count; ++k) {
        if (!(prosca(cut.points[k] - centre, forward) > 0.0))
            continue;
        const double measure = vor(parvis(along, cut.points[k] - edgeEnd));
        if (chosen < 0 || measure < best) {
            chosen = k;
            best = measure;
        }
    }
    return chosen;
}

} // namespace

bool fallBackToBoundary(const Vec3& centre, const Vec3& planeNormal, const Vec3& forward, double radius,
                        const std::int32_t* foundList, std::int32_t foundCount, double tolerance,
                        FallbackPoint& found, std::int32_t& status) {
    status = DRAPE_OK;
    EdgeTable table;
    if (!listBoundaryEdges(foundList, foundCount, table)) {
        status = DRAPE_EDGE_TABLE_FULL;
        return false;
    }
    const SurfaceMesh& mesh = model->mesh;
    if (mesh.boundaryCount < 1) {
        status = DRAPE_NO_FALLBACK_HIT;
        return false;
    }
    const BoundaryEdge edge = mesh.boundaryEdge(nearestEdge(centre + radius * forward, table, tolerance));
    const Vec3 a = mesh.corner(edge.triangle, 0);
    const Vec3 b = mesh.corner(edge.triangle, 1);
    const Vec3 c = mesh.corner(edge.triangle, 2);
    const CircleCut cut =
        cutCircle({centre, unitNormal(forward, planeNormal), radius}, a, b, c, tolerance, CUT_TRIANGLE_PLANE);
    if (cut.count == 0) {
        status = DRAPE_NO_FALLBACK_HIT;
        return false;
    }
    const std::int32_t hit = chooseHit(cut, centre, forward, mesh.vertex(edge.start), mesh.vertex(edge.end));
    if (hit < 0) {
        status = DRAPE_NO_FORWARD_HIT;
        return false;
    }
    found = {cut.points[hit], unitNormal(b - a, c - a)};
    return true;
}

} // namespace drape

using namespace drape;

extern "C" int32_t uzprpf(const double* centre, const double* planeNormal, const double* forward,
                          const double* radius, const void*, const int32_t* foundCount,
                          const int32_t* foundList, const double* tolerance, double* point, double* normal,
                          int32_t* status) {
    FallbackPoint found;
    if (!fallBackToBoundary(load(centre), load(planeNormal), load(forward), *radius, foundList, *foundCount,
                            *tolerance, found, *status))
        return 1;
    store(point, found.point);
    store(normal, found.normal);
    return 0;
}
