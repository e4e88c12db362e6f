#include "VornNumeric.h"

#include "ExpectThrow.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <limits>
#include <stdexcept>
#include <string>
#include <vector>

using TOLX::CMoment;
using TOLX::CObjectMoment;
using TOLX::CTriple;
using TOLX::CValueMap;
using TOLX::int64;

namespace
{
const char* const kHeader = "src/Numeric/Moment.h";
const char* const kSource = "src/Numeric/Moment.cpp";
const char* const kDimensionMessage = "dimension not valid, only 2 and 3 supported";
const char* const kDeprecation = "Warning: CMoment::Compute() is deprecated, use CMoment::ComputeCovariance() or "
                                 "CMoment::ComputeInertia() instead!\n";
constexpr double kInf = std::numeric_limits<double>::infinity();

struct Point
{
    double w, x, y, z;
};

void Feed(CMoment& moment, const std::vector<Point>& points)
{
    for (const Point& p : points)
        moment(p.w, p.x, p.y, p.z);
}

using Matrix3 = std::array<std::array<double, 3>, 3>;

// Weighted central second-moment sums, computed in two passes.
Matrix3 CentralSums(const std::vector<Point>& points, double& mass)
{
    mass = 0;
    double c[3] = {0, 0, 0};
    for (const Point& p : points)
    {
        mass += p.w;
        c[0] += p.w * p.x;
        c[1] += p.w * p.y;
        c[2] += p.w * p.z;
    }
    for (double& ci : c)
        ci /= mass;
    Matrix3 s{};
    for (const Point& p : points)
    {
        const double d[3] = {p.x - c[0], p.y - c[1], p.z - c[2]};
        for (int i = 0; i < 3; ++i)
            for (int j = 0; j < 3; ++j)
                s[i][j] += p.w * d[i] * d[j];
    }
    return s;
}

// Eigenvalues of a symmetric 3x3 matrix in closed form (trigonometric
// solution of the characteristic cubic), descending, with unit eigenvectors
// from cross products of the rows of A - lambda I.
void ClosedFormEigen(const Matrix3& a, std::array<double, 3>& values, std::array<std::array<double, 3>, 3>& vectors)
{
    const double q = (a[0][0] + a[1][1] + a[2][2]) / 3;
    const double p1 = a[0][1] * a[0][1] + a[0][2] * a[0][2] + a[1][2] * a[1][2];
    const double p2 = (a[0][0] - q) * (a[0][0] - q) + (a[1][1] - q) * (a[1][1] - q) + (a[2][2] - q) * (a[2][2] - q) +
                      2 * p1;
    const double p = std::sqrt(p2 / 6);
    Matrix3 b{};
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j)
            b[i][j] = (a[i][j] - (i == j ? q : 0)) / p;
    const double det = b[0][0] * (b[1][1] * b[2][2] - b[1][2] * b[2][1]) -
                       b[0][1] * (b[1][0] * b[2][2] - b[1][2] * b[2][0]) +
                       b[0][2] * (b[1][0] * b[2][1] - b[1][1] * b[2][0]);
    const double phi = std::acos(std::max(-1.0, std::min(1.0, det / 2))) / 3;
    values[0] = q + 2 * p * std::cos(phi);
    values[2] = q + 2 * p * std::cos(phi + 2 * std::acos(-1.0) / 3);
    values[1] = 3 * q - values[0] - values[2];
    for (int k = 0; k < 3; ++k)
    {
        Matrix3 r = a;
        for (int i = 0; i < 3; ++i)
            r[i][i] -= values[k];
        double best = -1;
        for (int i = 0; i < 3; ++i)
        {
            const auto& u = r[i];
            const auto& v = r[(i + 1) % 3];
            const std::array<double, 3> c = {u[1] * v[2] - u[2] * v[1], u[2] * v[0] - u[0] * v[2],
                                             u[0] * v[1] - u[1] * v[0]};
            const double norm = std::sqrt(c[0] * c[0] + c[1] * c[1] + c[2] * c[2]);
            if (norm > best)
            {
                best = norm;
                vectors[k] = {c[0] / norm, c[1] / norm, c[2] / norm};
            }
        }
    }
}

