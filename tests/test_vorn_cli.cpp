// End to end: the built vorn tool runs on small TIFF files written here, its
// numbers are compared with the same library calls made directly, and every
// error path is checked for its one-line message and exit code.

#include "CaptureStderr.h"
#include "JsonReader.h"
#include "MemoryBudget.h"
#include "VornTool.h"
#ifdef VORN_HAVE_TIFF
#include "VornTiffFiles.h"
#endif

#include "VornNumeric.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <numeric>
#include <random>
#include <sstream>
#include <thread>
#include <tuple>

#include <sys/stat.h>
#include <sys/wait.h>

using vorntest::JsonValue;
using namespace std::string_literals;

namespace
{
using ToolRun = std::tuple<int, std::string, std::string>; // exit code, standard output, standard error

// A file name as messages show it.
std::string Named(const std::string& path) { return "'" + path + "'"; }

std::string Slurp(const std::string& path)
{
    return std::string(std::istreambuf_iterator<char>(std::ifstream(path, std::ios::binary).rdbuf()), {});
}

class VornCli : public vorntest::VornFilesTest
{
protected:
    // Runs the tool with standard output and error in files (so not a
    // terminal) and standard input from `input`, after the shell commands of
    // `setup`.
    ToolRun Vorn(const std::string& arguments, const std::string& input = "", const std::string& setup = "")
    {
        std::ofstream(Path("stdin")) << input;
        const std::string command = setup + "'" + VORN_TOOL_PATH + "' " + arguments + " <'" + Path("stdin") + "' >'" +
                                    Path("stdout") + "' 2>'" + Path("stderr") + "'";
        const int status = std::system(command.c_str());
        return ToolRun(WIFEXITED(status) ? WEXITSTATUS(status) : -1, Slurp(Path("stdout")), Slurp(Path("stderr")));
    }

