// Each layer is hatched by its angle to the rosette as seen from its own side of the mould, and named beside
// as long as names have room.
#include "tool/draw/core_column.h"

#include "host/mesh/text.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <numbers>

namespace tool {
namespace {

// Millimetres.
constexpr double textSize = 3.2;
constexpr double mouldHeight = 3.0;
constexpr Colour layerColours[] = {
    {0.90, 0.93, 0.97}, {0.97, 0.94, 0.88}, {0.91, 0.96, 0.90}, {0.95, 0.91, 0.96}};

// Lines across a layer: along it for 0 degrees, dots for 90, leaning in between.
void hatch(Canvas& canvas, const Box& box, double degrees) {
    cairo_t* cairo = canvas.cairo();
    cairo_save(cairo);
    cairo_rectangle(cairo, box.x, box.y, box.width, box.height);
    cairo_clip(cairo);
    canvas.colour(ink, 0.6);
    const double turn = degrees * std::numbers::pi / 180.0;
    const double along = std::abs(std::cos(turn));
    const double gap = std::clamp(box.height / 3.0, 0.8, 3.0);
    const double middle = box.y + 0.5 * box.height;
    if (along < 0.02) {
        for (double x = box.x + 0.5 * gap; x < box.x + box.width; x += gap) {
            cairo_arc(cairo, x, middle, 0.12 * gap, 0.0, 2.0 * std::numbers::pi);
            cairo_fill(cairo);
        }
    } else if (along > 0.9998) {
        for (double y = box.y + 0.5 * gap; y < box.y + box.height; y += gap) {
            canvas.path({{box.x, y}, {box.x + box.width, y}}, false);
        }
        canvas.stroke(0.15);
    } else {
        const double lean = box.height * std::cos(turn) / std::sin(turn);
        const double pace = gap / std::abs(std::sin(turn)); // so that lines are a gap apart at any angle
        for (double x = box.x - std::abs(lean); x < box.x + box.width + std::abs(lean); x += pace) {
            canvas.path({{x, box.y + box.height}, {x + lean, box.y}}, false);
        }
        canvas.stroke(0.15);
    }
    cairo_restore(cairo);
}

// From where to where a layer is drawn over the mould, in millimetres, below 0 on its other side. Without
// thicknesses all layers are drawn alike.
std::vector<std::array<double, 2>> drawnHeights(const CoreSample& core, double room) {
    const auto below = static_cast<double>(
        std::count_if(core.layers.begin(), core.layers.end(), [](const auto& l) { return l.onOtherSide; }));
    const double even = room / std::max(1.0, static_cast<double>(core.layers.size()));
    std::vector<std::array<double, 2>> heights;
    for (std::size_t k = 0; k < core.layers.size(); ++k) {
        const CoreLayer& layer = core.layers[k];
        const double place = static_cast<double>(k) - below;
        const double perUnit = core.thickness > 0.0 ? room / core.thickness : 0.0;
        heights.push_back(perUnit > 0.0
                              ? std::array{perUnit * layer.bottom, perUnit * (layer.bottom + layer.thickness)}
                              : std::array{even * place, even * (place + 1.0)});
    }
    return heights;
}

} // namespace

void drawCore(Canvas& canvas, const Laminate& laminate, const CoreSample& core, double millimetresPerUnit,
              const Box& box) {
    canvas.colour(ink);
    canvas.textWithin(
        box.x, box.y + textSize, 1.1 * textSize, box.width,
        "Core at " + pointText(core.place) +
            (core.element >= 0
                 ? ", element " + std::to_string(laminate.shell.elements[at(core.element)].number)
                 : std::string()));
    canvas.textWithin(box.x, box.y + 2.6 * textSize, textSize, box.width,
                      counted(core.layers.size(), "layer", "layers") + ", " +
                          number(core.thickness * millimetresPerUnit) + " mm thick");
    const double top = box.y + 4.0 * textSize;
    const double lowest = box.y + box.height - 5.0;
    const double width = 0.4 * box.width;
    const auto heights = drawnHeights(core, lowest - mouldHeight - top);
    // The mould's own side, and the other.
    const double base = lowest - mouldHeight + (heights.empty() ? 0.0 : std::min(0.0, heights.front()[0]));
    const double otherBase = base + mouldHeight;
    double lastText = std::numeric_limits<double>::infinity();
    for (std::size_t k = 0; k < core.layers.size(); ++k) {
        const CoreLayer& layer = core.layers[k];
        const PlyWish& wish = laminate.plies[layer.ply].wish;
        const double height = heights[k][1] - heights[k][0];
        const double bottom = (layer.onOtherSide ? otherBase : base) - heights[k][0];
        const Box bar{box.x, bottom - height, width, height};
        canvas.colour(layerColours[layer.ply % std::size(layerColours)]);
        cairo_rectangle(canvas.cairo(), bar.x, bar.y, bar.width, bar.height);
        cairo_fill_preserve(canvas.cairo());
        canvas.colour(ink);
        canvas.stroke(0.2);
        if (std::isfinite(layer.fibres.toRosette)) {
            hatch(canvas, bar, layer.fibres.toRosette);
        }
        const double line = bottom - 0.5 * height + 0.35 * textSize;
        const bool meetsMould = layer.onOtherSide && line - otherBase < 1.2 * textSize;
        if (lastText - line < 1.2 * textSize || meetsMould) {
            continue; // thinner than its name
        }
        lastText = line;
        canvas.colour(ink);
        const std::string angle =
            std::isfinite(layer.fibres.toRosette) ? fixed(layer.fibres.toRosette, 1) + "°" : std::string("?");
        canvas.textWithin(box.x + width + 3.0, line, textSize, box.width - width - 3.0,
                          std::to_string(layer.ply + 1) + "  " +
                              laminate.plies[layer.ply].nameOf(layer.fibres.piece) + ", " + wish.cloth.name +
                              "  " + angle + "  " + number(layer.thickness * millimetresPerUnit) + " mm" +
                              (layer.onOtherSide ? ", seen from below" : ""));
    }
    canvas.colour({0.74, 0.75, 0.77});
    cairo_rectangle(canvas.cairo(), box.x, base, width, mouldHeight);
    cairo_fill(canvas.cairo());
    canvas.colour(ink);
    canvas.text(box.x + width + 3.0, otherBase, textSize, "mould");
}

} // namespace tool
