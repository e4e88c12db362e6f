#include "Commands.h"

#include "Analysis.h"
#include "Format.h"
#include "InputFile.h"
#include "LabelImage.h"
#include "Measures.h"
#include "MemoryBudget.h"
#include "Overlay.h"
#include "PngFile.h"
#include "OutputFile.h"
#include "Progress.h"
#include "SampleVolume.h"
#include "TiffIO.h"
#include "ToolError.h"

#include "zeblib2core/Exception.h"

#include <cstring>
#include <new>
#include <optional>

#include <unistd.h>

namespace vorn
{
namespace
{
RawImage SampleImage()
{
    const TOLX::CImage volume = MakeSampleVolume();
    RawImage raw;
    raw.width = volume.Width();
    raw.height = volume.Height();
    raw.depth = volume.Depth();
    raw.pixels = AllocatePixels(raw.PixelCount());
    std::memcpy(raw.pixels.get(), volume.Data(), raw.PixelCount());
    return raw;
}

std::string SampleTypeName(const RawImage& raw)
{
    if (raw.fileBits == 1)
        return "1-bit";
    return std::to_string(raw.fileBits) + "-bit " +
           (raw.kind == EnSampleKind::FLOAT    ? "floating-point"
            : raw.kind == EnSampleKind::SIGNED ? "signed"
                                               : "unsigned");
}

// The file's calibration, or the one the options give.
Calibration ChosenCalibration(const AnalyzeOptions& options, const RawImage& raw, const std::string& source)
{
    Calibration calibration = raw.calibration;
    if (options.spacing.empty())
    {
        if (!options.unit.empty())
            calibration.unit = options.unit;
        return calibration;
    }
    if (raw.depth > 1 && options.spacing.size() < 3)
        throw CToolError(source + " is a 3-D stack; --spacing needs X,Y,Z", CToolError::USAGE);
    for (std::size_t k = 0; k < options.spacing.size(); ++k)
        calibration.spacing[k] = options.spacing[k];
    calibration.origin = "--spacing";
    calibration.unit = !options.unit.empty() ? options.unit : raw.calibration.origin != "none" ? raw.calibration.unit : "unit";
    return calibration;
}
// Where the overlay draws each object's main axis: through its centroid,
// as long as the major axis (in pixels, whatever the calibration).
std::vector<OverlayObject> OverlayObjects(const AnalysisReport& report, const std::vector<std::int64_t>& labels)
{
    std::vector<OverlayObject> objects(report.objects.size());
    for (std::size_t i = 0; i < objects.size(); ++i)
    {
        const ObjectMeasures measures = Measure(report, i, Calibration{});
        OverlayObject& object = objects[i];
        object.label = LabelAt(labels, i);
        object.centre[0] = measures.centroid[0];
        object.centre[1] = measures.centroid[1];
        object.axis[0] = measures.mainAxis[0];
        object.axis[1] = measures.mainAxis[1];
        object.halfLength = measures.majorAxis / 2;
    }
    return objects;
}
} // namespace

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
    if (!options.overlay.empty())
    {
        RequirePng(options.overlay);
        CheckOutputTarget(options.overlay, input ? &*input : nullptr);
    }

    const std::string name = sample ? "built-in sample volume" : options.image;
    const std::string quoted = sample ? name : QuotedName(name);
    const std::uint64_t budget = options.maxMemory ? options.maxMemory : DefaultMemoryBudget();
    RawImage raw = sample ? SampleImage()
                          : ReadTiff(std::move(*input), {options.channel, options.frame},
                                     ImageLimitOf(budget, options.maxMemory != 0), progress);
    AnalysisSource source;
    source.name = name;
    source.sampleType = SampleTypeName(raw);
    source.selection = raw.selection;
    source.legend = sample ? SampleLegend() : "";
    source.calibration = ChosenCalibration(options, raw, quoted);
    // Painted hulls keep the input's sample type, unless the labels are
    // components numbered by the tool.
    const EnSampleKind paintKind = options.connectivity ? EnSampleKind::UNSIGNED : raw.kind;
    const int paintBytes = raw.bytes;

    const ImageMemoryLimit limit = ImageLimitOf(budget, options.maxMemory != 0);
    if (options.connectivity)
    {
        const std::uint64_t work = raw.PixelCount() * 4, held = raw.PixelCount() * std::uint64_t(raw.bytes);
        if (held + work > limit.bytes)
            throw CToolError(quoted + ": --connectivity needs " + ShowBytes(work) +
                             " beside the image (4 bytes a pixel), more than " + limit.origin + " leaves for it");
    }

    LabelImage labels;
    AnalysisReport report;
    try
    {
        labels = options.connectivity ? LabelComponents(std::move(raw), options.connectivity, progress)
                                      : IndexLabels(std::move(raw), progress);
        // The objects' records come beside the image, whose bytes the reader
        // has already held to the limit.
        const std::uint64_t objectBytes = labels.objects * AnalysisBytesPerObject();
        if (objectBytes > budget - std::min(budget, limit.bytes))
            throw CToolError(std::to_string(labels.objects) + " objects need " + ShowBytes(objectBytes) +
                             " beside the image, more than " + limit.origin + " leaves for them");
        TOLX::CImage image = labels.View();
        report = Analyze(image, labels.objects, {options.hulls, !options.paint.empty()}, progress);
    }
    catch (const TOLX::CException& error)
    {
        throw CToolError(quoted + ": " + error.what());
    }
    catch (const CToolError& error)
    {
        throw CToolError(quoted + ": " + error.what());
    }
    catch (const std::bad_alloc&)
    {
        throw CToolError(quoted + ": not enough memory for the analysis");
    }
    source.labels = &labels.labels;

    TOLX::CImage image = labels.View();
    // A bar between the lines of a report on the terminal would garble it.
    CProgress silent(stderr, false, std::chrono::milliseconds(0));
    CProgress& writing = isatty(STDOUT_FILENO) ? silent : progress;
    if (options.json)
        WriteAnalysisJson(out, report, source, image, writing);
    else if (options.csv)
        WriteAnalysisCsv(out, report, source, writing);
    else
        WriteAnalysisText(out, report, source, writing);
    out.flush();
    if (!options.overlay.empty())
    {
        const OverlayPicture picture = DrawOverlay(image, OverlayObjects(report, labels.labels));
        WritePng(options.overlay, picture.width, picture.height, picture.rgb);
    }
    if (!options.paint.empty())
    {
        PaintHulls(image, report, progress);
        const int bytes = options.connectivity ? labels.type->BytesPerPixel() : paintBytes;
        WriteTiff(options.paint, image, {paintKind, bytes, &labels.labels}, progress);
    }
}
} // namespace vorn