    // Failing runs: their arguments and standard input, the message expected
    // after "vorn: " as the only line on standard error, and the exit code.
    void ExpectOneLineErrors(const std::vector<std::tuple<std::string, std::string, std::string, int>>& cases)
    {
        for (const auto& [arguments, input, message, code] : cases)
            EXPECT_EQ(Vorn(arguments, input), ToolRun(code, "", "vorn: " + message + "\n")) << arguments;
    }
};

#ifdef VORN_HAVE_TIFF
// Labels for the four test objects, chosen to need the pixel type's full width,
// by bytes per pixel - 1.
const std::uint32_t LABELS[][4] = {{1, 2, 200, 255}, {1, 300, 4000, 65535}, {}, {1, 5, 65536, 70000}};

template <class Visit>
void ForEachPixel(const TOLX::CImage& image, Visit&& visit)
{
    for (int z = 0; z < image.Depth(); ++z)
        for (int y = 0; y < image.Height(); ++y)
            for (int x = 0; x < image.Width(); ++x)
                visit(x, y, z, image.GetPixel(x, y, z));
}

// A 2-D (depth 1) or 3-D label image: a box, a disc or ball, a flat object
// with no hull in its dimension (collinear in 2-D, one plane in 3-D) and a
// two-pixel object.
TOLX::CImage LabelImage(int bits, int depth)
{
    TOLX::CImage image(bits == 8 ? TOLX::IMAGE_GREY_8 : bits == 16 ? TOLX::IMAGE_GREY_16 : TOLX::IMAGE_GREY_32,
                       TOLX::CSize(30, 24, depth));
    const int zc = depth / 2;
    ForEachPixel(image, [&](int x, int y, int z, std::uint64_t) {
        const double dx = x - 20.3, dy = y - 8.6, dz = depth > 1 ? z - zc : 0;
        const bool flat = z == zc && y >= 14 && y < 19 && (depth > 1 ? x >= 3 && x < 8 : x == y - 11);
        const bool pair = (x == 25 && y == 20 && z == 0) || (x == 26 && y == 21 && z == depth - 1);
        const bool box = x >= 2 && x <= 9 && y >= 2 && y <= 6 && z <= 3, round = dx * dx + dy * dy + dz * dz <= 16.5;
        const int object = box ? 0 : round ? 1 : flat ? 2 : pair ? 3 : 4;
        if (object < 4)
            image.SetPixel(x, y, z, LABELS[bits / 8 - 1][object]);
    });
    return image;
}

std::vector<vorntest::RawPage> PagesOf(const TOLX::CImage& image)
{
    std::vector<vorntest::RawPage> pages;
    for (int z = 0; z < image.Depth(); ++z)
        pages.push_back(vorntest::MakePage(image.Width(), image.Height(), 8 * image.Type().BytesPerPixel(),
                                           [&](int x, int y) { return image.GetPixel(x, y, z); }));
    return pages;
}

// A host value against its JSON: a string, a number (null for NaN and the
// infinities) or a vector of them.
void ExpectSameValue(const JsonValue& json, const TOLX::CValue& value, const std::string& key)
{
    if (value.Type() == TOLX::VALUE_VECTOR)
    {
        ASSERT_EQ(json.items.size(), value.Vector().Size()) << key;
        auto item = json.items.begin();
        for (const auto& entry : value.Vector())
            ExpectSameValue(*item++, *entry.second, key + "[]");
        return;
    }
    const bool text = value.Type() == TOLX::VALUE_STRING;
    const double number = text ? 0 : value.Type() == TOLX::VALUE_LONG ? double(value.Long()) : value.Double();
    EXPECT_EQ(std::make_tuple(json.kind, json.number, json.text),
              std::make_tuple(text ? JsonValue::STRING : std::isfinite(number) ? JsonValue::NUMBER : JsonValue::NUL,
                              std::isfinite(number) ? number : 0.0, text ? std::string(value.String()) : ""))
        << key;
}

// The tool's objects and painted pages against the same library calls made
// directly: moments, the object's own moment map key by key in the same
// order, hull counts, and every hull painted in its label, later labels on
// top. Runs in a thread of its own so that the hulls' random start points are
// drawn from a fresh generator, as in a fresh vorn process.
void ExpectSameAsLibrary(const JsonValue& objects, const TOLX::CImage& image, const std::vector<vorntest::RawPage>& pages)
{
    std::thread([&] {
        const std::size_t d = image.Depth() > 1 ? 3 : 2;
        const auto first = [d](std::vector<double> values) { return values.resize(d), values; }; // its first d values
        const std::uint32_t* labels = LABELS[image.Type().BytesPerPixel() - 1];
        TOLX::CObjectMoment moments(TOLX::int64(labels[3] + 1), TOLX::int64(d));
        ForEachPixel(image, [&](int x, int y, int z, std::uint64_t label) {
            if (label)
                moments(TOLX::int64(label), x, y, z);
        });
        vorntest::CaptureStandardError([&] { moments.Compute(); }); // its deprecation warnings
        const TOLX::CValueMap all = moments;
        auto entry = all.begin() + 3; // after "dim", "status", "no. of objects"
        TOLX::CImage painted(image.Type(), image.Size());
        ASSERT_EQ(objects.items.size(), 4u);
        for (std::size_t i = 0; i < 4; ++i)
        {
            const TOLX::int64 label = labels[i];
            const JsonValue& got = objects.items[i];
            // The library's own principal moments, axes and excentricity
            // are in the moment map.
            EXPECT_EQ(std::make_tuple(got["label"].number, got["pixels"].number, got["centroid"].Numbers()),
                      std::make_tuple(double(label), moments.Mass(label),
                                      first({moments.CenterOfMassX(label), moments.CenterOfMassY(label), moments.CenterOfMassZ(label)})));
            const auto& members = got["moments"].members;
            std::size_t k = 0;
            for (const auto& [key, value] : (entry++)->second->Map())
                if (key.ToString() != "status" && key.ToString() != "pixel")
                {
                    ASSERT_LT(k, members.size());
                    EXPECT_EQ(members[k].first, key.ToString());
                    ExpectSameValue(members[k++].second, *value, key.ToString());
                }
            EXPECT_EQ(members.size(), k);

            TOLX::CConvexHullComputer hull(d, "direct", nullptr);
            hull.loadPointsFromImage(image, std::size_t(label));
            bool computed = false;
            try
            {
                computed = hull.getPoints().size() > d && (hull.compute(), true);
            }
            catch (const TOLX::CException&)
            {
            }
            ASSERT_EQ(std::make_tuple(got["hull"].kind, got["hull_problem"].kind, got["solidity"].kind),
                      computed ? std::make_tuple(JsonValue::OBJECT, JsonValue::NUL, JsonValue::NUMBER)
                               : std::make_tuple(JsonValue::NUL, JsonValue::STRING, JsonValue::NUL));
            if (!computed)
                continue;
            double inside = 0;
            TOLX::CMatrix<double> p(d, 1);
            ForEachPixel(image, [&](int x, int y, int z, std::uint64_t) {
                p(0, 0) = x;
                p(1, 0) = y;
                p(d - 1, 0) = d == 3 ? z : y;
                if (hull.isInside(p))
                    painted.SetPixel(x, y, z, std::uint64_t(label)), ++inside;
            });
            const JsonValue& counts = got["hull"];
            EXPECT_EQ(std::make_tuple(counts["planes"].number, counts["painted_pixels"].number),
                      std::make_tuple(double(hull.getA().size()), inside));
            EXPECT_DOUBLE_EQ(got["painted_solidity"].number, moments.Mass(label) / inside);
        }
        const std::vector<vorntest::RawPage> expected = PagesOf(painted);
        EXPECT_TRUE(std::equal(pages.begin(), pages.end(), expected.begin(), expected.end(), [](const auto& a, const auto& b) {
            return std::tie(a.bits, a.bytes) == std::tie(b.bits, b.bytes);
        }));
    }).join();
}
#endif

using Point = std::vector<double>;
using Points = std::vector<Point>;

double Dot(const Point& a, const Point& b) { return std::inner_product(a.begin(), a.end(), b.begin(), 0.0); }
} // namespace

