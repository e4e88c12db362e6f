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
#include <numeric>
#include <random>
#include <stdexcept>
#include <string>
#include <tuple>
#include <vector>

using TOLX::CMoment;
using TOLX::CObjectMoment;
using TOLX::CValueMap;
using TOLX::int64;
using vorntest::CaptureStandardError;

namespace
{
const char* const kHeader = "src/Numeric/Moment.h";
const char* const kSource = "src/Numeric/Moment.cpp";
const char* const kDimension = "dimension not valid, only 2 and 3 supported";
const std::string kDeprecation = "Warning: CMoment::Compute() is deprecated, use CMoment::ComputeCovariance() or "
                                 "CMoment::ComputeInertia() instead!\n";
const double kInf = std::numeric_limits<double>::infinity();

struct Point { double w, x, y, z; };
using Points = std::vector<Point>;
using Vec = std::array<double, 3>;
using Keys = std::vector<std::string>;

using Compute = void (CMoment::*)();
const Compute kCovariance = &CMoment::ComputeCovariance, kInertia = &CMoment::ComputeInertia;

// An accumulator fed with the points and, unless compute is null, computed.
CMoment Fed(int64 dimension, const Points& points, Compute compute = nullptr)
{
    CMoment m(dimension);
    for (const Point& p : points) m(p.w, p.x, p.y, p.z);
    if (compute)
        (m.*compute)();
    return m;
}

template <class T>
std::array<T, 3> AsArray(const TOLX::CTriple<T>& t) { return {t.x, t.y, t.z}; }

std::vector<Vec> Axes(const CMoment& m)
{
    std::vector<Vec> out;
    for (const auto& a : m.getInertiaVectors()) out.push_back(AsArray(a));
    return out;
}

// A skewed, weighted 3-D cloud with three well separated principal moments.
Points Cloud()
{
    std::mt19937 engine(2024);
    std::uniform_real_distribution<double> u(-0.5, 0.5);
    Points points;
    for (int i = 0; i < 400; ++i)
    {
        const double x = 12 * u(engine) + 3, y = 4 * u(engine) + 0.5 * x - 7;
        points.push_back({1.5 + u(engine), x, y, 1.5 * u(engine) + 0.3 * y - 0.2 * x + 1});
    }
    return points;
}

// Weighted central second-moment sums, computed in two passes.
std::array<Vec, 3> CentralSums(const Points& points, double& mass)
{
    Vec c{0, 0, 0};
    mass = 0;
    for (const Point& p : points) mass += p.w, c = {c[0] + p.w * p.x, c[1] + p.w * p.y, c[2] + p.w * p.z};
    std::array<Vec, 3> s{};
    for (const Point& p : points)
    {
        const Vec d{p.x - c[0] / mass, p.y - c[1] / mass, p.z - c[2] / mass};
        for (int k = 0; k < 9; ++k) s[k / 3][k % 3] += p.w * d[k / 3] * d[k % 3];
    }
    return s;
}

const Points kPlanar = {{1, 3, 1, 0}, {2, 5, 2, 0}, {1, 4, 4, 0}};

// The normed second moments and their positions in a symmetric 3x3 matrix.
const std::tuple<double (CMoment::*)() const, int, int> kNormed[] = {
    {&CMoment::getNormM200, 0, 0}, {&CMoment::getNormM020, 1, 1}, {&CMoment::getNormM002, 2, 2},
    {&CMoment::getNormM110, 0, 1}, {&CMoment::getNormM101, 0, 2}, {&CMoment::getNormM011, 1, 2}};

// Every scalar getter, the key under which a moment map holds its value, and
// the per-label getter that forwards to it.
using M = CMoment;
using O = CObjectMoment;
const std::tuple<const char*, double (M::*)() const, double (O::*)(int64) const> kScalars[] = {
    {"excentricity", &M::getExcentricity, &O::getExcentricity}, {"total_mass", &M::Mass, &O::Mass},
    {"moments/m000", &M::getM000, &O::getM000}, {"moments/m100", &M::getM100, &O::getM100},
    {"moments/m010", &M::getM010, &O::getM010}, {"moments/m001", &M::getM001, &O::getM001},
    {"moments/m200", &M::getM200, &O::getM200}, {"moments/m020", &M::getM020, &O::getM020},
    {"moments/m002", &M::getM002, &O::getM002}, {"moments/m110", &M::getM110, &O::getM110},
    {"moments/m101", &M::getM101, &O::getM101}, {"moments/m011", &M::getM011, &O::getM011},
    {"2nd_moments_normed/m200", &M::getNormM200, &O::getNormM200}, {"", &M::MomentX, &O::MomentX},
    {"2nd_moments_normed/m020", &M::getNormM020, &O::getNormM020}, {"", &M::MomentY, &O::MomentY},
    {"2nd_moments_normed/m002", &M::getNormM002, &O::getNormM002}, {"", &M::MomentZ, &O::MomentZ},
    {"2nd_moments_normed/m110", &M::getNormM110, &O::getNormM110}, {"center_of_mass/x", &M::CenterOfMassX, &O::CenterOfMassX},
    {"2nd_moments_normed/m101", &M::getNormM101, &O::getNormM101}, {"center_of_mass/y", &M::CenterOfMassY, &O::CenterOfMassY},
    {"2nd_moments_normed/m011", &M::getNormM011, &O::getNormM011}, {"center_of_mass/z", &M::CenterOfMassZ, &O::CenterOfMassZ}};

const Keys kKeys3d = {
    "excentricity", "total_mass", "inertia_or_covariance", "moments/m000", "moments/m100", "moments/m010",
    "moments/m001", "moments/m200", "moments/m020", "moments/m002", "moments/m110", "moments/m101", "moments/m011",
    "2nd_moments_normed/m200", "2nd_moments_normed/m020", "2nd_moments_normed/m002", "2nd_moments_normed/m110",
    "2nd_moments_normed/m101", "2nd_moments_normed/m011", "center_of_mass/x", "center_of_mass/y",
    "center_of_mass/z", "tensor/xx", "tensor/xy", "tensor/xz", "tensor/yy", "tensor/yz", "tensor/zz",
    "eigenvalues/0", "eigenvalues/1", "eigenvalues/2", "vector/x", "vector/y", "vector/z"};
const Keys kKeys2d = {
    "excentricity", "total_mass", "inertia_or_covariance", "moments/m000", "moments/m100", "moments/m010",
    "moments/m200", "moments/m020", "moments/m110", "2nd_moments_normed/m200", "2nd_moments_normed/m020",
    "2nd_moments_normed/m110", "center_of_mass/x", "center_of_mass/y", "tensor/xx", "tensor/xy", "tensor/yy",
    "eigenvalues/0", "eigenvalues/1", "vector/x", "vector/y"};

Keys KeysOf(const CValueMap& map)
{
    Keys keys;
    for (const auto& key : map.Keys()) keys.push_back(key.ToString());
    return keys;
}

// The map of m has exactly the given keys and the getters' values under
// them (reading a value of another kind throws); the "tensor" keys carry the principal-axes matrix, the "vector" keys
// the axes, and the eigenvalues are raw whatever the scale-invariance flag says.
void ExpectMapOf(CMoment m, const CValueMap& map, const Keys& keys)
{
    EXPECT_EQ(KeysOf(map), keys);
    for (const auto& [key, getter, forward] : kScalars)
        EXPECT_TRUE(std::find(keys.begin(), keys.end(), key) == keys.end() || map.Entry(key)->Double() == (m.*getter)()) << key;
    const std::vector<Vec> axes = Axes(m);
    const std::size_t d = keys.size() > 30 ? 3 : 2;
    const std::string xyz = "xyz";
    m.SetScaleInvariance(false);
    for (std::size_t i = 0; i < d; ++i)
    {
        EXPECT_EQ(map.Entry(("eigenvalues/" + std::to_string(i)).c_str())->Double(), m.getInertiaMoments()[i]);
        const TOLX::CValue* vector = map.Entry(("vector/" + xyz.substr(i, 1)).c_str());
        ASSERT_EQ(vector->Vector().Size(), 3u) << i;
        for (std::size_t j = 0; j < 3; ++j)
        {
            EXPECT_EQ(vector->Vector().Entry(int(j))->Double(), axes[i][j]) << i << j;
            const TOLX::CValue* tensor = map.Entry(("tensor/" + xyz.substr(i, 1) + xyz.substr(j, 1)).c_str());
            EXPECT_EQ(tensor ? tensor->Double() : 0.0, j >= i && j < d ? m.getInertiaAxes()(i, j) : 0.0) << i << j;
        }
    }
}
} // namespace

