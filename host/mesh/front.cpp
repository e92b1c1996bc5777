// A vertex gets its distance from two neighbours by laying the triangle flat with the point that the two
// distances speak of, so the front crosses triangles straight and doesn't follow the edges. The nearest
// vertex goes first, of equally near ones the lowest.
#include "host/mesh/front.h"

#include "host/mesh/point.h"

#include <algorithm>
#include <functional>
#include <numeric>

namespace drape::host {

using namespace vec;

namespace {

constexpr double unreached = std::numeric_limits<double>::infinity();

struct Step {
    double distance;
    std::int32_t vertex;

    bool operator>(const Step& other) const {
        return distance > other.distance || (distance == other.distance && vertex > other.vertex);
    }
};

// The steps to be taken, the smallest first. Those of the nearest layer are a heap, which stays small; the
// others are listed by their layers in no order.
class Queue {
public:
    explicit Queue(double layer) : perLayer_(layer > 0.0 && std::isfinite(layer) ? 1.0 / layer : 0.0) {}

    void push(const Step& step) {
        const std::size_t layer = layerOf(step.distance);
        if (layer <= nearest_) {
            heap_.push_back(step);
            std::push_heap(heap_.begin(), heap_.end(), std::greater<>());
            return;
        }
        if (layer >= layers_.size()) {
            layers_.resize(layer + layer / 2 + 1, none);
        }
        std::uint32_t place = free_;
        if (place == none) {
            place = static_cast<std::uint32_t>(far_.size());
            far_.emplace_back();
        } else {
            free_ = far_[place].next;
        }
        far_[place] = {step, layers_[layer]};
        layers_[layer] = place;
    }

    // False once there is none left.
    bool pop(Step& step) {
        while (heap_.empty()) {
            if (nearest_ + 1 >= layers_.size()) {
                return false;
            }
            takeLayer(++nearest_);
        }
        step = heap_.front();
        std::pop_heap(heap_.begin(), heap_.end(), std::greater<>());
        heap_.pop_back();
        return true;
    }

private:
    struct Far {
        Step step;
        std::uint32_t next; // of the same list, as an index of `far_`
    };
    static constexpr std::uint32_t none = static_cast<std::uint32_t>(-1);
    static constexpr double mostLayers = 1 << 20; // all beyond are one

    std::size_t layerOf(double distance) const {
        return static_cast<std::size_t>(std::min(distance * perLayer_, mostLayers));
    }

    void takeLayer(std::size_t layer) {
        for (std::uint32_t place = layers_[layer]; place != none;) {
            heap_.push_back(far_[place].step);
            const std::uint32_t next = far_[place].next;
            far_[place].next = free_;
            free_ = place;
            place = next;
        }
        layers_[layer] = none;
        std::make_heap(heap_.begin(), heap_.end(), std::greater<>());
    }

