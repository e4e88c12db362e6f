// Convex hull timings beside Qhull on the same points in the same run, and
// the peak memory of one hull computation.
//
//   bench_hull [benchmark options]           times every workload
//   bench_hull --peak-memory=Ours/ball3d_1e6 one computation in this process,
//                                            then its high-water mark (VmHWM)
// The peak is measured in a process of its own so that neither the other
// workloads nor the other hull raise the high-water mark.

#include "HullPoints.h"
#include "QhullPeer.h"
#include "VornNumeric.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <functional>
#include <map>
#include <string>
#include <vector>

namespace
{
using HullPoints::Shape;

struct Workload
{
    const char* name;
    std::size_t dim;
    std::size_t count;
    Shape shape;
};

// ball3d_1e5 beside ball3d_1e6 shows how the time grows with the point count;
// ball3d_100 is one of the thousands of small hulls `vorn analyze` builds per
// image, where what a computer costs before its first point shows.
const Workload kWorkloads[] = {
    {"ball3d_1e6", 3, 1000000, Shape::Ball},  {"ball3d_1e5", 3, 100000, Shape::Ball},
    {"sphere3d_1e5", 3, 100000, Shape::Sphere}, {"ball5d_2e4", 5, 20000, Shape::Ball},
    {"disk2d_1e6", 2, 1000000, Shape::Ball},  {"ball3d_100", 3, 100, Shape::Ball},
};

const unsigned kSeed = 20240611;

// Generated once per workload and kept, outside every timed region.
const std::vector<double>& PointsOf(const Workload& w)
{
    static std::map<std::string, std::vector<double>> cache;
    auto it = cache.find(w.name);
    if (it == cache.end())
        it = cache.emplace(w.name, HullPoints::Random(w.dim, w.count, w.shape, kSeed)).first;
    return it->second;
}

struct HullSummary
{
    double checksum = 0.0; // keeps the reading of the results from being optimised away
    std::size_t facets = 0;
};

// What a caller does: hand the points over, compute, read every equation.
HullSummary OurHull(const std::vector<double>& coords, std::size_t dim)
{
    TOLX::CConvexHullComputer hull(dim, "bench_hull", nullptr);
    TOLX::CMatrix<double> p(dim, 1);
    for (std::size_t i = 0; i < coords.size(); i += dim)
    {
        std::copy(coords.begin() + long(i), coords.begin() + long(i + dim), p.Data());
        hull.addPoint(p);
    }
    hull.compute();

    HullSummary summary;
    for (const TOLX::CMatrix<double>& row : hull.getA())
        for (std::size_t j = 0; j < dim; ++j)
            summary.checksum += row.Data()[j];
    for (double b : hull.getb())
        summary.checksum += b;
    summary.facets = hull.GetFacets().size();
    return summary;
}

#ifdef VORN_HAVE_QHULL
HullSummary Qhull(const std::vector<double>& coords, std::size_t dim)
{
    CQhullRun run(coords, dim);
    HullSummary summary;
    run.ForEachFacet([&](const double* normal, double offset) {
        for (std::size_t j = 0; j < dim; ++j)
            summary.checksum += normal[j];
        summary.checksum += offset;
        ++summary.facets;
    });
    return summary;
}
#endif

using HullFunction = std::function<HullSummary(const std::vector<double>&, std::size_t)>;

std::map<std::string, HullFunction> Hulls()
{
    std::map<std::string, HullFunction> hulls{{"Ours", OurHull}};
#ifdef VORN_HAVE_QHULL
    hulls.emplace("Qhull", Qhull);
#endif
    return hulls;
}

void RegisterAll()
{
    const auto hulls = Hulls();
    for (const Workload& w : kWorkloads)
        for (const auto& [hullName, hull] : hulls)
        {
            const std::string name = hullName + "/" + w.name;
            benchmark::RegisterBenchmark(name.c_str(), [w, hull = hull](benchmark::State& state) {
                const std::vector<double>& coords = PointsOf(w);
                HullSummary summary;
                for (auto _ : state)
                {
                    summary = hull(coords, w.dim);
                    benchmark::DoNotOptimize(summary.checksum);
                }
                state.counters["facets"] = double(summary.facets);
            })
                ->Unit(w.count < 1000 ? benchmark::kMicrosecond : benchmark::kMillisecond)
                ->UseRealTime();
        }
}

// The process's peak resident size so far, in kB, from /proc/self/status.
long HighWaterMarkKb()
{
    std::ifstream status("/proc/self/status");
    std::string line;
    while (std::getline(status, line))
        if (line.rfind("VmHWM:", 0) == 0)
            return std::stol(line.substr(6));
    return -1;
}

// Runs one hull on one workload, named like the benchmarks ("Ours/ball3d_1e6").
int ReportPeakMemory(const std::string& name)
{
    const auto hulls = Hulls();
    for (const Workload& w : kWorkloads)
        for (const auto& [hullName, hull] : hulls)
        {
            if (hullName + "/" + w.name != name)
                continue;
            const std::vector<double>& coords = PointsOf(w);
            const long before = HighWaterMarkKb();
            const HullSummary summary = hull(coords, w.dim);
            const long peak = HighWaterMarkKb();
            std::printf("%s: %zu facets, peak %.1f MB (%.1f MB before the hull, points included)\n", name.c_str(),
                        summary.facets, double(peak) / 1024.0, double(before) / 1024.0);
            return 0;
        }
    std::fprintf(stderr, "unknown workload %s\n", name.c_str());
    return 1;
}
} // namespace

int main(int argc, char** argv)
{
    const char* option = "--peak-memory=";
    if (argc == 2 && std::strncmp(argv[1], option, std::strlen(option)) == 0)
        return ReportPeakMemory(argv[1] + std::strlen(option));

    RegisterAll();
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
