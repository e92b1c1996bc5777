// The plain road: a run driven operation by operation through the exported symbols, without any of the
// indices that gzprp2 builds. It holds every array of the model itself, so a test can also register a model
// and call single operations on it. On its way it counts the repairs and the corners by their kinds.
#pragma once

#include "drape_case.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <vector>

namespace drape_test {

using Front = std::array<std::int32_t, DRAPE_FRONT_FIELDS>;

inline std::int32_t nextOf(std::int32_t d) {
    return d % 4 + 1;
}
inline std::int32_t previousOf(std::int32_t d) {
    return (d + 2) % 4 + 1;
}
inline std::int32_t oppositeOf(std::int32_t d) {
    return (d + 1) % 4 + 1;
}

// The arrays of one registered model. Registration holds their addresses, so it can't be copied or moved.
class PlainModel {
public:
    PlainModel(const Surface& mesh, const Settings& with)
        : surface(mesh), settings(with), grid(emptyGrid(with.capacity)),
          fronts(static_cast<std::size_t>(with.capacity) * DRAPE_FRONT_FIELDS, 0),
          work(2 * static_cast<std::size_t>(mesh.triCount()), 0),
          edges(3 * static_cast<std::size_t>(mesh.vertCount()), 0),
          edgeNormals(3 * static_cast<std::size_t>(mesh.vertCount()), 0.0) {}
    PlainModel(const PlainModel&) = delete;
    PlainModel& operator=(const PlainModel&) = delete;

    // False with the code in `grid.status` if the boundary is no closed loop; boundaryCount is 0 then.
    bool walkBoundary() {
        const std::int32_t triCount = surface.triCount(), vertCount = surface.vertCount(),
                           vertTriCount = surface.vertTriCount();
        boundaryCount = vertCount;
        if (gzprel(surface.vertBoundary.data(), &triCount, &vertCount, &vertTriCount,
                   surface.vertTriStart.data(), surface.vertTriList.data(), surface.triVerts.data(),
                   surface.vertPos.data(), &boundaryCount, edges.data(), edgeNormals.data(),
                   &grid.status) == 0)
            return true;
        boundaryCount = 0;
        return false;
    }

    // Registers what stands in the members now; values that change later need it again.
    void registerModel() {
        const std::int32_t triCount = surface.triCount(), vertCount = surface.vertCount(),
                           vertTriCount = surface.vertTriCount();
        npinco(settings.seed, settings.warp, settings.weft, &settings.stepA, &settings.stepB, fronts.data(),
               &frontCount, grid.link3.data(), grid.link1.data(), grid.link2.data(), grid.link4.data(),
               grid.nodeI.data(), grid.nodeJ.data(), grid.nodeStatus.data(), grid.nodeTri.data(),
               grid.nodePos.data(), grid.nodeFlat.data(), grid.nodeNormal.data(), &settings.capacity,
               &grid.count, &triCount, &vertCount, &vertTriCount, surface.vertTriStart.data(),
               surface.vertTriList.data(), surface.triVerts.data(), surface.vertPos.data(), &boundaryCount,
               edges.data(), edgeNormals.data(), &settings.byGridLine, &settings.tolerance);
    }

    std::int32_t& link(std::int32_t d, std::int32_t n) {
        std::vector<std::int32_t>* arrays[] = {&grid.link1, &grid.link2, &grid.link3, &grid.link4};
        return (*arrays[d - 1])[static_cast<std::size_t>(n - 1)];
    }
    std::int32_t& status(std::int32_t n) { return grid.nodeStatus[static_cast<std::size_t>(n - 1)]; }
    std::int32_t& triangle(std::int32_t n) { return grid.nodeTri[static_cast<std::size_t>(n - 1)]; }
    double* position(std::int32_t n) { return &grid.nodePos[3 * static_cast<std::size_t>(n - 1)]; }
    double* normal(std::int32_t n) { return &grid.nodeNormal[3 * static_cast<std::size_t>(n - 1)]; }
    std::int32_t* front(std::int32_t position) {
        return &fronts[static_cast<std::size_t>(position - 1) * DRAPE_FRONT_FIELDS];
    }
    const double* vertex(std::int32_t t, std::size_t corner) const {
        const auto v = surface.triVerts[3 * static_cast<std::size_t>(t - 1) + corner];
        return &surface.vertPos[3 * static_cast<std::size_t>(v - 1)];
    }

    const Surface surface;
    Settings settings;
    Grid grid;
    std::vector<std::int32_t> fronts;
    std::int32_t frontCount = 0;
    std::vector<std::int32_t> work, edges;
    std::vector<double> edgeNormals;
    std::int32_t boundaryCount = 0;
};

struct PlainResult {
    Grid grid;
    std::array<int, 5> repairs{}; // by kind of defect, of those that cut something
    std::array<int, 7> corners{}; // by kind of corner
    long passes = 0;
};

// One run over a model, front by front.
class PlainRun {
public:
    explicit PlainRun(PlainModel& with) : model_(with) {}

    void run() {
        if (model_.walkBoundary()) {
            model_.registerModel();
            if (storeSeed() && loop())
                closeMarkedNodes();
        }
        result.grid = model_.grid;
    }

