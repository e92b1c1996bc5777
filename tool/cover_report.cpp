// Lengths and areas are in the file's unit, angles in degrees, shares between 0 and 1.
#include "tool/cover_report.h"

#include "host/mesh/text.h"
#include "tool/dart_report.h"
#include "tool/report.h"

#include <nlohmann/json.hpp>

namespace tool {
namespace {

using Json = nlohmann::ordered_json;

std::string line(const std::string& name, const std::string& text) {
    return name + std::string(name.size() < 10 ? 10 - name.size() : 1, ' ') + text + "\n";
}

std::string percent(double share) {
    return fixed(100.0 * share, 1) + " %";
}

Json pieceJson(const CoverPiece& piece, bool withDarts) {
    const auto& e = piece.drape.measures.net.extent;
    const Point& seed = piece.drape.choice.seed;
    Json json{{"seed", {seed[0], seed[1], seed[2]}},
              {"angle", piece.drape.angle},
              {"area", piece.drape.measures.net.area},
              {"extent", {e[0], e[1], e[2], e[3]}},
              {"largestShear", piece.drape.measures.largestShear},
              {"seamLength", piece.seamLength}};
    if (withDarts) {
        json["darts"] = dartsJson(piece.darts);
    }
    return json;
}

} // namespace

std::string captionOf(const PieceSet& set) {
    return counted(set.pieces.size(), "piece", "pieces") + "   cover " + percent(set.coveredShare) +
           "   largest shear " + fixed(set.largestShear, 1) + "°   seams " + number(set.seamLength) + " long";
}

std::string coverSummary(const Settings& settings, const Surface& surface, const PieceSet& set) {
    std::string text = line("mould", settings.input + ": " +
                                         counted(surface.mould->triangleCount(), "triangle", "triangles") +
                                         ", area " + number(surface.mould->area));
    text += line("cloth", "cells " + number(surface.steps[0]) + " by " + number(surface.steps[1]) + ", " +
                              (settings.cover.wishes.freeAngles ? "each piece at its own angle"
                                                                : "all pieces at " + number(settings.angle) +
                                                                      " degrees from the rosette"));
    text +=
        line("cover", counted(set.pieces.size(), "piece", "pieces") + " cover " + percent(set.coveredShare) +
                          " of it; " + percent(set.overlapShare) + " lies under more than one");
    text += line("shear", "largest " + fixed(set.largestShear, 1) + " degrees, locking at " +
                              number(settings.trial.lockingAngle));
    text += line("seams", counted(set.seams.size(), "seam", "seams") + ", " + number(set.seamLength) +
                              " long together");
    for (std::size_t p = 0; p < set.pieces.size(); ++p) {
        const CoverPiece& piece = set.pieces[p];
        const Measures& m = piece.drape.measures;
        text += line("piece " + std::to_string(p + 1),
                     percent(piece.claimed / surface.mould->area) + " of the mould, net area " +
                         number(m.net.area) + ", " + number(m.net.extent[2] - m.net.extent[0]) + " by " +
                         number(m.net.extent[3] - m.net.extent[1]) + ", seed " +
                         pointText(piece.drape.choice.seed) + ", angle " + number(piece.drape.angle) +
                         ", largest shear " + fixed(m.largestShear, 1));
        for (std::size_t d = 0; d < piece.darts.size(); ++d) {
            text += line("", "dart " + std::to_string(d + 1) + ": " + dartText(piece.darts[d]));
        }
    }
    return text;
}

std::string coverJson(const Settings& settings, const Surface& surface, const PieceSet& set,
                      double wallSeconds) {
    Json pieces = Json::array();
    for (const CoverPiece& piece : set.pieces) {
        pieces.push_back(pieceJson(piece, settings.cover.wishes.darts > 0));
    }
    Json report{{"format", "drape-report"},
                {"version", reportVersion},
                {"program", "drape " DRAPE_TOOL_VERSION},
                {"input", {{"file", settings.input}, {"millimetresPerUnit", settings.millimetresPerUnit}}},
                {"mould", {{"triangles", surface.mould->triangleCount()}, {"area", surface.mould->area}}},
                {"cover",
                 {{"pieces", pieces},
                  {"count", set.pieces.size()},
                  {"coveredShare", set.coveredShare},
                  {"overlapShare", set.overlapShare},
                  {"largestShear", set.largestShear},
                  {"seamLength", set.seamLength}}},
                {"seconds", {{"wall", wallSeconds}}}};
    return report.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}

} // namespace tool
