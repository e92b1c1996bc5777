// A cut cell is known by its polygons on the pattern. They are brought back to u and v in the cell, from
// where the cell's corners carry them into space; what of their outline runs along a side of the cell is the
// part of the yarn there that belongs to the pattern.
#include "host/cloth/net_faces.h"

#include <algorithm>
#include <map>
#include <optional>

namespace drape::host {

using namespace vec;

namespace {

constexpr double onSide = 1e-6; // cells from a side within which an outline runs along it

using Side = std::pair<std::int32_t, std::int32_t>; // nodes, the lower one first

Side sideOf(const Cell& cell, std::size_t k) {
    const std::int32_t a = cell.nodes[k];
    const std::int32_t b = cell.nodes[(k + 1) % 4];
    return {std::min(a, b), std::max(a, b)};
}

// Nodes at the corners of some of the faces, so that the sides of the others are passed over without being
// looked up.
std::vector<char> nodesOf(const Grid& grid, const std::vector<Cell>& cells, const std::vector<NetFace>& faces,
                          bool (*some)(const NetFace&, const Cell&)) {
    std::vector<char> marked(at(grid.count), 0);
    for (const NetFace& face : faces) {
        for (std::size_t k = 0; some(face, cells[face.cell]) && k < 4; ++k) {
            marked[at(cells[face.cell].nodes[k])] = 1;
        }
    }
    return marked;
}

// The shear of the cells that hang over an edge, from those beside them.
class SpreadShear {
public:
    SpreadShear(const Grid& grid, const std::vector<Cell>& cells, std::vector<NetFace>& faces)
        : cells_(cells), faces_(faces) {
        const auto hanging = [](const NetFace&, const Cell& cell) { return !cell.onSurface; };
        const std::vector<char> marked = nodesOf(grid, cells, faces, hanging);
        for (std::size_t f = 0; f < faces.size(); ++f) {
            for (std::size_t k = 0; k < 4; ++k) {
                const Side side = sideOf(cells[faces[f].cell], k);
                if (marked[at(side.first)] != 0 && marked[at(side.second)] != 0) {
                    beside_[side].push_back(f);
                }
            }
            known_.push_back(cells[faces[f].cell].onSurface ? 1 : 0);
            if (known_.back() == 0) {
                open_.push_back(f);
            }
        }
    }

    // Gives their shear to the cells beside those that have one. Says whether there were any.
    bool spread() {
        std::vector<std::pair<std::size_t, double>> found;
        for (const std::size_t f : open_) {
            if (const auto mean = meanBeside(f)) {
                found.emplace_back(f, *mean);
            }
        }
        for (const auto& [face, shear] : found) {
            faces_[face].shear = shear;
            known_[face] = 1;
        }
        std::erase_if(open_, [&](std::size_t f) { return known_[f] != 0; });
        return !found.empty();
    }

private:
    std::optional<double> meanBeside(std::size_t face) const {
        double sum = 0.0;
        double count = 0.0;
        for (std::size_t k = 0; k < 4; ++k) {
            for (const std::size_t other : beside_.at(sideOf(cells_[faces_[face].cell], k))) {
                sum += known_[other] != 0 ? faces_[other].shear : 0.0;
                count += known_[other] != 0 ? 1.0 : 0.0;
            }
        }
        return count > 0.0 ? std::optional(sum / count) : std::nullopt;
    }

