// The page: one HTML file that a browser opens and that drapes live, with the part, its settings and its
// report inside. Its template is built apart from the program.
#pragma once

#include "host/cloth/curve.h"
#include "host/mesh/triangle_mesh.h"
#include "tool/report.h"

#include <optional>
#include <span>
#include <string>

namespace tool {

// Whether a file name asks for a page.
bool isPage(const std::string& path);

// Where the template is: installed beside the program, or built by the preset `web` beside the program's own
// build. Nothing if it's in neither place.
std::optional<std::string> pageTemplate();

// A surface as a page holds it, to the last bit: three doubles per point, then for each face the number of
// its corners and these, from 0, as int32.
struct PagePart {
    std::size_t points = 0;
    std::size_t faces = 0;
    std::string bytes;
};
PagePart pagePartOf(const PolygonSoup& part);
PagePart pagePartOf(const Mould& part);

// The bytes of the page. `part` as it was read, `drawn` the curves of the settings in their order, `report`
// in JSON. Throws std::runtime_error if the template can't be read.
std::string pageOf(const std::string& pageFile, const Story& story, const PagePart& part,
                   std::span<const DrawnCurve> drawn, const std::string& report);

} // namespace tool
