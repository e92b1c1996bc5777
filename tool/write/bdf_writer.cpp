// A Nastran bulk deck: one PCOMP for each stack of plies and angles between them, and on each element the
// angle THETA from its side 1-2 to the lowest ply's warp, from which the PCOMP counts.
#include "tool/write/bulk_cards.h"
#include "tool/write/element_stack.h"
#include "tool/write/laminate_files.h"

#include <stdexcept>

namespace tool {
namespace {

class BdfDeck {
public:
    explicit BdfDeck(const LaminateFile& file) : file_(file) {
        std::int64_t number = 0;
        for (const auto& [name, cloth] : clothsOf(file.laminate)) {
            materials_[name] = ++number;
        }
    }

    std::string bytes() {
        const ShellMesh& shell = file_.laminate.shell;
        std::vector<char> used(shell.points.size(), 0);
        for (std::size_t e = 0; e < shell.elements.size(); ++e) {
            const auto stack = stackOn(file_.laminate, e);
            if (!stack.empty()) {
                addElement(e, stack);
                for (const std::int32_t node : shell.elements[e].nodes) {
                    used[at(node)] = 1;
                }
            }
        }
        std::string grids;
        for (std::size_t p = 0; p < used.size(); ++p) {
            grids += used[p] != 0 ? bulkGrid(shell.pointNumbers[p], shell.points[p]) : std::string();
        }
        return "$ " + file_.title + "\n$ bulk data; loads, supports and cases are to be added\n" + grids +
               elements_ + sectionCards_ + materialCards();
    }

private:
    void addElement(std::size_t e, const std::vector<StackedPly>& stack) {
        const ShellElement& element = file_.laminate.shell.elements[e];
        if (element.corners > 4) {
            throw std::runtime_error("element " + std::to_string(element.number) + " has " +
                                     std::to_string(element.corners) +
                                     " corners, and solvers take three or four");
        }
        const bool middles = element.nodes.size() > element.corners;
        const std::size_t nodes = std::min(element.nodes.size(), 2 * element.corners);
        std::vector<std::string> fields{bulkWhole(element.number), bulkWhole(sectionOf(e, stack))};
        for (std::size_t k = 0; k < nodes; ++k) {
            fields.push_back(bulkWhole(file_.laminate.shell.pointNumbers[at(element.nodes[k])]));
        }
        if (element.corners == 4 && middles) {
            fields.resize(fields.size() + 4); // thicknesses at the corners
        }
        fields.push_back(bulkReal(fibreAngle(stack.front().fibres->toSide)));
        const std::string kind =
            element.corners == 3 ? (middles ? "CTRIA6" : "CTRIA3") : (middles ? "CQUAD8" : "CQUAD4");
        elements_ += bulkCard(kind, fields);
    }

    std::int64_t sectionOf(std::size_t e, const std::vector<StackedPly>& stack) {
        std::vector<std::string> layers;
        double total = 0.0;
        for (const StackedPly& layer : stack) {
            const Cloth& cloth = file_.laminate.plies[layer.ply].wish.cloth;
            if (!(layer.thickness > 0.0)) {
                throw std::runtime_error("the cloth " + cloth.name +
                                         " has no thickness, which a composite section takes");
            }
            total += layer.thickness;
            layers.insert(layers.end(), {bulkWhole(materials_.at(cloth.name)), bulkReal(layer.thickness),
                                         bulkReal(fibreAngle(layer.fibres->toSide -
                                                             fibreAngle(stack.front().fibres->toSide))),
                                         "YES"});
        }
        const double bottom = file_.reference == ShellReference::middle ? -0.5 * total
                              : liesAbove(file_.laminate, e)            ? 0.0
                                                                        : -total;
        layers.insert(layers.begin(), {bulkReal(bottom), "", "", "", "", "", ""});
        const auto [known, isNew] =
            sections_.emplace(layers, static_cast<std::int64_t>(sections_.size()) + 1);
        if (isNew) {
            layers.insert(layers.begin(), bulkWhole(known->second));
            sectionCards_ += bulkCard("PCOMP", layers);
        }
        return known->second;
    }

    std::string materialCards() const {
        std::string text;
        for (const auto& [name, cloth] : clothsOf(file_.laminate)) {
            const std::string number = bulkWhole(materials_.at(name));
            text += "$ cloth " + name + "\n";
            if (!cloth.elasticity) {
                text += "$ MAT8 " + number + " is to be given: the layup names no stiffness\n";
                continue;
            }
            const Elasticity& e = *cloth.elasticity;
            text += bulkCard("MAT8",
                             {number, bulkReal(e.e1), bulkReal(e.e2), bulkReal(e.nu12), bulkReal(e.g12),
                              bulkReal(e.g13), bulkReal(e.g23),
                              cloth.density && file_.inMillimetres ? bulkReal(*cloth.density * 1e-12) : ""});
        }
        return text;
    }

    const LaminateFile& file_;
    std::map<std::string, std::int64_t> materials_; // numbers by name
    std::map<std::vector<std::string>, std::int64_t> sections_;
    std::string elements_, sectionCards_;
};

} // namespace

std::string laminateBdf(const LaminateFile& file) {
    return BdfDeck(file).bytes();
}

} // namespace tool
