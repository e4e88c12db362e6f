#include "Numeric/helpers/nrSVD.h"

#include "Numeric/MatrixSites.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <new>

namespace TOLX
{
namespace
{
// sqrt(x^2 + y^2) scaled by the larger magnitude, so that neither the squares
// overflow nor tiny components vanish.
double Hypot(double x, double y)
{
    const double ax = std::fabs(x);
    const double ay = std::fabs(y);
    if (ax > ay)
    {
        const double r = ay / ax;
        return ax * std::sqrt(1.0 + r * r);
    }
    if (ay == 0.0)
        return 0.0;
    const double r = ax / ay;
    return ay * std::sqrt(1.0 + r * r);
}

// |magnitude| carrying the sign of signSource (zero counts as positive).
double WithSignOf(double magnitude, double signSource)
{
    return signSource >= 0.0 ? std::fabs(magnitude) : -std::fabs(magnitude);
}

// The routine's FMAX: the second value unless the first is greater, so a NaN
// second value is taken and a NaN first value is dropped.
double RoutineMax(double a, double b)
{
    return a > b ? a : b;
}

// How big the worker's arrays are: known at compile time for the small shapes
// of the hull's facets, so that their loops unroll and their values stay in
// registers, or only at run time for every other caller. Both run the one
// algorithm below with the same operations in the same order.
struct CRuntimeShape
{
    int m;
    int n;
};

template <int Rows, int Cols>
struct CFixedShape
{
    static constexpr int m = Rows;
    static constexpr int n = Cols;
};

// Applies the plane rotation (c, s) to columns p and q of the 1-based rows
// 1..rows of x: x_p' = x_p c + x_q s, x_q' = x_q c - x_p s.
template <class Rows>
void RotateColumns(Rows x, int rows, int p, int q, double c, double s)
{
    for (int r = 1; r <= rows; ++r)
    {
        const double xp = x[r][p];
        const double xq = x[r][q];
        x[r][p] = xp * c + xq * s;
        x[r][q] = xq * c - xp * s;
    }
}

// Householder reduction to upper bidiagonal form: diagonal into w,
// superdiagonal into rv1[2..n] (rv1[1] stays 0). Each reflection is scaled by
// the absolute sum of the part it reduces. Returns the largest
// |w[i]| + |rv1[i]|, the yardstick for negligible elements.
template <class Shape, class ARows>
double Bidiagonalize(ARows a, Shape shape, double* w, double* rv1)
{
    const int m = shape.m;
    const int n = shape.n;
    double g = 0.0;
    double scale = 0.0;
    double anorm = 0.0;
    for (int i = 1; i <= n; ++i)
    {
        const int l = i + 1;
        rv1[i] = scale * g;
        g = 0.0;
        scale = 0.0;
        if (i <= m)
        {
            for (int k = i; k <= m; ++k)
                scale += std::fabs(a[k][i]);
            if (scale != 0.0)
            {
                double s = 0.0;
                for (int k = i; k <= m; ++k)
                {
                    a[k][i] /= scale;
                    s += a[k][i] * a[k][i];
                }
                const double f = a[i][i];
                g = -WithSignOf(std::sqrt(s), f);
                const double h = f * g - s;
                a[i][i] = f - g;
                for (int j = l; j <= n; ++j)
                {
                    double dot = 0.0;
                    for (int k = i; k <= m; ++k)
                        dot += a[k][i] * a[k][j];
                    const double factor = dot / h;
                    for (int k = i; k <= m; ++k)
                        a[k][j] += factor * a[k][i];
                }
                for (int k = i; k <= m; ++k)
                    a[k][i] *= scale;
            }
        }
        w[i] = scale * g;
        g = 0.0;
        scale = 0.0;
        if (i <= m && i != n)
        {
            for (int k = l; k <= n; ++k)
                scale += std::fabs(a[i][k]);
            if (scale != 0.0)
            {
                double s = 0.0;
                for (int k = l; k <= n; ++k)
                {
                    a[i][k] /= scale;
                    s += a[i][k] * a[i][k];
                }
                const double f = a[i][l];
                g = -WithSignOf(std::sqrt(s), f);
                const double h = f * g - s;
                a[i][l] = f - g;
                for (int k = l; k <= n; ++k)
                    rv1[k] = a[i][k] / h;
                for (int j = l; j <= m; ++j)
                {
                    double dot = 0.0;
                    for (int k = l; k <= n; ++k)
                        dot += a[j][k] * a[i][k];
                    for (int k = l; k <= n; ++k)
                        a[j][k] += dot * rv1[k];
                }
                for (int k = l; k <= n; ++k)
                    a[i][k] *= scale;
            }
        }
        anorm = RoutineMax(anorm, std::fabs(w[i]) + std::fabs(rv1[i]));
    }
    return anorm;
}

// Builds V from the row reflections kept in the rows of a, last first.
template <class ARows, class VRows>
void AccumulateRight(ARows a, int n, VRows v, const double* rv1)
{
    for (int i = n; i >= 1; --i)
    {
        const int l = i + 1;
        if (i < n)
        {
            const double g = rv1[l];
            if (g != 0.0)
            {
                // Two divisions instead of one product avoid a possible
                // underflow; with a subnormal g the quotient can still
                // overflow, and V then holds infinities, as the routine gives.
                for (int j = l; j <= n; ++j)
                    v[j][i] = (a[i][j] / a[i][l]) / g;
                for (int j = l; j <= n; ++j)
                {
                    double dot = 0.0;
                    for (int k = l; k <= n; ++k)
                        dot += a[i][k] * v[k][j];
                    for (int k = l; k <= n; ++k)
                        v[k][j] += dot * v[k][i];
                }
            }
            for (int j = l; j <= n; ++j)
            {
                v[i][j] = 0.0;
                v[j][i] = 0.0;
            }
        }
        v[i][i] = 1.0;
    }
}

// Turns the column reflections kept in a into the first min(m, n) columns of
// U, in place, last first.
template <class ARows>
void AccumulateLeft(ARows a, int m, int n, const double* w)
{
    for (int i = std::min(m, n); i >= 1; --i)
    {
        const int l = i + 1;
        const double g = w[i];
        for (int j = l; j <= n; ++j)
            a[i][j] = 0.0;
        if (g != 0.0)
        {
            const double inverse = 1.0 / g;
            for (int j = l; j <= n; ++j)
            {
                double dot = 0.0;
                for (int k = l; k <= m; ++k)
                    dot += a[k][i] * a[k][j];
                const double f = (dot / a[i][i]) * inverse;
                for (int k = i; k <= m; ++k)
                    a[k][j] += f * a[k][i];
            }
            for (int j = i; j <= m; ++j)
                a[j][i] *= inverse;
        }
        else
        {
            for (int j = i; j <= m; ++j)
                a[j][i] = 0.0;
        }
        a[i][i] += 1.0;
    }
}

// Where the bidiagonal block ending at row k starts: the largest l <= k whose
// superdiagonal rv1[l] is negligible. When w[l-1] is negligible instead,
// rv1[l] is zeroed by rotations against the rows above (applied to a when U
// is wanted: a never feeds back into w and v).
template <bool LeftVectors, class ARows>
int SplitBlock(ARows a, int m, int k, double* w, double* rv1, double anorm)
{
    // rv1[1] is zero by construction, so with a finite anorm the search ends
    // at l = 1. A NaN anorm fails every test; the routine would then read
    // rv1[0] and w[0] and rotate against row 0, outside its arrays. The
    // search stops at l = 1 instead, as if rv1[1] were negligible.
    int l = k;
    bool cancel = false;
    for (; l > 1; --l)
    {
        if (std::fabs(rv1[l]) + anorm == anorm)
            break;
        if (std::fabs(w[l - 1]) + anorm == anorm)
        {
            cancel = true;
            break;
        }
    }
    if (!cancel)
        return l;

    const int nm = l - 1;
    double c = 0.0;
    double s = 1.0;
    for (int i = l; i <= k; ++i)
    {
        const double f = s * rv1[i];
        rv1[i] = c * rv1[i];
        if (std::fabs(f) + anorm == anorm)
            break;
        const double g = w[i];
        const double h = Hypot(f, g);
        w[i] = h;
        const double inverse = 1.0 / h;
        c = g * inverse;
        s = -f * inverse;
        if constexpr (LeftVectors)
            RotateColumns(a, m, nm, i, c, s);
    }
    return l;
}

// One implicitly shifted QR sweep over the block l..k, the shift taken from
// the bottom 2-by-2 minor; rotations are applied to v and, when U is wanted,
// to a.
template <bool LeftVectors, class ARows, class VRows>
void ShiftedSweep(ARows a, int m, int n, double* w, VRows v, double* rv1, int l, int k)
{
    double x = w[l];
    const int nm = k - 1;
    double y = w[nm];
    double g = rv1[nm];
    double h = rv1[k];
    double z = w[k];
    double f = ((y - z) * (y + z) + (g - h) * (g + h)) / (2.0 * h * y);
    g = Hypot(f, 1.0);
    f = ((x - z) * (x + z) + h * ((y / (f + WithSignOf(g, f))) - h)) / x;

    double c = 1.0;
    double s = 1.0;
    for (int j = l; j <= nm; ++j)
    {
        const int i = j + 1;
        g = rv1[i];
        y = w[i];
        h = s * g;
        g = c * g;
        z = Hypot(f, h);
        rv1[j] = z;
        c = f / z;
        s = h / z;
        f = x * c + g * s;
        g = g * c - x * s;
        h = y * s;
        y *= c;
        RotateColumns(v, n, j, i, c, s);
        z = Hypot(f, h);
        w[j] = z;
        if (z != 0.0)
        {
            const double inverse = 1.0 / z;
            c = f * inverse;
            s = h * inverse;
        }
        f = c * g + s * y;
        x = c * y - s * g;
        if constexpr (LeftVectors)
            RotateColumns(a, m, j, i, c, s);
    }
    rv1[l] = 0.0;
    rv1[k] = f;
    w[k] = x;
}

// Diagonalises the bidiagonal form, one singular value at a time from the
// bottom. The counter starts at 1 and a value that has not converged when it
// reaches 30 fails the decomposition: at most 29 sweeps per value.
template <bool LeftVectors, class ARows, class VRows>
bool Diagonalize(ARows a, int m, int n, double* w, VRows v, double* rv1, double anorm)
{
    constexpr int maxIterations = 30;
    for (int k = n; k >= 1; --k)
    {
        for (int iteration = 1;; ++iteration)
        {
            const int l = SplitBlock<LeftVectors>(a, m, k, w, rv1, anorm);
            if (l == k)
            {
                // Converged; singular values are made non-negative.
                if (w[k] < 0.0)
                {
                    w[k] = -w[k];
                    for (int j = 1; j <= n; ++j)
                        v[j][k] = -v[j][k];
                }
                break;
            }
            if (iteration == maxIterations)
                return false;
            ShiftedSweep<LeftVectors>(a, m, n, w, v, rv1, l, k);
        }
    }
    return true;
}

// The whole worker on arrays of the given shape. Without LeftVectors, U is not
// formed and a is left holding the reflections: w and v come out the same.
template <bool LeftVectors, class Shape, class ARows, class VRows>
bool Decompose(ARows a, Shape shape, double* w, VRows v, double* rv1)
{
    const double anorm = Bidiagonalize(a, shape, w, rv1);
    AccumulateRight(a, shape.n, v, rv1);
    if constexpr (LeftVectors)
        AccumulateLeft(a, shape.m, shape.n, w);
    return Diagonalize<LeftVectors>(a, shape.m, shape.n, w, v, rv1, anorm);
}

// w and v of an m-by-n matrix with m and n fixed at compile time, on local
// arrays that nothing else can alias.
template <int M, int N>
bool DecomposeFixedWithoutU(double** a, double* w, double** v)
{
    // Left uninitialised: row and column 0 are never read, and the worker
    // writes every other element of localV, localW and rv1 before reading it.
    double localA[M + 1][N + 1];
    double localV[N + 1][N + 1];
    double localW[N + 1];
    double rv1[N + 1];
    for (int i = 1; i <= M; ++i)
        for (int j = 1; j <= N; ++j)
            localA[i][j] = a[i][j];
    const bool converged = Decompose<false>(localA, CFixedShape<M, N>{}, localW, localV, rv1);
    for (int j = 1; j <= N; ++j)
    {
        w[j] = localW[j];
        for (int i = 1; i <= N; ++i)
            v[j][i] = localV[j][i];
    }
    return converged;
}

// The worker's rv1: small vectors on the stack, larger ones from the heap.
class CWorkVector
{
public:
    explicit CWorkVector(int n)
    {
        if (n >= kStackValues)
        {
            m_heap.reset(new (std::nothrow) double[static_cast<std::size_t>(n) + 1]);
            if (!m_heap)
                TOLX_THROW_SITE(Impl::MatrixSites::kSvdWorkVector);
            m_values = m_heap.get();
        }
    }
    double* get() noexcept { return m_values; }

private:
    static constexpr int kStackValues = 32;
    double m_stack[kStackValues] = {};
    std::unique_ptr<double[]> m_heap;
    double* m_values = m_stack;
};
} // namespace

bool CNrSvd::svdcmp(double** a, int m, int n, double* w, double** v)
{
    CWorkVector rv1(n);
    return Decompose<true>(a, CRuntimeShape{m, n}, w, v, rv1.get());
}

bool CNrSvd::svdcmpWithoutU(double** a, int m, int n, double* w, double** v)
{
    if (m + 1 == n)
    {
        switch (n)
        {
        case 2: return DecomposeFixedWithoutU<1, 2>(a, w, v);
        case 3: return DecomposeFixedWithoutU<2, 3>(a, w, v);
        case 4: return DecomposeFixedWithoutU<3, 4>(a, w, v);
        case 5: return DecomposeFixedWithoutU<4, 5>(a, w, v);
        case 6: return DecomposeFixedWithoutU<5, 6>(a, w, v);
        case 7: return DecomposeFixedWithoutU<6, 7>(a, w, v);
        case 8: return DecomposeFixedWithoutU<7, 8>(a, w, v);
        default: break;
        }
    }
    CWorkVector rv1(n);
    return Decompose<false>(a, CRuntimeShape{m, n}, w, v, rv1.get());
}

bool CSvdWorkspace::Decompose()
{
    return CNrSvd::svdcmp(A(), m_m, m_n, W(), V());
}

void CSvdWorkspace::Prepare(int m, int n)
{
    // Row 0 and column 0 exist but are never read: the worker is 1-based.
    // m + 1 row pointers and rows of n + 1 doubles, as separate arrays would
    // be allocated: a negative count fails as new[] fails, a size beyond
    // memory as an exhausted allocator.
    if (m < -1 || n < -1)
        throw std::bad_array_new_length();
    const std::size_t aRows = static_cast<std::size_t>(m) + 1;
    const std::size_t width = static_cast<std::size_t>(n) + 1;
    // At most 2^31 each, so the sums and products below fit in 64 bits.
    const std::size_t values = aRows * width + width + width * width;
    if (values > m_values.max_size() || aRows + width > m_rowPointers.max_size())
        throw std::bad_alloc();
    if (m_values.size() < values)
        m_values.resize(values);
    if (m_rowPointers.size() < aRows + width)
        m_rowPointers.resize(aRows + width);

    double* next = m_values.data();
    for (std::size_t r = 0; r < aRows; ++r, next += width)
        m_rowPointers[r] = next;
    m_w = next;
    next += width;
    for (std::size_t r = 0; r < width; ++r, next += width)
        m_rowPointers[aRows + r] = next;
    m_aRows = aRows;
    m_m = m;
    m_n = n;
}
} // namespace TOLX
