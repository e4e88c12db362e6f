// Faces, facets and facet connectors of the convex hull.

#include "ExpectThrow.h"
#include "VornNumeric.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <string>
#include <vector>

using TOLX::CFace;
using TOLX::CFacet;
using TOLX::CFacetConnector;
using TOLX::CMatrix;

namespace
{
const char* const kFaceFile = "src/Numeric/Face.cpp";
const char* const kFacetFile = "src/Numeric/Facet.cpp";
const char* const kFacetCtor = "TOLX::CFacet::CFacet";

CMatrix<double> Mat(std::size_t rows, std::size_t cols, const std::vector<double>& rowMajor)
{
    CMatrix<double> m(rows, cols);
    for (std::size_t i = 0; i < rows; ++i)
        for (std::size_t j = 0; j < cols; ++j)
            m(i, j) = rowMajor[i * cols + j];
    return m;
}

// Points given one after the other become the columns of a d-by-k matrix.
CMatrix<double> Columns(std::size_t d, const std::vector<double>& points)
{
    const std::size_t k = points.size() / d;
    CMatrix<double> m(d, k);
    for (std::size_t j = 0; j < k; ++j)
        for (std::size_t i = 0; i < d; ++i)
            m(i, j) = points[j * d + i];
    return m;
}

double Height(const CFacet& f, const CMatrix<double>& x)
{
    double s = 0.0;
    for (std::size_t i = 0; i < x.Rows(); ++i)
        s += f.getA()(0, i) * x(i, 0);
    return s;
}

std::string Captured(void (*print)(const void*), const void* object)
{
    testing::internal::CaptureStdout();
    print(object);
    return testing::internal::GetCapturedStdout();
}
} // namespace

TEST(Face, ConstructorCopiesMatricesAndDerivesDimensions)
{
    CMatrix<double> A = Mat(2, 3, {1, 0, 0, 0, 1, 0});
    CMatrix<double> b = Mat(2, 1, {4, 5});
    CMatrix<double> V = Mat(3, 2, {4, 4, 5, 5, 0, 1});
    const CFace f(A, b, V);
    EXPECT_EQ(f.getDimSpace(), 3u);
    EXPECT_EQ(f.getDimSelf(), 1u);
    EXPECT_TRUE(f.getA() == A);
    EXPECT_TRUE(f.getb() == b);
    EXPECT_TRUE(f.getVertices() == V);

    const CFace empty(3, 1);
    EXPECT_EQ(empty.getA().Rows(), 2u);
    EXPECT_EQ(empty.getA().Cols(), 3u);
    EXPECT_EQ(empty.getb().Rows(), 2u);
    EXPECT_EQ(empty.getb().Cols(), 1u);
    EXPECT_TRUE(empty.getA() == CMatrix<double>(2, 3));
}

TEST(Face, ConstructorRejectsInconsistentShapesInOrder)
{
    const std::string ctor = "TOLX::CFace::CFace";
    CMatrix<double> A43(4, 3), b41(4, 1), V3(3, 0);
    // 3 - 4 wraps to 255 in 8 bits, above the space's 3 dimensions.
    ExpectThrowAt([&] { CFace f(A43, b41, V3); }, "Dimension of CFace must be lower/equal dimension of space", ctor,
                  kFaceFile, 28);
    CMatrix<double> A13(1, 3), b12(1, 2), b21(2, 1), V33(3, 3), V32(3, 2);
    ExpectThrowAt([&] { CFace f(A13, b12, V33); },
                  "The Argument b for the CFace constructor is exspected to be a vector but hat 2 Cols", ctor, kFaceFile,
                  30);
    ExpectThrowAt([&] { CFace f(A13, b21, V33); },
                  "The Arguement A and b for the CFace constructor do not have same size. A.Cols() = 3 but b.Cols() = 1",
                  ctor, kFaceFile, 35);
    CMatrix<double> b11(1, 1), V34(3, 4);
    ExpectThrowAt([&] { CFace f(A13, b11, V34); }, "Wrong number of vertices", ctor, kFaceFile, 39);
    EXPECT_NO_THROW(CFace(A13, b11, V33));
    ExpectThrowAt([] { CFace f(2, 3); }, "Dimension of CFace must be lower/equal dimension of space", ctor, kFaceFile,
                  49);
}

