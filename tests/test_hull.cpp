// The convex hull computer: start simplex, incremental construction, queries.
// Expected values come from hand derivations or from brute force over all
// d-subsets of the input (a hyperplane through d points is a facet plane iff
// every point lies on one side of it).

#include "ExpectThrow.h"
#include "Numeric/helpers/HullLookup.h"
#include "VornNumeric.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <iterator>
#include <list>
#include <memory>
#include <random>
#include <sstream>
#include <string>
#include <vector>

using TOLX::CConvexHullComputer;
using TOLX::CFacet;
using TOLX::CMatrix;

namespace
{
const char* const kHullFile = "src/Numeric/ConvexHullComputer.cpp";

// Opens the protected construction steps and lists to the tests.
class Probe : public CConvexHullComputer
{
public:
    explicit Probe(std::size_t d) : CConvexHullComputer(d, "probe", nullptr) {}
    using CConvexHullComputer::constructHorizon;
    using CConvexHullComputer::constructNewFacets;
    using CConvexHullComputer::distributePoints;
    using CConvexHullComputer::facets;
    using CConvexHullComputer::horizon;
    using CConvexHullComputer::makeSimplex;
    using CConvexHullComputer::newFacets;
    using CConvexHullComputer::points;
    using CConvexHullComputer::visibleFacets;
};

using Point = std::vector<double>;

CMatrix<double> Col(const Point& p)
{
    CMatrix<double> m(p.size(), 1);
    for (std::size_t i = 0; i < p.size(); ++i)
        m(i, 0) = p[i];
    return m;
}

CMatrix<double> Columns(const std::vector<Point>& points)
{
    CMatrix<double> m(points.front().size(), points.size());
    for (std::size_t j = 0; j < points.size(); ++j)
        for (std::size_t i = 0; i < points[j].size(); ++i)
            m(i, j) = points[j][i];
    return m;
}

Point AsPoint(const CMatrix<double>& column)
{
    Point p(column.Rows());
    for (std::size_t i = 0; i < p.size(); ++i)
        p[i] = column(i, 0);
    return p;
}

Point Row(const CMatrix<double>& row)
{
    Point p(row.Cols());
    for (std::size_t i = 0; i < p.size(); ++i)
        p[i] = row(0, i);
    return p;
}

void ExpectNear(const Point& actual, const Point& expected, double tolerance)
{
    ASSERT_EQ(actual.size(), expected.size());
    for (std::size_t i = 0; i < actual.size(); ++i)
        EXPECT_NEAR(actual[i], expected[i], tolerance) << "element " << i;
}

double Dot(const Point& a, const Point& b)
{
    double s = 0.0;
    for (std::size_t i = 0; i < a.size(); ++i)
        s += a[i] * b[i];
    return s;
}

// The library's generator, reproduced from its published definition: the
// state advances by x = x * 1103515245 + 12345 and bits 16..30 are returned.
struct Lcg
{
    std::uint32_t state;
    int next()
    {
        state = state * 1103515245u + 12345u;
        return static_cast<int>((state / 65536u) % 32768u);
    }
};

// Number of generator values one selection-sampling draw of k of n uses.
std::size_t DrawsOfOneAttempt(Lcg& g, std::uint32_t n, std::size_t k)
{
    std::size_t used = 0;
    for (std::uint32_t i = 0; k > 0; ++i, ++used)
        if (g.next() / 32768.0 * static_cast<double>(n - i) < static_cast<double>(k))
            --k;
    return used;
}

std::vector<Point> RandomBall(std::size_t d, std::size_t n, unsigned seed)
{
    std::mt19937 gen(seed);
    std::uniform_real_distribution<double> u(-1.0, 1.0);
    std::vector<Point> points;
    while (points.size() < n)
    {
        Point p(d);
        for (double& x : p)
            x = u(gen);
        if (Dot(p, p) <= 1.0)
            points.push_back(p);
    }
    return points;
}

CConvexHullComputer HullOf(const std::vector<Point>& points)
{
    CConvexHullComputer hull(points.front().size(), "hull", nullptr);
    for (const Point& p : points)
        hull.addPoint(Col(p));
    return hull;
}

// Determinant by Gaussian elimination with partial pivoting.
double Determinant(std::vector<std::vector<double>> m)
{
    const std::size_t n = m.size();
    double det = 1.0;
    for (std::size_t c = 0; c < n; ++c)
    {
        std::size_t pivot = c;
        for (std::size_t r = c + 1; r < n; ++r)
            if (std::fabs(m[r][c]) > std::fabs(m[pivot][c]))
                pivot = r;
        if (m[pivot][c] == 0.0)
            return 0.0;
        if (pivot != c)
        {
            std::swap(m[pivot], m[c]);
            det = -det;
        }
        det *= m[c][c];
        for (std::size_t r = c + 1; r < n; ++r)
        {
            const double f = m[r][c] / m[c][c];
            for (std::size_t k = c; k < n; ++k)
                m[r][k] -= f * m[c][k];
        }
    }
    return det;
}

// Unit normal of the hyperplane through d points (generalised cross product
// of the edge vectors), with its offset: n . x = b.
std::pair<Point, double> PlaneThrough(const std::vector<Point>& pts)
{
    const std::size_t d = pts.size();
    Point n(d);
    for (std::size_t skip = 0; skip < d; ++skip)
    {
        std::vector<std::vector<double>> minor;
        for (std::size_t r = 1; r < d; ++r)
        {
            std::vector<double> row;
            for (std::size_t c = 0; c < d; ++c)
                if (c != skip)
                    row.push_back(pts[r][c] - pts[0][c]);
            minor.push_back(row);
        }
        n[skip] = (skip % 2 == 0 ? 1.0 : -1.0) * Determinant(minor);
    }
    const double len = std::sqrt(Dot(n, n));
    for (double& x : n)
        x /= len;
    return {n, Dot(n, pts[0])};
}

// All facet planes n . x <= b of the hull of points in general position, by
// brute force over d-subsets.
std::vector<Point> BruteForcePlanes(const std::vector<Point>& points)
{
    const std::size_t d = points.front().size();
    std::vector<Point> planes;
    std::vector<std::size_t> idx(d);
    for (std::size_t i = 0; i < d; ++i)
        idx[i] = i;
    for (;;)
    {
        std::vector<Point> subset;
        for (std::size_t i : idx)
            subset.push_back(points[i]);
        auto [n, b] = PlaneThrough(subset);
        double lo = 0.0, hi = 0.0;
        for (const Point& p : points)
        {
            lo = std::min(lo, Dot(n, p) - b);
            hi = std::max(hi, Dot(n, p) - b);
        }
        if (lo >= -1e-9 || hi <= 1e-9)
        {
            if (hi <= 1e-9)
                n.push_back(b);
            else
            {
                for (double& x : n)
                    x = -x;
                n.push_back(-b);
            }
            planes.push_back(n);
        }
        std::size_t k = d;
        while (k > 0 && idx[k - 1] == points.size() - d + k - 1)
            --k;
        if (k == 0)
            break;
        ++idx[k - 1];
        for (std::size_t j = k; j < d; ++j)
            idx[j] = idx[j - 1] + 1;
    }
    return planes;
}
} // namespace

