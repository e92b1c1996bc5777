// The plane is cut into level strips at every corner and every crossing of two sides. Within a strip no sides
// cross, so the sides sorted from left to right tell for each gap between them in how many shapes it lies.
#include "host/cloth/flat_overlap.h"

#include <algorithm>
#include <cstddef>

namespace drape::host {
namespace {

struct Side {
    FlatPoint low, high;
    std::size_t shape;
    int winding; // 1 where the solid lies to the right of the side, -1 where to its left

    double at(double y) const { return low[0] + (high[0] - low[0]) * (y - low[1]) / (high[1] - low[1]); }
};

std::vector<Side> sidesOf(const std::vector<std::vector<std::vector<FlatPoint>>>& shapes) {
    std::vector<Side> sides;
    for (std::size_t s = 0; s < shapes.size(); ++s) {
        for (const auto& polygon : shapes[s]) {
            for (std::size_t k = 0; k < polygon.size(); ++k) {
                const FlatPoint& a = polygon[k];
                const FlatPoint& b = polygon[(k + 1) % polygon.size()];
                if (a[1] < b[1]) {
                    sides.push_back({a, b, s, -1});
                } else if (b[1] < a[1]) {
                    sides.push_back({b, a, s, 1});
                }
            }
        }
    }
    return sides;
}

// Sides that share no height can't cross, so only those that begin below the other's end are paired.
std::vector<double> levelsOf(const std::vector<Side>& sides) {
    std::vector<const Side*> rising;
    std::vector<double> levels;
    for (const Side& side : sides) {
        rising.push_back(&side);
        levels.push_back(side.low[1]);
        levels.push_back(side.high[1]);
    }
    std::sort(rising.begin(), rising.end(),
              [](const Side* a, const Side* b) { return a->low[1] < b->low[1]; });
    for (std::size_t k = 0; k < rising.size(); ++k) {
        for (std::size_t m = k + 1; m < rising.size() && rising[m]->low[1] < rising[k]->high[1]; ++m) {
            const Side& a = *std::min(rising[k], rising[m]);
            const Side& b = *std::max(rising[k], rising[m]);
            const double low = rising[m]->low[1];
            const double high = std::min(a.high[1], b.high[1]);
            const double below = a.at(low) - b.at(low);
            const double above = a.at(high) - b.at(high);
            if ((below < 0.0) != (above < 0.0)) {
                levels.push_back(low + (high - low) * below / (below - above));
            }
        }
    }
    std::sort(levels.begin(), levels.end());
    levels.erase(std::unique(levels.begin(), levels.end()), levels.end());
    return levels;
}

// The sides that run through each strip between two levels, in their order.
std::vector<std::vector<const Side*>> stripsOf(const std::vector<Side>& sides,
                                               const std::vector<double>& levels) {
    std::vector<std::vector<const Side*>> strips(levels.size());
    for (const Side& side : sides) {
        const auto first = std::lower_bound(levels.begin(), levels.end(), side.low[1]);
        for (auto at = first; at != levels.end() && *at < side.high[1]; ++at) {
            strips[static_cast<std::size_t>(at - levels.begin())].push_back(&side);
        }
    }
    return strips;
}

// The area that lies in at least `least` of the shapes.
std::vector<std::vector<FlatPoint>> layersOf(const std::vector<std::vector<std::vector<FlatPoint>>>& shapes,
                                             std::ptrdiff_t least) {
    const std::vector<Side> sides = sidesOf(shapes);
    const std::vector<double> levels = levelsOf(sides);
    std::vector<std::vector<const Side*>> strips = stripsOf(sides, levels);
    std::vector<std::vector<FlatPoint>> pieces;
    for (std::size_t k = 0; k + 1 < levels.size(); ++k) {
        const double low = levels[k];
        const double high = levels[k + 1];
        const double middle = 0.5 * (low + high);
        std::vector<const Side*>& row = strips[k];
        std::stable_sort(row.begin(), row.end(),
                         [&](const Side* a, const Side* b) { return a->at(middle) < b->at(middle); });
        std::vector<int> winding(shapes.size(), 0);
        for (std::size_t r = 0; r + 1 < row.size(); ++r) {
            winding[row[r]->shape] += row[r]->winding;
            const auto layers = std::count_if(winding.begin(), winding.end(), [](int w) { return w > 0; });
            const double left = row[r]->at(middle);
            const double right = row[r + 1]->at(middle);
            if (layers >= least && right > left) {
                pieces.push_back({{row[r]->at(low), low},
                                  {row[r + 1]->at(low), low},
                                  {row[r + 1]->at(high), high},
                                  {row[r]->at(high), high}});
            }
        }
    }
    return pieces;
}

} // namespace

std::vector<std::vector<FlatPoint>>
overlapOf(const std::vector<std::vector<std::vector<FlatPoint>>>& shapes) {
    return layersOf(shapes, 2);
}

std::vector<std::vector<FlatPoint>> trapezoidsOf(const std::vector<std::vector<FlatPoint>>& shape) {
    return layersOf({shape}, 1);
}

bool liesWithin(const FlatPoint& place, const std::vector<FlatPoint>& line) {
    bool inside = false;
    for (std::size_t k = 0; k < line.size(); ++k) {
        const FlatPoint& a = line[k];
        const FlatPoint& b = line[(k + 1) % line.size()];
        if ((a[1] > place[1]) != (b[1] > place[1]) &&
            place[0] < a[0] + (place[1] - a[1]) / (b[1] - a[1]) * (b[0] - a[0])) {
            inside = !inside;
        }
    }
    return inside;
}

double signedArea(const std::vector<FlatPoint>& polygon) {
    double sum = 0.0;
    for (std::size_t k = 0; k < polygon.size(); ++k) {
        const FlatPoint& a = polygon[k];
        const FlatPoint& b = polygon[(k + 1) % polygon.size()];
        // Counted from the first point, so that a pattern far from the seed loses no digits.
        sum +=
            (a[0] - polygon[0][0]) * (b[1] - polygon[0][1]) - (b[0] - polygon[0][0]) * (a[1] - polygon[0][1]);
    }
    return 0.5 * sum;
}

} // namespace drape::host