// Same line, either sign.
void ExpectSameAxis(const CTriple<double>& axis, const std::array<double, 3>& expected, double tolerance)
{
    const double dot = axis.x * expected[0] + axis.y * expected[1] + axis.z * expected[2];
    EXPECT_NEAR(std::fabs(dot), 1.0, tolerance) << axis.x << " " << axis.y << " " << axis.z;
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
        const double u = next() - 0.5;
        const double v = next() - 0.5;
        const double s = next() - 0.5;
        const double x = 12 * u + 3;
        const double y = 4 * v + 0.5 * x - 7;
        const double z = 1.5 * s + 0.3 * y - 0.2 * x + 1;
        points.push_back({1 + next(), x, y, z});
    }
    return points;
}

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

double DoubleAt(const CValueMap& map, const char* key)
{
    const TOLX::CValue* value = map.Entry(key);
    if (value == nullptr || value->Type() != TOLX::VALUE_DOUBLE)
    {
        ADD_FAILURE() << "no double under " << key;
        return std::nan("");
    }
    return value->Double();
}

void ExpectAxisEntry(const CValueMap& map, const char* key, const CTriple<double>& axis)
{
    const TOLX::CValue* value = map.Entry(key);
    ASSERT_NE(value, nullptr) << key;
    ASSERT_EQ(value->Type(), TOLX::VALUE_VECTOR) << key;
    const TOLX::CValueVector& vector = value->Vector();
    ASSERT_EQ(vector.Size(), 3u);
    const double expected[3] = {axis.x, axis.y, axis.z};
    for (int i = 0; i < 3; ++i)
    {
        ASSERT_NE(vector.Entry(i), nullptr);
        EXPECT_EQ(vector.Entry(i)->Type(), TOLX::VALUE_DOUBLE);
        EXPECT_EQ(vector.Entry(i)->Double(), expected[i]) << key << "[" << i << "]";
    }
}
} // namespace

TEST(Moment, AccumulatesWeightedSums)
{
    CMoment m(2);
    Feed(m, {{1, 0, 0, 0}, {1, 2, 0, 0}, {2, 1, 1, 0}});
    EXPECT_EQ(m.Mass(), 4.0);
    EXPECT_EQ(m.MomentX(), 4.0);
    EXPECT_EQ(m.MomentY(), 2.0);
    EXPECT_EQ(m.getM200(), 6.0);
    EXPECT_EQ(m.getM020(), 2.0);
    EXPECT_EQ(m.getM110(), 2.0);
    EXPECT_EQ(m.MomentZ(), 0.0);
    EXPECT_EQ(m.getM002(), 0.0);
    EXPECT_EQ(m.getM101(), 0.0);
    EXPECT_EQ(m.getM011(), 0.0);

    CMoment s(3);
    s(-2, 1, 3, 5);
    s(0.5, -2, 4, 0.25);
    EXPECT_EQ(s.getM000(), -1.5);
    EXPECT_EQ(s.getM100(), -2 - 1.0);
    EXPECT_EQ(s.getM010(), -6 + 2.0);
    EXPECT_EQ(s.getM001(), -10 + 0.125);
    EXPECT_EQ(s.getM200(), -2 + 2.0);
    EXPECT_EQ(s.getM020(), -18 + 8.0);
    EXPECT_EQ(s.getM002(), -50 + 0.03125);
    EXPECT_EQ(s.getM110(), -6 - 4.0);
    EXPECT_EQ(s.getM101(), -10 - 0.25);
    EXPECT_EQ(s.getM011(), -30 + 0.5);
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
    const auto rounded = [](double x, double y, double z) {
        CMoment m(3);
        m(1, x, y, z);
        m.ComputeCovariance();
        return m.CenterOfMass();
    };
    const auto expect = [](const CTriple<int64>& c, int64 x, int64 y, int64 z) {
        EXPECT_EQ(c.x, x);
        EXPECT_EQ(c.y, y);
        EXPECT_EQ(c.z, z);
    };
    expect(rounded(2.5, -2.5, 0.49), 3, -3, 0);
    expect(rounded(-0.5, 0.5, -0.49), -1, 1, 0);
    // floor(c + 0.5) in double: 2^52 + 1.5 rounds to 2^52 + 2 before the floor.
    expect(rounded(4503599627370497.0, -4503599627370497.0, 7), 4503599627370498, -4503599627370498, 7);
    const int64 min = std::numeric_limits<int64>::min();
    const int64 max = std::numeric_limits<int64>::max();
    expect(rounded(1e19, -1e19, std::nan("")), max, min, min);
    expect(rounded(-9.223372036854776e18, 9.2233720368547748e18, 1e300), min, 9223372036854774784, max);
    // Exactly 2^63 is not above the bound and converts to the integer-indefinite value.
    expect(rounded(9.223372036854776e18, 0, 0), min, 0, 0);

    const CTriple<int64> none = CMoment(2).CenterOfMass();
    expect(none, 0, 0, 0);
}

