#include "Numeric/Facet.h"

#include "Numeric/hull/HullTraits.h"
#include "Numeric/hull/ThrowSites.h"
#include "Numeric/helpers/nrSVD.h"
#include "zeblib2core/Throw.h"

#include <algorithm>
#include <cmath>
#include <iostream>
#include <stdexcept>
#include <utility>

namespace TOLX
{
namespace
{
namespace Sites = Impl::HullSites;

unsigned char Narrow(std::size_t value)
{
    return static_cast<unsigned char>(value);
}

// V := the ridge's vertices followed by p, after checking that they span a
// facet. V keeps its storage when its size does not change.
void SpanOf(const CFace* ridge, const CMatrix<double>& p, CMatrix<double>& V)
{
    if (p.Cols() != 1)
        TOLX_THROW_SITE(Sites::kFacetPNotVector, p.Rows(), p.Cols());
    if (ridge->getDimSelf() != p.Rows() - 2)
        TOLX_THROW_SITE(Sites::kFacetRidgeDimension, ridge->getDimSelf());
    if (ridge->hasVertex(p))
        TOLX_THROW_SITE(Sites::kFacetRidgeHasP);
    const CMatrix<double>& R = ridge->getVertices();
    if (R.Rows() != p.Rows())
    {
        V = R;
        V.AddCols(p); // raises the concatenation message
        return;
    }
    V.Reshape(R.Rows(), R.Cols() + 1);
    for (std::size_t i = 0; i < R.Rows(); ++i)
    {
        for (std::size_t j = 0; j < R.Cols(); ++j)
            V.Data()[i * V.Cols() + j] = R.Data()[i * R.Cols() + j];
        V.Data()[i * V.Cols() + R.Cols()] = p.Data()[i];
    }
}

CMatrix<double> SpanOf(const CFace* ridge, const CMatrix<double>& p)
{
    CMatrix<double> V;
    SpanOf(ridge, p, V);
    return V;
}

// The SVD worker's 1-based arrays for a (d-1)-by-d edge matrix: a[1..d-1][1..d],
// w[1..d] and v[1..d][1..d]. Up to kLocalDimension they live on the stack, so
// that building a facet in the usual dimensions allocates nothing for its
// decomposition; they are not cleared, since the edges fill a and the worker
// writes all of w and v. The worker gets exactly the values CNumeric::Svd would copy
// into its own arrays, so the results are the same bits; U is never read, so
// it is not formed.
class CEdgeDecomposition
{
public:
    explicit CEdgeDecomposition(std::size_t d) : m_d(d)
    {
        const std::size_t values = 2 * (d + 1) * (d + 1);
        const std::size_t rows = 2 * d + 1;
        double* store = m_localValues;
        double** rowStore = m_localRows;
        if (d > kLocalDimension)
        {
            m_heapValues.resize(values);
            m_heapRows.resize(rows);
            store = m_heapValues.data();
            rowStore = m_heapRows.data();
        }
        m_a = rowStore;
        m_v = rowStore + d;
        for (std::size_t i = 0; i < d; ++i)
            m_a[i] = store + i * (d + 1);
        m_w = store + d * (d + 1);
        for (std::size_t i = 0; i <= d; ++i)
            m_v[i] = m_w + (d + 1) * (i + 1);
    }

    double& edge(std::size_t row, std::size_t col) { return m_a[row + 1][col + 1]; }

    // On non-convergence CNumeric::Svd writes nothing, leaving the zero
    // matrices of the caller; the arrays are cleared to match.
    void decompose()
    {
        const int m = static_cast<int>(m_d - 1);
        const int n = static_cast<int>(m_d);
        if (CNrSvd::svdcmpWithoutU(m_a, m, n, m_w, m_v))
            return;
        std::fill(m_w, m_w + (m_d + 1) * (m_d + 2), 0.0);
    }

    double singularValue(std::size_t j) const { return m_w[j + 1]; }
    double rightVector(std::size_t row, std::size_t j) const { return m_v[row + 1][j + 1]; }

private:
    static constexpr std::size_t kLocalDimension = 8;

