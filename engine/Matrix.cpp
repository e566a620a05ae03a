#include "Matrix.h"

#include <mutex>
#include <new>

#include "MemoryCheck.h"
#include "RuntimeError.h"

namespace MatrixStorage {

namespace {

constexpr std::size_t kSmallest = std::size_t(1) << 16;    // doubles (512 KB); smaller: no store
constexpr std::size_t kStoreLimit = std::size_t(1) << 25;  // doubles (256 MB) in the store
constexpr std::size_t kStoreSlots = 8;

struct Store {
    std::mutex mutex;
    double* elements[kStoreSlots] = {};
    std::size_t counts[kStoreSlots] = {};
    std::size_t total = 0;
};

// Never destroyed: matrices with static lifetime may be released after every other object.
Store& TheStore() {
    static Store* store = new Store;
    return *store;
}

}  // namespace

double* Allocate(std::size_t count) {
    if (count >= kSmallest) {
        Store& s = TheStore();
        std::lock_guard<std::mutex> lock(s.mutex);
        for (std::size_t i = 0; i < kStoreSlots; ++i)
            if (s.elements[i] && s.counts[i] == count) {
                double* elements = s.elements[i];
                s.elements[i] = nullptr;
                s.total -= count;
                return elements;
            }
    }
    return static_cast<double*>(::operator new(count * sizeof(double)));
}

void Free(double* elements, std::size_t count) noexcept {
    if (count >= kSmallest) {
        Store& s = TheStore();
        std::lock_guard<std::mutex> lock(s.mutex);
        for (std::size_t i = 0; i < kStoreSlots; ++i)
            if (!s.elements[i] && s.total + count <= kStoreLimit) {
                s.elements[i] = elements;
                s.counts[i] = count;
                s.total += count;
                return;
            }
    }
    ::operator delete(elements);
}

std::size_t KeptBytes() {
    Store& s = TheStore();
    std::lock_guard<std::mutex> lock(s.mutex);
    return s.total * sizeof(double);
}

void ReleaseKept() {
    Store& s = TheStore();
    std::lock_guard<std::mutex> lock(s.mutex);
    for (std::size_t i = 0; i < kStoreSlots; ++i) {
        ::operator delete(s.elements[i]);
        s.elements[i] = nullptr;
        s.counts[i] = 0;
    }
    s.total = 0;
}

}  // namespace MatrixStorage

void Matrix::Resize(std::int16_t rows, std::int16_t cols) {
    if (rows < 1 || cols < 1) throw RuntimeError(RuntimeError::SubscriptOutOfRange);
    const std::size_t count = std::size_t(rows) * std::size_t(cols);
    if (data_.capacity() >= count && data_.capacity() / 2 <= count) {
        // The elements in hand are reused (they are already in memory) and zeroed.
        data_.assign(count, 0.0);
    } else {
        // Release first so that a failed allocation leaves an unsized matrix, not a stale one.
        Release();
        MemoryCheck::Require(count * sizeof(double));
        try {
            data_.assign(count, 0.0);
        } catch (const std::bad_alloc&) {
            throw RuntimeError(RuntimeError::OutOfMemory);
        }
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
    decltype(data_)().swap(data_);
    rows_ = 0;
    cols_ = 0;
}
