// A surface mesh as a solver's file holds it: points and elements with numbers of their own, and named sets
// of both. The polygons that are draped come from it, and what is handed back to a solver goes by its
// numbers.
#pragma once

#include "host/mesh/triangle_mesh.h"

#include <string>

namespace drape::host {

struct ShellElement {
    std::int64_t number = 0;         // as the file counts
    std::size_t corners = 3;         // 3 or more; the first entries of `nodes`, going round
    std::vector<std::int32_t> nodes; // 0-based points; behind the corners those in the middle of the sides,
                                     // from the side between corners 1 and 2 on, and one inside if there is
    std::int64_t property = 0;       // number of its section in the file, 0 where files have none
};

struct NamedSet {
    std::string name;
    std::vector<std::int32_t> members; // 0-based points or elements, in the file's order
};

struct ShellMesh {
    std::vector<Point> points;
    std::vector<std::int64_t> pointNumbers;
    std::vector<ShellElement> elements;
    std::vector<NamedSet> elementSets;
    std::vector<NamedSet> pointSets;
};

// One polygon per element, in their order.
PolygonSoup soupOf(const ShellMesh& shell);

// Points and faces that count from 1, as those of files without numbers do.
ShellMesh shellOf(const PolygonSoup& soup);

// The elements of the named sets together, in the order of the mesh, with all points and the other sets as
// far as they hold some of these. Case makes no difference. Throws InputError with the sets that there are.
ShellMesh withinSets(const ShellMesh& shell, const std::vector<std::string>& names);

} // namespace drape::host
