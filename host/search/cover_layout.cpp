// Each share is draped by itself, from the territory's start or others inside. Where a seam leaves the cloth
// another way to take, so that some of it isn't good, that place goes to a neighbour or stays bare, until all
// pieces are good. In the end a place is bare if its piece has no cloth there.
#include "host/search/cover_layout.h"

#include "host/cloth/cell_cover.h"
#include "host/mesh/error.h"
#include "host/mesh/patch.h"
#include "host/mesh/topology.h"
#include "host/search/cover_claims.h"
#include "host/search/cover_seams.h"
#include "host/search/ground_parts.h"
#include "host/search/slit_cover.h"

#include <algorithm>
#include <limits>
#include <optional>

namespace drape::host {

using namespace vec;

namespace {

constexpr int roundsOfGiving = 5;     // in which what isn't good of a piece is offered to its neighbours
constexpr int roundsOfCuttingOff = 8; // after which a piece that isn't good by itself is none
constexpr std::size_t mostStarts = 4;
constexpr double wellInside = 0.3;   // of the most room in a piece, for other seeds
constexpr double smallLoss = 0.02;   // of a piece, for which no other start is tried
constexpr double nearlyAll = 0.985;  // of a piece under its cloth, if what is bare can be cut off
constexpr double besideExtent = 1.5; // cells between a pattern's outline and the vertices under its cloth
constexpr double mostGained = 0.01;  // of the area, by lines that run between vertices
constexpr double sameArea = 1e-6;    // of a piece
constexpr double infinite = std::numeric_limits<double>::infinity();
constexpr std::int32_t bare = TerritoryShares::bare;

// What draping a piece by itself gave.
struct Attempt {
    std::shared_ptr<const Mould> mould;    // null where there is nothing to drape
    std::vector<char> lies;                // per vertex of the ground, whether that is over it
    std::optional<Trial> drape;            // with measures; none if none is good
    std::vector<std::vector<Point>> slits; // of the mould that was draped
    Field limit;                           // then above 0 where the best was good, infinite off the mould
    double kept = 0.0;                     // share of the vertices on the mould where it was
    PieceStart start;                      // of what is told here
};

class Layout {
public:
    Layout(const CoverGround& cover, const CoverWishes& wishes,
           const std::vector<const Territory*>& territories, const ForEach& forEach)
        : cover_(cover), forEach_(forEach), beyond_(0.5 * wishes.overlap),
          step_(std::max(cover.surface.steps[0], cover.surface.steps[1])),
          shares_(cover, wishes.overlap, territories), claims_(cover.ground, shares_),
          territories_(territories), slitCovers_(territories.size()), attempts_(territories.size()),
          limits_(territories.size()) {
        for (std::size_t p = 0; p < territories.size(); ++p) {
            attempts_[p].start = territories[p]->start;
            if (!territories[p]->slits.empty()) {
                slitCovers_[p] = std::make_unique<const SlitCover>(cover, territories[p]->slits);
            }
        }
    }

    LaidOut settled(double least) {
        for (int round = 0; round < roundsOfGiving && !areGood(); ++round) {
            giveAway();
            if (isOver() || shares_.coveredShare() < least - mostGained) {
                return {};
            }
        }
        forEach_(attempts_.size(), [&](std::size_t p) { cutOff(p); });
        for (std::size_t p = 0; p < attempts_.size(); ++p) {
            if (!limits_[p].empty()) {
                claims_.leave(p, limits_[p]);
            }
        }
        return result();
    }

private:
    const Ground& ground() const { return cover_.ground; }
    bool isOver() const { return cover_.isOver && cover_.isOver(); }

    bool isOwn(std::size_t p, std::size_t v) const {
        return shares_.labels()[v] == static_cast<std::int32_t>(p);
    }

    // Drapes all shares that aren't what they were when they were draped before.
    bool areGood() {
        forEach_(attempts_.size(), [&](std::size_t p) { attempt(p); });
        return std::all_of(attempts_.begin(), attempts_.end(),
                           [](const Attempt& one) { return one.drape || !one.mould; });
    }

