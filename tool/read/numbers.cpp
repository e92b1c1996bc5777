// Read without a locale, so that a decimal mark is a point everywhere.
#include "tool/read/numbers.h"

#include <charconv>
#include <cmath>

namespace tool {

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
