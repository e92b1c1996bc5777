// A row on trial: built by straight steps, examined and taken away again.
#pragma once

#include "fronts/defect.h"

namespace drape {

// Looks for a defect in the trial row of the front at `frontIndex`, whose own row must be gone. `found` and
// `defect` are those of findDefect. After success the store and the links hold what they held before.
bool tryRow(std::int32_t frontIndex, std::int32_t& found, DefectRecord& defect, std::int32_t& status);

} // namespace drape
