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

// A way to `goal`, which is listed, over vertices within a ball; each is nearer to `towards` than the one
// before, and each two stand on a triangle that is in range for sure. False means only that there is no such
// way.
class Chain {
public:
    Chain(const SearchQuestion& question, std::int32_t goal, const Vec3& towards)
        : question_(question), goal_(goal), towards_(towards) {}

    // Whether the flood from the start, which it goes on from, would come to the goal.
    bool exists() {
        if (question_.start == goal_)
            return true;
        std::int32_t v = mesh_.vertexOf(question_.start, 0);
        nearest_ = cadis(mesh_.vertex(v), towards_);
        for (int k = 1; k < 3; ++k)
            if (nearer(mesh_.vertexOf(question_.start, k)))
                v = mesh_.vertexOf(question_.start, k);
        constexpr int longest = 64;
        for (int k = 0; k < longest; ++k) {
            const Step step = stepFrom(v);
            if (step.reached)
                return true;
            if (step.vertex == 0 || !clearlyInRange(step.triangle, v, step.vertex))
                return false;
            v = step.vertex;
        }
        return false;
    }

private:
    struct Step {
        bool reached; // the goal stands at the vertex
        std::int32_t vertex, triangle;
    };

    // Whether a vertex is the nearest so far, and then it is.
    bool nearer(std::int32_t v) {
        const double distance2 = cadis(mesh_.vertex(v), towards_);
        if (!(distance2 < nearest_))
            return false;
        nearest_ = distance2;
        return true;
    }

    // To the nearest of the vertices that follow `v` in the triangles around it: all of its neighbours where
    // the fan is closed.
    Step stepFrom(std::int32_t v) {
        Step step{false, 0, 0};
        for (std::int32_t position = mesh_.fanBegin(v); position < mesh_.fanEnd(v); ++position) {
            const std::int32_t triangle = mesh_.vertTriList[position];
            if (triangle == goal_)
                return {true, 0, 0};
            const std::int32_t a = mesh_.vertexOf(triangle, 0), b = mesh_.vertexOf(triangle, 1);
            const std::int32_t following = a == v ? b : (b == v ? mesh_.vertexOf(triangle, 2) : a);
            if (nearer(following))
                step = {false, following, triangle};
        }
        return step;
    }

    bool clearlyInRange(std::int32_t triangle, std::int32_t corner, std::int32_t other) const {
        const Vec3 p = mesh_.vertex(corner), q = mesh_.vertex(other);
        for (int k = 0; k < question_.ballCount; ++k)
            if (inRangeByCorner(mesh_, triangle, p, question_.balls[k]) ||
                inRangeByCorner(mesh_, triangle, q, question_.balls[k]))
                return true;
        return false;
    }

    const SurfaceMesh& mesh_ = model->mesh;
    const SearchQuestion& question_;
    std::int32_t goal_;
    const Vec3& towards_;
    double nearest_ = 0.0; // squared distance of the nearest vertex so far
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
        CutQueue queue(question_.circle, question_.tolerance(),
                       [&](std::int32_t triangle, const CircleCut& cut) {
                           return addHits(cut, triangle, scratch_.candidates, status);
                       });
        model->indices->triangleTree.forEachNearArc(
            question_.circle, arc_, [&](std::int32_t triangle) { return done = queue.add(triangle); });
        return done && queue.finish();
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

// All that the circle meets.
class WholeSearch {
public:
    WholeSearch(const SearchQuestion& question, SearchScratch& scratch)
        : question_(question), scratch_(scratch) {}

    TreeAnswer run(SurfacePoint& found, std::int32_t& status) {
        if (!gather(status)) {
            scratch_.candidates.reset();
            return TreeAnswer::open;
        }
        if (scratch_.candidates.empty())
            return TreeAnswer::nothing;
        const Choice choice = choose();
        found = choice.found;
        if (reachable_ && choice.clear)
            return found.triangle != 0 ? TreeAnswer::found : TreeAnswer::dropped;
        return chooseInOrder(found, status);
    }

private:
    // The hits on triangles in range. False if there are too many of them, or with a work-array code.
    bool gather(std::int32_t& status) {
        bool done = true;
        scratch_.candidates.reset();
        CutQueue queue(
            question_.circle, question_.tolerance(), [&](std::int32_t triangle, const CircleCut& cut) {
                return cut.count == 0 || !isListed(question_, triangle) || take(triangle, cut, status);
            });
        model->indices->triangleTree.forEachNearCircle(
            question_.circle, [&](std::int32_t triangle) { return done = queue.add(triangle); });
        return done && queue.finish();
    }

    bool take(std::int32_t triangle, const CircleCut& cut, std::int32_t& status) {
        const std::int64_t before = scratch_.candidates.size();
        if (!addHits(cut, triangle, scratch_.candidates, status))
            return false;
        reachable_ = reachable_ && Chain(question_, triangle, cut.points[0]).exists();
        return note(triangle, before);
    }

    bool note(std::int32_t triangle, std::int64_t before) {
        if (triangleCount_ == LARGEST)
            return false;
        triangles_[triangleCount_] = triangle;
        hits_[triangleCount_++] = {scratch_.candidates[before].point, scratch_.candidates.top().point,
                                   scratch_.candidates.size() - before};
        return true;
    }

    Choice choose() {
        return chooseCandidate(scratch_.candidates, question_.circle, question_.forward, question_.backPoint,
                               question_.tolerance());
    }

    // The same with the hits in the order in which the flood comes to their triangles, if it does.
    TreeAnswer chooseInOrder(SurfacePoint& found, std::int32_t& status) {
        if (!listGoals({triangles_, triangleCount_}, question_.start, question_.balls, question_.ballCount,
                       scratch_, status))
            return TreeAnswer::open;
        for (std::int32_t k = 0; k < scratch_.foundCount; ++k)
            if (!addAgain(scratch_.foundList[k], status)) {
                scratch_.candidates.reset();
                return TreeAnswer::open;
            }
        found = choose().found;
        // Where the flood comes to none of them, it may come to others from another start.
        return found.triangle != 0 ? TreeAnswer::found : TreeAnswer::dropped;
    }

    bool addAgain(std::int32_t triangle, std::int32_t& status) {
        for (int k = 0; k < triangleCount_; ++k)
            if (triangles_[k] == triangle)
                return scratch_.candidates.push({hits_[k].first, triangle}, status) &&
                       (hits_[k].count == 1 || scratch_.candidates.push({hits_[k].last, triangle}, status));
        return true;
    }

    struct Hits { // one or two
        Vec3 first, last;
        std::int64_t count;
    };

    static constexpr int LARGEST = 16;
    const SearchQuestion& question_;
    SearchScratch& scratch_;
    std::int32_t triangles_[LARGEST];
    Hits hits_[LARGEST];
    int triangleCount_ = 0;
    bool reachable_ = true; // the flood comes to all of them for sure
};

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
    return status == DRAPE_OK ? WholeSearch(question, scratch).run(found, status) : TreeAnswer::open;
}

} // namespace drape
