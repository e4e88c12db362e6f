#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace vorn
{
// False when this vorn was built without libpng.
bool PngAvailable();

// Writes an 8-bit RGB picture, rows top to bottom, three bytes a pixel, as a
// PNG file: under a temporary name, renamed into place when complete.
// Failures are CToolError naming the file.
void WritePng(const std::string& path, int width, int height, const std::vector<std::uint8_t>& rgb);
} // namespace vorn
