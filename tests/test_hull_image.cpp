#include "ExpectThrow.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <limits>
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

// The pixels a painter must set: every pixel of the box (clipped to the
// image) whose centre passes the hull's own inside test, found by trying them all.
std::set<std::tuple<int, int, int>> InsidePixels(const CConvexHullComputer& hull, const CImage& image,
                                                 const CConvexHullComputer::CBox& box)
{
    std::set<std::tuple<int, int, int>> inside;
    const std::size_t d = hull.getDimSpace();
    const int z0 = d == 3 ? std::max(box.zmin, 0) : 0;
    const int z1 = d == 3 ? std::min(box.zmax, image.Depth() - 1) : 0;
    for (int z = z0; z <= z1; ++z)
        for (int y = std::max(box.ymin, 0); y <= std::min(box.ymax, image.Height() - 1); ++y)
            for (int x = std::max(box.xmin, 0); x <= std::min(box.xmax, image.Width() - 1); ++x)
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

// Paints the hull into an empty image and compares with the inside test tried
// on every pixel; reports how many pixels differ and the first of them.
void ExpectPaintsTheInsidePixels(const CConvexHullComputer& hull, const CSize& size,
                                 const CConvexHullComputer::CBox& box, const std::string& what)
{
    CImage image(IMAGE_GREY_8, size);
    hull.paintConvexHullToImage(image, box, 1);
    const auto painted = SetPixels(image, 1);
    const auto inside = InsidePixels(hull, image, box);
    std::vector<std::tuple<int, int, int>> differ;
    std::set_symmetric_difference(painted.begin(), painted.end(), inside.begin(), inside.end(),
                                  std::back_inserter(differ));
    EXPECT_TRUE(differ.empty()) << what << ": " << differ.size() << " of " << inside.size()
                                << " pixels differ, first at (" << std::get<0>(differ.front()) << ", "
                                << std::get<1>(differ.front()) << ", " << std::get<2>(differ.front()) << ")";
}

CConvexHullComputer::CBox WholeImage(const CSize& size)
{
    return {0, 0, 0, size.Width() - 1, size.Height() - 1, size.Depth() - 1};
}

// The lattice points of a ball (a disk for d = 2), only the two ends of each
// row, as the image loader would give them.
void AddLatticeBall(CConvexHullComputer& hull, const double centre[3], double radius)
{
    const bool flat = hull.getDimSpace() == 2;
    for (int z = flat ? 0 : int(std::floor(centre[2] - radius)); z <= (flat ? 0 : int(centre[2] + radius)); ++z)
        for (int y = int(std::floor(centre[1] - radius)); y <= int(centre[1] + radius); ++y)
        {
            const double dz = flat ? 0.0 : z - centre[2], dy = y - centre[1];
            const double half2 = radius * radius - dy * dy - dz * dz;
            if (half2 < 0)
                continue;
            const int left = int(std::ceil(centre[0] - std::sqrt(half2)));
            const int right = int(std::floor(centre[0] + std::sqrt(half2)));
            for (int x = left; x <= right; x += std::max(right - left, 1))
                hull.addPoint(flat ? Column({double(x), double(y)}) : Column({double(x), double(y), double(z)}));
        }
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

    // Equation rows a caller reshaped are read by the inside test through
    // their accessors, at the first probe that reaches them: a 1-by-3 row in
    // the plane reads the probe's third coordinate, a row without rows its
    // element (0, 0).
    const std::string read = "TOLX::CMatrix<double>::operator ()";
    CConvexHullComputer square(2, "square", nullptr), simplex(3, "simplex", nullptr);
    for (const CMatrix<double>& p : {Column({0, 0}), Column({3, 0}), Column({0, 3}), Column({3, 3})})
        square.addPoint(p);
    for (const CMatrix<double>& p : {Column({0, 0, 0}), Column({1, 0, 0}), Column({0, 1, 0}), Column({0, 0, 1})})
        simplex.addPoint(p);
    square.compute();
    simplex.compute();
    square.getA().front().Reshape(1, 3);
    CImage plane(IMAGE_GREY_8, CSize(4, 4, 1));
    ExpectThrowAt([&] { square.paintConvexHullToImage(plane); },
                  "Index exceeds matrix bounds. Tried to access index (2,0) but Matrix size is 2-by-1", read,
                  "src/Numeric/Matrix.cpp", 83);
    simplex.getA().back().Reshape(0, 3);
    ExpectThrowAt([&] { simplex.paintConvexHullToImage(grey8); },
                  "Index exceeds matrix bounds. Tried to access index (0,0) but Matrix size is 0-by-3", read,
                  "src/Numeric/Matrix.cpp", 83);
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
        EXPECT_EQ(SetPixels(image, 1), InsidePixels(hull, image, CConvexHullComputer::CBox{-3, -3, -3, 40, 40, 40}))
            << round;
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

// Balls of many facets: near a finely tessellated surface many planes come
// close to every pixel, and lattice points lie exactly on the facets.
TEST(HullImagePaint, HullsOfManyFacets)
{
    const double centre[3] = {17.4, 16.6, 17.9};
    CConvexHullComputer lattice(3, "lattice", nullptr);
    AddLatticeBall(lattice, centre, 15.3);
    lattice.compute();
    EXPECT_GT(lattice.getA().size(), 300u);
    const CSize size(35, 34, 36);
    ExpectPaintsTheInsidePixels(lattice, size, WholeImage(size), "lattice ball");
    ExpectPaintsTheInsidePixels(lattice, size, {5, -2, 10, 29, 40, 25}, "lattice ball, part");

    // Vertices off the lattice: points on a sphere.
    std::mt19937 random(11);
    std::normal_distribution<double> normal;
    CConvexHullComputer sphere(3, "sphere", nullptr);
    for (int i = 0; i < 400; ++i)
    {
        const double v[3] = {normal(random), normal(random), normal(random)};
        const double scale = 14.2 / std::sqrt(v[0] * v[0] + v[1] * v[1] + v[2] * v[2]);
        sphere.addPoint(Column({centre[0] + v[0] * scale, centre[1] + v[1] * scale, centre[2] + v[2] * scale}));
    }
    sphere.compute();
    ExpectPaintsTheInsidePixels(sphere, size, WholeImage(size), "sphere");

    const double disk[3] = {75.5, 74.25, 0.0};
    CConvexHullComputer flat(2, "disk", nullptr);
    AddLatticeBall(flat, disk, 70.0);
    flat.compute();
    EXPECT_GE(flat.getA().size(), 40u);
    const CSize plane(152, 150, 1);
    ExpectPaintsTheInsidePixels(flat, plane, WholeImage(plane), "lattice disk");
}

// A nearly flat cap: neighbouring facets differ by angles of about 1e-6, and
// their normals are nearly perpendicular to the rows.
TEST(HullImagePaint, NearlyCoplanarFacets)
{
    CConvexHullComputer cap(3, "cap", nullptr);
    for (int y = 2; y <= 26; y += 3)
        for (int x = 2; x <= 26; x += 3)
            cap.addPoint(Column({double(x), double(y), 6.0 + 1e-7 * ((x - 14) * (x - 14) + (y - 14) * (y - 14))}));
    cap.addPoint(Column({14.0, 14.0, 1.0}));
    cap.compute();
    const CSize size(30, 29, 9);
    ExpectPaintsTheInsidePixels(cap, size, WholeImage(size), "cap");
}

// A prism along the rows whose far section is smaller by some 1e-12 (the
// more, the later its vertex comes in `section`), so its sides tilt by about
// 1e-13 per pixel: a row lying on a side at the near end (value 0) passes eps
// a few pixels further on. The side between the first two vertices is
// exactly parallel to the rows.
TEST(HullImagePaint, PlanesNearlyParallelToTheRows)
{
    const double section[][2] = {{12, 3}, {18, 6}, {21, 12}, {18, 18}, {12, 21}, {6, 18}, {3, 12}, {6, 6}};
    CConvexHullComputer prism(3, "prism", nullptr);
    for (int k = 0; k < 8; ++k)
    {
        const double shrink = k < 2 ? 0.0 : 1e-13 * k;
        const double y = section[k][0], z = section[k][1];
        prism.addPoint(Column({3.0, y, z}));
        prism.addPoint(Column({40.0, y - shrink * (y - 12), z - shrink * (z - 12)}));
    }
    prism.compute();
    const CSize size(44, 24, 24);
    ExpectPaintsTheInsidePixels(prism, size, WholeImage(size), "prism");

    // Rows on the most tilted sides end well inside the prism; rows on the
    // parallel side run its whole length.
    CImage image(IMAGE_GREY_8, size);
    prism.paintConvexHullToImage(image);
    for (const auto& yz : std::vector<std::array<int, 2>>{{4, 14}, {5, 16}, {5, 8}, {4, 10}})
    {
        EXPECT_EQ(image.GetPixel(3, yz[0], yz[1]), 1u);
        EXPECT_EQ(image.GetPixel(30, yz[0], yz[1]), 0u);
    }
    for (const auto& yz : std::vector<std::array<int, 2>>{{14, 4}, {16, 5}})
    {
        EXPECT_EQ(image.GetPixel(3, yz[0], yz[1]), 1u);
        EXPECT_EQ(image.GetPixel(40, yz[0], yz[1]), 1u);
    }
}

// The painter must match the inside test for any set of half-spaces, not
// only for hulls: random planes through pixel centres, shifted by about eps,
// with components that are zero, negative zero, tiny or denormal.
TEST(HullImagePaint, AnySetOfHalfSpaces)
{
    std::mt19937 random(5);
    std::uniform_real_distribution<double> component(-2.0, 2.0);
    std::uniform_int_distribution<int> pick(0, 7);
    const double special[] = {0.0, -0.0, 1e-300, -4e-320, 1e-17, -3e-13, 1e-9, 2e-6};
    const double eps = 1e-12;
    const double shifts[] = {0.0, eps, -eps, std::nextafter(eps, 1.0), std::nextafter(eps, 0.0), 3e-12, -5e-13, 0.7};
    for (int round = 0; round < 24; ++round)
    {
        const std::size_t d = round % 3 == 2 ? 2 : 3;
        const CSize size(21, 19, d == 3 ? 17 : 1);
        CConvexHullComputer halfSpaces(d, "planes", nullptr);
        for (int count = 0; count < 6 + round; ++count)
        {
            CMatrix<double> a(1, d);
            for (std::size_t i = 0; i < d; ++i)
                a(0, i) = pick(random) < 2 ? special[pick(random)] : component(random);
            // Through a pixel centre, b computed as the inside test sums.
            const double p[3] = {double(pick(random) * 3), double(pick(random) * 2 + 2), double(pick(random) * 2)};
            double b = 0.0;
            for (std::size_t i = 0; i < d; ++i)
                b += a(0, i) * p[i];
            halfSpaces.getA().push_back(a);
            halfSpaces.getb().push_back(b - shifts[pick(random)]);
        }
        ExpectPaintsTheInsidePixels(halfSpaces, size, WholeImage(size), "round " + std::to_string(round));
        ExpectPaintsTheInsidePixels(halfSpaces, size, {-4, 3, 2, 15, 30, 9}, "round " + std::to_string(round));
    }
}

// Planes whose boundary value = eps passes within rounding of many pixel
// centres (-0.1 x + 0.3 y + 0.7 z = 1 on a whole lattice of them): there the
// inside test decides by the rounding of its own sum, which a boundary
// computed any other way does not reproduce.
TEST(HullImagePaint, BoundariesThroughPixelCentres)
{
    const double eps = 1e-12;
    struct Boundary
    {
        std::vector<double> a;
        double level;
    };
    const Boundary boundaries[] = {{{-0.1, 0.3, 0.7}, 1.0},
                                   {{0.1, -0.3, 0.2}, 0.5},
                                   {{-0.73, 2.19, 5.11}, 7.3},
                                   {{0.1, 0.7, -0.3}, 0.9},
                                   {{-0.1, 0.3}, 0.4},
                                   {{0.7, -0.1}, 3.3}};
    const CSize size(48, 19, 11);
    CConvexHullComputer all3(3, "all", nullptr);
    CConvexHullComputer all2(2, "all", nullptr);
    int index = 0;
    for (const auto& boundary : boundaries)
    {
        const std::size_t d = boundary.a.size();
        CMatrix<double> a(1, d);
        for (std::size_t i = 0; i < d; ++i)
            a(0, i) = boundary.a[i];
        CConvexHullComputer one(d, "one", nullptr);
        for (CConvexHullComputer* hull : {&one, d == 3 ? &all3 : &all2})
        {
            hull->getA().push_back(a);
            hull->getb().push_back(boundary.level - eps);
        }
        ExpectPaintsTheInsidePixels(one, size, WholeImage(size), "boundary " + std::to_string(index++));
    }
    ExpectPaintsTheInsidePixels(all3, size, WholeImage(size), "3-D boundaries together");
    ExpectPaintsTheInsidePixels(all2, size, WholeImage(size), "2-D boundaries together");
}

// Boxes whose corner nearest to the boundary of a plane lies on it within
// rounding: whether the box is all inside, all outside or all but that
// corner hangs on the inside test at the corner alone.
TEST(HullImagePaint, BoxCornersOnABoundary)
{
    const double eps = 1e-12;
    for (double scale : {1.0, 0.7, 1.3, 3.1, 0.37, 9.0})
        for (int level = 1; level <= 4; ++level)
        {
            // -0.1 x + 0.3 y + 0.7 z = level on the probes x = 3y + 7z - 10 level.
            CConvexHullComputer plane(3, "plane", nullptr);
            CMatrix<double> a(1, 3);
            a(0, 0) = -0.1 * scale;
            a(0, 1) = 0.3 * scale;
            a(0, 2) = 0.7 * scale;
            plane.getA().push_back(a);
            plane.getb().push_back(level * scale - eps);
            const CSize size(40, 12, 8);
            const int x = 3 * 6 + 7 * 4 - 10 * level; // on the boundary in row (6, 4)
            const std::string what = "scale " + std::to_string(scale) + ", level " + std::to_string(level);
            ExpectPaintsTheInsidePixels(plane, size, {x, 0, 0, 39, 6, 4}, what + ", inside but a corner");
            ExpectPaintsTheInsidePixels(plane, size, {0, 6, 4, x, 11, 7}, what + ", outside but a corner");
        }
}

// A plane with a NaN component rejects nothing; one with an infinite
// component rejects depending on the sign of the coordinate it multiplies
// (0 times infinity is NaN and rejects nothing).
TEST(HullImagePaint, NonFiniteEquations)
{
    CConvexHullComputer hull(3, "box", nullptr);
    for (double x : {1.0, 5.0})
        for (double y : {1.0, 5.0})
            for (double z : {0.0, 4.0})
                hull.addPoint(Column({x, y, z}));
    hull.compute();
    CMatrix<double> nan(1, 3);
    nan(0, 1) = std::numeric_limits<double>::quiet_NaN();
    hull.getA().push_back(nan);
    hull.getb().push_back(0.0);
    const CSize size(7, 7, 7);
    CImage image(IMAGE_GREY_8, size);
    hull.paintConvexHullToImage(image);
    EXPECT_EQ(SetPixels(image, 1).size(), 125u);

    // Only slice z = 0 stays inside.
    CMatrix<double> infinite(1, 3);
    infinite(0, 2) = std::numeric_limits<double>::infinity();
    hull.getA().push_back(infinite);
    hull.getb().push_back(0.0);
    CImage cut(IMAGE_GREY_8, size);
    hull.paintConvexHullToImage(cut);
    const auto painted = SetPixels(cut, 1);
    EXPECT_EQ(painted.size(), 25u);
    EXPECT_EQ(std::count_if(painted.begin(), painted.end(), [](const auto& p) { return std::get<2>(p) == 0; }), 25);
    ExpectPaintsTheInsidePixels(hull, size, {-2, -2, -2, 9, 9, 9}, "infinity");
    ExpectPaintsTheInsidePixels(hull, size, {0, 0, 1, 6, 6, 6}, "infinity, no slice 0");

    // Finite but huge: only x = 1 is left (1e200 * (x - 1) <= eps).
    CConvexHullComputer huge(3, "box", nullptr);
    for (double x : {1.0, 5.0})
        for (double y : {1.0, 5.0})
            for (double z : {0.0, 4.0})
                huge.addPoint(Column({x, y, z}));
    huge.compute();
    CMatrix<double> steep(1, 3);
    steep(0, 0) = 1e200;
    huge.getA().push_back(steep);
    huge.getb().push_back(1e200);
    CImage slice(IMAGE_GREY_8, size);
    huge.paintConvexHullToImage(slice);
    EXPECT_EQ(SetPixels(slice, 1).size(), 25u);
    ExpectPaintsTheInsidePixels(huge, size, WholeImage(size), "huge");
}
