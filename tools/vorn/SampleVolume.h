#pragma once

#include "zeblib2image/Image.h"

namespace vorn
{
// The labels of the built-in sample volume.
enum EnSampleLabel
{
    SAMPLE_BALL = 1,
    SAMPLE_ELLIPSOID = 2,
    SAMPLE_BOX = 3,
    SAMPLE_TORUS = 4,
    SAMPLE_NEEDLE = 5
};

// What the labels of the sample stand for, for the report's header.
const char* SampleLegend();

// An 8-bit label volume of size³ voxels (128 for the tool's demonstration)
// holding, each in its own label, a ball, a tilted ellipsoid, a rotated box, a
// torus and a one-voxel-thin straight needle whose voxels are collinear (so it
// has no 3-D hull). The shapes scale with the size.
TOLX::CImage MakeSampleVolume(int size = 128);
} // namespace vorn
