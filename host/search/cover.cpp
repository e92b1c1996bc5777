// Pieces are planned one after the other. From many starts in what is bare the one that adds most is taken,
// until enough is covered; several first pieces are carried on like that. Then pieces of the best plan are
// given up again, one or a few side by side, and what gets bare is covered anew, with fewer if that goes.
#include "host/search/cover.h"

#include "host/mesh/patch.h"
#include "host/search/cover_layout.h"
#include "host/search/cover_plan.h"

#include <algorithm>

namespace drape::host {

using namespace vec;

namespace {

constexpr std::size_t firstSeeds = 24;
constexpr std::size_t firstPieces = 3;  // that plans are made from
constexpr double sameFirst = 0.8;       // of its area under an other one, for a first piece not to count
constexpr std::size_t freshSeeds = 6;   // for each further piece
constexpr std::size_t knownSeeds = 3;   // beside, of those that were tried on the whole surface
constexpr std::size_t usualTries = 200; // after which no further change is begun
constexpr std::size_t changesInVain = 8;
constexpr double nextToNothing = 2e-3; // of the area
constexpr double leastGain = 1e-3;     // of the area, for a piece more
constexpr std::size_t mostPieces = 99;
constexpr int mostAdditions = 3;
constexpr double moreShare = 2e-3; // asked for beside, as a layout can lose it
constexpr double wellInside = 0.3; // of the most room there is around a seed

// Numbers that are the same on every machine.
class Dice {
public:
    explicit Dice(std::uint64_t seed) : state_(seed) {}

    double share() { return static_cast<double>(next() >> 11U) * 0x1p-53; }
    std::size_t below(std::size_t count) { return static_cast<std::size_t>(next() % count); }

private:
    std::uint64_t next() {
        std::uint64_t z = state_ += 0x9e3779b97f4a7c15U;
        z = (z ^ (z >> 30U)) * 0xbf58476d1ce4e5b9U;
        z = (z ^ (z >> 27U)) * 0x94d049bb133111ebU;
        return z ^ (z >> 31U);
    }

    std::uint64_t state_;
};

class Search {
public:
    Search(const CoverGround& cover, const CoverWishes& wishes, const TerritorySpread& spread,
           const GoOn& heard)
        : cover_(cover), wishes_(wishes), spread_(spread), heard_(heard), dice_(1),
          best_(cover, wishes.overlap) {}

    bool isStopped() const { return stopped_; }

    void begin() {
        const CoverPlan none(cover_, wishes_.overlap);
        known_ = draped(firstStarts(), none);
        std::vector<Territory> firsts;
        std::vector<Territory> byArea(known_);
        std::stable_sort(byArea.begin(), byArea.end(),
                         [](const Territory& a, const Territory& b) { return a.area > b.area; });
        for (const Territory& territory : byArea) {
            if (firsts.size() < firstPieces && std::none_of(firsts.begin(), firsts.end(), [&](const auto& f) {
                    return sharedArea(f, territory) > sameFirst * territory.area;
                })) {
                firsts.push_back(territory);
            }
        }
        for (const Territory& first : firsts) {
            CoverPlan plan(none);
            plan.add(first);
            carryOn(std::move(plan), {});
        }
    }

    // Gives up pieces and covers anew what gets bare, as often as is usual or until it is stopped.
    void improve(bool endless) {
        std::size_t inVain = 0;
        while (!stopped_ && !best_.territories().empty() &&
               (endless || (tried_ < usualTries && inVain < changesInVain))) {
            const std::size_t count = best_.territories().size();
            const double share = best_.coveredShare();
            change();
            const bool gained =
                best_.territories().size() < count || best_.coveredShare() > share + nextToNothing;
            inVain = gained ? 0 : inVain + 1;
        }
    }

    // Whether a set is better than another.
    bool beats(const PieceSet& a, const PieceSet& b) const {
        return isBetter({a.coveredShare, a.pieces.size(), a.seamLength},
                        {b.coveredShare, b.pieces.size(), b.seamLength}, wishes_.share);
    }

    // Lays the best plan out. What that leaves bare, as a piece may not drape as it was cut, gets further
    // pieces beside those that are settled.
    PieceSet laid() {
        std::vector<Territory> left;
        PieceSet best = laidOut(cover_, wishes_, best_.territories(), left);
        for (int k = 0; k < mostAdditions && best.coveredShare < wishes_.share && !left.empty(); ++k) {
            CoverPlan plan(cover_, wishes_.overlap);
            for (const Territory& territory : left) {
                plan.add(territory);
            }
            const double lost = std::max(0.0, plan.coveredShare() - best.coveredShare);
            addPieces(plan, {}, mostPieces, std::min(1.0 - 1e-9, wanted() + lost));
            std::vector<Territory> nextLeft;
            PieceSet next = laidOut(cover_, wishes_, plan.territories(), nextLeft);
            if (!beats(next, best)) {
                break;
            }
            best = std::move(next);
            left = std::move(nextLeft);
        }
        return best;
    }

private:
    struct Worth {
        double share;
        std::size_t pieces;
        double seams;
    };

