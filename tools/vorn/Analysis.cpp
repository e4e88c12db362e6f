#include "Analysis.h"

#include "AffineSpan.h"
#include "ObjectHull.h"
#include "PixelAccess.h"
#include "Progress.h"

#include "Numeric/Moment.h"

#include <algorithm>
#include <iostream>
#include <limits>
#include <streambuf>

namespace vorn
{
namespace
{
// One pass over all pixels: every non-zero pixel goes to its label's moments
// and widens its label's box.
template <class T>
void AccumulateLabels(const TOLX::CImage& image, const std::array<int, 3>& origin, TOLX::CObjectMoment& moments,
                      std::vector<ObjectReport>& objects, CProgress& progress)
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
                // z is 0 in a 2-D image; the sums are exact integers (below
                // 2^53) whatever the origin, in one image or in chunks.
                moments(std::int64_t{label}, x + origin[0], y + origin[1], z + origin[2]);
                LabelBox& box = objects[label - 1].box;
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

// CMoment::Compute() warns on standard error, on every call, that it is
// deprecated; a thousand identical lines would bury the report, so the
// stream is muted while it runs.
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
// coordinates.
void ComputeHulls(TOLX::CImage& image, AnalysisReport& report, bool keepPlanes, CProgress& progress)
{
    // A hull takes longer the larger its object, so progress counts pixels.
    std::int64_t allPixels = 0;
    for (std::size_t i = 0; i < report.objects.size(); ++i)
        allPixels += std::int64_t(report.moments->Mass(std::int64_t(i + 1)));
    CProgressPass pass(progress, "hulls", allPixels);
    std::int64_t donePixels = 0;
    for (std::size_t i = 0; i < report.objects.size(); ++i)
    {
        ObjectReport& object = report.objects[i];
        std::string problem;
        object.hull = HullOfObject(BoxView(image, object.box), report.dimension, std::int64_t(i + 1),
                                   keepPlanes ? &report.planes : nullptr, problem);
        if (object.hull.state == EnHullState::FAILED)
            report.refusals[i] = problem;
        donePixels += std::int64_t(report.moments->Mass(std::int64_t(i + 1)));
        pass.Advance(donePixels);
    }
}
} // namespace

std::string AnalysisReport::HullProblem(std::size_t i) const
{
    const EnHullState state = objects[i].hull.state;
    if (state == EnHullState::FAILED)
        return refusals.at(i);
    if (state == EnHullState::SKIPPED)
        return "not computed";
    return state == EnHullState::HULL ? "" : DegenerateShapeName(static_cast<int>(state));
}

std::uint64_t AnalysisBytesPerObject()
{
    return sizeof(TOLX::Impl::StMomentSums) + sizeof(std::int64_t) + sizeof(TOLX::Impl::StMomentResults) +
           sizeof(ObjectReport) + sizeof(std::int64_t);
}

AnalysisReport Analyze(TOLX::CImage& image, std::size_t objects, const AnalysisOptions& options,
                       CProgress& progress)
{
    AnalysisReport report;
    report.width = image.Width();
    report.height = image.Height();
    report.depth = image.Depth();
    report.dimension = image.Depth() > 1 ? 3 : 2;
    report.hulls = options.hulls;

    auto moments = std::make_shared<TOLX::CObjectMoment>(std::int64_t(objects) + 1, report.dimension);
    const LabelBox empty{std::numeric_limits<int>::max(), std::numeric_limits<int>::max(),
                         std::numeric_limits<int>::max(), -1, -1, -1};
    report.objects.assign(objects, ObjectReport{empty, HullReport()});
    WithPixelType(image.Type(), [&](auto element) {
        AccumulateLabels<decltype(element)>(image, options.origin, *moments, report.objects, progress);
    });
    report.moments = std::move(moments);
    if (options.hulls)
        ComputeHulls(image, report, options.keepPlanes, progress);
    return report;
}

void PaintHulls(TOLX::CImage& image, const AnalysisReport& report, CProgress& progress)
{
    WithPixelType(image.Type(), [&](auto element) { Clear<decltype(element)>(image); });
    CProgressPass pass(progress, "painting", std::int64_t(report.objects.size()));
    const double* next = report.planes.data();
    for (std::size_t i = 0; i < report.objects.size(); ++i)
    {
        const ObjectReport& object = report.objects[i];
        if (object.hull.Available())
        {
            TOLX::CImage view = BoxView(image, object.box);
            PaintHull(view, report.dimension, std::int64_t(i + 1), next, object.hull.planes);
            next += object.hull.planes * std::size_t(report.dimension + 1);
        }
        pass.Advance(std::int64_t(i + 1));
    }
}

TOLX::CValueMap ObjectMomentMap(const TOLX::CImage& image, const AnalysisReport& report, std::size_t i)
{
    const LabelBox& box = report.objects[i].box;
    TOLX::CMoment moment(report.dimension);
    const TOLX::CPos step = image.Step();
    WithPixelType(image.Type(), [&](auto element) {
        using T = decltype(element);
        const T index = static_cast<T>(i + 1);
        for (int z = box.zmin; z <= box.zmax; ++z)
            for (int y = box.ymin; y <= box.ymax; ++y)
            {
                const std::uint8_t* row = image.Data() + z * step.Z() + y * step.Y();
                for (int x = box.xmin; x <= box.xmax; ++x)
                    if (LoadPixel<T>(row + x * sizeof(T)) == index)
                        moment(1.0, x, y, z);
            }
    });
    // The one computation whose map the host knows for labelled objects is
    // the deprecated one, which warns on every call.
    CMutedStandardError muted;
    moment.Compute();
    return moment;
}
} // namespace vorn
