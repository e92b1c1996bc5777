// Territories that were found so far, and which of them together cover most with the fewest.
#pragma once

#include "host/search/territory.h"

namespace drape::host {

// Territories by their numbers in a pool.
using Chosen = std::vector<std::size_t>;

class TerritoryPool {
public:
    // `overlap` of neighbours, in the mould's unit. `cover` has to outlive the pool.
    TerritoryPool(const CoverGround& cover, double overlap);

    void add(Territory territory);
    std::size_t size() const { return entries_.size(); }
    const Territory& operator[](std::size_t number) const { return entries_[number].territory; }

    // A few of those that cover most, which overlap little enough to be worth starting a choice with.
    std::vector<std::size_t> firstOnes() const;

    // From a choice one that covers `share` (0 to 1) of the area, or as much as is found. Others are added
    // greedily, then each exchanged for a better one, then one given up as long as that goes. Each of it
    // claims what those before it leave of its territory, which is less than they can share out.
    Chosen carriedOn(const Chosen& chosen, double share) const;

    // Choices of `count` each that together lie over at least `share` of the area, found by exchanges from
    // `chosen` on; those first of which most hangs together after others have claimed theirs.
    std::vector<Chosen> choicesOf(std::size_t count, const Chosen& chosen, double share) const;

    // The territories of a choice, as long as none is added.
    std::vector<const Territory*> territories(const Chosen& chosen) const;

private:
    struct Entry {
        Territory territory;
        std::vector<std::int32_t> inside; // vertices that it can claim
        double area = 0.0;
    };

    class Choice;
    class Union;

    Chosen byArea(Chosen chosen) const; // the largest first

    const CoverGround& cover_;
    double overlap_;
    std::vector<Entry> entries_;
};

} // namespace drape::host
