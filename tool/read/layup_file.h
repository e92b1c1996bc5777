// A layup from a file, CSV or JSON by its ending: one line or object per ply.
#pragma once

#include "host/laminate/layup.h"

#include <string>
#include <vector>

namespace tool {

using namespace drape::host;

constexpr int layupVersion = 1;

// In the order of the file. A ply that can't be understood carries its trouble, with line and column; what
// can't be read as a layup at all throws InputError with the same. Regions are paths that begin at the file's
// folder.
std::vector<PlyWish> readLayup(const std::string& path);

} // namespace tool
