// Per-label moments of a labelled volume, fed voxel by voxel into
// CObjectMoment, beside a plain loop that accumulates the same ten sums per
// label into a flat array; then Compute() and the value map of all labels.
// Also the 3x3 Jacobi solver beside Eigen's SelfAdjointEigenSolver.
//
// The label volume is side^3 voxels of 16-bit labels, 0 the background and
// 1000 ball-shaped objects on a 10x10x10 grid with jittered centres and
// radii. It is generated once per side with integer arithmetic only, the same
// way bench/skimage_moments.py builds it, so both see identical volumes.

#include "VornNumeric.h"

#include <benchmark/benchmark.h>

#ifdef VORN_HAVE_EIGEN
#include <Eigen/Eigenvalues>
#endif

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iostream>
#include <map>
#include <streambuf>
#include <vector>

namespace
{
constexpr int kGrid = 10;
constexpr int kObjects = kGrid * kGrid * kGrid;

struct LabelVolume
{
    int side = 0;
    std::vector<std::uint16_t> labels; // x fastest, then y, then z
    std::int64_t labelled = 0;
};

class Lcg
{
public:
    int Next()
    {
        m_state = m_state * 1664525u + 1013904223u;
        return static_cast<int>(m_state >> 16);
    }

private:
    std::uint32_t m_state = 20160203u;
};

LabelVolume MakeVolume(int side)
{
    LabelVolume volume;
    volume.side = side;
    volume.labels.assign(static_cast<std::size_t>(side) * side * side, 0);
    const int cell = side / kGrid;
    Lcg random;
    int label = 0;
    for (int k = 0; k < kGrid; ++k)
        for (int j = 0; j < kGrid; ++j)
            for (int i = 0; i < kGrid; ++i)
            {
                ++label;
                int centre[3];
                const int cellIndex[3] = {i, j, k};
                for (int d = 0; d < 3; ++d)
                    centre[d] = cellIndex[d] * cell + cell / 2 + random.Next() % (cell / 4 + 1) - cell / 8;
                const int r = cell * 3 / 10 + random.Next() % (cell / 8 + 1);
                for (int z = std::max(0, centre[2] - r); z <= std::min(side - 1, centre[2] + r); ++z)
                    for (int y = std::max(0, centre[1] - r); y <= std::min(side - 1, centre[1] + r); ++y)
                        for (int x = std::max(0, centre[0] - r); x <= std::min(side - 1, centre[0] + r); ++x)
                        {
                            const int dx = x - centre[0], dy = y - centre[1], dz = z - centre[2];
                            if (dx * dx + dy * dy + dz * dz <= r * r)
                                volume.labels[(static_cast<std::size_t>(z) * side + y) * side + x] =
                                    static_cast<std::uint16_t>(label);
                        }
            }
    for (std::uint16_t l : volume.labels)
        volume.labelled += l != 0;
    return volume;
}

const LabelVolume& Volume(int side)
{
    static std::map<int, LabelVolume> volumes;
    auto found = volumes.find(side);
    if (found == volumes.end())
        found = volumes.emplace(side, MakeVolume(side)).first;
    return found->second;
}

// Visits every labelled voxel in memory order.
template <class Sink>
void ForEachLabelledVoxel(const LabelVolume& volume, Sink&& sink)
{
    const int side = volume.side;
    const std::uint16_t* label = volume.labels.data();
    for (int z = 0; z < side; ++z)
        for (int y = 0; y < side; ++y)
            for (int x = 0; x < side; ++x, ++label)
                if (*label != 0)
                    sink(*label, static_cast<double>(x), static_cast<double>(y), static_cast<double>(z));
}

void SetVoxelCounters(benchmark::State& state, const LabelVolume& volume)
{
    state.SetItemsProcessed(state.iterations() * volume.labelled);
    state.counters["labelled_voxels"] = static_cast<double>(volume.labelled);
}

void BM_ObjectMoment_Accumulate(benchmark::State& state)
{
    const LabelVolume& volume = Volume(static_cast<int>(state.range(0)));
    for (auto _ : state)
    {
        TOLX::CObjectMoment objects(kObjects + 1, 3);
        ForEachLabelledVoxel(volume,
                             [&objects](std::uint16_t l, double x, double y, double z) { objects(l, x, y, z); });
        benchmark::DoNotOptimize(objects.getM011(kObjects));
    }
    SetVoxelCounters(state, volume);
}

// The same ten sums and the pixel count, in one flat array per label.
void BM_PlainLoop_Accumulate(benchmark::State& state)
{
    const LabelVolume& volume = Volume(static_cast<int>(state.range(0)));
    for (auto _ : state)
    {
        std::vector<double> sums(static_cast<std::size_t>(kObjects + 1) * 10, 0.0);
        std::vector<std::int64_t> counts(kObjects + 1, 0);
        ForEachLabelledVoxel(volume, [&](std::uint16_t l, double x, double y, double z) {
            double* s = &sums[static_cast<std::size_t>(l) * 10];
            s[0] += 1.0;
            s[1] += x;
            s[2] += y;
            s[3] += z;
            s[4] += x * x;
            s[5] += y * y;
            s[6] += z * z;
            s[7] += x * y;
            s[8] += x * z;
            s[9] += y * z;
            ++counts[l];
        });
        benchmark::DoNotOptimize(sums.data());
        benchmark::DoNotOptimize(counts.data());
    }
    SetVoxelCounters(state, volume);
}

// One weighted point set: every labelled voxel, its label as the weight.
void BM_Moment_Accumulate(benchmark::State& state)
{
    const LabelVolume& volume = Volume(static_cast<int>(state.range(0)));
    for (auto _ : state)
    {
        TOLX::CMoment moment(3);
        ForEachLabelledVoxel(volume, [&moment](std::uint16_t l, double x, double y, double z) { moment(l, x, y, z); });
        benchmark::DoNotOptimize(moment.getM011());
    }
    SetVoxelCounters(state, volume);
}

void BM_PlainLoop_OneObject(benchmark::State& state)
{
    const LabelVolume& volume = Volume(static_cast<int>(state.range(0)));
    for (auto _ : state)
    {
        double s[10] = {};
        ForEachLabelledVoxel(volume, [&s](std::uint16_t l, double x, double y, double z) {
            const double w = l, wx = w * x, wy = w * y, wz = w * z;
            s[0] += w;
            s[1] += wx;
            s[2] += wy;
            s[3] += wz;
            s[4] += wx * x;
            s[5] += wy * y;
            s[6] += wz * z;
            s[7] += wx * y;
            s[8] += wx * z;
            s[9] += wy * z;
        });
        benchmark::DoNotOptimize(s);
    }
    SetVoxelCounters(state, volume);
}

// Swallows the deprecation warning that Compute() writes once per label.
class NullBuffer : public std::streambuf
{
protected:
    int overflow(int c) override { return c; }
};

void BM_ObjectMoment_ComputeAndValueMap(benchmark::State& state)
{
    const LabelVolume& volume = Volume(static_cast<int>(state.range(0)));
    TOLX::CObjectMoment filled(kObjects + 1, 3);
    ForEachLabelledVoxel(volume, [&filled](std::uint16_t l, double x, double y, double z) { filled(l, x, y, z); });
    NullBuffer null;
    std::streambuf* const cerr = std::cerr.rdbuf(&null);
    for (auto _ : state)
    {
        TOLX::CObjectMoment objects(filled);
        objects.Compute();
        const TOLX::CValueMap map = objects;
        benchmark::DoNotOptimize(map.Size());
    }
    std::cerr.rdbuf(cerr);
    state.SetItemsProcessed(state.iterations() * kObjects);
}

// A pool of covariance-like symmetric 3x3 matrices with distinct eigenvalues.
std::vector<std::vector<double>> SymmetricPool()
{
    std::vector<std::vector<double>> pool;
    Lcg random;
    const auto next = [&random] { return (random.Next() % 20001) / 1000.0 - 10.0; };
    for (int n = 0; n < 16; ++n)
    {
        const double a = next(), b = next(), c = next(), d = next(), e = next(), f = next();
        // B^T B of an upper triangular B is symmetric positive semi-definite.
        pool.push_back({a * a, a * b, a * c, a * b, b * b + d * d, b * c + d * e, a * c, b * c + d * e,
                        c * c + e * e + f * f});
    }
    return pool;
}

void BM_SolveEigenProblem3x3(benchmark::State& state)
{
    std::vector<TOLX::CSymmMatrix<double>> inputs;
    for (const auto& values : SymmetricPool())
        inputs.emplace_back(values, 3);
    TOLX::CSymmMatrix<double> vectors(3);
    std::vector<double> values(3);
    std::size_t i = 0;
    for (auto _ : state)
    {
        inputs[i++ & 15].SolveEigenProblem(vectors, values, 2.220446049250313e-16);
        benchmark::DoNotOptimize(values.data());
        benchmark::DoNotOptimize(&vectors);
    }
    state.SetItemsProcessed(state.iterations());
}

#ifdef VORN_HAVE_EIGEN
template <bool Direct>
void BM_EigenSelfAdjoint3x3(benchmark::State& state)
{
    std::vector<Eigen::Matrix3d> inputs;
    for (const auto& values : SymmetricPool())
        inputs.push_back(Eigen::Map<const Eigen::Matrix<double, 3, 3, Eigen::RowMajor>>(values.data()));
    Eigen::SelfAdjointEigenSolver<Eigen::Matrix3d> solver;
    std::size_t i = 0;
    for (auto _ : state)
    {
        if (Direct)
            solver.computeDirect(inputs[i++ & 15]);
        else
            solver.compute(inputs[i++ & 15]);
        benchmark::DoNotOptimize(solver.eigenvalues().data());
        benchmark::DoNotOptimize(solver.eigenvectors().data());
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK_TEMPLATE(BM_EigenSelfAdjoint3x3, false)->Name("BM_EigenSelfAdjoint3x3/iterative");
BENCHMARK_TEMPLATE(BM_EigenSelfAdjoint3x3, true)->Name("BM_EigenSelfAdjoint3x3/direct");
#endif
} // namespace

BENCHMARK(BM_ObjectMoment_Accumulate)->Arg(128)->Arg(256)->Arg(512)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_PlainLoop_Accumulate)->Arg(128)->Arg(256)->Arg(512)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Moment_Accumulate)->Arg(128)->Arg(512)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_PlainLoop_OneObject)->Arg(128)->Arg(512)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ObjectMoment_ComputeAndValueMap)->Arg(256)->Arg(512)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_SolveEigenProblem3x3);

BENCHMARK_MAIN();
