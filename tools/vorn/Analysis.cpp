#include "Analysis.h"

#include "ObjectHull.h"
#include "PixelAccess.h"
#include "Progress.h"
#include "ToolError.h"

#include "Numeric/Moment.h"

#include <algorithm>
#include <cmath>
#include <iostream>
#include <limits>
#include <stdexcept>
#include <streambuf>

namespace vorn
{
namespace
{
template <class T>
std::int64_t LargestLabel(const TOLX::CImage& image)
{
    const std::size_t count = std::size_t(image.Width()) * std::size_t(image.Height()) * std::size_t(image.Depth());
    const std::uint8_t* data = image.Data();
    T largest = 0;
    for (std::size_t i = 0; i < count; ++i)
        largest = std::max(largest, LoadPixel<T>(data + i * sizeof(T)));
    return largest;
}

// One pass over all pixels: every non-zero pixel goes to its label's moments
// and widens its label's box.
template <class T>
void AccumulateLabels(const TOLX::CImage& image, TOLX::CObjectMoment& moments, std::vector<LabelBox>& boxes,
                      CProgress& progress)
{
    const TOLX::CPos step = image.Step();
    const int width = image.Width(), height = image.Height(), depth = image.Depth();
    CProgressPass pass(progress, "moments", std::int64_t{height} * depth);
    for (int z = 0; z < depth; ++z)
        for (int y = 0; y < height; ++y)
        {
            const std::uint8_t* row = image.Data() + z * step.Z() + y * step.Y();
            for (int x = 0; x < width; ++x)
            {
                const T label = LoadPixel<T>(row + x * sizeof(T));
                if (label == 0)
                    continue;
                moments(label, x, y, z); // z is 0 in a 2-D image
                LabelBox& box = boxes[label];
                box.xmin = std::min(box.xmin, x);
                box.xmax = std::max(box.xmax, x);
                box.ymin = std::min(box.ymin, y);
                box.ymax = std::max(box.ymax, y);
                box.zmin = std::min(box.zmin, z);
                box.zmax = std::max(box.zmax, z);
            }
            pass.Advance(std::int64_t{z} * height + y + 1);
        }
}

// Discards everything written to it.
class CNullBuffer : public std::streambuf
{
protected:
    int_type overflow(int_type c) override { return traits_type::not_eof(c); }
    std::streamsize xsputn(const char*, std::streamsize count) override { return count; }
};

// CObjectMoment::Compute() warns on standard error, once per object, that it
// uses the deprecated per-object computation; it is the only way to compute
// per-label moments, and a thousand identical lines would bury the report, so
// the stream is muted while it runs.
class CMutedStandardError
{
public:
    CMutedStandardError() : m_saved(std::cerr.rdbuf(&m_null)) {}
    ~CMutedStandardError() { std::cerr.rdbuf(m_saved); }
    CMutedStandardError(const CMutedStandardError&) = delete;
    CMutedStandardError& operator=(const CMutedStandardError&) = delete;

private:
    CNullBuffer m_null;
    std::streambuf* m_saved;
};

void FillMomentResults(const TOLX::CObjectMoment& moments, int dimension, ObjectReport& object)
{
    const std::int64_t label = object.label;
    object.centre = TOLX::CTriple<double>(moments.CenterOfMassX(label), moments.CenterOfMassY(label),
                                          moments.CenterOfMassZ(label));
    const std::vector<double> eigenvalues = moments.getInertiaMoments(label);
    object.principalMoments.assign(eigenvalues.begin(), eigenvalues.begin() + dimension);
    // In 3-D the per-object tensor is the inertia tensor, whose smallest
    // eigenvalue (the last, as they come largest first) belongs to the axis of
    // largest extent; in 2-D it is the covariance, whose largest comes first.
    const auto axes = moments.getInertiaAxes(label);
    const std::size_t column = dimension == 3 ? 2 : 0;
    object.mainAxis = TOLX::CTriple<double>(axes(0, column), axes(1, column), dimension == 3 ? axes(2, column) : 0.0);
    object.excentricity = dimension == 2 ? moments.getExcentricity(label) : std::numeric_limits<double>::quiet_NaN();
}

// Sets every pixel to 0.
template <class T>
void Clear(TOLX::CImage& image)
{
    const TOLX::CPos step = image.Step();
    for (int z = 0; z < image.Depth(); ++z)
        for (int y = 0; y < image.Height(); ++y)
        {
            std::uint8_t* row = image.Data() + z * step.Z() + y * step.Y();
            for (int x = 0; x < image.Width(); ++x)
                StorePixel<T>(row + x * step.X(), T{0});
        }
}

// The hull of every object, each from the pixels of its box in the box's
// coordinates; the facet planes go to `planes`, object after object.
void ComputeHulls(TOLX::CImage& image, AnalysisReport& report, std::vector<double>& planes, CProgress& progress)
{
    // A hull takes longer the larger its object, so progress counts pixels.
    std::int64_t allPixels = 0;
    for (const ObjectReport& object : report.objects)
        allPixels += object.pixels;
    CProgressPass pass(progress, "hulls", allPixels);
    std::int64_t donePixels = 0;
    for (ObjectReport& object : report.objects)
    {
        object.hull = HullOfObject(BoxView(image, object.box), report.dimension, object.label, planes);
        donePixels += object.pixels;
        pass.Advance(donePixels);
    }
}

// Replaces the labels by the hulls, painted in ascending label order. Before
// an object is painted no pixel holds its label (the image was cleared, and
// only smaller labels were painted), so the pixels of its box that hold the
// label afterwards are the pixels its hull painted.
void PaintHulls(TOLX::CImage& image, AnalysisReport& report, const std::vector<double>& planes, CProgress& progress)
{
    WithPixelType(image.Type(), [&](auto element) { Clear<decltype(element)>(image); });
    CProgressPass pass(progress, "painting", std::int64_t(report.objects.size()));
    const double* next = planes.data();
    std::int64_t done = 0;
    for (ObjectReport& object : report.objects)
    {
        if (object.hull.available)
        {
            TOLX::CImage view = BoxView(image, object.box);
            object.hull.paintedPixels = PaintHull(view, report.dimension, object.label, next, object.hull.facets);
            next += object.hull.facets * std::size_t(report.dimension + 1);
        }
        pass.Advance(++done);
    }
}
} // namespace

double ObjectReport::Solidity() const
{
    if (!hull.available || hull.paintedPixels == 0)
        return std::numeric_limits<double>::quiet_NaN();
    return double(pixels) / double(hull.paintedPixels);
}

AnalysisReport Analyze(TOLX::CImage& image, CProgress& progress)
{
    AnalysisReport report;
    report.width = image.Width();
    report.height = image.Height();
    report.depth = image.Depth();
    report.dimension = image.Depth() > 1 ? 3 : 2;
    report.bitsPerPixel = 8 * image.Type().BytesPerPixel();
    report.labels = 1 + WithPixelType(image.Type(), [&](auto element) { return LargestLabel<decltype(element)>(image); });
    if (report.labels > MAX_LABELS)
        throw CToolError("the largest label is " + std::to_string(report.labels - 1) + "; vorn handles labels up to " +
                         std::to_string(MAX_LABELS - 1));

    auto moments = std::make_shared<TOLX::CObjectMoment>(report.labels, report.dimension);
    const LabelBox empty{std::numeric_limits<int>::max(), std::numeric_limits<int>::max(),
                         std::numeric_limits<int>::max(), -1, -1, -1};
    std::vector<LabelBox> boxes(static_cast<std::size_t>(report.labels), empty);
    WithPixelType(image.Type(), [&](auto element) {
        AccumulateLabels<decltype(element)>(image, *moments, boxes, progress);
    });
    {
        CMutedStandardError muted;
        moments->Compute();
    }
    for (std::int64_t label = 1; label < report.labels; ++label)
    {
        if (moments->Mass(label) <= 0.0)
            continue;
        ObjectReport object;
        object.label = label;
        object.pixels = static_cast<std::int64_t>(moments->Mass(label));
        object.box = boxes[static_cast<std::size_t>(label)];
        FillMomentResults(*moments, report.dimension, object);
        report.objects.push_back(std::move(object));
    }
    report.moments = std::move(moments);

    std::vector<double> planes;
    ComputeHulls(image, report, planes, progress);
    PaintHulls(image, report, planes, progress);
    return report;
}

std::vector<TOLX::CValueMap> ObjectMomentMaps(const AnalysisReport& report)
{
    // The per-label maps of CObjectMoment, in ascending label order, each
    // stripped of the two entries CObjectMoment adds to the object's own
    // CMoment map.
    const TOLX::CValueMap all = *report.moments;
    std::vector<TOLX::CValueMap> maps;
    for (const auto& entry : all)
    {
        if (entry.second->Type() != TOLX::VALUE_MAP)
            continue;
        maps.push_back(entry.second->Map());
        maps.back().RemoveEntry("status");
        maps.back().RemoveEntry("pixel");
    }
    if (maps.size() != report.objects.size())
        throw std::logic_error("the moment map lists another number of objects than the moments");
    return maps;
}
} // namespace vorn
