#include "ExpectThrow.h"

#include <random>
#include <set>
#include <tuple>
#include <vector>

using namespace TOLX;

namespace
{
const char* kFile = "src/Numeric/ConvexHullComputer.cpp";
const char* kLoad = "TOLX::CConvexHullComputer::loadPointsFromImage";
const char* kLoadBox = "TOLX::CConvexHullComputer::loadPointsFromImageBox";
const char* kPaint = "TOLX::CConvexHullComputer::paintConvexHullToImage";
const std::string kTypes = "The loadPointsFromImage(...) functionality is only provided for BINARY_FG, 8bit, 16bit and "
                           "32bit unsigned integer data.";

using Point = std::vector<double>;

std::vector<Point> PointsOf(const CConvexHullComputer& hull)
{
    std::vector<Point> out;
    for (const auto& p : hull.getPoints())
    {
        Point q;
        for (std::size_t i = 0; i < p.Rows(); ++i)
            q.push_back(p(i, 0));
        out.push_back(q);
    }
    return out;
}

CMatrix<double> Column(std::initializer_list<double> values)
{
    CMatrix<double> m(values.size(), 1);
    std::size_t i = 0;
    for (double v : values)
        m(i++, 0) = v;
    return m;
}

void ExpectBox(const CConvexHullComputer::CBox& box, std::array<int, 6> expected)
{
    EXPECT_EQ((std::array<int, 6>{box.xmin, box.ymin, box.zmin, box.xmax, box.ymax, box.zmax}), expected);
}

// The pixels a painter must set: every pixel of the box whose centre passes
// the hull's own inside test, found by trying them all.
std::set<std::tuple<int, int, int>> InsidePixels(const CConvexHullComputer& hull, const CImage& image, int z0, int z1)
{
    std::set<std::tuple<int, int, int>> inside;
    const std::size_t d = hull.getDimSpace();
    for (int z = z0; z <= z1; ++z)
        for (int y = 0; y < image.Height(); ++y)
            for (int x = 0; x < image.Width(); ++x)
            {
                const auto p = d == 3 ? Column({double(x), double(y), double(z)}) : Column({double(x), double(y)});
                if (hull.isInside(p))
                    inside.emplace(x, y, z);
            }
    return inside;
}

std::set<std::tuple<int, int, int>> SetPixels(const CImage& image, std::uint64_t colour)
{
    std::set<std::tuple<int, int, int>> set;
    for (int z = 0; z < image.Depth(); ++z)
        for (int y = 0; y < image.Height(); ++y)
            for (int x = 0; x < image.Width(); ++x)
                if (image.GetPixel(x, y, z) == colour)
                    set.emplace(x, y, z);
    return set;
}
} // namespace

TEST(HullImageLoad, KeepsTheOutermostPixelsOfEveryRowInOrder)
{
    CImage image(IMAGE_GREY_8, CSize(10, 4, 3));
    image.SetPixel(2, 1, 0, 5);
    image.SetPixel(3, 1, 0, 5);
    image.SetPixel(7, 1, 0, 9);
    image.SetPixel(4, 0, 2, 1); // a single pixel gives one point
    CConvexHullComputer hull(3, "hull", nullptr);
    hull.addPoint(Column({100, 100, 100})); // replaced by the loader
    ExpectBox(hull.loadPointsFromImage(image), {2, 0, 0, 7, 1, 2});
    EXPECT_EQ(PointsOf(hull), (std::vector<Point>{{2, 1, 0}, {7, 1, 0}, {4, 0, 2}}));

    // Colour mode: only pixels equal to the colour; a lone match is one point.
    ExpectBox(hull.loadPointsFromImage(image, 5), {2, 1, 0, 3, 1, 0});
    EXPECT_EQ(PointsOf(hull), (std::vector<Point>{{2, 1, 0}, {3, 1, 0}}));

    // 2-D reads slice 0 only and gives (x, y) points.
    CConvexHullComputer flat(2, "flat", nullptr);
    ExpectBox(flat.loadPointsFromImage(image), {2, 1, 0, 7, 1, 0});
    EXPECT_EQ(PointsOf(flat), (std::vector<Point>{{2, 1}, {7, 1}}));
}

