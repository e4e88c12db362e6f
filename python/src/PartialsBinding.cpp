#include "Bindings.h"
#include "LabelTable.h"

#include "PartialAnalysis.h"

#include <pybind11/stl.h>

#include <array>
#include <climits>
#include <cstdint>
#include <iterator>
#include <string>
#include <vector>

namespace vornpy
{
namespace
{
using namespace vorn;

template <class T>
using Table = py::array_t<T, py::array::c_style | py::array::forcecast>;

// The sums in the order of their columns.
constexpr double MomentSums::*SUM_FIELDS[] = {&MomentSums::m000, &MomentSums::m100, &MomentSums::m010,
                                              &MomentSums::m001, &MomentSums::m200, &MomentSums::m020,
                                              &MomentSums::m002, &MomentSums::m110, &MomentSums::m101,
                                              &MomentSums::m011};
constexpr py::ssize_t SUMS = std::size(SUM_FIELDS);

// Partial results travel between Dask workers as a dict of NumPy arrays,
// which pickles without help:
//   dimension, hulls, size (x, y, z)   of the whole analysis
//   region  int64 (6)       the box of pixels analysed: xmin, ymin, zmin, xmax, ymax, zmax
//   region_is_box           false once parts whose union is no box merged
//   labels  int64 (n)       ascending
//   sums    float64 (n, 10) m000, m100, m010, m001, m200, m020, m002, m110, m101, m011
//   boxes   int64 (n, 6)    xmin, ymin, zmin, xmax, ymax, zmax
//   complete bool (n)       the object lies in one chunk and its hull is final:
//   hull    int64 (n, 4)    state, planes, corners, painted pixels
//   convex  float64 (n)     its pixels' hull measure
//   starts  int64 (n + 1)   label i's points are points[starts[i]:starts[i + 1]]
//   points  int64 (m, 3)    x, y, z
py::dict ToDict(const PartialAnalysis& part)
{
    const py::ssize_t n = py::ssize_t(part.labels.size()), m = py::ssize_t(part.points.size());
    Table<std::int64_t> boxes({n, py::ssize_t(6)}), points({m, py::ssize_t(3)});
    for (py::ssize_t i = 0; i < n; ++i)
    {
        const LabelBox& box = part.boxes[std::size_t(i)];
        const int values[6] = {box.xmin, box.ymin, box.zmin, box.xmax, box.ymax, box.zmax};
        std::copy(values, values + 6, boxes.mutable_data(i, 0));
    }
    for (py::ssize_t i = 0; i < m; ++i)
        std::copy(part.points[std::size_t(i)].begin(), part.points[std::size_t(i)].end(), points.mutable_data(i, 0));
    Table<std::int64_t> hull({n, py::ssize_t(4)});
    Table<bool> complete(n);
    Table<double> convex(n);
    for (py::ssize_t i = 0; i < n; ++i)
    {
        const HullReport& report = part.hull[std::size_t(i)];
        const std::int64_t values[4] = {std::int64_t(report.state), report.planes, report.corners, report.paintedPixels};
        std::copy(values, values + 4, hull.mutable_data(i, 0));
        *complete.mutable_data(i) = part.complete[std::size_t(i)] != 0;
        *convex.mutable_data(i) = report.convexPixels;
    }
    Table<double> sums({n, SUMS});
    for (py::ssize_t i = 0; i < n; ++i)
        for (py::ssize_t k = 0; k < SUMS; ++k)
            *sums.mutable_data(i, k) = part.sums[std::size_t(i)].*SUM_FIELDS[k];
    const LabelBox& r = part.region;
    const std::int64_t region[6] = {r.xmin, r.ymin, r.zmin, r.xmax, r.ymax, r.zmax};
    py::dict out;
    out["dimension"] = part.dimension;
    out["size"] = part.size;
    out["region"] = Table<std::int64_t>(6, region);
    out["region_is_box"] = part.regionIsBox;
    out["hulls"] = part.hulls;
    out["labels"] = Table<std::int64_t>(n, part.labels.data());
    out["sums"] = sums;
    out["boxes"] = boxes;
    out["complete"] = complete;
    out["hull"] = hull;
    out["convex"] = convex;
    out["starts"] = Table<std::int64_t>(n + 1, part.starts.data());
    out["points"] = points;
    return out;
}

[[noreturn]] void Malformed(const std::string& what)
{
    throw py::value_error("partial results: " + what);
}

// Whether the box (xmin, ymin, zmin, xmax, ymax, zmax) holds a pixel and
// lies inside `region`.
bool InsideBox(const std::int64_t* box, const LabelBox& region)
{
    const std::int64_t low[3] = {region.xmin, region.ymin, region.zmin}, high[3] = {region.xmax, region.ymax, region.zmax};
    for (int k = 0; k < 3; ++k)
        if (box[k] > box[k + 3] || box[k] < low[k] || box[k + 3] > high[k])
            return false;
    return true;
}

template <class T>
Table<T> Field(const py::dict& dict, const char* key, py::ssize_t rows, py::ssize_t columns)
{
    if (!dict.contains(key))
        Malformed(std::string("no '") + key + "'");
    Table<T> array = Table<T>::ensure(dict[key]);
    const bool fits = array && (columns == 0 ? array.ndim() == 1 : array.ndim() == 2 && array.shape(1) == columns) &&
                      (rows < 0 || array.shape(0) == rows);
    if (!fits)
        Malformed(std::string("'") + key + "' has the wrong shape");
    return array;
}

// The partial results of a dict made by ToDict, every index checked.
PartialAnalysis FromDict(const py::dict& dict)
{
    PartialAnalysis part;
    for (const char* key : {"dimension", "hulls", "size", "region_is_box"})
        if (!dict.contains(key))
            Malformed(std::string("no '") + key + "'");
    part.dimension = dict["dimension"].cast<int>();
    part.hulls = dict["hulls"].cast<bool>();
    part.size = dict["size"].cast<std::array<int, 3>>();
    part.regionIsBox = dict["region_is_box"].cast<bool>();
    if (part.dimension != 2 && part.dimension != 3)
        Malformed("dimension " + std::to_string(part.dimension));
    const auto region = Field<std::int64_t>(dict, "region", 6, 0);
    if (!InsideBox(region.data(), {0, 0, 0, part.size[0] - 1, part.size[1] - 1, part.size[2] - 1}))
        Malformed("the region lies outside the image");
    const std::int64_t* r = region.data();
    part.region = {int(r[0]), int(r[1]), int(r[2]), int(r[3]), int(r[4]), int(r[5])};
    const auto labels = Field<std::int64_t>(dict, "labels", -1, 0);
    const py::ssize_t n = labels.shape(0);
    const auto sums = Field<double>(dict, "sums", n, SUMS);
    const auto boxes = Field<std::int64_t>(dict, "boxes", n, 6);
    const auto complete = Field<bool>(dict, "complete", n, 0);
    const auto hull = Field<std::int64_t>(dict, "hull", n, 4);
    const auto convex = Field<double>(dict, "convex", n, 0);
    const auto starts = Field<std::int64_t>(dict, "starts", n + 1, 0);
    const auto points = Field<std::int64_t>(dict, "points", -1, 3);
    const std::int64_t m = points.shape(0);
    if (starts.at(0) != 0 || starts.at(n) != m)
        Malformed("'starts' does not cover 'points'");
    part.labels.assign(labels.data(), labels.data() + n);
    part.starts.assign(starts.data(), starts.data() + n + 1);
    part.sums.resize(std::size_t(n));
    for (py::ssize_t i = 0; i < n; ++i)
        for (py::ssize_t k = 0; k < SUMS; ++k)
            part.sums[std::size_t(i)].*SUM_FIELDS[k] = *sums.data(i, k);
    for (py::ssize_t i = 0; i < n; ++i)
    {
        const std::int64_t* b = boxes.data(i, 0);
        if (!InsideBox(b, part.region))
            Malformed("box " + std::to_string(i) + " is empty or outside the region");
        part.boxes.push_back({int(b[0]), int(b[1]), int(b[2]), int(b[3]), int(b[4]), int(b[5])});
        const std::int64_t* h = hull.data(i, 0);
        if (h[0] < 0 || h[0] > std::int64_t(EnHullState::SKIPPED) || h[1] < 0 || h[1] > UINT32_MAX || h[2] < 0 ||
            h[2] > UINT32_MAX)
            Malformed("hull " + std::to_string(i) + " is out of range");
        part.complete.push_back(*complete.data(i));
        part.hull.push_back({EnHullState(h[0]), std::uint32_t(h[1]), std::uint32_t(h[2]), h[3], *convex.data(i)});
        if (part.labels[std::size_t(i)] <= (i > 0 ? part.labels[std::size_t(i) - 1] : 0))
            Malformed("labels not positive and ascending");
        if (part.starts[std::size_t(i)] > part.starts[std::size_t(i) + 1])
            Malformed("'starts' descends");
        for (std::int64_t p = part.starts[std::size_t(i)]; p < part.starts[std::size_t(i) + 1]; ++p)
        {
            const std::int64_t* x = points.data(p, 0);
            for (int k = 0; k < 3; ++k)
                if (x[k] < b[k] || x[k] > b[k + 3])
                    Malformed("point " + std::to_string(p) + " lies outside its object's box");
            part.points.push_back({x[0], x[1], x[2]});
        }
    }
    return part;
}

py::dict ChunkPartials(const py::array& block, const std::array<int, 3>& origin, const std::array<int, 3>& size,
                       int dimension, bool hulls)
{
    if (dimension != 2 && dimension != 3)
        throw py::value_error("dimension: expected 2 or 3");
    RawImage raw = CopyLabels(block);
    const int extent[3] = {raw.width, raw.height, raw.depth};
    for (int k = 0; k < 3; ++k)
        if (origin[std::size_t(k)] < 0 || origin[std::size_t(k)] > size[std::size_t(k)] - extent[k])
            throw py::value_error("origin: the chunk does not lie inside an image of the size given");
    PartialAnalysis part;
    {
        py::gil_scoped_release released;
        part = AnalyzeChunk(std::move(raw), origin, size, dimension, hulls);
    }
    return ToDict(part);
}

py::dict MergeDicts(const std::vector<py::dict>& dicts)
{
    std::vector<PartialAnalysis> parts;
    std::vector<const PartialAnalysis*> pointers;
    for (const py::dict& dict : dicts)
        parts.push_back(FromDict(dict));
    for (const PartialAnalysis& part : parts)
        pointers.push_back(&part);
    PartialAnalysis merged;
    {
        py::gil_scoped_release released;
        merged = MergePartials(pointers);
    }
    return ToDict(merged);
}

py::dict PartialsTable(const py::dict& dict, const std::vector<double>& spacing)
{
    const PartialAnalysis whole = FromDict(dict);
    const Calibration calibration = CalibrationOf(spacing);
    AnalysisReport report;
    {
        py::gil_scoped_release released;
        report = ReportOfPartials(whole);
    }
    return ColumnTable(report, whole.labels, [&](std::size_t i) {
        return Measure(whole.sums[i], report.objects[i].hull, whole.dimension, calibration);
    });
}
} // namespace

void BindPartials(py::module_& module)
{
    module.def("_chunk_partials", &ChunkPartials, py::arg("block"), py::arg("origin"), py::arg("size"),
               py::arg("dimension"), py::arg("hull"),
               "The partial results of one chunk whose first pixel lies at origin (x, y, z) of an image of size (x, y, z).");
    module.def("_merge_partials", &MergeDicts, py::arg("parts"), "The partial results of the union of the parts.");
    module.def("_partials_table", &PartialsTable, py::arg("whole"), py::arg("spacing"),
               "The table of vorn.regionprops from the merged partial results of every chunk; spacing in x, y, z order.");
}
} // namespace vornpy
