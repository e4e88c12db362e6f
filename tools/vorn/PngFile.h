#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace vorn
{
// Refuses, before any work, a PNG output when this vorn was built without
// libpng.
void RequirePng(const std::string& path);

// Writes an 8-bit RGB picture, rows top to bottom, three bytes a pixel, as a
// PNG file: under a temporary name, renamed into place when complete.
// Failures are CToolError naming the file.
void WritePng(const std::string& path, int width, int height, const std::vector<std::uint8_t>& rgb);
} // namespace vorn
