// Cells are looked up through a hash of cubes of space two cells wide. The exact test works out the nearest
// place of a cell, so cheap bounds go before it.
#include "host/cloth/cell_cover.h"

#include "host/mesh/nearest_point.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace drape::host {

using namespace vec;

namespace {

// In cell lengths: how far a chord may stand off a curved mould, how far beside a cell still counts as in it,
// how far off a cell's centre may be at most, and what keeps bounds clear of rounding.
constexpr double largestStandOff = 0.5;
constexpr double largestAcrossEdge = 1.0; // the same for a chord across a sharp edge
constexpr double sideMargin = 0.05;
constexpr double farthestCentre = 2.0;
constexpr double slack = 1e-6;

constexpr double cubeWidth = 2.0; // in cell lengths

double longestSide(const Grid& grid, const std::vector<Cell>& cells) {
    double longest = 0.0;
    for (const Cell& cell : cells) {
        for (std::size_t k = 0; cell.onSurface && k < 4; ++k) {
            longest = std::max(longest, distance(nodePosition(grid, cell.nodes[k]),
                                                 nodePosition(grid, cell.nodes[(k + 1) % 4])));
        }
    }
    return longest;
}

} // namespace

std::array<double, 2> flatPlace(const Grid& grid, const Cell& cell, const CellPlace& place) {
    const double shares[4] = {(1.0 - place.along) * (1.0 - place.across), place.along * (1.0 - place.across),
                              place.along * place.across, (1.0 - place.along) * place.across};
    std::array<double, 2> result{};
    for (std::size_t k = 0; k < 4; ++k) {
        const auto flat = nodeFlat(grid, cell.nodes[k]);
        result = {result[0] + shares[k] * flat[0], result[1] + shares[k] * flat[1]};
    }
    return result;
}

struct CellCover::Place {
    double distance = std::numeric_limits<double>::infinity();
    Point point{};
    double along = 0.0;
    double across = 0.0;
};

CellCover::CellCover(const Grid& grid, const std::vector<Cell>& cells)
    : step_(longestSide(grid, cells)), cubes_(grid, cells, cubeWidth * step_) {
    for (const Cell& cell : cells) {
        shapes_.push_back(shapeOf(grid, cell));
    }
}

CellCover::Half CellCover::halfOf(const Point& a, const Point& b, const Point& c) {
    const Point square = cross(b - a, c - a);
    const double part = 1.0 / dot(square, square);
    return {scale(cross(c - a, square), part), scale(cross(square, b - a), part), unit(square)};
}

CellCover::Shape CellCover::shapeOf(const Grid& grid, const Cell& cell) const {
    Shape shape{};
    double reach = 0.0;
    shape.cover = cell.onSurface ? Cover::whole : hangsOverEdge(grid, cell) ? Cover::edge : Cover::none;
    shape.centre = cellCentre(grid, cell);
    std::array<Point, 4> q;
    for (std::size_t k = 0; k < 4; ++k) {
        q[k] = nodePosition(grid, cell.nodes[k]);
        shape.normal = shape.normal + nodeNormal(grid, cell.nodes[k]);
    }
    shape.first = distance(q[0], q[2]) <= distance(q[1], q[3]) ? 0 : 1;
    for (std::size_t k = 0; k < 4; ++k) {
        shape.corners[k] = q[(shape.first + k) % 4];
        reach = std::max(reach, distance(shape.centre, q[k]));
    }
    // A place of the cell that is lain over is within standing-off and side margin of the centroid.
    const double far = (largestStandOff + sideMargin + slack) * step_ + reach;
    shape.farSquare = far * far;
    shape.halves = {halfOf(shape.corners[0], shape.corners[1], shape.corners[2]),
                    halfOf(shape.corners[0], shape.corners[2], shape.corners[3])};
    return shape;
}

// The place with these shares of the second and third corner of a half.
CellCover::Place CellCover::placeAt(const Shape& shape, std::size_t half, double second, double third) {
    constexpr std::array<std::array<double, 2>, 4> places{{{0.0, 0.0}, {1.0, 0.0}, {1.0, 1.0}, {0.0, 1.0}}};
    const auto& [aAlong, aAcross] = places[shape.first];
    const auto& [bAlong, bAcross] = places[(shape.first + half + 1) % 4];
    const auto& [cAlong, cAcross] = places[(shape.first + half + 2) % 4];
    Place place;
    place.along = aAlong + second * (bAlong - aAlong) + third * (cAlong - aAlong);
    place.across = aAcross + second * (bAcross - aAcross) + third * (cAcross - aAcross);
    return place;
}

// The nearest place of a cell, taken as two triangles along its shorter diagonal.
CellCover::Place CellCover::placeIn(const Shape& shape, const Point& p) {
    Place best;
    for (const std::size_t k : {1U, 2U}) {
        const Point& a = shape.corners[0];
        const Point& b = shape.corners[k];
        const Point& c = shape.corners[k + 1];
        const Point nearest = nearestOnTriangle(a, b, c, p);
        const double d = distance(p, nearest);
        if (d < best.distance) {
            // A half without area has none of its own places.
            best = placeAt(shape, k - 1, finite(dot(nearest - a, shape.halves[k - 1].toSecond)),
                           finite(dot(nearest - a, shape.halves[k - 1].toThird)));
            best.distance = d;
            best.point = nearest;
        }
    }
    return best;
}

