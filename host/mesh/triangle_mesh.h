// The two forms in which a surface passes through a host before it is a mould: polygons as they come from a
// file, and triangles as the repairs leave them.
#pragma once

#include "host/mesh/point.h"

#include <array>
#include <cstdint>
#include <vector>

namespace drape::host {

// Numbers of vertices, triangles and nodes are int32, as the library's; this makes one an index of an array.
inline std::size_t at(std::int32_t number) {
    return static_cast<std::size_t>(number);
}

struct PolygonSoup {
    std::vector<Point> points;                       // in the order of the file
    std::vector<std::vector<std::int32_t>> polygons; // 0-based points
};

using Triangle = std::array<std::int32_t, 3>;

struct TriangleMesh {
    std::vector<Point> positions;
    std::vector<Triangle> triangles;       // 0-based vertices
    std::vector<std::int32_t> sourceFaces; // per triangle, the 1-based face of the file, 0 for a filled hole

    const Point& corner(std::size_t triangle, std::size_t k) const {
        return positions[static_cast<std::size_t>(triangles[triangle][k])];
    }
};

} // namespace drape::host