// The unit square from the triangle of three corners: the fourth corner sees
// one edge, the horizon has two single-point ridges, two new edges replace the
// visible one. Every list below follows from the front-insertion rules.
TEST(Hull, SquareInThePlaneRunsAsDerivedByHand)
{
    const Point c0{0, 0}, c1{1, 0}, c2{1, 1}, p{0, 1};
    Probe steps(2);
    for (const Point& q : {c0, c1, c2, p, Point{0.5, 0.5}})
        steps.addPoint(Col(q));
    const CMatrix<double> S = Columns({c0, c1, c2});
    steps.makeSimplex(S);
    ASSERT_EQ(steps.facets.size(), 3u);
    CFacet* f2 = steps.facets.front();             // edge c0-c1
    CFacet* f1 = *std::next(steps.facets.begin()); // diagonal c0-c2
    CFacet* f0 = steps.facets.back();              // edge c1-c2
    EXPECT_TRUE(f1->getVertices() == Columns({c0, c2}));
    steps.distributePoints(steps.facets);
    EXPECT_TRUE(steps.points.empty());
    ASSERT_EQ(f1->getOutsideSet().size(), 1u);
    EXPECT_TRUE(f2->getOutsideSet().empty() && f0->getOutsideSet().empty());

    CMatrix<double> furthest;
    ASSERT_TRUE(f1->getFurthest(furthest));
    steps.constructHorizon(f1, furthest);
    EXPECT_EQ(steps.visibleFacets, std::list<CFacet*>{f1});
    ASSERT_EQ(steps.horizon.size(), 2u);
    EXPECT_EQ(steps.horizon.front()->getHiddenFacet(), f2);
    EXPECT_TRUE(steps.horizon.front()->getVertices() == Columns({c0}));
    EXPECT_EQ(steps.horizon.back()->getHiddenFacet(), f0);
    steps.constructNewFacets(furthest);
    EXPECT_TRUE(steps.horizon.empty());
    ASSERT_EQ(steps.newFacets.size(), 2u);
    CFacet* top = steps.newFacets.front(); // built second, through c2 and p
    CFacet* left = steps.newFacets.back(); // built first, through c0 and p
    EXPECT_TRUE(top->getVertices() == Columns({c2, p}));
    EXPECT_TRUE(left->getVertices() == Columns({c0, p}));
    EXPECT_EQ(top->getNeighbours(), (std::vector<CFacet*>{left, f0}));
    EXPECT_EQ(left->getNeighbours(), (std::vector<CFacet*>{top, f2}));
    EXPECT_EQ(f2->getNeighbours(), (std::vector<CFacet*>{f0, left}));
    EXPECT_EQ(f0->getNeighbours(), (std::vector<CFacet*>{top, f2}));

    CConvexHullComputer hull(2, "square", nullptr);
    for (const Point& q : {c0, c1, c2, p, Point{0.5, 0.5}})
        hull.addPoint(Col(q));
    hull.compute(S);
    std::vector<const CFacet*> order(hull.GetFacets().begin(), hull.GetFacets().end());
    ASSERT_EQ(order.size(), 4u);
    EXPECT_TRUE(order[0]->getVertices() == Columns({c2, p}));
    EXPECT_TRUE(order[1]->getVertices() == Columns({c0, p}));
    EXPECT_TRUE(order[2]->getVertices() == Columns({c0, c1}));
    EXPECT_TRUE(order[3]->getVertices() == Columns({c1, c2}));
    // Equations in reverse facet order.
    const std::vector<Point> rows = [&] {
        std::vector<Point> r;
        for (const CMatrix<double>& a : hull.getA())
            r.push_back(Row(a));
        return r;
    }();
    ASSERT_EQ(rows.size(), 4u);
    const std::vector<Point> expectedRows{{1, 0}, {0, -1}, {-1, 0}, {0, 1}};
    for (std::size_t k = 0; k < 4; ++k)
        ExpectNear(rows[k], expectedRows[k], 1e-15);
    ExpectNear(Point(hull.getb().begin(), hull.getb().end()), {1, 0, 0, 1}, 1e-15);

    std::vector<Point> vertices;
    for (const CMatrix<double>& v : hull.getVertices())
        vertices.push_back(AsPoint(v));
    EXPECT_EQ(vertices, (std::vector<Point>{c2, p, c0, c1}));
    std::list<std::vector<double>> plain{{42.0}};
    TOLX::CConvexHullHelpers::GetVertices(plain, hull);
    EXPECT_EQ(std::vector<Point>(plain.begin(), plain.end()), vertices);
}

