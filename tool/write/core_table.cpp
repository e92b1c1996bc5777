// The highest layer stands at the top of the text, as it does on the part.
#include "tool/write/core_table.h"

#include "host/mesh/text.h"
#include "tool/write/file_numbers.h"

#include <cmath>

namespace tool {
namespace {

std::string angleText(double degrees) {
    return std::isfinite(degrees) ? fixed(degrees, 1) + " degrees" : "an angle that the rosette doesn't tell";
}

} // namespace

std::string coreText(const Laminate& laminate, const CoreSample& core) {
    std::string text = "core      at " + pointText(core.place);
    if (core.element >= 0) {
        text += " in element " + std::to_string(laminate.shell.elements[at(core.element)].number);
    }
    text +=
        ": " + counted(core.layers.size(), "layer", "layers") + ", " + number(core.thickness) + " thick\n";
    bool isOverMould = true;
    for (std::size_t k = core.layers.size(); k-- > 0;) {
        const CoreLayer& layer = core.layers[k];
        const PlyWish& wish = laminate.plies[layer.ply].wish;
        text += isOverMould && layer.onOtherSide ? "  mould\n" : "";
        isOverMould = !layer.onOtherSide;
        text += "  " + std::to_string(layer.ply + 1) + " " +
                laminate.plies[layer.ply].nameOf(layer.fibres.piece) + ", " + wish.cloth.name + " at " +
                angleText(layer.fibres.toRosette) + (layer.onOtherSide ? " seen from the other side" : "") +
                " (laid at " + number(wish.angle) + "), shear " + fixed(layer.fibres.shear, 1) +
                ", thickness " + number(layer.thickness) + " from " + number(layer.bottom) + "\n";
    }
    return text + (isOverMould ? "  mould\n" : "");
}

std::string coreCsv(const Laminate& laminate, const std::vector<CoreSample>& cores) {
    std::string text =
        "core,x,y,z,element,layer,sequence,ply,cloth,angle_laid_deg,angle_rosette_deg,shear_deg,bottom,"
        "thickness,warp_x,warp_y,warp_z,piece,side\n";
    for (std::size_t c = 0; c < cores.size(); ++c) {
        const CoreSample& core = cores[c];
        for (std::size_t k = 0; k < core.layers.size(); ++k) {
            const CoreLayer& layer = core.layers[k];
            const PlyWish& wish = laminate.plies[layer.ply].wish;
            text += std::to_string(c + 1);
            for (const double x : core.place) {
                text += "," + fileNumber(x);
            }
            text +=
                "," +
                (core.element >= 0 ? std::to_string(laminate.shell.elements[at(core.element)].number) : "") +
                "," + std::to_string(k + 1) + "," + std::to_string(layer.ply + 1) + "," +
                csvField(wish.name) + "," + csvField(wish.cloth.name) + "," + fileNumber(wish.angle) + "," +
                (std::isfinite(layer.fibres.toRosette) ? fileNumber(layer.fibres.toRosette) : "") + "," +
                fileNumber(layer.fibres.shear) + "," + fileNumber(layer.bottom) + "," +
                fileNumber(layer.thickness);
            for (const double x : layer.fibres.warp) {
                text += "," + fileNumber(x);
            }
            text += "," + std::to_string(layer.fibres.piece + 1) + (layer.onOtherSide ? ",-1\n" : ",1\n");
        }
    }
    return text;
}

} // namespace tool