#ifdef VORN_HAVE_TIFF
TEST_F(VornCli, AnalyzeMatchesDirectLibraryCallsAndReportsAsText)
{
    const std::string input = Path("labels.tif"), painted = Path("hulls.tif");
    for (const int bits : {8, 16, 32})
        for (const int depth : {1, 5})
        {
            SCOPED_TRACE(std::to_string(bits) + "-bit, " + std::to_string(depth) + " pages");
            const TOLX::CImage image = LabelImage(bits, depth);
            ASSERT_TRUE(vorntest::WriteRawTiff(input, PagesOf(image)));
            const auto [code, out, err] = Vorn("analyze --json --paint='" + painted + "' '" + input + "'");
            ASSERT_EQ(std::make_pair(code, err), std::make_pair(0, std::string())); // no progress bar when standard error is a file
            const JsonValue report = vorntest::ParseJson(out);
            EXPECT_EQ(std::make_tuple(report["source"].text, report["dimension"].number, report["sample_type"].text,
                                      report["object_count"].number),
                      std::make_tuple(input, depth > 1 ? 3.0 : 2.0, std::to_string(bits) + "-bit unsigned", 4.0));
            EXPECT_EQ(std::make_pair(report["objects"].items.at(2)["hull_problem"].text, report["objects"].items.at(3)["hull_problem"].text),
                      std::make_pair(depth > 1 ? "flat"s : "line"s, "line"s));
            ExpectSameAsLibrary(report["objects"], image, vorntest::ReadRawTiff(painted));
        }
    // The last image as text. Rows start with label and pixel count: the box
    // has 8 x 5 x 4 pixels and is convex; the two-pixel object has no hull.
    const auto [code, out, err] = Vorn("analyze '" + input + "'");
    EXPECT_EQ(std::make_tuple(code, err, std::count(out.begin(), out.end(), '\n')), std::make_tuple(0, "", 9));
    // Columns are right-aligned in the width of their name and a blank (at
    // least 7 for the label, 10 for the others).
    for (const std::string& part : {input + ": 30x24x5, 3-D, 32-bit unsigned, 4 objects (largest label 70000)\nunit: pixel\n  label    pixels",
                                    "\n      1       160       160 "s, " solidity painted_solidity\n"s,
                                    "         1                1\n      5 "s, "\n  70000         2 "s,
                                    "       n/a       n/a           n/a       n/a              n/a\n"s,
                                    "\nlabel 65536: no hull: flat\nlabel 70000: no hull: line\n"s})
        EXPECT_NE(out.find(part), std::string::npos) << part;
}
#endif

