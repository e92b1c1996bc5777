// Closed curves drawn on the mould and carried onto the flat pattern.
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

std::shared_ptr<CurveResult> carry(const HeldPly& ply, const DrawnCurve& curve, bool cut) {
    const py::gil_scoped_release unlocked;
    const std::lock_guard<std::mutex> alone(processState());
    Notes untold;
    const Trial& trial = ply.measured();
    return std::make_shared<CurveResult>(
        carryOver(curve, ply.mould->surface.mesh, trial.choice, trial.grid, trial.measures, cut, untold));
}

py::list stretchesOf(const py::object& self) {
    py::list stretches;
    for (const CurveStretch& s : py::cast<const CurveResult&>(self).stretches) {
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
    py::class_<CurveResult, std::shared_ptr<CurveResult>>(module, "Curve")
        .def_readonly("name", &CurveResult::name)
        .def_property_readonly("length_on_mould", &lengthOnMould)
        .def_property_readonly("length_on_pattern", &lengthOnPattern)
        .def_property_readonly("stretches", stretchesOf);
    module.def("read_curve", &tool::readCurve);
    module.def("carry", &carry);
}

} // namespace drape::python
