// A Nastran bulk deck: one PCOMP for each stack of plies and angles between them, and on each element the
// angle THETA from its side 1-2 to the lowest ply's warp, from which the PCOMP counts.
#include "tool/write/bulk_mesh.h"
#include "tool/write/element_stack.h"
#include "tool/write/laminate_files.h"

#include <stdexcept>

namespace tool {
namespace {

class BdfDeck {
public:
    explicit BdfDeck(const LaminateFile& file) : file_(file), materials_(materialNumbers(file.laminate)) {}

    std::string bytes() {
        std::string elements;
        for (std::size_t e = 0; e < file_.laminate.shell.elements.size(); ++e) {
            const auto stack = stackOn(file_.laminate, e);
            if (!stack.empty()) {
                elements += bulkElement(file_.laminate, e, sectionOf(stack), lowestAngle(stack));
            }
        }
        return "$ " + file_.title + "\n$ bulk data; loads, supports and cases are to be added\n" +
               bulkNodes(file_.laminate) + elements + sectionCards_ + bulkMaterials(file_);
    }

private:
    static double lowestAngle(const std::vector<StackedPly>& stack) {
        return fibreAngle(stack.front().fibres->toSide);
    }

    std::int64_t sectionOf(const std::vector<StackedPly>& stack) {
        std::vector<std::string> layers;
        for (const StackedPly& layer : stack) {
            const Cloth& cloth = file_.laminate.plies[layer.ply].wish.cloth;
            requireThickness(cloth);
            layers.insert(layers.end(),
                          {bulkWhole(materials_.at(cloth.name)), bulkReal(layer.thickness),
                           bulkReal(fibreAngle(layer.fibres->toSide - lowestAngle(stack))), "YES"});
        }
        const StackHeight height = heightOf(stack);
        const double bottom = file_.reference == ShellReference::middle ? -0.5 * height.total : -height.below;
        layers.insert(layers.begin(), {bulkReal(bottom), "", "", "", "", "", ""});
        const auto [known, isNew] =
            sections_.emplace(layers, static_cast<std::int64_t>(sections_.size()) + 1);
        if (isNew) {
            layers.insert(layers.begin(), bulkWhole(known->second));
            sectionCards_ += bulkCard("PCOMP", layers);
        }
        return known->second;
    }

    const LaminateFile& file_;
    std::map<std::string, std::int64_t> materials_; // numbers by name
    std::map<std::vector<std::string>, std::int64_t> sections_;
    std::string sectionCards_;
};

} // namespace

std::string laminateBdf(const LaminateFile& file) {
    return BdfDeck(file).bytes();
}

} // namespace tool
