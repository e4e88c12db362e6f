#include "Commands.h"

#include "Format.h"
#include "InputFile.h"
#include "PointFile.h"
#include "ToolError.h"

#include "Numeric/ConvexHullComputer.h"
#include "Numeric/Matrix.h"
#include "zeblib2core/Exception.h"

#include <algorithm>
#include <list>

namespace vorn
{
namespace
{
std::vector<double> Elements(const TOLX::CMatrix<double>& matrix)
{
    return std::vector<double>(matrix.Data(), matrix.Data() + matrix.Rows() * matrix.Cols());
}

std::vector<std::vector<double>> Vertices(TOLX::CConvexHullComputer& hull)
{
    std::vector<std::vector<double>> vertices;
    // getVertices tells vertices apart by their first three coordinates only,
    // which merges distinct vertices of a hull in more than three dimensions;
    // the helper compares all coordinates.
    if (hull.getDimSpace() > 3)
    {
        std::list<std::vector<double>> all;
        TOLX::CConvexHullHelpers::GetVertices(all, hull);
        vertices.assign(all.begin(), all.end());
        return vertices;
    }
    for (const TOLX::CMatrix<double>& vertex : hull.getVertices())
        vertices.push_back(Elements(vertex));
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
            throw CToolError("hull: --inside '" + text + "': " + error, CToolError::USAGE);
        probes.push_back(numbers);
    }

    const bool fromStandardInput = options.file == "-";
    const std::string source = fromStandardInput ? "<stdin>" : options.file;
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
            throw CToolError("hull: --inside '" + options.inside[i] + "' has " + std::to_string(probes[i].size()) +
                                 " coordinates, the points of " + source + " have " + std::to_string(d),
                             CToolError::USAGE);

    TOLX::CConvexHullComputer hull(d, "vorn hull", nullptr);
    TOLX::CMatrix<double> point(d, 1);
    for (std::size_t i = 0; i < points.Count(); ++i)
    {
        std::copy(points.Point(i), points.Point(i) + d, point.Data());
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
        summary.facets.push_back(HullSummary::Facet{Elements(normal), *offset++});
    summary.vertices = Vertices(hull);
    for (const std::vector<double>& probe : probes)
    {
        std::copy(probe.begin(), probe.end(), point.Data());
        summary.insideTests.push_back(HullSummary::InsideTest{probe, hull.isInside(point)});
    }
    if (options.json)
        out << HullJson(summary);
    else
        WriteHullText(out, summary);
}
} // namespace vorn
