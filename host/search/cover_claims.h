// The surface cut along the lines between pieces, and the parts of it under each.
#pragma once

#include "host/mesh/edge_split.h"
#include "host/mesh/topology.h"
#include "host/search/territory_shares.h"

namespace drape::host {

// Values per vertex of the ground.
using Field = std::vector<double>;

class CoverClaims {
public:
    // Cut along the lines between shares of the ground. Both have to outlive the claims.
    CoverClaims(const Ground& ground, const TerritoryShares& shares);

    const TriangleMesh& mesh() const { return mesh_; } // its first vertices are the ground's
    // Per triangle, the piece that claims it, or `TerritoryShares::bare`.
    const std::vector<std::int32_t>& pieces() const { return pieces_; }

    // Per vertex of the mesh, above 0 on the surface under a piece: its claim and all within `beyond` of it
    // along the surface, but never beyond its territory, as far as `limit` is above 0; empty for no limit.
    // Without `beyond` what isn't claimed can be above 0 too.
    std::vector<double> reachOf(std::size_t p, double beyond, const Field& limit) const;

    // The part under a piece, of which `reach` is the above, as a file of it is read: one that hangs
    // together, numbered by place, so that it drapes to the same bits. None if there is none.
    Sheet partUnder(std::size_t p, double beyond, const std::vector<double>& reach) const;

    // Leaves bare what a piece claims where `limit` isn't above 0.
    void leave(std::size_t p, const Field& limit);

private:
    double valueAt(const Field& field, std::size_t vertex) const;
    std::vector<std::int32_t> verticesOf(std::size_t p) const;

    const Ground* ground_;
    const TerritoryShares* shares_;
    TriangleMesh mesh_;
    std::vector<EdgePoint> added_; // the vertices beyond the ground's, on edges of the ground
    std::vector<std::int32_t> pieces_;
};

} // namespace drape::host
