// The drawings of a drape; each gives the bytes of a file.
#pragma once

#include "tool/draw/cover_scene.h"

#include <string>

namespace tool {

enum class Drawing { svg, pdf, png };

// One page. As a PDF it's true to size; other files are enlarged where the pattern is too small to be read.
std::string flatPattern(const Scene& scene, Drawing drawing);

// A PDF, true to size: one page where `scene.paper` asks for none and viewers can show it, else tiles.
std::string printedPattern(const Scene& scene);

// The same with a page, or a set of sheets, for each of several pieces.
std::string printedPatterns(std::span<const Scene> pieces);

std::string mouldPicture(const Scene& scene, Drawing drawing);

// The pieces on the surface in colours of their own.
std::string coverPicture(const CoverScene& scene, Drawing drawing);

} // namespace tool
