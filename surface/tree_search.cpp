// Search by the tree: what decides isn't where the list of the flood begins or ends but what lies furthest
// forward, so the search looks there first.
//
// A hit far enough ahead of all others, and so far from the point behind that nothing can drop it, is the
// answer if the flood lists its triangle: the triangle has to be in range, and a chain of neighbours in range
// has to lead to it. Equal hits on several triangles are told apart by the flood, which stops at the first of
// them. Where nothing lies ahead like that, all that the circle meets is looked at.
#include "surface/tree_search.h"

#include "surface/flood.h"
#include "surface/range.h"

#include <limits>

namespace drape {
namespace {

// The way to `goal`, which is in range, along the corners of triangles that are clearly in range of a ball;
// each corner is nearer to `towards` than the one before. False means only that there is no such way.
class Chain {
public:
    Chain(const SearchQuestion& question, std::int32_t goal, const Vec3& towards)
        : question_(question), goal_(goal), towards_(towards) {}

    // Whether the flood from the start, which it goes on from, would come to the goal.
    bool exists() {
        if (question_.start == goal_)
            return true;
        const std::int32_t* corners = mesh_.triVerts + 3 * (std::int64_t{question_.start} - 1);
        for (int k = 0; k < 3; ++k)
            if (isAround(corners[k]))
                return true;
        std::int32_t next = corners[0];
        nearest_ = cadis(mesh_.vertex(next), towards_);
        for (int k = 1; k < 3; ++k)
            next = nearer(corners[k]) ? corners[k] : next;
        constexpr int longest = 64;
        for (int k = 0; k < longest && next != 0; ++k) {
            next = stepFrom(next);
            if (next != 0 && isAround(next))
                return true;
        }
        return false;
    }

private:
    bool isAround(std::int32_t v) const {
        for (std::int32_t position = mesh_.fanBegin(v); position < mesh_.fanEnd(v); ++position)
            if (mesh_.vertTriList[position] == goal_)
                return true;
        return false;
    }

    // Whether a vertex is the nearest so far, and then it is.
    bool nearer(std::int32_t v) {
        const double distance2 = cadis(mesh_.vertex(v), towards_);
        if (!(distance2 < nearest_))
            return false;
        nearest_ = distance2;
        return true;
    }

    // The nearest corner of the triangles around `v` that are clearly in range, 0 if none is nearer.
    std::int32_t stepFrom(std::int32_t v) {
        std::int32_t next = 0;
        for (std::int32_t position = mesh_.fanBegin(v); position < mesh_.fanEnd(v); ++position) {
            const std::int32_t triangle = mesh_.vertTriList[position];
            for (int k = 0; k < 3; ++k) {
                const std::int32_t corner = mesh_.vertexOf(triangle, k);
                const double before = nearest_;
                if (corner == v || corner == next || !nearer(corner))
                    continue;
                if (clearlyInRange(triangle, corner))
                    next = corner;
                else
                    nearest_ = before;
            }
        }
        return next;
    }

    bool clearlyInRange(std::int32_t triangle, std::int32_t corner) const {
        const Vec3 place = mesh_.vertex(corner);
        for (int k = 0; k < question_.ballCount; ++k)
            if (bounds_.inRangeByPoint(triangle, place, question_.balls[k]) ||
                bounds_.inRange(triangle, question_.balls[k]) == Range::in)
                return true;
        return false;
    }

    const SurfaceMesh& mesh_ = model->mesh;
    const TriangleBounds& bounds_ = model->indices->triangleBounds;
    const SearchQuestion& question_;
    std::int32_t goal_;
    const Vec3& towards_;
    double nearest_ = 0.0; // squared distance of the nearest corner so far
};

bool isListed(const SearchQuestion& question, std::int32_t triangle) {
    return visitByBounds(triangle, question.balls, question.ballCount).list;
}

// Triangles with equal hits furthest forward, each with its first such hit.
class Ties {
public:
    void restart(double along) {
        along_ = along;
        count_ = 0;
        complete_ = true;
    }
    void add(const Candidate& candidate) {
        for (int k = 0; k < count_; ++k)
            if (triangles_[k] == candidate.triangle)
                return;
        if (count_ == LARGEST) {
            complete_ = false;
            return;
        }
        triangles_[count_] = candidate.triangle;
        points_[count_++] = candidate.point;
    }

    double along() const { return along_; }
    int count() const { return count_; }
    bool complete() const { return complete_; }
    std::int32_t triangle(int k) const { return triangles_[k]; }
    const Vec3& point(int k) const { return points_[k]; }
    Goals goals() const { return {triangles_, count_}; }

private:
    static constexpr int LARGEST = 16;
    double along_ = 0.0;
    std::int32_t triangles_[LARGEST];
    Vec3 points_[LARGEST];
    int count_ = 0;
    bool complete_ = true;
};

class ForwardSearch {
public:
    ForwardSearch(const SearchQuestion& question, SearchScratch& scratch)
        : question_(question), scratch_(scratch),
          arc_(question.circle.centre, question.circle.axis, question.circle.radius, question.forward,
               question.tolerance()),
          safe2_(margins::safeFromDropping2(question.circle.radius, question.tolerance())) {}

