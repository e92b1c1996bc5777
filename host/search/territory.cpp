// The first run has the whole surface under it and ends where the cloth folds. What is good of it is cut out
// along a line that keeps a cell away from what isn't, which rounds the line off too, and so on until a run
// on what was cut out finds nothing that is to be left out.
#include "host/search/territory.h"

#include "drape.h"
#include "host/cloth/cell_cover.h"
#include "host/cloth/cell_cubes.h"
#include "host/mesh/edge_split.h"
#include "host/mesh/error.h"
#include "host/mesh/text.h"
#include "host/mesh/topology.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace drape::host {

using namespace vec;

namespace {

constexpr double inside = 0.7;        // cells between the edge of a piece and cloth that isn't good
constexpr double clearOfLimit = 0.05; // cells, as the line between vertices is an even one
constexpr double mostCells = 1e6;
constexpr int mostRounds = 8;
constexpr int roundsOfReach = 3;
constexpr double closeBy = 1.0;     // cells outside of a territory, where its depths still count
constexpr double cutAround = 1.5;   // cells around a place of trouble
constexpr double lessAround = 0.25; // cells, of a piece that is too large by less than its cells tell
constexpr double fewestCells = 12.0;
constexpr double edgeEnd = 0.02;      // of an edge: no cut nearer to its ends
constexpr double lockingMargin = 0.1; // degrees, for a drape of the same piece out of a file
constexpr double mostBare = 2.0;      // cells: the corners of a mould that look out between cells
constexpr double shareBeside = 0.02;  // of the cells may lie beside the region,
constexpr double fewBeside = 2.0;     // or so many
constexpr double poleShare = 0.02;    // of a closed surface, taken away to give it an edge

// A closed surface without what lies farthest from the seed, so that cloth has an edge to end at.
std::shared_ptr<const Mould> openedAway(const CoverGround& cover, const Point& seed) {
    const Ground& ground = cover.ground;
    std::vector<double> field(ground.vertexCount());
    std::vector<std::pair<double, std::size_t>> byDistance;
    for (std::size_t v = 0; v < field.size(); ++v) {
        byDistance.emplace_back(-distance(ground.mesh.positions[v], seed), v);
    }
    std::sort(byDistance.begin(), byDistance.end());
    double taken = 0.0;
    for (const auto& [d, v] : byDistance) {
        field[v] = taken < poleShare * ground.area ? -1.0 : 1.0;
        taken += ground.areas[v];
    }
    keepAround(ground, seed, field);
    return std::make_shared<const Mould>(mouldOf(partAbove(ground.mesh, field)));
}

std::int32_t nearestVertex(const Ground& ground, const Point& point) {
    std::int32_t nearest = 0;
    double least = std::numeric_limits<double>::infinity();
    for (std::size_t v = 0; v < ground.vertexCount(); ++v) {
        const double d = distance(ground.mesh.positions[v], point);
        if (d < least) {
            least = d;
            nearest = static_cast<std::int32_t>(v);
        }
    }
    return nearest;
}

void fill(const CoverGround& cover, const std::vector<double>& field, Territory& territory) {
    const auto lowest =
        static_cast<float>(-closeBy * std::max(cover.surface.steps[0], cover.surface.steps[1]));
    for (std::size_t v = 0; v < field.size(); ++v) {
        if (static_cast<float>(field[v]) > lowest) {
            territory.vertices.push_back(static_cast<std::int32_t>(v));
            territory.depths.push_back(static_cast<float>(field[v]));
            territory.area += field[v] > 0.0 ? cover.ground.areas[v] : 0.0;
        }
    }
}

} // namespace

CoverGround coverGroundOf(const Surface& surface, const TrialWishes& wishes,
                          const std::array<double, 2>& most) {
    if (surface.mould->area > mostCells * surface.steps[0] * surface.steps[1]) {
        throw InputError("a step of " + number(surface.steps[0]) + " makes more than " + number(mostCells) +
                             " cells on this surface, too many to look for pieces",
                         Refusal::tooFine);
    }
    return {surface, wishes, GoodWishes{std::max(0.0, wishes.lockingAngle - lockingMargin), most[0], most[1]},
            groundOf(surface.mesh, std::max(surface.steps[0], surface.steps[1])), nullptr};
}

