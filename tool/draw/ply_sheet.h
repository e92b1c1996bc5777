// What drawings and reports show of one ply of a laminate: its scene, with the pattern cut at its region.
#pragma once

#include "host/laminate/laminate.h"
#include "tool/draw/scene.h"

#include <memory>

namespace tool {

struct PlySheet {
    const LaidPly* ply = nullptr;
    std::size_t sequence = 0; // from 1
    Measures measures;        // with the net pattern as it's cut
    CutLines cut;
    Scene scene;                // points to the two above; of use where the ply was draped
    double area = 0.0;          // of flat cloth, in the mould's unit squared
    std::optional<double> mass; // grams

    bool isDraped() const { return ply->trial != nullptr; }
};

struct SheetWishes {
    double allowance = 0.0; // in the mould's unit
    double millimetresPerUnit = 1.0;
    std::string mouldName;
};

std::vector<std::unique_ptr<PlySheet>> sheetsOf(const Laminate& laminate, const SheetWishes& wishes);

} // namespace tool
