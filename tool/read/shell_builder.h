// A shell mesh as a reader comes by its parts. Elements may stand before their nodes and sets before their
// elements, so numbers are looked up only when all is read.
#pragma once

#include "host/mesh/shell_mesh.h"
#include "tool/read/deck_text.h"

#include <map>
#include <unordered_map>
#include <unordered_set>

namespace tool {

using namespace drape::host;

class ShellBuilder {
public:
    // A number that comes twice is an error unless the point is the same.
    void addPoint(std::int64_t number, const Point& point, const DeckPlace& place);

    // `nodes` are the file's numbers: the corners first, then the middles of the sides.
    void addElement(std::int64_t number, std::size_t corners, const std::vector<std::int64_t>& nodes,
                    std::int64_t property, const DeckPlace& place);

    // An element that is no shell: it isn't read, but sets may name it.
    void addOther(std::int64_t number, const std::string& type);

    // `strict` names have to be there in the end; others, as those of a range, are left out if they aren't.
    void addToElementSet(const std::string& name, std::int64_t number, bool strict, const DeckPlace& place);
    void addToPointSet(const std::string& name, std::int64_t number, const DeckPlace& place);
    bool hasElementSet(const std::string& name) const { return elementSets_.count(name) > 0; }
    bool hasPointSet(const std::string& name) const { return pointSets_.count(name) > 0; }
    // All that one set holds goes into another.
    void copyElementSet(const std::string& from, const std::string& to);
    void copyPointSet(const std::string& from, const std::string& to);

    bool hasElements() const { return !elements_.empty(); }

    // Moves the points from the `first`-th up to but without the `end`-th, as an instance of a part is moved.
    template <class Motion>
    void movePoints(std::size_t first, std::size_t end, const Motion& motion) {
        for (std::size_t k = first; k < end; ++k) {
            points_[k] = motion(points_[k]);
        }
    }
    std::size_t pointCount() const { return points_.size(); }

    // Throws InputError for an element without its nodes or a file without shell elements. Points that no
    // shell element uses are left out.
    ShellMesh finish();

private:
    struct Entry {
        std::int64_t number;
        bool strict;
        DeckPlace place;
    };
    struct Pending {
        ShellElement element;
        std::vector<std::int64_t> nodes;
        DeckPlace place;
    };

    std::vector<NamedSet> finishedElementSets() const;
    std::vector<NamedSet> finishedPointSets(const std::vector<std::int32_t>& newIndex) const;

    std::vector<Point> points_;
    std::vector<std::int64_t> pointNumbers_;
    std::unordered_map<std::int64_t, std::int32_t> pointIndex_, elementIndex_;
    std::vector<Pending> elements_;
    std::unordered_set<std::int64_t> others_;
    std::map<std::string, std::size_t> otherTypes_;
    std::map<std::string, std::vector<Entry>> elementSets_, pointSets_;
};

} // namespace tool
