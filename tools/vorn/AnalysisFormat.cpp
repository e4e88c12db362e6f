#include "AnalysisColumns.h"
#include "Format.h"
#include "Json.h"
#include "LabelImage.h"
#include "Measures.h"
#include "Progress.h"

#include <cmath>
#include <cstdio>

namespace vorn
{
namespace
{
const char* const AXIS_NAMES[] = {"x", "y", "z"};

std::string UnitOf(const Calibration& calibration, int power)
{
    return calibration.unit + (power > 1 ? "^" + std::to_string(power) : "");
}

std::string Right(const std::string& text, std::size_t width)
{
    return std::string(text.size() < width ? width - text.size() : 1, ' ') + text;
}

// Seven significant digits: positions to a hundredth of a pixel up to 10^5.
std::string TableText(const Cell& cell)
{
    if (cell.integer)
        return std::to_string(cell.whole);
    if (!std::isfinite(cell.number))
        return "n/a";
    char buffer[32];
    std::snprintf(buffer, sizeof buffer, "%.7g", cell.number);
    return buffer;
}

std::string CsvText(const Cell& cell)
{
    return cell.integer ? std::to_string(cell.whole) : std::isfinite(cell.number) ? FormatNumber(cell.number) : "";
}

std::string SpacingText(const AnalysisReport& report, const Calibration& calibration)
{
    std::string text;
    for (int k = 0; k < report.dimension; ++k)
        text += (k ? " x " : "") + FormatNumber(calibration.spacing[k]);
    return text;
}

void WriteNotes(std::ostream& out, const AnalysisReport& report, const AnalysisSource& source)
{
    for (std::size_t i = 0; i < report.objects.size(); ++i)
    {
        const EnHullState state = report.objects[i].hull.state;
        if (state != EnHullState::HULL && state != EnHullState::SKIPPED)
            out << "label " << LabelAt(*source.labels, i) << ": no hull: " << report.HullProblem(i) << "\n";
    }
}

std::vector<double> Corner(int x, int y, int z, int dimension)
{
    std::vector<double> values{double(x), double(y), double(z)};
    values.resize(std::size_t(dimension));
    return values;
}

std::vector<double> Head(const std::array<double, 3>& values, int dimension)
{
    return std::vector<double>(values.begin(), values.begin() + dimension);
}
} // namespace

std::vector<AnalysisColumn> AnalysisColumns(const AnalysisReport& report, const std::vector<std::int64_t>& labels)
{
    const int d = report.dimension;
    const std::string measure = d == 3 ? "volume" : "area";
    std::vector<AnalysisColumn> columns = {
        {"label", 0, true, [&labels](std::size_t i, const ObjectMeasures&) { return Whole(LabelAt(labels, i)); }},
        {"pixels", 0, true, [](std::size_t, const ObjectMeasures& m) { return Whole(m.pixels); }},
        {measure, d, false, [](std::size_t, const ObjectMeasures& m) { return Number(m.volume); }}};
    for (int k = 0; k < d; ++k)
        columns.push_back({std::string("centroid_") + AXIS_NAMES[k], 1, false,
                           [k](std::size_t, const ObjectMeasures& m) { return Number(m.centroid[k]); }});
    for (int k = 0; k < d; ++k)
        columns.push_back({"inertia_" + std::to_string(k + 1), 2, false,
                           [k](std::size_t, const ObjectMeasures& m) { return Number(m.inertia[k]); }});
    columns.push_back({"major_axis", 1, false, [](std::size_t, const ObjectMeasures& m) { return Number(m.majorAxis); }});
    columns.push_back({"minor_axis", 1, false, [](std::size_t, const ObjectMeasures& m) { return Number(m.minorAxis); }});
    if (d == 2)
        columns.push_back({"eccentricity", 0, false, [](std::size_t, const ObjectMeasures& m) { return Number(m.eccentricity); }});
    for (int k = 0; k < d; ++k)
        columns.push_back({std::string("axis_") + AXIS_NAMES[k], 0, false,
                           [k](std::size_t, const ObjectMeasures& m) { return Number(m.mainAxis[k]); }});
    if (!report.hulls)
        return columns;
    const auto hullCount = [&report](bool corners) {
        return [&report, corners](std::size_t i, const ObjectMeasures&) {
            const HullReport& hull = report.objects[i].hull;
            return hull.Available() ? Whole(corners ? hull.corners : hull.planes)
                                    : Number(std::numeric_limits<double>::quiet_NaN());
        };
    };
    columns.push_back({"planes", 0, false, hullCount(false)});
    columns.push_back({"corners", 0, false, hullCount(true)});
    columns.push_back({"convex_" + measure, d, false, [](std::size_t, const ObjectMeasures& m) { return Number(m.convexVolume); }});
    columns.push_back({"solidity", 0, false, [](std::size_t, const ObjectMeasures& m) { return Number(m.solidity); }});
    columns.push_back({"painted_solidity", 0, false, [](std::size_t, const ObjectMeasures& m) { return Number(m.paintedSolidity); }});
    return columns;
}

void WriteAnalysisText(std::ostream& out, const AnalysisReport& report, const AnalysisSource& source,
                       CProgress& progress)
{
    const int d = report.dimension;
    out << source.name << ": " << report.width << "x" << report.height;
    if (d == 3)
        out << "x" << report.depth;
    out << ", " << d << "-D, " << source.sampleType;
    if (!source.selection.empty())
        out << ", " << source.selection;
    out << ", " << report.objects.size() << " objects";
    if (!report.objects.empty())
        out << " (largest label " << LabelAt(*source.labels, report.objects.size() - 1) << ")";
    out << "\n";
    const Calibration& calibration = source.calibration;
    out << "unit: " << calibration.unit;
    if (calibration.origin != "none")
        out << ", pixel " << SpacingText(report, calibration) << " (" << calibration.origin << ")";
    out << "\n";
    if (!source.legend.empty())
        out << "labels: " << source.legend << "\n";

    const std::vector<AnalysisColumn> columns = AnalysisColumns(report, *source.labels);
    std::vector<std::size_t> widths;
    for (const AnalysisColumn& column : columns)
    {
        widths.push_back(std::max<std::size_t>(column.name.size(), column.name == "label" ? 6 : 9) + 1);
        out << Right(column.name, widths.back());
    }
    out << "\n";
    CProgressPass pass(progress, "writing", std::int64_t(report.objects.size()));
    for (std::size_t i = 0; i < report.objects.size(); ++i)
    {
        const ObjectMeasures measures = Measure(report, i, calibration);
        for (std::size_t c = 0; c < columns.size(); ++c)
            out << Right(TableText(columns[c].value(i, measures)), widths[c]);
        out << "\n";
        pass.Advance(std::int64_t(i + 1));
    }
    WriteNotes(out, report, source);
}

void WriteAnalysisCsv(std::ostream& out, const AnalysisReport& report, const AnalysisSource& source,
                      CProgress& progress)
{
    const std::vector<AnalysisColumn> columns = AnalysisColumns(report, *source.labels);
    for (std::size_t c = 0; c < columns.size(); ++c)
        out << (c ? "," : "") << columns[c].name
            << (columns[c].unitPower ? " [" + UnitOf(source.calibration, columns[c].unitPower) + "]" : "");
    out << "\n";
    CProgressPass pass(progress, "writing", std::int64_t(report.objects.size()));
    for (std::size_t i = 0; i < report.objects.size(); ++i)
    {
        const ObjectMeasures measures = Measure(report, i, source.calibration);
        for (std::size_t c = 0; c < columns.size(); ++c)
            out << (c ? "," : "") << CsvText(columns[c].value(i, measures));
        out << "\n";
        pass.Advance(std::int64_t(i + 1));
    }
}

void WriteAnalysisJson(std::ostream& out, const AnalysisReport& report, const AnalysisSource& source,
                       const TOLX::CImage& image, CProgress& progress)
{
    const int d = report.dimension;
    const std::string measure = d == 3 ? "volume" : "area";
    std::string text;
    CJsonWriter json(text);
    json.BeginObject();
    json.Key("source");
    json.String(source.name);
    json.Key("dimension");
    json.Integer(d);
    json.Key("size");
    WriteNumberArray(json, Corner(report.width, report.height, report.depth, d));
    json.Key("sample_type");
    json.String(source.sampleType);
    if (!source.selection.empty())
    {
        json.Key("selection");
        json.String(source.selection);
    }
    json.Key("unit");
    json.String(source.calibration.unit);
    json.Key("spacing");
    WriteNumberArray(json, Head({source.calibration.spacing[0], source.calibration.spacing[1], source.calibration.spacing[2]}, d));
    json.Key("calibration");
    json.String(source.calibration.origin);
    json.Key("object_count");
    json.Integer(std::int64_t(report.objects.size()));
    json.Key("objects");
    json.BeginArray();
    CProgressPass pass(progress, "writing", std::int64_t(report.objects.size()));
    for (std::size_t i = 0; i < report.objects.size(); ++i)
    {
        const ObjectReport& object = report.objects[i];
        const ObjectMeasures m = Measure(report, i, source.calibration);
        json.BeginObject();
        json.Key("label");
        json.Integer(LabelAt(*source.labels, i));
        json.Key("pixels");
        json.Integer(m.pixels);
        json.Key(measure);
        json.Number(m.volume);
        json.Key("box_min");
        WriteNumberArray(json, Corner(object.box.xmin, object.box.ymin, object.box.zmin, d));
        json.Key("box_max");
        WriteNumberArray(json, Corner(object.box.xmax, object.box.ymax, object.box.zmax, d));
        json.Key("centroid");
        WriteNumberArray(json, Head(m.centroid, d));
        json.Key("inertia_eigenvalues");
        WriteNumberArray(json, Head(m.inertia, d));
        json.Key("major_axis");
        json.Number(m.majorAxis);
        json.Key("minor_axis");
        json.Number(m.minorAxis);
        json.Key("eccentricity");
        json.Number(m.eccentricity);
        json.Key("main_axis");
        WriteNumberArray(json, Head(m.mainAxis, d));
        json.Key("hull");
        if (object.hull.Available())
        {
            json.BeginObject(true);
            json.Key("planes");
            json.Integer(object.hull.planes);
            json.Key("corners");
            json.Integer(object.hull.corners);
            json.Key("painted_pixels");
            json.Integer(object.hull.paintedPixels);
            json.Key("convex_" + measure);
            json.Number(m.convexVolume);
            json.EndObject();
        }
        else
            json.Null();
        json.Key("hull_problem");
        if (object.hull.Available())
            json.Null();
        else
            json.String(report.HullProblem(i));
        json.Key("solidity");
        json.Number(m.solidity);
        json.Key("painted_solidity");
        json.Number(m.paintedSolidity);
        json.Key("moments");
        WriteValue(json, ObjectMomentMap(image, report, i));
        json.EndObject();
        // Written object by object: the whole text of millions of objects
        // would take far more memory than the image.
        out << text;
        text.clear();
        pass.Advance(std::int64_t(i + 1));
    }
    json.EndArray();
    json.EndObject();
    out << text;
}
} // namespace vorn
