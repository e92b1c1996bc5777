// Which of several territories has each place of the surface.
#pragma once

#include "host/search/territory.h"

namespace drape::host {

class TerritoryShares {
public:
    static constexpr std::int32_t bare = -1;

    // `overlap` of neighbours, in the mould's unit: a place can go to a territory that reaches half of it
    // beyond. `cover` has to outlive the shares, `territories` not.
    TerritoryShares(const CoverGround& cover, double overlap,
                    const std::vector<const Territory*>& territories);

    // Lowers how deep inside a territory places are to `most`, a value per vertex of the ground, and gives
    // what it can't have any more to others.
    void limit(std::size_t p, const std::vector<double>& most);

    // Per vertex of the ground, the territory that has it, `bare` where none can.
    const std::vector<std::int32_t>& labels() const { return labels_; }
    double coveredShare() const { return area() / cover_->ground.area; }
    std::vector<double> areas() const; // of each
    // The most that could be covered, by all but one of them; by all for `bare`.
    double mostShareWithout(std::int32_t p) const { return mostWithout(p) / cover_->ground.area; }
    // About how long the lines between them are.
    double seamLength() const;
    // Per vertex, how deep inside a territory it is.
    const std::vector<double>& depths(std::size_t p) const { return pieces_[p].depths; }

    // At which part of the way between two vertices that belong to different territories, or one to none, the
    // line between these runs.
    double lineBetween(std::int32_t low, std::int32_t high) const;
    // Of the three that meet in a triangle the one that is deepest all over it.
    std::int32_t middleOf(const Triangle& corners) const;

private:
    struct Piece {
        std::vector<double> depths;       // per vertex
        std::vector<char> isBare;         // per vertex, 1 where it has no cloth in its territory
        std::vector<std::int32_t> inside; // vertices that it can have, rising
        double ahead = 0.0;               // added to its depth where it meets others
    };

    // One that can have a vertex.
    struct Claimant {
        std::int32_t piece = bare;
        bool isDropped = false; // as the vertex doesn't hang together with the rest of its share
    };

    // What changes when one goes ahead.
    struct State {
        std::vector<std::int32_t> labels;
        std::vector<Claimant> claimants;
        std::vector<double> ahead;
    };

    bool isCovered(std::size_t v) const;
    double area() const;
    double mostWithout(std::int32_t p) const;
    void listClaimants();
    std::size_t claimantOf(std::int32_t p, std::int32_t v) const;
    std::int32_t deepestAt(std::size_t v) const;
    double lostBy(const Piece& piece) const;
    void label();
    void labelAround(const std::vector<std::int32_t>& vertices);
    void keepLargestPart(std::size_t p, std::vector<std::int32_t>& dropped);
    void goInOrder();
    void giveWay();
    bool goesAhead(std::size_t p);
    State state() const;
    void restore(State state);
    double valueOf(std::int32_t p, std::int32_t v) const;
    double lead(std::int32_t a, std::int32_t b, std::int32_t v) const;

    const CoverGround* cover_;
    double overlap_;
    double step_; // the longer cell length
    std::vector<Piece> pieces_;
    std::vector<std::size_t> firstClaimant_; // per vertex, and one more
    std::vector<Claimant> claimants_;        // of each vertex, the lower pieces first
    std::vector<std::int32_t> labels_;
    std::vector<char> isOpen_; // of walks; 0 between them
};

} // namespace drape::host
