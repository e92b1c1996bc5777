// Territories are collected from starts all over the surface and the best few of them chosen, which shows
// where others are wanted: in what is bare, and around pieces that might be saved. What is found there joins
// the collection, and the choice is made anew. Each choice that is better than those before is laid out.
#include "host/search/cover.h"

#include "host/mesh/patch.h"
#include "host/search/cover_layout.h"
#include "host/search/dart_search.h"
#include "host/search/ground_parts.h"
#include "host/search/territory_pool.h"
#include "host/search/territory_shares.h"

#include <algorithm>
#include <atomic>
#include <optional>
#include <set>

namespace drape::host {

using namespace vec;

namespace {

constexpr std::size_t firstSeeds = 24;
constexpr std::size_t freshSeeds = 4;    // in what is bare, or would be without some pieces
constexpr std::size_t usualTries = 100;  // after which no further are begun
constexpr std::size_t triesInNeed = 250; // the same where not enough is covered
constexpr std::size_t roundsInVain = 12;
constexpr std::size_t mostInPool = 800;
constexpr std::size_t fewerAtATime = 3; // choices with fewer pieces that are looked at
constexpr double allButRounding = 1e-9; // of the area
constexpr double leastBare = 1e-3;      // of the area, to look for pieces there
constexpr double onTop = 1e-3;          // of the area, asked for beside what layouts lose
constexpr double mostOnTop = 1.5e-2;
constexpr double wellInside = 0.3; // of the most room there is around a seed
constexpr double roomBeyond = 4.0; // cells around what is bare, for pieces that fill it
constexpr std::size_t triedWithDarts = 6;
constexpr std::size_t dartBatch = 2;       // of these at a time, as each is a search by itself
constexpr std::size_t roundsWithDarts = 4; // of choices, once pieces with darts are known
constexpr double worthOfDarts = 0.01;      // of the area, where the share isn't reached

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

// What a choice is judged by, before it is laid out and after.
struct Worth {
    double share = 0.0;
    std::size_t pieces = 0;
    double seams = 0.0; // length, with about that of what is bare between pieces
};

// Enough covered, then few pieces, then short seams; where not enough is covered, most covered. Without any
// tolerance, as many steps that each lose next to nothing would lose something.
bool isBetter(const Worth& a, const Worth& b, double share) {
    if (a.share < share || b.share < share) {
        return a.share != b.share ? a.share > b.share : a.pieces < b.pieces;
    }
    return a.pieces != b.pieces ? a.pieces < b.pieces : a.seams < b.seams;
}

bool hasDarts(const PieceSet& set) {
    return std::any_of(set.pieces.begin(), set.pieces.end(),
                       [](const CoverPiece& piece) { return !piece.darts.empty(); });
}

// Whether a set with darts saves a piece against one without.
bool savesPiece(const Worth& darted, const Worth& plain, double share) {
    if (darted.share < share) {
        return darted.pieces <= plain.pieces && darted.share > plain.share + worthOfDarts;
    }
    return plain.share < share ? darted.pieces <= plain.pieces : darted.pieces < plain.pieces;
}

class Search {
public:
    Search(CoverGround cover, const CoverWishes& wishes, const TerritorySpread& spread,
           const ForEach& forEach, const GoOn& heard, const IsOver& isOver)
        : cover_(std::move(cover)), wishes_(wishes), spread_(spread), forEach_(forEach), heard_(heard),
          isOver_(isOver), dice_(1), pool_(cover_, wishes.overlap),
          wanted_(std::min(1.0 - allButRounding, wishes.share + onTop)) {
        if (isOver) {
            cover_.isOver = [this] { return hasSet_ && isOver_(); };
        }
    }
    Search(const Search&) = delete;
    Search& operator=(const Search&) = delete;