// The ten sums with the products in the described order, (w x) y and so on,
// summed in feeding order, whatever the dimension; also for a single point,
// where (w x) y and w (x y) round differently for every pair.
TEST(Moment, AccumulatesWeightedSumsAndRoundsTheCentre)
{
    const std::pair<double (M::*)() const, std::string> sums[] = {
        {&M::Mass, ""}, {&M::MomentX, "x"}, {&M::MomentY, "y"}, {&M::MomentZ, "z"}, {&M::getM000, ""}, {&M::getM100, "x"},
        {&M::getM010, "y"}, {&M::getM001, "z"}, {&M::getM200, "xx"}, {&M::getM020, "yy"}, {&M::getM002, "zz"},
        {&M::getM110, "xy"}, {&M::getM101, "xz"}, {&M::getM011, "yz"}};
    Points cloud = Cloud();
    cloud.insert(cloud.end(), {{-2, 1, 3, 5}, {0, 9, 9, 9}}); // negative and zero weights count as well
    for (const Points& points : {cloud, Points{{1.3, 0.1, 3.7, 5.3}}})
        for (const int64 d : {2, 3})
            for (const auto& [getter, factors] : sums)
            {
                double expected = 0;
                for (const Point& p : points)
                    expected += std::accumulate(factors.begin(), factors.end(), p.w, [&p](double product, char c) {
                        return product * (c == 'x' ? p.x : c == 'y' ? p.y : p.z);
                    });
                EXPECT_EQ((Fed(d, points).*getter)(), expected) << d << "-D, w" << factors << ", " << points.size();
            }
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
    for (const auto& [c, expected] : cases)
        EXPECT_EQ(AsArray(Fed(3, {{1, c[0], c[1], c[2]}}, kCovariance).CenterOfMass()), expected) << c[0] << " " << c[1];
    EXPECT_EQ(AsArray(CMoment(2).CenterOfMass()), (std::array<int64, 3>{0, 0, 0})); // nothing computed: the initial zeros
}

