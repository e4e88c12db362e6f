// Objects used on different threads do not interfere: every thread builds
// and queries its own hull computers, moment accumulators, matrices and
// images at the same time as the others, and gets bit for bit what the same
// work gave on one thread. Run under ThreadSanitizer (preset "tsan") this
// also checks that no hidden shared state is written without a lock.

#include "VornNumeric.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdint>
#include <cstring>
#include <random>
#include <string>
#include <thread>
#include <vector>

namespace
{
// Everything a job computes, as numbers compared by their bits (NaN included).
struct Record
{
    std::vector<std::uint64_t> bits;
    std::vector<std::string> texts;

    void Add(double x)
    {
        std::uint64_t b;
        std::memcpy(&b, &x, sizeof b);
        bits.push_back(b);
    }
    void Add(std::uint64_t x) { bits.push_back(x); }
    void Add(const std::string& text) { texts.push_back(text); }

    bool operator==(const Record& other) const { return bits == other.bits && texts == other.texts; }
};

void HullJob(unsigned id, std::mt19937& engine, Record& out)
{
    // The start simplex is drawn with the calling thread's generator.
    TOLX::SeedRand15(1000 + id);
    std::uniform_real_distribution<double> coordinate(-10.0, 10.0);
    TOLX::CConvexHullComputer hull(3, "thread", nullptr);
    for (int k = 0; k < 150; ++k)
    {
        TOLX::CMatrix<double> p(3, 1);
        for (std::size_t i = 0; i < 3; ++i)
            p(i, 0) = coordinate(engine);
        hull.addPoint(p);
    }
    hull.compute();
    for (const TOLX::CMatrix<double>& row : hull.getA())
        for (std::size_t i = 0; i < 3; ++i)
            out.Add(row(0, i));
    for (double b : hull.getb())
        out.Add(b);
    for (const TOLX::CMatrix<double>& v : hull.getVertices())
        for (std::size_t i = 0; i < 3; ++i)
            out.Add(v(i, 0));
    for (int k = 0; k < 50; ++k)
    {
        TOLX::CMatrix<double> q(3, 1);
        for (std::size_t i = 0; i < 3; ++i)
            q(i, 0) = coordinate(engine);
        out.Add(static_cast<std::uint64_t>(hull.isInside(q)));
    }

    // A hull that cannot be built: the exception and its message.
    TOLX::CConvexHullComputer few(3, "few", nullptr);
    few.addPoint(TOLX::CMatrix<double>(3, 1));
    try
    {
        few.compute();
    }
    catch (const TOLX::CException& e)
    {
        out.Add(std::string(e.what()));
    }
}

void ImageJob(unsigned id, Record& out)
{
    TOLX::SeedRand15(2000 + id);
    TOLX::CImage image(TOLX::IMAGE_GREY_8, TOLX::CSize(12, 10, 8));
    for (int z = 1; z < 7; ++z)
        for (int y = 2; y < 9; ++y)
            for (int x = 1 + static_cast<int>((y + z + id) % 4); x < 11; ++x)
                image.SetPixel(x, y, z, 1);
    TOLX::CConvexHullComputer hull(3, "image", nullptr);
    const TOLX::CConvexHullComputer::CBox box = hull.loadPointsFromImage(image);
    hull.compute();
    TOLX::CImage painted(TOLX::IMAGE_GREY_16, TOLX::CSize(12, 10, 8));
    hull.paintConvexHullToImage(painted, box, 500 + id);
    for (int z = 0; z < 8; ++z)
        for (int y = 0; y < 10; ++y)
            for (int x = 0; x < 12; ++x)
                out.Add(painted.GetPixel(x, y, z));
}

void MomentJob(std::mt19937& engine, Record& out)
{
    std::uniform_real_distribution<double> value(-5.0, 5.0);
    TOLX::CMoment moment(3);
    TOLX::CObjectMoment objects(7, 2);
    for (int k = 0; k < 400; ++k)
    {
        const double x = value(engine), y = value(engine), z = value(engine);
        moment(1.0 + (k % 3), x, y, z);
        objects(k % 7, x, y, 0.0);
    }
    moment.ComputeInertia();
    for (double e : moment.getInertiaMoments())
        out.Add(e);
    for (const TOLX::CTriple<double>& axis : moment.getInertiaVectors())
        out.Add(axis.x), out.Add(axis.y), out.Add(axis.z);
    objects.Compute();
    const TOLX::CValueMap map = objects;
    out.Add(static_cast<std::uint64_t>(map.Size()));
    for (TOLX::int64 label = 0; label < 7; ++label)
        for (double e : objects.getInertiaMoments(label))
            out.Add(e);
}

void MatrixJob(std::mt19937& engine, Record& out)
{
    std::uniform_real_distribution<double> value(-1.0, 1.0);
    TOLX::CMatrix<double> A(6, 5);
    for (std::size_t i = 0; i < 6; ++i)
        for (std::size_t j = 0; j < 5; ++j)
            A(i, j) = value(engine);
    TOLX::CMatrix<double> U(6, 5), S(5, 1), V(5, 5);
    out.Add(static_cast<std::uint64_t>(TOLX::CNumeric::Svd(A, U, S, V, true)));
    for (std::size_t j = 0; j < 5; ++j)
        out.Add(S(j, 0));
    out.Add(static_cast<std::uint64_t>(TOLX::CNumeric::Rank(A, 0.5)));

    std::vector<double> elements(9);
    for (std::size_t i = 0; i < 3; ++i)
        for (std::size_t j = i; j < 3; ++j)
            elements[i * 3 + j] = elements[j * 3 + i] = value(engine);
    const TOLX::CSymmMatrix<double> symmetric(elements, 3);
    TOLX::CSymmMatrix<double> vectors(3);
    std::vector<double> values(3);
    symmetric.SolveEigenProblem(vectors, values, 2.220446049250313e-16);
    for (double e : values)
        out.Add(e);
    for (std::size_t i = 0; i < 3; ++i)
        for (std::size_t j = 0; j < 3; ++j)
            out.Add(vectors(i, j));
}

Record RunJob(unsigned id)
{
    std::mt19937 engine(id);
    Record out;
    HullJob(id, engine, out);
    ImageJob(id, out);
    MomentJob(engine, out);
    MatrixJob(engine, out);
    return out;
}
} // namespace

