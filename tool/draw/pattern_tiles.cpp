// The flat pattern on sheets of paper that overlap by a strip. In the middle of each strip stand crosses,
// drawn on both sheets, which come to lie on each other when the sheets are joined. The first page is a map.
#include "host/mesh/text.h"
#include "tool/draw/labels.h"
#include "tool/draw/pattern_art.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>

namespace tool {
namespace {

// Millimetres.
constexpr double margin = 10.0; // of a sheet, that printers leave white
constexpr double footer = 9.0;
constexpr double overlap = 10.0;
constexpr double border = 3.0; // around the pattern
constexpr double textSize = 3.6;
constexpr double crossSize = 4.0;
constexpr double checkLength = 100.0;
constexpr std::size_t mostSheets = 2000;

struct Tiles {
    Paper paper;
    std::size_t columns = 0, rows = 0;
    double width = 0.0, height = 0.0; // of the part of the pattern on a sheet
    FlatPoint low{}, high{};          // of the pattern, in the mould's unit
    double millimetres = 1.0;         // per unit
    double stepX() const { return width - overlap; }
    double stepY() const { return height - overlap; }

    // Placement on a page whose upper left corner of the drawing is that of the sheet in this row and column.
    Placement placementOf(std::size_t row, std::size_t column) const {
        return {margin + border - millimetres * low[0] - static_cast<double>(column) * stepX(),
                margin + border + millimetres * high[1] - static_cast<double>(row) * stepY(), millimetres,
                1.0};
    }
    Box window() const { return {margin, margin, width, height}; }
};

std::string nameOf(std::size_t row, std::size_t column) {
    std::string letters;
    for (std::size_t k = row + 1; k > 0; k = (k - 1) / 26) {
        letters.insert(letters.begin(), static_cast<char>('A' + (k - 1) % 26));
    }
    return letters + std::to_string(column + 1);
}

Tiles tilesOn(const Scene& scene, Paper paper, bool turned) {
    if (turned) {
        std::swap(paper.width, paper.height);
    }
    Tiles tiles;
    tiles.paper = paper;
    tiles.width = paper.width - 2.0 * margin;
    tiles.height = paper.height - 2.0 * margin - footer;
    tiles.millimetres = scene.millimetresPerUnit;
    const auto [low, high] = reachOf(scene);
    tiles.low = low;
    tiles.high = high;
    const auto count = [&](double size, double step) {
        return static_cast<std::size_t>(
            std::clamp(std::ceil((size + 2.0 * border - overlap) / step), 1.0, 1e6));
    };
    tiles.columns = count(tiles.millimetres * (high[0] - low[0]), tiles.stepX());
    tiles.rows = count(tiles.millimetres * (high[1] - low[1]), tiles.stepY());
    return tiles;
}

// Whether any of the pattern lies on a sheet: a line of it runs there, or the sheet lies inside.
bool isUsed(const Scene& scene, const Tiles& tiles, std::size_t row, std::size_t column) {
    const Placement page = tiles.placementOf(row, column);
    const Box window = tiles.window();
    const FlatPoint middle{window.x + 0.5 * window.width, window.y + 0.5 * window.height};
    bool inside = false;
    bool meets = false;
    const auto take = [&](const std::vector<FlatPoint>& line, bool counts) {
        for (std::size_t k = 0; k < line.size() && !meets; ++k) {
            const FlatPoint a = page.place(line[k]);
            const FlatPoint b = page.place(line[(k + 1) % line.size()]);
            meets = std::min(a[0], b[0]) <= window.x + window.width && std::max(a[0], b[0]) >= window.x &&
                    std::min(a[1], b[1]) <= window.y + window.height && std::max(a[1], b[1]) >= window.y;
            if (counts && (a[1] > middle[1]) != (b[1] > middle[1]) &&
                middle[0] < a[0] + (b[0] - a[0]) * (middle[1] - a[1]) / (b[1] - a[1])) {
                inside = !inside;
            }
        }
    };
    for (const auto& loop : scene.cut->loops) {
        take(loop, true);
    }
    for (const CurveResult& curve : scene.curves) {
        for (const CurveStretch& stretch : curve.stretches) {
            take(stretch.flat, false);
        }
    }
    return meets || inside;
}

void drawCross(Canvas& canvas, double x, double y, const std::string& name, Align align = Align::left) {
    canvas.path({{x - crossSize, y}, {x + crossSize, y}}, false);
    canvas.path({{x, y - crossSize}, {x, y + crossSize}}, false);
    canvas.colour({1.0, 1.0, 1.0});
    cairo_set_line_width(canvas.cairo(), 0.9);
    cairo_stroke_preserve(canvas.cairo());
    canvas.colour(ink);
    canvas.stroke(0.25);
    canvas.text(x + (align == Align::right ? -0.6 : 0.6), y - 0.8, 2.2, name, align);
}

// The crosses that a sheet shares with those around it. A name stands on the sheet's side of its cross, so
// that it isn't cut off along the frame.
void drawJoins(Canvas& canvas, const Tiles& tiles, std::size_t row, std::size_t column) {
    for (const double part : {0.2, 0.5, 0.8}) {
        const double y = margin + part * tiles.height;
        const double x = margin + part * tiles.width;
        for (const bool after : {false, true}) {
            if (after ? column + 1 < tiles.columns : column > 0) {
                const std::size_t left = after ? column : column - 1;
                drawCross(canvas, margin + (after ? tiles.stepX() : 0.0) + 0.5 * overlap, y,
                          nameOf(row, left) + "-" + nameOf(row, left + 1),
                          after ? Align::right : Align::left);
            }
            if (after ? row + 1 < tiles.rows : row > 0) {
                const std::size_t upper = after ? row : row - 1;
                drawCross(canvas, x, margin + (after ? tiles.stepY() : 0.0) + 0.5 * overlap,
                          nameOf(upper, column) + "-" + nameOf(upper + 1, column));
            }
        }
    }
}

void drawSheet(Canvas& canvas, const Scene& scene, const Tiles& tiles, const ShearScale& scale,
               std::size_t row, std::size_t column) {
    const Box window = tiles.window();
    cairo_save(canvas.cairo());
    cairo_rectangle(canvas.cairo(), window.x, window.y, window.width, window.height);
    cairo_clip(canvas.cairo());
    drawPattern(canvas, tiles.placementOf(row, column), scene, scale, window);
    cairo_restore(canvas.cairo());
    canvas.colour(paleInk);
    cairo_rectangle(canvas.cairo(), window.x, window.y, window.width, window.height);
    canvas.stroke(0.15);
    drawJoins(canvas, tiles, row, column);
    canvas.colour(ink);
    canvas.textWithin(margin, tiles.paper.height - margin - 2.0, textSize, window.width,
                      "Sheet " + nameOf(row, column) + "   row " + std::to_string(row + 1) + " of " +
                          std::to_string(tiles.rows) + ", column " + std::to_string(column + 1) + " of " +
                          std::to_string(tiles.columns) + "   " + plyTitle(scene) +
                          "   this side up   1 : 1");
}

void drawMap(Canvas& canvas, const Scene& scene, const Tiles& tiles, const ShearScale& scale,
             const std::vector<std::size_t>& used) {
    const double room = tiles.paper.width - 2.0 * margin;
    double line = margin + 2.0 * textSize;
    canvas.colour(ink);
    canvas.textWithin(margin, line, 1.6 * textSize, room,
                      plyTitle(scene) + " on " + counted(used.size(), "sheet", "sheets"));
    line += 0.6 * textSize;
    const std::vector<std::string> lines{
        sizeLabel(scene),
        sideLabel(scene),
        angleLabel(scene),
        mouldLabel(scene),
        "Print at 100 %, not fitted to the page, and check the bar below. Cut each sheet along its frame on",
        "two sides, and lay the sheets so that crosses of the same name come to lie on each other."};
    for (const std::string& words : lines) {
        line += 1.5 * textSize;
        canvas.textWithin(margin, line, textSize, room, words);
    }
    line += 4.0 * textSize;
    const double bar = std::min(checkLength, roundLength(0.8 * room));
    drawScaleBar(canvas, margin, line, bar, bar, textSize);
    line += 2.0 * textSize;
    if (!scene.measures->cells.empty()) {
        canvas.text(margin, line + 0.9 * textSize, textSize, "shear");
        drawColourBar(canvas, {margin + 4.0 * textSize, line, 0.4 * room, 1.2 * textSize}, scale,
                      0.85 * textSize);
        line += 4.0 * textSize;
    }
    const double whole = tiles.stepX() * static_cast<double>(tiles.columns) + overlap;
    const double tall = tiles.stepY() * static_cast<double>(tiles.rows) + overlap;
    const double shrink = std::min(room / whole, (tiles.paper.height - margin - line) / tall);
    Placement page = tiles.placementOf(0, 0);
    page.originX = margin + shrink * (page.originX - margin);
    page.originY = line + shrink * (page.originY - margin);
    page.perUnit *= shrink;
    drawPatternLines(canvas, page, scene);
    for (std::size_t k = 0; k < tiles.rows * tiles.columns; ++k) {
        const std::size_t row = k / tiles.columns;
        const std::size_t column = k % tiles.columns;
        const double x = margin + shrink * tiles.stepX() * static_cast<double>(column);
        const double y = line + shrink * tiles.stepY() * static_cast<double>(row);
        const bool isBlank = !std::binary_search(used.begin(), used.end(), k);
        canvas.colour(paleInk);
        cairo_rectangle(canvas.cairo(), x, y, shrink * tiles.width, shrink * tiles.height);
        canvas.stroke(0.15);
        const double size = std::min(2.0 * textSize, 0.3 * shrink * std::min(tiles.width, tiles.height));
        canvas.colour(isBlank ? paleInk : ink);
        canvas.text(x + 0.5 * shrink * tiles.width, y + 0.5 * shrink * tiles.height + 0.35 * size, size,
                    isBlank ? "-" : nameOf(row, column), Align::centre);
    }
}

} // namespace

void addTiledPattern(std::unique_ptr<Canvas>& canvas, const Scene& scene, const Paper& paper) {
    Tiles tiles = tilesOn(scene, paper, false);
    if (const Tiles turned = tilesOn(scene, paper, true);
        paper.canTurn && turned.columns * turned.rows < tiles.columns * tiles.rows) {
        tiles = turned;
    }
    if (tiles.columns * tiles.rows > mostSheets) {
        throw std::runtime_error("the pattern takes " + std::to_string(tiles.columns) + " by " +
                                 std::to_string(tiles.rows) +
                                 " sheets; take larger ones with --paper, or check --units-mm");
    }
    std::vector<std::size_t> used;
    for (std::size_t k = 0; k < tiles.rows * tiles.columns; ++k) {
        if (isUsed(scene, tiles, k / tiles.columns, k % tiles.columns)) {
            used.push_back(k);
        }
    }
    const ShearScale scale = shearScale(*scene.measures);
    goToPage(canvas, tiles.paper.width, tiles.paper.height);
    drawMap(*canvas, scene, tiles, scale, used);
    for (const std::size_t k : used) {
        goToPage(canvas, tiles.paper.width, tiles.paper.height);
        drawSheet(*canvas, scene, tiles, scale, k / tiles.columns, k % tiles.columns);
    }
}

} // namespace tool
