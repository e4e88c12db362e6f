#pragma once

#include "Analysis.h"
#include "Measures.h"
#include "RawImage.h"

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>

#include <cstdint>
#include <functional>
#include <vector>

// Label arrays in, tables of objects out: what vorn.regionprops and its
// Dask counterpart share.
namespace vornpy
{
namespace py = pybind11;

// The labels in the tool's pixel buffer: x (the array's last axis) fastest,
// then y, then z, in the machine's byte order. NumPy copies them, whatever
// the array's strides and byte order, into a view of the buffer.
vorn::RawImage CopyLabels(const py::array& labels);

// The pixel size of a calibration, spacing in x, y, z order.
vorn::Calibration CalibrationOf(const std::vector<double>& spacing);

// The columns of `vorn analyze --csv` by name, object i measured by
// measure(i): label and pixels as int64, the others as float64 with NaN where
// the CSV leaves the field empty. The GIL is released while the rows are filled.
py::dict ColumnTable(const vorn::AnalysisReport& report, const std::vector<std::int64_t>& labels,
                     const std::function<vorn::ObjectMeasures(std::size_t)>& measure);
} // namespace vornpy
