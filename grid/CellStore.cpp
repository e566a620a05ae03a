#include "CellStore.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <new>
#include <string>

#include "MemoryCheck.h"
#include "RuntimeError.h"

bool CellStore::SetText(int row, int col, std::string_view text, int rowWidth) {
    const auto r = std::size_t(row);
    const auto c = std::size_t(col);
    if (r >= rows_.size()) {
        if (text.empty()) return false;
        rows_.resize(r + 1);
    }
    auto& cells = rows_[r];
    if (c >= cells.size()) {
        if (text.empty()) return false;
        if (c + 1 > cells.capacity()) {
            // Grow in doubling steps, but never past the grid's width unless the cell
            // itself lies beyond it.
            const std::size_t doubled = std::max<std::size_t>(cells.capacity() * 2, 8);
            const std::size_t limit =
                std::max<std::size_t>(std::size_t(std::max(rowWidth, 0)), c + 1);
            const std::size_t capacity = std::max(c + 1, std::min(doubled, limit));
            ChargeMemoryBudget((capacity - cells.capacity()) * sizeof(Ref));
            cells.reserve(capacity);
        }
        cells.resize(c + 1, 0);
    }
    const Ref old = cells[c];
    if (Read(blocks_, old) == text) return false;

    if (!text.empty() && blocks_.size() + 1 >= kMaxBlocks) {
        // Out of block numbers: rebuild the arena first. The text may stand in it.
        const std::string copy(text);
        Forget(old);
        cells[c] = 0;
        Compact();
        // Every block number holds live text: the sheet is as large as it can be.
        if (blocks_.size() + 1 >= kMaxBlocks) throw RuntimeError(RuntimeError::OutOfMemory);
        cells[c] = Append(copy);
        return true;
    }
    // Appending never moves existing bytes, so a text read from this store stays valid.
    cells[c] = text.empty() ? 0 : Append(text);
    if (old != 0) {
        Forget(old);
        CompactIfWasteful();
    }
    return true;
}

bool CellStore::SetRowTexts(int row, int firstCol, const std::string_view* texts, int count,
                            int rowWidth) {
    int last = count;  // one past the last non-empty text
    while (last > 0 && texts[last - 1].empty())
        --last;
    const auto r = std::size_t(row);
    if (last > 0 && r >= rows_.size()) rows_.resize(r + 1);
    if (r >= rows_.size() || blocks_.size() + 64 >= kMaxBlocks) {
        // Nothing to store, or the arena is near its last block number: one by one.
        bool changed = false;
        for (int i = 0; i < count; ++i)
            changed = SetText(row, firstCol + i, texts[i], rowWidth) || changed;
        return changed;
    }
    auto& cells = rows_[r];
    Widen(cells, std::size_t(firstCol) + std::size_t(last), rowWidth);
    bool changed = false, forgot = false;
    const std::size_t stop = std::min(cells.size(), std::size_t(firstCol) + std::size_t(count));
    for (std::size_t c = std::size_t(firstCol); c < stop; ++c) {
        const std::string_view text = texts[c - std::size_t(firstCol)];
        const Ref old = cells[c];
        if (old == 0 ? text.empty() : Read(blocks_, old) == text) continue;
        cells[c] = text.empty() ? 0 : Append(text);
        changed = true;
        if (old != 0) Forget(old), forgot = true;
    }
    if (forgot) CompactIfWasteful();
    return changed;
}

// A row written up to column end - 1 at once: its array takes the whole grid's width.
void CellStore::Widen(std::vector<Ref>& cells, std::size_t end, int rowWidth) {
    if (cells.size() >= end) return;
    const std::size_t capacity = std::max<std::size_t>(end, std::size_t(std::max(rowWidth, 0)));
    if (capacity > cells.capacity()) {
        ChargeMemoryBudget((capacity - cells.capacity()) * sizeof(Ref));
        cells.reserve(capacity);
    }
    cells.resize(end, 0);
}

// Every allocation of the store is charged here before it is made. Once the allowance is
// spent, the machine is asked for the bytes and a step more, which become the new allowance:
// a sheet of millions of cells ends with run-time error 7 rather than with the process
// killed for want of memory.
void CellStore::ChargeMemoryBudget(std::size_t bytes) {
    constexpr std::size_t kStep = std::size_t(32) << 20;
    if (bytes > allowance_) {
        MemoryCheck::Require(bytes + kStep);
        allowance_ = bytes + kStep;
    }
    allowance_ -= bytes;
}

