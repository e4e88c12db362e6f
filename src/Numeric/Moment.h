#pragma once

#include "Numeric/Export.h"
#include "Numeric/SymmMatrix.h"
#include "zeblib2core/Throw.h"
#include "zeblib2core/Types.h"
#include "zeblib2core/Value.h"

#include <cstddef>
#include <cstdint>
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

// The ten raw sums of one point set, mpqr = sum of w * x^p * y^q * z^r, in
// the order the update below writes them: each product is used as soon as it
// is formed, and the sums of a label are written front to back.
struct StMomentSums
{
    double m000 = 0;
    double m100 = 0;
    double m200 = 0;
    double m110 = 0;
    double m101 = 0;
    double m010 = 0;
    double m020 = 0;
    double m011 = 0;
    double m001 = 0;
    double m002 = 0;

    // The one per-point update, for a weight or for CObjectMoment's unit
    // weight. The products are formed as (w * x) * y and so on, which fixes
    // the rounding of every sum, in any host build; each sum takes one
    // addition, so the order of the statements changes no bit. Weights are
    // not validated.
    template <class Weight>
    void Add(Weight w, double x, double y, double z) noexcept
    {
        m000 += Impl::Weight(w);
        const double wx = WeightTimes(w, x);
        m100 += wx;
        m200 += Rounded(wx * x);
        m110 += Rounded(wx * y);
        m101 += Rounded(wx * z);
        const double wy = WeightTimes(w, y);
        m010 += wy;
        m020 += Rounded(wy * y);
        m011 += Rounded(wy * z);
        const double wz = WeightTimes(w, z);
        m001 += wz;
        m002 += Rounded(wz * z);
    }

    // Adds another point set's sums, one addition each: see CMoment::Merge.
    void Merge(const StMomentSums& other) noexcept;
};

// What the computations leave for one label of CObjectMoment besides its
// sums, in flat arrays: no matrices, nothing on the heap.
struct StMomentResults
{
    double center[3] = {};
    double excentricity = 0;
    double norm[6] = {};         // normed moments 200, 020, 002, 110, 101, 011
    double tensor[6] = {};       // upper triangle, row by row: xx, xy, xz, yy, yz, zz
    double eigenvalues[3] = {};  // ordered
    double eigenvectors[9] = {}; // row-major, the axes in the columns
    // Set by a reset and before the first computation: the tensor, the
    // eigenvalues and the eigenvectors then read as the identity, zeros and
    // the identity; the stored ones only still give the axes.
    bool decompositionCleared = true;
    // 0 before the first computation, else the dimension it ran in: the axes
    // are the stored eigenvector columns, their z component 0 below 3-D.
    std::int8_t axesDimension = 0;
};

// The checks of this header. The library raises them from here, the file
// that hosts know these throw sites by.
enum class EnMomentCheck
{
    Dimension,
    SetDimension,
    ObjectSetDimension,
    PixelLabel,
    QueryLabel
};

[[noreturn]] VORN_API void ThrowMomentCheck(EnMomentCheck check);

// Only ThrowMomentCheck calls it, with the check's record from the table.
[[noreturn]] inline void RaiseFromMomentHeader(const StThrowSite& site)
{
    TOLX_THROW_SITE(site);
}
} // namespace Impl

// Geometric moments up to second order of one weighted point set in 2-D or
// 3-D. Points are fed one at a time; the computations derive the centre of
// mass, the central second moments, a covariance or inertia tensor with its
// principal axes, and in 2-D the excentricity. Moment sums are named mpqr
// after the exponents of x, y and z.
class VORN_API CMoment
{
public:
    explicit CMoment(int64 dimension) : m_dimension(dimension)
    {
        if (!IsValidDimension(dimension))
            Impl::ThrowMomentCheck(Impl::EnMomentCheck::Dimension);
        Reset();
    }
    CMoment(const CMoment& other) = default;
    CMoment& operator=(const CMoment& other) = default;
    ~CMoment();

