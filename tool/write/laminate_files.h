// A laminate as files for solvers, viewers and tables.
#pragma once

#include "host/laminate/laminate.h"

#include <string>

namespace tool {

using namespace drape::host;

// Which face of the shell the nodes of the mesh stand for.
enum class ShellReference { middle, mould };

struct LaminateFile {
    const Laminate& laminate;
    ShellReference reference = ShellReference::middle;
    bool inMillimetres = true; // densities can be written for decks in N, mm, t
    std::string title;         // a line on what it is
};

enum class InpDialect { calculix, abaqus };

// Decks without a step: nodes, elements with their numbers, sets, and a composite section per group of
// elements that have the same plies. Elements without any ply are left out. Throw std::runtime_error where an
// element can't be written.
std::string laminateInp(const LaminateFile& file, InpDialect dialect);
std::string laminateBdf(const LaminateFile& file);

// What draping does to each ply on each element, as tables: in a bulk deck of plies and stacks for
// OptiStruct, and alone for Radioss.
std::string laminateDrapeFem(const LaminateFile& file);
std::string laminateDrapeRad(const LaminateFile& file);

// Per element and ply.
std::string laminateCsv(const LaminateFile& file);
std::string laminateVtu(const LaminateFile& file);

// Elements on which no ply lies.
std::size_t bareElements(const Laminate& laminate);

// Names of cloths without the stiffness that a deck asks for.
std::vector<std::string> clothsWithoutStiffness(const Laminate& laminate);

} // namespace tool
