// The drawings of a drape; each gives the bytes of a file.
#pragma once

#include "tool/draw/scene.h"

#include <string>

namespace tool {

enum class Drawing { svg, pdf, png };

// One page. As a PDF it's true to size; other files are enlarged where the pattern is too small to be read.
std::string flatPattern(const Scene& scene, Drawing drawing);

// A PDF, true to size: one page where `scene.paper` asks for none and viewers can show it, else tiles.
std::string printedPattern(const Scene& scene);

// A PDF of sheets of paper to be joined, with a map of them in front. Throws std::runtime_error if there were
// beyond all measure.
std::string tiledPattern(const Scene& scene, const Paper& paper);

std::string mouldPicture(const Scene& scene, Drawing drawing);

} // namespace tool