TEST(Moment, TwoPointsInTheCovarianceMode)
{
    CMoment m(2);
    Feed(m, {{1, -1, 0, 0}, {1, 1, 0, 0}});
    m.ComputeCovariance();
    EXPECT_EQ(m.CenterOfMassX(), 0.0);
    EXPECT_EQ(m.CenterOfMassY(), 0.0);
    EXPECT_EQ(m.getNormM200(), 1.0);
    EXPECT_EQ(m.getNormM020(), 0.0);
    EXPECT_EQ(m.getInertiaMoments(), (std::vector<double>{1, 0, 1}));
    const auto tensor = m.getTensorMatrix();
    EXPECT_EQ(tensor(0, 0), 1.0);
    EXPECT_EQ(tensor(1, 1), 0.0);
    EXPECT_EQ(tensor(2, 2), 1.0);
    const auto axes = m.getInertiaVectors();
    ASSERT_EQ(axes.size(), 3u);
    EXPECT_EQ((std::array<double, 3>{axes[0].x, axes[0].y, axes[0].z}), (std::array<double, 3>{1, 0, 0}));
    EXPECT_EQ((std::array<double, 3>{axes[1].x, axes[1].y, axes[1].z}), (std::array<double, 3>{0, 1, 0}));
    EXPECT_EQ((std::array<double, 3>{axes[2].x, axes[2].y, axes[2].z}), (std::array<double, 3>{0, 0, 0}));
    const CTriple<double> main = m.getMainInertiaAxis();
    EXPECT_EQ(main.x, 1.0);
    EXPECT_EQ(main.y, 0.0);
    // (a + r) / (a - r) with a = r = 2.
    EXPECT_EQ(m.getExcentricity(), kInf);
}

TEST(Moment, TwoPointsInTheInertiaMode)
{
    CMoment m(2);
    Feed(m, {{1, -1, 0, 0}, {1, 1, 0, 0}});
    m.ComputeInertia();
    EXPECT_EQ(m.getNormM200(), 2.0);
    const auto tensor = m.getTensorMatrix();
    EXPECT_EQ(tensor(0, 0), 0.0);
    EXPECT_EQ(tensor(1, 1), 2.0);
    EXPECT_EQ(tensor(2, 2), 1.0);
    // Ordering swaps positions 0 and 1; the filler stays at 2.
    EXPECT_EQ(m.getInertiaMoments(), (std::vector<double>{2, 0, 1}));
    const auto axes = m.getInertiaVectors();
    EXPECT_EQ((std::array<double, 3>{axes[0].x, axes[0].y, axes[0].z}), (std::array<double, 3>{0, 1, 0}));
    EXPECT_EQ((std::array<double, 3>{axes[1].x, axes[1].y, axes[1].z}), (std::array<double, 3>{1, 0, 0}));
    const CTriple<double> main = m.getMainInertiaAxis();
    EXPECT_EQ((std::array<double, 3>{main.x, main.y, main.z}), (std::array<double, 3>{0, 0, 0}));
    const auto v = m.getInertiaAxes();
    EXPECT_EQ(v(0, 0), 0.0);
    EXPECT_EQ(v(1, 0), 1.0);
    EXPECT_EQ(v(0, 1), 1.0);
    EXPECT_EQ(v(2, 2), 1.0);
}

