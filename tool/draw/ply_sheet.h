// What drawings and reports show of one ply of a laminate, or of one piece of it: its scene, with the pattern
// cut at its region.
#pragma once

#include "host/laminate/laminate.h"
#include "tool/draw/scene.h"

#include <memory>

namespace tool {

struct PlySheet {
    const LaidPly* ply = nullptr;
    const Trial* drape = nullptr; // null if there is none
    std::size_t sequence = 0;     // of the ply, from 1
    std::size_t piece = 0;        // of the ply, from 1; 0 for a ply in one piece
    double coveredShare = 0.0;    // of the whole mould; by a piece, up to its seams
    Measures measures;            // with the net pattern as it's cut
    CutLines cut;
    Scene scene;                // points to the two above; of use where the ply was draped
    double area = 0.0;          // of flat cloth, in the mould's unit squared
    std::optional<double> mass; // grams

    bool isDraped() const { return drape != nullptr; }

    // "3" and "P3", or of a piece "3.2" and "P3-2".
    std::string number() const {
        return std::to_string(sequence) + (piece > 0 ? "." + std::to_string(piece) : "");
    }
    std::string name() const { return ply->nameOf(static_cast<std::int32_t>(piece) - 1); }
};

struct SheetWishes {
    double allowance = 0.0; // in the mould's unit
    double millimetresPerUnit = 1.0;
    std::string mouldName;
};

// One for each ply, or for each of its pieces, in the order in which plies are laid.
std::vector<std::unique_ptr<PlySheet>> sheetsOf(const Laminate& laminate, const SheetWishes& wishes);

} // namespace tool
