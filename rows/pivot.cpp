// Pivot selection: a row isn't built from one end of its front but outward from one node of it, where the
// cloth is least sheared or where the grid line through the seed runs.
#include "rows/pivot.h"

#include <cmath>

namespace drape {
namespace {

enum class Request { automatic, answered, missing };

Request answerRequest(const std::int32_t* nodes, std::int32_t length, std::int32_t request,
                      std::int32_t& pivotIndex) {
    pivotIndex = 0;
    if (request == PIVOT_AUTOMATIC)
        return Request::automatic;
    if (request == PIVOT_FIRST_NODE || (request == PIVOT_LAST_NODE && length == 0)) {
        pivotIndex = 1;
        return Request::answered;
    }
    if (request == PIVOT_LAST_NODE) {
        pivotIndex = length;
        return Request::answered;
    }
    for (std::int32_t p = 1; p <= length; ++p) {
        if (nodes[p - 1] == request) {
            pivotIndex = p;
            return Request::answered;
        }
    }
    return Request::missing;
}

// How far the two cells behind `centre` are from square: 0 for perfect ones.
double shearMeasure(const Vec3& centre, const Vec3& before, const Vec3& behind, const Vec3& after,
                    double square) {
    const Vec3 u = centre - before;
    const Vec3 v = centre - behind;
    const Vec3 w = centre - after;
    return std::fabs(square - prosca(parvis(u, v), parvis(v, w)));
}

// The walk along the links moves only where both neighbours are open, so it can lag behind the position that
// is recorded.
std::int32_t leastShearedPosition(const std::int32_t* nodes, std::int32_t length, std::int32_t direction) {
    if (length < 3)
        return 0;
    const double square = model->stepA * model->stepA * model->stepB * model->stepB;
    double best = square;
    std::int32_t chosen = 0;
    std::int32_t before = nodes[0];
    std::int32_t centre = nodes[1];
    for (std::int32_t p = 2; p < length; ++p) {
        if (model->statusOf(nodes[p - 2]) != DRAPE_NODE_OPEN || model->statusOf(nodes[p]) != DRAPE_NODE_OPEN)
            continue;
        const std::int32_t a = before;
        const std::int32_t c = centre;
        const std::int32_t behind = model->link(opposite(direction), c);
        const std::int32_t after = model->link(next(direction), c);
        before = c;
        centre = after;
        if (c == 0 || behind == 0 || a == 0 || after == 0)
            continue;
        const double measure = shearMeasure(model->positionOf(c), model->positionOf(a),
                                            model->positionOf(behind), model->positionOf(after), square);
        if (measure < best) {
            chosen = p;
            best = measure;
        }
    }
    return chosen;
}

// The last position on the grid line through the seed, 0 if the row doesn't cross it.
std::int32_t gridLinePosition(const std::int32_t* nodes, std::int32_t length, std::int32_t direction) {
    const std::int32_t* coordinate = alongColumns(direction) ? model->nodeJ : model->nodeI;
    std::int32_t chosen = 0;
    for (std::int32_t p = 1; p <= length; ++p)
        if (model->holdsNode(nodes[p - 1]) && coordinate[nodes[p - 1] - 1] == 0)
            chosen = p;
    return chosen;
}

// Moves an automatic choice off a closed node, to the last open one if there is any.
void moveToOpenNode(const std::int32_t* nodes, std::int32_t length, std::int32_t& pivotIndex) {
    if (length < 1 || model->statusOf(nodes[pivotIndex - 1]) >= 0)
        return;
    for (std::int32_t p = 1; p <= length; ++p)
        if (model->statusOf(nodes[p - 1]) == DRAPE_NODE_OPEN)
            pivotIndex = p;
}

void finishAutomaticChoice(const std::int32_t* nodes, std::int32_t length, std::int32_t direction,
                           std::int32_t& pivotIndex) {
    if (pivotIndex == 0)
        pivotIndex = gridLinePosition(nodes, length, direction);
    if (pivotIndex == 0)
        pivotIndex = length / 2 + 1;
    moveToOpenNode(nodes, length, pivotIndex);
}

} // namespace

bool pivotByGridLine(const std::int32_t* nodes, std::int32_t length, std::int32_t direction,
                     std::int32_t request, std::int32_t& pivotIndex, std::int32_t& status) {
    const Request answer = answerRequest(nodes, length, request, pivotIndex);
    if (answer == Request::missing) {
        status = DRAPE_PIVOT_NOT_IN_ROW;
        return false;
    }
    if (answer == Request::automatic)
        finishAutomaticChoice(nodes, length, direction, pivotIndex);
    return true;
}

bool pivotByLeastShear(const std::int32_t* nodes, std::int32_t length, std::int32_t direction,
                       std::int32_t request, std::int32_t& pivotIndex, std::int32_t& status) {
    status = DRAPE_OK;
    const Request answer = answerRequest(nodes, length, request, pivotIndex);
    if (answer == Request::missing) {
        status = DRAPE_PIVOT_NOT_IN_ROW;
        return false;
    }
    if (answer == Request::automatic) {
        pivotIndex = leastShearedPosition(nodes, length, direction);
        finishAutomaticChoice(nodes, length, direction, pivotIndex);
    }
    return true;
}

} // namespace drape

using namespace drape;

extern "C" int32_t uzprpi(const int32_t* nodes, const int32_t* length, const int32_t* direction,
                          const int32_t* pivotRequest, int32_t* pivotIndex, int32_t* status) {
    return pivotByLeastShear(nodes, *length, *direction, *pivotRequest, *pivotIndex, *status) ? 0 : 1;
}
