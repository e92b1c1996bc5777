// A triangle with the measures on which all of a run's bounds rest, taken once.
#pragma once

#include "run/model.h"
#include "surface/box.h"
#include "surface/flatness.h"

namespace drape {

struct MeasuredTriangle {
    MeasuredTriangle(const SurfaceMesh& mesh, std::int32_t triangle)
        : a(mesh.corner(triangle, 0)), b(mesh.corner(triangle, 1)), c(mesh.corner(triangle, 2)),
          shape(a, b, c) {}

    Box box() const {
        Box box{a, a};
        box.include(b);
        box.include(c);
        return box;
    }
    bool hasPlane() const { return !enclosesNothing(b - a, c - a, shape.cross); }

    Vec3 a, b, c;
    TriangleShape shape;
};

} // namespace drape
