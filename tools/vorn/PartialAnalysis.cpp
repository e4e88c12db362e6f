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

// Replaces the points, given in the frame of their box, by the corners of
// their hull when they are many; points that span less than the dimension,
// or whose hull the library refuses, stay as they are.
void KeepCorners(std::vector<Point>& points, const LabelBox& box, int dimension)
{
    // A few hundred points are cheaper to carry than to reduce.
    if (points.size() <= 256)
        return;
    std::string problem;
    std::vector<std::array<double, 3>> corners;
    if (HullOfPoints(points, dimension, SizeOf(box), problem, &corners).state != EnHullState::HULL)
        return;
    points.clear();
    for (const std::array<double, 3>& corner : corners)
        points.push_back({std::int64_t(corner[0]), std::int64_t(corner[1]), std::int64_t(corner[2])});
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
    part.hulls = hulls;
    part.starts.push_back(0);
    for (std::size_t i = 0; i < index.objects; ++i)
    {
        const LabelBox& local = report.objects[i].box;
        const LabelBox box = {local.xmin + origin[0], local.ymin + origin[1], local.zmin + origin[2],
                              local.xmax + origin[0], local.ymax + origin[1], local.zmax + origin[2]};
        const int low[3] = {local.xmin, local.ymin, local.zmin}, high[3] = {local.xmax, local.ymax, local.zmax};
        bool complete = true;
        for (int k = 0; k < 3; ++k)
            complete = complete && (low[k] > 0 || origin[k] == 0) && (high[k] < extent[k] - 1 || origin[k] + extent[k] == size[k]);
        HullReport hull;
        if (hulls && complete)
        {
            std::string problem;
            hull = HullOfObject(BoxView(image, local), dimension, std::int64_t(i + 1), nullptr, problem);
        }
        else if (hulls)
        {
            std::vector<Point> points = RowEnds(BoxView(image, local), std::int64_t(i + 1));
            KeepCorners(points, box, dimension);
            Shift(points.begin(), points.end(), box, 1);
            part.points.insert(part.points.end(), points.begin(), points.end());
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
    merged.hulls = parts.front()->hulls;
    for (const PartialAnalysis* part : parts)
        if (part->dimension != merged.dimension || part->hulls != merged.hulls)
            throw CToolError("partial results of different analyses (dimension or hulls differ) cannot merge");
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
        if (merged.hulls && end - e > 1)
        {
            std::vector<Point> points(merged.points.begin() + std::ptrdiff_t(first), merged.points.end());
            Shift(points.begin(), points.end(), box, -1);
            KeepCorners(points, box, merged.dimension);
            Shift(points.begin(), points.end(), box, 1);
            merged.points.resize(first);
            merged.points.insert(merged.points.end(), points.begin(), points.end());
        }
        merged.labels.push_back(entries[e].label);
        merged.sums.push_back(sums);
        merged.boxes.push_back(box);
        merged.complete.push_back(head.complete[at]);
        merged.hull.push_back(head.hull[at]);
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
            std::vector<Point> points(whole.points.begin() + whole.starts[i], whole.points.begin() + whole.starts[i + 1]);
            Shift(points.begin(), points.end(), object.box, -1);
            std::string problem;
            object.hull = HullOfPoints(points, whole.dimension, SizeOf(object.box), problem, nullptr);
            if (object.hull.state == EnHullState::FAILED)
                report.refusals[i] = problem;
        }
        report.objects.push_back(object);
    }
    return report;
}
} // namespace vorn
