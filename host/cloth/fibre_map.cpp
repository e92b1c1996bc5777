// A triangle takes its fibres from the cell nearest to its centroid, if that cell lies over it; beside a slit
// from one of its own side.
#include "host/cloth/fibre_map.h"

#include "host/cloth/draped_cells.h"
#include "host/cloth/fibre_directions.h"

namespace drape::host {

using namespace vec;

namespace {

Point inPlane(const Point& direction, const Point& normal) {
    return unit(direction - scale(normal, dot(direction, normal)));
}

} // namespace

std::vector<TriangleFibres> mapFibres(const Mould& mould, const Grid& grid, const Measures& measures) {
    std::vector<TriangleFibres> fibres(mould.triangleCount());
    const DrapedCells cells(grid, measures);
    for (std::size_t t = 0; t < fibres.size(); ++t) {
        const Facet& facet = mould.facets[t];
        const CellPlace place = cells.nearestOver(facet);
        if (place.cover == Cover::none) {
            continue;
        }
        const Cell& cell = measures.cells[place.cell];
        fibres[t] = {place.cover, static_cast<std::int32_t>(place.cell), cell.shear,
                     inPlane(warpInCell(grid, cell, place.across), facet.normal),
                     inPlane(weftInCell(grid, cell, place.along), facet.normal)};
    }
    return fibres;
}

} // namespace drape::host