    // The best set of all that were laid out, which are the first of one sequence that doesn't hang on when
    // it is stopped.
    PieceSet found(bool endless) {
        tryAll(firstStarts(), {nullptr});
        std::size_t inVain = 0;
        do {
            inVain = choose() ? 0 : inVain + 1;
            if (inVain >= roundsInVain || hasTriedEnough()) {
                lookForDarts();
                if (!endless) {
                    break;
                }
            }
            lookAround();
        } while (!stopped_);
        return std::move(best_);
    }

private:
    const Ground& ground() const { return cover_.ground; }
    const Point& place(std::size_t v) const { return ground().mesh.positions[v]; }

    bool isOver() const { return cover_.isOver && cover_.isOver(); }
    bool reaches() const { return best_.coveredShare >= wishes_.share; }

    bool hasTriedEnough() const { return tried_ >= (reaches() ? usualTries : triesInNeed); }

    // A choice, and what each of it would have.
    struct Option {
        Chosen chosen; // none for no option
        std::optional<TerritoryShares> shares;
    };

    // Tries the largest pieces of all and of the best set with darts, batch by batch, and carries on from
    // them.
    void lookForDarts() {
        const bool isOne = best_.pieces.size() == 1 && best_.coveredShare >= wishes_.share;
        if (wishes_.darts == 0 || isOne) {
            return;
        }
        Chosen largest = pool_.firstOnes();
        largest.insert(largest.end(), chosen_.begin(), chosen_.end());
        std::stable_sort(largest.begin(), largest.end(),
                         [&](std::size_t a, std::size_t b) { return pool_[a].area > pool_[b].area; });
        std::vector<PieceStart> starts;
        for (const std::size_t k : largest) {
            if (starts.size() < triedWithDarts && areTriedWithDarts_.insert(pool_[k].start.seed).second) {
                starts.push_back(pool_[k].start);
            }
        }
        for (std::size_t k = 0; k < starts.size() && !stopped_; k += dartBatch) {
            darts_ = wishes_.darts;
            const auto first = starts.begin() + static_cast<std::ptrdiff_t>(k);
            tryAll({first, first + static_cast<std::ptrdiff_t>(std::min(dartBatch, starts.size() - k))},
                   {nullptr});
            darts_ = 0;
            choose();
        }
        for (std::size_t k = 0; k < roundsWithDarts && !starts.empty() && !stopped_; ++k) {
            choose();
        }
    }

    // Carries on from the best, from what was left of it, and from one of the large territories after the
    // other. True if that gives a better set.
    bool choose() {
        std::vector<Chosen> froms{chosen_, left_};
        const std::vector<std::size_t> firsts = pool_.firstOnes();
        if (!firsts.empty()) {
            froms.push_back({firsts[turn_++ % firsts.size()]});
        }
        std::vector<Option> options(froms.size());
        std::vector<Chosen> fewer;
        forEach_(options.size() + 1, [&](std::size_t k) {
            if (k < froms.size()) {
                options[k].chosen = pool_.carriedOn(froms[k], wanted_);
            } else {
                fewer = choicesOfFewer();
            }
        });
        for (Option& option : options) {
            if (!isFirst(option.chosen, known_)) {
                option.chosen.clear();
            }
        }
        for (std::size_t added = 0; Chosen & chosen : fewer) {
            if (added < fewerAtATime && isFirst(chosen, known_)) {
                options.emplace_back().chosen = std::move(chosen);
                ++added;
            }
        }
        forEach_(options.size(), [&](std::size_t k) {
            if (!options[k].chosen.empty()) {
                options[k].shares.emplace(sharesOf(options[k].chosen));
                leaveOut(options[k].chosen, *options[k].shares);
            }
        });
        return std::count_if(options.begin(), options.end(), [&](const Option& option) {
                   return !option.chosen.empty() && take(option);
               }) > 0;
    }

    // Choices with a piece less than the best set, or with as many where that doesn't cover enough.
    std::vector<Chosen> choicesOfFewer() const {
        const std::size_t count = chosen_.size() - (reaches() ? 1 : 0);
        return chosen_.size() < 2
                   ? std::vector<Chosen>{}
                   : pool_.choicesOf(count, chosen_, std::min(best_.coveredShare, wishes_.share));
    }

