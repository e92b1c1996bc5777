// Boundary chain: the loop of mesh edges that only one triangle has.
//
// The caller flags boundary vertices and nothing more. Around the present vertex every edge to a flagged
// vertex is collected once per triangle that has it; edges that two triangles share cancel, and what is left
// is the boundary. The walk goes from vertex to vertex until it is back at its start.
//
// An edge decides all that follows it, so a walk that takes one again would go round for ever. Of the ways
// out of a vertex it can take two at most: the first that is left there, and the next where it came from that
// one. Two marks per vertex tell, and no fan is looked through more than three times.
#include "surface/boundary_chain.h"

#include "services/work_arrays.h"

namespace drape {
namespace {

struct Candidate {
    std::int32_t triangle;
    std::int32_t vertex; // 0 once it has cancelled
};

struct Walk {
    const SurfaceMesh& mesh;
    const std::int32_t* vertBoundary;
    Candidate* candidates; // room for 2 x vertCount
    // Of each vertex: a candidate that waits for one to cancel it, from 1, and 0 again after each step.
    std::int32_t* waiting;
    std::int32_t* waysOut; // of each vertex: the two vertices to which the walk went on from it
    std::int32_t current;
    std::int32_t previous;
};

std::int32_t startVertex(const SurfaceMesh& mesh, const std::int32_t* vertBoundary) {
    for (std::int32_t v = 1; v < mesh.vertCount; ++v)
        if (vertBoundary[v - 1] != 0)
            return v;
    return mesh.vertCount;
}

// Every edge from the present vertex to a flagged one, once per triangle; -1 if the table is too small.
std::int32_t collectCandidates(const Walk& walk) {
    const std::int64_t room = 2 * std::int64_t{walk.mesh.vertCount};
    std::int32_t count = 0;
    for (std::int32_t k = walk.mesh.fanBegin(walk.current); k < walk.mesh.fanEnd(walk.current); ++k) {
        const std::int32_t triangle = walk.mesh.vertTriList[k];
        for (int corner = 0; corner < 3; ++corner) {
            const std::int32_t w = walk.mesh.vertexOf(triangle, corner);
            if (walk.vertBoundary[w - 1] != 1 || w == walk.current || w == walk.previous)
                continue;
            if (count == room)
                return -1;
            walk.candidates[count++] = {triangle, w};
        }
    }
    return count;
}

// Cancels each candidate against the next one with its vertex; returns the survivors and names the first.
std::int64_t cancelPairs(const Walk& walk, std::int32_t count, Candidate& firstSurvivor) {
    for (std::int32_t i = 0; i < count; ++i) {
        std::int32_t& waiting = walk.waiting[walk.candidates[i].vertex - 1];
        if (waiting == 0) {
            waiting = i + 1;
        } else {
            walk.candidates[i].vertex = walk.candidates[waiting - 1].vertex = 0;
            waiting = 0;
        }
    }
    std::int64_t survivors = 0;
    for (std::int32_t i = 0; i < count; ++i) {
        const Candidate& candidate = walk.candidates[i];
        if (candidate.vertex == 0)
            continue;
        walk.waiting[candidate.vertex - 1] = 0;
        if (++survivors == 1)
            firstSurvivor = candidate;
    }
    return survivors;
}

// Notes the way from the present vertex to the next; false if the walk took it before.
bool isNewWay(const Walk& walk, std::int32_t to) {
    std::int32_t* ways = walk.waysOut + 2 * (std::int64_t{walk.current} - 1);
    if (ways[0] == to || ways[1] == to)
        return false;
    ways[ways[0] == 0 ? 0 : 1] = to;
    return true;
}

bool nextEdge(const Walk& walk, Candidate& chosen, std::int32_t& status) {
    const std::int32_t count = collectCandidates(walk);
    if (count < 0) {
        status = DRAPE_BOUNDARY_CANDIDATES_FULL;
        return false;
    }
    if (count == 1) {
        chosen = walk.candidates[0];
        return true;
    }
    // At the start vertex both boundary edges survive, and the first sets the sense of the chain.
    const std::int64_t survivors = cancelPairs(walk, count, chosen);
    if (survivors == 1 || survivors == 2)
        return true;
    status = DRAPE_BOUNDARY_NOT_CLOSED;
    return false;
}

// Walks the edges; the number of edges once the chain is closed, else 0 with a status.
std::int32_t walkEdges(Walk& walk, std::int32_t room, std::int32_t* edges, std::int32_t& status) {
    const std::int32_t start = walk.current;
    for (std::int32_t n = 1; n <= room; ++n) {
        Candidate chosen{};
        if (!nextEdge(walk, chosen, status))
            return 0;
        if (!isNewWay(walk, chosen.vertex))
            break;
        std::int32_t* edge = edges + 3 * (std::int64_t{n} - 1);
        edge[0] = chosen.triangle;
        edge[1] = walk.current;
        edge[2] = chosen.vertex;
        walk.previous = walk.current;
        walk.current = chosen.vertex;
        if (walk.current == start)
            return n;
    }
    status = DRAPE_BOUNDARY_NOT_CLOSED;
    return 0;
}

Vec3 triangleNormal(const SurfaceMesh& mesh, std::int32_t triangle) {
    const Vec3 a = mesh.corner(triangle, 0);
    return unitNormal(mesh.corner(triangle, 1) - a, mesh.corner(triangle, 2) - a);
}

// The normal at the start of an edge blends the triangles of the edge before and of the edge itself.
void blendNormals(const SurfaceMesh& mesh, const std::int32_t* edges, std::int32_t count, double* normals) {
    const Vec3 first = triangleNormal(mesh, edges[0]);
    Vec3 before = first;
    for (std::int32_t k = 2; k <= count; ++k) {
        const Vec3 own = triangleNormal(mesh, edges[3 * (std::int64_t{k} - 1)]);
        Vec3 sum = before + own;
        devor(sum);
        store(normals, sum, k);
        before = own;
    }
    Vec3 sum = before + first;
    devor(sum);
    store(normals, sum, 1);
}

} // namespace

bool walkBoundary(const SurfaceMesh& mesh, const std::int32_t* vertBoundary, std::int32_t& boundaryCount,
                  std::int32_t* edges, double* normals, std::int32_t& status) {
    status = DRAPE_OK;
    const std::int64_t vertices = mesh.vertCount;
    WorkArray<std::int32_t> table, marks;
    if (table.take(4 * vertices, status) && marks.take(3 * vertices, status)) {
        clear(marks.data(), 3 * vertices);
        Walk walk{mesh,
                  vertBoundary,
                  reinterpret_cast<Candidate*>(table.data()),
                  marks.data(),
                  marks.data() + vertices,
                  startVertex(mesh, vertBoundary),
                  0};
        const std::int32_t room = boundaryCount < 1 ? mesh.vertCount : boundaryCount;
        const std::int32_t count = walkEdges(walk, room, edges, status);
        if (status == DRAPE_OK) {
            boundaryCount = count;
            if (edges == model->mesh.boundaryEdges)
                model->mesh.boundaryCount = count;
            blendNormals(mesh, edges, count, normals);
        }
    }
    // A failing release has the last word, also after a refused request.
    table.release(status);
    marks.release(status);
    return status == DRAPE_OK;
}

} // namespace drape

using namespace drape;

extern "C" int32_t gzprel(const int32_t* vertBoundary, const void*, const int32_t* vertCount,
                          const int32_t* vertTriCount, const int32_t* vertTriStart,
                          const int32_t* vertTriList, const int32_t* triVerts, const double* vertPos,
                          int32_t* boundaryCount, int32_t* boundaryEdges, double* boundaryNormals,
                          int32_t* status) {
    const std::int32_t noTriCount = 0; // the walk needs none
    const SurfaceMesh mesh{noTriCount,  *vertCount, *vertTriCount, vertTriStart,
                           vertTriList, triVerts,   vertPos};
    return walkBoundary(mesh, vertBoundary, *boundaryCount, boundaryEdges, boundaryNormals, *status) ? 0 : 1;
}
