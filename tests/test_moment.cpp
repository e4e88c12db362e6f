// Moment accumulators, their tensors and decompositions, and their value maps.
// Expected values come from hand derivations, from two-pass central sums of
// the same points, and from the eigen-equation itself.

#include "CaptureStderr.h"
#include "ExpectThrow.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <functional>
#include <limits>
#include <stdexcept>
#include <string>
#include <tuple>
#include <vector>

using TOLX::CMoment;
using TOLX::CObjectMoment;
using TOLX::CTriple;
using TOLX::CValueMap;
using TOLX::int64;
using vorntest::CaptureStandardError;

namespace
{
const char* const kHeader = "src/Numeric/Moment.h";
const char* const kSource = "src/Numeric/Moment.cpp";
const char* const kDimensionMessage = "dimension not valid, only 2 and 3 supported";
const std::string kDeprecation = "Warning: CMoment::Compute() is deprecated, use CMoment::ComputeCovariance() or "
                                 "CMoment::ComputeInertia() instead!\n";

struct Point
{
    double w, x, y, z;
};

void Feed(CMoment& moment, const std::vector<Point>& points)
{
    for (const Point& p : points)
        moment(p.w, p.x, p.y, p.z);
}

using Vec = std::array<double, 3>;
using Matrix3 = std::array<Vec, 3>;

Vec AsArray(const CTriple<double>& t) { return {t.x, t.y, t.z}; }

std::vector<Vec> Axes(const CMoment& m)
{
    std::vector<Vec> out;
    for (const CTriple<double>& a : m.getInertiaVectors())
        out.push_back(AsArray(a));
    return out;
}

// Weighted central second-moment sums, computed in two passes.
Matrix3 CentralSums(const std::vector<Point>& points, double& mass)
{
    mass = 0;
    Vec c{0, 0, 0};
    for (const Point& p : points)
    {
        mass += p.w;
        c = {c[0] + p.w * p.x, c[1] + p.w * p.y, c[2] + p.w * p.z};
    }
    Matrix3 s{};
    for (const Point& p : points)
    {
        const Vec d{p.x - c[0] / mass, p.y - c[1] / mass, p.z - c[2] / mass};
        for (int i = 0; i < 3; ++i)
            for (int j = 0; j < 3; ++j)
                s[i][j] += p.w * d[i] * d[j];
    }
    return s;
}

// A skewed, weighted 3-D cloud with three well separated principal moments.
std::vector<Point> Cloud()
{
    std::vector<Point> points;
    unsigned state = 2024;
    const auto next = [&state] {
        state = state * 1664525u + 1013904223u;
        return static_cast<double>(state >> 8) / 16777216.0;
    };
    for (int i = 0; i < 400; ++i)
    {
        const double x = 12 * (next() - 0.5) + 3;
        const double y = 4 * (next() - 0.5) + 0.5 * x - 7;
        const double z = 1.5 * (next() - 0.5) + 0.3 * y - 0.2 * x + 1;
        points.push_back({1 + next(), x, y, z});
    }
    return points;
}

// The normed second moments and their positions in a symmetric 3x3 matrix.
const std::tuple<double (CMoment::*)() const, int, int> kNormed[] = {
    {&CMoment::getNormM200, 0, 0}, {&CMoment::getNormM020, 1, 1}, {&CMoment::getNormM002, 2, 2},
    {&CMoment::getNormM110, 0, 1}, {&CMoment::getNormM101, 0, 2}, {&CMoment::getNormM011, 1, 2}};

std::vector<std::string> KeysOf(const CValueMap& map)
{
    std::vector<std::string> keys;
    for (const auto& key : map.Keys())
        keys.push_back(key.ToString());
    return keys;
}

const std::vector<std::string> kKeys3d = {
    "excentricity", "total_mass", "inertia_or_covariance", "moments/m000", "moments/m100", "moments/m010",
    "moments/m001", "moments/m200", "moments/m020", "moments/m002", "moments/m110", "moments/m101", "moments/m011",
    "2nd_moments_normed/m200", "2nd_moments_normed/m020", "2nd_moments_normed/m002", "2nd_moments_normed/m110",
    "2nd_moments_normed/m101", "2nd_moments_normed/m011", "center_of_mass/x", "center_of_mass/y",
    "center_of_mass/z", "tensor/xx", "tensor/xy", "tensor/xz", "tensor/yy", "tensor/yz", "tensor/zz",
    "eigenvalues/0", "eigenvalues/1", "eigenvalues/2", "vector/x", "vector/y", "vector/z"};

const std::vector<std::string> kKeys2d = {
    "excentricity", "total_mass", "inertia_or_covariance", "moments/m000", "moments/m100", "moments/m010",
    "moments/m200", "moments/m020", "moments/m110", "2nd_moments_normed/m200", "2nd_moments_normed/m020",
    "2nd_moments_normed/m110", "center_of_mass/x", "center_of_mass/y", "tensor/xx", "tensor/xy", "tensor/yy",
    "eigenvalues/0", "eigenvalues/1", "vector/x", "vector/y"};

// Where each double entry of a moment map comes from. The "tensor" keys carry
// the principal-axes matrix, and the eigenvalues are raw whatever the
// scale-invariance flag says.
double Axis(const CMoment& m, int i, int j) { return m.getInertiaAxes()(std::size_t(i), std::size_t(j)); }
double Eigenvalue(CMoment m, int i)
{
    m.SetScaleInvariance(false);
    return m.getInertiaMoments()[std::size_t(i)];
}
const std::vector<std::pair<std::string, std::function<double(const CMoment&)>>> kDoubleEntries = {
    {"excentricity", &CMoment::getExcentricity}, {"total_mass", &CMoment::Mass},
    {"moments/m000", &CMoment::getM000}, {"moments/m100", &CMoment::getM100}, {"moments/m010", &CMoment::getM010},
    {"moments/m001", &CMoment::getM001}, {"moments/m200", &CMoment::getM200}, {"moments/m020", &CMoment::getM020},
    {"moments/m002", &CMoment::getM002}, {"moments/m110", &CMoment::getM110}, {"moments/m101", &CMoment::getM101},
    {"moments/m011", &CMoment::getM011}, {"2nd_moments_normed/m200", &CMoment::getNormM200},
    {"2nd_moments_normed/m020", &CMoment::getNormM020}, {"2nd_moments_normed/m002", &CMoment::getNormM002},
    {"2nd_moments_normed/m110", &CMoment::getNormM110}, {"2nd_moments_normed/m101", &CMoment::getNormM101},
    {"2nd_moments_normed/m011", &CMoment::getNormM011}, {"center_of_mass/x", &CMoment::CenterOfMassX},
    {"center_of_mass/y", &CMoment::CenterOfMassY}, {"center_of_mass/z", &CMoment::CenterOfMassZ},
    {"tensor/xx", [](const CMoment& m) { return Axis(m, 0, 0); }},
    {"tensor/xy", [](const CMoment& m) { return Axis(m, 0, 1); }},
    {"tensor/xz", [](const CMoment& m) { return Axis(m, 0, 2); }},
    {"tensor/yy", [](const CMoment& m) { return Axis(m, 1, 1); }},
    {"tensor/yz", [](const CMoment& m) { return Axis(m, 1, 2); }},
    {"tensor/zz", [](const CMoment& m) { return Axis(m, 2, 2); }},
    {"eigenvalues/0", [](const CMoment& m) { return Eigenvalue(m, 0); }},
    {"eigenvalues/1", [](const CMoment& m) { return Eigenvalue(m, 1); }},
    {"eigenvalues/2", [](const CMoment& m) { return Eigenvalue(m, 2); }}};

// The map of m has exactly the keys of its dimension, every value of the
// right kind and equal to what the getters say.
void ExpectMapOf(const CMoment& m, const CValueMap& map, const std::vector<std::string>& keys)
{
    EXPECT_EQ(KeysOf(map), keys);
    for (const auto& [key, getter] : kDoubleEntries)
        if (std::find(keys.begin(), keys.end(), key) != keys.end())
        {
            ASSERT_EQ(map.Entry(key.c_str())->Type(), TOLX::VALUE_DOUBLE) << key;
            EXPECT_EQ(map.Entry(key.c_str())->Double(), getter(m)) << key;
        }
    ASSERT_EQ(map.Entry("inertia_or_covariance")->Type(), TOLX::VALUE_STRING);
    const std::vector<Vec> axes = Axes(m);
    for (std::size_t k = 0; k < (keys.size() == 34 ? 3u : 2u); ++k)
    {
        const TOLX::CValue* value = map.Entry(("vector/" + std::string(1, "xyz"[k])).c_str());
        ASSERT_EQ(value->Type(), TOLX::VALUE_VECTOR);
        ASSERT_EQ(value->Vector().Size(), 3u);
        for (int i = 0; i < 3; ++i)
        {
            ASSERT_EQ(value->Vector().Entry(i)->Type(), TOLX::VALUE_DOUBLE);
            EXPECT_EQ(value->Vector().Entry(i)->Double(), axes[k][std::size_t(i)]) << k << "," << i;
        }
    }
}

// The moments and axes decompose t: t a_k = l_k a_k with unit axes, l_k
// strictly descending (so the axes are orthogonal and unique up to sign).
void ExpectEigenPairs(const Matrix3& t, const std::vector<double>& l, const std::vector<Vec>& axes, double tol)
{
    ASSERT_EQ(axes.size(), 3u);
    for (std::size_t k = 0; k < 3; ++k)
    {
        const Vec& a = axes[k];
        EXPECT_NEAR(a[0] * a[0] + a[1] * a[1] + a[2] * a[2], 1.0, 1e-12);
        for (std::size_t i = 0; i < 3; ++i)
            EXPECT_NEAR(t[i][0] * a[0] + t[i][1] * a[1] + t[i][2] * a[2], l[k] * a[i], tol) << k << "," << i;
        EXPECT_GT(k > 0 ? l[k - 1] : HUGE_VAL, l[k] + 1000 * tol);
    }
}
} // namespace

