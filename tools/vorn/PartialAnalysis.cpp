#include "PartialAnalysis.h"

#include "LabelImage.h"
#include "ObjectHull.h"
#include "Progress.h"
#include "ToolError.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <string>

namespace vorn
{
namespace
{
using Point = CAffineSpan::Point;

std::array<int, 3> SizeOf(const LabelBox& box)
{
    return {box.xmax - box.xmin + 1, box.ymax - box.ymin + 1, box.zmax - box.zmin + 1};
}

// Moves the points by `by`, each coordinate times `sign`.
void Shift(std::vector<Point>::iterator first, std::vector<Point>::iterator last, const LabelBox& by, int sign)
{
    for (; first != last; ++first)
    {
        (*first)[0] += sign * std::int64_t{by.xmin};
        (*first)[1] += sign * std::int64_t{by.ymin};
        (*first)[2] += sign * std::int64_t{by.zmin};
    }
}

// Builds the hull of points given in the image's coordinates, in the frame
// of their box, where coordinates are small; with `corners`, its extreme
// points are stored there, back in the image's coordinates.
HullReport HullOfImagePoints(std::vector<Point> points, const LabelBox& box, int dimension, std::string& problem,
                             std::vector<Point>* corners = nullptr)
{
    Shift(points.begin(), points.end(), box, -1);
    std::vector<std::array<double, 3>> extremes;
    const HullReport report = HullOfPoints(points, dimension, SizeOf(box), problem, corners ? &extremes : nullptr);
    if (corners)
    {
        corners->clear();
        for (const std::array<double, 3>& corner : extremes)
            corners->push_back({std::int64_t(corner[0]), std::int64_t(corner[1]), std::int64_t(corner[2])});
        Shift(corners->begin(), corners->end(), box, 1);
    }
    return report;
}

// Replaces the points (image coordinates) of an object that is not complete
// by the corners of their hull when they are very many: a few thousand are
// cheaper to carry than to reduce, as the hull is built once, where the
// object is complete. Points that span less than the dimension, or whose
// hull the library refuses, stay as they are.
void KeepCorners(std::vector<Point>& points, std::size_t first, const LabelBox& box, int dimension)
{
    if (points.size() - first <= 16384)
        return;
    std::string problem;
    std::vector<Point> corners;
    if (HullOfImagePoints({points.begin() + std::ptrdiff_t(first), points.end()}, box, dimension, problem, &corners)
            .state != EnHullState::HULL)
        return;
    points.resize(first);
    points.insert(points.end(), corners.begin(), corners.end());
}

// Whether no pixel of an object with this box can lie outside the region:
// on each side the box stops short of the region's face, or that face is the
// image's.
bool Inside(const LabelBox& box, const LabelBox& region, const std::array<int, 3>& size)
{
    const int low[3] = {box.xmin, box.ymin, box.zmin}, high[3] = {box.xmax, box.ymax, box.zmax};
    const int regionLow[3] = {region.xmin, region.ymin, region.zmin};
    const int regionHigh[3] = {region.xmax, region.ymax, region.zmax};
    for (int k = 0; k < 3; ++k)
        if ((low[k] == regionLow[k] && regionLow[k] > 0) || (high[k] == regionHigh[k] && regionHigh[k] < size[k] - 1))
            return false;
    return true;
}

__extension__ using Wide = unsigned __int128;

Wide Volume(const LabelBox& box)
{
    return Wide(box.xmax - box.xmin + 1) * Wide(box.ymax - box.ymin + 1) * Wide(box.zmax - box.zmin + 1);
}

void AddSums(MomentSums& sums, const MomentSums& other)
{
    sums.m000 += other.m000;
    sums.m100 += other.m100;
    sums.m010 += other.m010;
    sums.m001 += other.m001;
    sums.m200 += other.m200;
    sums.m020 += other.m020;
    sums.m002 += other.m002;
    sums.m110 += other.m110;
    sums.m101 += other.m101;
    sums.m011 += other.m011;
}

void Widen(LabelBox& box, const LabelBox& other)
{
    box = {std::min(box.xmin, other.xmin), std::min(box.ymin, other.ymin), std::min(box.zmin, other.zmin),
           std::max(box.xmax, other.xmax), std::max(box.ymax, other.ymax), std::max(box.zmax, other.zmax)};
}
} // namespace

PartialAnalysis AnalyzeChunk(RawImage chunk, const std::array<int, 3>& origin, const std::array<int, 3>& size,
                             int dimension, bool hulls)
{
    const std::array<int, 3> extent{chunk.width, chunk.height, chunk.depth};
    CProgress silent(stderr, false, std::chrono::milliseconds(0));
    const LabelImage index = IndexLabels(std::move(chunk), silent, origin, dimension);
    TOLX::CImage image = index.View();
    AnalysisOptions options;
    options.hulls = false;
    options.origin = origin;
    const AnalysisReport report = Analyze(image, index.objects, options, silent);

    PartialAnalysis part;
    part.dimension = dimension;
    part.size = size;
    part.region = {origin[0], origin[1], origin[2], origin[0] + extent[0] - 1, origin[1] + extent[1] - 1,
                   origin[2] + extent[2] - 1};
    part.hulls = hulls;
    part.starts.push_back(0);
    for (std::size_t i = 0; i < index.objects; ++i)
    {
        const LabelBox& local = report.objects[i].box;
        const LabelBox box = {local.xmin + origin[0], local.ymin + origin[1], local.zmin + origin[2],
                              local.xmax + origin[0], local.ymax + origin[1], local.zmax + origin[2]};
        const bool complete = Inside(box, part.region, size);
        HullReport hull;
        if (hulls && complete)
        {
            std::string problem;
            hull = HullOfObject(BoxView(image, local), dimension, std::int64_t(i + 1), nullptr, problem);
        }
        else if (hulls)
        {
            const std::vector<Point> points = RowEnds(BoxView(image, local), std::int64_t(i + 1));
            const std::size_t first = part.points.size();
            part.points.insert(part.points.end(), points.begin(), points.end());
            Shift(part.points.begin() + std::ptrdiff_t(first), part.points.end(), box, 1);
            KeepCorners(part.points, first, box, dimension);
        }
        part.labels.push_back(LabelAt(index.labels, i));
        part.sums.push_back(SumsOf(*report.moments, std::int64_t(i + 1)));
        part.boxes.push_back(box);
        part.complete.push_back(complete);
        part.hull.push_back(hull);
        part.starts.push_back(std::int64_t(part.points.size()));
    }
    return part;
}

PartialAnalysis MergePartials(const std::vector<const PartialAnalysis*>& parts)
{
    PartialAnalysis merged;
    if (parts.empty())
        return merged;
    merged.dimension = parts.front()->dimension;
    merged.size = parts.front()->size;
    merged.hulls = parts.front()->hulls;
    merged.region = parts.front()->region;
    Wide volumes = 0;
    for (const PartialAnalysis* part : parts)
    {
        if (part->dimension != merged.dimension || part->size != merged.size || part->hulls != merged.hulls)
            throw CToolError("partial results of different analyses (image or hulls differ) cannot merge");
        Widen(merged.region, part->region);
        merged.regionIsBox = merged.regionIsBox && part->regionIsBox;
        volumes += Volume(part->region);
    }
    // The region of a union that is no box is only its bounding box, which
    // may overlap others; boxes are known, and must not overlap.
    if (merged.regionIsBox && volumes > Volume(merged.region))
        throw CToolError("partial results of overlapping chunks cannot merge");
    merged.regionIsBox = merged.regionIsBox && volumes == Volume(merged.region);
    // Every (label, part, position), in label order and, for one label, in
    // the order of the parts, which fixes the order of the additions.
    struct Entry
    {
        std::int64_t label;
        std::size_t part, position;
    };
    std::vector<Entry> entries;
    for (std::size_t p = 0; p < parts.size(); ++p)
        for (std::size_t i = 0; i < parts[p]->labels.size(); ++i)
            entries.push_back({parts[p]->labels[i], p, i});
    std::stable_sort(entries.begin(), entries.end(),
                     [](const Entry& a, const Entry& b) { return a.label < b.label; });
    merged.starts.push_back(0);
    for (std::size_t e = 0; e < entries.size();)
    {
        std::size_t end = e + 1;
        while (end < entries.size() && entries[end].label == entries[e].label)
            ++end;
        const PartialAnalysis& head = *parts[entries[e].part];
        const std::size_t at = entries[e].position;
        MomentSums sums = head.sums[at];
        LabelBox box = head.boxes[at];
        const std::size_t first = merged.points.size();
        for (std::size_t k = e; k < end; ++k)
        {
            const PartialAnalysis& part = *parts[entries[k].part];
            const std::size_t i = entries[k].position;
            if (end - e > 1 && part.complete[i])
                throw CToolError("partial results: label " + std::to_string(entries[e].label) +
                                 " lies wholly in one chunk and in another as well (chunks overlap)");
            if (k > e)
            {
                AddSums(sums, part.sums[i]);
                Widen(box, part.boxes[i]);
            }
            merged.points.insert(merged.points.end(), part.points.begin() + part.starts[i],
                                 part.points.begin() + part.starts[i + 1]);
        }
        // An object found in one part may be complete there already; else
        // it is complete once the merged region, a box, holds it.
        bool complete = end - e == 1 && head.complete[at];
        HullReport hull = head.hull[at];
        if (!complete)
        {
            complete = merged.regionIsBox && Inside(box, merged.region, merged.size);
            if (complete && merged.hulls)
            {
                std::string problem;
                hull = HullOfImagePoints({merged.points.begin() + std::ptrdiff_t(first), merged.points.end()}, box,
                                         merged.dimension, problem);
                merged.points.resize(first);
            }
            else if (merged.hulls)
                KeepCorners(merged.points, first, box, merged.dimension);
        }
        merged.labels.push_back(entries[e].label);
        merged.sums.push_back(sums);
        merged.boxes.push_back(box);
        merged.complete.push_back(complete);
        merged.hull.push_back(hull);
        merged.starts.push_back(std::int64_t(merged.points.size()));
        e = end;
    }
    return merged;
}

AnalysisReport ReportOfPartials(const PartialAnalysis& whole)
{
    AnalysisReport report;
    report.dimension = whole.dimension;
    report.hulls = whole.hulls;
    for (std::size_t i = 0; i < whole.labels.size(); ++i)
    {
        ObjectReport object{whole.boxes[i], whole.hull[i]};
        if (whole.hulls && !whole.complete[i])
        {
            std::string problem;
            object.hull = HullOfImagePoints({whole.points.begin() + whole.starts[i], whole.points.begin() + whole.starts[i + 1]},
                                            object.box, whole.dimension, problem);
            if (object.hull.state == EnHullState::FAILED)
                report.refusals[i] = problem;
        }
        report.objects.push_back(object);
    }
    return report;
}
} // namespace vorn
