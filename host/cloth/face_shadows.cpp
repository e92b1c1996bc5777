// Cells are looked up by cubes of space, so that those near a triangle are soon found.
#include "host/cloth/face_shadows.h"

#include <algorithm>
#include <cmath>

namespace drape::host {

using namespace vec;

namespace {

// In cell lengths.
constexpr double standOff = 1.0;     // of a cell's middle from the plane of a triangle that it lies over
constexpr double smallestCube = 3.0; // more than a triangle, a cell and its standing off reach

std::vector<Cell> cellsOf(const std::vector<NetFace>& faces, const std::vector<Cell>& measured) {
    std::vector<Cell> cells;
    for (const NetFace& face : faces) {
        cells.push_back(measured[face.cell]);
    }
    return cells;
}

double longestSide(const Grid& grid, const std::vector<Cell>& cells, const std::vector<NetFace>& faces) {
    double longest = 0.0;
    for (const NetFace& face : faces) {
        const FlatPoint low = nodeFlat(grid, cells[face.cell].nodes[0]);
        const FlatPoint high = nodeFlat(grid, cells[face.cell].nodes[2]);
        longest = std::max({longest, high[0] - low[0], high[1] - low[1]});
    }
    return longest;
}

} // namespace

PlaneOfTriangle::PlaneOfTriangle(const std::array<Point, 3>& triangle, const Facet& its)
    : corners(triangle), facet(its), along(unit(triangle[1] - triangle[0])),
      across(cross(its.normal, along)) {}

FlatPoint PlaneOfTriangle::of(const Point& p) const {
    return {dot(p - corners[0], along), dot(p - corners[0], across)};
}

FaceShadows::FaceShadows(const Grid& grid, const std::vector<Cell>& cells, const std::vector<NetFace>& faces)
    : faces_(faces), step_(longestSide(grid, cells, faces)),
      cubes_(grid, cellsOf(faces, cells), smallestCube * step_) {
    shapes_.reserve(faces.size());
    for (const NetFace& face : faces) {
        Shape shape{};
        shape.centre = cellCentre(grid, cells[face.cell]);
        for (std::size_t k = 0; k < 4; ++k) {
            const std::int32_t node = cells[face.cell].nodes[k];
            shape.corners[k] = nodePosition(grid, node);
            shape.outward = shape.outward + nodeNormal(grid, node);
            shape.reach = std::max(shape.reach, distance(shape.centre, shape.corners[k]));
        }
        shape.normal = cross(shape.corners[2] - shape.corners[0], shape.corners[3] - shape.corners[1]);
        foldsBack_ = foldsBack_ || !(dot(shape.normal, shape.outward) > 0.0);
        shapes_.push_back(shape);
    }
}

void FaceShadows::findNear(const Point& p, Hint& hint) const {
    const Cube cube = cubes_.cubeOf(p);
    if (!hint.known || cube != hint.cube) {
        hint.cube = cube;
        hint.known = true;
        hint.near.clear();
        cubes_.around(cube, [&](std::uint32_t face) { hint.near.push_back(face); });
    }
}

// What is near and faces another way than the mould under the cell is the mould's other side.
bool FaceShadows::isNear(std::size_t face, const Facet& facet) const {
    const Shape& shape = shapes_[face];
    const Point away = shape.centre - facet.centroid;
    const double height = dot(away, facet.normal);
    const double reach = shape.reach + facet.reach;
    return std::abs(height) <= standOff * step_ && dot(away, away) - height * height <= reach * reach &&
           dot(shape.outward, facet.normal) > 0.0;
}

void FaceShadows::polygonsOn(std::size_t face, const PlaneOfTriangle& plane,
                             std::vector<std::vector<FlatPoint>>& polygons) const {
    const std::array<Point, 4>& corners = shapes_[face].corners;
    const std::vector<std::vector<FlatPoint>>& places = polygonsOf(faces_[face]);
    polygons.resize(places.size());
    for (std::size_t k = 0; k < places.size(); ++k) {
        polygons[k].clear();
        for (const FlatPoint& place : places[k]) {
            polygons[k].push_back(plane.of(mixedIn(corners, place)));
        }
    }
}

std::array<std::array<Point, 3>, 2> halvesOf(const std::array<Point, 3>& corners) {
    std::size_t longest = 0;
    for (std::size_t k = 1; k < 3; ++k) {
        longest = distance(corners[k], corners[(k + 1) % 3]) >
                          distance(corners[longest], corners[(longest + 1) % 3])
                      ? k
                      : longest;
    }
    const Point& a = corners[longest];
    const Point& b = corners[(longest + 1) % 3];
    const Point& c = corners[(longest + 2) % 3];
    const Point middle = mix(a, b, 0.5);
    return {{{a, middle, c}, {middle, b, c}}};
}

} // namespace drape::host
