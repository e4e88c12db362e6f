// Loading hull points from images and painting hulls into them.

#include "ExpectThrow.h"
#include "HullPoints.h"

#include <array>
#include <functional>
#include <limits>
#include <optional>
#include <set>
#include <tuple>

using namespace TOLX;
using namespace testsupport;
using Box = CConvexHullComputer::CBox;

namespace
{
const char* kFile = "src/Numeric/ConvexHullComputer.cpp";
const char* kLoad = "TOLX::CConvexHullComputer::loadPointsFromImage";
const char* kLoadBox = "TOLX::CConvexHullComputer::loadPointsFromImageBox";
const char* kPaint = "TOLX::CConvexHullComputer::paintConvexHullToImage";
const std::string kTypes = "The loadPointsFromImage(...) functionality is only provided for BINARY_FG, 8bit, 16bit and "
                           "32bit unsigned integer data.";
const std::string kMono = "For MONO-images, use colour=0 or colour=1.";
const Box kEverywhere{0, 0, 0, 1 << 20, 1 << 20, 1 << 20};
using Pixels = std::set<std::tuple<int, int, int>>;
using Pixel = std::array<std::uint64_t, 4>; // x, y, z, value
using Planes = std::vector<std::pair<Point, double>>; // a . x <= b

CImage ImageOf(IImage::CType type, const CSize& size, const std::vector<Pixel>& pixels = {})
{
    CImage image(type, size);
    for (const Pixel& p : pixels)
        image.SetPixel(int(p[0]), int(p[1]), int(p[2]), p[3]);
    return image;
}

// The hull's equations followed by the planes as they are.
CConvexHullComputer WithPlanes(CConvexHullComputer hull, const Planes& planes)
{
    for (const auto& [a, b] : planes)
    {
        hull.getA().push_back(FromRows({a}));
        hull.getb().push_back(b);
    }
    return hull;
}

// The pixels of the box, clipped to the image, for which keep(x, y, z) holds.
template <class Keep>
Pixels Where(const CImage& image, const Box& box, Keep&& keep)
{
    Pixels found;
    for (int z = std::max(box.zmin, 0); z <= std::min(box.zmax, image.Depth() - 1); ++z)
        for (int y = std::max(box.ymin, 0); y <= std::min(box.ymax, image.Height() - 1); ++y)
            for (int x = std::max(box.xmin, 0); x <= std::min(box.xmax, image.Width() - 1); ++x)
                if (keep(x, y, z))
                    found.emplace(x, y, z);
    return found;
}

Pixels SetPixels(const CImage& image, std::uint64_t colour)
{
    return Where(image, kEverywhere, [&](int x, int y, int z) { return image.GetPixel(x, y, z) == colour; });
}

// Paints the hull into an empty image, within the box in colour 1 or with the
// defaults, and compares with the inside test tried on every pixel (in
// 2-space on slice 0 only).
void ExpectPaintsTheInsidePixels(const CConvexHullComputer& hull, const CSize& size, const std::string& what,
                                 std::optional<Box> box = std::nullopt, IImage::CType type = IMAGE_GREY_8)
{
    CImage image(type, size);
    box ? hull.paintConvexHullToImage(image, *box, 1) : hull.paintConvexHullToImage(image);
    const bool flat = hull.getDimSpace() == 2;
    const Pixels inside = Where(image, box.value_or(kEverywhere), [&](int x, int y, int z) {
        return flat ? z == 0 && hull.isInside(Col({double(x), double(y)})) : hull.isInside(Col({double(x), double(y), double(z)}));
    });
    EXPECT_TRUE(SetPixels(image, 1) == inside) << what << ": " << inside.size() << " pixels inside";
}
} // namespace

