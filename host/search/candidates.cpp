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

namespace drape::host {

using namespace vec;

namespace {

// Half as far from the outline as from the next seed is far enough.
constexpr double outlineWeight = 2.0;

constexpr double sameRoom = 1e-6; // share of it

// Waves look first whether they have gone far enough at this many square roots of the surface's area, later
// at this share of the last room.
constexpr double leastReach = 0.25;
constexpr double leastShrunk = 0.6;

struct Roomiest {
    std::size_t triangle = 0;
    double room = -1.0;
};

// A wave from what a seed has to keep away from.
struct Weighing {
    Wave wave;
    double weight; // of its distances, in room
};

// Lets each wave take its distances off the room at every vertex. None goes farther than there is room.
void takeAway(std::vector<Weighing>& waves, double edge, double firstReach, std::vector<double>& room) {
    constexpr double further = 1.2;
    // What a wave has still to do a few edges beyond a vertex changes nothing there.
    const double margin = 3.0 * edge;
    const auto roomAt = [&](std::size_t v) {
        double least = room[v];
        for (const Weighing& w : waves) {
            least = std::min(least, w.weight * w.wave.distances()[v]);
        }
        return least;
    };
    double most = std::numeric_limits<double>::infinity();
    bool open = true;
    for (double reach = firstReach; open && most > reach;) {
        open = false;
        for (Weighing& w : waves) {
            w.wave.goOnTo(reach / w.weight + margin);
            open = open || !w.wave.hasEnded();
        }
        most = 0.0;
        for (std::size_t v = 0; v < room.size(); ++v) {
            most = std::max(most, roomAt(v));
        }
        reach = most > reach ? std::min(most, further * reach) : reach;
    }
    for (std::size_t v = 0; v < room.size(); ++v) {
        room[v] = roomAt(v);
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
    std::vector<double> room(mesh.positions.size(), std::numeric_limits<double>::infinity());
    std::vector<Weighing> waves;
    if (!surface.mould->loops.empty()) {
        waves.push_back({Wave(front, surface.mould->loops.front().vertices), outlineWeight});
    }
    double firstReach = leastReach * std::sqrt(surface.mould->area);
    while (seeds.size() < count && seeds.size() < mesh.triangles.size()) {
        waves.push_back({Wave(front, nearestPoint(*surface.mould, seeds.back())), 1.0});
        takeAway(waves, front.longestEdge(), firstReach, room);
        waves.clear();
        const Roomiest roomiest = roomiestOf(mesh, room);
        seeds.push_back(centreOf(mesh, roomiest.triangle));
        firstReach = leastShrunk * roomiest.room;
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
