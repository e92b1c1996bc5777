// A surface that pieces are looked for on, slit for the darts of one of them.
#pragma once

#include "host/search/territory.h"

namespace drape::host {

// What `CoverGround` is for the slit surface. The vertices of the unslit ground keep their numbers.
class SlitCover {
public:
    SlitCover(const CoverGround& whole, const std::vector<SlitWay>& ways);
    SlitCover(const SlitCover&) = delete;
    SlitCover& operator=(const SlitCover&) = delete;

    const CoverGround& cover() const { return cover_; }
    const std::vector<std::vector<Point>>& lines() const { return slit_.lines; }

    // Values per vertex of the unslit ground, per vertex of the slit one.
    std::vector<double> extended(std::vector<double> values) const {
        return onSlit(std::move(values), slit_);
    }
    // The same for a try; null stays null.
    std::shared_ptr<const Room> extended(const std::shared_ptr<const Room>& room) const;

private:
    SlitMesh slit_;
    Surface surface_;
    CoverGround cover_;
};

// A mould slit along the ways, and where they run on it.
struct SlitMould {
    std::shared_ptr<const Mould> mould;
    std::vector<std::vector<Point>> lines; // those that it was slit along
};
SlitMould slitMould(const Mould& mould, const std::vector<SlitWay>& ways);

} // namespace drape::host
