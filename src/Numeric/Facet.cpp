#include "Numeric/Facet.h"

#include "Numeric/Numeric.h"
#include "zeblib2core/Throw.h"

#include <cmath>
#include <iostream>
#include <stdexcept>

namespace TOLX
{
namespace
{
const char* const kConstructor = "TOLX::CFacet::CFacet";

// Host applications know these throw sites by their line numbers, so the
// numbers are fixed here instead of following edits of this file.
constexpr int kLinePointCount = 57;
constexpr int kLineNoFacet = 78;
constexpr int kLinePNotVector = 34;
constexpr int kLineRidgeDimension = 37;
constexpr int kLineRidgeHasP = 40;
constexpr int kLineTooFewCommon = 130;

unsigned char Narrow(std::size_t value)
{
    return static_cast<unsigned char>(value);
}

// The ridge's vertices followed by p, after checking that they span a facet.
CMatrix<double> SpanOf(const CFace* ridge, const CMatrix<double>& p)
{
    if (p.Cols() != 1)
        TOLX_THROW(kConstructor, kLinePNotVector, "p is expected to be a vector, but its size is '%1x%2'", p.Rows(),
                   p.Cols());
    if (ridge->getDimSelf() != p.Rows() - 2)
        TOLX_THROW(kConstructor, kLineRidgeDimension, "f is expected to be a n-2 dim face, but it is %1-dim.",
                   ridge->getDimSelf());
    if (ridge->hasVertex(p))
        TOLX_THROW(kConstructor, kLineRidgeHasP, "f has vertex p");
    CMatrix<double> V = ridge->getVertices();
    V.AddCols(p);
    return V;
}
} // namespace

const double CFacet::eps = 1e-12;

CFacet::CFacet(std::size_t d) : CFace(Narrow(d), Narrow(d - 1)) {}

CFacet::CFacet(const CMatrix<double>& V)
    : CFace(Narrow(V.Rows()), Narrow(V.Rows() - 1)), neighbours(V.Rows(), nullptr)
{
    vertices = V;
    const std::size_t d = V.Rows();
    if (V.Cols() != d)
        TOLX_THROW(kConstructor, kLinePointCount,
                   "Constructor of a CFacet in %1-space, exspectes %2 affinely independent points but got %3.", d, d,
                   V.Cols());

    // The normal spans the null space of the edge vectors v_i - v_0.
    CMatrix<double> M(d - 1, d);
    for (std::size_t i = 1; i < d; ++i)
        for (std::size_t c = 0; c < d; ++c)
            M(i - 1, c) = V(c, i) - V(c, 0);
    CMatrix<double> U(d - 1, d);
    CMatrix<double> S(d, 1);
    CMatrix<double> W(d, d);
    CNumeric::Svd(M, U, S, W, false);

    // Strictly smaller, so the lowest index wins a tie.
    std::size_t m = 0;
    for (std::size_t j = 1; j < d; ++j)
        if (S(j, 0) < S(m, 0))
            m = j;
    // Absolute on purpose: the bound does not scale with the coordinates.
    if (std::fabs(S(m, 0)) >= eps)
        TOLX_THROW(kConstructor, kLineNoFacet, "Unable to construct a facet.");

    for (std::size_t c = 0; c < d; ++c)
        A(0, c) = W(c, m);
    b = A * V.GetCol(0);
}

CFacet::CFacet(CFace* ridge, const CMatrix<double>& p) : CFacet(SpanOf(ridge, p)) {}

bool CFacet::getFurthest(CMatrix<double>& p) const
{
    double threshold = b(0, 0) + eps;
    bool found = false;
    for (const CMatrix<double>& q : outsideSet)
    {
        const double height = (A * q)(0, 0);
        if (height > threshold)
        {
            threshold = height;
            p = q;
            found = true;
        }
    }
    return found;
}

void CFacet::addToOutsideSet(const CMatrix<double>& p)
{
    outsideSet.push_front(p);
}

std::list<CMatrix<double>> CFacet::getOutsideSet() const
{
    return outsideSet;
}

void CFacet::addNeighbour(CFacet* g)
{
    const std::size_t d = getDimSpace();
    std::size_t shared = 0;
    std::size_t missing = 0;
    for (std::size_t i = 0; i < d; ++i)
    {
        if (g->hasVertex(vertices.GetCol(i)))
            ++shared;
        else
            missing = i;
    }
    if (shared + 1 < d)
    {
        g->print();
        print();
        TOLX_THROW("TOLX::CFacet::addNeighbour", kLineTooFewCommon,
                   "Cannot add a neighbor to facet with only %1 common vertices.", shared);
    }
    if (shared == d)
        return;
    if (missing >= neighbours.size())
        throw std::out_of_range("invalid vector<T> subscript");
    neighbours[missing] = g;
}

std::vector<CFacet*> CFacet::getNeighbours() const
{
    return neighbours;
}

void CFacet::flipDirection()
{
    A *= -1.0;
    b *= -1.0;
}

void CFacet::print() const
{
    CFace::print();
}

CFacetConnector::CFacetConnector(CFacet* visible, CFacet* hidden, CMatrix<double>& ridgeVertices,
                                 CMatrix<double>& referencePoint_)
    : CFace(Narrow(ridgeVertices.Rows()), Narrow(ridgeVertices.Rows() - 2)), visibleFacet(visible),
      hiddenFacet(hidden), constructedFacet(nullptr), referencePoint(referencePoint_)
{
    vertices = ridgeVertices;
}

bool CFacetConnector::hasVertices(CMatrix<double>& M) const
{
    for (std::size_t j = 0; j < M.Cols(); ++j)
        if (!hasVertex(M.GetCol(j)))
            return false;
    return true;
}
} // namespace TOLX
