// An element takes its fibres at its middle. Elements smaller than a cell can lie beyond the last cell
// although the cloth ends with the mould there; they take those of their nearest neighbour within a cell.
#include "host/laminate/element_fibres.h"

#include "host/cloth/draped_cells.h"
#include "host/cloth/fibre_directions.h"

#include <algorithm>
#include <limits>
#include <numbers>

namespace drape::host {

using namespace vec;

namespace {

constexpr double leastSine = 0.02; // between a direction and the normal, for the direction to say something
constexpr int mostRounds = 8;      // of neighbours beyond the last cells

Point inPlane(const Point& direction, const Point& normal) {
    return direction - scale(normal, dot(direction, normal));
}

// Degrees from `from` to `to` about `normal`, above -180 and up to 180.
double turnBetween(const Point& from, const Point& to, const Point& normal) {
    const double degrees = std::atan2(dot(normal, cross(from, to)), dot(from, to)) * 180.0 / std::numbers::pi;
    return degrees <= -180.0 ? 180.0 : degrees + 0.0;
}

// Lays the fibres into a plane and takes the angles; `normal` is the element's own, `above` that of the
// cloth.
void lay(ElementFibres& fibres, const ElementFrame& frame, const Point& above, const Point& rosette) {
    fibres.warp = unit(inPlane(fibres.warp, frame.normal));
    fibres.weft = unit(inPlane(fibres.weft, frame.normal));
    fibres.toSide = turnBetween(frame.side, fibres.warp, frame.normal);
    const Point zero = inPlane(unit(rosette), frame.normal);
    fibres.above = dot(frame.normal, above) >= 0.0;
    const double sense = fibres.above ? 1.0 : -1.0;
    fibres.toRosette = length(zero) < leastSine ? std::numeric_limits<double>::quiet_NaN()
                                                : turnBetween(zero, fibres.warp, scale(frame.normal, sense));
}

// At the middle of a facet, not laid into any plane yet.
ElementFibres found(const DrapedCells& cells, const PlyCloth& cloth, std::int32_t piece, const Facet& facet) {
    const Trial& drape = *cloth.drapes[at(piece)];
    const CellPlace place = facet.area > 0.0 ? cells.nearestOver(facet) : CellPlace{};
    ElementFibres fibres;
    if (place.cover == Cover::none) {
        return fibres;
    }
    const Cell& cell = drape.measures.cells[place.cell];
    if (!cloth.region.empty() && !liesWithin(flatPlace(drape.grid, cell, place), cloth.region)) {
        return fibres;
    }
    fibres.cover = place.cover == Cover::whole ? ElementCover::whole : ElementCover::edge;
    fibres.piece = piece;
    fibres.warp = warpInCell(drape.grid, cell, place.across);
    fibres.weft = weftInCell(drape.grid, cell, place.along);
    fibres.shear = cell.shear;
    fibres.thickness = thicknessFactor(cell.shear);
    return fibres;
}

// Elements around each point.
std::vector<std::vector<std::int32_t>> elementsAround(const ShellMesh& shell) {
    std::vector<std::vector<std::int32_t>> around(shell.points.size());
    for (std::size_t e = 0; e < shell.elements.size(); ++e) {
        for (std::size_t k = 0; k < shell.elements[e].corners; ++k) {
            around[at(shell.elements[e].nodes[k])].push_back(static_cast<std::int32_t>(e));
        }
    }
    return around;
}

// Per element without cloth, the covered element whose fibres it takes, -1 for none. Those on which no piece
// lies stay without.
std::vector<std::int32_t> carriedFrom(const std::vector<ElementFibres>& fibres,
                                      const std::vector<std::int32_t>& pieceOn, const ShellMesh& shell,
                                      const std::vector<Facet>& facets, double reach) {
    const auto around = elementsAround(shell);
    std::vector<std::int32_t> source(fibres.size(), -1);
    for (std::size_t e = 0; e < fibres.size(); ++e) {
        source[e] = fibres[e].cover != ElementCover::none ? static_cast<std::int32_t>(e) : -1;
    }
    bool changed = true;
    for (int round = 0; round < mostRounds && changed; ++round) {
        changed = false;
        const std::vector<std::int32_t> before = source;
        for (std::size_t e = 0; e < source.size(); ++e) {
            if (before[e] >= 0 || pieceOn[e] < 0 || !(facets[e].area > 0.0)) {
                continue;
            }
            double nearest = reach;
            for (std::size_t k = 0; k < shell.elements[e].corners; ++k) {
                for (const std::int32_t other : around[at(shell.elements[e].nodes[k])]) {
                    const std::int32_t from = before[at(other)];
                    const double away =
                        from < 0 ? reach : distance(facets[at(from)].centroid, facets[e].centroid);
                    if (away < nearest && dot(facets[at(from)].normal, facets[e].normal) > 0.0) {
                        nearest = away;
                        source[e] = from;
                        changed = true;
                    }
                }
            }
        }
    }
    return source;
}

} // namespace

std::vector<ElementFrame> framesOf(const ShellMesh& shell) {
    std::vector<ElementFrame> frames;
    frames.reserve(shell.elements.size());
    for (const ShellElement& element : shell.elements) {
        const auto corner = [&](std::size_t k) { return shell.points[at(element.nodes[k])]; };
        Point normal{};
        if (element.corners == 4) {
            normal = cross(corner(2) - corner(0), corner(3) - corner(1));
        } else {
            for (std::size_t k = 2; k < element.corners; ++k) {
                normal = normal + cross(corner(k - 1) - corner(0), corner(k) - corner(0));
            }
        }
        normal = unit(normal);
        frames.push_back({normal, unit(inPlane(corner(1) - corner(0), normal))});
    }
    return frames;
}

std::vector<Facet> facetsOf(const Mould& mould, std::size_t elements) {
    std::vector<Facet> facets(elements);
    const auto ofElement = [&](std::size_t t) { return at(mould.sourceFaces[t]); };
    for (std::size_t t = 0; t < mould.triangleCount(); ++t) {
        if (ofElement(t) > 0) {
            Facet& facet = facets[ofElement(t) - 1];
            const Facet& part = mould.facets[t];
            facet.area += part.area;
            facet.centroid = facet.centroid + part.area * part.centroid;
            facet.normal = facet.normal + part.area * part.normal;
        }
    }
    for (Facet& facet : facets) {
        if (facet.area > 0.0) {
            facet.centroid = scale(facet.centroid, 1.0 / facet.area);
            facet.normal = unit(facet.normal);
        }
    }
    for (std::size_t t = 0; t < mould.triangleCount(); ++t) {
        for (std::size_t k = 0; k < 3 && ofElement(t) > 0; ++k) {
            Facet& facet = facets[ofElement(t) - 1];
            facet.reach = std::max(facet.reach, distance(facet.centroid, mould.corner(t, k)));
        }
    }
    return facets;
}

std::vector<ElementFibres> fibresOnElements(const PlyCloth& cloth, const ShellMesh& shell,
                                            const std::vector<ElementFrame>& frames,
                                            const std::vector<Facet>& facets, const Point& rosette) {
    std::vector<std::int32_t> pieceOn;
    for (const Facet& facet : facets) {
        pieceOn.push_back(facet.area > 0.0 ? cloth.pieceAt(facet.centroid) : -1);
    }
    std::vector<ElementFibres> all(shell.elements.size());
    bool any = false;
    for (std::size_t p = 0; p < cloth.drapes.size(); ++p) {
        const auto piece = static_cast<std::int32_t>(p);
        const DrapedCells cells(cloth.drapes[p]->grid, cloth.drapes[p]->measures);
        for (std::size_t e = 0; e < all.size(); ++e) {
            all[e] = pieceOn[e] == piece ? found(cells, cloth, piece, facets[e]) : all[e];
            any = any || all[e].cover != ElementCover::none;
        }
    }
    // Beyond the line of a region there is no cloth to carry on.
    if (any && cloth.region.empty()) {
        const Choice& choice = cloth.drapes.front()->choice;
        const auto source = carriedFrom(all, pieceOn, shell, facets, std::max(choice.stepA, choice.stepB));
        for (std::size_t e = 0; e < all.size(); ++e) {
            if (all[e].cover == ElementCover::none && source[e] >= 0) {
                all[e] = all[at(source[e])];
                all[e].cover = ElementCover::carried;
            }
        }
    }
    for (std::size_t e = 0; e < all.size(); ++e) {
        if (all[e].cover != ElementCover::none) {
            lay(all[e], frames[e], facets[e].normal, rosette);
        }
    }
    return all;
}

ElementFibres fibresAt(const PlyCloth& cloth, const Facet& place, const Point& rosette) {
    const std::int32_t piece = cloth.pieceAt(place.centroid);
    if (piece < 0) {
        return {};
    }
    const Trial& drape = *cloth.drapes[at(piece)];
    ElementFibres fibres = found(DrapedCells(drape.grid, drape.measures), cloth, piece, place);
    if (fibres.cover != ElementCover::none) {
        lay(fibres, {place.normal, place.normal}, place.normal, rosette);
    }
    return fibres;
}

} // namespace drape::host
