// The file is sections, each from a line $Name to a line $EndName. Physical groups of surfaces are sets under
// their names or numbers, and the surfaces themselves are sets FACE<number>.
#include "host/mesh/error.h"
#include "tool/read/shell_builder.h"
#include "tool/read/shell_readers.h"

#include <limits>

namespace tool {
namespace {

// A surface element by the number of its type; entries without corners are other elements.
struct Shape {
    std::size_t corners = 0;
    std::size_t nodes = 0;
};
Shape shapeOf(std::int64_t type) {
    switch (type) {
    case 2:
        return {3, 3};
    case 3:
        return {4, 4};
    case 9:
        return {3, 6};
    case 10:
        return {4, 9};
    case 16:
        return {4, 8};
    default:
        return {};
    }
}

// Of a group's number; a minus says that the surface is turned over in it.
std::int64_t magnitude(std::int64_t group) {
    return group >= 0 ? group : group == std::numeric_limits<std::int64_t>::min() ? 0 : -group;
}

class GmshReader {
public:
    explicit GmshReader(const std::string& path) : lines_(linesOfFile(path)) {}

    ShellMesh read() {
        while (at_ < lines_.size()) {
            const std::string_view head = trimmed(lines_[at_++]);
            if (head.empty()) {
                continue;
            }
            if (!head.starts_with('$')) {
                failAt(place(), "a section was to begin here");
            }
            const std::string name(head.substr(1));
            if (!isVersionKnown_ && name != "MeshFormat" && name != "Comments") {
                failAt(place(), "the file doesn't begin with its format");
            }
            readSection(name);
            skipTo("$End" + name);
        }
        return builder_.finish();
    }

private:
    DeckPlace place() const { return {at_, ""}; }

    const std::string& next() {
        if (at_ >= lines_.size()) {
            failAt(place(), "the file ends in the middle of a section");
        }
        return lines_[at_++];
    }

    std::vector<std::string_view> fields(std::size_t least) {
        auto words = wordsOf(next());
        if (words.size() < least) {
            failAt(place(), "the line has " + std::to_string(words.size()) + " values instead of " +
                                std::to_string(least));
        }
        return words;
    }

    std::int64_t whole(std::string_view text) const { return deckWhole(text, place(), "the value"); }
    double real(std::string_view text) const { return deckNumber(text, place(), "the value"); }

    void skipTo(const std::string& end) {
        const std::size_t begin = at_;
        while (at_ < lines_.size()) {
            if (trimmed(lines_[at_++]) == end) {
                return;
            }
        }
        failAt({begin, ""}, "the section has no " + end);
    }

    void readSection(const std::string& name) {
        if (name == "MeshFormat") {
            readFormat();
        } else if (name == "PhysicalNames") {
            for (std::int64_t left = whole(fields(1)[0]); left > 0; --left) {
                const auto words = fields(3);
                const std::string& line = lines_[at_ - 1];
                const std::size_t from = line.find('"');
                const std::size_t to = line.rfind('"');
                if (words[0] == "2" && from < to) {
                    names_[whole(words[1])] = line.substr(from + 1, to - from - 1);
                }
            }
        } else if (name == "Entities" && isVersion4_) {
            readEntities();
        } else if (name == "Nodes") {
            isVersion4_ ? readNodeBlocks() : readNodes();
        } else if (name == "Elements") {
            isVersion4_ ? readElementBlocks() : readElements();
        }
    }

    void readFormat() {
        const auto words = fields(3);
        const double version = real(words[0]);
        if (words[1] != "0") {
            failAt(place(),
                   "the mesh is written in binary; write it as text (gmsh -bin 0, or -format msh41)");
        }
        isVersion4_ = version >= 4.1 && version < 5.0;
        if (!isVersion4_ && !(version >= 2.0 && version < 3.0)) {
            failAt(place(), "version " + std::string(words[0]) + " isn't read; 2.2 and 4.1 are");
        }
        isVersionKnown_ = true;
    }

    void readNodes() {
        for (std::int64_t left = whole(fields(1)[0]); left > 0; --left) {
            const auto words = fields(4);
            builder_.addPoint(whole(words[0]), {real(words[1]), real(words[2]), real(words[3])}, place());
        }
    }

