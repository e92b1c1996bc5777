// Search by the tree: what decides isn't where the list of the flood begins or ends but what lies furthest
// forward, so the search looks there first.
//
// A hit far enough ahead of all others, and so far from the point behind that nothing can drop it, is the
// answer if the flood lists its triangle: the triangle has to be in range, and a chain of neighbours in range
// has to lead to it. Equal hits on several triangles are told apart by the flood, which stops at the first of
// them. Where nothing lies ahead like that, all that the circle meets is looked at.
#include "surface/tree_search.h"

#include "surface/flood.h"
#include "surface/flood_reach.h"
#include "surface/range.h"

#include <limits>

namespace drape {
namespace {

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
        CutQueue queue(PairCutter(question_.circle, question_.tolerance(), {question_.forward, arc_.least}),
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
            if (floodReaches(ties_.triangle(0), ties_.point(0), question_.start, question_.balls,
                             question_.ballCount)) {
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
        if (scratch_.candidates.empty() || dropsAny()) {
            scratch_.candidates.reset();
            return TreeAnswer::nothing;
        }
        const bool reachable = allReachable();
        const Choice choice = choose();
        found = choice.found;
        if (reachable && choice.clear)
            return found.triangle != 0 ? TreeAnswer::found : TreeAnswer::dropped;
        return chooseInOrder(found, status);
    }

private:
    // The hits on triangles in range. False if there are too many of them, or with a work-array code.
    bool gather(std::int32_t& status) {
        bool done = true;
        scratch_.candidates.reset();
        CutQueue queue(PairCutter(question_.circle, question_.tolerance()), [&](std::int32_t triangle,
                                                                                const CircleCut& cut) {
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
        return note(triangle, before);
    }

    // Whether no hit is kept, whichever of them are listed: all lie at one place, where the grid came from.
    bool dropsAny() {
        const double radius2 = question_.circle.radius * question_.circle.radius;
        const double tolerance2 = question_.tolerance() * question_.tolerance();
        for (const Candidate& candidate : scratch_.candidates) {
            if (!(radius2 > cadis(candidate.point, question_.backPoint)))
                return false;
            for (const Candidate& other : scratch_.candidates)
                if (!(cadis(other.point, candidate.point) < tolerance2))
                    return false;
        }
        return true;
    }

    // Whether the flood comes to all of them for sure.
    bool allReachable() const {
        for (int k = 0; k < triangleCount_; ++k)
            if (!floodReaches(triangles_[k], hits_[k].first, question_.start, question_.balls,
                              question_.ballCount))
                return false;
        return true;
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