TriangleMesh partAbove(const TriangleMesh& mesh, const std::vector<double>& field) {
    TriangleMesh near;
    near.positions = mesh.positions;
    for (std::size_t t = 0; t < mesh.triangles.size(); ++t) {
        const Triangle& corners = mesh.triangles[t];
        if (std::any_of(corners.begin(), corners.end(), [&](std::int32_t v) { return field[at(v)] > 0.0; })) {
            near.triangles.push_back(corners);
            near.sourceFaces.push_back(mesh.sourceFaces[t]);
        }
    }
    const SplitMesh split =
        splitEdges(near, [&](std::int32_t low, std::int32_t high) -> std::optional<double> {
            const double a = field[at(low)];
            const double b = field[at(high)];
            return (a > 0.0) != (b > 0.0) ? std::optional(std::clamp(a / (a - b), edgeEnd, 1.0 - edgeEnd))
                                          : std::nullopt;
        });
    std::vector<char> keep(split.mesh.triangles.size());
    for (std::size_t t = 0; t < keep.size(); ++t) {
        // Every part of a triangle has one of its corners, and those that it has lie on one side.
        const Triangle& corners = split.mesh.triangles[t];
        keep[t] = std::any_of(corners.begin(), corners.end(),
                              [&](std::int32_t v) { return at(v) < field.size() && field[at(v)] > 0.0; });
    }
    return keptPart(split.mesh, keep);
}

void keepAround(const Ground& ground, const Point& seed, std::vector<double>& field) {
    const std::int32_t first = nearestVertex(ground, seed);
    std::vector<char> reached(field.size(), 0);
    std::vector<std::int32_t> open;
    const auto reach = [&](std::int32_t v) {
        if (field[at(v)] > 0.0 && reached[at(v)] == 0) {
            reached[at(v)] = 1;
            open.push_back(v);
        }
    };
    reach(first);
    for (std::size_t k = 0; k < open.size(); ++k) {
        const auto around = ground.around(open[k]);
        std::for_each(around.begin(), around.end(), reach);
    }
    const double far = std::sqrt(ground.area);
    for (std::size_t v = 0; v < field.size(); ++v) {
        field[v] = field[v] > 0.0 && reached[v] == 0 ? -far : field[v];
    }
}

void requireTime(const CoverGround& cover) {
    if (cover.isOver && cover.isOver()) {
        throw InputError("the search is over");
    }
}

Trial drapePart(const CoverGround& cover, std::shared_ptr<const Mould> mould, const PieceStart& start) {
    requireTime(cover);
    Trial trial;
    Notes untold;
    trial.side = cover.surface.side;
    trial.angle = start.angle;
    trial.mould = std::move(mould);
    const SurfacePoint seed = seedOn(*trial.mould, start.seed, cover.surface.steps, untold);
    trial.choice = choiceAt(*trial.mould, seed, cover.wishes.start, start.angle, cover.surface.steps, untold);
    requireEdge(*trial.mould);
    const std::int32_t mostNodes = usualMostNodes(*trial.mould, trial.choice);
    trial.grid = runDrape(*trial.mould, trial.choice, cover.wishes.mostNodes.value_or(mostNodes), nullptr);
    return trial;
}

namespace {

// Lowers depths to the distance from cells beside the region. Where good cloth lies over the mould under
// them too, nothing else says that a piece has to leave these places out.
void keepOff(const Ground& ground, const Grid& grid, const std::vector<Cell>& cells, GoodRegion& region) {
    for (std::size_t c = 0; c < cells.size(); ++c) {
        if (cells[c].onSurface && region.cells[c] == 0) {
            const Point centre = cellCentre(grid, cells[c]);
            for (std::size_t v = 0; v < region.depths.size(); ++v) {
                region.depths[v] = std::min(region.depths[v], distance(ground.mesh.positions[v], centre));
            }
        }
    }
}

} // namespace

