// One drape as drawings and files take it.
#pragma once

#include "host/search/trial.h"
#include "tool/settings.h"

namespace tool {

// The scene holds on to `trial`, `curves` and `cut`.
Scene sceneOf(const Settings& settings, const Trial& trial, const CutLines& cut,
              std::span<const CurveResult> curves, const std::string& report, const std::string& ply);

} // namespace tool