    void giveAway() {
        for (std::size_t p = 0; p < attempts_.size(); ++p) {
            if (attempts_[p].mould && !attempts_[p].drape) {
                shares_.limit(p, attempts_[p].limit);
            }
        }
        claims_ = CoverClaims(ground(), shares_);
    }

    // Drapes a piece until what is left of it is good.
    void cutOff(std::size_t p) {
        for (int round = 0; round < roundsOfCuttingOff && attempts_[p].mould && !attempts_[p].drape;
             ++round) {
            Field& limit = limits_[p];
            limit.resize(ground().vertexCount(), infinite);
            std::transform(limit.begin(), limit.end(), attempts_[p].limit.begin(), limit.begin(),
                           [](double a, double b) { return std::min(a, b); });
            keepLargestPart(p, limit);
            attempt(p);
        }
    }

    void keepLargestPart(std::size_t p, Field& limit) const {
        std::vector<char> isOpen(limit.size());
        std::vector<std::int32_t> vertices;
        for (std::size_t v = 0; v < limit.size(); ++v) {
            isOpen[v] = isOwn(p, v) && limit[v] > 0.0 ? 1 : 0;
            if (isOpen[v] != 0) {
                vertices.push_back(static_cast<std::int32_t>(v));
            }
        }
        const std::vector<GroundPart> parts = openParts(ground(), vertices, isOpen);
        const auto largest = largestOf(ground(), parts);
        for (auto part = parts.begin(); part != parts.end(); ++part) {
            for (std::size_t k = 0; k < part->size() && part != largest; ++k) {
                limit[at((*part)[k])] = -step_;
            }
        }
    }

    // Drapes a piece from a few starts, until one is good or nearly so.
    void attempt(std::size_t p) {
        const std::vector<double> reach = claims_.reachOf(p, beyond_, limits_[p]);
        Attempt now;
        now.start = attempts_[p].start;
        now.lies.resize(ground().vertexCount());
        Field wanted(now.lies.size(), -1.0);
        for (std::size_t v = 0; v < wanted.size(); ++v) {
            wanted[v] = isOwn(p, v) && reach[v] > 0.0 ? 1.0 : -1.0;
            now.lies[v] = reach[v] > 0.0 && (beyond_ > 0.0 || isOwn(p, v)) ? 1 : 0;
        }
        Sheet part = claims_.partUnder(p, beyond_, reach);
        if (std::find(wanted.begin(), wanted.end(), 1.0) != wanted.end() && !part.mesh.triangles.empty()) {
            now.mould = std::make_shared<const Mould>(mouldOf(std::move(part)));
        }
        const Attempt& before = attempts_[p];
        if (now.mould && before.mould && now.mould->positions == before.mould->positions &&
            now.mould->corners == before.mould->corners) {
            return;
        }
        if (now.mould && !drape(p, now, now.start, wanted)) {
            const std::vector<PieceStart> starts = startsOn(now.lies, now.start);
            std::any_of(starts.begin(), starts.end(),
                        [&](const PieceStart& start) { return drape(p, now, start, wanted); });
        }
        if (now.mould && !now.drape && now.limit.empty()) {
            now.limit.assign(now.lies.size(), -step_); // no cloth starts anywhere on it
        }
        attempts_[p] = std::move(now);
    }

