// What is asked of a laminate: its plies with their cloth, angle and start, and in which order they are laid.
#pragma once

#include "host/mesh/point.h"

#include <optional>
#include <string>
#include <vector>

namespace drape::host {

// Stiffness of flat cloth in its own axes, 1 along the warp, in one unit of stress.
struct Elasticity {
    double e1 = 0.0, e2 = 0.0, nu12 = 0.0;
    double g12 = 0.0, g13 = 0.0, g23 = 0.0;
};

struct Cloth {
    std::string name;
    double thickness = 0.0;             // of flat cloth, in the mould's unit; 0 if it isn't known
    std::optional<double> width;        // of the roll, in the mould's unit
    std::optional<double> lockingAngle; // degrees
    std::optional<double> density;      // kilograms per cubic metre
    std::optional<Elasticity> elasticity;
};

struct PlyWish {
    std::string name;
    Cloth cloth;
    double angle = 0.0; // degrees from the rosette
    std::optional<Point> seed, side;
    std::optional<double> stepA, stepB;
    std::optional<bool> pivotByGridLine;
    std::optional<double> pieces; // share of the mould that as many pieces as it takes cover; else one piece
    std::optional<std::size_t> mostPieces; // of those
    std::optional<std::size_t> darts; // in each piece, at most; of a ply in one piece the good region is laid
    std::string region; // names a closed curve, outside of which the ply is cut off; empty for none
    std::vector<std::string> after; // names of plies that lie below it
    std::string afterPlace;         // where that stands in the layup's file, for messages; may be empty
    std::string trouble;            // what is wrong with the wish itself; such a ply isn't draped
};

// The order in which plies are laid, as 0-based numbers: each behind those that it follows, level by level,
// and as they were given within a level. Where no ply says what it follows, each follows the one before.
// Throws InputError (unfit) that names the plies of a ring. Names that no ply has are passed over.
std::vector<std::size_t> layingOrder(const std::vector<PlyWish>& plies);

} // namespace drape::host