TEST(Moment, DimensionLabelAndEmptySpaceChecks)
{
    CObjectMoment objects(3, 2);
    const std::tuple<std::function<void()>, std::string, std::string, int> cases[] = {
        {[] { CMoment bad(0); }, kDimension, "TOLX::CMoment::CMoment", 72},
        {[] { CMoment bad(4); }, kDimension, "TOLX::CMoment::CMoment", 72},
        {[] { CMoment(3).SetDimension(1); }, kDimension, "TOLX::CMoment::SetDimension", 78},
        // The prototype accumulator is built first and reports the dimension, not the count.
        {[] { CObjectMoment bad(-1, 1); }, kDimension, "TOLX::CMoment::CMoment", 72},
        {[&] { objects.SetDimension(5); }, kDimension, "TOLX::CObjectMoment::SetDimension", 258},
        {[&] { objects(3, 1, 1, 0); }, "Label exceeds size", "TOLX::CObjectMoment::operator ()", 304},
        {[&] { (void)objects.Mass(3); }, "Label exceeds size", "TOLX::CObjectMoment::checkLabel", 558},
    };
    for (const auto& [action, message, function, line] : cases) ExpectThrowAt(action, message, function, kHeader, line);
    for (const int64 count : {int64(-1), int64(1) << 62})
        ExpectStdThrow<std::length_error>([count] { CObjectMoment bad(count, 3); }, "vector<T> too long");
    // Negative labels pass the one-sided test and fail the container's check.
    ExpectBadSubscript([&] { objects(-1, 1, 1, 0); });
    ExpectBadSubscript([&] { (void)objects.getM110(-1); });
    CMoment m = Fed(3, Cloud(), kCovariance);
    const double largestVarianceX = m.getMainInertiaAxis().x, oldCenter = m.CenterOfMassX();
    m.Reset();
    EXPECT_TRUE(m.Mass() == 0.0 && m.getM200() == 0.0 && m.CenterOfMassX() == oldCenter);
    EXPECT_TRUE(m.getInertiaMoments() == std::vector<double>(3) && m.getTensorMatrix() == TOLX::CSymmMatrix<double>(3));
    // The flag is set before the mass check: the main axis switches to axis 2.
    ExpectThrowAt([&] { m.ComputeInertia(); }, "empty space", "TOLX::CMoment::ComputeInertia", kSource, 149);
    EXPECT_NE(m.getMainInertiaAxis().x, largestVarianceX);
    ExpectThrowAt([&] { m.ComputeCovariance(); }, "empty space", "TOLX::CMoment::ComputeCovariance", kSource, 206);
    EXPECT_EQ(m.getMainInertiaAxis().x, largestVarianceX);
    const auto compute = [&] { ExpectThrowAt([&] { m.Compute(); }, "empty space", "TOLX::CMoment::Compute", kSource, 89); };
    EXPECT_EQ(CaptureStandardError(compute), kDeprecation);
    m(2.220446049250313e-16, 1, 1, 1); // the bound is one machine epsilon, inclusive
    ExpectThrowAt([&] { m.ComputeCovariance(); }, "empty space", "TOLX::CMoment::ComputeCovariance", kSource, 206);
    m(1e-30, 1, 1, 1), m.ComputeCovariance();
    EXPECT_DOUBLE_EQ(m.CenterOfMassX(), 1.0);
    // Before any computation the axis list is empty.
    ExpectBadSubscript([] { (void)CMoment(3).getMainInertiaAxis(); });
    ExpectBadSubscript([] { (void)static_cast<CValueMap>(CMoment(3)); });
    EXPECT_TRUE(CMoment(3).getExcentricity() == 0.0 && CMoment(3).getNormM110() == 0.0);
}

