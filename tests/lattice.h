// A registered model for tests of single operations: a level plate, a square lattice of open nodes laid on it
// by hand, and, in place of a real boundary, fences at any place that cross the cell edges chosen for it.
//
// Row r of direction d is what a front of direction d stands on after r steps; its nodes are counted by p in
// the order in which the front runs. So one test serves all four directions.
#pragma once

#include "plain_run.h"

#include <string>
#include <vector>

#include <vector>

namespace drape_test {

// A boundary edge from one point of the plate to another; its surface normal is that of the plate.
struct Fence {
    double x0, y0, x1, y1;
};

// Place of position p in row r of direction d on a lattice of unit cells; neither need be whole.
inline Point latticePoint(int size, std::int32_t d, double r, double p) {
    const double far = size - 1;
    return {d == 1   ? r
            : d == 2 ? far - p
            : d == 3 ? far - r
                     : p,
            d == 1   ? far - p
            : d == 2 ? far - r
            : d == 3 ? p
                     : r,
            0.0};
}

// Fences across the edge between positions p and p + 1 of row r, and across the edge from row r - 1 to row r.
inline Fence rowFence(int size, std::int32_t d, double r, double p) {
    const Point a = latticePoint(size, d, r - 0.3, p + 0.5), b = latticePoint(size, d, r + 0.3, p + 0.5);
    return {a[0], a[1], b[0], b[1]};
}
inline Fence backFence(int size, std::int32_t d, double r, double p) {
    const Point a = latticePoint(size, d, r - 0.5, p - 0.3), b = latticePoint(size, d, r - 0.5, p + 0.3);
    return {a[0], a[1], b[0], b[1]};
}

inline Surface fencedPlate(int size, const std::vector<Fence>& fences) {
    Surface plate = gridSurface(
        size + 4, size + 4,
        [](int i, int j) {
            return Point{i - 2.4, j - 2.3, 0.0};
        },
        everywhere);
    plate.vertBoundary.assign(plate.vertBoundary.size(), 0);
    for (const Fence& f : fences) {
        plate.vertPos.insert(plate.vertPos.end(), {f.x0, f.y0, 0.0, f.x1, f.y1, 0.0});
        plate.vertTriStart.insert(plate.vertTriStart.end(), 2, plate.vertTriCount());
        plate.vertBoundary.insert(plate.vertBoundary.end(), 2, 0);
    }
    return plate;
}

class Lattice : public PlainModel {
public:
    explicit Lattice(int withSize, const std::vector<Fence>& fences = {}, Settings with = {})
        : PlainModel(fencedPlate(withSize, fences), with), size(withSize) {
        fenceIn(static_cast<std::int32_t>(fences.size()));
        registerModel();
        layNodes();
    }

    std::int32_t node(std::int32_t d, int r, int p) const {
        const Point at = latticePoint(size, d, r, p);
        return 1 + static_cast<std::int32_t>(at[0]) + size * static_cast<std::int32_t>(at[1]);
    }
    // Appends a front; what isn't given is 0.
    std::int32_t addFront(std::int32_t d, std::int32_t firstNode, std::int32_t length) {
        std::int32_t* record = front(++frontCount);
        std::fill(record, record + DRAPE_FRONT_FIELDS, 0);
        record[DRAPE_FRONT_DIRECTION] = d;
        record[DRAPE_FRONT_FIRST_NODE] = firstNode;
        record[DRAPE_FRONT_LENGTH] = length;
        return frontCount;
    }
    // A front on the outermost row of direction d.
    std::int32_t addOuterFront(std::int32_t d) { return addFront(d, node(d, size - 1, 0), size); }

    const int size;

private:
    void fenceIn(std::int32_t count) {
        boundaryCount = count;
        for (std::int32_t e = 0; e < count; ++e) {
            const auto k = 3 * static_cast<std::size_t>(e);
            edges[k] = 1;
            edges[k + 1] = surface.vertCount() - 2 * (count - e) + 1;
            edges[k + 2] = edges[k + 1] + 1;
            edgeNormals[k + 2] = 1.0;
        }
    }
    void layNodes() {
        grid.count = size * size;
        for (int j = 0; j < size; ++j)
            for (int i = 0; i < size; ++i) {
                const std::int32_t n = node(4, j, i);
                const double place[3] = {i * settings.stepA, j * settings.stepB, 0.0},
                             up[3] = {0.0, 0.0, 1.0};
                std::copy(place, place + 3, position(n));
                std::copy(up, up + 3, normal(n));
                triangle(n) = triangleAbove(surface, place[0], place[1]);
                grid.nodeI[static_cast<std::size_t>(n - 1)] = i;
                grid.nodeJ[static_cast<std::size_t>(n - 1)] = j;
                link(1, n) = i + 1 < size ? n + 1 : 0;
                link(2, n) = j > 0 ? n - size : 0;
                link(3, n) = i > 0 ? n - 1 : 0;
                link(4, n) = j + 1 < size ? n + size : 0;
            }
    }
};

// '0' open, '1' closed, '2' across a gap, '3' cut; '/' is none of these and above 0.
inline std::int32_t statusOf(char digit) {
    return -(digit - '0');
}
inline void setStatuses(Lattice& model, std::int32_t d, int r, const std::string& statuses) {
    for (std::size_t p = 0; p < statuses.size(); ++p)
        model.status(model.node(d, r, static_cast<int>(p))) = statusOf(statuses[p]);
}
inline std::vector<std::int32_t> counts(const std::string& digits) {
    std::vector<std::int32_t> list;
    for (const char digit : digits)
        list.push_back(digit - '0');
    list.push_back(0); // so that an empty list has an address
    return list;
}

} // namespace drape_test
