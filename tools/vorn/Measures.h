#pragma once

#include "Analysis.h"
#include "StackLayout.h"

#include <array>
#include <cstdint>

namespace vorn
{
// The quantities of one object that users know from scikit-image, in the
// units of the calibration. With c the covariance of the object's pixel
// centres (physical coordinates, divided by the pixel count):
// - inertia: the eigenvalues of scikit-image's inertia tensor, largest first:
//   diagonal trace(c) - c_ii, off-diagonal -c_ij (in 2-D this has the
//   eigenvalues of c itself);
// - axis lengths: 2-D 4 sqrt(inertia_0) and 4 sqrt(inertia_1); 3-D
//   sqrt(10 (i0 + i1 - i2)) and sqrt(10 (-i0 + i1 + i2));
// - eccentricity (2-D): sqrt(1 - inertia_1 / inertia_0), in [0, 1);
// - main axis: the unit direction of largest variance.
struct ObjectMeasures
{
    std::int64_t pixels = 0;
    double volume = 0; // area in 2-D
    std::array<double, 3> centroid{};
    std::array<double, 3> inertia{};
    double majorAxis = 0, minorAxis = 0;
    double eccentricity = 0; // NaN in 3-D
    std::array<double, 3> mainAxis{};
    double convexVolume = 0;    // of the pixels' hull (PixelHullMeasure), NaN without a hull
    double solidity = 0;        // volume / convexVolume
    double paintedSolidity = 0; // pixels / pixels painted by the hull
};

// The raw sums of an object's pixel centres (mpqr = sum of x^p y^q z^r, in
// pixels), as CObjectMoment keeps them or as partial results add up.
struct MomentSums
{
    double m000, m100, m010, m001, m200, m020, m002, m110, m101, m011;
};

MomentSums SumsOf(const TOLX::CObjectMoment& moments, std::int64_t index);

ObjectMeasures Measure(const MomentSums& sums, const HullReport& hull, int dimension, const Calibration& calibration);

// Object i of the report.
ObjectMeasures Measure(const AnalysisReport& report, std::size_t i, const Calibration& calibration);
} // namespace vorn