    static bool isBetter(const Worth& a, const Worth& b, double share) {
        if ((a.share >= share) != (b.share >= share)) {
            return a.share >= share;
        }
        if (a.share < share && std::abs(a.share - b.share) > nextToNothing) {
            return a.share > b.share;
        }
        return a.pieces != b.pieces ? a.pieces < b.pieces : a.seams < b.seams;
    }

    const Ground& ground() const { return cover_.ground; }
    const Point& place(std::size_t v) const { return ground().mesh.positions[v]; }
    double wanted() const { return std::min(1.0 - 1e-9, wishes_.share + moreShare); }

    double sharedArea(const Territory& a, const Territory& b) const {
        std::vector<char> inA(ground().vertexCount(), 0);
        for (std::size_t k = 0; k < a.vertices.size(); ++k) {
            inA[at(a.vertices[k])] = a.depths[k] > 0.0F ? 1 : 0;
        }
        double shared = 0.0;
        for (std::size_t k = 0; k < b.vertices.size(); ++k) {
            const std::size_t v = at(b.vertices[k]);
            shared += b.depths[k] > 0.0F && inA[v] != 0 ? ground().areas[v] : 0.0;
        }
        return shared;
    }

    // Those that cover something, in order. None once the search is stopped.
    std::vector<Territory> draped(const std::vector<PieceStart>& starts, const CoverPlan& plan) {
        stopped_ =
            stopped_ || (heard_ && !heard_({tried_, best_.territories().size(), best_.coveredShare()}));
        std::vector<Territory> territories;
        if (stopped_ && tried_ > 0) {
            return territories;
        }
        std::vector<PieceTry> tries;
        const std::shared_ptr<const Room> room = plan.room();
        for (const PieceStart& start : starts) {
            tries.push_back({start, room});
        }
        territories = spread_(tries, [&](const PieceTry& piece) { return territoryOf(cover_, piece); });
        tried_ += starts.size();
        std::erase_if(territories, [](const Territory& t) { return t.vertices.empty(); });
        return territories;
    }

    // Adds pieces until `share` is covered or there are `most`.
    void addPieces(CoverPlan& plan, const std::vector<PieceStart>& first, std::size_t most, double share) {
        while (plan.coveredShare() < share && plan.territories().size() < most) {
            std::vector<PieceStart> starts = startsIn(plan);
            starts.insert(starts.begin(), first.begin(), first.end());
            const std::vector<Territory> found = draped(starts, plan);
            double mostGain = leastGain * ground().area;
            const Territory* best = nullptr;
            for (const Territory& territory : found) {
                const double gain = plan.gainOf(territory);
                if (gain > mostGain) {
                    mostGain = gain;
                    best = &territory;
                }
            }
            if (best == nullptr) {
                return;
            }
            plan.add(*best);
        }
    }

    void carryOn(CoverPlan plan, const std::vector<PieceStart>& first) {
        const bool reached = best_.coveredShare() >= wanted();
        addPieces(plan, first, reached ? best_.territories().size() : mostPieces, wanted());
        if (best_.territories().empty() || isBetter(worthOf(plan), worthOf(best_), wanted())) {
            best_ = std::move(plan);
        }
    }

    static Worth worthOf(const CoverPlan& plan) {
        return {plan.coveredShare(), plan.territories().size(), plan.seamLength()};
    }

    void change() {
        const std::vector<Territory>& taken = best_.territories();
        const std::size_t first = dice_.below(taken.size());
        std::vector<std::pair<double, std::size_t>> near;
        for (std::size_t k = 0; k < taken.size(); ++k) {
            near.emplace_back(distance(taken[k].start.seed, taken[first].start.seed), k);
        }
        std::sort(near.begin(), near.end());
        near.resize(std::min(near.size(), 1 + dice_.below(3)));
        std::vector<std::size_t> given;
        std::vector<PieceStart> starts;
        for (const auto& [d, k] : near) {
            given.push_back(k);
            starts.push_back(taken[k].start);
        }
        carryOn(best_.without(given), starts);
    }

    double anyAngle() {
        const double turn = cover_.surface.steps[0] == cover_.surface.steps[1] ? 90.0 : 180.0;
        return wishes_.angle + (wishes_.freeAngles ? turn * dice_.share() : 0.0);
    }

