#pragma once

#include "Numeric/ContainerChecks.h"
#include "Numeric/Export.h"
#include "Numeric/SymmMatrix.h"
#include "zeblib2core/Throw.h"
#include "zeblib2core/Types.h"
#include "zeblib2core/Value.h"

#include <cstddef>
#include <vector>

namespace TOLX
{
namespace Impl
{
// Returns the double v through an empty asm statement that claims to change
// it. The per-point update below is compiled by the host, with the host's
// flags; every product passes through here, so that it stays a rounded
// product of its own in every host build: a compiler cannot fuse a product it
// does not see into the following addition (the fused multiply-add that
// GCC's default and Clang's -ffp-contract=on produce with -mfma or
// -march=native), so the sums keep their bits. It also keeps the optimiser
// from pairing the updates of neighbouring sums into vector loads and
// stores, which ran 2.5 times slower than scalar code (GCC 12, -O3).
inline double Rounded(double v) noexcept
{
#if defined(__x86_64__)
    __asm__("" : "+x"(v));
#elif defined(__aarch64__)
    __asm__("" : "+w"(v));
#else
    __asm__("" : "+m"(v));
#endif
    return v;
}

// The weight of a pixel of CObjectMoment: 1, whose products are the
// coordinates themselves (1 * x is exactly x), so they need no instruction.
struct CUnitWeight
{
    static constexpr double value = 1.0;
};

inline double Weight(double w) noexcept
{
    return w;
}

inline double Weight(CUnitWeight) noexcept
{
    return CUnitWeight::value;
}

inline double WeightTimes(double w, double x) noexcept
{
    return Rounded(w * x);
}

inline double WeightTimes(CUnitWeight, double x) noexcept
{
    return x;
}
} // namespace Impl

// Geometric moments up to second order of one weighted point set in 2-D or
// 3-D. Points are fed one at a time; the computations derive the centre of
// mass, the central second moments, a covariance or inertia tensor with its
// principal axes, and in 2-D the excentricity. Moment sums are named mpqr
// after the exponents of x, y and z.
//
// The dimension checks are defined here in the header: host applications know
// these throw sites by this file.
class VORN_API CMoment
{
public:
    explicit CMoment(int64 dimension) : m_dimension(dimension)
    {
        if (!IsValidDimension(dimension))
            TOLX_THROW("TOLX::CMoment::CMoment", 72, "dimension not valid, only 2 and 3 supported");
        Reset();
    }
    CMoment(const CMoment& other) = default;
    CMoment& operator=(const CMoment& other) = default;
    ~CMoment();

    // Changes nothing but the dimension: no reset, no recomputation.
    void SetDimension(int64 dimension)
    {
        if (!IsValidDimension(dimension))
            TOLX_THROW("TOLX::CMoment::SetDimension", 78, "dimension not valid, only 2 and 3 supported");
        m_dimension = dimension;
    }
    // Read only by getInertiaMoments() and getScaledInertiaAxes().
    void SetScaleInvariance(bool on) { m_scaleInvariance = on; }

    // Adds one point of weight w at (x, y, z); in 2-D callers pass z = 0.
    // Weights are not validated. The products are formed as (w * x) * y and
    // so on, which fixes the rounding of every sum, in any host build.
    void operator()(double w, double x, double y, double z) noexcept { Accumulate(w, x, y, z); }

    // Starts a new point set. The derived values (centre of mass, normed
    // moments, excentricity, axes) and both flags stay as they were.
    void Reset();

    // Each throws "empty space" when the mass is not above one machine epsilon.
    void ComputeInertia();
    void ComputeCovariance();
    // Deprecated mixture of both conventions, kept for old callers; warns on
    // every call and leaves the inertia mode as it was.
    void Compute();

    double Mass() const { return m_m000; }
    double MomentX() const { return m_m100; }
    double MomentY() const { return m_m010; }
    double MomentZ() const { return m_m001; }
    double getM000() const { return m_m000; }
    double getM100() const { return m_m100; }
    double getM010() const { return m_m010; }
    double getM001() const { return m_m001; }
    double getM200() const { return m_m200; }
    double getM020() const { return m_m020; }
    double getM002() const { return m_m002; }
    double getM110() const { return m_m110; }
    double getM101() const { return m_m101; }
    double getM011() const { return m_m011; }

    double CenterOfMassX() const { return m_centerX; }
    double CenterOfMassY() const { return m_centerY; }
    double CenterOfMassZ() const { return m_centerZ; }
    // Halves round away from zero; NaN and values beyond the int64 range saturate.
    CTriple<int64> CenterOfMass() const;

