// A triangle takes its fibres from the cell nearest to its centroid, if that cell lies over it: the way from
// the cell to the centroid has to run along the triangle's normal, and both have to face the same side. Cells
// are looked up through a hash of cubes about two cells wide.
#include "host/cloth/fibre_map.h"

#include "host/cloth/fibre_directions.h"
#include "host/cloth/grid.h"
#include "host/mesh/point.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace drape::host {
namespace {

// In cell lengths: how far a chord may stand off a curved mould, and how far beside a cell still counts as in
// it.
constexpr double largestStandOff = 0.5;
constexpr double sideMargin = 0.05;

struct Place {
    double distance = std::numeric_limits<double>::infinity();
    Point point{};       // nearest point of the cell
    double along = 0.0;  // place in the cell, 0 to 1 along the warp
    double across = 0.0; // and along the weft
};

// Nearest point of triangle a, b, c by the region of the triangle's plane that `p` projects into. Gives the
// shares of b and c.
std::array<double, 2> nearestShares(const Point& p, const Point& a, const Point& b, const Point& c) {
    const Point ab = vec::subtract(b, a);
    const Point ac = vec::subtract(c, a);
    const Point ap = vec::subtract(p, a);
    const double d1 = vec::dot(ab, ap);
    const double d2 = vec::dot(ac, ap);
    if (d1 <= 0.0 && d2 <= 0.0) {
        return {0.0, 0.0};
    }
    const Point bp = vec::subtract(p, b);
    const double d3 = vec::dot(ab, bp);
    const double d4 = vec::dot(ac, bp);
    if (d3 >= 0.0 && d4 <= d3) {
        return {1.0, 0.0};
    }
    const Point cp = vec::subtract(p, c);
    const double d5 = vec::dot(ab, cp);
    const double d6 = vec::dot(ac, cp);
    if (d6 >= 0.0 && d5 <= d6) {
        return {0.0, 1.0};
    }
    const double vc = d1 * d4 - d3 * d2;
    if (vc <= 0.0 && d1 >= 0.0 && d3 <= 0.0) {
        return {d1 / (d1 - d3), 0.0};
    }
    const double vb = d5 * d2 - d1 * d6;
    if (vb <= 0.0 && d2 >= 0.0 && d6 <= 0.0) {
        return {0.0, d2 / (d2 - d6)};
    }
    const double va = d3 * d6 - d5 * d4;
    if (va <= 0.0 && d4 >= d3 && d5 >= d6) {
        const double share = (d4 - d3) / ((d4 - d3) + (d5 - d6));
        return {1.0 - share, share};
    }
    return {vb / (va + vb + vc), vc / (va + vb + vc)};
}

struct Corner {
    Point position;
    double along, across;
};

void tryTriangle(const Point& p, const Corner& a, const Corner& b, const Corner& c, Place& best) {
    const auto [toB, toC] = nearestShares(p, a.position, b.position, c.position);
    const Point nearest =
        vec::add(a.position, vec::add(vec::scale(vec::subtract(b.position, a.position), toB),
                                      vec::scale(vec::subtract(c.position, a.position), toC)));
    const double distance = vec::distance(p, nearest);
    if (distance < best.distance) {
        best = {distance, nearest, a.along + toB * (b.along - a.along) + toC * (c.along - a.along),
                a.across + toB * (b.across - a.across) + toC * (c.across - a.across)};
    }
}

// The nearest place of a cell, taken as two triangles along its shorter diagonal.
Place placeInCell(const Point& p, const Grid& grid, const Cell& cell) {
    const std::array<Corner, 4> q{{{nodePosition(grid, cell.nodes[0]), 0.0, 0.0},
                                   {nodePosition(grid, cell.nodes[1]), 1.0, 0.0},
                                   {nodePosition(grid, cell.nodes[2]), 1.0, 1.0},
                                   {nodePosition(grid, cell.nodes[3]), 0.0, 1.0}}};
    const std::size_t turn =
        vec::distance(q[0].position, q[2].position) <= vec::distance(q[1].position, q[3].position) ? 0 : 1;
    Place best;
    tryTriangle(p, q[turn], q[turn + 1], q[(turn + 2) % 4], best);
    tryTriangle(p, q[turn], q[(turn + 2) % 4], q[(turn + 3) % 4], best);
    return best;
}

Point cellNormal(const Grid& grid, const Cell& cell) {
    Point sum{};
    for (const std::int32_t node : cell.nodes) {
        sum = vec::add(sum, nodeNormal(grid, node));
    }
    return sum;
}

Point cellCentre(const Grid& grid, const Cell& cell) {
    Point sum{};
    for (const std::int32_t node : cell.nodes) {
        sum = vec::add(sum, vec::scale(nodePosition(grid, node), 0.25));
    }
    return sum;
}

// Cells by the cube of space that their centre lies in.
class CellCubes {
public:
    CellCubes(const Grid& grid, const std::vector<Cell>& cells, double width) : width_(width) {
        for (std::size_t k = 0; k < cells.size(); ++k) {
            const Point centre = cellCentre(grid, cells[k]);
            if (vec::isFinite(centre)) {
                entries_.emplace_back(key(cube(centre)), static_cast<std::int32_t>(k));
            }
        }
        std::sort(entries_.begin(), entries_.end());
    }

