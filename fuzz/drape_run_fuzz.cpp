// Whole runs on small moulds, sound and bent: any input must end with a result or a code, inside the arrays.
#include "small_mould.h"

#include <cstdlib>

namespace {

using namespace drape_fuzz;

void require(bool held) {
    if (!held)
        std::abort();
}

// What a host may rely on after any run.
void checkGrid(const Grid& grid, const Settings& settings) {
    require(grid.result == 0 && grid.status != DRAPE_PASS_ARRAY_HELD);
    require(grid.status >= 0 && grid.status <= DRAPE_UNKNOWN_HANDLE);
    require(grid.count >= 0 && grid.count <= settings.capacity);
    for (std::size_t n = 0; n < static_cast<std::size_t>(grid.count); ++n) {
        if (grid.status != DRAPE_OK)
            continue;
        require(grid.nodeStatus[n] == DRAPE_NODE_OPEN || grid.nodeStatus[n] == DRAPE_NODE_CLOSED);
        for (const auto* links : {&grid.link1, &grid.link2, &grid.link3, &grid.link4})
            require((*links)[n] >= 0 && (*links)[n] <= grid.count);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    ByteSource bytes(data, size);
    const int changes = bytes.below(8);
    const bool twice = bytes.below(8) == 7;
    Surface surface = surfaceFrom(bytes);
    Settings settings = settingsFrom(bytes, surface);
    for (int i = 0; i < changes; ++i)
        switch (bytes.below(4)) {
        case 0:
            retie(surface, bytes);
            break;
        case 1:
            bendMesh(surface, bytes);
            break;
        case 2:
            bendSettings(settings, bytes);
            break;
        default:
            settings.capacity = bytes.below(16);
            break;
        }
    const Grid grid = run(surface, settings);
    checkGrid(grid, settings);
    if (twice) {
        Digest first, second;
        first.add(grid);
        second.add(run(surface, settings));
        require(first.value() == second.value());
    }
    return 0;
}
