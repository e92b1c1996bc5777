// Renumbering: vertices along the curve, triangles by the first of their vertices on it.
//
// What the caller holds may stand in any order, and is many times larger than a cache. So its triangles are
// read from front to back, with what they look up in tables of one number each, and its fans are asked for
// before they are read.
#include "surface/inner_mesh.h"

#include "surface/vertex_order.h"

#include <algorithm>
#include <utility>

namespace drape {
namespace {

// Turns the sizes of `count` consecutive groups into the place where each begins.
void startsFromSizes(std::int32_t* sizes, std::int32_t count) {
    std::int32_t start = 0;
    for (std::int32_t k = 0; k < count; ++k)
        start += std::exchange(sizes[k], start);
}

// Meshes go by value here: no store to a table can touch a copy.
void placeVertices(SurfaceMesh outer, const PlacedVertex* order, std::int32_t* innerVertices,
                   double* positions) {
    for (std::int32_t k = 0; k < outer.vertCount; ++k) {
        const std::int32_t v = order[k].vertex();
        innerVertices[v - 1] = k + 1;
        store(positions, outer.vertex(v), k + 1);
    }
}

// A triangle on its way to its number.
struct Mover {
    std::int32_t corners[3]; // new numbers
    std::int32_t outer;

    std::int32_t first() const { return std::min(corners[0], std::min(corners[1], corners[2])); }
};
static_assert(sizeof(Mover) == 4 * sizeof(std::int32_t));

// Puts new numbers in the place of the corners and counts in `groups` the triangles of which each vertex is
// the first.
void renumberCorners(SurfaceMesh outer, const std::int32_t* innerVertices, std::int32_t* corners,
                     std::int32_t* groups) {
    clear(groups, outer.vertCount);
    for (std::int32_t t = 1; t <= outer.triCount; ++t) {
        std::int32_t* own = corners + 3 * (std::int64_t{t} - 1);
        for (int k = 0; k < 3; ++k)
            own[k] = innerVertices[outer.vertexOf(t, k) - 1];
        ++groups[std::min(own[0], std::min(own[1], own[2])) - 1];
    }
}

// Brings the triangles near to their places, so that those are then written within a cache. `groups` has
// where each begins.
void moveNear(SurfaceMesh outer, const std::int32_t* corners, const std::int32_t* groups, Mover* movers) {
    constexpr std::int32_t mostBuckets = 1024;
    int shift = 0;
    while ((outer.vertCount - 1) >> shift >= mostBuckets)
        ++shift;
    std::int32_t ends[mostBuckets];
    for (std::int32_t b = 0; b <= (outer.vertCount - 1) >> shift; ++b)
        ends[b] = groups[b << shift];
    for (std::int32_t t = 1; t <= outer.triCount; ++t) {
        const std::int32_t* own = corners + 3 * (std::int64_t{t} - 1);
        const Mover mover{{own[0], own[1], own[2]}, t};
        movers[ends[(mover.first() - 1) >> shift]++] = mover;
    }
}

void numberTriangles(const Mover* movers, std::int32_t triCount, std::int32_t* groups,
                     std::int32_t* innerTriangles, std::int32_t* triVerts, std::int32_t* outerTriangles) {
    for (std::int32_t k = 0; k < triCount; ++k) {
        const Mover mover = movers[k];
        const std::int32_t number = ++groups[mover.first() - 1];
        innerTriangles[mover.outer - 1] = number;
        outerTriangles[number - 1] = mover.outer;
        std::copy_n(mover.corners, 3, triVerts + 3 * (std::int64_t{number} - 1));
    }
}

// Asks for an entry that is read later; it needn't exist.
void prefetch([[maybe_unused]] const std::int32_t* table, [[maybe_unused]] std::int64_t entry) {
#if defined(__GNUC__)
    __builtin_prefetch(reinterpret_cast<const void*>(reinterpret_cast<std::uintptr_t>(table) +
                                                     static_cast<std::uintptr_t>(entry) * sizeof(*table)));
#endif
}

// In the new order, where the triangles around one vertex were just looked up for the last ones. The fans of
// the caller's are all over its lists, so each is asked for some time before it is read, and its start some
// time before that.
void placeFans(SurfaceMesh outer, const PlacedVertex* order, const std::int32_t* innerTriangles,
               std::int32_t* fanStarts, std::int32_t* fans) {
    constexpr std::int64_t fanAhead = 16, startAhead = 32; // vertices
    const std::int64_t last = std::int64_t{outer.vertCount} - 1;
    std::int32_t size = 0;
    for (std::int64_t k = 0; k <= last; ++k) {
        prefetch(outer.vertTriStart, order[std::min(k + startAhead, last)].vertex() - 1);
        const std::int32_t next = outer.fanBegin(order[std::min(k + fanAhead, last)].vertex());
        prefetch(outer.vertTriList, next);
        prefetch(outer.vertTriList, std::int64_t{next} + 5); // most fans have six triangles
        fanStarts[k] = size;
        const std::int32_t v = order[k].vertex();
        const std::int32_t end = outer.fanEnd(v);
        for (std::int32_t position = outer.fanBegin(v); position < end; ++position)
            fans[size++] = innerTriangles[outer.vertTriList[position] - 1];
    }
}

} // namespace

bool InnerMesh::takeArrays(const SurfaceMesh& outer, std::int32_t& status) {
    return positions_.take(3 * std::int64_t{outer.vertCount}, status) &&
           triVerts_.take(3 * std::int64_t{outer.triCount}, status) &&
           fanStarts_.take(outer.vertCount, status) && fans_.take(outer.vertTriCount, status) &&
           outerTriangles_.take(outer.triCount, status);
}

// The order of the vertices, behind it what its sort needs and later the movers.
std::int64_t InnerMesh::workRoom(const SurfaceMesh& outer) {
    static_assert(sizeof(PlacedVertex) == sizeof(double) && sizeof(Mover) == 2 * sizeof(double));
    return outer.vertCount + std::max<std::int64_t>(outer.vertCount, 2 * std::int64_t{outer.triCount});
}

bool InnerMesh::build(const SurfaceMesh& outer, double* work, std::int32_t* innerTriangles,
                      std::int32_t* innerVertices, std::int32_t& status) {
    auto* order = reinterpret_cast<PlacedVertex*>(work);
    double* behind = work + outer.vertCount;
    if (!takeArrays(outer, status) ||
        !orderVertices(outer, order, reinterpret_cast<PlacedVertex*>(behind), status))
        return false;
    placeVertices(outer, order, innerVertices, positions_.data());
    std::int32_t* groups = fanStarts_.data(); // until the fans come, last
    auto* movers = reinterpret_cast<Mover*>(behind);
    renumberCorners(outer, innerVertices, triVerts_.data(), groups);
    startsFromSizes(groups, outer.vertCount);
    moveNear(outer, triVerts_.data(), groups, movers);
    numberTriangles(movers, outer.triCount, groups, innerTriangles, triVerts_.data(), outerTriangles_.data());
    placeFans(outer, order, innerTriangles, fanStarts_.data(), fans_.data());
    mesh_ = outer;
    mesh_.vertPos = positions_.data();
    mesh_.triVerts = triVerts_.data();
    mesh_.vertTriStart = fanStarts_.data();
    mesh_.vertTriList = fans_.data();
    mesh_.vertTriCount = outer.vertTriCount - outer.fanBegin(1);
    return true;
}

void InnerMesh::release(std::int32_t& status) {
    positions_.release(status);
    triVerts_.release(status);
    fanStarts_.release(status);
    fans_.release(status);
    outerTriangles_.release(status);
}

} // namespace drape
