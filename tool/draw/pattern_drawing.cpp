// The flat pattern as a drawing at 1:1: cells in shear colours, fibre lines, the outline, the transferred
// curve and the warp direction, with a bar to check the printer against. Warp runs to the right, weft up the
// page.
#include "host/cloth/cloth_lines.h"
#include "host/cloth/grid.h"
#include "host/mesh/point.h"
#include "host/mesh/text.h"
#include "tool/draw/canvas.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <map>

namespace tool {
namespace {

using FlatPoint = std::array<double, 2>;

constexpr int colourBands = 90;
constexpr std::size_t mostRectangles = 40000; // beyond this, neighbouring cells share their colour
constexpr double mostFibres = 220.0;          // of one family across the page
constexpr double imageSize = 1500.0;          // pixels of the longer side
constexpr Colour borderFill{0.91, 0.915, 0.925};
constexpr Colour overlapColour{1.0, 0.55, 0.0};
constexpr Colour clothEdgeColour{0.0, 0.45, 0.85};

// The page in millimetres. Texts and lines grow with `scale` on patterns larger than a sheet of paper.
struct Page {
    double width = 0.0, height = 0.0, scale = 1.0;
    double margin = 0.0;
    double legendTop = 0.0;
    double originX = 0.0, originY = 0.0; // flat 0, 0 on the page
    double millimetres = 1.0;            // per unit of the mould

    FlatPoint place(const FlatPoint& flat) const {
        return {originX + millimetres * flat[0], originY - millimetres * flat[1]};
    }
};

Page layOut(const Scene& scene) {
    FlatPoint low{0.0, 0.0};
    FlatPoint high{0.0, 0.0};
    const auto reach = [&](const FlatPoint& flat) {
        for (std::size_t k = 0; k < 2 && std::isfinite(flat[0]) && std::isfinite(flat[1]); ++k) {
            low[k] = std::min(low[k], flat[k]);
            high[k] = std::max(high[k], flat[k]);
        }
    };
    const auto& extent = scene.measures->net.extent;
    reach({extent[0], extent[1]});
    reach({extent[2], extent[3]});
    for (const CurveResult& curve : scene.curves) {
        for (const CurveStretch& stretch : curve.stretches) {
            std::for_each(stretch.flat.begin(), stretch.flat.end(), reach);
        }
    }
    Page page;
    page.millimetres = scene.millimetresPerUnit;
    const double width = page.millimetres * (high[0] - low[0]);
    const double height = page.millimetres * (high[1] - low[1]);
    page.scale = std::max(1.0, std::max(width, height) / 400.0);
    page.margin = 10.0 * page.scale;
    page.width = std::max(width, 190.0 * page.scale) + 2.0 * page.margin;
    page.legendTop = page.margin + height + 9.0 * page.scale;
    page.height = page.legendTop + 23.0 * page.scale + page.margin;
    page.originX = 0.5 * (page.width - width) - page.millimetres * low[0];
    page.originY = page.margin + page.millimetres * high[1];
    return page;
}

// Mean shear of each cell's block of `size` by `size` cells.
class BlockShear {
public:
    BlockShear(const Grid& grid, const std::vector<const Cell*>& cells, std::int32_t size)
        : grid_(grid), size_(size) {
        for (const Cell* cell : cells) {
            auto& [sum, count] = blocks_[block(*cell)];
            sum += std::abs(vec::finite(cell->shear));
            count += 1.0;
        }
    }

    double of(const Cell& cell) const {
        const auto& [sum, count] = blocks_.at(block(cell));
        return sum / count;
    }

private:
    std::pair<std::int32_t, std::int32_t> block(const Cell& cell) const {
        const auto at = static_cast<std::size_t>(cell.nodes[0]);
        const auto part = [&](std::int32_t k) { return k >= 0 ? k / size_ : -1 - (-1 - k) / size_; };
        return {part(grid_.i[at]), part(grid_.j[at])};
    }

