// CMoment and CObjectMoment driven by random operation sequences: weights and
// coordinates with NaN, infinities and negative values, invalid dimensions,
// labels that are negative or out of range. Only the described failures may
// occur, each exactly where it is described, and the value maps have their
// described sizes.

#include "FuzzInput.h"
#include "VornNumeric.h"

#include <algorithm>
#include <cmath>
#include <iostream>
#include <stdexcept>
#include <string>
#include <vector>

namespace
{
constexpr double kEps = 2.220446049250313e-16;
const std::string kDimensionMessage = "dimension not valid, only 2 and 3 supported";
const std::string kSubscript = "invalid vector<T> subscript";

TOLX::int64 Dimension(FuzzInput& in)
{
    const unsigned kind = in.Byte() % 8;
    if (kind < 3)
        return 2;
    if (kind < 6)
        return 3;
    return static_cast<TOLX::int64>(in.Raw<std::int8_t>());
}

bool ValidDimension(TOLX::int64 d) { return d == 2 || d == 3; }

template <class F>
void ExpectDimensionFailure(TOLX::int64 d, F f)
{
    try
    {
        f();
        FUZZ_CHECK(ValidDimension(d));
    }
    catch (const TOLX::CException& e)
    {
        FUZZ_CHECK(!ValidDimension(d));
        FUZZ_CHECK(e.what() == kDimensionMessage);
    }
}

std::size_t ExpectedEntries(TOLX::int64 d) { return d == 3 ? 34 : 21; }

// Eigenvalues in descending order where the ordering compares them: all
// three positions in 3-D, the first two in 2-D.
void CheckOrdered(const std::vector<double>& e, TOLX::int64 d)
{
    FUZZ_CHECK(e.size() == 3);
    if (std::any_of(e.begin(), e.end(), [](double x) { return std::isnan(x); }))
        return;
    FUZZ_CHECK(e[0] >= e[1]);
    if (d == 3)
        FUZZ_CHECK(e[1] >= e[2]);
}

void FuzzMoment(FuzzInput& in)
{
    const TOLX::int64 d0 = Dimension(in);
    if (!ValidDimension(d0))
    {
        ExpectDimensionFailure(d0, [&] { TOLX::CMoment m(d0); });
        return;
    }
    TOLX::CMoment m(d0);
    TOLX::int64 d = d0;
    bool computed = false;
    bool scaleInvariant = false;
    while (!in.Empty())
    {
        switch (in.Byte() % 8)
        {
        case 0:
        case 1:
        case 2:
        {
            const double w = in.Number();
            const double x = in.Number();
            const double y = in.Number();
            const double z = d == 3 ? in.Number() : 0.0;
            m(w, x, y, z);
            break;
        }
        case 3:
        {
            const TOLX::int64 nd = Dimension(in);
            ExpectDimensionFailure(nd, [&] { m.SetDimension(nd); });
            if (ValidDimension(nd))
                d = nd;
            break;
        }
        case 4:
            m.Reset();
            FUZZ_CHECK(m.Mass() == 0.0);
            break;
        case 5:
        {
            const unsigned which = in.Below(3);
            const bool empty = m.Mass() <= kEps; // a NaN mass is not empty
            try
            {
                if (which == 0)
                    m.ComputeInertia();
                else if (which == 1)
                    m.ComputeCovariance();
                else
                    m.Compute();
                FUZZ_CHECK(!empty);
                computed = true;
                if (!scaleInvariant) // the ratios e1/e0, e2/e0 need not be ordered
                    CheckOrdered(m.getInertiaMoments(), d);
            }
            catch (const TOLX::CException& e)
            {
                FUZZ_CHECK(empty);
                FUZZ_CHECK(std::string(e.what()) == "empty space");
            }
            break;
        }
        case 6:
            scaleInvariant = in.Byte() % 2 == 0;
            m.SetScaleInvariance(scaleInvariant);
            FUZZ_CHECK(m.getInertiaMoments().size() == 3);
            (void)m.getScaledInertiaAxes();
            (void)m.getScaledInertiaVectors();
            (void)m.CenterOfMass();
            break;
        default:
            try
            {
                const TOLX::CValueMap map = m;
                FUZZ_CHECK(computed);
                FUZZ_CHECK(map.Size() == ExpectedEntries(d));
                (void)m.getMainInertiaAxis();
            }
            catch (const std::out_of_range& e)
            {
                FUZZ_CHECK(!computed);
                FUZZ_CHECK(e.what() == kSubscript);
            }
            break;
        }
    }
}

// Labels mostly in range, sometimes at or beyond the count or negative.
TOLX::int64 Label(FuzzInput& in, TOLX::int64 count)
{
    switch (in.Byte() % 8)
    {
    case 0: return count;
    case 1: return -1 - in.Below(3);
    case 2: return static_cast<TOLX::int64>(in.Raw<std::int64_t>());
    default: return count > 0 ? static_cast<TOLX::int64>(in.Below(static_cast<unsigned>(count))) : 0;
    }
}

// Runs a label access: beyond the count "Label exceeds size", negative
// labels the container's subscript error, otherwise no failure.
template <class F>
void ExpectLabel(TOLX::int64 label, TOLX::int64 count, F f)
{
    try
    {
        f();
        FUZZ_CHECK(label >= 0 && label < count);
    }
    catch (const TOLX::CException& e)
    {
        FUZZ_CHECK(label >= count);
        FUZZ_CHECK(std::string(e.what()) == "Label exceeds size");
    }
    catch (const std::out_of_range& e)
    {
        FUZZ_CHECK(label < 0);
        FUZZ_CHECK(e.what() == kSubscript);
    }
}

void FuzzObjectMoment(FuzzInput& in)
{
    const TOLX::int64 count = static_cast<TOLX::int64>(in.Below(300)) - (in.Byte() % 16 == 0 ? 400 : 0);
    const TOLX::int64 d0 = Dimension(in);
    if (count < 0 || !ValidDimension(d0))
    {
        try
        {
            TOLX::CObjectMoment objects(count, d0);
            FUZZ_CHECK(false);
        }
        catch (const TOLX::CException& e)
        {
            FUZZ_CHECK(!ValidDimension(d0) && e.what() == kDimensionMessage);
        }
        catch (const std::length_error& e)
        {
            FUZZ_CHECK(count < 0 && std::string(e.what()) == "vector<T> too long");
        }
        return;
    }
    TOLX::CObjectMoment objects(count, d0);
    TOLX::int64 d = d0;
    // Per label: pixels since the last Reset, pixels ever, and whether a
    // computation has built its axes.
    const auto n = static_cast<std::size_t>(count);
    std::vector<std::size_t> sinceReset(n, 0);
    std::vector<std::size_t> pixels(n, 0);
    std::vector<bool> hasAxes(n, false);
    while (!in.Empty())
    {
        switch (in.Byte() % 8)
        {
        case 0:
        case 1:
        case 2:
        {
            const TOLX::int64 label = Label(in, count);
            const double x = in.Number();
            const double y = in.Number();
            const double z = in.Number();
            ExpectLabel(label, count, [&] { objects(label, x, y, z); });
            if (label >= 0 && label < count)
            {
                ++sinceReset[static_cast<std::size_t>(label)];
                ++pixels[static_cast<std::size_t>(label)];
            }
            break;
        }
        case 3:
        {
            const TOLX::int64 label = Label(in, count);
            ExpectLabel(label, count, [&] {
                FUZZ_CHECK(objects.Mass(label) == static_cast<double>(sinceReset[static_cast<std::size_t>(label)]));
                (void)objects.CenterOfMass(label);
                FUZZ_CHECK(objects.getInertiaMoments(label).size() == 3);
                (void)objects.getScaledInertiaAxes(label);
            });
            break;
        }
        case 4:
        {
            const TOLX::int64 nd = Dimension(in);
            ExpectDimensionFailure(nd, [&] { objects.SetDimension(nd); });
            if (ValidDimension(nd))
                d = nd;
            break;
        }
        case 5:
            objects.Reset();
            std::fill(sinceReset.begin(), sinceReset.end(), 0);
            break;
        case 6:
            objects.Compute();
            for (std::size_t i = 0; i < n; ++i)
                if (sinceReset[i] > 0)
                    hasAxes[i] = true;
            break;
        default:
        {
            std::size_t listed = 0;
            bool complete = true;
            for (std::size_t i = 0; i < n; ++i)
                if (pixels[i] > 0)
                {
                    ++listed;
                    complete = complete && hasAxes[i];
                }
            try
            {
                const TOLX::CValueMap map = objects;
                FUZZ_CHECK(complete);
                FUZZ_CHECK(map.Size() == 3 + listed);
                for (const TOLX::CValue_Key& key : map.Keys())
                    if (key.ToString().rfind("object ", 0) == 0)
                        FUZZ_CHECK(map.Entry(key)->Map().Size() == ExpectedEntries(d) + 2);
            }
            catch (const std::out_of_range& e)
            {
                FUZZ_CHECK(!complete);
                FUZZ_CHECK(e.what() == kSubscript);
            }
            break;
        }
        }
    }
}
} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    // The deprecated Compute() warns on standard error at every call.
    Silence(std::cerr);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    FuzzInput in(data, size);
    if (in.Byte() % 2 == 0)
        FuzzMoment(in);
    else
        FuzzObjectMoment(in);
    return 0;
}
