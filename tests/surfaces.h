// Moulds for tests and benchmarks: grids of squares with an outline of any kind, bent in space, jittered,
// with slivers where wanted. Each builder gives a finished Surface, with the triangles around each vertex
// listed and the boundary flagged.
//
// Plan shapes are drawn as pictures, one character per square; '#' is cloth's ground, anything else is cut
// away. The first line of a picture is the top, and y grows upward.
#pragma once

#include "height_field.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace drape_test {

inline bool everywhere(int, int) {
    return true;
}
inline double level(double, double) {
    return 0.0;
}

// Heights over the plan of a mould whose middle is at (0, 0) and which reaches about `half` to each side.
inline auto domeHeight(double half) { // cap of a sphere that leaves the plan at some 50 degrees
    return
        [r2 = 1.7 * half * half](double x, double y) { return std::sqrt(std::max(r2 - x * x - y * y, 0.0)); };
}
inline auto doubleDomeHeight(double half) { // two humps with a waist between them
    return [half](double x, double y) {
        const auto hump = [&](double middle) {
            const double u = (x - middle) / half, v = y / half;
            return 0.35 * half / (1.0 + 8.0 * (u * u + v * v));
        };
        return hump(-0.5 * half) + hump(0.5 * half);
    };
}
inline auto saddleHeight(double half) {
    return [half](double x, double y) { return 0.35 * (x * x - y * y) / half; };
}

// A square mould from -half to half, with `cells` mesh squares to a side.
template <class Height, class Present = bool (*)(int, int)>
Surface squareMould(double half, int cells, Height height, Present present = everywhere) {
    const double edge = 2.0 * half / cells;
    return gridSurface(
        cells, cells,
        [=](int i, int j) {
            const double x = i * edge - half, y = j * edge - half;
            return Point{x, y, height(x, y)};
        },
        present);
}

// A dome with a round, stepped rim. With `slit` above 0 that many squares beside the middle are cut away from
// the rim to near the pole.
inline Surface dome(double half, int cells, int slit = 0) {
    const double middle = 0.5 * (cells - 1), reach = 0.25 * cells * cells;
    return squareMould(half, cells, domeHeight(half), [=](int i, int j) {
        const double u = i - middle, v = j - middle;
        const bool cut = slit > 0 && v < -0.12 * cells && u > 0.0 && u <= slit;
        return u * u + v * v <= reach && !cut;
    });
}

// A piece of a cylinder along y, open on all sides.
inline Surface cylinderPiece(double radius, double length, double halfAngle, int around, int along) {
    return gridSurface(
        around, along,
        [=](int i, int j) {
            const double angle = halfAngle * (2.0 * i / around - 1.0);
            return Point{radius * std::sin(angle), length * j / along - 0.5 * length,
                         radius * std::cos(angle)};
        },
        everywhere);
}

// A plate drawn as a picture, each character `fineness` x `fineness` mesh squares of unit size together.
template <class Height = double (*)(double, double)>
Surface picture(const std::vector<std::string>& lines, int fineness = 1, Height height = level) {
    const int rows = static_cast<int>(lines.size()), columns = static_cast<int>(lines[0].size());
    return gridSurface(
        columns * fineness, rows * fineness,
        [=](int i, int j) {
            const double x = double(i) / fineness, y = double(j) / fineness;
            return Point{x, y, height(x - 0.5 * columns, y - 0.5 * rows)};
        },
        [&](int i, int j) {
            return lines[static_cast<std::size_t>(rows - 1 - j / fineness)]
                        [static_cast<std::size_t>(i / fineness)] == '#';
        });
}

// A plate of size x size with a slit of any width, from the lower edge up to `depth`, in the middle.
inline Surface slitPlate(int size, double width, int depth) {
    const int left = size / 2;
    return gridSurface(
        size + 1, size,
        [=](int i, int j) {
            return Point{i <= left ? double(i) : i - 1 + width, double(j), 0.0};
        },
        [=](int i, int j) { return i != left || j >= depth; });
}

// A plate with a toothed upper edge: `teeth` slots of one square, each `depth` squares deep.
inline Surface toothedPlate(int teeth, int rows, int depth, double edge = 1.0) {
    return gridSurface(
        2 * teeth + 1, rows,
        [=](int i, int j) {
            return Point{i * edge, j * edge, 0.0};
        },
        [=](int i, int j) { return i % 2 == 0 || j < rows - depth; });
}

