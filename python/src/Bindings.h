#pragma once

#include <pybind11/pybind11.h>

// The parts of the module vorn._vorn, each defined in its own source file.
namespace vornpy
{
namespace py = pybind11;

// Turns the library's CException into vorn.Error (carrying the message and
// a vorn.Location); the standard exceptions keep pybind11's translation
// (std::length_error to ValueError, std::bad_alloc to MemoryError,
// std::out_of_range to IndexError). The tool's CToolError (bad labels)
// becomes vorn.Error too, with its message and no location.
void BindErrors();
void BindHull(py::module_& module);
void BindMoment(py::module_& module);
void BindPartials(py::module_& module);
void BindRegionProps(py::module_& module);
} // namespace vornpy
