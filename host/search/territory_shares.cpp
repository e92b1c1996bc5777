// A place goes to the territory that is deepest there, so seams run in the middle of where two overlap, and
// as the depths are smooth, so are they. Each share hangs together. Where a neighbour cuts one apart, what it
// alone covers can get lost; then it goes ahead of its neighbours by some cells, and if that doesn't help,
// each goes ahead of all that come after it.
#include "host/search/territory_shares.h"

#include <algorithm>
#include <array>
#include <limits>

namespace drape::host {

namespace {

constexpr double fewestCells = 6.0;
constexpr double farAhead = 1e3;                            // cells, of each before the next
constexpr std::array<double, 3> movesAhead{2.0, 8.0, 64.0}; // cells
constexpr std::size_t mostAhead = 2;                        // moves, for each
constexpr double noLoss = 1e-3;                             // of the area

// The share of the way at which a value comes down to 0; 1 if it stays above.
double endOf(double from, double to) {
    return to > 0.0 ? 1.0 : from > 0.0 ? from / (from - to) : 0.0;
}

} // namespace

TerritoryShares::TerritoryShares(const CoverGround& cover, double overlap,
                                 const std::vector<const Territory*>& territories)
    : cover_(&cover), overlap_(overlap), step_(std::max(cover.surface.steps[0], cover.surface.steps[1])),
      labels_(cover.ground.vertexCount(), bare) {
    for (const Territory* territory : territories) {
        pieces_.emplace_back().depths = depthsOver(cover, *territory);
    }
    giveWay();
    const double even = area();
    std::vector<std::int32_t> labels(labels_);
    std::vector<Piece> pieces(pieces_);
    goInOrder();
    if (area() <= even + noLoss * cover_->ground.area) {
        labels_ = std::move(labels);
        pieces_ = std::move(pieces);
    }
}

double TerritoryShares::areaOf(const std::vector<std::int32_t>& part) const {
    double area = 0.0;
    for (const std::int32_t v : part) {
        area += cover_->ground.areas[at(v)];
    }
    return area;
}

double TerritoryShares::area() const {
    double area = 0.0;
    for (std::size_t v = 0; v < labels_.size(); ++v) {
        area += labels_[v] == bare ? 0.0 : cover_->ground.areas[v];
    }
    return area;
}

std::vector<double> TerritoryShares::areas() const {
    std::vector<double> areas(pieces_.size(), 0.0);
    for (std::size_t v = 0; v < labels_.size(); ++v) {
        if (labels_[v] != bare) {
            areas[at(labels_[v])] += cover_->ground.areas[v];
        }
    }
    return areas;
}

double TerritoryShares::seamLength() const {
    const TriangleMesh& mesh = cover_->ground.mesh;
    double length = 0.0;
    for (const Triangle& t : mesh.triangles) {
        for (std::size_t k = 0; k < 3; ++k) {
            const std::int32_t own = labels_[at(t[k])];
            const std::int32_t other = labels_[at(t[(k + 1) % 3])];
            if (own != bare && other != bare && own != other && labels_[at(t[(k + 2) % 3])] == other) {
                // The line cuts two sides, half way for all that counts here.
                length += 0.5 * vec::distance(mesh.positions[at(t[(k + 1) % 3])],
                                              mesh.positions[at(t[(k + 2) % 3])]);
            }
        }
    }
    return length;
}

std::int32_t TerritoryShares::deepestAt(std::size_t v) const {
    std::int32_t deepest = bare;
    double most = -std::numeric_limits<double>::infinity();
    for (std::size_t p = 0; p < pieces_.size(); ++p) {
        if (pieces_[p].value[v] > 0.0 && pieces_[p].value[v] + pieces_[p].ahead > most) {
            most = pieces_[p].value[v] + pieces_[p].ahead;
            deepest = static_cast<std::int32_t>(p);
        }
    }
    return deepest;
}

// What a territory could have and is bare, as an area.
double TerritoryShares::lostBy(const Piece& piece) const {
    double lost = 0.0;
    for (std::size_t v = 0; v < labels_.size(); ++v) {
        lost += labels_[v] == bare && piece.depths[v] > 0.5 * overlap_ ? cover_->ground.areas[v] : 0.0;
    }
    return lost;
}

// Of several parts of one share the largest stays, the others go to the next best.
void TerritoryShares::label() {
    for (Piece& piece : pieces_) {
        piece.value = piece.depths;
        for (double& value : piece.value) {
            value -= 0.5 * overlap_;
        }
    }
    for (bool changed = true; changed;) {
        changed = false;
        for (std::size_t v = 0; v < labels_.size(); ++v) {
            labels_[v] = deepestAt(v);
        }
        std::vector<std::vector<std::vector<std::int32_t>>> parts(pieces_.size());
        std::vector<char> seen(labels_.size(), 0);
        for (std::size_t first = 0; first < labels_.size(); ++first) {
            if (labels_[first] != bare && seen[first] == 0) {
                parts[at(labels_[first])].push_back(partAt(static_cast<std::int32_t>(first), seen));
            }
        }
        for (std::size_t p = 0; p < pieces_.size(); ++p) {
            changed = dropSmaller(p, parts[p]) || changed;
        }
    }
}

std::vector<std::int32_t> TerritoryShares::partAt(std::int32_t first, std::vector<char>& seen) const {
    std::vector<std::int32_t> part{first};
    seen[at(first)] = 1;
    for (std::size_t k = 0; k < part.size(); ++k) {
        for (const std::int32_t next : cover_->ground.around(part[k])) {
            if (seen[at(next)] == 0 && labels_[at(next)] == labels_[at(first)]) {
                seen[at(next)] = 1;
                part.push_back(next);
            }
        }
    }
    return part;
}

bool TerritoryShares::dropSmaller(std::size_t p, const std::vector<std::vector<std::int32_t>>& parts) {
    const auto largest = std::max_element(
        parts.begin(), parts.end(), [&](const auto& a, const auto& b) { return areaOf(a) < areaOf(b); });
    bool dropped = false;
    for (auto part = parts.begin(); part != parts.end(); ++part) {
        const bool goes = part != largest || areaOf(*part) < fewestCells * step_ * step_;
        for (const std::int32_t v : *part) {
            pieces_[p].value[at(v)] = goes ? -step_ : pieces_[p].value[at(v)];
        }
        dropped = dropped || goes;
    }
    return dropped;
}

void TerritoryShares::goInOrder() {
    for (std::size_t p = 0; p < pieces_.size(); ++p) {
        pieces_[p].ahead = farAhead * step_ * static_cast<double>(pieces_.size() - p);
    }
    label();
}

void TerritoryShares::giveWay() {
    label();
    for (std::size_t moves = 0; moves < mostAhead * pieces_.size(); ++moves) {
        std::vector<std::pair<double, std::size_t>> lost;
        for (std::size_t p = 0; p < pieces_.size(); ++p) {
            lost.emplace_back(-lostBy(pieces_[p]), p);
        }
        std::sort(lost.begin(), lost.end());
        const bool helped = std::any_of(lost.begin(), lost.end(), [&](const auto& one) {
            return -one.first > noLoss * cover_->ground.area && goesAhead(one.second);
        });
        if (!helped) {
            return;
        }
    }
}

// Whether less is bare if a territory goes ahead. If not, all stays as it was.
bool TerritoryShares::goesAhead(std::size_t p) {
    const double before = area();
    const double old = pieces_[p].ahead;
    for (const double cells : movesAhead) {
        pieces_[p].ahead = old + cells * step_;
        label();
        if (area() > before + 0.5 * noLoss * cover_->ground.area) {
            return true;
        }
    }
    pieces_[p].ahead = old;
    label();
    return false;
}

// How much more a vertex belongs to `a` than to `b`.
double TerritoryShares::lead(std::int32_t a, std::int32_t b, std::int32_t v) const {
    return valueOf(a, v) + pieces_[at(a)].ahead - valueOf(b, v) - pieces_[at(b)].ahead;
}

double TerritoryShares::lineBetween(std::int32_t low, std::int32_t high) const {
    const std::int32_t a = labels_[at(low)];
    const std::int32_t b = labels_[at(high)];
    if (b == bare) {
        return endOf(valueOf(a, low), valueOf(a, high));
    }
    if (a == bare) {
        return 1.0 - endOf(valueOf(b, high), valueOf(b, low));
    }
    // Where both lead alike, but not beyond the end of either.
    const double last = endOf(valueOf(a, low), valueOf(a, high));
    const double first = 1.0 - endOf(valueOf(b, high), valueOf(b, low));
    return std::min(std::max(endOf(lead(a, b, low), lead(a, b, high)), first), last);
}

std::int32_t TerritoryShares::middleOf(const Triangle& corners) const {
    std::int32_t best = bare;
    double most = 0.0;
    for (const std::int32_t corner : corners) {
        const std::int32_t label = labels_[at(corner)];
        double least = std::numeric_limits<double>::infinity();
        for (const std::int32_t v : corners) {
            least = label == bare ? 0.0 : std::min(least, valueOf(label, v));
        }
        if (least > most) {
            most = least;
            best = label;
        }
    }
    return best;
}

} // namespace drape::host
