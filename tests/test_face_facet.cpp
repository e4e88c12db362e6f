// Faces, facets and facet connectors of the convex hull.

#include "ExpectThrow.h"
#include "Matrices.h"

#include <cmath>
#include <functional>
#include <random>
#include <tuple>

using namespace TOLX;
using namespace testsupport;

namespace
{
template <class Object>
std::string Printed(const Object& object)
{
    testing::internal::CaptureStdout();
    object.print();
    return testing::internal::GetCapturedStdout();
}
} // namespace

TEST(Face, DimensionsExactVerticesAndTwelveDigitPrint)
{
    CMatrix<double> A = Mat(2, 3, {1, 0, 0, 0, 1, 0}), b = Mat(2, 1, {4, 5}), V = Mat(3, 2, {4, 4, 5, 5, 0, 1});
    const CFace f(A, b, V);
    EXPECT_TRUE(f.getDimSpace() == 3 && f.getDimSelf() == 1);
    EXPECT_TRUE(f.getA() == A && f.getb() == b && f.getVertices() == V);
    const CFace empty(3, 1);
    EXPECT_TRUE(empty.getA() == CMatrix<double>(2, 3) && empty.getb() == CMatrix<double>(2, 1));

    // hasVertex is exact; print shows twelve digits.
    A = CMatrix<double>(1, 2), b = CMatrix<double>(1, 1), V = Columns({{0.5, 0.25}, {3, 4}});
    const CFace g(A, b, V);
    EXPECT_TRUE(g.hasVertex(Col({3, 4})) && g.hasVertex(Col({0.5, 0.25})));
    EXPECT_FALSE(g.hasVertex(Col({3, std::nextafter(4.0, 5.0)})));
    EXPECT_FALSE(g.hasVertex(Mat(1, 2, {3, 4})));
    CFace noVertices(2, 1);
    noVertices.getVertices() = CMatrix<double>(2, 0);
    EXPECT_FALSE(noVertices.hasVertex(Col({0, 0})));

    A = Mat(1, 2, {1.0 / 3.0, -2}), b = Mat(1, 1, {1e-13}), V = Columns({{2.0 / 3.0, 0}, {1, 123456789.123456}});
    EXPECT_EQ(Printed(CFace(A, b, V)), "\n1dim Face in 2dim space: ------------------\nEquation:\n"
                                "0.333333333333 -2 \n1e-13 \n\nVertices:\n0.666666666667 1 \n0 123456789.123 \n\n");
}

// For random points, up to dimensions beyond the facet's stack storage, the
// normal is a unit vector orthogonal to every edge and b is A times the first
// vertex, summed in index order. The facet through the ridge of all but the
// last point and that point is the same, with d empty neighbour slots and no
// outside points.
TEST(Facet, NormalIsAUnitVectorOrthogonalToTheEdges)
{
    std::mt19937 gen(1);
    std::uniform_real_distribution<double> u(-1.0, 1.0);
    for (std::size_t d = 2; d <= 11; ++d)
    {
        CMatrix<double> V(d, d);
        for (std::size_t i = 0; i < d * d; ++i)
            V(i % d, i / d) = u(gen);
        const CFacet f(V);
        double norm2 = 0.0, b = 0.0;
        for (std::size_t c = 0; c < d; ++c)
        {
            norm2 += f.getA()(0, c) * f.getA()(0, c);
            b = b + V(c, 0) * f.getA()(0, c);
        }
        EXPECT_NEAR(norm2, 1.0, 1e-12) << d;
        EXPECT_EQ(f.getb()(0, 0), b) << d;
        for (std::size_t i = 1; i < d; ++i)
            EXPECT_NEAR((f.getA() * V.GetCol(i))(0, 0), b, 1e-12) << d << " " << i;
        EXPECT_TRUE(f.getDimSpace() == d && f.getDimSelf() == d - 1 && f.getVertices() == V);

        CMatrix<double> ridge(d, 0), reference = Col(Point(d, 9.0));
        for (std::size_t c = 0; c + 1 < d; ++c)
            ridge.AddCols(V.GetCol(c));
        CFacetConnector connector(nullptr, nullptr, ridge, reference);
        const CFacet viaRidge(&connector, V.GetCol(d - 1));
        EXPECT_TRUE(viaRidge.getA() == f.getA() && viaRidge.getb() == f.getb() && viaRidge.getVertices() == V) << d;
        EXPECT_TRUE(viaRidge.getOutsideSet().empty() && viaRidge.getNeighbours() == std::vector<CFacet*>(d, nullptr));
    }
}

