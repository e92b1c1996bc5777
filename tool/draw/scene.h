// What a drawing or a file may show of one finished drape.
#pragma once

#include "host/cloth/curve.h"
#include "host/cloth/dart.h"
#include "host/cloth/grid.h"
#include "host/cloth/measure.h"
#include "host/cloth/mould.h"
#include "host/cloth/start.h"
#include "tool/draw/cut_lines.h"
#include "tool/draw/paper.h"

#include <optional>
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
    const CutLines* cut = nullptr;
    std::span<const CurveResult> curves;
    std::string reportJson;                      // text of the JSON report
    double millimetresPerUnit = 1.0;             // scale of the 1:1 drawings
    std::string ply;                             // its name
    std::string mouldName;                       // of the file
    std::string side;                            // on which the cloth lies, in words
    std::optional<Paper> paper;                  // for tiles instead of one page
    std::vector<std::int64_t> faceNumbers;       // of the file's faces, empty where they count from 1
    std::vector<std::vector<FlatPoint>> seams{}; // to neighbouring pieces, as lines on the flat pattern
    std::span<const Dart> darts{};
};

} // namespace tool
