// Boxes are halved at the median along their longest side; the nearer half is searched first.
#include "host/mesh/surface_tree.h"

#include "host/mesh/point.h"

#include <algorithm>
#include <limits>
#include <numeric>

namespace drape::host {

using namespace vec;

namespace {

constexpr std::size_t fewTriangles = 8;

double distanceTo(const Box3& box, const Point& p) {
    Point out{};
    for (std::size_t k = 0; k < 3; ++k) {
        out[k] = std::max({box.low[k] - p[k], 0.0, p[k] - box.high[k]});
    }
    return length(out);
}

} // namespace

SurfaceTree::SurfaceTree(const TriangleMesh& mesh) : mesh_(mesh), order_(mesh.triangles.size()) {
    std::iota(order_.begin(), order_.end(), std::size_t{0});
    for (std::size_t t = 0; t < order_.size(); ++t) {
        centres_.push_back(centreOf(mesh, t));
    }
    nodes_.push_back({{}, 0, order_.size(), 0});
    for (std::size_t node = 0; node < nodes_.size(); ++node) {
        grow(node);
    }
}

void SurfaceTree::grow(std::size_t node) {
    Node& here = nodes_[node];
    for (std::size_t i = here.first; i < here.last; ++i) {
        for (std::size_t c = 0; c < 3; ++c) {
            here.box.add(mesh_.corner(order_[i], c));
        }
    }
    if (here.last - here.first <= fewTriangles) {
        return;
    }
    const Point size = here.box.high - here.box.low;
    const auto axis = static_cast<std::size_t>(std::max_element(size.begin(), size.end()) - size.begin());
    const std::size_t middle = (here.first + here.last) / 2;
    const auto at = [&](std::size_t i) { return order_.begin() + static_cast<std::ptrdiff_t>(i); };
    std::nth_element(at(here.first), at(middle), at(here.last),
                     [&](std::size_t a, std::size_t b) { return centres_[a][axis] < centres_[b][axis]; });
    const std::size_t first = here.first;
    const std::size_t last = here.last;
    here.below = nodes_.size();
    nodes_.push_back({{}, first, middle, 0});
    nodes_.push_back({{}, middle, last, 0});
}

SurfacePoint SurfaceTree::nearest(const Point& point) const {
    SurfacePoint best;
    best.distance = std::numeric_limits<double>::infinity();
    search(0, point, best);
    return best;
}

void SurfaceTree::search(std::size_t node, const Point& point, SurfacePoint& best) const {
    const Node& here = nodes_[node];
    if (here.below == 0) {
        for (std::size_t i = here.first; i < here.last; ++i) {
            const SurfacePoint found = nearestOnTriangle(mesh_, order_[i], point);
            if (found.distance < best.distance) {
                best = found;
            }
        }
        return;
    }
    const double left = distanceTo(nodes_[here.below].box, point);
    const double right = distanceTo(nodes_[here.below + 1].box, point);
    const std::size_t near = here.below + (left <= right ? 0 : 1);
    const std::size_t far = here.below + (left <= right ? 1 : 0);
    if (std::min(left, right) < best.distance) {
        search(near, point, best);
    }
    if (std::max(left, right) < best.distance) {
        search(far, point, best);
    }
}

} // namespace drape::host
