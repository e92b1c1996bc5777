// The region's line and the net lines are met as polygons of whole numbers, some nine digits wide.
#include "tool/draw/ply_sheet.h"

#include "host/cloth/cell_cover.h"

#include <algorithm>
#include <clipper.hpp>
#include <cmath>
#include <iterator>
#include <limits>

namespace tool {
namespace {

constexpr double largestWhole = 5e8; // keeps products within 64 bits

ClipperLib::Path pathOf(const std::vector<FlatPoint>& line, double factor) {
    ClipperLib::Path path;
    for (const FlatPoint& p : line) {
        path.push_back({std::llround(factor * p[0]), std::llround(factor * p[1])});
    }
    return path;
}

double lengthOf(const std::vector<FlatPoint>& line) {
    double length = 0.0;
    for (std::size_t k = 0; k < line.size(); ++k) {
        const FlatPoint& next = line[(k + 1) % line.size()];
        length += std::hypot(next[0] - line[k][0], next[1] - line[k][1]);
    }
    return length;
}

// The net pattern within a closed line. Of its lines only the flat places stay known.
void cutAt(NetPattern& net, const Grid& grid, const std::vector<Cell>& cells,
           const std::vector<FlatPoint>& region) {
    double reach = 0.0;
    for (const FlatPoint& p : region) {
        reach = std::max({reach, std::abs(p[0]), std::abs(p[1])});
    }
    for (const double e : net.extent) {
        reach = std::max(reach, std::abs(e));
    }
    const double factor = reach > 0.0 ? largestWhole / reach : 1.0;
    ClipperLib::Clipper clipper;
    for (const NetLoop& loop : net.loops) {
        clipper.AddPath(pathOf(loop.flat, factor), ClipperLib::ptSubject, true);
    }
    clipper.AddPath(pathOf(region, factor), ClipperLib::ptClip, true);
    ClipperLib::Paths kept;
    clipper.Execute(ClipperLib::ctIntersection, kept, ClipperLib::pftNonZero, ClipperLib::pftNonZero);
    NetPattern part;
    constexpr double infinite = std::numeric_limits<double>::infinity();
    part.extent = {infinite, infinite, -infinite, -infinite};
    for (const ClipperLib::Path& path : kept) {
        NetLoop loop;
        for (const ClipperLib::IntPoint& p : path) {
            const FlatPoint flat{static_cast<double>(p.X) / factor, static_cast<double>(p.Y) / factor};
            loop.flat.push_back(flat);
            for (std::size_t k = 0; k < 2; ++k) {
                part.extent[k] = std::min(part.extent[k], flat[k]);
                part.extent[k + 2] = std::max(part.extent[k + 2], flat[k]);
            }
        }
        loop.space.resize(loop.flat.size());
        loop.borders.assign(loop.flat.size(), NetBorder::mould);
        loop.area = signedArea(loop.flat);
        loop.length = lengthOf(loop.flat);
        part.area += loop.area;
        part.loops.push_back(std::move(loop));
    }
    if (part.loops.empty()) {
        part.extent = {};
    }
    std::sort(part.loops.begin(), part.loops.end(),
              [](const NetLoop& a, const NetLoop& b) { return std::abs(a.area) > std::abs(b.area); });
    const auto touches = [&](std::size_t cell) {
        return std::any_of(cells[cell].nodes.begin(), cells[cell].nodes.end(),
                           [&](std::int32_t node) { return liesWithin(nodeFlat(grid, node), region); });
    };
    std::copy_if(net.wholeCells.begin(), net.wholeCells.end(), std::back_inserter(part.wholeCells), touches);
    std::copy_if(net.clippedCells.begin(), net.clippedCells.end(), std::back_inserter(part.clippedCells),
                 [&](const ClippedCell& clipped) { return touches(clipped.cell); });
    net = std::move(part);
}

// Shear of the cells whose middle lies within a region, as of the cells on the surface otherwise.
void measureWithin(Measures& m, const Grid& grid, const std::vector<FlatPoint>& region) {
    double sum = 0.0;
    double largest = 0.0;
    std::size_t count = 0;
    std::size_t locked = 0;
    for (const Cell& cell : m.cells) {
        if (!cell.onSurface || !liesWithin(flatPlace(grid, cell, {0, Cover::whole, 0.5, 0.5}), region)) {
            continue;
        }
        const double shear = std::abs(cell.shear);
        sum += shear;
        largest = std::max(largest, shear);
        locked += shear > m.lockingAngle ? 1 : 0;
        ++count;
    }
    if (count > 0) {
        m.meanShear = sum / static_cast<double>(count);
        m.largestShear = largest;
        m.shareBeyondLocking = static_cast<double>(locked) / static_cast<double>(count);
        m.cellsOnSurface = count;
    }
}

// Of the mould, by the elements on which a ply lies.
double shareOfElements(const Laminate& laminate, const LaidPly& ply) {
    double covered = 0.0;
    double all = 0.0;
    for (std::size_t e = 0; e < ply.fibres.size(); ++e) {
        all += laminate.facets[e].area;
        covered += ply.fibres[e].cover != ElementCover::none ? laminate.facets[e].area : 0.0;
    }
    return all > 0.0 ? covered / all : 0.0;
}

void fill(PlySheet& sheet, const Laminate& laminate, const SheetWishes& wishes) {
    const LaidPly& ply = *sheet.ply;
    const Trial& drape = *sheet.drape;
    sheet.measures = drape.measures;
    if (!ply.region.empty()) {
        cutAt(sheet.measures.net, drape.grid, drape.measures.cells, ply.region);
        measureWithin(sheet.measures, drape.grid, ply.region);
    }
    sheet.cut = cutLinesOf(sheet.measures.net, wishes.allowance);
    sheet.area = sheet.measures.net.area;
    sheet.coveredShare = ply.region.empty() ? sheet.measures.coveredShare : shareOfElements(laminate, ply);
    const double mm = wishes.millimetresPerUnit;
    if (ply.wish.cloth.density && ply.wish.cloth.thickness > 0.0) {
        sheet.mass = *ply.wish.cloth.density * 1e-6 * sheet.area * ply.wish.cloth.thickness * mm * mm * mm;
    }
    Scene& scene = sheet.scene;
    scene.mould = drape.mould.get();
    scene.choice = &drape.choice;
    scene.grid = &drape.grid;
    scene.measures = &sheet.measures;
    scene.cut = &sheet.cut;
    scene.curves = ply.curves;
    scene.millimetresPerUnit = mm;
    scene.ply = sheet.name();
    scene.mouldName = wishes.mouldName;
    scene.side = textOf(drape.side);
    if (ply.pieces) {
        const std::size_t k = std::max<std::size_t>(sheet.piece, 1) - 1;
        // The whole mould stays in sight behind the piece.
        scene.mould = ply.pieces->claims.get();
        scene.seams = seamsOnPattern(*ply.pieces, k);
        scene.darts = ply.pieces->pieces[k].darts;
        sheet.coveredShare = ply.pieces->pieces[k].claimed / ply.pieces->claims->area;
    }
}

} // namespace

std::vector<std::unique_ptr<PlySheet>> sheetsOf(const Laminate& laminate, const SheetWishes& wishes) {
    std::vector<std::unique_ptr<PlySheet>> sheets;
    for (std::size_t p = 0; p < laminate.plies.size(); ++p) {
        const LaidPly& ply = laminate.plies[p];
        const auto drapes = ply.drapes();
        for (std::size_t k = 0; k < std::max<std::size_t>(1, drapes.size()); ++k) {
            PlySheet& sheet = *sheets.emplace_back(std::make_unique<PlySheet>());
            sheet.ply = &ply;
            sheet.sequence = p + 1;
            sheet.piece = ply.inPieces() ? k + 1 : 0;
            if (k < drapes.size()) {
                sheet.drape = drapes[k];
                fill(sheet, laminate, wishes);
            }
        }
    }
    return sheets;
}

} // namespace tool