    const Grid& grid_;
    std::int32_t size_;
    std::map<std::pair<std::int32_t, std::int32_t>, std::pair<double, double>> blocks_;
};

struct Rectangle {
    FlatPoint low, high;
};

// The cells as flat rectangles by colour band, neighbours of one band along a row joined.
std::map<int, std::vector<Rectangle>> colouredRectangles(const Scene& scene, const ShearScale& scale) {
    const Grid& grid = *scene.grid;
    std::vector<const Cell*> cells;
    for (const std::size_t index : scene.measures->net.wholeCells) {
        if (scene.measures->cells[index].onSurface) {
            cells.push_back(&scene.measures->cells[index]);
        }
    }
    const auto coordinates = [&](const Cell* cell) {
        const auto at = static_cast<std::size_t>(cell->nodes[0]);
        return std::pair(grid.j[at], grid.i[at]);
    };
    std::stable_sort(cells.begin(), cells.end(),
                     [&](const Cell* a, const Cell* b) { return coordinates(a) < coordinates(b); });
    const double crowd = static_cast<double>(cells.size()) / static_cast<double>(mostRectangles);
    const BlockShear blocks(grid, cells, std::max(1, static_cast<std::int32_t>(std::ceil(std::sqrt(crowd)))));

    std::map<int, std::vector<Rectangle>> bands;
    Rectangle* open = nullptr; // the one that the next cell of the row can lengthen
    int openBand = 0;
    for (const Cell* cell : cells) {
        const double shear = blocks.of(*cell);
        int band = std::min(colourBands - 1, static_cast<int>(shear / scale.top * colourBands));
        band = shear > scale.locking ? band + colourBands : band;
        const Rectangle next{nodeFlat(grid, cell->nodes[0]), nodeFlat(grid, cell->nodes[2])};
        if (open != nullptr && band == openBand && open->high[0] == next.low[0] &&
            open->low[1] == next.low[1] && open->high[1] == next.high[1]) {
            open->high[0] = next.high[0];
        } else {
            open = &bands[band].emplace_back(next);
            openBand = band;
        }
    }
    return bands;
}

void addRectangle(Canvas& canvas, const Page& page, const Rectangle& rectangle, double more) {
    const FlatPoint low = page.place(rectangle.low);
    const FlatPoint high = page.place(rectangle.high);
    cairo_rectangle(canvas.cairo(), low[0] - more, high[1] - more, high[0] - low[0] + 2.0 * more,
                    low[1] - high[1] + 2.0 * more);
}

void addPolygon(Canvas& canvas, const Page& page, const std::vector<FlatPoint>& polygon) {
    std::vector<FlatPoint> points;
    for (const FlatPoint& flat : polygon) {
        points.push_back(page.place(flat));
    }
    canvas.path(points, true);
}

void drawCells(Canvas& canvas, const Page& page, const Scene& scene, const ShearScale& scale) {
    const std::vector<Cell>& cells = scene.measures->cells;
    canvas.colour(borderFill);
    for (const std::size_t index : scene.measures->net.wholeCells) {
        const Cell& cell = cells[index];
        if (!cell.onSurface) {
            addRectangle(canvas, page,
                         {nodeFlat(*scene.grid, cell.nodes[0]), nodeFlat(*scene.grid, cell.nodes[2])}, 0.0);
        }
    }
    cairo_fill(canvas.cairo());
    for (const ClippedCell& clipped : scene.measures->net.clippedCells) {
        const Cell& cell = cells[clipped.cell];
        canvas.colour(cell.onSurface ? shearColour(scale, cell.shear) : borderFill);
        for (const auto& polygon : clipped.polygons) {
            addPolygon(canvas, page, polygon);
        }
        cairo_fill(canvas.cairo());
    }
    for (const auto& [band, rectangles] : colouredRectangles(scene, scale)) {
        const double middle = (band % colourBands + 0.5) / colourBands * scale.top;
        const double shear = band < colourBands ? std::min(middle, scale.locking)
                                                : std::max(middle, std::nextafter(scale.locking, scale.top));
        canvas.colour(shearColour(scale, shear));
        for (const Rectangle& rectangle : rectangles) {
            addRectangle(canvas, page, rectangle, 0.03 * page.scale);
        }
        cairo_fill(canvas.cairo());
    }
}

void drawFibres(Canvas& canvas, const Page& page, const Scene& scene) {
    const double span = std::max(page.width, page.height) / mostFibres;
    const auto every = [&](double step) {
        const double spacing = std::max(step * page.millimetres, 1e-12);
        return std::max(1, static_cast<std::int32_t>(std::min(std::ceil(span / spacing), 1e6)));
    };
    // The yarns of cells that reach over the mould's edge end with the pattern.
    std::vector<Cell> cells = scene.measures->cells;
    for (const ClippedCell& clipped : scene.measures->net.clippedCells) {
        cells[clipped.cell].onSurface = true;
    }
    cairo_save(canvas.cairo());
    for (const NetLoop& loop : scene.measures->net.loops) {
        addPolygon(canvas, page, loop.flat);
    }
    cairo_clip(canvas.cairo());
    canvas.colour(ink, 0.55);
    for (const Fibre fibre : {Fibre::warp, Fibre::weft}) {
        const double step = fibre == Fibre::warp ? scene.choice->stepB : scene.choice->stepA;
        for (const NodeChain& line : fibreLines(*scene.grid, cells, fibre, every(step))) {
            canvas.path({page.place(nodeFlat(*scene.grid, line.front())),
                         page.place(nodeFlat(*scene.grid, line.back()))},
                        false);
        }
    }
    canvas.stroke(0.12 * page.scale);
    cairo_restore(canvas.cairo());
}

void drawLoops(Canvas& canvas, const Page& page, const Scene& scene) {
    const NetPattern& net = scene.measures->net;
    canvas.colour(overlapColour, 0.6);
    for (const auto& polygon : net.overlaps) {
        addPolygon(canvas, page, polygon);
    }
    cairo_fill(canvas.cairo());
    for (const NetLoop& loop : net.loops) {
        addPolygon(canvas, page, loop.flat);
    }
    canvas.colour(ink);
    canvas.stroke(0.4 * page.scale);
    for (const NetLoop& loop : net.loops) {
        for (std::size_t k = 0; k < loop.flat.size(); ++k) {
            if (loop.borders[k] == NetBorder::cloth) {
                canvas.path({page.place(loop.flat[k]), page.place(loop.flat[(k + 1) % loop.flat.size()])},
                            false);
            }
        }
    }
    canvas.colour(clothEdgeColour);
    canvas.stroke(0.4 * page.scale);
    for (const CurveResult& curve : scene.curves) {
        for (const CurveStretch& stretch : curve.stretches) {
            std::vector<FlatPoint> points;
            for (const FlatPoint& flat : stretch.flat) {
                points.push_back(page.place(flat));
            }
            canvas.path(points, stretch.closed);
        }
    }
    canvas.colour(curveColour);
    canvas.stroke(0.4 * page.scale);
}

void drawArrow(Canvas& canvas, const FlatPoint& from, double dx, double dy) {
    const FlatPoint tip{from[0] + dx, from[1] + dy};
    const auto barb = [&](double side) {
        return FlatPoint{tip[0] - 0.25 * dx + side * 0.12 * dy, tip[1] - 0.25 * dy - side * 0.12 * dx};
    };
    canvas.path({from, {tip[0] - 0.2 * dx, tip[1] - 0.2 * dy}}, false);
    canvas.stroke(0.05 * std::hypot(dx, dy));
    canvas.path({tip, barb(1.0), barb(-1.0)}, true);
    cairo_fill(canvas.cairo());
}

void drawSeed(Canvas& canvas, const Page& page) {
    const FlatPoint seed = page.place({0.0, 0.0});
    const double reach = 14.0 * page.scale;
    const double size = 3.6 * page.scale;
    canvas.colour(ink);
    drawArrow(canvas, seed, reach, 0.0);
    drawArrow(canvas, seed, 0.0, -reach);
    canvas.text(seed[0] + reach + 0.3 * size, seed[1] + 0.35 * size, size, "warp");
    canvas.text(seed[0], seed[1] - reach - 0.4 * size, size, "weft", Align::centre);
    drawSeedMark(canvas, seed[0], seed[1], 1.6 * page.scale);
}

void drawLegend(Canvas& canvas, const Page& page, const Scene& scene, const ShearScale& scale) {
    const double size = 3.6 * page.scale;
    const double left = page.margin;
    double line = page.legendTop + size;
    const NetPattern& net = scene.measures->net;
    const auto& extent = net.extent;
    canvas.colour(ink);
    canvas.text(left, line, size,
                "Flat pattern " + number((extent[2] - extent[0]) * page.millimetres) + " × " +
                    number((extent[3] - extent[1]) * page.millimetres) + " mm   " + captionOf(scene));
    line += 1.5 * size;
    const std::string warning = warningOf(scene);
    canvas.colour(warning.empty() ? paleInk : Colour{0.75, 0.05, 0.10});
    canvas.text(left, line, 0.85 * size,
                !warning.empty()
                    ? warning
                    : std::string(scene.curves.empty() ? "" : "Red line: transferred curve. ") +
                          (net.overlapArea > 0.0 ? "Orange: the pattern lies over itself. " : "") +
                          (net.clothEdgeLength > 0.0 ? "Blue line: the cloth ends before the mould. " : "") +
                          "Grey cells are cut by the mould's edge.");
    line += 2.4 * size;
    const double longest = 0.5 * (page.width - 2.0 * page.margin);
    const double bar = roundLength(std::max(longest, 1e-3));
    drawScaleBar(canvas, left, line, bar, bar, 0.85 * size);
    if (!scene.measures->cells.empty()) {
        const double width = 75.0 * page.scale;
        const double barLeft = page.width - page.margin - width - 2.0 * size;
        canvas.colour(ink);
        canvas.text(barLeft - 0.8 * size, line + 0.1 * size, 0.85 * size, "shear", Align::right);
        drawColourBar(canvas, {barLeft, line - 0.9 * size, width, 1.2 * size}, scale, 0.85 * size);
    }
}

} // namespace

std::string flatPattern(const Scene& scene, Drawing drawing) {
    const Page page = layOut(scene);
    const ShearScale scale = shearScale(*scene.measures);
    Canvas canvas(drawing, PageUnit::millimetre, page.width, page.height,
                  imageSize / std::max(page.width, page.height));
    drawCells(canvas, page, scene, scale);
    drawFibres(canvas, page, scene);
    drawLoops(canvas, page, scene);
    if (scene.grid->count > 0) {
        drawSeed(canvas, page);
    }
    drawLegend(canvas, page, scene, scale);
    return canvas.bytes();
}

} // namespace tool