// Four points: every attempt takes all of them, so one attempt of exactly four
// draws succeeds, and the simplex is built from the points in list order.
TEST(Hull, TetrahedronTakesAllPointsInOneAttempt)
{
    const std::vector<Point> corners{{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}};
    TOLX::SeedRand15(77);
    CConvexHullComputer hull = HullOf(corners);
    hull.compute();
    Lcg g{77};
    for (int i = 0; i < 4; ++i)
        g.next();
    EXPECT_EQ(TOLX::Rand15(), g.next());

    // points run p3, p2, p1, p0; facet i leaves out column i, newest first.
    const std::vector<Point> S{corners[3], corners[2], corners[1], corners[0]};
    std::vector<const CFacet*> facets(hull.GetFacets().begin(), hull.GetFacets().end());
    ASSERT_EQ(facets.size(), 4u);
    for (std::size_t k = 0; k < 4; ++k)
    {
        const std::size_t left = 3 - k;
        std::vector<Point> spanned;
        for (std::size_t j = 0; j < 4; ++j)
            if (j != left)
                spanned.push_back(S[j]);
        EXPECT_TRUE(facets[k]->getVertices() == Columns(spanned));
        EXPECT_LT(Dot(Row(facets[k]->getA()), S[left]), facets[k]->getb()(0, 0));
        // Slot s holds the facet built without this facet's vertex s.
        const std::vector<CFacet*> n = facets[k]->getNeighbours();
        for (std::size_t s = 0; s < 3; ++s)
        {
            const std::size_t without = s < left ? s : s + 1;
            EXPECT_EQ(n[s], facets[3 - without]);
        }
    }
}

TEST(Hull, TetrahedronWithInteriorPointHasFourUnitOutwardEquations)
{
    const double r = 1.0 / std::sqrt(3.0);
    const std::vector<Point> expected{{-1, 0, 0, 0}, {0, -1, 0, 0}, {0, 0, -1, 0}, {r, r, r, r}};
    for (unsigned seed : {1u, 2u, 3u, 4u, 5u})
    {
        TOLX::SeedRand15(seed);
        CConvexHullComputer hull = HullOf({{0.1, 0.2, 0.1}, {0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}});
        hull.compute();
        EXPECT_EQ(hull.GetFacets().size(), 4u);
        ASSERT_EQ(hull.getA().size(), 4u);
        std::vector<bool> found(4, false);
        auto b = hull.getb().begin();
        for (const CMatrix<double>& a : hull.getA())
        {
            Point eq = Row(a);
            eq.push_back(*b++);
            for (std::size_t k = 0; k < 4; ++k)
                if (std::fabs(eq[0] - expected[k][0]) < 1e-12 && std::fabs(eq[1] - expected[k][1]) < 1e-12 &&
                    std::fabs(eq[2] - expected[k][2]) < 1e-12 && std::fabs(eq[3] - expected[k][3]) < 1e-12)
                    found[k] = true;
        }
        EXPECT_EQ(found, std::vector<bool>(4, true)) << "seed " << seed;
        EXPECT_EQ(hull.getVertices().size(), 4u);
        EXPECT_TRUE(hull.getPoints().empty());
    }
}

TEST(Hull, SimplexOfDPlusOnePointsInEveryDimension)
{
    for (std::size_t d = 2; d <= 5; ++d)
    {
        const std::vector<Point> points = RandomBall(d, d + 1, static_cast<unsigned>(d));
        CConvexHullComputer hull = HullOf(points);
        hull.compute();
        ASSERT_EQ(hull.GetFacets().size(), d + 1);
        ASSERT_EQ(hull.getA().size(), d + 1);
        for (const CFacet* f : hull.GetFacets())
            for (const Point& q : points)
            {
                if (!f->hasVertex(Col(q)))
                {
                    EXPECT_LT(Dot(Row(f->getA()), q), f->getb()(0, 0) - 1e-6);
                }
            }
    }
}

