#include "ExpectThrow.h"

#include <cmath>
#include <functional>
#include <limits>
#include <tuple>

using TOLX::CMatrix;
using TOLX::IMatrix;

namespace
{
template <class T>
CMatrix<T> Make(std::size_t rows, std::size_t cols, std::initializer_list<T> values)
{
    CMatrix<T> m(rows, cols);
    auto it = values.begin();
    for (std::size_t i = 0; i < rows; ++i)
        for (std::size_t j = 0; j < cols; ++j)
            m(i, j) = *it++;
    return m;
}

const char* kMatrixFile = "src/Numeric/Matrix.cpp";
const char* kInterfaceFile = "src/Numeric/MatrixInterface.cpp";
} // namespace

// The two accessors word their bounds messages differently; every shape
// message names its operation and the element type.
TEST(Matrix, BoundsAndShapeMessages)
{
    CMatrix<double> m(2, 3), a(2, 3), b(3, 2), two(2, 2);
    CMatrix<float> f(1, 1), empty, row(1, 3);
    const std::tuple<std::function<void()>, std::string, std::string, const char*, int> cases[] = {
        {[&] { (void)static_cast<const CMatrix<double>&>(m)(2, 0); },
         "Index exceeds matrix bounds. Tried to access index (2,0) but Matrix size is 2-by-3",
         "TOLX::CMatrix<double>::operator ()", kMatrixFile, 83},
        {[&] { m(2, 0) = 1.0; }, "Index exceeds matrix bounds.Tried to access index (2,0) but Matrix size is 2-by-3",
         "TOLX::CMatrix<double>::operator ()", kMatrixFile, 91},
        {[&] { f(0, 1) = 1.0f; }, "Index exceeds matrix bounds.Tried to access index (0,1) but Matrix size is 1-by-1",
         "TOLX::CMatrix<float>::operator ()", kMatrixFile, 91},
        {[&] { a += b; }, "Tried to add 2-by-3 and 3-by-2 matrices", "TOLX::IMatrix<double>::operator +=",
         kInterfaceFile, 130},
        {[&] { a -= b; }, "Tried to subtract 2-by-3 and 3-by-2 matrices", "TOLX::IMatrix<double>::operator -=",
         kInterfaceFile, 145},
        {[&] { a *= two; }, "Tried to multiply 2-by-3 *= 2-by-2 matrices", "TOLX::IMatrix<double>::operator *=",
         kInterfaceFile, 85},
        {[&] { empty.AddRows(row); }, "Tried to concatenate 3-dim rows to 0-dim rows", "TOLX::IMatrix<float>::AddRows",
         kInterfaceFile, 176},
        {[&] { empty.AddCols(row); }, "Tried to concatenate 1-dim Cols to 0-dim Cols", "TOLX::IMatrix<float>::AddCols",
         kInterfaceFile, 209},
        {[&] { (void)a.GetCol(3); }, "Index out of bounds. Tried to access Col 3 but matrix has only 3 Cols",
         "TOLX::CMatrix<double>::GetCol", kMatrixFile, 179},
        {[&] { (void)(a * two); }, "Trying to multiply non-conform matrices.", "TOLX::CMatrix<double>::operator *",
         kMatrixFile, 124},
    };
    for (const auto& [action, message, function, file, line] : cases)
        ExpectThrowAt(action, message, function, file, line);
    // A failed check leaves the operand untouched.
    EXPECT_EQ(a, CMatrix<double>(2, 3));
}

TEST(Matrix, ProductSumsInOrderAndReshapes)
{
    auto a = Make<double>(2, 3, {1, 2, 3, 4, 5, 6});
    auto b = Make<double>(3, 4, {1, 0, 2, -1, 0, 1, 1, 2, 3, 1, 0, 1});
    a *= b;
    // Rows (1,2,3) and (4,5,6) against the columns of b.
    EXPECT_EQ(a, Make<double>(2, 4, {10, 5, 4, 6, 22, 11, 13, 12}));

    // Summation from k = 0 upward: (1 + 1e16) - 1e16 loses the 1; summing
    // downward, (-1e16 + 1e16) + 1, would keep it.
    auto row = Make<double>(1, 3, {1.0, 1e16, -1e16});
    auto ones = Make<double>(3, 1, {1, 1, 1});
    EXPECT_EQ((row * ones)(0, 0), 0.0);

    // Squaring in place reads the right operand through the matrix being
    // written: row 1 sees row 0's new values (7, 10), not (1, 2).
    auto s = Make<double>(2, 2, {1, 2, 3, 4});
    s *= s;
    EXPECT_EQ(s, Make<double>(2, 2, {7, 10, 7 * 3 + 3 * 4, 10 * 3 + 4 * 4}));
}

