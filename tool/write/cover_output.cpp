// Chooses what to write of several pieces by the ending of a file name.
#include "tool/write/writers.h"

#include "tool/draw/drawings.h"
#include "tool/write/file_kinds.h"

#include <functional>
#include <stdexcept>
#include <string_view>

namespace tool {
namespace {

constexpr std::string_view pieceEnding = ".pieces.obj";

struct Kind {
    std::string_view ending;
    std::string_view what;
    std::function<std::string(const CoverScene&)> bytes; // none for a file per piece
};

// Longer endings stand before the shorter ones that they contain.
const std::vector<Kind>& kinds() {
    static const std::vector<Kind> table{
        {pieceEnding, "the surface under each piece, in files of their own", nullptr},
        {".fibres.vtp", "fibres and piece per mesh triangle, VTK PolyData", piecesFibresVtp},
        {".fibres.csv", "fibres and piece per mesh triangle, table", piecesFibresCsv},
        {".vtp", "the grids of all pieces, VTK PolyData",
         [](const CoverScene& scene) { return piecesVtp(scene.pieces); }},
        {".glb", "the grids of all pieces, glTF",
         [](const CoverScene& scene) { return piecesGltf(scene.pieces, true); }},
        {".gltf", "the same as text",
         [](const CoverScene& scene) { return piecesGltf(scene.pieces, false); }},
        {".pdf", "the flat patterns, 1:1, a page or a set of sheets for each",
         [](const CoverScene& scene) { return printedPatterns(scene.pieces); }},
        {".dxf", "the flat patterns side by side",
         [](const CoverScene& scene) { return outlineDxf(scene.pieces); }},
        {".pattern.svg", "", nullptr},
        {".pattern.png", "", nullptr},
        {".svg", "the pieces on the surface, with their seams",
         [](const CoverScene& scene) { return coverPicture(scene, Drawing::svg); }},
        {".png", "the same, image",
         [](const CoverScene& scene) { return coverPicture(scene, Drawing::png); }},
        {".json", "report", [](const CoverScene& scene) { return scene.reportJson; }}};
    return table;
}

const Kind* writableKind(const std::string& path) {
    const Kind* kind = kindOf(kinds(), path);
    return kind == nullptr || kind->what.empty() ? nullptr : kind;
}

} // namespace

bool isKnownCoverOutput(const std::string& path) {
    return writableKind(path) != nullptr;
}

std::string coverOutputHelp() {
    return helpOf(kinds());
}

std::vector<std::string> writeCoverOutput(const std::string& path, const CoverScene& scene) {
    const Kind* kind = writableKind(path);
    if (kind == nullptr) {
        throw std::runtime_error("cannot tell from the name " + path + " what to write of several pieces");
    }
    if (kind->bytes) {
        writeWhole(path, kind->bytes(scene));
        return {path};
    }
    std::vector<std::string> written;
    const std::string name = path.substr(0, path.size() - pieceEnding.size());
    for (std::size_t p = 0; p < scene.pieces.size(); ++p) {
        written.push_back(name + ".piece" + std::to_string(p + 1) + ".obj");
        writeWhole(written.back(), pieceObj(scene, p));
    }
    return written;
}

} // namespace tool
