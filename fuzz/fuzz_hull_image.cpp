// Loading hull points from small random images of every pixel type, 2-D and
// 3-D, and painting hulls back, with boxes that may reach outside the image.
// Loaded points and boxes are compared with a plain scan of the pixels, and
// painted pixels with the pixel centres that pass isInside, row by row over
// the box clamped to the image; every other pixel keeps its value.

#include "FuzzInput.h"
#include "VornNumeric.h"

#include <algorithm>
#include <cstdint>
#include <iostream>
#include <list>
#include <string>
#include <vector>

namespace
{
using TOLX::CConvexHullComputer;
using TOLX::CImage;
using CBox = CConvexHullComputer::CBox;

const TOLX::IImage::CType* const kTypes[] = {&TOLX::IMAGE_BINARY_FG, &TOLX::IMAGE_BINARY_BG, &TOLX::IMAGE_GREY_8,
                                             &TOLX::IMAGE_GREY_16,   &TOLX::IMAGE_GREY_32,   &TOLX::IMAGE_FLOAT_32};

const std::string kLoadThreeSpace = "The loadPointsFromImage(...) functionality is only provided in 3-space, but was "
                                    "called with a ConvexHullComputer in %1-space";
const std::string kLoadTypes = "The loadPointsFromImage(...) functionality is only provided for BINARY_FG, 8bit, "
                               "16bit and 32bit unsigned integer data.";
const std::string kMonoColour = "For MONO-images, use colour=0 or colour=1.";
const std::string kPaintThreeSpace = "The paintConvexHullToImage(...) functionality is only provided in 3-space, but "
                                     "was called with a ConvexHullComputer in %1-space";

std::string Fill(std::string text, unsigned long long value)
{
    return text.replace(text.find("%1"), 2, std::to_string(value));
}

std::uint64_t Colour(FuzzInput& in)
{
    static const std::uint64_t kColours[] = {0, 1, 2, 255, 256, 300, 65535, 65536, 4294967295ull, 4294967296ull,
                                             1ull << 40};
    return kColours[in.Below(11)];
}

std::uint64_t Mask(const TOLX::IImage::CType& type)
{
    switch (type.BytesPerPixel())
    {
    case 1: return 0xFF;
    case 2: return 0xFFFF;
    default: return 0xFFFFFFFF;
    }
}

CImage RandomImage(FuzzInput& in, const TOLX::IImage::CType& type, int w, int h, int d)
{
    CImage image(type, TOLX::CSize(w, h, d));
    const unsigned density = in.Byte();
    for (int z = 0; z < d; ++z)
        for (int y = 0; y < h; ++y)
            for (int x = 0; x < w; ++x)
                if (in.Byte() < density)
                    image.SetPixel(x, y, z, Colour(in) & Mask(type));
    return image;
}

// A coordinate near the image: mostly inside, sometimes beyond either side.
int Near(FuzzInput& in, int size)
{
    return static_cast<int>(in.Below(static_cast<unsigned>(size) + 12)) - 6;
}

struct Expected
{
    std::string message; // empty: no failure
    bool keepsPoints = false;
    std::list<TOLX::CMatrix<double>> points;
    CBox box{};
};

void Append(Expected& e, std::size_t dim, int x, int y, int z)
{
    TOLX::CMatrix<double> p(dim, 1);
    p(0, 0) = x;
    p(1, 0) = y;
    if (dim == 3)
        p(2, 0) = z;
    e.points.push_back(p);
    e.box.xmin = std::min(e.box.xmin, x);
    e.box.ymin = std::min(e.box.ymin, y);
    e.box.xmax = std::max(e.box.xmax, x);
    e.box.ymax = std::max(e.box.ymax, y);
    if (dim == 3)
    {
        e.box.zmin = std::min(e.box.zmin, z);
        e.box.zmax = std::max(e.box.zmax, z);
    }
}

// The row scan as a plain loop over the pixels: the first match from x0 up
// to the width, then the last match from x1-1 down to just after the first.
// Pixels outside the image do not exist.
template <class Match>
void Scan(Expected& e, const CImage& image, std::size_t dim, int x0, int y0, int z0, int x1, int y1, int z1,
          Match match)
{
    const auto matches = [&](int x, int y, int z) {
        return x >= 0 && y >= 0 && z >= 0 && x < image.Width() && y < image.Height() && z < image.Depth() &&
               match(image.GetPixel(x, y, z));
    };
    int z = z0;
    do
    {
        for (int y = y0; y < y1; ++y)
        {
            int first = x0;
            while (first < image.Width() && !matches(first, y, z))
                ++first;
            if (first >= image.Width())
                continue;
            Append(e, dim, first, y, z);
            int last = x1 - 1;
            while (last > first && !matches(last, y, z))
                --last;
            if (last > first)
                Append(e, dim, last, y, z);
        }
        ++z;
    } while (z < z1);
}

template <class Match>
Expected WholeImage(const CImage& image, std::size_t dim, Match match)
{
    Expected e;
    const int depth = dim == 3 ? image.Depth() : 0;
    e.box = CBox{image.Width(), image.Height(), depth, 0, 0, 0};
    if (dim != 2 && dim != 3)
        e.message = "1d not implemented";
    else
        Scan(e, image, dim, 0, 0, 0, image.Width(), image.Height(), depth, match);
    return e;
}

void FuzzLoad(FuzzInput& in, CConvexHullComputer& hull, const CImage& image, std::size_t dim)
{
    const TOLX::IImage::CType& type = image.Type();
    const bool binary = type == TOLX::IMAGE_BINARY_FG || type == TOLX::IMAGE_BINARY_BG;
    const bool supported = type != TOLX::IMAGE_FLOAT_32;
    const std::uint64_t mask = Mask(type);
    const auto nonZero = [](std::uint64_t v) { return v != 0; };
    const unsigned kind = in.Below(3);
    const std::uint64_t colour = Colour(in);
    const auto equalTo = [](std::uint64_t c) { return [c](std::uint64_t v) { return v == c; }; };

    Expected e;
    bool wholeImage = true;
    if (kind < 2 && dim > 3)
        e.message = Fill(kLoadThreeSpace, dim), e.keepsPoints = true;
    else if (!supported)
        e.message = kLoadTypes;
    else if (kind == 0)
        e = type == TOLX::IMAGE_BINARY_BG ? WholeImage(image, dim, equalTo(0)) : WholeImage(image, dim, nonZero);
    else if (binary && colour > 1)
        e.message = kMonoColour;
    else if (kind == 1)
        e = WholeImage(image, dim, equalTo(std::min(colour, mask)));
    else
        wholeImage = false;

    int x0 = 0, y0 = 0, z0 = 0, x1 = 0, y1 = 0, z1 = 0;
    if (!wholeImage)
    {
        x0 = Near(in, image.Width()), y0 = Near(in, image.Height()), z0 = Near(in, image.Depth());
        x1 = Near(in, image.Width()), y1 = Near(in, image.Height()), z1 = Near(in, image.Depth());
        if (x1 == 0 || y1 == 0 || z1 == 0)
            x1 = image.Width(), y1 = image.Height(), z1 = dim == 3 ? image.Depth() : 0;
        if (dim != 2 && dim != 3)
            e.message = "1d not implemented";
        else if (dim == 2 || z0 < z1)
            Scan(e, image, dim, x0, y0, z0, x1, y1, z1, equalTo(colour & mask));
    }

    hull.addPoint(TOLX::CMatrix<double>(dim, 1)); // a loader replaces the list
    CBox box{};
    try
    {
        if (kind == 0)
            box = hull.loadPointsFromImage(image);
        else if (kind == 1)
            box = hull.loadPointsFromImage(image, colour);
        else
            hull.loadPointsFromImageBox(image, colour, x0, y0, z0, x1, y1, z1);
        FUZZ_CHECK(e.message.empty());
    }
    catch (const TOLX::CException& ex)
    {
        FUZZ_CHECK(ex.what() == e.message);
        FUZZ_CHECK(hull.getPoints().size() == (e.keepsPoints ? 1u : 0u));
        return;
    }
    FUZZ_CHECK(hull.getPoints() == e.points);
    if (kind < 2)
        FUZZ_CHECK(box.xmin == e.box.xmin && box.ymin == e.box.ymin && box.zmin == e.box.zmin &&
                   box.xmax == e.box.xmax && box.ymax == e.box.ymax && box.zmax == e.box.zmax);
}

std::string PaintMessage(const TOLX::IImage::CType& type, std::uint64_t colour, std::size_t dim)
{
    const std::uint64_t mask = Mask(type);
    if (type == TOLX::IMAGE_BINARY_BG || type == TOLX::IMAGE_FLOAT_32)
        return "Not implemented for image type " + type.ToString() + ".";
    if (colour > mask)
        return Fill("Grayvalue %1 exceeds range of image type.", colour);
    if (dim > 3)
        return Fill(kPaintThreeSpace, dim);
    if (dim != 2 && dim != 3)
        return "1d not impl";
    return "";
}

void FuzzPaint(FuzzInput& in, CConvexHullComputer& hull, std::size_t dim)
{
    // The hull of the loaded points and a few more near the image; when it
    // cannot be built, the painters see no equations at all.
    const int w = 1 + static_cast<int>(in.Below(12));
    const int h = 1 + static_cast<int>(in.Below(12));
    const int d = 1 + static_cast<int>(in.Below(12));
    const unsigned extra = in.Below(8);
    for (unsigned k = 0; k < extra && dim >= 2 && dim <= 3; ++k)
    {
        TOLX::CMatrix<double> p(dim, 1);
        for (std::size_t i = 0; i < dim; ++i)
            p(i, 0) = static_cast<double>(static_cast<std::int8_t>(in.Byte())) / 8.0 + 6.0;
        hull.addPoint(p);
    }
    if (dim >= 2 && dim <= 3)
    {
        try
        {
            hull.compute();
        }
        catch (const TOLX::CException&)
        {
        }
    }

    const TOLX::IImage::CType& type = *kTypes[in.Below(6)];
    CImage image = RandomImage(in, type, w, h, d);
    const CImage before = image;
    const unsigned overload = in.Below(3);
    std::uint64_t colour = 1;
    CBox box{0, 0, 0, w - 1, h - 1, d - 1};
    if (overload > 0)
        box = CBox{Near(in, w), Near(in, h), Near(in, d), Near(in, w), Near(in, h), Near(in, d)};
    if (overload > 1)
        colour = Colour(in);

    const std::string message = PaintMessage(type, colour, dim);
    try
    {
        if (overload == 0)
            hull.paintConvexHullToImage(image);
        else if (overload == 1)
            hull.paintConvexHullToImage(image, box);
        else
            hull.paintConvexHullToImage(image, box, colour);
        FUZZ_CHECK(message.empty());
    }
    catch (const TOLX::CException& ex)
    {
        FUZZ_CHECK(ex.what() == message);
        return;
    }

    // Row by row: from the first to the last x of the box whose centre is
    // inside, clamped to the image; a 2-D hull paints slice 0 only.
    const auto inside = [&](int x, int y, int z) {
        TOLX::CMatrix<double> p(dim, 1);
        p(0, 0) = x;
        p(1, 0) = y;
        if (dim == 3)
            p(2, 0) = z;
        return hull.isInside(p);
    };
    const int zFrom = dim == 3 ? std::max(box.zmin, 0) : 0;
    const int zTo = dim == 3 ? std::min(box.zmax, d - 1) : 0;
    for (int z = 0; z < d; ++z)
        for (int y = 0; y < h; ++y)
        {
            int left = 0, right = -1;
            if (z >= zFrom && z <= zTo && y >= box.ymin && y <= box.ymax)
            {
                left = box.xmin;
                while (left <= box.xmax && !inside(left, y, z))
                    ++left;
                right = box.xmax;
                while (right >= left && !inside(right, y, z))
                    --right;
            }
            for (int x = 0; x < w; ++x)
            {
                const bool painted = x >= left && x <= right;
                FUZZ_CHECK(image.GetPixel(x, y, z) == (painted ? colour : before.GetPixel(x, y, z)));
            }
        }
}
} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    Silence(std::cout);
    Silence(std::cerr);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    FuzzInput in(data, size);
    const unsigned dimKind = in.Byte() % 16;
    const std::size_t dim = dimKind < 7 ? 2 : dimKind < 14 ? 3 : dimKind == 14 ? 1 : 4;
    const TOLX::IImage::CType& type = *kTypes[in.Below(6)];
    const int w = 1 + static_cast<int>(in.Below(12));
    const int h = 1 + static_cast<int>(in.Below(12));
    const int d = 1 + static_cast<int>(in.Below(12));
    const CImage image = RandomImage(in, type, w, h, d);

    CConvexHullComputer hull(dim, "fuzz", nullptr);
    FuzzLoad(in, hull, image, dim);
    FuzzPaint(in, hull, dim);
    return 0;
}
