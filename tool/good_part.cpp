// A code that another start or finer cells may mend says that the cloth folds; other codes say nothing of it.
#include "tool/good_part.h"

#include "host/cloth/status_text.h"
#include "host/search/cover.h"

namespace tool {

std::optional<GoodPart> goodPartOf(const Settings& settings, const Surface& surface, const Trial& trial,
                                   const ForEach& forEach) {
    const Remedy remedy = textOfStatus(trial.grid.status).remedy;
    const bool folds = remedy == Remedy::otherStart || remedy == Remedy::finerOrOther;
    if (trial.within || trial.grid.count == 0 || (!folds && !settings.keepGood)) {
        return std::nullopt;
    }
    PieceSet set =
        pieceFrom(surface, settings.trial, settings.cover.wishes, {trial.choice.seed, trial.angle}, forEach);
    if (set.pieces.empty()) {
        return std::nullopt;
    }
    CoverPiece& piece = set.pieces.front();
    return GoodPart{std::move(piece.drape), set.coveredShare, settings.keepGood, std::move(piece.darts)};
}

} // namespace tool