// Each load replaces a point left from before. Colours are saturated to the
// pixel type by the loader and cut to it by the box loader; the box loader
// searches forward to the image width and reads nothing outside the image.
TEST(HullImageLoad, OutermostPixelsOfEveryRowInOrder)
{
    const CImage grey8 = ImageOf(IMAGE_GREY_8, CSize(10, 4, 3), {{2, 1, 0, 5}, {3, 1, 0, 5}, {7, 1, 0, 9}, {4, 0, 2, 1}});
    const CImage empty = ImageOf(IMAGE_GREY_16, CSize(6, 5, 4));
    const CImage grey16 = ImageOf(IMAGE_GREY_16, CSize(8, 1, 1), {{1, 0, 0, 300}, {6, 0, 0, 65535}});
    const CImage small8 = ImageOf(IMAGE_GREY_8, CSize(4, 1, 1), {{2, 0, 0, 255}, {3, 0, 0, 44}});
    const CImage grey32 = ImageOf(IMAGE_GREY_32, CSize(3, 1, 1), {{0, 0, 0, 4294967295u}});
    const CImage background = ImageOf(IMAGE_BINARY_BG, CSize(5, 1, 1), {{0, 0, 0, 1}, {4, 0, 0, 1}});
    const CImage mono = ImageOf(IMAGE_BINARY_FG, CSize(10, 3, 1), {{8, 0, 0, 1}, {2, 1, 0, 1}, {4, 1, 0, 1}, {6, 1, 0, 1}, {1, 2, 0, 1}});
    // The image, the dimension, the colour (-1: every foreground pixel), the
    // box x0, y0, z0, x1, y1, z1 for the box loader, the points, and the
    // bounds that the other loaders return.
    const std::tuple<const CImage&, std::size_t, std::int64_t, std::vector<int>, std::vector<Point>, std::array<int, 6>> cases[] = {
        {grey8, 3, -1, {}, {{2, 1, 0}, {7, 1, 0}, {4, 0, 2}}, {2, 0, 0, 7, 1, 2}}, // a lone pixel gives one point
        {grey8, 3, 5, {}, {{2, 1, 0}, {3, 1, 0}}, {2, 1, 0, 3, 1, 0}},
        {grey8, 2, -1, {}, {{2, 1}, {7, 1}}, {2, 1, 0, 7, 1, 0}}, // slice 0 only
        {empty, 3, -1, {}, {}, {6, 5, 4, 0, 0, 0}},
        {empty, 2, -1, {}, {}, {6, 5, 0, 0, 0, 0}},
        {grey16, 2, 300, {}, {{1, 0}}, {1, 0, 0, 1, 0, 0}},
        {grey16, 2, 70000, {}, {{6, 0}}, {6, 0, 0, 6, 0, 0}},
        {grey16, 2, 65536 + 300, {0, 0, 0, 0, 0, 0}, {{1, 0}}, {}},
        {small8, 2, 300, {}, {{2, 0}}, {2, 0, 0, 2, 0, 0}},
        {small8, 2, 300, {0, 0, 0, 0, 0, 0}, {{3, 0}}, {}},
        {grey32, 2, std::int64_t{1} << 40, {}, {{0, 0}}, {0, 0, 0, 0, 0, 0}},
        {background, 2, -1, {}, {{1, 0}, {3, 0}}, {1, 0, 0, 3, 0, 0}},
        {mono, 2, 1, {2, 0, 0, 5, 3, 1}, {{8, 0}, {2, 1}, {4, 1}}, {}},
        {mono, 2, 1, {-5, -2, 0, 50, 40, 1}, {{8, 0}, {2, 1}, {6, 1}, {1, 2}}, {}},
    };
    int index = 0;
    for (const auto& [image, dim, colour, b, points, bounds] : cases)
    {
        CConvexHullComputer hull(dim, "hull", nullptr);
        hull.addPoint(Col(Point(dim, 100.0)));
        if (!b.empty())
            hull.loadPointsFromImageBox(image, std::size_t(colour), b[0], b[1], b[2], b[3], b[4], b[5]);
        else
        {
            const Box got = colour < 0 ? hull.loadPointsFromImage(image) : hull.loadPointsFromImage(image, std::size_t(colour));
            EXPECT_EQ((std::array<int, 6>{got.xmin, got.ymin, got.zmin, got.xmax, got.ymax, got.zmax}), bounds) << index;
        }
        EXPECT_EQ(HullPoints::Flat(hull.getPoints()), points) << index++;
    }
}

