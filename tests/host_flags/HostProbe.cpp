// A host program as a host application would write it: it compiles the
// library's headers with its own compiler and flags and prints the bits of
// every result, one value per line. Built with several compilers and flag
// sets (fused multiply-adds allowed or not), every build must print the same
// lines. It probes what the headers compile into the host's own code (the
// accumulation of moments, the primitives' constructors and the triple
// arithmetic) and results computed from it. The probe itself does no
// floating-point arithmetic on results, and its inputs are integers scaled
// by powers of two, exact in every build.

#include "VornNumeric.h"

#include <cinttypes>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <vector>

using namespace TOLX;
using T3 = CTriple<double>;
using Values = std::vector<double>;

namespace
{
void Out(const char* what, const Values& values)
{
    for (const double v : values)
    {
        std::uint64_t bits = 0;
        std::memcpy(&bits, &v, sizeof bits);
        std::printf("%s %016" PRIx64 "\n", what, bits);
    }
}

Values Of(const T3& t) { return {t.x, t.y, t.z}; }
Values Of(const IMatrix<double>& m)
{
    Values values;
    for (std::size_t k = 0; k < m.Rows() * m.Cols(); ++k) values.push_back(m(k / m.Cols(), k % m.Cols()));
    return values;
}

// Integers in [-1000000, 1000000] times 2^-shift: exact, whatever the flags.
// Braced lists are evaluated in order; function arguments are not.
std::uint32_t state = 2016;
double Next(int shift)
{
    state = state * 1664525u + 1013904223u;
    return std::ldexp(static_cast<double>((state >> 8) % 2000001u) - 1000000.0, -shift);
}
T3 Triple(int shift) { return T3{Next(shift), Next(shift), Next(shift)}; }

// Sums accumulated in the host's code, then every computation from them (the
// labelled accumulator forwards to the same code). Compute() warns on
// standard error, which the comparison leaves aside.
void ProbeMoments()
{
    for (int dimension : {2, 3})
    {
        CMoment filled(dimension);
        for (int i = 0; i < 1000; ++i)
        {
            const Values v{std::fabs(Next(12)), Next(12), Next(12), dimension == 3 ? Next(12) : 0.0};
            filled(v[0], v[1], v[2], v[3]);
        }
        for (void (CMoment::*compute)() : {&CMoment::ComputeInertia, &CMoment::ComputeCovariance, &CMoment::Compute})
        {
            CMoment m(filled);
            (m.*compute)();
            Out("moments", {m.getM000(), m.getM100(), m.getM010(), m.getM001(), m.getM200(), m.getM020(), m.getM002(),
                            m.getM110(), m.getM101(), m.getM011(), m.CenterOfMassX(), m.CenterOfMassY(),
                            m.CenterOfMassZ(), m.getNormM200(), m.getNormM020(), m.getNormM002(), m.getNormM110(),
                            m.getNormM101(), m.getNormM011(), m.getExcentricity()});
            Out("decomposition", m.getInertiaMoments());
            Out("axes", Of(m.getInertiaAxes()));
        }
    }
}

void ProbeGeometry()
{
    using namespace TOLX::Geometry;
    // Unit vectors whose length is within one epsilon of 1 when computed
    // with separate products and not when fused, or the other way round.
    const T3 units[] = {{-0x1.0559f050f614ep-1, 0x1.10787fcf40e9fp-1, -0x1.59d4c80dea13p-1},
                        {-0x1.0df5dde53cdeap-2, 0x1.58c0de11b4ea2p-1, 0x1.61a6ce5a31821p-1},
                        {-0x1.00284afe8e0b8p-2, -0x1.d098442aae12p-1, 0x1.59c8887f35fa1p-2},
                        {0x1.d26cbdfba2143p-2, 0x1.c7a1878b0ddffp-1, 0x1.90306087c815dp-6},
                        {0, 0, 1}};
    for (const T3& u : units)
    {
        const T3 point = Triple(14), x = Triple(14);
        try
        {
            const CPlane plane(point, u), byDistance(u, Next(14));
            const CLine line(u, point);
            const CCircle circle(point, u, 0x1p-4);
            const CSegment segment(u, point, 0x1p-3), other(T3(0, 1, 0), x, 0x1p-2);
            Out("planes", {plane.GetDistanceToOrigin(), byDistance.GetDistanceToOrigin()});
            Out("points", Of(byDistance.GetPlanePoint()));
            Out("points", Of(line.GetPoint(Next(14))));
            Out("distances", {Distance(line, x), Distance(segment, x), Distance(segment, other), Distance(circle, x),
                              Distance(CDisk(point, u, 0x1p-4), x), Distance(CLine(T3(0, 1, 0), x), circle)});
        }
        catch (const CException& e)
        {
            std::printf("geometry throws %s\n", e.what());
        }
    }
}
} // namespace

int main()
{
    ProbeMoments();
    ProbeGeometry();
}
