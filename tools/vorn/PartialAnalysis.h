#pragma once

#include "AffineSpan.h"
#include "Analysis.h"
#include "Measures.h"
#include "RawImage.h"

#include <array>
#include <cstdint>
#include <vector>

namespace vorn
{
// What one chunk of a label image, or several merged, contribute to the
// analysis of the whole image, label by label and in the whole image's
// coordinates: the moment sums, the box, and either the object's hull, when
// the object lies wholly in one chunk, or points whose hull is the object's
// hull there (its corners, or its row-end pixels while it spans less than
// the dimension). With integer coordinates every sum is an integer, exact
// while below 2^53, so merged sums equal those of one pass over the whole
// image bit for bit, in any order of merging; the hull of the union of the
// parts' points is the hull of the union of their pixels.
struct PartialAnalysis
{
    int dimension = 2;            // of the whole image
    std::array<int, 3> size{};    // of the whole image, x, y, z
    LabelBox region{};            // the pixels analysed: a chunk, or chunks that form a box
    bool regionIsBox = true;      // false: chunks whose union is no box
    bool hulls = true;
    std::vector<std::int64_t> labels; // ascending
    std::vector<MomentSums> sums;
    std::vector<LabelBox> boxes;
    std::vector<std::uint8_t> complete; // 1: no pixel of the object lies outside the region
    std::vector<HullReport> hull;       // of the complete objects, final
    std::vector<std::int64_t> starts;   // label i's points are points[starts[i] .. starts[i + 1])
    std::vector<CAffineSpan::Point> points;
};

// The partial results of a chunk whose first pixel lies at `origin` of an
// image of `dimension` dimensions and `size` pixels along x, y and z. Labels
// are checked as IndexLabels checks them, naming a bad pixel by its
// coordinates in the whole image. An object whose box touches no face of the
// chunk inside the image is complete: its hull is built as the analysis of
// the whole image builds it.
PartialAnalysis AnalyzeChunk(RawImage chunk, const std::array<int, 3>& origin, const std::array<int, 3>& size,
                             int dimension, bool hulls);

// The partial results of the union of the parts' regions, which must agree in
// image and hulls and not overlap (else a CToolError). When the union is a
// box, the objects it now holds completely get their final hull; an object
// still incomplete carries the corners of the hull of its points once these
// grow many. Merging neighbouring chunks, so that unions are boxes, spreads
// the hulls over the merges.
PartialAnalysis MergePartials(const std::vector<const PartialAnalysis*>& parts);

// The report on the whole image from the merged results of all its chunks:
// every object's box and hull. Its moments are not kept there: object i
// measures as Measure(whole.sums[i], report.objects[i].hull, ...).
AnalysisReport ReportOfPartials(const PartialAnalysis& whole);
} // namespace vorn