    // Changes nothing but the dimension: no reset, no recomputation.
    void SetDimension(int64 dimension)
    {
        if (!IsValidDimension(dimension))
            Impl::ThrowMomentCheck(Impl::EnMomentCheck::SetDimension);
        m_dimension = dimension;
    }
    // Read only by getInertiaMoments() and getScaledInertiaAxes().
    void SetScaleInvariance(bool on) { m_scaleInvariance = on; }

    // Adds one point of weight w at (x, y, z); in 2-D callers pass z = 0.
    void operator()(double w, double x, double y, double z) noexcept { m_sums.Add(w, x, y, z); }

    // Adds the raw sums of `other`, the moments of another part of the same
    // point set (a chunk of an image, say), as if its points had been fed
    // here: each of the ten sums takes one addition. Derived values stay as
    // they were until the next computation, as after feeding points; flags
    // and the dimension are this object's. The dimensions must agree, else
    // "cannot merge moments of dimension %1 into dimension %2".
    //
    // Exactness: with unit weights (or integer ones) and integer
    // coordinates every sum is an integer, held exactly while it stays below
    // 2^53 in magnitude; merged sums are then bit-identical to one pass over
    // all points, whatever the chunks and the merge order. The largest sums
    // are those of squares: n pixels with coordinates below 2^k stay below
    // n 4^k, so every object of a volume of up to 1024^3 (n <= 2^30, k = 10)
    // qualifies, and so does any object of up to 2^23 pixels in a volume of up
    // to 2^15 on a side. Beyond that, or with fractional weights or
    // coordinates, a merge rounds as any other order of summation does.
    void Merge(const CMoment& other);

    // Starts a new point set. The derived values (centre of mass, normed
    // moments, excentricity, axes) and both flags stay as they were.
    void Reset();

    // Each throws "empty space" when the mass is not above one machine epsilon.
    void ComputeInertia();
    void ComputeCovariance();
    // Deprecated mixture of both conventions, kept for old callers; warns on
    // every call and leaves the inertia mode as it was.
    void Compute();

    double Mass() const { return m_sums.m000; }
    double MomentX() const { return m_sums.m100; }
    double MomentY() const { return m_sums.m010; }
    double MomentZ() const { return m_sums.m001; }
    double getM000() const { return m_sums.m000; }
    double getM100() const { return m_sums.m100; }
    double getM010() const { return m_sums.m010; }
    double getM001() const { return m_sums.m001; }
    double getM200() const { return m_sums.m200; }
    double getM020() const { return m_sums.m020; }
    double getM002() const { return m_sums.m002; }
    double getM110() const { return m_sums.m110; }
    double getM101() const { return m_sums.m101; }
    double getM011() const { return m_sums.m011; }

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
    void SetTensor(double xx, double xy, double xz, double yy, double yz, double zz);
    void SetCenterOfMass();
    void Decompose();
    void FillValueMap(CValueMap& map) const;

