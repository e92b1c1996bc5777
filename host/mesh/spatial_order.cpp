// Faces go by the cube that holds their centre, cube after cube along a Morton curve, and within a cube by
// how far they lie along one direction. Cubes and direction stand askew to all that people draw along axes,
// so centres that share a coordinate don't share a key, and rounding, as of another unit or of single
// precision, changes next to nothing. Vertices go by the first face that has them.
#include "host/mesh/spatial_order.h"

#include "host/mesh/box.h"
#include "host/mesh/point.h"

#include <algorithm>
#include <cmath>

namespace drape::host {

using namespace vec;

namespace {

constexpr std::size_t facesPerCube = 64; // where a surface runs through one, roughly
constexpr int mostHalvings = 10;         // of the largest cube along each axis, as 32 bits hold three numbers

// The bits of a number below 1024, two zeros after each.
std::uint32_t everyThird(std::uint32_t number) {
    number = (number | number << 16U) & 0x030000ffU;
    number = (number | number << 8U) & 0x0300f00fU;
    number = (number | number << 4U) & 0x030c30c3U;
    return (number | number << 2U) & 0x09249249U;
}

struct Frame {
    Point origin{};
    std::array<Point, 3> axes{}; // as long as makes a place count in cubes
    double cubes = 1.0;          // along each axis

    double along(const Point& p) const { return dot(p - origin, axes[0]); }

    std::uint32_t cubeOf(const Point& p) const {
        std::uint32_t code = 0;
        for (std::size_t k = 0; k < 3; ++k) {
            const double place = dot(p - origin, axes[k]) + 0.5 * cubes;
            const auto number =
                place > 0.0 ? static_cast<std::uint32_t>(std::min(place, cubes - 1.0)) : std::uint32_t{0};
            code |= everyThird(number) << k;
        }
        return code;
    }
};

Frame frameFor(const Box3& box, std::size_t faces) {
    const double diagonal = box.empty() ? 0.0 : distance(box.low, box.high);
    Frame frame;
    if (!(diagonal > 0.0) || !std::isfinite(diagonal)) {
        return frame; // all keys are 0, and the order stays
    }
    // Two more than the square root of the cubes' number asks for, since the axes reach out both ways.
    int halvings = 2;
    while (halvings < mostHalvings && (facesPerCube << 2 * (halvings - 1)) <= faces) {
        ++halvings;
    }
    frame.cubes = std::exp2(halvings);
    frame.origin = box.low;
    const Point first = unit({0.6247, 0.4103, 0.6641});
    const Point second = unit(cross(first, {0.2917, 0.9049, 0.3109}));
    const double perLength = 0.5 * frame.cubes / diagonal;
    frame.axes = {perLength * first, perLength * second, perLength * cross(first, second)};
    return frame;
}

struct Key {
    std::uint32_t cube;
    std::int32_t face;
    double along;
};

template <class Face>
std::vector<std::int32_t> facesInOrder(const std::vector<Face>& faces, const std::vector<Point>& points,
                                       const Frame& frame) {
    std::vector<Key> keys;
    keys.reserve(faces.size());
    for (std::size_t f = 0; f < faces.size(); ++f) {
        Point sum{};
        for (const std::int32_t v : faces[f]) {
            sum = sum + (points[at(v)] - frame.origin);
        }
        const Point centre =
            frame.origin + scale(sum, 1.0 / static_cast<double>(std::max<std::size_t>(faces[f].size(), 1)));
        keys.push_back({frame.cubeOf(centre), static_cast<std::int32_t>(f), frame.along(centre)});
    }
    const auto earlier = [](const Key& x, const Key& y) {
        return x.cube != y.cube ? x.cube < y.cube : x.along != y.along ? x.along < y.along : x.face < y.face;
    };
    if (!std::is_sorted(keys.begin(), keys.end(), earlier)) {
        std::sort(keys.begin(), keys.end(), earlier);
    }
    std::vector<std::int32_t> order(keys.size());
    std::transform(keys.begin(), keys.end(), order.begin(), [](const Key& key) { return key.face; });
    return order;
}

// Gives out new numbers for points as faces name them, a face's own in their order along the frame.
class Numbers {
public:
    Numbers(const std::vector<Point>& points, const Frame& frame)
        : number(points.size(), -1), points_(points), frame_(frame) {}

    template <class Face>
    void take(const Face& face) {
        corners_.clear();
        for (const std::int32_t v : face) {
            if (number[at(v)] < 0) {
                corners_.emplace_back(frame_.along(points_[at(v)]), v);
            }
        }
        std::sort(corners_.begin(), corners_.end());
        for (const auto& [along, v] : corners_) {
            if (number[at(v)] < 0) {
                number[at(v)] = static_cast<std::int32_t>(kept.size());
                kept.push_back(points_[at(v)]);
            }
        }
    }

    std::vector<Point> kept;          // in their new order
    std::vector<std::int32_t> number; // per point, -1 until a face names it

private:
    const std::vector<Point>& points_;
    const Frame& frame_;
    std::vector<std::pair<double, std::int32_t>> corners_;
};

Box3 boxOfNamed(const PolygonSoup& soup) {
    Box3 box;
    for (const auto& polygon : soup.polygons) {
        for (const std::int32_t v : polygon) {
            box.add(soup.points[at(v)]);
        }
    }
    return box;
}

} // namespace

SpatialOrder spatialOrderOf(const PolygonSoup& soup) {
    const Frame frame = frameFor(boxOfNamed(soup), soup.polygons.size());
    SpatialOrder order;
    order.faces = facesInOrder(soup.polygons, soup.points, frame);
    Numbers numbers(soup.points, frame);
    for (const std::int32_t f : order.faces) {
        numbers.take(soup.polygons[at(f)]);
    }
    order.points = std::move(numbers.kept);
    order.numbers = std::move(numbers.number);
    return order;
}

Sheet inSpatialOrder(const Sheet& sheet) {
    const TriangleMesh& mesh = sheet.mesh;
    const Frame frame = frameFor(boxOf(mesh.positions), mesh.triangles.size());
    const std::vector<std::int32_t> order = facesInOrder(mesh.triangles, mesh.positions, frame);
    std::vector<std::int32_t> placeOf(order.size());
    for (std::size_t t = 0; t < order.size(); ++t) {
        placeOf[at(order[t])] = static_cast<std::int32_t>(t);
    }
    Sheet ordered;
    ordered.mesh.triangles.reserve(order.size());
    ordered.mesh.sourceFaces.reserve(order.size());
    ordered.neighbours.reserve(sheet.neighbours.size());
    Numbers numbers(mesh.positions, frame);
    for (const std::int32_t t : order) {
        Triangle corners = mesh.triangles[at(t)];
        numbers.take(corners);
        for (std::int32_t& v : corners) {
            v = numbers.number[at(v)];
        }
        const auto lowest = std::min_element(corners.begin(), corners.end()) - corners.begin();
        std::rotate(corners.begin(), corners.begin() + lowest, corners.end());
        ordered.mesh.triangles.push_back(corners);
        ordered.mesh.sourceFaces.push_back(mesh.sourceFaces[at(t)]);
        if (!sheet.neighbours.empty()) {
            auto beyond = sheet.neighbours[at(t)];
            std::rotate(beyond.begin(), beyond.begin() + lowest, beyond.end());
            for (std::int32_t& other : beyond) {
                other = other == noTriangle ? noTriangle : placeOf[at(other)];
            }
            ordered.neighbours.push_back(beyond);
        }
    }
    ordered.mesh.positions = std::move(numbers.kept);
    return ordered;
}

} // namespace drape::host
