// One whole run and what tests ask of its result: every output array in a vector of exactly the promised
// size, comparison bit by bit, a digest, and seeds at any place and turn.
#pragma once

#include "surfaces.h"

#include <cmath>
#include <cstring>
#include <string>

namespace drape_test {

inline Grid drape(const Surface& surface, const Settings& settings) {
    return run(surface, settings);
}

inline std::uint64_t digestOf(const Grid& grid) {
    Digest digest;
    digest.add(grid);
    return digest.value();
}

// Names the first array and element in which two results differ in any bit; empty if they are the same.
inline std::string firstDifference(const Grid& a, const Grid& b) {
    if (a.status != b.status || a.count != b.count)
        return "status " + std::to_string(a.status) + " / " + std::to_string(b.status) + ", nodes " +
               std::to_string(a.count) + " / " + std::to_string(b.count);
    std::string found;
    const auto compare = [&](const char* name, const auto& x, const auto& y, std::size_t width) {
        const std::size_t n = width * static_cast<std::size_t>(a.count);
        for (std::size_t k = 0; found.empty() && k < n; ++k)
            if (std::memcmp(&x[k], &y[k], sizeof x[k]) != 0)
                found = std::string(name) + " of node " + std::to_string(k / width + 1) + ": " +
                        std::to_string(x[k]) + " / " + std::to_string(y[k]);
    };
    compare("link1", a.link1, b.link1, 1);
    compare("link2", a.link2, b.link2, 1);
    compare("link3", a.link3, b.link3, 1);
    compare("link4", a.link4, b.link4, 1);
    compare("nodeI", a.nodeI, b.nodeI, 1);
    compare("nodeJ", a.nodeJ, b.nodeJ, 1);
    compare("nodeTri", a.nodeTri, b.nodeTri, 1);
    compare("nodeStatus", a.nodeStatus, b.nodeStatus, 1);
    compare("nodePos", a.nodePos, b.nodePos, 3);
    compare("nodeFlat", a.nodeFlat, b.nodeFlat, 2);
    compare("nodeNormal", a.nodeNormal, b.nodeNormal, 3);
    return found;
}

// Turns both directions about z.
inline void turn(Settings& settings, double degrees) {
    const double angle = degrees * 0.017453292519943295, c = std::cos(angle), s = std::sin(angle);
    const double warp[3] = {c, s, 0.0}, weft[3] = {-s, c, 0.0};
    std::copy(warp, warp + 3, settings.warp);
    std::copy(weft, weft + 3, settings.weft);
}

// Settings of a run seeded on the surface above (x, y), with square cells of length `step`.
inline Settings seededAt(const Surface& surface, double x, double y, double step, double degrees = 0.0) {
    Settings settings;
    const Point seed = pointAbove(surface, x, y);
    std::copy(seed.begin(), seed.end(), settings.seed);
    settings.stepA = settings.stepB = step;
    settings.tolerance = 1e-3 * step;
    turn(settings, degrees);
    return settings;
}

} // namespace drape_test
