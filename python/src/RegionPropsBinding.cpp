#include "Bindings.h"
#include "LabelTable.h"

#include "LabelImage.h"
#include "Progress.h"

#include <pybind11/stl.h>

#include <chrono>
#include <vector>

namespace vornpy
{
namespace
{
using namespace vorn;

// The table of vorn.regionprops: the tool's analysis of the whole array.
py::dict RegionProps(const py::array& labels, const std::vector<double>& spacing, bool hulls)
{
    RawImage raw = CopyLabels(labels);
    const Calibration calibration = CalibrationOf(spacing);
    CProgress silent(stderr, false, std::chrono::milliseconds(0));
    LabelImage index;
    AnalysisReport report;
    {
        py::gil_scoped_release released;
        index = IndexLabels(std::move(raw), silent);
        TOLX::CImage image = index.View();
        report = Analyze(image, index.objects, {hulls, false}, silent);
    }
    return ColumnTable(report, index.labels, [&](std::size_t i) { return Measure(report, i, calibration); });
}
} // namespace

void BindRegionProps(py::module_& module)
{
    module.def("_regionprops", &RegionProps, py::arg("labels"), py::arg("spacing"), py::arg("hull"),
               "The table of vorn.regionprops as a dict of columns; spacing in x, y, z order.");
}
} // namespace vornpy
