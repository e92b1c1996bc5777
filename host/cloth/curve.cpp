// The library gives every point a place on the pattern, also one that lies beside the cloth. So each place is
// held against the cells there: the cloth at that place has to lie on the line along which the point is
// projected. Where two neighbours come to lie further apart than cloth can account for, or lie so far apart
// that a hole can lie between them, the way between them is walked.
#include "host/cloth/curve.h"

#include "drape.h"
#include "host/cloth/mould_mesh.h"
#include "host/cloth/net_faces.h"
#include "host/cloth/status_text.h"
#include "host/mesh/error.h"
#include "host/mesh/nearest_point.h"
#include "host/mesh/point.h"
#include "host/mesh/surface_tree.h"
#include "host/mesh/text.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <map>
#include <optional>
#include <tuple>

namespace drape::host {

using namespace vec;

namespace {

constexpr double besideCell = 0.1;   // of a cell: how far cloth may lie beside a point that it carries
constexpr double besideMould = 0.05; // of a cell: how far beside the edge of the mould it may
constexpr double beyondCell = 0.02;  // of a cell: how far a place may lie beyond the cell's edge
constexpr double stride = 0.25;      // of a cell, along a way that is walked
constexpr int bisections = 40;
constexpr double longestStretch = 1.5;  // flat length against length in space that needs no second look
constexpr double longestJump = 0.5;     // of a cell, on top
constexpr double longestUnwalked = 1.0; // of a cell, between points that miss no hole worth telling

// A point of the curve and the way in which it's projected onto the cloth.
struct Ray {
    Point point, direction; // a unit vector
};

// How far from a place the first corner of a cell is looked for, in cells: the net pattern goes on beyond the
// last cells by less.
constexpr double reachOfCells = 1.5;
constexpr double farBeyond = 4.0; // shares of a cell's sides at which nothing of the pattern can lie

bool isInside(const std::vector<FlatPoint>& polygon, const FlatPoint& p) {
    bool inside = false;
    for (std::size_t k = 0; k < polygon.size(); ++k) {
        const FlatPoint& a = polygon[k];
        const FlatPoint& b = polygon[(k + 1) % polygon.size()];
        if ((a[1] > p[1]) != (b[1] > p[1]) && p[0] < a[0] + (p[1] - a[1]) / (b[1] - a[1]) * (b[0] - a[0])) {
            inside = !inside;
        }
    }
    return inside;
}

double distanceTo(const std::vector<FlatPoint>& polygon, const FlatPoint& p) {
    const auto level = [](const FlatPoint& q) { return Point{q[0], q[1], 0.0}; };
    double least = std::numeric_limits<double>::infinity();
    for (std::size_t k = 0; k < polygon.size(); ++k) {
        const Point nearest =
            nearestOnSegment(level(polygon[k]), level(polygon[(k + 1) % polygon.size()]), level(p));
        least = std::min(least, distance(nearest, level(p)));
    }
    return least;
}

// The cells of the cloth, by their place in the grid. Beside a cut several cells can share one.
class Cloth {
public:
    Cloth(const Grid& grid, const Measures& measures, const Choice& choice, const Mould& mould)
        : grid_(grid), cells_(measures.cells), surface_(meshOf(mould)),
          tree_(surface_), step_{choice.stepA, choice.stepB}, length_(std::max(choice.stepA, choice.stepB)) {
        for (std::size_t k = 0; k < cells_.size(); ++k) {
            if (cells_[k].onSurface || hangsOverEdge(grid, cells_[k])) {
                const auto first = static_cast<std::size_t>(cells_[k].nodes[0]);
                places_.emplace_back(grid.i[first], grid.j[first], k);
            }
        }
        std::sort(places_.begin(), places_.end());
        for (const NetFace& face : netFaces(grid, measures)) {
            for (const auto& polygon : face.polygons) {
                const auto isBeyond = [](const FlatPoint& p) {
                    return std::max({-p[0], p[0] - 1.0, -p[1], p[1] - 1.0}) > beyondCell;
                };
                if (std::any_of(polygon.begin(), polygon.end(), isBeyond)) {
                    beyond_[face.cell].push_back(polygon);
                }
            }
        }
    }

