// The page: one HTML file that a browser opens and that drapes live, with the part, its settings and its
// report inside. Its template is built apart from the program.
#pragma once

#include "host/mesh/triangle_mesh.h"
#include "tool/settings.h"

#include <optional>
#include <string>

namespace tool {

constexpr const char* pageEnding = ".html";

// Where the template is: installed beside the program, or built by the preset `web` beside the program's own
// build. Nothing if it's in neither place.
std::optional<std::string> pageTemplate();

// The bytes of the page. `part` as it was read; `report` in JSON. Throws std::runtime_error if the template
// can't be read.
std::string pageOf(const Settings& settings, const PolygonSoup& part, const Trial& trial,
                   const std::string& report);

} // namespace tool
