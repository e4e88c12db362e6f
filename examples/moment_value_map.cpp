// A host's typical moment request: feed an object's voxels to a CMoment,
// compute the inertia tensor, read the results and export them as a value map.

#include "VornNumeric.h"

#include <cmath>
#include <cstdio>

using namespace TOLX;

namespace
{
void Print(const CValue& value)
{
    switch (value.Type())
    {
    case VALUE_DOUBLE: std::printf("%g", value.Double()); break;
    case VALUE_LONG: std::printf("%ld", value.Long()); break;
    case VALUE_STRING: std::printf("\"%s\"", value.String().c_str()); break;
    case VALUE_VECTOR:
        std::printf("(");
        for (const auto& entry : value.Vector())
        {
            std::printf("%s", entry.first.ToString() == "0" ? "" : ", ");
            Print(*entry.second);
        }
        std::printf(")");
        break;
    case VALUE_MAP: std::printf("{...}"); break;
    }
}
} // namespace

int main()
{
    // A box of 20 x 6 x 4 voxels, long along x.
    CMoment moment(3);
    for (int z = 0; z < 4; ++z)
        for (int y = 0; y < 6; ++y)
            for (int x = 0; x < 20; ++x)
                moment(1.0, x, y, z); // weight first, once per voxel
    moment.ComputeInertia();

    std::printf("mass %g, centre of mass (%g, %g, %g)\n", moment.Mass(), moment.CenterOfMassX(), moment.CenterOfMassY(),
                moment.CenterOfMassZ());
    const std::vector<double> principal = moment.getInertiaMoments();
    std::printf("principal moments of inertia %g %g %g\n", principal[0], principal[1], principal[2]);
    const CTriple<double> axis = moment.getMainInertiaAxis();
    std::printf("main axis (%g, %g, %g)\n", axis.x, axis.y, axis.z);

    const CValueMap results = moment;
    for (const auto& entry : results)
    {
        std::printf("  %s = ", entry.first.ToString().c_str());
        Print(*entry.second);
        std::printf("\n");
    }

    // The box's centre is (9.5, 2.5, 1.5) and its longest extent lies along x.
    const bool centreRight = moment.CenterOfMassX() == 9.5 && moment.CenterOfMassY() == 2.5 && moment.CenterOfMassZ() == 1.5;
    return centreRight && std::fabs(std::fabs(axis.x) - 1.0) < 1e-9 && results.Size() == 34 ? 0 : 1;
}
