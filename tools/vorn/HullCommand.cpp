#include "Commands.h"

#include "Format.h"
#include "InputFile.h"
#include "PointFile.h"
#include "Quote.h"
#include "ToolError.h"
#include "UnitFrame.h"

#include "Numeric/ConvexHullComputer.h"
#include "Numeric/Matrix.h"
#include "zeblib2core/Exception.h"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <stdexcept>

namespace vorn
{
namespace
{
std::vector<double> Elements(const TOLX::CMatrix<double>& matrix)
{
    return std::vector<double>(matrix.Data(), matrix.Data() + matrix.Rows() * matrix.Cols());
}

// The hull's vertices as the input points they are, each once, in order of
// first appearance along the facets. The facets hold copies of the points
// the hull was given, so every vertex is found exactly among their unit
// coordinates `unit`; vertices are told apart by the input point they are
// (the library's own vertex lists compare coordinates within fixed
// tolerances, which merges distinct vertices of a small set).
std::vector<std::vector<double>> Vertices(const TOLX::CConvexHullComputer& hull, const PointSet& points,
                                          const std::vector<double>& unit)
{
    const std::size_t d = points.dimension;
    const auto coordinates = [&](std::size_t i) { return unit.begin() + std::ptrdiff_t(i * d); };
    std::vector<std::size_t> order(points.Count());
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::sort(order.begin(), order.end(), [&](std::size_t a, std::size_t b) {
        return std::lexicographical_compare(coordinates(a), coordinates(a + 1), coordinates(b), coordinates(b + 1));
    });

    std::vector<std::vector<double>> vertices;
    std::vector<bool> listed(points.Count(), false);
    std::vector<double> vertex(d);
    for (const TOLX::CFacet* facet : hull.GetFacets())
    {
        const TOLX::CMatrix<double>& columns = facet->getVertices();
        for (std::size_t j = 0; j < columns.Cols(); ++j)
        {
            for (std::size_t i = 0; i < d; ++i)
                vertex[i] = columns(i, j);
            const auto found = std::lower_bound(order.begin(), order.end(), vertex, [&](std::size_t a, const auto& v) {
                return std::lexicographical_compare(coordinates(a), coordinates(a + 1), v.begin(), v.end());
            });
            if (found == order.end() || !std::equal(vertex.begin(), vertex.end(), coordinates(*found)))
                throw std::logic_error("a hull vertex is none of the points it was built from");
            if (!listed[*found])
            {
                listed[*found] = true;
                vertices.emplace_back(points.Point(*found), points.Point(*found) + d);
            }
        }
    }
    return vertices;
}
} // namespace

void RunHull(const HullOptions& options, std::istream& standardInput, std::ostream& out)
{
    // The inside points are checked first: a typo there is a command-line
    // error, whatever the point file holds.
    std::vector<std::vector<double>> probes;
    std::vector<double> numbers;
    std::string error;
    for (const std::string& text : options.inside)
    {
        if (!ParseNumbers(text, numbers, error))
            throw CToolError("hull: --inside " + Quoted(text) + ": " + error, CToolError::USAGE);
        probes.push_back(numbers);
    }

    const bool fromStandardInput = options.file == "-";
    const std::string source = fromStandardInput ? "<stdin>" : QuotedName(options.file);
    PointSet points;
    if (fromStandardInput)
        points = ReadPoints(standardInput, source);
    else
    {
        CInputStream file(options.file);
        points = ReadPoints(file, source);
    }
    const std::size_t d = points.dimension;
    for (std::size_t i = 0; i < probes.size(); ++i)
        if (probes[i].size() != d)
            throw CToolError("hull: --inside " + Quoted(options.inside[i]) + " has " + std::to_string(probes[i].size()) +
                                 " coordinates, the points of " + source + " have " + std::to_string(d),
                             CToolError::USAGE);

    // The hull is built in the unit frame of the points and its results are
    // taken back to their coordinates.
    const CUnitFrame frame(points);
    std::vector<double> unit(points.coordinates.size());
    for (std::size_t i = 0; i < points.Count(); ++i)
        frame.ToUnit(points.Point(i), &unit[i * d]);
    TOLX::CConvexHullComputer hull(d, "vorn hull", nullptr);
    TOLX::CMatrix<double> point(d, 1);
    for (std::size_t i = 0; i < points.Count(); ++i)
    {
        std::copy(&unit[i * d], &unit[i * d] + d, point.Data());
        hull.addPoint(point);
    }
    try
    {
        hull.compute();
    }
    catch (const TOLX::CException& failure)
    {
        throw CToolError(source + ": " + failure.what());
    }

    HullSummary summary;
    summary.dimension = d;
    summary.points = points.Count();
    auto offset = hull.getb().begin();
    for (const TOLX::CMatrix<double>& normal : hull.getA())
        summary.facets.push_back(HullSummary::Facet{Elements(normal), frame.OffsetFromUnit(normal.Data(), *offset++)});
    summary.vertices = Vertices(hull, points, unit);
    for (const std::vector<double>& probe : probes)
    {
        frame.ToUnit(probe.data(), point.Data());
        const bool inFrame = std::all_of(point.Data(), point.Data() + d, [](double u) { return std::isfinite(u); });
        summary.insideTests.push_back(HullSummary::InsideTest{probe, inFrame && hull.isInside(point)});
    }
    if (options.json)
        out << HullJson(summary);
    else
        WriteHullText(out, summary);
}
} // namespace vorn
