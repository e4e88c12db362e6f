#include "ObjectHull.h"

#include "AffineSpan.h"
#include "HullGeometry.h"
#include "PixelAccess.h"

#include "Numeric/ConvexHullComputer.h"
#include "zeblib2core/Exception.h"

#include <algorithm>
#include <random>

namespace vorn
{
namespace
{
// Calls visit(point) with the first and then the last pixel of every row of
// the object (once for a row of one pixel) until it returns false.
template <class T, class Visit>
void ForEachRowEnd(const TOLX::CImage& view, T label, Visit&& visit)
{
    const TOLX::CPos step = view.Step();
    const int width = view.Width();
    const auto matches = [&](const std::uint8_t* row, int x) { return LoadPixel<T>(row + x * step.X()) == label; };
    for (int z = 0; z < view.Depth(); ++z)
        for (int y = 0; y < view.Height(); ++y)
        {
            const std::uint8_t* row = view.Data() + z * step.Z() + y * step.Y();
            int first = 0;
            while (first < width && !matches(row, first))
                ++first;
            if (first == width)
                continue;
            int last = width - 1;
            while (!matches(row, last))
                --last;
            if (!visit(CAffineSpan::Point{first, y, z}) || (last != first && !visit(CAffineSpan::Point{last, y, z})))
                return;
        }
}

// The span of the row-end pixels, which is the span of all the object's
// pixels; the scan stops once it fills the dimension.
template <class T>
CAffineSpan RowEndSpan(const TOLX::CImage& view, T label, int dimension)
{
    CAffineSpan span;
    ForEachRowEnd(view, label, [&](const CAffineSpan::Point& point) { return span.Add(point) < dimension; });
    return span;
}

// The library draws its start simplex as random subsets of d + 1 points, each
// draw taking time in proportion to the number of points, until a subset is
// affinely independent. For an object that is all but flat (a plate with one
// pixel off its plane) hardly any subset is, and the draws would take time
// quadratic in the points. A few subsets drawn here and tested exactly tell
// whether independent ones are common; the fixed seed makes an object always
// take the same way.
bool IndependentSubsetsAreCommon(const std::list<TOLX::CMatrix<double>>& points, int dimension)
{
    constexpr int SUBSETS = 64;
    constexpr int ENOUGH = 4; // below this, independent subsets are likely rarer than 1 in 16
    std::vector<const double*> indexed;
    indexed.reserve(points.size());
    for (const TOLX::CMatrix<double>& point : points)
        indexed.push_back(point.Data());
    std::mt19937 generator(1);
    std::uniform_int_distribution<std::size_t> pick(0, indexed.size() - 1);
    int independent = 0;
    for (int subset = 0; subset < SUBSETS && independent < ENOUGH; ++subset)
    {
        // d + 1 distinct points, as the library draws them.
        std::array<std::size_t, 4> chosen{};
        CAffineSpan span;
        for (int k = 0; k <= dimension; ++k)
        {
            do
                chosen[k] = pick(generator);
            while (std::find(chosen.begin(), chosen.begin() + k, chosen[k]) != chosen.begin() + k);
            const double* p = indexed[chosen[k]];
            span.Add({std::int64_t(p[0]), std::int64_t(p[1]), dimension == 3 ? std::int64_t(p[2]) : 0});
        }
        independent += span.Rank() == dimension;
    }
    return independent >= ENOUGH;
}

// The points that span the object, as the columns of a start simplex.
TOLX::CMatrix<double> StartSimplex(const CAffineSpan& span, int dimension)
{
    TOLX::CMatrix<double> simplex(static_cast<std::size_t>(dimension), static_cast<std::size_t>(dimension) + 1);
    for (int column = 0; column <= dimension; ++column)
        for (int row = 0; row < dimension; ++row)
            simplex(std::size_t(row), std::size_t(column)) = double(span.Basis()[column][row]);
    return simplex;
}

} // namespace

TOLX::CImage BoxView(TOLX::CImage& image, const LabelBox& box)
{
    const TOLX::CPos step = image.Step();
    std::uint8_t* const corner = image.Data() + box.xmin * step.X() + box.ymin * step.Y() + box.zmin * step.Z();
    return TOLX::CImage(image.Type(),
                        TOLX::CSize(box.xmax - box.xmin + 1, box.ymax - box.ymin + 1, box.zmax - box.zmin + 1), corner,
                        step);
}

std::vector<CAffineSpan::Point> RowEnds(const TOLX::CImage& view, std::int64_t label)
{
    std::vector<CAffineSpan::Point> points;
    WithPixelType(view.Type(), [&](auto element) {
        ForEachRowEnd(view, static_cast<decltype(element)>(label), [&](const CAffineSpan::Point& point) {
            points.push_back(point);
            return true;
        });
    });
    return points;
}

namespace
{
// Computes the hull that `hull` holds the points of and measures it; `span`
// is the points' span, of full rank, and `size` their box's size.
HullReport MeasuredHull(TOLX::CConvexHullComputer& hull, const CAffineSpan& span, int dimension,
                        const std::array<int, 3>& size, std::vector<double>* planes, std::string& problem,
                        std::vector<std::array<double, 3>>* cornersOut)
{
    HullReport report;
    try
    {
        if (IndependentSubsetsAreCommon(hull.getPoints(), dimension))
            hull.compute();
        else
            hull.compute(StartSimplex(span, dimension));
    }
    catch (const TOLX::CException& error)
    {
        report.state = EnHullState::FAILED;
        problem = error.what();
        return report;
    }
    HullPlanes shape;
    shape.dimension = dimension;
    auto offset = hull.getb().begin();
    for (const TOLX::CMatrix<double>& normal : hull.getA())
    {
        shape.planes.insert(shape.planes.end(), normal.Data(), normal.Data() + dimension);
        shape.planes.push_back(*offset++);
    }
    for (const TOLX::CMatrix<double>& vertex : hull.getVertices())
        shape.vertices.push_back({vertex.Data()[0], vertex.Data()[1], dimension == 3 ? vertex.Data()[2] : 0.0});
    std::vector<std::array<double, 3>> corners = Corners(shape);
    report.state = EnHullState::HULL;
    report.planes = static_cast<std::uint32_t>(shape.PlaneCount());
    report.corners = static_cast<std::uint32_t>(corners.size());
    report.convexPixels = PixelHullMeasure(shape, corners, {size[0] - 1, size[1] - 1, size[2] - 1});
    report.paintedPixels = LatticePointsInside(shape, size);
    if (planes)
        planes->insert(planes->end(), shape.planes.begin(), shape.planes.end());
    if (cornersOut)
        *cornersOut = std::move(corners);
    return report;
}

HullReport DegenerateHull(const CAffineSpan& span)
{
    HullReport report;
    report.state = static_cast<EnHullState>(std::max(span.Rank(), 0)); // POINT, LINE or FLAT
    return report;
}
} // namespace

HullReport HullOfObject(const TOLX::CImage& view, int dimension, std::int64_t label, std::vector<double>* planes,
                        std::string& problem)
{
    const CAffineSpan span = WithPixelType(view.Type(), [&](auto element) {
        return RowEndSpan(view, static_cast<decltype(element)>(label), dimension);
    });
    if (span.Rank() < dimension)
        return DegenerateHull(span);
    TOLX::CConvexHullComputer hull(static_cast<std::size_t>(dimension), "vorn object hull", nullptr);
    hull.loadPointsFromImage(view, static_cast<std::size_t>(label));
    return MeasuredHull(hull, span, dimension, {view.Width(), view.Height(), view.Depth()}, planes, problem, nullptr);
}

HullReport HullOfPoints(const std::vector<CAffineSpan::Point>& points, int dimension, const std::array<int, 3>& size,
                        std::string& problem, std::vector<std::array<double, 3>>* corners)
{
    CAffineSpan span;
    for (const CAffineSpan::Point& point : points)
        if (span.Add(point) == dimension)
            break;
    if (span.Rank() < dimension)
        return DegenerateHull(span);
    TOLX::CConvexHullComputer hull(static_cast<std::size_t>(dimension), "vorn object hull", nullptr);
    TOLX::CMatrix<double> column(static_cast<std::size_t>(dimension), 1);
    for (const CAffineSpan::Point& point : points)
    {
        for (int k = 0; k < dimension; ++k)
            column(std::size_t(k), 0) = double(point[std::size_t(k)]);
        hull.addPoint(column);
    }
    return MeasuredHull(hull, span, dimension, size, nullptr, problem, corners);
}

void PaintHull(TOLX::CImage& view, int dimension, std::int64_t label, const double* planes, std::size_t facets)
{
    // A computer that holds nothing but the equations paints as the one that
    // built them.
    TOLX::CConvexHullComputer hull(static_cast<std::size_t>(dimension), "vorn painted hull", nullptr);
    for (std::size_t f = 0; f < facets; ++f)
    {
        const double* plane = planes + f * (std::size_t(dimension) + 1);
        TOLX::CMatrix<double> normal(1, std::size_t(dimension));
        std::copy(plane, plane + dimension, normal.Data());
        hull.getA().push_back(normal);
        hull.getb().push_back(plane[dimension]);
    }
    hull.paintConvexHullToImage(view, {0, 0, 0, view.Width() - 1, view.Height() - 1, view.Depth() - 1},
                                static_cast<std::size_t>(label));
}
} // namespace vorn