// Equal moments keep their order: only strict swaps happen. In 2-D only
// positions 0 and 1 are compared, and the filler axis 2 has its z forced to 0.
TEST(Moment, HandDerivedDecompositions)
{
    const Points two = {{1, -1, 0, 0}, {1, 1, 0, 0}}, cross = {{1, 1, 0, 0}, {1, -1, 0, 0}, {1, 0, 1, 0}, {1, 0, -1, 0}};
    const std::tuple<int64, Points, Compute, std::vector<double>, std::vector<Vec>> cases[] = {
        {2, two, kCovariance, {1, 0, 1}, {{1, 0, 0}, {0, 1, 0}, {0, 0, 0}}}, // diag(1, 0, 1)
        {2, two, kInertia, {2, 0, 1}, {{0, 1, 0}, {1, 0, 0}, {0, 0, 0}}},   // diag(0, 2, 1)
        {3, cross, kCovariance, {0.5, 0.5, 0}, {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}},
        {3, cross, kInertia, {4, 2, 2}, {{0, 0, 1}, {1, 0, 0}, {0, 1, 0}}}, // diag(2, 2, 4)
        {3, {{1, 2, 0, 0}, {1, -2, 0, 0}, {1, 0, 1, 0}, {1, 0, -1, 0}, {1, 0, 0, 1}, {1, 0, 0, -1}},
         kCovariance, {4.0 / 3, 1.0 / 3, 1.0 / 3}, {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}},
    };
    for (const auto& [d, points, compute, moments, axes] : cases)
    {
        const CMoment m = Fed(d, points, compute);
        EXPECT_TRUE(m.getInertiaMoments() == moments && Axes(m) == axes);
        // In 2-D (a + r) / (a - r) with a = r.
        EXPECT_TRUE((d == 2 ? m.getExcentricity() : kInf) == kInf &&
                    AsArray(m.getMainInertiaAxis()) == (compute == kInertia ? axes[2] : axes[0]));
    }
    // The excentricity comes from the raw sums, whatever the computation.
    CMoment m = Fed(2, {{1, 3, 1, 0}, {2, 5, 2, 0}, {1, 4, 4, 0}, {3, 6, 1, 0}});
    const double m200 = m.getM200(), m020 = m.getM020(), m110 = m.getM110(), a = m200 + m020;
    const double r = std::sqrt(4 * m110 * m110 + (m200 - m020) * (m200 - m020));
    for (auto compute : {kCovariance, kInertia, &CMoment::Compute})
    {
        CaptureStandardError([&] { (m.*compute)(); });
        EXPECT_DOUBLE_EQ(m.getExcentricity(), (a + r) / (a - r));
    }
    EXPECT_TRUE(std::isnan(Fed(2, {{1, 0, 0, 0}}, kCovariance).getExcentricity())); // at the origin a = 0: NaN
    // Covariance rows (1e140, 1e-15), (1e-15, 1e-170): the rotation angle's
    // square overflows, the solver leaves (-inf, +inf), the ordering swaps
    // them and the filler 1 stays last.
    EXPECT_EQ(Fed(2, {{1, 1e70, 1e-85, 0}, {1, -1e70, -1e-85, 0}}, kCovariance).getInertiaMoments(),
              (std::vector<double>{kInf, -kInf, 1}));
    // In 2-D the deprecated Compute's tensor is the covariance matrix from the
    // raw sums: mass 4, centre (17/4, 9/4); E[x^2] = 75/4, E[y^2] = 25/4, E[xy] = 39/4.
    CMoment planar = Fed(2, kPlanar, kCovariance);
    ExpectMapOf(planar, planar, kKeys2d);
    EXPECT_EQ(static_cast<CValueMap>(planar).Entry("inertia_or_covariance")->String(), "covariance");
    planar.ComputeInertia();
    EXPECT_EQ(CaptureStandardError([&] { planar.Compute(); }), kDeprecation);
    const auto t2 = planar.getTensorMatrix();
    EXPECT_EQ(t2(2, 2), 1.0);
    EXPECT_DOUBLE_EQ(t2(0, 0), 75.0 / 4 - 289.0 / 16);
    EXPECT_DOUBLE_EQ(t2(1, 1), 25.0 / 4 - 81.0 / 16);
    EXPECT_DOUBLE_EQ(t2(0, 1), 39.0 / 4 - 153.0 / 16);
    EXPECT_DOUBLE_EQ(planar.getNormM200(), (75.0 / 4 - 289.0 / 16) / 4);
    EXPECT_EQ(static_cast<CValueMap>(planar).Entry("inertia_or_covariance")->String(), "inertia");
}