    // Drapes from one more start, with the darts of the piece's territory. True if that is good, or so nearly
    // that no other need be tried.
    bool drape(std::size_t p, Attempt& attempt, const PieceStart& start, const Field& own) const {
        const SlitCover* slit = slitCovers_[p].get();
        const CoverGround& cover = slit != nullptr ? slit->cover() : cover_;
        const Field wanted = slit != nullptr ? slit->extended(own) : own;
        try {
            SlitMould on = slit != nullptr ? slitMould(*attempt.mould, territories_[p]->slits)
                                           : SlitMould{attempt.mould, {}};
            Trial trial = drapePart(cover, on.mould, start);
            Check check = checked(cover, trial, wanted);
            if (check.good) {
                trial.measures = measure(*on.mould, trial.grid, cover_.wishes.lockingAngle);
                const std::optional<GoodWishes> less = lessThan(trial.measures.net);
                if (!less && trial.measures.doubledShare <= mostDoubled &&
                    (trial.measures.coveredShare > nearlyAll ||
                     keptBy(attempt, insideOf(check.region, step_)) == 1.0)) {
                    attempt.start = start;
                    attempt.slits = std::move(on.lines);
                    attempt.drape = std::move(trial);
                    return true;
                }
                if (less) {
                    check.region =
                        goodRegionOf(cover.ground, trial.grid, trial.measures.cells, *less, wanted);
                }
            }
            Field inside = insideOf(check.region, step_);
            if (keptBy(attempt, inside) == 1.0) {
                // Nothing says which place is to blame, as where cloth lies over cloth here and there.
                takeOffAround(attempt.lies, inside);
            }
            takeIfBetter(attempt, start, std::move(inside));
        } catch (const InputError&) {
            // No cloth starts there.
        }
        return attempt.kept > 1.0 - smallLoss;
    }

    // Lowers a field so that a piece loses a cell along its edges, but for those of the surface.
    void takeOffAround(const std::vector<char>& lies, Field& inside) const {
        std::vector<std::int32_t> others;
        for (std::size_t v = 0; v < lies.size(); ++v) {
            if (lies[v] == 0) {
                others.push_back(static_cast<std::int32_t>(v));
            }
        }
        const Field away = distancesAlong(ground().mesh, others);
        for (std::size_t v = 0; v < lies.size(); ++v) {
            inside[v] = std::min(inside[v], away[v] - step_);
        }
    }

    // Narrower limits for a pattern that is larger than the cloth.
    std::optional<GoodWishes> lessThan(const NetPattern& net) const {
        GoodWishes less(cover_.good);
        const double along = net.extent[2] - net.extent[0] - less.mostAlongWarp;
        const double across = net.extent[3] - net.extent[1] - less.mostAlongWeft;
        less.mostAlongWarp -= along > 0.0 ? along + besideExtent * step_ : 0.0;
        less.mostAlongWeft -= across > 0.0 ? across + besideExtent * step_ : 0.0;
        return along > 0.0 || across > 0.0 ? std::optional(less) : std::nullopt;
    }

    // The share of the vertices on the mould at which a field is above 0. On a slit ground these come first.
    double keptBy(const Attempt& attempt, const Field& inside) const {
        double all = 0.0;
        double lost = 0.0;
        for (std::size_t v = 0; v < attempt.lies.size(); ++v) {
            all += attempt.lies[v] != 0 ? ground().areas[v] : 0.0;
            lost += attempt.lies[v] != 0 && !(inside[v] > 0.0) ? ground().areas[v] : 0.0;
        }
        return 1.0 - lost / all;
    }

    // Off the mould, next to it, a limit is the mean of the vertices beside, so that it says nothing about
    // the seam there.
    void takeIfBetter(Attempt& attempt, const PieceStart& start, Field inside) const {
        const double kept = keptBy(attempt, inside);
        if (!attempt.limit.empty() && kept <= attempt.kept) {
            return;
        }
        attempt.kept = kept;
        attempt.start = start;
        attempt.limit.assign(attempt.lies.size(), infinite);
        for (std::size_t v = 0; v < attempt.lies.size(); ++v) {
            double sum = 0.0;
            double count = 0.0;
            for (const std::int32_t next : ground().around(static_cast<std::int32_t>(v))) {
                sum += attempt.lies[at(next)] != 0 ? inside[at(next)] : 0.0;
                count += attempt.lies[at(next)] != 0 ? 1.0 : 0.0;
            }
            attempt.limit[v] = attempt.lies[v] != 0 ? inside[v] : count > 0.0 ? sum / count : infinite;
        }
    }

