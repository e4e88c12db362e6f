#pragma once

// Checked container access with the wording host applications know from the
// standard containers of their own platform: "invalid vector<T> subscript"
// and "vector<T> too long". The library never catches these.

#include "zeblib2core/Types.h"

#include <cstddef>
#include <stdexcept>
#include <vector>

namespace TOLX
{
namespace Impl
{
[[noreturn]] inline void ThrowInvalidSubscript()
{
    throw std::out_of_range("invalid vector<T> subscript");
}

[[noreturn]] inline void ThrowTooLong()
{
    throw std::length_error("vector<T> too long");
}

// Element index of a std::vector (or any container with size() and []).
// A negative signed index converts to a huge unsigned one and fails the same test.
template <class Container>
decltype(auto) CheckedAt(Container& container, std::size_t index)
{
    if (index >= container.size())
        ThrowInvalidSubscript();
    return container[index];
}

// A signed element count as a container size; a negative count is too long,
// as it would be for the container once converted to its unsigned size type.
inline std::size_t CheckedCount(int64 count)
{
    if (count < 0)
        ThrowTooLong();
    return static_cast<std::size_t>(count);
}

// A count of elements for a new std::vector<T>; beyond the vector's largest
// size it is refused with the platform's text, not the library's own.
template <class T>
std::size_t CheckedLength(std::size_t count)
{
    if (count > std::vector<T>().max_size())
        ThrowTooLong();
    return count;
}

// rows * cols elements for a new std::vector<T>; a product that overflows is
// refused like a count beyond the largest size, so no storage is ever
// smaller than the shape it is meant to hold.
template <class T>
std::size_t CheckedArea(std::size_t rows, std::size_t cols)
{
    if (rows != 0 && cols > std::vector<T>().max_size() / rows)
        ThrowTooLong();
    return rows * cols;
}
} // namespace Impl
} // namespace TOLX
