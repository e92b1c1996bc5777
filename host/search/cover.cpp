// Candidates come in batches. The first spreads seeds over the surface; each later one looks at the best
// choice so far and draws seeds where it is bare, or where it would be with a piece less, and around the
// seeds that were taken.
#include "host/search/cover.h"

#include "host/search/cover_layout.h"

#include <algorithm>

namespace drape::host {

using namespace vec;

namespace {

constexpr std::size_t firstSeeds = 32;
constexpr std::size_t batchSize = 16;
constexpr std::size_t usualBatches = 8;
constexpr std::size_t batchesInVain = 3; // that gain next to nothing, before the search usually ends
constexpr double nextToNothing = 2e-3;   // of the area
constexpr double leastGain = 1e-3;       // of the area, for a piece more
constexpr std::size_t mostPieces = 99;
constexpr int mostAdditions = 5;
constexpr double moreShare = 2e-3; // asked for beside, as a layout can lose it

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
    Search(const CoverGround& cover, const CoverWishes& wishes, const TerritorySpread& spread)
        : cover_(cover), wishes_(wishes), spread_(spread), dice_(1) {}

    // False if `heard` ended it.
    bool run(const GoOn& heard, bool endless) {
        if (tried_ == 0) {
            drape(firstStarts());
        }
        std::size_t inVain = 0;
        for (std::size_t batch = 0; endless || (batch < usualBatches && inVain < batchesInVain); ++batch) {
            if (heard && !heard({tried_, best_.taken.size(), best_.coveredShare})) {
                return false;
            }
            const CoverChoice before = best_;
            drape(nextStarts());
            const bool reached = best_.coveredShare >= wishes_.share;
            const bool fewer =
                reached && (before.coveredShare < wishes_.share || best_.taken.size() < before.taken.size());
            const bool better = fewer || best_.coveredShare > before.coveredShare + nextToNothing;
            inVain = better ? 0 : inVain + 1;
        }
        return true;
    }

    // Whether a set is better than another.
    bool beats(const PieceSet& a, const PieceSet& b) const {
        const bool reachesA = a.coveredShare >= wishes_.share;
        const bool reachesB = b.coveredShare >= wishes_.share;
        if (reachesA != reachesB) {
            return reachesA;
        }
        if (!reachesA && std::abs(a.coveredShare - b.coveredShare) > nextToNothing) {
            return a.coveredShare > b.coveredShare;
        }
        return a.pieces.size() != b.pieces.size() ? a.pieces.size() < b.pieces.size()
                                                  : a.seamLength < b.seamLength;
    }

    // Lays the best choice out. What that leaves bare, since not every piece drapes as it is cut, gets
    // further pieces beside those that are settled.
    PieceSet laid() {
        std::vector<Territory> left;
        PieceSet best = laidOut(cover_, wishes_, territories_, best_.taken, left);
        for (int k = 0; k < mostAdditions && best.coveredShare < wishes_.share && !left.empty(); ++k) {
            std::vector<std::size_t> kept;
            for (const Territory& territory : left) {
                kept.push_back(territories_.size());
                territories_.push_back(territory);
            }
            drape(startsOutside(kept));
            const CoverChoice choice =
                chosenOf(ground(), territories_, std::min(1.0, wishes_.share + moreShare),
                         0.5 * wishes_.overlap, leastGain, mostPieces, kept);
            std::vector<Territory> nextLeft;
            PieceSet next = laidOut(cover_, wishes_, territories_, choice.taken, nextLeft);
            territories_.erase(territories_.begin() + static_cast<std::ptrdiff_t>(kept.front()),
                               territories_.begin() + static_cast<std::ptrdiff_t>(kept.back()) + 1);
            if (beats(next, best)) {
                best = std::move(next);
                left = std::move(nextLeft);
            }
        }
        best_ = choose(wishes_.share, mostPieces);
        return best;
    }

private:
    const Ground& ground() const { return cover_.ground; }
    const Point& place(std::size_t v) const { return ground().mesh.positions[v]; }

    CoverChoice choose(double share, std::size_t most) const {
        return chosenOf(ground(), territories_, share, 0.5 * wishes_.overlap, leastGain, most);
    }

    void drape(const std::vector<PieceStart>& starts) {
        for (Territory& territory :
             spread_(starts, [&](const PieceStart& start) { return territoryOf(cover_, start); })) {
            if (!territory.vertices.empty()) {
                territories_.push_back(std::move(territory));
            }
        }
        tried_ += starts.size();
        best_ = choose(wishes_.share, mostPieces);
    }

    double anyAngle() {
        const double turn = cover_.surface.steps[0] == cover_.surface.steps[1] ? 90.0 : 180.0;
        return wishes_.angle + (wishes_.freeAngles ? turn * dice_.share() : 0.0);
    }

    // `count` vertices with `weight` above 0 as far as can be from each other and from `from`.
    std::vector<std::size_t> farApart(const std::vector<char>& isOpen, std::vector<Point> from,
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
        const std::vector<char> all(ground().vertexCount(), 1);
        for (const std::size_t v : farApart(all, {cover_.surface.defaultSeed}, firstSeeds - 1)) {
            starts.push_back({place(v), anyAngle()});
        }
        return starts;
    }

    // Anywhere outside of some territories, a batch of them.
    std::vector<PieceStart> startsOutside(const std::vector<std::size_t>& taken) {
        std::vector<char> isBare(ground().vertexCount(), 1);
        for (const std::size_t index : taken) {
            for (const std::int32_t v : territories_[index].vertices) {
                isBare[at(v)] = 0;
            }
        }
        std::vector<std::size_t> open;
        for (std::size_t v = 0; v < isBare.size(); ++v) {
            if (isBare[v] != 0) {
                open.push_back(v);
            }
        }
        std::vector<PieceStart> starts;
        while (starts.size() < batchSize && !open.empty()) {
            const Point& seed = place(open[dice_.below(open.size())]);
            starts.push_back({seed, anyAngle()});
        }
        return starts;
    }

    std::vector<PieceStart> nextStarts() {
        const bool reached = best_.coveredShare >= wishes_.share;
        const CoverChoice choice =
            reached && best_.taken.size() > 1 ? choose(wishes_.share, best_.taken.size() - 1) : best_;
        std::vector<PieceStart> starts = startsOutside(choice.taken);
        starts.resize(std::min(starts.size(), batchSize / 2));
        while (starts.size() < batchSize && !choice.taken.empty()) {
            const Territory& near = territories_[choice.taken[starts.size() % choice.taken.size()]];
            const auto v = at(near.vertices[dice_.below(near.vertices.size())]);
            starts.push_back({mix(near.start.seed, place(v), 0.6), anyAngle()});
        }
        return starts;
    }

    const CoverGround& cover_;
    const CoverWishes& wishes_;
    const TerritorySpread& spread_;
    Dice dice_;
    std::vector<Territory> territories_;
    CoverChoice best_;
    std::size_t tried_ = 0;
};

} // namespace

PieceSet coveredBy(const Surface& surface, const TrialWishes& trial, const CoverWishes& wishes,
                   const TerritorySpread& spread, const GoOn& heard, bool endless) {
    const CoverGround cover = coverGroundOf(surface, trial, wishes.most);
    Search search(cover, wishes, spread);
    const bool goesOn = search.run(heard, false) && endless;
    PieceSet set = search.laid();
    if (goesOn) {
        search.run(heard, true);
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
    const std::vector<Territory> one{territoryOf(cover, start)};
    std::vector<Territory> left;
    return one.front().vertices.empty() ? PieceSet{} : laidOut(cover, wishes, one, {0}, left);
}

} // namespace drape::host
