// The front table: an ordered list of live fronts, in which new fronts take the place of their origin.
#include "run/model.h"

#include <algorithm>

namespace drape {

bool insertFront(const FrontRecord& record, std::int32_t position, std::int32_t& status) {
    status = DRAPE_OK;
    const FrontRecord inserted = record; // the caller's record may stand in the table that moves
    const std::int32_t count = ++*model->frontCount;
    if (position < 1 || position > count) {
        status = DRAPE_BAD_FRONT_POSITION;
        return false;
    }
    if (count > model->nodeCapacity) {
        status = DRAPE_FRONTS_FULL;
        return false;
    }
    FrontRecord* place = &model->front(position);
    FrontRecord* oldEnd = model->fronts + (count - 1);
    std::move_backward(place, oldEnd, oldEnd + 1);
    *place = inserted;
    return true;
}

void removeFront(std::int32_t position) {
    const std::int32_t count = --*model->frontCount;
    if (position < 1 || position > count)
        return;
    FrontRecord* place = &model->front(position);
    std::move(place + 1, model->fronts + (count + 1), place);
}

void dropRow(std::int32_t position) {
    const FrontRecord& front = model->front(position);
    *model->nodeCount -= front.length;
    std::int32_t n = front.firstNode;
    for (std::int32_t k = 0; k < front.length; ++k) {
        model->setLink(front.direction, n, 0);
        n = model->link(next(front.direction), n);
    }
}

} // namespace drape

using namespace drape;

extern "C" int32_t uzpraf(const int32_t* record, const int32_t* position, int32_t* status) {
    return insertFront(asFront(record), *position, *status) ? 0 : 1;
}

extern "C" int32_t uzprrf(const int32_t* position, int32_t* status) {
    *status = DRAPE_OK;
    removeFront(*position);
    return 0;
}

extern "C" void uzprap(const int32_t* position) {
    dropRow(*position);
}
