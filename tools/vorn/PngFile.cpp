#include "PngFile.h"

#include "OutputFile.h"
#include "InputFile.h"
#include "ToolError.h"

#ifdef VORN_HAVE_PNG
#include <png.h>

#include <cerrno>
#include <cstring>

#include <unistd.h>
#endif

namespace vorn
{
#ifndef VORN_HAVE_PNG

namespace
{
[[noreturn]] void NoPng(const std::string& path)
{
    throw CToolError(QuotedName(path) + ": PNG files need libpng, and this vorn was built without it "
                                        "(install libpng-dev and rebuild)");
}
} // namespace

void RequirePng(const std::string& path) { NoPng(path); }
void WritePng(const std::string& path, int, int, const std::vector<std::uint8_t>&) { NoPng(path); }

#else

void RequirePng(const std::string&) {}

namespace
{
struct StSink
{
    int descriptor;
    int error; // errno of the first failed write, else 0
    char message[256];
};

void WriteBytes(png_structp png, png_bytep data, png_size_t length)
{
    auto* sink = static_cast<StSink*>(png_get_io_ptr(png));
    while (length > 0 && sink->error == 0)
    {
        const ssize_t written = ::write(sink->descriptor, data, length);
        if (written < 0 && errno == EINTR)
            continue;
        if (written <= 0)
        {
            sink->error = written < 0 ? errno : ENOSPC;
            png_error(png, "write failed");
        }
        data += written;
        length -= static_cast<png_size_t>(written);
    }
}

void Flush(png_structp) {}

// libpng reports errors by longjmp; the text is kept for the tool's one line.
void KeepError(png_structp png, png_const_charp text)
{
    auto* sink = static_cast<StSink*>(png_get_error_ptr(png));
    std::strncpy(sink->message, text, sizeof sink->message - 1);
    png_longjmp(png, 1);
}

void IgnoreWarning(png_structp, png_const_charp) {}

// Everything between setjmp and a longjmp back to it is C: no object with a
// destructor lives in this frame. Returns false on failure, with `sink` saying
// why.
bool Encode(StSink& sink, int width, int height, const std::uint8_t* rgb)
{
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, &sink, KeepError, IgnoreWarning);
    if (png == nullptr)
        return false;
    png_infop info = png_create_info_struct(png);
    if (info == nullptr || setjmp(png_jmpbuf(png)))
    {
        png_destroy_write_struct(&png, &info);
        return false;
    }
    png_set_write_fn(png, &sink, WriteBytes, Flush);
    png_set_IHDR(png, info, static_cast<png_uint_32>(width), static_cast<png_uint_32>(height), 8, PNG_COLOR_TYPE_RGB,
                 PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    png_write_info(png, info);
    const std::size_t stride = std::size_t(width) * 3;
    for (int y = 0; y < height; ++y)
        png_write_row(png, rgb + std::size_t(y) * stride);
    png_write_end(png, info);
    png_destroy_write_struct(&png, &info);
    return true;
}
} // namespace

void WritePng(const std::string& path, int width, int height, const std::vector<std::uint8_t>& rgb)
{
    if (width <= 0 || height <= 0 || rgb.size() != std::size_t(width) * std::size_t(height) * 3)
        throw CToolError(QuotedName(path) + ": no picture to write");
    COutputFile output(path);
    StSink sink{output.Descriptor(), 0, {}};
    if (!Encode(sink, width, height, rgb.data()))
        throw CToolError(QuotedName(path) + ": " +
                         (sink.error != 0 ? std::string(std::strerror(sink.error))
                                          : "PNG encoding failed" + (sink.message[0] ? ": " + std::string(sink.message) : std::string())));
    output.Commit();
}
#endif
} // namespace vorn
