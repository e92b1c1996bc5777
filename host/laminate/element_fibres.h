// The fibres of one ply on each element of a solver's mesh: directions, their angles to what angles are
// counted from, and how much thicker the sheared cloth is.
#pragma once

#include "host/mesh/shell_mesh.h"
#include "host/search/piece_claims.h"

namespace drape::host {

// What an element's own nodes say of it.
struct ElementFrame {
    Point normal{}; // of unit length, by the order of the nodes; that of the diagonals on a quad
    Point side{};   // from corner 1 towards corner 2, laid into the element's plane, of unit length
};

std::vector<ElementFrame> framesOf(const ShellMesh& shell);

// Where the elements lie on a mould that was made of them: middle, normal on the side of the cloth, area. The
// area is 0 for an element of which the mould holds nothing.
std::vector<Facet> facetsOf(const Mould& mould, std::size_t elements);

enum class ElementCover {
    none = 0,   // no cloth, or cut off
    whole = 1,  // a cell that lies on the mould with all its corners
    edge = 2,   // a cell that hangs over an edge of the mould
    carried = 3 // none at its middle, less than a cell beyond the last cells; fibres of the nearest neighbour
};

struct ElementFibres {
    ElementCover cover = ElementCover::none;
    std::int32_t piece = 0; // the piece that lies on top, 0-based
    Point warp{};           // unit vectors in the element's plane
    Point weft{};
    double shear = 0.0;     // degrees
    double thickness = 1.0; // how many times as thick as flat cloth
    bool above = true;      // the cloth lies on the side that the element's own normal points to
    double toSide = 0.0;    // degrees from the element's side 1-2 to the warp, about its own normal
    double toRosette = 0.0; // degrees from the rosette laid into the element to the warp, seen from the
                            // cloth's side; not a number where the rosette stands upright on the element
};

// What makes a ply's fibres. A ply in one piece may be cut off at a curve.
struct PlyCloth {
    std::vector<const Trial*> drapes;     // one per piece
    const std::vector<FlatPoint>& region; // the curve on the flat pattern, empty for the whole cloth
    const PieceClaims* claims = nullptr;  // which piece lies on top, null for a ply in one piece

    std::int32_t pieceAt(const Point& place) const { return claims != nullptr ? claims->pieceAt(place) : 0; }
};

// `facets` are those of the mould that the ply was draped over.
std::vector<ElementFibres> fibresOnElements(const PlyCloth& cloth, const ShellMesh& shell,
                                            const std::vector<ElementFrame>& frames,
                                            const std::vector<Facet>& facets, const Point& rosette);

// The fibres at a single place of the mould; cover `none` where there is no cloth.
ElementFibres fibresAt(const PlyCloth& cloth, const Facet& place, const Point& rosette);

} // namespace drape::host
