#include "SampleVolume.h"

#include <cmath>

namespace vorn
{
namespace
{
struct Vec
{
    double x, y, z;
};

Vec Minus(Vec a, Vec b) { return {a.x - b.x, a.y - b.y, a.z - b.z}; }

// Rotation by `angle` radians about z, then about x: the columns are the
// shape's own axes expressed in image coordinates.
struct Frame
{
    Vec u, v, w;

    static Frame Rotated(double aboutZ, double aboutX)
    {
        const double cz = std::cos(aboutZ), sz = std::sin(aboutZ);
        const double cx = std::cos(aboutX), sx = std::sin(aboutX);
        // R = Rx · Rz applied to the unit vectors.
        return {{cz, cx * sz, sx * sz}, {-sz, cx * cz, sx * cz}, {0.0, -sx, cx}};
    }
    // Coordinates of d in this frame.
    Vec Local(Vec d) const
    {
        return {d.x * u.x + d.y * u.y + d.z * u.z, d.x * v.x + d.y * v.y + d.z * v.z, d.x * w.x + d.y * w.y + d.z * w.z};
    }
};

constexpr double DEGREE = 3.14159265358979323846 / 180.0;
} // namespace

const char* SampleLegend()
{
    return "1 ball, 2 tilted ellipsoid, 3 rotated box, 4 torus, 5 straight needle (collinear voxels, no 3-D hull)";
}

TOLX::CImage MakeSampleVolume(int size)
{
    TOLX::CImage volume(TOLX::IMAGE_GREY_8, TOLX::CSize(size, size, size));
    const double s = size / 128.0;
    const Vec ballCentre{34 * s, 34 * s, 34 * s};
    const double ballRadius = 22 * s;
    const Vec ellipsoidCentre{92 * s, 34 * s, 40 * s};
    const Vec ellipsoidAxes{28 * s, 14 * s, 10 * s};
    const Frame ellipsoidFrame = Frame::Rotated(30 * DEGREE, 20 * DEGREE);
    const Vec boxCentre{36 * s, 92 * s, 88 * s};
    const Vec boxHalf{20 * s, 12 * s, 8 * s};
    const Frame boxFrame = Frame::Rotated(25 * DEGREE, 35 * DEGREE);
    const Vec torusCentre{92 * s, 92 * s, 80 * s};
    const double torusMajor = 22 * s, torusMinor = 8 * s;

    std::uint8_t* voxel = volume.Data();
    for (int z = 0; z < size; ++z)
        for (int y = 0; y < size; ++y)
            for (int x = 0; x < size; ++x, ++voxel)
            {
                const Vec p{double(x), double(y), double(z)};
                const Vec b = Minus(p, ballCentre);
                const Vec e = ellipsoidFrame.Local(Minus(p, ellipsoidCentre));
                const Vec r = boxFrame.Local(Minus(p, boxCentre));
                const Vec t = Minus(p, torusCentre);
                const double ring = std::hypot(t.x, t.y) - torusMajor;
                if (b.x * b.x + b.y * b.y + b.z * b.z <= ballRadius * ballRadius)
                    *voxel = SAMPLE_BALL;
                else if (std::pow(e.x / ellipsoidAxes.x, 2) + std::pow(e.y / ellipsoidAxes.y, 2) +
                             std::pow(e.z / ellipsoidAxes.z, 2) <=
                         1.0)
                    *voxel = SAMPLE_ELLIPSOID;
                else if (std::fabs(r.x) <= boxHalf.x && std::fabs(r.y) <= boxHalf.y && std::fabs(r.z) <= boxHalf.z)
                    *voxel = SAMPLE_BOX;
                else if (ring * ring + t.z * t.z <= torusMinor * torusMinor)
                    *voxel = SAMPLE_TORUS;
            }
    // The needle runs diagonally through the x-y plane of one slice.
    const int needleZ = static_cast<int>(120 * s);
    const int needleLength = static_cast<int>(20 * s) + 1;
    for (int i = 0; i < needleLength; ++i)
        volume.SetPixel(static_cast<int>(60 * s) + i, static_cast<int>(8 * s) + i, needleZ, SAMPLE_NEEDLE);
    return volume;
}
} // namespace vorn
