// Each cut edge gets one new vertex, which its two triangles share, so the cut leaves no cracks.
#include "host/mesh/clip.h"

#include "host/mesh/point.h"
#include "host/mesh/polygon_triangles.h"
#include "host/mesh/repair.h"
#include "host/mesh/topology.h"

#include <map>

namespace drape::host {

using namespace vec;

namespace {

// Vertices this close to the plane, as a share of the mesh's diagonal, count as lying on it: a cut right
// beside a vertex would leave triangles without height.
constexpr double onPlaneShare = 1e-6;

class Cut {
public:
    Cut(const TriangleMesh& mesh, const Plane& plane) : mesh_(mesh) {
        result_.positions = mesh.positions;
        const Point normal = unit(plane.normal);
        const double reach = onPlaneShare * diagonalOf(mesh.positions);
        for (const Point& p : mesh.positions) {
            const double h = dot(p - plane.point, normal);
            height_.push_back(std::abs(h) < reach ? 0.0 : h);
        }
    }

    void take(std::size_t t) {
        std::vector<std::int32_t> ring;
        bool above = false;
        for (std::size_t k = 0; k < 3; ++k) {
            const std::int32_t a = mesh_.triangles[t][k];
            const std::int32_t b = mesh_.triangles[t][(k + 1) % 3];
            above = above || height_[at(a)] > 0.0;
            if (height_[at(a)] >= 0.0) {
                ring.push_back(a);
            }
            if (height_[at(a)] * height_[at(b)] < 0.0) {
                ring.push_back(crossing(std::min(a, b), std::max(a, b)));
            }
        }
        if (above) {
            appendTriangles(ring, result_.positions, result_.triangles);
            result_.sourceFaces.resize(result_.triangles.size(), mesh_.sourceFaces[t]);
        }
    }

    TriangleMesh result() const { return keptPart(result_, std::vector<char>(result_.triangles.size(), 1)); }

private:
    std::int32_t crossing(std::int32_t low, std::int32_t high) {
        const auto next = static_cast<std::int32_t>(result_.positions.size());
        const auto [entry, isNew] = crossings_.try_emplace({low, high}, next);
        if (isNew) {
            const double part = height_[at(low)] / (height_[at(low)] - height_[at(high)]);
            result_.positions.push_back(mix(mesh_.positions[at(low)], mesh_.positions[at(high)], part));
        }
        return entry->second;
    }

    const TriangleMesh& mesh_;
    TriangleMesh result_;
    std::vector<double> height_;
    std::map<std::pair<std::int32_t, std::int32_t>, std::int32_t> crossings_;
};

} // namespace

TriangleMesh clipped(const TriangleMesh& mesh, const Plane& plane) {
    Cut cut(mesh, plane);
    for (std::size_t t = 0; t < mesh.triangles.size(); ++t) {
        cut.take(t);
    }
    return cut.result();
}

} // namespace drape::host