    void readElements() {
        for (std::int64_t left = whole(fields(1)[0]); left > 0; --left) {
            const auto words = fields(3);
            const std::int64_t tags = whole(words[2]);
            if (tags < 0 || static_cast<std::size_t>(tags) + 3 > words.size()) {
                failAt(place(), "the line has fewer tags than it says");
            }
            const std::int64_t physical = tags > 0 ? whole(words[3]) : 0;
            const std::int64_t face = tags > 1 ? whole(words[4]) : 0;
            take(whole(words[0]), whole(words[1]), {words.begin() + 3 + tags, words.end()},
                 physical != 0 ? std::vector{physical} : std::vector<std::int64_t>{}, face);
        }
    }

    void take(std::int64_t number, std::int64_t type, const std::vector<std::string_view>& nodes,
              const std::vector<std::int64_t>& groups, std::int64_t face) {
        const Shape shape = shapeOf(type);
        if (shape.corners == 0) {
            builder_.addOther(number, std::to_string(type));
            return;
        }
        if (nodes.size() != shape.nodes) {
            failAt(place(), "element " + std::to_string(number) + " has " + std::to_string(nodes.size()) +
                                " nodes instead of " + std::to_string(shape.nodes));
        }
        std::vector<std::int64_t> numbers;
        for (const std::string_view node : nodes) {
            numbers.push_back(whole(node));
        }
        builder_.addElement(number, shape.corners, numbers, face, place());
        for (const std::int64_t group : groups) {
            const auto name = names_.find(magnitude(group));
            builder_.addToElementSet(name == names_.end() ? std::to_string(magnitude(group)) : name->second,
                                     number, true, place());
        }
        builder_.addToElementSet("FACE" + std::to_string(face), number, true, place());
    }

    // Points, curves, surfaces and volumes; only what groups the surfaces belong to is kept.
    void readEntities() {
        const auto counts = fields(4);
        const std::int64_t points = whole(counts[0]);
        const std::int64_t curves = whole(counts[1]);
        const std::int64_t surfaces = whole(counts[2]);
        for (std::int64_t left = points + curves; left > 0; --left) {
            next();
        }
        for (std::int64_t left = surfaces; left > 0; --left) {
            const auto words = fields(8);
            const std::int64_t groups = whole(words[7]);
            for (std::int64_t k = 0; k < groups && static_cast<std::size_t>(8 + k) < words.size(); ++k) {
                groups_[whole(words[0])].push_back(whole(words[static_cast<std::size_t>(8 + k)]));
            }
        }
    }

    void readNodeBlocks() {
        for (std::int64_t blocks = whole(fields(4)[0]); blocks > 0; --blocks) {
            const auto head = fields(4);
            const std::int64_t count = whole(head[3]);
            std::vector<std::int64_t> numbers;
            for (std::int64_t left = count; left > 0; --left) {
                numbers.push_back(whole(fields(1)[0]));
            }
            for (const std::int64_t number : numbers) {
                const auto words = fields(3);
                builder_.addPoint(number, {real(words[0]), real(words[1]), real(words[2])}, place());
            }
        }
    }

    void readElementBlocks() {
        for (std::int64_t blocks = whole(fields(4)[0]); blocks > 0; --blocks) {
            const auto head = fields(4);
            const bool surface = whole(head[0]) == 2;
            const std::int64_t face = surface ? whole(head[1]) : 0;
            const std::int64_t type = whole(head[2]);
            const auto groups = groups_.find(face);
            for (std::int64_t left = whole(head[3]); left > 0; --left) {
                const auto words = fields(2);
                take(whole(words[0]), type, {words.begin() + 1, words.end()},
                     surface && groups != groups_.end() ? groups->second : std::vector<std::int64_t>{}, face);
            }
        }
    }

    std::vector<std::string> lines_;
    std::size_t at_ = 0;
    bool isVersion4_ = false;
    bool isVersionKnown_ = false;
    std::map<std::int64_t, std::string> names_;                // of physical groups
    std::map<std::int64_t, std::vector<std::int64_t>> groups_; // of a surface
    ShellBuilder builder_;
};

} // namespace

ShellMesh readGmshMesh(const std::string& path) {
    return GmshReader(path).read();
}

} // namespace tool
