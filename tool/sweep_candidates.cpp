// Where to start, if nobody says: the default seed, then points of the surface as far as can be from the
// seeds taken before and from the outline. Angles run over a quarter turn, since a cloth with equal sides
// that is turned by 90 degrees is the same cloth.
#include "sweep.h"

#include "boundary_loops.h"
#include "errors.h"
#include "patch.h"
#include "point_math.h"
#include "surface_tree.h"
#include "text.h"

#include <algorithm>
#include <fstream>
#include <limits>

namespace tool {

using namespace vec;

namespace {

constexpr std::size_t defaultSeeds = 9;
constexpr std::size_t mostCandidates = 1000000;
constexpr double angleStep = 15.0;

// Half as far from the outline as from the next seed is far enough.
constexpr double outlineWeight = 2.0;

std::vector<Point> spreadSeeds(const Surface& surface, std::size_t count) {
    const TriangleMesh& mesh = surface.mesh;
    std::vector<double> room(mesh.triangles.size(), std::numeric_limits<double>::infinity());
    const auto take = [&](const std::vector<double>& distances, double weight) {
        for (std::size_t t = 0; t < room.size(); ++t) {
            for (const std::int32_t v : mesh.triangles[t]) {
                room[t] = std::min(room[t], weight * distances[static_cast<std::size_t>(v)]);
            }
        }
    };
    const std::vector<Loop> loops = boundaryLoops(mesh);
    if (!loops.empty()) {
        take(distancesAlong(mesh, loops.front().vertices), outlineWeight);
    }
    std::vector<Point> seeds{surface.defaultSeed};
    while (seeds.size() < count && seeds.size() < mesh.triangles.size()) {
        take(distancesAlong(mesh, nearestSurfacePoint(mesh, seeds.back())), 1.0);
        const auto best = std::max_element(room.begin(), room.end());
        seeds.push_back(centreOf(mesh, static_cast<std::size_t>(best - room.begin())));
    }
    seeds.resize(std::min(seeds.size(), count));
    return seeds;
}

// Points in rows and columns over the two longest sides of the bounding box, laid onto the surface.
std::vector<Point> gridSeeds(const Surface& surface, std::size_t columns, std::size_t rows) {
    Point low = surface.mesh.positions.front();
    Point high = low;
    for (const Point& p : surface.mesh.positions) {
        for (std::size_t k = 0; k < 3; ++k) {
            low[k] = std::min(low[k], p[k]);
            high[k] = std::max(high[k], p[k]);
        }
    }
    const Point size = high - low;
    std::array<std::size_t, 3> axes{0, 1, 2};
    std::stable_sort(axes.begin(), axes.end(),
                     [&](std::size_t a, std::size_t b) { return size[a] > size[b]; });
    std::sort(axes.begin(), axes.begin() + 2);
    const SurfaceTree tree(surface.mesh);
    std::vector<Point> seeds;
    for (std::size_t r = 0; r < rows; ++r) {
        for (std::size_t c = 0; c < columns; ++c) {
            Point p = mix(low, high, 0.5);
            p[axes[0]] =
                low[axes[0]] + size[axes[0]] * (static_cast<double>(c) + 0.5) / static_cast<double>(columns);
            p[axes[1]] =
                low[axes[1]] + size[axes[1]] * (static_cast<double>(r) + 0.5) / static_cast<double>(rows);
            seeds.push_back(tree.nearest(p).position);
        }
    }
    return seeds;
}

[[noreturn]] void badSeeds(const std::string& text) {
    throw UsageError("--sweep-seeds " + text +
                     ": give a count (9), a grid (5x3), points (x,y,z;x,y,z) or a file of points (@file)");
}

bool readCount(const std::string& text, std::size_t& count) {
    double value = 0.0;
    if (!readNumber(text, value) || value < 1.0 || value > 1e6 || value != std::floor(value)) {
        return false;
    }
    count = static_cast<std::size_t>(value);
    return true;
}

std::vector<Point> listedSeeds(const std::string& text, const std::string& named) {
    std::vector<Point> seeds;
    std::size_t start = 0;
    while (start <= text.size()) {
        const std::size_t end = std::min(text.find_first_of(";\n", start), text.size());
        std::string entry = text.substr(start, end - start);
        start = end + 1;
        if (entry.find_first_not_of(" \t\r") == std::string::npos) {
            continue;
        }
        entry.erase(0, entry.find_first_not_of(" \t\r"));
        entry.erase(entry.find_last_not_of(" \t\r") + 1);
        if (entry.find(',') == std::string::npos) {
            std::replace(entry.begin(), entry.end(), ' ', ',');
        }
        std::vector<double> values;
        if (!readNumbers(entry, values) || values.size() != 3) {
            badSeeds(named);
        }
        seeds.push_back({values[0], values[1], values[2]});
    }
    if (seeds.empty()) {
        badSeeds(named);
    }
    return seeds;
}

std::vector<Point> seedsOf(const std::string& text, const Surface& surface) {
    std::size_t count = defaultSeeds;
    if (text.empty() || readCount(text, count)) {
        return spreadSeeds(surface, count);
    }
    if (text[0] == '@') {
        std::ifstream in(text.substr(1));
        if (!in) {
            throw InputError("can't open the seeds " + text.substr(1));
        }
        return listedSeeds({std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()}, text);
    }
    const std::size_t cross = text.find('x');
    std::size_t rows = 0;
    if (cross != std::string::npos && readCount(text.substr(0, cross), count) &&
        readCount(text.substr(cross + 1), rows) && count * rows <= mostCandidates) {
        return gridSeeds(surface, count, rows);
    }
    return listedSeeds(text, text);
}

std::vector<double> anglesOf(const Settings& settings, const Surface& surface) {
    std::string text = settings.sweep.angles;
    if (text.empty()) {
        const bool square = settings.bias == 0.0 && surface.steps[0] == surface.steps[1];
        text = square ? "0:90:" : "0:180:";
        text += number(angleStep);
    }
    std::vector<double> values;
    if (text.find(':') == std::string::npos) {
        if (!readNumbers(text, values)) {
            throw UsageError("--sweep-angles " + text +
                             ": give degrees (0,30,45) or from:below:step (0:90:15)");
        }
        return values;
    }
    std::replace(text.begin(), text.end(), ':', ',');
    if (!readNumbers(text, values) || values.size() != 3 || !(values[2] > 0.0) || !(values[1] > values[0]) ||
        (values[1] - values[0]) / values[2] > 1e6) {
        throw UsageError("--sweep-angles " + settings.sweep.angles +
                         ": a range is from:below:step with a step above 0, such as 0:90:15");
    }
    std::vector<double> angles;
    constexpr double slack = 1e-9;
    for (int i = 0; values[0] + i * values[2] < values[1] - slack; ++i) {
        angles.push_back(values[0] + i * values[2]);
    }
    return angles;
}

} // namespace

std::vector<Candidate> candidatesOf(const Settings& settings, const Surface& surface) {
    const std::vector<Point> seeds = seedsOf(settings.sweep.seeds, surface);
    const std::vector<double> angles = anglesOf(settings, surface);
    if (seeds.size() * angles.size() > mostCandidates) {
        throw UsageError("the sweep has more than " + std::to_string(mostCandidates) + " candidates");
    }
    std::vector<Candidate> candidates;
    std::size_t count = 0;
    for (const Point& seed : seeds) {
        for (const double angle : angles) {
            ++count;
            if ((count - 1) % static_cast<std::size_t>(settings.sweep.parts) ==
                static_cast<std::size_t>(settings.sweep.part - 1)) {
                candidates.push_back({count, seed, settings.angle + angle});
            }
        }
    }
    return candidates;
}

} // namespace tool
