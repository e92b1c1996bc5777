// A row, or a set of arrays, per ply; an element without cloth has cover 0 and zeros.
#include "tool/write/file_numbers.h"
#include "tool/write/laminate_files.h"
#include "tool/write/vtk_xml.h"

#include <cmath>

namespace tool {
namespace {

// Above -180 and up to 180.
double wrapped(double degrees) {
    return degrees - 360.0 * std::ceil((degrees - 180.0) / 360.0);
}

// Shape of an element as VTK numbers them.
std::int32_t vtkShape(const ShellElement& element) {
    const std::size_t nodes = element.nodes.size();
    if (element.corners == 3) {
        return nodes == 6 ? 22 : 5;
    }
    return element.corners == 4 ? (nodes == 9 ? 28 : nodes == 8 ? 23 : 9) : 7;
}

CellFile gridOf(const ShellMesh& shell) {
    std::vector<double> points;
    std::vector<std::int32_t> nodes, ends, types;
    for (const Point& p : shell.points) {
        points.insert(points.end(), p.begin(), p.end());
    }
    for (const ShellElement& element : shell.elements) {
        nodes.insert(nodes.end(), element.nodes.begin(), element.nodes.end());
        ends.push_back(static_cast<std::int32_t>(nodes.size()));
        types.push_back(vtkShape(element));
    }
    return {points, nodes, ends, types};
}

void addPly(CellFile& file, const LaidPly& ply, std::size_t number, std::size_t elements) {
    std::vector<std::int32_t> cover, piece, side;
    std::vector<double> shear, angle, thickness, warp, weft;
    for (std::size_t e = 0; e < elements; ++e) {
        const ElementFibres fibres = ply.fibres.empty() ? ElementFibres{} : ply.fibres[e];
        cover.push_back(static_cast<std::int32_t>(fibres.cover));
        piece.push_back(fibres.cover == ElementCover::none ? 0 : fibres.piece + 1);
        side.push_back(fibres.cover == ElementCover::none ? 0 : fibres.above ? 1 : -1);
        shear.push_back(fibres.shear);
        angle.push_back(fibres.toRosette);
        thickness.push_back(fibres.cover == ElementCover::none ? 0.0 : fibres.thickness);
        warp.insert(warp.end(), fibres.warp.begin(), fibres.warp.end());
        weft.insert(weft.end(), fibres.weft.begin(), fibres.weft.end());
    }
    const std::string name = "ply" + std::to_string(number) + "_";
    file.addCellArray((name + "cover").c_str(), cover, 1);
    if (ply.inPieces()) {
        file.addCellArray((name + "piece").c_str(), piece, 1);
    }
    file.addCellArray((name + "side").c_str(), side, 1);
    file.addCellArray((name + "angle").c_str(), angle, 1);
    file.addCellArray((name + "shear").c_str(), shear, 1);
    file.addCellArray((name + "thickness").c_str(), thickness, 1);
    file.addCellArray((name + "warp").c_str(), warp, 3);
    file.addCellArray((name + "weft").c_str(), weft, 3);
}

} // namespace

std::string laminateCsv(const LaminateFile& file) {
    const Laminate& laminate = file.laminate;
    std::string text =
        "element,sequence,ply,cover,angle_side_deg,angle_rosette_deg,angle_change_deg,shear_deg,"
        "thickness_factor,thickness,warp_x,warp_y,warp_z,weft_x,weft_y,weft_z,piece,side\n";
    for (std::size_t e = 0; e < laminate.shell.elements.size(); ++e) {
        const std::string element = std::to_string(laminate.shell.elements[e].number);
        for (std::size_t p = 0; p < laminate.plies.size(); ++p) {
            const LaidPly& ply = laminate.plies[p];
            if (ply.fibres.empty() || ply.fibres[e].cover == ElementCover::none) {
                continue;
            }
            const ElementFibres& fibres = ply.fibres[e];
            const bool known = std::isfinite(fibres.toRosette);
            text += element + "," + std::to_string(p + 1) + "," + csvField(ply.wish.name) + "," +
                    std::to_string(static_cast<int>(fibres.cover)) + "," + fileNumber(fibres.toSide) + "," +
                    (known ? fileNumber(fibres.toRosette) : "") + "," +
                    (known ? fileNumber(wrapped(fibres.toRosette - ply.wish.angle)) : "") + "," +
                    fileNumber(fibres.shear) + "," + fileNumber(fibres.thickness) + "," +
                    fileNumber(ply.thicknessOn(e));
            for (const Point& direction : {fibres.warp, fibres.weft}) {
                for (const double x : direction) {
                    text += "," + fileNumber(x);
                }
            }
            text += "," + std::to_string(fibres.piece + 1) + (fibres.above ? ",1\n" : ",-1\n");
        }
    }
    return text;
}

std::string laminateVtu(const LaminateFile& file) {
    const Laminate& laminate = file.laminate;
    const std::size_t elements = laminate.shell.elements.size();
    CellFile grid = gridOf(laminate.shell);
    std::vector<std::int64_t> numbers;
    std::vector<std::int32_t> count;
    std::vector<double> thickness;
    for (std::size_t e = 0; e < elements; ++e) {
        numbers.push_back(laminate.shell.elements[e].number);
        count.push_back(0);
        thickness.push_back(0.0);
        for (const LaidPly& ply : laminate.plies) {
            const bool lies = !ply.fibres.empty() && ply.fibres[e].cover != ElementCover::none;
            count.back() += lies ? 1 : 0;
            thickness.back() += ply.thicknessOn(e);
        }
    }
    grid.addCellArray("element", numbers, 1);
    grid.addCellArray("plies", count, 1);
    grid.addCellArray("thickness", thickness, 1);
    for (std::size_t p = 0; p < laminate.plies.size(); ++p) {
        addPly(grid, laminate.plies[p], p + 1, elements);
    }
    grid.useNumbers("element");
    grid.showCellArray("thickness");
    return grid.bytes();
}

} // namespace tool
