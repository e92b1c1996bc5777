// The extension module drape._core.
#include "python/bindings/module.h"

PYBIND11_MODULE(_core, module) {
    using namespace drape::python;
    module.doc() = "What the package drape is made of; drape itself has the documented faces.";
    module.attr("__version__") = DRAPE_TOOL_VERSION;
    bindErrors(module);
    bindMould(module);
    bindCurves(module);
    bindPly(module);
    bindSearch(module);
    bindCover(module);
    auto operations = module.def_submodule("lib", "The library's operations.");
    bindOperations(operations);
}
