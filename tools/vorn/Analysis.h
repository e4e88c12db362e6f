#pragma once

#include "zeblib2core/Types.h"
#include "zeblib2core/Value.h"
#include "zeblib2image/Image.h"

#include <cstdint>
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

// What the hull of one object gave, or why there is none. The hull is built
// in coordinates local to the object's box, and so are its counts.
struct HullReport
{
    bool available = false;
    // Why not available: "point", "line" or "flat" for an object whose
    // pixels span less than the image's dimension, else the library's message.
    std::string problem;
    std::size_t facets = 0;        // distinct facet planes
    std::size_t vertices = 0;      // distinct hull vertices
    std::int64_t paintedPixels = 0; // pixels whose centre lies in the hull
};

struct ObjectReport
{
    std::int64_t label = 0;
    std::int64_t pixels = 0;
    LabelBox box{};
    TOLX::CTriple<double> centre;
    // The eigenvalues of the object's tensor, largest first, one per dimension.
    std::vector<double> principalMoments;
    // The unit direction in which the object extends most.
    TOLX::CTriple<double> mainAxis;
    // Meaningful in 2-D only.
    double excentricity = 0;
    HullReport hull;

    // Pixels ÷ pixels painted by the hull; NaN without a hull.
    double Solidity() const;
};

struct AnalysisReport
{
    int dimension = 0; // 2 for a single page, 3 for a stack
    int width = 0, height = 0, depth = 0;
    int bitsPerPixel = 0;
    std::int64_t labels = 0; // largest label + 1
    std::vector<ObjectReport> objects; // ascending labels, only labels with pixels
    // The moments of every label; ObjectMomentMaps renders them as the host
    // sees them, which only a report that prints them needs.
    std::shared_ptr<const TOLX::CObjectMoment> moments;
};

// Analyses every non-zero label of an 8-, 16- or 32-bit label image: moments of
// all labels in one pass, then one hull per object. Afterwards the image holds
// the painted hulls instead of the labels: every object's hull painted in its
// label, in ascending label order, every other pixel 0. Besides the image,
// it holds the labels' moments and the facet planes of the hulls, no copy
// of the image.
AnalysisReport Analyze(TOLX::CImage& image, CProgress& progress);

// The moment value map of each object of a report that Analyze made, in the
// order of its objects: the object's CMoment map as the host converts it.
std::vector<TOLX::CValueMap> ObjectMomentMaps(const AnalysisReport& report);

// The most labels an image may use. Each takes about 320 bytes of moment sums
// and results whether or not it has pixels, and is visited by every per-label
// pass: 2^22 labels take about 1.3 GB even when few of them are used.
constexpr std::int64_t MAX_LABELS = std::int64_t{1} << 22;
} // namespace vorn
