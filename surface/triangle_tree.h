// The mesh triangles as a tree of boxes, for the questions which of them a circle can meet and which lie
// nearest to a point.
//
// Triangles are numbered along a space-filling curve, so boxes over runs of numbers make the tree. A box
// holds every place where the exact cut could report a hit on its triangles, so a search goes to the few
// triangles at the place in question and leaves out nothing. Where triangles lie nearly in the circle's plane
// their hits may be anywhere on the disc, so cones of normals go with the boxes and tell where that can be.
#pragma once

#include "run/model.h"
#include "services/work_arrays.h"
#include "surface/box.h"
#include "surface/circle_triangle.h"
#include "surface/lanes.h"
#include "surface/margins.h"

#include <algorithm>
#include <bit>

namespace drape {

class TriangleTree {
public:
    // Takes room for a tree over so many triangles, 34 bytes each, or for `leastRoom` doubles if that is
    // more. False with a work-array code. Until the tree is built there, the room may serve for anything.
    bool take(std::int32_t triCount, std::int64_t leastRoom, std::int32_t& status);
    double* room() const { return block_.data(); }

    // In the room taken for as many triangles. `reach` bounds the radius of all circles.
    void build(const SurfaceMesh& mesh, double tolerance, double reach);
    void release(std::int32_t& status) { block_.release(status); }

    // False if the mesh can't be bounded: too many needles, or coordinates out of all proportion.
    bool usable() const { return levelCount_ > 0; }

    // What no triangle's distance is off by more, at the origin: not bound where there are slivers.
    const margins::DistanceSlack& largestSlack() const { return slack_; }

    // Calls visit(triangle) for every triangle on which the circle, whose axis has unit length, can have a
    // hit, and perhaps for others, in no order that means anything, until visit returns false.
    template <class Visit>
    void forEachNearCircle(const Circle& circle, Visit visit) const {
        forEach(Rim(circle), visit);
    }

    // The same for hits that lie on the arc.
    template <class Visit>
    void forEachNearArc(const Circle& circle, const margins::ForwardArc& arc, Visit visit) const {
        forEach(Arc(circle, arc), visit);
    }

    // Calls visit(triangle) for every triangle whose distance from `point`, as the exact test gives it, can
    // be at most `distance`, which may become less meanwhile.
    template <class Visit>
    void forEachWithin(const Vec3& point, const double& distance, Visit visit) const {
        const auto visitAndGoOn = [&](std::int32_t triangle) {
            visit(triangle);
            return true;
        };
        if (usable() && margins::largestCoordinate(point) < margins::LARGEST_SINGLE) {
            forEach(Vicinity(point, distance, slack_), visitAndGoOn);
            return;
        }
        for (std::int32_t triangle = 1; triangle <= triCount_; ++triangle)
            visit(triangle);
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
        // Around the unit normals of the triangles below four leaves, a lane each, where the mask has a bit;
        // fills up the other lanes.
        static Cone around(FloatLanes (&normals)[ARITY][3], unsigned present);
        static Cone around(const Vec3& middle, double turn, double spread);
        static Cone ofNothing() { return {{0.0f, 0.0f, 0.0f}, 2.0f}; }
        bool holdsNothing() const { return limit > 1.0f; }
        Part asPart() const { return {{axis[0], axis[1], axis[2]}, limit}; }
    };

    // The boxes of four children side by side, so that one pass tests them all; a missing child's box is
    // inside out and meets nothing.
    struct Quad {
        FloatLanes low[3], high[3];
    };
    struct Node {
        int level; // 0 has triangles for children
        bool mayBeCoplanar;
        std::int64_t index;
    };

    // A circle as its tests against boxes need it, in single precision and widened by what that rounds off.
    struct Band {
        explicit Band(const Circle& circle);

        // The children within reach of the circle's plane whose boxes come as near to the centre and as far
        // from it as the ring asks.
        struct Ring {
            float outer2, inner2;
        };
        IntLanes test(const Quad& quad, const Ring& ring) const {
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
            return (height <= extent) & (-height <= extent) & (nearest2 <= ring.outer2) &
                   (furthest2 >= ring.inner2);
        }

        bool isNearlyCoplanar(const Cone& cone) const {
            const float cosine = axis[0] * cone.axis[0] + axis[1] * cone.axis[1] + axis[2] * cone.axis[2];
            return cosine >= cone.limit || -cosine >= cone.limit;
        }