    std::size_t m_d;
    double m_localValues[2 * (kLocalDimension + 1) * (kLocalDimension + 1)];
    double* m_localRows[2 * kLocalDimension + 1];
    std::vector<double> m_heapValues;
    std::vector<double*> m_heapRows;
    double** m_a = nullptr;
    double* m_w = nullptr;
    double** m_v = nullptr;
};
} // namespace

const double CFacet::eps = 1e-12;

CFacet::CFacet(std::size_t d) : CFace(Narrow(d), Narrow(d - 1)) {}

CFacet::CFacet(const CMatrix<double>& V)
    : CFace(Narrow(V.Rows()), Narrow(V.Rows() - 1)), neighbours(V.Rows(), nullptr)
{
    vertices = V;
    computeNormal();
}

// The same facet CFacet(ridge, p) builds, in this object's storage; used
// only where the face part already has dimSpace = d and dimSelf = d - 1.
void CFacet::respan(CFace* ridge, const CMatrix<double>& p)
{
    SpanOf(ridge, p, vertices);
    const std::size_t d = vertices.Rows();
    A.Reshape(1, d);
    b.Reshape(1, 1);
    neighbours.assign(d, nullptr);
    outsideSet.clear();
    computeNormal();
}

void CFacet::computeNormal()
{
    const std::size_t d = vertices.Rows();
    if (vertices.Cols() != d)
        TOLX_THROW_SITE(Sites::kFacetPointCount, d, d, vertices.Cols());

    // The normal spans the null space of the edge vectors v_i - v_0.
    CEdgeDecomposition svd(d);
    const double* v = vertices.Data();
    for (std::size_t i = 1; i < d; ++i)
        for (std::size_t c = 0; c < d; ++c)
            svd.edge(i - 1, c) = v[c * d + i] - v[c * d];
    svd.decompose();

    // Strictly smaller, so the lowest index wins a tie.
    std::size_t m = 0;
    for (std::size_t j = 1; j < d; ++j)
        if (svd.singularValue(j) < svd.singularValue(m))
            m = j;
    // Absolute on purpose: the bound does not scale with the coordinates.
    if (std::fabs(svd.singularValue(m)) >= eps)
        TOLX_THROW_SITE(Sites::kFacetNoFacet);

    for (std::size_t c = 0; c < d; ++c)
        A(0, c) = svd.rightVector(c, m);
    b(0, 0) = Impl::RowTimesColumn(A.Data(), v, d, d);
}

CFacet::CFacet(CFace* ridge, const CMatrix<double>& p) : CFacet(SpanOf(ridge, p)) {}

bool CFacet::getFurthest(CMatrix<double>& p) const
{
    const std::size_t d = Impl::ColsOfValue(A);
    const bool row = Impl::RowsOfValue(A) == 1;
    double threshold = b(0, 0) + eps;
    bool found = false;
    for (const CMatrix<double>& q : outsideSet)
    {
        const double height = row && Impl::ValueFitsRowProduct(d, q)
                                  ? Impl::RowTimesColumn(A.Data(), q.Data(), d, Impl::ColsOfValue(q))
                                  : (A * q)(0, 0);
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
    hullHandle.noteOutsideEdit();
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
    // Reading a column the vertex matrix does not have raises its index message.
    if (vertices.Cols() < d)
        vertices.GetCol(vertices.Cols());
    const std::size_t rows = Impl::RowsOfValue(vertices);
    const std::size_t stride = Impl::ColsOfValue(vertices);
    for (std::size_t i = 0; i < d; ++i)
    {
        if (g->hasVertexValues(Impl::ColumnStart(vertices, rows, i), rows, stride))
            ++shared;
        else
            missing = i;
    }
    if (shared + 1 < d)
    {
        g->print();
        print();
        TOLX_THROW_SITE(Sites::kFacetTooFewCommon, shared);
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

void CFacetConnector::reset(CFacet* visible, CFacet* hidden, const CMatrix<double>& ridgeVertices,
                            const CMatrix<double>& referencePoint_)
{
    std::fill(A.Data(), A.Data() + A.Rows() * A.Cols(), 0.0);
    std::fill(b.Data(), b.Data() + b.Rows() * b.Cols(), 0.0);
    visibleFacet = visible;
    hiddenFacet = hidden;
    constructedFacet = nullptr;
    referencePoint = referencePoint_;
    vertices = ridgeVertices;
}

bool CFacetConnector::hasVertices(CMatrix<double>& M) const
{
    const std::size_t rows = M.Rows();
    const std::size_t cols = M.Cols();
    for (std::size_t j = 0; j < cols; ++j)
        if (!hasVertexValues(Impl::ColumnStart(M, rows, j), rows, cols))
            return false;
    return true;
}
} // namespace TOLX
