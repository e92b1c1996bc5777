// The parts of the package's extension module, and what they share.
#pragma once

#include <mutex>
#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

namespace drape::python {

namespace py = pybind11;

void bindErrors(py::module_& module);
void bindOperations(py::module_& module);
void bindMould(py::module_& module);
void bindPly(py::module_& module);
void bindCurves(py::module_& module); // before what takes curves
void bindSearch(py::module_& module);
void bindCover(py::module_& module);

// Held by whoever is in an operation of the library that shares the state of the process. The interpreter's
// lock must not be held while waiting for it.
std::mutex& processState();

} // namespace drape::python