// Covariance: the central sums S over the mass; inertia: trace(S) I - S with
// S itself; the deprecated Compute: S over the squared mass, laid out as an
// inertia tensor, while the mode (here covariance) stays as it was. All
// decomposed: t a_k = l_k a_k with unit axes (the eigenvector columns), l_k
// strictly descending, the main axis the one of largest spread or, for
// inertia, of smallest.
TEST(Moment, TensorsOfASkewedCloudTheirDecompositionsAndScaledAxes)
{
    const Points points = Cloud();
    double mass = 0;
    const std::array<Vec, 3> s = CentralSums(points, mass);
    const double trace = s[0][0] + s[1][1] + s[2][2];
    for (const Compute compute : {kCovariance, kInertia, &CMoment::Compute})
    {
        CMoment m = Fed(3, points, kCovariance);
        EXPECT_EQ(CaptureStandardError([&] { (m.*compute)(); }), compute == &CMoment::Compute ? kDeprecation : "");
        const bool inertia = compute != kCovariance;
        const double scale = compute == kInertia ? 1.0 : compute == kCovariance ? 1 / mass : 1 / (mass * mass);
        const double tol = 1e-9 * trace * scale;
        for (const auto& [getter, i, j] : kNormed) EXPECT_NEAR((m.*getter)(), s[i][j] * scale, tol) << i << j;
        std::array<Vec, 3> t{};
        for (std::size_t i = 0; i < 3; ++i)
            for (std::size_t j = 0; j < 3; ++j)
            {
                t[i][j] = ((inertia && i == j ? trace : 0) + (inertia ? -1 : 1) * s[i][j]) * scale;
                EXPECT_NEAR(m.getTensorMatrix()(i, j), t[i][j], tol) << i << j;
            }
        const std::vector<Vec> axes = Axes(m);
        const std::vector<double> l = m.getInertiaMoments();
        for (std::size_t k = 0; k < 3; ++k)
        {
            const Vec& a = axes[k];
            EXPECT_NEAR(a[0] * a[0] + a[1] * a[1] + a[2] * a[2], 1.0, 1e-12);
            for (std::size_t i = 0; i < 3; ++i)
                EXPECT_NEAR(t[i][0] * a[0] + t[i][1] * a[1] + t[i][2] * a[2], l[k] * a[i], tol) << k << "," << i;
            EXPECT_GT(k > 0 ? l[k - 1] : HUGE_VAL, l[k] + 1000 * tol);
            EXPECT_EQ(a, (Vec{m.getInertiaAxes()(0, k), m.getInertiaAxes()(1, k), m.getInertiaAxes()(2, k)}));
        }
        EXPECT_EQ(AsArray(m.getMainInertiaAxis()), axes[compute == kInertia ? 2 : 0]);
        EXPECT_EQ(static_cast<CValueMap>(m).Entry("inertia_or_covariance")->String(),
                  compute == kInertia ? "inertia" : "covariance");
    }
    // Ratios to the first moment with the flag; scaled vectors always use the raw
    // moments, the scaled axes matrix follows the flag; copies keep both flags.
    CMoment m = Fed(3, Cloud(), kInertia);
    const std::vector<double> raw = m.getInertiaMoments();
    const std::vector<Vec> axes = Axes(m);
    m.SetScaleInvariance(true);
    const CMoment copy(m);
    EXPECT_EQ(copy.getInertiaMoments(), (std::vector<double>{1.0, raw[1] / raw[0], raw[2] / raw[0]}));
    ExpectMapOf(copy, copy, kKeys3d);
    EXPECT_EQ(static_cast<CValueMap>(copy).Entry("inertia_or_covariance")->String(), "inertia");
    for (const bool invariant : {true, false})
    {
        m.SetScaleInvariance(invariant);
        ASSERT_EQ(m.getScaledInertiaVectors().size(), 3u);
        for (std::size_t k = 0; k < 3; ++k)
        {
            EXPECT_EQ(AsArray(m.getScaledInertiaVectors()[k]), (Vec{axes[k][0] * raw[k], axes[k][1] * raw[k], axes[k][2] * raw[k]}));
            EXPECT_NEAR(m.getScaledInertiaAxes().GetColumnLength(int64(k)), invariant ? raw[k] / raw[0] : raw[k],
                        1e-9 * (invariant ? 1 : raw[k]));
        }
    }
    EXPECT_TRUE(CMoment(2).getScaledInertiaVectors().empty());
}