// The place of a whole cell that the line through the centroid along the facet's normal meets; infinitely far
// if there is none.
CellCover::Place CellCover::placeAcrossEdge(const Shape& shape, const Facet& facet) const {
    Place best;
    const Point arm = facet.centroid - shape.corners[0];
    const bool faces = shape.cover == Cover::whole && dot(shape.normal, facet.normal) > 0.0 &&
                       distance(shape.centre, facet.centroid) <= farthestCentre * step_;
    for (std::size_t k = 0; k < 2 && faces; ++k) {
        const Half& half = shape.halves[k];
        const double way = -dot(arm, half.height) / dot(facet.normal, half.height);
        const Point met = arm + scale(facet.normal, way);
        const double second = dot(met, half.toSecond);
        const double third = dot(met, half.toThird);
        if (second >= -slack && third >= -slack && second + third <= 1.0 + slack &&
            std::abs(way) <= largestAcrossEdge * step_ && std::abs(way) < best.distance) {
            best = placeAt(shape, k, second, third);
            best.distance = std::abs(way);
        }
    }
    return best;
}

// Necessary for lying over.
bool CellCover::canLieOver(const Shape& shape, const Facet& facet) const {
    const Point away = shape.centre - facet.centroid;
    const double square = dot(away, away);
    if (shape.cover == Cover::none || square > shape.farSquare || dot(shape.normal, facet.normal) <= 0.0) {
        return false;
    }
    const double farthest = farthestCentre * step_;
    return square < (1.0 - slack) * farthest * farthest ||
           !(distance(shape.centre, facet.centroid) > farthest);
}

bool CellCover::liesOver(const Facet& facet, const Place& place) const {
    const Point offset = facet.centroid - place.point;
    const double off = dot(offset, facet.normal);
    const double beside = length(offset - scale(facet.normal, off));
    return std::abs(off) <= largestStandOff * step_ && beside <= sideMargin * step_;
}

// A centroid this near to any point of the cell is as near to the nearest one, whichever way that lies.
bool CellCover::surelyLiesOver(const Shape& shape, const Facet& facet) const {
    const Point arm = facet.centroid - shape.corners[0];
    return std::any_of(shape.halves.begin(), shape.halves.end(), [&](const Half& half) {
        const double second = dot(arm, half.toSecond);
        const double third = dot(arm, half.toThird);
        return second >= 0.0 && third >= 0.0 && second + third <= 1.0 &&
               std::abs(dot(arm, half.height)) <= (sideMargin - slack) * step_;
    });
}

// All corners lie farther back than the side margin along one direction square to the facet's normal.
bool CellCover::surelyLiesBeside(const Shape& shape, const Facet& facet) const {
    const Point arm = facet.centroid - shape.centre;
    const Point aside = arm - scale(facet.normal, dot(arm, facet.normal));
    double least = std::numeric_limits<double>::infinity();
    for (const Point& corner : shape.corners) {
        least = std::min(least, dot(facet.centroid - corner, aside));
    }
    const double margin = (sideMargin + slack) * step_;
    return least > 0.0 && least * least > margin * margin * dot(aside, aside);
}

// For a shape that can lie over the facet.
bool CellCover::covers(const Shape& shape, const Facet& facet) const {
    return surelyLiesOver(shape, facet) ||
           (!surelyLiesBeside(shape, facet) && liesOver(facet, placeIn(shape, facet.centroid)));
}

CellPlace CellCover::nearestOver(const Facet& facet, const Accepts& accepts) const {
    CellPlace found;
    double nearest = 0.0;
    cubes_.around(facet.centroid, [&](std::uint32_t index) {
        const Shape& shape = shapes_[index];
        if ((found.cover == Cover::whole && shape.cover == Cover::edge) || !canLieOver(shape, facet)) {
            return;
        }
        const Place place = placeIn(shape, facet.centroid);
        const CellPlace here{index, shape.cover, place.along, place.across};
        if ((shape.cover != found.cover || place.distance < nearest) && liesOver(facet, place) &&
            (!accepts || shape.cover == Cover::whole || accepts(here))) {
            nearest = place.distance;
            found = here;
        }
    });
    if (found.cover == Cover::none) {
        nearest = std::numeric_limits<double>::infinity();
        cubes_.around(facet.centroid, [&](std::uint32_t index) {
            const Place place = placeAcrossEdge(shapes_[index], facet);
            if (place.distance < nearest) {
                nearest = place.distance;
                found = {index, Cover::whole, place.along, place.across};
            }
        });
    }
    return found;
}

Cover CellCover::coverOf(const Facet& facet, Hint& hint) const {
    Cover best = Cover::none;
    const auto wholeAt = [&](std::size_t index) {
        const Shape& shape = shapes_[index];
        if (best != shape.cover && canLieOver(shape, facet) && covers(shape, facet)) {
            best = shape.cover;
            hint.cell = index;
        }
        return best == Cover::whole;
    };
    if (hint.cell && wholeAt(*hint.cell)) {
        return best;
    }
    const Cube cube = cubes_.cubeOf(facet.centroid);
    if (!hint.known || cube != hint.cube) {
        hint.cube = cube;
        hint.known = true;
        hint.near.clear();
        cubes_.around(cube, [&](std::uint32_t index) { hint.near.push_back(index); });
    }
    const auto found = std::find_if(hint.near.begin(), hint.near.end(), wholeAt);
    if (found != hint.near.end()) {
        std::rotate(hint.near.begin(), found, found + 1);
    }
    if (best == Cover::none) {
        const auto across = std::find_if(hint.near.begin(), hint.near.end(), [&](std::uint32_t index) {
            return std::isfinite(placeAcrossEdge(shapes_[index], facet).distance);
        });
        if (across != hint.near.end()) {
            hint.cell = *across;
            return Cover::whole;
        }
    }
    return best;
}

} // namespace drape::host
