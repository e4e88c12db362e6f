#include "LabelTable.h"

#include "AnalysisColumns.h"

#include <climits>
#include <string>

namespace vornpy
{
using namespace vorn;

RawImage CopyLabels(const py::array& labels)
{
    const py::ssize_t ndim = labels.ndim();
    if (ndim != 2 && ndim != 3)
        throw py::value_error("labels: expected a 2-D or 3-D array, got " + std::to_string(ndim) + "-D");
    const char kind = labels.dtype().kind();
    if (kind != 'i' && kind != 'u' && kind != 'b')
        throw py::value_error("labels: expected an integer or bool array, got dtype " +
                              std::string(py::str(labels.dtype())));
    for (py::ssize_t k = 0; k < ndim; ++k)
        if (labels.shape(k) < 1 || labels.shape(k) > INT_MAX)
            throw py::value_error("labels: axis " + std::to_string(k) + " has " + std::to_string(labels.shape(k)) +
                                  " pixels, not 1 .. 2^31 - 1");
    RawImage raw;
    raw.width = int(labels.shape(ndim - 1));
    raw.height = int(labels.shape(ndim - 2));
    raw.depth = ndim == 3 ? int(labels.shape(0)) : 1;
    raw.kind = kind == 'i' ? EnSampleKind::SIGNED : EnSampleKind::UNSIGNED;
    raw.bytes = int(labels.itemsize());
    raw.fileBits = kind == 'b' ? 1 : 8 * raw.bytes;
    raw.pixels = AllocatePixels(raw.PixelCount() * std::uint64_t(raw.bytes));
    const py::dtype native(std::string(kind == 'b' ? "u" : std::string(1, kind)) + std::to_string(raw.bytes));
    const std::vector<py::ssize_t> shape(labels.shape(), labels.shape() + ndim);
    // A base object keeps NumPy from copying the buffer or freeing it.
    const py::array view(native, shape, raw.pixels.get(), py::capsule(raw.pixels.get(), [](void*) {}));
    py::module_::import("numpy").attr("copyto")(view, labels);
    return raw;
}

Calibration CalibrationOf(const std::vector<double>& spacing)
{
    Calibration calibration;
    for (std::size_t k = 0; k < spacing.size() && k < 3; ++k)
        calibration.spacing[k] = spacing[k];
    return calibration;
}

py::dict ColumnTable(const AnalysisReport& report, const std::vector<std::int64_t>& labels,
                     const std::function<ObjectMeasures(std::size_t)>& measure)
{
    const std::vector<AnalysisColumn> columns = AnalysisColumns(report, labels);
    const py::ssize_t n = py::ssize_t(report.objects.size());
    py::dict table;
    std::vector<void*> out;
    for (const AnalysisColumn& column : columns)
    {
        py::array values = column.whole ? py::array(py::array_t<std::int64_t>(n)) : py::array(py::array_t<double>(n));
        out.push_back(values.mutable_data());
        table[py::str(column.name)] = values;
    }
    py::gil_scoped_release released;
    for (std::size_t i = 0; i < report.objects.size(); ++i)
    {
        const ObjectMeasures measures = measure(i);
        for (std::size_t c = 0; c < columns.size(); ++c)
        {
            const Cell cell = columns[c].value(i, measures);
            if (columns[c].whole)
                static_cast<std::int64_t*>(out[c])[i] = cell.whole;
            else
                static_cast<double*>(out[c])[i] = cell.integer ? double(cell.whole) : cell.number;
        }
    }
    return table;
}
} // namespace vornpy
