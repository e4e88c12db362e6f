// Loading the points of a large 3-D object, computing its hull and painting
// the hull back, beside a plain loop that only reads every pixel once.
//
//   bench_hull_image --benchmark_min_time=1

#include "VornNumeric.h"

#include <benchmark/benchmark.h>

#include <cstdint>

using namespace TOLX;

namespace
{
constexpr int kSize = 512;
constexpr int kRadius = 200;

// One 512^3 8-bit image holding a ball of radius 200 around the centre.
const CImage& Ball()
{
    static const CImage image = [] {
        CImage ball(IMAGE_GREY_8, CSize(kSize, kSize, kSize));
        std::uint8_t* data = ball.Data();
        const long c = kSize / 2;
        for (long z = 0; z < kSize; ++z)
            for (long y = 0; y < kSize; ++y)
                for (long x = 0; x < kSize; ++x)
                {
                    const long dx = x - c, dy = y - c, dz = z - c;
                    if (dx * dx + dy * dy + dz * dz <= long{kRadius} * kRadius)
                        data[(z * kSize + y) * kSize + x] = 1;
                }
        return ball;
    }();
    return image;
}

const CConvexHullComputer& ComputedHull()
{
    static const CConvexHullComputer hull = [] {
        CConvexHullComputer h(3, "ball", nullptr);
        h.loadPointsFromImage(Ball());
        h.compute();
        return h;
    }();
    return hull;
}

void BM_PlainRead(benchmark::State& state)
{
    const CImage& image = Ball();
    const std::uint8_t* data = image.Data();
    const std::size_t count = std::size_t{kSize} * kSize * kSize;
    for (auto _ : state)
    {
        std::uint64_t sum = 0;
        for (std::size_t i = 0; i < count; ++i)
            sum += data[i];
        benchmark::DoNotOptimize(sum);
    }
}
BENCHMARK(BM_PlainRead)->Unit(benchmark::kMillisecond);

void BM_Load(benchmark::State& state)
{
    const CImage& image = Ball();
    CConvexHullComputer hull(3, "ball", nullptr);
    for (auto _ : state)
    {
        hull.loadPointsFromImage(image);
        benchmark::DoNotOptimize(hull.getPoints().size());
    }
    state.counters["points"] = static_cast<double>(hull.getPoints().size());
}
BENCHMARK(BM_Load)->Unit(benchmark::kMillisecond);

void BM_LoadAndCompute(benchmark::State& state)
{
    const CImage& image = Ball();
    for (auto _ : state)
    {
        CConvexHullComputer hull(3, "ball", nullptr);
        hull.loadPointsFromImage(image);
        hull.compute();
        benchmark::DoNotOptimize(hull.getA().size());
    }
}
BENCHMARK(BM_LoadAndCompute)->Unit(benchmark::kMillisecond);

void BM_Paint(benchmark::State& state)
{
    const CConvexHullComputer& hull = ComputedHull();
    CImage target(IMAGE_GREY_8, CSize(kSize, kSize, kSize));
    for (auto _ : state)
    {
        hull.paintConvexHullToImage(target);
        benchmark::DoNotOptimize(target.Data());
    }
    state.counters["planes"] = static_cast<double>(hull.getA().size());
}
BENCHMARK(BM_Paint)->Unit(benchmark::kMillisecond);
} // namespace

BENCHMARK_MAIN();
