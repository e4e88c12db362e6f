#pragma once

// Every place where the hull family (CFace, CFacet, CConvexHullComputer with
// its image members) raises a CException, as host applications know it: the
// function and line of the location record and the message with its %N
// placeholders. The lines are fixed numbers, not those of the current
// sources, because hosts match on them; the misspellings are part of the
// messages. The throwing file and its compile time come from where a site is
// raised (TOLX_THROW_SITE), so each site is raised in the file its record
// names: Face.cpp, Facet.cpp or ConvexHullComputer.cpp, never in the engine.
// Internal header; not stable API.

#include "zeblib2core/Throw.h"

namespace TOLX
{
namespace Impl
{
namespace HullSites
{
// ---- Face.cpp
constexpr StThrowSite kFaceDimension{"TOLX::CFace::CFace", 28,
                                     "Dimension of CFace must be lower/equal dimension of space"};
constexpr StThrowSite kFaceBNotVector{"TOLX::CFace::CFace", 30,
                                      "The Argument b for the CFace constructor is exspected to be a vector but hat "
                                      "%1 Cols"};
// The test compares row counts while the message names column counts.
constexpr StThrowSite kFaceSizeMismatch{"TOLX::CFace::CFace", 35,
                                        "The Arguement A and b for the CFace constructor do not have same size. "
                                        "A.Cols() = %1 but b.Cols() = %2"};
constexpr StThrowSite kFaceVertexCount{"TOLX::CFace::CFace", 39, "Wrong number of vertices"};
constexpr StThrowSite kFaceDimensionBySize{"TOLX::CFace::CFace", 49,
                                           "Dimension of CFace must be lower/equal dimension of space"};

// ---- Facet.cpp
constexpr StThrowSite kFacetPNotVector{"TOLX::CFacet::CFacet", 34,
                                       "p is expected to be a vector, but its size is '%1x%2'"};
constexpr StThrowSite kFacetRidgeDimension{"TOLX::CFacet::CFacet", 37,
                                           "f is expected to be a n-2 dim face, but it is %1-dim."};
constexpr StThrowSite kFacetRidgeHasP{"TOLX::CFacet::CFacet", 40, "f has vertex p"};
constexpr StThrowSite kFacetPointCount{"TOLX::CFacet::CFacet", 57,
                                       "Constructor of a CFacet in %1-space, exspectes %2 affinely independent points "
                                       "but got %3."};
constexpr StThrowSite kFacetNoFacet{"TOLX::CFacet::CFacet", 78, "Unable to construct a facet."};
constexpr StThrowSite kFacetTooFewCommon{"TOLX::CFacet::addNeighbour", 130,
                                         "Cannot add a neighbor to facet with only %1 common vertices."};

// ---- ConvexHullComputer.cpp: construction
constexpr StThrowSite kHullTooFewPoints{"TOLX::CConvexHullComputer::getStartPoints", 166,
                                        "Will not be able to find any affinely independentpoints. Pointset contains "
                                        "only %1 points."};
constexpr StThrowSite kHullAffineSubspace{"TOLX::CConvexHullComputer::getStartPoints", 198,
                                          "Could not find any affinely independent points. Maybe your data form an "
                                          "affine subspace."};
constexpr StThrowSite kHullAlreadyInside{"TOLX::CConvexHullComputer::constructHorizon", 299,
                                         "Trying to construct new Facets with a point that is already inside the "
                                         "convex hull."};

// ---- ConvexHullComputer.cpp: images
constexpr char kLoadName[] = "TOLX::CConvexHullComputer::loadPointsFromImage";
constexpr char kLoadBoxName[] = "TOLX::CConvexHullComputer::loadPointsFromImageBox";
constexpr char kPaintName[] = "TOLX::CConvexHullComputer::paintConvexHullToImage";
constexpr char kLoadThreeSpaceText[] = "The loadPointsFromImage(...) functionality is only provided in 3-space, but "
                                       "was called with a ConvexHullComputer in %1-space";
constexpr char kLoadTypesText[] = "The loadPointsFromImage(...) functionality is only provided for BINARY_FG, 8bit, "
                                  "16bit and 32bit unsigned integer data.";
constexpr char kMonoText[] = "For MONO-images, use colour=0 or colour=1.";
constexpr char kGreyText[] = "Grayvalue %1 exceeds range of image type.";

constexpr StThrowSite kLoadThreeSpace{kLoadName, 756, kLoadThreeSpaceText};
constexpr StThrowSite kLoadTypes{kLoadName, 785, kLoadTypesText};
constexpr StThrowSite kLoadColourThreeSpace{kLoadName, 791, kLoadThreeSpaceText};
constexpr StThrowSite kLoadColourMono{kLoadName, 800, kMonoText};
constexpr StThrowSite kLoadColourTypes{kLoadName, 819, kLoadTypesText};
constexpr StThrowSite kLoadBoxMono{kLoadBoxName, 833, kMonoText};
constexpr StThrowSite kLoadBoxTypes{kLoadBoxName, 856, kLoadTypesText};
// By pixel width: 8 bits (and binary foreground), 16 bits, 32 bits.
constexpr StThrowSite kPaintGreyRange[3] = {
    {kPaintName, 884, kGreyText}, {kPaintName, 892, kGreyText}, {kPaintName, 900, kGreyText}};
constexpr StThrowSite kPaintType{kPaintName, 904, "Not implemented for image type %1."};
constexpr StThrowSite kLoadRowsDimension{"typed_loadPointsFromImage", 130, "1d not implemented"};
constexpr StThrowSite kLoadBoxRowsDimension{"typed_loadPointsFromImageBox", 274, "1d not implemented"};
constexpr StThrowSite kPaintRowsThreeSpace{"typed_paintConvexHullToImage", 141,
                                           "The paintConvexHullToImage(...) functionality is only provided in "
                                           "3-space, but was called with a ConvexHullComputer in %1-space"};
// Worded apart from the loaders' message on purpose.
constexpr StThrowSite kPaintRowsDimension{"typed_paintConvexHullToImage", 203, "1d not impl"};

} // namespace HullSites
} // namespace Impl
} // namespace TOLX
