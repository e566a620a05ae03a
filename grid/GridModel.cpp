#include "GridModel.h"

#include <QFont>
#include <QMetaObject>
#include <algorithm>
#include <climits>
#include <cstdint>
#include <unordered_map>
#include <vector>

#include "CellStore.h"
#include "NumberShape.h"

namespace {

// Cells further out than this are never stored: a write there is ignored.
constexpr int kMaxIndex = 1 << 24;

// An inclusive range of rows and columns that has changed since the last notification.
struct Span {
    int first = INT_MAX;
    int last = -1;
    bool Empty() const { return first > last; }
    void Add(int i) {
        first = std::min(first, i);
        last = std::max(last, i);
    }
    void Clear() { *this = Span{}; }
};

std::uint64_t FormatKey(int row, int col) {
    return (std::uint64_t(std::uint32_t(row)) << 32) | std::uint32_t(col);
}

}  // namespace

struct GridModel::Storage {
    int rows = 30;
    int cols = 5;
    CellStore cells;
    std::unordered_map<std::uint64_t, int> formats;  // only cells with a non-zero code
    // Sizes set so far, for the leading columns and rows; the rest have the default.
    std::vector<int> widths;
    std::vector<int> heights;
    int topRow = 1;
    bool enabled = true;
    bool sheet = false;
    char decimalSeparator = '.';

    // Changes not yet announced: data cells as a rectangle, headings as ranges.
    Span dirtyRows;
    Span dirtyCols;
    Span dirtyHeadingCols;  // cells (0, c)
    Span dirtyHeadingRows;  // cells (r, 0)
    bool flushQueued = false;
};

GridModel::GridModel(QObject* parent)
    : QAbstractTableModel(parent), d_(std::make_unique<Storage>()) {}

GridModel::~GridModel() = default;

int GridModel::Rows() const {
    return d_->rows;
}
int GridModel::Cols() const {
    return d_->cols;
}

void GridModel::SetRows(int rows) {
    rows = std::max(rows, 1);
    const int old = d_->rows;
    if (rows == old) return;
    // Announce pending changes while their rows still exist.
    d_->dirtyRows.last = std::min(d_->dirtyRows.last, rows - 1);
    d_->dirtyHeadingRows.last = std::min(d_->dirtyHeadingRows.last, rows - 1);
    FlushNotifications();
    if (rows > old) {
        beginInsertRows(QModelIndex(), old - 1, rows - 2);
        d_->rows = rows;
        endInsertRows();
    } else {
        beginRemoveRows(QModelIndex(), rows - 1, old - 2);
        d_->rows = rows;
        d_->cells.DropRowsFrom(rows);
        std::erase_if(d_->formats,
                      [rows](const auto& entry) { return int(entry.first >> 32) >= rows; });
        if (d_->heights.size() > std::size_t(rows)) d_->heights.resize(std::size_t(rows));
        endRemoveRows();
    }
}

void GridModel::SetCols(int cols) {
    cols = std::max(cols, 1);
    const int old = d_->cols;
    if (cols == old) return;
    d_->dirtyCols.last = std::min(d_->dirtyCols.last, cols - 1);
    d_->dirtyHeadingCols.last = std::min(d_->dirtyHeadingCols.last, cols - 1);
    FlushNotifications();
    if (cols > old) {
        beginInsertColumns(QModelIndex(), old - 1, cols - 2);
        d_->cols = cols;
        endInsertColumns();
    } else {
        beginRemoveColumns(QModelIndex(), cols - 1, old - 2);
        d_->cols = cols;
        d_->cells.DropColumnsFrom(cols);
        std::erase_if(d_->formats, [cols](const auto& entry) {
            return int(std::uint32_t(entry.first)) >= cols;
        });
        if (d_->widths.size() > std::size_t(cols)) d_->widths.resize(std::size_t(cols));
        endRemoveColumns();
    }
}

QString GridModel::CellText(int row, int col) const {
    const std::string_view text = CellUtf8(row, col);
    return QString::fromUtf8(text.data(), qsizetype(text.size()));
}

