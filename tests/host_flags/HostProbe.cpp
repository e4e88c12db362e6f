// A host program as a host application would write it: it compiles the
// library's headers with its own compiler and flags and prints the bits of
// every result, one value per line. Built with several compilers and flag
// sets (fused multiply-adds allowed or not), every build must print the same
// lines. The probe itself does no floating-point arithmetic on results, and
// its inputs are integers scaled by powers of two, exact in every build.

#include "VornNumeric.h"

#include <cinttypes>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <iostream>
#include <sstream>
#include <string>
#include <vector>

using namespace TOLX;
using T3 = CTriple<double>;

namespace
{
void Out(const std::string& what, double v)
{
    std::uint64_t bits = 0;
    std::memcpy(&bits, &v, sizeof bits);
    std::printf("%s %016" PRIx64 "\n", what.c_str(), bits);
}

void Out(const std::string& what, const T3& t)
{
    Out(what + ".x", t.x);
    Out(what + ".y", t.y);
    Out(what + ".z", t.z);
}

void Out(const std::string& what, const std::vector<double>& values)
{
    for (std::size_t i = 0; i < values.size(); ++i)
        Out(what + "[" + std::to_string(i) + "]", values[i]);
}

void Out(const std::string& what, const IMatrix<double>& m)
{
    for (std::size_t i = 0; i < m.Rows(); ++i)
        for (std::size_t j = 0; j < m.Cols(); ++j)
            Out(what + "(" + std::to_string(i) + "," + std::to_string(j) + ")", m(i, j));
}

void Out(const std::string& what, const CVec3& v)
{
    for (int i = 0; i < 3; ++i)
        Out(what + "[" + std::to_string(i) + "]", v[i]);
}

// Integers in [-1000000, 1000000] times 2^-shift: exact, whatever the flags.
class Inputs
{
public:
    double Next(int shift)
    {
        m_state = m_state * 1664525u + 1013904223u;
        return std::ldexp(static_cast<double>((m_state >> 8) % 2000001u) - 1000000.0, -shift);
    }
    // Braced lists are evaluated in order; function arguments are not.
    T3 Triple(int shift) { return T3{Next(shift), Next(shift), Next(shift)}; }
    std::vector<double> Take(std::size_t count, int shift)
    {
        std::vector<double> values(count);
        for (double& v : values)
            v = Next(shift);
        return values;
    }

private:
    std::uint32_t m_state = 2016;
};

// The derived results of all three computations.
void OutComputed(const std::string& what, const CMoment& filled)
{
    for (void (CMoment::*compute)() : {&CMoment::ComputeInertia, &CMoment::ComputeCovariance, &CMoment::Compute})
    {
        CMoment m(filled);
        (m.*compute)();
        Out(what + " centre", T3(m.CenterOfMassX(), m.CenterOfMassY(), m.CenterOfMassZ()));
        Out(what + " normed", {m.getNormM200(), m.getNormM020(), m.getNormM002(), m.getNormM110(), m.getNormM101(),
                               m.getNormM011()});
        Out(what + " excentricity", m.getExcentricity());
        Out(what + " moments", m.getInertiaMoments());
        Out(what + " axes", m.getInertiaAxes());
    }
}

void ProbeMoments(Inputs& in)
{
    for (int dimension : {2, 3})
    {
        CMoment m(dimension);
        for (int i = 0; i < 1000; ++i)
        {
            const std::vector<double> v = in.Take(4, 12);
            m(std::fabs(v[0]), v[1], v[2], dimension == 3 ? v[3] : 0.0);
        }
        const std::string what = "moment" + std::to_string(dimension) + "d";
        Out(what + " sums", {m.getM000(), m.getM100(), m.getM010(), m.getM001(), m.getM200(), m.getM020(),
                             m.getM002(), m.getM110(), m.getM101(), m.getM011()});
        OutComputed(what, m);
    }
    CObjectMoment objects(4, 3);
    for (int i = 0; i < 1000; ++i)
    {
        const T3 p = in.Triple(12);
        objects(static_cast<int64>(i % 4), p.x, p.y, p.z);
    }
    objects.Compute();
    for (int64 label = 0; label < 4; ++label)
    {
        const std::string what = "label" + std::to_string(label);
        Out(what + " sums", {objects.getM100(label), objects.getM200(label), objects.getM110(label),
                             objects.getM101(label), objects.getM011(label), objects.getM002(label)});
        Out(what + " moments", objects.getInertiaMoments(label));
    }
}

void ProbeGeometry(Inputs& in)
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
        const T3 point = in.Triple(14);
        const T3 x = in.Triple(14);
        try
        {
            const CPlane plane(point, u);
            const CPlane byDistance(u, in.Next(14));
            const CLine line(u, point);
            const CSegment segment(u, point, 0x1p-3);
            const CCircle circle(point, u, 0x1p-4);
            const CDisk disk(point, u, 0x1p-4);
            const CSegment other(T3(0, 1, 0), x, 0x1p-2);
            Out("plane", {plane.GetDistanceToOrigin(), byDistance.GetDistanceToOrigin()});
            Out("plane point", byDistance.GetPlanePoint());
            Out("line point", line.GetPoint(in.Next(14)));
            Out("distances", {Distance(line, x), Distance(segment, x), Distance(segment, other), Distance(circle, x),
                              Distance(disk, x), Distance(CLine(T3(0, 1, 0), x), circle)});
            Out("intersection", Intersection(line, CPlane(x, u)));
            Out("projection", Projection(u, byDistance));
        }
        catch (const CException& e)
        {
            std::printf("geometry throws %s\n", e.what());
        }
    }
    const std::vector<double> c = in.Take(9, 8);
    Out("roots", RootsOfPolynom4thOrder(c[0], c[1], c[2], c[3], c[4]));
    Out("roots", RootsOfPolynom3rdOrder(c[5], c[6], c[7], c[8]));
}

