// What one ply can cover from one start: the good part of its drape, cut out of the surface and draped again
// by itself until all of it is good.
#pragma once

#include "host/cloth/good_region.h"
#include "host/mesh/slit.h"
#include "host/search/trial.h"

#include <functional>
#include <memory>

namespace drape::host {

// Where a piece of cloth starts.
struct PieceStart {
    Point seed{};
    double angle = 0.0; // degrees about the normal at the seed
};

// Values per vertex of the ground, above 0 where a piece may lie, about as far from where it may not as it
// is along the surface.
using Room = std::vector<float>;

// One candidate for a piece.
struct PieceTry {
    PieceStart start;
    std::shared_ptr<const Room> room; // null for the whole surface
    std::size_t darts = 0;            // it may get, at most
};

// What all pieces of a surface share. It never changes once a search begins, so threads may share
// it.
struct CoverGround {
    const Surface& surface;
    TrialWishes wishes;
    GoodWishes good;
    Ground ground;
    std::function<bool()> isOver = nullptr; // asked from any thread, if there is one; once it's true, no
                                            // further cloth is laid and what is under way comes to nothing
};

// `most` are the farthest extents of a piece along warp and weft, infinite for no limit. Throws InputError
// (tooFine) where there would be more cells than a search can take.
CoverGround coverGroundOf(const Surface& surface, const TrialWishes& wishes,
                          const std::array<double, 2>& most);

// Throws InputError once the search is over.
void requireTime(const CoverGround& cover);

// Plain values, so that a process can hand it to another.
struct Territory {
    PieceStart start;
    std::vector<std::int32_t> vertices; // of the ground inside or close by, rising; none if nothing can be
                                        // covered
    std::vector<float> depths;          // of each, how deep inside along the cloth; 0 and below outside
    double area = 0.0;                  // inside, in the mould's unit squared
    std::vector<std::int32_t> bare; // those inside that no cell lies over, as at a sharply bent rim; rising
    std::vector<SlitWay> slits;     // of its darts; the ground slit along them has more vertices, and
                                    // those inside come after the others
};

// Without darts, whatever it may get. The same for the same try, whatever was asked before.
Territory territoryOf(const CoverGround& cover, const PieceTry& piece);

// What a try's first run has under it, and sets `field` above 0 on the vertices of the ground there. Null if
// that is next to nothing.
std::shared_ptr<const Mould> firstMould(const CoverGround& cover, const PieceTry& piece,
                                        std::vector<double>& field);

// Per vertex of the ground, how deep inside a territory it is; far outside as deep as a cell outside. What
// `partAbove` cuts out by it is what the territory was last draped on, to the bit.
std::vector<double> depthsOver(const CoverGround& cover, const Territory& territory);

// The part of a mesh on which `field`, a value per vertex, is above 0. Where `field` is, the part hangs
// together.
TriangleMesh partAbove(const TriangleMesh& mesh, const std::vector<double>& field);

// Sets `field` below 0 on the vertices above 0 that don't hang together with the one nearest to `seed`.
void keepAround(const Ground& ground, const Point& seed, std::vector<double>& field);

// Drapes a mould that is a part of the surface, without measures. Throws InputError if that can't be done
// or the search is over.
Trial drapePart(const CoverGround& cover, std::shared_ptr<const Mould> mould, const PieceStart& start);

// Values over the ground, above 0 where a piece can be cut out of a drape: at a distance from where its cloth
// isn't good.
std::vector<double> insideOf(const GoodRegion& region, double step);

// Whether a drape came to its end in one layer with every cell within locking and lies over all that it
// should.
struct Check {
    bool good = false;
    GoodRegion region;
};

// `field` is above 0 on the vertices of the ground over which the cloth of `trial` should lie.
Check checked(const CoverGround& cover, const Trial& trial, const std::vector<double>& field);

} // namespace drape::host
