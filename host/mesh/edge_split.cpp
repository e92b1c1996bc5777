// Each triangle is cut by itself: with one new vertex into two, with two into three along the shorter
// diagonal, with three into four.
#include "host/mesh/edge_split.h"

#include "host/mesh/point.h"

#include <algorithm>
#include <unordered_map>

namespace drape::host {

using namespace vec;

namespace {

constexpr std::int32_t none = -1;

class Splitter {
public:
    Splitter(const TriangleMesh& mesh, const EdgeRule& where) : old_(mesh), where_(where) {
        result_.mesh.positions = mesh.positions;
        result_.mesh.triangles.reserve(mesh.triangles.size());
        result_.mesh.sourceFaces.reserve(mesh.triangles.size());
        result_.parents.reserve(mesh.triangles.size());
    }

    void take(std::size_t t) {
        const Triangle& v = old_.triangles[t];
        std::array<std::int32_t, 3> on{};
        for (std::size_t k = 0; k < 3; ++k) {
            on[k] = vertexOn(std::min(v[k], v[(k + 1) % 3]), std::max(v[k], v[(k + 1) % 3]));
        }
        const auto split = std::count_if(on.begin(), on.end(), [](std::int32_t w) { return w != none; });
        if (split == 0) {
            add(t, v);
            return;
        }
        if (split == 3) {
            for (std::size_t k = 0; k < 3; ++k) {
                add(t, {v[k], on[k], on[(k + 2) % 3]});
            }
            add(t, {on[0], on[1], on[2]});
            return;
        }
        // Turned so that the first edge is split and, of two, the next one too.
        std::size_t k = 0;
        while (on[k] == none || (split == 2 && on[(k + 1) % 3] == none)) {
            ++k;
        }
        const std::int32_t a = v[k];
        const std::int32_t b = v[(k + 1) % 3];
        const std::int32_t c = v[(k + 2) % 3];
        const std::int32_t ab = on[k];
        const std::int32_t bc = on[(k + 1) % 3];
        if (split == 1) {
            add(t, {a, ab, c});
            add(t, {ab, b, c});
            return;
        }
        add(t, {ab, b, bc});
        if (apart(a, bc) <= apart(ab, c)) {
            add(t, {a, ab, bc});
            add(t, {a, bc, c});
        } else {
            add(t, {a, ab, c});
            add(t, {ab, bc, c});
        }
    }

    SplitMesh result() { return std::move(result_); }

private:
    std::int32_t vertexOn(std::int32_t low, std::int32_t high) {
        const std::optional<double> part = where_(low, high);
        if (!part) {
            return none;
        }
        const auto key = static_cast<std::uint64_t>(low) << 32U | static_cast<std::uint32_t>(high);
        const auto [entry, isNew] = vertexOn_.try_emplace(key, none);
        if (isNew) {
            entry->second = static_cast<std::int32_t>(result_.mesh.positions.size());
            const Point place = mix(old_.positions[at(low)], old_.positions[at(high)], *part);
            result_.mesh.positions.push_back(place);
            result_.added.push_back({low, high, *part});
        }
        return entry->second;
    }

    double apart(std::int32_t a, std::int32_t b) const {
        return distance(result_.mesh.positions[at(a)], result_.mesh.positions[at(b)]);
    }

    void add(std::size_t parent, const Triangle& triangle) {
        result_.mesh.triangles.push_back(triangle);
        result_.mesh.sourceFaces.push_back(old_.sourceFaces[parent]);
        result_.parents.push_back(static_cast<std::int32_t>(parent));
    }

    const TriangleMesh& old_;
    const EdgeRule& where_;
    SplitMesh result_;
    std::unordered_map<std::uint64_t, std::int32_t> vertexOn_;
};

} // namespace

SplitMesh splitEdges(const TriangleMesh& mesh, const EdgeRule& where) {
    Splitter splitter(mesh, where);
    for (std::size_t t = 0; t < mesh.triangles.size(); ++t) {
        splitter.take(t);
    }
    return splitter.result();
}

TriangleMesh refined(TriangleMesh mesh, double longest) {
    while (true) {
        SplitMesh split = splitEdges(mesh, [&](std::int32_t low, std::int32_t high) -> std::optional<double> {
            const double length = distance(mesh.positions[at(low)], mesh.positions[at(high)]);
            return length > longest ? std::optional(0.5) : std::nullopt;
        });
        if (split.added.empty()) {
            return mesh;
        }
        mesh = std::move(split.mesh);
    }
}

} // namespace drape::host
