// Points that no element names stay: they may carry what a solver's deck says of them.
#include "host/mesh/shell_mesh.h"

#include "host/mesh/error.h"

#include <algorithm>
#include <numeric>

namespace drape::host {
namespace {

char lower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

bool sameName(const std::string& a, const std::string& b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](char x, char y) { return lower(x) == lower(y); });
}

const NamedSet& setNamed(const std::vector<NamedSet>& sets, const std::string& name) {
    const auto found =
        std::find_if(sets.begin(), sets.end(), [&](const NamedSet& set) { return sameName(set.name, name); });
    if (found == sets.end()) {
        std::string there;
        for (const NamedSet& set : sets) {
            there += (there.empty() ? "" : ", ") + set.name;
        }
        throw InputError("there is no set " + name + " of shell elements; " +
                         (there.empty() ? "the file names none" : "the file has " + there));
    }
    return *found;
}

} // namespace

PolygonSoup soupOf(const ShellMesh& shell) {
    PolygonSoup soup;
    soup.points = shell.points;
    soup.polygons.reserve(shell.elements.size());
    for (const ShellElement& element : shell.elements) {
        const auto first = element.nodes.begin();
        soup.polygons.emplace_back(first, first + static_cast<std::ptrdiff_t>(element.corners));
    }
    return soup;
}

ShellMesh shellOf(const PolygonSoup& soup) {
    ShellMesh shell;
    shell.points = soup.points;
    shell.pointNumbers.resize(soup.points.size());
    std::iota(shell.pointNumbers.begin(), shell.pointNumbers.end(), std::int64_t{1});
    shell.elements.reserve(soup.polygons.size());
    for (const auto& polygon : soup.polygons) {
        const auto number = static_cast<std::int64_t>(shell.elements.size()) + 1;
        shell.elements.push_back({number, polygon.size(), polygon, 0});
    }
    return shell;
}

ShellMesh withinSets(const ShellMesh& shell, const std::vector<std::string>& names) {
    std::vector<char> keep(shell.elements.size(), 0);
    for (const std::string& name : names) {
        for (const std::int32_t member : setNamed(shell.elementSets, name).members) {
            keep[at(member)] = 1;
        }
    }
    ShellMesh part;
    part.points = shell.points;
    part.pointNumbers = shell.pointNumbers;
    part.pointSets = shell.pointSets;
    std::vector<std::int32_t> number(keep.size(), -1);
    for (std::size_t e = 0; e < keep.size(); ++e) {
        if (keep[e] != 0) {
            number[e] = static_cast<std::int32_t>(part.elements.size());
            part.elements.push_back(shell.elements[e]);
        }
    }
    for (const NamedSet& set : shell.elementSets) {
        NamedSet kept{set.name, {}};
        for (const std::int32_t member : set.members) {
            if (number[at(member)] >= 0) {
                kept.members.push_back(number[at(member)]);
            }
        }
        if (!kept.members.empty()) {
            part.elementSets.push_back(std::move(kept));
        }
    }
    return part;
}

} // namespace drape::host