// Runs that succeed: the first part starts standard output, the others are
// in it. The cube's corners, its centre and a point on a face, in mixed
// notation, have the hull x_i <= 1, -x_i <= 0.
TEST_F(VornCli, BuiltInSampleHelpAndHullAsText)
{
    std::ofstream(Path("cube.txt")) << "0 0 0\n1,0,0\n0 1 0\n0 0 1\n1 1 0\n1, 0, 1\n0 1 1\n1 1 1\n0.5 0.5 0.5\n1 0.5 0.5\n";
    const std::pair<std::string, std::vector<std::string>> runs[] = {
        {"analyze",
         {"built-in sample volume: 128x128x128, 3-D, 8-bit unsigned, 5 objects (largest label 5)\n", "\nlabel 5: no hull: line\n"}},
        {"--help", {"usage: vorn analyze"}},
        {"-h", {"usage: vorn analyze"}},
        {"hull --inside=1,1,1 --inside 2,0,0 '" + Path("cube.txt") + "'",
         {"hull of 10 points in 3-D: 6 facets, 8 vertices\nfacets (normal . x <= offset):\n", "\n  0 0 -1 <= 0\n",
          "\n  1 0 0 <= 1\n", "\nvertices:\n", "\n  1 0 1\n", "\ninside tests:\n  1 1 1: inside\n  2 0 0: outside\n"}},
        // Blocks indented by two spaces a level, coordinates and each facet or
        // test on one line.
        {"hull --json --inside=1,1,1 '" + Path("cube.txt") + "'",
         {"{\n  \"dimension\": 3,\n  \"points\": 10,\n  \"facets\": [\n    {\"normal\": [", "\n    {\"normal\": [1, 0, 0], \"offset\": 1}",
          "\n  \"vertices\": [\n    [", "\n    [1, 0, 1]", "\n  ],\n  \"inside\": [\n    {\"point\": [1, 1, 1], \"inside\": true}\n  ]\n}\n"}}};
    for (const auto& [arguments, parts] : runs)
    {
        const auto [code, out, err] = Vorn(arguments);
        EXPECT_EQ(std::make_tuple(code, err, out.rfind(parts[0], 0)), std::make_tuple(0, "", 0u)) << out;
        for (const std::string& part : parts)
            EXPECT_NE(out.find(part), std::string::npos) << part;
    }
}

