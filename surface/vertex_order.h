// The order of vertices along a Hilbert curve.
#pragma once

#include "run/model.h"
#include "services/work_arrays.h"

namespace drape {

// A vertex behind the place on the curve that it was sorted by.
class PlacedVertex {
public:
    PlacedVertex() = default;
    PlacedVertex(std::uint64_t place, std::int32_t vertex)
        : value_(place << VERTEX_BITS | static_cast<std::uint64_t>(vertex)) {}
    std::int32_t vertex() const { return static_cast<std::int32_t>(value_ & ((1ULL << VERTEX_BITS) - 1)); }
    std::uint64_t place() const { return value_ >> VERTEX_BITS; }

private:
    static constexpr int VERTEX_BITS = 31;
    std::uint64_t value_;
};

// Puts all vertices in order; those at one place of the curve's resolution stay in the order of their
// numbers. `ordered` and `spare` have room for all of them, and what `spare` holds afterwards means nothing.
// False with a work-array code.
bool orderVertices(const SurfaceMesh& mesh, PlacedVertex* ordered, PlacedVertex* spare, std::int32_t& status);

} // namespace drape
