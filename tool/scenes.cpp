// Names and units come from the settings, the rest is the drape's.
#include "tool/scenes.h"

#include <filesystem>

namespace tool {

Scene sceneOf(const Settings& settings, const Trial& trial, const CutLines& cut,
              std::span<const CurveResult> curves, const std::string& report, const std::string& ply) {
    return {trial.mould.get(),
            &trial.choice,
            &trial.grid,
            &trial.measures,
            &cut,
            curves,
            report,
            settings.millimetresPerUnit,
            ply,
            std::filesystem::path(settings.input).filename().string(),
            textOf(trial.side),
            settings.paper,
            {}};
}

} // namespace tool