TEST(Hull, StartPointFailures)
{
    const std::string where = "TOLX::CConvexHullComputer::getStartPoints";
    ExpectThrowAt([] { HullOf({{0, 0, 0}, {1, 1, 1}}).compute(); },
                  "Will not be able to find any affinely independentpoints. Pointset contains only 2 points.", where,
                  kHullFile, 166);

    const std::string subspace = "Could not find any affinely independent points. Maybe your data form an affine subspace.";
    TOLX::SeedRand15(5);
    ExpectThrowAt([] { CConvexHullComputer(3, "empty", nullptr).compute(); }, subspace, where, kHullFile, 198);
    Lcg untouched{5};
    EXPECT_EQ(TOLX::Rand15(), untouched.next());

    // Ten points on the plane z = x + y: 10 * 10 - 1 failed attempts.
    std::vector<Point> plane;
    for (int i = 0; i < 10; ++i)
        plane.push_back({double(i % 4), double(i / 4), double(i % 4 + i / 4)});
    TOLX::SeedRand15(9);
    ExpectThrowAt([&] { HullOf(plane).compute(); }, subspace, where, kHullFile, 198);
    Lcg g{9};
    for (int attempt = 1; attempt < 100; ++attempt)
        DrawsOfOneAttempt(g, 10, 4);
    EXPECT_EQ(TOLX::Rand15(), g.next());
}

// With n = d the draw also selects one index past the end: the last column
// keeps the zero the computer started it with, so three points in 3-space
// make a simplex with the origin.
TEST(Hull, DPointsInDSpaceSpanASimplexWithTheUnfilledColumn)
{
    CConvexHullComputer hull = HullOf({{1, 0, 0}, {0, 2, 0}, {0, 0, 3}});
    hull.compute();
    EXPECT_EQ(hull.GetFacets().size(), 4u);
    std::vector<Point> vertices;
    for (const CMatrix<double>& v : hull.getVertices())
        vertices.push_back(AsPoint(v));
    std::sort(vertices.begin(), vertices.end());
    EXPECT_EQ(vertices, (std::vector<Point>{{0, 0, 0}, {0, 0, 3}, {0, 2, 0}, {1, 0, 0}}));
}

TEST(Hull, InsideTestHasAnAbsoluteToleranceOf1e12)
{
    std::vector<Point> cube;
    for (int i = 0; i < 8; ++i)
        cube.push_back({double(i & 1), double((i >> 1) & 1), double((i >> 2) & 1)});
    CConvexHullComputer hull = HullOf(cube);
    EXPECT_TRUE(hull.isInside(Col({100, 100, 100})));
    hull.compute();
    EXPECT_EQ(hull.GetFacets().size(), 12u);
    EXPECT_EQ(hull.getA().size(), 6u); // two coplanar triangles per side
    for (const Point& c : cube)
        EXPECT_TRUE(hull.isInside(Col(c)));
    EXPECT_TRUE(hull.isInside(Col({1 + 1e-13, 0.5, 0.5})));
    EXPECT_FALSE(hull.isInside(Col({1 + 1e-11, 0.5, 0.5})));
    EXPECT_TRUE(hull.isInside(Col({0.5, -1e-13, 0.5})));
    EXPECT_FALSE(hull.isInside(Col({0.5, 0.5, -1e-11})));
}

// Two hull vertices that differ by delta in one coordinate only: getVertices
// identifies them within 1e-6 in x but compares z exactly; GetVertices within
// 1e-8 in every coordinate but the last, which it compares exactly.
TEST(Hull, VertexListsUseTheirOwnTolerances)
{
    // A triangle in the two other coordinates, extruded by delta along axis.
    auto prism = [](std::size_t axis, double delta) {
        std::vector<Point> pts;
        for (double t : {0.0, delta})
            for (const auto& [u, v] : {std::pair{0.0, 0.0}, std::pair{1.0, 0.0}, std::pair{0.0, 1.0}})
            {
                Point q(3);
                q[axis] = t;
                q[(axis + 1) % 3] = u;
                q[(axis + 2) % 3] = v;
                pts.push_back(q);
            }
        return pts;
    };
    auto count = [](const std::vector<Point>& pts, bool helpers) {
        CConvexHullComputer hull = HullOf(pts);
        hull.compute();
        EXPECT_EQ(hull.GetFacets().size(), 8u);
        if (!helpers)
            return hull.getVertices().size();
        std::list<std::vector<double>> out;
        TOLX::CConvexHullHelpers::GetVertices(out, hull);
        return out.size();
    };
    EXPECT_EQ(count(prism(0, 1e-7), false), 3u);
    EXPECT_EQ(count(prism(2, 1e-7), false), 6u);
    EXPECT_EQ(count(prism(0, 1e-9), true), 3u);
    EXPECT_EQ(count(prism(2, 1e-9), true), 6u);
    EXPECT_EQ(count(prism(0, 1e-7), true), 6u);
}