// Hulls at the offsets and scales of real data (map coordinates, large
// integers, tiny and huge sets): every facet supports the points (all on or
// below it, one on it, within a tolerance relative to their magnitude), the
// point that is the only maximum of a random linear function, a corner, is a
// vertex exactly as it was given, and the first point to test is inside, the
// others outside.
TEST_F(VornCli, HullRightAtAnyOffsetAndScale)
{
    std::mt19937 generator(3);
    std::uniform_real_distribution<double> uniform(0, 1);
    const auto cloud = [&](std::vector<double> offset, double size, std::size_t count) {
        Points points(count, offset);
        for (std::size_t i = 0; i < count * offset.size(); ++i)
            points[i / offset.size()][i % offset.size()] += size * uniform(generator);
        return points;
    };
    const auto diamond = [](double size) { return Points{{size, 0}, {0, size}, {-size, 0}, {0, -size}, {0, 0}}; };
    const std::pair<Points, std::vector<std::string>> cases[] = {
        {cloud({5e5, 5.4e6}, 1000, 100), {"500500,5400500", "500500,5401001"}},
        {{{1.3e7, 1.3e7}, {1.3e7 + 1, 1.3e7}, {1.3e7, 1.3e7 + 1}}, {"13000000.25,13000000.25", "13000000.75,13000000.75"}},
        {cloud({1e4, 1e4, 1e4}, 10, 30), {"10005,10005,10005", "10011,10005,10005"}},
        {diamond(1e155), {"0,0", "1e160,0", "7.1e154,7.1e154"}},
        {diamond(1e-8), {"0,0", "1e-7,0", "7.1e-9,7.1e-9"}},
        {diamond(4e-7), {"0,0", "4e-6,0", "2.9e-7,2.9e-7"}},
        // Vertices that share their first three coordinates stay apart.
        {{{0, 0, 0, 1}, {0, 0, 0, -1}, {1, 0, 0, 0}, {-1, 0, 0, 0}, {0, 1, 0, 0}, {0, -1, 0, 0}, {0, 0, 1, 0}, {0, 0, -1, 0}},
         {"0,0,0,0.9", "0.5,0.5,0,0.5"}}};
    for (const auto& [points, probes] : cases)
    {
        std::ostringstream text;
        text.precision(17);
        double magnitude = 0;
        for (const auto& point : points)
            for (std::size_t j = 0; j < point.size(); ++j)
                text << point[j] << (j + 1 < point.size() ? ' ' : '\n'), magnitude = std::max(magnitude, std::fabs(point[j]));
        const std::string arguments = std::accumulate(probes.begin(), probes.end(), "hull --json"s,
                                                      [](const std::string& all, const std::string& probe) { return all + " --inside " + probe; });
        const auto [code, out, err] = Vorn(arguments + " -", text.str());
        ASSERT_EQ(code, 0) << err;
        // Only the diamonds extend over less than 1e-6 or more than 1e9 units.
        const bool warned = magnitude < 1e-6 || magnitude > 1e9;
        EXPECT_EQ(err.empty() ? "" : err.substr(0, 47) + "..." + err.substr(err.find(" units, ")),
                  warned ? "vorn: warning: <stdin>: the points extend over ... units, a scale at which the library's "
                           "absolute tolerance of 1e-12 is meaningless; vorn builds the hull scaled to unit size, "
                           "the library on these coordinates would not\n"
                         : "");
        const JsonValue hull = vorntest::ParseJson(out);
        SCOPED_TRACE(std::to_string(points.size()) + " points, magnitude " + std::to_string(magnitude));
        for (const JsonValue& facet : hull["facets"].items)
        {
            double highest = -HUGE_VAL;
            for (const auto& point : points)
                highest = std::max(highest, Dot(facet["normal"].Numbers(), point) - facet["offset"].number);
            EXPECT_LE(std::fabs(highest), 1e-11 * magnitude);
        }
        Points vertices;
        for (const JsonValue& vertex : hull["vertices"].items)
            vertices.push_back(vertex.Numbers());
        for (int k = 0; k < 300; ++k)
        {
            std::vector<double> u(points[0].size());
            std::generate(u.begin(), u.end(), [&] { return uniform(generator) - 0.5; });
            const auto corner = std::max_element(points.begin(), points.end(),
                                                 [&](const auto& a, const auto& b) { return Dot(u, a) < Dot(u, b); });
            EXPECT_NE(std::find(vertices.begin(), vertices.end(), *corner), vertices.end());
        }
        for (std::size_t i = 0; i < probes.size(); ++i)
            EXPECT_EQ(hull["inside"].items.at(i)["inside"].number, i == 0) << probes[i];
    }
}

