// Territories taken one after the other, each in the room that those before it leave. So each was draped on
// what it will be cut out of, and what comes later changes nothing about it.
#pragma once

#include "host/search/territory.h"

namespace drape::host {

class CoverPlan {
public:
    // `overlap` of neighbours, in the mould's unit. `cover` has to outlive the plan.
    CoverPlan(const CoverGround& cover, double overlap);

    // What a territory would add, as an area: what is free of it and hangs together with its seed.
    double gainOf(const Territory& territory) const;
    void add(const Territory& territory);

    // The same without some of them; the others stay as they are.
    CoverPlan without(const std::vector<std::size_t>& indices) const;

    const std::vector<Territory>& territories() const { return territories_; }
    double claimed(std::size_t index) const { return claimed_[index]; } // area
    double coveredShare() const { return covered_ / cover_->ground.area; }

    // Per vertex of the ground, the index of its territory, -1 where it is free.
    const std::vector<std::int32_t>& labels() const { return labels_; }

    // Where a further piece may be draped: what is free, and half of the overlap beyond. Null while all is.
    std::shared_ptr<const Room> room() const;

    // About how long the seams are.
    double seamLength() const;

private:
    // Above 0 on what a territory would claim.
    std::vector<double> claimOf(const Territory& territory) const;

    const CoverGround* cover_;
    double overlap_ = 0.0;
    std::vector<Territory> territories_;
    std::vector<double> claimed_;
    std::vector<std::int32_t> labels_;
    std::vector<float> free_; // per vertex, how far it is outside of all claims
    double covered_ = 0.0;
};

} // namespace drape::host
