// The good region around the seed of a drape that folds or locks elsewhere, draped by itself.
#pragma once

#include "host/cloth/dart.h"
#include "host/search/for_each.h"
#include "host/search/trial.h"
#include "tool/settings.h"

#include <optional>

namespace tool {

struct GoodPart {
    Trial drape;
    double share = 0.0; // of the mould's area
    bool kept = false;  // in the place of the whole drape
    std::vector<Dart> darts{};
};

// Of a drape of `surface` that ended with a code, or if the settings ask for it; none if the drape is good
// all over, or if nothing of it is. `forEach` carries
// out the search for darts.
std::optional<GoodPart> goodPartOf(const Settings& settings, const Surface& surface, const Trial& trial,
                                   const ForEach& forEach);

} // namespace tool
