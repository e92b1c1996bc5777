// The results of a sweep as tables.
#pragma once

#include "host/search/ranking.h"

#include <string>
#include <vector>

namespace tool {

using namespace drape::host;

// Rows in the order of the candidates. The head line comes with the first part only, so that the files of all
// parts make one table when they are put one behind the other.
std::string sweepCsv(std::vector<SweepResult> results, bool withHead);

// The best results as a table for people, with seeds so exactly that differences of `fine` show.
std::string sweepTable(const std::vector<SweepResult>& ranked, std::size_t most, double fine = 0.0);

} // namespace tool
