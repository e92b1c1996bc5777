// How cloth is shown in a report and in files, and what goes wrong with these.
#pragma once

#include "python/bindings/surface.h"

#include "host/cloth/curve.h"
#include "tool/settings.h"

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace drape::python {

// A curve on the cloth, and what it was carried over from.
struct HeldCurve {
    host::CurveResult result;
    host::DrawnCurve drawn;
    std::string file; // or what stands for one
    bool cut = false; // where it leaves the cloth
};

struct Show {
    double millimetresPerUnit = 1.0;
    double allowance = 0.0; // of the cut line beyond the net line, in the mould's unit
    std::string name;       // on drawings, that of the mould's file if it's empty
    std::optional<tool::Paper> paper;
    std::vector<HeldCurve> curves;

    std::vector<host::CurveResult> carried() const {
        std::vector<host::CurveResult> results;
        for (const HeldCurve& curve : curves) {
            results.push_back(curve.result);
        }
        return results;
    }
};

// As the program would have understood them.
inline tool::Settings settingsOf(const HeldMould& mould, const Show& show) {
    tool::Settings settings;
    settings.input = mould.source;
    settings.millimetresPerUnit = show.millimetresPerUnit;
    settings.allowance = show.allowance;
    settings.paper = show.paper;
    settings.ply = show.name.empty() ? std::filesystem::path(mould.source).stem().string() : show.name;
    return settings;
}

// Writes with the interpreter's lock let go; what can't be written is an OutputError.
template <class Write>
auto orOutputError(Write write) {
    std::string failure;
    try {
        const py::gil_scoped_release unlocked;
        return write();
    } catch (const std::runtime_error& error) {
        failure = error.what();
    }
    const auto type = py::module_::import("drape.errors").attr("OutputError");
    PyErr_SetObject(type.ptr(), py::object(type(failure)).ptr());
    throw py::error_already_set();
}

} // namespace drape::python
