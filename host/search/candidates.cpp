// Where to start, if nobody says: the default seed, then points of the surface as far as can be from the
// seeds taken before and from the outline.
#include "host/search/candidates.h"

#include "host/mesh/box.h"
#include "host/mesh/front.h"
#include "host/mesh/surface_tree.h"

#include <algorithm>
#include <limits>
#include <stdexcept>
#include <string>
#include <utility>

namespace drape::host {

using namespace vec;

namespace {

// Half as far from the outline as from the next seed is far enough.
constexpr double outlineWeight = 2.0;

constexpr double unlimited = std::numeric_limits<double>::infinity();

constexpr double sameRoom = 1e-6; // share of it

// The first waves look whether they have gone far enough at this many square roots of the surface's area.
constexpr double leastReach = 0.25;

struct Roomiest {
    std::size_t triangle = 0;
    double room = -1.0;
};

// A wave from what a seed has to keep away from.
struct Weighing {
    Wave wave;
    double weight; // of its distances, in room
};

// Lets waves take their distances off the room at every vertex, bit by bit from `reach` on, and none farther
// than there is room.
void takeAway(std::vector<Weighing> waves, double reach, std::vector<double>& room) {
    constexpr double further = 1.2;
    for (bool open = true; open; reach *= further) {
        open = false;
        for (Weighing& w : waves) {
            w.wave.goOnAmong(room, w.weight, reach / w.weight);
            open = open || !w.wave.hasEnded();
            const std::vector<double>& distances = w.wave.distances();
            for (std::size_t v = 0; v < room.size(); ++v) {
                room[v] = std::min(room[v], w.weight * distances[v]);
            }
        }
        open = open && *std::max_element(room.begin(), room.end()) > reach;
    }
}

// The triangle whose corner with the least room has the most; of several that have as much, but for rounding,
// the first.
Roomiest roomiestOf(const TriangleMesh& mesh, const std::vector<double>& room) {
    Roomiest best;
    for (std::size_t t = 0; t < mesh.triangles.size(); ++t) {
        const Triangle& c = mesh.triangles[t];
        const double least = std::min({room[at(c[0])], room[at(c[1])], room[at(c[2])]});
        if (least > (1.0 + sameRoom) * best.room) {
            best = {t, least};
        }
    }
    return best;
}

} // namespace

std::vector<Point> spreadSeeds(const Surface& surface, std::size_t count) {
    const TriangleMesh& mesh = surface.mesh;
    std::vector<Point> seeds{surface.defaultSeed};
    if (count < 2) {
        seeds.resize(count);
        return seeds;
    }
    const Front front(mesh);
    std::vector<double> room(mesh.positions.size(), unlimited);
    std::vector<Weighing> waves;
    if (!surface.mould->loops.empty()) {
        waves.push_back({Wave(front, surface.mould->loops.front().vertices), outlineWeight});
    }
    // Later waves end where those before them leave no room.
    double reach = leastReach * std::sqrt(surface.mould->area);
    while (seeds.size() < count && seeds.size() < mesh.triangles.size()) {
        waves.push_back({Wave(front, nearestPoint(*surface.mould, seeds.back())), 1.0});
        takeAway(std::exchange(waves, {}), reach, room);
        seeds.push_back(centreOf(mesh, roomiestOf(mesh, room).triangle));
        reach = unlimited;
    }
    return seeds;
}

std::vector<Point> gridSeeds(const Surface& surface, std::size_t columns, std::size_t rows) {
    const auto [low, high] = boxOf(surface.mesh.positions);
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

std::vector<double> angleRange(double first, double below, double step) {
    std::vector<double> angles;
    constexpr double slack = 1e-9;
    for (int i = 0; first + i * step < below - slack; ++i) {
        angles.push_back(first + i * step);
    }
    return angles;
}

std::vector<double> usualAngles(const Surface& surface) {
    const bool square = surface.steps[0] == surface.steps[1];
    return angleRange(0.0, square ? 90.0 : 180.0, defaultAngleStep);
}

std::vector<Candidate> candidatesOf(const std::vector<Point>& seeds, const std::vector<double>& angles) {
    if (seeds.size() * angles.size() > mostCandidates) {
        throw std::invalid_argument("the sweep has more than " + std::to_string(mostCandidates) +
                                    " candidates");
    }
    std::vector<Candidate> candidates;
    for (const Point& seed : seeds) {
        for (const double angle : angles) {
            candidates.push_back({candidates.size() + 1, seed, angle});
        }
    }
    return candidates;
}

std::vector<Candidate> shareOf(const std::vector<Candidate>& candidates, std::size_t part,
                               std::size_t parts) {
    std::vector<Candidate> share;
    for (std::size_t i = part - 1; i < candidates.size(); i += parts) {
        share.push_back(candidates[i]);
    }
    return share;
}

} // namespace drape::host
