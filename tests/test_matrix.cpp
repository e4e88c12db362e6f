#include "VornNumeric.h"
#include <gtest/gtest.h>
TEST(Smoke, Builds) { TOLX::CMatrix<double> m(2, 3); EXPECT_EQ(m.Rows(), 2u); }
