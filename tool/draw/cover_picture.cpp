// The surface with each piece in a colour of its own, their fibres, the seams between them and their numbers.
// Surfaces that close around themselves are seen from two sides.
#include "host/cloth/cloth_lines.h"
#include "host/mesh/text.h"
#include "tool/draw/cover_scene.h"
#include "tool/draw/labels.h"
#include "tool/draw/view_strokes.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <optional>

namespace tool {

using namespace vec;

namespace {

// Pixels.
constexpr double pageWidth = 1200.0;
constexpr double margin = 30.0;
constexpr double tallest = 760.0;
constexpr double captionSpace = 90.0;
constexpr double textSize = 17.0;
constexpr double fibreSpacing = 7.0;
constexpr double strokeLift = 3.0;

constexpr double creaseCosine = 0.77; // triangles that meet at more than about 40 degrees keep their edge
constexpr double facesAllWays = 0.45; // share of the area that a single view may not see
constexpr Colour bareColour{0.62, 0.63, 0.65};

// Normal at each corner of each triangle, smooth but for creases.
std::vector<Point> cornerNormals(const Mould& mould) {
    std::vector<Point> normals(mould.corners.size());
    for (std::size_t c = 0; c < normals.size(); ++c) {
        const Facet& own = mould.facets[c / 3];
        const auto v = at(mould.corners[c]) - 1;
        const std::size_t end = v + 1 < mould.fanStart.size() ? at(mould.fanStart[v + 1]) : mould.fan.size();
        Point sum{};
        for (std::size_t k = at(mould.fanStart[v]); k < end; ++k) {
            const Facet& other = mould.facets[at(mould.fan[k]) - 1];
            sum = dot(own.normal, other.normal) > creaseCosine ? sum + other.area * other.normal : sum;
        }
        normals[c] = length(sum) > 0.0 ? unit(sum) : own.normal;
    }
    return normals;
}

struct Stage {
    const CoverScene& scene;
    const Mould& claims;
    const std::vector<Point>& normals; // per corner
    MouldView view;
};

void drawSurface(DepthImage& image, const Stage& stage) {
    for (std::size_t t = 0; t < stage.claims.triangleCount(); ++t) {
        std::array<SeenCorner, 3> corners;
        for (std::size_t k = 0; k < 3; ++k) {
            corners[k] = {stage.view.see(stage.claims.corner(t, k)), stage.normals[3 * t + k]};
        }
        image.draw(corners, pieceColour(stage.scene.set->claimOf[t]), static_cast<std::uint32_t>(t), 0.0);
    }
}

std::int32_t every(double step, double scale) {
    return std::max(1, static_cast<std::int32_t>(std::min(1e6, std::ceil(fibreSpacing / (step * scale)))));
}

void drawFibres(Canvas& canvas, const Stage& stage, const DepthImage& image) {
    for (const Scene& piece : stage.scene.pieces) {
        const double lift = 0.3 * stage.view.scale * std::max(piece.choice->stepA, piece.choice->stepB);
        for (const Fibre fibre : {Fibre::warp, Fibre::weft}) {
            const double step = fibre == Fibre::warp ? piece.choice->stepB : piece.choice->stepA;
            for (const NodeChain& line :
                 fibreLines(*piece.grid, piece.measures->cells, fibre, every(step, stage.view.scale))) {
                std::vector<Point> points;
                for (const std::int32_t node : line) {
                    points.push_back(nodePosition(*piece.grid, node));
                }
                addVisible(canvas, stage.view, image, points, lift + strokeLift);
            }
            canvas.colour(ink, fibre == Fibre::warp ? 0.55 : 0.3);
            canvas.stroke(fibre == Fibre::warp ? 0.9 : 0.6);
        }
    }
}

void drawEdges(Canvas& canvas, const Stage& stage, const DepthImage& image) {
    for (const Loop& loop : stage.scene.surface->loops) {
        std::vector<Point> points;
        for (const std::int32_t v : loop.vertices) {
            points.push_back(stage.scene.surface->positions[at(v)]);
        }
        points.push_back(points.front());
        addVisible(canvas, stage.view, image, points, strokeLift);
    }
    canvas.colour(ink, 0.75);
    canvas.stroke(1.1);
    for (const Seam& seam : stage.scene.set->seams) {
        addVisible(canvas, stage.view, image, seam.points, strokeLift);
    }
    canvas.colour({1.0, 1.0, 1.0});
    cairo_set_line_width(canvas.cairo(), 4.5);
    cairo_stroke_preserve(canvas.cairo());
    canvas.colour(ink);
    canvas.stroke(2.2);
    for (const CoverPiece& piece : stage.scene.set->pieces) {
        for (const Dart& dart : piece.darts) {
            addVisible(canvas, stage.view, image, dart.line, strokeLift);
        }
    }
    canvas.colour(dartColour);
    canvas.stroke(2.2);
}

// A number stands at the place of its piece's claim that can be seen and lies nearest to the middle of all
// that can.
void drawNumbers(Canvas& canvas, const Stage& stage, const DepthImage& image) {
    const auto& claimOf = stage.scene.set->claimOf;
    for (std::size_t p = 0; p < stage.scene.pieces.size(); ++p) {
        std::vector<Seen> places;
        double x = 0.0;
        double y = 0.0;
        for (std::size_t t = 0; t < claimOf.size(); ++t) {
            const Seen place = stage.view.see(stage.claims.facets[t].centroid);
            if (claimOf[t] == static_cast<std::int32_t>(p) && image.sees(place, strokeLift)) {
                places.push_back(place);
                x += place.x;
                y += place.y;
            }
        }
        if (places.empty()) {
            continue;
        }
        const auto count = static_cast<double>(places.size());
        const auto off = [&](const Seen& s) { return std::hypot(s.x - x / count, s.y - y / count); };
        const Seen& at = *std::min_element(places.begin(), places.end(),
                                           [&](const Seen& a, const Seen& b) { return off(a) < off(b); });
        constexpr double radius = 15.0;
        cairo_arc(canvas.cairo(), at.x, at.y, radius, 0.0, 2.0 * std::numbers::pi);
        canvas.colour({1.0, 1.0, 1.0}, 0.9);
        cairo_fill_preserve(canvas.cairo());
        canvas.colour(ink);
        canvas.stroke(1.3);
        canvas.text(at.x, at.y + 0.36 * textSize, textSize, std::to_string(p + 1), Align::centre);
    }
}

void drawView(Canvas& canvas, const Stage& stage, double x, double y) {
    cairo_save(canvas.cairo());
    cairo_translate(canvas.cairo(), x, y);
    DepthImage image(std::max(1, static_cast<int>(std::ceil(stage.view.width))),
                     std::max(1, static_cast<int>(std::ceil(stage.view.height))), stage.view);
    drawSurface(image, stage);
    image.drawSilhouettes(std::max(6.0, 0.03 * std::max(stage.view.width, stage.view.height)));
    placeImage(canvas, image, 0.0, 0.0);
    drawFibres(canvas, stage, image);
    drawEdges(canvas, stage, image);
    drawNumbers(canvas, stage, image);
    cairo_restore(canvas.cairo());
}

// The same from behind, in a box of the same size.
MouldView fromBehind(MouldView view) {
    view.right = -1.0 * view.right;
    view.toEye = -1.0 * view.toEye;
    view.shiftX = view.width - view.shiftX;
    return view;
}

bool hidesMuch(const Mould& mould, const MouldView& view) {
    double behind = 0.0;
    for (const Facet& facet : mould.facets) {
        behind += dot(facet.normal, view.toEye) < 0.0 ? facet.area : 0.0;
    }
    return std::min(behind, mould.area - behind) > facesAllWays * mould.area;
}

} // namespace

Colour pieceColour(std::int32_t piece) {
    constexpr std::array<Colour, 8> colours{{{0.55, 0.75, 0.95},
                                             {0.98, 0.78, 0.45},
                                             {0.62, 0.86, 0.60},
                                             {0.95, 0.62, 0.62},
                                             {0.80, 0.70, 0.95},
                                             {0.97, 0.93, 0.52},
                                             {0.55, 0.88, 0.88},
                                             {0.90, 0.72, 0.58}}};
    if (piece < 0) {
        return bareColour;
    }
    const auto turn = static_cast<double>(piece / 8 % 4);
    const Colour& base = colours[at(piece) % colours.size()];
    return {base.red * (1.0 - 0.13 * turn), base.green * (1.0 - 0.13 * turn),
            base.blue * (1.0 - 0.13 * turn)};
}

void drawPiecesIn(Canvas& canvas, const CoverScene& scene, const Box& box, double pixelsPerUnit) {
    const Mould& claims = *scene.set->claims;
    const MouldView view = chooseView(claims, Grid{}, pixelsPerUnit * box.width, pixelsPerUnit * box.height);
    const std::vector<Point> normals = cornerNormals(claims);
    cairo_save(canvas.cairo());
    cairo_translate(canvas.cairo(), box.x + 0.5 * (box.width - view.width / pixelsPerUnit),
                    box.y + 0.5 * (box.height - view.height / pixelsPerUnit));
    cairo_scale(canvas.cairo(), 1.0 / pixelsPerUnit, 1.0 / pixelsPerUnit);
    drawView(canvas, {scene, claims, normals, view}, 0.0, 0.0);
    cairo_restore(canvas.cairo());
}

std::string coverPicture(const CoverScene& scene, Drawing drawing) {
    const Mould& claims = *scene.set->claims;
    const Grid noGrid;
    const double room = pageWidth - 2.0 * margin;
    MouldView view = chooseView(claims, noGrid, room, tallest);
    const bool twice = hidesMuch(claims, view);
    if (twice) {
        view = chooseView(claims, noGrid, 0.5 * (room - margin), tallest);
    }
    const std::vector<Point> normals = cornerNormals(claims);
    const double height = std::ceil(view.height + 2.0 * margin + captionSpace);
    Canvas canvas(drawing, PageUnit::pixel, pageWidth, height, 1.0);
    if (twice) {
        drawView(canvas, {scene, claims, normals, view}, margin, margin);
        drawView(canvas, {scene, claims, normals, fromBehind(view)}, pageWidth - margin - view.width, margin);
    } else {
        drawView(canvas, {scene, claims, normals, view}, 0.5 * (pageWidth - view.width), margin);
    }
    const double line = height - margin - 1.6 * textSize;
    if (!scene.pieces.empty()) {
        const double perPixel = scene.pieces.front().millimetresPerUnit / view.scale;
        const double bar = roundLength(0.2 * pageWidth * perPixel);
        drawScaleBar(canvas, margin, line, bar / perPixel, bar, textSize);
        canvas.colour(paleInk);
        canvas.text(pageWidth - margin, line + 1.7 * textSize, 0.85 * textSize,
                    mouldLabel(scene.pieces.front()), Align::right);
    }
    canvas.colour(ink);
    canvas.text(pageWidth - margin, line + 0.3 * textSize, textSize, scene.caption, Align::right);
    return canvas.bytes();
}

} // namespace tool
