// The plies on one element as a solver lists them: from the face that the element's normal points away from
// to the other. Those below the mould come first, the last laid as the lowest.
#pragma once

#include "host/laminate/laminate.h"

#include <map>
#include <stdexcept>

namespace tool {

using namespace drape::host;

struct StackedPly {
    std::size_t ply = 0; // index into the laminate's plies
    const ElementFibres* fibres = nullptr;
    double thickness = 0.0; // sheared
};

// A ply lies on those laid before it on its side of the mould.
inline std::vector<StackedPly> stackOn(const Laminate& laminate, std::size_t element) {
    std::vector<StackedPly> above;
    std::vector<StackedPly> below;
    for (std::size_t p = 0; p < laminate.plies.size(); ++p) {
        const LaidPly& ply = laminate.plies[p];
        if (!ply.fibres.empty() && ply.fibres[element].cover != ElementCover::none) {
            (ply.fibres[element].above ? above : below)
                .push_back({p, &ply.fibres[element], ply.thicknessOn(element)});
        }
    }
    std::vector<StackedPly> stack(below.rbegin(), below.rend());
    stack.insert(stack.end(), above.begin(), above.end());
    return stack;
}

// How thick a stack is, and how much of that lies below the mould.
struct StackHeight {
    double total = 0.0;
    double below = 0.0;
};

inline StackHeight heightOf(const std::vector<StackedPly>& stack) {
    StackHeight height;
    for (const StackedPly& layer : stack) {
        height.total += layer.thickness;
        height.below += layer.fibres->above ? 0.0 : layer.thickness;
    }
    return height;
}

// Throw std::runtime_error for what no section or element can say.
inline void requireThickness(const Cloth& cloth) {
    if (!(cloth.thickness > 0.0)) {
        throw std::runtime_error("the cloth " + cloth.name +
                                 " has no thickness, which a composite section takes");
    }
}
inline void requireSolverShape(const ShellElement& element) {
    if (element.corners > 4) {
        throw std::runtime_error("element " + std::to_string(element.number) + " has " +
                                 std::to_string(element.corners) +
                                 " corners, and solvers take three or four");
    }
}

// Cloths of the plies that were laid, by name; the first ply of a name speaks for it.
inline std::map<std::string, Cloth> clothsOf(const Laminate& laminate) {
    std::map<std::string, Cloth> cloths;
    for (const LaidPly& ply : laminate.plies) {
        if (ply.isLaid()) {
            cloths.emplace(ply.wish.cloth.name, ply.wish.cloth);
        }
    }
    return cloths;
}

} // namespace tool
