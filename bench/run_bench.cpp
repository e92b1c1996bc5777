// What a run costs, set-up included, on meshes in random order: over mesh size, order, density and boundary
// length, on smooth and on regular moulds, in several threads at once, and against the plain road through the
// exported operations. docs/make_performance_plots.py draws what this prints with
// --benchmark_out=FILE --benchmark_out_format=json.
//
// A run's own time is measured in two: a run with room for four nodes ends right after its set-up, and what a
// whole run takes beyond that belongs to its nodes. Both are the least of several runs, since machines are
// shared.
#include "tests/drape_case.h"
#include "tests/plain_run.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <functional>
#include <numeric>
#include <thread>
#include <vector>

using namespace drape_test;

namespace {

// Processor time, since machines are shared and a run is one thread's.
double secondsOf(const std::function<void()>& work) {
    const std::clock_t start = std::clock();
    work();
    return static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC;
}

double leastSecondsOf(int repeats, const std::function<void()>& work) {
    double least = secondsOf(work);
    for (int k = 1; k < repeats; ++k)
        least = std::min(least, secondsOf(work));
    return least;
}

enum class Order { asBuilt, random };

void put(Surface& surface, Order order) {
    Random numbers(5);
    if (order == Order::random)
        shuffle(surface, numbers);
}

// Two humps over side x side squares of unit edge, the inner vertices jittered.
Surface doubleDome(int side, Order order = Order::random) {
    Surface dome = squareMould(0.5 * side, side, doubleDomeHeight(0.5 * side));
    Random numbers(5);
    makeIrregular(dome, 0.2, numbers);
    put(dome, order);
    return dome;
}

Settings inTheMiddle(int side, double step) {
    Settings settings;
    settings.seed[0] = 0.3;
    settings.seed[1] = 0.2;
    settings.seed[2] = doubleDomeHeight(0.5 * side)(0.3, 0.2);
    settings.stepA = settings.stepB = step;
    settings.tolerance = 1e-3 * step;
    settings.byGridLine = 0;
    return settings;
}

std::int32_t roomFor(const Surface& surface, double step) {
    return static_cast<std::int32_t>(0.8 * surface.triCount() / (step * step)) + 4000;
}

struct Cost {
    double setUp = 0.0; // seconds
    double whole = 0.0; // seconds
    std::int32_t nodes = 0;
    std::int32_t status = 0;
    double perNode() const { return nodes > 0 ? whole / nodes : 0.0; }
    double perNodeBeyondSetUp() const { return nodes > 0 ? (whole - setUp) / nodes : 0.0; }
};

Cost costOf(const Surface& surface, Settings settings, int repeats) {
    Cost cost;
    Grid grid = emptyGrid(settings.capacity);
    cost.whole = leastSecondsOf(repeats, [&] { drape(surface, settings, grid); });
    cost.nodes = grid.count;
    cost.status = grid.status;
    settings.capacity = 4;
    cost.setUp = leastSecondsOf(repeats, [&] { drape(surface, settings, grid); });
    return cost;
}

void report(benchmark::State& state, const Surface& surface, const Cost& cost) {
    state.counters["triangles"] = surface.triCount();
    state.counters["nodes"] = cost.nodes;
    state.counters["us_per_node"] = 1e6 * cost.perNode();
    state.counters["us_beyond_setup"] = 1e6 * cost.perNodeBeyondSetUp();
    state.counters["setup_ns_per_triangle"] = 1e9 * cost.setUp / surface.triCount();
    state.counters["status"] = cost.status;
}

constexpr int REPEATS = 3;

// Mesh size and order, with the cell as long as a mesh edge.
void overMeshSize(benchmark::State& state) {
    const int side = static_cast<int>(state.range(0));
    const Surface dome = doubleDome(side, state.range(1) == 0 ? Order::asBuilt : Order::random);
    Settings settings = inTheMiddle(side, 1.0);
    settings.capacity = roomFor(dome, 1.0);
    Cost cost;
    for (auto _ : state) {
        cost = costOf(dome, settings, dome.triCount() < 100000 ? 9 : REPEATS);
        state.SetIterationTime(cost.whole);
    }
    report(state, dome, cost);
}
BENCHMARK(overMeshSize)
    ->ArgNames({"side", "random"})
    ->ArgsProduct({{78, 224, 678, 2236}, {0, 1}})
    ->UseManualTime()
    ->Iterations(1)
    ->Unit(benchmark::kMillisecond);

// Mesh edges per cell, in quarters.
void overMeshDensity(benchmark::State& state) {
    const int side = static_cast<int>(state.range(0));
    const Surface dome = doubleDome(side);
    const double step = 0.25 * static_cast<double>(state.range(1));
    Settings settings = inTheMiddle(side, step);
    settings.capacity = roomFor(dome, step);
    Cost cost;
    for (auto _ : state) {
        cost = costOf(dome, settings, REPEATS);
        state.SetIterationTime(cost.whole);
    }
    report(state, dome, cost);
    state.counters["edges_per_cell"] = step;
}
BENCHMARK(overMeshDensity)
    ->ArgNames({"side", "quarter_edges"})
    ->ArgsProduct({{228, 474}, {2, 4, 8, 12, 16}})
    ->UseManualTime()
    ->Iterations(1)
    ->Unit(benchmark::kMillisecond);

// Flat moulds full of exact ties: nodes on the vertices of a lattice, nodes between them, and a toothed edge.
void overTies(benchmark::State& state) {
    const auto kind = state.range(0);
    Surface plate = kind == 2 ? toothedPlate(60, 100, 6) : squareMould(55.0, 110, level);
    put(plate, Order::random);
    const double x = kind == 0 ? 0.0 : kind == 1 ? 0.3 : 60.3, y = kind == 0 ? 0.0 : kind == 1 ? 0.2 : 40.2;
    Settings settings = seededAt(plate, x, y, 1.0);
    settings.byGridLine = 0;
    settings.capacity = roomFor(plate, 1.0);
    Cost cost;
    for (auto _ : state) {
        cost = costOf(plate, settings, 9);
        state.SetIterationTime(cost.whole);
    }
    report(state, plate, cost);
}
BENCHMARK(overTies)
    ->ArgName("on_vertices_between_toothed")
    ->DenseRange(0, 2)
    ->UseManualTime()
    ->Iterations(1)
    ->Unit(benchmark::kMillisecond);

// Runs side by side, one in each thread, over one mesh: the time on the clock for as many drapes as threads,
// and the processor time of each, which shows on a busy machine too whether they hinder each other.
void overThreads(benchmark::State& state) {
    const auto count = static_cast<std::size_t>(state.range(0));
    const Surface dome = doubleDome(160);
    Settings settings = inTheMiddle(160, 1.0);
    settings.capacity = roomFor(dome, 1.0);
    std::vector<Grid> grids(count, emptyGrid(settings.capacity));
    const auto sideBySide = [&] {
        std::vector<std::thread> threads;
        for (Grid& grid : grids)
            threads.emplace_back([&] { drape(dome, settings, grid); });
        for (std::thread& thread : threads)
            thread.join();
    };
    double onTheClock = 1e9, ofProcessors = 1e9;
    for (auto _ : state) {
        for (int k = 0; k < 20; ++k) {
            const auto start = std::chrono::steady_clock::now();
            ofProcessors = std::min(ofProcessors, secondsOf(sideBySide));
            const std::chrono::duration<double> passed = std::chrono::steady_clock::now() - start;
            onTheClock = std::min(onTheClock, passed.count());
        }
        state.SetIterationTime(onTheClock);
    }
    const auto drapes = static_cast<double>(count);
    state.counters["threads"] = drapes;
    state.counters["drapes_per_s"] = drapes / onTheClock;
    state.counters["processor_ms_per_drape"] = 1e3 * ofProcessors / drapes;
}
BENCHMARK(overThreads)
    ->ArgName("threads")
    ->RangeMultiplier(2)
    ->Range(1, std::max(2u, std::thread::hardware_concurrency()))
    ->UseManualTime()
    ->Iterations(1)
    ->Unit(benchmark::kMillisecond);

std::int32_t flagged(const Surface& surface) {
    return static_cast<std::int32_t>(std::count(surface.vertBoundary.begin(), surface.vertBoundary.end(), 1));
}

// Boundary length: the same plate and the same cloth in its middle, with ever deeper slots in its upper edge.
void overBoundaryLength(benchmark::State& state) {
    Surface plate = toothedPlate(250, 700, static_cast<int>(state.range(0)));
    put(plate, Order::random);
    Settings settings = seededAt(plate, 250.4, 200.3, 1.0);
    settings.capacity = 120000;
    Cost cost;
    for (auto _ : state) {
        cost = costOf(plate, settings, REPEATS);
        state.SetIterationTime(cost.whole);
    }
    report(state, plate, cost);
    state.counters["boundary_edges"] = flagged(plate);
}
BENCHMARK(overBoundaryLength)
    ->ArgName("depth")
    ->Arg(1)
    ->Arg(20)
    ->Arg(200)
    ->UseManualTime()
    ->Iterations(1)
    ->Unit(benchmark::kMillisecond);

// A million nodes on ten million triangles with a long toothed boundary.
void largeToothedMould(benchmark::State& state) {
    Surface plate = toothedPlate(1250, 2200, 8);
    put(plate, Order::random);
    Settings settings = seededAt(plate, 1250.3, 1000.2, 2.2);
    settings.capacity = 1500000;
    Cost cost;
    for (auto _ : state) {
        cost = costOf(plate, settings, 1);
        state.SetIterationTime(cost.whole);
    }
    report(state, plate, cost);
    state.counters["boundary_edges"] = flagged(plate);
}
BENCHMARK(largeToothedMould)->UseManualTime()->Iterations(1)->Unit(benchmark::kMillisecond);

// The run against the plain road, on the nodes that the plain road makes in bearable time.
void againstPlainRoad(benchmark::State& state) {
    const int side = static_cast<int>(state.range(0));
    const Surface sheet = doubleDome(side);
    Settings settings = inTheMiddle(side, 1.0);
    settings.capacity = static_cast<std::int32_t>(state.range(1));
    double plain = 0.0;
    Cost cost;
    for (auto _ : state) {
        plain = secondsOf([&] { plainRun(sheet, settings); });
        cost = costOf(sheet, settings, REPEATS);
        state.SetIterationTime(plain);
    }
    const auto nodes = static_cast<double>(cost.nodes);
    report(state, sheet, cost);
    state.counters["plain_ns_per_node"] = 1e9 * plain / nodes;
    // The plain road has next to no set-up, so its whole time stands against the run's nodes.
    state.counters["times_faster"] = plain / nodes / cost.perNodeBeyondSetUp();
}
BENCHMARK(againstPlainRoad)
    ->ArgNames({"side", "nodes"})
    ->Args({71, 4000})
    ->Args({224, 10000})
    ->Args({707, 20000})
    ->UseManualTime()
    ->Iterations(1)
    ->Unit(benchmark::kMillisecond);

// The single operations, called alone.
void distanceToTriangle(benchmark::State& state) {
    const double p[] = {0.4, 0.3, 0.5}, a[] = {0, 0, 0}, b[] = {1, 0, 0.1}, c[] = {0, 1, 0.2};
    const double tolerance = 1e-3;
    double distance = 0.0;
    std::int32_t location = 0;
    for (auto _ : state) {
        npdmpe(p, a, b, c, &tolerance, &distance, &location);
        benchmark::DoNotOptimize(distance);
    }
}
BENCHMARK(distanceToTriangle);

// The choice of a node's place among all triangles of a small dome, most of which the circle misses.
void surfaceSearch(benchmark::State& state) {
    const Surface cap = squareMould(2.0, 8, domeHeight(2.0));
    PlainModel model(cap, seededAt(cap, 0.1, 0.2, 1.0));
    model.registerModel();
    std::vector<std::int32_t> all(static_cast<std::size_t>(cap.triCount()));
    std::iota(all.begin(), all.end(), 1);
    const std::int32_t count = cap.triCount();
    const double* seed = model.settings.seed;
    const double up[] = {0, 0, 1}, back[] = {seed[0] - 1.0, seed[1], seed[2]}, radius = 1.0, tolerance = 1e-3;
    double point[3], normal[3];
    std::int32_t triangle = 0, status = 0;
    for (auto _ : state) {
        double forward[] = {1, 0, 0};
        uzprcm(seed, up, forward, &radius, back, all.data(), &count, &tolerance, point, normal, &triangle,
               &status);
        benchmark::DoNotOptimize(triangle);
    }
    state.counters["triangles"] = count;
}
BENCHMARK(surfaceSearch);

void circleCut(benchmark::State& state) {
    const double centre[] = {0.3, 0.3, 0.2}, axis[] = {1, 0, 0}, radius = 0.4;
    const double a[] = {0, 0, 0}, b[] = {1, 0, 0.1}, c[] = {0, 1, 0.2}, tolerance = 1e-3;
    const std::int32_t clip = 1;
    std::int32_t count = 0, singular = 0, kinds[2];
    double hits[6];
    for (auto _ : state) {
        npxctr(centre, axis, &radius, a, b, c, &tolerance, &clip, &count, hits, kinds, &singular);
        benchmark::DoNotOptimize(count);
    }
}
BENCHMARK(circleCut);

void crossingOfOneEdge(benchmark::State& state) {
    const double a[] = {0.2, -0.5, 0.1}, b[] = {0.3, 0.5, 0}, p[] = {0, 0, 0}, q[] = {1, 0, 0};
    const double up[] = {0, 0, 1}, tolerance = 1e-3;
    std::int32_t count = 0, kinds[2], status = 0;
    double distance[2];
    for (auto _ : state) {
        npxseb(a, b, p, up, q, up, &tolerance, &count, distance, kinds, &status);
        benchmark::DoNotOptimize(count);
    }
}
BENCHMARK(crossingOfOneEdge);

} // namespace