// The ten sums with the products in the described order, (w x) y and so on,
// summed in feeding order, whatever the dimension.
TEST(Moment, AccumulatesWeightedSums)
{
    const std::tuple<double (CMoment::*)() const, int, int, int> sums[] = {
        {&CMoment::Mass, 0, 0, 0},    {&CMoment::MomentX, 1, 0, 0}, {&CMoment::MomentY, 0, 1, 0},
        {&CMoment::MomentZ, 0, 0, 1}, {&CMoment::getM000, 0, 0, 0}, {&CMoment::getM100, 1, 0, 0},
        {&CMoment::getM010, 0, 1, 0}, {&CMoment::getM001, 0, 0, 1}, {&CMoment::getM200, 2, 0, 0},
        {&CMoment::getM020, 0, 2, 0}, {&CMoment::getM002, 0, 0, 2}, {&CMoment::getM110, 1, 1, 0},
        {&CMoment::getM101, 1, 0, 1}, {&CMoment::getM011, 0, 1, 1}};
    std::vector<Point> cloud = Cloud();
    cloud.push_back({-2, 1, 3, 5}); // negative and zero weights count as well
    cloud.push_back({0, 9, 9, 9});
    // A single point as well, where (w x) y and w (x y) round differently for
    // every pair: in a long sum the rounding of one product is lost.
    for (const std::vector<Point>& points : {cloud, std::vector<Point>{{1.3, 0.1, 3.7, 5.3}}})
        for (const int64 d : {2, 3})
        {
            CMoment m(d);
            Feed(m, points);
            for (const auto& [getter, p, q, r] : sums)
            {
                double expected = 0;
                for (const Point& pt : points)
                {
                    double product = pt.w;
                    for (const auto& [coordinate, power] : {std::pair{pt.x, p}, std::pair{pt.y, q}, std::pair{pt.z, r}})
                        for (int k = 0; k < power; ++k)
                            product *= coordinate;
                    expected += product;
                }
                EXPECT_EQ((m.*getter)(), expected) << d << "-D, m" << p << q << r << ", " << points.size() << " points";
            }
        }
}

