// What a host pays on top of the library's run: the measures of a drape, a candidate of a search, and all
// that goes before the first candidate, each against the run within the same drape. Small moulds with many
// cells, as scripts drape them by the thousand, and fine ones with few cells, as sweeps do.
#include "host/search/ranking.h"
#include "tests/host_drape.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <ctime>
#include <functional>

namespace {

using namespace drape_test;

// Processor time, since machines are shared and a drape is one thread's.
double secondsOf(const std::function<void()>& work) {
    const std::clock_t start = std::clock();
    work();
    return static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC;
}

struct Least {
    double seconds = 1e300;
    void of(const std::function<void()>& work) { seconds = std::min(seconds, secondsOf(work)); }
};

host::PolygonSoup doubleDome(int side) {
    const host::TriangleMesh mesh = hostMesh(squareMould(100.0, side, doubleDomeHeight(100.0)));
    host::PolygonSoup soup;
    soup.points = mesh.positions;
    for (const host::Triangle& t : mesh.triangles) {
        soup.polygons.emplace_back(t.begin(), t.end());
    }
    return soup;
}

// `side` squares of two triangles along each edge of the mould, `across` cells along each edge of the cloth.
void candidates(benchmark::State& state) {
    const host::PolygonSoup soup = doubleDome(static_cast<int>(state.range(0)));
    host::TrialWishes wishes;
    wishes.start.stepA = 200.0 / static_cast<double>(state.range(1));
    host::Notes notes;
    host::Surface surface;
    std::vector<host::Point> seeds;
    Least prepared, seeded, ran, measured, tried;
    prepared.of([&] { surface = host::preparedSurface(soup, {}, wishes.start, notes); });
    seeded.of([&] { seeds = host::spreadSeeds(surface, 9); });
    std::size_t nodes = 0;
    for (auto _ : state) {
        const host::Candidate candidate{1, seeds[1], 30.0};
        host::Choice choice =
            host::choiceAt(*surface.mould, host::nearestPoint(*surface.mould, candidate.seed), wishes.start,
                           candidate.angle, surface.steps, notes);
        host::Grid grid;
        ran.of([&] {
            grid =
                host::runDrape(*surface.mould, choice, host::usualMostNodes(*surface.mould, choice), nullptr);
        });
        measured.of([&] { benchmark::DoNotOptimize(host::measure(*surface.mould, grid, 45.0)); });
        tried.of([&] { benchmark::DoNotOptimize(host::tried(surface, wishes, candidate)); });
        nodes = static_cast<std::size_t>(grid.count);
    }
    state.counters["nodes"] = static_cast<double>(nodes);
    state.counters["run_ms"] = 1e3 * ran.seconds;
    state.counters["measures_in_runs"] = measured.seconds / ran.seconds;
    state.counters["candidate_in_runs"] = tried.seconds / ran.seconds;
    state.counters["surface_in_runs"] = prepared.seconds / ran.seconds;
    state.counters["nine_seeds_in_runs"] = seeded.seconds / ran.seconds;
    constexpr double sweep = 54.0; // candidates: nine seeds with six angles each
    state.counters["sweep_in_runs"] = (tried.seconds + (prepared.seconds + seeded.seconds) / sweep) /
                                      ran.seconds; // for each of its candidates
}

BENCHMARK(candidates)
    ->ArgNames({"side", "across"})
    ->Args({40, 40})
    ->Args({120, 40})
    ->Args({500, 40})
    ->Unit(benchmark::kMillisecond)
    ->MinTime(2.0);

} // namespace
