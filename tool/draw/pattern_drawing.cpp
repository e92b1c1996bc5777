// The flat pattern on one page, with a legend that says what it is, which way up it lies and how large it is
// drawn. A page can be of any size; what viewers show ends at 200 inches.
#include "host/mesh/point.h"
#include "host/mesh/text.h"
#include "tool/draw/labels.h"
#include "tool/draw/pattern_art.h"

#include <algorithm>
#include <cmath>

namespace tool {
namespace {

constexpr double imageSize = 1500.0; // pixels of the longer side

// Millimetres, before texts and lines grow with the pattern.
constexpr double sheetSize = 400.0; // of a pattern up to which nothing grows
constexpr double leastWidth = 190.0;
constexpr double margin = 10.0;
constexpr double legendGap = 9.0;
constexpr double legendHeight = 33.0;
constexpr double textSize = 3.6;

constexpr double largestPage = 5080.0;     // millimetres that viewers of PDF files show
constexpr double smallestVector = 50.0;    // millimetres below which a vector file is enlarged
constexpr double smallestReadable = 150.0; // millimetres that it's enlarged to, and an image

const Paper paperForPlotters{841.0, 1189.0, true};

struct Page {
    double width = 0.0, height = 0.0;
    double legendTop = 0.0;
    double enlargement = 1.0;
    Placement placement;
};

// 1, 2 or 5 with zeros, at or above `least`.
double roundFactor(double least) {
    const double zeros = std::pow(10.0, std::floor(std::log10(least)));
    for (const double digit : {1.0, 2.0, 5.0}) {
        if (digit * zeros >= least) {
            return digit * zeros;
        }
    }
    return 10.0 * zeros;
}

double enlargementOf(double size, Drawing drawing) {
    const bool tooSmall = drawing == Drawing::png   ? size < smallestReadable
                          : drawing == Drawing::svg ? size < smallestVector
                                                    : false;
    return tooSmall && size > 0.0 ? roundFactor(smallestReadable / size) : 1.0;
}

Page layOut(const Scene& scene, Drawing drawing) {
    const auto [low, high] = reachOf(scene);
    const double mm = scene.millimetresPerUnit;
    Page page;
    page.enlargement = enlargementOf(mm * std::max(high[0] - low[0], high[1] - low[1]), drawing);
    Placement& placement = page.placement;
    placement.perUnit = mm * page.enlargement;
    const double width = placement.perUnit * (high[0] - low[0]);
    const double height = placement.perUnit * (high[1] - low[1]);
    placement.growth = std::max(1.0, std::max(width, height) / sheetSize);
    const double g = placement.growth;
    page.width = std::max(width, leastWidth * g) + 2.0 * margin * g;
    page.legendTop = (margin + legendGap) * g + height;
    page.height = page.legendTop + (legendHeight + margin) * g;
    placement.originX = 0.5 * (page.width - width) - placement.perUnit * low[0];
    placement.originY = margin * g + placement.perUnit * high[1];
    return page;
}

std::string overlapKey(const Scene& scene) {
    return liesOverItself(scene.measures->net) ? "Magenta: the pattern lies over itself. " : "";
}

std::string keyText(const Scene& scene, const Page& page, bool isImage) {
    const NetPattern& net = scene.measures->net;
    return (isImage                   ? std::string()
            : page.enlargement == 1.0 ? std::string("Drawn 1 : 1. ")
                                      : "Drawn " + number(page.enlargement) + " : 1. ") +
           (scene.cut->allowance > 0.0 ? "Heavy line: cut. Light line: net. " : "") +
           (scene.curves.empty() ? "" : "Red line: transferred curve. ") +
           (scene.seams.empty() ? "" : "Green dashes: seam. ") + overlapKey(scene) +
           (net.clothEdgeLength > 0.0 ? "Blue line: the cloth ends before the mould. " : "");
}

void drawLegend(Canvas& canvas, const Page& page, const Scene& scene, const ShearScale& scale) {
    const double g = page.placement.growth;
    const double size = textSize * g;
    const double left = margin * g;
    const double room = page.width - 2.0 * left;
    double line = page.legendTop + size;
    canvas.colour(ink);
    canvas.textWithin(left, line, size, room,
                      plyTitle(scene) + "   " + sizeLabel(scene) + "   " + captionOf(scene));
    line += 1.45 * size;
    canvas.textWithin(left, line, 0.85 * size, room, sideLabel(scene) + "   " + angleLabel(scene));
    line += 1.35 * size;
    const std::string warning = warningOf(scene);
    canvas.colour(warning.empty() ? paleInk : Colour{0.75, 0.05, 0.10});
    canvas.textWithin(
        left, line, 0.85 * size, room,
        mouldLabel(scene) + "   " +
            (warning.empty() ? keyText(scene, page, canvas.isImage()) : warning + "   " + overlapKey(scene)));
    line += 2.6 * size;
    const double bar = roundLength(std::max(0.5 * room / page.enlargement, 1e-9));
    drawScaleBar(canvas, left, line, bar * page.enlargement, bar, 0.85 * size);
    if (!scene.measures->cells.empty()) {
        const double width = 75.0 * g;
        const double barLeft = page.width - left - width - 2.0 * size;
        canvas.colour(ink);
        canvas.text(barLeft - 0.8 * size, line + 0.1 * size, 0.85 * size, "shear", Align::right);
        drawColourBar(canvas, {barLeft, line - 0.9 * size, width, 1.2 * size}, scale, 0.85 * size);
    }
}

void drawPage(Canvas& canvas, const Page& page, const Scene& scene) {
    const ShearScale scale = shearScale(*scene.measures);
    drawPattern(canvas, page.placement, scene, scale, {0.0, 0.0, page.width, page.height});
    drawLegend(canvas, page, scene, scale);
}

} // namespace

std::string flatPattern(const Scene& scene, Drawing drawing) {
    const Page page = layOut(scene, drawing);
    Canvas canvas(drawing, PageUnit::millimetre, page.width, page.height,
                  imageSize / std::max(page.width, page.height));
    drawPage(canvas, page, scene);
    return canvas.bytes();
}

std::string printedPattern(const Scene& scene) {
    return printedPatterns({&scene, 1});
}

std::string printedPatterns(std::span<const Scene> pieces) {
    const auto isTiled = [](const Scene& scene) {
        const Page page = layOut(scene, Drawing::pdf);
        return scene.paper || std::max(page.width, page.height) > largestPage;
    };
    std::unique_ptr<Canvas> canvas;
    for (const Scene& scene : pieces) {
        if (isTiled(scene)) {
            addTiledPattern(canvas, scene, scene.paper.value_or(paperForPlotters));
        } else {
            const Page page = layOut(scene, Drawing::pdf);
            goToPage(canvas, page.width, page.height);
            drawPage(*canvas, page, scene);
        }
    }
    return canvas->bytes();
}

} // namespace tool