    // True if that gives a better set.
    bool take(const Option& option) {
        const TerritoryShares& shares = *option.shares;
        // Saving a piece is worth a layout that may lose less than the others did.
        const double lost = option.chosen.size() < chosen_.size() ? 0.0 : lost_;
        const Worth hoped = worthOf(shares.coveredShare() - lost, option.chosen.size(), shares.seamLength());
        return (best_.pieces.empty() ||
                isBetter(hoped, worthOf(best_.coveredShare, chosen_.size(), seams_), wishes_.share)) &&
               isFirst(option.chosen, laidOut_) && layOut(option.chosen, shares);
    }

    // True the first time that it's asked for a choice.
    static bool isFirst(Chosen chosen, std::set<Chosen>& known) {
        std::sort(chosen.begin(), chosen.end());
        return known.insert(std::move(chosen)).second;
    }

    // A gap as wide as a cell counts as much as the two sides of it, or pieces would draw apart to have
    // shorter seams.
    Worth worthOf(double share, std::size_t pieces, double seams) const {
        const double step = std::max(cover_.surface.steps[0], cover_.surface.steps[1]);
        return {share, pieces, seams + 2.0 * (1.0 - share) * ground().area / step};
    }

    Worth worthOf(const PieceSet& set) const {
        return worthOf(set.coveredShare, set.pieces.size(), set.seamLength);
    }

    TerritoryShares sharesOf(const Chosen& chosen) const {
        return TerritoryShares(cover_, wishes_.overlap, pool_.territories(chosen));
    }

    // Leaves out pieces that are too many or without which enough is covered, the one with the least share
    // first.
    void leaveOut(Chosen& chosen, TerritoryShares& shares) const {
        while (chosen.size() > 1) {
            const std::vector<double> areas = shares.areas();
            const auto least = std::min_element(areas.begin(), areas.end());
            const double enough = chosen.size() > wishes_.mostPieces
                                      ? 0.0
                                      : std::min(wanted_, shares.coveredShare() - allButRounding);
            if (shares.mostShareWithout(static_cast<std::int32_t>(least - areas.begin())) < enough) {
                return;
            }
            Chosen fewer(chosen);
            fewer.erase(fewer.begin() + (least - areas.begin()));
            TerritoryShares without = sharesOf(fewer);
            if (without.coveredShare() < enough) {
                return;
            }
            chosen = std::move(fewer);
            shares = std::move(without);
        }
    }

    // True if that gives a better set.
    bool layOut(const Chosen& chosen, const TerritoryShares& shares) {
        const double least = std::min(best_.coveredShare, wishes_.share);
        LaidOut result = laidOut(cover_, wishes_, pool_.territories(chosen), least, forEach_);
        if (isOver()) {
            return false;
        }
        // What layouts lose is asked for on top.
        const double lost = std::clamp(shares.coveredShare() - result.set.coveredShare, 0.0, mostOnTop);
        lost_ = best_.pieces.empty() ? lost : 0.5 * (lost_ + lost);
        wanted_ = std::min(1.0 - allButRounding, wishes_.share + lost_ + onTop);
        if (result.set.pieces.empty()) {
            return false;
        }
        const Worth now = worthOf(result.set);
        const bool isFirstWithDarts = hasDarts(result.set) && !hasDarts(best_);
        if (!best_.pieces.empty() && !(isFirstWithDarts ? savesPiece(now, worthOf(best_), wishes_.share)
                                                        : isBetter(now, worthOf(best_), wishes_.share))) {
            return false;
        }
        best_ = std::move(result.set);
        hasSet_ = true;
        seams_ = shares.seamLength();
        chosen_.clear();
        for (const std::size_t k : result.territories) {
            chosen_.push_back(chosen[k]);
        }
        return true;
    }

