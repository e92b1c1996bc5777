// A triangle is shared out among the cells whose shadows lie on it, each part over the cosine of its cell's
// shear. Where the cloth is folded back, cells lie over each other, some showing the mould their back; all of
// them count. What each cell takes of the sum is held against its cloth, around a node, as a triangle that
// faces another way than the cell over it hands some of it to the next one.
#include "host/cloth/area_by_shear.h"

#include "host/cloth/face_shadows.h"
#include "host/mesh/box.h"

#include <algorithm>
#include <cmath>

namespace drape::host {

using namespace vec;

namespace {

constexpr double allBut = 1.0 - 1e-9; // of a triangle, and all of it is under cells
constexpr double farFromCloth = 3.0;  // cells off the box around it; no cell lies over what is farther

using Polygon = std::vector<FlatPoint>;

// What of a polygon lies to the left of the line from a to b.
void cut(const Polygon& polygon, const FlatPoint& a, const FlatPoint& b, Polygon& left) {
    const auto height = [&](const FlatPoint& p) {
        return (b[0] - a[0]) * (p[1] - a[1]) - (b[1] - a[1]) * (p[0] - a[0]);
    };
    left.clear();
    for (std::size_t k = 0; k < polygon.size(); ++k) {
        const FlatPoint& p = polygon[k];
        const FlatPoint& q = polygon[(k + 1) % polygon.size()];
        const double from = height(p);
        const double to = height(q);
        if (from >= 0.0) {
            left.push_back(p);
        }
        if ((from < 0.0) != (to < 0.0)) {
            const double share = from / (from - to);
            left.push_back({p[0] + share * (q[0] - p[0]), p[1] + share * (q[1] - p[1])});
        }
    }
}

class SharedOut {
public:
    SharedOut(const Grid& grid, const Measures& measures, const std::vector<NetFace>& faces)
        : shadows_(grid, measures.cells, faces),
          inLayers_(shadows_.foldsBack() || measures.doubledShare > 0.0), taken_(faces.size(), 0.0) {
        for (const NetFace& face : faces) {
            // Of a cell that hangs over an edge as well its own, since the outline there goes by its map.
            factors_.push_back(thicknessFactor(measures.cells[face.cell].shear));
            for (const std::int32_t node : measures.cells[face.cell].nodes) {
                box_.add(nodePosition(grid, node));
            }
        }
    }

    // Area of the parts of a triangle under cells, and the sum of such areas over the cosine of the shear.
    struct Sums {
        double area = 0.0, byShear = 0.0;
    };

    Sums over(const std::array<Point, 3>& corners, const Facet& facet) {
        if (!(facet.area > 0.0) || isFar(facet)) {
            return {};
        }
        Sums sums;
        if (facet.reach > FaceShadows::largestPiece * shadows_.cellLength()) {
            for (const auto& half : halvesOf(corners)) {
                const Sums part = over(half, facetOf(half[0], half[1], half[2]));
                sums = {sums.area + part.area, sums.byShear + part.byShear};
            }
            return sums;
        }
        const PlaneOfTriangle plane(corners, facet);
        const std::array<FlatPoint, 3> triangle{plane.of(corners[0]), plane.of(corners[1]),
                                                plane.of(corners[2])};
        shadows_.onto(plane, hint_, [&](std::size_t face, bool showsBack) {
            shadows_.polygonsOn(face, plane, polygons_);
            double area = 0.0;
            for (const Polygon& polygon : polygons_) {
                area += (showsBack ? -1.0 : 1.0) * areaWithin(polygon, triangle);
            }
            taken_[face] += area * factors_[face];
            sums = {sums.area + area, sums.byShear + area * factors_[face]};
            return inLayers_ || sums.area < allBut * facet.area;
        });
        return sums;
    }

    // What the parts under a face came to.
    double takenBy(std::size_t face) const { return taken_[face]; }

private:
    bool isFar(const Facet& facet) const {
        const double reach = facet.reach + farFromCloth * shadows_.cellLength();
        double square = 0.0;
        for (std::size_t axis = 0; axis < 3; ++axis) {
            const double off = std::max(
                {box_.low[axis] - facet.centroid[axis], facet.centroid[axis] - box_.high[axis], 0.0});
            square += off * off;
        }
        return square > reach * reach;
    }

    double areaWithin(const Polygon& polygon, const std::array<FlatPoint, 3>& triangle) {
        cut(polygon, triangle[0], triangle[1], one_);
        cut(one_, triangle[1], triangle[2], two_);
        cut(two_, triangle[2], triangle[0], one_);
        return signedArea(one_);
    }

    FaceShadows shadows_;
    FaceShadows::Hint hint_;
    bool inLayers_;               // else no cell lies over what others have taken
    std::vector<double> factors_; // per face
    std::vector<double> taken_;
    Box3 box_; // around the cells
    std::vector<Polygon> polygons_;
    Polygon one_, two_;
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
                const SharedOut& shared, AreaByShear& found) {
    std::vector<double> excess(at(grid.count), 0.0); // per node, of the cells around it
    for (std::size_t f = 0; f < faces.size(); ++f) {
        const Cell& cell = measures.cells[faces[f].cell];
        const double more = clothOf(grid, cell, faces[f]) - shared.takenBy(f);
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
    SharedOut shared(grid, measures, faces);
    double sum = 0.0;
    double known = 0.0; // area of what has a shear
    double unknown = 0.0;
    for (std::size_t t = 0; t < mould.triangleCount(); ++t) {
        const double covered = mould.facets[t].area - (measures.bare.empty() ? 0.0 : measures.bare[t]);
        if (!(covered > 0.0)) {
            continue;
        }
        const auto [area, byShear] =
            shared.over({mould.corner(t, 0), mould.corner(t, 1), mould.corner(t, 2)}, mould.facets[t]);
        if (area > 0.0) {
            // Steep places that no cell faces count as the rest of their triangle does.
            sum += byShear * std::max(1.0, covered / area);
            known += covered;
        } else {
            unknown += covered;
        }
    }
    AreaByShear found;
    found.sum = known > 0.0 ? sum * (1.0 + unknown / known) : 0.0;
    findPlaces(grid, measures, faces, shared, found);
    return found;
}

std::optional<double> chordError(const Measures& measures, const AreaByShear& byShear) {
    return byShear.sum > 0.0 ? std::optional(measures.net.area / byShear.sum - 1.0) : std::nullopt;
}

} // namespace drape::host
