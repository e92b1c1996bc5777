// A triangle takes its shear from the cells that lie over it. One that is larger than a cell is halved down
// to the size of a cell and takes the mean over the pieces. What each cell takes of the sum that way is held
// against its cloth; around a node, since a piece at a cell's side counts to one cell or to the other.
#include "host/cloth/area_by_shear.h"

#include "host/cloth/cell_cover.h"
#include "host/cloth/net_faces.h"
#include "host/mesh/box.h"

#include <algorithm>
#include <cmath>

namespace drape::host {

using namespace vec;

namespace {

// In cell lengths.
constexpr double largestPiece = 1.0; // from the middle to a corner
constexpr double farFromCloth = 3.0; // off the box around it; no cell lies over what is farther

class ShearFactors {
public:
    ShearFactors(const Grid& grid, const Measures& measures, const std::vector<NetFace>& faces)
        : cover_(grid, measures.cells), taken_(measures.cells.size(), 0.0) {
        for (const Cell& cell : measures.cells) {
            factors_.push_back(thicknessFactor(cell.shear));
            for (std::size_t k = 0; cell.onSurface && k < 4; ++k) {
                box_.add(nodePosition(grid, cell.nodes[k]));
            }
        }
        for (const NetFace& face : faces) {
            factors_[face.cell] = thicknessFactor(face.shear);
        }
    }

    // Area of the parts of a triangle over which cells lie, and the sum of such areas over the cosine of the
    // shear.
    struct Sums {
        double area = 0.0, byShear = 0.0;
    };

    Sums over(const Point& a, const Point& b, const Point& c, const Facet& facet) {
        if (isFar(facet)) {
            return {};
        }
        if (facet.reach > largestPiece * cover_.cellLength()) {
            return overHalves(a, b, c);
        }
        if (cover_.coverOf(facet, hint_) == Cover::none) {
            return {};
        }
        const double byShear = facet.area * factors_[*hint_.cell];
        taken_[*hint_.cell] += byShear;
        return {facet.area, byShear};
    }

    // What the pieces over which a cell lies came to.
    double takenBy(std::size_t cell) const { return taken_[cell]; }

private:
    bool isFar(const Facet& facet) const {
        const double reach = facet.reach + farFromCloth * cover_.cellLength();
        double square = 0.0;
        for (std::size_t axis = 0; axis < 3; ++axis) {
            const double off = std::max(
                {box_.low[axis] - facet.centroid[axis], facet.centroid[axis] - box_.high[axis], 0.0});
            square += off * off;
        }
        return square > reach * reach;
    }

    Sums overHalves(const Point& a, const Point& b, const Point& c) {
        if (distance(a, b) < distance(b, c) || distance(a, b) < distance(c, a)) {
            return overHalves(b, c, a);
        }
        const Point middle = mix(a, b, 0.5);
        const Sums one = over(a, middle, c, facetOf(a, middle, c));
        const Sums two = over(middle, b, c, facetOf(middle, b, c));
        return {one.area + two.area, one.byShear + two.byShear};
    }

    CellCover cover_;
    CellCover::Hint hint_;
    std::vector<double> factors_; // per cell
    std::vector<double> taken_;
    Box3 box_; // around the cells on the mould
};

// On the flat pattern.
double clothOf(const Grid& grid, const Cell& cell, const NetFace& face) {
    const FlatPoint low = nodeFlat(grid, cell.nodes[0]);
    const FlatPoint high = nodeFlat(grid, cell.nodes[2]);
    double share = 0.0;
    for (const auto& polygon : polygonsOf(face)) {
        share += signedArea(polygon);
    }
    return share * (high[0] - low[0]) * (high[1] - low[1]);
}

void findPlaces(const Grid& grid, const Measures& measures, const std::vector<NetFace>& faces,
                const ShearFactors& factors, AreaByShear& found) {
    std::vector<double> excess(at(grid.count), 0.0); // per node, of the cells around it
    for (const NetFace& face : faces) {
        const Cell& cell = measures.cells[face.cell];
        const double more = clothOf(grid, cell, face) - factors.takenBy(face.cell);
        for (const std::int32_t node : cell.nodes) {
            excess[at(node)] += more;
        }
    }
    const auto [least, most] = std::minmax_element(excess.begin(), excess.end());
    found.shortAt = nodePosition(grid, static_cast<std::int32_t>(least - excess.begin()));
    found.longAt = nodePosition(grid, static_cast<std::int32_t>(most - excess.begin()));
}

} // namespace

AreaByShear areaByShear(const Mould& mould, const Grid& grid, const Measures& measures) {
    if (measures.cellsOnSurface == 0) {
        return {};
    }
    const std::vector<NetFace> faces = netFaces(grid, measures);
    ShearFactors factors(grid, measures, faces);
    double sum = 0.0;
    double known = 0.0; // area of what has a shear
    double unknown = 0.0;
    for (std::size_t t = 0; t < mould.triangleCount(); ++t) {
        const double covered = mould.facets[t].area - (measures.bare.empty() ? 0.0 : measures.bare[t]);
        if (!(covered > 0.0)) {
            continue;
        }
        const auto [area, byShear] =
            factors.over(mould.corner(t, 0), mould.corner(t, 1), mould.corner(t, 2), mould.facets[t]);
        if (area > 0.0) {
            sum += covered * byShear / area;
            known += covered;
        } else {
            unknown += covered; // cloth that reaches the triangle's rim only; it counts as the rest does
        }
    }
    AreaByShear found;
    found.sum = known > 0.0 ? sum * (1.0 + unknown / known) : 0.0;
    findPlaces(grid, measures, faces, factors, found);
    return found;
}

std::optional<double> chordError(const Measures& measures, const AreaByShear& byShear) {
    if (!(byShear.sum > 0.0 && measures.coveredShare > 0.0)) {
        return std::nullopt;
    }
    const double layers = 1.0 + measures.doubledShare / measures.coveredShare;
    return measures.net.area / (layers * byShear.sum) - 1.0;
}

} // namespace drape::host
