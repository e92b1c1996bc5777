// Which to take is the set cover problem, of sets that have to hang together when others are taken away from
// them. The one that adds most is added again and again; exchanges then raise what is covered, and leaving
// some out lowers their number. Fewer are found where exchanges go on past choices that cover less, judged by
// all that territories lie over, as that is quick to tell.
#include "host/search/territory_pool.h"

#include "host/search/ground_parts.h"

#include <algorithm>
#include <limits>
#include <numeric>
#include <set>

namespace drape::host {

namespace {

constexpr std::size_t firstTerritories = 4;
constexpr double sameFirst = 0.8;        // of its area under an other one, for a first one not to count
constexpr double leastGain = 1e-3;       // of the area, for a territory more
constexpr double clearlyMore = 1e-4;     // of the area, for an exchange
constexpr double rounding = 1e-9;        // of the area, in sums over its vertices
constexpr std::size_t mostExchanges = 4; // of each
constexpr std::size_t triedToGive = 4;
constexpr std::size_t mostChosen = 99;
constexpr std::size_t exchangesAround = 80; // of choices with a given number
constexpr std::size_t restOfNew = 3;        // exchanges for which one that came stays, at most
constexpr std::size_t restOfOld = 8;        // the same for one that went

} // namespace

// A set in the making. Each of it claims what those before it leave of its territory, as far as that hangs
// together.
class TerritoryPool::Choice {
public:
    Choice(const TerritoryPool& pool, double share)
        : pool_(&pool), share_(share), owned_(pool.cover_.ground.vertexCount(), 0), seen_(owned_.size(), 0) {}

    const Chosen& chosen() const { return chosen_; }
    double share() const { return covered_ / pool_->cover_.ground.area; }
    bool reaches() const { return share() >= share_; }

    void add(std::size_t number) {
        const std::vector<std::int32_t> claim = claimOf(number);
        covered_ += areaOf(pool_->cover_.ground, claim);
        for (const std::int32_t v : claim) {
            owned_[at(v)] = 1;
        }
        chosen_.push_back(number);
    }

    void set(const Chosen& chosen) {
        chosen_.clear();
        covered_ = 0.0;
        owned_.assign(owned_.size(), 0);
        std::for_each(chosen.begin(), chosen.end(), [&](std::size_t k) { add(k); });
    }

    // The number in the pool that adds most, and how much. What is open of a territory bounds what it adds.
    std::pair<double, std::size_t> bestGain() const {
        std::vector<std::pair<double, std::size_t>> byBound;
        for (std::size_t k = 0; k < pool_->size(); ++k) {
            byBound.emplace_back(-openArea(k), k);
        }
        std::sort(byBound.begin(), byBound.end());
        std::pair<double, std::size_t> best{0.0, 0};
        for (const auto& [bound, k] : byBound) {
            if (-bound <= best.first) {
                break;
            }
            const double gain = areaOf(pool_->cover_.ground, claimOf(k));
            best = gain > best.first ? std::pair(gain, k) : best;
        }
        return best;
    }

    double openArea(std::size_t number) const {
        const std::vector<double>& areas = pool_->cover_.ground.areas;
        double area = 0.0;
        for (const std::int32_t v : pool_->entries_[number].inside) {
            area += owned_[at(v)] == 0 ? areas[at(v)] : 0.0;
        }
        return area;
    }

    void fillUp() {
        while (!reaches() && chosen_.size() < mostChosen) {
            const auto [gain, number] = bestGain();
            if (!(gain > leastGain * pool_->cover_.ground.area)) {
                return;
            }
            add(number);
        }
    }

    // Each for the one that covers most beside the others, as long as that covers more.
    void exchange() {
        std::size_t inVain = 0;
        for (std::size_t k = 0; !reaches() && inVain < chosen_.size() && k < mostExchanges * chosen_.size();
             ++k) {
            const double before = share();
            const Chosen old(chosen_);
            Chosen others(old.begin() + 1, old.end());
            set(others);
            add(bestGain().second);
            const bool better = share() > before + clearlyMore;
            if (!better) {
                others.push_back(old.front());
                set(others);
                if (share() < before - rounding) {
                    set(old);
                    return;
                }
            }
            inVain = better ? 0 : inVain + 1;
        }
    }

