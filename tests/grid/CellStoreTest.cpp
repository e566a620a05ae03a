// The cell store's arena: texts of every length around the sizes where it opens a new
// block, on a fresh store and on one already holding texts, read back intact.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "CellStore.h"
#include "MemoryCheck.h"
#include "RuntimeError.h"

namespace {

// A text of the given length whose bytes differ from those of another seed.
std::string Pattern(std::size_t length, char seed) {
    static const std::string bytes = [] {
        std::string all(std::size_t(1) << 19, ' ');
        for (std::size_t i = 0; i < all.size(); ++i)
            all[i] = static_cast<char>('!' + i % 89);
        return all;
    }();
    return bytes.substr(static_cast<unsigned char>(seed) % 89, length);
}

std::vector<std::size_t> LengthsAroundBlockSizes() {
    std::vector<std::size_t> lengths;
    // Block sizes double from 4 KB; texts past 128 KB get blocks of their own.
    for (std::size_t block = 4096; block <= (std::size_t(1) << 18); block *= 2)
        for (std::size_t delta = 0; delta <= 8; ++delta)
            lengths.push_back(block - 4 + delta);
    return lengths;
}

class CellStoreBoundaries : public ::testing::TestWithParam<int> {};

// Param: how many small texts the store holds before a long one arrives.
TEST_P(CellStoreBoundaries, LongTextsReadBackWithTheirNeighbours) {
    const int used = GetParam();
    for (const std::size_t length : LengthsAroundBlockSizes()) {
        CellStore store;
        for (int i = 0; i < used; ++i)
            store.SetText(1, i, Pattern(std::size_t(i % 50), char(i)), 100);
        ASSERT_TRUE(store.SetText(2, 1, Pattern(length, 'x'), 100));
        ASSERT_TRUE(store.SetText(2, 2, Pattern(length / 2, 'y'), 100));
        ASSERT_TRUE(store.SetText(2, 1, Pattern(length + 1, 'z'), 100));  // replaced
        ASSERT_EQ(store.Text(2, 1), Pattern(length + 1, 'z')) << length;
        ASSERT_EQ(store.Text(2, 2), Pattern(length / 2, 'y')) << length;
        for (int i = 0; i < used; ++i)
            ASSERT_EQ(store.Text(1, i), Pattern(std::size_t(i % 50), char(i))) << length;
    }
}

INSTANTIATE_TEST_SUITE_P(Fill, CellStoreBoundaries, ::testing::Values(0, 1, 3000));

// Packed rows go in whole across block boundaries, next to texts already there, and over
// rows that hold texts (then text by text); empty texts in them leave cells empty.
TEST_P(CellStoreBoundaries, PackedRowsReadBackAsWritten) {
    const int used = GetParam();
    CellStore store;
    for (int i = 0; i < used; ++i)
        store.SetText(i % 7, i % 600, Pattern(std::size_t(i % 50), char(i)), 600);
    const auto text = [](int row, int col) {
        return (row + col) % 11 == 0 ? std::string()
                                     : Pattern(std::size_t(row * 3 + col) % 100, char(row + col));
    };
    CellStore::PackedRow packed;
    for (int row = 0; row < 300; ++row) {
        packed.Clear();
        for (int col = 0; col < 500; ++col) {
            const std::string t = text(row, col);
            packed.Commit(t.copy(packed.Reserve(t.size()), t.size()));
        }
        store.SetPackedRow(row, 1, packed, 600);
    }
    for (int row = 0; row < 300; ++row) {
        for (int col = 0; col < 500; ++col)
            ASSERT_EQ(store.Text(row, col + 1), text(row, col)) << row << ", " << col;
    }
}

class CellStoreShrink : public ::testing::TestWithParam<int> {};

// A sheet of 2000 rows by 300 columns shrinks to `GetParam()` rows, then to 11 columns: the
// texts that stay read back intact, and the memory of the others goes.
TEST_P(CellStoreShrink, KeepsWhatStaysAndFreesTheRest) {
    const int keptRows = GetParam();
    CellStore store;
    const auto text = [](int row, int col) {
        return Pattern(std::size_t(row + col) % 12, char(row * 7 + col));
    };
    for (int row = 0; row < 2000; ++row)
        for (int col = 0; col < 300; ++col)
            store.SetText(row, col, text(row, col), 300);
    const std::size_t full = store.Bytes();
    store.DropRowsFrom(keptRows);
    store.DropColumnsFrom(11);
    for (int row = 0; row < 2000; ++row)
        for (int col = 0; col < 300; ++col)
            ASSERT_EQ(store.Text(row, col), row < keptRows && col < 11 ? text(row, col) : "")
                << row << ", " << col;
    EXPECT_LT(store.Bytes(), full / 10);
}

INSTANTIATE_TEST_SUITE_P(Rows, CellStoreShrink, ::testing::Values(0, 31, 1500));

// On a machine with 160 MB to spare, filling a sheet ends with run-time error 7 before it
// takes the last 64 MB, and what the store held stays readable.
TEST(CellStoreMemory, GrowingPastWhatTheMachineHasRaises7) {
    const auto report = std::filesystem::temp_directory_path() / "kelvara-meminfo-cellstore";
    const MemoryCheck::Sources saved = MemoryCheck::CurrentSources();
    MemoryCheck::CurrentSources() = {report.string(), "", ""};
    CellStore store;
    const std::string text = Pattern(100000, 'm');
    int stored = 0;
    try {
        for (; stored < 2000; ++stored) {
            // The machine's report follows what the store has taken.
            const std::size_t free = (std::size_t(160) << 20) - store.Bytes();
            std::ofstream(report) << "MemTotal: 9999999 kB\nMemAvailable: " << free / 1024
                                  << " kB\nSwapFree: 0 kB\n";
            store.SetText(stored, 0, text, 1);
        }
    } catch (const RuntimeError& error) {
        EXPECT_EQ(error.Number(), RuntimeError::OutOfMemory);
    }
    MemoryCheck::CurrentSources() = saved;
    std::filesystem::remove(report);
    EXPECT_LT(store.Bytes(), std::size_t(96) << 20);
    EXPECT_GT(store.Bytes(), std::size_t(32) << 20);
    for (int row = 0; row < stored; ++row)
        ASSERT_EQ(store.Text(row, 0), text);
}

}  // namespace