TEST(Matrix, AssignmentThroughTheInterfaceKeepsItsAsymmetry)
{
    auto wide = Make<double>(2, 3, {1, 2, 3, 4, 5, 6});
    auto square = Make<double>(2, 2, {9, 9, 9, 9});
    IMatrix<double>& target = square;
    ExpectThrowAt([&] { target = wide; },
                  "Index exceeds matrix bounds.Tried to access index (0,2) but Matrix size is 2-by-2",
                  "TOLX::CMatrix<double>::operator ()", kMatrixFile, 91);
    EXPECT_EQ(square, Make<double>(2, 2, {1, 2, 9, 9})); // row 0's first two columns were written

    auto narrow = Make<double>(2, 2, {1, 2, 3, 4});
    auto three = Make<double>(2, 3, {7, 7, 7, 7, 7, 7});
    static_cast<IMatrix<double>&>(three) = narrow;
    EXPECT_EQ(three, Make<double>(2, 3, {1, 2, 7, 3, 4, 7}));

    auto tall = Make<double>(3, 2, {1, 2, 3, 4, 5, 6});
    auto other = Make<double>(2, 3, {0, 0, 0, 0, 0, 0});
    static_cast<IMatrix<double>&>(other) = tall;
    EXPECT_EQ(other, tall);

    // Between two CMatrix objects assignment is a deep copy of shape and values.
    auto copy = Make<double>(1, 1, {5});
    copy = wide;
    EXPECT_EQ(copy, wide);
    copy(0, 0) = -1;
    EXPECT_EQ(wide(0, 0), 1.0);
}

TEST(Matrix, EqualityIsExactAndNaNIsOnlyEqualToItself)
{
    auto a = Make<double>(1, 2, {1, std::numeric_limits<double>::quiet_NaN()});
    auto b = a;
    EXPECT_TRUE(a == a);
    EXPECT_FALSE(a == b);
    auto c = Make<double>(1, 2, {1, 2});
    auto d = Make<double>(1, 2, {1, std::nextafter(2.0, 3.0)});
    EXPECT_FALSE(c == d);
    EXPECT_FALSE(c == Make<double>(2, 1, {1, 2}));
}

TEST(Matrix, ReshapeTransposeAndConcatenation)
{
    auto m = Make<double>(1, 2, {1, 2});
    m.Reshape(3, 1);
    EXPECT_EQ(m, Make<double>(3, 1, {1, 2, 0}));

    auto r = Make<double>(2, 3, {1, 2, 3, 4, 5, 6});
    r.Reshape(3, 2); // reinterprets, does not rearrange
    EXPECT_EQ(r, Make<double>(3, 2, {1, 2, 3, 4, 5, 6}));

    auto t = Make<double>(2, 3, {1, 2, 3, 4, 5, 6});
    t.Transpose();
    EXPECT_EQ(t, Make<double>(3, 2, {1, 4, 2, 5, 3, 6}));

    auto rows = Make<double>(1, 2, {1, 2});
    rows.AddRows(Make<double>(2, 2, {3, 4, 5, 6}));
    EXPECT_EQ(rows, Make<double>(3, 2, {1, 2, 3, 4, 5, 6}));
    rows.AddRows(rows);
    EXPECT_EQ(rows.Rows(), 6u);
    EXPECT_EQ(rows(5, 1), 6.0);

    auto cols = Make<double>(2, 1, {1, 2});
    cols.AddCols(Make<double>(2, 2, {3, 4, 5, 6}));
    EXPECT_EQ(cols, Make<double>(2, 3, {1, 3, 4, 2, 5, 6}));

    EXPECT_EQ(cols.GetCol(2), Make<double>(2, 1, {4, 6}));
}

TEST(Matrix, ScalarAndElementwiseArithmetic)
{
    auto a = Make<float>(2, 2, {1, 2, 3, 4});
    a *= 2.0f;
    a += 1.0f;
    EXPECT_EQ(a, Make<float>(2, 2, {3, 5, 7, 9}));
    a -= Make<float>(2, 2, {3, 5, 7, 9});
    EXPECT_EQ(a, Make<float>(2, 2, {0, 0, 0, 0}));
    CMatrix<float> none(0, 5);
    none += CMatrix<float>(0, 5);
    EXPECT_EQ(none.Rows(), 0u);
}

TEST(Matrix, CopiesFromRvaluesAreDeepToo)
{
    auto a = Make<double>(2, 2, {1, 2, 3, 4});
    CMatrix<double> b(std::move(a));
    CMatrix<double> c;
    c = std::move(a);
    // NOLINTNEXTLINE(bugprone-use-after-move): a copy leaves its source as it was
    EXPECT_TRUE(a == Make<double>(2, 2, {1, 2, 3, 4}) && b == a && c == a);
}