TEST(Face, HasVertexIsExact)
{
    CMatrix<double> A(1, 2), b(1, 1);
    CMatrix<double> V = Columns(2, {0.5, 0.25, 3, 4});
    const CFace f(A, b, V);
    EXPECT_TRUE(f.hasVertex(Mat(2, 1, {3, 4})));
    EXPECT_TRUE(f.hasVertex(Mat(2, 1, {0.5, 0.25})));
    EXPECT_FALSE(f.hasVertex(Mat(2, 1, {3, std::nextafter(4.0, 5.0)})));
    EXPECT_FALSE(f.hasVertex(Mat(1, 2, {3, 4})));
    CFace noVertices(2, 1);
    noVertices.getVertices() = CMatrix<double>(2, 0);
    EXPECT_FALSE(noVertices.hasVertex(Mat(2, 1, {0, 0})));
}

TEST(Face, PrintWritesDimensionsEquationAndVerticesWithTwelveDigits)
{
    CMatrix<double> A = Mat(1, 2, {1.0 / 3.0, -2});
    CMatrix<double> b = Mat(1, 1, {1e-13});
    CMatrix<double> V = Columns(2, {2.0 / 3.0, 0, 1, 123456789.123456});
    const CFace f(A, b, V);
    const std::string out = Captured([](const void* face) { static_cast<const CFace*>(face)->print(); }, &f);
    EXPECT_EQ(out, "\n1dim Face in 2dim space: ------------------\nEquation:\n"
                   "0.333333333333 -2 \n1e-13 \n\nVertices:\n0.666666666667 1 \n0 123456789.123 \n\n");
}

TEST(Facet, ThroughDPointsGetsUnitNormalAndOffset)
{
    const CFacet f(Columns(3, {2, 0, 0, 0, 2, 0, 0, 0, 2}));
    EXPECT_EQ(f.getDimSpace(), 3u);
    EXPECT_EQ(f.getDimSelf(), 2u);
    EXPECT_EQ(f.getNeighbours(), std::vector<CFacet*>(3, nullptr));
    EXPECT_TRUE(f.getOutsideSet().empty());
    const double s = f.getA()(0, 0) > 0 ? 1.0 : -1.0;
    for (std::size_t i = 0; i < 3; ++i)
        EXPECT_NEAR(f.getA()(0, i), s / std::sqrt(3.0), 1e-15);
    EXPECT_NEAR(f.getb()(0, 0), s * 2 / std::sqrt(3.0), 1e-15);
    // b is A times the first vertex, summed in index order.
    EXPECT_EQ(f.getb()(0, 0), 0.0 + 2 * f.getA()(0, 0) + 0 * f.getA()(0, 1) + 0 * f.getA()(0, 2));
}

// The normal is the right singular vector of the smallest singular value of
// the edge matrix (CNumeric::Svd, unsorted), the lowest index winning a tie;
// b is A times the first vertex. Checked bit for bit on degenerate point sets
// and on random ones up to dimensions beyond the facet's stack storage.
TEST(Facet, NormalIsTheSvdNullVectorOfTheEdges)
{
    std::vector<CMatrix<double>> inputs{Columns(3, {0, 0, 0, 1, 2, 3, 2, 4, 6}), Columns(3, {1, 2, 3, 1, 2, 3, 1, 2, 3})};
    std::mt19937 gen(1);
    std::uniform_real_distribution<double> u(-1.0, 1.0);
    for (std::size_t d = 2; d <= 11; ++d)
    {
        CMatrix<double> V(d, d);
        for (std::size_t i = 0; i < d; ++i)
            for (std::size_t j = 0; j < d; ++j)
                V(i, j) = u(gen);
        inputs.push_back(V);
    }
    for (const CMatrix<double>& V : inputs)
    {
        const std::size_t d = V.Rows();
        CMatrix<double> M(d - 1, d), U(d - 1, d), S(d, 1), W(d, d);
        for (std::size_t i = 1; i < d; ++i)
            for (std::size_t c = 0; c < d; ++c)
                M(i - 1, c) = V(c, i) - V(c, 0);
        ASSERT_TRUE(TOLX::CNumeric::Svd(M, U, S, W, false));
        std::size_t m = 0;
        for (std::size_t j = 1; j < d; ++j)
            if (S(j, 0) < S(m, 0))
                m = j;
        ASSERT_LT(std::fabs(S(m, 0)), CFacet::eps);
        const CFacet f(V);
        double b = 0.0;
        for (std::size_t c = 0; c < d; ++c)
        {
            EXPECT_EQ(f.getA()(0, c), W(c, m)) << "d " << d;
            b = b + V(c, 0) * W(c, m);
        }
        EXPECT_EQ(f.getb()(0, 0), b);
    }
}

