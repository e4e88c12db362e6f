#pragma once

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>

#include <algorithm>
#include <cstddef>
#include <vector>

// NumPy arrays in and out of the module.
namespace vornpy
{
namespace py = pybind11;

// Any array-like of numbers; a float64 array is used as it is, with its own
// strides, and anything else is converted.
using Points = py::array_t<double, py::array::forcecast>;
using RowView = py::detail::unchecked_reference<double, 2>;

// The rows of an n x d array of points, d = dimension, or any d >= 2 when
// dimension is 0; `what` names the argument in the message of a ValueError.
RowView Rows(const Points& points, std::size_t dimension, const char* what);
// The same, and every coordinate finite.
RowView FiniteRows(const Points& points, std::size_t dimension, const char* what);

template <class T>
py::array_t<T> Array(const std::vector<T>& values, std::vector<py::ssize_t> shape)
{
    py::array_t<T> out(std::move(shape));
    std::copy(values.begin(), values.end(), out.mutable_data());
    return out;
}
} // namespace vornpy
