#pragma once

#include "InputFile.h"
#include "zeblib2image/Image.h"

#include <memory>
#include <string>

namespace vorn
{
class CProgress;
struct ImageMemoryLimit;

// True when this build of the tool reads and writes TIFF files (it was built
// with libtiff).
bool TiffAvailable();

// Throws the CToolError, naming the file, that every TIFF operation of a build
// without libtiff throws; does nothing in a build with it.
void RequireTiff(const std::string& path);

// Reads a grey or label image: one page gives a 2-D image (depth 1), several
// pages of one size a 3-D stack. Pixels must be 8-, 16- or 32-bit unsigned
// integers (IMAGE_GREY_8, IMAGE_GREY_16, IMAGE_GREY_32), stored uncompressed
// or with LZW, deflate or PackBits compression. Before the image is allocated
// every page is checked: its data must lie inside the file and be able to
// decode to the page's size, and the image with the buffers that reading it
// needs must stay within `limit`. Every problem is a CToolError whose one line
// names the file and the page. The image comes on the heap: CImage has no move
// constructor, and one copy of a large image would double what reading takes.
std::unique_ptr<TOLX::CImage> ReadTiff(CInputFile file, const ImageMemoryLimit& limit, CProgress& progress);

// Writes a grey or label image as one page per z slice. The file at `path` is
// replaced only once the new one is complete (see COutputFile).
void WriteTiff(const std::string& path, const TOLX::CImage& image, CProgress& progress);
} // namespace vorn