// Point files, inputs that are no regular files, names with control
// characters and command-line mistakes. The same number rules hold for point
// files and --inside.
TEST_F(VornCli, PointAndCommandLineErrorsAreOneLineWithExitCodes)
{
    const std::string none = Path("none.txt"), fifo = Path("fifo"), directory = Path("dir"), odd = Path("esc\x1b[2J\n.txt"),
                      escaped = Path("esc\x1b[2J.txt");
    std::ofstream(escaped) << "0 0\n1 x\n";
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    std::filesystem::create_directory(directory);
    ExpectOneLineErrors({
        {"hull", "0 0 0\n1 0 0\n1 1\n", "<stdin>:3: expected 3 numbers like the first point, found 2", 1},
        {"hull", "0 0\nabc 1\n", "<stdin>:2: 'abc' is not a number", 1},
        {"hull", "1.5x 2\n", "<stdin>:1: '1.5x' is not a number", 1},
        {"hull", "0 0\n1 0\n# note\ninf 1\n", "<stdin>:4: 'inf' is not a finite number", 1},
        {"hull", "0 0\n1,,0\n", "<stdin>:2: empty field between commas", 1},
        {"hull", "1, 2,\n", "<stdin>:1: line ends with a comma", 1},
        {"hull", "7\n", "<stdin>:1: a point needs at least 2 coordinates, found 1", 1},
        {"hull", "# nothing\n\n", "<stdin>: no points", 1},
        {"hull", "0 0 0\n1 0 0\n0 1 0\n", "<stdin>: 3 points in 3-D; a hull needs at least 4", 1},
        {"hull", "1 2 3 4 5 6 7 8 9\n", "<stdin>:1: 9 coordinates; vorn hull handles 2 to 8 dimensions", 1},
        {"hull", "0 0\n1 0\n" + std::string(1048577, ' ') + "\n", "<stdin>:3: line longer than 1048576 bytes", 1},
        {"hull", "0 0\n" + std::string(1048577, '7'), "<stdin>:2: line longer than 1048576 bytes", 1},
        {"hull", "0 0\n1 \x1b[2J\xff'\n", "<stdin>:2: '\\x1b[2J\\xff\\'' is not a number", 1},
        {"hull", std::string("0 0\n1 2\0", 8) + "3\n", "<stdin>:2: '2\\x003' is not a number", 1},
        {"hull", "0 0\n1 -2e300\n", "<stdin>:2: '-2e300' is too large (vorn takes numbers up to 1e300 in magnitude)", 1},
        {"hull", "0 0\n1 1\n2 2\n3 3\n",
         "<stdin>: Could not find any affinely independent points. Maybe your data form an affine subspace.", 1},
        {"hull '" + none + "'", "", Named(none) + ": cannot open: No such file or directory", 1},
        {"hull --inside 1,2 -", "0 0 0\n1 0 0\n0 1 0\n0 0 1\n",
         "hull: --inside '1,2' has 2 coordinates, the points of <stdin> have 3", 2},
        {"hull --inside 1,,2", "", "hull: --inside '1,,2': empty field between commas", 2},
        {"analyze --max-memory 2X", "", "analyze: --max-memory '2X': expected a size like 512M, 2G or 1073741824", 2},
        // A FIFO without a writer would block an ordinary open, /dev/zero never
        // ends, and control characters in a name are shown, not sent.
        {"hull '" + fifo + "'", "", Named(fifo) + ": is a FIFO, not a regular file", 1},
        {"hull '" + directory + "'", "", Named(directory) + ": is a directory, not a regular file", 1},
        {"hull /dev/zero", "", "'/dev/zero': is a device, not a regular file", 1},
        {"hull '" + odd + "'", "", "'" + Path("esc") + "\\x1b[2J\\x0a.txt': cannot open: No such file or directory", 1},
        {"hull '" + escaped + "'", "", "'" + Path("esc") + "\\x1b[2J.txt':2: 'x' is not a number", 1},
        {"", "", "no command given (commands: analyze, hull; see vorn --help)", 2},
        {"analyse", "", "unknown command 'analyse' (commands: analyze, hull; see vorn --help)", 2},
        {"analyze --jsn", "", "analyze: unknown option '--jsn' (see vorn --help)", 2},
        {"analyze --paint", "", "analyze: --paint needs a value", 2},
        {"analyze --paint=", "", "analyze: --paint needs a file name", 2},
        {"analyze --overlay=", "", "analyze: --overlay needs a file name", 2},
        {"analyze a.tif b.tif", "", "analyze: more than one image given ('a.tif', 'b.tif')", 2},
        {"hull --inside", "", "hull: --inside needs a value", 2},
        {"hull a.txt -", "", "hull: more than one point file given ('a.txt', '-')", 2},
        {"hull -- -odd", "", "'-odd': cannot open: No such file or directory", 1},
    });
}

