// One drape as drawings and files take it.
#pragma once

#include "host/search/cover.h"
#include "host/search/trial.h"
#include "tool/settings.h"

namespace tool {

// The scene holds on to `trial`, `curves` and `cut`.
Scene sceneOf(const Settings& settings, const Trial& trial, const CutLines& cut,
              std::span<const CurveResult> curves, const std::string& report, const std::string& ply);

// One piece of a set, with its darts and seams. The scene holds on to the set and `cut`.
Scene sceneOfPiece(const Settings& settings, const PieceSet& set, std::size_t piece, const CutLines& cut,
                   const std::string& report);

} // namespace tool
