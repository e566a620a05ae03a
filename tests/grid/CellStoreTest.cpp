// The cell store's arena: texts of every length around the sizes where it opens a new
// block, on a fresh store and on one already holding texts, read back intact.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "CellStore.h"

namespace {

// A text of the given length whose bytes differ from those of another seed.
std::string Pattern(std::size_t length, char seed) {
    static const std::string bytes = [] {
        std::string all(std::size_t(1) << 22, ' ');
        for (std::size_t i = 0; i < all.size(); ++i)
            all[i] = static_cast<char>('!' + i % 89);
        return all;
    }();
    return bytes.substr(static_cast<unsigned char>(seed) % 89, length);
}

std::vector<std::size_t> LengthsAroundBlockSizes() {
    std::vector<std::size_t> lengths;
    // Block sizes double from 4 KB to 1 MB; texts past 128 KB get blocks of their own.
    for (std::size_t block = 4096; block <= (std::size_t(1) << 21); block *= 2)
        for (std::size_t delta = 0; delta <= 8; ++delta)
            lengths.push_back(block - 4 + delta);
    return lengths;
}

class CellStoreBoundaries : public ::testing::TestWithParam<int> {};

// Param: how many small texts the store holds before the long ones arrive.
TEST_P(CellStoreBoundaries, LongTextsReadBackWithTheirNeighbours) {
    CellStore store;
    const int used = GetParam();
    for (int i = 0; i < used; ++i)
        store.SetText(1, i, Pattern(std::size_t(i % 50), char(i)), 100);
    const std::vector<std::size_t> lengths = LengthsAroundBlockSizes();
    for (std::size_t i = 0; i < lengths.size(); ++i) {
        const int row = 2 + int(i % 7);  // some texts replace earlier ones
        const int col = int(i / 7);
        ASSERT_TRUE(store.SetText(row, col, Pattern(lengths[i], char(i)), 100));
        ASSERT_EQ(store.Text(row, col), Pattern(lengths[i], char(i))) << lengths[i];
    }
    for (std::size_t i = lengths.size() - 7; i < lengths.size(); ++i)
        EXPECT_EQ(store.Text(2 + int(i % 7), int(i / 7)), Pattern(lengths[i], char(i)));
    for (int i = 0; i < used; ++i)
        EXPECT_EQ(store.Text(1, i), Pattern(std::size_t(i % 50), char(i)));
}

INSTANTIATE_TEST_SUITE_P(Fill, CellStoreBoundaries, ::testing::Values(0, 1, 90, 3000));

}  // namespace
