#include "RawImage.h"

#include <limits>
#include <new>

namespace vorn
{
PixelBuffer AllocatePixels(std::uint64_t bytes)
{
    if (bytes > std::numeric_limits<std::size_t>::max())
        throw std::bad_alloc();
    void* pixels = std::malloc(std::max<std::size_t>(std::size_t(bytes), 1));
    if (!pixels)
        throw std::bad_alloc();
    return PixelBuffer(static_cast<std::uint8_t*>(pixels));
}
} // namespace vorn
