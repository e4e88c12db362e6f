#include "ObjectHull.h"

#include "PixelAccess.h"

#include "Numeric/ConvexHullComputer.h"
#include "zeblib2core/Exception.h"

#include <algorithm>

namespace vorn
{
namespace
{
// Counts the pixels the hull painted into `scratch` within the box, copies
// them into paintInto in the label, and clears them again.
template <class T>
std::int64_t CollectPainted(TOLX::CImage& scratch, TOLX::CImage* paintInto, const LabelBox& box, std::int64_t label)
{
    const TOLX::CPos from = scratch.Step();
    std::int64_t painted = 0;
    for (int z = box.zmin; z <= box.zmax; ++z)
        for (int y = box.ymin; y <= box.ymax; ++y)
        {
            std::uint8_t* row = scratch.Data() + z * from.Z() + y * from.Y();
            std::uint8_t* out = nullptr;
            if (paintInto)
            {
                const TOLX::CPos to = paintInto->Step();
                out = paintInto->Data() + z * to.Z() + y * to.Y();
            }
            for (int x = box.xmin; x <= box.xmax; ++x)
            {
                if (row[x] == 0)
                    continue;
                ++painted;
                row[x] = 0;
                if (out)
                    StorePixel<T>(out + x * sizeof(T), static_cast<T>(label));
            }
        }
    return painted;
}

// The outermost pixels of every row of the object, as the image loader of the
// hull computer gathers them.
template <class T>
void LoadRowEnds(TOLX::CConvexHullComputer& hull, const TOLX::CImage& image, int dimension, std::int64_t label,
                 const LabelBox& box)
{
    const TOLX::CPos step = image.Step();
    TOLX::CMatrix<double> point(std::size_t(dimension), 1);
    for (int z = box.zmin; z <= box.zmax; ++z)
        for (int y = box.ymin; y <= box.ymax; ++y)
        {
            const std::uint8_t* row = image.Data() + z * step.Z() + y * step.Y();
            const auto matches = [&](int x) { return LoadPixel<T>(row + x * sizeof(T)) == label; };
            int left = box.xmin;
            while (left <= box.xmax && !matches(left))
                ++left;
            if (left > box.xmax)
                continue;
            int right = box.xmax;
            while (!matches(right))
                --right;
            point(1, 0) = y;
            if (dimension == 3)
                point(2, 0) = z;
            point(0, 0) = left;
            hull.addPoint(point);
            if (right != left)
            {
                point(0, 0) = right;
                hull.addPoint(point);
            }
        }
}

// Marks with 1 every pixel of the box whose centre lies in the hull; a row
// meets a convex body in one interval, so only its ends are searched.
void PaintHull(const TOLX::CConvexHullComputer& hull, TOLX::CImage& scratch, int dimension, const LabelBox& box)
{
    const TOLX::CPos step = scratch.Step();
    TOLX::CMatrix<double> probe(std::size_t(dimension), 1);
    const auto inside = [&](int x) {
        probe(0, 0) = x;
        return hull.isInside(probe);
    };
    for (int z = box.zmin; z <= box.zmax; ++z)
        for (int y = box.ymin; y <= box.ymax; ++y)
        {
            probe(1, 0) = y;
            if (dimension == 3)
                probe(2, 0) = z;
            int left = box.xmin;
            while (left <= box.xmax && !inside(left))
                ++left;
            if (left > box.xmax)
                continue;
            int right = box.xmax;
            while (right > left && !inside(right))
                --right;
            std::uint8_t* row = scratch.Data() + z * step.Z() + y * step.Y();
            std::fill(row + left, row + right + 1, std::uint8_t{1});
        }
}
} // namespace

HullReport HullOfObject(const TOLX::CImage& image, int dimension, std::int64_t label, const LabelBox& box,
                        TOLX::CImage& scratch, TOLX::CImage* paintInto)
{
    HullReport report;
    TOLX::CConvexHullComputer hull(static_cast<std::size_t>(dimension), "vorn object hull", nullptr);
    WithPixelType(image.Type(), [&](auto element) { LoadRowEnds<decltype(element)>(hull, image, dimension, label, box); });
    const std::size_t points = hull.getPoints().size();
    // With exactly d points the start-point draw would complete its simplex
    // with a point that is not the object's, so the hull is not even tried.
    if (points < std::size_t(dimension) + 1)
    {
        report.problem = std::to_string(points) + (points == 1 ? " point" : " points") + "; a " +
                         std::to_string(dimension) + "-D hull needs at least " + std::to_string(dimension + 1);
        return report;
    }
    try
    {
        hull.compute();
    }
    catch (const TOLX::CException& error)
    {
        report.problem = error.what();
        return report;
    }
    report.available = true;
    report.facets = hull.getA().size();
    report.vertices = hull.getVertices().size();
    PaintHull(hull, scratch, dimension, box);
    report.paintedPixels = WithPixelType(image.Type(), [&](auto element) {
        return CollectPainted<decltype(element)>(scratch, paintInto, box, label);
    });
    return report;
}
} // namespace vorn
