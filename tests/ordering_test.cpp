// Level ordering: which items are reached, in what order, and what becomes of the counts of incoming links.
#include "drape.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <numeric>
#include <vector>

#ifdef __linux__
#include <sys/mman.h>
#endif

namespace {

using Items = std::vector<std::int32_t>;

struct Graph {
    Items inDegree, successorCount, successors;
    std::int32_t orderedCount = -1;
    std::int32_t status = -1;
    Items order;
};

// A graph from its successor lists, with the incoming links counted.
Graph graphOf(const std::vector<Items>& lists) {
    Graph graph;
    graph.inDegree.assign(lists.size(), 0);
    for (const Items& list : lists) {
        graph.successorCount.push_back(static_cast<std::int32_t>(list.size()));
        for (const std::int32_t s : list) {
            graph.successors.push_back(s);
            ++graph.inDegree[static_cast<std::size_t>(s - 1)];
        }
    }
    return graph;
}

// The order, cut to its length.
const Items& orderFrom(Graph& graph, std::int32_t start) {
    const auto count = static_cast<std::int32_t>(graph.inDegree.size());
    graph.order.assign(graph.inDegree.size(), 0);
    const std::int32_t result =
        gz0zorc(nullptr, nullptr, &start, &count, graph.inDegree.data(), graph.successorCount.data(),
                graph.successors.data(), &graph.orderedCount, graph.order.data(), &graph.status);
    EXPECT_EQ(result, graph.status == 0 ? 0 : 1);
    graph.order.resize(static_cast<std::size_t>(graph.orderedCount));
    return graph.order;
}

TEST(LevelOrdering, LevelsFollowEachOtherAndAreAscending) {
    Graph fan = graphOf({{7, 4}, {}, {6}, {3, 2}, {}, {1}, {2, 5, 3}});
    EXPECT_EQ(orderFrom(fan, 1), (Items{1, 4, 7, 2, 3, 5, 6}));
    // Each item taken loses one incoming link, however many led to it.
    EXPECT_EQ(fan.inDegree, (Items{0, 1, 1, 0, 0, 0, 0}));

    Graph chain = graphOf({{2}, {3}, {}});
    EXPECT_EQ(orderFrom(chain, 2), (Items{2, 3}));

    Graph single = graphOf({{}});
    EXPECT_EQ(orderFrom(single, 1), (Items{1}));
    EXPECT_EQ(single.inDegree, (Items{-1}));
}

TEST(LevelOrdering, AnItemWithoutIncomingLinksIsNeverReached) {
    Graph graph = graphOf({{2, 3}, {4}, {}, {}});
    graph.inDegree[1] = 0;
    EXPECT_EQ(orderFrom(graph, 1), (Items{1, 3}));
    EXPECT_EQ(graph.status, 0);
    EXPECT_EQ(graph.inDegree, (Items{-1, 0, 0, 1}));
}

TEST(LevelOrdering, BadArgumentsAreRefusedAndTouchNothing) {
    for (const std::int32_t start : {0, 3, -1, std::numeric_limits<std::int32_t>::max()}) {
        Graph graph = graphOf({{2}, {1}});
        EXPECT_TRUE(orderFrom(graph, start).empty());
        EXPECT_EQ(graph.status, DRAPE_BAD_ARGUMENT);
        EXPECT_EQ(graph.inDegree, (Items{1, 1}));
    }
    for (const std::int32_t count : {0, -1, std::numeric_limits<std::int32_t>::min()}) {
        const std::int32_t start = 1;
        std::int32_t orderedCount = 7, status = 0;
        EXPECT_EQ(gz0zorc(nullptr, nullptr, &start, &count, nullptr, nullptr, nullptr, &orderedCount, nullptr,
                          &status),
                  1);
        EXPECT_EQ(status, DRAPE_BAD_ARGUMENT);
        EXPECT_EQ(orderedCount, 0);
    }
}

// The order of one item is that item, whatever it leads to; the lists aren't looked at.
TEST(LevelOrdering, OneItem) {
    const std::int32_t one = 1;
    std::int32_t inDegree = 0, orderedCount = 7, order = 7, status = 7;
    EXPECT_EQ(
        gz0zorc(nullptr, nullptr, &one, &one, &inDegree, nullptr, nullptr, &orderedCount, &order, &status),
        0);
    EXPECT_EQ((Items{inDegree, orderedCount, order, status}), (Items{-1, 1, 1, 0}));
}

TEST(LevelOrdering, SuccessorsThatAreNoItemsAndNegativeCountsAreSkipped) {
    constexpr std::int32_t lowest = std::numeric_limits<std::int32_t>::min();
    Graph graph;
    graph.inDegree = {lowest, 1, 1, 1};
    graph.successorCount = {4, lowest, 1, -2};
    graph.successors = {0, 5, lowest, 3, 4};
    EXPECT_EQ(orderFrom(graph, 1), (Items{1, 3, 4}));
    EXPECT_EQ(graph.inDegree[1], 1);
}

// Would take an hour if each level cost a look at all items.
#ifdef __linux__
// Lists that nobody reads count where the later ones start, also when together they are longer than an int32.
TEST(LevelOrdering, ListsThatStartBeyondWhatAnInt32Counts) {
    if (sizeof(void*) < 8)
        GTEST_SKIP() << "more than the address space";
    const std::size_t longest = std::numeric_limits<std::int32_t>::max(), bytes = 4 * (longest + 2);
    void* room =
        mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (room == MAP_FAILED)
        GTEST_SKIP() << "no room for the lists, though they stay empty";
    auto* successors = static_cast<std::int32_t*>(room);
    successors[0] = 3;
    successors[1 + longest] = 4;
    const std::int32_t none = 0, start = 1, count = 4;
    const Items lengths = {1, std::numeric_limits<std::int32_t>::max(), 1, 0};
    Items inDegree = {0, 0, 1, 1}, order(4, 0);
    std::int32_t ordered = 0, status = 9;
    EXPECT_EQ(gz0zorc(&none, &none, &start, &count, inDegree.data(), lengths.data(), successors, &ordered,
                      order.data(), &status),
              0);
    EXPECT_EQ(order, (Items{1, 3, 4, 0}));
    EXPECT_EQ(ordered, 3);
    munmap(room, bytes);
}
#endif

TEST(LevelOrdering, AMillionLevelsAndOneLevelOfAMillion) {
    constexpr std::int32_t count = 1000000;
    Graph chain, fan;
    chain.inDegree = fan.inDegree = Items(count, 1);
    chain.successorCount.assign(count, 1);
    fan.successorCount.assign(count, 0);
    fan.successorCount[0] = count;
    for (std::int32_t i = 1; i <= count; ++i) {
        chain.successors.push_back(i % count + 1);
        fan.successors.push_back(count + 1 - i);
    }
    Items ascending(count);
    std::iota(ascending.begin(), ascending.end(), 1);
    EXPECT_EQ(orderFrom(chain, 1), ascending);
    EXPECT_EQ(orderFrom(fan, 1), ascending);
}

} // namespace
