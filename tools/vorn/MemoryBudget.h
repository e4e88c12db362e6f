#pragma once

#include <cstdint>
#include <string>

namespace vorn
{
// The most a decoded image may take, with the buffers that reading it needs,
// and how a refusal names where that limit comes from.
struct ImageMemoryLimit
{
    std::uint64_t bytes = 0;
    std::string origin; // "the memory limit of 2.0 GiB (--max-memory)"
};

// Reads a memory size: a whole number of bytes, or of KiB, MiB, GiB or TiB
// with the suffix K, M, G or T ("1073741824", "512M", "2G"). False for
// anything else, zero included.
bool ParseMemorySize(const std::string& text, std::uint64_t& bytes);

// What `vorn analyze` may use when no limit is given: half the physical memory.
std::uint64_t DefaultMemoryBudget();

// What a budget of `budget` bytes leaves for the image: the analysis needs up
// to 0.3 times the image and 100 MiB beside it. `given` tells whether the
// budget came from --max-memory, for the messages.
ImageMemoryLimit ImageLimitOf(std::uint64_t budget, bool given);

// A size for people: "512 bytes", "1.5 KiB", "80.0 MiB", "2.0 GiB".
std::string ShowBytes(std::uint64_t bytes);
} // namespace vorn
