#include "Matrix.h"

#include <new>

#include "MemoryCheck.h"
#include "RuntimeError.h"

void Matrix::Resize(std::int16_t rows, std::int16_t cols) {
    if (rows < 1 || cols < 1) throw RuntimeError(RuntimeError::SubscriptOutOfRange);
    // Release first so that a failed allocation leaves an unsized matrix, not a stale one.
    Release();
    const std::size_t count = std::size_t(rows) * std::size_t(cols);
    MemoryCheck::Require(count * sizeof(double));
    try {
        data_.assign(count, 0.0);
    } catch (const std::bad_alloc&) {
        throw RuntimeError(RuntimeError::OutOfMemory);
    }
    rows_ = rows;
    cols_ = cols;
}

double& Matrix::At(std::int16_t row, std::int16_t col) {
    if (row < 1 || row > rows_ || col < 1 || col > cols_)
        throw RuntimeError(RuntimeError::SubscriptOutOfRange);
    return data_[std::size_t(row - 1) * cols_ + std::size_t(col - 1)];
}

double Matrix::At(std::int16_t row, std::int16_t col) const {
    if (row < 1 || row > rows_ || col < 1 || col > cols_)
        throw RuntimeError(RuntimeError::SubscriptOutOfRange);
    return data_[std::size_t(row - 1) * cols_ + std::size_t(col - 1)];
}

void Matrix::Release() {
    std::vector<double>().swap(data_);
    rows_ = 0;
    cols_ = 0;
}
