#pragma once

// Qhull's reentrant library as an independent convex hull to compare with.
// Only available when the build found it (VORN_HAVE_QHULL).

#ifdef VORN_HAVE_QHULL

#include <libqhull_r/qhull_ra.h>

#include <cstddef>
#include <cstdio>
#include <set>
#include <vector>

// One Qhull run over row-major points, freed on destruction. "Qt" asks for a
// triangulated hull, the same kind of output as our simplicial facets. Qhull
// keeps a pointer to the points, so they must outlive the run. Each Qhull
// facet is the half-space normal·x + offset <= 0 with a unit outward normal.
class CQhullRun
{
public:
    CQhullRun(const std::vector<double>& coords, std::size_t dim) : m_dim(dim)
    {
        char options[] = "qhull Qt";
        qh_zero(&m_qh, stderr);
        // Without scaling options Qhull only reads the points.
        m_exitCode = qh_new_qhull(&m_qh, int(dim), int(coords.size() / dim), const_cast<coordT*>(coords.data()),
                                  False, options, nullptr, stderr);
    }
    CQhullRun(const CQhullRun&) = delete;
    CQhullRun& operator=(const CQhullRun&) = delete;
    ~CQhullRun()
    {
        int curlong = 0, totlong = 0;
        qh_freeqhull(&m_qh, !qh_ALL);
        qh_memfreeshort(&m_qh, &curlong, &totlong);
    }

    int ExitCode() const { return m_exitCode; }

    // Calls visit(normal, offset) for every facet.
    template <class Visit>
    void ForEachFacet(Visit&& visit)
    {
        qhT* qh = &m_qh;
        facetT* facet = nullptr;
        FORALLfacets
            visit(static_cast<const double*>(facet->normal), double(facet->offset));
    }

    // One row per facet in the form n·x <= b: the d normal elements, then b.
    std::vector<std::vector<double>> Planes()
    {
        std::vector<std::vector<double>> planes;
        ForEachFacet([&](const double* normal, double offset) {
            planes.emplace_back(normal, normal + m_dim).push_back(-offset);
        });
        return planes;
    }

    // The coordinates of the vertices of the final facets, each once.
    std::set<std::vector<double>> Vertices()
    {
        std::set<std::vector<double>> vertices;
        qhT* qh = &m_qh;
        facetT* facet = nullptr;
        vertexT *vertex = nullptr, **vertexp = nullptr;
        FORALLfacets
            FOREACHvertex_(facet->vertices) vertices.emplace(vertex->point, vertex->point + m_dim);
        return vertices;
    }

private:
    qhT m_qh;
    std::size_t m_dim;
    int m_exitCode = 0;
};

#endif