// Unflags the vertices for which `inner(x, y)` holds: a rim that the run is not to see as a boundary.
template <class Inner>
void unflag(Surface& surface, Inner inner) {
    for (std::size_t v = 0; v < surface.vertBoundary.size(); ++v)
        if (inner(surface.vertPos[3 * v], surface.vertPos[3 * v + 1]))
            surface.vertBoundary[v] = 0;
}

// Moves every vertex (with `rim` false the inner ones only) by up to `amount` in x and y, and turns about
// half of the diagonals of a mesh of squares.
inline void makeIrregular(Surface& surface, double amount, Random& random, bool rim = false) {
    for (std::size_t v = 0; v < surface.vertBoundary.size(); ++v)
        if (rim || surface.vertBoundary[v] == 0)
            for (std::size_t k = 0; k < 2; ++k)
                surface.vertPos[3 * v + k] += random.between(-amount, amount);
    for (std::size_t s = 0; s + 5 < surface.triVerts.size(); s += 6) {
        std::int32_t* t = &surface.triVerts[s];
        if (t[0] == t[3] && t[2] == t[4] && random.unit() < 0.5) {
            t[2] = t[5];
            t[3] = t[1];
        }
    }
    joinUp(surface);
}

// Numbers vertices and triangles anew at random, as files from scanners and partitioners have them; the
// corners of each triangle keep their order.
inline void shuffle(Surface& surface, Random& random) {
    const auto permutation = [&](std::int32_t count) {
        std::vector<std::size_t> order(static_cast<std::size_t>(count));
        for (std::size_t k = 0; k < order.size(); ++k) {
            order[k] = k;
            std::swap(order[k], order[static_cast<std::size_t>(random.below(static_cast<int>(k) + 1))]);
        }
        return order;
    };
    const std::vector<std::size_t> vertices = permutation(surface.vertCount()),
                                   triangles = permutation(surface.triCount());
    Surface shuffled = surface;
    for (std::size_t v = 0; v < vertices.size(); ++v) {
        std::copy_n(&surface.vertPos[3 * v], 3, &shuffled.vertPos[3 * vertices[v]]);
        shuffled.vertBoundary[vertices[v]] = surface.vertBoundary[v];
    }
    for (std::size_t t = 0; t < triangles.size(); ++t)
        for (std::size_t k = 0; k < 3; ++k)
            shuffled.triVerts[3 * triangles[t] + k] = static_cast<std::int32_t>(
                vertices[static_cast<std::size_t>(surface.triVerts[3 * t + k] - 1)] + 1);
    const std::vector<std::int32_t> flags = shuffled.vertBoundary;
    surface = std::move(shuffled);
    joinUp(surface);
    surface.vertBoundary = flags;
}

// Splits a triangle at a + u (b - a) + v (c - a) into three. u = 0.5, v = 0 makes a triangle without area,
// u = v = 0 a duplicate vertex, a tiny v a sliver.
inline void splitTriangle(Surface& surface, std::int32_t triangle, double u, double v) {
    const auto base = 3 * static_cast<std::size_t>(triangle - 1);
    const std::int32_t a = surface.triVerts[base], b = surface.triVerts[base + 1],
                       c = surface.triVerts[base + 2];
    const auto at = [&](std::int32_t vertex, std::size_t k) {
        return surface.vertPos[3 * static_cast<std::size_t>(vertex - 1) + k];
    };
    for (std::size_t k = 0; k < 3; ++k)
        surface.vertPos.push_back(at(a, k) + u * (at(b, k) - at(a, k)) + v * (at(c, k) - at(a, k)));
    const std::int32_t p = surface.vertCount();
    surface.triVerts[base + 2] = p;
    surface.triVerts.insert(surface.triVerts.end(), {b, c, p, c, a, p});
}

