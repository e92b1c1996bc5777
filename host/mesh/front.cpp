// A vertex gets its distance from two neighbours by laying the triangle flat with the point that the two
// distances speak of, so the front crosses triangles straight and doesn't follow the edges. The nearest
// vertex goes first, of equally near ones the lowest.
#include "host/mesh/front.h"

#include "host/mesh/point.h"

#include <algorithm>
#include <functional>
#include <numeric>
#include <span>
#include <tuple>

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

} // namespace

// The steps to be taken, the smallest first. Those of the nearest layer are a heap, which stays small; the
// others are listed by their layers in no order.
class Wave::Queue {
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

    // The next step, null once there is none left.
    const Step* next() {
        while (heap_.empty()) {
            if (nearest_ + 1 >= layers_.size()) {
                return nullptr;
            }
            takeLayer(++nearest_);
        }
        return &heap_.front();
    }

    void drop() {
        std::pop_heap(heap_.begin(), heap_.end(), std::greater<>());
        heap_.pop_back();
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

namespace {

// A triangle as seen from one of its vertices, with its two sides there as vectors.
struct Wedge {
    double dot;          // of the sides
    double crossSquare;  // of the length of their cross product
    double fromDistance; // that the front has at the vertex
};

// The way from the vertex to the corner at the end of one side, either along that side or across the triangle
// from a point of the other side, which ends at a corner with the distance `other`. `side` and `base` are the
// squares of the two sides' lengths. Gives `reached` if the way is sure to be no shorter.
double lengthOf(const Wedge& wedge, double side, double base, double other, double reached) {
    constexpr double rounding = 1e-12;
    const double here = wedge.fromDistance;
    // No place on the base is nearer than its ends by more than a half circle over it is high.
    const double nearer = std::min(here, other);
    if (reached < nearer &&
        (nearer - reached) * (nearer + reached) > (0.25 + rounding) * base + rounding * nearer * nearer) {
        return reached;
    }
    // The point in the triangle's plane that the two distances speak of: how far along the base it lies and
    // the square of how far off it, in lengths of the base. There's none before the other corner is reached.
    // A front that starts on the base begins there but for rounding.
    const double along = 0.5 * (here * here - other * other + base);
    const double offSquare = here * here * base - along * along;
    if (!(offSquare >= -rounding * here * here * base && wedge.crossSquare > 0.0)) {
        return here + std::sqrt(side);
    }
    // The square of the way from there, without what the point and the corner are off the base together.
    const double squares = here * here + side;
    const double least = (squares - reached * reached) * base - 2.0 * wedge.dot * along;
    if (least > rounding * (squares * base + std::abs(wedge.dot) * (here * here + other * other + base))) {
        return reached;
    }
    const double pointOff = std::sqrt(std::max(0.0, offSquare));
    const double cornerOff = std::sqrt(wedge.crossSquare);
    const bool crossesBase = along * cornerOff + wedge.dot * pointOff >= 0.0 &&
                             (base - along) * cornerOff + (base - wedge.dot) * pointOff >= 0.0;
    if (!crossesBase) {
        return here + std::sqrt(side);
    }
    const double apart = wedge.dot - along;
    const double off = pointOff + cornerOff;
    return std::sqrt((apart * apart + off * off) / base);
}

} // namespace

Front::Front(const TriangleMesh& mesh) : mesh_(mesh), start_(mesh.positions.size() + 1, 0) {
    constexpr double layersPerEdge = 64.0;
    double sum = 0.0;
    double longestSquare = 0.0;
    for (const auto& [a, b, c] : mesh.triangles) {
        const auto& [p, q, r] = std::tie(mesh.positions[at(a)], mesh.positions[at(b)], mesh.positions[at(c)]);
        longestSquare = std::max({longestSquare, dot(q - p, q - p), dot(r - q, r - q), dot(p - r, p - r)});
        ++start_[at(a)];
        ++start_[at(b)];
        ++start_[at(c)];
        sum += distance(mesh.positions[at(a)], mesh.positions[at(b)]);
    }
    longestEdge_ = std::sqrt(longestSquare);
    layer_ = sum / (layersPerEdge * static_cast<double>(mesh.triangles.size()));
    std::partial_sum(start_.begin(), start_.end(), start_.begin());
    corners_.resize(3 * mesh.triangles.size());
    for (std::size_t t = mesh.triangles.size(); t-- > 0;) {
        const auto& [a, b, c] = mesh.triangles[t];
        corners_[at(--start_[at(a)])] = {b, c};
        corners_[at(--start_[at(b)])] = {c, a};
        corners_[at(--start_[at(c)])] = {a, b};
    }
}

std::vector<double> Front::distancesFrom(const SurfacePoint& from, double farthest) const {
    Wave wave(*this, from);
    wave.goOnTo(farthest);
    return wave.takeDistances();
}

std::vector<double> Front::distancesFrom(const std::vector<std::int32_t>& vertices) const {
    Wave wave(*this, vertices);
    wave.goOnTo(unreached);
    return wave.takeDistances();
}

Wave::Wave(const Front& front, const SurfacePoint& from)
    : front_(front), reached_(front.mesh_.positions.size(), unreached),
      open_(std::make_unique<Queue>(front.layer_)) {
    for (const std::int32_t v : front.mesh_.triangles[from.triangle]) {
        begin(v, distance(front.mesh_.positions[at(v)], from.position));
    }
}

Wave::Wave(const Front& front, const std::vector<std::int32_t>& vertices)
    : front_(front), reached_(front.mesh_.positions.size(), unreached),
      open_(std::make_unique<Queue>(front.layer_)) {
    for (const std::int32_t v : vertices) {
        begin(v, 0.0);
    }
}

Wave::Wave(Wave&& other) noexcept = default;
Wave::~Wave() = default;

void Wave::begin(std::int32_t vertex, double distance) {
    if (distance < reached_[at(vertex)]) {
        reached_[at(vertex)] = distance;
        open_->push({distance, vertex});
    }
}

// `isWorthIt` tells whether to go on from a vertex at its distance.
template <class IsWorthIt>
void Wave::goOn(double farthest, IsWorthIt isWorthIt) {
    const std::span<const Point> positions(front_.mesh_.positions);
    const std::span<const std::int32_t> start(front_.start_);
    const std::span<const Front::Corners> corners(front_.corners_);
    const std::span<double> reached(reached_);
    Queue& open = *open_;
    const auto improve = [&](std::int32_t v, double d) {
        if (d < reached[at(v)]) {
            reached[at(v)] = d;
            open.push({d, v});
        }
    };
    for (const Step* next = open.next(); next != nullptr && !(next->distance > farthest);
         next = open.next()) {
        const auto [here, v] = *next;
        open.drop();
        if (here > reached[at(v)] || !isWorthIt(v, here)) {
            continue;
        }
        const Point& position = positions[at(v)];
        for (std::int32_t k = start[at(v)]; k < start[at(v) + 1]; ++k) {
            const auto& [a, b] = corners[at(k)];
            const Point toA = positions[at(a)] - position;
            const Point toB = positions[at(b)] - position;
            const double squareA = dot(toA, toA);
            const double squareB = dot(toB, toB);
            const double both = dot(toA, toB);
            const Wedge wedge{both, squareA * squareB - both * both, here};
            improve(a, lengthOf(wedge, squareA, squareB, reached[at(b)], reached[at(a)]));
            improve(b, lengthOf(wedge, squareB, squareA, reached[at(a)], reached[at(b)]));
        }
    }
}

bool Wave::hasEnded() const {
    return open_->next() == nullptr;
}

void Wave::goOnTo(double farthest) {
    goOn(farthest, [](std::int32_t, double) { return true; });
}

// Along a way to where this wave is ahead the others are behind all the time, but for what distances are too
// long by.
void Wave::goOnAmong(const std::vector<double>& others, double weight, double farthest) {
    constexpr double tooLong = 0.05; // share, several times what a fair mesh makes of it
    const double edges = 3.0 * front_.longestEdge_;
    goOn(farthest + edges,
         [&](std::int32_t v, double d) { return weight * (d - edges) <= (1.0 + tooLong) * others[at(v)]; });
}

} // namespace drape::host