    double getExcentricity() const { return m_excentricity; }
    double getNormM200() const { return m_norm200; }
    double getNormM020() const { return m_norm020; }
    double getNormM002() const { return m_norm002; }
    double getNormM110() const { return m_norm110; }
    double getNormM101() const { return m_norm101; }
    double getNormM011() const { return m_norm011; }

    // The ordered eigenvalues, or with scale invariance (1, e1/e0, e2/e0).
    std::vector<double> getInertiaMoments() const;
    std::vector<CTriple<double>> getInertiaVectors() const { return m_inertiaVectors; }
    // Each axis times its raw eigenvalue, whatever the scale-invariance flag.
    std::vector<CTriple<double>> getScaledInertiaVectors() const;
    CSymmMatrix<double> getInertiaAxes() const { return m_eigenvectors; }
    // Axis column i rescaled to length getInertiaMoments()[i].
    CSymmMatrix<double> getScaledInertiaAxes() const;
    CSymmMatrix<double> getTensorMatrix() const { return m_tensor; }
    // Inertia mode: axis 2, the axis of least inertia. Covariance mode: axis 0,
    // the direction of largest variance.
    CTriple<double> getMainInertiaAxis() const;

    operator CValueMap() const;

protected:
    // Sorts the eigenvalues into descending order with their eigenvector
    // columns and builds the axes.
    void OrderInertia();

private:
    friend class CObjectMoment;

    static bool IsValidDimension(int64 dimension) { return dimension == 2 || dimension == 3; }
    // The one per-point update, for a weight or for CObjectMoment's unit
    // weight.
    template <class Weight>
    void Accumulate(Weight w, double x, double y, double z) noexcept
    {
        const double wx = Impl::WeightTimes(w, x);
        const double wy = Impl::WeightTimes(w, y);
        const double wz = Impl::WeightTimes(w, z);
        m_m000 += Impl::Weight(w);
        m_m100 += wx;
        m_m010 += wy;
        m_m001 += wz;
        m_m200 += Impl::Rounded(wx * x);
        m_m020 += Impl::Rounded(wy * y);
        m_m002 += Impl::Rounded(wz * z);
        m_m110 += Impl::Rounded(wx * y);
        m_m101 += Impl::Rounded(wx * z);
        m_m011 += Impl::Rounded(wy * z);
    }
    void SetTensor(double xx, double xy, double xz, double yy, double yz, double zz);
    void SetCenterOfMass();
    void Decompose();
    void FillValueMap(CValueMap& map) const;

    double m_m000 = 0;
    double m_m100 = 0;
    double m_m010 = 0;
    double m_m001 = 0;
    double m_centerX = 0;
    double m_centerY = 0;
    double m_centerZ = 0;
    double m_m200 = 0;
    double m_m020 = 0;
    double m_m002 = 0;
    double m_m110 = 0;
    double m_m101 = 0;
    double m_m011 = 0;
    double m_excentricity = 0;
    bool m_scaleInvariance = false;
    bool m_inertiaMode = false;
    int64 m_dimension;
    double m_norm200 = 0;
    double m_norm020 = 0;
    double m_norm002 = 0;
    double m_norm110 = 0;
    double m_norm101 = 0;
    double m_norm011 = 0;
    CSymmMatrix<double> m_tensor{3};
    std::vector<double> m_eigenvalues = std::vector<double>(3, 0.0);
    CSymmMatrix<double> m_eigenvectors{3};
    std::vector<CTriple<double>> m_inertiaVectors;
};

// One moment accumulator per object label of a labelled image (labels
// 0 .. count - 1), so that a single pass over the pixels feeds every object.
// Every pixel weighs 1; a pixel count per label is kept beside the sums.
class VORN_API CObjectMoment
{
public:
    CObjectMoment(int64 labelCount, int64 dimension);
    CObjectMoment(const CObjectMoment& other) = default;
    CObjectMoment& operator=(const CObjectMoment& other) = default;
    ~CObjectMoment();

    void SetDimension(int64 dimension)
    {
        if (!CMoment::IsValidDimension(dimension))
            TOLX_THROW("TOLX::CObjectMoment::SetDimension", 258, "dimension not valid, only 2 and 3 supported");
        m_dimension = dimension;
        for (CMoment& moment : m_moments)
            moment.SetDimension(dimension);
    }

