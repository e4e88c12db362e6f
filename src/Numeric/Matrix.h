#pragma once

#include "Numeric/Export.h"
#include "Numeric/MatrixInterface.h"

#include <cstddef>

namespace TOLX
{
namespace Impl
{
struct StThrowSite;
} // namespace Impl

// Dense row-major matrix: element (i, j) is at i * Cols() + j. Up to
// kInline elements (a point in 3-space, a facet's normal row and offset) live
// in the object itself, so that the many small matrices of the hull are one
// block each; larger ones keep their elements on the heap.
template <class T>
class VORN_API CMatrix : public IMatrix<T>
{
public:
    CMatrix() = default;
    CMatrix(std::size_t rows, std::size_t cols);
    // Copies are deep, also from an rvalue: there is no move that would
    // leave the source empty. Between two CMatrix objects assignment is a
    // plain deep copy; assignment from any other IMatrix goes through the
    // interface's rule.
    CMatrix(const CMatrix& other);
    CMatrix& operator=(const CMatrix& other);
    using IMatrix<T>::operator=;
    ~CMatrix() override;

    std::size_t Rows() const override { return m_rows; }
    std::size_t Cols() const override { return m_cols; }
    T& operator()(std::size_t row, std::size_t col) override;
    T operator()(std::size_t row, std::size_t col) const override;
    // Keeps elements at their row-major positions; new ones are zero.
    void Reshape(std::size_t rows, std::size_t cols) override;

    CMatrix GetCol(std::size_t col) const;
    CMatrix operator*(const IMatrix<T>& other) const;

    // Unchecked row-major storage for the library's inner loops.
    const T* Data() const noexcept { return m_data; }
    T* Data() noexcept { return m_data; }

private:
    static constexpr std::size_t kInline = 3;

    bool onHeap() const noexcept { return m_data != m_inline; }
    // Room for `count` elements, the first `keep` of them kept.
    void reserve(std::size_t count, std::size_t keep);

    // Row-major position of (row, col); out of bounds raises the accessor's site.
    std::size_t Index(std::size_t row, std::size_t col, const Impl::StThrowSite& site) const;

    std::size_t m_rows = 0;
    std::size_t m_cols = 0;
    // The elements: m_inline, or a heap block of m_capacity values.
    T* m_data = m_inline;
    union
    {
        T m_inline[kInline];
        std::size_t m_capacity;
    };
};

extern template class CMatrix<double>;
extern template class CMatrix<float>;
} // namespace TOLX