void ProbeAlgebra(Inputs& in)
{
    const CVec3 a{in.Next(12), in.Next(12), in.Next(12)};
    const CVec3 b{in.Next(12), in.Next(12), in.Next(12)};
    Out("vec3", std::vector<double>{a * b, a.Length(), a.SquaredLength()});
    Out("cross", a.CrossProd(b));
    Out("normalized", a.NormalizedCopy());
    const std::vector<double> s = in.Take(9, 10);
    const CMatrix3 m(s[0], s[1], s[2], s[3], s[4], s[5], s[6], s[7], s[8]);
    Out("det", m.Determinant());
    Out("m*b", m * b);
    const CMatrix3 inverse = m.InverseMatrix();
    const CMatrix3 product = m * inverse;
    for (int i = 0; i < 3; ++i)
        Out("m*inverse", product.Col(static_cast<std::size_t>(i)));
}

void ProbeMatrices(Inputs& in)
{
    CMatrix<double> A(3, 4), B(4, 2);
    for (double* v = A.Data(); v != A.Data() + 12; ++v)
        *v = in.Next(10);
    for (double* v = B.Data(); v != B.Data() + 8; ++v)
        *v = in.Next(10);
    Out("A*B", A * B);
    CMatrix<double> U(3, 4), S(4, 1), V(4, 4);
    std::printf("svd %d rank %d\n", CNumeric::Svd(A, U, S, V, true) ? 1 : 0, CNumeric::Rank(A, 1e-9));
    Out("U", U);
    Out("S", S);
    Out("V", V);
}

void ProbeHull(Inputs& in)
{
    CConvexHullComputer hull(3, "probe", nullptr);
    CMatrix<double> p(3, 1);
    for (int i = 0; i < 300; ++i)
    {
        for (std::size_t r = 0; r < 3; ++r)
            p(r, 0) = in.Next(14);
        hull.addPoint(p);
    }
    hull.compute();
    for (const CMatrix<double>& row : hull.getA())
        Out("normal", row);
    Out("offsets", std::vector<double>(hull.getb().begin(), hull.getb().end()));
    for (const CMatrix<double>& v : hull.getVertices())
        Out("vertex", v);
}
} // namespace

int main()
{
    // Compute() warns on standard error on every call.
    std::ostringstream warnings;
    std::streambuf* const cerr = std::cerr.rdbuf(warnings.rdbuf());
    Inputs in;
    ProbeMoments(in);
    ProbeGeometry(in);
    ProbeAlgebra(in);
    ProbeMatrices(in);
    ProbeHull(in);
    std::cerr.rdbuf(cerr);
    return 0;
}
