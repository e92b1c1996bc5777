// Numbers as files hold them, the same on every machine: a point as the decimal mark, and no value that a
// reader would refuse.
#pragma once

#include "host/mesh/text.h"

#include <array>
#include <charconv>
#include <cstdio>
#include <string>

namespace tool {

// Up to `digits` significant digits, without trailing zeros.
inline std::string fileNumber(double value, int digits = 9) {
    std::array<char, 48> text{};
    const double shown = drape::host::vec::finite(value) == 0.0 ? 0.0 : value; // also turns -0 into 0
#if defined(__cpp_lib_to_chars)
    const auto end =
        std::to_chars(text.data(), text.data() + text.size(), shown, std::chars_format::general, digits);
    return {text.data(), end.ptr};
#else
    // Libraries that lack it know no locale but the plain one.
    std::snprintf(text.data(), text.size(), "%.*g", digits, shown);
    return text.data();
#endif
}

// A word as a field of a table, which these marks part.
inline std::string csvField(const std::string& word) {
    return drape::host::quotedIfAny(word, ",\"\n\r");
}

} // namespace tool
