// A whole surface covered with several pieces of cloth: where each starts, and where they meet.
#pragma once

#include "host/cloth/dart.h"
#include "host/search/for_each.h"
#include "host/search/territory.h"

#include <functional>

namespace drape::host {

constexpr std::size_t mostDarts = 6; // that a piece can be asked to have

struct CoverWishes {
    double share = 0.99;     // of the area, to be covered
    double angle = 0.0;      // degrees, of all pieces
    bool freeAngles = false; // each at the angle that suits it
    double overlap = 0.0;    // of neighbours, in the mould's unit
    std::array<double, 2> most{std::numeric_limits<double>::infinity(),
                               std::numeric_limits<double>::infinity()}; // extents along warp and weft
    std::size_t mostPieces = std::numeric_limits<std::size_t>::max(); // 1 or more; they cover what they can
    std::size_t darts = 0;                                            // in a piece, at most
};

struct CoverPiece {
    PieceStart start;
    Trial drape;             // by itself: its mould is the part of the surface under the piece; with measures
    double claimed = 0.0;    // area of the surface that is this piece's, up to its seams
    double seamLength = 0.0; // on the surface, to all neighbours
    std::vector<Dart> darts; // slits of its mould
};

// Where two pieces meet.
struct Seam {
    std::array<std::size_t, 2> pieces{}; // 0-based, the lower one first
    std::vector<Point> points;           // on the surface; the first is repeated at the end of a closed one
    double length = 0.0;
};

struct PieceSet {
    std::vector<CoverPiece> pieces;
    std::vector<Seam> seams;
    std::shared_ptr<const Mould> claims; // the surface, cut along the seams; never null
    std::vector<std::int32_t> claimOf;   // per triangle of it, the piece on top, -1 where it is bare
    double coveredShare = 0.0;           // 0 to 1
    double overlapShare = 0.0;           // area under several pieces, against that of the surface
    double largestShear = 0.0;           // degrees
    double seamLength = 0.0;
};

// Carries out `work` on each try, in any order and anywhere (by `territoryOf` where the work itself can't
// go), and returns what they gave, in order.
using TerritorySpread = std::function<std::vector<Territory>(
    const std::vector<PieceTry>& tries, const std::function<Territory(const PieceTry&)>& work)>;

TerritorySpread spreadBy(const ForEach& forEach);

// How far the search is.
struct CoverProgress {
    std::size_t tried = 0;     // candidates
    std::size_t pieces = 0;    // of the best set so far
    double coveredShare = 0.0; // by it
};

// Told of each batch of candidates; the search ends when it returns false.
using GoOn = std::function<bool(const CoverProgress&)>;

// Asked from any thread whether the search has to end at once: what is under way then comes to nothing.
using IsOver = std::function<bool()>;

// `forEach` carries out what isn't spread. Each candidate is drawn from what the ones before it gave, batch
// by batch, so the answer is the same for the same number of batches, whatever `spread` does. `heard` and
// `isOver` can be empty; `isOver` isn't asked before there is a set. The search ends by itself when it gains
// next to nothing, unless it is `endless`; then only `heard` ends it. What comes out is the best of all sets
// on the way, so more batches never give a worse one: one that covers less where not enough is covered, else
// one of more pieces or, of as many, with longer seams and gaps. Where pieces may have darts, these are
// looked for after the search without them, and a set with darts has to save a piece of it, or to cover more
// where that isn't enough.
PieceSet coveredBy(const Surface& surface, const TrialWishes& trial, const CoverWishes& wishes,
                   const TerritorySpread& spread, const ForEach& forEach, const GoOn& heard, bool endless,
                   const IsOver& isOver = nullptr);

// The good region around one start as a piece by itself; none if there is next to nothing. `forEach` carries
// out the search for darts.
PieceSet pieceFrom(const Surface& surface, const TrialWishes& trial, const CoverWishes& wishes,
                   const PieceStart& start, const ForEach& forEach);

} // namespace drape::host
