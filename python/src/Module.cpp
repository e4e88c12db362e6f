#include "Bindings.h"

#include "Numeric/Random.h"

PYBIND11_MODULE(_vorn, module)
{
    module.doc() = "Convex hulls and moments of the VornNumeric library (use the package vorn).";
    vornpy::BindErrors();
    vornpy::BindHull(module);
    vornpy::BindMoment(module);
    vornpy::BindPartials(module);
    vornpy::BindRegionProps(module);
    // The classes are used as vorn.ConvexHull and vorn.Moment, and say so.
    for (const char* name : {"ConvexHull", "Moment"})
        module.attr(name).attr("__module__") = "vorn";
    module.def("seed", &TOLX::SeedRand15, pybind11::arg("seed"),
               "Re-seeds the calling thread's generator of hull start simplices (each thread starts from seed 1).\n\n"
               "The hull does not depend on the draw, but the order of its facets and the last bits of their\n"
               "planes do: seed before building to get the same results again.");
}
