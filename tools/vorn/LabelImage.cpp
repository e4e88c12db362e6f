#include "LabelImage.h"

#include "Json.h"
#include "PixelAccess.h"
#include "Progress.h"
#include "ToolError.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <new>
#include <type_traits>

namespace vorn
{
namespace
{
constexpr std::int64_t PROGRESS_STEP = std::int64_t{1} << 20; // pixels between progress updates

// Calls visit(T{}) with the element type of the raw image's samples.
template <class Visitor>
decltype(auto) WithSampleType(const RawImage& raw, Visitor&& visit)
{
    switch (raw.kind)
    {
    case EnSampleKind::FLOAT:
        return raw.bytes == 4 ? visit(float{}) : visit(double{});
    case EnSampleKind::SIGNED:
        return raw.bytes == 1   ? visit(std::int8_t{})
               : raw.bytes == 2 ? visit(std::int16_t{})
               : raw.bytes == 4 ? visit(std::int32_t{})
                                : visit(std::int64_t{});
    default:
        return raw.bytes == 1   ? visit(std::uint8_t{})
               : raw.bytes == 2 ? visit(std::uint16_t{})
               : raw.bytes == 4 ? visit(std::uint32_t{})
                                : visit(std::uint64_t{});
    }
}

// The label a sample stands for, or false for a negative, fractional or too
// large one (or NaN).
template <class T>
bool ToLabel(T value, std::int64_t& label)
{
    if constexpr (std::is_floating_point_v<T>)
    {
        if (!(value >= 0) || value != std::floor(value) || value >= 9223372036854775808.0)
            return false;
    }
    else if constexpr (std::is_signed_v<T>)
    {
        if (value < 0)
            return false;
    }
    else if (std::uint64_t(value) > std::uint64_t(std::numeric_limits<std::int64_t>::max()))
        return false;
    label = static_cast<std::int64_t>(value);
    return true;
}

template <class T>
std::string ValueText(T value)
{
    if constexpr (std::is_floating_point_v<T>)
        return std::isnan(value) ? "NaN" : FormatNumber(double(value));
    else
        return std::to_string(value);
}

// The labels present, with the index of each once they are sorted: open
// addressing over the labels themselves (0, the background, marks a free
// slot), kept at most half full.
class CLabelTable
{
public:
    CLabelTable() : m_keys(std::size_t{1} << 10, 0), m_shift(64 - 10) {}

    void Insert(std::uint64_t label)
    {
        std::uint64_t& slot = m_keys[Slot(label)];
        if (slot != 0)
            return;
        slot = label;
        if (++m_count * 2 > m_keys.size())
            Grow();
    }

    // The labels in ascending order; afterwards every label knows its index.
    std::vector<std::int64_t> Sorted()
    {
        std::vector<std::int64_t> labels;
        labels.reserve(m_count);
        for (const std::uint64_t key : m_keys)
            if (key != 0)
                labels.push_back(std::int64_t(key));
        std::sort(labels.begin(), labels.end());
        m_indices.assign(m_keys.size(), 0);
        for (std::size_t i = 0; i < labels.size(); ++i)
            m_indices[Slot(std::uint64_t(labels[i]))] = std::uint32_t(i + 1);
        return labels;
    }

    std::uint32_t IndexOf(std::uint64_t label) const { return m_indices[Slot(label)]; }
    std::size_t Count() const { return m_count; }

private:
    std::size_t Slot(std::uint64_t label) const
    {
        const std::size_t mask = m_keys.size() - 1;
        std::size_t slot = std::size_t((label * 0x9E3779B97F4A7C15ull) >> m_shift);
        while (m_keys[slot] != 0 && m_keys[slot] != label)
            slot = (slot + 1) & mask;
        return slot;
    }

    void Grow()
    {
        std::vector<std::uint64_t> old(m_keys.size() * 2, 0);
        old.swap(m_keys);
        --m_shift;
        for (const std::uint64_t key : old)
            if (key != 0)
                m_keys[Slot(key)] = key;
    }

