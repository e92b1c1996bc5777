// Neighbouring cells of one colour are drawn as one rectangle, and very many cells share colours in blocks,
// so that a file grows with the pattern's outline rather than with its cells.
#include "tool/draw/pattern_art.h"

#include "host/cloth/cloth_lines.h"
#include "host/cloth/grid.h"
#include "host/cloth/net_faces.h"
#include "host/mesh/box.h"
#include "host/mesh/point.h"
#include "tool/draw/labels.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <numbers>

namespace tool {
namespace {

constexpr int colourBands = 90;
constexpr std::size_t mostRectangles = 40000; // beyond this, neighbouring cells share their colour
constexpr double mostFibres = 220.0;          // of one family across the page
constexpr double textSize = 3.6;              // millimetres, as are all lengths below, before they grow
constexpr double arrowReach = 14.0;
constexpr double alongWarp = 0.1;      // degrees up to which the rosette isn't drawn beside the warp
constexpr double leastOffArrow = 28.0; // degrees between an arrow and the rosette's 0
constexpr double leastForWords = 70.0; // of a pattern below which arrows, words and darts shrink with it
constexpr double seedWordsReach = 6.5; // sizes of letters beside the seed that its words take
constexpr double seedWordsEnd = 3.2;   // the same below it
constexpr double lineHeight = 1.25;    // sizes of letters
constexpr double yarnShare = 0.08;     // of the spacing of the yarns that are drawn, at most as wide
constexpr Colour overlapColour{0.90, 0.0, 0.85}; // of no shear
constexpr double overlapRim = 0.6;
constexpr Colour seamColour{0.0, 0.50, 0.15};
constexpr Colour clothEdgeColour{0.0, 0.45, 0.85};

// A whole face and the cell that it is.
struct WholeCell {
    const Cell* cell;
    double shear;
};

// Mean shear, without sign, of each cell's block of `size` by `size` cells.
class BlockShear {
public:
    BlockShear(const Grid& grid, const std::vector<WholeCell>& cells, std::int32_t size)
        : grid_(grid), size_(size) {
        for (const WholeCell& whole : cells) {
            auto& [sum, count] = blocks_[block(whole)];
            sum += std::abs(vec::finite(whole.shear));
            count += 1.0;
        }
    }