TEST(Moment, DimensionChecks)
{
    for (int64 bad : {0, 1, 4, -3})
        ExpectThrowAt([bad] { CMoment m(bad); }, kDimensionMessage, "TOLX::CMoment::CMoment", kHeader, 72);

    CMoment m(3);
    Feed(m, Cloud());
    ExpectThrowAt([&] { m.SetDimension(1); }, kDimensionMessage, "TOLX::CMoment::SetDimension", kHeader, 78);
    m.ComputeCovariance();
    EXPECT_EQ(static_cast<CValueMap>(m).Size(), 34u);
    m.SetDimension(2);
    m.ComputeCovariance();
    EXPECT_EQ(static_cast<CValueMap>(m).Size(), 21u);
}

TEST(Moment, CenterOfMassRoundsHalvesAwayAndSaturates)
{
    const int64 min = std::numeric_limits<int64>::min(), max = std::numeric_limits<int64>::max();
    const std::pair<Vec, std::array<int64, 3>> cases[] = {
        {{2.5, -2.5, 0.49}, {3, -3, 0}},
        {{-0.5, 0.5, -0.49}, {-1, 1, 0}},
        // floor(c + 0.5) in double: 2^52 + 1.5 rounds to 2^52 + 2 before the floor.
        {{4503599627370497.0, -4503599627370497.0, 7}, {4503599627370498, -4503599627370498, 7}},
        {{1e19, -1e19, std::nan("")}, {max, min, min}},
        {{-9.223372036854776e18, 9.2233720368547748e18, 1e300}, {min, 9223372036854774784, max}},
        // Exactly 2^63 is not above the bound and converts to the integer-indefinite value.
        {{9.223372036854776e18, 0, 0}, {min, 0, 0}},
    };
    for (const auto& [centre, expected] : cases)
    {
        CMoment m(3);
        m(1, centre[0], centre[1], centre[2]);
        m.ComputeCovariance();
        const CTriple<int64> c = m.CenterOfMass();
        EXPECT_EQ((std::array<int64, 3>{c.x, c.y, c.z}), expected) << centre[0] << " " << centre[1] << " " << centre[2];
    }
    const CTriple<int64> none = CMoment(2).CenterOfMass();
    EXPECT_EQ((std::array<int64, 3>{none.x, none.y, none.z}), (std::array<int64, 3>{0, 0, 0}));
}