    std::vector<std::uint64_t> m_keys;
    std::vector<std::uint32_t> m_indices;
    std::size_t m_count = 0;
    unsigned m_shift;
};

const TOLX::IImage::CType& IndexType(std::uint64_t objects)
{
    return objects <= 0xff ? TOLX::IMAGE_GREY_8 : objects <= 0xffff ? TOLX::IMAGE_GREY_16 : TOLX::IMAGE_GREY_32;
}

// Rewrites pixel i of the buffer, read as T, as index(value) of the index
// type, front to back: an index is never wider than the sample it replaces,
// so no write reaches a sample not yet read.
template <class T, class Index>
void Reindex(LabelImage& image, std::uint64_t pixels, const char* phase, CProgress& progress, Index&& index)
{
    std::uint8_t* data = image.pixels.get();
    CProgressPass pass(progress, phase, std::int64_t(pixels));
    WithPixelType(*image.type, [&](auto element) {
        using U = decltype(element);
        static_assert(sizeof(U) <= 4);
        T previous{};
        U previousIndex = 0;
        for (std::uint64_t i = 0; i < pixels; ++i)
        {
            const T value = LoadPixel<T>(data + i * sizeof(T));
            if (!(value == previous))
                previous = value, previousIndex = static_cast<U>(index(value));
            StorePixel<U>(data + i * sizeof(U), previousIndex);
            if ((i & (PROGRESS_STEP - 1)) == 0)
                pass.Advance(std::int64_t(i));
        }
    });
    // Give back the end the narrower indices no longer use.
    const std::uint64_t bytes = pixels * std::uint64_t(image.type->BytesPerPixel());
    if (void* smaller = std::realloc(image.pixels.get(), std::max<std::uint64_t>(bytes, 1)))
    {
        image.pixels.release();
        image.pixels.reset(static_cast<std::uint8_t*>(smaller));
    }
}

void CheckObjectCount(std::uint64_t objects)
{
    if (objects > 0xffffffffu)
        throw CToolError("the image holds " + std::to_string(objects) + " objects; vorn handles up to 4294967295");
}

LabelImage Shaped(const RawImage& raw)
{
    LabelImage image;
    image.width = raw.width;
    image.height = raw.height;
    image.depth = raw.depth;
    return image;
}

// The backward neighbours of a pixel (those before it, x fastest) that
// differ in at most `connectivity` coordinates, as (dx, dy, dz).
std::vector<std::array<int, 3>> BackwardNeighbours(int dimension, int connectivity)
{
    std::vector<std::array<int, 3>> offsets;
    const int zRange = dimension == 3 ? 1 : 0;
    for (int dz = -zRange; dz <= 0; ++dz)
        for (int dy = -1; dy <= (dz < 0 ? 1 : 0); ++dy)
            for (int dx = -1; dx <= (dz < 0 || dy < 0 ? 1 : -1); ++dx)
                if ((dx != 0) + (dy != 0) + (dz != 0) <= connectivity)
                    offsets.push_back({dx, dy, dz});
    return offsets;
}

std::uint32_t Root(std::vector<std::uint32_t>& parents, std::uint32_t label)
{
    while (parents[label] != label)
        label = parents[label] = parents[parents[label]];
    return label;
}
} // namespace

TOLX::CImage LabelImage::View() const
{
    const std::int64_t bytes = type->BytesPerPixel();
    return TOLX::CImage(*type, TOLX::CSize(width, height, depth), pixels.get(),
                        TOLX::CPos(bytes, bytes * width, bytes * width * std::int64_t(height)));
}

LabelImage IndexLabels(RawImage raw, CProgress& progress, const std::array<int, 3>& origin, int dimension)
{
    const std::uint64_t pixels = raw.PixelCount();
    LabelImage image = Shaped(raw);
    WithSampleType(raw, [&](auto element) {
        using T = decltype(element);
        const std::uint8_t* data = raw.pixels.get();
        CLabelTable table;
        {
            CProgressPass pass(progress, "labels", std::int64_t(pixels));
            // Runs of one label are common; only the first sample of a run is
            // checked and looked up.
            T previous{};
            for (std::uint64_t i = 0; i < pixels; ++i)
            {
                if ((i & (PROGRESS_STEP - 1)) == 0)
                    pass.Advance(std::int64_t(i));
                const T value = LoadPixel<T>(data + i * sizeof(T));
                if (value == previous)
                    continue;
                previous = value;
                std::int64_t label = 0;
                if (!ToLabel(value, label))
                {
                    const std::uint64_t w = std::uint64_t(raw.width), h = std::uint64_t(raw.height);
                    const bool space = dimension ? dimension == 3 : raw.depth > 1;
                    throw CToolError("pixel (" + std::to_string(origin[0] + i % w) + ", " +
                                     std::to_string(origin[1] + i / w % h) +
                                     (space ? ", " + std::to_string(origin[2] + i / (w * h)) : "") + ") holds " +
                                     ValueText(value) + "; labels are integers from 0 to 9223372036854775807");
                }
                if (label != 0)
                    table.Insert(std::uint64_t(label));
            }
        }
        CheckObjectCount(table.Count());
        image.labels = table.Sorted();
        image.objects = image.labels.size();
        image.type = &IndexType(image.objects);
        image.pixels = std::move(raw.pixels);
        // Labels 1 .. n are their own indices: their table is not kept, and
        // integers as wide as the indices need no rewriting at all.
        if (image.objects > 0 && image.labels.back() == std::int64_t(image.objects))
        {
            std::vector<std::int64_t>().swap(image.labels);
            if (std::is_integral_v<T> && sizeof(T) == std::size_t(image.type->BytesPerPixel()))
                return;
        }
        Reindex<T>(image, pixels, "indexing", progress, [&table](T value) {
            std::int64_t label = 0;
            ToLabel(value, label);
            return label == 0 ? 0 : table.IndexOf(std::uint64_t(label));
        });
    });
    return image;
}

LabelImage LabelComponents(RawImage raw, int connectivity, CProgress& progress)
{
    const std::uint64_t pixels = raw.PixelCount();
    LabelImage image = Shaped(raw);
    image.pixels = AllocatePixels(pixels * 4);
    std::uint8_t* provisional = image.pixels.get();
    // parents[0] is the background; every other entry points to a smaller
    // label of its component or to itself, so the smallest label, the one of
    // the component's first pixel, is the root.
    std::vector<std::uint32_t> parents{0};
    const std::int64_t w = raw.width, h = raw.height;
    const auto offsets = BackwardNeighbours(raw.depth > 1 ? 3 : 2, connectivity);
    WithSampleType(raw, [&](auto element) {
        using T = decltype(element);
        const std::uint8_t* data = raw.pixels.get();
        CProgressPass pass(progress, "components", raw.depth * h);
        for (std::int64_t z = 0; z < raw.depth; ++z)
            for (std::int64_t y = 0; y < h; ++y)
            {
                for (std::int64_t x = 0; x < w; ++x)
                {
                    const std::int64_t i = (z * h + y) * w + x;
                    std::uint32_t label = 0;
                    if (LoadPixel<T>(data + i * sizeof(T)) != T(0))
                    {
                        for (const auto& [dx, dy, dz] : offsets)
                        {
                            if (x + dx < 0 || x + dx >= w || y + dy < 0 || y + dy >= h || z + dz < 0)
                                continue;
                            const std::uint32_t other =
                                LoadPixel<std::uint32_t>(provisional + 4 * (i + (dz * h + dy) * w + dx));
                            if (other == 0)
                                continue;
                            const std::uint32_t root = Root(parents, other);
                            if (label == 0)
                                label = root;
                            else if (root != label)
                                label = parents[std::max(root, label)] = std::min(root, label);
                        }
                        if (label == 0)
                        {
                            if (parents.size() == 0xffffffffu)
                                throw CToolError("the image has more than 4294967294 separate pieces of foreground");
                            label = std::uint32_t(parents.size());
                            parents.push_back(label);
                        }
                    }
                    StorePixel<std::uint32_t>(provisional + 4 * i, label);
                }
                pass.Advance(z * h + y + 1);
            }
    });
    raw.pixels.reset();
    // Roots numbered in order, every other label as its (already numbered) parent.
    std::uint32_t objects = 0;
    for (std::size_t label = 1; label < parents.size(); ++label)
        parents[label] = parents[label] == label ? ++objects : parents[parents[label]];
    image.objects = objects;
    image.type = &IndexType(objects);
    Reindex<std::uint32_t>(image, pixels, "numbering", progress, [&parents](std::uint32_t label) { return parents[label]; });
    return image;
}
} // namespace vorn
