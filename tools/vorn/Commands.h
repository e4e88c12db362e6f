#pragma once

#include "Cli.h"

#include <istream>
#include <ostream>

namespace vorn
{
class CProgress;

// `vorn analyze`: reads the image (or builds the sample), analyses it, prints
// the report and writes the painted hulls. Failures are CToolError.
void RunAnalyze(const AnalyzeOptions& options, std::ostream& out, CProgress& progress);

// `vorn hull`: reads points from the file or, for "-", from standardInput,
// computes their hull and prints it with the answers to the inside tests.
void RunHull(const HullOptions& options, std::istream& standardInput, std::ostream& out);
} // namespace vorn
