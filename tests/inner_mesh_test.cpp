// The mesh that a run works on: the caller's, with other numbers. These look inside the library, since
// outside it all shows in the cost alone.
#include "surface/inner_mesh.h"

#include "inner_view.h"
#include "surface/vertex_order.h"
#include "surfaces.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <set>

namespace {

using namespace drape;
using drape_test::meshOf;
using drape_test::Random;
using drape_test::Surface;

bool renumber(InnerMesh& inner, const SurfaceMesh& outer, std::vector<std::int32_t>& triangles,
              std::vector<std::int32_t>& vertices, std::int32_t& status) {
    triangles.resize(static_cast<std::size_t>(outer.triCount));
    vertices.resize(static_cast<std::size_t>(outer.vertCount));
    std::vector<double> work(static_cast<std::size_t>(InnerMesh::workRoom(outer)));
    return inner.build(outer, work.data(), triangles.data(), vertices.data(), status);
}

// A block of 16 x 16 x 16 cells in a corner of the cube of 2048 that the curve fills: one stretch of it.
TEST(InnerMesh, TheCurveGoesFromCellToCellWithoutAJump) {
    Surface block;
    std::vector<std::array<int, 3>> cells;
    for (int x = 0; x < 16; ++x)
        for (int y = 0; y < 16; ++y)
            for (int z = 0; z < 16; ++z)
                cells.push_back({x, y, z});
    Random random(3);
    for (std::size_t k = cells.size(); k-- > 1;)
        std::swap(cells[k], cells[static_cast<std::size_t>(random.below(static_cast<int>(k) + 1))]);
    for (const auto& cell : cells)
        block.vertPos.insert(block.vertPos.end(), {cell[0] + 0.5, cell[1] + 0.5, cell[2] + 0.5});
    block.vertPos.insert(block.vertPos.end(), {0.0, 0.0, 0.0, 2048.0, 2048.0, 2048.0});
    block.triVerts.assign(3, 1);
    joinUp(block);
    // Every vertex counts as used.
    for (std::size_t v = 0; v < block.vertTriStart.size(); ++v)
        block.vertTriStart[v] = static_cast<std::int32_t>(v);
    block.vertTriList.assign(block.vertTriStart.size(), 1);

    const auto count = static_cast<std::size_t>(block.vertCount());
    std::vector<PlacedVertex> order(count), spare(count);
    std::int32_t status = 0;
    ASSERT_TRUE(orderVertices(meshOf(block), order.data(), spare.data(), status));
    const std::array<int, 3>* before = nullptr;
    for (const PlacedVertex& placed : order) {
        const auto v = static_cast<std::size_t>(placed.vertex() - 1);
        if (v >= cells.size())
            continue;
        if (before != nullptr) {
            int way = 0;
            for (std::size_t k = 0; k < 3; ++k)
                way += std::abs(cells[v][k] - (*before)[k]);
            ASSERT_EQ(way, 1);
        }
        before = &cells[v];
    }
}

TEST(InnerMesh, HoldsTheSameTrianglesAndFansInTheSameOrder) {
    Random random(4);
    for (int round = 0; round < 50; ++round) {
        Surface surface = drape_test::squareMould(5.0, 4 + random.below(40), drape_test::domeHeight(5.0));
        shuffle(surface, random);
        if (round % 2 == 1) { // triangles in no fan, and vertices that no triangle uses
            surface.vertPos.insert(surface.vertPos.end(), {9.0, 9.0, 9.0});
            surface.vertTriStart.push_back(surface.vertTriCount());
            const auto cut = surface.vertTriList.size() / 2;
            surface.vertTriList.resize(cut);
            for (std::int32_t& start : surface.vertTriStart)
                start = std::min(start, static_cast<std::int32_t>(cut));
        }
        const SurfaceMesh outer = meshOf(surface);
        InnerMesh inner;
        std::vector<std::int32_t> triangles, vertices;
        std::int32_t status = 0;
        ASSERT_TRUE(renumber(inner, outer, triangles, vertices, status));
        const SurfaceMesh& mesh = inner.mesh();
        for (std::int32_t t = 1; t <= outer.triCount; ++t) {
            const std::int32_t renumbered = triangles[static_cast<std::size_t>(t - 1)];
            ASSERT_EQ(inner.outerTriangle(renumbered), t);
            for (int k = 0; k < 3; ++k)
                ASSERT_EQ(mesh.vertexOf(renumbered, k),
                          vertices[static_cast<std::size_t>(outer.vertexOf(t, k) - 1)]);
        }
        for (std::int32_t v = 1; v <= outer.vertCount; ++v) {
            const std::int32_t renumbered = vertices[static_cast<std::size_t>(v - 1)];
            ASSERT_EQ(cadis(mesh.vertex(renumbered), outer.vertex(v)), 0.0);
            ASSERT_EQ(mesh.fanEnd(renumbered) - mesh.fanBegin(renumbered),
                      outer.fanEnd(v) - outer.fanBegin(v));
            for (std::int32_t k = 0; k < outer.fanEnd(v) - outer.fanBegin(v); ++k)
                ASSERT_EQ(inner.outerTriangle(mesh.vertTriList[mesh.fanBegin(renumbered) + k]),
                          outer.vertTriList[outer.fanBegin(v) + k]);
        }
        inner.release(status);
    }
}

// Triangles are sorted by buckets of vertices. The last vertex, the first of a triangle only where that names
// no other, has its bucket too, also where one vertex less would have filled all buckets.
TEST(InnerMesh, TheLastVertexHasATriangleToo) {
    for (const int cells : {31, 63}) { // 1,024 and 4,096 vertices, and one
        Surface surface = drape_test::squareMould(5.0, cells, drape_test::domeHeight(5.0));
        surface.vertPos.insert(surface.vertPos.end(), {9.0, -9.0, -9.0}); // where the curve ends
        const std::int32_t last = surface.vertCount();
        surface.triVerts.insert(surface.triVerts.begin(), 3, last);
        joinUp(surface);
        const SurfaceMesh outer = meshOf(surface);
        InnerMesh inner;
        std::vector<std::int32_t> triangles, vertices;
        std::int32_t status = 0;
        ASSERT_TRUE(renumber(inner, outer, triangles, vertices, status));
        EXPECT_EQ(vertices.back(), last);
        EXPECT_EQ(triangles.front(), outer.triCount);
        std::set<std::int32_t> numbers;
        for (std::int32_t t = 1; t <= outer.triCount; ++t) {
            const std::int32_t own = triangles[static_cast<std::size_t>(t - 1)];
            EXPECT_TRUE(own >= 1 && own <= outer.triCount && numbers.insert(own).second) << t;
            EXPECT_EQ(inner.outerTriangle(own), t);
        }
        inner.release(status);
    }
}

// The numbers that a run writes are turned back into the caller's as far as one was ever written: by a stored
// node, by a copy, by a row that was dropped again.
TEST(InnerMesh, EveryTriangleOfANodeCountsAsWritten) {
    const OwnModel own;
    std::vector<std::int32_t> numbers(8 * 4, 77); // so that what stands before an array would show
    std::vector<double> positions(3 * 4), flat(2 * 4), normals(3 * 4);
    for (std::size_t d = 1; d <= 4; ++d)
        model->links[d] = &numbers[4 * (d - 1)];
    model->nodeI = &numbers[16];
    model->nodeJ = &numbers[20];
    model->nodeStatus = &numbers[24];
    model->nodeTri = &numbers[28];
    model->nodePos = positions.data();
    model->nodeFlat = flat.data();
    model->nodeNormal = normals.data();
    model->nodeCapacity = 4;
    std::int32_t count = 0, status = 0;
    model->nodeCount = &count;
    for (const std::int32_t links : {0, -1}) { // no neighbour
        count = 0;
        ASSERT_TRUE(storeNode({}, {0.0, 0.0, 1.0}, 7, links, {}, {}, status));
        EXPECT_EQ(model->nodeI[0], 0) << links;
        EXPECT_EQ(model->nodeJ[0], 0) << links;
    }
    EXPECT_EQ(model->trianglesWritten, 1);
    ASSERT_TRUE(copyNode(1, status));
    EXPECT_EQ(model->trianglesWritten, 2);
    ASSERT_TRUE(storeNode({}, {0.0, 0.0, 1.0}, 8, 1, {DRAPE_DIRECTION_1, 1}, {}, status));
    count = 1;
    ASSERT_TRUE(copyNode(1, status));
    EXPECT_EQ(model->trianglesWritten, 3);
}

} // namespace