std::string_view GridModel::CellUtf8(int row, int col) const {
    if (row >= d_->rows || col >= d_->cols) return {};
    return d_->cells.Text(row, col);
}

void GridModel::SetCellText(int row, int col, const QString& text) {
    const QByteArray utf8 = text.toUtf8();
    SetCellText(row, col, std::string_view(utf8.constData(), std::size_t(utf8.size())));
}

void GridModel::SetCellText(int row, int col, std::string_view utf8) {
    if (row < 0 || col < 0 || row >= kMaxIndex || col >= kMaxIndex) return;
    if (row >= d_->rows) SetRows(row + 1);
    if (col >= d_->cols) SetCols(col + 1);
    Storage& d = *d_;
    if (!d.cells.SetText(row, col, utf8, d.cols)) return;
    if (row == 0) {
        if (col > 0) d.dirtyHeadingCols.Add(col);
    } else if (col == 0) {
        d.dirtyHeadingRows.Add(row);
    } else {
        d.dirtyRows.Add(row);
        d.dirtyCols.Add(col);
    }
    QueueFlush();
}

// The views hear of every change made in one pass of the event loop at once, when the
// loop comes back: one notification per changed rectangle instead of one per cell.
void GridModel::QueueFlush() {
    if (d_->flushQueued) return;
    d_->flushQueued = true;
    QMetaObject::invokeMethod(
        this,
        [this] {
            d_->flushQueued = false;
            FlushNotifications();
        },
        Qt::QueuedConnection);
}

void GridModel::SetRowTexts(int row, int firstCol, const std::string_view* texts, int count) {
    if (row < 0 || firstCol < 0 || count <= 0 || row >= kMaxIndex) return;
    count = std::min(count, kMaxIndex - firstCol);
    if (row == 0 || firstCol == 0 || count <= 0) {
        // Headings keep their own notifications: cell by cell.
        for (int i = 0; i < count; ++i)
            SetCellText(row, firstCol + i, texts[i]);
        return;
    }
    // Writing an empty text past the edge still grows the grid, as SetCellText does.
    if (row >= d_->rows) SetRows(row + 1);
    if (firstCol + count > d_->cols) SetCols(firstCol + count);
    Storage& d = *d_;
    if (!d.cells.SetRowTexts(row, firstCol, texts, count, d.cols)) return;
    d.dirtyRows.Add(row);
    d.dirtyCols.Add(firstCol);
    d.dirtyCols.Add(firstCol + count - 1);
    QueueFlush();
}

void GridModel::SetRowTexts(int row, int firstCol, const PackedRow& texts) {
    const int count = texts.Count();
    if (row <= 0 || firstCol <= 0 || count <= 0 || row >= kMaxIndex ||
        count > kMaxIndex - firstCol) {
        std::vector<std::string_view> views(std::size_t(std::max(count, 0)));
        for (int i = 0; i < count; ++i)
            views[std::size_t(i)] = texts.Text(i);
        SetRowTexts(row, firstCol, views.data(), count);
        return;
    }
    if (row >= d_->rows) SetRows(row + 1);
    if (firstCol + count > d_->cols) SetCols(firstCol + count);
    Storage& d = *d_;
    if (!d.cells.SetPackedRow(row, firstCol, texts, d.cols)) return;
    d.dirtyRows.Add(row);
    d.dirtyCols.Add(firstCol);
    d.dirtyCols.Add(firstCol + count - 1);
    QueueFlush();
}

int GridModel::CellFormat(int row, int col) const {
    if (row < 0 || col < 0 || row >= d_->rows || col >= d_->cols) return 0;
    const auto found = d_->formats.find(FormatKey(row, col));
    return found == d_->formats.end() ? 0 : found->second;
}

