#include "ExpectThrow.h"
#include "Matrices.h"

#include <cmath>
#include <functional>
#include <limits>
#include <tuple>

using TOLX::CMatrix;
using TOLX::IMatrix;
using testsupport::Mat;

namespace
{
const char* kMatrixFile = "src/Numeric/Matrix.cpp";
const char* kInterfaceFile = "src/Numeric/MatrixInterface.cpp";
const char* kAccess = "TOLX::CMatrix<double>::operator ()";
} // namespace

// The two accessors word their bounds messages differently; every shape
// message names its operation and the element type.
TEST(Matrix, BoundsAndShapeMessages)
{
    CMatrix<double> m(2, 3), a(2, 3), b(3, 2), two(2, 2);
    CMatrix<float> f(1, 1), empty, row(1, 3);
    const std::tuple<std::function<void()>, std::string, std::string, const char*, int> cases[] = {
        {[&] { (void)static_cast<const CMatrix<double>&>(m)(2, 0); },
         "Index exceeds matrix bounds. Tried to access index (2,0) but Matrix size is 2-by-3", kAccess,
         kMatrixFile, 83},
        {[&] { m(2, 0) = 1.0; }, "Index exceeds matrix bounds.Tried to access index (2,0) but Matrix size is 2-by-3",
         kAccess, kMatrixFile, 91},
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
    EXPECT_EQ(a, CMatrix<double>(2, 3)); // a failed check leaves the operand untouched
}

TEST(Matrix, ProductSumsInOrder)
{
    auto a = Mat(2, 3, {1, 2, 3, 4, 5, 6});
    a *= Mat(3, 4, {1, 0, 2, -1, 0, 1, 1, 2, 3, 1, 0, 1});
    EXPECT_EQ(a, Mat(2, 4, {10, 5, 4, 6, 22, 11, 13, 12}));
    // Summation from k = 0 upward: (1 + 1e16) - 1e16 loses the 1.
    EXPECT_EQ((Mat(1, 3, {1.0, 1e16, -1e16}) * Mat(3, 1, {1, 1, 1}))(0, 0), 0.0);
    // Squaring in place: row 1 reads row 0's new values (7, 10), not (1, 2).
    auto s = Mat(2, 2, {1, 2, 3, 4});
    s *= s;
    EXPECT_EQ(s, Mat(2, 2, {7, 10, 7 * 3 + 3 * 4, 10 * 3 + 4 * 4}));
}

// Through the interface only the source's shape is walked; between two
// CMatrix objects assignment is a deep copy.
TEST(Matrix, AssignmentThroughTheInterfaceKeepsItsAsymmetry)
{
    const auto wide = Mat(2, 3, {1, 2, 3, 4, 5, 6});
    auto square = Mat(2, 2, {9, 9, 9, 9});
    ExpectThrowAt([&] { static_cast<IMatrix<double>&>(square) = wide; },
                  "Index exceeds matrix bounds.Tried to access index (0,2) but Matrix size is 2-by-2", kAccess,
                  kMatrixFile, 91);
    EXPECT_EQ(square, Mat(2, 2, {1, 2, 9, 9}));
    auto three = Mat(2, 3, {7, 7, 7, 7, 7, 7});
    static_cast<IMatrix<double>&>(three) = Mat(2, 2, {1, 2, 3, 4});
    EXPECT_EQ(three, Mat(2, 3, {1, 2, 7, 3, 4, 7}));
    auto other = Mat(2, 3, {0, 0, 0, 0, 0, 0});
    static_cast<IMatrix<double>&>(other) = Mat(3, 2, {1, 2, 3, 4, 5, 6});
    EXPECT_EQ(other, Mat(3, 2, {1, 2, 3, 4, 5, 6}));
    auto copy = Mat(1, 1, {5});
    copy = wide;
    copy(0, 0) = -1;
    EXPECT_EQ(copy, Mat(2, 3, {-1, 2, 3, 4, 5, 6}));
    EXPECT_EQ(wide(0, 0), 1.0);
    auto source = Mat(2, 2, {1, 2, 3, 4});
    CMatrix<double> moved(std::move(source)), assigned;
    assigned = std::move(source);
    // NOLINTNEXTLINE(bugprone-use-after-move): a copy leaves its source as it was
    EXPECT_TRUE(source == Mat(2, 2, {1, 2, 3, 4}) && moved == source && assigned == source);
}

TEST(Matrix, EqualityIsExactAndNaNIsOnlyEqualToItself)
{
    const auto a = Mat(1, 2, {1, std::numeric_limits<double>::quiet_NaN()});
    const auto b = a;
    EXPECT_TRUE(a == a);
    EXPECT_FALSE(a == b);
    EXPECT_FALSE(Mat(1, 2, {1, 2}) == Mat(1, 2, {1, std::nextafter(2.0, 3.0)}));
    EXPECT_FALSE(Mat(1, 2, {1, 2}) == Mat(2, 1, {1, 2}));
}

TEST(Matrix, ReshapeTransposeConcatenationAndScalars)
{
    auto m = Mat(1, 2, {1, 2});
    m.Reshape(3, 1);
    EXPECT_EQ(m, Mat(3, 1, {1, 2, 0}));
    auto r = Mat(2, 3, {1, 2, 3, 4, 5, 6});
    r.Reshape(3, 2); // reinterprets, does not rearrange
    EXPECT_EQ(r, Mat(3, 2, {1, 2, 3, 4, 5, 6}));
    r.Transpose();
    EXPECT_EQ(r, Mat(2, 3, {1, 3, 5, 2, 4, 6}));
    auto rows = Mat(1, 2, {1, 2});
    rows.AddRows(Mat(2, 2, {3, 4, 5, 6}));
    rows.AddRows(rows);
    EXPECT_EQ(rows, Mat(6, 2, {1, 2, 3, 4, 5, 6, 1, 2, 3, 4, 5, 6}));
    auto cols = Mat(2, 1, {1, 2});
    cols.AddCols(Mat(2, 2, {3, 4, 5, 6}));
    EXPECT_EQ(cols, Mat(2, 3, {1, 3, 4, 2, 5, 6}));
    EXPECT_EQ(cols.GetCol(2), Mat(2, 1, {4, 6}));
    auto f = Mat<float>(2, 2, {1, 2, 3, 4});
    f *= 2.0f;
    f += 1.0f;
    EXPECT_EQ(f, Mat<float>(2, 2, {3, 5, 7, 9}));
    f -= Mat<float>(2, 2, {3, 5, 7, 9});
    EXPECT_EQ(f, Mat<float>(2, 2, {0, 0, 0, 0}));
}