    // Adds one pixel of weight 1 to the label. The label test is signed and
    // one-sided, like every label test of this class: a negative label gets
    // past it and then fails the container's own subscript check.
    void operator()(int64 label, double x, double y, double z)
    {
        if (label >= static_cast<int64>(m_moments.size()))
            TOLX_THROW("TOLX::CObjectMoment::operator ()", 304, "Label exceeds size");
        Impl::CheckedAt(m_moments, static_cast<std::size_t>(label)).Accumulate(Impl::CUnitWeight{}, x, y, z);
        // Both vectors have one element per label, so the index is valid here too.
        ++m_pixelCounts[static_cast<std::size_t>(label)];
    }

    // Resets every label's sums; the pixel counts keep counting across resets.
    void Reset();
    // Runs the deprecated CMoment::Compute() on every label that has mass,
    // in ascending label order; labels without pixels are skipped.
    void Compute();

    double Mass(int64 label) const { return Forward(&CMoment::Mass, label); }
    double MomentX(int64 label) const { return Forward(&CMoment::MomentX, label); }
    double MomentY(int64 label) const { return Forward(&CMoment::MomentY, label); }
    double MomentZ(int64 label) const { return Forward(&CMoment::MomentZ, label); }
    double getM000(int64 label) const { return Forward(&CMoment::getM000, label); }
    double getM100(int64 label) const { return Forward(&CMoment::getM100, label); }
    double getM010(int64 label) const { return Forward(&CMoment::getM010, label); }
    double getM001(int64 label) const { return Forward(&CMoment::getM001, label); }
    double getM200(int64 label) const { return Forward(&CMoment::getM200, label); }
    double getM020(int64 label) const { return Forward(&CMoment::getM020, label); }
    double getM002(int64 label) const { return Forward(&CMoment::getM002, label); }
    double getM110(int64 label) const { return Forward(&CMoment::getM110, label); }
    double getM101(int64 label) const { return Forward(&CMoment::getM101, label); }
    double getM011(int64 label) const { return Forward(&CMoment::getM011, label); }
    double CenterOfMassX(int64 label) const { return Forward(&CMoment::CenterOfMassX, label); }
    double CenterOfMassY(int64 label) const { return Forward(&CMoment::CenterOfMassY, label); }
    double CenterOfMassZ(int64 label) const { return Forward(&CMoment::CenterOfMassZ, label); }
    CTriple<int64> CenterOfMass(int64 label) const { return Forward(&CMoment::CenterOfMass, label); }
    double getExcentricity(int64 label) const { return Forward(&CMoment::getExcentricity, label); }
    double getNormM200(int64 label) const { return Forward(&CMoment::getNormM200, label); }
    double getNormM020(int64 label) const { return Forward(&CMoment::getNormM020, label); }
    double getNormM002(int64 label) const { return Forward(&CMoment::getNormM002, label); }
    double getNormM110(int64 label) const { return Forward(&CMoment::getNormM110, label); }
    double getNormM101(int64 label) const { return Forward(&CMoment::getNormM101, label); }
    double getNormM011(int64 label) const { return Forward(&CMoment::getNormM011, label); }
    std::vector<double> getInertiaMoments(int64 label) const { return Forward(&CMoment::getInertiaMoments, label); }
    CSymmMatrix<double> getInertiaAxes(int64 label) const { return Forward(&CMoment::getInertiaAxes, label); }
    CSymmMatrix<double> getTensorMatrix(int64 label) const { return Forward(&CMoment::getTensorMatrix, label); }
    CSymmMatrix<double> getScaledInertiaAxes(int64 label) const
    {
        return Forward(&CMoment::getScaledInertiaAxes, label);
    }

    // Labels that never received a pixel are left out; a label with pixels
    // must have been computed.
    operator CValueMap() const;

protected:
    bool checkLabel(int64 label) const
    {
        if (label >= static_cast<int64>(m_moments.size()))
            TOLX_THROW("TOLX::CObjectMoment::checkLabel", 558, "Label exceeds size");
        return true;
    }

private:
    // Every per-label query: the label test, then the same-named CMoment getter.
    template <class Result>
    Result Forward(Result (CMoment::*getter)() const, int64 label) const
    {
        checkLabel(label);
        return (Impl::CheckedAt(m_moments, static_cast<std::size_t>(label)).*getter)();
    }

    int64 m_dimension;
    std::vector<CMoment> m_moments;
    std::vector<int64> m_pixelCounts;
};
} // namespace TOLX
