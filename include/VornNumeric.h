#pragma once

// Everything a host application compiles against: the library's exported
// classes and functions and the host stand-in types they use.

#include "zeblib2core/Exception.h"
#include "zeblib2core/Object.h"
#include "zeblib2core/String.h"
#include "zeblib2core/Types.h"
#include "zeblib2core/Value.h"
#include "zeblib2image/Image.h"

#include "Numeric/ConvexHullComputer.h"
#include "Numeric/Face.h"
#include "Numeric/Facet.h"
#include "Numeric/Matrix.h"
#include "Numeric/Matrix3.h"
#include "Numeric/MatrixInterface.h"
#include "Numeric/Moment.h"
#include "Numeric/Numeric.h"
#include "Numeric/Random.h"
#include "Numeric/SymmMatrix.h"
#include "Numeric/TripleGeometry.h"
#include "Numeric/Vec3.h"
