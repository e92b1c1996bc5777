// Straight stepping: a fibre runs straight over the surface, so the next node lies on a circle around the
// known one, in the plane of its normal and of the fibre's direction.
//
// The direction comes from the neighbours of the known node: square to the row where the row is known, else
// straight on from the node behind. Where the circle doesn't meet the surface the step falls back on the
// boundary, and then on a plain straight line.
#include "placement/straight_stepping.h"

#include "placement/boundary_fallback.h"
#include "surface/run_indices.h"

#include <cmath>

namespace drape {
namespace {

// Below this many nodes a node has no neighbours to take a direction from, and the seed's directions serve.
constexpr std::int32_t NODES_STEPPED_BY_SEED = 3;
// The step has folded back over its predecessor if the two normals are further apart than this cosine: -0.9
// in single precision.
constexpr double FOLDED_BACK = static_cast<double>(-0.9f);

struct Heading {
    Vec3 forward{};
    Vec3 backPoint{};
    Vec3 toPredecessor{}; // from the node; read where `foldTest` holds
    Vec3 back{};          // towards the row behind
    bool foldTest = false;
};

Heading headingFromSeed(const Vec3& position, std::int32_t direction) {
    Heading heading;
    switch (direction) {
    case DRAPE_DIRECTION_1:
        heading.forward = model->seedDirA;
        break;
    case DRAPE_DIRECTION_2:
        heading.forward = -model->seedDirB;
        break;
    case DRAPE_DIRECTION_3:
        heading.forward = -model->seedDirA;
        break;
    default:
        heading.forward = model->seedDirB;
        break;
    }
    heading.backPoint = position - heading.forward;
    return heading;
}

// The two ways square to the row, from its neighbour on either side, and which of them shape the step.
Vec3 forwardFromRow(const Vec3& byFollower, bool hasFollower, const Vec3& byPredecessor, bool hasPredecessor,
                    std::int32_t stepMode, const Vec3& back) {
    if (stepMode == STEP_BY_PREDECESSOR)
        return hasPredecessor ? byPredecessor : -back;
    if (stepMode == STEP_BY_FOLLOWER)
        return hasFollower ? byFollower : -back;
    if (hasFollower && hasPredecessor)
        return byFollower + byPredecessor;
    if (hasFollower)
        return byFollower;
    return hasPredecessor ? byPredecessor : -back;
}

// False if the node has no neighbour at all.
bool headingFromNeighbours(std::int32_t node, std::int32_t direction, std::int32_t stepMode,
                           Heading& heading) {
    if (!isDirection(direction))
        return false;
    const std::int32_t follower = model->link(next(direction), node);
    const std::int32_t predecessor = model->link(previous(direction), node);
    const std::int32_t behind = model->link(opposite(direction), node);
    if (follower == 0 && predecessor == 0 && behind == 0)
        return false;
    const Vec3 position = model->positionOf(node);
    const Vec3 normal = model->normalOf(node);
    Vec3 toPredecessor{}, byPredecessor{}, toFollower{}, byFollower{};
    if (predecessor != 0) {
        toPredecessor = model->positionOf(predecessor) - position;
        byPredecessor = unitNormal(toPredecessor, normal);
    }
    if (follower != 0) {
        toFollower = model->positionOf(follower) - position;
        byFollower = unitNormal(normal, toFollower);
    }
    Vec3 back = model->positionOf(behind) - position;
    if (behind == 0) {
        back = unitNormal(normal, toPredecessor) + unitNormal(toFollower, normal);
        devor(back);
        back = model->stepAlong(direction) * back;
    }
    const bool usePredecessor = predecessor != 0 && stepMode != STEP_BY_FOLLOWER;
    Vec3 forward = forwardFromRow(byFollower, follower != 0, byPredecessor, usePredecessor, stepMode, back);
    devor(forward);
    if (prosca(forward, back) > 0.0)
        forward = -forward;
    heading.forward = forward;
    heading.backPoint = behind != 0 ? model->positionOf(behind) : position - forward;
    heading.toPredecessor = toPredecessor;
    heading.back = back;
    heading.foldTest = behind != 0 && usePredecessor;
    return true;
}

bool foldsBack(const Heading& heading, const Vec3& step) {
    const Vec3 ahead = unitNormal(step, heading.toPredecessor);
    const Vec3 behind = unitNormal(heading.toPredecessor, heading.back);
    return FOLDED_BACK > prosca(ahead, behind);
}

// Looks for the step on the surface and then beyond its boundary. `found.triangle` is 0 off the surface;
// `placed` stays false if both fail.
bool stepOnSurface(std::int32_t node, double step, Heading& heading, SearchScratch& scratch,
                   SurfacePoint& found, bool& placed, std::int32_t& status) {
    placed = false;
    const double tolerance = model->tolerance;
    const Vec3 position = model->positionOf(node);
    const Vec3 normal = model->normalOf(node);
    const Ball ball{position, step, tolerance, largestSlack()};
    CircleSearch search{position, normal, heading.forward, step, heading.backPoint};
    if (!searchSurface(model->triangleOf(node), &ball, 1, search, scratch, found, status))
        return false;
    heading.forward = search.forward;
    placed = found.triangle != 0;
    if (placed && heading.foldTest && foldsBack(heading, found.point - position)) {
        placed = false;
        if (!listInRange(model->triangleOf(node), &ball, 1, scratch, status))
            return false;
    }
    if (placed || scratch.foundCount == 0)
        return true;
    FallbackPoint fallback;
    placed = fallBackToBoundary(position, normal, heading.forward, step, scratch.foundList,
                                scratch.foundCount, tolerance, fallback, status);
    if (placed)
        found = {fallback.point, fallback.normal, 0};
    status = DRAPE_OK;
    return true;
}

} // namespace

bool stepStraight(std::int32_t node, std::int32_t direction, std::int32_t stepMode, SearchScratch& scratch,
                  std::int32_t& status) {
    status = DRAPE_OK;
    const Vec3 position = model->positionOf(node);
    const double step = model->stepAlong(direction);
    const bool bySeed = *model->nodeCount < NODES_STEPPED_BY_SEED;
    Heading heading;
    if (isDirection(direction) && bySeed) {
        heading = headingFromSeed(position, direction);
    } else if (bySeed || !headingFromNeighbours(node, direction, stepMode, heading)) {
        status = DRAPE_NOTHING_TO_STEP_FROM;
        return false;
    }
    SurfacePoint found;
    bool placed = false;
    if (model->triangleOf(node) != 0 && !stepOnSurface(node, step, heading, scratch, found, placed, status))
        return false;
    if (!placed)
        found = {position + step * heading.forward, model->normalOf(node), 0};
    return storeNode(found.point, found.normal, found.triangle, 1, {direction, node}, {}, status);
}

} // namespace drape

using namespace drape;

extern "C" int32_t uzprmo(const int32_t* node, const int32_t* direction, const int32_t* stepMode,
                          int32_t* work, int32_t* status) {
    SearchScratch scratch(work);
    return stepStraight(*node, *direction, *stepMode, scratch, *status) ? 0 : 1;
}