TEST(Moment, TwoPointsInBothModes)
{
    struct Case
    {
        void (CMoment::*compute)();
        double norm200;
        Vec tensorDiagonal;
        std::vector<double> moments;
        std::vector<Vec> axes;
        Vec main;
    };
    const Case cases[] = {
        // diag(1, 0, 1): nothing to rotate, nothing to swap (in 2-D only
        // positions 0 and 1 are compared).
        {&CMoment::ComputeCovariance, 1, {1, 0, 1}, {1, 0, 1}, {{1, 0, 0}, {0, 1, 0}, {0, 0, 0}}, {1, 0, 0}},
        // diag(0, 2, 1): positions 0 and 1 swap; the main axis is the filler
        // axis 2 with its z forced to 0.
        {&CMoment::ComputeInertia, 2, {0, 2, 1}, {2, 0, 1}, {{0, 1, 0}, {1, 0, 0}, {0, 0, 0}}, {0, 0, 0}},
    };
    for (const Case& c : cases)
    {
        CMoment m(2);
        Feed(m, {{1, -1, 0, 0}, {1, 1, 0, 0}});
        (m.*c.compute)();
        EXPECT_EQ(m.CenterOfMassX(), 0.0);
        EXPECT_EQ(m.getNormM200(), c.norm200);
        EXPECT_EQ(m.getNormM020(), 0.0);
        const auto tensor = m.getTensorMatrix();
        EXPECT_EQ((Vec{tensor(0, 0), tensor(1, 1), tensor(2, 2)}), c.tensorDiagonal);
        EXPECT_EQ(m.getInertiaMoments(), c.moments);
        EXPECT_EQ(Axes(m), c.axes);
        EXPECT_EQ(AsArray(m.getMainInertiaAxis()), c.main);
        // (a + r) / (a - r) with a = r = 2.
        EXPECT_EQ(m.getExcentricity(), std::numeric_limits<double>::infinity());
    }
}

TEST(Moment, CovarianceBeyondTheJacobiRangeIsInfinite)
{
    // Covariance rows (1e140, 1e-15), (1e-15, 1e-170): the rotation angle's
    // square overflows, the solver leaves (-inf, +inf) and the ordering
    // swaps them; the filler 1 stays last.
    CMoment m(2);
    Feed(m, {{1, 1e70, 1e-85, 0}, {1, -1e70, -1e-85, 0}});
    m.ComputeCovariance();
    const double inf = std::numeric_limits<double>::infinity();
    EXPECT_EQ(m.getInertiaMoments(), (std::vector<double>{inf, -inf, 1}));
}

TEST(Moment, EqualEigenvaluesKeepTheirOrder)
{
    CMoment m(3);
    Feed(m, {{1, 1, 0, 0}, {1, -1, 0, 0}, {1, 0, 1, 0}, {1, 0, -1, 0}});
    // Covariance diag(0.5, 0.5, 0): nothing to rotate, nothing to swap.
    m.ComputeCovariance();
    EXPECT_EQ(m.getInertiaMoments(), (std::vector<double>{0.5, 0.5, 0}));
    EXPECT_EQ(Axes(m), (std::vector<Vec>{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}));
    // Inertia diag(2, 2, 4): only the strict swaps (1,2) then (0,1) happen.
    m.ComputeInertia();
    EXPECT_EQ(m.getInertiaMoments(), (std::vector<double>{4, 2, 2}));
    EXPECT_EQ(Axes(m), (std::vector<Vec>{{0, 0, 1}, {1, 0, 0}, {0, 1, 0}}));
    // Covariance diag(4/3, 1/3, 1/3): the equal pair stays too.
    CMoment last(3);
    Feed(last, {{1, 2, 0, 0}, {1, -2, 0, 0}, {1, 0, 1, 0}, {1, 0, -1, 0}, {1, 0, 0, 1}, {1, 0, 0, -1}});
    last.ComputeCovariance();
    EXPECT_EQ(Axes(last), (std::vector<Vec>{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}));
}

TEST(Moment, PlanarExcentricityUsesRawSums)
{
    CMoment m(2);
    const std::vector<Point> points = {{1, 3, 1, 0}, {2, 5, 2, 0}, {1, 4, 4, 0}, {3, 6, 1, 0}};
    Feed(m, points);
    double m200 = 0, m020 = 0, m110 = 0;
    for (const Point& p : points)
    {
        m200 += p.w * p.x * p.x;
        m020 += p.w * p.y * p.y;
        m110 += p.w * p.x * p.y;
    }
    const double a = m200 + m020;
    const double r = std::sqrt(4 * m110 * m110 + (m200 - m020) * (m200 - m020));
    for (auto compute : {&CMoment::ComputeCovariance, &CMoment::ComputeInertia, &CMoment::Compute})
    {
        CaptureStandardError([&] { (m.*compute)(); });
        EXPECT_DOUBLE_EQ(m.getExcentricity(), (a + r) / (a - r));
    }
    // At the origin a = 0: NaN.
    CMoment origin(2);
    origin(1, 0, 0, 0);
    origin.ComputeCovariance();
    EXPECT_TRUE(std::isnan(origin.getExcentricity()));
}

