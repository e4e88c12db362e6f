#include "Commands.h"

#include "Analysis.h"
#include "Format.h"
#include "Progress.h"
#include "SampleVolume.h"
#include "TiffIO.h"
#include "ToolError.h"

#include "zeblib2core/Exception.h"

#include <new>

#include <unistd.h>

namespace vorn
{
namespace
{
// Refuses an output file that cannot be written before the long analysis
// rather than after it.
void CheckWritable(const std::string& path)
{
    RequireTiff(path);
    const std::size_t slash = path.find_last_of('/');
    const std::string directory = slash == std::string::npos ? "." : slash == 0 ? "/" : path.substr(0, slash);
    if (access(directory.c_str(), W_OK) != 0)
        throw CToolError(path + ": cannot be written: directory '" + directory + "' is missing or not writable");
}
} // namespace

void RunAnalyze(const AnalyzeOptions& options, std::ostream& out, CProgress& progress)
{
    if (!options.paint.empty())
        CheckWritable(options.paint);
    const bool sample = options.image.empty();
    const std::string source = sample ? "built-in sample volume" : options.image;
    TOLX::CImage image = sample ? MakeSampleVolume() : ReadTiff(options.image, progress);

    AnalysisReport report;
    try
    {
        report = Analyze(image, progress);
    }
    catch (const TOLX::CException& error)
    {
        throw CToolError(source + ": " + error.what());
    }
    catch (const CToolError& error)
    {
        throw CToolError(source + ": " + error.what());
    }
    catch (const std::bad_alloc&)
    {
        throw CToolError(source + ": not enough memory for the analysis");
    }

    if (options.json)
        out << AnalysisJson(report, source);
    else
        WriteAnalysisText(out, report, source, sample ? SampleLegend() : "");
    out.flush();
    if (!options.paint.empty())
        WriteTiff(options.paint, image, progress);
}
} // namespace vorn