#ifdef VORN_HAVE_TIFF
// Images that cannot be read (the reader's cases are in test_vorn_tiff), paint
// targets that are the input or cannot be written, and hostile files: refused
// in one line before any work, the input left as it was. A paint target is
// replaced only by a complete file.
TEST_F(VornCli, UnusableImagesAndOutputsAreRefusedAndPaintIsWholeOrNothing)
{
    const std::string image = Path("in.tif"), directory = Path("dir"), hardLink = Path("hard.tif"),
                      softLink = Path("soft.tif"), stack = Path("stack.tif");
    ASSERT_TRUE(vorntest::WriteRawTiff(image, PagesOf(LabelImage(8, 5)))); // its hulls take more than 2 KiB
    std::filesystem::create_directory(directory);
    std::filesystem::create_hard_link(image, hardLink);
    std::filesystem::create_symlink(image, softLink);
    // 100000 pages of 16 MiB that all decode from the same 256 KiB.
    std::ofstream(stack, std::ios::binary) << vorntest::HandMadeTiff(
        std::vector<vorntest::HandPage>(100000, vorntest::ZERO_RUNS_PAGE), vorntest::ZeroRuns());
    const std::string before = Slurp(image), itself = ": is the input image itself; write into another file";
    ExpectOneLineErrors({
        {"analyze --paint '" + image + "' '" + image + "'", "", Named(image) + itself, 1},
        {"analyze --paint '" + hardLink + "' '" + image + "'", "", Named(hardLink) + itself, 1},
        {"analyze --paint '" + softLink + "' '" + image + "'", "", Named(softLink) + itself, 1},
        {"analyze --overlay '" + softLink + "' '" + image + "'", "", Named(softLink) + itself, 1},
        {"analyze --paint '" + directory + "' '" + image + "'", "", Named(directory) + ": cannot be written: it is a directory", 1},
        {"analyze --paint '" + Path("none/out.tif") + "' '" + image + "'", "",
         Named(Path("none/out.tif")) + ": cannot be written: directory " + Named(Path("none")) + " does not exist", 1},
        {"analyze --paint /dev/null", "", "'/dev/null': cannot be written: it is a device", 1},
        // The limit leaves (200 - 100) / 1.3 = 76.9 MiB for the image: five
        // pages and the 256 KiB strip buffer are too many.
        {"analyze --max-memory 200M '" + stack + "'", "",
         Named(stack) + ": page 5 brings the image to 80.2 MiB, more than the 76.9 MiB that the memory limit of 200.0 MiB "
                        "(--max-memory) leaves for it",
         1},
    });
    EXPECT_EQ(Slurp(image), before);

    const std::string painted = Path("out.tif");
    std::ofstream(painted) << "previous";
    const std::string command = "analyze --paint '" + painted + "' '" + image + "'";
    // A file size limit of 2 blocks (of 512 or 1024 bytes) cuts the writing
    // short: with SIGXFSZ ignored the write fails, otherwise the signal ends
    // the tool. Either way the previous file stays and no temporary is left.
    const auto [code, out, err] = Vorn(command, "", "trap '' XFSZ; ulimit -f 2; ");
    EXPECT_EQ(std::make_tuple(code, err.rfind("vorn: " + Named(painted) + ": cannot be written", 0), err.find('\n')),
              std::make_tuple(1, 0u, err.size() - 1))
        << err;
    EXPECT_EQ(std::get<0>(Vorn(command, "", "ulimit -f 2; ")), 128 + SIGXFSZ);
    EXPECT_EQ(Slurp(painted), "previous");
    for (const auto& entry : std::filesystem::directory_iterator(m_dir))
        EXPECT_NE(entry.path().filename().string().rfind(".vorn-", 0), 0u) << entry.path();
    ASSERT_EQ(std::get<0>(Vorn(command)), 0);
    EXPECT_EQ(vorntest::ReadRawTiff(painted).size(), 5u);
}
#else
TEST_F(VornCli, TiffNeedsLibtiff)
{
    const std::string needs = ": TIFF files need libtiff, and this vorn was built without it (install libtiff-dev and "
                              "rebuild); without a file vorn analyses its built-in sample";
    ExpectOneLineErrors({{"analyze labels.tif", "", "'labels.tif'" + needs, 1}, {"analyze --paint hulls.tif", "", "'hulls.tif'" + needs, 1}});
}
#endif

TEST(VornMemorySize, WholeBytesOrPowersOf1024)
{
    // Sizes, and the bytes they give; 0 for a refusal, which leaves the result
    // as it was. 2^64 bytes, and 2^24 TiB = 2^64 bytes, do not fit.
    const std::pair<std::string, std::uint64_t> cases[] = {
        {"1073741824", 1073741824}, {"512M", 536870912}, {"2G", 2147483648}, {"3k", 3072}, {"1T", 1099511627776},
        {"", 0}, {"0", 0}, {"0G", 0}, {"G", 0}, {"1.5G", 0}, {"2 G", 0}, {"2GB", 0}, {"-1", 0},
        {"18446744073709551616", 0}, {"16777216T", 0}};
    const auto parse = [](const std::string& text, std::uint64_t bytes = 7) {
        return std::make_pair(vorn::ParseMemorySize(text, bytes), bytes);
    };
    for (const auto& [text, bytes] : cases)
        EXPECT_EQ(parse(text), std::make_pair(bytes != 0, bytes ? bytes : 7)) << text;
}