// Each label's moments and map are those of a moment fed with the label's
// pixels; labels without pixels keep their initial values and give no
// warning. Label keys are padded to the digits of the label count minus
// one; wider labels are not cut. Pixel counts survive a reset, sums do not.
TEST(ObjectMoment, ForwardsToItsLabelsAndLaysOutTheirMaps)
{
    CObjectMoment objects(1000, 3), wide(250, 2), narrow(5, 2), none(0, 3), raw(2, 3);
    CMoment reference(3);
    for (const Point& p : kPlanar) objects(5, p.x, p.y, p.w), reference(1, p.x, p.y, p.w);
    for (int64 label : {7, 100, 249}) wide(label, 1, 1, 0);
    narrow(3, 1, 1, 0), narrow(3, 2, 2, 0), raw(1, 1, 1, 1);
    EXPECT_EQ(CaptureStandardError([&] { none.Compute(); objects.Compute(); }), kDeprecation);
    CaptureStandardError([&] { reference.Compute(); wide.Compute(); narrow.Compute(); });
    for (const auto& [key, getter, forward] : kScalars) EXPECT_EQ((objects.*forward)(5), (reference.*getter)()) << key;
    EXPECT_TRUE(objects.CenterOfMass(5).y == reference.CenterOfMass().y &&
                objects.getInertiaMoments(5) == reference.getInertiaMoments());
    EXPECT_TRUE(objects.getInertiaAxes(5) == reference.getInertiaAxes() &&
                objects.getTensorMatrix(5) == reference.getTensorMatrix() &&
                objects.getScaledInertiaAxes(5) == reference.getScaledInertiaAxes());
    EXPECT_TRUE(objects.getInertiaMoments(4) == std::vector<double>(3) && objects.getInertiaAxes(4) == TOLX::CSymmMatrix<double>(3));
    narrow.Reset();
    EXPECT_EQ(narrow.Mass(3), 0.0);
    narrow(3, 5, 5, 0), narrow(3, 6, 4, 0);
    CaptureStandardError([&] { narrow.Compute(); });
    EXPECT_EQ(KeysOf(none), (Keys{"dim", "status", "no. of objects"}));
    EXPECT_EQ(KeysOf(wide), (Keys{"dim", "status", "no. of objects", "object 07", "object 100", "object 249"}));
    const CValueMap map = objects, narrowMap = narrow;
    EXPECT_EQ(KeysOf(map), (Keys{"dim", "status", "no. of objects", "object 005"}));
    EXPECT_TRUE(map.Entry("dim")->Long() == 3 && map.Entry("status")->String() == "ok" &&
                map.Entry("no. of objects")->Long() == 1000 && narrowMap.Entry("dim")->Long() == 2);
    const CValueMap& object = map.Entry("object 005")->Map();
    const auto withLabelKeys = [](Keys keys) { return keys.insert(keys.end(), {"status", "pixel"}), keys; };
    ExpectMapOf(reference, object, withLabelKeys(kKeys3d));
    EXPECT_TRUE(object.Entry("status")->String() == "ok" && object.Entry("moments/m011")->Double() == 1 * 1 + 2 * 2 + 4 * 1.0);
    const CValueMap& three = narrowMap.Entry("object 3")->Map();
    EXPECT_EQ(KeysOf(three), withLabelKeys(kKeys2d));
    EXPECT_TRUE(three.Entry("pixel")->Long() == 4 && three.Entry("total_mass")->Double() == 2.0 &&
                three.Entry("center_of_mass/x")->Double() == 5.5);
    // A label with pixels that was never computed has no axes.
    ExpectBadSubscript([&] { (void)static_cast<CValueMap>(raw); });
}

