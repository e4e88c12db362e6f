// The hull of the points on standard input (one per line, the dimension
// given first), built as a plain C++ caller builds it: each point added in
// input order, then compute(). Prints each facet plane "A_k b_k" in hex
// floats, so that a comparison sees every bit.
#include "VornNumeric.h"

#include <cstdio>
#include <iostream>

int main()
{
    std::size_t d = 0;
    std::cin >> d;
    TOLX::CConvexHullComputer hull(d, "reference", nullptr);
    TOLX::CMatrix<double> point(d, 1);
    while (std::cin >> point(0, 0))
    {
        for (std::size_t k = 1; k < d; ++k)
            std::cin >> point(k, 0);
        hull.addPoint(point);
    }
    hull.compute();
    auto offset = hull.getb().begin();
    for (const TOLX::CMatrix<double>& normal : hull.getA())
    {
        for (std::size_t k = 0; k < d; ++k)
            std::printf("%a ", normal(0, k));
        std::printf("%a\n", *offset++);
    }
}
