#include "Matrix.h"

#include "RuntimeError.h"

void Matrix::Resize(std::int16_t rows, std::int16_t cols) {
    if (rows < 1 || cols < 1) throw RuntimeError(RuntimeError::SubscriptOutOfRange);
    // Release first so that a failed allocation leaves an unsized matrix, not a stale one.
    Release();
    data_.assign(std::size_t(rows) * std::size_t(cols), 0.0);
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
