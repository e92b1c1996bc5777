// Where a drape starts and which way its fibres run there: seed, warp, weft and cell lengths from the
// caller's wishes and the surface.
#pragma once

#include "host/cloth/mould.h"
#include "host/mesh/note.h"
#include "host/mesh/surface_point.h"

#include <cstdint>
#include <optional>

namespace drape::host {

// Where and how to drape.
struct Choice {
    Point seed{};
    Point warp{};    // direction 1 at the seed
    Point weft{};    // direction 4 at the seed
    Point normal{};  // unit normal of the surface at the seed, on the side of the cloth
    Point rosette{}; // unit vector at the seed from which the ply's angle counts
    double stepA = 0.0;
    double stepB = 0.0;
    double tolerance = 0.0;
    bool pivotByGridLine = true;
    std::int32_t nodeCapacity = 0;
};

// What a caller may ask of a start; what is left out follows from the surface.
struct StartWishes {
    // Directions of any length above 0, laid into the surface at the seed: where angle 0 is, and where the
    // warp goes before it's turned. Each stands for the other where one is missing, +x for both.
    std::optional<Point> rosette;
    std::optional<Point> warp;
    std::optional<double> stepA;     // cell length along the warp
    std::optional<double> stepB;     // along the weft; that of the warp if it isn't given
    std::optional<double> tolerance; // lengths below this count as nothing
    bool pivotByGridLine = true;     // else at the least sheared cell of the row before
};

constexpr double cellsAcross = 40.0;

// How far a place lies along a fixed direction, square to no edge that people draw: of places that are equal
// but for rounding the one that comes first is taken, so that neither a file's unit nor its digits decide.
double along(const Point& place);

// Distances that are equal but for rounding in a file of single precision, in square roots of the mould's
// area.
constexpr double equallyNear = 5e-7;

// Where a drape starts that is asked to start at `point`: the nearest point of the mould, on its nearest
// triangle. Where triangles that face differently are equally near but for the tolerance, as on an edge or a
// vertex of a curved mould, rounding and the order of the file's triangles would decide between them, and
// with them how the warp is laid and where rows run that follow the mesh's edges; on the mould's own edge,
// whether a row along it lies on the mould at all. There the one that comes first along a fixed direction is
// taken, and the start moved into it by about a hundredth of a cell, until it's clear of the others; that is
// told.
SurfacePoint seedOn(const Mould& mould, const Point& point, const std::array<double, 2>& steps, Notes& notes);

// What a reader wants to tell apart of places: a thousandth of a cell.
double finestOf(const std::array<double, 2>& steps);

// Cell lengths: as wished, or about 40 cells across a surface of this area.
std::array<double, 2> stepsFor(const StartWishes& wishes, double area);

// Tells if one side of a cell is so much longer than the other that a row beyond the mould's edge may fold.
void tellOfSlenderCells(const std::array<double, 2>& steps, Notes& notes);

// Warp is the wanted direction laid into the seed triangle's plane and turned by `angle` degrees about its
// normal; weft is square to it. Both are unit vectors. Throws InputError (upright) if a direction that was
// asked for stands upright on the surface there.
Choice choiceAt(const Mould& mould, const SurfacePoint& seed, const StartWishes& wishes, double angle,
                const std::array<double, 2>& steps, Notes& notes);

// Degrees from the rosette to the warp at the seed, above -180 and up to 180, anticlockwise seen from the
// side on which the cloth lies.
double plyAngle(const Choice& choice);

// Throws InputError (tooCoarse) if lengths that count as nothing come near to the cell's.
void checkTolerance(const StartWishes& wishes, const std::array<double, 2>& steps);

} // namespace drape::host
