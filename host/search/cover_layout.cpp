// A place belongs to the first piece whose value there is above 0, and where that is 0 runs the seam; as the
// values are distances, smoothed, so is the seam. A piece that fails gets a start that suits its new shape
// better, or smaller values.
#include "host/search/cover_layout.h"

#include "host/cloth/cell_cover.h"
#include "host/mesh/edge_split.h"
#include "host/mesh/error.h"
#include "host/mesh/patch.h"
#include "host/mesh/topology.h"

#include <algorithm>
#include <map>
#include <optional>

namespace drape::host {

using namespace vec;

namespace {

constexpr double outside = 1.0; // cells below 0 of a piece's value where its territory isn't
constexpr int mostRounds = 10;
constexpr int roundsOfTakingOver = 5; // after these what a piece loses stays bare
constexpr std::size_t otherSeeds = 6;
constexpr double wellInside = 0.3; // of the most room in a piece, for other seeds
constexpr double edgeEnd = 0.02;   // of an edge: no seam nearer to its ends
constexpr double fewestCells = 6.0;
constexpr std::int32_t bare = -1;

class Layout {
public:
    Layout(const CoverGround& cover, const CoverWishes& wishes, const std::vector<Territory>& territories)
        : cover_(cover), wishes_(wishes), closed_(cover.ground.vertexCount(), 0) {
        step_ = std::max(cover.surface.steps[0], cover.surface.steps[1]);
        for (const Territory& territory : territories) {
            Piece& piece = pieces_.emplace_back();
            piece.start = territory.start;
            piece.field.assign(cover.ground.vertexCount(), -outside * step_);
            for (std::size_t k = 0; k < territory.vertices.size(); ++k) {
                piece.field[at(territory.vertices[k])] =
                    static_cast<double>(territory.depths[k]) - 0.5 * wishes.overlap;
            }
        }
    }

    // Once all is settled: neighbours of the claims' triangles, and the claims as territories.
    Neighbours neighbours;
    std::vector<Territory> left;

    PieceSet settled() {
        for (int round = 0; round < mostRounds; ++round) {
            label();
            cutClaims();
            bool good = true;
            for (std::size_t p = 0; p < pieces_.size(); ++p) {
                good = settle(p, round >= roundsOfTakingOver) && good;
            }
            if (good) {
                break;
            }
        }
        return result();
    }

private:
    struct Piece {
        PieceStart start;
        std::vector<double> field;  // per vertex of the ground, above 0 where it can go
        std::vector<char> claim;    // per vertex, that it was last draped for
        std::optional<Trial> drape; // of that claim, if it was good
    };

    const Ground& ground() const { return cover_.ground; }

    std::int32_t firstAt(std::size_t v) const {
        const auto first = std::find_if(pieces_.begin(), pieces_.end(),
                                        [v](const Piece& piece) { return piece.field[v] > 0.0; });
        return first == pieces_.end() || closed_[v] != 0 ? bare
                                                         : static_cast<std::int32_t>(first - pieces_.begin());
    }

