// The items of a directed graph, level by level from a start.
//
// Items reached over one level's successor lists make the next level, each taken once, and stand in ascending
// order within it. The levels stand one behind the other in the order itself, so a level is known by its two
// ends, and only the items of a level are sorted: a chain of a million levels costs no more than a fan.
#include "drape.h"
#include "services/work_arrays.h"

#include <algorithm>
#include <cstring>

namespace drape {
namespace {

enum State : std::int32_t { never = 0, waiting = 1, reached = 3 };

// One word of state per item, and two for the start of its list: the lists of many items can together be
// longer than an int32 counts.
constexpr std::int64_t wordsPerItem = 3;

class SuccessorLists {
public:
    SuccessorLists(std::int32_t* words, std::int64_t itemCount, const std::int32_t* counts,
                   const std::int32_t* successors)
        : words_(words), counts_(counts), successors_(successors) {
        // The last list's length has no part in where the lists start.
        std::int64_t start = 0;
        for (std::int64_t item = 1; item <= itemCount; ++item) {
            if (item > 1)
                start += length(item - 1);
            std::memcpy(words_ + 2 * (item - 1), &start, sizeof start);
        }
    }

    // A negative count stands for an empty list.
    std::int64_t length(std::int64_t item) const { return std::max<std::int64_t>(counts_[item - 1], 0); }

    const std::int32_t* begin(std::int64_t item) const {
        std::int64_t start;
        std::memcpy(&start, words_ + 2 * (item - 1), sizeof start);
        return successors_ + start;
    }

private:
    std::int32_t* words_;
    const std::int32_t* counts_;
    const std::int32_t* successors_;
};

// Wraps at the lowest number, which only the start item can hold.
void lower(std::int32_t& degree) {
    degree = static_cast<std::int32_t>(static_cast<std::uint32_t>(degree) - 1U);
}

struct Graph {
    std::int32_t count;
    std::int32_t* inDegree;
    SuccessorLists lists;
    std::int32_t* state;
};

// Appends the items first reached over the list of `item` to the order.
std::int32_t* appendReached(const Graph& graph, std::int32_t item, std::int32_t* orderEnd) {
    const std::int32_t* successor = graph.lists.begin(item);
    for (std::int64_t left = graph.lists.length(item); left > 0; --left, ++successor) {
        const std::int32_t s = *successor;
        if (s < 1 || s > graph.count || graph.state[s - 1] != waiting)
            continue;
        graph.state[s - 1] = reached;
        lower(graph.inDegree[s - 1]);
        *orderEnd++ = s;
    }
    return orderEnd;
}

std::int32_t orderByLevels(const Graph& graph, std::int32_t start, std::int32_t* order) {
    for (std::int64_t i = 0; i < graph.count; ++i)
        graph.state[i] = graph.inDegree[i] > 0 ? waiting : never;
    graph.state[start - 1] = reached;
    lower(graph.inDegree[start - 1]);
    order[0] = start;

    std::int32_t* level = order;
    std::int32_t* end = order + 1;
    while (level != end && end - order < graph.count) {
        std::int32_t* next = end;
        for (; level != next; ++level)
            end = appendReached(graph, *level, end);
        std::sort(next, end);
    }
    return static_cast<std::int32_t>(end - order);
}

} // namespace
} // namespace drape

extern "C" int32_t gz0zorc(const void* /*reserved1*/, const void* /*reserved2*/, const int32_t* start,
                           const int32_t* count, int32_t* inDegree, const int32_t* successorCount,
                           const int32_t* successors, int32_t* orderedCount, int32_t* order,
                           int32_t* status) {
    *status = DRAPE_OK;
    *orderedCount = 0;
    const int32_t items = *count;
    if (items < 1 || *start < 1 || *start > items) {
        *status = DRAPE_BAD_ARGUMENT;
        return 1;
    }
    drape::WorkArray<int32_t> work;
    if (!work.take(drape::wordsPerItem * items, *status))
        return 1;
    const drape::Graph graph = {items, inDegree,
                                drape::SuccessorLists(work.data(), items, successorCount, successors),
                                work.data() + 2 * std::int64_t{items}};
    *orderedCount = drape::orderByLevels(graph, *start, order);
    return 0;
}
