#pragma once

#include <cstdint>
#include <cstring>

namespace TOLX
{
namespace Impl
{
// Finding the outermost matching pixels of an image row. Rows are read a
// machine word at a time where the pixels lie contiguously: a word is only
// looked at pixel by pixel once it is known to hold a match, which finds the
// same first (or last) matching pixel as a pixel-by-pixel scan.

// Whether any pixel lane of word is zero (exact for the existence of one).
template <class Pixel>
inline bool HasZeroLane(std::uint64_t word) noexcept
{
    constexpr std::uint64_t ones = ~std::uint64_t{0} / ((std::uint64_t{1} << (8 * sizeof(Pixel))) - 1);
    constexpr std::uint64_t highs = ones << (8 * sizeof(Pixel) - 1);
    return ((word - ones) & ~word & highs) != 0;
}

template <class Pixel>
struct MatchNonZero
{
    bool operator()(Pixel value) const noexcept { return value != 0; }
    bool AnyIn(std::uint64_t word) const noexcept { return word != 0; }
};

template <class Pixel>
struct MatchColour
{
    explicit MatchColour(Pixel c) : colour(c)
    {
        std::uint64_t p = 0;
        for (unsigned i = 0; i < sizeof(std::uint64_t) / sizeof(Pixel); ++i)
            p = (p << (8 * sizeof(Pixel))) | c;
        pattern = p;
    }
    bool operator()(Pixel value) const noexcept { return value == colour; }
    bool AnyIn(std::uint64_t word) const noexcept { return HasZeroLane<Pixel>(word ^ pattern); }

    Pixel colour;
    std::uint64_t pattern;
};

template <class Pixel>
inline Pixel PixelAt(const std::uint8_t* row, long step, int x) noexcept
{
    Pixel value;
    std::memcpy(&value, row + static_cast<long>(x) * step, sizeof(Pixel));
    return value;
}

// The first x in [from, to) whose pixel matches, or to.
template <class Pixel, class Match>
int FirstMatch(const std::uint8_t* row, long step, int from, int to, const Match& match) noexcept
{
    constexpr int perWord = sizeof(std::uint64_t) / sizeof(Pixel);
    int x = from;
    if (step == static_cast<long>(sizeof(Pixel)))
        for (; x + perWord <= to; x += perWord)
        {
            std::uint64_t word;
            std::memcpy(&word, row + static_cast<long>(x) * step, sizeof word);
            if (match.AnyIn(word))
                break;
        }
    for (; x < to; ++x)
        if (match(PixelAt<Pixel>(row, step, x)))
            return x;
    return to;
}

// The last x in (after, from] whose pixel matches, or after.
template <class Pixel, class Match>
int LastMatch(const std::uint8_t* row, long step, int from, int after, const Match& match) noexcept
{
    constexpr int perWord = sizeof(std::uint64_t) / sizeof(Pixel);
    int x = from;
    if (step == static_cast<long>(sizeof(Pixel)))
        for (; x - perWord >= after; x -= perWord)
        {
            std::uint64_t word;
            std::memcpy(&word, row + static_cast<long>(x - perWord + 1) * step, sizeof word);
            if (match.AnyIn(word))
                break;
        }
    for (; x > after; --x)
        if (match(PixelAt<Pixel>(row, step, x)))
            return x;
    return after;
}
} // namespace Impl
} // namespace TOLX
