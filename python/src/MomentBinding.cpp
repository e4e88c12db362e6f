#include "Bindings.h"
#include "NumPy.h"

#include "Numeric/Moment.h"

#include <pybind11/stl.h>

#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace vornpy
{
namespace
{
// A CMoment with the two things it does not answer itself: its dimension
// and its scale-invariance flag.
struct CPyMoment
{
    explicit CPyMoment(TOLX::int64 d) : moment(d), dimension(std::size_t(d)) {}

    void Add(const Points& points, const std::optional<Points>& weights)
    {
        const RowView rows = Rows(points, dimension, "points");
        if (!weights)
            return Feed(rows, [](py::ssize_t) { return 1.0; });
        if (weights->ndim() != 1 || weights->shape(0) != rows.shape(0))
            throw py::value_error("weights: expected " + std::to_string(rows.shape(0)) + " numbers, one per point");
        const auto w = weights->unchecked<1>();
        Feed(rows, [&](py::ssize_t i) { return w(i); });
    }

    template <class Weight>
    void Feed(const RowView& rows, const Weight& weight)
    {
        for (py::ssize_t i = 0; i < rows.shape(0); ++i)
            moment(weight(i), rows(i, 0), rows(i, 1), dimension == 3 ? rows(i, 2) : 0.0);
    }

    TOLX::CMoment moment;
    std::size_t dimension;
    bool scaleInvariance = false;
};

py::array_t<double> Triple(const TOLX::CTriple<double>& t)
{
    return Array(std::vector<double>{t.x, t.y, t.z}, {3});
}

py::array_t<double> Rows3(const std::vector<TOLX::CTriple<double>>& triples)
{
    std::vector<double> values;
    for (const TOLX::CTriple<double>& t : triples)
        values.insert(values.end(), {t.x, t.y, t.z});
    return Array(values, {py::ssize_t(triples.size()), 3});
}

py::array_t<double> Matrix(const TOLX::CSymmMatrix<double>& m)
{
    std::vector<double> values;
    for (std::size_t i = 0; i < m.Rows(); ++i)
        for (std::size_t j = 0; j < m.Cols(); ++j)
            values.push_back(m(i, j));
    return Array(values, {py::ssize_t(m.Rows()), py::ssize_t(m.Cols())});
}

// A value map as Python values, keys in their insertion order.
py::object Value(const TOLX::CValue& value)
{
    switch (value.Type())
    {
    case TOLX::VALUE_DOUBLE:
        return py::float_(value.Double());
    case TOLX::VALUE_LONG:
        return py::int_(value.Long());
    case TOLX::VALUE_STRING:
        return py::str(value.String());
    case TOLX::VALUE_VECTOR:
    {
        py::list list;
        for (const auto& entry : value.Vector())
            list.append(Value(*entry.second));
        return list;
    }
    case TOLX::VALUE_MAP:
    {
        py::dict dict;
        for (const auto& entry : value.Map())
            dict[py::str(entry.first.ToString())] = Value(*entry.second);
        return dict;
    }
    }
    throw std::logic_error("a value of unknown type");
}

template <double (TOLX::CMoment::*getter)() const>
double Get(const CPyMoment& m)
{
    return (m.moment.*getter)();
}
} // namespace

void BindMoment(py::module_& module)
{
    py::class_<CPyMoment> moment(module, "Moment", R"(Geometric moments up to second order of one weighted point set in 2-D or 3-D.

Moment(dimension): dimension is 2 or 3 (anything else raises vorn.Error).
Feed points with add(), possibly in several calls or from several Moment
objects combined with merge(); then compute_inertia() or
compute_covariance(), and read the derived properties or to_dict().

Raw sums (properties, float): m000 (= mass, the sum of the weights), m100,
m010, m001, m200, m020, m002, m110, m101, m011, where mpqr is the sum of
w x^p y^q z^r over the points (z = 0 in 2-D).

Derived after a computation (before it, the initial values: zeros, identity
matrices; main_axis raises IndexError):
  center_of_mass        (x, y, z) float array: m100/m000, m010/m000, m001/m000
  rounded_center_of_mass (x, y, z) ints, halves rounded away from zero
  norm_m200 .. norm_m011 central second moments: inertia mode the central
                        sums, covariance mode the covariances (divided by mass)
  excentricity          (a + r)/(a - r) from the raw sums (2-D only)
  tensor                3 x 3 inertia tensor or covariance matrix
  inertia_moments       its 3 eigenvalues, largest first (in 2-D the first
                        two, the filler stays third); with scale_invariance
                        divided by the first
  inertia_axes          3 x 3, the eigenvectors in its columns, same order
  scaled_inertia_axes   column i scaled to length inertia_moments[i]
  inertia_vectors       3 x 3, the axes as rows (z = 0 in 2-D)
  scaled_inertia_vectors each axis row times its raw eigenvalue
  main_axis             inertia mode: the axis of least inertia (row 2);
                        covariance mode: of largest variance (row 0)
In 2-D the third row and column are filler: tensor[2, 2] = 1.)");
    moment.def(py::init<TOLX::int64>(), py::arg("dimension"))
        .def_property_readonly("dimension", [](const CPyMoment& m) { return m.dimension; })
        .def_property(
            "scale_invariance", [](const CPyMoment& m) { return m.scaleInvariance; },
            [](CPyMoment& m, bool on) { m.moment.SetScaleInvariance(m.scaleInvariance = on); },
            "When True, inertia_moments and scaled_inertia_axes give the eigenvalues divided by the largest.")
        .def("add", &CPyMoment::Add, py::arg("points"), py::arg("weights") = py::none(),
             R"(Adds the rows of an n x dimension array-like of points, with weights (n numbers) or weight 1.

Each point updates the ten raw sums exactly as the library's per-point call
does. Derived values stay as they were until the next computation.)")
        .def(
            "merge", [](CPyMoment& m, const CPyMoment& other) { m.moment.Merge(other.moment); }, py::arg("other"),
            R"(Adds the raw sums of another Moment of the same dimension, as if its points had been added here.

With integer weights and coordinates every sum is an integer, exact while
below 2^53: merged sums then equal one pass over all points bit for bit, in
any order of merging. A different dimension raises vorn.Error.)")
        .def(
            "reset", [](CPyMoment& m) { m.moment.Reset(); },
            "Sets the raw sums to 0 (a new point set); derived values stay until the next computation.")
        .def(
            "compute_inertia", [](CPyMoment& m) { m.moment.ComputeInertia(); },
            "Centre of mass, central sums, the inertia tensor and its principal moments and axes. "
            "Raises vorn.Error 'empty space' without mass.")
        .def(
            "compute_covariance", [](CPyMoment& m) { m.moment.ComputeCovariance(); },
            "Centre of mass, covariances, the covariance matrix and its principal moments and axes. "
            "Raises vorn.Error 'empty space' without mass.")
        .def(
            "to_dict", [](const CPyMoment& m) { return Value(TOLX::CValueMap(m.moment)); },
            R"(The library's value map of the results as a dict, keys in the library's order:
"excentricity", "total_mass", "inertia_or_covariance", "moments/m000" ...,
"2nd_moments_normed/m200" ..., "center_of_mass/x" ..., "tensor/xx" ...,
"eigenvalues/0" ..., "vector/x" ... (the z entries in 3-D only). Needs a
computation first (IndexError otherwise).)");

    const std::pair<const char*, double (*)(const CPyMoment&)> sums[] = {
        {"mass", Get<&TOLX::CMoment::Mass>},          {"m000", Get<&TOLX::CMoment::getM000>},
        {"m100", Get<&TOLX::CMoment::getM100>},       {"m010", Get<&TOLX::CMoment::getM010>},
        {"m001", Get<&TOLX::CMoment::getM001>},       {"m200", Get<&TOLX::CMoment::getM200>},
        {"m020", Get<&TOLX::CMoment::getM020>},       {"m002", Get<&TOLX::CMoment::getM002>},
        {"m110", Get<&TOLX::CMoment::getM110>},       {"m101", Get<&TOLX::CMoment::getM101>},
        {"m011", Get<&TOLX::CMoment::getM011>},       {"norm_m200", Get<&TOLX::CMoment::getNormM200>},
        {"norm_m020", Get<&TOLX::CMoment::getNormM020>}, {"norm_m002", Get<&TOLX::CMoment::getNormM002>},
        {"norm_m110", Get<&TOLX::CMoment::getNormM110>}, {"norm_m101", Get<&TOLX::CMoment::getNormM101>},
        {"norm_m011", Get<&TOLX::CMoment::getNormM011>}, {"excentricity", Get<&TOLX::CMoment::getExcentricity>}};
    for (const auto& [name, getter] : sums)
        moment.def_property_readonly(name, getter);

    moment
        .def_property_readonly("center_of_mass",
                               [](const CPyMoment& m) {
                                   return Array(std::vector<double>{m.moment.CenterOfMassX(),
                                                                    m.moment.CenterOfMassY(),
                                                                    m.moment.CenterOfMassZ()},
                                                {3});
                               })
        .def_property_readonly("rounded_center_of_mass",
                               [](const CPyMoment& m) {
                                   const TOLX::CTriple<TOLX::int64> c = m.moment.CenterOfMass();
                                   return py::make_tuple(c.x, c.y, c.z);
                               })
        .def_property_readonly("tensor", [](const CPyMoment& m) { return Matrix(m.moment.getTensorMatrix()); })
        .def_property_readonly("inertia_moments",
                               [](const CPyMoment& m) { const std::vector<double> moments = m.moment.getInertiaMoments();
                                   return Array(moments, {py::ssize_t(moments.size())}); })
        .def_property_readonly("inertia_axes", [](const CPyMoment& m) { return Matrix(m.moment.getInertiaAxes()); })
        .def_property_readonly("scaled_inertia_axes",
                               [](const CPyMoment& m) { return Matrix(m.moment.getScaledInertiaAxes()); })
        .def_property_readonly("inertia_vectors",
                               [](const CPyMoment& m) { return Rows3(m.moment.getInertiaVectors()); })
        .def_property_readonly("scaled_inertia_vectors",
                               [](const CPyMoment& m) { return Rows3(m.moment.getScaledInertiaVectors()); })
        .def_property_readonly("main_axis", [](const CPyMoment& m) { return Triple(m.moment.getMainInertiaAxis()); });
}
} // namespace vornpy
