// Tables of what draping does to a ply: per element how many times as thick it is as flat cloth, and how far
// its fibres lie from the ply's own angle. Both solvers count that angle from the rosette laid into the
// element, about the element's own normal.
#include "tool/write/bulk_mesh.h"
#include "tool/write/element_stack.h"
#include "tool/write/laminate_files.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>
#include <stdexcept>

namespace tool {
namespace {

constexpr double leastSine = 0.02; // between rosette and normal, for the rosette to say something

// Degrees from an element's side 1-2 to the rosette laid into it, about the element's own normal; 0 where the
// rosette stands upright on it.
double axisOf(const Laminate& laminate, std::size_t element) {
    const ElementFrame& frame = laminate.frames[element];
    const double up = vec::dot(laminate.rosette, frame.normal);
    const Point laid = vec::subtract(laminate.rosette, vec::scale(frame.normal, up));
    return vec::length(laid) < leastSine ? 0.0
                                         : std::atan2(vec::dot(frame.normal, vec::cross(frame.side, laid)),
                                                      vec::dot(frame.side, laid)) *
                                               180.0 / std::numbers::pi;
}

// The angle to add to the ply's own to come to the fibre's.
double changeOf(const LaidPly& ply, const ElementFibres& fibres, double axis) {
    return fibreAngle(fibres.toSide - axis - ply.wish.angle);
}

// Whether an element's normal points to the side of the plies that name none.
bool facesOwnSide(const Laminate& laminate, std::size_t element) {
    return vec::dot(laminate.frames[element].normal, laminate.facets[element].normal) >= 0.0;
}

// Elements whose normal points to the mould's own side have the plies there in the order in which they're
// laid, on top of those of the other side; the others have the same plies the other way round, as plies of a
// stack of their own.
class DrapeFem {
public:
    explicit DrapeFem(const LaminateFile& file)
        : file_(file), laminate_(file.laminate), plyCount_(file.laminate.plies.size()) {
        for (std::size_t e = 0; e < laminate_.shell.elements.size(); ++e) {
            axes_.push_back(bulkAngle(axisOf(laminate_, e)));
            for (std::size_t p = 0; p < plyCount_; ++p) {
                const LaidPly& ply = laminate_.plies[p];
                if (!ply.fibres.empty() && ply.fibres[e].cover != ElementCover::none) {
                    lists_[facesOwnSide(laminate_, e) ? 0 : 1][p].push_back(e);
                }
            }
        }
    }

    std::string bytes() {
        std::string stacks;
        std::string plies;
        for (std::size_t s = 0; s < lists_.size(); ++s) {
            if (!lists_[s].empty()) {
                stacks += stack(s);
                for (const auto& [p, elements] : lists_[s]) {
                    plies += ply(s, p, elements);
                }
            }
        }
        return "$ " + file_.title + "\n$ bulk data; loads, supports and cases are to be added\n" +
               bulkNodes(laminate_) + elements() + stacks + plies + bulkMaterials(file_);
    }

private:
    std::string elements() const {
        std::string text;
        for (std::size_t e = 0; e < axes_.size(); ++e) {
            if (!stackOn(laminate_, e).empty()) {
                text += bulkElement(laminate_, e, facesOwnSide(laminate_, e) ? 1 : 2, axes_[e]);
            }
        }
        return text;
    }

    std::int64_t plyNumber(std::size_t s, std::size_t p) const {
        return static_cast<std::int64_t>(s * plyCount_ + p + 1);
    }

    std::string stack(std::size_t s) const {
        const bool onMould = file_.reference == ShellReference::mould;
        std::vector<std::string> numbers{bulkWhole(static_cast<std::int64_t>(s) + 1), ""};
        for (const auto& [p, elements] : lists_[s]) {
            const bool above = laminate_.plies[p].fibres[elements.front()].above;
            if (onMould && !above) {
                throw std::runtime_error("elements whose normals point away from the cloth can't have the "
                                         "mesh as their top here; take --shell-reference middle, or another "
                                         "--side");
            }
            numbers.insert(above ? numbers.end() : numbers.begin() + 2, bulkWhole(plyNumber(s, p)));
        }
        return bulkCard("PCOMPP", {numbers.front(), onMould ? "0." : ""}) + bulkCard("STACK", numbers);
    }

    std::string ply(std::size_t s, std::size_t p, const std::vector<std::size_t>& elements) const {
        const LaidPly& ply = laminate_.plies[p];
        const std::string number = bulkWhole(plyNumber(s, p));
        requireThickness(ply.wish.cloth);
        std::vector<std::string> drape{number, "", "", "", "", "", "", ""};
        std::vector<std::string> set{number, "ELEM", "LIST", "", "", "", "", ""};
        for (const std::size_t e : elements) {
            const ElementFibres& fibres = ply.fibres[e];
            const std::string element = bulkWhole(laminate_.shell.elements[e].number);
            set.push_back(element);
            drape.insert(drape.end(), {"ELEM", element, bulkReal(fibres.thickness),
                                       bulkReal(changeOf(ply, fibres, axes_[e])), "", "", "", ""});
        }
        return "$ ply " + ply.wish.name + "\n" +
               bulkCard("PLY", {number, bulkWhole(materialNumbers(laminate_).at(ply.wish.cloth.name)),
                                bulkReal(ply.wish.cloth.thickness), bulkReal(fibreAngle(ply.wish.angle)),
                                "YES", "", number, "", number}) +
               bulkCard("SET", set) + bulkCard("DRAPE", drape);
    }

    const LaminateFile& file_;
    const Laminate& laminate_;
    std::size_t plyCount_;
    std::vector<double> axes_; // per element
    // Elements per ply: those whose normals point to the mould's own side, and the others.
    std::array<std::map<std::size_t, std::vector<std::size_t>>, 2> lists_;
};

std::string column(const std::string& text, std::size_t width) {
    return std::string(width - std::min(width, text.size()), ' ') + text;
}

} // namespace

std::string laminateDrapeFem(const LaminateFile& file) {
    return DrapeFem(file).bytes();
}

std::string laminateDrapeRad(const LaminateFile& file) {
    const Laminate& laminate = file.laminate;
    std::string text = "# " + file.title +
                       "\n# a table per ply, for plies whose angle counts from the direction " +
                       bulkReal(laminate.rosette[0]) + " " + bulkReal(laminate.rosette[1]) + " " +
                       bulkReal(laminate.rosette[2]) + "\n";
    for (std::size_t p = 0; p < laminate.plies.size(); ++p) {
        const LaidPly& ply = laminate.plies[p];
        if (!ply.isLaid()) {
            continue;
        }
        text += "/DRAPE/" + std::to_string(p + 1) + "\n" + ply.wish.name.substr(0, 100) +
                "\n#Ent_type    Ent_ID            THINNING         THETA_DRAPE\n";
        for (std::size_t e = 0; e < laminate.shell.elements.size(); ++e) {
            const ShellElement& element = laminate.shell.elements[e];
            const ElementFibres& fibres = ply.fibres[e];
            if (fibres.cover != ElementCover::none) {
                requireSolverShape(element);
                text += (element.corners == 3 ? "SH3N      " : "SHELL     ") +
                        column(std::to_string(element.number), 10) +
                        column(bulkReal(fibres.thickness, 16), 20) +
                        column(bulkReal(changeOf(ply, fibres, axisOf(laminate, e)), 16), 20) + "\n";
            }
        }
    }
    return text;
}

} // namespace tool
