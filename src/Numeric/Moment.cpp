#include "Numeric/Moment.h"

#include "Numeric/ContainerChecks.h"
#include "Numeric/MomentSites.h"
#include "zeblib2core/String.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <iostream>
#include <limits>
#include <memory>
#include <string>
#include <utility>

namespace TOLX
{
namespace
{
// The double machine epsilon: the mass below which a point set counts as
// empty, and the convergence bound of the eigen solver.
constexpr double eps = 2.220446049250313e-16;

// Rounds halves away from zero and saturates. A value of exactly 2^63 passes
// the upper test and, converted by the platform the results were established
// on, gives the integer-indefinite value (the smallest int64); that value is
// kept, without the undefined conversion.
int64 RoundToInt64(double c)
{
    const double r = c < 0 ? std::ceil(c - 0.5) : std::floor(c + 0.5);
    if (std::isnan(r) || r < -9.223372036854776e18)
        return std::numeric_limits<int64>::min();
    if (r > 9.223372036854776e18)
        return std::numeric_limits<int64>::max();
    if (r == 9.223372036854776e18)
        return std::numeric_limits<int64>::min();
    return static_cast<int64>(r);
}

CTriple<int64> RoundedCenter(double x, double y, double z)
{
    return CTriple<int64>(RoundToInt64(x), RoundToInt64(y), RoundToInt64(z));
}
} // namespace

namespace Impl
{
void ThrowMomentCheck(EnMomentCheck check)
{
    RaiseFromMomentHeader(MomentSites::kHeaderChecks[static_cast<int>(check)]);
}
} // namespace Impl

CMoment::~CMoment() = default;

void CMoment::Reset()
{
    m_sums = Impl::StMomentSums();
    m_tensor = CSymmMatrix<double>(3);
    m_eigenvalues.assign(3, 0.0);
    m_eigenvectors = CSymmMatrix<double>(3);
}

void CMoment::SetCenterOfMass()
{
    m_centerX = m_sums.m100 / m_sums.m000;
    m_centerY = m_sums.m010 / m_sums.m000;
    m_centerZ = m_sums.m001 / m_sums.m000;
}

void CMoment::SetTensor(double xx, double xy, double xz, double yy, double yz, double zz)
{
    m_tensor(0, 0) = xx;
    m_tensor(0, 1) = m_tensor(1, 0) = xy;
    m_tensor(0, 2) = m_tensor(2, 0) = xz;
    m_tensor(1, 1) = yy;
    m_tensor(1, 2) = m_tensor(2, 1) = yz;
    m_tensor(2, 2) = zz;
}

// The excentricity comes from the raw, uncentred sums on purpose; results
// that callers compare against depend on it.
void CMoment::Decompose()
{
    m_tensor.SolveEigenProblem(m_eigenvectors, m_eigenvalues, eps);
    if (m_dimension == 2)
    {
        const double a = m_sums.m200 + m_sums.m020;
        const double r = std::sqrt(4 * m_sums.m110 * m_sums.m110 + (m_sums.m200 - m_sums.m020) * (m_sums.m200 - m_sums.m020));
        m_excentricity = (a + r) / (a - r);
    }
    OrderInertia();
}

void Impl::StMomentSums::Merge(const StMomentSums& other) noexcept
{
    m000 += other.m000;
    m100 += other.m100;
    m200 += other.m200;
    m110 += other.m110;
    m101 += other.m101;
    m010 += other.m010;
    m020 += other.m020;
    m011 += other.m011;
    m001 += other.m001;
    m002 += other.m002;
}

void CMoment::Merge(const CMoment& other)
{
    if (other.m_dimension != m_dimension)
        TOLX_THROW_SITE(Impl::MomentSites::kMergeDimension, other.m_dimension, m_dimension);
    m_sums.Merge(other.m_sums);
}

// Central sums, not divided by the mass.
void CMoment::ComputeInertia()
{
    m_inertiaMode = true;
    if (m_sums.m000 <= eps)
        TOLX_THROW_SITE(Impl::MomentSites::kEmptyInertia);
    SetCenterOfMass();
    m_norm200 = m_sums.m200 - m_sums.m100 * m_sums.m100 / m_sums.m000;
    m_norm020 = m_sums.m020 - m_sums.m010 * m_sums.m010 / m_sums.m000;
    m_norm002 = m_sums.m002 - m_sums.m001 * m_sums.m001 / m_sums.m000;
    m_norm110 = m_sums.m110 - m_sums.m010 * m_sums.m100 / m_sums.m000;
    m_norm101 = m_sums.m101 - m_sums.m001 * m_sums.m100 / m_sums.m000;
    m_norm011 = m_sums.m011 - m_sums.m001 * m_sums.m010 / m_sums.m000;
    if (m_dimension == 2)
        SetTensor(m_norm002 + m_norm020, -m_norm110, 0, m_norm002 + m_norm200, 0, 1.0);
    else
        SetTensor(m_norm002 + m_norm020, -m_norm110, -m_norm101, m_norm002 + m_norm200, -m_norm011,
                  m_norm020 + m_norm200);
    Decompose();
}

void CMoment::ComputeCovariance()
{
    m_inertiaMode = false;
    if (m_sums.m000 <= eps)
        TOLX_THROW_SITE(Impl::MomentSites::kEmptyCovariance);
    SetCenterOfMass();
    m_norm200 = m_sums.m200 / m_sums.m000 - m_centerX * m_centerX;
    m_norm020 = m_sums.m020 / m_sums.m000 - m_centerY * m_centerY;
    m_norm002 = m_sums.m002 / m_sums.m000 - m_centerZ * m_centerZ;
    m_norm110 = m_sums.m110 / m_sums.m000 - m_centerY * m_centerX;
    m_norm101 = m_sums.m101 / m_sums.m000 - m_centerZ * m_centerX;
    m_norm011 = m_sums.m011 / m_sums.m000 - m_centerZ * m_centerY;
    if (m_dimension == 2)
        SetTensor(m_norm200, m_norm110, 0, m_norm020, 0, 1.0);
    else
        SetTensor(m_norm200, m_norm110, m_norm101, m_norm020, m_norm011, m_norm002);
    Decompose();
}

// Old callers depend on this exact mixture: normed moments divided by the
// squared mass, the inertia layout in 3-D, but a covariance layout from the
// raw sums in 2-D.
void CMoment::Compute()
{
    std::cerr << "Warning: CMoment::Compute() is deprecated, use CMoment::ComputeCovariance() or "
                 "CMoment::ComputeInertia() instead!\n";
    if (m_sums.m000 <= eps)
        TOLX_THROW_SITE(Impl::MomentSites::kEmptyCompute);
    SetCenterOfMass();
    const double cx = m_centerX;
    const double cy = m_centerY;
    const double cz = m_centerZ;
    const double massSquared = m_sums.m000 * m_sums.m000;
    m_norm200 = ((m_sums.m200 - cx * 2 * m_sums.m100) + cx * cx * m_sums.m000) / massSquared;
    m_norm020 = ((m_sums.m020 - cy * 2 * m_sums.m010) + cy * cy * m_sums.m000) / massSquared;
    m_norm002 = ((m_sums.m002 - cz * 2 * m_sums.m001) + cz * cz * m_sums.m000) / massSquared;
    m_norm110 = (((m_sums.m110 - m_sums.m010 * cx) - cy * m_sums.m100) + cy * cx * m_sums.m000) / massSquared;
    m_norm101 = (((m_sums.m101 - m_sums.m001 * cx) - cz * m_sums.m100) + cz * cx * m_sums.m000) / massSquared;
    m_norm011 = (((m_sums.m011 - m_sums.m001 * cy) - cz * m_sums.m010) + cz * cy * m_sums.m000) / massSquared;
    if (m_dimension == 2)
    {
        const double xy = m_sums.m110 / m_sums.m000 - cx * cy;
        SetTensor(m_sums.m200 / m_sums.m000 - cx * cx, xy, 0, m_sums.m020 / m_sums.m000 - cy * cy, 0, 1.0);
    }
    else
    {
        SetTensor(m_norm002 + m_norm020, -m_norm110, -m_norm101, m_norm002 + m_norm200, -m_norm011,
                  m_norm020 + m_norm200);
    }
    Decompose();
}

// At most three neighbour swaps. The comparisons are strict, so equal
// eigenvalues keep the order the rotations left them in. In 2-D the filler
// eigenvalue at position 2 never moves.
void CMoment::OrderInertia()
{
    const auto swap = [this](std::size_t i, std::size_t j) {
        std::swap(m_eigenvalues[i], m_eigenvalues[j]);
        for (std::size_t row = 0; row < 3; ++row)
            std::swap(m_eigenvectors(row, i), m_eigenvectors(row, j));
    };
    if (m_eigenvalues[0] < m_eigenvalues[1])
        swap(0, 1);
    if (m_dimension > 2)
    {
        if (m_eigenvalues[1] < m_eigenvalues[2])
            swap(1, 2);
        if (m_eigenvalues[0] < m_eigenvalues[1])
            swap(0, 1);
    }
    m_inertiaVectors.resize(m_eigenvalues.size());
    for (std::size_t i = 0; i < m_inertiaVectors.size(); ++i)
        m_inertiaVectors[i] = CTriple<double>(m_eigenvectors(0, i), m_eigenvectors(1, i),
                                              m_dimension < 3 ? 0.0 : m_eigenvectors(2, i));
}

CTriple<int64> CMoment::CenterOfMass() const
{
    return RoundedCenter(m_centerX, m_centerY, m_centerZ);
}

std::vector<double> CMoment::getInertiaMoments() const
{
    std::vector<double> moments = m_eigenvalues;
    if (m_scaleInvariance)
    {
        const double first = moments[0];
        moments[0] = 1.0;
        moments[1] /= first;
        moments[2] /= first;
    }
    return moments;
}

std::vector<CTriple<double>> CMoment::getScaledInertiaVectors() const
{
    const std::size_t count = std::min(m_eigenvalues.size(), m_inertiaVectors.size());
    std::vector<CTriple<double>> scaled;
    scaled.reserve(count);
    for (std::size_t i = 0; i < count; ++i)
    {
        const CTriple<double>& axis = m_inertiaVectors[i];
        const double e = m_eigenvalues[i];
        scaled.emplace_back(axis.x * e, axis.y * e, axis.z * e);
    }
    return scaled;
}

CSymmMatrix<double> CMoment::getScaledInertiaAxes() const
{
    CSymmMatrix<double> axes(m_eigenvectors);
    axes.SetColumnLength(getInertiaMoments());
    return axes;
}

CTriple<double> CMoment::getMainInertiaAxis() const
{
    return Impl::CheckedAt(m_inertiaVectors, m_inertiaMode ? 2 : 0);
}

namespace
{
CValueString* NewString(const char* text)
{
    return new CValueString(text, CString::NPOS);
}

// The axis is read (and may fail) before anything is allocated.
CValueVector* NewAxis(const CTriple<double>& axis)
{
    auto vector = std::make_unique<CValueVector>();
    vector->SetEntry(0, new CValueDouble(axis.x));
    vector->SetEntry(1, new CValueDouble(axis.y));
    vector->SetEntry(2, new CValueDouble(axis.z));
    return vector.release();
}
} // namespace

// Key order and value kinds are the external format of the moments. The
// "tensor" keys carry the upper triangle of the principal-axes matrix, not of
// the tensor: that is their established content.
void CMoment::FillValueMap(CValueMap& map) const
{
    const bool space = m_dimension == 3;
    const auto add = [&map](const char* key, double value) { map.SetEntry(key, new CValueDouble(value)); };
    const auto add3d = [&](const char* key, double value) {
        if (space)
            add(key, value);
    };
    add("excentricity", m_excentricity);
    add("total_mass", m_sums.m000);
    map.SetEntry("inertia_or_covariance", NewString(m_inertiaMode ? "inertia" : "covariance"));
    add("moments/m000", m_sums.m000);
    add("moments/m100", m_sums.m100);
    add("moments/m010", m_sums.m010);
    add3d("moments/m001", m_sums.m001);
    add("moments/m200", m_sums.m200);
    add("moments/m020", m_sums.m020);
    add3d("moments/m002", m_sums.m002);
    add("moments/m110", m_sums.m110);
    add3d("moments/m101", m_sums.m101);
    add3d("moments/m011", m_sums.m011);
    add("2nd_moments_normed/m200", m_norm200);
    add("2nd_moments_normed/m020", m_norm020);
    add3d("2nd_moments_normed/m002", m_norm002);
    add("2nd_moments_normed/m110", m_norm110);
    add3d("2nd_moments_normed/m101", m_norm101);
    add3d("2nd_moments_normed/m011", m_norm011);
    add("center_of_mass/x", m_centerX);
    add("center_of_mass/y", m_centerY);
    add3d("center_of_mass/z", m_centerZ);
    add("tensor/xx", m_eigenvectors(0, 0));
    add("tensor/xy", m_eigenvectors(0, 1));
    add3d("tensor/xz", m_eigenvectors(0, 2));
    add("tensor/yy", m_eigenvectors(1, 1));
    add3d("tensor/yz", m_eigenvectors(1, 2));
    add3d("tensor/zz", m_eigenvectors(2, 2));
    add("eigenvalues/0", m_eigenvalues[0]);
    add("eigenvalues/1", m_eigenvalues[1]);
    add3d("eigenvalues/2", m_eigenvalues[2]);
    // Before the first computation there are no axes: the subscript fails here.
    map.SetEntry("vector/x", NewAxis(Impl::CheckedAt(m_inertiaVectors, 0)));
    map.SetEntry("vector/y", NewAxis(Impl::CheckedAt(m_inertiaVectors, 1)));
    if (space)
        map.SetEntry("vector/z", NewAxis(Impl::CheckedAt(m_inertiaVectors, 2)));
}

CMoment::operator CValueMap() const
{
    CValueMap map;
    FillValueMap(map);
    return map;
}

namespace
{
// Label counts beyond what a vector of whole CMoment accumulators could hold
// are refused with the platform's text, as they were when each label had one.
// The flat records are no larger, so no other limit applies to them.
static_assert(sizeof(Impl::StMomentSums) <= sizeof(CMoment) && sizeof(Impl::StMomentResults) <= sizeof(CMoment));
} // namespace

// The dimension is checked first, with CMoment's own site.
std::size_t CObjectMoment::LabelCount(int64 labelCount, int64 dimension)
{
    if (!CMoment::IsValidDimension(dimension))
        Impl::ThrowMomentCheck(Impl::EnMomentCheck::Dimension);
    return Impl::CheckedLength<CMoment>(Impl::CheckedCount(labelCount));
}

CObjectMoment::CObjectMoment(int64 labelCount, int64 dimension)
    : m_dimension(dimension), m_sums(LabelCount(labelCount, dimension)), m_pixelCounts(m_sums.size(), 0),
      m_results(m_sums.size())
{
}

CObjectMoment::~CObjectMoment() = default;

void CObjectMoment::RejectLabel(int64 label, Impl::EnMomentCheck check) const
{
    if (label >= static_cast<int64>(m_sums.size()))
        Impl::ThrowMomentCheck(check);
    Impl::ThrowInvalidSubscript();
}

CMoment CObjectMoment::Restore(std::size_t index) const
{
    const Impl::StMomentResults& r = m_results[index];
    CMoment moment(m_dimension);
    moment.m_sums = m_sums[index];
    moment.m_centerX = r.center[0];
    moment.m_centerY = r.center[1];
    moment.m_centerZ = r.center[2];
    moment.m_excentricity = r.excentricity;
    moment.m_norm200 = r.norm[0];
    moment.m_norm020 = r.norm[1];
    moment.m_norm002 = r.norm[2];
    moment.m_norm110 = r.norm[3];
    moment.m_norm101 = r.norm[4];
    moment.m_norm011 = r.norm[5];
    if (!r.decompositionCleared)
    {
        const double* t = r.tensor;
        moment.SetTensor(t[0], t[1], t[2], t[3], t[4], t[5]);
        moment.m_eigenvalues.assign(r.eigenvalues, r.eigenvalues + 3);
        for (std::size_t i = 0; i < 3; ++i)
            for (std::size_t j = 0; j < 3; ++j)
                moment.m_eigenvectors(i, j) = r.eigenvectors[3 * i + j];
    }
    if (r.axesDimension != 0)
    {
        const double* v = r.eigenvectors;
        for (std::size_t i = 0; i < 3; ++i)
            moment.m_inertiaVectors.emplace_back(v[i], v[3 + i], r.axesDimension < 3 ? 0.0 : v[6 + i]);
    }
    return moment;
}

void CObjectMoment::Keep(std::size_t index, const CMoment& moment)
{
    Impl::StMomentResults& r = m_results[index];
    r.center[0] = moment.m_centerX;
    r.center[1] = moment.m_centerY;
    r.center[2] = moment.m_centerZ;
    r.excentricity = moment.m_excentricity;
    const double norm[6] = {moment.m_norm200, moment.m_norm020, moment.m_norm002,
                            moment.m_norm110, moment.m_norm101, moment.m_norm011};
    std::copy(norm, norm + 6, r.norm);
    const CSymmMatrix<double>& t = moment.m_tensor;
    const double tensor[6] = {t(0, 0), t(0, 1), t(0, 2), t(1, 1), t(1, 2), t(2, 2)};
    std::copy(tensor, tensor + 6, r.tensor);
    std::copy(moment.m_eigenvalues.begin(), moment.m_eigenvalues.end(), r.eigenvalues);
    for (std::size_t i = 0; i < 3; ++i)
        for (std::size_t j = 0; j < 3; ++j)
            r.eigenvectors[3 * i + j] = moment.m_eigenvectors(i, j);
    r.decompositionCleared = false;
    r.axesDimension = static_cast<std::int8_t>(moment.m_dimension);
}

void CObjectMoment::Merge(const CObjectMoment& other)
{
    if (other.m_dimension != m_dimension)
        TOLX_THROW_SITE(Impl::MomentSites::kMergeObjectDimension, other.m_dimension, m_dimension);
    if (other.m_sums.size() != m_sums.size())
        TOLX_THROW_SITE(Impl::MomentSites::kMergeLabelCount, other.m_sums.size(), m_sums.size());
    for (std::size_t label = 0; label < m_sums.size(); ++label)
    {
        m_sums[label].Merge(other.m_sums[label]);
        m_pixelCounts[label] += other.m_pixelCounts[label];
    }
}

void CObjectMoment::Reset()
{
    std::fill(m_sums.begin(), m_sums.end(), Impl::StMomentSums());
    for (Impl::StMomentResults& results : m_results)
        results.decompositionCleared = true;
}

void CObjectMoment::Compute()
{
    for (std::size_t index = 0; index < m_sums.size(); ++index)
    {
        if (!(m_sums[index].m000 > 0.0))
            continue;
        CMoment moment = Restore(index);
        moment.Compute();
        Keep(index, moment);
    }
}

CTriple<int64> CObjectMoment::CenterOfMass(int64 label) const
{
    const double* center = Results(label).center;
    return RoundedCenter(center[0], center[1], center[2]);
}

std::vector<double> CObjectMoment::getInertiaMoments(int64 label) const
{
    return Restore(Index(label, Impl::EnMomentCheck::QueryLabel)).getInertiaMoments();
}

CSymmMatrix<double> CObjectMoment::getInertiaAxes(int64 label) const
{
    return Restore(Index(label, Impl::EnMomentCheck::QueryLabel)).getInertiaAxes();
}

CSymmMatrix<double> CObjectMoment::getTensorMatrix(int64 label) const
{
    return Restore(Index(label, Impl::EnMomentCheck::QueryLabel)).getTensorMatrix();
}

CSymmMatrix<double> CObjectMoment::getScaledInertiaAxes(int64 label) const
{
    return Restore(Index(label, Impl::EnMomentCheck::QueryLabel)).getScaledInertiaAxes();
}

CObjectMoment::operator CValueMap() const
{
    const std::size_t count = m_sums.size();
    // Digits of the label count minus one; zero padding never truncates wider
    // labels. With no labels the format is never used.
    const unsigned width = count == 0 ? 0u : static_cast<unsigned>(std::log10(static_cast<double>(count)));
    const std::string keyFormat = CStringTools::Printf("%s %%0%ulu", "object", width);

    CValueMap map;
    map.SetEntry("dim", new CValueLong(static_cast<long>(m_dimension)));
    map.SetEntry("status", NewString("ok"));
    map.SetEntry("no. of objects", new CValueLong(static_cast<long>(count)));
    for (std::size_t label = 0; label < count; ++label)
    {
        if (m_pixelCounts[label] == 0)
            continue;
        auto object = std::make_unique<CValueMap>();
        Restore(label).FillValueMap(*object);
        object->SetEntry("status", NewString("ok"));
        object->SetEntry("pixel", new CValueLong(static_cast<long>(m_pixelCounts[label])));
        const std::string key = CStringTools::Printf(keyFormat.c_str(), static_cast<unsigned long>(label));
        map.SetEntry(key.c_str(), object.release());
    }
    return map;
}
} // namespace TOLX