TEST(HullImageLoad, EmptyImagesGiveAnInvertedBox)
{
    CImage image(IMAGE_GREY_16, CSize(6, 5, 4));
    CConvexHullComputer hull(3, "hull", nullptr);
    ExpectBox(hull.loadPointsFromImage(image), {6, 5, 4, 0, 0, 0});
    EXPECT_TRUE(hull.getPoints().empty());
    CConvexHullComputer flat(2, "flat", nullptr);
    ExpectBox(flat.loadPointsFromImage(image), {6, 5, 0, 0, 0, 0});
}

TEST(HullImageLoad, ColoursAreSaturatedByTheLoaderAndCutByTheBoxLoader)
{
    CImage grey16(IMAGE_GREY_16, CSize(8, 1, 1));
    grey16.SetPixel(1, 0, 0, 300);
    grey16.SetPixel(6, 0, 0, 65535);
    CConvexHullComputer hull(2, "hull", nullptr);
    hull.loadPointsFromImage(grey16, 300);
    EXPECT_EQ(PointsOf(hull), (std::vector<Point>{{1, 0}}));
    hull.loadPointsFromImage(grey16, 70000); // saturated to 65535
    EXPECT_EQ(PointsOf(hull), (std::vector<Point>{{6, 0}}));
    hull.loadPointsFromImageBox(grey16, 65536 + 300, 0, 0, 0, 0, 0, 0); // cut to 300
    EXPECT_EQ(PointsOf(hull), (std::vector<Point>{{1, 0}}));

    CImage grey8(IMAGE_GREY_8, CSize(4, 1, 1));
    grey8.SetPixel(2, 0, 0, 255);
    grey8.SetPixel(3, 0, 0, 44);
    hull.loadPointsFromImage(grey8, 300); // saturated to 255
    EXPECT_EQ(PointsOf(hull), (std::vector<Point>{{2, 0}}));
    hull.loadPointsFromImageBox(grey8, 300, 0, 0, 0, 0, 0, 0); // cut to 44
    EXPECT_EQ(PointsOf(hull), (std::vector<Point>{{3, 0}}));

    CImage grey32(IMAGE_GREY_32, CSize(3, 1, 1));
    grey32.SetPixel(0, 0, 0, 4294967295u);
    hull.loadPointsFromImage(grey32, std::size_t{1} << 40);
    EXPECT_EQ(PointsOf(hull), (std::vector<Point>{{0, 0}}));

    // A background image loads its zero pixels.
    CImage mono(IMAGE_BINARY_BG, CSize(5, 1, 1));
    mono.SetPixel(0, 0, 0, 1);
    mono.SetPixel(4, 0, 0, 1);
    ExpectBox(hull.loadPointsFromImage(mono), {1, 0, 0, 3, 0, 0});
    EXPECT_EQ(PointsOf(hull), (std::vector<Point>{{1, 0}, {3, 0}}));
}

TEST(HullImageLoad, BoxScanSearchesForwardToTheImageWidth)
{
    CImage image(IMAGE_BINARY_FG, CSize(10, 3, 1));
    image.SetPixel(8, 0, 0, 1); // beyond the box end x1 = 5
    image.SetPixel(2, 1, 0, 1);
    image.SetPixel(4, 1, 0, 1);
    image.SetPixel(6, 1, 0, 1);
    image.SetPixel(1, 2, 0, 1); // before x0 = 2
    CConvexHullComputer hull(2, "hull", nullptr);
    hull.loadPointsFromImageBox(image, 1, 2, 0, 0, 5, 3, 1);
    EXPECT_EQ(PointsOf(hull), (std::vector<Point>{{8, 0}, {2, 1}, {4, 1}}));
    // Boxes reaching outside the image read nothing outside it.
    hull.loadPointsFromImageBox(image, 1, -5, -2, 0, 50, 40, 1);
    EXPECT_EQ(PointsOf(hull), (std::vector<Point>{{8, 0}, {2, 1}, {6, 1}, {1, 2}}));
}

