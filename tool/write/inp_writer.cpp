// CalculiX knows composite sections on S6 and S8R alone, so elements of corners get nodes in the middle of
// their sides there, numbered behind the file's. It reads no more than 20 characters of a number. Where
// neighbours differ in thickness, as sheared cloth makes them, it ties their faces in rigid knots.
#include "host/mesh/text.h"
#include "tool/write/element_stack.h"
#include "tool/write/file_numbers.h"
#include "tool/write/laminate_files.h"

#include <algorithm>
#include <set>
#include <stdexcept>

namespace tool {
namespace {

constexpr int lengthDigits = 12;

std::string component(double value) {
    return fixed(value, 9);
}

std::string vectorText(const Point& v) {
    return component(v[0]) + "," + component(v[1]) + "," + component(v[2]);
}

// A name that decks take.
std::string deckName(const std::string& name) {
    std::string result;
    for (const char c : name) {
        const bool plain = (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || c == '_' || c == '-';
        result += c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : plain ? c : '_';
    }
    return result.empty() || (result[0] >= '0' && result[0] <= '9') ? "M" + result : result.substr(0, 60);
}

// Names that decks take, each once, though theirs know neither small letters nor blanks.
class DeckNames {
public:
    std::string nameFor(const std::string& name) {
        const std::string plain = deckName(name);
        std::string own = plain;
        for (int k = 2; !taken_.insert(own).second; ++k) {
            own = plain + "_" + std::to_string(k);
        }
        return own;
    }

private:
    std::set<std::string> taken_;
};

constexpr std::string_view ownPrefix = "DRAPE_"; // of the sets that the deck makes itself

// Sixteen numbers to a line, as decks of both kinds take.
std::string listed(const std::vector<std::int64_t>& numbers) {
    std::string text;
    for (std::size_t k = 0; k < numbers.size(); ++k) {
        text += std::to_string(numbers[k]) + (k % 16 == 15 || k + 1 == numbers.size() ? ",\n" : ",");
    }
    return text;
}

class InpDeck {
public:
    InpDeck(const LaminateFile& file, InpDialect dialect) : file_(file), dialect_(dialect) {
        const auto& numbers = file.laminate.shell.pointNumbers;
        next_ = numbers.empty() ? 1 : *std::max_element(numbers.begin(), numbers.end()) + 1;
        DeckNames names;
        for (const auto& [name, cloth] : clothsOf(file.laminate)) {
            materialNames_[name] = names.nameFor(name);
        }
    }

    std::string bytes() {
        const ShellMesh& shell = file_.laminate.shell;
        std::string sections;
        collect();
        for (const auto& [card, elements] : sections_) {
            const std::string name = "DRAPE_S" + std::to_string(++sectionCount_);
            sections += "*ELSET, ELSET=" + name + "\n" + listed(elements) + roomForKnots(elements);
            sections += "*SHELL SECTION, COMPOSITE, ELSET=" + name + card.second + "\n" + card.first;
        }
        std::string text = "** " + file_.title + "\n** " +
                           (dialect_ == InpDialect::calculix ? "for CalculiX" : "for Abaqus") +
                           "; loads, supports and steps are to follow\n";
        text += "*NODE, NSET=DRAPE_NODES\n" + nodes_;
        for (const auto& [type, rows] : elements_) {
            text += "*ELEMENT, TYPE=" + type + ", ELSET=DRAPE_ELEMENTS\n" + rows;
        }
        text += rim() + setsOf(shell) + orientations_ + materials() + sections;
        return text;
    }

private:
    void collect() {
        const ShellMesh& shell = file_.laminate.shell;
        written_.assign(shell.points.size(), 0);
        for (std::size_t e = 0; e < shell.elements.size(); ++e) {
            const auto stack = stackOn(file_.laminate, e);
            if (!stack.empty()) {
                addElement(shell.elements[e]);
                addSection(e, stack);
            }
        }
    }

    void addNode(std::int64_t number, const Point& p) {
        nodes_ += std::to_string(number) + "," + fileNumber(p[0], lengthDigits) + "," +
                  fileNumber(p[1], lengthDigits) + "," + fileNumber(p[2], lengthDigits) + "\n";
    }

    std::int64_t numberOf(std::int32_t point) {
        const ShellMesh& shell = file_.laminate.shell;
        if (written_[at(point)] == 0) {
            written_[at(point)] = 1;
            addNode(shell.pointNumbers[at(point)], shell.points[at(point)]);
        }
        return shell.pointNumbers[at(point)];
    }

    std::int64_t middleOf(std::int32_t a, std::int32_t b) {
        const auto [known, isNew] = middles_.emplace(std::minmax(a, b), next_);
        if (isNew) {
            const ShellMesh& shell = file_.laminate.shell;
            addNode(next_++,
                    vec::mix(shell.points[at(std::min(a, b))], shell.points[at(std::max(a, b))], 0.5));
        }
        return known->second;
    }

    void addElement(const ShellElement& element) {
        requireSolverShape(element);
        const std::size_t corners = element.corners;
        std::vector<std::int64_t> nodes;
        for (std::size_t k = 0; k < std::min(element.nodes.size(), 2 * corners); ++k) {
            nodes.push_back(numberOf(element.nodes[k]));
        }
        for (std::size_t k = 0; k < corners && nodes.size() < 2 * corners && dialect_ == InpDialect::calculix;
             ++k) {
            nodes.push_back(middleOf(element.nodes[k], element.nodes[(k + 1) % corners]));
        }
        const bool middles = nodes.size() == 2 * corners;
        for (std::size_t k = 0; k < corners; ++k) {
            Side& side = sides_[std::minmax(element.nodes[k], element.nodes[(k + 1) % corners])];
            ++side.elements;
            side.nodes = {nodes[k], nodes[(k + 1) % corners]};
            if (middles) {
                side.nodes.push_back(nodes[corners + k]);
            }
        }
        const std::string type = corners == 4                       ? (middles ? "S8R" : "S4")
                                 : dialect_ == InpDialect::calculix ? "S6"
                                 : middles                          ? "STRI65"
                                                                    : "S3";
        std::string& rows = elements_[type];
        rows += std::to_string(element.number);
        for (const std::int64_t node : nodes) {
            rows += "," + std::to_string(node);
        }
        rows += "\n";
    }

    std::string orientationOf(const Point& along, const Point& normal) {
        const std::string axes = vectorText(along) + "," + vectorText(vec::cross(normal, along));
        const auto [known, isNew] = orientationNames_.emplace(axes, "");
        if (isNew) {
            known->second = "DRAPE_O" + std::to_string(orientationNames_.size());
            orientations_ += "*ORIENTATION, NAME=" + known->second + ", SYSTEM=RECTANGULAR\n" + axes + "\n";
        }
        return known->second;
    }

    void addSection(std::size_t e, const std::vector<StackedPly>& stack) {
        std::string layers;
        for (const StackedPly& layer : stack) {
            const Cloth& cloth = file_.laminate.plies[layer.ply].wish.cloth;
            requireThickness(cloth);
            layers += fileNumber(layer.thickness) + (dialect_ == InpDialect::calculix ? ",," : ",3,") +
                      materialNames_.at(cloth.name) + "," +
                      orientationOf(layer.fibres->warp, file_.laminate.frames[e].normal) + "\n";
        }
        const StackHeight height = heightOf(stack);
        // From the middle of the shell to the nodes, in thicknesses of the shell.
        const std::string offset = file_.reference == ShellReference::middle
                                       ? ""
                                       : ", OFFSET=" + fileNumber(height.below / height.total - 0.5);
        sections_[{layers, offset}].push_back(file_.laminate.shell.elements[e].number);
    }

    // CalculiX makes room for 20 nodes to a layer of an element for each number in its section's set, and an
    // S8R between knots takes 24; so these sets name their elements twice, which changes no set.
    std::string roomForKnots(const std::vector<std::int64_t>& elements) const {
        return dialect_ == InpDialect::calculix ? listed(elements) : std::string();
    }

    // The file's own sets, as far as they are written, but those of an earlier deck of this kind. A side
    // whose ends belong to a set belongs to it as well.
    std::string setsOf(const ShellMesh& shell) const {
        const auto isOurs = [](const NamedSet& set) { return deckName(set.name).starts_with(ownPrefix); };
        DeckNames elementNames;
        DeckNames pointNames;
        std::string text;
        for (const NamedSet& set : shell.elementSets) {
            if (isOurs(set)) {
                continue;
            }
            std::vector<std::int64_t> numbers;
            for (const std::int32_t e : set.members) {
                if (!stackOn(file_.laminate, at(e)).empty()) {
                    numbers.push_back(shell.elements[at(e)].number);
                }
            }
            text += numbers.empty()
                        ? ""
                        : "*ELSET, ELSET=" + elementNames.nameFor(set.name) + "\n" + listed(numbers);
        }
        for (const NamedSet& set : shell.pointSets) {
            if (isOurs(set)) {
                continue;
            }
            const std::set<std::int32_t> members(set.members.begin(), set.members.end());
            std::vector<std::int64_t> numbers;
            for (const std::int32_t p : set.members) {
                if (written_[at(p)] != 0) {
                    numbers.push_back(shell.pointNumbers[at(p)]);
                }
            }
            for (const auto& [ends, number] : middles_) {
                if (members.count(ends.first) > 0 && members.count(ends.second) > 0) {
                    numbers.push_back(number);
                }
            }
            text +=
                numbers.empty() ? "" : "*NSET, NSET=" + pointNames.nameFor(set.name) + "\n" + listed(numbers);
        }
        return text;
    }

    // Nodes along which the written elements end.
    std::string rim() const {
        std::set<std::int64_t> numbers;
        for (const auto& [ends, side] : sides_) {
            if (side.elements == 1) {
                numbers.insert(side.nodes.begin(), side.nodes.end());
            }
        }
        return numbers.empty() ? "" : "*NSET, NSET=DRAPE_RIM\n" + listed({numbers.begin(), numbers.end()});
    }

    std::string materials() const {
        std::string text;
        for (const auto& [name, cloth] : clothsOf(file_.laminate)) {
            if (!cloth.elasticity) {
                text += "** *MATERIAL, NAME=" + materialNames_.at(name) +
                        " is to be given: the layup names no stiffness\n";
                continue;
            }
            const Elasticity& e = *cloth.elasticity;
            const auto value = [](double x) { return fileNumber(x) + ","; };
            // Through the thickness the cloth is as stiff as across the warp, without a Poisson's ratio: a
            // shell is free to get thinner, but not in a knot, which would make it too stiff.
            text += "*MATERIAL, NAME=" + materialNames_.at(name) + "\n*ELASTIC, TYPE=ENGINEERING CONSTANTS\n";
            text += value(e.e1) + value(e.e2) + value(e.e2) + value(e.nu12) + "0.,0.," + value(e.g12) +
                    fileNumber(e.g13) + "\n" + fileNumber(e.g23) + "\n";
            if (cloth.density && file_.inMillimetres) {
                text += "*DENSITY\n" + fileNumber(*cloth.density * 1e-12) + "\n";
            }
        }
        return text;
    }

    struct Side {
        int elements = 0;
        std::vector<std::int64_t> nodes; // its ends, and its middle if it has one
    };

    const LaminateFile& file_;
    InpDialect dialect_;
    std::int64_t next_ = 1; // number of the next node in the middle of a side
    std::string nodes_, orientations_;
    std::map<std::string, std::string> materialNames_; // by the cloths'
    std::map<std::string, std::string> elements_;      // rows by type
    std::vector<char> written_;                        // per point
    std::map<std::pair<std::int32_t, std::int32_t>, std::int64_t> middles_;
    std::map<std::pair<std::int32_t, std::int32_t>, Side> sides_;
    std::map<std::string, std::string> orientationNames_; // by their axes
    // Elements by the lines of their layers and what else stands on the card.
    std::map<std::pair<std::string, std::string>, std::vector<std::int64_t>> sections_;
    std::size_t sectionCount_ = 0;
};

} // namespace

std::size_t bareElements(const Laminate& laminate) {
    std::size_t bare = 0;
    for (std::size_t e = 0; e < laminate.shell.elements.size(); ++e) {
        bare += stackOn(laminate, e).empty() ? 1 : 0;
    }
    return bare;
}

std::vector<std::string> clothsWithoutStiffness(const Laminate& laminate) {
    std::vector<std::string> names;
    for (const auto& [name, cloth] : clothsOf(laminate)) {
        if (!cloth.elasticity) {
            names.push_back(name);
        }
    }
    return names;
}

std::string laminateInp(const LaminateFile& file, InpDialect dialect) {
    return InpDeck(file, dialect).bytes();
}

} // namespace tool
