// Short texts for people; a locale plays no part in them.
#include "host/mesh/text.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string_view>

namespace drape::host {

namespace {

// No sign before a zero, such as one that rounding made.
std::string unsignedZero(const char* text) {
    const std::string_view shown(text);
    const bool zero = shown.find_first_not_of("-0.") == std::string_view::npos;
    return std::string(zero && shown.starts_with('-') ? shown.substr(1) : shown);
}

} // namespace

std::string number(double value, int digits) {
    char buffer[40];
    std::snprintf(buffer, sizeof buffer, "%.*g", digits, value);
    constexpr double plainBelow = 1e9;
    if (std::abs(value) >= 1.0 && std::abs(value) < plainBelow &&
        std::string_view(buffer).find('e') != std::string::npos) {
        std::snprintf(buffer, sizeof buffer, "%.0f", std::strtod(buffer, nullptr));
    }
    return unsignedZero(buffer);
}

std::string fixed(double value, int decimals) {
    char buffer[340];
    std::snprintf(buffer, sizeof buffer, "%.*f", decimals, value);
    return unsignedZero(buffer);
}

std::string pointText(const Point& point, double fine) {
    const double size = std::max({std::abs(point[0]), std::abs(point[1]), std::abs(point[2])});
    // What isn't worth a reader's time, such as rounding.
    const double nothing = std::max({1e-12, 1e-9 * size, 0.1 * fine});
    constexpr double fewest = 4.0;
    constexpr double most = 15.0;
    const double wanted = fine > 0.0 && size > 0.0 ? std::ceil(std::log10(size / fine)) : fewest;
    const int digits = static_cast<int>(std::clamp(wanted, fewest, most));
    std::string text;
    for (const double x : point) {
        text += (text.empty() ? "(" : ", ") + number(std::abs(x) < nothing ? 0.0 : x, digits);
    }
    return text + ")";
}

std::string quotedIfAny(const std::string& word, std::string_view marks) {
    if (word.find_first_of(marks) == std::string::npos) {
        return word;
    }
    std::string quoted = "\"";
    for (const char c : word) {
        quoted += c == '"' ? "\"\"" : std::string(1, c);
    }
    return quoted + "\"";
}

std::string counted(std::size_t count, const std::string& one, const std::string& many) {
    return std::to_string(count) + " " + (count == 1 ? one : many);
}

} // namespace drape::host
