// Front extension: while a front waits for its turn, the fronts beside it add nodes to its row. Before it is
// worked on it grows over them, backward and forward, as far as no row has been built on them.
#include "fronts/extension.h"

namespace drape {
namespace {

bool passable(std::int32_t n) {
    const std::int32_t status = model->statusOf(n);
    return status == DRAPE_NODE_OPEN || status == DRAPE_NODE_CUT;
}

// Walks from `n` in direction `walk` over nodes that can join; `n` ends on the last one. The number that
// joined, or -1 if the links run in a circle: no more nodes can join than there is room for.
std::int32_t joinFrom(std::int32_t& n, std::int32_t walk, std::int32_t frontDirection) {
    std::int32_t joined = 0;
    for (;;) {
        const std::int32_t m = model->link(walk, n);
        // The node that the walk leaves has to be passable, the one that joins only free.
        if (m == 0 || !passable(n) || model->link(frontDirection, m) != 0)
            return joined;
        if (++joined > model->nodeCapacity)
            return -1;
        n = m;
    }
}

} // namespace

bool extendFront(FrontRecord& front, std::int32_t& status) {
    status = DRAPE_ROW_LINK_MISSING;
    const std::int32_t d = front.direction;
    std::int32_t first = front.firstNode;
    const std::int32_t before = joinFrom(first, previous(d), d);
    if (before < 0)
        return false;
    const std::int32_t length = front.length + before;
    std::int32_t last = first;
    for (std::int32_t k = 1; k < length; ++k) {
        last = model->link(next(d), last);
        if (last == 0)
            return false;
    }
    const std::int32_t behind = joinFrom(last, next(d), d);
    if (behind < 0)
        return false;
    status = DRAPE_OK;
    front.firstNode = first;
    front.length = length + behind;
    return true;
}

} // namespace drape

using namespace drape;

extern "C" int32_t gzpref(int32_t* front, int32_t* status) {
    return extendFront(asFront(front), *status) ? 0 : 1;
}
