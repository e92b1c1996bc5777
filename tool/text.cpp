// Locale-free reading and writing of numbers.
#include "text.h"

#include <charconv>
#include <cmath>
#include <cstdio>

namespace tool {

std::string number(double value, int digits) {
    char buffer[40];
    std::snprintf(buffer, sizeof buffer, "%.*g", digits, value);
    return buffer;
}

std::string fixed(double value, int decimals) {
    char buffer[340];
    std::snprintf(buffer, sizeof buffer, "%.*f", decimals, value);
    return buffer;
}

std::string pointText(const Point& point) {
    return "(" + number(point[0]) + ", " + number(point[1]) + ", " + number(point[2]) + ")";
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
    return error == std::errc() && stop == end && std::isfinite(value);
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