TEST(HullImageLoad, FailuresAndTheListLeftBehind)
{
    CImage grey(IMAGE_GREY_8, CSize(3, 3, 3));
    grey.SetPixel(1, 1, 1, 1);
    CConvexHullComputer four(4, "four", nullptr);
    four.addPoint(Column({1, 2, 3, 4}));
    const std::string space =
        "The loadPointsFromImage(...) functionality is only provided in 3-space, but was called with a "
        "ConvexHullComputer in 4-space";
    ExpectThrowAt([&] { four.loadPointsFromImage(grey); }, space, kLoad, kFile, 756);
    ExpectThrowAt([&] { four.loadPointsFromImage(grey, 1); }, space, kLoad, kFile, 791);
    EXPECT_EQ(four.getPoints().size(), 1u); // the dimension is checked before clearing
    ExpectThrowAt([&] { four.loadPointsFromImageBox(grey, 1, 0, 0, 0, 0, 0, 0); }, "1d not implemented",
                  "typed_loadPointsFromImageBox", kFile, 274);

    CConvexHullComputer one(1, "one", nullptr);
    one.addPoint(Column({1}));
    ExpectThrowAt([&] { one.loadPointsFromImage(grey); }, "1d not implemented", "typed_loadPointsFromImage", kFile,
                  130);
    EXPECT_TRUE(one.getPoints().empty());

    CConvexHullComputer hull(3, "hull", nullptr);
    CImage real(IMAGE_FLOAT_32, CSize(2, 2, 2));
    CImage mono(IMAGE_BINARY_FG, CSize(2, 2, 2));
    const auto refill = [&] { hull.addPoint(Column({0, 0, 0})); };
    refill();
    ExpectThrowAt([&] { hull.loadPointsFromImage(real); }, kTypes, kLoad, kFile, 785);
    EXPECT_TRUE(hull.getPoints().empty()); // type and colour are checked after clearing
    refill();
    ExpectThrowAt([&] { hull.loadPointsFromImage(real, 1); }, kTypes, kLoad, kFile, 819);
    EXPECT_TRUE(hull.getPoints().empty());
    refill();
    ExpectThrowAt([&] { hull.loadPointsFromImage(mono, 2); }, "For MONO-images, use colour=0 or colour=1.", kLoad,
                  kFile, 800);
    EXPECT_TRUE(hull.getPoints().empty());
    ExpectThrowAt([&] { hull.loadPointsFromImageBox(mono, 2, 0, 0, 0, 0, 0, 0); },
                  "For MONO-images, use colour=0 or colour=1.", kLoadBox, kFile, 833);
    ExpectThrowAt([&] { hull.loadPointsFromImageBox(real, 1, 0, 0, 0, 0, 0, 0); }, kTypes, kLoadBox, kFile, 856);
}

TEST(HullImagePaint, CubeCornersPaintExactlyTheCube)
{
    CConvexHullComputer hull(3, "cube", nullptr);
    for (double x : {1.0, 3.0})
        for (double y : {1.0, 3.0})
            for (double z : {1.0, 3.0})
                hull.addPoint(Column({x, y, z}));
    hull.compute();
    CImage image(IMAGE_GREY_8, CSize(6, 6, 6));
    hull.paintConvexHullToImage(image);
    const auto painted = SetPixels(image, 1);
    EXPECT_EQ(painted.size(), 27u);
    for (const auto& [x, y, z] : painted)
    {
        EXPECT_TRUE(x >= 1 && x <= 3 && y >= 1 && y <= 3 && z >= 1 && z <= 3);
    }
    EXPECT_EQ(SetPixels(image, 0).size(), 216u - 27u);

    // Within a smaller box only the box is painted, in the given colour.
    CImage boxed(IMAGE_GREY_16, CSize(6, 6, 6));
    hull.paintConvexHullToImage(boxed, CConvexHullComputer::CBox{2, 0, 0, 5, 5, 1}, 700);
    EXPECT_EQ(SetPixels(boxed, 700).size(), 2u * 3u * 1u);
}

TEST(HullImagePaint, WithoutAHullTheWholeBoxIsPainted)
{
    CConvexHullComputer hull(3, "empty", nullptr);
    CImage image(IMAGE_GREY_32, CSize(4, 3, 2));
    hull.paintConvexHullToImage(image, CConvexHullComputer::CBox{1, 1, 0, 2, 2, 1}, 4294967295u);
    EXPECT_EQ(SetPixels(image, 4294967295u).size(), 8u);
}