TEST(Hull, AssignmentSharesFacetsButCopiesValues)
{
    CConvexHullComputer b = HullOf({{0, 0}, {2, 0}, {0, 2}, {2, 2}});
    b.compute();
    CConvexHullComputer a(5, "other", nullptr);
    a.addPoint(Col({1, 2, 3, 4, 5}));
    a = b;
    EXPECT_EQ(a.getDimSpace(), 2u);
    EXPECT_EQ(a.GetFacets(), b.GetFacets());
    a.getA().clear();
    a.getb().clear();
    a.addPoint(Col({7, 7}));
    EXPECT_EQ(b.getA().size(), 4u);
    EXPECT_EQ(b.getb().size(), 4u);
    EXPECT_TRUE(b.getPoints().empty());
    const CConvexHullComputer copy(a);
    EXPECT_EQ(copy.GetFacets(), b.GetFacets());
}

TEST(Hull, RandomHullsMatchBruteForceFacets)
{
    for (std::size_t d = 2; d <= 5; ++d)
        for (unsigned seed = 1; seed <= 3; ++seed)
        {
            const std::vector<Point> points = RandomBall(d, d == 5 ? 10 : 14, seed * 10 + unsigned(d));
            CConvexHullComputer hull = HullOf(points);
            hull.compute();
            const std::vector<Point> brute = BruteForcePlanes(points);
            ASSERT_EQ(hull.getA().size(), brute.size()) << "d " << d << " seed " << seed;
            auto b = hull.getb().begin();
            for (const CMatrix<double>& a : hull.getA())
            {
                Point eq = Row(a);
                eq.push_back(*b++);
                bool matched = false;
                for (const Point& plane : brute)
                {
                    bool same = true;
                    for (std::size_t i = 0; i <= d; ++i)
                        same = same && std::fabs(plane[i] - eq[i]) < 1e-9;
                    matched = matched || same;
                }
                EXPECT_TRUE(matched) << "d " << d << " seed " << seed;
            }
            // In general position the vertices are the points on some facet plane.
            std::vector<Point> expected;
            for (const Point& p : points)
                for (const Point& plane : brute)
                    if (std::fabs(Dot(Point(plane.begin(), plane.end() - 1), p) - plane.back()) < 1e-9)
                    {
                        expected.push_back(p);
                        break;
                    }
            std::vector<Point> vertices;
            for (const CMatrix<double>& v : hull.getVertices())
                vertices.push_back(AsPoint(v));
            std::sort(expected.begin(), expected.end());
            std::sort(vertices.begin(), vertices.end());
            EXPECT_EQ(vertices, expected) << "d " << d << " seed " << seed;
        }
}

TEST(Hull, RandomHullsKeepTheirInvariants)
{
    for (std::size_t d = 2; d <= 5; ++d)
    {
        const std::vector<Point> points = RandomBall(d, d == 5 ? 500 : 1500, 100 + unsigned(d));
        CConvexHullComputer hull = HullOf(points);
        hull.compute();
        for (const Point& p : points)
            ASSERT_TRUE(hull.isInside(Col(p)));
        auto b = hull.getb().begin();
        for (const CMatrix<double>& a : hull.getA())
        {
            const Point n = Row(a);
            EXPECT_NEAR(Dot(n, n), 1.0, 1e-12);
            // Outward: the centroid of the input lies below every plane.
            EXPECT_LT(Dot(n, Point(d, 0.0)), *b++);
        }
        std::vector<Point> sorted = points;
        std::sort(sorted.begin(), sorted.end());
        for (const CMatrix<double>& v : hull.getVertices())
            EXPECT_TRUE(std::binary_search(sorted.begin(), sorted.end(), AsPoint(v)));
        for (const CFacet* f : hull.GetFacets())
            for (std::size_t j = 0; j < d; ++j)
                EXPECT_TRUE(std::binary_search(sorted.begin(), sorted.end(), AsPoint(f->getVertices().GetCol(j))));
    }
}

// A computer left mid-step by an exception still owns everything it made and
// can be copied and destroyed.
TEST(Hull, InterruptedStepsLeaveADestroyableComputer)
{
    Probe steps(3);
    const CMatrix<double> S = Columns({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}});
    steps.makeSimplex(S);
    CFacet* slanted = steps.facets.back(); // leaves out the origin
    steps.constructHorizon(slanted, Col({1, 1, 1}));
    EXPECT_EQ(steps.horizon.size(), 3u);
    ExpectThrowAt([&] { steps.constructHorizon(steps.facets.front(), Col({0, 0, 0})); },
                  "Trying to construct new Facets with a point that is already inside the convex hull.",
                  "TOLX::CConvexHullComputer::constructHorizon", kHullFile, 299);
    Probe copy(3);
    copy = steps;

    // A far point makes facets whose rounding exceeds the absolute bounds:
    // depending on the scale a facet cannot be built, or a point comes back
    // above a facet it is a vertex of. Both leave the computer mid-step.
    const CMatrix<double> unit = Columns({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}});
    CConvexHullComputer far = HullOf({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}, {7e15, 3e15, 5e15}});
    ExpectThrowAt([&] { far.compute(unit); }, "Unable to construct a facet.", "TOLX::CFacet::CFacet",
                  "src/Numeric/Facet.cpp", 78);
    CConvexHullComputer nearer = HullOf({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}, {3e12, 1e12, 2e12}});
    ExpectThrowAt([&] { nearer.compute(unit); },
                  "Trying to construct new Facets with a point that is already inside the convex hull.",
                  "TOLX::CConvexHullComputer::constructHorizon", kHullFile, 299);
    nearer = far;
}

