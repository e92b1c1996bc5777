// The surface is cut along the lines between the territories' shares. A share is draped by itself, from the
// territory's start or others inside. Where a seam leaves the cloth another way to take, so that this isn't
// good, the piece is cut out of the drape of its whole territory, which is.
#include "host/search/cover_layout.h"

#include "host/cloth/cell_cover.h"
#include "host/cloth/trimmed_grid.h"
#include "host/mesh/edge_split.h"
#include "host/mesh/error.h"
#include "host/mesh/patch.h"
#include "host/mesh/topology.h"
#include "host/search/territory_shares.h"

#include <algorithm>
#include <map>
#include <optional>

namespace drape::host {

using namespace vec;

namespace {

constexpr double beyondTerritory = 0.02; // cells, that rounding may leave of a piece
constexpr std::size_t otherSeeds = 4;
constexpr double wellInside = 0.3; // of the most room in a piece, for other seeds
constexpr double edgeEnd = 0.02;   // of an edge: no seam nearer to its ends
constexpr std::int32_t bare = TerritoryShares::bare;

class Layout {
public:
    Layout(const CoverGround& cover, const CoverWishes& wishes,
           const std::vector<const Territory*>& territories)
        : cover_(cover), wishes_(wishes), step_(std::max(cover.surface.steps[0], cover.surface.steps[1])),
          shares_(cover, wishes.overlap, territories), labels_(shares_.labels()) {
        for (const Territory* territory : territories) {
            starts_.push_back(territory->start);
        }
    }

    // Once all is settled: neighbours of the claims' triangles.
    Neighbours neighbours;

    PieceSet settled() {
        cutClaims();
        PieceSet cover;
        std::vector<std::int32_t> numbers(starts_.size(), bare);
        for (std::size_t p = 0; p < starts_.size(); ++p) {
            if (std::find(labels_.begin(), labels_.end(), static_cast<std::int32_t>(p)) != labels_.end()) {
                numbers[p] = static_cast<std::int32_t>(cover.pieces.size());
                cover.pieces.push_back(draped(p));
            }
        }
        neighbours = topologyOf(claims_).neighbours;
        cover.claims = std::make_shared<const Mould>(mouldOf(std::move(claims_)));
        for (const std::int32_t label : claimOf_) {
            cover.claimOf.push_back(label == bare ? bare : numbers[at(label)]);
        }
        addUp(cover);
        return cover;
    }

private:
    const Ground& ground() const { return cover_.ground; }

    void cutClaims() {
        const SplitMesh split =
            splitEdges(ground().mesh, [&](std::int32_t low, std::int32_t high) -> std::optional<double> {
                return labels_[at(low)] == labels_[at(high)]
                           ? std::nullopt
                           : std::optional(
                                 std::clamp(shares_.lineBetween(low, high), edgeEnd, 1.0 - edgeEnd));
            });
        claims_ = split.mesh;
        added_ = split.added;
        for (std::size_t t = 0; t < claims_.triangles.size(); ++t) {
            const Triangle& corners = claims_.triangles[t];
            const auto known = std::find_if(corners.begin(), corners.end(),
                                            [&](std::int32_t v) { return at(v) < labels_.size(); });
            claimOf_.push_back(known != corners.end()
                                   ? labels_[at(*known)]
                                   : shares_.middleOf(ground().mesh.triangles[at(split.parents[t])]));
        }
    }

    // How deep inside its territory a piece is at a vertex of the claims.
    double depthOn(std::size_t p, std::size_t vertex) const {
        const std::vector<double>& depths = shares_.depths(p);
        if (vertex < depths.size()) {
            return depths[vertex];
        }
        const EdgePoint& point = added_[vertex - depths.size()];
        return (1.0 - point.part) * depths[at(point.low)] + point.part * depths[at(point.high)];
    }

    // What of the claim lies in the piece's territory: between two vertices of different pieces there can be
    // a gap that neither reaches.
    std::shared_ptr<const Mould> cutOutOfTerritory(std::size_t p) const {
        TriangleMesh claim;
        claim.positions = claims_.positions;
        for (std::size_t t = 0; t < claimOf_.size(); ++t) {
            if (claimOf_[t] == static_cast<std::int32_t>(p)) {
                claim.triangles.push_back(claims_.triangles[t]);
                claim.sourceFaces.push_back(claims_.sourceFaces[t]);
            }
        }
        std::vector<double> field(claim.positions.size());
        for (std::size_t v = 0; v < field.size(); ++v) {
            field[v] = depthOn(p, v) + beyondTerritory * step_;
        }
        Notes untold;
        return std::make_shared<const Mould>(mouldOf(manifoldOf(partAbove(claim, field), untold)));
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
            field[v] = std::min(0.5 * wishes_.overlap - field[v], depthOn(p, v));
        }
        Notes untold;
        return std::make_shared<const Mould>(mouldOf(manifoldOf(partAbove(claims_, field), untold)));
    }

