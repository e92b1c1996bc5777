// Two triangles measured side by side, which takes the set-up little longer than one.
#pragma once

#include "run/model.h"
#include "surface/lanes.h"

namespace drape {

inline PairVec smallerOf(const PairVec& a, const PairVec& b) {
    return {smallerOf(a.x, b.x), smallerOf(a.y, b.y), smallerOf(a.z, b.z)};
}
inline PairVec largerOf(const PairVec& a, const PairVec& b) {
    return {largerOf(a.x, b.x), largerOf(a.y, b.y), largerOf(a.z, b.z)};
}

// The same measures as in MeasuredTriangle, with the box.
struct TrianglePair {
    TrianglePair(const SurfaceMesh& mesh, std::int32_t first, std::int32_t second) {
        const PairVec a = corners(mesh, first, second, 0);
        const PairVec b = corners(mesh, first, second, 1);
        const PairVec c = corners(mesh, first, second, 2);
        const PairVec ab = b - a, ac = c - a;
        const DoublePair ab2 = vor(ab), bc2 = vor(c - b), ca2 = vor(ac);
        longest2 = largerOf(ab2, largerOf(bc2, ca2));
        shortest2 = smallerOf(ab2, smallerOf(bc2, ca2));
        cross = parvis(ab, ac);
        area2 = vor(cross);
        low = smallerOf(a, smallerOf(b, c));
        high = largerOf(a, largerOf(b, c));
    }

    DoublePair longest2, shortest2, area2;
    PairVec cross, low, high;

private:
    static PairVec corners(const SurfaceMesh& mesh, std::int32_t first, std::int32_t second, int k) {
        return pairOf(mesh.corner(first, k), mesh.corner(second, k));
    }
};

} // namespace drape
