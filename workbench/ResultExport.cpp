#include "ResultExport.h"

#include <QFileInfo>
#include <QSaveFile>
#include <algorithm>
#include <string_view>

#include "CellSource.h"
#include "GridModel.h"

namespace ResultExport {
namespace {

// The data cells of the sheet's used range, 0-based; an empty sheet has none.
class UsedRange : public Export::CellSource {
public:
    explicit UsedRange(const GridModel& sheet)
        : sheet_(sheet),
          rows_(std::max(0, sheet.LastUsedRow())),
          cols_(std::max(0, sheet.LastUsedCol())) {
        if (rows_ == 0 || cols_ == 0) rows_ = cols_ = 0;
    }
    int Rows() const override { return rows_; }
    int Cols() const override { return cols_; }
    std::string_view Text(int row, int col) const override {
        return sheet_.CellUtf8(row + 1, col + 1);
    }

private:
    const GridModel& sheet_;
    int rows_;
    int cols_;
};

// Whether an export may write to path: it names nothing yet, or an ordinary file (also
// through a symbolic link). The save file would replace anything else with an ordinary file.
bool IsFileTarget(const QString& path) {
    const QFileInfo target(path);
    return !target.exists() || target.isFile();
}

}  // namespace

bool WriteFile(const GridModel& sheet, Export::Format format, char decimalSeparator,
               const QString& path) {
    if (path.isEmpty() || !IsFileTarget(path)) return false;
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly)) return false;
    const bool written =
        Export::Write(format, UsedRange(sheet), decimalSeparator, [&file](std::string_view bytes) {
            return file.write(bytes.data(), static_cast<qint64>(bytes.size())) ==
                   static_cast<qint64>(bytes.size());
        });
    if (!written) {
        file.cancelWriting();
        return false;
    }
    return file.commit();
}

}  // namespace ResultExport
