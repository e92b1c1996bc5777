// Repair of a front whose row has a defect.
#pragma once

#include "fronts/defect.h"

namespace drape {

// Throws the row away, tries the front once more by straight steps and cuts it at the defect that stands.
// The first new front takes the place of the old one, at `frontIndex`. `defects` has room for ten records,
// `defectCount` of them live; `saved` has room for ten too and holds them while the trial is built, and what
// stands there beyond the live ones is copied along. False with the code of the first failure.
bool repairFront(std::int32_t& frontIndex, std::int32_t& defectCount, DefectRecord* defects,
                 DefectRecord* saved, std::int32_t& status);

} // namespace drape