    // Calls `use` with each cell in the cube of `p` and the cubes around it.
    template <class Use>
    void around(const Point& p, Use use) const {
        const auto middle = cube(p);
        for (std::int64_t x = -1; x <= 1; ++x) {
            for (std::int64_t y = -1; y <= 1; ++y) {
                for (std::int64_t z = -1; z <= 1; ++z) {
                    const auto wanted = key({middle[0] + x, middle[1] + y, middle[2] + z});
                    for (auto at = std::lower_bound(entries_.begin(), entries_.end(), std::pair(wanted, 0));
                         at != entries_.end() && at->first == wanted; ++at) {
                        use(static_cast<std::size_t>(at->second));
                    }
                }
            }
        }
    }

private:
    std::array<std::int64_t, 3> cube(const Point& p) const {
        const auto index = [&](double x) {
            return static_cast<std::int64_t>(std::clamp(std::floor(x / width_), -1e15, 1e15));
        };
        return {index(p[0]), index(p[1]), index(p[2])};
    }

    // 21 bits per axis; far cubes that share a key only bring candidates that the distance turns down.
    static std::uint64_t key(const std::array<std::int64_t, 3>& at) {
        constexpr std::uint64_t mask = (1U << 21U) - 1;
        return (static_cast<std::uint64_t>(at[0]) & mask) << 42U |
               (static_cast<std::uint64_t>(at[1]) & mask) << 21U | (static_cast<std::uint64_t>(at[2]) & mask);
    }

    double width_;
    std::vector<std::pair<std::uint64_t, std::int32_t>> entries_;
};

Point inPlane(const Point& direction, const Point& normal) {
    return vec::unit(vec::subtract(direction, vec::scale(normal, vec::dot(direction, normal))));
}

// A triangle of the mould as the search sees it.
struct Target {
    Point centroid, normal;
};

Target targetOf(const Mould& mould, std::size_t triangle) {
    const Point& a = mould.corner(triangle, 0);
    const Point& b = mould.corner(triangle, 1);
    const Point& c = mould.corner(triangle, 2);
    return {vec::scale(vec::add(a, vec::add(b, c)), 1.0 / 3.0),
            vec::unit(vec::cross(vec::subtract(b, a), vec::subtract(c, a)))};
}

// Whether the cell lies over the target at `place`.
bool liesOver(const Target& target, const Place& place, double step) {
    const Point offset = vec::subtract(target.centroid, place.point);
    const double off = vec::dot(offset, target.normal);
    const double beside = vec::length(vec::subtract(offset, vec::scale(target.normal, off)));
    return std::abs(off) <= largestStandOff * step && beside <= sideMargin * step;
}

double longestSide(const Grid& grid, const std::vector<Cell>& cells) {
    double longest = 0.0;
    for (const Cell& cell : cells) {
        for (std::size_t k = 0; cell.onSurface && k < 4; ++k) {
            longest = std::max(longest, vec::distance(nodePosition(grid, cell.nodes[k]),
                                                      nodePosition(grid, cell.nodes[(k + 1) % 4])));
        }
    }
    return longest;
}

// The nearest cell that lies over the target; a whole cell goes before one at an edge.
TriangleFibres findFibres(const Target& target, const Grid& grid, const std::vector<Cell>& cells,
                          const CellCubes& cubes, double step) {
    TriangleFibres found;
    Place best;
    cubes.around(target.centroid, [&](std::size_t index) {
        const Cell& cell = cells[index];
        const Cover cover = cell.onSurface              ? Cover::whole
                            : hangsOverEdge(grid, cell) ? Cover::edge
                                                        : Cover::none;
        if (cover == Cover::none || vec::distance(cellCentre(grid, cell), target.centroid) > 2.0 * step ||
            (found.cover == Cover::whole && cover == Cover::edge) ||
            vec::dot(cellNormal(grid, cell), target.normal) <= 0.0) {
            return;
        }
        const Place place = placeInCell(target.centroid, grid, cell);
        const bool better = cover != found.cover || place.distance < best.distance;
        if (better && liesOver(target, place, step)) {
            best = place;
            found.cover = cover;
            found.cell = static_cast<std::int32_t>(index);
        }
    });
    if (found.cell >= 0) {
        const Cell& cell = cells[static_cast<std::size_t>(found.cell)];
        found.shear = cell.shear;
        found.warp = inPlane(warpInCell(grid, cell, best.across), target.normal);
        found.weft = inPlane(weftInCell(grid, cell, best.along), target.normal);
    }
    return found;
}

} // namespace

std::vector<TriangleFibres> mapFibres(const Mould& mould, const Grid& grid, const Measures& measures) {
    std::vector<TriangleFibres> fibres(mould.triangleCount());
    const double step = longestSide(grid, measures.cells);
    if (!(step > 0.0) || !std::isfinite(step)) {
        return fibres;
    }
    const CellCubes cubes(grid, measures.cells, 2.0 * step);
    for (std::size_t t = 0; t < fibres.size(); ++t) {
        fibres[t] = findFibres(targetOf(mould, t), grid, measures.cells, cubes, step);
    }
    return fibres;
}

} // namespace drape::host
