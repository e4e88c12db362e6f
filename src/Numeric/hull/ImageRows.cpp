#include "Numeric/hull/ImageRows.h"

#include "Numeric/hull/HullTraits.h"
#include "Numeric/hull/PolytopeRows.h"
#include "zeblib2image/Image.h"

#include <algorithm>
#include <cstring>
#include <vector>

namespace TOLX
{
namespace Impl
{
namespace
{
using CBox = CConvexHullComputer::CBox;

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

void Widen(CBox& box, int x, int y, int z, bool withZ)
{
    box.xmin = std::min(box.xmin, x);
    box.ymin = std::min(box.ymin, y);
    box.xmax = std::max(box.xmax, x);
    box.ymax = std::max(box.ymax, y);
    if (withZ)
    {
        box.zmin = std::min(box.zmin, z);
        box.zmax = std::max(box.zmax, z);
    }
}

void AppendPoint(std::list<CMatrix<double>>& points, std::size_t dim, int x, int y, int z)
{
    points.emplace_back(dim, 1);
    double* v = points.back().Data();
    v[0] = x;
    v[1] = y;
    if (dim == 3)
        v[2] = z;
}

// The rows of slices z = z0 .. z1-1 (for d = 2 slice z0 once, then on while
// z < z1) and y = y0 .. y1-1: each row gives its first matching pixel found
// from x0 towards the image width, then its last one found from x1-1 back
// towards the first. Coordinates outside the image hold no pixels and are
// skipped.
template <class Pixel, class Match>
void ScanRows(const CImage& image, std::size_t dim, int x0, int y0, int z0, int x1, int y1, int z1,
              const Match& match, std::list<CMatrix<double>>& points, CBox& box)
{
    const int width = image.Width();
    const int height = image.Height();
    const int depth = image.Depth();
    const CPos step = image.Step();
    const std::uint8_t* data = image.Data();
    const bool threeD = dim == 3;
    const int yFrom = std::max(y0, 0);
    const int yTo = std::min(y1, height);
    const int xFrom = std::max(x0, 0);
    int z = z0;
    do
    {
        if (z >= 0 && z < depth)
            for (int y = yFrom; y < yTo; ++y)
            {
                const std::uint8_t* row = data + z * step.Z() + y * step.Y();
                const int first = FirstMatch<Pixel>(row, step.X(), xFrom, width, match);
                if (first >= width)
                    continue;
                AppendPoint(points, dim, first, y, z);
                Widen(box, first, y, z, threeD);
                const int last = LastMatch<Pixel>(row, step.X(), std::min(x1, width) - 1, first, match);
                if (last > first)
                {
                    AppendPoint(points, dim, last, y, z);
                    Widen(box, last, y, z, threeD);
                }
            }
        ++z;
    } while (z < z1);
}

// Pixel (x, y, z) of the image, or null outside it.
std::uint8_t* PixelIn(CImage& image, std::int64_t x, std::int64_t y, std::int64_t z)
{
    if (x < 0 || y < 0 || z < 0 || x >= image.Width() || y >= image.Height() || z >= image.Depth())
        return nullptr;
    const CPos step = image.Step();
    return image.Data() + z * step.Z() + y * step.Y() + x * step.X();
}

// The painting loop as written, probe by probe with the hull's inside test:
// the first probe that reaches a mis-shaped row raises its message, after
// the rows before it were painted.
template <class Pixel>
void PaintProbeByProbe(CImage& image, const CConvexHullComputer& hull, std::size_t dim, CBox box, Pixel colour)
{
    CMatrix<double> probe(dim, 1);
    const auto inside = [&](std::int64_t x, std::int64_t y, std::int64_t z) {
        probe(0, 0) = static_cast<double>(x);
        probe(1, 0) = static_cast<double>(y);
        if (dim == 3)
            probe(2, 0) = static_cast<double>(z);
        return hull.isInside(probe);
    };
    const std::int64_t zFrom = dim == 3 ? box.zmin : 0;
    const std::int64_t zTo = dim == 3 ? box.zmax : 0;
    for (std::int64_t z = zFrom; z <= zTo; ++z)
        for (std::int64_t y = box.ymin; y <= box.ymax; ++y)
        {
            std::int64_t left = box.xmin;
            while (left <= box.xmax && !inside(left, y, z))
                ++left;
            if (left > box.xmax)
                continue;
            std::int64_t right = box.xmax;
            while (right > left && !inside(right, y, z))
                --right;
            for (std::int64_t x = left; x <= right; ++x)
                if (std::uint8_t* pixel = PixelIn(image, x, y, z))
                    std::memcpy(pixel, &colour, sizeof colour);
        }
}

template <class Pixel>
void PaintRows(CImage& image, const CConvexHullComputer& hull, std::size_t dim, CBox box, Pixel colour)
{
    const std::list<CMatrix<double>>& normals = hull.getA();
    const std::list<double>& offsets = hull.getb();
    if (!std::all_of(normals.begin(), normals.end(),
                     [dim](const CMatrix<double>& a) { return a.Rows() != 0 && a.Cols() == dim; }))
        return PaintProbeByProbe(image, hull, dim, box, colour);

    // The planes as plain numbers: d normal components, then the offset.
    std::vector<double> planes;
    planes.reserve(normals.size() * (dim + 1));
    auto offset = offsets.begin();
    for (auto normal = normals.begin(); normal != normals.end() && offset != offsets.end(); ++normal, ++offset)
    {
        planes.insert(planes.end(), normal->Data(), normal->Data() + dim);
        planes.push_back(*offset);
    }

    // Pixels outside the image do not exist; the rows inside it are painted
    // exactly as an unbounded scan would paint them.
    const int x0 = std::max(box.xmin, 0);
    const int x1 = std::min(box.xmax, image.Width() - 1);
    const int y0 = std::max(box.ymin, 0);
    const int y1 = std::min(box.ymax, image.Height() - 1);
    const int z0 = dim == 3 ? std::max(box.zmin, 0) : 0;
    const int z1 = dim == 3 ? std::min(box.zmax, image.Depth() - 1) : std::min(0, image.Depth() - 1);
    const CPolytopeRows spans(planes, dim, CHullTraits::Eps(), x0, y0, z0, x1, y1, z1);

    const CPos step = image.Step();
    std::uint8_t* data = image.Data();
    for (int z = z0; z <= z1; ++z)
        for (int y = y0; y <= y1; ++y)
        {
            int left = 0;
            int right = -1;
            if (!spans.Row(y, z, left, right))
                continue;
            std::uint8_t* row = data + z * step.Z() + y * step.Y();
            for (int x = left; x <= right; ++x)
                std::memcpy(row + x * step.X(), &colour, sizeof colour);
        }
}
} // namespace

CBox LoadImageRows(const CImage& image, std::size_t dim, EnPixelWidth width, CObjectPixels object,
                   std::list<CMatrix<double>>& points)
{
    const CSize size = image.Size();
    const int depth = dim == 3 ? size.Depth() : 0;
    CBox box{size.Width(), size.Height(), depth, 0, 0, 0};
    WithPixelType(width, [&](auto pixel) {
        using Pixel = decltype(pixel);
        if (object.nonZero)
            ScanRows<Pixel>(image, dim, 0, 0, 0, size.Width(), size.Height(), depth, MatchNonZero<Pixel>(), points,
                            box);
        else
            ScanRows<Pixel>(image, dim, 0, 0, 0, size.Width(), size.Height(), depth,
                            MatchColour<Pixel>(static_cast<Pixel>(object.colour)), points, box);
    });
    return box;
}

void LoadImageBoxRows(const CImage& image, std::size_t dim, EnPixelWidth width, std::uint32_t colour, int x0, int y0,
                      int z0, int x1, int y1, int z1, std::list<CMatrix<double>>& points)
{
    const CSize size = image.Size();
    if (x1 == 0 || y1 == 0 || z1 == 0)
    {
        x1 = size.Width();
        y1 = size.Height();
        z1 = dim == 3 ? size.Depth() : 0;
    }
    // A 3-D box scan starts only while z < z1; the 2-D one always reads slice z0.
    if (dim == 3 && z0 >= z1)
        return;
    CBox unused{0, 0, 0, 0, 0, 0};
    WithPixelType(width, [&](auto pixel) {
        using Pixel = decltype(pixel);
        ScanRows<Pixel>(image, dim, x0, y0, z0, x1, y1, z1, MatchColour<Pixel>(static_cast<Pixel>(colour)), points,
                        unused);
    });
}

void PaintHullRows(CImage& image, const CConvexHullComputer& hull, std::size_t dim, CBox box, EnPixelWidth width,
                   std::uint32_t value)
{
    WithPixelType(width, [&](auto pixel) {
        using Pixel = decltype(pixel);
        PaintRows<Pixel>(image, hull, dim, box, static_cast<Pixel>(value));
    });
}
} // namespace Impl
} // namespace TOLX
