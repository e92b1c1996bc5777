// The drape on its mould in three dimensions. A depth image finds what can be seen; as an image file it is
// the picture itself, in a vector file the visible triangles and cells are drawn one by one, far ones first.
// Fibres, outlines and the seed are strokes over either.
#include "host/cloth/grid.h"
#include "host/cloth/net_faces.h"
#include "host/mesh/point.h"
#include "host/mesh/text.h"
#include "tool/draw/canvas.h"
#include "tool/draw/depth_image.h"
#include "tool/draw/labels.h"
#include "tool/draw/view_strokes.h"

#include <algorithm>
#include <cmath>
#include <memory>

namespace tool {
namespace {

// The page, in pixels.
constexpr double pageWidth = 1200.0;
constexpr double margin = 30.0;
constexpr double barSpace = 120.0;
constexpr double tallestMould = 760.0;
constexpr double lowestPage = 420.0;
constexpr double captionSpace = 136.0;
constexpr double textSize = 17.0;

constexpr double fibreSpacing = 5.0;        // pixels, at least
constexpr std::size_t mostPolygons = 60000; // in a vector file; beyond this its surfaces are an image
constexpr double creaseCosine = 0.77; // triangles that meet at more than about 40 degrees keep their edge
constexpr double clothLift = 0.15;    // of cloth over the mould, in cells: chords cut into a convex mould
constexpr double strokeLift = 2.0;    // of lines over what they lie on, in pixels
constexpr double hiddenSeed = 0.45;   // opacity
constexpr Colour mouldColour{0.74, 0.75, 0.77};
constexpr Colour warningColour{0.75, 0.05, 0.10};

// A scene made ready to be drawn: mould triangles are numbered first, faces of the pattern after them.
struct Stage {
    const Scene& scene;
    MouldView view;
    ShearScale scale;
    double lift;                  // of cloth over the mould, in pixels
    std::vector<Point> triangles; // normals
    std::vector<Point> areas;     // normals as long as twice the area
    std::vector<NetFace> faces;

