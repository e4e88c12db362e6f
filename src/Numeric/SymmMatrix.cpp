#include "Numeric/SymmMatrix.h"

#include "Numeric/ContainerChecks.h"
#include "Numeric/MatrixSites.h"
#include "Numeric/TypeName.h"

#include <cmath>
#include <cstring>
#include <iostream>
#include <utility>

namespace TOLX
{
namespace
{
// n * n in 64-bit signed arithmetic, so a negative dimension has a positive
// square; false where the square would overflow.
bool SquareOf(int64 n, int64& square)
{
    return !__builtin_mul_overflow(n, n, &square);
}

bool IsSquareOf(std::size_t size, int64 n)
{
    int64 square = 0;
    return SquareOf(n, square) && size == static_cast<std::size_t>(square);
}

template <class T>
[[noreturn]] void Raise(const Impl::StThrowSite& site)
{
    Impl::RaiseFromSymmMatrixHeader(site, Impl::TypeName<T>::value);
}
} // namespace

template <class T>
T& CSymmMatrix<T>::At(std::size_t row, std::size_t col)
{
    return Impl::CheckedAt(m_elements, static_cast<std::size_t>(m_n) * row + col);
}

template <class T>
T CSymmMatrix<T>::At(std::size_t row, std::size_t col) const
{
    return Impl::CheckedAt(m_elements, static_cast<std::size_t>(m_n) * row + col);
}

template <class T>
CSymmMatrix<T>::CSymmMatrix(std::vector<T> values, int64 n) : m_elements(std::move(values)), m_n(n)
{
    if (!IsSquareOf(m_elements.size(), n))
        Raise<T>(Impl::MatrixSites::kSymmValues);
}

template <class T>
void CSymmMatrix<T>::SetColumnLength(std::vector<T> lengths)
{
    if (static_cast<int64>(lengths.size()) != m_n)
        Raise<T>(Impl::MatrixSites::kSymmColumnLengths);
    std::vector<T> factors(lengths.size());
    for (std::size_t j = 0; j < factors.size(); ++j)
        factors[j] = lengths[j] / GetColumnLength(static_cast<int64>(j));
    ScaleColumns(std::move(factors));
}

// The offending matrix goes to standard output first, so that the report of a
// failed decomposition shows what was handed in.
template <class T>
void CSymmMatrix<T>::RequireSymmetric() const
{
    if (IsSymmetric())
        return;
    std::cout << "Print Matrix:\n";
    Print(std::cout) << std::endl;
    Raise<T>(Impl::MatrixSites::kSymmNotSymmetric);
}

template <class T>
void CSymmMatrix<T>::Reshape(std::size_t rows, std::size_t cols)
{
    if (rows != cols)
        Raise<T>(Impl::MatrixSites::kSymmReshape);
    m_elements.resize(Impl::CheckedArea<T>(rows, rows), T(0));
    m_n = static_cast<int64>(rows);
}

// n * n zeros and ones on the diagonal. A negative n keeps its positive
// square as the storage size and has no diagonal to set.
template <class T>
CSymmMatrix<T>::CSymmMatrix(int64 n) : m_n(n)
{
    int64 square = 0;
    if (!SquareOf(n, square))
        Impl::ThrowTooLong();
    m_elements.assign(Impl::CheckedLength<T>(static_cast<std::size_t>(square)), T(0));
    for (int64 i = 0; i < n; ++i)
        At(static_cast<std::size_t>(i), static_cast<std::size_t>(i)) = T(1);
}

template <class T>
CSymmMatrix<T>& CSymmMatrix<T>::operator=(const CSymmMatrix& other)
{
    if (this != &other)
    {
        m_elements = other.m_elements;
        m_n = other.m_n;
    }
    return *this;
}

template <class T>
CSymmMatrix<T>::~CSymmMatrix() = default;

template <class T>
T& CSymmMatrix<T>::operator()(std::size_t row, std::size_t col)
{
    return At(row, col);
}

template <class T>
T CSymmMatrix<T>::operator()(std::size_t row, std::size_t col) const
{
    return At(row, col);
}

template <class T>
T CSymmMatrix<T>::GetColumnLength(int64 col) const
{
    const auto j = static_cast<std::size_t>(col);
    T sum = 0;
    for (std::size_t i = 0; i < Rows(); ++i)
        sum += At(i, j) * At(i, j);
    return std::sqrt(sum);
}

template <class T>
void CSymmMatrix<T>::ScaleColumns(std::vector<T> factors)
{
    CSymmMatrix scaled(m_elements, m_n);
    const std::size_t n = scaled.Rows();
    for (std::size_t i = 0; i < n; ++i)
        for (std::size_t j = 0; j < n; ++j)
            scaled.At(i, j) *= Impl::CheckedAt(factors, j);
    Reshape(n, n);
    for (std::size_t i = 0; i < n; ++i)
        for (std::size_t j = 0; j < n; ++j)
            (*this)(i, j) = scaled.At(i, j);
}

template <class T>
bool CSymmMatrix<T>::IsSymmetric() const
{
    constexpr T eps = 2.220446049250313e-16;
    for (std::size_t i = 0; i < Rows(); ++i)
        for (std::size_t j = i + 1; j < Rows(); ++j)
            if (std::fabs(At(i, j) - At(j, i)) > eps)
                return false;
    return true;
}

template <class T>
T CSymmMatrix<T>::FindMaxOffDiagonal(int64& p, int64& q) const
{
    T max = 0.0;
    for (std::size_t i = 0; i < Rows(); ++i)
        for (std::size_t j = 0; j < Rows(); ++j)
            if (j != i && std::fabs(At(i, j)) > max)
            {
                max = std::fabs(At(i, j));
                p = static_cast<int64>(i);
                q = static_cast<int64>(j);
            }
    return max;
}

template <class T>
std::ostream& CSymmMatrix<T>::Print(std::ostream& os) const
{
    for (std::size_t i = 0; i < Rows(); ++i)
    {
        for (std::size_t j = 0; j < Cols(); ++j)
            os << At(i, j) << " ";
        os << std::endl;
    }
    return os;
}

namespace
{
// Bit-for-bit equality: NaN elements compare equal to themselves here.
template <class T>
bool SameState(const CSymmMatrix<T>& a, int64 p, int64 q, const CSymmMatrix<T>& b, int64 bp, int64 bq)
{
    if (p != bp || q != bq)
        return false;
    const std::size_t n = a.Rows();
    for (std::size_t i = 0; i < n; ++i)
        for (std::size_t j = 0; j < n; ++j)
        {
            const T x = a(i, j);
            const T y = b(i, j);
            if (std::memcmp(&x, &y, sizeof(T)) != 0)
                return false;
        }
    return true;
}
} // namespace

template <class T>
void CSymmMatrix<T>::SolveEigenProblem(CSymmMatrix& eigenvectors, std::vector<T>& eigenvalues, T eps) const
{
    RequireSymmetric();
    const std::size_t n = Rows();
    CSymmMatrix a(m_elements, m_n);
    CSymmMatrix a2(m_elements, m_n);
    CSymmMatrix v(m_n);
    CSymmMatrix v2(m_n);
    int64 p = 0;
    int64 q = 0;
    T m = a.FindMaxOffDiagonal(p, q);

    // The rotations stop only when no off-diagonal element exceeds eps, and
    // some inputs never get there: with eps = 0 a subnormal element can
    // survive every rotation, and infinite or NaN elements (or a negative eps)
    // can leave the matrix in a state that maps back onto itself. A rotation
    // depends on nothing but the working matrix and the pivot position, so
    // once that state repeats bit for bit the loop would run forever; it is
    // left there instead (Brent's cycle detection). A run that ends by itself
    // never repeats a state, so its result is exactly what it always was.
    CSymmMatrix seen(a);
    int64 seenP = p;
    int64 seenQ = q;
    std::size_t power = 1;
    std::size_t steps = 0;
    bool cycling = false;

    while (m > eps && !cycling)
    {
        const auto pp = static_cast<std::size_t>(p);
        const auto qq = static_cast<std::size_t>(q);
        const T apq = a.At(pp, qq);
        const T theta = (a.At(qq, qq) - a.At(pp, pp)) / (2 * apq);
        // Always the positive root of t^2 + 2 theta t - 1 = 0, also for
        // negative theta: results that callers compare against depend on it.
        // Beyond |theta| = 1.3e154 the square overflows, t becomes infinite
        // and the rotation turns the eigenvectors into NaN; callers get
        // exactly that.
        const T t = std::sqrt(theta * theta + 1) - theta;
        const T c = 1 / std::sqrt(t * t + 1);
        const T s = t * c;

        a2 = a;
        a2.At(pp, qq) = 0;
        a2.At(qq, pp) = 0;
        a2.At(pp, pp) = a.At(pp, pp) - t * apq;
        a2.At(qq, qq) = a.At(qq, qq) + t * apq;
        for (std::size_t k = 0; k < n; ++k)
        {
            if (k == pp || k == qq)
                continue;
            const T kp = c * a.At(k, pp) - s * a.At(k, qq);
            const T kq = c * a.At(k, qq) + s * a.At(k, pp);
            a2.At(k, pp) = kp;
            a2.At(pp, k) = kp;
            a2.At(k, qq) = kq;
            a2.At(qq, k) = kq;
        }
        a = a2;

        for (std::size_t k = 0; k < n; ++k)
        {
            v2.At(k, pp) = c * v.At(k, pp) - s * v.At(k, qq);
            v2.At(k, qq) = s * v.At(k, pp) + c * v.At(k, qq);
        }
        v = v2;

        m = a.FindMaxOffDiagonal(p, q);

        cycling = SameState(a, p, q, seen, seenP, seenQ);
        if (++steps == power)
        {
            seen = a;
            seenP = p;
            seenQ = q;
            power *= 2;
            steps = 0;
        }
    }

    if (eigenvectors.m_n != m_n)
        eigenvectors.Reshape(n, n);
    for (std::size_t i = 0; i < n; ++i)
        for (std::size_t j = 0; j < n; ++j)
            eigenvectors(i, j) = v.At(i, j);
    for (std::size_t k = 0; k < n; ++k)
        Impl::CheckedAt(eigenvalues, k) = a.At(k, k);
}

template class CSymmMatrix<double>;
} // namespace TOLX
