// The vorn tool's TIFF reader on arbitrary files: every input either gives an
// image within the reader's memory limit or ends in one printable line.
// Sanitizers catch bad accesses, and .ci/fuzz caps every allocation well
// below what the limit would let a valid file take twice over.

#include "InputFile.h"
#include "LabelImage.h"
#include "MemoryBudget.h"
#include "Progress.h"
#include "TiffIO.h"
#include "ToolError.h"

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>

#include <sys/mman.h>
#include <unistd.h>

namespace
{
constexpr std::uint64_t LIMIT = 64 << 20;

// The bytes go into a file in memory, which the reader opens by its /proc
// path like any other regular file.
int MemoryFile()
{
    static const int descriptor = memfd_create("fuzz_tiff", 0);
    if (descriptor < 0)
        std::abort();
    return descriptor;
}

const std::string& MemoryFilePath()
{
    static const std::string path = "/proc/self/fd/" + std::to_string(MemoryFile());
    return path;
}

bool OnePrintableLine(const std::string& text)
{
    for (const char c : text)
        if (c < 0x20 || c > 0x7e)
            return false;
    return !text.empty();
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const int descriptor = MemoryFile();
    if (ftruncate(descriptor, 0) != 0 || pwrite(descriptor, data, size, 0) != static_cast<ssize_t>(size))
        std::abort();
    vorn::CProgress quiet(stderr, false, std::chrono::milliseconds(0));
    try
    {
        // The first channel and frame of a hyperstack, so that its pages are
        // read too; then the labels, whose values are the file's.
        vorn::RawImage raw =
            vorn::ReadTiff(vorn::CInputFile::Open(MemoryFilePath()), {1, 1}, {LIMIT, "the fuzzer's limit"}, quiet);
        if (raw.PixelCount() * std::uint64_t(raw.bytes) > LIMIT)
            std::abort();
        const vorn::LabelImage labels = vorn::IndexLabels(std::move(raw), quiet);
        if (labels.objects > 0 && labels.labels.size() != 0 && labels.labels.size() != labels.objects)
            std::abort();
    }
    catch (const vorn::CToolError& error)
    {
        if (!OnePrintableLine(error.what()))
            std::abort();
    }
    return 0;
}
