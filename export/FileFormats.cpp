#include "FileFormats.h"

#include "PdfWriter.h"
#include "TextFiles.h"
#include "XlsWriter.h"

namespace Export {

bool Write(Format format, const CellSource& cells, char decimalSeparator, const Sink& sink) {
    switch (format) {
        case Format::Workbook:
            return Xls::WriteWorkbook(cells, sink, decimalSeparator);
        case Format::WebPage:
            return WriteWebPage(cells, decimalSeparator, sink);
        case Format::Pdf:
            return Pdf::WriteTable(cells, decimalSeparator, sink);
        case Format::Csv:
            return WriteCsv(cells, sink);
        case Format::Xml:
            return WriteXml(cells, sink);
    }
    return false;
}

}  // namespace Export
