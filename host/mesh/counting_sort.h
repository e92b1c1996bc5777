// Sorting by whole numbers that span little more than there are entries, as node numbers and grid coordinates
// do, in one pass over them and without a comparison.
#pragma once

#include <algorithm>
#include <cstdint>
#include <vector>

namespace drape::host {

// Rising by keyOf(entry), an int32; entries of one key stay in their order. So to sort by two keys, sort by
// the second first.
template <class Entry, class Key>
void countingSort(std::vector<Entry>& entries, Key keyOf) {
    if (entries.empty()) {
        return;
    }
    const auto [low, high] = std::minmax_element(
        entries.begin(), entries.end(), [&](const Entry& a, const Entry& b) { return keyOf(a) < keyOf(b); });
    const std::int64_t least = keyOf(*low);
    const auto place = [&](const Entry& entry) { return static_cast<std::size_t>(keyOf(entry) - least); };
    std::vector<std::size_t> begins(place(*high) + 2, 0);
    for (const Entry& entry : entries) {
        ++begins[place(entry) + 1];
    }
    for (std::size_t k = 1; k < begins.size(); ++k) {
        begins[k] += begins[k - 1];
    }
    std::vector<Entry> sorted(entries.size());
    for (const Entry& entry : entries) {
        sorted[begins[place(entry)]++] = entry;
    }
    entries = std::move(sorted);
}

} // namespace drape::host