    // The same with one less, if that reaches the share too.
    bool giveOneUp() {
        std::vector<std::pair<double, std::size_t>> own;
        for (std::size_t k = 0; k < chosen_.size(); ++k) {
            own.emplace_back(-without(k).share(), k);
        }
        std::sort(own.begin(), own.end());
        for (std::size_t k = 0; k < std::min(triedToGive, own.size()); ++k) {
            Choice less = without(own[k].second);
            less.exchange();
            if (less.reaches()) {
                *this = std::move(less);
                return true;
            }
        }
        return false;
    }

    void improve() {
        fillUp();
        exchange();
        fillUp();
        while (reaches() && chosen_.size() > 1 && giveOneUp()) {
        }
    }

private:
    Choice without(std::size_t place) const {
        Chosen others(chosen_);
        others.erase(others.begin() + static_cast<std::ptrdiff_t>(place));
        Choice less(*pool_, share_);
        less.set(others);
        return less;
    }

    // The largest part that hangs together of what is open of a territory.
    std::vector<std::int32_t> claimOf(std::size_t number) const {
        const Ground& ground = pool_->cover_.ground;
        const std::vector<std::int32_t>& inside = pool_->entries_[number].inside;
        for (const std::int32_t v : inside) {
            seen_[at(v)] = owned_[at(v)] == 0 ? 1 : 0;
        }
        std::vector<GroundPart> parts = openParts(ground, inside, seen_);
        const auto largest = largestOf(ground, parts);
        return largest == parts.end() ? GroundPart{} : *largest;
    }

    const TerritoryPool* pool_;
    double share_;
    std::vector<char> owned_;        // per vertex
    mutable std::vector<char> seen_; // of `claimOf`; 0 between its calls
    Chosen chosen_;
    double covered_ = 0.0; // area
};

// What some cover together, each with all that it can claim. That changes with one of them in time that goes
// with its size alone. Exchanges don't end where none is better: what came and what went rests for a while,
// so that they go on to other places (tabu search).
class TerritoryPool::Union {
public:
    explicit Union(const TerritoryPool& pool)
        : pool_(&pool), counts_(pool.cover_.ground.vertexCount(), 0), restsUntil_(pool.size(), 0) {}

    const Chosen& chosen() const { return chosen_; }
    double share() const { return covered_ / pool_->cover_.ground.area; }

    void add(std::size_t number) {
        covered_ += areaWhere(number, 0);
        for (const std::int32_t v : pool_->entries_[number].inside) {
            ++counts_[at(v)];
        }
        chosen_.push_back(number);
    }

    // Gives the ones up that lose least, at least one, and adds those that gain most until there are `count`.
    void exchange(std::size_t count) {
        while (chosen_.size() >= count && giveLeast()) {
        }
        while (chosen_.size() < count && takeMost(count)) {
        }
        ++now_;
    }

private:
    // False if all rest.
    bool giveLeast() {
        std::pair<double, std::size_t> least{std::numeric_limits<double>::infinity(), pool_->size()};
        for (const std::size_t k : chosen_) {
            if (restsUntil_[k] <= now_) {
                least = std::min(least, {areaWhere(k, 1), k});
            }
        }
        if (least.second < pool_->size()) {
            remove(least.second);
            restsUntil_[least.second] = now_ + restOfOld;
        }
        return least.second < pool_->size();
    }

    // False if none gains anything.
    bool takeMost(std::size_t count) {
        std::pair<double, std::size_t> most{0.0, pool_->size()};
        for (std::size_t k = 0; k < pool_->size(); ++k) {
            if (restsUntil_[k] <= now_ && pool_->entries_[k].area > most.first) {
                const double gain = areaWhere(k, 0);
                most = gain > most.first ? std::pair(gain, k) : most;
            }
        }
        if (most.second < pool_->size()) {
            add(most.second);
            restsUntil_[most.second] = now_ + std::min(restOfNew, count - 1);
        }
        return most.second < pool_->size();
    }

    void remove(std::size_t number) {
        for (const std::int32_t v : pool_->entries_[number].inside) {
            --counts_[at(v)];
        }
        covered_ -= areaWhere(number, 0);
        chosen_.erase(std::find(chosen_.begin(), chosen_.end(), number));
    }

