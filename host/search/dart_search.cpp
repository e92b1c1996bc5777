// Where a run meets trouble, cloth has been sheared all the way from the seed, so the surface is slit to its
// edge from there or from somewhere on that way, or from where the surface comes to a point close by. All
// slits are tried with one run each and the most promising ones in full; the one after which the piece covers
// most stays, and the next dart is looked for behind it.
#include "host/search/dart_search.h"

#include "host/cloth/dart.h"
#include "host/cloth/measure.h"
#include "host/cloth/mould_mesh.h"
#include "host/mesh/error.h"
#include "host/search/slit_cover.h"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <optional>

namespace drape::host {

using namespace vec;

namespace {

constexpr double worthACut = 0.02; // of the surface's area, that a dart has to add
constexpr double asGood = 0.003;   // of the surface's area: then the shorter dart is the better one
constexpr std::size_t mostTroubles = 4;
constexpr double troublesApart = 5.0;                              // cells
constexpr std::array<double, 4> towardSeed{0.0, 0.25, 0.45, 0.65}; // of the way from trouble, for tips
constexpr double pointReach = 6.0;    // cells from trouble to a tip where the surface comes to a point
constexpr double leastPoint = 0.1;    // radians that are missing around such a place
constexpr double clearOfSeed = 3.0;   // cells
constexpr double clearOfOthers = 2.0; // cells between a dart and the others
constexpr std::array<std::array<double, 2>, 12> directions{
    {{1.0, 0.0},
     {0.86602540378443865, 0.5},
     {0.86602540378443865, -0.5},
     {0.5, 0.86602540378443865},
     {0.5, -0.86602540378443865},
     {0.0, 1.0},
     {0.0, -1.0},
     {-0.5, 0.86602540378443865},
     {-0.5, -0.86602540378443865},
     {-0.86602540378443865, 0.5},
     {-0.86602540378443865, -0.5},
     {-1.0, 0.0}}}; // cosine and sine from away from the seed
constexpr std::size_t waysPerTip = 2;
constexpr double waysApart = 0.6; // cosine of the angle between those of a tip, at most
constexpr double stepsMore = 4.0; // cells of edge in steps that the piece can have more without a slit
constexpr std::size_t triedInFull = 6;
constexpr double beyondRoom = 1.5;    // cells that a slit goes on beyond where the piece may lie
constexpr double poleShare = 0.02;    // of a closed surface, left out to give it an edge
constexpr double atVertex = 1e-9;     // of a cell
constexpr double intoTriangle = 0.01; // of the way to its middle, so that a tip lies on no edge

double stepOf(const CoverGround& cover) {
    return std::max(cover.surface.steps[0], cover.surface.steps[1]);
}

// All of a closed surface but what lies farthest from the seed, so that a slit of it has an edge to end at.
std::shared_ptr<const Room> roomOnClosed(const CoverGround& cover, const Point& seed) {
    const Ground& ground = cover.ground;
    std::vector<double> away(ground.vertexCount());
    std::transform(ground.mesh.positions.begin(), ground.mesh.positions.end(), away.begin(),
                   [&](const Point& p) { return distance(p, seed); });
    std::vector<std::size_t> order(away.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::stable_sort(order.begin(), order.end(),
                     [&](std::size_t a, std::size_t b) { return away[a] < away[b]; });
    double area = 0.0;
    double farthest = 0.0;
    for (const std::size_t v : order) {
        area += ground.areas[v];
        farthest = area < (1.0 - poleShare) * ground.area ? away[v] : farthest;
    }
    Room room(away.size());
    std::transform(away.begin(), away.end(), room.begin(),
                   [&](double d) { return static_cast<float>(farthest - d); });
    return std::make_shared<const Room>(std::move(room));
}

// Per vertex of the ground, the angle that its triangles leave of a full turn, without sign; 0 at the rim.
std::vector<double> pointedness(const Ground& ground) {
    std::vector<double> missing(ground.vertexCount(), 2.0 * std::numbers::pi);
    for (std::size_t t = 0; t < ground.mesh.triangles.size(); ++t) {
        for (std::size_t k = 0; k < 3; ++k) {
            const Point& here = ground.mesh.corner(t, k);
            const Point a = ground.mesh.corner(t, (k + 1) % 3) - here;
            const Point b = ground.mesh.corner(t, (k + 2) % 3) - here;
            missing[at(ground.mesh.triangles[t][k])] -= std::atan2(length(cross(a, b)), dot(a, b));
        }
    }
    for (std::size_t v = 0; v < missing.size(); ++v) {
        missing[v] = ground.nearRim[v] != 0 ? 0.0 : std::abs(missing[v]);
    }
    return missing;
}

// A piece with some darts.
struct Attempt {
    std::vector<SlitWay> ways;
    double length = 0.0; // of the last one's line
    double reach = 0.0;  // area that is good after one run
    Territory territory; // none if it isn't tried in full, or isn't a piece that can be cut
};

class Search {
public:
    Search(const CoverGround& cover, const PieceTry& piece, const ForEach& forEach)
        : cover_(cover), piece_{piece.start, piece.room, 0}, forEach_(forEach), step_(stepOf(cover)),
          isClosed_(cover.surface.mould->loops.empty()) {}

    Territory found(std::size_t most) {
        Territory best = territoryOf(cover_, piece_);
        if (most == 0 || best.area >= (1.0 - worthACut) * cover_.ground.area) {
            return best;
        }
        if (isClosed_ && !piece_.room) {
            piece_.room = roomOnClosed(cover_, piece_.start.seed);
        }
        points_ = pointedness(cover_.ground);
        for (std::size_t n = 0; n < most; ++n) {
            std::vector<Attempt> attempts = attemptsFrom(best.slits);
            forEach_(attempts.size(), [&](std::size_t k) { runOnce(attempts[k]); });
            std::stable_sort(attempts.begin(), attempts.end(),
                             [](const Attempt& a, const Attempt& b) { return a.reach > b.reach; });
            attempts.resize(std::min(attempts.size(), triedInFull));
            forEach_(attempts.size(), [&](std::size_t k) { tryInFull(attempts[k], best.area); });
            const Attempt* taken = bestOf(attempts);
            if (taken == nullptr || taken->territory.area < best.area + worthACut * cover_.ground.area) {
                break;
            }
            best = withoutNeedless(taken->territory);
        }
        return best;
    }

private:
    // How a piece comes out on the flat pattern.
    struct Shape {
        bool canBeCut = false;  // both sides of every dart show, and the pattern doesn't lie over itself
        double clothEdge = 0.0; // length along which cloth ends in steps beside what it should cover
    };

    Shape shapeOf(const SlitCover& slit, const Territory& territory) const {
        if (territory.vertices.empty()) {
            return {};
        }
        const auto mould = std::make_shared<const Mould>(
            mouldOf(partAbove(slit.cover().ground.mesh, depthsOver(slit.cover(), territory))));
        const Trial trial = drapePart(slit.cover(), mould, piece_.start);
        const NetPattern net = netPatternOf(*mould, trial.grid, cellsOf(trial.grid));
        const std::vector<Dart> darts = dartsOn(net, slit.lines(), step_);
        return {!liesOverItself(net) && darts.size() == slit.lines().size(), net.clothEdgeLength};
    }

    // A slit may have done no more than to bound the piece on one side; then the same piece drapes without
    // it. Cloth that meets cloth in steps instead doesn't count as that.
    Territory withoutNeedless(Territory territory) const {
        for (std::size_t k = territory.slits.size(); k-- > 0;) {
            std::vector<SlitWay> ways(territory.slits);
            ways.erase(ways.begin() + static_cast<std::ptrdiff_t>(k));
            const SlitCover fewer(cover_, ways);
            const std::vector<double> depths = depthsOver(cover_, territory);
            const auto room = std::make_shared<const Room>(depths.begin(), depths.end());
            Territory without = territoryOf(fewer.cover(), {piece_.start, fewer.extended(room), 0});
            if (!(without.area > territory.area - worthACut * cover_.ground.area)) {
                continue;
            }
            const Shape shape = shapeOf(fewer, without);
            const Shape before = shapeOf(SlitCover(cover_, territory.slits), territory);
            if (shape.canBeCut && shape.clothEdge <= before.clothEdge + stepsMore * step_) {
                territory = std::move(without);
                territory.slits = std::move(ways);
            }
        }
        return territory;
    }

    // Of those that cover most, the one with the shortest new dart.
    const Attempt* bestOf(const std::vector<Attempt>& attempts) const {
        double most = 0.0;
        for (const Attempt& attempt : attempts) {
            most = std::max(most, attempt.territory.area);
        }
        const Attempt* best = nullptr;
        for (const Attempt& attempt : attempts) {
            const bool isGood =
                attempt.territory.area > 0.0 && attempt.territory.area >= most - asGood * cover_.ground.area;
            best = isGood && (best == nullptr || attempt.length < best->length) ? &attempt : best;
        }
        return best;
    }

    // What is good around the seed where the surface is slit along `ways`, after one run.
    Check firstCheck(const SlitCover& slit) const {
        std::vector<double> field;
        const PieceTry piece{piece_.start, slit.extended(piece_.room), 0};
        const std::shared_ptr<const Mould> mould = firstMould(slit.cover(), piece, field);
        if (!mould) {
            return {};
        }
        const Trial trial = drapePart(slit.cover(), mould, piece.start);
        Check check = checked(slit.cover(), trial, field);
        if (trial.grid.count > 0 && !check.good) {
            check.region.trouble.push_back(nodePosition(trial.grid, trial.grid.count - 1));
        }
        return check;
    }

    void runOnce(Attempt& attempt) const {
        try {
            requireTime(cover_);
            const SlitCover slit(cover_, attempt.ways);
            const Check check = firstCheck(slit);
            const std::vector<double> inside =
                check.region.depths.empty() ? std::vector<double>{} : insideOf(check.region, step_);
            for (std::size_t v = 0; v < inside.size(); ++v) {
                attempt.reach += inside[v] > 0.0 ? slit.cover().ground.areas[v] : 0.0;
            }
        } catch (const InputError&) {
            // No cloth starts there.
        }
    }

    void tryInFull(Attempt& attempt, double least) const {
        requireTime(cover_);
        const SlitCover slit(cover_, attempt.ways);
        Territory territory = territoryOf(slit.cover(), {piece_.start, slit.extended(piece_.room), 0});
        territory.slits = attempt.ways;
        if (territory.area > least && !shapeOf(slit, territory).canBeCut) {
            territory = withoutNeedless(territory);
        }
        if (territory.area > least && shapeOf(SlitCover(cover_, territory.slits), territory).canBeCut) {
            attempt.territory = std::move(territory);
        }
    }

    std::vector<Attempt> attemptsFrom(const std::vector<SlitWay>& ways) const {
        const SlitCover slit(cover_, ways);
        std::vector<double> field;
        const std::shared_ptr<const Mould> mould =
            firstMould(slit.cover(), {piece_.start, slit.extended(piece_.room), 0}, field);
        std::vector<Attempt> attempts;
        if (!mould) {
            return attempts;
        }
        const TriangleMesh mesh = meshOf(*mould);
        const SlitLines lines(mesh);
        for (const Point& tip : tipsOf(firstCheck(slit).region.trouble)) {
            for (const auto& [way, length] : waysFrom(*mould, lines, tip, slit.lines())) {
                Attempt attempt;
                attempt.ways = ways;
                attempt.ways.push_back(way);
                attempt.length = length;
                attempts.push_back(std::move(attempt));
            }
        }
        return attempts;
    }

    // At places of trouble apart from each other, those nearest to the seed first.
    std::vector<Point> tipsOf(std::vector<Point> trouble) const {
        const Point& seed = piece_.start.seed;
        std::stable_sort(trouble.begin(), trouble.end(), [&](const Point& a, const Point& b) {
            return distance(a, seed) < distance(b, seed);
        });
        std::vector<Point> places;
        std::vector<Point> tips;
        for (const Point& place : trouble) {
            if (places.size() == mostTroubles ||
                std::any_of(places.begin(), places.end(),
                            [&](const Point& p) { return distance(p, place) <= troublesApart * step_; })) {
                continue;
            }
            places.push_back(place);
            for (const double share : towardSeed) {
                if ((1.0 - share) * distance(place, seed) > clearOfSeed * step_) {
                    tips.push_back(mix(place, seed, share));
                }
            }
            if (const std::optional<Point> point = pointNear(place)) {
                tips.push_back(*point);
            }
        }
        std::sort(tips.begin(), tips.end());
        tips.erase(std::unique(tips.begin(), tips.end()), tips.end());
        return tips;
    }

    // The sharpest place of the surface near by.
    std::optional<Point> pointNear(const Point& place) const {
        std::optional<Point> sharpest;
        double most = leastPoint;
        for (std::size_t v = 0; v < points_.size(); ++v) {
            if (points_[v] > most && distance(cover_.ground.mesh.positions[v], place) < pointReach * step_) {
                most = points_[v];
                sharpest = cover_.ground.mesh.positions[v];
            }
        }
        return sharpest;
    }

    bool isClearOf(const std::vector<std::vector<Point>>& others, const Point& p) const {
        return std::all_of(others.begin(), others.end(), [&](const std::vector<Point>& line) {
            return std::all_of(line.begin(), line.end(),
                               [&](const Point& q) { return distance(p, q) > clearOfOthers * step_; });
        });
    }

    // The shortest ways from a tip to the edge, with their lengths; those that lead away from the seed count
    // as shorter, since a slit across the way of the cloth keeps it from what lies behind.
    std::vector<std::pair<SlitWay, double>> waysFrom(const Mould& mould, const SlitLines& lines,
                                                     const Point& tip,
                                                     const std::vector<std::vector<Point>>& others) const {
        const SurfacePoint on = nearestPoint(mould, tip);
        const Facet& facet = mould.facets[on.triangle];
        SlitWay way;
        way.tip = mix(on.position, facet.centroid, intoTriangle);
        for (std::size_t k = 0; k < 3; ++k) {
            if (distance(mould.corner(on.triangle, k), tip) <= atVertex * step_) {
                way.tip = mould.corner(on.triangle, k);
            }
        }
        const Point fromSeed = way.tip - piece_.start.seed;
        const Point away = unit(fromSeed - dot(fromSeed, facet.normal) * facet.normal);
        const Point across = cross(facet.normal, away);
        struct Ray {
            double harm, length;
            SlitWay way;
        };
        std::vector<Ray> rays;
        for (const auto& [cosine, sine] : directions) {
            way.along = cosine * away + sine * across;
            way.normal = cross(facet.normal, way.along);
            const std::vector<Point> line = lines.lineOf(way);
            if (!line.empty() && std::all_of(line.begin(), line.end(), [&](const Point& p) {
                    return distance(p, piece_.start.seed) > clearOfSeed * step_ && isClearOf(others, p);
                })) {
                const double length = lengthOf(line);
                rays.push_back({length * (2.0 - cosine), length, way});
                if (piece_.room) {
                    rays.back().way.farthest = length + beyondRoom * step_;
                }
            }
        }
        std::stable_sort(rays.begin(), rays.end(),
                         [](const Ray& a, const Ray& b) { return a.harm < b.harm; });
        std::vector<std::pair<SlitWay, double>> ways;
        for (const Ray& ray : rays) {
            if (ways.size() < waysPerTip && std::all_of(ways.begin(), ways.end(), [&](const auto& other) {
                    return dot(other.first.along, ray.way.along) < waysApart;
                })) {
                ways.emplace_back(ray.way, ray.length);
            }
        }
        return ways;
    }

    const CoverGround& cover_;
    PieceTry piece_;
    const ForEach& forEach_;
    double step_;
    bool isClosed_;
    std::vector<double> points_; // per vertex of the ground
};

} // namespace

Territory dartedTerritory(const CoverGround& cover, const PieceTry& piece, const ForEach& forEach) {
    try {
        return Search(cover, piece, forEach).found(piece.darts);
    } catch (const InputError&) {
        // No cloth starts there.
        return territoryOf(cover, piece);
    }
}

} // namespace drape::host