    // Each claim hangs together: of several parts of one the largest stays, the others go to the next best.
    void label() {
        labels_.resize(ground().vertexCount());
        for (bool changed = true; changed;) {
            changed = false;
            for (std::size_t v = 0; v < labels_.size(); ++v) {
                labels_[v] = firstAt(v);
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

    std::vector<std::int32_t> partAt(std::int32_t first, std::vector<char>& seen) const {
        std::vector<std::int32_t> part{first};
        seen[at(first)] = 1;
        for (std::size_t k = 0; k < part.size(); ++k) {
            for (const std::int32_t next : ground().around(part[k])) {
                if (seen[at(next)] == 0 && labels_[at(next)] == labels_[at(first)]) {
                    seen[at(next)] = 1;
                    part.push_back(next);
                }
            }
        }
        return part;
    }

    double areaOf(const std::vector<std::int32_t>& part) const {
        double area = 0.0;
        for (const std::int32_t v : part) {
            area += ground().areas[at(v)];
        }
        return area;
    }

    bool dropSmaller(std::size_t p, const std::vector<std::vector<std::int32_t>>& parts) {
        const auto largest = std::max_element(
            parts.begin(), parts.end(), [&](const auto& a, const auto& b) { return areaOf(a) < areaOf(b); });
        bool dropped = false;
        for (auto part = parts.begin(); part != parts.end(); ++part) {
            const bool goes = part != largest || areaOf(*part) < fewestCells * step_ * step_;
            for (const std::int32_t v : *part) {
                pieces_[p].field[at(v)] = goes ? -outside * step_ : pieces_[p].field[at(v)];
            }
            dropped = dropped || goes;
        }
        return dropped;
    }

    // Whether a label comes before another, which leaves its line as it is.
    static bool isBefore(std::int32_t a, std::int32_t b) { return a != bare && (b == bare || a < b); }

    // Of the three labels that meet in a triangle the second, whose shape isn't changed by a third one then.
    std::int32_t second(const Triangle& corners) const {
        std::array<std::int32_t, 3> labels{};
        std::transform(corners.begin(), corners.end(), labels.begin(),
                       [&](std::int32_t v) { return labels_[at(v)]; });
        std::sort(labels.begin(), labels.end(), isBefore);
        return labels[1];
    }

    void cutClaims() {
        const SplitMesh split =
            splitEdges(ground().mesh, [&](std::int32_t low, std::int32_t high) -> std::optional<double> {
                const std::int32_t a = labels_[at(low)];
                const std::int32_t b = labels_[at(high)];
                if (a == b) {
                    return std::nullopt;
                }
                const std::vector<double>& field = pieces_[at(isBefore(a, b) ? a : b)].field;
                const double atLow = std::abs(field[at(low)]);
                const double both = atLow + std::abs(field[at(high)]);
                const double part = both > 0.0 ? atLow / both : 0.5;
                return std::clamp(part, edgeEnd, 1.0 - edgeEnd);
            });
        claims_ = split.mesh;
        added_ = split.added;
        claimOf_.clear();
        for (std::size_t t = 0; t < claims_.triangles.size(); ++t) {
            const Triangle& corners = claims_.triangles[t];
            const auto known = std::find_if(corners.begin(), corners.end(),
                                            [&](std::int32_t v) { return at(v) < labels_.size(); });
            claimOf_.push_back(known != corners.end()
                                   ? labels_[at(*known)]
                                   : second(ground().mesh.triangles[at(split.parents[t])]));
        }
    }

    // A piece's value at a vertex of the claims.
    double valueOn(std::size_t p, std::size_t vertex) const {
        const std::vector<double>& field = pieces_[p].field;
        if (vertex < field.size()) {
            return field[vertex];
        }
        const EdgePoint& point = added_[vertex - field.size()];
        return (1.0 - point.part) * field[at(point.low)] + point.part * field[at(point.high)];
    }

    // The claim with what lies over its neighbours.
    std::shared_ptr<const Mould> cutOut(std::size_t p) const {
        std::vector<char> keep(claimOf_.size());
        for (std::size_t t = 0; t < keep.size(); ++t) {
            keep[t] = claimOf_[t] == static_cast<std::int32_t>(p) ? 1 : 0;
        }
        if (!(wishes_.overlap > 0.0)) {
            Notes untold;
            return std::make_shared<const Mould>(mouldOf(manifoldOf(keptPart(claims_, keep), untold)));
        }
        std::vector<std::int32_t> from;
        for (std::size_t t = 0; t < keep.size(); ++t) {
            if (keep[t] != 0) {
                from.insert(from.end(), claims_.triangles[t].begin(), claims_.triangles[t].end());
            }
        }
        std::sort(from.begin(), from.end());
        from.erase(std::unique(from.begin(), from.end()), from.end());
        std::vector<double> field = distancesAlong(claims_, from);
        // Never beyond the piece's territory.
        for (std::size_t v = 0; v < field.size(); ++v) {
            const double depth = 0.5 * wishes_.overlap + valueOn(p, v);
            field[v] = std::min(0.5 * wishes_.overlap - field[v], depth);
        }
        Notes untold;
        return std::make_shared<const Mould>(mouldOf(manifoldOf(partAbove(claims_, field), untold)));
    }

    // The old start, if it lies inside, and others well inside, far from each other.
    std::vector<PieceStart> startsOf(std::size_t p, const std::vector<char>& claim) const {
        const PieceStart& old = pieces_[p].start;
        std::vector<std::size_t> places;
        std::size_t nearest = 0;
        std::size_t roomiest = 0;
        double near = std::numeric_limits<double>::infinity();
        double most = 0.0;
        for (std::size_t v = 0; v < claim.size(); ++v) {
            const double d = distance(ground().mesh.positions[v], old.seed);
            if (d < near) {
                near = d;
                nearest = v;
            }
            if (claim[v] != 0 && pieces_[p].field[v] > most) {
                most = pieces_[p].field[v];
                roomiest = v;
            }
        }
        std::vector<PieceStart> starts;
        if (claim[nearest] != 0) {
            starts.push_back(old);
        }
        starts.push_back({ground().mesh.positions[roomiest], old.angle});
        std::vector<double> apart(claim.size(), -1.0);
        for (std::size_t v = 0; v < claim.size(); ++v) {
            apart[v] = claim[v] != 0 && pieces_[p].field[v] >= wellInside * most ? 1e300 : -1.0;
        }
        while (starts.size() < otherSeeds + 2) {
            std::size_t farthest = 0;
            for (std::size_t v = 0; v < claim.size(); ++v) {
                apart[v] = std::min(apart[v], distance(ground().mesh.positions[v], starts.back().seed));
                farthest = apart[v] > apart[farthest] ? v : farthest;
            }
            if (!(apart[farthest] > step_)) {
                break;
            }
            starts.push_back({ground().mesh.positions[farthest], old.angle});
        }
        return starts;
    }

    std::vector<char> claimFor(std::size_t p) const {
        std::vector<char> claim(labels_.size());
        std::transform(labels_.begin(), labels_.end(), claim.begin(),
                       [&](std::int32_t label) { return label == static_cast<std::int32_t>(p) ? 1 : 0; });
        return claim;
    }

    bool isTooLarge(const NetPattern& net) const {
        return net.extent[2] - net.extent[0] > cover_.good.mostAlongWarp ||
               net.extent[3] - net.extent[1] > cover_.good.mostAlongWeft;
    }

    // Drapes a piece as it is cut. If it isn't good from any start, it is left with what was good of the best
    // of them, and false comes back.
    bool settle(std::size_t p, bool losesForGood) {
        Piece& piece = pieces_[p];
        std::vector<char> claim = claimFor(p);
        if (piece.drape && claim == piece.claim) {
            return true;
        }
        piece.drape.reset();
        piece.claim = claim;
        if (std::find(claim.begin(), claim.end(), 1) == claim.end()) {
            return true;
        }
        std::vector<double> wanted(claim.size());
        std::transform(claim.begin(), claim.end(), wanted.begin(),
                       [](char c) { return c != 0 ? 1.0 : -1.0; });
        const std::shared_ptr<const Mould> mould = cutOut(p);
        double most = 0.0;
        PieceStart bestStart = piece.start;
        std::vector<double> bestField;
        for (const PieceStart& start : startsOf(p, claim)) {
            try {
                Trial trial = drapePart(cover_, mould, start);
                const Check check = checked(cover_, trial, wanted);
                if (check.good) {
                    trial.measures = measure(*mould, trial.grid, cover_.wishes.lockingAngle);
                    if (!isTooLarge(trial.measures.net)) {
                        piece.start = start;
                        piece.drape = std::move(trial);
                        return true;
                    }
                    continue;
                }
                std::vector<double> field(claim.size());
                const std::vector<double> reach = insideOf(check.region, step_);
                double area = 0.0;
                for (std::size_t v = 0; v < field.size(); ++v) {
                    field[v] = std::min(piece.field[v], reach[v]);
                    area += claim[v] != 0 && field[v] > 0.0 ? ground().areas[v] : 0.0;
                }
                if (area > most) {
                    most = area;
                    bestStart = start;
                    bestField = std::move(field);
                }
            } catch (const InputError&) {
                // No cloth starts there.
            }
        }
        piece.start = bestStart;
        for (std::size_t v = 0; v < claim.size(); ++v) {
            if (claim[v] != 0 || losesForGood) {
                piece.field[v] =
                    bestField.empty() ? -outside * step_ : std::max(bestField[v], -outside * step_);
            }
            if (losesForGood && claim[v] != 0 && !(piece.field[v] > 0.0)) {
                closed_[v] = 1;
            }
        }
        return false;
    }

    Territory leftOf(std::size_t p) const {
        Territory territory;
        territory.start = pieces_[p].start;
        for (std::size_t v = 0; v < labels_.size(); ++v) {
            const bool own = labels_[v] == static_cast<std::int32_t>(p);
            const double value = own ? pieces_[p].field[v] : std::min(pieces_[p].field[v], 0.0);
            if (own || value > -outside * step_) {
                territory.vertices.push_back(static_cast<std::int32_t>(v));
                territory.depths.push_back(static_cast<float>(value + 0.5 * wishes_.overlap));
                territory.area += own ? ground().areas[v] : 0.0;
            }
        }
        return territory;
    }

    PieceSet result() {
        PieceSet cover;
        std::vector<std::int32_t> numbers(pieces_.size(), bare);
        for (std::size_t p = 0; p < pieces_.size(); ++p) {
            Piece& piece = pieces_[p];
            if (piece.drape) {
                numbers[p] = static_cast<std::int32_t>(cover.pieces.size());
                left.push_back(leftOf(p));
                CoverPiece& made = cover.pieces.emplace_back();
                made.start = piece.start;
                made.drape = std::move(*piece.drape);
            }
        }
        neighbours = topologyOf(claims_).neighbours;
        cover.claims = std::make_shared<const Mould>(mouldOf(std::move(claims_)));
        for (const std::int32_t label : claimOf_) {
            cover.claimOf.push_back(label == bare ? bare : numbers[at(label)]);
        }
        leaveBare(cover);
        addUp(cover);
        return cover;
    }

    // A claim holds where cloth of the piece lies, judged as the cover of any drape is.
    static void leaveBare(PieceSet& cover) {
        for (std::size_t p = 0; p < cover.pieces.size(); ++p) {
            const Trial& drape = cover.pieces[p].drape;
            const CellCover cells(drape.grid, drape.measures.cells);
            CellCover::Hint hint;
            for (std::size_t t = 0; t < cover.claimOf.size(); ++t) {
                if (cover.claimOf[t] == static_cast<std::int32_t>(p) && !drape.measures.net.reachesEdge() &&
                    cells.coverOf(cover.claims->facets[t], hint) == Cover::none) {
                    cover.claimOf[t] = bare;
                }
            }
        }
    }

    void addUp(PieceSet& cover) const {
        double covered = 0.0;
        double cloth = 0.0;
        for (std::size_t t = 0; t < cover.claimOf.size(); ++t) {
            if (cover.claimOf[t] != bare) {
                const double area = cover.claims->facets[t].area;
                cover.pieces[at(cover.claimOf[t])].claimed += area;
                covered += area;
            }
        }
        for (const CoverPiece& piece : cover.pieces) {
            cloth += piece.drape.mould->area;
            cover.largestShear = std::max(cover.largestShear, piece.drape.measures.largestShear);
        }
        cover.coveredShare = covered / ground().area;
        cover.overlapShare = std::max(0.0, cloth - covered) / ground().area;
    }

    const CoverGround& cover_;
    const CoverWishes& wishes_;
    double step_ = 0.0;
    std::vector<Piece> pieces_;
    std::vector<char> closed_;         // per vertex, left bare
    std::vector<std::int32_t> labels_; // per vertex, its piece
    TriangleMesh claims_;
    std::vector<EdgePoint> added_;      // its vertices beyond the ground's
    std::vector<std::int32_t> claimOf_; // per triangle of it
};

using Link = std::pair<std::int32_t, std::int32_t>; // vertices, in the sense of the lower piece's triangle

// The links of one pair of pieces as lines, each as long as it goes.
std::vector<Seam> seamsOf(const Mould& mesh, const std::array<std::size_t, 2>& pieces,
                          const std::vector<Link>& links) {
    std::map<std::int32_t, std::int32_t> after;
    std::map<std::int32_t, bool> isEntered;
    for (const auto& [from, to] : links) {
        after[from] = to;
        isEntered[to] = true;
    }
    std::vector<Seam> seams;
    const auto follow = [&](std::int32_t first) {
        Seam seam{pieces, {mesh.positions[at(first)]}, 0.0};
        for (auto found = after.find(first); found != after.end(); found = after.find(first)) {
            first = found->second;
            after.erase(found);
            seam.length += distance(seam.points.back(), mesh.positions[at(first)]);
            seam.points.push_back(mesh.positions[at(first)]);
        }
        seams.push_back(std::move(seam));
    };
    for (const auto& [from, to] : links) {
        if (after.count(from) != 0 && !isEntered[from]) {
            follow(from);
        }
    }
    while (!after.empty()) {
        follow(after.begin()->first);
    }
    return seams;
}

// `neighbours` are those of the claims' triangles.
void addSeams(PieceSet& cover, const Neighbours& neighbours) {
    const Mould& claims = *cover.claims;
    std::map<std::array<std::size_t, 2>, std::vector<Link>> links;
    for (std::size_t t = 0; t < cover.claimOf.size(); ++t) {
        for (std::size_t k = 0; k < 3; ++k) {
            const std::int32_t beyond = neighbours[t][k];
            if (beyond != noTriangle && cover.claimOf[t] >= 0 &&
                cover.claimOf[at(beyond)] > cover.claimOf[t]) {
                links[{at(cover.claimOf[t]), at(cover.claimOf[at(beyond)])}].emplace_back(
                    claims.corners[3 * t + k] - 1, claims.corners[3 * t + (k + 1) % 3] - 1);
            }
        }
    }
    for (const auto& [pieces, list] : links) {
        for (Seam& seam : seamsOf(claims, pieces, list)) {
            cover.seamLength += seam.length;
            cover.pieces[pieces[0]].seamLength += seam.length;
            cover.pieces[pieces[1]].seamLength += seam.length;
            cover.seams.push_back(std::move(seam));
        }
    }
}

} // namespace

PieceSet laidOut(const CoverGround& cover, const CoverWishes& wishes,
                 const std::vector<Territory>& territories, std::vector<Territory>& left) {
    Layout layout(cover, wishes, territories);
    PieceSet result = layout.settled();
    addSeams(result, layout.neighbours);
    left = std::move(layout.left);
    return result;
}

} // namespace drape::host