    std::uint32_t numberOfFace(std::size_t face) const {
        return static_cast<std::uint32_t>(triangles.size() + face);
    }
    const Cell& cellOf(const NetFace& face) const { return scene.measures->cells[face.cell]; }
};

std::vector<Point> triangleAreas(const Mould& mould) {
    std::vector<Point> areas(mould.triangleCount());
    for (std::size_t t = 0; t < areas.size(); ++t) {
        const Point& a = mould.corner(t, 0);
        areas[t] = vec::cross(vec::subtract(mould.corner(t, 1), a), vec::subtract(mould.corner(t, 2), a));
    }
    return areas;
}

std::vector<Point> unitsOf(const std::vector<Point>& vectors) {
    std::vector<Point> units(vectors.size());
    std::transform(vectors.begin(), vectors.end(), units.begin(), vec::unit);
    return units;
}

// Normal at a triangle's corner: the mean of those triangles around it that bend off only gently.
Point smoothNormal(const Stage& stage, std::size_t triangle, std::size_t vertex) {
    const Mould& mould = *stage.scene.mould;
    const auto start = static_cast<std::size_t>(mould.fanStart[vertex]);
    const auto end = vertex + 1 < mould.fanStart.size() ? static_cast<std::size_t>(mould.fanStart[vertex + 1])
                                                        : mould.fan.size();
    Point sum{};
    for (std::size_t k = start; k < end; ++k) {
        const auto other = static_cast<std::size_t>(mould.fan[k]) - 1;
        if (vec::dot(stage.triangles[other], stage.triangles[triangle]) > creaseCosine) {
            sum = vec::add(sum, stage.areas[other]);
        }
    }
    return vec::length(sum) > 0.0 ? vec::unit(sum) : stage.triangles[triangle];
}

void drawMould(DepthImage& image, const Stage& stage) {
    const Mould& mould = *stage.scene.mould;
    for (std::size_t t = 0; t < mould.triangleCount(); ++t) {
        std::array<SeenCorner, 3> corners;
        for (std::size_t k = 0; k < 3; ++k) {
            const auto vertex = static_cast<std::size_t>(mould.corners[3 * t + k]) - 1;
            corners[k] = {stage.view.see(mould.corner(t, k)), smoothNormal(stage, t, vertex)};
        }
        image.draw(corners, mouldColour, static_cast<std::uint32_t>(t), 0.0);
    }
}

Point normalOf(const Grid& grid, const Cell& cell) {
    const auto p = [&](std::size_t k) { return nodePosition(grid, cell.nodes[k]); };
    return vec::unit(vec::cross(vec::subtract(p(2), p(0)), vec::subtract(p(3), p(1))));
}

void drawCloth(DepthImage& image, const Stage& stage) {
    const Grid& grid = *stage.scene.grid;
    for (std::size_t f = 0; f < stage.faces.size(); ++f) {
        const NetFace& face = stage.faces[f];
        const Cell& cell = stage.cellOf(face);
        const Point flat = normalOf(grid, cell);
        std::array<Point, 4> normals;
        for (std::size_t k = 0; k < 4; ++k) {
            const Point normal = nodeNormal(grid, cell.nodes[k]);
            normals[k] = vec::dot(normal, flat) > creaseCosine ? normal : flat;
        }
        const Colour colour = shearColour(stage.scale, face.shear);
        for (const auto& triangle : trianglesOf(grid, cell, face)) {
            std::array<SeenCorner, 3> corners;
            for (std::size_t k = 0; k < 3; ++k) {
                corners[k] = {stage.view.see(pointIn(grid, cell, triangle[k])),
                              mixedIn(normals, triangle[k])};
            }
            image.draw(corners, colour, stage.numberOfFace(f), stage.lift);
        }
    }
}

struct Polygon {
    std::vector<std::vector<std::array<double, 2>>> lines; // closed, holes the other way round
    double near = 0.0;
    Colour colour;
    bool cloth = false;
};

Polygon polygonOf(const Stage& stage, const DepthImage& image, std::uint32_t owner) {
    Polygon polygon;
    double count = 0.0;
    const auto add = [&](const Point& corner) {
        const Seen seen = stage.view.see(corner);
        polygon.lines.back().push_back({seen.x, seen.y});
        polygon.near += seen.near;
        ++count;
    };
    polygon.cloth = owner >= stage.triangles.size();
    if (polygon.cloth) {
        const NetFace& face = stage.faces[owner - stage.triangles.size()];
        const Cell& cell = stage.cellOf(face);
        for (const auto& line : polygonsOf(face)) {
            polygon.lines.emplace_back();
            for (const FlatPoint& place : line) {
                add(pointIn(*stage.scene.grid, cell, place));
            }
        }
        polygon.colour =
            image.shaded(shearColour(stage.scale, face.shear), normalOf(*stage.scene.grid, cell));
    } else {
        polygon.lines.emplace_back();
        for (std::size_t k = 0; k < 3; ++k) {
            add(stage.scene.mould->corner(owner, k));
        }
        polygon.colour = image.shaded(mouldColour, stage.triangles[owner]);
    }
    polygon.near /= count;
    return polygon;
}

// All cloth lies over all of the mould: whatever part of the mould hides cloth isn't hidden by it in turn on
// surfaces that can be draped.
void drawPolygons(Canvas& canvas, const Stage& stage, const DepthImage& image,
                  const std::vector<std::uint32_t>& owners) {
    std::vector<Polygon> polygons;
    polygons.reserve(owners.size());
    for (const std::uint32_t owner : owners) {
        polygons.push_back(polygonOf(stage, image, owner));
    }
    std::stable_sort(polygons.begin(), polygons.end(), [](const Polygon& a, const Polygon& b) {
        return a.cloth != b.cloth ? b.cloth : a.near < b.near;
    });
    cairo_set_line_width(canvas.cairo(), 0.5); // covers the seams between neighbours
    for (const Polygon& polygon : polygons) {
        for (const auto& line : polygon.lines) {
            canvas.path(line, true);
        }
        canvas.colour(polygon.colour);
        cairo_fill_preserve(canvas.cairo());
        cairo_stroke(canvas.cairo());
    }
}

std::int32_t thinning(double step, double scale) {
    const double pixels = step * scale;
    return pixels >= fibreSpacing || !(pixels > 0.0)
               ? 1
               : static_cast<std::int32_t>(std::min(std::ceil(fibreSpacing / pixels), 1e6));
}

void drawFibres(Canvas& canvas, const Stage& stage, const DepthImage& image) {
    const Grid& grid = *stage.scene.grid;
    const double lift = stage.lift + strokeLift;
    const auto draw = [&](const std::vector<Yarn>& yarns, double opacity, double width) {
        for (const Yarn& yarn : yarns) {
            addVisible(canvas, stage.view, image, yarn.points, lift);
        }
        canvas.colour(ink, opacity);
        canvas.stroke(width);
    };
    for (const Fibre fibre : {Fibre::warp, Fibre::weft}) {
        const double spacing = fibre == Fibre::warp ? stage.scene.choice->stepB : stage.scene.choice->stepA;
        std::vector<Yarn> yarns =
            netYarns(grid, *stage.scene.measures, stage.faces, fibre, thinning(spacing, stage.view.scale));
        draw(yarns, 0.5, 0.75);
        std::erase_if(yarns, [](const Yarn& yarn) { return yarn.line != 0; });
        draw(yarns, 0.9, 1.9);
    }
}

void drawOutlines(Canvas& canvas, const Stage& stage, const DepthImage& image) {
    const Mould& mould = *stage.scene.mould;
    for (const Loop& loop : mould.loops) {
        std::vector<Point> points;
        for (const std::int32_t v : loop.vertices) {
            points.push_back(mould.positions[at(v)]);
        }
        points.push_back(points.front());
        addVisible(canvas, stage.view, image, points, strokeLift);
    }
    canvas.colour(ink, 0.75);
    canvas.stroke(1.1);
    for (const NetLoop& loop : stage.scene.measures->net.loops) {
        std::vector<Point> points = loop.rim;
        if (points.empty()) {
            continue; // a pattern that was cut at a curve, which is drawn below
        }
        points.push_back(points.front());
        addVisible(canvas, stage.view, image, points, stage.lift + strokeLift);
    }
    canvas.colour(ink, 0.95);
    canvas.stroke(1.6);
    for (const Dart& dart : stage.scene.darts) {
        addVisible(canvas, stage.view, image, dart.line, stage.lift + strokeLift);
    }
    canvas.colour(dartColour);
    canvas.stroke(2.4);
    for (const CurveResult& curve : stage.scene.curves) {
        for (const CurveStretch& stretch : curve.stretches) {
            addVisible(canvas, stage.view, image, stretch.line, stage.lift + strokeLift);
        }
    }
    canvas.colour(curveColour);
    canvas.stroke(1.9);
}

// From the seed along the warp as far as it can be seen foreshortened.
void drawWarpArrow(Canvas& canvas, const Stage& stage, const Seen& seed) {
    constexpr double length = 70.0; // pixels
    const MouldView& view = stage.view;
    const Point& warp = stage.scene.choice->warp;
    const double dx = length * vec::dot(warp, view.right);
    const double dy = -length * vec::dot(warp, view.up);
    const double reach = std::hypot(dx, dy);
    if (!(reach > 0.3 * length)) {
        return;
    }
    const double ux = dx / reach;
    const double uy = dy / reach;
    const std::array<double, 2> tip{seed.x + dx, seed.y + dy};
    const auto barb = [&](double side) {
        return std::array<double, 2>{tip[0] - 14.0 * ux - side * 5.0 * uy,
                                     tip[1] - 14.0 * uy + side * 5.0 * ux};
    };
    canvas.path({tip, barb(1.0), barb(-1.0)}, true);
    canvas.colour({1.0, 1.0, 1.0});
    cairo_set_line_width(canvas.cairo(), 2.5);
    cairo_stroke_preserve(canvas.cairo());
    canvas.colour(ink);
    cairo_fill(canvas.cairo());
    const double aside = ux < 0.0 ? -1.0 : 1.0;
    canvas.text(tip[0] + 10.0 * ux - 6.0 * aside, tip[1] + 14.0 * uy - 6.0, 0.85 * textSize, "warp",
                ux < 0.0 ? Align::right : Align::left);
}

// Everything that lies in the mould's own pixels; the canvas stands at their corner. Returns whether the seed
// is seen; one that is hidden is drawn pale.
bool drawScene(Canvas& canvas, const Stage& stage, bool asImage) {
    const int width = std::max(1, static_cast<int>(std::ceil(stage.view.width)));
    const int height = std::max(1, static_cast<int>(std::ceil(stage.view.height)));
    DepthImage image(width, height, stage.view);
    drawMould(image, stage);
    drawCloth(image, stage);
    image.drawSilhouettes(std::max(6.0, 0.03 * std::max(width, height)));
    const auto owners = asImage ? std::vector<std::uint32_t>{} : image.seenOwners();
    if (asImage || owners.size() > mostPolygons) {
        placeImage(canvas, image, 0.0, 0.0);
    } else {
        drawPolygons(canvas, stage, image, owners);
    }
    drawFibres(canvas, stage, image);
    drawOutlines(canvas, stage, image);
    if (stage.scene.grid->count == 0) {
        return true;
    }
    const Seen seed = stage.view.see(nodePosition(*stage.scene.grid, 0));
    const bool isSeen = image.sees(seed, stage.lift + 2.0 * strokeLift);
    if (!isSeen) {
        cairo_push_group(canvas.cairo());
    }
    drawWarpArrow(canvas, stage, seed);
    drawSeedMark(canvas, seed.x, seed.y, 6.5);
    if (!isSeen) {
        cairo_pop_group_to_source(canvas.cairo());
        cairo_paint_with_alpha(canvas.cairo(), hiddenSeed);
    }
    return isSeen;
}

void drawCaption(Canvas& canvas, const Stage& stage, double height, bool isSeedSeen) {
    const double line = height - margin - 3.8 * textSize;
    const double perPixel = stage.scene.millimetresPerUnit / stage.view.scale;
    const double bar = roundLength(0.25 * pageWidth * perPixel);
    drawScaleBar(canvas, margin, line, bar / perPixel, bar, textSize);
    const std::string warning = warningOf(stage.scene);
    canvas.colour(ink);
    canvas.text(pageWidth - margin, line + 0.3 * textSize, textSize, captionOf(stage.scene), Align::right);
    canvas.colour(warning.empty() ? paleInk : warningColour);
    canvas.text(pageWidth - margin, line + 1.7 * textSize, 0.85 * textSize,
                warning.empty() ? std::string(isSeedSeen ? "ring: seed" : "pale ring: seed, hidden") +
                                      "   heavy lines: warp (arrow) and weft through the seed" +
                                      std::string(stage.scene.curves.empty() ? "" : "   red: curve")
                                : warning,
                Align::right);
    canvas.colour(ink);
    canvas.textWithin(margin, line + 3.0 * textSize, 0.85 * textSize, pageWidth - 2.0 * margin,
                      plyTitle(stage.scene) + ", " + mouldLabel(stage.scene));
    canvas.textWithin(margin, line + 4.2 * textSize, 0.85 * textSize, pageWidth - 2.0 * margin,
                      "The cloth lies on the side " + stage.scene.side + "; " + angleLabel(stage.scene));
}

Stage stageOf(const Scene& scene, double width, double height) {
    const MouldView view = chooseView(*scene.mould, *scene.grid, width, height);
    const auto areas = triangleAreas(*scene.mould);
    const double step = std::max(scene.choice->stepA, scene.choice->stepB);
    return {scene,
            view,
            shearScale(*scene.measures),
            clothLift * view.scale * vec::finite(step),
            unitsOf(areas),
            areas,
            netFaces(*scene.grid, *scene.measures)};
}

} // namespace

void drawMouldIn(Canvas& canvas, const Scene& scene, const Box& box, double pixelsPerUnit) {
    const Stage stage = stageOf(scene, pixelsPerUnit * box.width, pixelsPerUnit * box.height);
    cairo_save(canvas.cairo());
    cairo_translate(canvas.cairo(), box.x + 0.5 * (box.width - stage.view.width / pixelsPerUnit),
                    box.y + 0.5 * (box.height - stage.view.height / pixelsPerUnit));
    cairo_scale(canvas.cairo(), 1.0 / pixelsPerUnit, 1.0 / pixelsPerUnit);
    drawScene(canvas, stage, true);
    cairo_restore(canvas.cairo());
}

std::string mouldPicture(const Scene& scene, Drawing drawing) {
    const double room = pageWidth - 3.0 * margin - barSpace;
    const Stage stage = stageOf(scene, room, tallestMould);
    const MouldView& view = stage.view;
    const double inner = std::max(view.height, lowestPage - 2.0 * margin - captionSpace);
    const double height = std::ceil(inner + 2.0 * margin + captionSpace);
    Canvas canvas(drawing, PageUnit::pixel, pageWidth, height, 1.0);
    cairo_save(canvas.cairo());
    cairo_translate(canvas.cairo(), std::floor(margin + 0.5 * (room - view.width)),
                    std::floor(margin + 0.5 * (inner - view.height)));
    const bool isSeedSeen = drawScene(canvas, stage, canvas.isImage());
    cairo_restore(canvas.cairo());
    if (!scene.measures->cells.empty()) {
        const double left = pageWidth - margin - barSpace + 40.0;
        const double bar = std::min(inner - 40.0, 420.0);
        const double top = margin + 0.5 * (inner - bar) + 12.0;
        canvas.colour(ink);
        canvas.text(left, top - 1.0 * textSize, textSize, "shear");
        drawColourBar(canvas, {left, top, 24.0, bar}, stage.scale, textSize);
    }
    drawCaption(canvas, stage, height, isSeedSeen);
    return canvas.bytes();
}

} // namespace tool
