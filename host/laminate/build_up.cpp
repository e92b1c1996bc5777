// A vertex is moved so far that the planes of the triangles around it come to lie at their thickness in the
// mean. A triangle that leans over or shrinks to nothing by that is a fold: its corners go back
// together, so that what is held stays smooth.
#include "host/laminate/build_up.h"

#include "host/mesh/text.h"

#include <algorithm>
#include <cmath>

namespace drape::host {

using namespace vec;

namespace {

constexpr int mostRounds = 40;
constexpr double backStep = 0.85;
constexpr double leastCosine = 0.5; // between a triangle's normal before and after
constexpr double leastArea = 0.1;   // of what it was

struct Move {
    std::vector<Point> direction; // per vertex, of unit length
    std::vector<double> way;      // in the mesh's unit
};

Move movesOf(const Mould& mould, const Thickness& thickness) {
    std::vector<Point> normal(mould.positions.size());
    std::vector<double> sum(normal.size(), 0.0);
    std::vector<double> weight(normal.size(), 0.0);
    for (std::size_t t = 0; t < mould.triangleCount(); ++t) {
        for (std::size_t k = 0; k < 3; ++k) {
            const std::size_t v = at(mould.corners[3 * t + k]) - 1;
            const Point a = unit(mould.corner(t, (k + 1) % 3) - mould.corner(t, k));
            const Point b = unit(mould.corner(t, (k + 2) % 3) - mould.corner(t, k));
            const double angle = std::acos(std::clamp(dot(a, b), -1.0, 1.0));
            normal[v] = normal[v] + angle * mould.facets[t].normal;
            sum[v] += angle * thickness[t];
            weight[v] += angle;
        }
    }
    Move move{std::vector<Point>(normal.size()), std::vector<double>(normal.size(), 0.0)};
    for (std::size_t v = 0; v < normal.size(); ++v) {
        move.direction[v] = unit(normal[v]);
        // At a crease the mean normal is shorter than 1, and planes at a distance meet farther out.
        const double height = weight[v] > 0.0 ? length(normal[v]) / weight[v] : 1.0;
        move.way[v] = weight[v] > 0.0 ? sum[v] / weight[v] / std::max(height, leastCosine) : 0.0;
    }
    return move;
}

Point moved(const Mould& mould, const Move& move, std::size_t v) {
    return mould.positions[v] + move.way[v] * move.direction[v];
}

bool folds(const Mould& mould, const Move& move, std::size_t t) {
    const auto corner = [&](std::size_t k) { return moved(mould, move, at(mould.corners[3 * t + k]) - 1); };
    const Point square = cross(corner(1) - corner(0), corner(2) - corner(0));
    const double area = 0.5 * length(square);
    return mould.facets[t].area > 0.0 && (area < leastArea * mould.facets[t].area ||
                                          dot(unit(square), mould.facets[t].normal) < leastCosine);
}

// Brings the corners of a triangle that folds nearer to each other in their ways, and back.
void drawBack(const Mould& mould, std::size_t t, const std::vector<double>& before, double part,
              std::vector<double>& way) {
    double mean = 0.0;
    for (std::size_t k = 0; k < 3; ++k) {
        mean += before[at(mould.corners[3 * t + k]) - 1] / 3.0;
    }
    for (std::size_t k = 0; k < 3; ++k) {
        double& own = way[at(mould.corners[3 * t + k]) - 1];
        own = std::min(own, part * mean);
    }
}

} // namespace

Surface builtUp(const Surface& surface, const Thickness& thickness, Notes& notes) {
    const Mould& mould = *surface.mould;
    Move move = movesOf(mould, thickness);
    const std::vector<double> wanted = move.way;
    for (int round = 0; round <= mostRounds; ++round) {
        const std::vector<double> before = move.way;
        std::size_t folded = 0;
        for (std::size_t t = 0; t < mould.triangleCount(); ++t) {
            if (folds(mould, {move.direction, before}, t)) {
                ++folded;
                drawBack(mould, t, before, round == mostRounds ? 0.0 : backStep, move.way);
            }
        }
        if (folded == 0) {
            break;
        }
    }
    std::size_t held = 0;
    std::size_t worst = 0;
    for (std::size_t v = 0; v < wanted.size(); ++v) {
        held += move.way[v] < wanted[v] ? 1 : 0;
        worst = wanted[v] - move.way[v] > wanted[worst] - move.way[worst] ? v : worst;
    }
    if (held > 0) {
        tell(notes, NoteKind::buildUpHeld,
             "the plies below are " + number(wanted[worst]) + " thick near " +
                 pointText(mould.positions[worst]) +
                 ", more than the radius of the mould there; the surface was moved by " +
                 number(move.way[worst]) + " only, and by less than the thickness at " +
                 counted(held, "vertex", "vertices"));
    }
    Surface result = surface;
    for (std::size_t v = 0; v < wanted.size(); ++v) {
        result.mesh.positions[v] = moved(mould, move, v);
    }
    result.mould = std::make_shared<const Mould>(mouldOf(result.mesh));
    return result;
}

} // namespace drape::host
