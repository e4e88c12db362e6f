#pragma once

#include "zeblib2core/Types.h"
#include "zeblib2core/Value.h"
#include "zeblib2image/Image.h"

#include <array>
#include <cstdint>
#include <limits>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace TOLX
{
class CObjectMoment;
}

namespace vorn
{
class CProgress;

// The smallest box, inclusive in every coordinate, that holds an object.
struct LabelBox
{
    int xmin, ymin, zmin, xmax, ymax, zmax;
};

// What became of an object's hull. The first three are the rank of an object
// whose pixels span less than the image's dimension (see DegenerateShapeName).
enum class EnHullState : std::uint8_t
{
    POINT = 0,
    LINE = 1,
    FLAT = 2,
    HULL,    // computed
    FAILED,  // the library refused it; the report keeps its message
    SKIPPED  // not asked for (--no-hull)
};

// What the hull of one object gave, in pixels. The hull is built in
// coordinates local to the object's box.
struct HullReport
{
    EnHullState state = EnHullState::SKIPPED;
    std::uint32_t planes = 0;        // distinct facet planes
    std::uint32_t corners = 0;       // extreme points
    std::int64_t paintedPixels = 0;  // pixels whose centre lies in the hull
    double convexPixels = std::numeric_limits<double>::quiet_NaN(); // see PixelHullMeasure

    bool Available() const { return state == EnHullState::HULL; }
};

// Small on purpose: an image may hold millions of objects.
struct ObjectReport
{
    LabelBox box;
    HullReport hull;
};

struct AnalysisOptions
{
    bool hulls = true;       // false: moments only
    bool keepPlanes = false; // keep every hull's planes, for PaintHulls
    // Where the image's first pixel lies in a larger image that it is a chunk
    // of: added to every pixel's coordinates in the moment sums, so that the
    // sums of the chunks merge into those of the whole (boxes stay local).
    std::array<int, 3> origin{};
};

struct AnalysisReport
{
    int dimension = 0; // 2 for a single page, 3 for a stack
    bool hulls = true;  // computed (AnalysisOptions::hulls), also when there are no objects
    int width = 0, height = 0, depth = 0;
    std::vector<ObjectReport> objects; // object i + 1 of the index image at position i
    // The sums of every object, by index (0 is the background).
    std::shared_ptr<const TOLX::CObjectMoment> moments;
    std::vector<double> planes;                 // with keepPlanes: the hulls' planes, object after object
    std::map<std::size_t, std::string> refusals; // position -> the library's message, for FAILED hulls

    // Why object i has no hull: "point", "line", "flat", "not computed" or
    // the library's message.
    std::string HullProblem(std::size_t i) const;
};

// Analyses every object of an index image (0 background, 1 .. objects): the
// moment sums of all of them in one pass, then, unless options say
// otherwise, one hull per object. The image is left as it is. Besides the
// image (which it only reads) it holds the objects' sums, boxes and hull counts (a few hundred
// bytes per object) and, with keepPlanes, the hulls' planes.
AnalysisReport Analyze(TOLX::CImage& image, std::size_t objects, const AnalysisOptions& options,
                       CProgress& progress);

// What the analysis keeps per object beside the image: its moment sums and
// results, its report and its label.
std::uint64_t AnalysisBytesPerObject();

// Replaces the indices by the hulls of a report made with keepPlanes: the
// image cleared, then every hull painted in its index in ascending order, so
// that a later hull covers an earlier one where they overlap.
void PaintHulls(TOLX::CImage& image, const AnalysisReport& report, CProgress& progress);

// The moment value map of object i as the library gives it: a CMoment fed
// the object's pixels in the order the analysis fed them, and computed.
TOLX::CValueMap ObjectMomentMap(const TOLX::CImage& image, const AnalysisReport& report, std::size_t i);
} // namespace vorn