    // Inside of a piece: the old start, if it lies there, the place with most room, and others far from
    // these.
    std::vector<PieceStart> startsOn(const std::vector<char>& lies, const PieceStart& old) const {
        const std::vector<Point>& places = ground().mesh.positions;
        std::vector<std::int32_t> others;
        for (std::size_t v = 0; v < lies.size(); ++v) {
            if (lies[v] == 0 || ground().nearRim[v] != 0) {
                others.push_back(static_cast<std::int32_t>(v));
            }
        }
        const Field room = distancesAlong(ground().mesh, others);
        const auto roomiest =
            static_cast<std::size_t>(std::max_element(room.begin(), room.end()) - room.begin());
        std::vector<char> isOpen(lies.size());
        for (std::size_t v = 0; v < lies.size(); ++v) {
            isOpen[v] = lies[v] != 0 && room[v] >= wellInside * room[roomiest] ? 1 : 0;
        }
        std::vector<PieceStart> starts{{places[roomiest], old.angle}};
        for (const std::size_t v :
             farApart(ground(), isOpen, {old.seed, places[roomiest]}, mostStarts - 2, step_)) {
            starts.push_back({places[v], old.angle});
        }
        return starts;
    }

    LaidOut result() {
        LaidOut result;
        PieceSet& cover = result.set;
        std::vector<std::int32_t> numbers(attempts_.size(), bare);
        for (std::size_t p = 0; p < attempts_.size(); ++p) {
            if (attempts_[p].drape) {
                numbers[p] = static_cast<std::int32_t>(cover.pieces.size());
                CoverPiece& piece = cover.pieces.emplace_back();
                piece.start = attempts_[p].start;
                piece.drape = std::move(*attempts_[p].drape);
                piece.darts = dartsOn(piece.drape.measures.net, attempts_[p].slits, step_);
                result.territories.push_back(p);
            }
        }
        const Neighbours neighbours = topologyOf(claims_.mesh()).neighbours;
        cover.claims = std::make_shared<const Mould>(mouldOf(claims_.mesh()));
        for (const std::int32_t piece : claims_.pieces()) {
            cover.claimOf.push_back(piece == bare ? bare : numbers[at(piece)]);
        }
        addUp(cover);
        addSeams(cover, neighbours);
        return result;
    }

    // A claim holds where cloth of the piece lies, judged as the cover of any drape is, if there is a doubt.
    static void leaveBare(PieceSet& cover) {
        std::vector<double> areas(cover.pieces.size(), 0.0);
        for (std::size_t t = 0; t < cover.claimOf.size(); ++t) {
            if (cover.claimOf[t] != bare) {
                areas[at(cover.claimOf[t])] += cover.claims->facets[t].area;
            }
        }
        for (std::size_t p = 0; p < cover.pieces.size(); ++p) {
            const Trial& drape = cover.pieces[p].drape;
            if (drape.measures.net.reachesEdge() && areas[p] <= (1.0 + sameArea) * drape.mould->area) {
                continue;
            }
            const CellCover cells(drape.grid, drape.measures.cells);
            CellCover::Hint hint;
            for (std::size_t t = 0; t < cover.claimOf.size(); ++t) {
                if (cover.claimOf[t] == static_cast<std::int32_t>(p) &&
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
    const ForEach& forEach_;
    double beyond_; // of each piece over its neighbours, in the mould's unit
    double step_;
    TerritoryShares shares_;
    CoverClaims claims_;
    std::vector<const Territory*> territories_;
    std::vector<std::unique_ptr<const SlitCover>> slitCovers_; // per territory; null without darts
    std::vector<Attempt> attempts_;                            // per territory
    std::vector<Field> limits_; // of each, what it can't have but no other may; empty for none
};

} // namespace

LaidOut laidOut(const CoverGround& cover, const CoverWishes& wishes,
                const std::vector<const Territory*>& territories, double least, const ForEach& forEach) {
    return Layout(cover, wishes, territories, forEach).settled(least);
}

} // namespace drape::host
