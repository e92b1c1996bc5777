// The claims' triangles are parts of the surface's, so the one under a place says whose it is.
#include "host/search/piece_claims.h"

#include "host/cloth/cell_cover.h"
#include "host/cloth/mould_mesh.h"

#include <algorithm>

namespace drape::host {

PieceClaims::PieceClaims(const PieceSet& set) : set_(set), mesh_(meshOf(*set.claims)), tree_(mesh_) {}

std::vector<std::vector<FlatPoint>> seamsOnPattern(const PieceSet& set, std::size_t piece) {
    const Trial& drape = set.pieces[piece].drape;
    const CellCover cells(drape.grid, drape.measures.cells);
    std::vector<std::vector<FlatPoint>> lines;
    for (const Seam& seam : set.seams) {
        if (std::find(seam.pieces.begin(), seam.pieces.end(), piece) == seam.pieces.end()) {
            continue;
        }
        bool goesOn = false;
        for (const Point& point : seam.points) {
            Facet place = drape.mould->facets[nearestPoint(*drape.mould, point).triangle];
            place.centroid = point;
            const CellPlace found = cells.nearestOver(place);
            if (found.cover != Cover::none) {
                if (!goesOn) {
                    lines.emplace_back();
                }
                lines.back().push_back(flatPlace(drape.grid, drape.measures.cells[found.cell], found));
            }
            goesOn = found.cover != Cover::none;
        }
    }
    std::erase_if(lines, [](const auto& line) { return line.size() < 2; });
    return lines;
}

} // namespace drape::host
