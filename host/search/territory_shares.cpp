// A place goes to the territory that is deepest there, so seams run in the middle of where two overlap, and
// as the depths are smooth, so are they. Each share hangs together. Where a neighbour cuts one apart, what it
// alone covers can get lost; then it goes ahead of its neighbours by some cells, and if that doesn't help,
// each goes ahead of all that come after it.
#include "host/search/territory_shares.h"

#include "host/search/ground_parts.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <limits>
#include <numeric>

namespace drape::host {

namespace {

constexpr double fewestCells = 6.0;
constexpr double farAhead = 1e3;                            // cells, of each before the next
constexpr std::array<double, 3> movesAhead{2.0, 8.0, 64.0}; // cells
constexpr std::size_t mostAhead = 2;                        // moves, for each
constexpr double noLoss = 1e-3;                             // of the area
constexpr double shallow = 1e-2; // cells, that places count as deep where a territory has no cloth

// The share of the way at which a value comes down to 0; 1 if it stays above.
double endOf(double from, double to) {
    return to > 0.0 ? 1.0 : from > 0.0 ? from / (from - to) : 0.0;
}

} // namespace

TerritoryShares::TerritoryShares(const CoverGround& cover, double overlap,
                                 const std::vector<const Territory*>& territories)
    : cover_(&cover), overlap_(overlap), step_(std::max(cover.surface.steps[0], cover.surface.steps[1])),
      labels_(cover.ground.vertexCount(), bare), isOpen_(labels_.size(), 0) {
    for (const Territory* territory : territories) {
        Piece& piece = pieces_.emplace_back();
        piece.depths = depthsOver(cover, *territory);
        piece.isBare.resize(labels_.size(), 0);
        for (const std::int32_t v : territory->bare) {
            if (at(v) < labels_.size()) { // on a slit ground there are others
                piece.isBare[at(v)] = 1;
                piece.depths[at(v)] = std::min(piece.depths[at(v)], 0.5 * overlap + shallow * step_);
            }
        }
    }
    label();
    giveWay();
    const double even = area();
    if (mostWithout(bare) <= even + noLoss * cover_->ground.area) {
        return; // no order could win as much
    }
    State before = state();
    goInOrder();
    if (area() <= even + noLoss * cover_->ground.area) {
        restore(std::move(before));
    }
}

void TerritoryShares::limit(std::size_t p, const std::vector<double>& most) {
    std::vector<double>& depths = pieces_[p].depths;
    std::transform(depths.begin(), depths.end(), most.begin(), depths.begin(),
                   [](double depth, double limit) { return std::min(depth, limit); });
    label();
}

bool TerritoryShares::isCovered(std::size_t v) const {
    return labels_[v] != bare && pieces_[at(labels_[v])].isBare[v] == 0;
}

double TerritoryShares::area() const {
    double area = 0.0;
    for (std::size_t v = 0; v < labels_.size(); ++v) {
        area += isCovered(v) ? cover_->ground.areas[v] : 0.0;
    }
    return area;
}

std::vector<double> TerritoryShares::areas() const {
    std::vector<double> areas(pieces_.size(), 0.0);
    for (std::size_t v = 0; v < labels_.size(); ++v) {
        if (isCovered(v)) {
            areas[at(labels_[v])] += cover_->ground.areas[v];
        }
    }
    return areas;
}

double TerritoryShares::mostWithout(std::int32_t p) const {
    double area = 0.0;
    for (std::size_t v = 0; v < labels_.size(); ++v) {
        bool isOthers = false;
        for (std::size_t k = firstClaimant_[v]; k < firstClaimant_[v + 1]; ++k) {
            const std::int32_t other = claimants_[k].piece;
            isOthers = isOthers || (other != p && pieces_[at(other)].isBare[v] == 0);
        }
        area += isOthers ? cover_->ground.areas[v] : 0.0;
    }
    return area;
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

void TerritoryShares::listClaimants() {
    for (Piece& piece : pieces_) {
        piece.inside.clear();
    }
    firstClaimant_.clear();
    claimants_.clear();
    for (std::size_t v = 0; v < labels_.size(); ++v) {
        firstClaimant_.push_back(claimants_.size());
        for (std::size_t p = 0; p < pieces_.size(); ++p) {
            if (pieces_[p].depths[v] > 0.5 * overlap_) {
                pieces_[p].inside.push_back(static_cast<std::int32_t>(v));
                claimants_.push_back({static_cast<std::int32_t>(p), false});
            }
        }
    }
    firstClaimant_.push_back(claimants_.size());
}

// Its number; that of all claimants if the territory can't have the vertex.
std::size_t TerritoryShares::claimantOf(std::int32_t p, std::int32_t v) const {
    for (std::size_t k = firstClaimant_[at(v)]; k < firstClaimant_[at(v) + 1]; ++k) {
        if (claimants_[k].piece == p) {
            return k;
        }
    }
    return claimants_.size();
}

// Above 0 where a territory has or could have a vertex, the higher the deeper it lies.
double TerritoryShares::valueOf(std::int32_t p, std::int32_t v) const {
    const std::size_t k = claimantOf(p, v);
    return k < claimants_.size() && claimants_[k].isDropped ? -step_
                                                            : pieces_[at(p)].depths[at(v)] - 0.5 * overlap_;
}

std::int32_t TerritoryShares::deepestAt(std::size_t v) const {
    std::int32_t deepest = bare;
    double most = -std::numeric_limits<double>::infinity();
    for (std::size_t k = firstClaimant_[v]; k < firstClaimant_[v + 1]; ++k) {
        const Piece& piece = pieces_[at(claimants_[k].piece)];
        if (!claimants_[k].isDropped && piece.depths[v] + piece.ahead > most) {
            most = piece.depths[v] + piece.ahead;
            deepest = claimants_[k].piece;
        }
    }
    return deepest;
}

// What a territory could have and is bare, as an area.
double TerritoryShares::lostBy(const Piece& piece) const {
    double lost = 0.0;
    for (const std::int32_t v : piece.inside) {
        lost += labels_[at(v)] == bare && piece.isBare[at(v)] == 0 ? cover_->ground.areas[at(v)] : 0.0;
    }
    return lost;
}

void TerritoryShares::label() {
    listClaimants();
    std::vector<std::int32_t> all(labels_.size());
    std::iota(all.begin(), all.end(), 0);
    labelAround(all);
}

// Shares out some vertices anew, and what can't hang together because of that.
void TerritoryShares::labelAround(const std::vector<std::int32_t>& vertices) {
    std::vector<std::int32_t> changed(vertices);
    for (const std::int32_t v : changed) {
        for (std::size_t k = firstClaimant_[at(v)]; k < firstClaimant_[at(v) + 1]; ++k) {
            claimants_[k].isDropped = false;
        }
    }
    while (!changed.empty()) {
        std::vector<char> isTouched(pieces_.size(), 0);
        for (const std::int32_t v : changed) {
            for (const std::int32_t label : {labels_[at(v)], deepestAt(at(v))}) {
                if (label != bare) {
                    isTouched[at(label)] = 1;
                }
                labels_[at(v)] = label;
            }
        }
        changed.clear();
        for (std::size_t p = 0; p < pieces_.size(); ++p) {
            if (isTouched[p] != 0) {
                keepLargestPart(p, changed);
            }
        }
    }
}

// Drops what doesn't hang together with the largest part of a share, or all of it if that is next to nothing,
// and adds that to `dropped`.
void TerritoryShares::keepLargestPart(std::size_t p, std::vector<std::int32_t>& dropped) {
    const Ground& ground = cover_->ground;
    for (const std::int32_t v : pieces_[p].inside) {
        isOpen_[at(v)] = labels_[at(v)] == static_cast<std::int32_t>(p) ? 1 : 0;
    }
    const std::vector<GroundPart> parts = openParts(ground, pieces_[p].inside, isOpen_);
    const auto largest = largestOf(ground, parts);
    for (auto part = parts.begin(); part != parts.end(); ++part) {
        if (part != largest || areaOf(ground, *part) < fewestCells * step_ * step_) {
            for (const std::int32_t v : *part) {
                claimants_[claimantOf(static_cast<std::int32_t>(p), v)].isDropped = true;
                dropped.push_back(v);
            }
        }
    }
}

void TerritoryShares::goInOrder() {
    for (std::size_t p = 0; p < pieces_.size(); ++p) {
        pieces_[p].ahead = farAhead * step_ * static_cast<double>(pieces_.size() - p);
    }
    label();
}

void TerritoryShares::giveWay() {
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
    const State old = state();
    for (const double cells : movesAhead) {
        restore(old);
        pieces_[p].ahead += cells * step_;
        labelAround(pieces_[p].inside);
        if (area() > before + 0.5 * noLoss * cover_->ground.area) {
            return true;
        }
    }
    restore(old);
    return false;
}

TerritoryShares::State TerritoryShares::state() const {
    State state{labels_, claimants_, {}};
    std::transform(pieces_.begin(), pieces_.end(), std::back_inserter(state.ahead),
                   [](const Piece& piece) { return piece.ahead; });
    return state;
}

void TerritoryShares::restore(State state) {
    labels_ = std::move(state.labels);
    claimants_ = std::move(state.claimants);
    for (std::size_t p = 0; p < pieces_.size(); ++p) {
        pieces_[p].ahead = state.ahead[p];
    }
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
