// The offset is made by a polygon package that counts in whole numbers, so coordinates are scaled to some
// nine digits of the pattern's size. It joins lines that meet and lets holes vanish in silence; what it did
// is found by looking at the loops before and after, and at stretches of the net line whose allowance isn't
// there any more.
#include "tool/draw/cut_lines.h"

#include "host/mesh/text.h"

#include <algorithm>
#include <clipper.hpp>
#include <cmath>
#include <optional>

namespace tool {
namespace {

constexpr double largestWhole = 5e8;    // keeps products within 64 bits
constexpr double arcShare = 1e-3;       // of the allowance: how far the rounding at corners may be off
constexpr double closedArea = 0.1;      // of the allowance squared: a notch that is closed, and not a corner
constexpr double leastLeft = 0.1;       // of the allowance: half the width of what is left of a hole
constexpr double buriedLength = 6.0;    // of the allowance: along a slit whose sides run together
constexpr double sharpestCorner = 10.0; // limit of mitres, of the allowance
constexpr std::size_t longestKnot = 64; // points of a line between its crossing itself and coming back
constexpr double largestKnot = 1e-4;    // of a loop's area
constexpr std::size_t mostSamples = 3000; // of a loop, to look for buried stretches

struct Scale {
    double factor = 1.0; // whole numbers per unit
    FlatPoint origin{};

