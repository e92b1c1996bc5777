// A small mould and the settings of a run out of the bytes of a fuzz input, first well formed, then bent.
#pragma once

#include "byte_source.h"
#include "tests/height_field.h"

#include <algorithm>
#include <vector>

namespace drape_fuzz {

using namespace drape_test;

// Up to 2 x 2 squares, on which a run takes a tenth of a millisecond, or now and then up to 7 x 7, with bumps
// and missing squares; by default flat and of the full size.
inline Surface surfaceFrom(ByteSource& bytes) {
    const int most = bytes.below(16) == 15 ? 7 : 2;
    const int columns = most - bytes.below(most);
    const int rows = most - bytes.below(most);
    const double bumps = bytes.below(4) * 0.3;
    const int shape = bytes.below(4);
    std::vector<bool> missing;
    if (bytes.flag())
        for (int k = 0; k < columns * rows; k += 8)
            for (std::uint8_t bits = bytes.byte(), i = 0; i < 8; ++i)
                missing.push_back((bits >> i & 1) != 0);
    return heightField(
        columns, rows,
        [&](double x, double y) {
            const double u = x - columns / 2.0, v = y - rows / 2.0;
            const double base = shape == 0   ? 0.0
                                : shape == 1 ? -0.1 * (u * u + v * v)
                                : shape == 2 ? 0.1 * u * v
                                             : 0.4 * u;
            return base + (bumps > 0.0 ? bumps * bytes.between(0.0, 1.0) : 0.0);
        },
        [&](int i, int j) {
            const auto k = static_cast<std::size_t>(j * columns + i);
            return k >= missing.size() || !missing[k];
        });
}

// The mould's extent along x and y.
inline double sizeOf(const Surface& surface) {
    const auto& places = surface.vertPos;
    double size = 1.0;
    for (std::size_t k = 0; k < places.size(); k += 3)
        size = std::max(size, std::max(places[k], places[k + 1]));
    return size;
}

// Of a run over the mould, which isn't bent yet.
inline Settings settingsFrom(ByteSource& bytes, const Surface& surface) {
    Settings settings;
    const double size = sizeOf(surface);
    settings.seed[0] = 0.48 * size + bytes.between(0.0, 0.6 * size);
    settings.seed[1] = 0.46 * size + bytes.between(0.0, 0.6 * size);
    settings.seed[2] = bytes.between(0.0, 1.0);
    const double turn = bytes.between(0.0, 1.0);
    settings.warp[1] = turn;
    settings.weft[0] = -turn;
    settings.stepA = 1.0 - bytes.between(0.0, 0.7);
    settings.stepB = settings.stepA * (1.0 + bytes.between(0.0, 0.8));
    settings.tolerance = bytes.flag() ? 1e-9 : 1e-3;
    settings.byGridLine = bytes.below(2);
    settings.capacity = size > 2.0 ? 400 - bytes.byte() : 80 - bytes.byte() / 4;
    return settings;
}

// Writes a hostile value somewhere into one of the mesh arrays; sizes stay as they are.
inline void bendMesh(Surface& surface, ByteSource& bytes) {
    std::vector<std::int32_t>* const lists[] = {&surface.vertBoundary, &surface.triVerts,
                                                &surface.vertTriStart, &surface.vertTriList};
    const int which = bytes.below(6);
    if (which < 4) {
        std::vector<std::int32_t>& list = *lists[which];
        if (!list.empty())
            list[bytes.index(list.size())] = bytes.integer();
    } else if (!surface.vertPos.empty()) {
        const std::size_t vertices = surface.vertPos.size() / 3;
        const std::size_t to = bytes.index(vertices), from = bytes.index(vertices);
        if (which == 4) // one vertex on top of another: slivers and triangles without area
            for (std::size_t k = 0; k < 3; ++k)
                surface.vertPos[3 * to + k] = surface.vertPos[3 * from + k];
        else
            surface.vertPos[3 * to + bytes.index(3)] = bytes.real();
    }
}

// Rewires whole triangles within the vertices that are there and builds the lists anew: duplicates, edges
// with three triangles, torn boundaries, all of it consistent.
inline void retie(Surface& surface, ByteSource& bytes) {
    if (surface.triVerts.empty())
        return;
    for (int k = bytes.below(4); k >= 0; --k)
        surface.triVerts[bytes.index(surface.triVerts.size())] =
            1 + static_cast<std::int32_t>(bytes.index(static_cast<std::size_t>(surface.vertCount())));
    for (std::int32_t& vertex : surface.triVerts) // an earlier change may have left a number of no vertex
        if (vertex < 1 || vertex > surface.vertCount())
            vertex = 1;
    joinUp(surface);
}

inline void bendSettings(Settings& settings, ByteSource& bytes) {
    double* const values[] = {&settings.seed[0], &settings.seed[1], &settings.seed[2], &settings.warp[0],
                              &settings.warp[1], &settings.warp[2], &settings.weft[0], &settings.weft[1],
                              &settings.weft[2], &settings.stepA,   &settings.stepB,   &settings.tolerance};
    *values[bytes.index(12)] = bytes.real();
}

} // namespace drape_fuzz