// Covariance: the central sums over the mass; inertia: trace(S) I - S with
// the central sums S themselves. Both decomposed, axes in descending order
// of the moments, the main axis the one of largest spread.
TEST(Moment, TensorsOfASkewedCloudAndTheirDecompositions)
{
    const std::vector<Point> points = Cloud();
    double mass = 0;
    const Matrix3 s = CentralSums(points, mass);
    const double trace = s[0][0] + s[1][1] + s[2][2];
    for (const bool inertia : {false, true})
    {
        SCOPED_TRACE(inertia ? "inertia" : "covariance");
        CMoment m(3);
        Feed(m, points);
        inertia ? m.ComputeInertia() : m.ComputeCovariance();
        const double scale = inertia ? 1.0 : 1.0 / mass, tol = 1e-9 * trace * scale;
        for (const auto& [getter, i, j] : kNormed)
            EXPECT_NEAR((m.*getter)(), s[i][j] * scale, tol) << i << j;
        Matrix3 expected{};
        const auto tensor = m.getTensorMatrix();
        for (std::size_t i = 0; i < 3; ++i)
            for (std::size_t j = 0; j < 3; ++j)
            {
                expected[i][j] = inertia ? (i == j ? trace : 0) - s[i][j] : s[i][j] * scale;
                EXPECT_NEAR(tensor(i, j), expected[i][j], tol) << i << j;
            }
        const std::vector<Vec> axes = Axes(m);
        ExpectEigenPairs(expected, m.getInertiaMoments(), axes, tol);
        // The axis of least inertia is the direction of largest variance.
        EXPECT_EQ(AsArray(m.getMainInertiaAxis()), axes[inertia ? 2 : 0]);
        // Axes are the eigenvector columns, in the order of the moments.
        const auto v = m.getInertiaAxes();
        for (std::size_t k = 0; k < 3; ++k)
            EXPECT_EQ(axes[k], (Vec{v(0, k), v(1, k), v(2, k)}));
    }
}

TEST(Moment, ScaleInvarianceAndScaledAxes)
{
    CMoment m(3);
    Feed(m, Cloud());
    m.ComputeInertia();
    const std::vector<double> raw = m.getInertiaMoments();
    const std::vector<Vec> axes = Axes(m);

    m.SetScaleInvariance(true);
    const std::vector<double> ratios = m.getInertiaMoments();
    EXPECT_EQ(ratios, (std::vector<double>{1.0, raw[1] / raw[0], raw[2] / raw[0]}));
    // Scaled vectors always use the raw eigenvalues ...
    const auto scaled = m.getScaledInertiaVectors();
    ASSERT_EQ(scaled.size(), 3u);
    for (std::size_t k = 0; k < 3; ++k)
        EXPECT_EQ(AsArray(scaled[k]), (Vec{axes[k][0] * raw[k], axes[k][1] * raw[k], axes[k][2] * raw[k]}));
    // ... while the scaled axes matrix follows the flag.
    for (int64 k = 0; k < 3; ++k)
        EXPECT_NEAR(m.getScaledInertiaAxes().GetColumnLength(k), ratios[std::size_t(k)], 1e-12);
    m.SetScaleInvariance(false);
    for (int64 k = 0; k < 3; ++k)
        EXPECT_NEAR(m.getScaledInertiaAxes().GetColumnLength(k), raw[std::size_t(k)], 1e-9 * raw[0]);

    // The copy keeps both flags.
    m.SetScaleInvariance(true);
    const CMoment copy(m);
    EXPECT_EQ(copy.getInertiaMoments()[0], 1.0);
    EXPECT_EQ(static_cast<CValueMap>(copy).Entry("inertia_or_covariance")->String(), "inertia");

    EXPECT_TRUE(CMoment(2).getScaledInertiaVectors().empty());
}

