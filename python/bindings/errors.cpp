// The host's refusals as the package's exceptions, one class per kind, and status codes in words.
#include "python/bindings/module.h"

#include "host/cloth/status_text.h"
#include "host/mesh/error.h"

namespace drape::python {

using namespace drape::host;

namespace {

const char* className(Refusal refusal) {
    switch (refusal) {
    case Refusal::unreadable:
        return "UnreadableError";
    case Refusal::unfit:
        return "UnfitError";
    case Refusal::nothingLeft:
        return "NothingLeftError";
    case Refusal::closed:
        return "ClosedError";
    case Refusal::tooFine:
        return "TooFineError";
    case Refusal::noSuchSide:
        return "NoSuchSideError";
    case Refusal::upright:
        return "UprightError";
    case Refusal::tooCoarse:
        return "TooCoarseError";
    case Refusal::curveOffCloth:
        return "CurveError";
    }
    return "MeshError";
}

// The name by which errors.py knows what there is to do.
const char* remedyName(Remedy remedy) {
    switch (remedy) {
    case Remedy::none:
        return "none";
    case Remedy::otherStart:
        return "other start";
    case Remedy::finerOrOther:
        return "finer or other";
    case Remedy::checkMesh:
        return "check mesh";
    case Remedy::reportFault:
        return "report fault";
    case Remedy::moreNodes:
        return "more nodes";
    case Remedy::moreNodesOrLargerStep:
        return "more nodes or larger step";
    case Remedy::otherSeed:
        return "other seed";
    case Remedy::checkCurve:
        return "check curve";
    case Remedy::smallerStep:
        return "smaller step";
    case Remedy::lessMemory:
        return "less memory";
    case Remedy::fewerNodes:
        return "fewer nodes";
    }
    return "none";
}

template <class... Arguments>
void raise(const char* name, const Arguments&... arguments) {
    const py::object type = py::module_::import("drape.errors").attr(name);
    PyErr_SetObject(type.ptr(), py::object(type(arguments...)).ptr());
}

} // namespace

void bindErrors(py::module_& module) {
    py::register_exception_translator([](std::exception_ptr thrown) {
        try {
            std::rethrow_exception(thrown);
        } catch (const InputError& error) {
            raise(className(error.refusal), std::string(error.what()));
        } catch (const StatusError& error) {
            raise("StatusError", error.status, std::string(error.what()));
        }
    });
    module.def("status_text", [](std::int32_t status) {
        const StatusText text = textOfStatus(status);
        return py::make_tuple(text.name, text.meaning, remedyName(text.remedy));
    });
}

} // namespace drape::python