    double cellLength() const { return length_; }

    // The point of the cloth at `flat` if it lies on the ray's line.
    std::optional<Point> pointAt(const FlatPoint& flat, const Ray& ray) const {
        std::optional<Point> found;
        double least = besideCell * length_;
        around(flat, reachOfCells, [&](std::size_t index, double x, double y) {
            const bool beyond = liesBeyond(index, {x, y});
            if (!beyond && std::max({-x, x - 1.0, -y, y - 1.0}) > besideCell) {
                return;
            }
            const Cell& cell = cells_[index];
            const Point point = beyond ? pointIn(cell, x, y)
                                       : pointIn(cell, std::clamp(x, 0.0, 1.0), std::clamp(y, 0.0, 1.0));
            const Point way = point - ray.point;
            const double beside = length(way - dot(way, ray.direction) * ray.direction);
            if (beside <= least && isOverMould(point)) {
                least = beside;
                found = point;
            }
        });
        return found;
    }

    // The ray's place on the cloth, through the cells around `near`: the place nearest to it.
    std::optional<FlatPoint> placeOf(const Ray& ray, const FlatPoint& near) const {
        std::optional<FlatPoint> best;
        around(near, reachOfCells, [&](std::size_t index, double x, double y) {
            if (beyond_.count(index) == 0 && std::max({-x, x - 1.0, -y, y - 1.0}) > 1.0) {
                return;
            }
            for (const auto& [place, point] : cutsWith(index, ray)) {
                if ((!best || flatDistance(place, near) < flatDistance(*best, near)) && isOverMould(point)) {
                    best = place;
                }
            }
        });
        return best;
    }

    // The point of the cloth at `flat`, of several the one nearest to `guess`, which stands where there is
    // none.
    Point pointNear(const FlatPoint& flat, const Point& guess) const {
        std::optional<Point> found;
        around(flat, 0.0, [&](std::size_t index, double x, double y) {
            const Point point = pointIn(cells_[index], x, y);
            if (!found || distance(point, guess) < distance(*found, guess)) {
                found = point;
            }
        });
        return found.value_or(guess);
    }

    // The point of the mould below a point.
    SurfacePoint below(const Point& point) const { return tree_.nearest(point); }
    Point normalAt(const SurfacePoint& point) const { return normalOf(surface_, point.triangle); }

private:
    // Calls `use` with each cell within `reach` cells of `flat` and the place of `flat` in it, 0 to 1 inside.
    template <class Use>
    void around(const FlatPoint& flat, double reach, Use use) const {
        const double x = flat[0] / step_[0];
        const double y = flat[1] / step_[1];
        if (!(std::abs(x) < 1e9 && std::abs(y) < 1e9)) {
            return;
        }
        const auto index = [](double value) { return static_cast<std::int32_t>(std::floor(value)); };
        for (std::int32_t i = index(x - reach); i <= index(x + reach); ++i) {
            for (std::int32_t j = index(y - reach); j <= index(y + reach); ++j) {
                for (auto at =
                         std::lower_bound(places_.begin(), places_.end(), std::tuple(i, j, std::size_t{0}));
                     at != places_.end() && std::get<0>(*at) == i && std::get<1>(*at) == j; ++at) {
                    use(std::get<2>(*at), x - i, y - j);
                }
            }
        }
    }

    // The corners of a cell in their order round it, turned so that the shorter diagonal begins at the first.
    std::array<std::size_t, 4> splitOf(const Cell& cell) const {
        const double main = distance(corner(cell, 0), corner(cell, 2));
        const double other = distance(corner(cell, 1), corner(cell, 3));
        return main > other ? std::array<std::size_t, 4>{1, 2, 3, 0} : std::array<std::size_t, 4>{0, 1, 2, 3};
    }

