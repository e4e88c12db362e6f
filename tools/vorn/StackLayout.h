#pragma once

#include <cstdint>
#include <string>

namespace vorn
{
// The size of a pixel in physical units, and where that came from.
struct Calibration
{
    double spacing[3] = {1, 1, 1}; // x, y, z
    std::string unit = "pixel";
    std::string origin = "none"; // "ImageJ", "OME", "TIFF resolution", "--spacing" or "none"
};

// How the pages of a file are ordered: ImageJ hyperstacks and OME-TIFF keep
// channels, z slices and time points in pages of one sequence.
struct StackLayout
{
    std::string format; // "ImageJ hyperstack", "OME-TIFF", or empty: every page is a z slice
    std::int64_t channels = 1;
    std::int64_t slices = 0; // 0: as many as the file has pages
    std::int64_t frames = 1;
    std::string order = "CZT"; // fastest first: ImageJ's XYCZT without XY
    Calibration calibration;
    bool calibrated = false; // the description carried a calibration

    // The page (0-based) that holds slice z of channel c at frame t (0-based).
    std::int64_t PageOf(std::int64_t c, std::int64_t z, std::int64_t t) const;
};

// The layout an ImageDescription declares: ImageJ's "ImageJ=" lines (images=,
// channels=, slices=, frames=, spacing=, unit=) or the first Pixels element
// of OME-XML (DimensionOrder, SizeZ, SizeC, SizeT, PhysicalSize[XYZ] and
// their units). Any other text declares nothing. A declaration that makes
// no sense (no channels, an order without C, Z and T) is a CToolError whose
// line starts with `where`.
StackLayout ParseDescription(const std::string& description, const std::string& where);

// The unit as people write it: "micron", "um" and ImageJ's escaped
// "\u00B5m" become "µm".
std::string NormalUnit(const std::string& unit);
} // namespace vorn
