#pragma once

#include "InputFile.h"
#include "RawImage.h"
#include "zeblib2image/Image.h"

#include <memory>
#include <string>
#include <vector>

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

// Which channel and frame of a hyperstack to read, 1-based; 0: not chosen.
struct StackChoice
{
    std::int64_t channel = 0;
    std::int64_t frame = 0;
};

// Reads a grey or label image: one page gives a 2-D image (depth 1), several
// pages of one size a 3-D stack. The pages of an ImageJ hyperstack or an
// OME-TIFF with more than one channel or time point are the z slices of the
// chosen channel and frame; without a choice that is a CToolError of kind
// USAGE naming the counts and the options. Pixels are one sample each: 1-bit,
// unsigned or signed 8-, 16-, 32- or 64-bit integers, or 32- or 64-bit
// floating point, stored uncompressed or with LZW, deflate or PackBits
// compression. Before the image is allocated every page is checked: its data
// must lie inside the file and be able to decode to the page's size, and the
// image with the buffers that reading it needs must stay within `limit`.
// Every problem is a CToolError whose one line names the file and the page.
// The calibration comes from the OME or ImageJ description, else from the
// resolution tags when their unit is the inch or the centimetre.
RawImage ReadTiff(CInputFile file, const StackChoice& choice, const ImageMemoryLimit& limit, CProgress& progress);

// How an index image is written: the sample type of its pixels and the label
// of every index (as LabelImage keeps them; 0 stands for 0).
struct LabelEncoding
{
    EnSampleKind kind = EnSampleKind::UNSIGNED;
    int bytes = 1; // 1, 2, 4 or 8 (4 or 8 for floating point)
    const std::vector<std::int64_t>* labels = nullptr;
};

// Writes an index image (8-, 16- or 32-bit) as one page per z slice, each
// index as its label in the encoding's sample type. The file at `path` is
// replaced only once the new one is complete (see COutputFile).
void WriteTiff(const std::string& path, const TOLX::CImage& image, const LabelEncoding& encoding, CProgress& progress);
} // namespace vorn
