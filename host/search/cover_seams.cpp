// The edges between triangles of two pieces are strung together.
#include "host/search/cover_seams.h"

#include "host/mesh/point.h"

#include <map>

namespace drape::host {

using namespace vec;

namespace {

using Link = std::pair<std::int32_t, std::int32_t>; // vertices, in the sense of the lower piece's triangle

// The links of one pair of pieces as lines, each as long as it goes.
std::vector<Seam> seamsOf(const Mould& mesh, const std::array<std::size_t, 2>& pieces,
                          const std::vector<Link>& links) {
    std::map<std::int32_t, std::int32_t> after;
    std::map<std::int32_t, bool> isEntered;
    for (const auto& [from, to] : links) {
        after[from] = to;
        isEntered[to] = true;
    }
    std::vector<Seam> seams;
    const auto follow = [&](std::int32_t first) {
        Seam seam{pieces, {mesh.positions[at(first)]}, 0.0};
        for (auto found = after.find(first); found != after.end(); found = after.find(first)) {
            first = found->second;
            after.erase(found);
            seam.length += distance(seam.points.back(), mesh.positions[at(first)]);
            seam.points.push_back(mesh.positions[at(first)]);
        }
        seams.push_back(std::move(seam));
    };
    for (const auto& [from, to] : links) {
        if (after.count(from) != 0 && !isEntered[from]) {
            follow(from);
        }
    }
    while (!after.empty()) {
        follow(after.begin()->first);
    }
    return seams;
}

} // namespace

void addSeams(PieceSet& cover, const Neighbours& neighbours) {
    const Mould& claims = *cover.claims;
    std::map<std::array<std::size_t, 2>, std::vector<Link>> links;
    for (std::size_t t = 0; t < cover.claimOf.size(); ++t) {
        for (std::size_t k = 0; k < 3; ++k) {
            const std::int32_t beyond = neighbours[t][k];
            if (beyond != noTriangle && cover.claimOf[t] >= 0 &&
                cover.claimOf[at(beyond)] > cover.claimOf[t]) {
                links[{at(cover.claimOf[t]), at(cover.claimOf[at(beyond)])}].emplace_back(
                    claims.corners[3 * t + k] - 1, claims.corners[3 * t + (k + 1) % 3] - 1);
            }
        }
    }
    for (const auto& [pieces, list] : links) {
        for (Seam& seam : seamsOf(claims, pieces, list)) {
            cover.seamLength += seam.length;
            cover.pieces[pieces[0]].seamLength += seam.length;
            cover.pieces[pieces[1]].seamLength += seam.length;
            cover.seams.push_back(std::move(seam));
        }
    }
}

} // namespace drape::host
