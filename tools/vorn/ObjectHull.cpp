#include "ObjectHull.h"

#include "PixelAccess.h"

#include "Numeric/ConvexHullComputer.h"
#include "zeblib2core/Exception.h"

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
} // namespace

HullReport HullOfObject(const TOLX::CImage& image, int dimension, std::int64_t label, const LabelBox& box,
                        TOLX::CImage& scratch, TOLX::CImage* paintInto)
{
    HullReport report;
    TOLX::CConvexHullComputer hull(static_cast<std::size_t>(dimension), "vorn object hull", nullptr);
    // Only the object's box is scanned; the loader takes exclusive upper ends.
    hull.loadPointsFromImageBox(image, static_cast<std::size_t>(label), box.xmin, box.ymin, box.zmin, box.xmax + 1,
                                box.ymax + 1, box.zmax + 1);
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
    const TOLX::CConvexHullComputer::CBox paintBox{box.xmin, box.ymin, box.zmin, box.xmax, box.ymax, box.zmax};
    hull.paintConvexHullToImage(scratch, paintBox, 1);
    report.paintedPixels = WithPixelType(image.Type(), [&](auto element) {
        return CollectPainted<decltype(element)>(scratch, paintInto, box, label);
    });
    return report;
}
} // namespace vorn
