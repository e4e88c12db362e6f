// CNumeric::Svd timed beside Eigen's JacobiSVD and LAPACK's dgesvd on the
// same matrices in the same run. Every contender computes the full U, the
// singular values in descending order and V (LAPACK: V^T), starts each
// iteration from an unmodified input and writes into storage prepared before
// the timing loop.

#include "VornNumeric.h"
#include "Numeric/helpers/nrSVD.h"

#include <benchmark/benchmark.h>

#ifdef VORN_HAVE_EIGEN
#include <Eigen/SVD>
#endif

#include <cstddef>
#include <random>
#include <vector>

#ifdef VORN_HAVE_LAPACK
// Reference LAPACK compiled by gfortran; the two trailing arguments are the
// hidden lengths of the character arguments.
extern "C" void dgesvd_(const char* jobu, const char* jobvt, const int* m, const int* n, double* a, const int* lda,
                        double* s, double* u, const int* ldu, double* vt, const int* ldvt, double* work,
                        const int* lwork, int* info, std::size_t jobuLength, std::size_t jobvtLength);
#endif

namespace
{
constexpr std::size_t kPoolSize = 16; // a power of two: the index wraps by masking
const unsigned kSeed = 20160203;

// kPoolSize row-major m-by-n matrices with entries uniform in [-1, 1].
const std::vector<std::vector<double>>& Pool(int m, int n)
{
    static std::vector<std::vector<double>> pools[9][9];
    std::vector<std::vector<double>>& pool = pools[m][n];
    if (pool.empty())
    {
        std::mt19937 engine(kSeed + 16 * m + n);
        std::uniform_real_distribution<double> value(-1.0, 1.0);
        pool.resize(kPoolSize, std::vector<double>(static_cast<std::size_t>(m) * n));
        for (auto& matrix : pool)
            for (double& x : matrix)
                x = value(engine);
    }
    return pool;
}

template <int M, int N>
std::vector<TOLX::CMatrix<double>> VornInputs()
{
    std::vector<TOLX::CMatrix<double>> inputs;
    for (const auto& values : Pool(M, N))
    {
        TOLX::CMatrix<double> a(M, N);
        for (int i = 0; i < M; ++i)
            for (int j = 0; j < N; ++j)
                a(i, j) = values[static_cast<std::size_t>(i) * N + j];
        inputs.push_back(a);
    }
    return inputs;
}

// The library call as callers make it: work arrays allocated per call.
template <int M, int N>
void BM_VornSvd(benchmark::State& state)
{
    const auto inputs = VornInputs<M, N>();
    TOLX::CMatrix<double> U(M, N), S(N, 1), V(N, N);
    std::size_t next = 0;
    for (auto _ : state)
    {
        const bool ok = TOLX::CNumeric::Svd(inputs[next++ & (kPoolSize - 1)], U, S, V, true);
        benchmark::DoNotOptimize(ok);
        benchmark::ClobberMemory();
    }
}

// The same with work arrays kept across calls, as a hot loop would.
template <int M, int N>
void BM_VornSvdWorkspace(benchmark::State& state)
{
    const auto inputs = VornInputs<M, N>();
    TOLX::CMatrix<double> U(M, N), S(N, 1), V(N, N);
    TOLX::CSvdWorkspace work;
    std::size_t next = 0;
    for (auto _ : state)
    {
        const bool ok = TOLX::CNumeric::Svd(inputs[next++ & (kPoolSize - 1)], U, S, V, true, work);
        benchmark::DoNotOptimize(ok);
        benchmark::ClobberMemory();
    }
}

#ifdef VORN_HAVE_EIGEN
template <int M, int N>
void BM_EigenJacobiSvd(benchmark::State& state)
{
    using Matrix = Eigen::Matrix<double, M, N, Eigen::RowMajor>;
    std::vector<Matrix> inputs;
    for (const auto& values : Pool(M, N))
        inputs.push_back(Eigen::Map<const Matrix>(values.data()));
    Eigen::JacobiSVD<Matrix> svd;
    std::size_t next = 0;
    for (auto _ : state)
    {
        svd.compute(inputs[next++ & (kPoolSize - 1)], Eigen::ComputeFullU | Eigen::ComputeFullV);
        benchmark::DoNotOptimize(svd.singularValues().data());
        benchmark::ClobberMemory();
    }
}
#endif

#ifdef VORN_HAVE_LAPACK
template <int M, int N>
void BM_LapackDgesvd(benchmark::State& state)
{
    // Column-major copies; dgesvd overwrites its input, so each iteration
    // copies the input into a scratch matrix first.
    std::vector<std::vector<double>> inputs;
    for (const auto& values : Pool(M, N))
    {
        std::vector<double> columnMajor(values.size());
        for (int i = 0; i < M; ++i)
            for (int j = 0; j < N; ++j)
                columnMajor[static_cast<std::size_t>(j) * M + i] = values[static_cast<std::size_t>(i) * N + j];
        inputs.push_back(columnMajor);
    }
    const int m = M, n = N;
    std::vector<double> a(static_cast<std::size_t>(M) * N), s(N), u(M * M), vt(N * N);
    int info = 0;
    int lwork = -1;
    double optimal = 0.0;
    dgesvd_("A", "A", &m, &n, a.data(), &m, s.data(), u.data(), &m, vt.data(), &n, &optimal, &lwork, &info, 1, 1);
    lwork = static_cast<int>(optimal);
    std::vector<double> work(static_cast<std::size_t>(lwork));
    std::size_t next = 0;
    for (auto _ : state)
    {
        a = inputs[next++ & (kPoolSize - 1)];
        dgesvd_("A", "A", &m, &n, a.data(), &m, s.data(), u.data(), &m, vt.data(), &n, work.data(), &lwork, &info,
                1, 1);
        benchmark::DoNotOptimize(info);
        benchmark::ClobberMemory();
    }
    if (info != 0)
        state.SkipWithError("dgesvd failed");
}
#endif
} // namespace

BENCHMARK_TEMPLATE(BM_VornSvd, 3, 4);
BENCHMARK_TEMPLATE(BM_VornSvd, 4, 4);
BENCHMARK_TEMPLATE(BM_VornSvd, 8, 8);
BENCHMARK_TEMPLATE(BM_VornSvdWorkspace, 3, 4);
BENCHMARK_TEMPLATE(BM_VornSvdWorkspace, 4, 4);
BENCHMARK_TEMPLATE(BM_VornSvdWorkspace, 8, 8);

#ifdef VORN_HAVE_EIGEN
BENCHMARK_TEMPLATE(BM_EigenJacobiSvd, 3, 4);
BENCHMARK_TEMPLATE(BM_EigenJacobiSvd, 4, 4);
BENCHMARK_TEMPLATE(BM_EigenJacobiSvd, 8, 8);
#endif

#ifdef VORN_HAVE_LAPACK
BENCHMARK_TEMPLATE(BM_LapackDgesvd, 3, 4);
BENCHMARK_TEMPLATE(BM_LapackDgesvd, 4, 4);
BENCHMARK_TEMPLATE(BM_LapackDgesvd, 8, 8);
#endif

BENCHMARK_MAIN();