TEST(Moment, EqualEigenvaluesKeepTheirOrder)
{
    CMoment m(3);
    Feed(m, {{1, 1, 0, 0}, {1, -1, 0, 0}, {1, 0, 1, 0}, {1, 0, -1, 0}});
    const auto axisArrays = [&m] {
        std::vector<std::array<double, 3>> out;
        for (const auto& a : m.getInertiaVectors())
            out.push_back({a.x, a.y, a.z});
        return out;
    };
    // Covariance diag(0.5, 0.5, 0): nothing to rotate, nothing to swap.
    m.ComputeCovariance();
    EXPECT_EQ(m.getInertiaMoments(), (std::vector<double>{0.5, 0.5, 0}));
    EXPECT_EQ(axisArrays(), (std::vector<std::array<double, 3>>{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}));
    // Inertia diag(2, 2, 4): only the strict swaps (1,2) then (0,1) happen.
    m.ComputeInertia();
    EXPECT_EQ(m.getInertiaMoments(), (std::vector<double>{4, 2, 2}));
    EXPECT_EQ(axisArrays(), (std::vector<std::array<double, 3>>{{0, 0, 1}, {1, 0, 0}, {0, 1, 0}}));
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
    for (auto compute : {&CMoment::ComputeCovariance, &CMoment::ComputeInertia})
    {
        (m.*compute)();
        EXPECT_DOUBLE_EQ(m.getExcentricity(), (a + r) / (a - r));
    }
    testing::internal::CaptureStderr();
    m.Compute();
    testing::internal::GetCapturedStderr();
    EXPECT_DOUBLE_EQ(m.getExcentricity(), (a + r) / (a - r));
    // At the origin a = 0: NaN.
    CMoment origin(2);
    origin(1, 0, 0, 0);
    origin.ComputeCovariance();
    EXPECT_TRUE(std::isnan(origin.getExcentricity()));
}

TEST(Moment, CovarianceIn3DMatchesAClosedFormDecomposition)
{
    const std::vector<Point> points = Cloud();
    double mass = 0;
    const Matrix3 s = CentralSums(points, mass);
    Matrix3 cov{};
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j)
            cov[i][j] = s[i][j] / mass;
    std::array<double, 3> values{};
    std::array<std::array<double, 3>, 3> vectors{};
    ClosedFormEigen(cov, values, vectors);

    CMoment m(3);
    Feed(m, points);
    m.ComputeCovariance();
    EXPECT_NEAR(m.getNormM200(), cov[0][0], 1e-9);
    EXPECT_NEAR(m.getNormM020(), cov[1][1], 1e-9);
    EXPECT_NEAR(m.getNormM002(), cov[2][2], 1e-9);
    EXPECT_NEAR(m.getNormM110(), cov[0][1], 1e-9);
    EXPECT_NEAR(m.getNormM101(), cov[0][2], 1e-9);
    EXPECT_NEAR(m.getNormM011(), cov[1][2], 1e-9);
    const auto tensor = m.getTensorMatrix();
    for (std::size_t i = 0; i < 3; ++i)
        for (std::size_t j = 0; j < 3; ++j)
            EXPECT_NEAR(tensor(i, j), cov[i][j], 1e-9);

    const std::vector<double> moments = m.getInertiaMoments();
    const auto axes = m.getInertiaVectors();
    for (int k = 0; k < 3; ++k)
    {
        EXPECT_NEAR(moments[k], values[k], 1e-7 * values[0]) << k;
        ExpectSameAxis(axes[k], vectors[k], 1e-7);
    }
    ExpectSameAxis(m.getMainInertiaAxis(), vectors[0], 1e-7);
}

