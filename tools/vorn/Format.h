#pragma once

#include "Analysis.h"

#include <ostream>
#include <string>
#include <vector>

namespace vorn
{
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

// A header naming the source, one row per object, and a note for every object
// without a hull saying why.
void WriteAnalysisText(std::ostream& out, const AnalysisReport& report, const std::string& source,
                       const std::string& legend);
std::string AnalysisJson(const AnalysisReport& report, const std::string& source);

void WriteHullText(std::ostream& out, const HullSummary& hull);
std::string HullJson(const HullSummary& hull);
} // namespace vorn
