#include "VornNumeric.h"

#include <cstdio>

// Uses one class of every subsystem so that a missing export or header fails
// to compile or link here.
int main()
{
    const TOLX::CMatrix<double> m(2, 2);
    TOLX::CValueMap map;
    map.SetEntry("x", new TOLX::CValueDouble(1.0));
    const TOLX::CImage image(TOLX::IMAGE_GREY_8, TOLX::CSize(2, 2, 1));
    try
    {
        (void)m(5, 0);
    }
    catch (const TOLX::CException& e)
    {
        std::printf("%s (%s:%d)\n", e.what(), e.Location().file.c_str(), e.Location().line);
        return map.Size() == 1 && image.Width() == 2 && TOLX::Rand15() >= 0 ? 0 : 1;
    }
    return 1;
}