TEST(Facet, ConstructionFailuresCarryTheirMessages)
{
    ExpectThrowAt([] { CFacet f(Columns(3, {0, 0, 0, 1, 0, 0})); },
                  "Constructor of a CFacet in 3-space, exspectes 3 affinely independent points but got 2.", kFacetCtor,
                  kFacetFile, 57);
    // The bound on the smallest singular value is absolute, so rounding at
    // this scale already exceeds it.
    ExpectThrowAt([] { CFacet f(Columns(3, {3e12, 1e12, 7e12, -5e12, 2e12, 1e12, 1e12, -3e12, 4e12})); },
                  "Unable to construct a facet.", kFacetCtor, kFacetFile, 78);

    CFace ridge(3, 1);
    ridge.getVertices() = Columns(3, {0, 0, 0, 1, 0, 0});
    ExpectThrowAt([&] { CFacet f(&ridge, Mat(3, 2, {0, 0, 0, 0, 0, 0})); },
                  "p is expected to be a vector, but its size is '3x2'", kFacetCtor, kFacetFile, 34);
    CFace point(3, 0);
    ExpectThrowAt([&] { CFacet f(&point, Mat(3, 1, {0, 1, 0})); }, "f is expected to be a n-2 dim face, but it is 0-dim.",
                  kFacetCtor, kFacetFile, 37);
    ExpectThrowAt([&] { CFacet f(&ridge, Mat(3, 1, {1, 0, 0})); }, "f has vertex p", kFacetCtor, kFacetFile, 40);
}

TEST(Facet, FromRidgeAndPointEqualsFacetThroughAllPoints)
{
    CMatrix<double> R = Columns(3, {0.5, 0.1, 0.2, 1, 0.3, 0.1});
    CMatrix<double> refPoint = Mat(3, 1, {9, 9, 9});
    const CFacetConnector ridge(nullptr, nullptr, R, refPoint);
    const CMatrix<double> p = Mat(3, 1, {0.2, 1.1, 0.4});
    const CFacet viaRidge(const_cast<CFacetConnector*>(&ridge), p);
    const CFacet direct(Columns(3, {0.5, 0.1, 0.2, 1, 0.3, 0.1, 0.2, 1.1, 0.4}));
    EXPECT_TRUE(viaRidge.getA() == direct.getA());
    EXPECT_TRUE(viaRidge.getb() == direct.getb());
    EXPECT_TRUE(viaRidge.getVertices() == direct.getVertices());
    EXPECT_EQ(viaRidge.getNeighbours().size(), 3u);
}

TEST(Facet, GetFurthestTakesFirstOfEquallyHighPointsAboveTolerance)
{
    CFacet f(Columns(3, {0, 0, 0, 1, 0, 0, 0, 1, 0}));
    if (f.getA()(0, 2) < 0)
        f.flipDirection();
    ASSERT_TRUE(f.getA() == Mat(1, 3, {0, 0, 1}));
    ASSERT_EQ(f.getb()(0, 0), 0.0);

    CMatrix<double> p = Mat(2, 2, {7, 7, 7, 7});
    const CMatrix<double> untouched = p;
    EXPECT_FALSE(f.getFurthest(p));
    f.addToOutsideSet(Mat(3, 1, {0, 0, 1e-12}));
    f.addToOutsideSet(Mat(3, 1, {0, 0, -3}));
    EXPECT_FALSE(f.getFurthest(p));
    EXPECT_TRUE(p == untouched);

    f.addToOutsideSet(Mat(3, 1, {1, 0, 2}));
    f.addToOutsideSet(Mat(3, 1, {2, 0, 3}));
    f.addToOutsideSet(Mat(3, 1, {3, 0, 3}));
    f.addToOutsideSet(Mat(3, 1, {4, 0, 1}));
    // Inserted at the front: the list runs 4, 3, 2, 1, ...
    const std::list<CMatrix<double>> outside = f.getOutsideSet();
    ASSERT_EQ(outside.size(), 6u);
    EXPECT_EQ(outside.front()(0, 0), 4.0);
    EXPECT_TRUE(f.getFurthest(p));
    EXPECT_TRUE(p == Mat(3, 1, {3, 0, 3}));
}