    double of(const WholeCell& whole) const {
        const auto& [sum, count] = blocks_.at(block(whole));
        return sum / count;
    }

private:
    std::pair<std::int32_t, std::int32_t> block(const WholeCell& whole) const {
        const auto at = static_cast<std::size_t>(whole.cell->nodes[0]);
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

// The whole cells as flat rectangles by colour band, neighbours of one band along a row joined.
std::map<int, std::vector<Rectangle>> colouredRectangles(const Scene& scene, const ShearScale& scale,
                                                         const std::vector<NetFace>& faces) {
    const Grid& grid = *scene.grid;
    std::vector<WholeCell> cells;
    for (const NetFace& face : faces) {
        if (face.whole) {
            cells.push_back({&scene.measures->cells[face.cell], face.shear});
        }
    }
    const auto coordinates = [&](const WholeCell& whole) {
        const auto at = static_cast<std::size_t>(whole.cell->nodes[0]);
        return std::pair(grid.j[at], grid.i[at]);
    };
    std::stable_sort(cells.begin(), cells.end(),
                     [&](const WholeCell& a, const WholeCell& b) { return coordinates(a) < coordinates(b); });
    const double crowd = static_cast<double>(cells.size()) / static_cast<double>(mostRectangles);
    const BlockShear blocks(grid, cells, std::max(1, static_cast<std::int32_t>(std::ceil(std::sqrt(crowd)))));

    std::map<int, std::vector<Rectangle>> bands;
    Rectangle* open = nullptr; // the one that the next cell of the row can lengthen
    int openBand = 0;
    for (const WholeCell& whole : cells) {
        const double shear = blocks.of(whole);
        int band = std::min(colourBands - 1, static_cast<int>(shear / scale.top * colourBands));
        band = shear > scale.locking ? band + colourBands : band;
        const Rectangle next{nodeFlat(grid, whole.cell->nodes[0]), nodeFlat(grid, whole.cell->nodes[2])};
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

// Draws onto one page what can be seen of it.
class Painter {
public:
    Painter(Canvas& canvas, const Placement& page, const Box& visible)
        : canvas_(canvas), page_(page), visible_(visible) {}

    void addRectangle(const Rectangle& rectangle, double more) {
        const FlatPoint low = page_.place(rectangle.low);
        const FlatPoint high = page_.place(rectangle.high);
        if (sees(low[0], high[1], high[0], low[1])) {
            cairo_rectangle(canvas_.cairo(), low[0] - more, high[1] - more, high[0] - low[0] + 2.0 * more,
                            low[1] - high[1] + 2.0 * more);
        }
    }

    void addPolygon(const std::vector<FlatPoint>& polygon, bool closed = true) {
        std::vector<FlatPoint> points;
        Box2 box;
        for (const FlatPoint& flat : polygon) {
            box.add(points.emplace_back(page_.place(flat)));
        }
        if (sees(box.low[0], box.low[1], box.high[0], box.high[1])) {
            canvas_.path(points, closed);
        }
    }

private:
    bool sees(double left, double top, double right, double bottom) const {
        return right >= visible_.x && left <= visible_.x + visible_.width && bottom >= visible_.y &&
               top <= visible_.y + visible_.height;
    }

    Canvas& canvas_;
    const Placement& page_;
    Box visible_;
};

void drawCells(Canvas& canvas, const Placement& page, const Scene& scene, const ShearScale& scale,
               Painter& painter) {
    const std::vector<NetFace> faces = netFaces(*scene.grid, *scene.measures);
    const NetPattern& net = scene.measures->net;
    for (std::size_t k = 0; k < net.clippedCells.size(); ++k) {
        canvas.colour(shearColour(scale, faces[net.wholeCells.size() + k].shear));
        for (const auto& polygon : net.clippedCells[k].polygons) {
            painter.addPolygon(polygon);
        }
        cairo_fill(canvas.cairo());
    }
    for (const auto& [band, rectangles] : colouredRectangles(scene, scale, faces)) {
        const double middle = (band % colourBands + 0.5) / colourBands * scale.top;
        const double shear = band < colourBands ? std::min(middle, scale.locking)
                                                : std::max(middle, std::nextafter(scale.locking, scale.top));
        canvas.colour(shearColour(scale, shear));
        for (const Rectangle& rectangle : rectangles) {
            painter.addRectangle(rectangle, 0.03 * page.growth);
        }
        cairo_fill(canvas.cairo());
    }
}

// Longer side of the net, as drawn.
double spanOn(const Placement& page, const Scene& scene) {
    const auto& extent = scene.measures->net.extent;
    return page.perUnit * std::max(extent[2] - extent[0], extent[3] - extent[1]);
}

// The yarns of cells that reach over the mould's edge end with the pattern.
void drawYarns(Canvas& canvas, const Placement& page, const Scene& scene, Painter& painter) {
    const double span = spanOn(page, scene) / mostFibres;
    const auto every = [&](double step) {
        const double spacing = std::max(step * page.perUnit, 1e-12);
        return std::max(1, static_cast<std::int32_t>(std::min(std::ceil(span / spacing), 1e6)));
    };
    std::vector<Cell> cells = scene.measures->cells;
    const NetPattern& net = scene.measures->net;
    for (const std::size_t whole : net.wholeCells) {
        cells[whole].onSurface = true;
    }
    for (const ClippedCell& clipped : net.clippedCells) {
        cells[clipped.cell].onSurface = true;
    }
    cairo_save(canvas.cairo());
    for (const NetLoop& loop : net.loops) {
        painter.addPolygon(loop.flat);
    }
    cairo_clip(canvas.cairo());
    canvas.colour(ink, 0.55);
    for (const Fibre fibre : {Fibre::warp, Fibre::weft}) {
        const double step = fibre == Fibre::warp ? scene.choice->stepB : scene.choice->stepA;
        for (const NodeChain& line : fibreLines(*scene.grid, cells, fibre, every(step))) {
            painter.addPolygon({nodeFlat(*scene.grid, line.front()), nodeFlat(*scene.grid, line.back())},
                               false);
        }
    }
    const double cell = page.perUnit * std::min(scene.choice->stepA, scene.choice->stepB);
    canvas.stroke(std::min(0.12 * page.growth, yarnShare * std::max(cell, span)));
    cairo_restore(canvas.cairo());
}

void drawNetLine(Canvas& canvas, const Placement& page, const Scene& scene, Painter& painter) {
    const NetPattern& net = scene.measures->net;
    const bool isCutLine = !(scene.cut->allowance > 0.0);
    const double width = (isCutLine ? 0.4 : 0.2) * page.growth;
    for (const NetLoop& loop : net.loops) {
        painter.addPolygon(loop.flat);
    }
    canvas.colour(ink);
    canvas.stroke(width);
    for (const NetLoop& loop : net.loops) {
        for (std::size_t k = 0; k < loop.flat.size(); ++k) {
            if (loop.borders[k] == NetBorder::cloth) {
                painter.addPolygon({loop.flat[k], loop.flat[(k + 1) % loop.flat.size()]}, false);
            }
        }
    }
    canvas.colour(clothEdgeColour);
    canvas.stroke(width);
}

void drawCutLineAndCurves(Canvas& canvas, const Placement& page, const Scene& scene, Painter& painter) {
    if (scene.cut->allowance > 0.0) {
        for (const auto& loop : scene.cut->loops) {
            painter.addPolygon(loop);
        }
        canvas.colour(ink);
        canvas.stroke(0.4 * page.growth);
    }
    for (const CurveResult& curve : scene.curves) {
        for (const CurveStretch& stretch : curve.stretches) {
            painter.addPolygon(stretch.flat, stretch.closed);
        }
    }
    canvas.colour(curveColour);
    canvas.stroke(0.4 * page.growth);
    if (scene.seams.empty()) {
        return;
    }
    for (const auto& seam : scene.seams) {
        painter.addPolygon(seam, false);
    }
    const double dash[] = {3.0 * page.growth, 1.2 * page.growth};
    cairo_set_dash(canvas.cairo(), dash, 2, 0.0);
    canvas.colour(seamColour);
    canvas.stroke(0.4 * page.growth);
    cairo_set_dash(canvas.cairo(), nullptr, 0, 0.0);
}

// What words are enlarged by: like the page, but less on patterns that they would hide.
double growthOfWords(const Placement& page, const Scene& scene) {
    const double span = spanOn(page, scene);
    return span > 0.0 ? std::min(page.growth, span / leastForWords) : page.growth;
}

// Places for words beside points, off the words at the seed and each other.
class WordPlaces {
public:
    WordPlaces(const FlatPoint& seed, double growth) : seed_(seed), size_(textSize * growth) {}

    // Where the line of a word begins or, on the left, ends: on the side of the point away from the seed.
    FlatPoint beside(const FlatPoint& point, double size, Align side) {
        FlatPoint at{point[0] + (side == Align::right ? -size : size), point[1] + 0.35 * size};
        const double below = at[1] - seed_[1];
        if (std::abs(at[0] - seed_[0]) < seedWordsReach * size_ && below > -0.6 * size_ &&
            below < seedWordsEnd * size_ + size) {
            at[1] = seed_[1] + seedWordsEnd * size_ + size;
        }
        for (const auto& [taken, on] : taken_) {
            const bool isNear = on == side && std::abs(taken[0] - at[0]) < seedWordsReach * size_;
            at[1] = isNear && std::abs(taken[1] - at[1]) < lineHeight * size ? taken[1] + lineHeight * size
                                                                             : at[1];
        }
        taken_.emplace_back(at, side);
        return at;
    }

private:
    FlatPoint seed_;
    double size_;
    std::vector<std::pair<FlatPoint, Align>> taken_;
};

// The sides of each dart; what it is stands beside its tip.
void drawDarts(Canvas& canvas, const Placement& page, const Scene& scene, Painter& painter) {
    const double growth = growthOfWords(page, scene);
    canvas.colour(dartColour);
    for (const Dart& dart : scene.darts) {
        painter.addPolygon(dart.legs[0], false);
        painter.addPolygon(dart.legs[1], false);
    }
    canvas.stroke(0.6 * growth);
    const FlatPoint seed = page.place({0.0, 0.0});
    const double size = 0.8 * textSize * growth;
    WordPlaces places(seed, growth);
    for (std::size_t d = 0; d < scene.darts.size(); ++d) {
        const FlatPoint tip = page.place(scene.darts[d].legs[0].front());
        const Align side = tip[0] < seed[0] ? Align::right : Align::left;
        cairo_arc(canvas.cairo(), tip[0], tip[1], 0.8 * growth, 0.0, 2.0 * std::numbers::pi);
        canvas.colour(dartColour);
        cairo_fill(canvas.cairo());
        const FlatPoint at = places.beside(tip, size, side);
        canvas.textOnWhite(at[0], at[1], size, dartLabel(scene.darts[d], d + 1, scene.millimetresPerUnit),
                           side);
    }
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

// Where angles count from. Its 0 keeps off the arrows of warp and weft, whose words stand at their tips.
void drawRosette(Canvas& canvas, const FlatPoint& seed, double turn, double reach, double size) {
    const auto towards = [&](double degrees, double length) {
        const double radians = degrees * std::numbers::pi / 180.0;
        return FlatPoint{seed[0] + length * std::cos(radians), seed[1] - length * std::sin(radians)};
    };
    canvas.path({seed, towards(turn, reach)}, false);
    canvas.stroke(0.02 * reach);
    double word = turn;
    for (const double arrow : {0.0, 90.0}) {
        const double off = std::remainder(turn - arrow, 360.0);
        word = std::abs(off) < leastOffArrow ? arrow + std::copysign(leastOffArrow, off) : word;
    }
    const FlatPoint at = towards(word, reach + 0.6 * size);
    canvas.text(at[0], at[1] + 0.35 * size, 0.85 * size, "0°", Align::centre);
}

void drawSeed(Canvas& canvas, const Placement& page, const Scene& scene) {
    const FlatPoint seed = page.place({0.0, 0.0});
    const double growth = growthOfWords(page, scene);
    const double reach = arrowReach * growth;
    const double size = textSize * growth;
    canvas.colour(ink);
    drawArrow(canvas, seed, reach, 0.0);
    drawArrow(canvas, seed, 0.0, -reach);
    canvas.text(seed[0] + reach + 0.3 * size, seed[1] + 0.35 * size, size, "warp");
    canvas.text(seed[0], seed[1] - reach - 0.4 * size, size, "weft", Align::centre);
    const double turn = std::remainder(-plyAngle(*scene.choice), 360.0); // from the warp to the rosette
    if (std::abs(turn) > alongWarp) {
        drawRosette(canvas, seed, turn, 0.7 * reach, size);
    }
    const bool isRosetteBelow = turn < -alongWarp && turn > -90.0;
    const double side = isRosetteBelow ? -1.0 : 1.0;
    const Align align = isRosetteBelow ? Align::right : Align::left;
    canvas.text(seed[0] + side * 0.8 * size, seed[1] + 1.6 * size, size, scene.ply, align);
    canvas.text(seed[0] + side * 0.8 * size, seed[1] + 2.9 * size, size, "this side up", align);
    drawSeedMark(canvas, seed[0], seed[1], 1.6 * growth);
}

} // namespace

void drawPattern(Canvas& canvas, const Placement& page, const Scene& scene, const ShearScale& scale,
                 const Box& visible) {
    Painter painter(canvas, page, visible);
    drawCells(canvas, page, scene, scale, painter);
    canvas.colour(overlapColour, 0.6);
    for (const auto& polygon : scene.measures->net.overlaps) {
        painter.addPolygon(polygon);
    }
    cairo_fill_preserve(canvas.cairo());
    canvas.colour(overlapColour);
    canvas.stroke(overlapRim * page.growth);
    drawYarns(canvas, page, scene, painter);
    drawNetLine(canvas, page, scene, painter);
    drawCutLineAndCurves(canvas, page, scene, painter);
    drawDarts(canvas, page, scene, painter);
    if (scene.grid->count > 0) {
        drawSeed(canvas, page, scene);
    }
}

void drawPatternLines(Canvas& canvas, const Placement& page, const Scene& scene) {
    Painter painter(canvas, page, {-1e9, -1e9, 2e9, 2e9});
    drawNetLine(canvas, page, scene, painter);
    drawCutLineAndCurves(canvas, page, scene, painter);
    drawDarts(canvas, page, scene, painter);
}

} // namespace tool