Check checked(const CoverGround& cover, const Trial& trial, const std::vector<double>& field) {
    const std::vector<Cell> cells = cellsOf(trial.grid);
    GoodRegion region = goodRegionOf(cover.ground, trial.grid, cells, cover.good, field);
    double bare = 0.0;
    for (std::size_t v = 0; v < field.size(); ++v) {
        bare += field[v] > 0.0 && region.depths[v] < 0.0 ? cover.ground.areas[v] : 0.0;
    }
    std::size_t onSurface = 0;
    std::size_t beside = 0;
    bool locks = false;
    bool tooLarge = false;
    const double slack = 1e-3 * std::min(trial.choice.stepA, trial.choice.stepB);
    for (std::size_t c = 0; c < cells.size(); ++c) {
        onSurface += cells[c].onSurface ? 1U : 0U;
        beside += cells[c].onSurface && region.cells[c] == 0 ? 1U : 0U;
        locks = locks || ((cells[c].onSurface || hangsOverEdge(trial.grid, cells[c])) &&
                          std::abs(cells[c].shear) > cover.good.lockingAngle);
    }
    Check check;
    const bool tooManyBeside =
        static_cast<double>(beside) > std::max(fewBeside, shareBeside * static_cast<double>(onSurface));
    for (std::size_t v = 0; v < field.size(); ++v) {
        tooLarge = tooLarge || (field[v] > 0.0 && region.rooms[v] < -slack);
    }
    const bool liesOverAll = bare <= mostBare * trial.choice.stepA * trial.choice.stepB;
    check.good = !tooLarge && trial.grid.status == DRAPE_OK && !locks && onSurface > 0 &&
                 region.doubles == 0 && liesOverAll && !tooManyBeside;
    if ((tooManyBeside || region.doubles > 0) && !tooLarge && !locks && liesOverAll) {
        keepOff(cover.ground, trial.grid, cells, region);
    }
    check.region = std::move(region);
    return check;
}

namespace {

double areaAbove(const Ground& ground, const std::vector<double>& field, double level) {
    double area = 0.0;
    for (std::size_t v = 0; v < field.size(); ++v) {
        area += field[v] > level ? ground.areas[v] : 0.0;
    }
    return area;
}

// The part above 0 around the seed; null if it is next to nothing. Leaves of `field` what a territory
// keeps of it, so that the same mould can be cut again.
std::shared_ptr<const Mould> partAround(const CoverGround& cover, const Point& seed,
                                        std::vector<double>& field) {
    keepAround(cover.ground, seed, field);
    const double lowest = -closeBy * std::max(cover.surface.steps[0], cover.surface.steps[1]);
    for (double& value : field) {
        value = static_cast<double>(static_cast<float>(std::max(value, lowest)));
    }
    const double least = fewestCells * cover.surface.steps[0] * cover.surface.steps[1];
    return areaAbove(cover.ground, field, 0.0) < least
               ? nullptr
               : std::make_shared<const Mould>(mouldOf(partAbove(cover.ground.mesh, field)));
}

// A fold ends a run before the cloth has gone as far as it could elsewhere. Cuts the places of trouble out of
// the mould and runs again, a few times, and lowers `field` to the largest good region that came out.
// Null if there is next to none.
std::shared_ptr<const Mould> reachedFrom(const CoverGround& cover, const PieceStart& start,
                                         std::shared_ptr<const Mould> mould, std::vector<double>& field) {
    const Ground& ground = cover.ground;
    const double step = std::max(cover.surface.steps[0], cover.surface.steps[1]);
    std::vector<double> away(field);
    std::vector<double> best;
    double most = 0.0;
    for (int round = 0; round < roundsOfReach && mould; ++round) {
        const Trial trial = drapePart(cover, std::move(mould), start);
        Check check = checked(cover, trial, field);
        std::vector<Point> trouble = std::move(check.region.trouble);
        std::vector<double> reach = insideOf(check.region, step);
        const double area = areaAbove(ground, reach, 0.0);
        if (area > most) {
            most = area;
            best = std::move(reach);
        }
        if (trial.grid.status == DRAPE_OK || trial.grid.count == 0) {
            break;
        }
        trouble.push_back(nodePosition(trial.grid, trial.grid.count - 1));
        for (std::size_t v = 0; v < away.size(); ++v) {
            for (const Point& point : trouble) {
                away[v] = std::min(away[v], distance(ground.mesh.positions[v], point) - cutAround * step);
            }
        }
        mould = partAround(cover, start.seed, away);
    }
    for (std::size_t v = 0; v < best.size(); ++v) {
        field[v] = std::min(field[v], best[v]);
    }
    return best.empty() ? nullptr : partAround(cover, start.seed, field);
}

} // namespace