    Impl::StMomentSums m_sums;
    double m_centerX = 0;
    double m_centerY = 0;
    double m_centerZ = 0;
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

// The moments of every object label of a labelled image (labels 0 .. count -
// 1), so that a single pass over the pixels feeds every object. Every pixel
// weighs 1; a pixel count per label is kept beside the sums. Each label
// answers exactly as a CMoment of its own would; its sums and results are
// kept in flat per-label arrays, without the heap matrices of a CMoment.
//
// The label test is signed and one-sided, in the pixel update and in every
// query: a label beyond the last fails with "Label exceeds size", a negative
// one gets past it and fails the container's own subscript check.
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
            Impl::ThrowMomentCheck(Impl::EnMomentCheck::ObjectSetDimension);
        m_dimension = dimension;
    }

    // Adds one pixel of weight 1 to the label.
    void operator()(int64 label, double x, double y, double z)
    {
        const std::size_t index = Index(label, Impl::EnMomentCheck::PixelLabel);
        m_sums[index].Add(Impl::CUnitWeight{}, x, y, z);
        ++m_pixelCounts[index];
    }

    // Adds, label by label, the sums and pixel counts of `other`, the
    // moments of another part of the same image (see CMoment::Merge for when
    // the result is bit-identical to one pass). Label counts and dimensions
    // must agree, else "cannot merge moments of %1 labels into %2 labels" or
    // the dimension message of CMoment::Merge.
    void Merge(const CObjectMoment& other);

    // Resets every label's sums; the pixel counts keep counting across resets.
    void Reset();
    // Runs the deprecated CMoment::Compute() on every label that has mass,
    // in ascending label order; labels without pixels are skipped.
    void Compute();

    double Mass(int64 label) const { return Sums(label).m000; }
    double MomentX(int64 label) const { return Sums(label).m100; }
    double MomentY(int64 label) const { return Sums(label).m010; }
    double MomentZ(int64 label) const { return Sums(label).m001; }
    double getM000(int64 label) const { return Sums(label).m000; }
    double getM100(int64 label) const { return Sums(label).m100; }
    double getM010(int64 label) const { return Sums(label).m010; }
    double getM001(int64 label) const { return Sums(label).m001; }
    double getM200(int64 label) const { return Sums(label).m200; }
    double getM020(int64 label) const { return Sums(label).m020; }
    double getM002(int64 label) const { return Sums(label).m002; }
    double getM110(int64 label) const { return Sums(label).m110; }
    double getM101(int64 label) const { return Sums(label).m101; }
    double getM011(int64 label) const { return Sums(label).m011; }
    double CenterOfMassX(int64 label) const { return Results(label).center[0]; }
    double CenterOfMassY(int64 label) const { return Results(label).center[1]; }
    double CenterOfMassZ(int64 label) const { return Results(label).center[2]; }
    CTriple<int64> CenterOfMass(int64 label) const;
    double getExcentricity(int64 label) const { return Results(label).excentricity; }
    double getNormM200(int64 label) const { return Results(label).norm[0]; }
    double getNormM020(int64 label) const { return Results(label).norm[1]; }
    double getNormM002(int64 label) const { return Results(label).norm[2]; }
    double getNormM110(int64 label) const { return Results(label).norm[3]; }
    double getNormM101(int64 label) const { return Results(label).norm[4]; }
    double getNormM011(int64 label) const { return Results(label).norm[5]; }
    std::vector<double> getInertiaMoments(int64 label) const;
    CSymmMatrix<double> getInertiaAxes(int64 label) const;
    CSymmMatrix<double> getTensorMatrix(int64 label) const;
    CSymmMatrix<double> getScaledInertiaAxes(int64 label) const;

    // Labels that never received a pixel are left out; a label with pixels
    // must have been computed.
    operator CValueMap() const;

protected:
    bool checkLabel(int64 label) const
    {
        if (label >= static_cast<int64>(m_sums.size()))
            Impl::ThrowMomentCheck(Impl::EnMomentCheck::QueryLabel);
        return true;
    }

private:
    static std::size_t LabelCount(int64 labelCount, int64 dimension);
    // One unsigned test covers both ways a label can fail.
    std::size_t Index(int64 label, Impl::EnMomentCheck check) const
    {
        const auto index = static_cast<std::size_t>(label);
        if (index >= m_sums.size())
            RejectLabel(label, check);
        return index;
    }
    [[noreturn]] void RejectLabel(int64 label, Impl::EnMomentCheck check) const;
    const Impl::StMomentSums& Sums(int64 label) const { return m_sums[Index(label, Impl::EnMomentCheck::QueryLabel)]; }
    const Impl::StMomentResults& Results(int64 label) const
    {
        return m_results[Index(label, Impl::EnMomentCheck::QueryLabel)];
    }
    // The label as the CMoment it stands for, and back after a computation.
    CMoment Restore(std::size_t index) const;
    void Keep(std::size_t index, const CMoment& moment);

    int64 m_dimension;
    std::vector<Impl::StMomentSums> m_sums;
    std::vector<int64> m_pixelCounts;
    std::vector<Impl::StMomentResults> m_results;
};
} // namespace TOLX