TEST(Moment, InertiaIn3DMatchesAClosedFormDecomposition)
{
    const std::vector<Point> points = Cloud();
    double mass = 0;
    const Matrix3 s = CentralSums(points, mass);
    const double trace = s[0][0] + s[1][1] + s[2][2];
    Matrix3 inertia{};
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j)
            inertia[i][j] = (i == j ? trace : 0) - s[i][j];
    std::array<double, 3> values{};
    std::array<std::array<double, 3>, 3> vectors{};
    ClosedFormEigen(inertia, values, vectors);

    CMoment m(3);
    Feed(m, points);
    m.ComputeInertia();
    EXPECT_NEAR(m.getNormM200(), s[0][0], 1e-9 * trace);
    EXPECT_NEAR(m.getNormM110(), s[0][1], 1e-9 * trace);
    EXPECT_NEAR(m.getNormM011(), s[1][2], 1e-9 * trace);
    const auto tensor = m.getTensorMatrix();
    for (std::size_t i = 0; i < 3; ++i)
        for (std::size_t j = 0; j < 3; ++j)
            EXPECT_NEAR(tensor(i, j), inertia[i][j], 1e-9 * trace);
    const std::vector<double> moments = m.getInertiaMoments();
    EXPECT_GT(moments[0], moments[1]);
    EXPECT_GT(moments[1], moments[2]);
    const auto axes = m.getInertiaVectors();
    for (int k = 0; k < 3; ++k)
    {
        EXPECT_NEAR(moments[k], values[k], 1e-7 * trace) << k;
        ExpectSameAxis(axes[k], vectors[k], 1e-7);
    }
    // The axis of least inertia is the direction of largest variance.
    ExpectSameAxis(m.getMainInertiaAxis(), vectors[2], 1e-7);

    // Axes are the eigenvector columns, in the order of the moments.
    const auto v = m.getInertiaAxes();
    for (std::size_t k = 0; k < 3; ++k)
    {
        EXPECT_EQ(axes[k].x, v(0, k));
        EXPECT_EQ(axes[k].y, v(1, k));
        EXPECT_EQ(axes[k].z, v(2, k));
    }
}

TEST(Moment, ScaleInvarianceAndScaledAxes)
{
    CMoment m(3);
    Feed(m, Cloud());
    m.ComputeInertia();
    const std::vector<double> raw = m.getInertiaMoments();
    const auto axes = m.getInertiaVectors();

    m.SetScaleInvariance(true);
    const std::vector<double> ratios = m.getInertiaMoments();
    EXPECT_EQ(ratios[0], 1.0);
    EXPECT_EQ(ratios[1], raw[1] / raw[0]);
    EXPECT_EQ(ratios[2], raw[2] / raw[0]);

    // Scaled vectors always use the raw eigenvalues ...
    const auto scaled = m.getScaledInertiaVectors();
    ASSERT_EQ(scaled.size(), 3u);
    for (std::size_t k = 0; k < 3; ++k)
    {
        EXPECT_EQ(scaled[k].x, axes[k].x * raw[k]);
        EXPECT_EQ(scaled[k].y, axes[k].y * raw[k]);
        EXPECT_EQ(scaled[k].z, axes[k].z * raw[k]);
    }
    // ... while the scaled axes matrix follows the flag.
    const auto scaledAxes = m.getScaledInertiaAxes();
    for (int64 k = 0; k < 3; ++k)
        EXPECT_NEAR(scaledAxes.GetColumnLength(k), ratios[static_cast<std::size_t>(k)], 1e-12);
    m.SetScaleInvariance(false);
    for (int64 k = 0; k < 3; ++k)
        EXPECT_NEAR(m.getScaledInertiaAxes().GetColumnLength(k), raw[static_cast<std::size_t>(k)], 1e-9 * raw[0]);

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

    testing::internal::CaptureStderr();
    ExpectThrowAt([&] { m.Compute(); }, "empty space", "TOLX::CMoment::Compute", kSource, 89);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), kDeprecation);

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
    testing::internal::CaptureStderr();
    m.Compute();
    m.Compute();
    EXPECT_EQ(testing::internal::GetCapturedStderr(), std::string(kDeprecation) + kDeprecation);
    // Normed moments are the central sums over the squared mass ...
    const double squared = mass * mass;
    EXPECT_NEAR(m.getNormM200(), s[0][0] / squared, 1e-12);
    EXPECT_NEAR(m.getNormM020(), s[1][1] / squared, 1e-12);
    EXPECT_NEAR(m.getNormM002(), s[2][2] / squared, 1e-12);
    EXPECT_NEAR(m.getNormM110(), s[0][1] / squared, 1e-12);
    EXPECT_NEAR(m.getNormM101(), s[0][2] / squared, 1e-12);
    EXPECT_NEAR(m.getNormM011(), s[1][2] / squared, 1e-12);
    // ... in 3-D laid out as an inertia tensor, and the mode stays covariance.
    const auto tensor = m.getTensorMatrix();
    EXPECT_DOUBLE_EQ(tensor(0, 0), m.getNormM002() + m.getNormM020());
    EXPECT_DOUBLE_EQ(tensor(0, 1), -m.getNormM110());
    EXPECT_DOUBLE_EQ(tensor(1, 2), -m.getNormM011());
    EXPECT_EQ(static_cast<CValueMap>(m).Entry("inertia_or_covariance")->String(), "covariance");

    // In 2-D the tensor is the covariance matrix from the raw sums.
    CMoment planar(2);
    const std::vector<Point> flat = {{1, 3, 1, 0}, {2, 5, 2, 0}, {1, 4, 4, 0}};
    Feed(planar, flat);
    planar.ComputeInertia();
    testing::internal::CaptureStderr();
    planar.Compute();
    testing::internal::GetCapturedStderr();
    // mass 4, centre (17/4, 9/4); E[x^2] = 75/4, E[y^2] = 25/4, E[xy] = 39/4.
    const auto t2 = planar.getTensorMatrix();
    EXPECT_DOUBLE_EQ(t2(0, 0), 75.0 / 4 - 289.0 / 16);
    EXPECT_DOUBLE_EQ(t2(1, 1), 25.0 / 4 - 81.0 / 16);
    EXPECT_DOUBLE_EQ(t2(0, 1), 39.0 / 4 - 153.0 / 16);
    EXPECT_EQ(t2(2, 2), 1.0);
    EXPECT_DOUBLE_EQ(planar.getNormM200(), (75.0 / 4 - 289.0 / 16) / 4);
    EXPECT_EQ(static_cast<CValueMap>(planar).Entry("inertia_or_covariance")->String(), "inertia");
}

