// Sheets of paper to print a pattern on.
#pragma once

#include <optional>
#include <string_view>

namespace tool {

// In millimetres.
struct Paper {
    double width = 0.0;
    double height = 0.0;
    bool canTurn = false; // a common size, to be laid either way
};

constexpr double leastPaper = 100.0; // of either side
constexpr double mostPaper = 5080.0;

// A4 to A0; none for other names.
std::optional<Paper> paperNamed(std::string_view name);

// A sheet that is fed one way; none beyond `leastPaper` or `mostPaper`.
std::optional<Paper> paperOf(double width, double height);

} // namespace tool
