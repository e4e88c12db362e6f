#pragma once

#include "Analysis.h"
#include "StackLayout.h"

#include <ostream>
#include <string>
#include <vector>

namespace vorn
{
class CProgress;

// A computed hull as the hull command reports it.
struct HullSummary
{
    struct Facet
    {
        std::vector<double> normal; // unit outward normal a
        double offset;              // a·x <= offset inside
    };
    struct InsideTest
    {
        std::vector<double> point;
        bool inside;
    };

    std::size_t dimension = 0;
    std::size_t points = 0;
    std::vector<Facet> facets;
    std::vector<std::vector<double>> vertices;
    std::vector<InsideTest> insideTests;
};

// What a report says about the image it comes from.
struct AnalysisSource
{
    std::string name;
    std::string sampleType; // "8-bit unsigned", "1-bit", "32-bit floating-point"
    std::string selection;  // the channel and frame of a hyperstack, or empty
    std::string legend;     // what the labels stand for, or empty
    Calibration calibration;
    const std::vector<std::int64_t>* labels = nullptr; // as LabelImage keeps them (see LabelAt)
};

// A header naming the source and the unit, one row per object, and a note
// for every object without a hull saying why.
void WriteAnalysisText(std::ostream& out, const AnalysisReport& report, const AnalysisSource& source,
                       CProgress& progress);
// A header row, then one row per object, numbers that read back as the same
// doubles, an empty field where there is no number.
void WriteAnalysisCsv(std::ostream& out, const AnalysisReport& report, const AnalysisSource& source,
                      CProgress& progress);
// JSON, written object by object, with each object's moment map (made from
// `image`, the index image the report was made from).
void WriteAnalysisJson(std::ostream& out, const AnalysisReport& report, const AnalysisSource& source,
                       const TOLX::CImage& image, CProgress& progress);

void WriteHullText(std::ostream& out, const HullSummary& hull);
std::string HullJson(const HullSummary& hull);
} // namespace vorn