void CellStore::AddBlock(std::size_t size) {
    ChargeMemoryBudget(size);
    Block block;
    try {
        block.bytes = std::make_unique_for_overwrite<char[]>(size);
    } catch (const std::bad_alloc&) {
        throw RuntimeError(RuntimeError::OutOfMemory);
    }
    block.size = size;
    blocks_.push_back(std::move(block));
}

CellStore::Ref CellStore::Append(std::string_view text) {
    if (blocks_.empty()) OpenBlockFor(0);
    const std::size_t stored = StoredSize(text.size());
    std::size_t block;
    std::size_t position;
    if (stored > kLargeText) {
        AddBlock(stored);
        block = blocks_.size() - 1;
        position = 0;
    } else {
        if (fill_ + stored > blocks_[current_].size) OpenBlockFor(stored);
        block = current_;
        position = fill_;
        fill_ += stored;
    }
    char* p = blocks_[block].bytes.get() + position;
    std::size_t length = text.size();
    while (length >= 0x80) {
        *p++ = static_cast<char>((length & 0x7F) | 0x80);
        length >>= 7;
    }
    *p++ = static_cast<char>(length);
    std::memcpy(p, text.data(), text.size());
    liveBytes_ += stored;
    return static_cast<Ref>((block << kPositionBits) | position);
}

void CellStore::OpenBlockFor(std::size_t stored) {
    if (blocks_.empty()) {
        AddBlock(nextBlockSize_);
        current_ = 0;
        fill_ = 1;  // byte 0 of block 0 is never used: reference 0 is the empty text
        if (fill_ + stored <= blocks_[current_].size) return;
    }
    // The next block doubles the current one, and is at least large enough for the text
    // that did not fit.
    nextBlockSize_ =
        std::min(std::max(blocks_[current_].size * 2, std::bit_ceil(stored)), kMaxBlockSize);
    AddBlock(nextBlockSize_);
    current_ = blocks_.size() - 1;
    fill_ = 0;
}

bool CellStore::SetPackedRow(int row, int firstCol, const PackedRow& texts, int rowWidth) {
    const int count = texts.Count();
    int last = count;  // one past the last non-empty text
    while (last > 0 && texts.Start(last - 1) == texts.End(last - 1))
        --last;
    if (last == 0) return SetRowTexts(row, firstCol, nullptr, 0, rowWidth);
    const auto r = std::size_t(row);
    const auto first = std::size_t(firstCol);
    const bool empty =
        r >= rows_.size() || first >= rows_[r].size() ||
        std::all_of(rows_[r].begin() + std::ptrdiff_t(first),
                    rows_[r].begin() +
                        std::ptrdiff_t(std::min(rows_[r].size(), first + std::size_t(count))),
                    [](Ref ref) { return ref == 0; });
    if (!empty || blocks_.size() + 64 >= kMaxBlocks) {
        // Cells to compare and replace, or the arena near its last block number: text by text.
        std::vector<std::string_view> views(static_cast<std::size_t>(count));
        for (int i = 0; i < count; ++i)
            views[std::size_t(i)] = texts.Text(i);
        return SetRowTexts(row, firstCol, views.data(), count, rowWidth);
    }
    if (r >= rows_.size()) rows_.resize(r + 1);
    auto& cells = rows_[r];
    Widen(cells, first + std::size_t(last), rowWidth);
    // As many texts as the block being filled has room for go in with one copy. (A packed
    // text is short: it always fits a block's share.)
    for (int i = 0; i < last;) {
        const std::size_t from = texts.Start(i);
        if (blocks_.empty() || fill_ + (texts.End(i) - from) > blocks_[current_].size)
            OpenBlockFor(texts.End(i) - from);
        const std::size_t room = blocks_[current_].size - fill_;
        int j = i + 1;
        while (j < last && texts.End(j) - from <= room)
            ++j;
        const std::size_t size = texts.End(j - 1) - from;
        std::memcpy(blocks_[current_].bytes.get() + fill_, texts.Bytes() + from, size);
        const Ref base = static_cast<Ref>((current_ << kPositionBits) | fill_);
        for (int k = i; k < j; ++k)
            cells[first + std::size_t(k)] =
                texts.Start(k) == texts.End(k) ? 0 : base + static_cast<Ref>(texts.Start(k) - from);
        fill_ += size;
        liveBytes_ += size;
        i = j;
    }
    return true;
}