std::vector<double> insideOf(const GoodRegion& region, double step) {
    std::vector<double> values(region.depths);
    for (std::size_t v = 0; v < values.size(); ++v) {
        values[v] = std::min(values[v] - inside * step, region.rooms[v] - clearOfLimit * step);
    }
    return values;
}

std::vector<double> depthsOver(const CoverGround& cover, const Territory& territory) {
    const auto lowest =
        static_cast<float>(-closeBy * std::max(cover.surface.steps[0], cover.surface.steps[1]));
    std::vector<double> field(cover.ground.vertexCount(), static_cast<double>(lowest));
    for (std::size_t k = 0; k < territory.vertices.size() && at(territory.vertices[k]) < field.size(); ++k) {
        field[at(territory.vertices[k])] = static_cast<double>(territory.depths[k]);
    }
    return field;
}

namespace {

// The vertices at which `field` is above 0 and that no cell lies over.
std::vector<std::int32_t> bareUnder(const Ground& ground, const Grid& grid,
                                    const std::vector<double>& field) {
    const CellCover cells(grid, cellsOf(grid));
    CellCover::Hint hint;
    std::vector<std::int32_t> bare;
    for (std::size_t v = 0; v < field.size(); ++v) {
        if (field[v] > 0.0 &&
            cells.coverOf({ground.mesh.positions[v], ground.normals[v], 0.0, 0.0}, hint) == Cover::none) {
            bare.push_back(static_cast<std::int32_t>(v));
        }
    }
    return bare;
}

// Whether the pattern is no wider and no longer than cloth may be.
bool isWithinLimits(const CoverGround& cover, const Trial& trial) {
    if (!std::isfinite(cover.good.mostAlongWarp) && !std::isfinite(cover.good.mostAlongWeft)) {
        return true;
    }
    const auto extent = netPatternOf(*trial.mould, trial.grid, cellsOf(trial.grid)).extent;
    return extent[2] - extent[0] <= cover.good.mostAlongWarp &&
           extent[3] - extent[1] <= cover.good.mostAlongWeft;
}

} // namespace

std::shared_ptr<const Mould> firstMould(const CoverGround& cover, const PieceTry& piece,
                                        std::vector<double>& field) {
    field.assign(cover.ground.vertexCount(), std::sqrt(cover.ground.area));
    if (piece.room) {
        field.assign(piece.room->begin(), piece.room->end());
        return partAround(cover, piece.start.seed, field);
    }
    const std::shared_ptr<const Mould>& mould = cover.surface.mould;
    return mould->loops.empty() ? openedAway(cover, piece.start.seed) : mould;
}

Territory territoryOf(const CoverGround& cover, const PieceTry& piece) {
    Territory territory;
    territory.start = piece.start;
    const double step = std::max(cover.surface.steps[0], cover.surface.steps[1]);
    std::vector<double> field;
    try {
        std::shared_ptr<const Mould> mould = firstMould(cover, piece, field);
        mould = mould ? reachedFrom(cover, piece.start, std::move(mould), field) : nullptr;
        for (int round = 0; round < mostRounds && mould; ++round) {
            const Trial trial = drapePart(cover, std::move(mould), piece.start);
            const Check check = checked(cover, trial, field);
            if (check.good && isWithinLimits(cover, trial)) {
                fill(cover, field, territory);
                territory.bare = bareUnder(cover.ground, trial.grid, field);
                return territory;
            }
            const std::vector<double> reach = insideOf(check.region, step);
            for (std::size_t v = 0; v < field.size(); ++v) {
                field[v] = check.good ? field[v] - lessAround * step : std::min(field[v], reach[v]);
            }
            mould = partAround(cover, piece.start.seed, field);
        }
    } catch (const InputError&) {
        // No cloth starts here.
    }
    return territory;
}

} // namespace drape::host