// The first triangle whose plan holds (x, y), 0 if none does, and the point of the surface there.
inline std::int32_t triangleAbove(const Surface& surface, double x, double y, double* height = nullptr) {
    for (std::size_t t = 0; t < surface.triVerts.size(); t += 3) {
        const double* p[3];
        for (std::size_t k = 0; k < 3; ++k)
            p[k] = &surface.vertPos[3 * static_cast<std::size_t>(surface.triVerts[t + k] - 1)];
        const double ux = p[1][0] - p[0][0], uy = p[1][1] - p[0][1], vx = p[2][0] - p[0][0],
                     vy = p[2][1] - p[0][1];
        const double area = ux * vy - uy * vx, wx = x - p[0][0], wy = y - p[0][1];
        const double s = (wx * vy - wy * vx) / area, r = (ux * wy - uy * wx) / area;
        if (s >= 0.0 && r >= 0.0 && s + r <= 1.0) {
            if (height != nullptr)
                *height = p[0][2] + s * (p[1][2] - p[0][2]) + r * (p[2][2] - p[0][2]);
            return static_cast<std::int32_t>(t / 3 + 1);
        }
    }
    return 0;
}
inline Point pointAbove(const Surface& surface, double x, double y) {
    Point point = {x, y, 0.0};
    triangleAbove(surface, x, y, &point[2]);
    return point;
}

// A mould with a place to begin on it.
struct Mould {
    std::string name;
    Surface surface;
    double seedX, seedY;
};

// Moulds whose boundary doesn't get in the way of a row.
inline std::vector<Mould> smoothMoulds() {
    Surface irregular = squareMould(7.0, 14, domeHeight(9.0));
    Random random(3);
    makeIrregular(irregular, 0.3, random);
    return {{"plate", squareMould(7.0, 10, level), 0.31, 0.23},
            {"spherical cap", squareMould(6.0, 24, domeHeight(9.0)), 0.31, 0.23},
            {"double dome", squareMould(8.0, 24, doubleDomeHeight(8.0)), 0.31, 0.23},
            {"saddle", squareMould(6.0, 18, saddleHeight(9.0)), 0.31, 0.23},
            {"cylinder piece", cylinderPiece(5.0, 12.0, 0.9, 20, 9), 0.31, 0.23},
            {"irregular cap", irregular, 0.31, 0.23}};
}

// Moulds with cuts of all kinds in their outline.
inline std::vector<Mould> tornMoulds() {
    const std::vector<std::string> holed = {"##############", "##############", "##############",
                                            "##############", "#####....#####", "#####....#####",
                                            "#####....#####", "#####....#####", "##############",
                                            "##############", "##############", "##############"};
    Surface hole = picture(holed), plainHole = hole;
    unflag(plainHole, [](double x, double y) { return x > 4 && x < 10 && y > 3 && y < 9; });
    const auto star = [](int i, int j) {
        const double x = std::abs(i - 7.5), y = std::abs(j - 7.5);
        return x * y <= 9.0 || x + y < 6.0;
    };
    return {{"notch",
             picture({"################", "################", "################", "################",
                      "################", "################", "################", "################",
                      "######..########", "######..########", "######..########", "######..########"}),
             8.3, 8.2},
            {"wide slit", slitPlate(16, 1.6, 10), 5.1, 12.2},
            {"narrow slit", slitPlate(16, 0.3, 10), 5.1, 12.2},
            {"hairline slit", slitPlate(16, 0.05, 10), 5.1, 12.2},
            {"comb",
             picture({"################", "################", "################", "################",
                      "##..##..##..##.#", "##..##..##..##.#", "##..##..##..##.#", "##..##..##..##.#",
                      "##..##..##..##.#"}),
             5.3, 7.2},
            {"U",
             picture({"####......####", "####......####", "####......####", "####......####",
                      "####......####", "##############", "##############", "##############"}),
             2.3, 1.2},
            {"L",
             picture({"#####.......", "#####.......", "#####.......", "#####.......", "############",
                      "############", "############", "############"}),
             2.3, 2.2},
            {"star", squareMould(8.0, 16, level, star), 0.2, 0.3},
            {"hole with its rim flagged", hole, 3.2, 2.3},
            {"hole with its rim unflagged", plainHole, 3.2, 2.3},
            {"slit dome", dome(8.0, 24, 1), 0.2, 3.3},
            {"fine slit dome", dome(8.0, 48, 1), 0.2, 3.3},
            {"toothed edge", toothedPlate(8, 12, 5), 8.2, 3.1}};
}

} // namespace drape_test