    // Each start in each room. None once the search is stopped, but for the first.
    void tryAll(const std::vector<PieceStart>& starts,
                const std::vector<std::shared_ptr<const Room>>& rooms) {
        stopped_ = stopped_ || (heard_ && !heard_({tried_, best_.pieces.size(), best_.coveredShare}));
        if (stopped_ && tried_ > 0) {
            return;
        }
        std::vector<PieceTry> tries;
        for (const std::shared_ptr<const Room>& room : rooms) {
            for (const PieceStart& start : starts) {
                tries.push_back({start, room, darts_});
            }
        }
        std::vector<Territory> found =
            spread_(tries, [&](const PieceTry& piece) { return territoryFrom(piece); });
        if (isOver()) {
            stopped_ = true;
            return;
        }
        for (Territory& territory : found) {
            if (pool_.size() < mostInPool) {
                pool_.add(std::move(territory));
            }
        }
        tried_ += tries.size();
    }

    // None if the search is over and others were found.
    Territory territoryFrom(const PieceTry& piece) {
        if (hasFound_ && isOver_ && isOver_()) {
            return {};
        }
        Territory territory = dartedTerritory(cover_, piece, inTurn);
        hasFound_ = hasFound_ || !territory.vertices.empty();
        return territory;
    }

    // Tries pieces where the best set leaves the mould bare, or would without one to three of its pieces.
    void lookAround() {
        std::vector<char> given(chosen_.size(), 0);
        const bool fills = best_.coveredShare < wishes_.share && dice_.below(2) == 0;
        if (!fills && !chosen_.empty()) {
            giveNeighbours(given);
        }
        left_.clear();
        for (std::size_t k = 0; k < chosen_.size(); ++k) {
            if (given[k] == 0) {
                left_.push_back(chosen_[k]);
            }
        }
        const std::vector<char> covered = coveredWithout(given);
        std::vector<std::int32_t> bare;
        double area = 0.0;
        for (std::size_t v = 0; v < covered.size(); ++v) {
            if (covered[v] == 0) {
                bare.push_back(static_cast<std::int32_t>(v));
                area += ground().areas[v];
            }
        }
        if (!(area > leastBare * ground().area)) {
            return;
        }
        std::vector<std::shared_ptr<const Room>> rooms{nullptr};
        if (!left_.empty()) {
            rooms.push_back(roomAround(bare));
        }
        tryAll(startsIn(covered), rooms);
    }

    // Marks one piece and up to two that start next to it.
    void giveNeighbours(std::vector<char>& given) {
        const std::size_t first = dice_.below(chosen_.size());
        std::vector<std::pair<double, std::size_t>> near;
        for (std::size_t k = 0; k < chosen_.size(); ++k) {
            near.emplace_back(distance(pool_[chosen_[k]].start.seed, pool_[chosen_[first]].start.seed), k);
        }
        std::sort(near.begin(), near.end());
        const std::size_t count = std::min(near.size(), 1 + dice_.below(3));
        for (std::size_t k = 0; k < count; ++k) {
            given[near[k].second] = 1;
        }
    }

    // Per vertex of the ground, 1 where the best set without some of its pieces lies.
    std::vector<char> coveredWithout(const std::vector<char>& given) const {
        std::vector<char> covered(ground().vertexCount(), 0);
        for (std::size_t t = 0; t < best_.claimOf.size(); ++t) {
            for (std::size_t k = 0; k < 3 && best_.claimOf[t] >= 0; ++k) {
                const auto v = at(best_.claims->corners[3 * t + k] - 1);
                if (v < covered.size() && given[at(best_.claimOf[t])] == 0) {
                    covered[v] = 1;
                }
            }
        }
        return covered;
    }

    std::shared_ptr<const Room> roomAround(const std::vector<std::int32_t>& bare) const {
        const double step = std::max(cover_.surface.steps[0], cover_.surface.steps[1]);
        const std::vector<double> away = distancesAlong(ground().mesh, bare);
        Room room(away.size());
        std::transform(away.begin(), away.end(), room.begin(),
                       [&](double d) { return static_cast<float>(roomBeyond * step - d); });
        return std::make_shared<const Room>(std::move(room));
    }

