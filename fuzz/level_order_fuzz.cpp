// Any graph, with counts that don't add up and items that don't exist: an order or a code, inside the lists.
#include "byte_source.h"
#include "drape.h"

#include <cstdlib>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    drape_fuzz::ByteSource bytes(data, size);
    const bool askedInRange = !bytes.flag();
    const std::int32_t items = 1 + bytes.below(40);
    const std::int32_t start = askedInRange ? 1 + bytes.below(items) : bytes.integer();
    const std::int32_t count = bytes.below(16) == 15 ? -bytes.below(3) : items;
    const auto n = static_cast<std::size_t>(items);
    std::vector<std::int32_t> inDegree(n), successorCount(n), successors, order(n, 0);
    for (std::size_t i = 0; i < n; ++i) {
        inDegree[i] = bytes.flag() ? bytes.integer() : 1;
        const int kind = bytes.below(8);
        successorCount[i] = kind == 7 ? -bytes.below(100) : kind;
        for (std::int32_t k = 0; k < successorCount[i]; ++k)
            successors.push_back(bytes.flag() ? bytes.integer() : 1 + bytes.below(items));
    }
    successors.shrink_to_fit();
    const std::vector<std::int32_t> before = inDegree;
    std::int32_t orderedCount = -1, status = -1;
    const std::int32_t reserved = 0;
    const std::int32_t result =
        gz0zorc(&reserved, &reserved, &start, &count, inDegree.data(), successorCount.data(),
                successors.data(), &orderedCount, order.data(), &status);
    if (result == 1 && !(status == DRAPE_BAD_ARGUMENT && orderedCount == 0 && inDegree == before))
        std::abort();
    if (result == 1)
        return 0;
    // Each item at most once, the start first, and each one lowered by 1.
    std::vector<int> taken(n, 0);
    if (status != DRAPE_OK || orderedCount < 1 || orderedCount > items || order[0] != start)
        std::abort();
    for (std::size_t i = 0; i < static_cast<std::size_t>(orderedCount); ++i) {
        if (order[i] < 1 || order[i] > items || taken[static_cast<std::size_t>(order[i] - 1)]++ != 0)
            std::abort();
    }
    for (std::size_t i = 0; i < n; ++i) {
        const auto lowered = static_cast<std::int32_t>(static_cast<std::uint32_t>(before[i]) -
                                                       static_cast<std::uint32_t>(taken[i]));
        if (inDegree[i] != lowered)
            std::abort();
    }
    return 0;
}
