// A table of kinds of output: which of them a file name's ending asks for, and the lines of help that tell
// them. A kind has an `ending` and `what` is in it, empty for endings that aren't told or can't be written.
#pragma once

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

namespace tool {

// The first whose ending the name has, in capitals or not; null if there is none. In a table, longer endings
// stand before the shorter ones that they contain.
template <class Kind>
const Kind* kindOf(const std::vector<Kind>& kinds, const std::string& path) {
    std::string name = path;
    std::transform(name.begin(), name.end(), name.begin(),
                   [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
    const auto found = std::find_if(kinds.begin(), kinds.end(), [&](const Kind& kind) {
        return name.size() > kind.ending.size() && name.ends_with(kind.ending);
    });
    return found == kinds.end() ? nullptr : &*found;
}

template <class Kind>
std::string helpOf(const std::vector<Kind>& kinds) {
    constexpr std::size_t endingWidth = 18;
    std::string help;
    for (const Kind& kind : kinds) {
        if (!kind.what.empty()) {
            std::string line = "  *" + std::string(kind.ending);
            line.resize(std::max(line.size() + 1, endingWidth), ' ');
            help += line + std::string(kind.what) + "\n";
        }
    }
    return help;
}

} // namespace tool