TEST(Facet, AddNeighbourFillsSlotOfTheUnsharedVertex)
{
    CFacet f(Columns(3, {0, 0, 0, 1, 0, 0, 0, 1, 0}));
    const CFacet g(Columns(3, {0, 0, 0, 0, 0, 1, 0, 1, 0}));  // lacks f's vertex 1
    const CFacet h(Columns(3, {1, 0, 0, 0, 1, 0, 1, 1, 1}));  // lacks f's vertex 0
    f.addNeighbour(const_cast<CFacet*>(&g));
    f.addNeighbour(const_cast<CFacet*>(&h));
    f.addNeighbour(&f);
    EXPECT_EQ(f.getNeighbours(), (std::vector<CFacet*>{const_cast<CFacet*>(&h), const_cast<CFacet*>(&g), nullptr}));

    const CFacet far(Columns(3, {0, 0, 0, 5, 5, 5, 6, 5, 5}));  // one common vertex
    testing::internal::CaptureStdout();
    ExpectThrowAt([&] { f.addNeighbour(const_cast<CFacet*>(&far)); },
                  "Cannot add a neighbor to facet with only 1 common vertices.", "TOLX::CFacet::addNeighbour",
                  kFacetFile, 130);
    const std::string printed = testing::internal::GetCapturedStdout();
    const std::string farDump = Captured([](const void* x) { static_cast<const CFacet*>(x)->print(); }, &far);
    const std::string fDump = Captured([](const void* x) { static_cast<const CFacet*>(x)->print(); }, &f);
    EXPECT_EQ(printed, farDump + fDump);
}

TEST(Facet, FlipNegatesAndTwiceRestores)
{
    CFacet f(Columns(2, {0.3, 0.1, 1.7, 2.9}));
    const CMatrix<double> A = f.getA();
    const CMatrix<double> b = f.getb();
    f.flipDirection();
    EXPECT_EQ(f.getA()(0, 0), -A(0, 0));
    EXPECT_EQ(f.getA()(0, 1), -A(0, 1));
    EXPECT_EQ(f.getb()(0, 0), -b(0, 0));
    f.flipDirection();
    EXPECT_TRUE(f.getA() == A);
    EXPECT_TRUE(f.getb() == b);
    // The vertices lie on the plane, the normal is a unit vector.
    EXPECT_NEAR(Height(f, Mat(2, 1, {1.7, 2.9})), b(0, 0), 1e-15);
    EXPECT_NEAR(std::hypot(A(0, 0), A(0, 1)), 1.0, 1e-15);
}

TEST(FacetConnector, KeepsPointersAndTestsRidgeVertices)
{
    CFacet v(Columns(3, {0, 0, 0, 1, 0, 0, 0, 1, 0}));
    CFacet h(Columns(3, {0, 0, 0, 1, 0, 0, 0, 0, 1}));
    CMatrix<double> R = Columns(3, {0, 0, 0, 1, 0, 0});
    CMatrix<double> o = Mat(3, 1, {0, 1, 0});
    CFacetConnector c(&v, &h, R, o);
    EXPECT_EQ(c.getVisibleFacet(), &v);
    EXPECT_EQ(c.getHiddenFacet(), &h);
    EXPECT_EQ(c.getConstructedFacet(), nullptr);
    c.setConstructedFacet(&h);
    EXPECT_EQ(c.getConstructedFacet(), &h);
    EXPECT_TRUE(c.getReferencePoint() == o);
    EXPECT_TRUE(c.getVertices() == R);
    EXPECT_EQ(c.getDimSelf(), 1u);
    EXPECT_TRUE(c.getA() == CMatrix<double>(2, 3));

    CMatrix<double> none(3, 0);
    CMatrix<double> both = Columns(3, {1, 0, 0, 0, 0, 0});
    CMatrix<double> oneMissing = Columns(3, {1, 0, 0, 0, 1, 0});
    EXPECT_TRUE(c.hasVertices(none));
    EXPECT_TRUE(c.hasVertices(both));
    EXPECT_FALSE(c.hasVertices(oneMissing));
}

TEST(Facet, CopiesAreMemberwise)
{
    CFacet f(Columns(2, {0, 0, 1, 0}));
    CFacet g(Columns(2, {0, 0, 0, 1}));
    f.addNeighbour(&g);
    f.addToOutsideSet(Mat(2, 1, {0.5, 3}));
    const CFacet copy(f);
    EXPECT_EQ(copy.getNeighbours(), f.getNeighbours());
    EXPECT_EQ(copy.getOutsideSet().size(), 1u);
    EXPECT_TRUE(copy.getA() == f.getA());
    CFacet assigned(Columns(2, {5, 5, 6, 7}));
    assigned = f;
    EXPECT_TRUE(assigned.getVertices() == f.getVertices());
    EXPECT_EQ(assigned.getNeighbours()[1], &g);
}