TEST(MomentValueMap, PlanarLayout)
{
    CMoment m(2);
    Feed(m, {{1, 3, 1, 0}, {2, 5, 2, 0}, {1, 4, 4, 0}});
    m.ComputeCovariance();
    const CValueMap map = m;
    EXPECT_EQ(KeysOf(map), kKeys2d);
    for (const auto& [key, value] : map)
    {
        if (key.ToString() != "inertia_or_covariance" && key.ToString().rfind("vector/", 0) != 0)
        {
            EXPECT_EQ(value->Type(), TOLX::VALUE_DOUBLE) << key.ToString();
        }
    }
    EXPECT_EQ(map.Entry("inertia_or_covariance")->String(), "covariance");
    EXPECT_EQ(DoubleAt(map, "total_mass"), 4.0);
    EXPECT_EQ(DoubleAt(map, "moments/m100"), 17.0);
    EXPECT_EQ(DoubleAt(map, "center_of_mass/y"), 2.25);
    EXPECT_EQ(DoubleAt(map, "excentricity"), m.getExcentricity());
    EXPECT_EQ(DoubleAt(map, "2nd_moments_normed/m110"), m.getNormM110());
    const auto v = m.getInertiaAxes();
    EXPECT_EQ(DoubleAt(map, "tensor/xy"), v(0, 1));
    EXPECT_EQ(DoubleAt(map, "tensor/yy"), v(1, 1));
    EXPECT_EQ(DoubleAt(map, "eigenvalues/1"), m.getInertiaMoments()[1]);
    const auto axes = m.getInertiaVectors();
    ExpectAxisEntry(map, "vector/x", axes[0]);
    ExpectAxisEntry(map, "vector/y", axes[1]);
    EXPECT_EQ(axes[1].z, 0.0);
}

