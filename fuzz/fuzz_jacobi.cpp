// The Jacobi eigen solver on small square matrices, symmetric or not, with
// NaN, infinities, huge and subnormal elements and unusual tolerances: it
// always returns (libFuzzer's -timeout catches a hang), refuses exactly the
// matrices that fail the symmetry test, and for input of moderate size with
// the tolerance the library uses its eigenpairs satisfy A v = lambda v.

#include "FuzzInput.h"
#include "VornNumeric.h"

#include <cmath>
#include <iostream>
#include <stdexcept>
#include <string>
#include <vector>

namespace
{
constexpr double kMachineEps = 2.220446049250313e-16;

double Tolerance(FuzzInput& in)
{
    switch (in.Byte() % 8)
    {
    case 0: return 0.0;
    case 1: return -1.0;
    case 2: return in.Number();
    case 3: return 1e-10;
    default: return kMachineEps;
    }
}

bool Symmetric(const std::vector<double>& a, std::size_t n)
{
    for (std::size_t i = 0; i < n; ++i)
        for (std::size_t j = i + 1; j < n; ++j)
            if (std::fabs(a[i * n + j] - a[j * n + i]) > kMachineEps)
                return false;
    return true;
}
} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    // A refused matrix is printed to standard output first; keep the
    // fuzzer's output readable.
    Silence(std::cout);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    FuzzInput in(data, size);
    const std::size_t n = in.Below(5); // 0..4
    const bool mirror = in.Byte() % 4 != 0;
    const double eps = Tolerance(in);
    std::vector<double> a(n * n);
    for (std::size_t i = 0; i < n; ++i)
        for (std::size_t j = 0; j < n; ++j)
            a[i * n + j] = (mirror && j < i) ? a[j * n + i] : in.Number();

    const TOLX::CSymmMatrix<double> A(a, static_cast<TOLX::int64>(n));
    TOLX::CSymmMatrix<double> vectors(1);
    std::vector<double> values(n + in.Below(2), -7.0);
    const std::vector<double> before = values;
    try
    {
        A.SolveEigenProblem(vectors, values, eps);
    }
    catch (const std::out_of_range& e)
    {
        // A negative tolerance lets the loop start although no off-diagonal
        // element exists: the first rotation reads element (0, 0) of an empty
        // matrix, which the container refuses.
        FUZZ_CHECK(n == 0 && eps < 0);
        FUZZ_CHECK(std::string(e.what()) == "invalid vector<T> subscript");
        return 0;
    }
    catch (const TOLX::CException& e)
    {
        FUZZ_CHECK(std::string(e.what()) == "Matrix is not symmetric");
        FUZZ_CHECK(!Symmetric(a, n));
        FUZZ_CHECK(values == before);
        return 0;
    }
    FUZZ_CHECK(Symmetric(a, n));
    FUZZ_CHECK(vectors.Rows() == n);
    for (std::size_t k = n; k < values.size(); ++k)
        FUZZ_CHECK(values[k] == -7.0);
    for (std::size_t i = 0; i < n; ++i)
        for (std::size_t j = 0; j < n; ++j)
            FUZZ_CHECK(A(i, j) == a[i * n + j] || (std::isnan(A(i, j)) && std::isnan(a[i * n + j])));

    double norm = 0.0;
    for (double x : a)
        norm += x * x;
    norm = std::sqrt(norm);
    // theta = (a_qq - a_pp) / (2 a_pq) squared overflows beyond 1.3e154 and
    // then turns the eigenvectors into NaN, as the formula does. A rotation
    // needs |a_pq| > eps, and the diagonal stays within the norm, so theta
    // stays below norm / eps: a norm up to 1e138 keeps every rotation finite.
    if (eps != kMachineEps || !(norm <= 1e138))
        return 0;

    // Each rotation is orthogonal up to rounding, and the off-diagonal rest
    // at the end is at most eps per element. For a large positive theta the
    // positive root sqrt(theta^2 + 1) - theta cancels: t loses its digits and
    // becomes 0 beyond theta ~ 1e8, so that an element |a_pq| of up to
    // |a_qq - a_pp| / 1e8 is set to zero without a rotation. That leaves a
    // residual of the order 1e-8 |A| (measured up to ~4e-8); the bound leaves
    // room for it. The symmetry test also lets the triangles differ by eps.
    const double allowed = 1e-7 * norm + 16.0 * kMachineEps;
    for (std::size_t k = 0; k < n; ++k)
    {
        double length = 0.0;
        for (std::size_t i = 0; i < n; ++i)
            length += vectors(i, k) * vectors(i, k);
        FUZZ_CHECK(std::fabs(std::sqrt(length) - 1.0) <= 1e-9);
        for (std::size_t i = 0; i < n; ++i)
        {
            double av = 0.0;
            for (std::size_t j = 0; j < n; ++j)
                av += a[i * n + j] * vectors(j, k);
            FUZZ_CHECK(std::fabs(av - values[k] * vectors(i, k)) <= allowed);
        }
    }
    return 0;
}