// Each constructor rejects inconsistent shapes in the order of its checks.
TEST(FaceAndFacet, ConstructionFailuresCarryTheirMessages)
{
    CMatrix<double> A43(4, 3), A13(1, 3), b41(4, 1), b12(1, 2), b21(2, 1), b11(1, 1), V3(3, 0), V33(3, 3), V34(3, 4);
    CFace ridge(3, 1), point(3, 0);
    ridge.getVertices() = Columns({{0, 0, 0}, {1, 0, 0}});
    const std::string wrongDimension = "Dimension of CFace must be lower/equal dimension of space";
    const std::tuple<std::string, std::function<void()>, std::string, int> cases[] = {
        // 3 - 4 wraps to 255 in 8 bits, above the space's 3 dimensions.
        {"Face", [&] { CFace f(A43, b41, V3); }, wrongDimension, 28},
        {"Face", [&] { CFace f(A13, b12, V33); }, "The Argument b for the CFace constructor is exspected to be a vector but hat 2 Cols", 30},
        {"Face", [&] { CFace f(A13, b21, V33); },
         "The Arguement A and b for the CFace constructor do not have same size. A.Cols() = 3 but b.Cols() = 1", 35},
        {"Face", [&] { CFace f(A13, b11, V34); }, "Wrong number of vertices", 39},
        {"Face", [] { CFace f(2, 3); }, wrongDimension, 49},
        {"Facet", [] { CFacet f(Columns({{0, 0, 0}, {1, 0, 0}})); },
         "Constructor of a CFacet in 3-space, exspectes 3 affinely independent points but got 2.", 57},
        // The bound on the smallest singular value is absolute, so rounding
        // at this scale already exceeds it.
        {"Facet", [] { CFacet f(Columns({{3e12, 1e12, 7e12}, {-5e12, 2e12, 1e12}, {1e12, -3e12, 4e12}})); },
         "Unable to construct a facet.", 78},
        {"Facet", [&] { CFacet f(&ridge, CMatrix<double>(3, 2)); }, "p is expected to be a vector, but its size is '3x2'", 34},
        {"Facet", [&] { CFacet f(&point, Col({0, 1, 0})); }, "f is expected to be a n-2 dim face, but it is 0-dim.", 37},
        {"Facet", [&] { CFacet f(&ridge, Col({1, 0, 0})); }, "f has vertex p", 40},
    };
    for (const auto& [type, action, message, line] : cases)
        ExpectThrowAt(action, message, "TOLX::C" + type + "::C" + type, "src/Numeric/" + type + ".cpp", line);
    EXPECT_NO_THROW(CFace(A13, b11, V33));
}

TEST(Facet, FurthestIsTheFirstOfEquallyHighPointsAboveToleranceAndNeighboursFillSlots)
{
    CFacet f(Columns({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}));
    if (f.getA()(0, 2) < 0)
        f.flipDirection();
    ASSERT_TRUE(f.getA() == Mat(1, 3, {0, 0, 1}) && f.getb()(0, 0) == 0.0);

    CMatrix<double> p = Mat(2, 2, {7, 7, 7, 7});
    EXPECT_FALSE(f.getFurthest(p));
    f.addToOutsideSet(Col({0, 0, 1e-12}));
    f.addToOutsideSet(Col({0, 0, -3}));
    EXPECT_FALSE(f.getFurthest(p));
    EXPECT_TRUE(p == Mat(2, 2, {7, 7, 7, 7}));

    // Inserted at the front: the list runs 4, 3, 2, 1, ...
    const double heights[] = {2, 3, 3, 1};
    for (int i = 0; i < 4; ++i)
        f.addToOutsideSet(Col({i + 1.0, 0, heights[i]}));
    ASSERT_EQ(f.getOutsideSet().size(), 6u);
    EXPECT_EQ(f.getOutsideSet().front()(0, 0), 4.0);
    EXPECT_TRUE(f.getFurthest(p));
    EXPECT_TRUE(p == Col({3, 0, 3}));

    // A neighbour fills the slot of the vertex it does not share.
    CFacet g(Columns({{0, 0, 0}, {0, 0, 1}, {0, 1, 0}})); // lacks f's vertex 1
    CFacet h(Columns({{1, 0, 0}, {0, 1, 0}, {1, 1, 1}})); // lacks f's vertex 0
    f.addNeighbour(&g);
    f.addNeighbour(&h);
    f.addNeighbour(&f);
    EXPECT_EQ(f.getNeighbours(), (std::vector<CFacet*>{&h, &g, nullptr}));

    // One common vertex: both faces are printed, then the throw.
    CFacet far(Columns({{0, 0, 0}, {5, 5, 5}, {6, 5, 5}}));
    testing::internal::CaptureStdout();
    ExpectThrowAt([&] { f.addNeighbour(&far); }, "Cannot add a neighbor to facet with only 1 common vertices.",
                  "TOLX::CFacet::addNeighbour", "src/Numeric/Facet.cpp", 130);
    const std::string printed = testing::internal::GetCapturedStdout();
    EXPECT_EQ(printed, Printed(far) + Printed(f));
}
