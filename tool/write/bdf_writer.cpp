// A Nastran bulk deck: one PCOMP for each stack of plies and angles between them, and on each element the
// angle THETA from its side 1-2 to the lowest ply's warp, from which the PCOMP counts.
#include "tool/write/element_stack.h"
#include "tool/write/laminate_files.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>

namespace tool {
namespace {

// As many digits as fit into a field, always with a point.
std::string real(double value, std::size_t width) {
    for (int digits = static_cast<int>(width); digits > 0; --digits) {
        std::array<char, 48> buffer{};
        std::snprintf(buffer.data(), buffer.size(), "%.*g", digits, value + 0.0);
        std::string text = buffer.data();
        const std::size_t e = text.find('e');
        std::string head = text.substr(0, e);
        if (head.find('.') == std::string::npos) {
            head += '.';
        }
        if (e != std::string::npos) {
            head += text[e + 1] + std::to_string(std::abs(std::atoi(text.c_str() + e + 1)));
        } else if (head.starts_with("0.")) {
            head.erase(0, 1);
        } else if (head.starts_with("-0.")) {
            head.erase(1, 1);
        }
        head = head == "." || head == "-." ? "0." : head;
        if (head.size() <= width) {
            return head;
        }
    }
    throw std::runtime_error("a number doesn't fit into a field of the deck");
}

std::string whole(std::int64_t value) {
    if (value < 1 || value > 99999999) {
        throw std::runtime_error("the number " + std::to_string(value) +
                                 " doesn't fit into a field of the deck");
    }
    return std::to_string(value);
}

// A card in fields of eight columns, over as many lines as it takes.
std::string card(const std::string& name, const std::vector<std::string>& fields) {
    std::string text = name + std::string(8 - name.size(), ' ');
    for (std::size_t k = 0; k < fields.size(); ++k) {
        if (k > 0 && k % 8 == 0) {
            text += "\n+       ";
        }
        text += std::string(8 - std::min<std::size_t>(8, fields[k].size()), ' ') + fields[k];
    }
    return text + "\n";
}

std::string wideGrid(std::int64_t number, const Point& p) {
    const auto wide = [](const std::string& text) { return std::string(16 - text.size(), ' ') + text; };
    return "GRID*   " + wide(whole(number)) + std::string(16, ' ') + wide(real(p[0], 16)) +
           wide(real(p[1], 16)) + "\n*       " + wide(real(p[2], 16)) + "\n";
}

// Above -90 and up to 90, as a fibre has no sense; near the lower end the upper one, so that rounding makes
// no two of one angle.
double asFibre(double degrees) {
    constexpr double rounding = 5e-4;
    while (degrees <= -90.0 + rounding) {
        degrees += 180.0;
    }
    while (degrees > 90.0 + rounding) {
        degrees -= 180.0;
    }
    return std::round(degrees * 1e3) / 1e3 + 0.0;
}

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
            grids += used[p] != 0 ? wideGrid(shell.pointNumbers[p], shell.points[p]) : std::string();
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
        std::vector<std::string> fields{whole(element.number), whole(sectionOf(e, stack))};
        for (std::size_t k = 0; k < nodes; ++k) {
            fields.push_back(whole(file_.laminate.shell.pointNumbers[at(element.nodes[k])]));
        }
        if (element.corners == 4 && middles) {
            fields.resize(fields.size() + 4); // thicknesses at the corners
        }
        fields.push_back(real(asFibre(stack.front().fibres->toSide), 8));
        const std::string kind =
            element.corners == 3 ? (middles ? "CTRIA6" : "CTRIA3") : (middles ? "CQUAD8" : "CQUAD4");
        elements_ += card(kind, fields);
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
            layers.insert(layers.end(),
                          {whole(materials_.at(cloth.name)), real(layer.thickness, 8),
                           real(asFibre(layer.fibres->toSide - asFibre(stack.front().fibres->toSide)), 8),
                           "YES"});
        }
        const double bottom = file_.reference == ShellReference::middle ? -0.5 * total
                              : liesAbove(file_.laminate, e)            ? 0.0
                                                                        : -total;
        layers.insert(layers.begin(), {real(bottom, 8), "", "", "", "", "", ""});
        const auto [known, isNew] =
            sections_.emplace(layers, static_cast<std::int64_t>(sections_.size()) + 1);
        if (isNew) {
            layers.insert(layers.begin(), whole(known->second));
            sectionCards_ += card("PCOMP", layers);
        }
        return known->second;
    }

    std::string materialCards() const {
        std::string text;
        for (const auto& [name, cloth] : clothsOf(file_.laminate)) {
            const std::string number = whole(materials_.at(name));
            text += "$ cloth " + name + "\n";
            if (!cloth.elasticity) {
                text += "$ MAT8 " + number + " is to be given: the layup names no stiffness\n";
                continue;
            }
            const Elasticity& e = *cloth.elasticity;
            text +=
                card("MAT8", {number, real(e.e1, 8), real(e.e2, 8), real(e.nu12, 8), real(e.g12, 8),
                              real(e.g13, 8), real(e.g23, 8),
                              cloth.density && file_.inMillimetres ? real(*cloth.density * 1e-12, 8) : ""});
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
