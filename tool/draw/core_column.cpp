// Each layer is hatched by its angle to the rosette as seen from above, and named beside as long as names
// have room.
#include "tool/draw/core_column.h"

#include "host/mesh/text.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace tool {
namespace {

constexpr double textSize = 3.2; // millimetres
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
    const double base = box.y + box.height - 8.0;
    const double width = 0.4 * box.width;
    const double perUnit = core.thickness > 0.0 ? (base - top) / core.thickness : 0.0;
    double lastText = base + 2.0 * textSize;
    for (std::size_t k = 0; k < core.layers.size(); ++k) {
        const CoreLayer& layer = core.layers[k];
        const PlyWish& wish = laminate.plies[layer.ply].wish;
        // Without thicknesses all layers are drawn alike.
        const double height = core.thickness > 0.0 ? perUnit * layer.thickness
                                                   : (base - top) / static_cast<double>(core.layers.size());
        const double bottom =
            core.thickness > 0.0 ? base - perUnit * layer.bottom : base - height * static_cast<double>(k);
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
        if (lastText - line < 1.2 * textSize) {
            continue; // thinner than its name
        }
        lastText = line;
        canvas.colour(ink);
        const std::string angle =
            std::isfinite(layer.fibres.toRosette) ? fixed(layer.fibres.toRosette, 1) + "°" : std::string("?");
        canvas.textWithin(box.x + width + 3.0, line, textSize, box.width - width - 3.0,
                          std::to_string(layer.ply + 1) + "  " +
                              laminate.plies[layer.ply].nameOf(layer.fibres.piece) + ", " + wish.cloth.name +
                              "  " + angle + "  " + number(layer.thickness * millimetresPerUnit) + " mm");
    }
    canvas.colour({0.74, 0.75, 0.77});
    cairo_rectangle(canvas.cairo(), box.x, base, width, 3.0);
    cairo_fill(canvas.cairo());
    canvas.colour(ink);
    canvas.text(box.x + width + 3.0, base + 3.0, textSize, "mould");
}

} // namespace tool