    // `count` open vertices as far as can be from each other and from `from`.
    std::vector<std::size_t> farApart(const std::vector<char>& isOpen, const std::vector<Point>& from,
                                      std::size_t count) const {
        std::vector<double> room(isOpen.size());
        for (std::size_t v = 0; v < room.size(); ++v) {
            room[v] = isOpen[v] != 0 ? std::numeric_limits<double>::infinity() : -1.0;
            for (const Point& point : from) {
                room[v] = std::min(room[v], distance(place(v), point));
            }
        }
        std::vector<std::size_t> found;
        while (found.size() < count) {
            const auto farthest = std::max_element(room.begin(), room.end());
            if (!(*farthest > 0.0)) {
                break;
            }
            found.push_back(static_cast<std::size_t>(farthest - room.begin()));
            for (std::size_t v = 0; v < room.size(); ++v) {
                room[v] = std::min(room[v], distance(place(v), place(found.back())));
            }
        }
        return found;
    }

    std::vector<PieceStart> firstStarts() {
        std::vector<PieceStart> starts{{cover_.surface.defaultSeed, anyAngle()}};
        std::vector<char> open(ground().vertexCount());
        std::transform(ground().nearRim.begin(), ground().nearRim.end(), open.begin(),
                       [](char near) { return near != 0 ? 0 : 1; });
        for (const std::size_t v : farApart(open, {cover_.surface.defaultSeed}, firstSeeds - 1)) {
            starts.push_back({place(v), anyAngle()});
        }
        return starts;
    }

    // In what a plan leaves bare: where most is free around, far apart from that, anywhere, and those that
    // did most there on the whole surface.
    std::vector<PieceStart> startsIn(const CoverPlan& plan) {
        const std::vector<std::int32_t>& labels = plan.labels();
        std::vector<std::int32_t> ends;
        for (std::size_t v = 0; v < labels.size(); ++v) {
            if (labels[v] >= 0 || ground().nearRim[v] != 0) {
                ends.push_back(static_cast<std::int32_t>(v));
            }
        }
        std::vector<PieceStart> starts;
        const std::vector<double> inside = distancesAlong(ground().mesh, ends);
        const auto deepest = std::max_element(inside.begin(), inside.end());
        if (*deepest > 0.0) {
            std::vector<char> open(inside.size());
            std::vector<std::size_t> places;
            for (std::size_t v = 0; v < open.size(); ++v) {
                open[v] = inside[v] >= wellInside * *deepest ? 1 : 0;
                if (open[v] != 0) {
                    places.push_back(v);
                }
            }
            const auto middle = static_cast<std::size_t>(deepest - inside.begin());
            starts.push_back({place(middle), anyAngle()});
            for (const std::size_t v : farApart(open, {place(middle)}, freshSeeds / 2)) {
                starts.push_back({place(v), anyAngle()});
            }
            while (starts.size() < freshSeeds) {
                starts.push_back({place(places[dice_.below(places.size())]), anyAngle()});
            }
        }
        std::vector<std::pair<double, std::size_t>> gains;
        for (std::size_t k = 0; k < known_.size(); ++k) {
            gains.emplace_back(-plan.gainOf(known_[k]), k);
        }
        std::sort(gains.begin(), gains.end());
        for (std::size_t k = 0; k < std::min(knownSeeds, gains.size()) && gains[k].first < 0.0; ++k) {
            starts.push_back(known_[gains[k].second].start);
        }
        return starts;
    }

    const CoverGround& cover_;
    const CoverWishes& wishes_;
    const TerritorySpread& spread_;
    const GoOn& heard_;
    Dice dice_;
    std::vector<Territory> known_; // on the whole surface
    CoverPlan best_;
    std::size_t tried_ = 0;
    bool stopped_ = false;
};

} // namespace

PieceSet coveredBy(const Surface& surface, const TrialWishes& trial, const CoverWishes& wishes,
                   const TerritorySpread& spread, const GoOn& heard, bool endless) {
    const CoverGround cover = coverGroundOf(surface, trial, wishes.most);
    Search search(cover, wishes, spread, heard);
    search.begin();
    search.improve(false);
    PieceSet set = search.laid();
    if (endless && !search.isStopped()) {
        search.improve(true);
        PieceSet later = search.laid();
        if (search.beats(later, set)) {
            set = std::move(later);
        }
    }
    return set;
}

PieceSet pieceFrom(const Surface& surface, const TrialWishes& trial, const CoverWishes& wishes,
                   const PieceStart& start) {
    const CoverGround cover = coverGroundOf(surface, trial, wishes.most);
    const std::vector<Territory> one{territoryOf(cover, {start, nullptr})};
    std::vector<Territory> left;
    return one.front().vertices.empty() ? PieceSet{} : laidOut(cover, wishes, one, left);
}

} // namespace drape::host
