// `vorn analyze` of a 512³ 16-bit label volume with 1000 objects, beside the
// same library calls made directly on the volume in memory: moments of every
// label in one pass, then per object its points loaded from its box, its hull
// computed, its facets and vertices counted and the hull painted and counted.
// The tool's time includes reading the TIFF file and printing the report.

#include "Progress.h"
#include "TiffIO.h"

#include "VornNumeric.h"

#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdio>
#include <iostream>
#include <limits>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include <sys/resource.h>
#include <time.h>
#include <unistd.h>

namespace
{
constexpr int SIZE = 512;
constexpr int GRID = 10; // GRID³ = 1000 objects, one per cell

// Ellipsoids and boxes of random size and orientation, one in the middle of
// each cell of a 10 x 10 x 10 grid, labelled 1 ... 1000.
TOLX::CImage MakeVolume()
{
    TOLX::CImage volume(TOLX::IMAGE_GREY_16, TOLX::CSize(SIZE, SIZE, SIZE));
    std::mt19937 random(20240611);
    std::uniform_real_distribution<double> semiAxis(6.0, 21.0), angle(0.0, 3.14159265358979), shift(-3.0, 3.0);
    const double cell = double(SIZE) / GRID;
    int label = 0;
    for (int k = 0; k < GRID; ++k)
        for (int j = 0; j < GRID; ++j)
            for (int i = 0; i < GRID; ++i)
            {
                ++label;
                const double c[3] = {(i + 0.5) * cell + shift(random), (j + 0.5) * cell + shift(random),
                                     (k + 0.5) * cell + shift(random)};
                const double half[3] = {semiAxis(random), semiAxis(random), semiAxis(random)};
                const double az = angle(random), ax = angle(random);
                const double cz = std::cos(az), sz = std::sin(az), cx = std::cos(ax), sx = std::sin(ax);
                const double axes[3][3] = {{cz, cx * sz, sx * sz}, {-sz, cx * cz, sx * cz}, {0.0, -sx, cx}};
                const bool box = label % 2 == 0;
                const int reach = int(std::ceil(std::max({half[0], half[1], half[2]})));
                for (int z = int(c[2]) - reach; z <= int(c[2]) + reach; ++z)
                    for (int y = int(c[1]) - reach; y <= int(c[1]) + reach; ++y)
                        for (int x = int(c[0]) - reach; x <= int(c[0]) + reach; ++x)
                        {
                            const double d[3] = {x - c[0], y - c[1], z - c[2]};
                            double sum = 0;
                            bool inside = true;
                            for (int a = 0; a < 3; ++a)
                            {
                                const double u = (d[0] * axes[a][0] + d[1] * axes[a][1] + d[2] * axes[a][2]) / half[a];
                                sum += u * u;
                                inside = inside && std::fabs(u) <= 1.0;
                            }
                            if (box ? inside : sum <= 1.0)
                                volume.SetPixel(x, y, z, std::uint64_t(label));
                        }
            }
    return volume;
}

const TOLX::CImage& Volume()
{
    static const TOLX::CImage volume = MakeVolume();
    return volume;
}

// The volume as a TIFF file for the tool, removed at exit.
struct VolumeFile
{
    std::string path = "/tmp/vorn-bench-" + std::to_string(getpid()) + ".tif";
    bool written = false;

