// Drapes a dome through the host core: from plain arrays to measures and the flat pattern.
#include "host/cloth/net_pattern.h"
#include "host/search/trial.h"

#include <cstdio>

using namespace drape::host;

int main() {
    PolygonSoup soup; // points and faces as any mesh reader gives them
    for (int j = 0; j <= 20; ++j) {
        for (int i = 0; i <= 20; ++i) {
            const double x = 10.0 * i - 100.0, y = 10.0 * j - 100.0;
            soup.points.push_back({x, y, 60.0 - 0.003 * (x * x + y * y)});
            if (i < 20 && j < 20) {
                const int a = 21 * j + i;
                soup.polygons.push_back({a, a + 1, a + 22, a + 21});
            }
        }
    }
    TrialWishes wishes;
    wishes.start.stepA = 8.0;
    Notes notes;
    try {
        const Surface surface = preparedSurface(soup, SurfaceWishes{}, wishes.start, notes);
        const Trial trial = drapeFrom(surface, wishes, surface.defaultSeed, 30.0, notes);
        const NetPattern net = netPatternOf(*trial.mould, trial.grid, trial.measures.cells);
        std::printf("status %d: %zu cells, mean shear %.1f degrees, %.0f %% covered\n", trial.grid.status,
                    trial.measures.cellsOnSurface, trial.measures.meanShear,
                    100.0 * trial.measures.coveredShare);
        std::printf("net pattern: %zu outline, area %.0f of %.0f\n", net.loops.size(), net.area,
                    trial.mould->area);
    } catch (const InputError& error) {
        std::printf("%s\n", error.what());
        return 1;
    }
    for (const Note& note : notes) {
        std::printf("%s\n", note.text.c_str());
    }
}