    // Place x, y of the cell, taken as two triangles along its shorter diagonal.
    Point pointIn(const Cell& cell, double x, double y) const {
        const bool turned = splitOf(cell)[0] == 1;
        const auto at = [&](double c, double a, double e, double b) {
            return c * corner(cell, 0) + a * corner(cell, 1) + e * corner(cell, 2) + b * corner(cell, 3);
        };
        if (turned) {
            return x + y <= 1.0 ? at(1.0 - x - y, x, 0.0, y) : at(0.0, 1.0 - y, x + y - 1.0, 1.0 - x);
        }
        return x >= y ? at(1.0 - x, x - y, y, 0.0) : at(1.0 - y, 0.0, x, y - x);
    }

    // Cloth hangs over the mould's edge; what lies beside it isn't part of the ply.
    bool isOverMould(const Point& point) const {
        const SurfacePoint foot = below(point);
        const Point normal = normalAt(foot);
        const Point way = point - foot.position;
        return length(way - dot(way, normal) * normal) <= besideMould * length_;
    }

    // Whether the pattern has a place beyond a cell that counts to it.
    bool liesBeyond(std::size_t cell, const FlatPoint& place) const {
        const auto found = beyond_.find(cell);
        return found != beyond_.end() &&
               std::any_of(found->second.begin(), found->second.end(), [&](const auto& polygon) {
                   return isInside(polygon, place) || distanceTo(polygon, place) <= besideMould;
               });
    }

    // Where the ray's line cuts the two triangles of a cell: on the pattern and in space.
    std::vector<std::pair<FlatPoint, Point>> cutsWith(std::size_t index, const Ray& ray) const {
        const Cell& cell = cells_[index];
        const auto q = splitOf(cell);
        std::vector<std::pair<FlatPoint, Point>> cuts;
        for (const auto& half : {std::array{q[1], q[2], q[0]}, std::array{q[3], q[0], q[2]}}) {
            const Point apex = corner(cell, half[0]);
            const Point from = corner(cell, half[1]);
            const Point to = corner(cell, half[2]);
            double s = 0.0;
            double t = 0.0;
            npprtr(ray.point.data(), ray.direction.data(), apex.data(), from.data(), to.data(), &s, &t);
            const bool inside = s >= -beyondCell && t >= -beyondCell && s + t <= 1.0 + beyondCell;
            if (inside || (beyond_.count(index) > 0 && std::abs(s) + std::abs(t) < farBeyond)) {
                const FlatPoint place = [&] {
                    const FlatPoint a = nodeFlat(grid_, cell.nodes[half[0]]);
                    const FlatPoint b = nodeFlat(grid_, cell.nodes[half[1]]);
                    const FlatPoint c = nodeFlat(grid_, cell.nodes[half[2]]);
                    return FlatPoint{a[0] + s * (b[0] - a[0]) + t * (c[0] - a[0]),
                                     a[1] + s * (b[1] - a[1]) + t * (c[1] - a[1])};
                }();
                const FlatPoint low = nodeFlat(grid_, cell.nodes[0]);
                if (inside ||
                    liesBeyond(index, {(place[0] - low[0]) / step_[0], (place[1] - low[1]) / step_[1]})) {
                    cuts.emplace_back(place, apex + s * (from - apex) + t * (to - apex));
                }
            }
        }
        return cuts;
    }

    Point corner(const Cell& cell, std::size_t k) const { return nodePosition(grid_, cell.nodes[k]); }

