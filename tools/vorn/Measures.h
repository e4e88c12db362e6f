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

ObjectMeasures Measure(const AnalysisReport& report, std::size_t i, const Calibration& calibration);

// The eigenvalues of the symmetric matrix (xx, xy, xz, yy, yz, zz), largest
// first, and a unit eigenvector of the largest.
std::array<double, 3> SymmetricEigenvalues(const std::array<double, 6>& m);
std::array<double, 3> EigenvectorOf(const std::array<double, 6>& m, double eigenvalue);
} // namespace vorn
