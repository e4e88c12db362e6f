#pragma once

#include "Numeric/Export.h"

#include <cstddef>

namespace TOLX
{
// The abstract dense matrix. All arithmetic lives here, written only in terms
// of Rows(), Cols(), the two element accessors and Reshape(), so that a class
// with another storage layout supplies those and inherits the rest. The order
// of the virtual functions is the interface's slot order and must not change.
template <class T>
class VORN_API IMatrix
{
public:
    virtual ~IMatrix();
    virtual std::size_t Rows() const = 0;
    virtual std::size_t Cols() const = 0;
    // Reshapes only when the row count differs or the shape already matches:
    // a source with equal rows but other columns keeps this shape (see .cpp).
    virtual IMatrix& operator=(const IMatrix& other);
    virtual bool operator==(const IMatrix& other) const;
    virtual T& operator()(std::size_t row, std::size_t col) = 0;
    virtual T operator()(std::size_t row, std::size_t col) const = 0;
    virtual IMatrix& operator*=(const IMatrix& other);
    virtual IMatrix& operator*=(const T& factor);
    virtual IMatrix& operator+=(const IMatrix& other);
    virtual IMatrix& operator+=(const T& summand);
    virtual void Transpose();
    virtual IMatrix& operator-=(const IMatrix& other);
    virtual void AddRows(const IMatrix& other);
    virtual void AddCols(const IMatrix& other);
    virtual void Reshape(std::size_t rows, std::size_t cols) = 0;

protected:
    IMatrix() = default;
    IMatrix(const IMatrix&) = default;
};

extern template class IMatrix<double>;
extern template class IMatrix<float>;
} // namespace TOLX