    ClipperLib::IntPoint whole(const FlatPoint& p) const {
        const auto rounded = [&](std::size_t k) {
            return static_cast<ClipperLib::cInt>(std::llround(factor * (p[k] - origin[k])));
        };
        return {rounded(0), rounded(1)};
    }
    FlatPoint flat(const ClipperLib::IntPoint& p) const {
        return {static_cast<double>(p.X) / factor + origin[0], static_cast<double>(p.Y) / factor + origin[1]};
    }
};

Scale scaleFor(const NetPattern& net, double allowance) {
    const auto& e = net.extent;
    const double reach = std::max(e[2] - e[0], e[3] - e[1]) + 4.0 * allowance;
    return {largestWhole / reach, {0.5 * (e[0] + e[2]), 0.5 * (e[1] + e[3])}};
}

ClipperLib::Paths pathsOf(const NetPattern& net, const Scale& scale) {
    ClipperLib::Paths paths;
    for (const NetLoop& loop : net.loops) {
        ClipperLib::Path& path = paths.emplace_back();
        for (const FlatPoint& p : loop.flat) {
            path.push_back(scale.whole(p));
        }
    }
    return paths;
}

ClipperLib::Paths offset(const ClipperLib::Paths& paths, double by, ClipperLib::JoinType join, double arc) {
    ClipperLib::ClipperOffset tool(sharpestCorner, arc);
    tool.AddPaths(paths, join, ClipperLib::etClosedPolygon);
    ClipperLib::Paths result;
    tool.Execute(result, by);
    return result;
}

std::size_t holesOf(const ClipperLib::Paths& paths) {
    return static_cast<std::size_t>(
        std::count_if(paths.begin(), paths.end(),
                      [](const ClipperLib::Path& path) { return ClipperLib::Area(path) < 0.0; }));
}

// Leaves out what no one cuts: a hole of which the allowance has left a crumb.
void dropCrumbs(ClipperLib::Paths& cut, double by) {
    const auto isCrumb = [&](ClipperLib::Path path) {
        if (ClipperLib::Area(path) >= 0.0) {
            return false;
        }
        ClipperLib::ReversePath(path);
        return offset({path}, -leastLeft * by, ClipperLib::jtMiter, by).empty();
    };
    cut.erase(std::remove_if(cut.begin(), cut.end(), isCrumb), cut.end());
}

// Holes of the net in which nothing is left to cut out.
ClipperLib::Paths vanishedHoles(const ClipperLib::Paths& net, const ClipperLib::Paths& cut) {
    ClipperLib::Paths vanished;
    for (const ClipperLib::Path& hole : net) {
        const bool isLeft = std::any_of(cut.begin(), cut.end(), [&](const ClipperLib::Path& path) {
            return ClipperLib::Area(path) < 0.0 && ClipperLib::PointInPolygon(path.front(), hole) != 0;
        });
        if (ClipperLib::Area(hole) < 0.0 && !isLeft) {
            vanished.push_back(hole);
        }
    }
    return vanished;
}

// Places where going out by the allowance and back doesn't lead back: notches narrower than twice the
// allowance, but for holes that have vanished.
std::size_t closedNotches(const ClipperLib::Paths& net, const ClipperLib::Paths& vanished,
                          const ClipperLib::Paths& cut, double by) {
    ClipperLib::Paths holes = vanished;
    ClipperLib::ReversePaths(holes);
    ClipperLib::Clipper solid;
    solid.AddPaths(net, ClipperLib::ptSubject, true);
    solid.AddPaths(holes, ClipperLib::ptSubject, true);
    ClipperLib::Paths whole;
    solid.Execute(ClipperLib::ctUnion, whole, ClipperLib::pftNonZero, ClipperLib::pftNonZero);
    ClipperLib::Clipper clipper;
    clipper.AddPaths(offset(cut, -by, ClipperLib::jtMiter, by), ClipperLib::ptSubject, true);
    clipper.AddPaths(whole, ClipperLib::ptClip, true);
    ClipperLib::Paths filled;
    clipper.Execute(ClipperLib::ctDifference, filled, ClipperLib::pftNonZero, ClipperLib::pftNonZero);
    return static_cast<std::size_t>(
        std::count_if(filled.begin(), filled.end(), [&](const ClipperLib::Path& path) {
            return ClipperLib::Area(path) > closedArea * by * by;
        }));
}

// Whether the place one allowance outward from the middle of an edge lies inside the cut line.
bool isBuried(const ClipperLib::Paths& cut, const ClipperLib::IntPoint& a, const ClipperLib::IntPoint& b,
              double by) {
    const double dx = static_cast<double>(b.X - a.X);
    const double dy = static_cast<double>(b.Y - a.Y);
    const double length = std::hypot(dx, dy);
    if (!(length > 0.0)) {
        return false;
    }
    const double out = 1.01 * by / length;
    const ClipperLib::IntPoint place(
        static_cast<ClipperLib::cInt>(0.5 * static_cast<double>(a.X + b.X) + out * dy),
        static_cast<ClipperLib::cInt>(0.5 * static_cast<double>(a.Y + b.Y) - out * dx));
    int inside = 0;
    for (const ClipperLib::Path& path : cut) {
        inside += ClipperLib::PointInPolygon(place, path) != 0 ? (ClipperLib::Area(path) > 0.0 ? 1 : -1) : 0;
    }
    return inside > 0;
}

// Longest stretch of a net line without an allowance of its own.
double longestBuried(const ClipperLib::Path& loop, const ClipperLib::Paths& cut, double by) {
    const std::size_t every = loop.size() / mostSamples + 1;
    double longest = 0.0;
    double run = 0.0;
    // Twice round, for a stretch that goes over the loop's first point.
    for (std::size_t k = 0; k < 2 * loop.size(); k += every) {
        const ClipperLib::IntPoint& a = loop[k % loop.size()];
        const ClipperLib::IntPoint& b = loop[(k + every) % loop.size()];
        const double length = std::hypot(static_cast<double>(b.X - a.X), static_cast<double>(b.Y - a.Y));
        run = isBuried(cut, a, b, by) ? run + length : 0.0;
        longest = std::max(longest, run);
    }
    return longest;
}

std::vector<std::string> remarksOn(const NetPattern& net, const ClipperLib::Paths& before,
                                   const ClipperLib::Paths& after, double by) {
    std::vector<std::string> remarks;
    const std::size_t holes = holesOf(before);
    const std::size_t pieces = before.size() - holes;
    const std::size_t holesLeft = holesOf(after);
    const std::size_t piecesLeft = after.size() - holesLeft;
    const ClipperLib::Paths vanished = vanishedHoles(before, after);
    const std::size_t notches = closedNotches(before, vanished, after, by);
    const bool slit = std::any_of(before.begin(), before.end(), [&](const ClipperLib::Path& loop) {
        return std::find(vanished.begin(), vanished.end(), loop) == vanished.end() &&
               longestBuried(loop, after, by) > buriedLength * by;
    });
    if (!vanished.empty()) {
        remarks.push_back(counted(vanished.size(), "hole vanishes", "holes vanish") + " in it");
    }
    if (piecesLeft < pieces) {
        remarks.push_back(counted(pieces, "piece runs", "pieces run") + " together into " +
                          std::to_string(piecesLeft));
    }
    if (holesLeft + vanished.size() > holes) {
        remarks.push_back("a gap between two edges becomes a hole");
    }
    if (notches > 0) {
        remarks.push_back("it closes " + counted(notches, "notch", "notches") +
                          " narrower than twice its width");
    } else if (slit) {
        remarks.push_back("the two sides of a slit or notch run together");
    }
    if (liesOverItself(net)) {
        remarks.push_back("the pattern lies over itself, and the cut line goes round both layers at once");
    }
    return remarks;
}

// Where two lines cross each other, off their ends.
std::optional<FlatPoint> crossing(const FlatPoint& a, const FlatPoint& b, const FlatPoint& c,
                                  const FlatPoint& d) {
    const double toC = signedArea({a, b, c});
    const double toD = signedArea({a, b, d});
    if (!(toC * toD < 0.0) || !(signedArea({c, d, a}) * signedArea({c, d, b}) < 0.0)) {
        return std::nullopt;
    }
    const double part = toC / (toC - toD);
    return FlatPoint{c[0] + part * (d[0] - c[0]), c[1] + part * (d[1] - c[1])};
}

// Takes knots out of a line: where the mould's edge has teeth much smaller than a cell, its line on the cloth
// can cross itself and come back at once, running the wrong way round. Returns how many there were.
std::size_t untie(std::vector<FlatPoint>& loop) {
    const double area = signedArea(loop);
    std::size_t knots = 0;
    for (std::size_t i = 0; i + 3 < loop.size(); ++i) {
        for (std::size_t k = i + 2; k + 1 < loop.size() && k < i + longestKnot; ++k) {
            const auto meeting = crossing(loop[i], loop[i + 1], loop[k], loop[k + 1]);
            if (!meeting) {
                continue;
            }
            const auto first = loop.begin() + static_cast<std::ptrdiff_t>(i) + 1;
            const auto last = loop.begin() + static_cast<std::ptrdiff_t>(k) + 1;
            std::vector<FlatPoint> knot(first, last);
            knot.push_back(*meeting);
            const double share = signedArea(knot) / area;
            if (share < 0.0 && share > -largestKnot) {
                *first = *meeting;
                loop.erase(first + 1, last);
                ++knots;
                break;
            }
        }
    }
    return knots;
}

// The net line itself, as far as it can be cut.
CutLines untiedLinesOf(const NetPattern& net) {
    CutLines lines = netLinesOf(net);
    std::size_t knots = 0;
    for (std::vector<FlatPoint>& loop : lines.loops) {
        knots += untie(loop);
    }
    if (knots > 0) {
        lines.area = 0.0;
        for (const std::vector<FlatPoint>& loop : lines.loops) {
            lines.area += signedArea(loop);
        }
        lines.remarks.push_back("it leaves out " + counted(knots, "knot", "knots") +
                                " where the net line crosses itself, at teeth of the mould's edge");
    }
    return lines;
}

} // namespace

CutLines cutLinesOf(const NetPattern& net, double allowance) {
    if (!(allowance > 0.0) || net.loops.empty()) {
        return untiedLinesOf(net);
    }
    CutLines lines;
    lines.allowance = allowance;
    const Scale scale = scaleFor(net, allowance);
    const double by = allowance * scale.factor;
    const ClipperLib::Paths before = pathsOf(net, scale);
    ClipperLib::Paths after = offset(before, by, ClipperLib::jtRound, arcShare * by);
    dropCrumbs(after, by);
    for (const ClipperLib::Path& path : after) {
        std::vector<FlatPoint>& loop = lines.loops.emplace_back();
        for (const ClipperLib::IntPoint& p : path) {
            loop.push_back(scale.flat(p));
        }
        lines.area += signedArea(loop);
    }
    lines.remarks = remarksOn(net, before, after, by);
    return lines;
}

std::string nameOf(const CutLines& lines) {
    return "the cut line" +
           (lines.allowance > 0.0 ? " with an allowance of " + number(lines.allowance) : std::string());
}

} // namespace tool
