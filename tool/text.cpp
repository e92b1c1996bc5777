// Locale-free reading and writing of numbers.
#include "text.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string_view>

namespace tool {

std::string number(double value, int digits) {
    char buffer[40];
    std::snprintf(buffer, sizeof buffer, "%.*g", digits, value);
    constexpr double plainBelow = 1e9;
    if (std::abs(value) >= 1.0 && std::abs(value) < plainBelow &&
        std::string_view(buffer).find('e') != std::string::npos) {
        std::snprintf(buffer, sizeof buffer, "%.0f", std::strtod(buffer, nullptr));
    }
    return buffer;
}

std::string fixed(double value, int decimals) {
    char buffer[340];
    std::snprintf(buffer, sizeof buffer, "%.*f", decimals, value);
    return buffer;
}

std::string pointText(const Point& point) {
    const double size = std::max({std::abs(point[0]), std::abs(point[1]), std::abs(point[2])});
    const double nothing = std::max(1e-12, 1e-9 * size); // rounding that isn't worth a reader's time
    std::string text;
    for (const double x : point) {
        text += (text.empty() ? "(" : ", ") + number(std::abs(x) < nothing ? 0.0 : x);
    }
    return text + ")";
}

std::string counted(std::size_t count, const std::string& one, const std::string& many) {
    return std::to_string(count) + " " + (count == 1 ? one : many);
}

bool readNumber(const std::string& text, double& value) {
    const std::size_t first = text.find_first_not_of(" \t");
    const std::size_t last = text.find_last_not_of(" \t\r");
    if (first == std::string::npos) {
        return false;
    }
    const char* begin = text.data() + first + (text[first] == '+' ? 1 : 0);
    const char* end = text.data() + last + 1;
    const auto [stop, error] = std::from_chars(begin, end, value);
    constexpr double largest = 1e150; // the square of a length has to stay finite
    return error == std::errc() && stop == end && std::abs(value) <= largest;
}

bool readNumbers(const std::string& text, std::vector<double>& values) {
    values.clear();
    std::size_t start = 0;
    while (true) {
        const std::size_t comma = text.find(',', start);
        double value = 0.0;
        if (!readNumber(text.substr(start, comma == std::string::npos ? comma : comma - start), value)) {
            return false;
        }
        values.push_back(value);
        if (comma == std::string::npos) {
            return true;
        }
        start = comma + 1;
    }
}

} // namespace tool