    PlainResult result;

private:
    bool storeSeed() {
        const std::int32_t three = 3, none = 0;
        std::int32_t best = 0;
        double bestDistance = 0.0;
        for (std::int32_t t = 1; t <= model_.surface.triCount(); ++t) {
            double distance = 0.0;
            std::int32_t location = 0;
            npdmpe(model_.settings.seed, model_.vertex(t, 0), model_.vertex(t, 1), model_.vertex(t, 2),
                   &model_.settings.tolerance, &distance, &location);
            if (t == 1 || bestDistance > distance) {
                best = t;
                bestDistance = distance;
            }
        }
        double along[3], back[3], normal[3];
        for (std::size_t k = 0; k < 3; ++k) {
            along[k] = model_.vertex(best, 1)[k] - model_.vertex(best, 0)[k];
            back[k] = model_.vertex(best, 2)[k] - model_.vertex(best, 1)[k];
        }
        parbisfortran(along, back, normal, &three);
        model_.grid.count = 0;
        if (uzprsp(model_.settings.seed, normal, &best, &none, &none, &none, &none, &none, &code()) == 1)
            return false;
        model_.status(1) = DRAPE_NODE_OPEN;
        model_.frontCount = 4;
        for (std::int32_t d = 1; d <= 4; ++d) {
            std::int32_t* front = model_.front(d);
            front[DRAPE_FRONT_DIRECTION] = d;
            front[DRAPE_FRONT_FIRST_NODE] = front[DRAPE_FRONT_LENGTH] = 1;
        }
        return true;
    }

    bool loop() {
        index_ = 1;
        while (model_.frontCount > 0) {
            if (!pass())
                return false;
            while (index_ <= model_.frontCount && model_.front(index_)[DRAPE_FRONT_HOLD_COUNT] != 0)
                --model_.front(index_++)[DRAPE_FRONT_HOLD_COUNT];
            if (index_ > model_.frontCount)
                index_ = 1;
        }
        return true;
    }

    bool pass() {
        ++result.passes;
        if (gzpref(model_.front(index_), &code()) == 1)
            return false;
        length_ = model_.front(index_)[DRAPE_FRONT_LENGTH];
        if (length_ < 1) {
            code() = DRAPE_BAD_ARRAY_SIZE;
            return false;
        }
        rowNodes_.assign(static_cast<std::size_t>(length_), 0);
        rowCrossings_.assign(static_cast<std::size_t>(length_), 0);
        backCrossings_.assign(static_cast<std::size_t>(length_), 0);
        const std::int32_t nodesBefore = model_.grid.count;
        std::int32_t defectCount = 0;
        if (gzprpf(&index_, row_.data(), rowNodes_.data(), rowCrossings_.data(), backCrossings_.data(),
                   &code()) == 1 ||
            gzprde(row_.data(), rowCrossings_.data(), &defectCount, defects_.data(), &code()) == 1)
            return false;
        if (defectCount != 0)
            return repair(defectCount, nodesBefore);
        idle_ = 0;
        return openFronts();
    }

    bool repair(std::int32_t defectCount, std::int32_t nodesBefore) {
        Front before;
        std::copy_n(model_.front(index_), DRAPE_FRONT_FIELDS, before.begin());
        const std::int32_t frontsBefore = model_.frontCount;
        if (gzprge(&index_, &defectCount, defects_.data(), &code()) == 1)
            return false;
        if (model_.grid.count != nodesBefore || model_.frontCount != frontsBefore) {
            idle_ = 0;
            ++result.repairs.at(static_cast<std::size_t>(defects_[DRAPE_DEFECT_KIND]));
            return true;
        }
        if (++idle_ / 2 <= model_.frontCount &&
            !std::equal(before.begin(), before.end(), model_.front(index_)))
            return true;
        code() = DRAPE_REPAIR_CUTS_NOTHING;
        return false;
    }

    bool openFronts() {
        const std::int32_t first = index_;
        if (gzprgf(row_.data(), &index_, rowCrossings_.data(), &code()) == 1)
            return false;
        const std::int32_t last = index_;
        index_ = first;
        for (std::int32_t k = first; k <= last; ++k) {
            std::int32_t corners[10 * DRAPE_CORNER_FIELDS] = {}, cornerCount = 0;
            gzprld(rowNodes_.data(), rowCrossings_.data(), backCrossings_.data(), &length_, &index_, corners,
                   &cornerCount, &code());
            const std::int32_t frontsBefore = model_.frontCount;
            if (gzprlc(corners, &cornerCount, &code()) == 1)
                return false;
            for (std::int32_t c = 0; c < cornerCount; ++c)
                ++result.corners.at(
                    static_cast<std::size_t>(corners[c * DRAPE_CORNER_FIELDS + DRAPE_CORNER_KIND]));
            index_ += model_.frontCount - frontsBefore + 1;
        }
        return true;
    }

    void closeMarkedNodes() {
        for (std::int32_t n = 1; n <= model_.grid.count; ++n)
            if (model_.status(n) == DRAPE_NODE_ACROSS_GAP || model_.status(n) == DRAPE_NODE_CUT)
                model_.status(n) = DRAPE_NODE_CLOSED;
    }

    std::int32_t& code() { return model_.grid.status; }

    PlainModel& model_;
    std::int32_t index_ = 1, length_ = 0, idle_ = 0;
    Front row_{};
    std::array<std::int32_t, 10 * DRAPE_DEFECT_FIELDS> defects_{};
    std::vector<std::int32_t> rowNodes_, rowCrossings_, backCrossings_;
};

inline PlainResult plainRun(const Surface& surface, const Settings& settings) {
    PlainModel model(surface, settings);
    PlainRun run(model);
    run.run();
    return run.result;
}

} // namespace drape_test
