// Twins stand exactly on their sources. They reach back into the grid by one-way links: the nodes behind keep
// pointing forward at the sources.
#include "fronts/twins.h"

namespace drape {
namespace {

// The direction whose row leads from A to B, the last of several; 0 if B is no neighbour.
std::int32_t rowDirectionOf(std::int32_t nodeA, std::int32_t nodeB) {
    std::int32_t found = 0;
    if (nodeB < 1)
        return found;
    for (std::int32_t d = 1; d <= 4; ++d)
        if (model->link(next(d), nodeA) == nodeB)
            found = d;
    return found;
}

bool storeAt(std::int32_t source, std::int32_t linkCount, Neighbour first, Neighbour second,
             std::int32_t& status) {
    return storeNode(model->positionOf(source), model->normalOf(source), model->triangleOf(source), linkCount,
                     first, second, status);
}

} // namespace

bool splitNode(std::int32_t node, std::int32_t direction, std::int32_t& status) {
    const std::int32_t along = next(direction);
    const std::int32_t a = model->link(along, node);
    const std::int32_t b = model->link(opposite(direction), node);
    if (!storeAt(node, 2, {direction, b}, {previous(direction), a}, status))
        return false;
    model->setLink(along, node, 0);
    model->setLink(direction, b, node);
    return true;
}

bool areNeighbours(std::int32_t nodeA, std::int32_t nodeB) {
    return rowDirectionOf(nodeA, nodeB) != 0;
}

bool doubleEdge(std::int32_t nodeA, std::int32_t nodeB, std::int32_t& status) {
    status = DRAPE_OK;
    const std::int32_t d = rowDirectionOf(nodeA, nodeB);
    if (d == 0) {
        status = DRAPE_NODES_NOT_NEIGHBOURS;
        return false;
    }
    const std::int32_t along = next(d);
    const std::int32_t before = model->link(previous(d), nodeA);
    const std::int32_t behindA = model->link(opposite(d), nodeA);
    const std::int32_t behindB = model->link(opposite(d), nodeB);
    if (!storeAt(nodeA, before != 0 ? 2 : 1, {d, behindA}, {along, before}, status))
        return false;
    if (!storeAt(nodeB, 2, {d, behindB}, {along, *model->nodeCount}, status))
        return false;
    model->setLink(previous(d), nodeA, 0);
    model->setLink(d, behindA, nodeA);
    model->setLink(d, behindB, nodeB);
    return true;
}

} // namespace drape

using namespace drape;

extern "C" int32_t uzprdp(const int32_t* node, const int32_t* direction, int32_t* status) {
    return splitNode(*node, *direction, *status) ? 0 : 1;
}

extern "C" int32_t uzprds(const int32_t* nodeA, const int32_t* nodeB, int32_t* status) {
    return doubleEdge(*nodeA, *nodeB, *status) ? 0 : 1;
}
