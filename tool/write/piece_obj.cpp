// A piece's own surface in a file of its own.
#include "tool/write/writers.h"

#include "host/mesh/point.h"
#include "tool/write/file_numbers.h"

namespace tool {

using namespace vec;

namespace {

constexpr int exact = 17;      // digits
constexpr double clear = 0.02; // of a mean normal, for a side to be named by it

std::string exactly(const Point& p) {
    return fileNumber(p[0], exact) + "," + fileNumber(p[1], exact) + "," + fileNumber(p[2], exact);
}

// As they were given, so that the same sums give the same bits.
std::string directionsOf(const StartWishes& start, double angle) {
    return (start.rosette ? " --rosette=" + exactly(*start.rosette) : "") +
           (start.warp ? " --warp=" + exactly(*start.warp) : "") + " --angle=" + fileNumber(angle, exact);
}

} // namespace

Point sideOf(const Mould& mould, const Choice& choice) {
    Point sum{};
    for (const Facet& facet : mould.facets) {
        sum = sum + (facet.area / mould.area) * facet.normal;
    }
    return length(sum) > clear ? unit(sum) : choice.normal;
}

std::string pieceObj(const CoverScene& scene, std::size_t piece) {
    const CoverPiece& made = scene.set->pieces[piece];
    const Mould& mould = *made.drape.mould;
    const Choice& c = made.drape.choice;
    std::string text =
        "# piece " + std::to_string(piece + 1) + " of " + std::to_string(scene.set->pieces.size()) +
        "; drape it again with\n# --seed=" + exactly(c.seed) + directionsOf(scene.start, made.drape.angle) +
        " --step=" + fileNumber(c.stepA, exact) + "," + fileNumber(c.stepB, exact) +
        " --tolerance=" + fileNumber(c.tolerance, exact) +
        " --pivot=" + (c.pivotByGridLine ? "grid" : "shear") + " --side=" + exactly(sideOf(mould, c)) +
        (made.darts.empty() ? "" : " --no-weld") + "\n";
    for (const Point& p : mould.positions) {
        text += "v " + fileNumber(p[0], exact) + " " + fileNumber(p[1], exact) + " " +
                fileNumber(p[2], exact) + "\n";
    }
    for (std::size_t t = 0; t < mould.triangleCount(); ++t) {
        text += "f";
        for (std::size_t k = 0; k < 3; ++k) {
            text += " " + std::to_string(mould.corners[3 * t + k]);
        }
        text += "\n";
    }
    return text;
}

} // namespace tool