    // The area of a territory that so many cover, itself included if it is one of them.
    double areaWhere(std::size_t number, std::uint16_t count) const {
        const std::vector<double>& areas = pool_->cover_.ground.areas;
        double area = 0.0;
        for (const std::int32_t v : pool_->entries_[number].inside) {
            area += counts_[at(v)] == count ? areas[at(v)] : 0.0;
        }
        return area;
    }

    const TerritoryPool* pool_;
    std::vector<std::uint16_t> counts_;   // per vertex, of those that cover it
    std::vector<std::size_t> restsUntil_; // per territory, the exchange from which it can come or go again
    std::size_t now_ = 0;                 // exchanges so far
    Chosen chosen_;
    double covered_ = 0.0; // area
};

TerritoryPool::TerritoryPool(const CoverGround& cover, double overlap) : cover_(cover), overlap_(overlap) {}

void TerritoryPool::add(Territory territory) {
    Entry entry;
    for (std::size_t k = 0; k < territory.vertices.size(); ++k) {
        if (at(territory.vertices[k]) < cover_.ground.vertexCount() &&
            static_cast<double>(territory.depths[k]) > 0.5 * overlap_ &&
            !std::binary_search(territory.bare.begin(), territory.bare.end(), territory.vertices[k])) {
            entry.inside.push_back(territory.vertices[k]);
            entry.area += cover_.ground.areas[at(territory.vertices[k])];
        }
    }
    if (!entry.inside.empty()) {
        entry.territory = std::move(territory);
        entries_.push_back(std::move(entry));
    }
}

std::vector<std::size_t> TerritoryPool::firstOnes() const {
    std::vector<std::size_t> byArea(size());
    std::iota(byArea.begin(), byArea.end(), std::size_t{0});
    std::stable_sort(byArea.begin(), byArea.end(),
                     [&](std::size_t a, std::size_t b) { return entries_[a].area > entries_[b].area; });
    std::vector<Choice> choices;
    std::vector<std::size_t> firsts;
    for (const std::size_t number : byArea) {
        if (firsts.size() < firstTerritories &&
            std::all_of(choices.begin(), choices.end(), [&](const Choice& choice) {
                return choice.openArea(number) > (1.0 - sameFirst) * entries_[number].area;
            })) {
            firsts.push_back(number);
            choices.emplace_back(*this, 1.0).add(number);
        }
    }
    return firsts;
}

Chosen TerritoryPool::carriedOn(const Chosen& chosen, double share) const {
    Choice choice(*this, share);
    choice.set(chosen);
    choice.improve();
    return choice.chosen();
}

Chosen TerritoryPool::byArea(Chosen chosen) const {
    std::sort(chosen.begin(), chosen.end(), [&](std::size_t a, std::size_t b) {
        return std::pair(-entries_[a].area, a) < std::pair(-entries_[b].area, b);
    });
    return chosen;
}

std::vector<Chosen> TerritoryPool::choicesOf(std::size_t count, const Chosen& chosen, double share) const {
    Union all(*this);
    std::for_each(chosen.begin(), chosen.end(), [&](std::size_t k) { all.add(k); });
    std::set<Chosen> found;
    for (std::size_t k = 0; k < exchangesAround; ++k) {
        all.exchange(count);
        if (all.chosen().size() == count && all.share() >= share) {
            found.insert(byArea(all.chosen()));
        }
    }
    std::vector<std::pair<double, Chosen>> ranked;
    for (const Chosen& one : found) {
        Choice choice(*this, 1.0);
        choice.set(one);
        ranked.emplace_back(-choice.share(), one);
    }
    std::sort(ranked.begin(), ranked.end());
    std::vector<Chosen> choices;
    for (auto& [negativeShare, one] : ranked) {
        choices.push_back(std::move(one));
    }
    return choices;
}

std::vector<const Territory*> TerritoryPool::territories(const Chosen& chosen) const {
    std::vector<const Territory*> territories;
    for (const std::size_t number : chosen) {
        territories.push_back(&entries_[number].territory);
    }
    return territories;
}

} // namespace drape::host
