// Names and units come from the settings, the rest is the drape's.
#include "tool/scenes.h"

#include "host/search/piece_claims.h"

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

Scene sceneOfPiece(const Settings& settings, const PieceSet& set, std::size_t piece, const CutLines& cut,
                   const std::string& report) {
    Scene scene = sceneOf(settings, set.pieces[piece].drape, cut, {}, report,
                          settings.ply + "-" + std::to_string(piece + 1));
    scene.darts = set.pieces[piece].darts;
    scene.seams = seamsOnPattern(set, piece);
    return scene;
}

} // namespace tool