TEST(Threads, ConcurrentObjectsGiveTheSingleThreadedResults)
{
    constexpr unsigned kThreads = 4;
    constexpr int kRounds = 3;
    // CObjectMoment::Compute warns once per label on standard error.
    testing::internal::CaptureStderr();
    std::vector<Record> expected;
    for (unsigned id = 0; id < kThreads; ++id)
        expected.push_back(RunJob(id));
    // Different jobs must differ, or the comparison below would prove little.
    EXPECT_FALSE(expected[0] == expected[1]);

    std::vector<std::vector<Record>> results(kThreads, std::vector<Record>(kRounds));
    std::atomic<unsigned> ready{0};
    std::vector<std::thread> threads;
    for (unsigned id = 0; id < kThreads; ++id)
        threads.emplace_back([&, id] {
            // Start together so that the jobs overlap.
            ++ready;
            while (ready.load() < kThreads)
                std::this_thread::yield();
            for (int round = 0; round < kRounds; ++round)
                results[id][round] = RunJob(id);
        });
    for (std::thread& t : threads)
        t.join();
    testing::internal::GetCapturedStderr();

    for (unsigned id = 0; id < kThreads; ++id)
        for (int round = 0; round < kRounds; ++round)
            EXPECT_TRUE(results[id][round] == expected[id]) << "thread " << id << ", round " << round;
}

TEST(Threads, EveryThreadStartsTheGeneratorFromTheSameState)
{
    // A new thread's generator starts from seed 1 whatever other threads did.
    TOLX::SeedRand15(1);
    std::vector<int> fresh;
    for (int k = 0; k < 5; ++k)
        fresh.push_back(TOLX::Rand15());
    TOLX::SeedRand15(77);
    (void)TOLX::Rand15();

    std::vector<int> inThread;
    std::thread([&] {
        for (int k = 0; k < 5; ++k)
            inThread.push_back(TOLX::Rand15());
    }).join();
    EXPECT_EQ(inThread, fresh);
}
