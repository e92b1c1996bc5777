// A wave front over a surface: how far every vertex lies from a start, as measured along the surface. Built
// once for a mesh, and sent out as often as is wanted, all the way or bit by bit.
#pragma once

#include "host/mesh/surface_point.h"

#include <limits>
#include <memory>
#include <utility>

namespace drape::host {

class Wave;

class Front {
public:
    // `mesh` must outlive the front.
    explicit Front(const TriangleMesh& mesh);

    // Per vertex, its distance from `from` in the mesh's unit; infinite on other pieces. Never below the true
    // distance by more than rounding, and above it by a percent or so on a fair mesh. Beyond `farthest`
    // nothing is worked out, and what stands there is no distance but lies above it.
    std::vector<double> distancesFrom(const SurfacePoint& from,
                                      double farthest = std::numeric_limits<double>::infinity()) const;

    // The same from the nearest of several vertices, 0-based.
    std::vector<double> distancesFrom(const std::vector<std::int32_t>& vertices) const;

private:
    friend class Wave;
    // The other two corners of a triangle around a vertex, 0-based, in the triangle's sense.
    struct Corners {
        std::int32_t next, last;
    };
    const TriangleMesh& mesh_;
    std::vector<std::int32_t> start_; // per vertex, entries of `corners_` before its own, and one more
    std::vector<Corners> corners_;    // of the triangles around each vertex, in their order
    double layer_ = 0.0;              // width of a layer of the queue, in the mesh's unit
    double longestEdge_ = 0.0;
};

// A front that is on its way. One and the same way of going on is to be used for all of it.
class Wave {
public:
    // `front` must outlive the wave.
    Wave(const Front& front, const SurfacePoint& from);
    Wave(const Front& front, const std::vector<std::int32_t>& vertices);
    Wave(Wave&& other) noexcept;
    ~Wave();

    // As far as `farthest`. In the end it has got as far as if it had gone there at once.
    void goOnTo(double farthest);

    // The same for a wave among others, which have been at each vertex at `others` / `weight` or will be
    // there sooner. It doesn't go on where they are ahead of it, and where it is ahead its distances are what
    // they would be without them; elsewhere they are larger.
    void goOnAmong(const std::vector<double>& others, double weight, double farthest);

    // There is nowhere left to go.
    bool hasEnded() const;

    // As Front::distancesFrom has them, up to where the wave has got.
    const std::vector<double>& distances() const { return reached_; }
    std::vector<double> takeDistances() { return std::move(reached_); }

private:
    class Queue;

    void begin(std::int32_t vertex, double distance);
    template <class IsWorthIt>
    void goOn(double farthest, IsWorthIt isWorthIt);

    const Front& front_;
    std::vector<double> reached_;
    std::unique_ptr<Queue> open_;
};

} // namespace drape::host
