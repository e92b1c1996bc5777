// A place is where a line along the mean normal meets the surface. On an edge between triangles that face
// differently rounding would decide which of them the seed lies on, and with it how the warp is laid; so the
// place is moved a little into the one whose middle comes first along fixed directions.
#include "host/search/default_start.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>

namespace drape::host {

using namespace vec;

namespace {

constexpr std::array<double, 3> rings{0.05, 0.1, 0.2}; // radii, in square roots of the surface's area
constexpr int perRing = 8;
constexpr double onEdge = 1e-6;       // share of a triangle's area within which a line meets its rim
constexpr double sameFacing = 1e-6;   // difference of unit normals
constexpr double intoTriangle = 0.05; // of the way to its middle
constexpr double sameShare = 0.02;    // beyond locking
constexpr double sameShear = 0.25;    // degrees; jagged moulds turn rounding into a tenth
constexpr double nearlyAsMuch = 0.9;  // of the best cover

// The sense in which a direction's largest component is above 0.
Point upright(const Point& direction) {
    std::size_t largest = 0;
    for (std::size_t k = 1; k < 3; ++k) {
        largest = std::abs(direction[k]) > (1.0 + 1e-9) * std::abs(direction[largest]) ? k : largest;
    }
    return direction[largest] < 0.0 ? -1.0 * direction : direction;
}

struct Middle {
    Point centroid{};
    Point up{};            // mean normal
    Point right{}, back{}; // square to it and to each other
    double size = 0.0;     // square root of the area
};

Middle middleOf(const Mould& mould) {
    Middle middle;
    Point sum{};
    for (const Facet& facet : mould.facets) {
        middle.centroid = middle.centroid + (facet.area / mould.area) * facet.centroid;
        sum = sum + (facet.area / mould.area) * facet.normal;
    }
    constexpr double clear = 0.05; // a surface closed but for a small hole has next to no mean normal
    middle.up = length(sum) > clear ? upright(unit(sum)) : Point{0.0, 0.0, 1.0};
    const Point axis = std::abs(middle.up[0]) < 0.9 ? Point{1.0, 0.0, 0.0} : Point{0.0, 1.0, 0.0};
    middle.right = unit(axis - dot(axis, middle.up) * middle.up);
    middle.back = upright(cross(middle.up, middle.right));
    middle.size = std::sqrt(mould.area);
    return middle;
}

struct Hit {
    Point place{};
    std::size_t triangle = 0;
    double facing = 0.0; // cosine between its normal and the line
    double height = 0.0;
};

// Where the line through `from` along `up` meets a triangle, its rim included.
std::optional<Hit> hitOf(const Mould& mould, std::size_t t, const Point& from, const Point& up) {
    const Facet& facet = mould.facets[t];
    const double facing = dot(facet.normal, up);
    const auto share = [&](std::size_t k) {
        return 0.5 * dot(cross(mould.corner(t, (k + 1) % 3) - from, mould.corner(t, (k + 2) % 3) - from), up);
    };
    const double all = facing * facet.area;
    const double slack = onEdge * facet.area;
    const double sense = facing < 0.0 ? -1.0 : 1.0;
    if (std::abs(all) <= slack || sense * share(0) < -slack || sense * share(1) < -slack ||
        sense * share(2) < -slack) {
        return std::nullopt;
    }
    const double height = dot(facet.centroid - from, facet.normal) / facing;
    return Hit{from + height * up, t, std::abs(facing), height};
}

// The place where a line along the mean normal meets the surface, the one that faces it most and of such the
// highest.
std::optional<Point> placeOver(const Mould& mould, const Middle& middle, const Point& from) {
    std::vector<Hit> hits;
    for (std::size_t t = 0; t < mould.facets.size(); ++t) {
        const Point away = mould.facets[t].centroid - from;
        const double reach = mould.facets[t].reach;
        if (dot(away, away) - dot(away, middle.up) * dot(away, middle.up) <= 1.01 * reach * reach) {
            if (const auto hit = hitOf(mould, t, from, middle.up)) {
                hits.push_back(*hit);
            }
        }
    }
    if (hits.empty()) {
        return std::nullopt;
    }
    constexpr double sameFace = 1e-3;
    const auto better = [&](const Hit& a, const Hit& b) {
        return std::abs(a.facing - b.facing) > sameFace ? a.facing > b.facing : a.height > b.height;
    };
    const Hit best = *std::min_element(hits.begin(), hits.end(), better);
    // The triangles that meet at the place.
    std::erase_if(hits,
                  [&](const Hit& hit) { return std::abs(hit.height - best.height) > 1e-6 * middle.size; });
    const Point& normal = mould.facets[best.triangle].normal;
    const bool flat = std::all_of(hits.begin(), hits.end(), [&](const Hit& hit) {
        return distance(mould.facets[hit.triangle].normal, normal) < sameFacing;
    });
    if (flat) {
        return best.place;
    }
    const auto along = [&](const Hit& hit) {
        const Point way = mould.facets[hit.triangle].centroid - middle.centroid;
        return dot(way, middle.right) + 0.37 * dot(way, middle.back) + 0.17 * dot(way, middle.up);
    };
    const Hit chosen = *std::max_element(hits.begin(), hits.end(),
                                         [&](const Hit& a, const Hit& b) { return along(a) < along(b); });
    return mix(chosen.place, mould.facets[chosen.triangle].centroid, intoTriangle);
}

// Cells no finer than the usual ones, so that looking for a start doesn't cost more than draping finely from
// it.
Surface coarsened(const Surface& surface) {
    Surface coarse = surface;
    const double usual = std::sqrt(surface.mould->area) / cellsAcross;
    const double factor = std::max(1.0, usual / std::sqrt(surface.steps[0] * surface.steps[1]));
    coarse.steps = {factor * surface.steps[0], factor * surface.steps[1]};
    return coarse;
}

} // namespace

std::vector<Point> placesAroundTheMiddle(const Mould& mould) {
    const Middle middle = middleOf(mould);
    std::vector<Point> places;
    const auto add = [&](double right, double back) {
        const Point from = middle.centroid + (right * middle.right + back * middle.back);
        if (const auto place = placeOver(mould, middle, from)) {
            places.push_back(*place);
        }
    };
    add(0.0, 0.0);
    const double half = std::sqrt(0.5);
    const std::array<std::array<double, 2>, perRing> ways{
        {{1, 0}, {0, 1}, {-1, 0}, {0, -1}, {half, half}, {-half, half}, {-half, -half}, {half, -half}}};
    for (const double ring : rings) {
        for (const auto& way : ways) {
            add(ring * middle.size * way[0], ring * middle.size * way[1]);
        }
    }
    return places;
}

StartSearch startSearch(const Surface& surface, double angle) {
    StartSearch search{coarsened(surface), {}};
    for (const Point& place : placesAroundTheMiddle(*surface.mould)) {
        search.candidates.push_back({search.candidates.size() + 1, place, angle});
    }
    return search;
}

Point bestOf(std::vector<SweepResult> results, const Point& otherwise) {
    double covered = 0.0;
    for (const SweepResult& r : results) {
        covered = isWhole(r) && isSingleLayer(r) ? std::max(covered, r.coveredShare) : covered;
    }
    std::erase_if(results, [&](const SweepResult& r) {
        return !isWhole(r) || !isSingleLayer(r) || r.coveredShare < nearlyAsMuch * covered;
    });
    const auto keepLeast = [&](double SweepResult::*value, double same) {
        double least = std::numeric_limits<double>::infinity();
        for (const SweepResult& r : results) {
            least = std::min(least, r.*value);
        }
        std::erase_if(results, [&](const SweepResult& r) { return r.*value > least + same; });
    };
    keepLeast(&SweepResult::shareBeyondLocking, sameShare);
    keepLeast(&SweepResult::meanShear, sameShear);
    return results.empty() ? otherwise : results.front().candidate.seed;
}

Point bestStart(const Surface& surface, const TrialWishes& wishes, double angle, const ForEach& forEach) {
    // A warp that is upright in the middle could be laid in any way where the surface leans a little.
    if (wishes.start.warp) {
        Notes untold;
        choiceAt(*surface.mould, nearestPoint(*surface.mould, surface.defaultSeed), wishes.start, angle,
                 surface.steps, untold);
    }
    const StartSearch search = startSearch(surface, angle);
    std::vector<SweepResult> results(search.candidates.size());
    const auto drape = [&](std::size_t k) {
        results[k] = tried(search.surface, wishes, search.candidates[k]);
    };
    for (std::size_t k = 0; k < results.size() && !forEach; ++k) {
        drape(k);
    }
    if (forEach) {
        forEach(results.size(), drape);
    }
    return bestOf(std::move(results), surface.defaultSeed);
}

} // namespace drape::host
