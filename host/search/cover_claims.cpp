// A new vertex takes its values from the ends of the edge that it lies on. What a piece leaves bare is cut
// off in the end, when no vertex has to have values any more.
#include "host/search/cover_claims.h"

#include "host/mesh/patch.h"
#include "host/mesh/pieces.h"
#include "host/mesh/spatial_order.h"

#include <algorithm>
#include <optional>

namespace drape::host {

namespace {

constexpr double edgeEnd = 0.02; // of an edge: no line nearer to its ends

} // namespace

CoverClaims::CoverClaims(const Ground& ground, const TerritoryShares& shares)
    : ground_(&ground), shares_(&shares) {
    const std::vector<std::int32_t>& labels = shares.labels();
    SplitMesh split =
        splitEdges(ground.mesh, [&](std::int32_t low, std::int32_t high) -> std::optional<double> {
            return labels[at(low)] == labels[at(high)]
                       ? std::nullopt
                       : std::optional(std::clamp(shares.lineBetween(low, high), edgeEnd, 1.0 - edgeEnd));
        });
    mesh_ = std::move(split.mesh);
    added_ = std::move(split.added);
    for (std::size_t t = 0; t < mesh_.triangles.size(); ++t) {
        const Triangle& corners = mesh_.triangles[t];
        const auto known = std::find_if(corners.begin(), corners.end(),
                                        [&](std::int32_t v) { return at(v) < labels.size(); });
        pieces_.push_back(known != corners.end()
                              ? labels[at(*known)]
                              : shares.middleOf(ground.mesh.triangles[at(split.parents[t])]));
    }
}

double CoverClaims::valueAt(const Field& field, std::size_t vertex) const {
    if (vertex < field.size()) {
        return field[vertex];
    }
    const EdgePoint& point = added_[vertex - field.size()];
    return (1.0 - point.part) * field[at(point.low)] + point.part * field[at(point.high)];
}

std::vector<std::int32_t> CoverClaims::verticesOf(std::size_t p) const {
    std::vector<std::int32_t> vertices;
    for (std::size_t t = 0; t < pieces_.size(); ++t) {
        if (pieces_[t] == static_cast<std::int32_t>(p)) {
            vertices.insert(vertices.end(), mesh_.triangles[t].begin(), mesh_.triangles[t].end());
        }
    }
    std::sort(vertices.begin(), vertices.end());
    vertices.erase(std::unique(vertices.begin(), vertices.end()), vertices.end());
    return vertices;
}

std::vector<double> CoverClaims::reachOf(std::size_t p, double beyond, const Field& limit) const {
    std::vector<double> reach(mesh_.positions.size(), 1.0);
    if (beyond > 0.0) {
        reach = distancesAlong(mesh_, verticesOf(p));
        for (std::size_t v = 0; v < reach.size(); ++v) {
            reach[v] = std::min(beyond - reach[v], valueAt(shares_->depths(p), v));
        }
    }
    for (std::size_t v = 0; v < reach.size() && !limit.empty(); ++v) {
        reach[v] = std::min(reach[v], valueAt(limit, v));
    }
    return reach;
}

Sheet CoverClaims::partUnder(std::size_t p, double beyond, const std::vector<double>& reach) const {
    TriangleMesh from;
    from.positions = mesh_.positions;
    for (std::size_t t = 0; t < pieces_.size(); ++t) {
        if (pieces_[t] == static_cast<std::int32_t>(p) || beyond > 0.0) {
            from.triangles.push_back(mesh_.triangles[t]);
            from.sourceFaces.push_back(mesh_.sourceFaces[t]);
        }
    }
    Notes untold;
    Sheet part = sheetOf(partAbove(from, reach), untold);
    return part.mesh.triangles.empty() ? part : inSpatialOrder(chosenPiece(std::move(part), nullptr, untold));
}

void CoverClaims::leave(std::size_t p, const Field& limit) {
    std::vector<double> reach(mesh_.positions.size());
    for (std::size_t v = 0; v < reach.size(); ++v) {
        reach[v] = v < ground_->vertexCount() + added_.size() ? valueAt(limit, v) : 0.0;
    }
    std::vector<char> isOwn(reach.size(), 0);
    for (const std::int32_t v : verticesOf(p)) {
        isOwn[at(v)] = at(v) < ground_->vertexCount() + added_.size() ? 1 : 0;
    }
    SplitMesh split = splitEdges(mesh_, [&](std::int32_t low, std::int32_t high) -> std::optional<double> {
        const double a = reach[at(low)];
        const double b = reach[at(high)];
        return isOwn[at(low)] != 0 && isOwn[at(high)] != 0 && (a > 0.0) != (b > 0.0)
                   ? std::optional(std::clamp(a / (a - b), edgeEnd, 1.0 - edgeEnd))
                   : std::nullopt;
    });
    std::vector<std::int32_t> pieces;
    for (std::size_t t = 0; t < split.mesh.triangles.size(); ++t) {
        const Triangle& corners = split.mesh.triangles[t];
        const std::int32_t piece = pieces_[at(split.parents[t])];
        const bool holds = std::any_of(corners.begin(), corners.end(), [&](std::int32_t v) {
            return at(v) < reach.size() && reach[at(v)] > 0.0;
        });
        pieces.push_back(piece == static_cast<std::int32_t>(p) && !holds ? TerritoryShares::bare : piece);
    }
    mesh_ = std::move(split.mesh);
    pieces_ = std::move(pieces);
}

} // namespace drape::host
