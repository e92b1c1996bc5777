// A claim is a territory less half of the overlap, as deep as what came before leaves it. What is free is as
// far outside of the claims as these are deep, so that both are cut along the same line.
#include "host/search/cover_plan.h"

#include <algorithm>

namespace drape::host {

using namespace vec;

namespace {

constexpr std::int32_t unclaimed = -1;
constexpr double outside = 1.0; // cells that what lies far outside of a claim counts as

} // namespace

CoverPlan::CoverPlan(const CoverGround& cover, double overlap)
    : cover_(&cover), overlap_(overlap), labels_(cover.ground.vertexCount(), unclaimed),
      free_(cover.ground.vertexCount(), static_cast<float>(std::sqrt(cover.ground.area))) {}

std::vector<double> CoverPlan::claimOf(const Territory& territory) const {
    const double step = std::max(cover_->surface.steps[0], cover_->surface.steps[1]);
    std::vector<double> claim(labels_.size(), -outside * step);
    for (std::size_t k = 0; k < territory.vertices.size(); ++k) {
        const std::size_t v = at(territory.vertices[k]);
        claim[v] = std::min(static_cast<double>(territory.depths[k]) - 0.5 * overlap_,
                            static_cast<double>(free_[v]));
    }
    keepAround(cover_->ground, territory.start.seed, claim);
    return claim;
}

double CoverPlan::gainOf(const Territory& territory) const {
    if (territory.vertices.empty()) {
        return 0.0;
    }
    const std::vector<double> claim = claimOf(territory);
    double gain = 0.0;
    for (std::size_t v = 0; v < claim.size(); ++v) {
        gain += claim[v] > 0.0 ? cover_->ground.areas[v] : 0.0;
    }
    return gain;
}

void CoverPlan::add(const Territory& territory) {
    const std::vector<double> claim = claimOf(territory);
    const auto index = static_cast<std::int32_t>(territories_.size());
    double gain = 0.0;
    for (std::size_t v = 0; v < claim.size(); ++v) {
        if (claim[v] > 0.0) {
            labels_[v] = index;
            gain += cover_->ground.areas[v];
            free_[v] = std::min(free_[v], static_cast<float>(-claim[v]));
            for (const std::int32_t next : cover_->ground.around(static_cast<std::int32_t>(v))) {
                free_[at(next)] = std::min(free_[at(next)], static_cast<float>(-claim[at(next)]));
            }
        }
    }
    for (const std::int32_t v : territory.vertices) {
        free_[at(v)] = std::min(free_[at(v)], static_cast<float>(-claim[at(v)]));
    }
    territories_.push_back(territory);
    claimed_.push_back(gain);
    covered_ += gain;
}

CoverPlan CoverPlan::without(const std::vector<std::size_t>& indices) const {
    CoverPlan plan(*cover_, overlap_);
    for (std::size_t k = 0; k < territories_.size(); ++k) {
        if (std::find(indices.begin(), indices.end(), k) == indices.end()) {
            plan.add(territories_[k]);
        }
    }
    return plan;
}

std::shared_ptr<const Room> CoverPlan::room() const {
    if (territories_.empty()) {
        return nullptr;
    }
    Room room(free_);
    for (float& value : room) {
        value += static_cast<float>(0.5 * overlap_);
    }
    return std::make_shared<const Room>(std::move(room));
}

double CoverPlan::seamLength() const {
    const TriangleMesh& mesh = cover_->ground.mesh;
    double length = 0.0;
    for (const Triangle& t : mesh.triangles) {
        for (std::size_t k = 0; k < 3; ++k) {
            const std::int32_t own = labels_[at(t[k])];
            const std::int32_t other = labels_[at(t[(k + 1) % 3])];
            if (own >= 0 && other >= 0 && own != other && labels_[at(t[(k + 2) % 3])] == other) {
                // The line cuts two sides, half way for all that is known here.
                length +=
                    0.5 * distance(mesh.positions[at(t[(k + 1) % 3])], mesh.positions[at(t[(k + 2) % 3])]);
            }
        }
    }
    return length;
}

} // namespace drape::host