TEST(MomentValueMap, SpatialLayout)
{
    CMoment m(3);
    Feed(m, Cloud());
    m.SetScaleInvariance(true);
    m.ComputeInertia();
    const CValueMap map = m;
    EXPECT_EQ(KeysOf(map), kKeys3d);
    EXPECT_EQ(map.Entry("inertia_or_covariance")->Type(), TOLX::VALUE_STRING);
    EXPECT_EQ(map.Entry("inertia_or_covariance")->String(), "inertia");
    EXPECT_EQ(DoubleAt(map, "moments/m011"), m.getM011());
    EXPECT_EQ(DoubleAt(map, "2nd_moments_normed/m002"), m.getNormM002());
    EXPECT_EQ(DoubleAt(map, "center_of_mass/z"), m.CenterOfMassZ());
    // The "tensor" keys carry the principal-axes matrix, not the tensor.
    const auto v = m.getInertiaAxes();
    EXPECT_EQ(DoubleAt(map, "tensor/xx"), v(0, 0));
    EXPECT_EQ(DoubleAt(map, "tensor/xz"), v(0, 2));
    EXPECT_EQ(DoubleAt(map, "tensor/yz"), v(1, 2));
    EXPECT_EQ(DoubleAt(map, "tensor/zz"), v(2, 2));
    // Raw eigenvalues, whatever the scale-invariance flag.
    m.SetScaleInvariance(false);
    EXPECT_EQ(DoubleAt(map, "eigenvalues/0"), m.getInertiaMoments()[0]);
    EXPECT_EQ(DoubleAt(map, "eigenvalues/2"), m.getInertiaMoments()[2]);
    const auto axes = m.getInertiaVectors();
    ExpectAxisEntry(map, "vector/x", axes[0]);
    ExpectAxisEntry(map, "vector/y", axes[1]);
    ExpectAxisEntry(map, "vector/z", axes[2]);
}

TEST(ObjectMoment, LabelChecks)
{
    CObjectMoment objects(3, 2);
    objects(2, 1, 1, 0);
    ExpectThrowAt([&] { objects(3, 1, 1, 0); }, "Label exceeds size", "TOLX::CObjectMoment::operator ()", kHeader,
                  304);
    ExpectThrowAt([&] { (void)objects.Mass(3); }, "Label exceeds size", "TOLX::CObjectMoment::checkLabel", kHeader,
                  558);
    ExpectThrowAt([&] { (void)objects.getInertiaAxes(7); }, "Label exceeds size", "TOLX::CObjectMoment::checkLabel",
                  kHeader, 558);
    // Negative labels pass the one-sided test and fail the container's check.
    ExpectBadSubscript([&] { objects(-1, 1, 1, 0); });
    ExpectBadSubscript([&] { (void)objects.getM110(-1); });
    ExpectBadSubscript([&] { (void)objects.CenterOfMass(std::numeric_limits<int64>::min()); });
    EXPECT_EQ(objects.Mass(2), 1.0);
    EXPECT_EQ(objects.Mass(0), 0.0);

    CObjectMoment none(0, 3);
    ExpectThrowAt([&] { none(0, 0, 0, 0); }, "Label exceeds size", "TOLX::CObjectMoment::operator ()", kHeader,
                  304);
    ExpectThrowAt([&] { (void)none.getExcentricity(0); }, "Label exceeds size", "TOLX::CObjectMoment::checkLabel",
                  kHeader, 558);
    testing::internal::CaptureStderr();
    none.Compute();
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(KeysOf(none), (std::vector<std::string>{"dim", "status", "no. of objects"}));
}

