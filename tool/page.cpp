// The part goes in as its points and faces, to the last bit, so that the page drapes what the program draped
// whatever kind of file it came from.
#include "tool/page.h"

#include "tool/write/base64.h"

#include <array>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <nlohmann/json.hpp>
#include <stdexcept>

namespace tool {
namespace {

using Json = nlohmann::ordered_json;

constexpr std::string_view slot = R"(<script id="drape-part" type="application/json">)";

void append(std::string& bytes, const void* data, std::size_t size) {
    bytes.append(static_cast<const char*>(data), size);
}

// Three doubles per point, then for each face the number of its corners and these, as int32.
std::string packed(const PolygonSoup& part) {
    std::string bytes;
    append(bytes, part.points.data(), part.points.size() * sizeof(Point));
    for (const auto& polygon : part.polygons) {
        const auto corners = static_cast<std::int32_t>(polygon.size());
        append(bytes, &corners, sizeof corners);
        append(bytes, polygon.data(), polygon.size() * sizeof(std::int32_t));
    }
    return bytes;
}

template <class T>
Json orNull(const std::optional<T>& value) {
    return value ? Json(*value) : Json();
}

// The page's settings; those that were left to the program stay open.
Json settingsJson(const Settings& settings, const Trial& trial) {
    Json clips = Json::array();
    for (const Plane& plane : settings.surface.clips) {
        const auto& [p, n] = plane;
        clips.push_back({p[0], p[1], p[2], n[0], n[1], n[2]});
    }
    const StartWishes& start = settings.trial.start;
    const bool named = start.stepA || trial.within;
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
            {"millimetresPerUnit", settings.millimetresPerUnit}};
}

// A text within a script element ends at the first "</".
std::string safeInScript(std::string json) {
    for (std::size_t at = 0; (at = json.find("</", at)) != std::string::npos; at += 3) {
        json.insert(at + 1, "\\");
    }
    return json;
}

} // namespace

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

std::string pageOf(const Settings& settings, const PolygonSoup& part, const Trial& trial,
                   const std::string& report) {
    std::ifstream in(pageTemplate().value_or(""), std::ios::binary);
    std::string page((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    const std::size_t at = page.find(slot);
    if (at == std::string::npos) {
        throw std::runtime_error("the page's template can't be read");
    }
    const Json data{{"file", std::filesystem::path(settings.input).filename().string()},
                    {"points", part.points.size()},
                    {"polygons", part.polygons.size()},
                    {"data", base64(packed(part))},
                    {"settings", settingsJson(settings, trial)},
                    {"report", Json::parse(report)}};
    page.insert(at + slot.size(), safeInScript(data.dump(-1, ' ', false, Json::error_handler_t::replace)));
    return page;
}

} // namespace tool