TEST(Moment, EmptySpaceAndTheModeFlag)
{
    CMoment m(3);
    Feed(m, Cloud());
    m.ComputeCovariance();
    const CTriple<double> largestVariance = m.getMainInertiaAxis();
    const double oldCenter = m.CenterOfMassX();
    m.Reset();
    EXPECT_EQ(m.Mass(), 0.0);
    EXPECT_EQ(m.getM200(), 0.0);
    EXPECT_EQ(m.CenterOfMassX(), oldCenter);
    EXPECT_EQ(m.getInertiaMoments(), (std::vector<double>{0, 0, 0}));
    const auto identity = m.getTensorMatrix();
    EXPECT_EQ(identity(0, 0), 1.0);
    EXPECT_EQ(identity(0, 1), 0.0);

    // The flag is set before the mass check: the main axis switches to axis 2.
    ExpectThrowAt([&] { m.ComputeInertia(); }, "empty space", "TOLX::CMoment::ComputeInertia", kSource, 149);
    EXPECT_NE(m.getMainInertiaAxis().x, largestVariance.x);
    ExpectThrowAt([&] { m.ComputeCovariance(); }, "empty space", "TOLX::CMoment::ComputeCovariance", kSource, 206);
    EXPECT_EQ(m.getMainInertiaAxis().x, largestVariance.x);
    EXPECT_EQ(CaptureStandardError([&] {
                  ExpectThrowAt([&] { m.Compute(); }, "empty space", "TOLX::CMoment::Compute", kSource, 89);
              }),
              kDeprecation);

    // The bound is one machine epsilon, inclusive.
    m(2.220446049250313e-16, 1, 1, 1);
    ExpectThrowAt([&] { m.ComputeCovariance(); }, "empty space", "TOLX::CMoment::ComputeCovariance", kSource, 206);
    m(1e-30, 1, 1, 1);
    m.ComputeCovariance();
    EXPECT_DOUBLE_EQ(m.CenterOfMassX(), 1.0);
}

TEST(Moment, ReadsBeforeAnyComputationFailInTheAxisList)
{
    const CMoment m(3);
    ExpectBadSubscript([&] { (void)m.getMainInertiaAxis(); });
    ExpectBadSubscript([&] { (void)static_cast<CValueMap>(m); });
    EXPECT_EQ(m.getExcentricity(), 0.0);
    EXPECT_EQ(m.getNormM110(), 0.0);
}

TEST(Moment, DeprecatedComputeMixesConventions)
{
    const std::vector<Point> points = Cloud();
    double mass = 0;
    const Matrix3 s = CentralSums(points, mass);

    CMoment m(3);
    Feed(m, points);
    m.ComputeCovariance();
    EXPECT_EQ(CaptureStandardError([&] { m.Compute(); m.Compute(); }), kDeprecation + kDeprecation);
    // Normed moments are the central sums over the squared mass ...
    for (const auto& [getter, i, j] : kNormed)
        EXPECT_NEAR((m.*getter)(), s[i][j] / (mass * mass), 1e-12) << i << j;
    // ... in 3-D laid out as an inertia tensor, and the mode stays covariance.
    const auto tensor = m.getTensorMatrix();
    EXPECT_DOUBLE_EQ(tensor(0, 0), m.getNormM002() + m.getNormM020());
    EXPECT_DOUBLE_EQ(tensor(0, 1), -m.getNormM110());
    EXPECT_DOUBLE_EQ(tensor(1, 2), -m.getNormM011());
    EXPECT_EQ(static_cast<CValueMap>(m).Entry("inertia_or_covariance")->String(), "covariance");

    // In 2-D the tensor is the covariance matrix from the raw sums.
    CMoment planar(2);
    Feed(planar, {{1, 3, 1, 0}, {2, 5, 2, 0}, {1, 4, 4, 0}});
    planar.ComputeInertia();
    CaptureStandardError([&] { planar.Compute(); });
    // mass 4, centre (17/4, 9/4); E[x^2] = 75/4, E[y^2] = 25/4, E[xy] = 39/4.
    const auto t2 = planar.getTensorMatrix();
    EXPECT_DOUBLE_EQ(t2(0, 0), 75.0 / 4 - 289.0 / 16);
    EXPECT_DOUBLE_EQ(t2(1, 1), 25.0 / 4 - 81.0 / 16);
    EXPECT_DOUBLE_EQ(t2(0, 1), 39.0 / 4 - 153.0 / 16);
    EXPECT_EQ(t2(2, 2), 1.0);
    EXPECT_DOUBLE_EQ(planar.getNormM200(), (75.0 / 4 - 289.0 / 16) / 4);
    EXPECT_EQ(static_cast<CValueMap>(planar).Entry("inertia_or_covariance")->String(), "inertia");
}

