// The mean normal, each triangle weighing by its area, says how far a surface faces a direction: 1 for a
// plate square to it, 0 for a closed surface. Where it faces none, the normals of a tube or a ball still
// point away from its middle or towards it.
#include "host/mesh/side.h"

#include "host/mesh/error.h"
#include "host/mesh/surface_point.h"
#include "host/mesh/text.h"

#include <algorithm>
#include <cmath>

namespace drape::host {

using namespace vec;

namespace {

// How far a surface has to face a direction: well above what rounding in a file can change.
constexpr double clear = 0.1;
constexpr double clearToName = 0.02; // a direction that somebody chose is taken at less

Point areaNormal(const TriangleMesh& mesh, std::size_t t) {
    const Point& a = mesh.corner(t, 0);
    return 0.5 * cross(mesh.corner(t, 1) - a, mesh.corner(t, 2) - a);
}

Point meanNormal(const TriangleMesh& mesh) {
    Point sum{};
    double area = 0.0;
    for (std::size_t t = 0; t < mesh.triangles.size(); ++t) {
        const Point normal = areaNormal(mesh, t);
        sum = sum + normal;
        area += length(normal);
    }
    return area > 0.0 ? (1.0 / area) * sum : sum;
}

// From 1, all normals away from the middle, to -1.
double outwardness(const TriangleMesh& mesh) {
    const Point middle = centroidOf(mesh);
    double sum = 0.0;
    double whole = 0.0;
    for (std::size_t t = 0; t < mesh.triangles.size(); ++t) {
        const Point arm = centreOf(mesh, t) - middle;
        const Point normal = areaNormal(mesh, t);
        sum += dot(normal, arm);
        whole += length(normal) * length(arm);
    }
    return whole > 0.0 ? sum / whole : 0.0;
}

struct Facing {
    Side side;
    double share; // of the surface that faces it, less the share that faces away
};

Facing usualFacing(const TriangleMesh& mesh, const Point& mean) {
    for (const Point& axis : {Point{0.0, 0.0, 1.0}, Point{0.0, 1.0, 0.0}, Point{1.0, 0.0, 0.0}}) {
        if (std::abs(dot(mean, axis)) >= clear) {
            return {{SideRule::usual, axis}, dot(mean, axis)};
        }
    }
    const double outward = outwardness(mesh);
    return {{std::abs(outward) >= clear ? SideRule::outward : SideRule::asWound, {}}, outward};
}

Facing namedFacing(const TriangleMesh& mesh, const Point& mean, const Point& wanted, std::size_t atSeed) {
    double share = dot(mean, unit(wanted));
    if (std::abs(share) < clearToName) {
        share = dot(normalOf(mesh, atSeed), unit(wanted));
    }
    if (std::abs(share) < clearToName) {
        throw InputError("neither side of the surface faces " + pointText(wanted) + " more than the other",
                         Refusal::noSuchSide);
    }
    return {{SideRule::named, unit(wanted)}, share};
}

} // namespace

Side turnToSide(Sheet& sheet, const std::optional<Point>& wanted, std::size_t atSeed, Notes& notes) {
    const TriangleMesh& mesh = sheet.mesh;
    const Point mean = meanNormal(mesh);
    const Facing facing = wanted ? namedFacing(mesh, mean, *wanted, atSeed) : usualFacing(mesh, mean);
    if (facing.side.rule == SideRule::asWound) {
        tell(notes, NoteKind::sideUnclear,
             "the surface faces no side more than another; the cloth lies on the one from which the corners "
             "of "
             "its faces run anticlockwise");
    } else if (facing.share < 0.0) {
        turnOver(sheet);
        tell(notes, NoteKind::turnedToSide,
             "the faces look the other way in the file; the cloth lies on the side " + textOf(facing.side));
    }
    return facing.side;
}

std::string textOf(const Side& side) {
    constexpr std::array<const char*, 3> axes{"x", "y", "z"};
    switch (side.rule) {
    case SideRule::outward:
        return "outward";
    case SideRule::asWound:
        return "as the file winds its faces";
    case SideRule::named:
    case SideRule::usual:
        break;
    }
    for (std::size_t k = 0; k < 3; ++k) {
        if (std::abs(side.towards[k]) == 1.0) {
            return std::string("towards ") + (side.towards[k] > 0.0 ? "+" : "-") + axes[k];
        }
    }
    return "towards " + pointText(side.towards);
}

} // namespace drape::host
