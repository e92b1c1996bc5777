// Surfaces and runs for tests that need many of them: a mesh over a rectangle of unit squares, with a height
// per vertex and squares left out at will, and one whole run over it with every array held in a vector of
// exactly the promised size.
//
// Only exactly rounded operations are used here, so a surface is the same to the last bit from any compiler.
#pragma once

#include "drape.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <functional>
#include <vector>

namespace drape_test {

using Point = std::array<double, 3>;

struct Surface {
    std::vector<double> vertPos;
    std::vector<std::int32_t> triVerts, vertTriStart, vertTriList, vertBoundary;

    std::int32_t triCount() const { return static_cast<std::int32_t>(triVerts.size() / 3); }
    std::int32_t vertCount() const { return static_cast<std::int32_t>(vertPos.size() / 3); }
    std::int32_t vertTriCount() const { return static_cast<std::int32_t>(vertTriList.size()); }
};

// Lists the triangles around each vertex and flags both ends of every edge that one triangle alone has. Time
// is linear in the mesh, so that a benchmark can build ten million triangles.
inline void joinUp(Surface& surface) {
    const auto vertices = static_cast<std::size_t>(surface.vertCount());
    std::vector<std::int32_t> end(vertices + 1, 0);
    for (const std::int32_t v : surface.triVerts)
        ++end[static_cast<std::size_t>(v)];
    for (std::size_t v = 1; v <= vertices; ++v)
        end[v] += end[v - 1];
    surface.vertTriStart.assign(end.begin(), end.end() - 1);
    surface.vertTriList.resize(surface.triVerts.size());
    std::vector<std::int32_t> next = surface.vertTriStart;
    for (std::size_t k = 0; k < surface.triVerts.size(); ++k) {
        auto& place = next[static_cast<std::size_t>(surface.triVerts[k] - 1)];
        surface.vertTriList[static_cast<std::size_t>(place++)] = static_cast<std::int32_t>(k / 3 + 1);
    }
    surface.vertBoundary.assign(vertices, 0);
    std::vector<std::int32_t> others;
    for (std::size_t v = 0; v < vertices; ++v) {
        others.clear();
        for (auto k = surface.vertTriStart[v]; k < end[v + 1]; ++k) {
            const std::int32_t* corner =
                &surface.triVerts[3 * static_cast<std::size_t>(
                                          surface.vertTriList[static_cast<std::size_t>(k)] - 1)];
            for (int c = 0; c < 3; ++c)
                if (corner[c] != static_cast<std::int32_t>(v + 1))
                    others.push_back(corner[c]);
        }
        std::sort(others.begin(), others.end());
        for (std::size_t k = 0; k < others.size() && surface.vertBoundary[v] == 0;) {
            std::size_t after = k;
            while (after < others.size() && others[after] == others[k])
                ++after;
            surface.vertBoundary[v] = after - k == 1 ? 1 : 0;
            k = after;
        }
    }
}

// A mesh of columns x rows squares, two triangles each. `place(i, j)` gives the Point of a corner and
// `present(i, j)` says whether a square is there.
template <class Place, class Present>
Surface gridSurface(int columns, int rows, Place place, Present present) {
    Surface surface;
    std::vector<std::int32_t> number(
        static_cast<std::size_t>(columns + 1) * static_cast<std::size_t>(rows + 1), 0);
    const auto vertex = [&](int i, int j) {
        std::int32_t& known = number[static_cast<std::size_t>(j) * static_cast<std::size_t>(columns + 1) +
                                     static_cast<std::size_t>(i)];
        if (known == 0) {
            const Point p = place(i, j);
            surface.vertPos.insert(surface.vertPos.end(), p.begin(), p.end());
            known = surface.vertCount();
        }
        return known;
    };
    for (int j = 0; j < rows; ++j)
        for (int i = 0; i < columns; ++i)
            if (present(i, j)) {
                const std::int32_t a = vertex(i, j), b = vertex(i + 1, j), c = vertex(i + 1, j + 1),
                                   d = vertex(i, j + 1);
                surface.triVerts.insert(surface.triVerts.end(), {a, b, c, a, c, d});
            }
    joinUp(surface);
    return surface;
}

// A mesh over `columns` x `rows` unit squares; a square for which `present` is false is left out.
inline Surface heightField(
    int columns, int rows, const std::function<double(double, double)>& height,
    const std::function<bool(int, int)>& present = [](int, int) { return true; }) {
    return gridSurface(
        columns, rows,
        [&](int i, int j) {
            return Point{double(i), double(j), height(i, j)};
        },
        present);
}

struct Settings {
    double seed[3] = {0, 0, 0};
    double warp[3] = {1, 0, 0};
    double weft[3] = {0, 1, 0};
    double stepA = 1.0;
    double stepB = 1.0;
    double tolerance = 1e-3;
    std::int32_t byGridLine = 1;
    std::int32_t capacity = 2000;
};

struct Grid {
    std::vector<std::int32_t> link3, link1, link2, link4, nodeI, nodeJ, nodeStatus, nodeTri;
    std::vector<double> nodePos, nodeFlat, nodeNormal;
    std::int32_t count = 0;
    std::int32_t status = 0;
    std::int32_t result = 0;
};

inline Grid emptyGrid(std::int32_t capacity) {
    const auto n = static_cast<std::size_t>(capacity > 0 ? capacity : 0);
    Grid grid;
    for (auto* array : {&grid.link3, &grid.link1, &grid.link2, &grid.link4, &grid.nodeI, &grid.nodeJ,
                        &grid.nodeStatus, &grid.nodeTri})
        array->assign(n, 0);
    grid.nodePos.assign(3 * n, 0.0);
    grid.nodeFlat.assign(2 * n, 0.0);
    grid.nodeNormal.assign(3 * n, 0.0);
    return grid;
}

// Drapes into a grid that has room for settings.capacity nodes; nothing else is done, so that it can be
// timed.
inline void drape(const Surface& surface, const Settings& settings, Grid& grid) {
    const std::int32_t reserved = 0, triCount = surface.triCount(), vertCount = surface.vertCount(),
                       vertTriCount = surface.vertTriCount();
    grid.result =
        gzprp2(settings.seed, settings.warp, settings.weft, &settings.stepA, &settings.stepB,
               grid.link3.data(), grid.link1.data(), grid.link2.data(), grid.link4.data(), grid.nodeI.data(),
               grid.nodeJ.data(), grid.nodeStatus.data(), grid.nodeTri.data(), grid.nodePos.data(),
               grid.nodeFlat.data(), grid.nodeNormal.data(), &settings.capacity, &reserved, &triCount,
               &vertCount, &vertTriCount, surface.vertTriStart.data(), surface.vertTriList.data(),
               surface.triVerts.data(), surface.vertPos.data(), surface.vertBoundary.data(), &grid.count,
               &settings.tolerance, &settings.byGridLine, &grid.status);
}

inline Grid run(const Surface& surface, const Settings& settings) {
    Grid grid = emptyGrid(settings.capacity);
    drape(surface, settings, grid);
    return grid;
}

struct Curve {
    std::vector<double> points, directions, flat;
    std::int32_t low = 1;
    std::int32_t high = 0;
    std::int32_t status = 0;
    std::int32_t result = 0;