void GridModel::SetCellFormat(int row, int col, int format) {
    if (row < 0 || col < 0 || row >= kMaxIndex || col >= kMaxIndex) return;
    if (row >= d_->rows) SetRows(row + 1);
    if (col >= d_->cols) SetCols(col + 1);
    const std::uint64_t key = FormatKey(row, col);
    const auto found = d_->formats.find(key);
    const int old = found == d_->formats.end() ? 0 : found->second;
    if (old == format) return;
    if (format == 0) {
        d_->formats.erase(found);
    } else {
        d_->formats[key] = format;
    }
    // The code changes how the cell is drawn: announce it at once, formats are set rarely.
    if (row == 0 && col > 0) {
        emit headerDataChanged(Qt::Horizontal, col - 1, col - 1);
    } else if (col == 0 && row > 0) {
        emit headerDataChanged(Qt::Vertical, row - 1, row - 1);
    } else if (row > 0 && col > 0) {
        const QModelIndex cell = index(row - 1, col - 1);
        emit dataChanged(cell, cell, {Qt::TextAlignmentRole, Qt::FontRole});
    }
}

int GridModel::ColumnWidth(int col) const {
    if (col < 0 || col >= d_->cols) return 0;
    return std::size_t(col) < d_->widths.size() ? d_->widths[std::size_t(col)] : DefaultColumnWidth;
}

void GridModel::SetColumnWidth(int col, int width) {
    if (col < 0 || col >= d_->cols) return;
    width = std::max(width, 0);
    auto& widths = d_->widths;
    if (std::size_t(col) >= widths.size()) widths.resize(std::size_t(col) + 1, DefaultColumnWidth);
    if (widths[std::size_t(col)] == width) return;
    widths[std::size_t(col)] = width;
    emit ColumnWidthChanged(col, width);
}

int GridModel::RowHeight(int row) const {
    if (row < 0 || row >= d_->rows) return 0;
    return std::size_t(row) < d_->heights.size() ? d_->heights[std::size_t(row)] : DefaultRowHeight;
}

void GridModel::SetRowHeight(int row, int height) {
    if (row < 0 || row >= d_->rows) return;
    height = std::max(height, 0);
    auto& heights = d_->heights;
    if (std::size_t(row) >= heights.size()) heights.resize(std::size_t(row) + 1, DefaultRowHeight);
    if (heights[std::size_t(row)] == height) return;
    heights[std::size_t(row)] = height;
    emit RowHeightChanged(row, height);
}

int GridModel::TopRow() const {
    return d_->topRow;
}

void GridModel::SetTopRow(int row) {
    // Announced even when unchanged: setting the top row scrolls the view back to it.
    d_->topRow = row;
    emit TopRowChanged(row);
}

bool GridModel::Enabled() const {
    return d_->enabled;
}

void GridModel::SetEnabled(bool enabled) {
    if (d_->enabled == enabled) return;
    d_->enabled = enabled;
    emit EnabledChanged(enabled);
}

bool GridModel::SheetFlag() const {
    return d_->sheet;
}

char GridModel::DecimalSeparator() const {
    return d_->decimalSeparator;
}

void GridModel::SetDecimalSeparator(char separator) {
    if (d_->decimalSeparator == separator) return;
    d_->decimalSeparator = separator;
    if (d_->rows > 1 && d_->cols > 1)
        emit dataChanged(index(0, 0), index(d_->rows - 2, d_->cols - 2), {Qt::TextAlignmentRole});
}

void GridModel::SetSheetFlag(bool on) {
    if (d_->sheet == on) return;
    d_->sheet = on;
    if (d_->rows > 1 && d_->cols > 1) {
        emit dataChanged(index(0, 0), index(d_->rows - 2, d_->cols - 2),
                         {Qt::TextAlignmentRole, Qt::FontRole});
    }
    emit SheetFlagChanged(on);
}

int GridModel::LastUsedRow() const {
    return std::min(d_->cells.LastUsedRow(), d_->rows - 1);
}

int GridModel::LastUsedCol() const {
    return std::min(d_->cells.LastUsedCol(), d_->cols - 1);
}