    const Grid& grid_;
    const std::vector<Cell>& cells_;
    TriangleMesh surface_;
    SurfaceTree tree_;
    std::array<double, 2> step_;
    double length_;
    std::vector<std::tuple<std::int32_t, std::int32_t, std::size_t>> places_;
    std::map<std::size_t, std::vector<std::vector<FlatPoint>>> beyond_; // polygons of cells, in u and v
};

// How far the straight way from one ray to the next stays on the cloth.
struct Way {
    double share = 0.0; // 0 to 1
    Ray end;
    FlatPoint flat{};
};

Way walk(const Cloth& cloth, const Ray& from, const FlatPoint& flat, const Ray& to) {
    const auto between = [&](double t) {
        return Ray{mix(from.point, to.point, t), unit(mix(from.direction, to.direction, t))};
    };
    Way way{0.0, from, flat};
    const auto reaches = [&](double t) {
        const std::optional<FlatPoint> place = cloth.placeOf(between(t), way.flat);
        if (place) {
            way = {t, between(t), *place};
        }
        return place.has_value();
    };
    const double strides = std::ceil(distance(from.point, to.point) / (stride * cloth.cellLength()));
    const auto count = static_cast<int>(std::clamp(strides, 1.0, 1e6));
    for (int k = 1; k <= count; ++k) {
        if (!reaches(static_cast<double>(k) / count)) {
            double beyond = static_cast<double>(k) / count;
            for (int b = 0; b < bisections; ++b) {
                const double middle = 0.5 * (way.share + beyond);
                beyond = reaches(middle) ? beyond : middle;
            }
            break;
        }
    }
    return way;
}

// The curve with what the library made of it.
struct Carried {
    const Cloth& cloth;
    std::vector<Ray> rays;
    std::vector<FlatPoint> flat;
    std::vector<std::optional<Point>> onCloth; // none for a point that has left it

    std::size_t next(std::size_t k) const { return (k + 1) % rays.size(); }

    // The library meets a cell in its plane, which can be far off where a coarse cell is twisted, as at the
    // rim of the cloth; the cell beside it can carry a point near the mould all the same.
    void placeAnew(std::size_t k) {
        if (cloth.below(rays[k].point).distance > cloth.cellLength()) {
            return;
        }
        const std::optional<FlatPoint> place = cloth.placeOf(rays[k], flat[k]);
        const std::optional<Point> point = place ? cloth.pointAt(*place, rays[k]) : std::nullopt;
        if (point && flatDistance(*place, flat[k]) <= cloth.cellLength()) {
            flat[k] = *place;
            onCloth[k] = point;
        }
    }

    double apart(std::size_t k) const { return distance(rays[k].point, rays[next(k)].point); }

    bool walksTo(std::size_t k) const {
        const Way way = walk(cloth, rays[k], flat[k], rays[next(k)]);
        return way.share == 1.0 && flatDistance(way.flat, flat[next(k)]) <= longestJump * cloth.cellLength();
    }

    // Whether the curve goes on from point k to the next on the same cloth.
    bool runsOn(std::size_t k) const {
        if (!onCloth[k] || !onCloth[next(k)]) {
            return false;
        }
        const double usual = longestStretch * apart(k) + longestJump * cloth.cellLength();
        return flatDistance(flat[k], flat[next(k)]) <= usual || walksTo(k);
    }

