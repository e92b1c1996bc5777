// Curves carried onto the grids of real runs, both of them bent: links to nowhere, cells without corners,
// points and directions that are no numbers.
#include "small_mould.h"

#include <cstdlib>

namespace {

using namespace drape_fuzz;

// The grid's arrays cut to the nodes that it has, as a host may hold them.
void trim(Grid& grid) {
    const auto n = static_cast<std::size_t>(grid.count);
    for (auto* array :
         {&grid.link3, &grid.link1, &grid.link2, &grid.link4, &grid.nodeStatus, &grid.nodeTri}) {
        array->resize(n);
        array->shrink_to_fit();
    }
    grid.nodePos.resize(3 * n);
    grid.nodePos.shrink_to_fit();
    grid.nodeFlat.resize(2 * n);
    grid.nodeFlat.shrink_to_fit();
}

// Round the middle of a mould of some size.
Curve curveFrom(ByteSource& bytes, double size) {
    Curve curve;
    const int points = bytes.below(24);
    const double radius = 0.1 * size + bytes.between(0.0, 0.6 * size);
    for (int k = 0; k < points; ++k) {
        const double s = 4.0 * k / points;
        const double x = s < 1   ? s
                         : s < 2 ? 1
                         : s < 3 ? 3 - s
                                 : 0,
                     y = s < 1   ? 0
                         : s < 2 ? s - 1
                         : s < 3 ? 1
                                 : 4 - s;
        curve.points.insert(curve.points.end(),
                            {0.5 * size + radius * (x - 0.5) + bytes.between(0.0, 0.1 * size),
                             0.5 * size + radius * (y - 0.5), 0.0});
        curve.directions.insert(curve.directions.end(), {0.0, bytes.between(0.0, 0.4), 1.0});
    }
    curve.low = bytes.integer();
    curve.high = bytes.integer();
    return curve;
}

void bendGrid(Grid& grid, ByteSource& bytes) {
    if (grid.count < 1)
        return;
    std::vector<std::int32_t>* const lists[] = {&grid.link3, &grid.link1, &grid.link2, &grid.link4,
                                                &grid.nodeStatus};
    const std::size_t node = bytes.index(static_cast<std::size_t>(grid.count));
    const int which = bytes.below(8);
    if (which < 5) // mostly links to other nodes: those lead furthest in
        (*lists[which])[node] =
            bytes.flag() ? bytes.integer()
                         : static_cast<std::int32_t>(bytes.index(static_cast<std::size_t>(grid.count) + 1));
    else if (which == 5)
        grid.nodeFlat[2 * node + bytes.index(2)] = bytes.real();
    else
        grid.nodePos[3 * node + bytes.index(3)] = bytes.real();
}

void bendCurve(Curve& curve, ByteSource& bytes) {
    if (curve.points.empty())
        return;
    std::vector<double>& values = bytes.flag() ? curve.directions : curve.points;
    values[bytes.index(values.size())] = bytes.real();
}

// By value, since the call turns the curve. It takes far less time than the run that made the grid, so each
// change is tried for itself.
void carry(Grid& grid, Curve curve) {
    transfer(grid, curve);
    if (curve.result != (curve.status == DRAPE_OK ? 0 : 1))
        std::abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    ByteSource bytes(data, size);
    const int changes = bytes.below(8);
    const Surface surface = surfaceFrom(bytes);
    Curve curve = curveFrom(bytes, sizeOf(surface));
    Settings settings = settingsFrom(bytes, surface);
    settings.capacity = 120;
    Grid grid = run(surface, settings);
    trim(grid);
    carry(grid, curve);
    for (int i = 0; i < changes; ++i) {
        if (bytes.flag())
            bendCurve(curve, bytes);
        else
            bendGrid(grid, bytes);
        carry(grid, curve);
    }
    return 0;
}