    // Inside of a claim: the old start, if it lies there, the place with most room, and others far from
    // these.
    std::vector<PieceStart> startsOf(std::size_t p) const {
        const PieceStart& old = starts_[p];
        const auto isOwn = [&](std::size_t v) { return labels_[v] == static_cast<std::int32_t>(p); };
        std::vector<std::int32_t> others;
        std::size_t nearest = 0;
        double near = std::numeric_limits<double>::infinity();
        for (std::size_t v = 0; v < labels_.size(); ++v) {
            const double d = distance(ground().mesh.positions[v], old.seed);
            if (d < near) {
                near = d;
                nearest = v;
            }
            if (!isOwn(v) || ground().nearRim[v] != 0) {
                others.push_back(static_cast<std::int32_t>(v));
            }
        }
        const std::vector<double> room = distancesAlong(ground().mesh, others);
        const std::size_t roomiest =
            static_cast<std::size_t>(std::max_element(room.begin(), room.end()) - room.begin());
        std::vector<PieceStart> starts;
        if (isOwn(nearest)) {
            starts.push_back(old);
        }
        starts.push_back({ground().mesh.positions[roomiest], old.angle});
        std::vector<double> apart(labels_.size(), -1.0);
        for (std::size_t v = 0; v < apart.size(); ++v) {
            apart[v] = isOwn(v) && room[v] >= wellInside * room[roomiest] ? 1e300 : -1.0;
        }
        while (starts.size() < otherSeeds) {
            std::size_t farthest = 0;
            for (std::size_t v = 0; v < apart.size(); ++v) {
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

    bool isTooLarge(const NetPattern& net) const {
        return net.extent[2] - net.extent[0] > cover_.good.mostAlongWarp ||
               net.extent[3] - net.extent[1] > cover_.good.mostAlongWeft;
    }

    // A drape over `mould` that is good where `wanted` is above 0, from one of `starts`.
    std::optional<CoverPiece> goodDrape(const std::shared_ptr<const Mould>& mould,
                                        const std::vector<PieceStart>& starts,
                                        const std::vector<double>& wanted) const {
        for (const PieceStart& start : starts) {
            try {
                Trial trial = drapePart(cover_, mould, start);
                if (checked(cover_, trial, wanted).good) {
                    trial.measures = measure(*mould, trial.grid, cover_.wishes.lockingAngle);
                    if (!isTooLarge(trial.measures.net)) {
                        CoverPiece piece;
                        piece.start = start;
                        piece.under = mould;
                        piece.drape = std::move(trial);
                        return piece;
                    }
                }
            } catch (const InputError&) {
                // No cloth starts there.
            }
        }
        return std::nullopt;
    }

    // By itself if that is good, else as the part of its territory's drape that lies over it.
    CoverPiece draped(std::size_t p) const {
        std::vector<double> wanted(labels_.size());
        std::transform(labels_.begin(), labels_.end(), wanted.begin(), [&](std::int32_t label) {
            return label == static_cast<std::int32_t>(p) ? 1.0 : -1.0;
        });
        const std::shared_ptr<const Mould> alone = cutOut(p);
        if (auto piece = goodDrape(alone, startsOf(p), wanted)) {
            return std::move(*piece);
        }
        const std::shared_ptr<const Mould> part = wishes_.overlap > 0.0 ? alone : cutOutOfTerritory(p);
        CoverPiece piece;
        piece.start = starts_[p];
        piece.under = std::make_shared<const Mould>(mouldOf(partAbove(ground().mesh, shares_.depths(p))));
        piece.drape = drapePart(cover_, piece.under, piece.start);
        piece.drape.grid = trimmedTo(piece.drape.grid, *part, step_);
        piece.drape.mould = part;
        piece.drape.measures = measure(*part, piece.drape.grid, cover_.wishes.lockingAngle);
        return piece;
    }

    // A claim holds where cloth of the piece lies, judged as the cover of any drape is.
    static void leaveBare(PieceSet& cover) {
        for (std::size_t p = 0; p < cover.pieces.size(); ++p) {
            const Trial& drape = cover.pieces[p].drape;
            const CellCover cells(drape.grid, drape.measures.cells);
            CellCover::Hint hint;
            for (std::size_t t = 0; t < cover.claimOf.size(); ++t) {
                if (cover.claimOf[t] == static_cast<std::int32_t>(p) &&
                    (cover.pieces[p].isTrimmed() || !drape.measures.net.reachesEdge()) &&
                    cells.coverOf(cover.claims->facets[t], hint) == Cover::none) {
                    cover.claimOf[t] = bare;
                }
            }
        }
    }

    static double claimedArea(const PieceSet& cover) {
        double area = 0.0;
        for (std::size_t t = 0; t < cover.claimOf.size(); ++t) {
            area += cover.claimOf[t] == bare ? 0.0 : cover.claims->facets[t].area;
        }
        return area;
    }

    void addUp(PieceSet& cover) const {
        double cloth = 0.0;
        for (const CoverPiece& piece : cover.pieces) {
            cloth += piece.drape.mould->area;
            cover.largestShear = std::max(cover.largestShear, piece.drape.measures.largestShear);
        }
        cover.overlapShare = std::max(0.0, cloth - claimedArea(cover)) / ground().area;
        leaveBare(cover);
        for (std::size_t t = 0; t < cover.claimOf.size(); ++t) {
            if (cover.claimOf[t] != bare) {
                cover.pieces[at(cover.claimOf[t])].claimed += cover.claims->facets[t].area;
            }
        }
        cover.coveredShare = claimedArea(cover) / ground().area;
    }

    const CoverGround& cover_;
    const CoverWishes& wishes_;
    double step_;
    TerritoryShares shares_;
    const std::vector<std::int32_t>& labels_; // per vertex of the ground, its piece
    std::vector<PieceStart> starts_;          // per territory
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
                 const std::vector<const Territory*>& territories) {
    Layout layout(cover, wishes, territories);
    PieceSet result = layout.settled();
    addSeams(result, layout.neighbours);
    return result;
}

} // namespace drape::host
