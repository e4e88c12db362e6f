#pragma once

#include "Analysis.h"
#include "Measures.h"

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace vorn
{
// A cell of a row: an integer (labels reach 2^63 - 1, beyond a double's
// exact range) or a number, NaN where there is none.
struct Cell
{
    bool integer;
    std::int64_t whole;
    double number;
};

inline Cell Whole(std::int64_t value) { return {true, value, 0}; }
inline Cell Number(double value) { return {false, 0, value}; }

// A column of the reports (and of the Python package's table): its name, the
// power of the unit its values carry, whether every cell is an integer, and
// how an object gives its value.
struct AnalysisColumn
{
    std::string name;
    int unitPower;
    bool whole;
    std::function<Cell(std::size_t i, const ObjectMeasures&)> value;
};

// The columns of a report, in their order; the hull columns unless the hulls
// were skipped. `labels` is the label table as LabelImage keeps it, and must
// outlive the columns.
std::vector<AnalysisColumn> AnalysisColumns(const AnalysisReport& report, const std::vector<std::int64_t>& labels);
} // namespace vorn
