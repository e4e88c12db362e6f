// A host's typical hull request: load an object from a 3-D image, compute its
// convex hull, query it and paint it back into an image.

#include "VornNumeric.h"

#include <cstdio>

using namespace TOLX;

int main()
{
    // A 24³ 8-bit image holding one object: a ball of radius 7 around (11, 12, 10).
    CImage image(IMAGE_GREY_8, CSize(24, 24, 24));
    long objectVoxels = 0;
    for (int z = 0; z < 24; ++z)
        for (int y = 0; y < 24; ++y)
            for (int x = 0; x < 24; ++x)
                if ((x - 11) * (x - 11) + (y - 12) * (y - 12) + (z - 10) * (z - 10) <= 49)
                {
                    image.SetPixel(x, y, z, 1);
                    ++objectVoxels;
                }

    // The loader keeps the outermost foreground pixels of every image row.
    CConvexHullComputer hull(3, "example hull", nullptr);
    const CConvexHullComputer::CBox box = hull.loadPointsFromImage(image);
    std::printf("loaded %zu points, box (%d, %d, %d) - (%d, %d, %d)\n", hull.getPoints().size(), box.xmin, box.ymin,
                box.zmin, box.xmax, box.ymax, box.zmax);
    hull.compute();
    std::printf("hull: %zu facet planes, %zu vertices\n", hull.getA().size(), hull.getVertices().size());

    CMatrix<double> centre(3, 1), corner(3, 1);
    centre(0, 0) = 11;
    centre(1, 0) = 12;
    centre(2, 0) = 10;
    const bool centreInside = hull.isInside(centre);
    const bool cornerInside = hull.isInside(corner);
    std::printf("centre inside: %s, corner (0, 0, 0) inside: %s\n", centreInside ? "yes" : "no",
                cornerInside ? "yes" : "no");

    // Paint the hull into a fresh image and compare it with the object.
    CImage painted(IMAGE_GREY_8, image.Size());
    hull.paintConvexHullToImage(painted, box, 255);
    long hullVoxels = 0;
    for (int z = 0; z < 24; ++z)
        for (int y = 0; y < 24; ++y)
            for (int x = 0; x < 24; ++x)
                hullVoxels += painted.GetPixel(x, y, z) == 255;
    std::printf("object %ld voxels, hull %ld voxels, solidity %.3f\n", objectVoxels, hullVoxels,
                double(objectVoxels) / double(hullVoxels));

    // A convex object fills its own hull.
    return centreInside && !cornerInside && hullVoxels == objectVoxels ? 0 : 1;
}