TEST(MomentValueMap, LayoutInBothDimensions)
{
    CMoment planar(2);
    Feed(planar, {{1, 3, 1, 0}, {2, 5, 2, 0}, {1, 4, 4, 0}});
    planar.ComputeCovariance();
    const CValueMap map2 = planar;
    ExpectMapOf(planar, map2, kKeys2d);
    EXPECT_EQ(map2.Entry("inertia_or_covariance")->String(), "covariance");
    EXPECT_EQ(map2.Entry("moments/m100")->Double(), 17.0);
    EXPECT_EQ(map2.Entry("center_of_mass/y")->Double(), 2.25);

    CMoment spatial(3);
    Feed(spatial, Cloud());
    spatial.SetScaleInvariance(true);
    spatial.ComputeInertia();
    const CValueMap map3 = spatial;
    ExpectMapOf(spatial, map3, kKeys3d);
    EXPECT_EQ(map3.Entry("inertia_or_covariance")->String(), "inertia");
    EXPECT_NE(map3.Entry("eigenvalues/0")->Double(), 1.0);
}

TEST(ObjectMoment, LabelChecks)
{
    CObjectMoment objects(3, 2), none(0, 3);
    objects(2, 1, 1, 0);
    const std::tuple<std::function<void()>, const char*, int> beyond[] = {
        {[&] { objects(3, 1, 1, 0); }, "TOLX::CObjectMoment::operator ()", 304},
        {[&] { none(0, 0, 0, 0); }, "TOLX::CObjectMoment::operator ()", 304},
        {[&] { (void)objects.Mass(3); }, "TOLX::CObjectMoment::checkLabel", 558},
        {[&] { (void)objects.getInertiaAxes(7); }, "TOLX::CObjectMoment::checkLabel", 558},
        {[&] { (void)none.getExcentricity(0); }, "TOLX::CObjectMoment::checkLabel", 558},
    };
    for (const auto& [action, function, line] : beyond)
        ExpectThrowAt(action, "Label exceeds size", function, kHeader, line);
    // Negative labels pass the one-sided test and fail the container's check.
    ExpectBadSubscript([&] { objects(-1, 1, 1, 0); });
    ExpectBadSubscript([&] { (void)objects.getM110(-1); });
    ExpectBadSubscript([&] { (void)objects.CenterOfMass(std::numeric_limits<int64>::min()); });
    EXPECT_EQ(objects.Mass(2), 1.0);
    EXPECT_EQ(objects.Mass(0), 0.0);

    EXPECT_EQ(CaptureStandardError([&] { none.Compute(); }), "");
    EXPECT_EQ(KeysOf(none), (std::vector<std::string>{"dim", "status", "no. of objects"}));
}

TEST(ObjectMoment, DimensionChecks)
{
    // The prototype accumulator is built first and reports the dimension.
    ExpectThrowAt([] { CObjectMoment bad(3, 4); }, kDimensionMessage, "TOLX::CMoment::CMoment", kHeader, 72);
    ExpectThrowAt([] { CObjectMoment bad(-1, 1); }, kDimensionMessage, "TOLX::CMoment::CMoment", kHeader, 72);
    for (const int64 count : {int64(-1), int64(1) << 62})
        ExpectStdThrow<std::length_error>([count] { CObjectMoment bad(count, 3); }, "vector<T> too long");

    CObjectMoment objects(2, 3);
    ExpectThrowAt([&] { objects.SetDimension(5); }, kDimensionMessage, "TOLX::CObjectMoment::SetDimension", kHeader,
                  258);
    objects(1, 1, 2, 3);
    objects(1, 2, 2, 5);
    objects.SetDimension(2);
    CaptureStandardError([&] { objects.Compute(); });
    const CValueMap map = objects;
    EXPECT_EQ(map.Entry("dim")->Long(), 2);
    EXPECT_EQ(map.Entry("object 1")->Map().Size(), 21u + 2u);
}

