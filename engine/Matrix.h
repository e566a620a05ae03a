#pragma once
// A two-dimensional array of doubles indexed (row, column) from 1, with checked element
// access. Its owner keeps the counts it works with separately and hands those to the
// routines; the matrix's own bounds only decide which accesses are allowed.

#include <cstddef>
#include <cstdint>
#include <vector>

namespace MatrixStorage {
// Element arrays of large matrices are handed back to a small store when a matrix is
// released and handed out again to the next matrix of the same size, so that repeated
// computations of one size reuse memory already in hand instead of fresh zeroed pages.
double* Allocate(std::size_t count);
void Free(double* elements, std::size_t count) noexcept;
// Bytes the store keeps for the next matrices, and handing all of them back to the system.
std::size_t KeptBytes();
void ReleaseKept();

template <class T>
struct Allocator {
    using value_type = T;
    Allocator() = default;
    template <class U>
    Allocator(const Allocator<U>&) {}
    T* allocate(std::size_t count) { return Allocate(count); }
    void deallocate(T* elements, std::size_t count) noexcept { Free(elements, count); }
    friend bool operator==(const Allocator&, const Allocator&) { return true; }
};
}  // namespace MatrixStorage

class Matrix {
public:
    Matrix() = default;

    // Gives the matrix rows by cols elements, all 0.0. A count below 1 raises 9; more
    // elements than the machine can hold raise 7.
    void Resize(std::int16_t rows, std::int16_t cols);
    // One element; outside the bounds, or on an unsized matrix, raises 9.
    double& At(std::int16_t row, std::int16_t col);
    double At(std::int16_t row, std::int16_t col) const;
    // Frees the elements: the matrix is unsized again.
    void Release();

    std::int16_t Rows() const { return rows_; }
    std::int16_t Cols() const { return cols_; }

    // Whether rows 1..rows and columns 1..cols all lie within the bounds. Routines that
    // check this once may then use the unchecked row pointers below for those elements.
    bool Covers(std::int16_t rows, std::int16_t cols) const {
        return rows <= rows_ && cols <= cols_;
    }
    // The elements of row `row` (1-based), stored contiguously: RowData(r)[c - 1] is (r, c).
    double* RowData(std::int16_t row) { return data_.data() + std::size_t(row - 1) * cols_; }
    const double* RowData(std::int16_t row) const {
        return data_.data() + std::size_t(row - 1) * cols_;
    }

private:
    std::int16_t rows_ = 0;
    std::int16_t cols_ = 0;
    std::vector<double, MatrixStorage::Allocator<double>> data_;
};
