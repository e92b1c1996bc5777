// A quad with nodes in the middle of its sides counts its angle from the line between those of the sides 4-1
// and 2-3, every other element from its side 1-2.
#include "tool/write/bulk_mesh.h"

#include "tool/write/element_stack.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <stdexcept>

namespace tool {

using namespace drape::host::vec;

namespace {

// Degrees from an element's side 1-2 to the direction from which its angle counts.
double sideToAxis(const Laminate& laminate, std::size_t e) {
    const ShellElement& element = laminate.shell.elements[e];
    if (element.corners != 4 || element.nodes.size() < 8) {
        return 0.0;
    }
    const auto place = [&](std::size_t k) { return laminate.shell.points[at(element.nodes[k])]; };
    const ElementFrame& frame = laminate.frames[e];
    const Point along = place(5) - place(7);
    return std::atan2(dot(frame.normal, cross(frame.side, along)), dot(frame.side, along)) * 180.0 /
           std::numbers::pi;
}

} // namespace

std::map<std::string, std::int64_t> materialNumbers(const Laminate& laminate) {
    std::map<std::string, std::int64_t> numbers;
    std::int64_t number = 0;
    for (const auto& [name, cloth] : clothsOf(laminate)) {
        numbers[name] = ++number;
    }
    return numbers;
}

std::string bulkMaterials(const LaminateFile& file) {
    const auto numbers = materialNumbers(file.laminate);
    std::string text;
    for (const auto& [name, cloth] : clothsOf(file.laminate)) {
        const std::string number = bulkWhole(numbers.at(name));
        text += "$ cloth " + name + "\n";
        if (!cloth.elasticity) {
            text += "$ MAT8 " + number + " is to be given: the layup names no stiffness\n";
            continue;
        }
        const Elasticity& e = *cloth.elasticity;
        text +=
            bulkCard("MAT8", {number, bulkReal(e.e1), bulkReal(e.e2), bulkReal(e.nu12), bulkReal(e.g12),
                              bulkReal(e.g13), bulkReal(e.g23),
                              cloth.density && file.inMillimetres ? bulkReal(*cloth.density * 1e-12) : ""});
    }
    return text;
}

std::string bulkNodes(const Laminate& laminate) {
    const ShellMesh& shell = laminate.shell;
    std::vector<char> used(shell.points.size(), 0);
    for (std::size_t e = 0; e < shell.elements.size(); ++e) {
        if (!stackOn(laminate, e).empty()) {
            for (const std::int32_t node : shell.elements[e].nodes) {
                used[at(node)] = 1;
            }
        }
    }
    std::string grids;
    for (std::size_t p = 0; p < used.size(); ++p) {
        grids += used[p] != 0 ? bulkGrid(shell.pointNumbers[p], shell.points[p]) : std::string();
    }
    return grids;
}

std::string bulkElement(const Laminate& laminate, std::size_t e, std::int64_t property, double degrees) {
    const ShellElement& element = laminate.shell.elements[e];
    requireSolverShape(element);
    const bool middles = element.nodes.size() > element.corners;
    const std::size_t nodes = std::min(element.nodes.size(), 2 * element.corners);
    std::vector<std::string> fields{bulkWhole(element.number), bulkWhole(property)};
    for (std::size_t k = 0; k < nodes; ++k) {
        fields.push_back(bulkWhole(laminate.shell.pointNumbers[at(element.nodes[k])]));
    }
    if (element.corners == 4 && middles) {
        fields.resize(fields.size() + 4); // thicknesses at the corners
    }
    fields.push_back(bulkReal(bulkAngle(degrees - sideToAxis(laminate, e))));
    return bulkCard(element.corners == 3 ? (middles ? "CTRIA6" : "CTRIA3") : (middles ? "CQUAD8" : "CQUAD4"),
                    fields);
}

} // namespace tool
