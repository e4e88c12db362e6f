// Hull computers used on different threads do not interfere: every thread
// builds, queries and paints its own hulls at the same time as the others,
// and gets bit for bit what the same work gave on one thread. The one state
// the library keeps outside its objects is the generator that draws the start
// simplex, one per thread (test_host checks that each starts from seed 1);
// the hull also exercises the matrices and the
// singular value decomposition under its facets. Run under ThreadSanitizer
// (preset "tsan") this also checks that no hidden shared state is written
// without a lock.

#include "HullPoints.h"

#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>

namespace
{
// Everything a job computes, as the bytes of its numbers and texts.
template <class T>
void Add(std::string& out, const std::vector<T>& values)
{
    out.append(reinterpret_cast<const char*>(values.data()), values.size() * sizeof(T));
}

std::string RunJob(unsigned id)
{
    using namespace HullPoints;
    std::string out;
    // The start simplex is drawn with the calling thread's generator.
    TOLX::SeedRand15(1000 + id);
    const TOLX::CConvexHullComputer hull = Computed(Rows(Random(3, 150, Shape::Ball, id), 3));
    for (const std::vector<double>& row : Equations(hull))
        Add(out, row);
    for (const std::vector<double>& vertex : Flat(hull.getVertices()))
        Add(out, vertex);
    for (const std::vector<double>& probe : Rows(Random(3, 50, Shape::Ball, id + 100), 3))
        out += hull.isInside(testsupport::Col(probe)) ? '1' : '0';
    out += ThrownBy([] { HullOf({{0, 0, 0}}).compute(); }); // the message is built on this thread too

    // An image hull painted back.
    TOLX::CImage image(TOLX::IMAGE_GREY_8, TOLX::CSize(12, 10, 8)), painted(TOLX::IMAGE_GREY_16, TOLX::CSize(12, 10, 8));
    for (int z = 1; z < 7; ++z)
        for (int y = 2; y < 9; ++y)
            for (int x = 1 + static_cast<int>((y + z + id) % 4); x < 11; ++x)
                image.SetPixel(x, y, z, 1);
    TOLX::CConvexHullComputer imageHull(3, "image", nullptr);
    const TOLX::CConvexHullComputer::CBox box = imageHull.loadPointsFromImage(image);
    imageHull.compute();
    imageHull.paintConvexHullToImage(painted, box, 500 + id);
    for (int i = 0; i < 12 * 10 * 8; ++i)
        Add(out, std::vector<std::uint64_t>{painted.GetPixel(i % 12, i / 12 % 10, i / 120)});

    return out;
}
} // namespace

TEST(Threads, ConcurrentHullsGiveTheSingleThreadedResults)
{
    constexpr unsigned kThreads = 4, kRounds = 3;
    std::vector<std::string> expected;
    for (unsigned id = 0; id < kThreads; ++id)
        expected.push_back(RunJob(id));
    // Different jobs must differ, or the comparison below would prove little.
    EXPECT_NE(expected[0], expected[1]);

    std::vector<std::vector<std::string>> results(kThreads, std::vector<std::string>(kRounds));
    std::atomic<unsigned> ready{0};
    std::vector<std::thread> threads;
    for (unsigned id = 0; id < kThreads; ++id)
        threads.emplace_back([&, id] {
            // Start together so that the jobs overlap.
            ++ready;
            while (ready.load() < kThreads)
                std::this_thread::yield();
            for (unsigned round = 0; round < kRounds; ++round)
                results[id][round] = RunJob(id);
        });
    for (std::thread& t : threads)
        t.join();
    for (unsigned id = 0; id < kThreads; ++id)
        for (unsigned round = 0; round < kRounds; ++round)
            EXPECT_TRUE(results[id][round] == expected[id]) << "thread " << id << ", round " << round;
}