TEST(Hull, NullNeighbourIsReportedAndSkipped)
{
    Probe steps(2);
    CFacet lonely(Columns({{0, 0}, {1, 0}}));
    if (lonely.getA()(0, 1) > 0)
        lonely.flipDirection();
    lonely.addToOutsideSet(Col({0.5, -2}));
    testing::internal::CaptureStderr();
    steps.constructHorizon(&lonely, Col({0.5, -2}));
    const std::string err = testing::internal::GetCapturedStderr();
    std::ostringstream address;
    address << static_cast<const void*>(&lonely);
    std::string expected;
    for (int i = 0; i < 2; ++i)
        expected += "constructHorizon() WARNING: NULL neighbor facet found:" + address.str() + ", n#" +
                    std::to_string(i) + " of 2\n#outsideset: 1, #points: 1,\np=\n0.5 \n-2 \n\n";
    EXPECT_EQ(err, expected);
    EXPECT_TRUE(steps.horizon.empty());
    EXPECT_EQ(steps.visibleFacets, std::list<CFacet*>{&lonely});
    steps.visibleFacets.clear();
}

namespace
{
// The construction exactly as described, with list scans and copies, built
// on the public facet operations. The computer must produce the same facets
// in the same order, the same neighbours and the same equations, bit for bit.
class ReferenceHull
{
public:
    ReferenceHull(std::size_t d, const std::list<CMatrix<double>>& input) : m_d(d), m_points(input) {}

    void compute()
    {
        CMatrix<double> S(m_d, m_d + 1);
        startPoints(S);
        makeSimplex(S);
        distribute(m_facets);
        CMatrix<double> p(m_d, 1);
        for (;;)
        {
            CFacet* f = nullptr;
            for (CFacet* g : m_facets)
                if (furthest(g, p))
                {
                    f = g;
                    break;
                }
            if (f == nullptr)
                break;
            horizonFrom(f, p);
            m_newFacets.clear();
            buildOn(m_horizon.front(), p);
            m_horizon.clear();
            distribute(m_newFacets);
            m_facets.splice(m_facets.begin(), m_newFacets);
            for (CFacet* v : m_visible)
                m_facets.remove(v);
            m_visible.clear();
        }
        for (CFacet* f : m_facets)
        {
            bool known = false;
            for (const CMatrix<double>& r : equationsA)
            {
                bool same = true;
                for (std::size_t j = 0; j < m_d; ++j)
                    same = same && std::fabs(f->getA()(0, j) - r(0, j)) <= 1e-12;
                known = known || same;
            }
            if (!known)
            {
                equationsA.push_front(f->getA());
                equationsB.push_front(f->getb()(0, 0));
            }
        }
    }

    const std::list<CFacet*>& facets() const { return m_facets; }
    std::list<CMatrix<double>> equationsA;
    std::list<double> equationsB;

private:
    static bool above(const CFacet* f, const CMatrix<double>& p)
    {
        CMatrix<double> h = f->getA();
        h *= p;
        return h(0, 0) > f->getb()(0, 0) + 1e-12;
    }

    static bool furthest(const CFacet* f, CMatrix<double>& p)
    {
        double threshold = f->getb()(0, 0) + 1e-12;
        bool found = false;
        for (const CMatrix<double>& q : f->getOutsideSet())
            if ((f->getA() * q)(0, 0) > threshold)
            {
                threshold = (f->getA() * q)(0, 0);
                p = q;
                found = true;
            }
        return found;
    }

    static CMatrix<double> WithoutColumn(const CMatrix<double>& M, std::size_t skip)
    {
        CMatrix<double> R(M.Rows(), 0);
        for (std::size_t j = 0; j < M.Cols(); ++j)
            if (j != skip)
                R.AddCols(M.GetCol(j));
        return R;
    }

    void startPoints(CMatrix<double>& S)
    {
        const auto n = static_cast<std::uint32_t>(m_points.size());
        for (std::uint32_t attempt = 1; attempt < 10u * n; ++attempt)
        {
            std::vector<std::size_t> chosen;
            std::size_t needed = S.Cols();
            for (std::uint32_t i = 0; needed > 0; ++i)
                if (TOLX::Rand15() * (1.0 / 32768.0) * double(n - i) < double(needed))
                {
                    chosen.push_back(i);
                    --needed;
                }
            std::size_t index = 0, column = 0;
            for (const CMatrix<double>& q : m_points)
            {
                if (std::find(chosen.begin(), chosen.end(), index++) != chosen.end())
                {
                    for (std::size_t r = 0; r < m_d; ++r)
                        S(r, column) = q(r, 0);
                    ++column;
                }
            }
            if (CConvexHullComputer::areAffinelyIndependent(S))
                return;
        }
        FAIL() << "no start simplex";
    }

    CFacet* make(std::unique_ptr<CFacet> f)
    {
        m_owned.push_back(std::move(f));
        return m_owned.back().get();
    }

