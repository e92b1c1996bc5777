// The part goes in as its points and faces, to the last bit, so that the page drapes what the program draped
// whatever kind of file it came from.
#include "tool/page.h"

#include "host/mesh/point.h"
#include "tool/write/base64.h"
#include "tool/write/file_kinds.h"
#include "tool/write/sweep_json.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace tool {
namespace {

constexpr std::string_view slot = R"(<script id="drape-part" type="application/json">)";

void append(std::string& bytes, const void* data, std::size_t size) {
    bytes.append(static_cast<const char*>(data), size);
}

Json partJson(const PagePart& part) {
    return {{"points", part.points}, {"polygons", part.faces}, {"data", base64(part.bytes)}};
}

template <class T>
Json orNull(const std::optional<T>& value) {
    return value ? Json(*value) : Json();
}

Json curvesJson(const Settings& settings, std::span<const DrawnCurve> drawn) {
    Json curves = Json::array();
    for (std::size_t k = 0; k < drawn.size(); ++k) {
        curves.push_back({{"file", std::filesystem::path(settings.curves[k]).filename().string()},
                          {"name", drawn[k].name},
                          {"points", drawn[k].points},
                          {"directions", drawn[k].directions}});
    }
    return curves;
}

// The page's settings; those that were left to the program stay open.
Json settingsJson(const Story& story, std::span<const DrawnCurve> drawn) {
    const Settings& settings = story.settings;
    const Trial& trial = story.trial;
    Json clips = Json::array();
    for (const Plane& plane : settings.surface.clips) {
        const auto& [p, n] = plane;
        clips.push_back({p[0], p[1], p[2], n[0], n[1], n[2]});
    }
    const StartWishes& start = settings.trial.start;
    const bool named = start.stepA || trial.within;
    const bool usualName = settings.ply == std::filesystem::path(settings.input).stem().string();
    return {{"seed", trial.choice.seed},
            {"angle", trial.angle},
            {"step", named ? Json{trial.choice.stepA, trial.choice.stepB} : Json()},
            {"pivot", start.pivotByGridLine ? "grid" : "shear"},
            {"locking", settings.trial.lockingAngle},
            {"side", orNull(settings.surface.side)},
            {"rosette", orNull(start.rosette)},
            {"warp", orNull(start.warp)},
            {"tolerance", orNull(start.tolerance)},
            {"mostNodes", orNull(settings.trial.mostNodes)},
            {"fillHoles", settings.surface.fillHoles},
            {"weld", settings.surface.weld},
            {"clips", clips},
            {"within", settings.trial.withinLargest ? Json("max") : orNull(settings.trial.within)},
            {"keepGood", settings.keepGood},
            {"millimetresPerUnit", settings.millimetresPerUnit},
            {"name", usualName ? Json() : Json(settings.ply)},
            {"allowance", settings.allowance},
            {"curves", curvesJson(settings, drawn)},
            {"cutCurves", settings.cutCurves},
            {"passedOver", orNull(story.passedOver)}};
}

Json sweepJson(const std::vector<SweepResult>* ranked) {
    Json list = Json::array();
    for (std::size_t k = 0; ranked != nullptr && k < ranked->size(); ++k) {
        list.push_back(jsonOf((*ranked)[k]));
    }
    return list;
}

// A text within a script element ends at the first "</".
std::string safeInScript(std::string json) {
    for (std::size_t at = 0; (at = json.find("</", at)) != std::string::npos; at += 3) {
        json.insert(at + 1, "\\");
    }
    return json;
}

} // namespace

bool isPage(const std::string& path) {
    struct Kind {
        std::string_view ending;
    };
    static const std::vector<Kind> page{{".html"}};
    return kindOf(page, path) != nullptr;
}

std::optional<std::string> pageTemplate() {
    std::error_code none;
    const std::filesystem::path folder = std::filesystem::canonical("/proc/self/exe", none).parent_path();
    for (const char* place : {"../share/drape/drape.html", "../../web/web/drape.html"}) {
        const std::filesystem::path path = folder / place;
        if (!folder.empty() && std::filesystem::is_regular_file(path, none)) {
            return path.lexically_normal().string();
        }
    }
    return std::nullopt;
}

PagePart pagePartOf(const PolygonSoup& part) {
    PagePart packed{part.points.size(), part.polygons.size(), {}};
    append(packed.bytes, part.points.data(), part.points.size() * sizeof(Point));
    for (const auto& polygon : part.polygons) {
        const auto corners = static_cast<std::int32_t>(polygon.size());
        append(packed.bytes, &corners, sizeof corners);
        append(packed.bytes, polygon.data(), polygon.size() * sizeof(std::int32_t));
    }
    return packed;
}

PagePart pagePartOf(const Mould& part) {
    PagePart packed{part.positions.size(), part.triangleCount(), {}};
    append(packed.bytes, part.positions.data(), part.positions.size() * sizeof(Point));
    for (std::size_t t = 0; t < part.triangleCount(); ++t) {
        const std::int32_t* corners = &part.corners[3 * t];
        const std::array<std::int32_t, 4> face{3, corners[0] - 1, corners[1] - 1, corners[2] - 1};
        append(packed.bytes, face.data(), sizeof face);
    }
    return packed;
}

std::string pageOf(const std::string& pageFile, const Story& story, const PagePart& part,
                   std::span<const DrawnCurve> drawn, const std::string& report) {
    std::ifstream in(pageFile, std::ios::binary);
    std::string page((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    const std::size_t at = page.find(slot);
    if (at == std::string::npos) {
        throw std::runtime_error("the page's template can't be read");
    }
    Json data{{"file", std::filesystem::path(story.settings.input).filename().string()}};
    data.update(partJson(part));
    data["settings"] = settingsJson(story, drawn);
    data["sweep"] = sweepJson(story.ranked);
    data["report"] = Json::parse(report);
    page.insert(at + slot.size(), safeInScript(data.dump(-1, ' ', false, Json::error_handler_t::replace)));
    return page;
}

} // namespace tool
