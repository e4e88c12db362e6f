#include "Commands.h"

#include "Analysis.h"
#include "Format.h"
#include "InputFile.h"
#include "MemoryBudget.h"
#include "OutputFile.h"
#include "Progress.h"
#include "SampleVolume.h"
#include "TiffIO.h"
#include "ToolError.h"

#include "zeblib2core/Exception.h"

#include <memory>
#include <new>
#include <optional>

namespace vorn
{
void RunAnalyze(const AnalyzeOptions& options, std::ostream& out, CProgress& progress)
{
    const bool sample = options.image.empty();
    if (!sample)
        RequireTiff(options.image);
    if (!options.paint.empty())
        RequireTiff(options.paint);
    // The output is checked against the input and for being writable before
    // the long reading and analysis rather than after them.
    std::optional<CInputFile> input;
    if (!sample)
        input.emplace(CInputFile::Open(options.image));
    if (!options.paint.empty())
        CheckOutputTarget(options.paint, input ? &*input : nullptr);

    const std::string source = sample ? "built-in sample volume" : options.image;
    const std::string quotedSource = sample ? source : QuotedName(source);
    const std::uint64_t budget = options.maxMemory ? options.maxMemory : DefaultMemoryBudget();
    const std::unique_ptr<TOLX::CImage> image =
        sample ? std::make_unique<TOLX::CImage>(MakeSampleVolume())
               : ReadTiff(std::move(*input), ImageLimitOf(budget, options.maxMemory != 0), progress);

    AnalysisReport report;
    try
    {
        report = Analyze(*image, progress);
    }
    catch (const TOLX::CException& error)
    {
        throw CToolError(quotedSource + ": " + error.what());
    }
    catch (const CToolError& error)
    {
        throw CToolError(quotedSource + ": " + error.what());
    }
    catch (const std::bad_alloc&)
    {
        throw CToolError(quotedSource + ": not enough memory for the analysis");
    }

    if (options.json)
        out << AnalysisJson(report, source);
    else
        WriteAnalysisText(out, report, source, sample ? SampleLegend() : "");
    out.flush();
    if (!options.paint.empty())
        WriteTiff(options.paint, *image, progress);
}
} // namespace vorn
