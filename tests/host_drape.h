// Drapes through the host core for tests: the moulds of surfaces.h as a host has them, one run over each and
// what is measured on it.
#pragma once

#include "host/cloth/measure.h"
#include "host/cloth/net_pattern.h"
#include "host/cloth/run.h"
#include "host/mesh/boundary_loops.h"
#include "host/mesh/topology.h"
#include "surfaces.h"

namespace drape_test {

namespace host = drape::host;

inline host::TriangleMesh hostMesh(const Surface& surface) {
    host::TriangleMesh mesh;
    for (std::size_t v = 0; v < surface.vertPos.size(); v += 3) {
        mesh.positions.push_back({surface.vertPos[v], surface.vertPos[v + 1], surface.vertPos[v + 2]});
    }
    for (std::size_t t = 0; t < surface.triVerts.size(); t += 3) {
        mesh.triangles.push_back(
            {surface.triVerts[t] - 1, surface.triVerts[t + 1] - 1, surface.triVerts[t + 2] - 1});
        mesh.sourceFaces.push_back(static_cast<std::int32_t>(t / 3 + 1));
    }
    return mesh;
}

struct HostStart {
    host::Point seed{}; // moved onto the mould
    double stepA = 1.0, stepB = 1.0;
    double angle = 0.0;         // degrees
    std::int32_t mostNodes = 0; // 0 for the usual
};

struct HostDrape {
    host::TriangleMesh mesh;
    host::Mould mould;
    host::Choice choice;
    host::Grid grid;
    host::Measures measures;
    host::NetPattern net;
};

inline HostDrape hostDrape(const host::TriangleMesh& surface, const HostStart& start) {
    host::Notes notes;
    HostDrape drape;
    drape.mesh = host::manifoldOf(surface, notes);
    drape.mould = host::mouldOf(drape.mesh);
    drape.choice = host::choiceAt(drape.mould, host::nearestPoint(drape.mould, start.seed),
                                  host::StartWishes{}, start.angle, {start.stepA, start.stepB}, notes);
    const std::int32_t most =
        start.mostNodes > 0 ? start.mostNodes : host::usualMostNodes(drape.mould, drape.choice);
    drape.grid = host::runDrape(drape.mould, drape.choice, most, nullptr);
    drape.measures = host::measure(drape.mould, drape.grid, 45.0);
    drape.net = host::netPatternOf(drape.mould, drape.grid, drape.measures.cells);
    return drape;
}

inline HostDrape hostDrape(const Surface& surface, const HostStart& start) {
    return hostDrape(hostMesh(surface), start);
}

} // namespace drape_test
