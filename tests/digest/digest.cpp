// Prints a digest of whole runs and of the smaller services, for comparison between builds.
//
// The surfaces cover what a run can meet: smooth and jagged ones, notches, teeth and holes, cells of all
// proportions, both pivot rules, runs that end well and runs that end with a code.
#include "../height_field.h"

#include <cmath>
#include <cstdio>

namespace {

using namespace drape_test;

void report(const char* name, int number, const Grid& grid) {
    Digest digest;
    digest.add(grid);
    std::printf("%s %d: status %d, %d nodes, %016llx\n", name, number, grid.status, grid.count,
                static_cast<unsigned long long>(digest.value()));
}

double dome(double x, double y) {
    const double r2 = (x - 10.0) * (x - 10.0) + (y - 10.0) * (y - 10.0);
    return r2 < 64.0 ? std::sqrt(100.0 - r2) - 6.0 : 0.0;
}

Settings turned(Random& random, double x, double y, double z) {
    Settings settings;
    // A unit vector with rational components, so that no angle function has a part in it.
    const double t = random.between(-1.0, 1.0);
    const double c = (1.0 - t * t) / (1.0 + t * t), s = 2.0 * t / (1.0 + t * t);
    const double warp[3] = {c, s, 0.0}, weft[3] = {-s, c, 0.0}, seed[3] = {x, y, z};
    std::memcpy(settings.warp, warp, sizeof warp);
    std::memcpy(settings.weft, weft, sizeof weft);
    std::memcpy(settings.seed, seed, sizeof seed);
    settings.stepA = random.between(0.6, 1.6);
    settings.stepB = settings.stepA * random.between(0.7, 1.4);
    settings.tolerance = random.below(2) == 0 ? 1e-3 : 1e-6;
    settings.byGridLine = random.below(2);
    return settings;
}

void runs() {
    Random random(20);
    for (int i = 0; i < 12; ++i) {
        const Surface smooth = heightField(20, 20, dome);
        report("dome", i, run(smooth, turned(random, 9.3, 10.2, dome(9.3, 10.2))));

        const double tilt = random.between(-0.4, 0.4);
        const Surface saddle = heightField(18, 14, [tilt](double x, double y) {
            return 0.04 * (x - 9) * (x - 9) - 0.03 * (y - 7) * (y - 7) + tilt * x;
        });
        report("saddle", i, run(saddle, turned(random, 8.6, 7.1, tilt * 8.6)));

        const double roughness = random.between(0.0, 0.35);
        const Surface jagged =
            heightField(16, 16, [&](double, double) { return random.between(0.0, roughness); });
        report("jagged", i, run(jagged, turned(random, 8.4, 7.7, 0.1)));

        const int deep = 3 + random.below(8);
        const Surface notched = heightField(
            16, 16, [](double x, double y) { return 0.01 * x * y; },
            [deep](int x, int y) { return !(x >= 6 && x <= 7 && y < deep) && !(y == 11 && x > 15 - deep); });
        report("notched", i, run(notched, turned(random, 3.2, 9.1, 0.3)));

        const Surface toothed = heightField(
            16, 16, [](double, double) { return 0.0; },
            [](int x, int y) { return (y > 1 && y < 14) || (y > 1 ? x % 3 == 0 : x % 2 == 0); });
        report("toothed", i, run(toothed, turned(random, 7.9, 8.3, 0.0)));

        const Surface holed = heightField(
            16, 16, [](double x, double y) { return 0.02 * (x - 8) * (y - 8); },
            [](int x, int y) { return x < 6 || x > 9 || y < 7 || y > 8; });
        report("holed", i, run(holed, turned(random, 3.9, 4.3, 0.0)));
    }
}

void curves() {
    Random random(7);
    const Surface surface = heightField(20, 20, dome);
    Settings settings;
    settings.seed[0] = 9.3;
    settings.seed[1] = 10.2;
    settings.seed[2] = dome(9.3, 10.2);
    const Grid grid = run(surface, settings);
    for (int i = 0; i < 8; ++i) {
        Curve curve;
        const double radius = random.between(2.0, 7.0);
        for (int k = 0; k < 64; ++k) {
            // Round a square, in steps that an exact division gives.
            const double along = (k % 16) / 8.0 - 1.0;
            const double ring[4][2] = {{along, -1.0}, {1.0, along}, {-along, 1.0}, {-1.0, -along}};
            const double x = 10.0 + radius * 0.7 * ring[k / 16][0], y = 10.0 + radius * 0.7 * ring[k / 16][1];
            curve.points.insert(curve.points.end(), {x, y, dome(x, y)});
            curve.directions.insert(curve.directions.end(), {0.0, 0.0, 1.0});
        }
        curve.high = i % 2 == 0 ? 0 : 64;
        transfer(grid, curve);
        Digest digest;
        digest.add(curve.flat.data(), curve.flat.size());
        digest.add(curve.points.data(), curve.points.size());
        std::printf("curve %d: status %d, %016llx\n", i, curve.status,
                    static_cast<unsigned long long>(digest.value()));
    }
}

void trianglePoints() {
    Random random(3);
    Digest digest;
    for (int i = 0; i < 1000; ++i) {
        double source[9], target[9], point[3], mapped[3] = {0, 0, 0};
        for (double* values : {source, target})
            for (int k = 0; k < 9; ++k)
                values[k] = random.between(-5.0, 5.0);
        for (double& value : point)
            value = random.between(-5.0, 5.0);
        std::int32_t status = 0;
        nptfpt(source, target, point, mapped, &status);
        digest.add(mapped, 3);
        digest.add(&status, 1);
    }
    std::printf("triangle points: %016llx\n", static_cast<unsigned long long>(digest.value()));
}

} // namespace

int main() {
    runs();
    curves();
    trianglePoints();
}
