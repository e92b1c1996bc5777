// What the program says about the darts of a piece.
#pragma once

#include "host/cloth/dart.h"

#include <nlohmann/json.hpp>
#include <span>
#include <string>

namespace tool {

// "a V of 32 at its mouth, 24.1 degrees, 118 long, tip at ..."; lengths in the file's unit.
std::string dartText(const drape::host::Dart& dart);

// A list, one entry per dart: lengths in the file's unit, angles in degrees.
nlohmann::ordered_json dartsJson(std::span<const drape::host::Dart> darts);

} // namespace tool