    std::int32_t count() const { return static_cast<std::int32_t>(points.size() / 3); }
};

inline void transfer(const Grid& grid, Curve& curve) {
    const std::int32_t spare = 0, pointCount = curve.count();
    const double spareReal = 0.0;
    curve.flat.assign(static_cast<std::size_t>(2 * pointCount), 0.0);
    curve.result = gzfttc(grid.link3.data(), grid.link1.data(), grid.link2.data(), grid.link4.data(), &spare,
                          &spare, grid.nodeStatus.data(), grid.nodePos.data(), grid.nodeFlat.data(),
                          &spareReal, &grid.count, curve.points.data(), curve.directions.data(), &pointCount,
                          curve.flat.data(), &curve.low, &curve.high, &curve.status);
}

// FNV-1a over the bytes of what it is fed.
class Digest {
public:
    template <class T>
    void add(const T* values, std::size_t count) {
        for (std::size_t i = 0; i < count; ++i) {
            unsigned char bytes[sizeof(T)];
            std::memcpy(bytes, values + i, sizeof(T));
            for (const unsigned char byte : bytes)
                value_ = (value_ ^ byte) * 1099511628211u;
        }
    }
    void add(const Grid& grid) {
        add(&grid.count, 1);
        add(&grid.status, 1);
        const auto n = static_cast<std::size_t>(grid.count);
        for (const auto* array : {&grid.link3, &grid.link1, &grid.link2, &grid.link4, &grid.nodeI,
                                  &grid.nodeJ, &grid.nodeStatus, &grid.nodeTri})
            add(array->data(), n);
        add(grid.nodePos.data(), 3 * n);
        add(grid.nodeFlat.data(), 2 * n);
        add(grid.nodeNormal.data(), 3 * n);
    }
    std::uint64_t value() const { return value_; }

private:
    std::uint64_t value_ = 14695981039346656037u;
};

// A small generator of its own, so that the numbers don't hang on a standard library's.
class Random {
public:
    explicit Random(std::uint64_t seed) : state_(seed * 2 + 1) {}
    double unit() { // 0 to 1, a multiple of 2^-32
        state_ = state_ * 6364136223846793005u + 1442695040888963407u;
        return static_cast<double>(state_ >> 32) / 4294967296.0;
    }
    double between(double low, double high) { return low + (high - low) * unit(); }
    int below(int limit) { return static_cast<int>(unit() * limit); }

private:
    std::uint64_t state_;
};

} // namespace drape_test
