#include "VornNumeric.h"

#include <cstdio>

// Uses one class of every subsystem so that a missing export or header fails
// to compile or link here.
int main()
{
    TOLX::CMatrix<double> m(2, 2);
    m(0, 0) = 1.0;
    try
    {
        (void)static_cast<const TOLX::CMatrix<double>&>(m)(5, 0);
        return 1;
    }
    catch (const TOLX::CException& e)
    {
        std::printf("%s (%s:%d)\n", e.what(), e.Location().file.c_str(), e.Location().line);
    }
    TOLX::CValueMap map;
    map.SetEntry("x", new TOLX::CValueDouble(1.0));
    TOLX::CImage image(TOLX::IMAGE_GREY_8, TOLX::CSize(2, 2, 1));
    return map.Size() == 1 && image.Width() == 2 && TOLX::Rand15() >= 0 ? 0 : 1;
}
