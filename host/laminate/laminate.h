// A laminate as it comes to lie on a mould: each ply of a layup draped, with its fibres on every element.
#pragma once

#include "host/cloth/curve.h"
#include "host/laminate/element_fibres.h"
#include "host/laminate/layup.h"
#include "host/search/for_each.h"

#include <map>
#include <memory>

namespace drape::host {

// What was draped of one ply: one drape, or pieces of which a ply with darts has one; neither if it couldn't
// be draped. Plies that are alike share them.
struct LaidPly {
    PlyWish wish;
    std::shared_ptr<const Trial> trial;
    std::shared_ptr<const PieceSet> pieces;
    bool onOtherSide = false; // of the mould than plies that name no side
    std::string trouble;      // why there is no drape, or why it ended early; empty if all is well
    Notes notes;
    std::vector<CurveResult> curves;   // the region's edge, if it has a region
    std::vector<FlatPoint> region;     // the same on the pattern
    std::vector<ElementFibres> fibres; // one per element; empty without a trial

    bool isLaid() const { return trial || pieces; }
    bool inPieces() const { return pieces && wish.pieces; }
    std::vector<const Trial*> drapes() const; // one per piece

    // "P3", or of the piece 1 (0-based) "P3-2".
    std::string nameOf(std::int32_t piece) const {
        return wish.name + (inPieces() ? "-" + std::to_string(piece + 1) : std::string());
    }

    double thicknessOn(std::size_t element) const {
        return fibres.empty() || fibres[element].cover == ElementCover::none
                   ? 0.0
                   : wish.cloth.thickness * fibres[element].thickness;
    }
};

struct Laminate {
    ShellMesh shell;
    std::vector<ElementFrame> frames; // per element
    std::vector<Facet> facets;        // per element, on the bare mould
    Point rosette{};
    std::vector<LaidPly> plies;         // from the mould outward
    std::shared_ptr<const Mould> mould; // bare
    Side side;                          // of the mould, on which plies lie that name none
};

// What holds for all plies, and what stands where a ply says nothing of its own.
struct LaminateWishes {
    SurfaceWishes surface;
    TrialWishes trial;
    bool startAtMiddle = false; // where neither the ply nor the surface names a seed
    bool buildUp = false;       // each ply lies on those below it
    CoverWishes cover; // of plies in pieces or with darts, but for their share, angle and a roll's width
};

// The closed curves that regions name, by their names.
using RegionCurves = std::map<std::string, DrawnCurve>;

// `plies` stand in the order in which they are laid. What goes wrong with one ply is its trouble; the others
// lie as if it weren't there. Throws InputError where the mould itself can't be draped. `notes` are those on
// the surface.
Laminate laid(const ShellMesh& shell, const std::vector<PlyWish>& plies, const LaminateWishes& wishes,
              const RegionCurves& regions, const ForEach& forEach, Notes& notes);

// What lies at a place. Heights count from the mould along its normal, in its unit, and are below 0 for plies
// on the other side.
struct CoreLayer {
    std::size_t ply = 0; // index into the plies
    ElementFibres fibres;
    bool onOtherSide = false; // of the mould than its normal points to; angles are seen from there
    double bottom = 0.0;
    double thickness = 0.0;
};
struct CoreSample {
    Point asked{};
    Point place{};                 // on the mould
    Point normal{};                // on the side of plies that name none
    double distance = 0.0;         // between the two
    std::int32_t element = -1;     // index into the elements
    std::vector<CoreLayer> layers; // along the normal, the lowest first
    double thickness = 0.0;
};

// At the point of the bare mould nearest to `place`; only plies that have cloth there are listed. `element`
// is -1 on a hole that was filled.
CoreSample coreAt(const Laminate& laminate, const Point& place);

} // namespace drape::host
