// The outline of the pattern runs toward the tip along one side of a slit and away from it along the other.
// So its stretches that lie on the slit in space tell by their sense to which side they belong.
#include "host/cloth/dart.h"

#include "host/mesh/nearest_point.h"

#include <algorithm>
#include <limits>
#include <numbers>
#include <optional>

namespace drape::host {

using namespace vec;

namespace {

constexpr double onLine = 0.01;   // cells that a point of a slit's side may lie off the slit
constexpr double shortest = 1.0;  // cells, of a dart
constexpr double rounding = 0.02; // cells that the outline may go back along a side, as at its mouth

// How far along a line `p` lies, if it lies on it.
std::optional<double> placeOn(const std::vector<Point>& line, const Point& p, double slack) {
    std::optional<double> place;
    double before = 0.0;
    for (std::size_t k = 0; k + 1 < line.size(); ++k) {
        const double side = distance(line[k], line[k + 1]);
        const double share = shareOnSegment(line[k], line[k + 1], p);
        const double away = distance(p, mix(line[k], line[k + 1], share));
        if (away <= slack) {
            slack = away;
            place = before + share * side;
        }
        before += side;
    }
    return place;
}

struct LegPoint {
    double place; // along the slit
    FlatPoint flat;
};

using Leg = std::vector<LegPoint>; // from the tip on

// The two sides of a slit, as far as the outline goes along them.
std::array<Leg, 2> legsOn(const NetPattern& net, const std::vector<Point>& line, double step) {
    std::array<Leg, 2> legs;
    for (const NetLoop& loop : net.loops) {
        const std::size_t count = loop.flat.size();
        std::vector<std::optional<double>> places;
        for (const Point& p : loop.space) {
            places.push_back(placeOn(line, p, onLine * step));
        }
        for (std::size_t k = 0; k < count; ++k) {
            const std::size_t next = (k + 1) % count;
            if (loop.borders[k] != NetBorder::cloth && places[k] && places[next] &&
                std::abs(*places[k] - *places[next]) > rounding * step) {
                Leg& leg = legs[*places[next] < *places[k] ? 0 : 1];
                leg.push_back({*places[k], loop.flat[k]});
                leg.push_back({*places[next], loop.flat[next]});
            }
        }
    }
    for (Leg& leg : legs) {
        std::stable_sort(leg.begin(), leg.end(),
                         [](const LegPoint& a, const LegPoint& b) { return a.place < b.place; });
    }
    return legs;
}

FlatPoint flatAt(const Leg& leg, double place) {
    const auto after =
        std::find_if(leg.begin(), leg.end(), [&](const LegPoint& p) { return p.place >= place; });
    if (after == leg.begin()) {
        return leg.front().flat;
    }
    if (after == leg.end()) {
        return leg.back().flat;
    }
    const LegPoint& low = *(after - 1);
    const double share = (place - low.place) / (after->place - low.place);
    return {low.flat[0] + share * (after->flat[0] - low.flat[0]),
            low.flat[1] + share * (after->flat[1] - low.flat[1])};
}

std::vector<FlatPoint> between(const Leg& leg, double from, double to) {
    std::vector<FlatPoint> part{flatAt(leg, from)};
    for (const LegPoint& p : leg) {
        if (p.place > from && p.place < to && p.flat != part.back()) {
            part.push_back(p.flat);
        }
    }
    part.push_back(flatAt(leg, to));
    return part;
}

std::vector<Point> between(const std::vector<Point>& line, double from, double to) {
    std::vector<Point> part;
    double before = 0.0;
    for (std::size_t k = 0; k + 1 < line.size(); ++k) {
        const double side = distance(line[k], line[k + 1]);
        const auto point = [&](double place) { return mix(line[k], line[k + 1], (place - before) / side); };
        if (before + side > from && before < to) {
            if (part.empty()) {
                part.push_back(point(std::max(from, before)));
            }
            part.push_back(point(std::min(to, before + side)));
        }
        before += side;
    }
    return part;
}

FlatPoint across(const std::vector<FlatPoint>& leg) {
    return {leg.back()[0] - leg.front()[0], leg.back()[1] - leg.front()[1]};
}

} // namespace

std::vector<Dart> dartsOn(const NetPattern& net, std::span<const std::vector<Point>> slits, double step) {
    std::vector<Dart> darts;
    for (const std::vector<Point>& line : slits) {
        const std::array<Leg, 2> legs = legsOn(net, line, step);
        if (legs[0].empty() || legs[1].empty()) {
            continue;
        }
        const double from = std::max(legs[0].front().place, legs[1].front().place);
        const double to = std::min(legs[0].back().place, legs[1].back().place);
        if (!(to - from >= shortest * step)) {
            continue;
        }
        Dart dart;
        dart.line = between(line, from, to);
        dart.length = lengthOf(dart.line);
        dart.legs = {between(legs[0], from, to), between(legs[1], from, to)};
        const FlatPoint a = across(dart.legs[0]);
        const FlatPoint b = across(dart.legs[1]);
        const double turn = std::atan2(a[0] * b[1] - a[1] * b[0], a[0] * b[0] + a[1] * b[1]);
        dart.angle = turn * 180.0 / std::numbers::pi;
        dart.width = std::copysign(std::hypot(dart.legs[1].back()[0] - dart.legs[0].back()[0],
                                              dart.legs[1].back()[1] - dart.legs[0].back()[1]),
                                   turn);
        darts.push_back(std::move(dart));
    }
    return darts;
}

} // namespace drape::host
