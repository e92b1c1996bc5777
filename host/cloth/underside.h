// The part of the mould underneath one cell.
#pragma once

#include "host/cloth/edge_image.h"
#include "host/cloth/mould.h"

namespace drape::host {

// What a search underneath cells works with; the marks are its own.
struct RegionSearch {
    const Mould& mould;
    const MouldEdges& edges;
    double step;                        // the longer cell length
    std::vector<std::uint32_t> reached; // per triangle, the last search that came to it
    std::uint32_t searches = 0;
};

// A node from which the mould is seen: an open corner of a cell and the triangle on which it lies, 0-based.
struct Foothold {
    Point position;
    std::int32_t triangle;
};

Segment segmentOf(const Mould& mould, std::int32_t from, std::int32_t to);

// A part of a boundary edge inside a cell.
struct EdgePart {
    std::int32_t edge;
    Samples samples;
    bool used = false; // for those who join them
};

// The walk over the mould underneath one cell; one at a time per search.
class Underside {
public:
    Underside(const CellMap& cell, const Fence& fence, RegionSearch& search);

    // Marks the triangles around a foothold.
    void reachFrom(const Foothold& foothold);

    // Then all that hang together with them under the cell.
    void reachOn();

    // Or only until it has come to the triangle of each part that it can come to, straight at it. From there
    // it goes on along the mould's edge as far as that stays inside the cell.
    void reachOn(const std::vector<EdgePart>& parts);

    // Whether mould lies under the cell right beside a foothold's corner.
    bool carries(const Foothold& foothold) const;

    const std::vector<std::int32_t>& found() const { return found_; }

    bool has(std::int32_t triangle) const { return search_.reached[at(triangle)] == search_.searches; }

private:
    bool liesOver(const Point& p, std::int32_t triangle) const;
    void add(std::int32_t triangle);
    void stepUnder(std::int32_t triangle);
    double squareBetween(std::int32_t t, std::int32_t u) const;
    void reachStraight(std::int32_t wanted);
    void follow(std::size_t first, const std::vector<EdgePart>& parts, std::vector<char>& followed);
    std::int32_t edgeRound(std::int32_t edge, bool forward);
    template <class Passes>
    void step(std::int32_t triangle, Passes passes);

    using Open = std::pair<double, std::int32_t>; // the square of its distance from a wanted one, a triangle

    const CellMap& cell_;
    EdgesInside inside_;
    Point normal_;
    RegionSearch& search_;
    std::vector<std::int32_t> found_;
    std::vector<Open> open_; // found and not gone on from
    std::size_t listed_ = 0; // of those found, how many have been open
};

// The triangles that hang together underneath the cell with the ones around its footholds, rising.
std::vector<std::int32_t> trianglesUnder(const CellMap& cell, const std::vector<Foothold>& footholds,
                                         RegionSearch& search);

} // namespace drape::host
