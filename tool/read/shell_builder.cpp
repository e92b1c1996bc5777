// Sets keep a member once, where it's named first.
#include "tool/read/shell_builder.h"

#include "host/mesh/error.h"

#include <utility>

namespace tool {
namespace {

// Numbers of the library's arrays are 32 bits wide.
constexpr std::size_t mostEntries = 500000000;

template <class Sets>
void copySet(Sets& sets, const std::string& from, const std::string& to) {
    const auto entries = sets[from]; // a copy, since the two may be one
    auto& target = sets[to];
    target.insert(target.end(), entries.begin(), entries.end());
}

} // namespace

void ShellBuilder::addPoint(std::int64_t number, const Point& point, const DeckPlace& place) {
    if (number < 0) {
        failAt(place, "the node number " + std::to_string(number) + " is below 0");
    }
    if (points_.size() >= mostEntries) {
        failAt(place, "there are too many nodes");
    }
    const auto [known, isNew] = pointIndex_.emplace(number, static_cast<std::int32_t>(points_.size()));
    if (!isNew) {
        if (points_[at(known->second)] != point) {
            failAt(place,
                   "node " + std::to_string(number) + " stands in the file twice, at different places");
        }
        return;
    }
    points_.push_back(point);
    pointNumbers_.push_back(number);
}

void ShellBuilder::addElement(std::int64_t number, std::size_t corners,
                              const std::vector<std::int64_t>& nodes, std::int64_t property,
                              const DeckPlace& place) {
    if (number < 0) {
        failAt(place, "the element number " + std::to_string(number) + " is below 0");
    }
    if (elements_.size() >= mostEntries) {
        failAt(place, "there are too many elements");
    }
    if (!elementIndex_.emplace(number, static_cast<std::int32_t>(elements_.size())).second ||
        others_.count(number) > 0) {
        failAt(place, "element " + std::to_string(number) + " stands in the file twice");
    }
    ShellElement element;
    element.number = number;
    element.corners = corners;
    element.property = property;
    elements_.push_back({std::move(element), nodes, place});
}

void ShellBuilder::addOther(std::int64_t number, const std::string& type) {
    others_.insert(number);
    ++otherTypes_[type];
}

void ShellBuilder::addToElementSet(const std::string& name, std::int64_t number, bool strict,
                                   const DeckPlace& place) {
    elementSets_[name].push_back({number, strict, place});
}

void ShellBuilder::addToPointSet(const std::string& name, std::int64_t number, const DeckPlace& place) {
    pointSets_[name].push_back({number, false, place});
}

void ShellBuilder::copyElementSet(const std::string& from, const std::string& to) {
    copySet(elementSets_, from, to);
}

void ShellBuilder::copyPointSet(const std::string& from, const std::string& to) {
    copySet(pointSets_, from, to);
}

std::vector<NamedSet> ShellBuilder::finishedElementSets() const {
    std::vector<NamedSet> sets;
    for (const auto& [name, entries] : elementSets_) {
        NamedSet set{name, {}};
        std::unordered_set<std::int32_t> taken;
        for (const Entry& entry : entries) {
            const auto found = elementIndex_.find(entry.number);
            if (found == elementIndex_.end()) {
                if (entry.strict && others_.count(entry.number) == 0) {
                    failAt(entry.place, "the set " + name + " names element " + std::to_string(entry.number) +
                                            ", which isn't in the file");
                }
            } else if (taken.insert(found->second).second) {
                set.members.push_back(found->second);
            }
        }
        if (!set.members.empty()) {
            sets.push_back(std::move(set));
        }
    }
    return sets;
}

std::vector<NamedSet> ShellBuilder::finishedPointSets(const std::vector<std::int32_t>& newIndex) const {
    std::vector<NamedSet> sets;
    for (const auto& [name, entries] : pointSets_) {
        NamedSet set{name, {}};
        std::unordered_set<std::int32_t> taken;
        for (const Entry& entry : entries) {
            const auto found = pointIndex_.find(entry.number);
            const std::int32_t index = found == pointIndex_.end() ? -1 : newIndex[at(found->second)];
            if (index >= 0 && taken.insert(index).second) {
                set.members.push_back(index);
            }
        }
        if (!set.members.empty()) {
            sets.push_back(std::move(set));
        }
    }
    return sets;
}

ShellMesh ShellBuilder::finish() {
    if (elements_.empty()) {
        std::string seen;
        for (const auto& [type, count] : otherTypes_) {
            seen += (seen.empty() ? "" : ", ") + std::to_string(count) + " of type " + type;
        }
        throw InputError("it holds no shell elements" + (seen.empty() ? "" : ", only " + seen));
    }
    ShellMesh shell;
    std::vector<std::int32_t> newIndex(points_.size(), -1);
    for (Pending& pending : elements_) {
        for (const std::int64_t node : pending.nodes) {
            const auto found = pointIndex_.find(node);
            if (found == pointIndex_.end()) {
                failAt(pending.place, "element " + std::to_string(pending.element.number) + " names node " +
                                          std::to_string(node) + ", which isn't in the file");
            }
            newIndex[at(found->second)] = 0;
            pending.element.nodes.push_back(found->second);
        }
    }
    for (std::size_t p = 0; p < points_.size(); ++p) {
        if (newIndex[p] == 0) {
            newIndex[p] = static_cast<std::int32_t>(shell.points.size());
            shell.points.push_back(points_[p]);
            shell.pointNumbers.push_back(pointNumbers_[p]);
        }
    }
    for (Pending& pending : elements_) {
        for (std::int32_t& node : pending.element.nodes) {
            node = newIndex[at(node)];
        }
        shell.elements.push_back(std::move(pending.element));
    }
    shell.elementSets = finishedElementSets();
    shell.pointSets = finishedPointSets(newIndex);
    return shell;
}

} // namespace tool
