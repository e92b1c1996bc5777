// Which piece of a set lies on top at places of the surface, and where its seams run on the pieces' patterns.
#pragma once

#include "host/cloth/flat_overlap.h"
#include "host/mesh/surface_tree.h"
#include "host/search/cover.h"

namespace drape::host {

class PieceClaims {
public:
    explicit PieceClaims(const PieceSet& set); // `set` must outlive it
    PieceClaims(const PieceClaims&) = delete;
    PieceClaims& operator=(const PieceClaims&) = delete;

    // The piece that claims the place of the surface nearest to `place`, 0-based; -1 where it is bare.
    std::int32_t pieceAt(const Point& place) const { return set_.claimOf[tree_.nearest(place).triangle]; }

private:
    const PieceSet& set_;
    TriangleMesh mesh_;
    SurfaceTree tree_;
};

// The seams of one piece as lines on its flat pattern, broken where its cloth doesn't lie under them.
std::vector<std::vector<FlatPoint>> seamsOnPattern(const PieceSet& set, std::size_t piece);

} // namespace drape::host
