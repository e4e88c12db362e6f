#include "Measures.h"

#include "Numeric/Moment.h"

#include <algorithm>
#include <cmath>

namespace vorn
{
namespace
{
constexpr double NaN = std::numeric_limits<double>::quiet_NaN();

std::array<double, 3> Normalised(std::array<double, 3> v)
{
    const double length = std::sqrt(v[0] * v[0] + v[1] * v[1] + v[2] * v[2]);
    if (!(length > 0))
        return {1, 0, 0}; // every direction is an eigenvector
    // The sign of an eigenvector is free; the first non-zero component is
    // made positive so that the same object always reports the same axis.
    const double first = v[0] != 0 ? v[0] : v[1] != 0 ? v[1] : v[2];
    for (double& c : v)
        c /= first < 0 ? -length : length;
    return v;
}

// The eigenvalues of the symmetric matrix (xx, xy, xz, yy, yz, zz), largest
// first.
std::array<double, 3> SymmetricEigenvalues(const std::array<double, 6>& m)
{
    const double xx = m[0], xy = m[1], xz = m[2], yy = m[3], yz = m[4], zz = m[5];
    const double off = xy * xy + xz * xz + yz * yz;
    std::array<double, 3> values{xx, yy, zz};
    if (off > 0)
    {
        // The trigonometric solution of the characteristic cubic.
        const double q = (xx + yy + zz) / 3;
        const double p = std::sqrt(((xx - q) * (xx - q) + (yy - q) * (yy - q) + (zz - q) * (zz - q) + 2 * off) / 6);
        const double a = (xx - q) / p, b = xy / p, c = xz / p, d = (yy - q) / p, e = yz / p, f = (zz - q) / p;
        const double half = (a * (d * f - e * e) - b * (b * f - e * c) + c * (b * e - d * c)) / 2;
        const double angle = std::acos(std::clamp(half, -1.0, 1.0)) / 3;
        values[0] = q + 2 * p * std::cos(angle);
        values[2] = q + 2 * p * std::cos(angle + 2 * M_PI / 3);
        values[1] = 3 * q - values[0] - values[2];
    }
    std::sort(values.begin(), values.end(), [](double u, double v) { return u > v; });
    return values;
}

// A unit eigenvector of the symmetric matrix for one of its eigenvalues.
std::array<double, 3> EigenvectorOf(const std::array<double, 6>& m, double eigenvalue)
{
    const std::array<double, 3> rows[3] = {{m[0] - eigenvalue, m[1], m[2]},
                                           {m[1], m[3] - eigenvalue, m[4]},
                                           {m[2], m[4], m[5] - eigenvalue}};
    // The vector orthogonal to two rows of m - eigenvalue I; the pair whose
    // cross product is longest is the best conditioned.
    std::array<double, 3> best{};
    double bestLength = 0;
    for (int i = 0; i < 3; ++i)
    {
        const auto& u = rows[i];
        const auto& v = rows[(i + 1) % 3];
        const std::array<double, 3> cross{u[1] * v[2] - u[2] * v[1], u[2] * v[0] - u[0] * v[2], u[0] * v[1] - u[1] * v[0]};
        const double length = cross[0] * cross[0] + cross[1] * cross[1] + cross[2] * cross[2];
        if (length > bestLength)
            best = cross, bestLength = length;
    }
    return Normalised(best);
}
} // namespace

MomentSums SumsOf(const TOLX::CObjectMoment& moments, std::int64_t index)
{
    return {moments.getM000(index), moments.getM100(index), moments.getM010(index), moments.getM001(index),
            moments.getM200(index), moments.getM020(index), moments.getM002(index), moments.getM110(index),
            moments.getM101(index), moments.getM011(index)};
}

ObjectMeasures Measure(const AnalysisReport& report, std::size_t i, const Calibration& calibration)
{
    return Measure(SumsOf(*report.moments, std::int64_t(i + 1)), report.objects[i].hull, report.dimension, calibration);
}

ObjectMeasures Measure(const MomentSums& sums, const HullReport& hull, int dimension, const Calibration& calibration)
{
    const bool space = dimension == 3;
    const double n = sums.m000;
    const double s[3] = {calibration.spacing[0], calibration.spacing[1], space ? calibration.spacing[2] : 1.0};
    const double centre[3] = {sums.m100 / n, sums.m010 / n, sums.m001 / n};
    // Central second moments, divided by the pixel count.
    const auto central = [&](double m, double a, double b) { return (m - a * b * n) / n; };
    const double cxx = central(sums.m200, centre[0], centre[0]);
    const double cyy = central(sums.m020, centre[1], centre[1]);
    const double cxy = central(sums.m110, centre[0], centre[1]);
    const double czz = space ? central(sums.m002, centre[2], centre[2]) : 0;
    const double cxz = space ? central(sums.m101, centre[0], centre[2]) : 0;
    const double cyz = space ? central(sums.m011, centre[1], centre[2]) : 0;
    const std::array<double, 6> covariance{cxx * s[0] * s[0], cxy * s[0] * s[1], cxz * s[0] * s[2],
                                           cyy * s[1] * s[1], cyz * s[1] * s[2], czz * s[2] * s[2]};

    ObjectMeasures measures;
    measures.pixels = std::int64_t(n);
    measures.volume = n * s[0] * s[1] * s[2];
    for (int k = 0; k < 3; ++k)
        measures.centroid[k] = space || k < 2 ? centre[k] * s[k] : 0.0;
    std::array<double, 3> c{};
    if (space)
        c = SymmetricEigenvalues(covariance);
    else
    {
        const double mean = (covariance[0] + covariance[3]) / 2, half = (covariance[0] - covariance[3]) / 2;
        const double radius = std::hypot(half, covariance[1]);
        c = {mean + radius, mean - radius, 0};
    }
    measures.mainAxis = EigenvectorOf(covariance, c[0]);
    if (space)
    {
        const double trace = c[0] + c[1] + c[2];
        measures.inertia = {trace - c[2], trace - c[1], trace - c[0]};
        const auto& l = measures.inertia;
        measures.majorAxis = std::sqrt(10 * std::max(0.0, l[0] + l[1] - l[2]));
        measures.minorAxis = std::sqrt(10 * std::max(0.0, -l[0] + l[1] + l[2]));
        measures.eccentricity = NaN;
    }
    else
    {
        measures.inertia = {c[0], c[1], 0};
        measures.majorAxis = 4 * std::sqrt(std::max(0.0, c[0]));
        measures.minorAxis = 4 * std::sqrt(std::max(0.0, c[1]));
        measures.eccentricity = c[0] > 0 ? std::sqrt(std::max(0.0, 1 - c[1] / c[0])) : 0.0;
    }
    measures.convexVolume = hull.Available() ? hull.convexPixels * s[0] * s[1] * s[2] : NaN;
    measures.solidity = hull.Available() ? n / hull.convexPixels : NaN;
    measures.paintedSolidity = hull.Available() && hull.paintedPixels > 0 ? n / double(hull.paintedPixels) : NaN;
    return measures;
}
} // namespace vorn