    const std::vector<Cell>& cells_;
    std::vector<NetFace>& faces_;
    std::map<Side, std::vector<std::size_t>> beside_;
    std::vector<char> known_;
    std::vector<std::size_t> open_; // those without a shear
};

// Where on a side of a cell, 0 to 1 from its first corner, a place lies; none if it lies off the side.
std::optional<double> alongSide(const FlatPoint& place, std::size_t side) {
    const std::array<double, 4> away{place[1], 1.0 - place[0], 1.0 - place[1], place[0]};
    const std::array<double, 4> along{place[0], place[1], 1.0 - place[0], 1.0 - place[1]};
    return std::abs(away[side]) <= onSide && along[side] >= -onSide && along[side] <= 1.0 + onSide
               ? std::optional(std::clamp(along[side], 0.0, 1.0))
               : std::nullopt;
}

// The stretches of the sides of cut cells that belong to the pattern, 0 to 1 from the side's lower node.
class SideStretches {
public:
    SideStretches(const Grid& grid, const std::vector<Cell>& cells, const std::vector<NetFace>& faces) {
        const auto isCut = [](const NetFace& face, const Cell&) { return !face.whole; };
        const std::vector<char> marked = nodesOf(grid, cells, faces, isCut);
        for (const NetFace& face : faces) {
            for (std::size_t k = 0; !face.whole && k < 4; ++k) {
                add(cells[face.cell], face, k);
            }
        }
        for (const NetFace& face : faces) {
            for (std::size_t k = 0; face.whole && k < 4; ++k) {
                const Side side = sideOf(cells[face.cell], k);
                if (marked[at(side.first)] != 0 && marked[at(side.second)] != 0) {
                    cut_.erase(side);
                }
            }
        }
    }

    // From `from` to `to`, rising; the whole side if no cell beside it is cut.
    std::vector<std::array<double, 2>> between(std::int32_t from, std::int32_t to) const {
        const auto found = cut_.find({std::min(from, to), std::max(from, to)});
        if (found == cut_.end()) {
            return {{0.0, 1.0}};
        }
        std::vector<std::array<double, 2>> stretches = found->second;
        if (from > to) {
            for (auto& [a, b] : stretches) {
                std::tie(a, b) = std::pair(1.0 - b, 1.0 - a);
            }
        }
        std::sort(stretches.begin(), stretches.end());
        std::vector<std::array<double, 2>> joined;
        for (const auto& stretch : stretches) {
            if (!joined.empty() && stretch[0] <= joined.back()[1] + onSide) {
                joined.back()[1] = std::max(joined.back()[1], stretch[1]);
            } else {
                joined.push_back(stretch);
            }
        }
        return joined;
    }

private:
    void add(const Cell& cell, const NetFace& face, std::size_t side) {
        auto& stretches = cut_[sideOf(cell, side)];
        for (const auto& polygon : face.polygons) {
            for (std::size_t k = 0; k < polygon.size(); ++k) {
                const auto a = alongSide(polygon[k], side);
                const auto b = alongSide(polygon[(k + 1) % polygon.size()], side);
                if (a && b && *b > *a) {
                    const bool rising = cell.nodes[side] < cell.nodes[(side + 1) % 4];
                    stretches.push_back(rising ? std::array{*a, *b} : std::array{1.0 - *b, 1.0 - *a});
                }
            }
        }
    }