    VolumeFile()
    {
        if (!vorn::TiffAvailable())
            return;
        vorn::CProgress quiet(stderr, false, std::chrono::milliseconds(0));
        const std::vector<std::int64_t> ownLabels; // every index its own label
        vorn::WriteTiff(path, Volume(), {vorn::EnSampleKind::UNSIGNED, Volume().Type().BytesPerPixel(), &ownLabels}, quiet);
        written = true;
    }
    ~VolumeFile() { std::remove(path.c_str()); }
};

const VolumeFile& File()
{
    static const VolumeFile file;
    return file;
}

struct Box
{
    int xmin = std::numeric_limits<int>::max(), ymin = xmin, zmin = xmin, xmax = -1, ymax = -1, zmax = -1;
};

// The library calls behind `vorn analyze`, with no more glue than a host
// needs: the largest label, the per-label boxes, and counting painted pixels.
std::int64_t AnalyseDirectly(const TOLX::CImage& image)
{
    const int w = image.Width(), h = image.Height(), d = image.Depth();
    std::uint64_t largest = 0;
    for (int z = 0; z < d; ++z)
        for (int y = 0; y < h; ++y)
            for (int x = 0; x < w; ++x)
                largest = std::max(largest, image.GetPixel(x, y, z));
    TOLX::CObjectMoment moments(TOLX::int64(largest + 1), 3);
    std::vector<Box> boxes(largest + 1);
    for (int z = 0; z < d; ++z)
        for (int y = 0; y < h; ++y)
            for (int x = 0; x < w; ++x)
                if (const std::uint64_t label = image.GetPixel(x, y, z))
                {
                    moments(TOLX::int64(label), x, y, z);
                    Box& b = boxes[label];
                    b.xmin = std::min(b.xmin, x), b.xmax = std::max(b.xmax, x);
                    b.ymin = std::min(b.ymin, y), b.ymax = std::max(b.ymax, y);
                    b.zmin = std::min(b.zmin, z), b.zmax = std::max(b.zmax, z);
                }
    std::ostringstream warnings; // the deprecation warning, once per label
    std::streambuf* saved = std::cerr.rdbuf(warnings.rdbuf());
    moments.Compute();
    std::cerr.rdbuf(saved);
    const TOLX::CValueMap map = moments;

    std::int64_t total = std::int64_t(map.Size());
    TOLX::CImage scratch(TOLX::IMAGE_GREY_8, image.Size());
    for (std::uint64_t label = 1; label <= largest; ++label)
    {
        const Box& b = boxes[label];
        if (b.xmax < 0)
            continue;
        TOLX::CConvexHullComputer hull(3, "direct", nullptr);
        hull.loadPointsFromImageBox(image, label, b.xmin, b.ymin, b.zmin, b.xmax + 1, b.ymax + 1, b.zmax + 1);
        if (hull.getPoints().size() < 4)
            continue;
        try
        {
            hull.compute();
        }
        catch (const TOLX::CException&)
        {
            continue;
        }
        total += std::int64_t(hull.getA().size() + hull.getVertices().size());
        hull.paintConvexHullToImage(scratch, TOLX::CConvexHullComputer::CBox{b.xmin, b.ymin, b.zmin, b.xmax, b.ymax, b.zmax}, 1);
        for (int z = b.zmin; z <= b.zmax; ++z)
            for (int y = b.ymin; y <= b.ymax; ++y)
                for (int x = b.xmin; x <= b.xmax; ++x)
                    if (scratch.GetPixel(x, y, z))
                    {
                        ++total;
                        scratch.SetPixel(x, y, z, 0);
                    }
    }
    return total;
}

// Both sides are timed in CPU seconds (the tool's as its process's user and
// system time), so that other work on the machine does not tilt the ratio.
double ThreadSeconds()
{
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return double(now.tv_sec) + 1e-9 * double(now.tv_nsec);
}

double ChildSeconds()
{
    rusage usage{};
    getrusage(RUSAGE_CHILDREN, &usage);
    const auto seconds = [](const timeval& t) { return double(t.tv_sec) + 1e-6 * double(t.tv_usec); };
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

void DirectLibraryCalls(benchmark::State& state)
{
    const TOLX::CImage& image = Volume();
    for (auto _ : state)
    {
        const double start = ThreadSeconds();
        benchmark::DoNotOptimize(AnalyseDirectly(image));
        state.SetIterationTime(ThreadSeconds() - start);
    }
}

void VornAnalyze(benchmark::State& state, const char* options)
{
    if (!File().written)
    {
        state.SkipWithError("this vorn was built without libtiff");
        return;
    }
    const std::string command = std::string("'") + VORN_TOOL_PATH + "' analyze " + options + " '" + File().path + "' >/dev/null";
    for (auto _ : state)
    {
        const double start = ChildSeconds();
        if (std::system(command.c_str()) != 0)
            state.SkipWithError("vorn analyze failed");
        state.SetIterationTime(ChildSeconds() - start);
    }
}
} // namespace

BENCHMARK(DirectLibraryCalls)->Unit(benchmark::kSecond)->Iterations(1)->UseManualTime();
BENCHMARK_CAPTURE(VornAnalyze, text, "")->Unit(benchmark::kSecond)->Iterations(1)->UseManualTime();
BENCHMARK_CAPTURE(VornAnalyze, json, "--json")->Unit(benchmark::kSecond)->Iterations(1)->UseManualTime();

BENCHMARK_MAIN();
