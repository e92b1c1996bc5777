// Pieces hang together across edges; where several are as near or as large, the first one is kept.
#include "host/mesh/pieces.h"

#include "host/mesh/surface_point.h"
#include "host/mesh/text.h"

#include <algorithm>

namespace drape::host {

using namespace vec;

namespace {

constexpr double equallyLarge = 1e-6; // share of the area

} // namespace

Sheet chosenPiece(Sheet sheet, const Point* near, Notes& notes) {
    const TriangleMesh& mesh = sheet.mesh;
    const Neighbours found = sheet.neighbours.empty() ? topologyOf(mesh).neighbours : Neighbours{};
    const std::vector<std::int32_t> piece = piecesOf(sheet.neighbours.empty() ? found : sheet.neighbours);
    const std::int32_t pieces = piece.empty() ? 0 : *std::max_element(piece.begin(), piece.end()) + 1;
    if (pieces <= 1) {
        return sheet;
    }
    std::int32_t chosen = 0;
    if (near != nullptr) {
        chosen = piece[nearestSurfacePoint(mesh, *near).triangle];
    } else {
        std::vector<double> area(static_cast<std::size_t>(pieces), 0.0);
        for (std::size_t t = 0; t < piece.size(); ++t) {
            area[static_cast<std::size_t>(piece[t])] +=
                areaOf(mesh.corner(t, 0), mesh.corner(t, 1), mesh.corner(t, 2));
        }
        // The first of those that are as large but for rounding.
        const double enough = (1.0 - equallyLarge) * *std::max_element(area.begin(), area.end());
        const auto first = std::find_if(area.begin(), area.end(), [=](double a) { return a >= enough; });
        chosen = static_cast<std::int32_t>(first - area.begin());
    }
    std::vector<char> keep(piece.size());
    std::transform(piece.begin(), piece.end(), keep.begin(),
                   [&](std::int32_t p) { return static_cast<char>(p == chosen); });
    TriangleMesh kept = keptPart(mesh, keep);
    tell(notes, NoteKind::pieceKept,
         "kept the piece " + std::string(near != nullptr ? "nearest to the seed" : "of the largest area") +
             " of " + std::to_string(pieces) + " pieces: " + std::to_string(kept.triangles.size()) + " of " +
             counted(mesh.triangles.size(), "triangle", "triangles"));
    return {std::move(kept), {}};
}

} // namespace drape::host
