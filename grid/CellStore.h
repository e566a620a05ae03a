#pragma once
// The texts of a grid's cells, kept compact enough for millions of cells.
//
// Each row that has ever held a text owns a dense array of 32-bit references, one per
// column up to its last written column; 0 is the empty text. A reference names a block of
// an arena and a position in it, where the text stands as UTF-8 behind a variable-length
// length prefix. Overwriting a cell appends the new text and leaves the old bytes as
// garbage; once the garbage outweighs the live texts, the arena is rebuilt.

#include <algorithm>
#include <cassert>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

class CellStore {
public:
    class PackedRow;

    CellStore() = default;
    CellStore(const CellStore&) = delete;
    CellStore& operator=(const CellStore&) = delete;

    // The text of a cell; "" for a cell never written. Valid until the next change.
    std::string_view Text(int row, int col) const {
        if (row < 0 || col < 0 || std::size_t(row) >= rows_.size()) return {};
        const auto& cells = rows_[std::size_t(row)];
        if (std::size_t(col) >= cells.size()) return {};
        return Read(blocks_, cells[std::size_t(col)]);
    }

    // Sets a cell's text (row, col >= 0). rowWidth is the grid's column count: a row's
    // array grows in steps up to it. Answers false when the cell already held the text.
    // The text may point into this store.
    bool SetText(int row, int col, std::string_view text, int rowWidth);

    // Sets the texts of cells (row, firstCol) .. (row, firstCol + count - 1) at once, as
    // SetText would one after another; the texts must not point into this store. Answers
    // whether any cell changed.
    bool SetRowTexts(int row, int firstCol, const std::string_view* texts, int count, int rowWidth);

    // Sets cells (row, firstCol) .. (row, firstCol + texts.Count() - 1) to texts laid out
    // as the store keeps them: taken in by copying their bytes in one piece per block.
    // Answers whether any cell changed.
    bool SetPackedRow(int row, int firstCol, const PackedRow& texts, int rowWidth);

    // A change that needs more memory than the machine can provide raises run-time
    // error 7 before it allocates.

    // Forget every cell in rows >= row, or in columns >= col.
    void DropRowsFrom(int row);
    void DropColumnsFrom(int col);

    // The last row and last column, counted from 1, that hold a non-empty text in some
    // column or row >= 1; 0 when there is none.
    int LastUsedRow() const;
    int LastUsedCol() const;

    // Bytes of memory held by the arena and the reference arrays.
    std::size_t Bytes() const;

private:
    using Ref = std::uint32_t;
    static constexpr unsigned kPositionBits = 20;
    static constexpr std::size_t kMaxBlockSize = std::size_t(1) << kPositionBits;
    static constexpr std::size_t kFirstBlockSize = 4096;
    static constexpr std::size_t kMaxBlocks = std::size_t(1) << (32 - kPositionBits);
    // A text longer than this gets a block of its own instead of filling the current one.
    static constexpr std::size_t kLargeText = kMaxBlockSize / 8;

    struct Block {
        std::unique_ptr<char[]> bytes;
        std::size_t size = 0;
    };

    static std::string_view Read(const std::vector<Block>& blocks, Ref ref) {
        if (ref == 0) return {};
        const char* p = blocks[ref >> kPositionBits].bytes.get() + (ref & (kMaxBlockSize - 1));
        std::size_t length = 0;
        unsigned shift = 0;
        unsigned char byte;
        do {
            byte = static_cast<unsigned char>(*p++);
            length |= std::size_t(byte & 0x7F) << shift;
            shift += 7;
        } while (byte & 0x80);
        return {p, length};
    }
    static std::size_t StoredSize(std::size_t length) {
        std::size_t prefix = 1;
        for (std::size_t rest = length; rest >= 0x80; rest >>= 7)
            ++prefix;
        return prefix + length;
    }

    Ref Append(std::string_view text);
    void Widen(std::vector<Ref>& cells, std::size_t end, int rowWidth);
    // Makes the block being filled one with room for `stored` more bytes.
    void OpenBlockFor(std::size_t stored);
    void AddBlock(std::size_t size);
    // Charges bytes about to be allocated to the store's memory budget (run-time error 7
    // when the machine cannot provide them); allocates nothing itself.
    void ChargeMemoryBudget(std::size_t bytes);
    void Forget(Ref ref);
    void CompactIfWasteful();
    void Compact();

    std::vector<Block> blocks_;
    std::size_t fill_ = 0;     // bytes used in the block being filled (the last normal one)
    std::size_t current_ = 0;  // index of that block; meaningful once blocks_ is not empty
    std::size_t nextBlockSize_ = kFirstBlockSize;
    std::vector<std::vector<Ref>> rows_;
    std::size_t liveBytes_ = 0;
    std::size_t deadBytes_ = 0;
    std::size_t allowance_ = 0;  // bytes the store may still grow by before asking again
};

// The texts of a row of cells, each behind its length prefix as the store keeps them, so
// that a row can be made ready on another thread and taken in with one copy. Reused from
// row to row: Clear keeps the memory.
class CellStore::PackedRow {
public:
    void Clear() {
        starts_.clear();
        used_ = 0;
    }

    // Room for the next text of at most `capacity` bytes (below 128): write it there, then
    // call Commit with its length.
    char* Reserve(std::size_t capacity) {
        assert(capacity < 128);  // a one-byte length prefix
        const std::size_t need = used_ + 1 + capacity;
        if (need > bytes_.size()) bytes_.resize(std::max(need, 2 * bytes_.size()));
        starts_.push_back(std::uint32_t(used_));
        return bytes_.data() + used_ + 1;
    }
    void Commit(std::size_t length) {
        // An empty text takes no bytes.
        if (length > 0) {
            bytes_[used_] = static_cast<char>(length);
            used_ += 1 + length;
        }
    }

    int Count() const { return int(starts_.size()); }
    // Text i's bytes with their prefix, and the text itself.
    std::size_t Start(int i) const { return starts_[std::size_t(i)]; }
    std::size_t End(int i) const {
        return std::size_t(i) + 1 < starts_.size() ? starts_[std::size_t(i) + 1] : used_;
    }
    const char* Bytes() const { return bytes_.data(); }
    std::string_view Text(int i) const {
        return Start(i) == End(i)
                   ? std::string_view()
                   : std::string_view(bytes_.data() + Start(i) + 1, End(i) - Start(i) - 1);
    }

private:
    std::vector<char> bytes_;
    std::vector<std::uint32_t> starts_;
    std::size_t used_ = 0;
};