    void makeSimplex(const CMatrix<double>& S)
    {
        for (std::size_t i = 0; i < S.Cols(); ++i)
        {
            CFacet* f = make(std::make_unique<CFacet>(WithoutColumn(S, i)));
            m_facets.push_front(f);
            if (above(f, S.GetCol(i)))
                f->flipDirection();
            for (CFacet* g : m_facets)
            {
                g->addNeighbour(f);
                f->addNeighbour(g);
            }
        }
    }

    void distribute(const std::list<CFacet*>& L)
    {
        for (CFacet* f : L)
            for (auto it = m_points.begin(); it != m_points.end();)
            {
                if (above(f, *it))
                {
                    f->addToOutsideSet(*it);
                    it = m_points.erase(it);
                }
                else
                    ++it;
            }
        m_points.clear();
    }

    void horizonFrom(CFacet* f, const CMatrix<double>& p)
    {
        m_visible.push_front(f);
        const std::list<CMatrix<double>> outside = f->getOutsideSet();
        m_points.insert(m_points.begin(), outside.begin(), outside.end());
        const std::vector<CFacet*> N = f->getNeighbours();
        for (std::size_t i = 0; i < N.size(); ++i)
        {
            if (above(N[i], p))
            {
                if (std::find(m_visible.begin(), m_visible.end(), N[i]) == m_visible.end())
                    horizonFrom(N[i], p);
                continue;
            }
            CMatrix<double> ridge = WithoutColumn(f->getVertices(), i);
            CMatrix<double> opposite = f->getVertices().GetCol(i);
            m_connectors.push_back(std::make_unique<TOLX::CFacetConnector>(f, N[i], ridge, opposite));
            m_horizon.push_front(m_connectors.back().get());
        }
    }

    void buildOn(TOLX::CFacetConnector* c, CMatrix<double>& p)
    {
        CFacet* nf = make(std::make_unique<CFacet>(c, p));
        m_newFacets.push_front(nf);
        if (above(nf, c->getReferencePoint()))
            nf->flipDirection();
        c->setConstructedFacet(nf);
        c->getHiddenFacet()->addNeighbour(nf);
        nf->addNeighbour(c->getHiddenFacet());
        for (std::size_t k = 0; k < c->getVertices().Cols(); ++k)
        {
            CMatrix<double> Q = WithoutColumn(c->getVertices(), k);
            for (TOLX::CFacetConnector* c2 : m_horizon)
            {
                if (c2 == c || !c2->hasVertices(Q))
                    continue;
                if (CFacet* e = c2->getConstructedFacet())
                {
                    e->addNeighbour(nf);
                    nf->addNeighbour(e);
                }
                else
                    buildOn(c2, p);
            }
        }
    }

    std::size_t m_d;
    std::list<CMatrix<double>> m_points;
    std::list<CFacet*> m_facets, m_visible, m_newFacets;
    std::list<TOLX::CFacetConnector*> m_horizon;
    std::vector<std::unique_ptr<CFacet>> m_owned;
    std::vector<std::unique_ptr<TOLX::CFacetConnector>> m_connectors;
};

std::vector<int> NeighbourIndices(const CFacet* f, const std::list<CFacet*>& all)
{
    std::vector<int> result;
    for (const CFacet* g : f->getNeighbours())
    {
        const auto at = std::find(all.begin(), all.end(), g);
        result.push_back(at == all.end() ? -1 : int(std::distance(all.begin(), at)));
    }
    return result;
}

void ExpectSameAsReference(const std::vector<Point>& points, unsigned seed, const std::string& label)
{
    const std::size_t d = points.front().size();
    CConvexHullComputer hull = HullOf(points);
    ReferenceHull reference(d, hull.getPoints());
    TOLX::SeedRand15(seed);
    hull.compute();
    const int next = TOLX::Rand15();
    TOLX::SeedRand15(seed);
    reference.compute();
    EXPECT_EQ(TOLX::Rand15(), next) << label;

    const std::list<CFacet*> mine(hull.GetFacets().begin(), hull.GetFacets().end());
    ASSERT_EQ(mine.size(), reference.facets().size()) << label;
    auto ref = reference.facets().begin();
    for (const CFacet* f : mine)
    {
        ASSERT_TRUE(f->getVertices() == (*ref)->getVertices()) << label;
        ASSERT_TRUE(f->getA() == (*ref)->getA()) << label;
        ASSERT_TRUE(f->getb() == (*ref)->getb()) << label;
        ASSERT_EQ(NeighbourIndices(f, mine), NeighbourIndices(*ref, reference.facets())) << label;
        EXPECT_TRUE(f->getOutsideSet().empty());
        ++ref;
    }
    ASSERT_EQ(hull.getA().size(), reference.equationsA.size()) << label;
    EXPECT_TRUE(std::equal(hull.getA().begin(), hull.getA().end(), reference.equationsA.begin())) << label;
    EXPECT_EQ(hull.getb(), reference.equationsB) << label;
}
} // namespace

