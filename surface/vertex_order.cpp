// Vertices along a Hilbert curve: the curve visits the cells of a cube one after the other without a jump, so
// what is near in number is near in space. A table gives for each orientation of the curve which octant comes
// when and how the curve lies in it; the vertices are sorted by their cells' places, digit by digit.
#include "surface/vertex_order.h"

#include "surface/box.h"

#include <algorithm>
#include <array>
#include <bit>

namespace drape {
namespace {

constexpr int LEVELS = 11; // of octants within octants: 2048 cells along each axis
constexpr int PASSES = 3;  // of the sort, LEVELS bits at a time
constexpr std::size_t DIGITS = std::size_t{1} << LEVELS;
constexpr int STATES = 24; // orientations of the curve

constexpr std::uint32_t rotated(std::uint32_t octant, std::uint32_t by) { // three bits, to the left
    return ((octant << (by % 3)) | (octant >> (3 - by % 3))) & 7u;
}

// The curve in one octant is told by the corner where it enters and the axis along which it leaves (after
// Hamilton, Compact Hilbert Indices, 2006): 8 x 3 orientations.
struct CurveTable {
    std::uint8_t digit[STATES][8]{}; // when the curve comes to an octant
    std::uint8_t next[STATES][8]{};  // its orientation there

    constexpr CurveTable() {
        for (std::uint32_t entry = 0; entry < 8; ++entry)
            for (std::uint32_t axis = 0; axis < 3; ++axis)
                for (std::uint32_t octant = 0; octant < 8; ++octant) {
                    const std::uint32_t gray = rotated(octant ^ entry, 2 - axis); // axis + 1 to the right
                    const std::uint32_t w = gray ^ (gray >> 1) ^ (gray >> 2);
                    const std::uint32_t even = w == 0 ? 0 : (w - 1) & ~1u;
                    const std::uint32_t way =
                        w == 0 ? 0 : static_cast<std::uint32_t>(std::countr_one(w % 2 == 0 ? w - 1 : w)) % 3;
                    const std::uint32_t nextEntry = entry ^ rotated(even ^ (even >> 1), axis + 1);
                    const std::uint32_t state = 3 * entry + axis;
                    digit[state][octant] = static_cast<std::uint8_t>(w);
                    next[state][octant] = static_cast<std::uint8_t>(3 * nextEntry + (axis + way + 1) % 3);
                }
    }
};
constexpr CurveTable CURVE;

// The same for two levels at once, by the two bits of each coordinate; the orientation stands above the
// digits.
struct DoubleTable {
    std::uint16_t step[STATES][64]{};

    constexpr DoubleTable() {
        for (std::uint32_t state = 0; state < STATES; ++state)
            for (std::uint32_t bits = 0; bits < 64; ++bits) {
                const std::uint32_t first =
                    ((bits >> 1) & 1u) | ((bits >> 3) & 1u) << 1 | ((bits >> 5) & 1u) << 2;
                const std::uint32_t second = (bits & 1u) | ((bits >> 2) & 1u) << 1 | ((bits >> 4) & 1u) << 2;
                const std::uint32_t between = CURVE.next[state][first];
                const std::uint32_t digits =
                    std::uint32_t{CURVE.digit[state][first]} << 3 | CURVE.digit[between][second];
                step[state][bits] =
                    static_cast<std::uint16_t>(std::uint32_t{CURVE.next[between][second]} << 6 | digits);
            }
    }
};
constexpr DoubleTable TWO_LEVELS;

struct Cells {
    Vec3 low;
    double perUnit;

    static std::uint32_t along(double place) {
        constexpr double last = (1 << LEVELS) - 1;
        return static_cast<std::uint32_t>(place > 0.0 ? std::min(place, last) : 0.0); // 0 for no number
    }
    std::uint64_t placeOnCurve(const Vec3& p) const {
        const std::uint32_t x = along((p.x - low.x) * perUnit), y = along((p.y - low.y) * perUnit),
                            z = along((p.z - low.z) * perUnit);
        // The highest level by itself, since their number is odd.
        static_assert(LEVELS % 2 == 1);
        constexpr int top = LEVELS - 1;
        const std::uint32_t octant = x >> top | (y >> top) << 1 | (z >> top) << 2;
        std::uint64_t place = CURVE.digit[0][octant];
        std::uint32_t state = CURVE.next[0][octant];
        for (int level = LEVELS - 3; level >= 0; level -= 2) {
            const std::uint32_t bits =
                ((x >> level) & 3u) | ((y >> level) & 3u) << 2 | ((z >> level) & 3u) << 4;
            const std::uint32_t step = TWO_LEVELS.step[state][bits];
            place = place << 6 | (step & 63u);
            state = step >> 6;
        }
        return place;
    }
};

// Vertices that no triangle uses may lie anywhere and don't count.
Cells cellsOver(const SurfaceMesh& mesh) {
    Box extent = Box::nothing();
    for (std::int32_t v = 1; v <= mesh.vertCount; ++v)
        if (mesh.fanBegin(v) < mesh.fanEnd(v))
            extent.include(mesh.vertex(v));
    const Vec3 size = extent.high - extent.low;
    const double largest = std::max(size.x, std::max(size.y, size.z));
    return {extent.low, largest > 0.0 ? (1 << LEVELS) / largest : 0.0};
}

std::size_t digitOf(const PlacedVertex& placed, int pass) {
    return (placed.place() >> (LEVELS * pass)) % DIGITS;
}

} // namespace

bool orderVertices(const SurfaceMesh& mesh, PlacedVertex* ordered, PlacedVertex* spare,
                   std::int32_t& status) {
    WorkArray<std::int32_t> block;
    if (!block.take(PASSES * std::int64_t{DIGITS}, status))
        return false;
    std::int32_t* counts = block.data();
    clear(counts, PASSES * std::int64_t{DIGITS});

    // An odd number of passes ends where it began if it begins in the other table.
    static_assert(PASSES % 2 == 1);
    PlacedVertex* from = spare;
    PlacedVertex* to = ordered;
    const Cells cells = cellsOver(mesh);
    for (std::int32_t v = 1; v <= mesh.vertCount; ++v) {
        from[v - 1] = PlacedVertex(cells.placeOnCurve(mesh.vertex(v)), v);
        for (int pass = 0; pass < PASSES; ++pass)
            ++counts[DIGITS * static_cast<std::size_t>(pass) + digitOf(from[v - 1], pass)];
    }
    for (int pass = 0; pass < PASSES; ++pass) {
        std::int32_t* starts = counts + DIGITS * static_cast<std::size_t>(pass);
        std::int32_t start = 0;
        for (std::size_t digit = 0; digit < DIGITS; ++digit)
            start += std::exchange(starts[digit], start);
        for (std::int32_t k = 0; k < mesh.vertCount; ++k)
            to[starts[digitOf(from[k], pass)]++] = from[k];
        std::swap(from, to);
    }
    block.release(status);
    return status == DRAPE_OK;
}

} // namespace drape
