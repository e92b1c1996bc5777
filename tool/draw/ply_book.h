// The book that goes with a laminate to the workshop: a table of all plies, a page for each, and core
// samples.
#pragma once

#include "tool/draw/drawings.h"
#include "tool/draw/ply_sheet.h"

#include <string>

namespace tool {

struct PlyBook {
    const Laminate& laminate;
    const std::vector<std::unique_ptr<PlySheet>>& sheets;
    const std::vector<CoreSample>& cores;
    double millimetresPerUnit = 1.0;
    std::string mouldName;
    std::string layupName;
};

// A PDF, pages of A4 across.
std::string plyBookPdf(const PlyBook& book);

// The core samples alone, side by side.
std::string coreDrawing(const PlyBook& book, Drawing drawing);

} // namespace tool
