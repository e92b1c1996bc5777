// A hierarchy of boxes over a surface's triangles, for many questions after the nearest point.
#pragma once

#include "host/mesh/surface_point.h"

namespace drape::host {

class SurfaceTree {
public:
    explicit SurfaceTree(const TriangleMesh& mesh); // `mesh` must outlive the tree

    SurfacePoint nearest(const Point& point) const;

private:
    struct Box {
        Point low, high;
        std::size_t first, last; // triangles of the box, as a range of `order_`
        std::size_t below;       // first of two boxes inside, 0 for none
    };

    void grow(std::size_t box);
    void search(std::size_t box, const Point& point, SurfacePoint& best) const;

    const TriangleMesh& mesh_;
    std::vector<std::size_t> order_;
    std::vector<Point> centres_;
    std::vector<Box> boxes_;
};

} // namespace drape::host