// The loaders check the dimension before they clear the points, type and
// colour after; the box loader clears them first; the painter keeps them.
TEST(HullImage, FailuresAndThePointsLeftBehind)
{
    const CImage grey = ImageOf(IMAGE_GREY_8, CSize(3, 3, 3), {{1, 1, 1, 1}});
    const CImage real(IMAGE_FLOAT_32, CSize(2, 2, 2)), mono(IMAGE_BINARY_FG, CSize(2, 2, 2));
    CImage grey8(IMAGE_GREY_8, CSize(2, 2, 2)), grey16(IMAGE_GREY_16, CSize(2, 2, 2)),
        grey32(IMAGE_GREY_32, CSize(2, 2, 2)), background(IMAGE_BINARY_BG, CSize(2, 2, 2));
    const Box box{0, 0, 0, 1, 1, 1};
    const std::string space = " functionality is only provided in 3-space, but was called with a ConvexHullComputer in 4-space";
    using Call = std::function<void(CConvexHullComputer&)>;
    const std::tuple<std::size_t, Call, std::string, std::string, int, std::size_t> cases[] = {
        {4, [&](auto& h) { h.loadPointsFromImage(grey); }, "The loadPointsFromImage(...)" + space, kLoad, 756, 1},
        {4, [&](auto& h) { h.loadPointsFromImage(grey, 1); }, "The loadPointsFromImage(...)" + space, kLoad, 791, 1},
        {4, [&](auto& h) { h.loadPointsFromImageBox(grey, 1, 0, 0, 0, 0, 0, 0); }, "1d not implemented",
         "typed_loadPointsFromImageBox", 274, 0},
        {1, [&](auto& h) { h.loadPointsFromImage(grey); }, "1d not implemented", "typed_loadPointsFromImage", 130, 0},
        {3, [&](auto& h) { h.loadPointsFromImage(real); }, kTypes, kLoad, 785, 0},
        {3, [&](auto& h) { h.loadPointsFromImage(real, 1); }, kTypes, kLoad, 819, 0},
        {3, [&](auto& h) { h.loadPointsFromImage(mono, 2); }, kMono, kLoad, 800, 0},
        {3, [&](auto& h) { h.loadPointsFromImageBox(mono, 2, 0, 0, 0, 0, 0, 0); }, kMono, kLoadBox, 833, 0},
        {3, [&](auto& h) { h.loadPointsFromImageBox(real, 1, 0, 0, 0, 0, 0, 0); }, kTypes, kLoadBox, 856, 0},
        {3, [&](auto& h) { h.paintConvexHullToImage(grey8, box, 256); }, "Grayvalue 256 exceeds range of image type.", kPaint, 884, 1},
        {3, [&](auto& h) { h.paintConvexHullToImage(grey16, box, 65536); }, "Grayvalue 65536 exceeds range of image type.",
         kPaint, 892, 1},
        {3, [&](auto& h) { h.paintConvexHullToImage(grey32, box, 4294967296u); },
         "Grayvalue 4294967296 exceeds range of image type.", kPaint, 900, 1},
        {3, [&](auto& h) { h.paintConvexHullToImage(background, box, 1); }, "Not implemented for image type BINARY_BG.",
         kPaint, 904, 1},
        {4, [&](auto& h) { h.paintConvexHullToImage(grey8, box, 1); }, "The paintConvexHullToImage(...)" + space,
         "typed_paintConvexHullToImage", 141, 1},
        {1, [&](auto& h) { h.paintConvexHullToImage(grey8, box, 1); }, "1d not impl", "typed_paintConvexHullToImage", 203, 1},
    };
    for (const auto& [dim, call, message, function, line, left] : cases)
    {
        CConvexHullComputer hull(dim, "hull", nullptr);
        hull.addPoint(Col(Point(dim, 1.0)));
        ExpectThrowAt([&hull, &call = call] { call(hull); }, message, function, kFile, line);
        EXPECT_EQ(hull.getPoints().size(), left) << line;
    }
    CImage binary(IMAGE_BINARY_FG, CSize(2, 2, 2));
    HullPoints::HullOf({}, 3).paintConvexHullToImage(binary, box, 255); // binary foreground accepts grey values here
    EXPECT_EQ(binary.GetPixel(1, 1, 1), 255u);
}

