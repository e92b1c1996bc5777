// The drawings of a drape; each gives the bytes of a file.
#pragma once

#include "tool/draw/scene.h"

#include <string>

namespace tool {

enum class Drawing { svg, pdf, png };

std::string flatPattern(const Scene& scene, Drawing drawing);
std::string mouldPicture(const Scene& scene, Drawing drawing);

} // namespace tool
