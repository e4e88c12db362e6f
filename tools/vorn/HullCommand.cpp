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
#include <iostream>
#include <cstdint>
#include <cstring>
#include <stdexcept>

namespace vorn
{
namespace
{
std::vector<double> Elements(const TOLX::CMatrix<double>& matrix)
{
    return std::vector<double>(matrix.Data(), matrix.Data() + matrix.Rows() * matrix.Cols());
}

// Coordinates as a hash key: -0 and 0 compare equal, so they hash alike.
std::size_t HashOf(const double* coordinates, std::size_t d)
{
    std::size_t hash = 0;
    for (std::size_t i = 0; i < d; ++i)
    {
        const double value = coordinates[i] + 0.0;
        std::uint64_t bits = 0;
        std::memcpy(&bits, &value, sizeof bits);
        hash = (hash ^ std::size_t(bits)) * 0x100000001b3ULL;
        hash ^= hash >> 29;
    }
    return hash;
}

// The hull's vertices as the input points they are, each once, in order of
// first appearance along the facets. The facets hold copies of the points
// the hull was given, so every vertex is found exactly among their unit
// coordinates `unit`; vertices are told apart by the input point they are
// (the library's own vertex lists compare coordinates within fixed
// tolerances, which merges distinct vertices of a small set). Where several
// input points share a vertex's unit coordinates, the first one stands for it.
std::vector<std::vector<double>> Vertices(const TOLX::CConvexHullComputer& hull, const PointSet& points,
                                          const std::vector<double>& unit)
{
    const std::size_t d = points.dimension;
    // The distinct vertex coordinates in order of first appearance, in an
    // open-addressing table of at least twice their number of slots: the
    // input points, far more numerous, are then each looked up once.
    std::vector<double> keys;
    for (const TOLX::CFacet* facet : hull.GetFacets())
        for (std::size_t j = 0; j < facet->getVertices().Cols(); ++j)
            for (std::size_t i = 0; i < d; ++i)
                keys.push_back(facet->getVertices()(i, j));
    std::size_t slots = 2;
    while (slots < 2 * (keys.size() / d))
        slots *= 2;
    constexpr std::size_t EMPTY = std::size_t(-1);
    std::vector<std::size_t> table(slots, EMPTY); // first key index with these coordinates
    std::vector<std::size_t> order;               // distinct key indices, first appearance first
    const auto find = [&](const double* coordinates) -> std::size_t& {
        std::size_t slot = HashOf(coordinates, d) & (slots - 1);
        while (table[slot] != EMPTY && !std::equal(coordinates, coordinates + d, &keys[table[slot] * d]))
            slot = (slot + 1) & (slots - 1);
        return table[slot];
    };
    for (std::size_t k = 0; k < keys.size() / d; ++k)
    {
        std::size_t& entry = find(&keys[k * d]);
        if (entry == EMPTY)
        {
            entry = k;
            order.push_back(k);
        }
    }
    std::vector<std::size_t> pointOfKey(keys.size() / d, EMPTY);
    for (std::size_t p = 0; p < points.Count(); ++p)
    {
        const std::size_t entry = find(&unit[p * d]);
        if (entry != EMPTY && pointOfKey[entry] == EMPTY)
            pointOfKey[entry] = p;
    }
    std::vector<std::vector<double>> vertices;
    for (const std::size_t k : order)
    {
        if (pointOfKey[k] == EMPTY)
            throw std::logic_error("a hull vertex is none of the points it was built from");
        vertices.emplace_back(points.Point(pointOfKey[k]), points.Point(pointOfKey[k]) + d);
    }
    return vertices;
}

// The library's tolerance is absolute (1e-12). vorn builds the hull at unit
// size, where it is relative, but a user who takes these coordinates to the
// library directly gets another hull: far smaller sets lose their facets in
// the tolerance, far larger ones have their offsets rounded beyond it.
constexpr double SMALLEST_PLAIN_EXTENT = 1e-6;
constexpr double LARGEST_PLAIN_EXTENT = 1e9;

void WarnOfScale(const std::string& source, double extent)
{
    if (extent >= SMALLEST_PLAIN_EXTENT && extent <= LARGEST_PLAIN_EXTENT)
        return;
    std::cerr << "vorn: warning: " << source << ": the points extend over " << extent
              << " units, a scale at which the library's absolute tolerance of 1e-12 is meaningless; "
                 "vorn builds the hull scaled to unit size, the library on these coordinates would not\n";
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
    WarnOfScale(source, frame.Extent());
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