TEST(ObjectMoment, DimensionChecks)
{
    // The prototype accumulator is built first and reports the dimension.
    ExpectThrowAt([] { CObjectMoment bad(3, 4); }, kDimensionMessage, "TOLX::CMoment::CMoment", kHeader, 72);
    ExpectThrowAt([] { CObjectMoment bad(-1, 1); }, kDimensionMessage, "TOLX::CMoment::CMoment", kHeader, 72);
    try
    {
        CObjectMoment bad(-1, 3);
        ADD_FAILURE() << "no std::length_error";
    }
    catch (const std::length_error& e)
    {
        EXPECT_STREQ(e.what(), "vector<T> too long");
    }

    CObjectMoment objects(2, 3);
    ExpectThrowAt([&] { objects.SetDimension(5); }, kDimensionMessage, "TOLX::CObjectMoment::SetDimension", kHeader,
                  258);
    objects(1, 1, 2, 3);
    objects(1, 2, 2, 5);
    objects.SetDimension(2);
    testing::internal::CaptureStderr();
    objects.Compute();
    testing::internal::GetCapturedStderr();
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
    testing::internal::CaptureStderr();
    objects.Compute();
    reference.Compute();
    // One warning per label with pixels, none for the two empty labels.
    EXPECT_EQ(testing::internal::GetCapturedStderr(), std::string(kDeprecation) + kDeprecation + kDeprecation);

    const int64 l = 2;
    EXPECT_EQ(objects.Mass(l), reference.Mass());
    EXPECT_EQ(objects.MomentX(l), reference.MomentX());
    EXPECT_EQ(objects.MomentY(l), reference.MomentY());
    EXPECT_EQ(objects.MomentZ(l), reference.MomentZ());
    EXPECT_EQ(objects.getM000(l), reference.getM000());
    EXPECT_EQ(objects.getM100(l), reference.getM100());
    EXPECT_EQ(objects.getM010(l), reference.getM010());
    EXPECT_EQ(objects.getM001(l), reference.getM001());
    EXPECT_EQ(objects.getM200(l), reference.getM200());
    EXPECT_EQ(objects.getM020(l), reference.getM020());
    EXPECT_EQ(objects.getM002(l), reference.getM002());
    EXPECT_EQ(objects.getM110(l), reference.getM110());
    EXPECT_EQ(objects.getM101(l), reference.getM101());
    EXPECT_EQ(objects.getM011(l), reference.getM011());
    EXPECT_EQ(objects.CenterOfMassX(l), reference.CenterOfMassX());
    EXPECT_EQ(objects.CenterOfMassY(l), reference.CenterOfMassY());
    EXPECT_EQ(objects.CenterOfMassZ(l), reference.CenterOfMassZ());
    EXPECT_EQ(objects.CenterOfMass(l).y, reference.CenterOfMass().y);
    EXPECT_EQ(objects.getExcentricity(l), reference.getExcentricity());
    EXPECT_EQ(objects.getNormM200(l), reference.getNormM200());
    EXPECT_EQ(objects.getNormM020(l), reference.getNormM020());
    EXPECT_EQ(objects.getNormM002(l), reference.getNormM002());
    EXPECT_EQ(objects.getNormM110(l), reference.getNormM110());
    EXPECT_EQ(objects.getNormM101(l), reference.getNormM101());
    EXPECT_EQ(objects.getNormM011(l), reference.getNormM011());
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
    testing::internal::CaptureStderr();
    objects.Compute();
    objects.Reset();
    EXPECT_EQ(objects.Mass(1), 0.0);
    objects(1, 5, 5, 0);
    objects(1, 6, 4, 0);
    objects.Compute();
    testing::internal::GetCapturedStderr();
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
    testing::internal::CaptureStderr();
    objects.Compute();
    testing::internal::GetCapturedStderr();
    const CValueMap map = objects;
    EXPECT_EQ(KeysOf(map), (std::vector<std::string>{"dim", "status", "no. of objects", "object 005"}));
    EXPECT_EQ(map.Entry("dim")->Type(), TOLX::VALUE_LONG);
    EXPECT_EQ(map.Entry("dim")->Long(), 3);
    EXPECT_EQ(map.Entry("status")->String(), "ok");
    EXPECT_EQ(map.Entry("no. of objects")->Long(), 1000);
    const TOLX::CValue* object = map.Entry("object 005");
    ASSERT_EQ(object->Type(), TOLX::VALUE_MAP);
    std::vector<std::string> keys = kKeys3d;
    keys.push_back("status");
    keys.push_back("pixel");
    EXPECT_EQ(KeysOf(object->Map()), keys);
    EXPECT_EQ(object->Map().Entry("status")->String(), "ok");
    EXPECT_EQ(object->Map().Entry("pixel")->Long(), 3);
    EXPECT_EQ(object->Map().Entry("moments/m011")->Double(), 6 + 8 + 8.0);

    // Width = digits of the label count minus one; wider labels are not cut.
    CObjectMoment wide(250, 2);
    for (int64 label : {7, 100, 249})
        wide(label, 1, 1, 0);
    CObjectMoment narrow(5, 2);
    narrow(3, 1, 1, 0);
    testing::internal::CaptureStderr();
    wide.Compute();
    narrow.Compute();
    testing::internal::GetCapturedStderr();
    EXPECT_EQ(KeysOf(wide),
              (std::vector<std::string>{"dim", "status", "no. of objects", "object 07", "object 100", "object 249"}));
    EXPECT_EQ(KeysOf(narrow), (std::vector<std::string>{"dim", "status", "no. of objects", "object 3"}));

    // A label with pixels that was never computed has no axes.
    CObjectMoment raw(2, 3);
    raw(1, 1, 1, 1);
    ExpectBadSubscript([&] { (void)static_cast<CValueMap>(raw); });
}
