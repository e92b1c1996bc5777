// A field holds eight characters, so the exponent goes without its letter and a leading zero is left out.
#include "tool/write/bulk_cards.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>

namespace tool {

std::string bulkReal(double value, std::size_t width) {
    for (int digits = static_cast<int>(width); digits > 0; --digits) {
        std::array<char, 48> buffer{};
        std::snprintf(buffer.data(), buffer.size(), "%.*g", digits, value + 0.0);
        std::string text = buffer.data();
        const std::size_t e = text.find('e');
        std::string head = text.substr(0, e);
        if (head.find('.') == std::string::npos) {
            head += '.';
        }
        if (e != std::string::npos) {
            head += text[e + 1] + std::to_string(std::abs(std::atoi(text.c_str() + e + 1)));
        } else if (head.starts_with("0.")) {
            head.erase(0, 1);
        } else if (head.starts_with("-0.")) {
            head.erase(1, 1);
        }
        head = head == "." || head == "-." ? "0." : head;
        if (head.size() <= width) {
            return head;
        }
    }
    throw std::runtime_error("a number doesn't fit into a field of the deck");
}

std::string bulkWhole(std::int64_t value) {
    if (value < 1 || value > 99999999) {
        throw std::runtime_error("the number " + std::to_string(value) +
                                 " doesn't fit into a field of the deck");
    }
    return std::to_string(value);
}

std::string bulkCard(const std::string& name, const std::vector<std::string>& fields) {
    std::string text = name + std::string(8 - name.size(), ' ');
    for (std::size_t k = 0; k < fields.size(); ++k) {
        if (k > 0 && k % 8 == 0) {
            text += "\n+       ";
        }
        text += std::string(8 - std::min<std::size_t>(8, fields[k].size()), ' ') + fields[k];
    }
    return text + "\n";
}

std::string bulkGrid(std::int64_t number, const Point& p) {
    const auto wide = [](const std::string& text) { return std::string(16 - text.size(), ' ') + text; };
    return "GRID*   " + wide(bulkWhole(number)) + std::string(16, ' ') + wide(bulkReal(p[0], 16)) +
           wide(bulkReal(p[1], 16)) + "\n*       " + wide(bulkReal(p[2], 16)) + "\n";
}

double bulkAngle(double degrees) {
    return std::round(degrees * 1e3) / 1e3 + 0.0;
}

double fibreAngle(double degrees) {
    constexpr double rounding = 5e-4;
    while (degrees <= -90.0 + rounding) {
        degrees += 180.0;
    }
    while (degrees > 90.0 + rounding) {
        degrees -= 180.0;
    }
    return bulkAngle(degrees);
}

} // namespace tool
