// The flat pattern for a cutting table: closed polylines in millimetres in the oldest ASCII form of DXF
// (R12), which every table reads. Layers: OUTLINE (the net pattern), CURVE (the transferred curve),
// WARP (an arrow along the warp) and SEED (a point).
#include "tool/write/file_numbers.h"
#include "tool/write/writers.h"

#include <algorithm>
#include <string_view>

namespace tool {
namespace {

using FlatPoint = std::array<double, 2>;

class DxfFile {
public:
    DxfFile(const FlatPoint& low, const FlatPoint& high) {
        group(0, "SECTION");
        group(2, "HEADER");
        group(9, "$ACADVER");
        group(1, "AC1009");
        group(9, "$EXTMIN");
        place(low);
        group(9, "$EXTMAX");
        place(high);
        group(0, "ENDSEC");
        addLayers();
        group(0, "SECTION");
        group(2, "ENTITIES");
    }

    void polyline(std::string_view layer, const std::vector<FlatPoint>& points, bool closed) {
        if (points.size() < 2) {
            return;
        }
        entity("POLYLINE", layer);
        group(66, "1");
        place({0.0, 0.0});
        group(70, closed ? "1" : "0");
        for (const FlatPoint& point : points) {
            entity("VERTEX", layer);
            place(point);
        }
        entity("SEQEND", layer);
    }

    void point(std::string_view layer, const FlatPoint& at) {
        entity("POINT", layer);
        place(at);
    }

    std::string bytes() {
        group(0, "ENDSEC");
        group(0, "EOF");
        return text_;
    }

private:
    void group(int code, std::string_view value) {
        const std::string number = std::to_string(code);
        text_.append(number.size() < 3 ? 3 - number.size() : 0, ' ');
        text_ += number + "\n";
        text_ += value;
        text_ += "\n";
    }

    void place(const FlatPoint& at) {
        group(10, fileNumber(at[0]));
        group(20, fileNumber(at[1]));
        group(30, "0");
    }

    void entity(std::string_view kind, std::string_view layer) {
        group(0, kind);
        group(8, layer);
    }

    void addLayers() {
        struct Layer {
            std::string_view name, colour;
        };
        constexpr std::array<Layer, 4> layers{
            {{"OUTLINE", "7"}, {"CURVE", "1"}, {"WARP", "5"}, {"SEED", "3"}}};
        group(0, "SECTION");
        group(2, "TABLES");
        group(0, "TABLE");
        group(2, "LAYER");
        group(70, std::to_string(layers.size()));
        for (const Layer& layer : layers) {
            group(0, "LAYER");
            group(2, layer.name);
            group(70, "0");
            group(62, layer.colour);
            group(6, "CONTINUOUS");
        }
        group(0, "ENDTAB");
        group(0, "ENDSEC");
    }

    std::string text_;
};

std::vector<FlatPoint> scaled(std::vector<FlatPoint> points, double scale) {
    for (FlatPoint& point : points) {
        point = {scale * point[0], scale * point[1]};
    }
    return points;
}

} // namespace

std::string outlineDxf(const Scene& scene) {
    const double scale = scene.millimetresPerUnit;
    std::vector<std::vector<FlatPoint>> loops;
    for (const NetLoop& loop : scene.measures->net.loops) {
        loops.push_back(scaled(loop.flat, scale));
    }
    std::vector<std::vector<FlatPoint>> curves;
    std::vector<bool> closed;
    for (const CurveResult& curve : scene.curves) {
        for (const CurveStretch& stretch : curve.stretches) {
            curves.push_back(scaled(stretch.flat, scale));
            closed.push_back(stretch.closed);
        }
    }
    FlatPoint low{0.0, 0.0}; // the seed lies at the origin and is drawn too
    FlatPoint high{0.0, 0.0};
    const auto reach = [&](const std::vector<FlatPoint>& points) {
        for (const FlatPoint& point : points) {
            for (std::size_t k = 0; k < 2; ++k) {
                low[k] = std::min(low[k], vec::finite(point[k]));
                high[k] = std::max(high[k], vec::finite(point[k]));
            }
        }
    };
    std::for_each(loops.begin(), loops.end(), reach);
    std::for_each(curves.begin(), curves.end(), reach);

    DxfFile file(low, high);
    for (const auto& loop : loops) {
        file.polyline("OUTLINE", loop, true);
    }
    for (std::size_t k = 0; k < curves.size(); ++k) {
        file.polyline("CURVE", curves[k], closed[k]);
    }
    if (scene.grid->count > 0) {
        const double arrow = 4.0 * scene.choice->stepA * scale;
        const double barb = 0.2 * arrow;
        file.point("SEED", {0.0, 0.0});
        file.polyline("WARP", {{0.0, 0.0}, {arrow, 0.0}}, false);
        file.polyline("WARP", {{arrow - barb, barb}, {arrow, 0.0}, {arrow - barb, -barb}}, false);
    }
    return file.bytes();
}

} // namespace tool