    double perLayer_;
    std::size_t nearest_ = 0;
    std::vector<Step> heap_;
    std::vector<Far> far_;
    std::vector<std::uint32_t> layers_; // the list of each, as an index of `far_`
    std::uint32_t free_ = none;         // the list of places that can be used again
};

// A corner of a triangle and the way to it over its base, the edge from a to b, whose ends the front has
// reached.
struct Way {
    const Point& a;
    const Point& b;
    const Point& corner;
    double da, db; // distances of a and b
};

// Whether the way is sure to be no shorter than `reached`, told without a root or a division.
bool isNoShorter(const Way& way, double reached) {
    constexpr double rounding = 1e-12;
    const auto& [a, b, corner, da, db] = way;
    const Point edge = b - a;
    const double base = dot(edge, edge);
    // No place on the base is nearer than its ends by more than a half circle over it is high.
    const double nearer = std::min(da, db);
    if (reached < nearer &&
        (nearer - reached) * (nearer + reached) > (0.25 + rounding) * base + rounding * nearer * nearer) {
        return true;
    }
    const Point arm = corner - a;
    const Point other = corner - b;
    const double sideA = dot(arm, arm);
    const double sideB = dot(other, other);
    const auto isPast = [&](double d, double side) {
        const double left = reached - d;
        return left <= 0.0 || left * left < (1.0 - rounding) * side;
    };
    if (!isPast(da, sideA) || !isPast(db, sideB)) {
        return false;
    }
    // Across the triangle: the corner and the point that the distances speak of lie on two sides of the base,
    // so the square of the way is at least this.
    const double along = dot(arm, edge);
    const double squares = da * da + sideA;
    const double least = (squares - reached * reached) * base - along * (da * da - db * db + base);
    return least > rounding * (squares * base + std::abs(along) * (da * da + db * db + base));
}

double lengthOf(const Way& way) {
    const auto& [a, b, corner, da, db] = way;
    const double base = distance(a, b);
    const double alongEdges = std::min(da + distance(a, corner), db + distance(b, corner));
    if (!(base > 0.0) || da == unreached || db == unreached) {
        return alongEdges;
    }
    const Point arm = corner - a;
    const double cx = dot(arm, unit(b - a));
    const double cy = std::sqrt(std::max(0.0, dot(arm, arm) - cx * cx));
    const double sx = (da * da - db * db + base * base) / (2.0 * base);
    const double square = da * da - sx * sx;
    if (square < 0.0 || !(cy > 0.0)) {
        return alongEdges;
    }
    const double sy = -std::sqrt(square);
    const double crossing = sx + (cx - sx) * (-sy / (cy - sy));
    if (crossing < 0.0 || crossing > base) {
        return alongEdges;
    }
    return std::min(alongEdges, std::hypot(cx - sx, cy - sy));
}

} // namespace

Front::Front(const TriangleMesh& mesh) : mesh_(mesh), start_(mesh.positions.size() + 1, 0) {
    constexpr double layersPerEdge = 8.0;
    double sum = 0.0;
    for (const auto& [a, b, c] : mesh.triangles) {
        ++start_[at(a)];
        ++start_[at(b)];
        ++start_[at(c)];
        sum += distance(mesh.positions[at(a)], mesh.positions[at(b)]);
    }
    layer_ = sum / (layersPerEdge * static_cast<double>(mesh.triangles.size()));
    std::partial_sum(start_.begin(), start_.end(), start_.begin());
    sides_.resize(3 * mesh.triangles.size());
    for (std::size_t t = mesh.triangles.size(); t-- > 0;) {
        const auto& [a, b, c] = mesh.triangles[t];
        sides_[at(--start_[at(a)])] = {b, c};
        sides_[at(--start_[at(b)])] = {~c, a};
        sides_[at(--start_[at(c)])] = {a, b};
    }
}

std::vector<double> Front::run(const std::vector<Start>& starts, double farthest) const {
    std::vector<double> reached(mesh_.positions.size(), unreached);
    Queue open(layer_);
    const auto improve = [&](std::int32_t v, double d) {
        if (d < reached[at(v)]) {
            reached[at(v)] = d;
            open.push({d, v});
        }
    };
    const auto reach = [&](std::int32_t corner, std::int32_t a, std::int32_t b) {
        const Way way{mesh_.positions[at(a)], mesh_.positions[at(b)], mesh_.positions[at(corner)],
                      reached[at(a)], reached[at(b)]};
        if (!isNoShorter(way, reached[at(corner)])) {
            improve(corner, lengthOf(way));
        }
    };
    for (const auto& [vertex, d] : starts) {
        improve(vertex, d);
    }
    Step step{};
    while (open.pop(step) && !(step.distance > farthest)) {
        const std::int32_t v = step.vertex;
        if (step.distance > reached[at(v)]) {
            continue;
        }
        for (std::int32_t k = start_[at(v)]; k < start_[at(v) + 1]; ++k) {
            const auto& [next, last] = sides_[at(k)];
            if (next >= 0) {
                reach(next, last, v);
                reach(last, v, next);
            } else {
                reach(last, v, ~next);
                reach(~next, last, v);
            }
        }
    }
    return reached;
}

std::vector<double> Front::distancesFrom(const SurfacePoint& from, double farthest) const {
    std::vector<Start> starts;
    for (const std::int32_t v : mesh_.triangles[from.triangle]) {
        starts.push_back({v, distance(mesh_.positions[at(v)], from.position)});
    }
    return run(starts, farthest);
}

std::vector<double> Front::distancesFrom(const std::vector<std::int32_t>& vertices) const {
    std::vector<Start> starts;
    for (const std::int32_t v : vertices) {
        starts.push_back({v, 0.0});
    }
    return run(starts, unreached);
}

} // namespace drape::host