// Painting is compared pixel by pixel with the inside test tried on every
// pixel, in every pixel type, within the image and within boxes reaching
// outside it: random hulls of integer points (many pixels on the boundary),
// and, since the painter must match the inside test for any set of
// half-spaces, random planes through pixel centres, shifted by about eps,
// with components that are zero, negative zero, tiny or denormal.
TEST(HullImagePaint, PaintsExactlyThePixelsThatPassTheInsideTest)
{
    std::mt19937 random(5);
    std::uniform_real_distribution<double> component(-2.0, 2.0), coordinate(-4.0, 28.0);
    std::uniform_int_distribution<int> pick(0, 7);
    const double eps = 1e-12, special[] = {0.0, -0.0, 1e-300, -4e-320, 1e-17, -3e-13, 1e-9, 2e-6},
                 shifts[] = {0.0, eps, -eps, std::nextafter(eps, 1.0), std::nextafter(eps, 0.0), 3e-12, -5e-13, 0.7};
    const IImage::CType types[] = {IMAGE_GREY_8, IMAGE_GREY_16, IMAGE_GREY_32, IMAGE_BINARY_FG};
    for (int round = 0; round < 32; ++round)
    {
        const std::size_t d = round % 3 == 2 ? 2 : 3;
        CConvexHullComputer hull(d, "planes", nullptr);
        if (round % 4 == 1)
        {
            std::vector<Point> points(40, Point(d));
            for (Point& p : points)
                for (double& x : p)
                    x = std::round(coordinate(random));
            hull = HullPoints::Computed(points);
        }
        else
            for (int count = 0; count < 6 + round; ++count)
            {
                Point a(d);
                for (double& x : a)
                    x = pick(random) < 2 ? special[pick(random)] : component(random);
                // Through a pixel centre, b computed as the inside test sums.
                const double p[3] = {double(pick(random) * 3), double(pick(random) * 2 + 2), double(pick(random) * 2)};
                double b = 0.0;
                for (std::size_t i = 0; i < d; ++i)
                    b += a[i] * p[i];
                hull = WithPlanes(hull, {{a, b - shifts[pick(random)]}});
            }
        const CSize size(24, 22, d == 3 ? 20 : 1);
        const std::string what = "round " + std::to_string(round);
        ExpectPaintsTheInsidePixels(hull, size, what);
        ExpectPaintsTheInsidePixels(hull, size, what, Box{-4, 3, -3, 30, 40, 9}, types[round / 4 % 4]);
    }
}