        static constexpr float widening = 0.5f * (1.0f + static_cast<float>(margins::SINGLE_SLACK));
        float centre[3], axis[3], axisSize[3];
        float margin;
        Ring rim, disc; // where hits lie on triangles that cut the circle's plane, and on those nearly in it
    };

    struct Rim {
        explicit Rim(const Circle& circle) : band(circle) {}
        bool isNearlyCoplanar(const Cone& cone) const { return band.isNearlyCoplanar(cone); }
        unsigned test(const Quad& quad, bool coplanar) const {
            return maskOf(band.test(quad, coplanar ? band.disc : band.rim));
        }
        Band band;
    };

    struct Arc {
        Arc(const Circle& circle, const margins::ForwardArc& arc);
        bool isNearlyCoplanar(const Cone& cone) const { return band.isNearlyCoplanar(cone); }
        unsigned test(const Quad& quad, bool coplanar) const {
            const unsigned met =
                maskOf((low[0] <= quad.high[0]) & (quad.low[0] <= high[0]) & (low[1] <= quad.high[1]) &
                       (quad.low[1] <= high[1]) & (low[2] <= quad.high[2]) & (quad.low[2] <= high[2]));
            return coplanar ? met | maskOf(band.test(quad, band.disc)) : met;
        }
        Band band;
        FloatLanes low[3], high[3];
    };

    // What lies no further from a point than `distance`, which is read anew for each quad.
    struct Vicinity {
        Vicinity(const Vec3& point, const double& furthest, const margins::DistanceSlack& exactTest);
        bool isNearlyCoplanar(const Cone&) const { return false; }
        unsigned test(const Quad& quad, bool) const {
            FloatLanes gap2 = {};
            for (int c = 0; c < 3; ++c) {
                const FloatLanes gap = largerOf(quad.low[c] - place[c], place[c] - quad.high[c]);
                const FloatLanes beyond = largerOf(gap, FloatLanes{});
                gap2 += beyond * beyond;
            }
            // No box is endlessly far off, but what stands for no box.
            const double reach = std::min((distance + slack) * WIDENING, 10.0 * margins::LARGEST_SINGLE);
            return maskOf(gap2 <= roundedUp(reach * reach) + FloatLanes{});
        }

        static constexpr double WIDENING = 1.0 + margins::SINGLE_SLACK;
        FloatLanes place[3];
        const double& distance;
        double slack;
    };

    template <class Test, class Visit>
    void forEach(const Test& test, Visit visit) const {
        for (std::int32_t k = 0; k < needleCount_; ++k)
            if (!visit(needles_[k]))
                return;
        Node pending[ARITY * MAX_LEVELS];
        int depth = 0;
        Node node{levelCount_ - 1, true, 0};
        for (;;) {
            const Quad& quad = quads_[levelStart_[node.level] + node.index];
            // What a cone rules out needn't be asked below it, and leaves have none.
            const bool coplanar =
                node.mayBeCoplanar && (node.level == 0 || test.isNearlyCoplanar(coneOf(node)));
            unsigned met = test.test(quad, coplanar);
            const std::int64_t firstChild = ARITY * node.index;
            if (node.level > 0 && met != 0) {
                // The last of the children comes next.
                for (; (met & (met - 1)) != 0; met &= met - 1)
                    pending[depth++] = {node.level - 1, coplanar, firstChild + std::countr_zero(met)};
                node = {node.level - 1, coplanar, firstChild + std::countr_zero(met)};
                continue;
            }
            for (; met != 0; met &= met - 1)
                if (!visit(static_cast<std::int32_t>(firstChild + std::countr_zero(met) + 1)))
                    return;
            if (depth == 0)
                return;
            node = pending[--depth];
        }
    }

    class Builder;

    // Over all triangles below a node that is no leaf.
    const Cone& coneOf(const Node& node) const { return cones_[coneStart(node.level) + node.index]; }
    std::int64_t coneStart(int level) const { return levelStart_[level] - levelSize_[0]; }

    void layOutLevels(std::int64_t triangles);
    void addNeedle(std::int32_t triangle);

    margins::DistanceSlack slack_;
    std::int32_t triCount_ = 0;
    int levelCount_ = 0; // the last level holds one quad
    std::int64_t levelStart_[MAX_LEVELS] = {};
    std::int64_t levelSize_[MAX_LEVELS] = {};
    std::int32_t needles_[MAX_NEEDLES] = {};
    std::int32_t needleCount_ = 0;
    WorkArray<double> block_;
    Quad* quads_ = nullptr; // there
    Cone* cones_ = nullptr; // behind the quads
};

} // namespace drape
