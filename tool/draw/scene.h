// What a drawing or a file may show of one finished drape.
#pragma once

#include "host/cloth/curve.h"
#include "host/cloth/grid.h"
#include "host/cloth/measure.h"
#include "host/cloth/mould.h"
#include "host/cloth/start.h"

#include <span>
#include <string>

namespace tool {

using namespace drape::host;

// The grid and the measures may be partial or empty.
struct Scene {
    const Mould* mould = nullptr;
    const Choice* choice = nullptr;
    const Grid* grid = nullptr;
    const Measures* measures = nullptr;
    std::span<const CurveResult> curves;
    std::string reportJson;          // text of the JSON report
    double millimetresPerUnit = 1.0; // scale of the 1:1 drawings
};

} // namespace tool
