#include "ClipboardFormats.h"

#include <QMimeData>
#include <utility>

#include "DelimitedText.h"
#include "HtmlTable.h"
#include "PlainText.h"

namespace ClipboardFormats {

using namespace TableText;

QString DecodeText(const QByteArray& bytes) {
    QString text;
    const auto byteAt = [&](qsizetype i) { return static_cast<unsigned char>(bytes[i]); };
    if (bytes.size() >= 2 && byteAt(0) == 0xFF && byteAt(1) == 0xFE) {
        text = QString::fromUtf16(reinterpret_cast<const char16_t*>(bytes.constData() + 2),
                                  (bytes.size() - 2) / 2);
    } else if (bytes.size() >= 2 && byteAt(0) == 0xFE && byteAt(1) == 0xFF) {
        QByteArray swapped = bytes.mid(2);
        for (qsizetype i = 0; i + 1 < swapped.size(); i += 2)
            std::swap(swapped[i], swapped[i + 1]);
        text = QString::fromUtf16(reinterpret_cast<const char16_t*>(swapped.constData()),
                                  swapped.size() / 2);
    } else if (bytes.contains('\0') && bytes.size() % 2 == 0) {
        // UTF-16 without a byte order mark: Latin text has its zero bytes in the odd
        // places when little-endian.
        qsizetype oddZeros = 0, evenZeros = 0;
        for (qsizetype i = 0; i < bytes.size(); ++i)
            if (bytes[i] == '\0') ++(i % 2 ? oddZeros : evenZeros);
        QByteArray units = bytes;
        if (evenZeros > oddZeros)
            for (qsizetype i = 0; i + 1 < units.size(); i += 2)
                std::swap(units[i], units[i + 1]);
        text = QString::fromUtf16(reinterpret_cast<const char16_t*>(units.constData()),
                                  units.size() / 2);
    } else {
        text = QString::fromUtf8(bytes);
    }
    while (!text.isEmpty() && (text.back() == QChar(0) || text.back() == QChar(0xFEFF)))
        text.chop(1);
    if (!text.isEmpty() && text.front() == QChar(0xFEFF)) text.remove(0, 1);
    return text;
}

std::unique_ptr<QMimeData> ToMimeData(const TextTable& table) {
    auto mime = std::make_unique<QMimeData>();
    const QByteArray text = QByteArray::fromStdString(EncodeTsv(table));
    mime->setText(QString::fromUtf8(text));
    mime->setData(kUtf8Text, text);
    mime->setHtml(QString::fromUtf8(EncodeHtml(table)));
    return mime;
}

TextTable FromMimeData(const QMimeData& mime, TableBound bound, char decimalSeparator) {
    if (mime.hasFormat(kLibreOfficeTsv)) {
        const QByteArray text = DecodeText(mime.data(kLibreOfficeTsv)).toUtf8();
        const std::string_view view(text.constData(), static_cast<std::size_t>(text.size()));
        if (TextTable table = ParseTsv(view, bound); !table.IsEmpty()) return table;
    }
    const QString html = mime.hasHtml() ? mime.html() : QString();
    const QByteArray htmlBytes = html.toUtf8();
    const std::string_view htmlView(htmlBytes.constData(),
                                    static_cast<std::size_t>(htmlBytes.size()));
    // A data frame's table or a MathML matrix says more than the text beside it, which holds
    // the headings, the index or the formula's other symbols too. A refused table is handed
    // on as it is: no other format may then fill the cells with something else.
    if (TextTable table = ParseHtmlMatrix(htmlView, bound); !table.IsEmpty() || table.IsRefused())
        return table;
    if (mime.hasText()) {
        const QByteArray text = mime.text().toUtf8();
        const std::string_view view(text.constData(), static_cast<std::size_t>(text.size()));
        // Beside a spreadsheet's HTML table the text is that spreadsheet's own TSV.
        const bool fromSpreadsheet = html.contains(QLatin1String("<table"), Qt::CaseInsensitive);
        TextTable table =
            fromSpreadsheet ? ParseTsv(view, bound) : ParsePlainText(view, bound, decimalSeparator);
        if (!table.IsEmpty() || table.IsRefused()) return table;
    }
    if (!html.isEmpty()) return ParseHtmlTable(htmlView, bound);
    return TextTable();
}

}  // namespace ClipboardFormats
