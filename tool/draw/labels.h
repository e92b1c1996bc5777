// What stands in words on every drawing of a ply, so that it can be told from others and laid the right way
// up.
#pragma once

#include "tool/draw/scene.h"

#include <string>
#include <vector>

namespace tool {

// What a dart is, for a drawing; `number` counts from 1.
std::string dartLabel(const Dart& dart, std::size_t number, double millimetresPerUnit);

// "Ply skin"; a name that says itself that it's a ply's stands alone.
std::string plyTitle(const Scene& scene);

// "THIS SIDE UP: ..."
std::string sideLabel(const Scene& scene);

// "warp at 30 degrees from the rosette (1, 0, 0), ..."
std::string angleLabel(const Scene& scene);

// "net 437.7 × 281.2 mm + allowance 15 mm"
std::string sizeLabel(const Scene& scene);

// "mould part.stl, 1 unit = 25.4 mm"
std::string mouldLabel(const Scene& scene);

// Name, side, angle and mould, a line each.
std::vector<std::string> plyLabels(const Scene& scene);

} // namespace tool