TEST(Hull, MatchesTheStraightforwardConstructionBitForBit)
{
    for (std::size_t d = 2; d <= 5; ++d)
        ExpectSameAsReference(RandomBall(d, d == 5 ? 250 : 600, 7 + unsigned(d)), 11 + unsigned(d),
                              "ball d=" + std::to_string(d));

    std::vector<Point> sphere = RandomBall(3, 400, 3);
    for (Point& p : sphere)
    {
        const double r = std::sqrt(Dot(p, p));
        for (double& x : p)
            x /= r;
    }
    ExpectSameAsReference(sphere, 5, "sphere");

    // A grid: many coplanar facets, points on facets and duplicates.
    std::vector<Point> grid;
    for (int i = 0; i < 64; ++i)
        grid.push_back({double(i % 4), double((i / 4) % 4), double(i / 16)});
    const std::vector<Point> repeated(grid.begin(), grid.begin() + 20);
    grid.insert(grid.end(), repeated.begin(), repeated.end());
    ExpectSameAsReference(grid, 8, "grid");

    std::vector<Point> square;
    for (int i = 0; i < 100; ++i)
        square.push_back({double(i % 10), double(i / 10)});
    ExpectSameAsReference(square, 3, "square grid");
}

// A point of the wrong shape makes the facet-by-facet order throw at its
// first product, after the first facet has taken the points before it that
// lie above it; nothing else has moved.
TEST(Hull, MalformedPointStopsTheDistributionWhereTheLiteralOrderWould)
{
    Probe steps(3);
    steps.makeSimplex(Columns({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}}));
    // Front facet: z = 0 with outward normal (0, 0, -1); the slanted facet
    // x + y + z = 1 is last.
    const std::vector<Point> before{{0.2, 0.2, -1}, {2, 2, 2}, {0.1, 0.1, 0.1}, {0.3, 0.1, -2}, {-1, 0.2, 0.2}};
    const std::vector<Point> after{{0.2, 0.2, -3}, {3, 3, 3}};
    for (auto p = after.rbegin(); p != after.rend(); ++p)
        steps.addPoint(Col(*p));
    steps.addPoint(Col({1, 2})); // 2-by-1 in 3-space
    for (auto p = before.rbegin(); p != before.rend(); ++p)
        steps.addPoint(Col(*p));

    ExpectThrowAt([&] { steps.distributePoints(steps.facets); }, "Tried to multiply 1-by-3 *= 2-by-1 matrices",
                  "TOLX::IMatrix<double>::operator *=", "src/Numeric/MatrixInterface.cpp", 85);

    std::vector<Point> front;
    for (const CMatrix<double>& q : steps.facets.front()->getOutsideSet())
        front.push_back(AsPoint(q));
    EXPECT_EQ(front, (std::vector<Point>{{0.3, 0.1, -2}, {0.2, 0.2, -1}}));
    for (auto f = std::next(steps.facets.begin()); f != steps.facets.end(); ++f)
        EXPECT_TRUE((*f)->getOutsideSet().empty());
    std::vector<Point> left;
    for (const CMatrix<double>& q : steps.points)
        left.push_back(q.Rows() == 3 ? AsPoint(q) : Point{});
    EXPECT_EQ(left, (std::vector<Point>{{2, 2, 2}, {0.1, 0.1, 0.1}, {-1, 0.2, 0.2}, {}, {0.2, 0.2, -3}, {3, 3, 3}}));
}

// The index behind the equation merging and the vertex lists must offer the
// exact test every key a scan over all keys would accept: keys are drawn on
// a coarse lattice of the tolerance, so that many pairs lie within it, at
// distances up to it, across cell borders, at zero and beyond the range the
// cells cover.
TEST(Hull, NearKeyIndexAnswersAsALinearScan)
{
    const double tol = 1e-6;
    std::mt19937 gen(4);
    std::uniform_int_distribution<int> step(-6, 6);
    std::uniform_int_distribution<int> pick(0, 19);
    const double special[] = {0.0, -0.0, tol * 1048576.0 * 3.5, 1e300, std::nan(""), HUGE_VAL};
    std::vector<std::vector<double>> keys;
    TOLX::Impl::CNearKeyIndex index({tol, 0.0, tol}, 0);
    auto within = [&](const std::vector<double>& a, const std::vector<double>& b) {
        return std::fabs(a[0] - b[0]) <= tol && a[1] == b[1] && std::fabs(a[2] - b[2]) <= tol;
    };
    std::size_t matched = 0;
    for (int n = 0; n < 4000; ++n)
    {
        std::vector<double> key(3);
        for (double& x : key)
        {
            const int s = pick(gen);
            // From a cell border (cells are tol * 2^20 wide, offset by half
            // a cell), in steps of half the tolerance.
            x = s < 6 ? special[s] : (1.5 + s % 3) * tol * 1048576.0 + step(gen) * tol * 0.5;
        }
        bool expected = false;
        for (const std::vector<double>& k : keys)
            expected = expected || within(key, k);
        const bool found = index.findMatch(key.data(), [&](std::size_t id) { return within(key, keys[id]); });
        ASSERT_EQ(found, expected) << n;
        matched += found;
        index.insert(key.data());
        keys.push_back(key);
    }
    EXPECT_GT(matched, 300u);
    EXPECT_LT(matched, 3900u);
}
