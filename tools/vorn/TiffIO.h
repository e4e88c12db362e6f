#pragma once

#include "zeblib2image/Image.h"

#include <string>

namespace vorn
{
class CProgress;

// True when this build of the tool reads and writes TIFF files (it was built
// with libtiff).
bool TiffAvailable();

// Throws the CToolError, naming the file, that every TIFF operation of a build
// without libtiff throws; does nothing in a build with it.
void RequireTiff(const std::string& path);

// Reads a grey or label image: one page gives a 2-D image (depth 1), several
// pages of one size a 3-D stack. Pixels must be 8-, 16- or 32-bit unsigned
// integers (IMAGE_GREY_8, IMAGE_GREY_16, IMAGE_GREY_32). Every problem is a
// CToolError whose message names the file.
TOLX::CImage ReadTiff(const std::string& path, CProgress& progress);

// Writes a grey or label image as one page per z slice.
void WriteTiff(const std::string& path, const TOLX::CImage& image, CProgress& progress);
} // namespace vorn