    bool run(SurfacePoint& found, std::int32_t& status) {
        if (!arc_.bounded)
            return false;
        bool gathered = gather(status);
        while (gathered && furthest()) {
            const Settled settled = settle(found, status);
            if (settled == Settled::notListed) {
                limit_ = ties_.along();
                continue;
            }
            scratch_.candidates.reset();
            return settled == Settled::found;
        }
        scratch_.candidates.reset();
        return false;
    }

private:
    bool gather(std::int32_t& status) {
        scratch_.candidates.reset();
        bool done = true;
        model->indices->triangleTree.forEachNearArc(question_.circle, arc_, [&](std::int32_t triangle) {
            return done = addHits(question_.circle, triangle, question_.tolerance(), scratch_.candidates,
                                  status);
        });
        return done;
    }

    // The hits furthest forward below the limit. False if there are none on the arc, or if it isn't sure that
    // they can't be dropped.
    bool furthest() {
        ties_.restart(arc_.least);
        for (const Candidate& candidate : scratch_.candidates) {
            const double along = prosca(candidate.point - question_.circle.centre, question_.forward);
            if (along >= limit_ || along < ties_.along())
                continue;
            // What holds no number is left to the whole search.
            if (!(along < limit_) || !(cadis(candidate.point, question_.backPoint) > safe2_))
                return false;
            if (along > ties_.along())
                ties_.restart(along);
            ties_.add(candidate);
        }
        return ties_.count() > 0 && ties_.complete();
    }

    enum class Settled { found, notListed, failed };

    // Takes the tied triangle that the flood lists first.
    Settled settle(SurfacePoint& found, std::int32_t& status) {
        if (ties_.count() == 1) {
            if (!isListed(question_, ties_.triangle(0)))
                return Settled::notListed;
            if (Chain(question_, ties_.triangle(0), ties_.point(0)).exists()) {
                found = onTriangle(ties_.point(0), ties_.triangle(0));
                return Settled::found;
            }
        }
        std::int32_t first = 0;
        if (!floodTo(ties_.goals(), question_.start, question_.balls, question_.ballCount, scratch_, first,
                     status))
            return Settled::failed;
        for (int k = 0; k < ties_.count(); ++k)
            if (ties_.triangle(k) == first)
                found = onTriangle(ties_.point(k), first);
        return first != 0 ? Settled::found : Settled::notListed;
    }

    const SearchQuestion& question_;
    SearchScratch& scratch_;
    margins::ForwardArc arc_;
    double safe2_;
    double limit_ = std::numeric_limits<double>::infinity();
    Ties ties_;
};

// All that the circle meets, if the flood would have listed it and the order of its list decides nothing.
TreeAnswer searchWholeCircle(const SearchQuestion& question, SearchScratch& scratch, SurfacePoint& found,
                             std::int32_t& status) {
    bool certain = true;
    scratch.candidates.reset();
    model->indices->triangleTree.forEachNearCircle(question.circle, [&](std::int32_t triangle) {
        const std::int64_t before = scratch.candidates.size();
        certain = addHits(question.circle, triangle, question.tolerance(), scratch.candidates, status);
        if (!certain || scratch.candidates.size() == before)
            return certain;
        if (isListed(question, triangle))
            certain = Chain(question, triangle, scratch.candidates[before].point).exists();
        else
            scratch.candidates.truncate(before);
        return certain;
    });
    if (!certain) {
        scratch.candidates.reset();
        return TreeAnswer::open;
    }
    if (scratch.candidates.empty())
        return TreeAnswer::nothing;
    const Choice choice = chooseCandidate(scratch.candidates, question.circle, question.forward,
                                          question.backPoint, question.tolerance());
    found = choice.found;
    return choice.clear && found.triangle != 0 ? TreeAnswer::found : TreeAnswer::open;
}

// The tree presumes an axis of unit length.
bool hasUnitAxis(const Circle& circle) {
    const double length2 = vor(circle.axis);
    return length2 > 0.999 && length2 < 1.001;
}

} // namespace

TreeAnswer searchByTree(const SearchQuestion& question, SearchScratch& scratch, SurfacePoint& found,
                        std::int32_t& status) {
    if (!hasUnitAxis(question.circle) ||
        !visitByBounds(question.start, question.balls, question.ballCount).goOn)
        return TreeAnswer::open;
    if (ForwardSearch(question, scratch).run(found, status))
        return TreeAnswer::found;
    return status == DRAPE_OK ? searchWholeCircle(question, scratch, found, status) : TreeAnswer::open;
}

} // namespace drape
