// Numbers as files hold them, the same on every machine: a point as the decimal mark, and no value that a
// reader would refuse.
#pragma once

#include <array>
#include <charconv>
#include <cmath>
#include <string>

namespace tool {

// `value`, or 0 where it is infinite or not a number.
inline double finite(double value) {
    return std::isfinite(value) ? value : 0.0;
}

// Up to `digits` significant digits, without trailing zeros.
inline std::string fileNumber(double value, int digits = 9) {
    std::array<char, 48> text{};
    const double shown = finite(value) == 0.0 ? 0.0 : value; // also turns -0 into 0
    const auto end =
        std::to_chars(text.data(), text.data() + text.size(), shown, std::chars_format::general, digits);
    return {text.data(), end.ptr};
}

} // namespace tool