TEST(ObjectMoment, ForwardsEveryGetterToItsLabel)
{
    const std::vector<Point> points = Cloud();
    CObjectMoment objects(4, 3);
    CMoment reference(3);
    for (const Point& p : points)
    {
        objects(2, p.x, p.y, p.z);
        objects(0, p.y, p.x, 1);
        reference(1, p.x, p.y, p.z);
    }
    // One warning per label with pixels, none for the two empty labels.
    const std::string warnings = CaptureStandardError([&] { objects.Compute(); reference.Compute(); });
    EXPECT_EQ(warnings, kDeprecation + kDeprecation + kDeprecation);

    using O = CObjectMoment;
    using M = CMoment;
    const std::pair<double (O::*)(int64) const, double (M::*)() const> scalars[] = {
        {&O::Mass, &M::Mass},               {&O::MomentX, &M::MomentX},         {&O::MomentY, &M::MomentY},
        {&O::MomentZ, &M::MomentZ},         {&O::getM000, &M::getM000},         {&O::getM100, &M::getM100},
        {&O::getM010, &M::getM010},         {&O::getM001, &M::getM001},         {&O::getM200, &M::getM200},
        {&O::getM020, &M::getM020},         {&O::getM002, &M::getM002},         {&O::getM110, &M::getM110},
        {&O::getM101, &M::getM101},         {&O::getM011, &M::getM011},         {&O::CenterOfMassX, &M::CenterOfMassX},
        {&O::CenterOfMassY, &M::CenterOfMassY}, {&O::CenterOfMassZ, &M::CenterOfMassZ},
        {&O::getExcentricity, &M::getExcentricity}, {&O::getNormM200, &M::getNormM200},
        {&O::getNormM020, &M::getNormM020}, {&O::getNormM002, &M::getNormM002}, {&O::getNormM110, &M::getNormM110},
        {&O::getNormM101, &M::getNormM101}, {&O::getNormM011, &M::getNormM011}};
    const int64 l = 2;
    for (std::size_t i = 0; i < std::size(scalars); ++i)
        EXPECT_EQ((objects.*scalars[i].first)(l), (reference.*scalars[i].second)()) << "getter " << i;
    EXPECT_EQ(objects.CenterOfMass(l).y, reference.CenterOfMass().y);
    EXPECT_EQ(objects.getInertiaMoments(l), reference.getInertiaMoments());
    EXPECT_TRUE(objects.getInertiaAxes(l) == reference.getInertiaAxes());
    EXPECT_TRUE(objects.getTensorMatrix(l) == reference.getTensorMatrix());
    EXPECT_TRUE(objects.getScaledInertiaAxes(l) == reference.getScaledInertiaAxes());
    // The other labels are independent; the empty one keeps its initial values.
    EXPECT_EQ(objects.MomentZ(0), static_cast<double>(points.size()));
    EXPECT_EQ(objects.getInertiaMoments(3), (std::vector<double>{0, 0, 0}));
    EXPECT_TRUE(objects.getInertiaAxes(3) == TOLX::CSymmMatrix<double>(3));
}

TEST(ObjectMoment, PixelCountsSurviveReset)
{
    CObjectMoment objects(2, 2);
    for (int i = 0; i < 3; ++i)
        objects(1, i, 2 * i, 0);
    CaptureStandardError([&] { objects.Compute(); });
    objects.Reset();
    EXPECT_EQ(objects.Mass(1), 0.0);
    objects(1, 5, 5, 0);
    objects(1, 6, 4, 0);
    CaptureStandardError([&] { objects.Compute(); });
    const CValueMap map = objects;
    const CValueMap& object = map.Entry("object 1")->Map();
    EXPECT_EQ(object.Entry("pixel")->Type(), TOLX::VALUE_LONG);
    EXPECT_EQ(object.Entry("pixel")->Long(), 5);
    EXPECT_EQ(object.Entry("total_mass")->Double(), 2.0);
    EXPECT_EQ(object.Entry("center_of_mass/x")->Double(), 5.5);
}

TEST(ObjectMoment, ValueMapKeysAndLayout)
{
    CObjectMoment objects(1000, 3);
    objects(5, 1, 2, 3);
    objects(5, 2, 2, 4);
    objects(5, 1, 4, 2);
    CaptureStandardError([&] { objects.Compute(); });
    const CValueMap map = objects;
    EXPECT_EQ(KeysOf(map), (std::vector<std::string>{"dim", "status", "no. of objects", "object 005"}));
    EXPECT_EQ(map.Entry("dim")->Type(), TOLX::VALUE_LONG);
    EXPECT_EQ(map.Entry("dim")->Long(), 3);
    EXPECT_EQ(map.Entry("status")->String(), "ok");
    EXPECT_EQ(map.Entry("no. of objects")->Long(), 1000);
    const TOLX::CValue* object = map.Entry("object 005");
    ASSERT_EQ(object->Type(), TOLX::VALUE_MAP);
    std::vector<std::string> keys = kKeys3d;
    keys.insert(keys.end(), {"status", "pixel"});
    EXPECT_EQ(KeysOf(object->Map()), keys);
    EXPECT_EQ(object->Map().Entry("status")->String(), "ok");
    EXPECT_EQ(object->Map().Entry("pixel")->Long(), 3);
    EXPECT_EQ(object->Map().Entry("moments/m011")->Double(), 6 + 8 + 8.0);

    // Width = digits of the label count minus one; wider labels are not cut.
    CObjectMoment wide(250, 2), narrow(5, 2);
    for (int64 label : {7, 100, 249})
        wide(label, 1, 1, 0);
    narrow(3, 1, 1, 0);
    CaptureStandardError([&] { wide.Compute(); narrow.Compute(); });
    EXPECT_EQ(KeysOf(wide),
              (std::vector<std::string>{"dim", "status", "no. of objects", "object 07", "object 100", "object 249"}));
    EXPECT_EQ(KeysOf(narrow), (std::vector<std::string>{"dim", "status", "no. of objects", "object 3"}));

    // A label with pixels that was never computed has no axes.
    CObjectMoment raw(2, 3);
    raw(1, 1, 1, 1);
    ExpectBadSubscript([&] { (void)static_cast<CValueMap>(raw); });
}