    // Whether it crosses a hole or a notch on its way there that is worth telling.
    bool missesCloth(std::size_t k) const {
        return apart(k) > longestUnwalked * cloth.cellLength() && !walksTo(k);
    }
};

std::vector<Ray> raysOf(const DrawnCurve& curve, const Cloth& cloth, Notes& notes) {
    std::vector<Ray> rays;
    std::size_t away = 0;
    for (std::size_t k = 0; k < curve.points.size(); ++k) {
        const SurfacePoint below = cloth.below(curve.points[k]);
        away += below.distance > cloth.cellLength() ? 1 : 0;
        rays.push_back(
            {curve.points[k], curve.directions.empty() ? cloth.normalAt(below) : unit(curve.directions[k])});
    }
    if (away > 0) {
        tell(notes, NoteKind::curveOffSurface,
             counted(away, "point", "points") + " of the curve " + curve.name +
                 (away == 1 ? " lies" : " lie") + " more than a cell off the draped surface");
    }
    return rays;
}

std::vector<FlatPoint> transferred(const DrawnCurve& curve, const std::vector<Ray>& rays, const Grid& grid) {
    std::vector<Point> points;
    std::vector<Point> directions;
    for (const Ray& ray : rays) {
        points.push_back(ray.point);
        directions.push_back(ray.direction);
    }
    const auto count = static_cast<std::int32_t>(points.size());
    const std::int32_t first = 1;
    std::int32_t status = 0;
    std::vector<FlatPoint> flat(points.size());
    gzfttc(grid.link3.data(), grid.link1.data(), grid.link2.data(), grid.link4.data(), nullptr, nullptr,
           grid.nodeStatus.data(), grid.position.data(), grid.flat.data(), nullptr, &grid.count,
           points.front().data(), directions.front().data(), &count, flat.front().data(), &first, &count,
           &status);
    if (status != 0) {
        throw StatusError("the curve " + curve.name + " can't be carried onto the pattern", status);
    }
    return flat;
}

[[noreturn]] void refuse(const DrawnCurve& curve, const Carried& carried, const std::vector<char>& runsOn) {
    const auto isOff = [](const std::optional<Point>& place) { return !place; };
    const auto& places = carried.onCloth;
    const auto off = std::find_if(places.begin(), places.end(), isOff);
    const bool isPoint = off != places.end();
    const auto k = static_cast<std::size_t>(
        isPoint ? off - places.begin() : std::find(runsOn.begin(), runsOn.end(), 0) - runsOn.begin());
    const auto more = static_cast<std::size_t>(std::count_if(places.begin(), places.end(), isOff));
    throw InputError("the curve " + curve.name + " leaves the cloth " +
                         (isPoint ? "at point " + std::to_string(k + 1)
                                  : "between the points " + std::to_string(k + 1) + " and " +
                                        std::to_string(carried.next(k) + 1)) +
                         ", near " + pointText(curve.points[k], 1e-3 * carried.cloth.cellLength()) +
                         (more > 1 ? " (" + std::to_string(more) + " of its " +
                                         std::to_string(curve.points.size()) + " points lie off it)"
                                   : ""),
                     Refusal::curveOffCloth);
}

void add(CurveStretch& stretch, const Point& drawn, const Point& cloth, const FlatPoint& flat,
         std::size_t number) {
    stretch.points.push_back(drawn);
    stretch.cloth.push_back(cloth);
    stretch.flat.push_back(flat);
    stretch.numbers.push_back(static_cast<std::int32_t>(number));
}

void addPoint(CurveStretch& stretch, const Carried& carried, std::size_t k) {
    add(stretch, carried.rays[k].point, *carried.onCloth[k], carried.flat[k], k + 1);
}

// What is left of a curve that leaves the cloth: each stretch reaches as far towards its next point as the
// cloth does.
std::vector<CurveStretch> cutStretches(const Carried& carried, const std::vector<char>& runsOn) {
    const std::size_t count = carried.rays.size();
    std::vector<CurveStretch> stretches;
    const auto addEnd = [&](std::size_t from, std::size_t towards) {
        const Way way = walk(carried.cloth, carried.rays[from], carried.flat[from], carried.rays[towards]);
        if (way.share > 0.0) {
            add(stretches.back(), way.end.point,
                carried.cloth.pointAt(way.flat, way.end).value_or(way.end.point), way.flat, 0);
        }
    };
    for (std::size_t first = 0; first < count; ++first) {
        const std::size_t before = (first + count - 1) % count;
        if (!carried.onCloth[first] || runsOn[before] != 0) {
            continue;
        }
        stretches.emplace_back();
        addEnd(first, before);
        std::size_t k = first;
        addPoint(stretches.back(), carried, k);
        while (runsOn[k] != 0) {
            k = carried.next(k);
            addPoint(stretches.back(), carried, k);
        }
        addEnd(k, carried.next(k));
    }
    return stretches;
}

void addLine(const Cloth& cloth, CurveStretch& stretch) {
    const std::size_t count = stretch.cloth.size();
    for (std::size_t k = 0; k < count; ++k) {
        stretch.line.push_back(stretch.cloth[k]);
        const std::size_t next = (k + 1) % count;
        const FlatPoint& a = stretch.flat[k];
        const FlatPoint& b = stretch.flat[next];
        const double parts = std::ceil(std::min(1e6, flatDistance(a, b) / (stride * cloth.cellLength())));
        for (double part = 1.0; (next > 0 || stretch.closed) && part < parts; ++part) {
            const double t = part / parts;
            stretch.line.push_back(cloth.pointNear({a[0] + t * (b[0] - a[0]), a[1] + t * (b[1] - a[1])},
                                                   mix(stretch.cloth[k], stretch.cloth[next], t)));
        }
    }
    if (stretch.closed) {
        stretch.line.push_back(stretch.cloth.front());
    }
}

template <class Points, class Length>
double lengthOf(const Points& points, bool closed, Length between) {
    double sum = 0.0;
    for (std::size_t k = closed ? 0 : 1; k < points.size(); ++k) {
        sum += between(points[(k + points.size() - 1) % points.size()], points[k]);
    }
    return sum;
}

} // namespace

double lengthOnMould(const CurveResult& curve) {
    double sum = 0.0;
    for (const CurveStretch& stretch : curve.stretches) {
        sum += lengthOf(stretch.line, false, distance);
    }
    return sum;
}

double lengthOnPattern(const CurveResult& curve) {
    double sum = 0.0;
    for (const CurveStretch& stretch : curve.stretches) {
        sum += lengthOf(stretch.flat, stretch.closed, flatDistance);
    }
    return sum;
}

CurveResult carryOver(const DrawnCurve& curve, const Mould& mould, const Choice& choice, const Grid& grid,
                      const Measures& measures, bool cut, Notes& notes) {
    const Cloth cloth(grid, measures, choice, mould);
    Carried carried{cloth, raysOf(curve, cloth, notes), {}, {}};
    carried.flat = transferred(curve, carried.rays, grid);
    for (std::size_t k = 0; k < carried.rays.size(); ++k) {
        carried.onCloth.push_back(cloth.pointAt(carried.flat[k], carried.rays[k]));
        if (!carried.onCloth.back()) {
            carried.placeAnew(k);
        }
    }
    std::vector<char> runsOn;
    for (std::size_t k = 0; k < carried.rays.size(); ++k) {
        const bool misses = carried.runsOn(k) && carried.missesCloth(k);
        runsOn.push_back(carried.runsOn(k) && !(misses && cut) ? 1 : 0);
        if (misses && !cut) {
            tell(notes, NoteKind::curveOffSurface,
                 "the curve " + curve.name + " leaves the cloth and comes back between its points " +
                     std::to_string(k + 1) + " and " + std::to_string(carried.next(k) + 1));
        }
    }
    CurveResult result{curve.name, curve.points.size(), {}};
    if (std::find(runsOn.begin(), runsOn.end(), 0) == runsOn.end()) {
        CurveStretch& whole = result.stretches.emplace_back();
        whole.closed = true;
        for (std::size_t k = 0; k < carried.rays.size(); ++k) {
            addPoint(whole, carried, k);
        }
        addLine(cloth, whole);
        return result;
    }
    result.stretches = cut ? cutStretches(carried, runsOn) : result.stretches;
    if (result.stretches.empty()) {
        refuse(curve, carried, runsOn);
    }
    for (CurveStretch& stretch : result.stretches) {
        addLine(cloth, stretch);
    }
    return result;
}

} // namespace drape::host
