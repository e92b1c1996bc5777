// The node store: nodes come into being here, at the end of the arrays, and are never moved.
#include "run/model.h"

#include <cmath>

namespace drape {
namespace {

// Largest deviation of a normal's squared length from 1: 0.003 in single precision.
constexpr double UNIT_LENGTH_SLACK = static_cast<double>(0.003f);

void placeInGrid(std::int32_t n, std::int32_t direction, std::int32_t from) {
    std::int32_t i = model->nodeI[from - 1];
    std::int32_t j = model->nodeJ[from - 1];
    switch (direction) {
    case DRAPE_DIRECTION_1:
        ++i;
        break;
    case DRAPE_DIRECTION_2:
        --j;
        break;
    case DRAPE_DIRECTION_3:
        --i;
        break;
    case DRAPE_DIRECTION_4:
        ++j;
        break;
    default:
        break;
    }
    model->nodeI[n - 1] = i;
    model->nodeJ[n - 1] = j;
    double* flat = model->nodeFlat + 2 * (std::int64_t{n} - 1);
    flat[0] = static_cast<double>(i) * model->stepA;
    flat[1] = static_cast<double>(j) * model->stepB;
}

void placeAtOrigin(std::int32_t n) {
    model->nodeI[n - 1] = 0;
    model->nodeJ[n - 1] = 0;
    double* flat = model->nodeFlat + 2 * (std::int64_t{n} - 1);
    flat[0] = 0.0;
    flat[1] = 0.0;
}

void wire(std::int32_t n, Neighbour neighbour) {
    if (!isDirection(neighbour.direction))
        return;
    model->setLink(neighbour.direction, neighbour.node, n);
    model->setLink(opposite(neighbour.direction), n, neighbour.node);
}

} // namespace

bool storeNode(const Vec3& position, const Vec3& normal, std::int32_t triangle, std::int32_t linkCount,
               Neighbour first, Neighbour second, std::int32_t& status) {
    if (linkCount > 0 && !model->isNode(first.node)) {
        status = DRAPE_BAD_PREVIOUS_NODE_1;
        return false;
    }
    if (linkCount > 1 && !model->isNode(second.node)) {
        status = DRAPE_BAD_PREVIOUS_NODE_2;
        return false;
    }
    status = DRAPE_OK;
    if (*model->nodeCount >= model->nodeCapacity) {
        status = DRAPE_NODES_FULL;
        return false;
    }
    const std::int32_t n = ++*model->nodeCount;
    store(model->nodePos, position, n);
    store(model->nodeNormal, normal, n);
    if (std::fabs(1.0 - vor(normal)) > UNIT_LENGTH_SLACK) {
        status = DRAPE_NORMAL_NOT_UNIT;
        return false;
    }
    model->setTriangle(n, triangle);
    if (linkCount < 1)
        placeAtOrigin(n);
    else
        placeInGrid(n, first.direction, first.node);
    for (std::int32_t d = 1; d <= 4; ++d)
        model->links[d][n - 1] = 0;
    if (linkCount > 0)
        wire(n, first);
    if (linkCount == 2)
        wire(n, second);
    return true;
}

bool copyNode(std::int32_t node, std::int32_t& status) {
    status = DRAPE_OK;
    if (!model->isNode(node) || *model->nodeCount >= model->nodeCapacity) {
        status = DRAPE_NODE_NOT_COPIED;
        return false;
    }
    const std::int32_t n = ++*model->nodeCount;
    for (std::int32_t d = 1; d <= 4; ++d)
        model->links[d][n - 1] = model->links[d][node - 1];
    model->nodeStatus[n - 1] = model->nodeStatus[node - 1];
    model->nodeI[n - 1] = model->nodeI[node - 1];
    model->nodeJ[n - 1] = model->nodeJ[node - 1];
    for (std::int64_t k = 0; k < 2; ++k)
        model->nodeFlat[2 * (std::int64_t{n} - 1) + k] = model->nodeFlat[2 * (std::int64_t{node} - 1) + k];
    store(model->nodePos, load(model->nodePos, node), n);
    model->setTriangle(n, model->triangleOf(node));
    store(model->nodeNormal, load(model->nodeNormal, node), n);
    return true;
}

} // namespace drape

using namespace drape;

extern "C" int32_t uzprsp(const double* position, const double* normal, const int32_t* triangle,
                          const int32_t* linkCount, const int32_t* direction1, const int32_t* prevNode1,
                          const int32_t* direction2, const int32_t* prevNode2, int32_t* status) {
    // Places that the link count leaves unused may be null.
    const Neighbour first = *linkCount > 0 ? Neighbour{*direction1, *prevNode1} : Neighbour{};
    const Neighbour second = *linkCount > 1 ? Neighbour{*direction2, *prevNode2} : Neighbour{};
    return storeNode(load(position), load(normal), *triangle, *linkCount, first, second, *status) ? 0 : 1;
}

extern "C" int32_t uzprcp(const int32_t* node, int32_t* status) {
    return copyNode(*node, *status) ? 0 : 1;
}
