// Moulds drawn by a generator, and what can befall one: torn outlines, slivers, shuffled numbers, a turn in
// space, a scale, an offset. Only + - * / and sqrt are used, so every machine makes the same ones.
#pragma once

#include "../surfaces.h"
#include "numbers.h"

namespace drape_digest {

using namespace drape_test;

template <class T>
void shuffle(std::vector<T>& list, Random& random) {
    for (std::size_t k = list.size(); k > 1; --k)
        std::swap(list[k - 1], list[static_cast<std::size_t>(random.below(static_cast<int>(k)))]);
}

// Renumbers vertices and triangles at random and turns each triangle's corners round; the winding stays, and
// so do the flags.
inline void shuffleNumbers(Surface& surface, Random& random) {
    const auto vertices = static_cast<std::size_t>(surface.vertCount()),
               triangles = static_cast<std::size_t>(surface.triCount());
    std::vector<std::size_t> place(vertices), order(triangles);
    for (std::size_t v = 0; v < vertices; ++v)
        place[v] = v;
    for (std::size_t t = 0; t < triangles; ++t)
        order[t] = t;
    shuffle(place, random);
    shuffle(order, random);
    const Surface old = surface;
    for (std::size_t v = 0; v < vertices; ++v)
        for (std::size_t k = 0; k < 3; ++k)
            surface.vertPos[3 * place[v] + k] = old.vertPos[3 * v + k];
    for (std::size_t t = 0; t < triangles; ++t) {
        const auto turn = static_cast<std::size_t>(random.below(3));
        for (std::size_t k = 0; k < 3; ++k)
            surface.triVerts[3 * t + k] = static_cast<std::int32_t>(
                place[static_cast<std::size_t>(old.triVerts[3 * order[t] + (k + turn) % 3] - 1)] + 1);
    }
    joinUp(surface);
    for (std::size_t v = 0; v < vertices; ++v)
        surface.vertBoundary[place[v]] = old.vertBoundary[v];
}

inline std::vector<std::string> tornPlan(Block& block, int columns, int rows, double torn) {
    std::vector<std::string> lines(static_cast<std::size_t>(rows),
                                   std::string(static_cast<std::size_t>(columns), '#'));
    for (auto& line : lines)
        for (auto& square : line)
            square = block.chance(torn) ? '.' : '#';
    const int middle = rows / 2;
    lines[static_cast<std::size_t>(middle)][static_cast<std::size_t>(columns / 2)] = '#';
    return lines;
}

inline void addSlivers(Surface& surface, Block& block, int count) {
    const std::vector<std::int32_t> flags = surface.vertBoundary;
    for (int k = 0; k < count; ++k) {
        const int triangle = 1 + block.below(surface.triCount());
        const double u = block.random.between(0.0, 0.5), v = block.oneOf({0.0, 1e-13, 1e-9, 1e-4, 0.1});
        splitTriangle(surface, triangle, u, v);
    }
    joinUp(surface);
    for (std::size_t v = 0; v < flags.size(); ++v)
        surface.vertBoundary[v] = flags[v];
}

// Lists the triangles around a vertex so many times more.
inline void repeatFan(Surface& surface, std::int32_t vertex, int times) {
    const auto v = static_cast<std::size_t>(vertex - 1);
    const std::int32_t begin = surface.vertTriStart[v], end = vertex < surface.vertCount()
                                                                  ? surface.vertTriStart[v + 1]
                                                                  : surface.vertTriCount();
    const std::vector<std::int32_t> fan(surface.vertTriList.begin() + begin,
                                        surface.vertTriList.begin() + end);
    for (int k = 0; k < times; ++k)
        surface.vertTriList.insert(surface.vertTriList.begin() + end, fan.begin(), fan.end());
    for (std::size_t w = v + 1; w < surface.vertTriStart.size(); ++w)
        surface.vertTriStart[w] += times * (end - begin);
}

// The small mesh under a scene; with whole numbers a level one, on which everything ties.
inline Surface sceneMesh(Block& block, Kind kind) {
    const int columns = block.within(2, 7), rows = block.within(2, 7);
    const auto lines = tornPlan(block, columns, rows, block.oneOf({0.0, 0.0, 0.15, 0.35}));
    const double wave = kind == Kind::whole ? 0.0 : block.oneOf({0.0, 0.5, 2.0}),
                 twist = kind == Kind::whole ? 0.0 : block.random.between(-0.1, 0.1);
    Surface surface = picture(lines, block.chance(0.8) ? 1 : 2, [=](double x, double y) {
        return wave / (1.0 + x * x + y * y) + twist * x * y;
    });
    if (kind == Kind::any) {
        const double amount = block.oneOf({0.0, 0.1, 0.3});
        const bool rim = block.chance(0.5);
        makeIrregular(surface, amount, block.random, rim);
    }
    if (block.chance(0.15))
        addSlivers(surface, block, 3);
    if (block.chance(0.4))
        shuffleNumbers(surface, block.random);
    if (block.chance(0.1))
        for (std::int32_t& flag : surface.vertBoundary)
            flag = block.chance(0.1) ? block.within(0, 2) : flag;
    return surface;
}

} // namespace drape_digest