    std::map<Side, std::vector<std::array<double, 2>>> cut_;
};

} // namespace

std::vector<NetFace> netFaces(const Grid& grid, const Measures& measures) {
    std::vector<NetFace> faces;
    for (const std::size_t cell : measures.net.wholeCells) {
        faces.push_back({cell, measures.cells[cell].shear, true, {}});
    }
    for (const ClippedCell& clipped : measures.net.clippedCells) {
        const Cell& cell = measures.cells[clipped.cell];
        const FlatPoint low = nodeFlat(grid, cell.nodes[0]);
        const FlatPoint high = nodeFlat(grid, cell.nodes[2]);
        NetFace face{clipped.cell, cell.shear, false, clipped.polygons};
        for (auto& polygon : face.polygons) {
            for (FlatPoint& place : polygon) {
                place = {(place[0] - low[0]) / (high[0] - low[0]), (place[1] - low[1]) / (high[1] - low[1])};
            }
        }
        faces.push_back(std::move(face));
    }
    SpreadShear shear(grid, measures.cells, faces);
    while (shear.spread()) {
    }
    return faces;
}

const std::vector<std::vector<FlatPoint>>& polygonsOf(const NetFace& face) {
    static const std::vector<std::vector<FlatPoint>> square{{{0.0, 0.0}, {1.0, 0.0}, {1.0, 1.0}, {0.0, 1.0}}};
    return face.whole ? square : face.polygons;
}

Point mixedIn(const std::array<Point, 4>& corners, const FlatPoint& place) {
    return mix(mix(corners[0], corners[1], place[0]), mix(corners[3], corners[2], place[0]), place[1]);
}

Point pointIn(const Grid& grid, const Cell& cell, const FlatPoint& place) {
    std::array<Point, 4> corners;
    std::transform(cell.nodes.begin(), cell.nodes.end(), corners.begin(),
                   [&](std::int32_t node) { return nodePosition(grid, node); });
    return mixedIn(corners, place);
}

std::vector<std::array<FlatPoint, 3>> trianglesOf(const Grid& grid, const Cell& cell, const NetFace& face) {
    std::vector<std::array<FlatPoint, 3>> triangles;
    if (face.whole) {
        const auto across = [&](std::size_t a, std::size_t b) {
            return distance(nodePosition(grid, cell.nodes[a]), nodePosition(grid, cell.nodes[b]));
        };
        const std::size_t turn = across(0, 2) <= across(1, 3) ? 0 : 1;
        const auto corner = [&](std::size_t k) { return polygonsOf(face).front()[(turn + k) % 4]; };
        return {{corner(0), corner(1), corner(2)}, {corner(0), corner(2), corner(3)}};
    }
    for (const auto& piece : trapezoidsOf(face.polygons)) {
        triangles.push_back({piece[0], piece[1], piece[2]});
        triangles.push_back({piece[0], piece[2], piece[3]});
    }
    std::erase_if(triangles, [](const std::array<FlatPoint, 3>& t) {
        return !(signedArea({t.begin(), t.end()}) > 0.0);
    });
    return triangles;
}

double areaOf(const Grid& grid, const Cell& cell, const NetFace& face) {
    if (face.whole) {
        return 0.5 * length(cross(nodePosition(grid, cell.nodes[2]) - nodePosition(grid, cell.nodes[0]),
                                  nodePosition(grid, cell.nodes[3]) - nodePosition(grid, cell.nodes[1])));
    }
    double area = 0.0;
    for (const auto& triangle : trianglesOf(grid, cell, face)) {
        area += areaOf(pointIn(grid, cell, triangle[0]), pointIn(grid, cell, triangle[1]),
                       pointIn(grid, cell, triangle[2]));
    }
    return area;
}

std::vector<Yarn> netYarns(const Grid& grid, const Measures& measures, const std::vector<NetFace>& faces,
                           Fibre fibre, std::int32_t every) {
    std::vector<Cell> cells;
    for (const NetFace& face : faces) {
        cells.push_back(measures.cells[face.cell]);
        cells.back().onSurface = true;
    }
    const SideStretches stretches(grid, measures.cells, faces);
    std::vector<Yarn> yarns;
    for (const NodeChain& chain : fibreLines(grid, cells, fibre, every)) {
        const std::int32_t line = (fibre == Fibre::warp ? grid.j : grid.i)[at(chain.front())];
        bool goesOn = false; // the last stretch, at the next node
        for (std::size_t k = 1; k < chain.size(); ++k) {
            const Point a = nodePosition(grid, chain[k - 1]);
            const Point b = nodePosition(grid, chain[k]);
            bool reachesNode = false;
            for (const auto& [from, to] : stretches.between(chain[k - 1], chain[k])) {
                if (!(goesOn && from == 0.0)) {
                    yarns.push_back({line, {mix(a, b, from)}});
                }
                yarns.back().points.push_back(to == 1.0 ? b : mix(a, b, to));
                reachesNode = to == 1.0;
            }
            goesOn = reachesNode;
        }
    }
    return yarns;
}

} // namespace drape::host