TEST(HullImagePaint, Failures)
{
    CConvexHullComputer hull(3, "hull", nullptr);
    const CConvexHullComputer::CBox box{0, 0, 0, 1, 1, 1};
    CImage grey8(IMAGE_GREY_8, CSize(2, 2, 2));
    CImage mono(IMAGE_BINARY_FG, CSize(2, 2, 2));
    CImage grey16(IMAGE_GREY_16, CSize(2, 2, 2));
    CImage grey32(IMAGE_GREY_32, CSize(2, 2, 2));
    CImage background(IMAGE_BINARY_BG, CSize(2, 2, 2));
    ExpectThrowAt([&] { hull.paintConvexHullToImage(grey8, box, 256); }, "Grayvalue 256 exceeds range of image type.",
                  kPaint, kFile, 884);
    hull.paintConvexHullToImage(mono, box, 255); // binary foreground accepts grey values here
    EXPECT_EQ(mono.GetPixel(1, 1, 1), 255u);
    ExpectThrowAt([&] { hull.paintConvexHullToImage(grey16, box, 65536); },
                  "Grayvalue 65536 exceeds range of image type.", kPaint, kFile, 892);
    ExpectThrowAt([&] { hull.paintConvexHullToImage(grey32, box, 4294967296u); },
                  "Grayvalue 4294967296 exceeds range of image type.", kPaint, kFile, 900);
    ExpectThrowAt([&] { hull.paintConvexHullToImage(background, box, 1); }, "Not implemented for image type BINARY_BG.",
                  kPaint, kFile, 904);

    CConvexHullComputer four(4, "four", nullptr);
    ExpectThrowAt([&] { four.paintConvexHullToImage(grey8); },
                  "The paintConvexHullToImage(...) functionality is only provided in 3-space, but was called with a "
                  "ConvexHullComputer in 4-space",
                  "typed_paintConvexHullToImage", kFile, 141);
    CConvexHullComputer one(1, "one", nullptr);
    ExpectThrowAt([&] { one.paintConvexHullToImage(grey8); }, "1d not impl", "typed_paintConvexHullToImage", kFile,
                  203);
}

// Painting is compared pixel by pixel with the inside test tried on every
// pixel, for random hulls, every pixel type and boxes that reach outside.
TEST(HullImagePaint, PaintsExactlyThePixelsThatPassTheInsideTest)
{
    std::mt19937 random(7);
    std::uniform_real_distribution<double> coordinate(-4.0, 28.0);
    const IImage::CType types[] = {IMAGE_GREY_8, IMAGE_GREY_16, IMAGE_GREY_32, IMAGE_BINARY_FG};
    for (int round = 0; round < 8; ++round)
    {
        const std::size_t d = round % 2 == 0 ? 3 : 2;
        CConvexHullComputer hull(d, "random", nullptr);
        for (int i = 0; i < 40; ++i)
        {
            // Integer points make many pixels lie exactly on the hull's boundary.
            const double x = std::round(coordinate(random)), y = std::round(coordinate(random));
            hull.addPoint(d == 3 ? Column({x, y, std::round(coordinate(random))}) : Column({x, y}));
        }
        hull.compute();
        CImage image(types[round % 4], CSize(24, 22, d == 3 ? 20 : 1));
        hull.paintConvexHullToImage(image, CConvexHullComputer::CBox{-3, -3, -3, 40, 40, 40}, 1);
        EXPECT_EQ(SetPixels(image, 1), InsidePixels(hull, image, 0, d == 3 ? image.Depth() - 1 : 0)) << round;
    }
}

TEST(HullImagePaint, APaintedHullLoadsBackToTheSamePlanes)
{
    CConvexHullComputer hull(3, "hull", nullptr);
    for (auto p : std::vector<Point>{{2, 2, 2}, {12, 3, 2}, {3, 14, 4}, {4, 4, 11}, {11, 12, 10}, {7, 7, 12}})
        hull.addPoint(Column({p[0], p[1], p[2]}));
    hull.compute();
    CImage image(IMAGE_GREY_8, CSize(16, 16, 16));
    hull.paintConvexHullToImage(image);
    CConvexHullComputer again(3, "again", nullptr);
    again.loadPointsFromImage(image);
    again.compute();
    const auto planes = [](CConvexHullComputer& h) {
        std::set<std::vector<long>> set;
        auto b = h.getb().begin();
        for (const auto& a : h.getA())
            set.insert({std::lround(a(0, 0) * 1e9), std::lround(a(0, 1) * 1e9), std::lround(a(0, 2) * 1e9),
                        std::lround(*b++ * 1e9)});
        return set;
    };
    EXPECT_EQ(planes(again), planes(hull));
}