void CellStore::Forget(Ref ref) {
    if (ref == 0) return;
    const std::size_t stored = StoredSize(Read(blocks_, ref).size());
    liveBytes_ -= stored;
    deadBytes_ += stored;
}

void CellStore::CompactIfWasteful() {
    if (liveBytes_ == 0) {
        if (!blocks_.empty()) {
            blocks_.clear();
            blocks_.shrink_to_fit();
            deadBytes_ = 0;
            fill_ = 0;
            nextBlockSize_ = kFirstBlockSize;
        }
    } else if (deadBytes_ > liveBytes_ && deadBytes_ >= kMaxBlockSize) {
        Compact();
    }
}

void CellStore::Compact() {
    // The live texts are copied while the old blocks still hold them: ask first, so that
    // running out of memory cannot leave the store half rebuilt.
    MemoryCheck::Require(liveBytes_);
    std::vector<Block> old;
    old.swap(blocks_);
    const std::size_t live = liveBytes_;
    liveBytes_ = 0;
    deadBytes_ = 0;
    fill_ = 0;
    current_ = 0;
    nextBlockSize_ = std::clamp(std::bit_ceil(live + 1), kFirstBlockSize, kMaxBlockSize);
    for (auto& cells : rows_) {
        for (Ref& ref : cells) {
            if (ref != 0) ref = Append(Read(old, ref));
        }
    }
}

void CellStore::DropRowsFrom(int row) {
    const auto first = std::size_t(std::max(row, 0));
    if (first >= rows_.size()) return;
    // Usually few rows stay (a sheet cleared before it shrinks): then what they hold is
    // counted, and every other text is forgotten at once, without reading each one's length.
    if (first <= rows_.size() - first) {
        std::size_t kept = 0;
        for (std::size_t r = 0; r < first; ++r) {
            for (Ref ref : rows_[r])
                if (ref != 0) kept += StoredSize(Read(blocks_, ref).size());
        }
        deadBytes_ += liveBytes_ - kept;
        liveBytes_ = kept;
    } else {
        for (std::size_t r = first; r < rows_.size(); ++r) {
            for (Ref ref : rows_[r])
                Forget(ref);
        }
    }
    rows_.resize(first);
    if (rows_.capacity() > 2 * rows_.size() + 64) rows_.shrink_to_fit();
    CompactIfWasteful();
}

void CellStore::DropColumnsFrom(int col) {
    const auto first = std::size_t(std::max(col, 0));
    for (auto& cells : rows_) {
        if (cells.size() <= first) continue;
        for (std::size_t c = first; c < cells.size(); ++c)
            Forget(cells[c]);
        cells.resize(first);
        if (cells.capacity() > 2 * cells.size() + 16) cells.shrink_to_fit();
    }
    CompactIfWasteful();
}

int CellStore::LastUsedRow() const {
    for (std::size_t r = rows_.size(); r-- > 1;) {
        const auto& cells = rows_[r];
        if (cells.size() > 1 &&
            std::any_of(cells.begin() + 1, cells.end(), [](Ref ref) { return ref != 0; }))
            return int(r);
    }
    return 0;
}

int CellStore::LastUsedCol() const {
    std::size_t last = 0;
    for (std::size_t r = 1; r < rows_.size(); ++r) {
        const auto& cells = rows_[r];
        for (std::size_t c = cells.size(); c-- > last + 1;) {
            if (cells[c] != 0) {
                last = c;
                break;
            }
        }
    }
    return int(last);
}

std::size_t CellStore::Bytes() const {
    std::size_t bytes = blocks_.capacity() * sizeof(Block) + rows_.capacity() * sizeof(rows_[0]);
    for (const auto& block : blocks_)
        bytes += block.size;
    for (const auto& cells : rows_)
        bytes += cells.capacity() * sizeof(Ref);
    return bytes;
}
