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

    // Per vertex of the ground, the territory that has it, `bare` where none can.
    const std::vector<std::int32_t>& labels() const { return labels_; }
    double coveredShare() const { return area() / cover_->ground.area; }
    std::vector<double> areas() const; // of each
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
        std::vector<double> depths; // per vertex
        std::vector<double> value;  // above 0 where it can have a vertex
        double ahead = 0.0;         // added to that where it meets others
    };

    double area() const;
    double areaOf(const std::vector<std::int32_t>& part) const;
    std::int32_t deepestAt(std::size_t v) const;
    double lostBy(const Piece& piece) const;
    void label();
    std::vector<std::int32_t> partAt(std::int32_t first, std::vector<char>& seen) const;
    bool dropSmaller(std::size_t p, const std::vector<std::vector<std::int32_t>>& parts);
    void goInOrder();
    void giveWay();
    bool goesAhead(std::size_t p);
    double valueOf(std::int32_t p, std::int32_t v) const { return pieces_[at(p)].value[at(v)]; }
    double lead(std::int32_t a, std::int32_t b, std::int32_t v) const;

    const CoverGround* cover_;
    double overlap_;
    double step_; // the longer cell length
    std::vector<Piece> pieces_;
    std::vector<std::int32_t> labels_;
};

} // namespace drape::host
