// Only where the edge of the cloth passes can a triangle be bare in part. There it is halved down to
// the size of a cell, and each piece is cut to the faces of the pattern as they lie on its plane. The edge is
// looked up in cubes of space whose widths double from a cell's length up, so that large triangles far from
// it aren't halved.
#include "host/cloth/bare_area.h"

#include "host/cloth/cell_cover.h"
#include "host/cloth/face_shadows.h"
#include "host/mesh/nearest_point.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <unordered_map>
#include <unordered_set>

namespace drape::host {

using namespace vec;

namespace {

// In cell lengths.
constexpr double margin = 0.1;       // between a triangle and an edge that doesn't cut it
constexpr double partLength = 0.5;   // of the edge, at most
constexpr double smallestCube = 2.5; // more than a piece, half a part of the edge and the margin reach
constexpr int mostWidths = 24;
constexpr double rounding = 1e-9; // of a piece's area

std::uint64_t keyOf(int width, const Cube& cube) {
    std::uint64_t key = static_cast<std::uint64_t>(width) + 1;
    for (const std::int64_t number : cube) {
        key = (key ^ static_cast<std::uint64_t>(number)) * 0x9e3779b97f4a7c15ULL;
        key ^= key >> 29U;
    }
    return key;
}

class BareArea {
public:
    BareArea(const Mould& mould, const Grid& grid, const Measures& measures,
             const std::vector<NetFace>& faces)
        : mould_(mould), cover_(grid, measures.cells), step_(cover_.cellLength()),
          shadows_(grid, measures.cells, faces) {
        for (const NetLoop& loop : measures.net.loops) {
            markRim(loop);
        }
    }

    std::vector<double> ofTriangles() {
        std::vector<double> bare;
        bare.reserve(mould_.triangleCount());
        for (std::size_t t = 0; t < mould_.triangleCount(); ++t) {
            const auto corner = [&](std::size_t k) { return mould_.corner(t, k); };
            bare.push_back(ofPiece({corner(0), corner(1), corner(2)}, mould_.facets[t]));
        }
        return bare;
    }

private:
    using Triangle = std::array<Point, 3>;
    using Part = std::array<Point, 2>;

    void markRim(const NetLoop& loop) {
        for (std::size_t k = 0; k < loop.rim.size(); ++k) {
            const Point& a = loop.rim[k];
            const Point& b = loop.rim[(k + 1) % loop.rim.size()];
            const double parts = std::ceil(std::max(1.0, finite(distance(a, b) / (partLength * step_))));
            for (double part = 0.0; loop.rimBorders[k] == NetBorder::cloth && part < parts; ++part) {
                const Point from = mix(a, b, part / parts);
                const Point to = mix(a, b, (part + 1.0) / parts);
                const Point middle = mix(from, to, 0.5);
                double width = smallestCube * step_;
                rim_[keyOf(0, cubeOf(middle, width))].push_back({from, to});
                for (int w = 1; w < mostWidths; ++w) {
                    width *= 2.0;
                    wide_.insert(keyOf(w, cubeOf(middle, width)));
                }
            }
        }
    }

    bool isSmall(const Facet& facet) const {
        return facet.reach <= FaceShadows::largestPiece * shadows_.cellLength();
    }

    bool canMeetRim(const Facet& facet) {
        const double reach = facet.reach + margin * step_;
        double width = smallestCube * step_;
        int w = 0;
        for (; w < mostWidths && width < reach + partLength * step_; ++w) {
            width *= 2.0;
        }
        const Cube cube = cubeOf(facet.centroid, width);
        if (w > 0) {
            return anyAround(
                cube, [&](const Cube& near) { return w == mostWidths || wide_.count(keyOf(w, near)) > 0; });
        }
        const std::vector<Part>& parts = partsAround(cube);
        return std::any_of(parts.begin(), parts.end(), [&](const Part& part) {
            return distance(facet.centroid, nearestOnSegment(part[0], part[1], facet.centroid)) <= reach;
        });
    }

    // The edge of the cloth in a smallest cube and around it; the next triangle is likely to ask for the
    // same.
    const std::vector<Part>& partsAround(const Cube& cube) {
        if (cube != lastCube_) {
            lastCube_ = cube;
            parts_.clear();
            anyAround(cube, [&](const Cube& near) {
                const auto found = rim_.find(keyOf(0, near));
                if (found != rim_.end()) {
                    parts_.insert(parts_.end(), found->second.begin(), found->second.end());
                }
                return false;
            });
        }
        return parts_;
    }

    double besideCells(const Triangle& corners, const Facet& facet) {
        const PlaneOfTriangle plane(corners, facet);
        std::vector<std::vector<std::vector<FlatPoint>>> shapes(2);
        shapes[0].push_back({plane.of(corners[0]), plane.of(corners[1]), plane.of(corners[2])});
        shadows_.onto(plane, shadowHint_, [&](std::size_t face, bool showsBack) {
            if (!showsBack) {
                shadows_.polygonsOn(face, plane, polygons_);
                shapes[1].insert(shapes[1].end(), polygons_.begin(), polygons_.end());
            }
            return true;
        });
        double bare = facet.area;
        for (const auto& polygon : overlapOf(shapes)) {
            bare -= signedArea(polygon);
        }
        return bare > rounding * facet.area ? bare : 0.0;
    }

    double ofPiece(const Triangle& corners, const Facet& facet) {
        if (!canMeetRim(facet)) {
            return cover_.coverOf(facet, hint_) == Cover::none ? facet.area : 0.0;
        }
        if (isSmall(facet)) {
            return besideCells(corners, facet);
        }
        double bare = 0.0;
        for (const Triangle& half : halvesOf(corners)) {
            bare += ofPiece(half, facetOf(half[0], half[1], half[2]));
        }
        return bare;
    }

    const Mould& mould_;
    CellCover cover_;
    CellCover::Hint hint_;
    double step_; // longest side of a cell
    FaceShadows shadows_;
    FaceShadows::Hint shadowHint_;
    std::vector<std::vector<FlatPoint>> polygons_;
    std::unordered_map<std::uint64_t, std::vector<Part>> rim_; // the edge of the cloth, by its smallest cubes
    std::unordered_set<std::uint64_t> wide_;                   // larger cubes in which the cloth ends
    std::optional<Cube> lastCube_;                             // that was asked for,
    std::vector<Part> parts_;                                  // and what lies around it
};

} // namespace

std::vector<double> bareAreas(const Mould& mould, const Grid& grid, const Measures& measures,
                              const std::vector<NetFace>& faces) {
    return BareArea(mould, grid, measures, faces).ofTriangles();
}

} // namespace drape::host