std::size_t GridModel::StorageBytes() const {
    return d_->cells.Bytes();
}

void GridModel::FlushNotifications() {
    Storage& d = *d_;
    // Clip to the current bounds: cells may have been dropped since they changed.
    const int lastRow = std::min(d.dirtyRows.last, d.rows - 1);
    const int lastCol = std::min(d.dirtyCols.last, d.cols - 1);
    const Span rows = d.dirtyRows;
    const Span cols = d.dirtyCols;
    const Span headingCols{d.dirtyHeadingCols.first, std::min(d.dirtyHeadingCols.last, d.cols - 1)};
    const Span headingRows{d.dirtyHeadingRows.first, std::min(d.dirtyHeadingRows.last, d.rows - 1)};
    d.dirtyRows.Clear();
    d.dirtyCols.Clear();
    d.dirtyHeadingCols.Clear();
    d.dirtyHeadingRows.Clear();
    if (rows.first <= lastRow && cols.first <= lastCol) {
        emit dataChanged(index(rows.first - 1, cols.first - 1), index(lastRow - 1, lastCol - 1),
                         {Qt::DisplayRole, Qt::EditRole, Qt::TextAlignmentRole});
    }
    if (!headingCols.Empty()) {
        emit headerDataChanged(Qt::Horizontal, headingCols.first - 1, headingCols.last - 1);
    }
    if (!headingRows.Empty()) {
        emit headerDataChanged(Qt::Vertical, headingRows.first - 1, headingRows.last - 1);
    }
}

int GridModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : d_->rows - 1;
}

int GridModel::columnCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : d_->cols - 1;
}

QVariant GridModel::data(const QModelIndex& index, int role) const {
    if (!checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid))
        return {};
    const int row = index.row() + 1;
    const int col = index.column() + 1;
    switch (role) {
        case Qt::DisplayRole:
        case Qt::EditRole:
            return CellText(row, col);
        case Qt::TextAlignmentRole: {
            if (d_->sheet) return int(Qt::AlignLeft | Qt::AlignVCenter);
            if (CellFormat(row, col) == HeadingFormat) return int(Qt::AlignCenter);
            // A number right-aligns as a spreadsheet shows it, read as the exports read it.
            const bool number = CellNumber(CellUtf8(row, col), d_->decimalSeparator).has_value();
            return int((number ? Qt::AlignRight : Qt::AlignLeft) | Qt::AlignVCenter);
        }
        case Qt::FontRole:
            if (!d_->sheet && CellFormat(row, col) == HeadingFormat) {
                QFont bold;
                bold.setBold(true);
                return bold;
            }
            return {};
        default:
            return {};
    }
}

bool GridModel::setData(const QModelIndex& index, const QVariant& value, int role) {
    if (role != Qt::EditRole ||
        !checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid))
        return false;
    SetCellText(index.row() + 1, index.column() + 1, value.toString());
    // An edit is a single cell: let the views see it now.
    FlushNotifications();
    return true;
}

QVariant GridModel::headerData(int section, Qt::Orientation orientation, int role) const {
    const bool horizontal = orientation == Qt::Horizontal;
    const int row = horizontal ? 0 : section + 1;
    const int col = horizontal ? section + 1 : 0;
    if (section < 0 || row >= d_->rows || col >= d_->cols) return {};
    switch (role) {
        case Qt::DisplayRole:
            return CellText(row, col);
        case Qt::TextAlignmentRole:
            return int(Qt::AlignCenter);
        case Qt::FontRole:
            if (!d_->sheet && CellFormat(row, col) == HeadingFormat) {
                QFont bold;
                bold.setBold(true);
                return bold;
            }
            return {};
        default:
            return {};
    }
}

Qt::ItemFlags GridModel::flags(const QModelIndex& index) const {
    if (!index.isValid() || !d_->enabled) return Qt::NoItemFlags;
    return Qt::ItemIsEditable | Qt::ItemIsSelectable | Qt::ItemIsEnabled;
}
