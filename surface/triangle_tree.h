// The mesh triangles as a tree of boxes, for the question which of them a circle can meet.
//
// Triangles are put in the order of a space-filling curve through their centres, and boxes over runs of
// neighbours make the tree. A box holds every place where the exact cut could report a hit on its triangles,
// so a search goes to the few triangles at the circle's two ends and leaves out nothing. Where triangles lie
// nearly in the circle's plane their hits may be anywhere on the disc, so a cone of normals goes with the
// boxes and tells where that can be.
#pragma once

#include "run/model.h"
#include "services/work_arrays.h"
#include "surface/circle_triangle.h"
#include "surface/lanes.h"
#include "surface/margins.h"

namespace drape {

class TriangleTree {
public:
    // Keeps 42 bytes per triangle, and 32 more while it builds. `reach` bounds the radius of all circles.
    bool build(const SurfaceMesh& mesh, double tolerance, double reach, std::int32_t& status);
    void release(std::int32_t& status);

    // False if the mesh can't be bounded: too many needles, or coordinates out of all proportion.
    bool usable() const { return levelCount_ > 0; }

    // Calls visit(triangle) for every triangle that the circle, whose axis has unit length, can meet, and
    // perhaps for others, in no order that means anything, until visit returns false.
    template <class Visit>
    void forEachNearCircle(const Circle& circle, Visit visit) const {
        for (std::int32_t k = 0; k < needleCount_; ++k)
            if (!visit(needles_[k]))
                return;
        const Band band(circle);
        Node pending[ARITY * MAX_LEVELS];
        int depth = 0;
        pending[depth++] = {levelCount_ - 1, 0};
        while (depth > 0) {
            const Node node = pending[--depth];
            const IntLanes met = band.test(quads_[levelStart_[node.level] + node.index]);
            for (int k = 0; k < ARITY; ++k) {
                if (met[k] == 0)
                    continue;
                const std::int64_t child = ARITY * node.index + k;
                if (node.level > 0)
                    pending[depth++] = {node.level - 1, child};
                else if (!visit(order_.data()[child]))
                    return;
            }
        }
    }

private:
    static constexpr int ARITY = LANES;
    static constexpr int MAX_LEVELS = 16; // of a tree over 2^31 triangles
    static constexpr std::int32_t MAX_NEEDLES = 64;

    // The normals of some triangles, whichever way they point, and all directions within the angle that
    // counts as nearly coplanar: what makes a smaller angle with the axis than has the cosine `limit`.
    struct Cone {
        float axis[3] = {};
        float limit = -2.0f;

        // Around up to four directions, each with the cosine of the angle that counts around it.
        struct Part {
            Vec3 axis;
            double cosine;
        };
        static Cone around(const Part* parts, int count);
        Part asPart() const { return {{axis[0], axis[1], axis[2]}, limit}; }
    };

    // The boxes of four children side by side, so that one pass tests them all, and a cone over all of them;
    // a missing child's box is inside out and meets nothing.
    struct Quad {
        FloatLanes low[3], high[3];
        Cone cone;
    };
    struct Node {
        int level; // 0 has triangles for children
        std::int64_t index;
    };

    // A circle as its tests against boxes need it, in single precision and widened by what that rounds
    // off.
    struct Band {
        explicit Band(const Circle& circle);

        // Non-zero in the lanes of the children that the circle can meet.
        IntLanes test(const Quad& quad) const {
            FloatLanes height = {}, extent = {}, nearest2 = {}, furthest2 = {};
            for (int c = 0; c < 3; ++c) {
                const FloatLanes low = quad.low[c] - centre[c];
                const FloatLanes high = quad.high[c] - centre[c];
                const FloatLanes middle = 0.5f * (low + high);
                const FloatLanes half = widening * (high - low) + margin;
                const FloatLanes off = choose(middle > 0.0f, middle, -middle);
                const FloatLanes beyond = off - half;
                const FloatLanes gap = choose(beyond > 0.0f, beyond, FloatLanes{});
                height += axis[c] * middle;
                extent += axisSize[c] * half;
                nearest2 += gap * gap;
                furthest2 += (off + half) * (off + half);
            }
            const Ring& ring = isNearlyCoplanar(quad.cone) ? disc : rim;
            return (height <= extent) & (-height <= extent) & (nearest2 <= ring.outer2) &
                   (furthest2 >= ring.inner2);
        }

        bool isNearlyCoplanar(const Cone& cone) const {
            const float cosine = axis[0] * cone.axis[0] + axis[1] * cone.axis[1] + axis[2] * cone.axis[2];
            return cosine >= cone.limit || -cosine >= cone.limit;
        }

        struct Ring {
            float outer2, inner2;
        };
        static constexpr float widening = 0.5f * (1.0f + static_cast<float>(margins::SINGLE_SLACK));
        float centre[3], axis[3], axisSize[3];
        float margin;
        Ring rim, disc; // where hits lie on triangles that cut the circle's plane, and on those nearly in it
    };

    bool sortTriangles(const SurfaceMesh& mesh, double* hitMargins, std::int32_t& status);
    double hitMargin(const Vec3& a, const Vec3& b, const Vec3& c) const;
    void layOutLevels();
    static void putTriangle(const Vec3& a, const Vec3& b, const Vec3& c, double margin, Quad& quad, int lane);
    static void putQuad(const Quad& below, Quad& quad, int lane);
    void fillQuads(const SurfaceMesh& mesh, const double* hitMargins);

    double tolerance_ = 0.0, reach_ = 0.0, extent_ = 0.0;
    std::int32_t treeCount_ = 0; // triangles in the tree
    int levelCount_ = 0;         // the last level holds one quad
    std::int64_t levelStart_[MAX_LEVELS] = {};
    std::int64_t levelSize_[MAX_LEVELS] = {};
    std::int32_t needles_[MAX_NEEDLES] = {};
    std::int32_t needleCount_ = 0;
    Quad* quads_ = nullptr;
    WorkArray<std::int32_t> order_;
    WorkArray<std::int32_t> quadBlock_;
};

} // namespace drape
