// The pattern's cells as they lie on the plane of one of the mould's triangles, seen along its normal. Seen
// that way cells that share a side lie beside each other without a gap, so they share out the triangle.
#pragma once

#include "host/cloth/cell_cubes.h"
#include "host/cloth/mould.h"
#include "host/cloth/net_faces.h"

#include <utility>

namespace drape::host {

// A triangle, or a part of one, with its plane.
struct PlaneOfTriangle {
    PlaneOfTriangle(const std::array<Point, 3>& corners, const Facet& facet);

    FlatPoint of(const Point& p) const;

    std::array<Point, 3> corners;
    Facet facet;
    Point along, across; // unit vectors in the plane
};

class FaceShadows {
public:
    // A triangle whose corners lie farther from its middle than this many cells has to be halved first.
    static constexpr double largestPiece = 1.0;

    // `cells` are the measured ones, `faces` those of their pattern, which have to stay.
    FaceShadows(const Grid& grid, const std::vector<Cell>& cells, const std::vector<NetFace>& faces);

    double cellLength() const { return step_; } // the longest side of a cell on the pattern

    // Whether a face anywhere shows the mould its back, as where the cloth is folded.
    bool foldsBack() const { return foldsBack_; }

    // What one triangle's search leaves for the next one, which is likely to lie close by.
    struct Hint {
        Cube cube{};                     // that the last triangle lay in
        std::vector<std::uint32_t> near; // faces in that cube and around it, what was near of late in front
        bool known = false;
    };

    // Calls `use` with the index of each face whose shadow can lie on the triangle, and whether it shows the
    // triangle its back, until that says that no more are wanted.
    template <class Use>
    void onto(const PlaneOfTriangle& plane, Hint& hint, Use use) const {
        findNear(plane.facet.centroid, hint);
        std::size_t used = 0;
        bool wanted = true;
        for (std::size_t k = 0; wanted && k < hint.near.size(); ++k) {
            const std::size_t face = hint.near[k];
            if (isNear(face, plane.facet)) {
                std::swap(hint.near[used++], hint.near[k]);
                wanted = use(face, !(vec::dot(shapes_[face].normal, plane.facet.normal) > 0.0));
            }
        }
    }

    // A face's polygons on a triangle's plane; one that shows the triangle its back runs the other way round.
    void polygonsOn(std::size_t face, const PlaneOfTriangle& plane,
                    std::vector<std::vector<FlatPoint>>& polygons) const;

private:
    struct Shape {
        Point centre, normal;
        Point outward; // normal of the mould underneath
        double reach;  // from the centre to the farthest corner
        std::array<Point, 4> corners;
    };

    void findNear(const Point& p, Hint& hint) const;
    bool isNear(std::size_t face, const Facet& facet) const;

    const std::vector<NetFace>& faces_;
    std::vector<Shape> shapes_;
    bool foldsBack_ = false;
    double step_ = 0.0;
    CellCubes cubes_;
};

// The two halves of a triangle across its longest side.
std::array<std::array<Point, 3>, 2> halvesOf(const std::array<Point, 3>& corners);

} // namespace drape::host
