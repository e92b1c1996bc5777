// A hierarchy of boxes over a surface's triangles, for many questions after the nearest point.
#pragma once

#include "host/mesh/box.h"
#include "host/mesh/surface_point.h"

namespace drape::host {

class SurfaceTree {
public:
    explicit SurfaceTree(const TriangleMesh& mesh); // `mesh` must outlive the tree

    // Of triangles that are equally near, any.
    SurfacePoint nearest(const Point& point) const;

private:
    struct Node {
        Box3 box;
        std::size_t first, last; // triangles of the box, as a range of `order_`
        std::size_t below;       // first of the two nodes inside, 0 for none
    };

    void grow(std::size_t node);
    void search(std::size_t node, const Point& point, SurfacePoint& best) const;

    const TriangleMesh& mesh_;
    std::vector<std::size_t> order_;
    std::vector<Point> centres_;
    std::vector<Node> nodes_;
};

} // namespace drape::host