// Planes whose boundary value = eps passes within rounding of many pixel
// centres (-0.1 x + 0.3 y + 0.7 z = 1 on a whole lattice of them): there the
// inside test decides by the rounding of its own sum, which a boundary
// computed any other way does not reproduce. Boxes whose corner nearest to
// such a boundary lies on it: whether the box is all inside, all outside or
// all but that corner hangs on the inside test at the corner alone.
TEST(HullImagePaint, BoundariesThroughPixelCentres)
{
    const double eps = 1e-12;
    const std::pair<Point, double> boundaries[] = {{{-0.1, 0.3, 0.7}, 1.0}, {{0.1, -0.3, 0.2}, 0.5},
                                                   {{-0.73, 2.19, 5.11}, 7.3}, {{0.1, 0.7, -0.3}, 0.9},
                                                   {{-0.1, 0.3}, 0.4},         {{0.7, -0.1}, 3.3}};
    const CSize size(48, 19, 11);
    for (const auto& [a, level] : boundaries)
        ExpectPaintsTheInsidePixels(WithPlanes(HullPoints::HullOf({}, a.size()), {{a, level - eps}}), size, "lattice");

    for (double scale : {1.0, 0.7, 1.3, 3.1, 0.37, 9.0})
        for (int level = 1; level <= 4; ++level)
        {
            // -0.1 x + 0.3 y + 0.7 z = level on the probes x = 3y + 7z - 10 level.
            const auto plane = WithPlanes(HullPoints::HullOf({}, 3), {{{-0.1 * scale, 0.3 * scale, 0.7 * scale}, level * scale - eps}});
            const int x = 3 * 6 + 7 * 4 - 10 * level; // on the boundary in row (6, 4)
            ExpectPaintsTheInsidePixels(plane, CSize(40, 12, 8), "inside but a corner", Box{x, 0, 0, 39, 6, 4});
            ExpectPaintsTheInsidePixels(plane, CSize(40, 12, 8), "outside but a corner", Box{0, 6, 4, x, 11, 7});
        }
}

// The hull of the box [1, 5] x [1, 5] x [0, 4] with planes added, painted
// with the defaults or within a box in another colour. A plane with a NaN
// component rejects nothing; one with an infinite component rejects depending
// on the sign of the coordinate it multiplies (0 times infinity is NaN and
// rejects nothing); a huge finite one leaves only its boundary. Without any
// equations the whole box is painted.
TEST(HullImagePaint, BoxHullsWithAddedPlanes)
{
    const double nan = std::numeric_limits<double>::quiet_NaN(), inf = std::numeric_limits<double>::infinity();
    // the added planes, the box painted in colour 700, the pixels painted
    const std::tuple<Planes, std::optional<Box>, Box> cases[] = {
        {{}, {}, {1, 1, 0, 5, 5, 4}},
        {{}, Box{2, 0, 0, 6, 6, 1}, {2, 1, 0, 5, 5, 1}},
        {{{{0, nan, 0}, 0.0}}, {}, {1, 1, 0, 5, 5, 4}},
        {{{{0, nan, 0}, 0.0}, {{0, 0, inf}, 0.0}}, {}, {1, 1, 0, 5, 5, 0}},
        {{{{1e200, 0, 0}, 1e200}}, {}, {1, 1, 0, 1, 5, 4}},
    };
    std::vector<Point> corners;
    for (int i = 0; i < 8; ++i)
        corners.push_back({1.0 + 4 * (i & 1), 1.0 + 2 * (i & 2), 1.0 * (i & 4)});
    const auto all = [](int, int, int) { return true; };
    for (const auto& [planes, box, kept] : cases)
    {
        const CConvexHullComputer hull = WithPlanes(HullPoints::Computed(corners), planes);
        CImage image(IMAGE_GREY_16, CSize(7, 7, 7));
        box ? hull.paintConvexHullToImage(image, *box, 700) : hull.paintConvexHullToImage(image);
        EXPECT_TRUE(SetPixels(image, box ? 700 : 1) == Where(image, kept, all)) << kept.xmax << " " << kept.zmax;
        ExpectPaintsTheInsidePixels(hull, CSize(7, 7, 7), "beyond the image", Box{-2, -2, -2, 9, 9, 9});
        ExpectPaintsTheInsidePixels(hull, CSize(7, 7, 7), "no slice 0", Box{0, 0, 1, 6, 6, 6});
    }
    CImage empty(IMAGE_GREY_32, CSize(4, 3, 2));
    HullPoints::HullOf({}, 3).paintConvexHullToImage(empty, Box{1, 1, 0, 2, 2, 1}, 4294967295u);
    EXPECT_TRUE(SetPixels(empty, 4294967295u) == Where(empty, Box{1, 1, 0, 2, 2, 1}, all));
}
