#pragma once

// Every throw site of the matrix classes and the SVD worker: the function and
// line that hosts know each site by, and its message with %N placeholders in
// the order the arguments fill them. The texts are the hosts' own, odd
// spacing, literal sizes and unfilled placeholders included. Each site is
// raised in the file its location names (TOLX_THROW_SITE takes the file from
// where it is invoked). Internal: not installed.

#include "zeblib2core/Throw.h"

namespace TOLX
{
namespace Impl
{
namespace MatrixSites
{
// Messages that several sites share.
inline constexpr char kMatrixBounds[] =
    "Index exceeds matrix bounds. Tried to access index (%1,%2) but Matrix size is %3-by-%4";
inline constexpr char kVecPair[] = "Index exceeds matrix bounds. Tried to access index (%1,%2) but Matrix size is 3-by-1";
inline constexpr char kVecSize[] = "Index exceeds matrix bounds. Tried to access index (%1) but Matrix size is %3-by-%4";
inline constexpr char kMatrix3Element[] =
    "Index exceeds matrix bounds. Tried to access index (%1,%2) but Matrix size is 3-by-3";
// The row is a literal 1: the index fills %2, the only placeholder.
inline constexpr char kMatrix3Column[] =
    "Index exceeds matrix bounds. Tried to access index (1,%2) but Matrix size is 3-by-3";

// CMatrix<T>, Matrix.cpp. The write accessor's text has no blank after "bounds.".
inline constexpr StThrowSite kMatrixRead{"TOLX::CMatrix<T>::operator ()", 83, kMatrixBounds};
inline constexpr StThrowSite kMatrixWrite{
    "TOLX::CMatrix<T>::operator ()", 91,
    "Index exceeds matrix bounds.Tried to access index (%1,%2) but Matrix size is %3-by-%4"};
inline constexpr StThrowSite kMatrixProduct{"TOLX::CMatrix<T>::operator *", 124, "Trying to multiply non-conform matrices."};
inline constexpr StThrowSite kMatrixGetCol{"TOLX::CMatrix<T>::GetCol", 179,
                                           "Index out of bounds. Tried to access Col %1 but matrix has only %2 Cols"};

// IMatrix<T>, MatrixInterface.cpp.
inline constexpr StThrowSite kInterfaceProduct{"TOLX::IMatrix<T>::operator *=", 85,
                                               "Tried to multiply %1-by-%2 *= %3-by-%4 matrices"};
inline constexpr StThrowSite kInterfaceSum{"TOLX::IMatrix<T>::operator +=", 130,
                                           "Tried to add %1-by-%2 and %3-by-%4 matrices"};
inline constexpr StThrowSite kInterfaceDifference{"TOLX::IMatrix<T>::operator -=", 145,
                                                  "Tried to subtract %1-by-%2 and %3-by-%4 matrices"};
inline constexpr StThrowSite kInterfaceAddRows{"TOLX::IMatrix<T>::AddRows", 176,
                                               "Tried to concatenate %1-dim rows to %2-dim rows"};
inline constexpr StThrowSite kInterfaceAddCols{"TOLX::IMatrix<T>::AddCols", 209,
                                               "Tried to concatenate %1-dim Cols to %2-dim Cols"};

// CVec3, Vec3.cpp.
inline constexpr StThrowSite kVecWrite{"TOLX::CVec3::operator ()", 96, kVecPair};
inline constexpr StThrowSite kVecRead{"TOLX::CVec3::operator ()", 106, kVecPair};
inline constexpr StThrowSite kVecSubscriptRead{
    "TOLX::CVec3::operator []", 116, "Index exceeds matrix bounds. Tried to access index (%1) but Matrix size is 3-by-1"};
inline constexpr StThrowSite kVecSubscriptWrite{"TOLX::CVec3::operator []", 126, kVecSize};
inline constexpr StThrowSite kVecRow{"TOLX::CVec3::Row", 211, kVecSize};
inline constexpr StThrowSite kVecReshape{
    "TOLX::CVec3::Reshape", 308, "Reshape into other dimensions than (3,1) is not possible for an instance of CVec3."};

// CMatrix3, Matrix3.cpp.
inline constexpr StThrowSite kMatrix3Write{"TOLX::CMatrix3::operator ()", 114, kMatrix3Element};
inline constexpr StThrowSite kMatrix3Read{"TOLX::CMatrix3::operator ()", 124, kMatrix3Element};
inline constexpr StThrowSite kMatrix3Row{"TOLX::CMatrix3::Row", 151,
                                         "Index exceeds matrix bounds. Tried to access index (%1,*) but Matrix size is 3-by-3"};
inline constexpr StThrowSite kMatrix3ColRead{"TOLX::CMatrix3::Col", 165, kMatrix3Column};
inline constexpr StThrowSite kMatrix3ColWrite{"TOLX::CMatrix3::Col", 175, kMatrix3Column};
inline constexpr StThrowSite kMatrix3Reshape{
    "TOLX::CMatrix3::Reshape", 245,
    "Reshape into other dimensions than (3,3) is not possible for an instance of CMatrix3."};

// CSymmMatrix<T>: raised from SymmMatrix.h, where hosts know them.
inline constexpr StThrowSite kSymmValues{"TOLX::CSymmMatrix<T>::CSymmMatrix", 104, "invalid parameter vector"};
inline constexpr StThrowSite kSymmColumnLengths{"TOLX::CSymmMatrix<T>::SetColumnLength", 217,
                                                "invalid vector length in SetColumnLength"};
inline constexpr StThrowSite kSymmNotSymmetric{"TOLX::CSymmMatrix<T>::SolveEigenProblem", 250, "Matrix is not symmetric"};
inline constexpr StThrowSite kSymmReshape{"TOLX::CSymmMatrix<T>::Reshape", 485,
                                          "Symmetric matrix must have an equal number of rows and columns."};

// The SVD worker, helpers/nrSVD.cpp.
inline constexpr StThrowSite kSvdWorkVector{"CNrSvd::svdcmp", 60, "Memory allocation error."};
} // namespace MatrixSites
} // namespace Impl
} // namespace TOLX
