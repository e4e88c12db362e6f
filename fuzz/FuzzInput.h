#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <ostream>
#include <streambuf>
#include <string>

// Reads typed values from a fuzzer's byte string; past the end it yields zeros,
// so every input decodes to something.
class FuzzInput
{
public:
    FuzzInput(const std::uint8_t* data, std::size_t size) : m_data(data), m_size(size) {}

    bool Empty() const noexcept { return m_at >= m_size; }

    std::uint8_t Byte() noexcept { return m_at < m_size ? m_data[m_at++] : 0; }

    template <class T>
    T Raw() noexcept
    {
        T value{};
        unsigned char bytes[sizeof(T)] = {};
        for (auto& b : bytes)
            b = Byte();
        std::memcpy(&value, bytes, sizeof(T));
        return value;
    }

    // An integer in [0, bound).
    unsigned Below(unsigned bound) noexcept { return bound == 0 ? 0 : Raw<std::uint16_t>() % bound; }

    // A double that is mostly small and well-behaved, sometimes huge, tiny,
    // infinite or NaN, and sometimes a repeat of a few fixed values.
    double Number() noexcept
    {
        switch (Byte() % 8)
        {
        case 0: return Raw<double>();
        case 1: return static_cast<double>(static_cast<std::int8_t>(Byte()));
        case 2: return static_cast<double>(static_cast<std::int8_t>(Byte())) * 1e-13;
        case 3: return static_cast<double>(static_cast<std::int8_t>(Byte())) * 1e9;
        default: return static_cast<double>(Raw<std::int16_t>()) / 256.0;
        }
    }

    std::string Text(std::size_t maxLength)
    {
        const std::size_t length = Below(static_cast<unsigned>(maxLength + 1));
        std::string text;
        for (std::size_t i = 0; i < length && !Empty(); ++i)
            text += static_cast<char>(Byte());
        return text;
    }

private:
    const std::uint8_t* m_data;
    std::size_t m_size;
    std::size_t m_at = 0;
};

// A failed invariant: abort so that the fuzzer records the input.
#define FUZZ_CHECK(condition)                                                                              \
    do                                                                                                     \
    {                                                                                                      \
        if (!(condition))                                                                                  \
        {                                                                                                  \
            std::fprintf(stderr, "invariant failed at %s:%d: %s\n", __FILE__, __LINE__, #condition);       \
            std::abort();                                                                                  \
        }                                                                                                  \
    } while (false)

// Discards what the library writes to a standard stream (diagnostic dumps
// and warnings), so that the fuzzer's own output stays readable and memory
// does not grow with it.
inline void Silence(std::ostream& stream)
{
    struct NullBuffer : std::streambuf
    {
        int overflow(int c) override { return traits_type::not_eof(c); }
    };
    static NullBuffer buffer;
    stream.rdbuf(&buffer);
}
