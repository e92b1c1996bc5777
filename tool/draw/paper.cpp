// Each size is the next larger one, folded.
#include "tool/draw/paper.h"

#include <array>

namespace tool {

std::optional<Paper> paperNamed(std::string_view name) {
    struct Size {
        std::string_view name;
        double width, height;
    };
    constexpr std::array<Size, 5> sizes{
        {{"A4", 210, 297}, {"A3", 297, 420}, {"A2", 420, 594}, {"A1", 594, 841}, {"A0", 841, 1189}}};
    for (const Size& size : sizes) {
        if (name == size.name) {
            return Paper{size.width, size.height, true};
        }
    }
    return std::nullopt;
}

std::optional<Paper> paperOf(double width, double height) {
    const auto fits = [](double side) { return side >= leastPaper && side <= mostPaper; };
    return fits(width) && fits(height) ? std::optional(Paper{width, height, false}) : std::nullopt;
}

} // namespace tool
