// Singular value decomposition and rank of small double and float matrices,
// NaN and infinities included. Either the decomposition reports failure and
// leaves its outputs alone, or its singular values are non-negative (and
// descending when sorted), it never writes outside the m-by-n, n-by-1 and
// n-by-n corners of its outputs, and it reconstructs input whose elements
// lie where the published routine neither overflows nor underflows.

#include "FuzzInput.h"
#include "VornNumeric.h"

#include <cmath>
#include <cstring>
#include <string>

namespace
{
template <class T>
struct Tolerance;
template <>
struct Tolerance<double>
{
    static constexpr double relative = 1e-12;
    // The routine squares values of the size of the elements to choose its
    // shift and divides by its pivots: elements beyond 2^511 overflow to
    // NaN, elements near or below 2^-511 lose the shift or make a pivot's
    // reciprocal overflow (docs/robustness.md). Reconstruction is checked
    // for non-zero elements within 2^-400 .. 2^400.
    static constexpr double largest = 0x1p400;
    static constexpr double smallest = 0x1p-400;
};
template <>
struct Tolerance<float>
{
    static constexpr double relative = 1e-4;
    // Singular values of up to sqrt(m n) times the largest element must not
    // saturate when they are narrowed to float; every float is far inside
    // the double range the routine computes in.
    static constexpr double largest = 1e36;
    static constexpr double smallest = 0.0;
};

// A value no decomposition writes: the outputs start filled with it.
template <class T>
T Sentinel()
{
    return static_cast<T>(-12345.5);
}

template <class T>
bool Untouched(const TOLX::CMatrix<T>& M)
{
    for (std::size_t i = 0; i < M.Rows(); ++i)
        for (std::size_t j = 0; j < M.Cols(); ++j)
            if (M(i, j) != Sentinel<T>())
                return false;
    return true;
}

template <class T>
TOLX::CMatrix<T> Filled(std::size_t rows, std::size_t cols)
{
    TOLX::CMatrix<T> M(rows, cols);
    M += Sentinel<T>();
    return M;
}

// Elements outside the rows x cols corner still hold the sentinel.
template <class T>
bool CornerOnly(const TOLX::CMatrix<T>& M, std::size_t rows, std::size_t cols)
{
    for (std::size_t i = 0; i < M.Rows(); ++i)
        for (std::size_t j = 0; j < M.Cols(); ++j)
            if ((i >= rows || j >= cols) && M(i, j) != Sentinel<T>())
                return false;
    return true;
}

template <class T>
void FuzzSvd(FuzzInput& in)
{
    const std::size_t m = 1 + in.Below(6);
    const std::size_t n = 1 + in.Below(6);
    const bool sort = in.Byte() % 2 == 0;
    // Extra rows and columns on the outputs, and sometimes one too few.
    const unsigned shape = in.Byte();
    const bool tooSmall = shape % 17 == 0;
    const std::size_t extraRows = tooSmall ? 0 : shape % 3;
    const std::size_t extraCols = (shape / 3) % 3;

    TOLX::CMatrix<T> A(m, n);
    bool inRange = true;
    double scale = 0.0;
    for (std::size_t i = 0; i < m; ++i)
        for (std::size_t j = 0; j < n; ++j)
        {
            const T x = static_cast<T>(in.Number());
            A(i, j) = x;
            const double magnitude = std::fabs(static_cast<double>(x));
            inRange = inRange && magnitude <= Tolerance<T>::largest &&
                      (magnitude == 0.0 || magnitude >= Tolerance<T>::smallest);
            scale = std::fmax(scale, magnitude);
        }
    const TOLX::CMatrix<T> original = A;

    TOLX::CMatrix<T> U = Filled<T>(m + extraRows - (tooSmall ? 1 : 0), n + extraCols);
    TOLX::CMatrix<T> S = Filled<T>(n + extraRows, 1 + extraCols);
    TOLX::CMatrix<T> V = Filled<T>(n + extraRows, n + extraCols);
    bool converged = false;
    try
    {
        converged = TOLX::CNumeric::Svd(A, U, S, V, sort);
    }
    catch (const TOLX::CException& e)
    {
        // Only an output that is too small is refused, by the bounds check.
        FUZZ_CHECK(tooSmall);
        FUZZ_CHECK(std::string(e.what()).rfind("Index exceeds matrix bounds.", 0) == 0);
        return;
    }
    FUZZ_CHECK(std::memcmp(A.Data(), original.Data(), m * n * sizeof(T)) == 0);
    if (!converged)
    {
        FUZZ_CHECK(Untouched(U) && Untouched(S) && Untouched(V));
        FUZZ_CHECK(TOLX::CNumeric::Rank(A, T(0)) == -1);
        return;
    }
    FUZZ_CHECK(!tooSmall);
    FUZZ_CHECK(CornerOnly(U, m, n) && CornerOnly(S, n, 1) && CornerOnly(V, n, n));

    for (std::size_t j = 0; j < n; ++j)
    {
        const T w = S(j, 0);
        FUZZ_CHECK(!(w < 0));
        if (sort && j > 0)
            FUZZ_CHECK(!(w > S(j - 1, 0)));
    }

    // Rank counts exactly the singular values above the tolerance.
    const T tolerance = static_cast<T>(in.Number());
    int above = 0;
    for (std::size_t j = 0; j < n; ++j)
        if (!(tolerance >= S(j, 0)))
            ++above;
    FUZZ_CHECK(TOLX::CNumeric::Rank(A, tolerance) == above);

    if (!inRange)
        return;
    // A == U diag(S) V^T within a tolerance relative to the largest element.
    const double allowed = Tolerance<T>::relative * scale * static_cast<double>(m + n) + 1e-300;
    for (std::size_t i = 0; i < m; ++i)
        for (std::size_t j = 0; j < n; ++j)
        {
            double sum = 0.0;
            for (std::size_t k = 0; k < n; ++k)
                sum += static_cast<double>(U(i, k)) * static_cast<double>(S(k, 0)) * static_cast<double>(V(j, k));
            FUZZ_CHECK(std::fabs(sum - static_cast<double>(A(i, j))) <= allowed);
        }
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    FuzzInput in(data, size);
    if (in.Byte() % 2 == 0)
        FuzzSvd<double>(in);
    else
        FuzzSvd<float>(in);
    return 0;
}