// Chunks of an integer point set merged in any order give one pass's sums bit
// for bit (every sum an integer below 2^53), per label with the pixel counts;
// parts of another dimension or label count are refused.
TEST(Moment, MergedChunksEqualOnePass)
{
    std::mt19937 engine(7);
    std::uniform_int_distribution<int> coordinate(-1000, 1000), weight(1, 4);
    Points points(900);
    for (Point& p : points) p = {double(weight(engine)), double(coordinate(engine)), double(coordinate(engine)), double(coordinate(engine))};
    const auto labelled = [&](std::size_t begin, std::size_t end) {
        CObjectMoment objects(3, 3);
        for (std::size_t i = begin; i < end; ++i) objects(int64(i % 3), points[i].x, points[i].y, points[i].z);
        return objects;
    };
    const std::size_t cuts[] = {0, 100, 450, 451, 900};
    for (const std::array<int, 4>& order : {std::array<int, 4>{0, 1, 2, 3}, {3, 2, 1, 0}, {2, 0, 3, 1}})
    {
        CMoment merged(3);
        CObjectMoment mergedObjects(3, 3), whole = labelled(0, points.size());
        for (const int c : order)
            merged.Merge(Fed(3, Points(points.begin() + cuts[c], points.begin() + cuts[c + 1]))),
                mergedObjects.Merge(labelled(cuts[c], cuts[c + 1]));
        for (const auto& [key, getter, forward] : kScalars) EXPECT_EQ((merged.*getter)(), (Fed(3, points).*getter)()) << key;
        CaptureStandardError([&] { whole.Compute(), mergedObjects.Compute(); });
        EXPECT_TRUE(CValueMap(mergedObjects).Equal(CValueMap(whole))); // every label's sums, results and pixels
    }
    const std::tuple<std::function<void()>, std::string, std::string, int> refused[] = {
        {[] { CMoment(2).Merge(CMoment(3)); }, "cannot merge moments of dimension 3 into dimension 2", "TOLX::CMoment::Merge", 330},
        {[] { CObjectMoment(2, 3).Merge(CObjectMoment(2, 2)); }, "cannot merge moments of dimension 2 into dimension 3",
         "TOLX::CObjectMoment::Merge", 420},
        {[] { CObjectMoment(2, 3).Merge(CObjectMoment(5, 3)); }, "cannot merge moments of 5 labels into 2 labels",
         "TOLX::CObjectMoment::Merge", 422}};
    for (const auto& [action, message, function, line] : refused) ExpectThrowAt(action, message, function, kSource, line);
}
