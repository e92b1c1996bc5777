// Closed curves drawn on the mould and carried onto the flat pattern.
#include "python/bindings/show.h"
#include "python/bindings/surface.h"

#include "host/cloth/curve.h"
#include "tool/read/curve_file.h"

namespace drape::python {

using namespace drape::host;

namespace {

using Points = std::vector<Point>;

DrawnCurve drawnCurve(const std::string& name, const Points& points, const Points& directions) {
    return {name, points, directions};
}

std::shared_ptr<HeldCurve> carry(const HeldPly& ply, const DrawnCurve& curve, const std::string& file,
                                 bool cut) {
    const py::gil_scoped_release unlocked;
    const std::lock_guard<std::mutex> alone(processState());
    Notes untold;
    const Trial& trial = ply.measured();
    return std::make_shared<HeldCurve>(
        HeldCurve{carryOver(curve, *trial.mould, trial.choice, trial.grid, trial.measures, cut, untold),
                  curve, file, cut});
}

py::list stretchesOf(const py::object& self) {
    py::list stretches;
    for (const CurveStretch& s : py::cast<const HeldCurve&>(self).result.stretches) {
        const auto triples = [&](const std::vector<Point>& points) {
            return rowsOf(reinterpret_cast<const double*>(points.data()), points.size(), 3, self);
        };
        stretches.append(
            py::make_tuple(triples(s.points), triples(s.cloth),
                           rowsOf(reinterpret_cast<const double*>(s.flat.data()), s.flat.size(), 2, self),
                           rowsOf(s.numbers.data(), s.numbers.size(), 1, self), s.closed));
    }
    return stretches;
}

} // namespace

void bindCurves(py::module_& module) {
    py::class_<DrawnCurve>(module, "DrawnCurve").def(py::init(&drawnCurve));
    py::class_<HeldCurve, std::shared_ptr<HeldCurve>>(module, "Curve")
        .def_property_readonly("name", [](const HeldCurve& curve) { return curve.result.name; })
        .def_property_readonly("length_on_mould",
                               [](const HeldCurve& curve) { return lengthOnMould(curve.result); })
        .def_property_readonly("length_on_pattern",
                               [](const HeldCurve& curve) { return lengthOnPattern(curve.result); })
        .def_property_readonly("stretches", stretchesOf);
    module.def("read_curve", &tool::readCurve);
    module.def("carry", &carry);
}

} // namespace drape::python
