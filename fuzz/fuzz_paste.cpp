// The whole paste dispatch on any clipboard contents: FromMimeData with the LibreOffice
// tab-separated format, HTML and plain text present or not, bounded as a paste into a grid
// bounds it. Checked on every input: the table stays within the bound; for inputs small
// enough to read unbounded as well, the bounded table is exactly the corner of the whole
// one; and the whole table survives being written as TSV and read back.
//
// Input: byte 0 chooses the formats present (bit 0 LibreOffice TSV as UTF-16, bit 1 HTML,
// bit 2 plain text); bytes 1 and 2 are the bound's rows and columns (0: no bound); bytes 3
// and 4 say where the rest is cut into the three formats' data.
#include <QByteArray>
#include <QMimeData>
#include <QString>
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "ClipboardFormats.h"
#include "DelimitedText.h"

namespace {

using namespace ClipboardFormats;
using namespace TableText;

// Whether `part` is the top-left corner of `whole` within `bound`.
bool IsCorner(const TextTable& part, const TextTable& whole, TableBound bound) {
    if (part.Rows() != std::min(whole.Rows(), bound.rows)) return false;
    for (int row = 0; row < part.Rows(); ++row) {
        if (part.RowLength(row) != std::min(whole.RowLength(row), bound.cols)) return false;
        for (int col = 0; col < part.RowLength(row); ++col)
            if (part.Cell(row, col) != whole.Cell(row, col)) return false;
    }
    return true;
}

// Whether the table reads back the same from its TSV (rows padded to the longest).
bool SurvivesTsv(const TextTable& table) {
    const TextTable back = ParseTsv(EncodeTsv(table));
    if (back.Rows() != table.Rows()) return false;
    for (int row = 0; row < table.Rows(); ++row)
        for (int col = 0; col < table.Cols(); ++col)
            if (back.Cell(row, col) != table.Cell(row, col)) return false;
    return true;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 5) return 0;
    const int formats = data[0];
    TableBound bound;
    if (data[1] != 0) bound.rows = data[1];
    if (data[2] != 0) bound.cols = data[2];
    const char* rest = reinterpret_cast<const char*>(data + 5);
    const std::size_t length = size - 5;
    const std::size_t cut1 = length * data[3] / 255;
    const std::size_t cut2 = cut1 + (length - cut1) * data[4] / 255;
    const QByteArray tsvc(rest, qsizetype(cut1));
    const QByteArray html(rest + cut1, qsizetype(cut2 - cut1));
    const QByteArray text(rest + cut2, qsizetype(length - cut2));

    QMimeData mime;
    if (formats & 1) {
        const QString decoded = QString::fromUtf8(tsvc);
        mime.setData(kLibreOfficeTsv, QByteArray(reinterpret_cast<const char*>(decoded.utf16()),
                                                 decoded.size() * 2));
    }
    if (formats & 2) mime.setHtml(QString::fromUtf8(html));
    if (formats & 4) mime.setText(QString::fromUtf8(text));

    const TextTable table = FromMimeData(mime, bound);
    if (table.Rows() > bound.rows || table.Cols() > bound.cols) std::abort();
    if (!SurvivesTsv(table)) std::abort();
    if (size <= 512 && !IsCorner(table, FromMimeData(mime), bound)) std::abort();
    return 0;
}
