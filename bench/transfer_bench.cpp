// What the transfer of a curve costs on a large grid: a curve within the cloth, which the walk from cell to
// cell carries, and one that leaves it for half of its length, where each point is placed by the ranking of
// all cells. `times_faster` holds gzfttc against plain searches: over the whole curve within the cloth, and
// over fifty of the points across the rim, since all of them would take minutes.
#include "../tests/plain_curve_transfer.h"

#include <benchmark/benchmark.h>

#include <chrono>
#include <cmath>

namespace {

using namespace drape_test;

constexpr double twoPi = 6.283185307179586;

// side x side cells on a saddle, closed at the rim.
const Grid& sheet(int side) {
    static int builtSide = 0;
    static Grid grid;
    if (builtSide != side) {
        grid = lattice(side + 1, side + 1, [&](int i, int j) {
            const double x = i - side / 2, y = j - side / 2;
            return Place{x, y, (x * x - y * y) / (4.0 * side)};
        });
        closeRim(grid);
        builtSide = side;
    }
    return grid;
}

double height(int side, double x, double y) {
    return (x * x - y * y) / (4.0 * side);
}

Curve circle(int side, int count, double x, double radius) {
    Curve curve;
    for (int i = 0; i < count; ++i) {
        const double angle = twoPi * i / count;
        const double px = x + radius * std::cos(angle), py = radius * std::sin(angle);
        addPoint(curve, {px, py, height(side, px, py)});
    }
    return curve;
}

double secondsSince(std::chrono::steady_clock::time_point start) {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

// Seconds per point by plain searches, on `sample` points spread over the curve.
double plainSecondsPerPoint(const Grid& grid, const Curve& curve, int sample) {
    Curve thinned;
    for (std::int64_t k = 0; k < sample; ++k) {
        const double* p = curve.points.data() + 3 * (curve.count() * k / sample);
        addPoint(thinned, {p[0], p[1], p[2]});
    }
    const auto start = std::chrono::steady_clock::now();
    PlainTransfer(grid, thinned, {0.0, 0.0}).run();
    return secondsSince(start) / sample;
}

void carry(benchmark::State& state, const Grid& grid, const Curve& curve, int sample) {
    double seconds = 0.0;
    for (auto _ : state) {
        Curve carried = curve;
        const auto start = std::chrono::steady_clock::now();
        transfer(grid, carried);
        const double taken = secondsSince(start);
        state.SetIterationTime(taken);
        seconds += taken;
        if (carried.status != DRAPE_OK)
            state.SkipWithError("the curve was not carried");
    }
    const double perPoint = seconds / static_cast<double>(state.iterations()) / curve.count();
    state.counters["us_per_point"] = 1e6 * perPoint;
    if (sample > 0)
        state.counters["times_faster"] = plainSecondsPerPoint(grid, curve, sample) / perPoint;
}

void withinTheCloth(benchmark::State& state) {
    const int side = static_cast<int>(state.range(0)), count = static_cast<int>(state.range(1));
    carry(state, sheet(side), circle(side, count, 0.0, 0.4 * side), count > 10000 ? 0 : count);
}

void acrossTheRim(benchmark::State& state) {
    const int side = static_cast<int>(state.range(0)), count = static_cast<int>(state.range(1));
    carry(state, sheet(side), circle(side, count, 0.5 * side, 0.3 * side), 50);
}

void sizes(benchmark::internal::Benchmark* benchmark) {
    benchmark->ArgNames({"side", "points"})
        ->Args({316, 10000})
        ->Args({1000, 10000})
        ->Args({1000, 1000000})
        ->UseManualTime()
        ->Unit(benchmark::kMillisecond);
}

BENCHMARK(withinTheCloth)->Apply(sizes);
BENCHMARK(acrossTheRim)->Apply(sizes);

} // namespace
