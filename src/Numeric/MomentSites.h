#pragma once

// Every throw site of the moments: the function and line that hosts know each
// site by, and its message. The dimension and label checks are raised from
// Moment.h, the file their location names; the computations' from
// Moment.cpp. Internal: not installed.

#include "Numeric/Moment.h"
#include "zeblib2core/Throw.h"

namespace TOLX
{
namespace Impl
{
namespace MomentSites
{
inline constexpr char kDimension[] = "dimension not valid, only 2 and 3 supported";

// Moment.h, indexed by the check that failed.
inline constexpr StThrowSite kHeaderChecks[] = {
    /* EnMomentCheck::Dimension */ {"TOLX::CMoment::CMoment", 72, kDimension},
    /* EnMomentCheck::SetDimension */ {"TOLX::CMoment::SetDimension", 78, kDimension},
    /* EnMomentCheck::ObjectSetDimension */ {"TOLX::CObjectMoment::SetDimension", 258, kDimension},
    /* EnMomentCheck::PixelLabel */ {"TOLX::CObjectMoment::operator ()", 304, "Label exceeds size"},
    /* EnMomentCheck::QueryLabel */ {"TOLX::CObjectMoment::checkLabel", 558, "Label exceeds size"},
};
static_assert(sizeof kHeaderChecks / sizeof kHeaderChecks[0] == static_cast<int>(EnMomentCheck::QueryLabel) + 1,
              "one site per check");

// Moment.cpp.
inline constexpr StThrowSite kEmptyCompute{"TOLX::CMoment::Compute", 89, "empty space"};
inline constexpr StThrowSite kEmptyInertia{"TOLX::CMoment::ComputeInertia", 149, "empty space"};
inline constexpr StThrowSite kEmptyCovariance{"TOLX::CMoment::ComputeCovariance", 206, "empty space"};
// Merging partial results. These sites are the library's own additions: their
// lines are fixed here once, so that a location record never moves.
inline constexpr StThrowSite kMergeDimension{"TOLX::CMoment::Merge", 330,
                                             "cannot merge moments of dimension %1 into dimension %2"};
inline constexpr StThrowSite kMergeObjectDimension{"TOLX::CObjectMoment::Merge", 420,
                                                   "cannot merge moments of dimension %1 into dimension %2"};
inline constexpr StThrowSite kMergeLabelCount{"TOLX::CObjectMoment::Merge", 422,
                                              "cannot merge moments of %1 labels into %2 labels"};
} // namespace MomentSites
} // namespace Impl
} // namespace TOLX
