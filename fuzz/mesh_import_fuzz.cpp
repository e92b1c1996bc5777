// Files of the surface formats, sound and broken, and polygon soups of any kind, on their whole way to a
// mould: reading, welding, triangulation, repair, loops, and a short drape. Each ends in a mould that the
// library takes, or in an error that says what is wrong.
#include "byte_source.h"
#include "drape.h"
#include "host/cloth/mould.h"
#include "host/mesh/boundary_loops.h"
#include "host/mesh/pieces.h"
#include "host/mesh/repair.h"
#include "host/mesh/topology.h"
#include "tests/height_field.h"
#include "tool/read/mesh_import.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <fstream>
#include <unistd.h>
#include <utility>

namespace {

using namespace drape_fuzz;
namespace host = drape::host;

constexpr const char* endings[] = {".obj", ".off", ".ply", ".stl"};

host::PolygonSoup soupFromFile(const char* ending, const std::uint8_t* data, std::size_t size) {
    const std::string path = "/tmp/drape_fuzz_" + std::to_string(getpid()) + ending;
    std::ofstream(path, std::ios::binary)
        .write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
    try {
        host::PolygonSoup soup = tool::importMesh(path);
        unlink(path.c_str());
        return soup;
    } catch (...) {
        unlink(path.c_str());
        throw;
    }
}

// Points near a lattice, so that many of them coincide and many faces are flat, doubled or crossed.
host::PolygonSoup soupFromBytes(ByteSource& bytes) {
    host::PolygonSoup soup;
    const int points = 3 + bytes.below(30), faces = 1 + bytes.below(40);
    for (int i = 0; i < points; ++i) {
        const double x = bytes.below(5), y = bytes.below(5),
                     z = bytes.below(8) == 7 ? bytes.real() : bytes.below(2);
        soup.points.push_back({x, y, z});
    }
    for (int f = 0; f < faces; ++f) {
        auto& polygon = soup.polygons.emplace_back();
        for (int k = 3 + (bytes.below(8) == 7 ? bytes.below(6) : 0); k > 0; --k)
            polygon.push_back(bytes.below(points));
    }
    return soup;
}

bool allFinite(const host::PolygonSoup& soup) {
    return std::all_of(soup.points.begin(), soup.points.end(), [](const host::Point& p) {
        return std::all_of(p.begin(), p.end(), [](double value) { return std::isfinite(value); });
    });
}

void drapeShortly(const host::Mould& mould) {
    drape_test::Surface surface;
    for (const host::Point& p : mould.positions)
        surface.vertPos.insert(surface.vertPos.end(), p.begin(), p.end());
    surface.triVerts = mould.corners;
    surface.vertTriStart = mould.fanStart;
    surface.vertTriList = mould.fan;
    surface.vertBoundary = mould.flagged;
    drape_test::Settings settings;
    settings.capacity = 60;
    if (!mould.positions.empty())
        std::copy(mould.positions[0].begin(), mould.positions[0].end(), settings.seed);
    const std::int32_t status = drape_test::run(surface, settings).status;
    // A run may end with any code of its own, but what the program calls a mould must fit together.
    if (status == DRAPE_BAD_ARGUMENT || status == DRAPE_BAD_MESH)
        std::abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    ByteSource bytes(data, size);
    const int kind = bytes.below(8);
    const bool weld = !bytes.flag(), fillHoles = bytes.flag();
    host::Notes untold;
    const std::size_t head = std::min<std::size_t>(size, 3);
    try {
        const host::PolygonSoup soup =
            kind < 4 ? soupFromFile(endings[kind], data + head, size - head) : soupFromBytes(bytes);
        if (!allFinite(soup) || soup.polygons.empty())
            return 0;
        host::Sheet piece =
            host::chosenPiece(host::sheetOf(host::repairedMesh(soup, weld, untold), untold), nullptr, untold);
        if (fillHoles)
            piece = {host::withoutHoles(std::move(piece.mesh), untold), {}};
        const host::Mould mould = host::mouldOf(std::move(piece));
        host::requireEdge(mould);
        drapeShortly(mould);
    } catch (const std::exception&) {
        // Refused in words, which is as good an end as a mould.
    }
    return 0;
}
