// Surface search: a depth-first flood over neighbouring triangles lists those that the circle can reach, then
// the circle is cut against each of them and the point furthest forward is taken.
//
// A run asks the tree of triangles first: it leads straight to what the circle meets, and wherever every
// triangle that counts can be shown to lie within the flood, the answer is the same. Where not, and where
// nothing is found, the flood decides.
#include "surface/surface_search.h"

#include "surface/nearest_listed.h"
#include "surface/run_indices.h"
#include "surface/tree_search.h"

namespace drape {

namespace {

// Where the boundary fallback looks for the nearest edge.
Vec3 placeAhead(const CircleSearch& search) {
    Vec3 forward = search.forward;
    devor(forward);
    return search.centre + search.radius * forward;
}

// As much of the list as will be read: where it is known that nothing is found, it tells the boundary
// fallback which edges are near, or else only whether there is anything in range.
bool listTriangles(std::int32_t start, const Ball* balls, int ballCount, bool noneFound,
                   const CircleSearch& search, SearchScratch& scratch, std::int32_t& status) {
    if (!noneFound)
        return listInRange(start, balls, ballCount, scratch, status);
    if (search.listWanted)
        return listNearestBoundary(start, balls, ballCount, placeAhead(search), scratch, status);
    std::int32_t first = 0;
    return floodTo(Goals{nullptr, 0, true}, start, balls, ballCount, scratch, first, status);
}

} // namespace

bool searchSurface(std::int32_t start, const Ball* balls, int ballCount, CircleSearch& search,
                   SearchScratch& scratch, SurfacePoint& found, std::int32_t& status) {
    status = DRAPE_OK;
    const Circle circle{search.centre, unitNormal(search.planeNormal, search.forward), search.radius};
    const Vec3 given = search.forward;
    const SearchQuestion question{start, balls, ballCount, circle, given, search.backPoint};
    const TreeAnswer answer = hasTriangleTree() && !search.missesAll
                                  ? searchByTree(question, scratch, found, status)
                                  : TreeAnswer::open;
    if (answer == TreeAnswer::found) {
        devor(search.forward);
        return true;
    }
    found.triangle = 0;
    if (status != DRAPE_OK)
        return false;
    const bool missesAll = search.missesAll || answer == TreeAnswer::nothing;
    const bool noneFound = missesAll || answer == TreeAnswer::dropped;
    if (!listTriangles(start, balls, ballCount, noneFound, search, scratch, status))
        return false;
    if (scratch.foundCount == 0)
        return true;
    devor(search.forward);
    // Another search has the same circle only if its direction is the same to the last bit.
    search.missesAll = missesAll && cadis(search.forward, given) == 0.0;
    if (noneFound)
        return true;
    const double tolerance = balls[0].tolerance;
    if (!gatherCandidates(circle, scratch.foundList, scratch.foundCount, tolerance, scratch.candidates,
                          status))
        return false;
    const SurfacePoint chosen =
        chooseCandidate(scratch.candidates, circle, given, search.backPoint, tolerance).found;
    if (chosen.triangle != 0)
        found = chosen;
    return true;
}

} // namespace drape

using namespace drape;

extern "C" int32_t uzprcm(const double* centre, const double* planeNormal, double* forward,
                          const double* radius, const double* backPoint, const int32_t* foundList,
                          const int32_t* foundCount, const double* tolerance, double* point, double* normal,
                          int32_t* triangle, int32_t* status) {
    *status = DRAPE_OK;
    const Vec3 given = load(forward);
    Vec3 direction = given;
    devor(direction);
    store(forward, direction);
    const Circle circle{load(centre), unitNormal(load(planeNormal), given), *radius};
    Candidates candidates;
    const bool done = gatherCandidates(circle, foundList, *foundCount, *tolerance, candidates, *status);
    *triangle = 0;
    if (done) {
        const SurfacePoint found =
            chooseCandidate(candidates, circle, given, load(backPoint), *tolerance).found;
        *triangle = found.triangle;
        if (found.triangle != 0) {
            store(point, found.point);
            store(normal, found.normal);
        }
    }
    return done ? 0 : 1;
}
