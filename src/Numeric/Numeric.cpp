#include "Numeric/Numeric.h"

#include "Numeric/Matrix.h"

#include <utility>

namespace TOLX
{
namespace
{
// Orders the singular values descending by repeated full passes of adjacent
// swaps, moving the columns of a and v along with their value. The comparison
// is strict on purpose: equal values keep the order the worker left them in.
void SortDescending(double** a, int m, int n, double* w, double** v)
{
    for (bool swapped = true; swapped;)
    {
        swapped = false;
        for (int k = 2; k <= n; ++k)
        {
            if (!(w[k] > w[k - 1]))
                continue;
            std::swap(w[k], w[k - 1]);
            for (int i = 1; i <= m; ++i)
                std::swap(a[i][k], a[i][k - 1]);
            for (int i = 1; i <= n; ++i)
                std::swap(v[i][k], v[i][k - 1]);
            swapped = true;
        }
    }
}
} // namespace

template <class T>
bool CNumeric::Svd(const IMatrix<T>& A, IMatrix<T>& U, IMatrix<T>& S, IMatrix<T>& V, bool sort)
{
    CSvdWorkspace work;
    return Svd(A, U, S, V, sort, work);
}

template <class T>
bool CNumeric::Svd(const IMatrix<T>& A, IMatrix<T>& U, IMatrix<T>& S, IMatrix<T>& V, bool sort,
                   CSvdWorkspace& work)
{
    const int m = static_cast<int>(A.Rows());
    const int n = static_cast<int>(A.Cols());
    work.Prepare(m, n);
    double** a = work.A();
    for (int i = 1; i <= m; ++i)
        for (int j = 1; j <= n; ++j)
            a[i][j] = static_cast<double>(A(i - 1, j - 1));

    if (!work.Decompose())
        return false;
    double* w = work.W();
    double** v = work.V();
    if (sort)
        SortDescending(a, m, n, w, v);

    // Written through the checked accessor: an output that is too small fails
    // with its bounds message after the elements before it were written.
    for (int i = 0; i < m; ++i)
        for (int j = 0; j < n; ++j)
            U(i, j) = Impl::NarrowResult<T>(a[i + 1][j + 1]);
    for (int j = 0; j < n; ++j)
        S(j, 0) = Impl::NarrowResult<T>(w[j + 1]);
    for (int i = 0; i < n; ++i)
        for (int j = 0; j < n; ++j)
            V(i, j) = Impl::NarrowResult<T>(v[i + 1][j + 1]);
    return true;
}

template <class T>
int CNumeric::Rank(const IMatrix<T>& A, typename Impl::NonDeduced<T>::type tolerance)
{
    const int m = static_cast<int>(A.Rows());
    const int n = static_cast<int>(A.Cols());
    CMatrix<T> U(m, n);
    CMatrix<T> S(n, 1);
    CMatrix<T> V(n, n);
    if (!Svd(A, U, S, V, false))
        return -1;

    // A NaN singular value fails the comparison and so counts towards the rank.
    int rank = n;
    const CMatrix<T>& values = S;
    for (int j = 0; j < n; ++j)
        if (tolerance >= values(j, 0))
            --rank;
    return rank;
}

#define VORN_NUMERIC_INSTANTIATE(T)                                                                                    \
    template VORN_API bool CNumeric::Svd<T>(const IMatrix<T>&, IMatrix<T>&, IMatrix<T>&, IMatrix<T>&, bool);           \
    template VORN_API bool CNumeric::Svd<T>(const IMatrix<T>&, IMatrix<T>&, IMatrix<T>&, IMatrix<T>&, bool,            \
                                            CSvdWorkspace&);                                                           \
    template VORN_API int CNumeric::Rank<T>(const IMatrix<T>&, T);
VORN_NUMERIC_INSTANTIATE(double)
VORN_NUMERIC_INSTANTIATE(float)
#undef VORN_NUMERIC_INSTANTIATE
} // namespace TOLX