    double anyAngle() {
        const double turn = cover_.surface.steps[0] == cover_.surface.steps[1] ? 90.0 : 180.0;
        return wishes_.angle + (wishes_.freeAngles ? turn * dice_.share() : 0.0);
    }

    std::vector<PieceStart> firstStarts() {
        std::vector<PieceStart> starts{{cover_.surface.defaultSeed, anyAngle()}};
        std::vector<char> open(ground().vertexCount());
        std::transform(ground().nearRim.begin(), ground().nearRim.end(), open.begin(),
                       [](char near) { return near != 0 ? 0 : 1; });
        for (const std::size_t v :
             farApart(ground(), open, {cover_.surface.defaultSeed}, firstSeeds - 1, 0.0)) {
            starts.push_back({place(v), anyAngle()});
        }
        return starts;
    }

    // In what is bare: where most is bare around, far apart from that, and anywhere.
    std::vector<PieceStart> startsIn(const std::vector<char>& covered) {
        std::vector<std::int32_t> ends;
        for (std::size_t v = 0; v < covered.size(); ++v) {
            if (covered[v] != 0 || ground().nearRim[v] != 0) {
                ends.push_back(static_cast<std::int32_t>(v));
            }
        }
        std::vector<PieceStart> starts;
        const std::vector<double> inside = distancesAlong(ground().mesh, ends);
        const auto deepest = std::max_element(inside.begin(), inside.end());
        if (!(*deepest > 0.0)) {
            return starts;
        }
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
        for (const std::size_t v : farApart(ground(), open, {place(middle)}, freshSeeds / 2, 0.0)) {
            starts.push_back({place(v), anyAngle()});
        }
        while (starts.size() < freshSeeds) {
            starts.push_back({place(places[dice_.below(places.size())]), anyAngle()});
        }
        return starts;
    }

    CoverGround cover_;
    const CoverWishes& wishes_;
    const TerritorySpread& spread_;
    const ForEach& forEach_;
    const GoOn& heard_;
    const IsOver& isOver_;
    Dice dice_;
    TerritoryPool pool_;
    double wanted_;     // share, of a choice
    double lost_ = 0.0; // share, of what was chosen, when it was laid out
    PieceSet best_;
    Chosen chosen_;                     // of its pieces
    double seams_ = 0.0;                // their length, as told before they were laid out
    Chosen left_;                       // when some were taken away to look around there
    std::set<Chosen> known_;            // choices so far, rising
    std::set<Chosen> laidOut_;          // the same of those that were laid out
    std::size_t turn_ = 0;              // among the first ones
    std::size_t darts_ = 0;             // that a piece may have that is tried
    std::set<Point> areTriedWithDarts_; // seeds
    std::size_t tried_ = 0;
    bool stopped_ = false;
    std::atomic<bool> hasFound_ = false; // a territory; threads ask
    std::atomic<bool> hasSet_ = false;   // the same
};

} // namespace

TerritorySpread spreadBy(const ForEach& forEach) {
    return
        [forEach](const std::vector<PieceTry>& tries, const std::function<Territory(const PieceTry&)>& work) {
            std::vector<Territory> results(tries.size());
            forEach(tries.size(), [&](std::size_t k) { results[k] = work(tries[k]); });
            return results;
        };
}

PieceSet coveredBy(const Surface& surface, const TrialWishes& trial, const CoverWishes& wishes,
                   const TerritorySpread& spread, const ForEach& forEach, const GoOn& heard, bool endless,
                   const IsOver& isOver) {
    return Search(coverGroundOf(surface, trial, wishes.most), wishes, spread, forEach, heard, isOver)
        .found(endless);
}

PieceSet pieceFrom(const Surface& surface, const TrialWishes& trial, const CoverWishes& wishes,
                   const PieceStart& start, const ForEach& forEach) {
    const CoverGround cover = coverGroundOf(surface, trial, wishes.most);
    const Territory one = dartedTerritory(cover, {start, nullptr, wishes.darts}, forEach);
    return one.vertices.empty() ? PieceSet{} : laidOut(cover, wishes, {&one}, 0.0, forEach).set;
}

} // namespace drape::host
