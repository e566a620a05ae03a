#include "XlsWriter.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "CompoundFile.h"
#include "LittleEndian.h"
#include "NumberShape.h"
#include "Utf8.h"

// The workbook stream holds substreams of records: the workbook globals, then one per
// worksheet. Each record is a 16-bit type, a
// 16-bit data length (at most 8224 bytes) and the data, all little-endian.
//
//   workbook globals: BOF, CODEPAGE (UTF-16), WINDOW1, DATEMODE, PRECISION, 5 x FONT,
//                     16 x XF (the 15 style formats Excel expects, then the one cell
//                     format), STYLE (Normal), a BOUNDSHEET per worksheet (name and
//                     position of its BOF), SST (+ CONTINUE), EXTSST, EOF
//   each worksheet:   BOF, DIMENSIONS, the cells row by row (NUMBER or LABELSST),
//                     WINDOW2, EOF
//
// Texts are stored once in the shared string table (SST), which all worksheets share, and
// cells refer to them by index.
//
// A sheet larger than one worksheet holds (MaxRows x MaxCols) is cut into blocks of that
// size, each on a worksheet of its own: the blocks of the first rows from left to right,
// then those of the next rows. Each worksheet is named after the rows and columns of the
// sheet it holds ("Columns 257-512"), so that nobody takes its cell A1 for the sheet's.

namespace Xls {
namespace {

constexpr std::size_t MaxRecordData = 8224;

enum RecordType : std::uint16_t {
    Bof = 0x0809,
    Eof = 0x000A,
    Codepage = 0x0042,
    Window1 = 0x003D,
    DateMode = 0x0022,
    Precision = 0x000E,
    Font = 0x0031,
    Xf = 0x00E0,
    Style = 0x0293,
    BoundSheet = 0x0085,
    Sst = 0x00FC,
    Continue = 0x003C,
    ExtSst = 0x00FF,
    Dimensions = 0x0200,
    Window2 = 0x023E,
    Number = 0x0203,
    LabelSst = 0x00FD,
};

constexpr std::uint16_t CellXf = 15;  // the first XF after the 15 style XFs

using LittleEndian::Put16;
using LittleEndian::Put32;
using LittleEndian::Put8;
using LittleEndian::Set16;
using LittleEndian::Set32;

// Starts a record and answers the position of its length field, to be set by EndRecord.
std::size_t BeginRecord(std::string& out, std::uint16_t type) {
    Put16(out, type);
    Put16(out, 0);
    return out.size() - 2;
}
void EndRecord(std::string& out, std::size_t lengthAt) {
    Set16(out, lengthAt, static_cast<std::uint16_t>(out.size() - lengthAt - 2));
}

void PutBof(std::string& out, std::uint16_t substreamType) {
    const std::size_t at = BeginRecord(out, Bof);
    Put16(out, 0x0600);  // BIFF8
    Put16(out, substreamType);
    Put16(out, 0x0DBB);  // build and year of the writing application, as Excel 97 writes
    Put16(out, 0x07CC);
    Put32(out, 0);       // file history flags
    Put32(out, 0x0006);  // lowest BIFF version that can read every record: BIFF8
    EndRecord(out, at);
}

void PutEof(std::string& out) {
    Put16(out, Eof);
    Put16(out, 0);
}

// A text as BIFF8 stores it: either one byte per character when every UTF-16 unit is below
// 256 ("compressed"), or UTF-16LE.
struct BiffText {
    bool wide = false;
    std::string bytes;
    std::size_t Length() const { return wide ? bytes.size() / 2 : bytes.size(); }
};

bool IsHighSurrogate(char16_t unit) {
    return unit >= 0xD800 && unit <= 0xDBFF;
}
bool IsLowSurrogate(char16_t unit) {
    return unit >= 0xDC00 && unit <= 0xDFFF;
}

// A text longer than a cell holds is cut to MaxTextLength UTF-16 units, one fewer when the
// cut would leave half of a surrogate pair.
BiffText ToBiffText(std::string_view utf8) {
    BiffText text;
    bool ascii = true;
    for (const char c : utf8)
        ascii = ascii && static_cast<unsigned char>(c) < 0x80;
    if (ascii) {
        text.bytes.assign(utf8.substr(0, MaxTextLength));
        return text;
    }
    std::u16string s = Utf8::ToUtf16(utf8);
    constexpr auto most = static_cast<std::size_t>(MaxTextLength);
    if (s.size() > most) s.resize(IsLowSurrogate(s[most]) ? most - 1 : most);
    text.wide = std::any_of(s.begin(), s.end(), [](char16_t c) { return c > 0xFF; });
    text.bytes.reserve(s.size() * (text.wide ? 2 : 1));
    for (const char16_t c : s) {
        text.bytes.push_back(static_cast<char>(c & 0xFF));
        if (text.wide) text.bytes.push_back(static_cast<char>(c >> 8));
    }
    return text;
}

void PutGlobalsHead(std::string& out) {
    PutBof(out, 0x0005);  // workbook globals

    std::size_t at = BeginRecord(out, Codepage);
    Put16(out, 1200);  // texts are UTF-16
    EndRecord(out, at);

    at = BeginRecord(out, Window1);
    Put16(out, 0x0168);  // window position and size, in twips
    Put16(out, 0x001E);
    Put16(out, 0x4000);
    Put16(out, 0x2800);
    Put16(out, 0x0038);  // show the horizontal and vertical scroll bars and the sheet tabs
    Put16(out, 0);       // active sheet
    Put16(out, 0);       // first visible tab
    Put16(out, 1);       // selected sheets
    Put16(out, 0x0258);  // width of the tab bar, in 1/1000 of the window
    EndRecord(out, at);

    at = BeginRecord(out, DateMode);
    Put16(out, 0);  // dates count from 1900
    EndRecord(out, at);

    at = BeginRecord(out, Precision);
    Put16(out, 1);  // calculate with full precision
    EndRecord(out, at);

    // Font index 4 does not exist in BIFF, so five records give fonts 0-3 and 5.
    for (int i = 0; i < 5; ++i) {
        at = BeginRecord(out, Font);
        Put16(out, 200);     // height in twips: 10 points
        Put16(out, 0);       // not italic, not struck out
        Put16(out, 0x7FFF);  // the window text colour
        Put16(out, 400);     // normal weight
        Put16(out, 0);       // no superscript or subscript
        Put8(out, 0);        // not underlined
        Put8(out, 0);        // family: any
        Put8(out, 0);        // character set: ANSI
        Put8(out, 0);
        const std::string_view name = "Arial";
        Put8(out, static_cast<std::uint8_t>(name.size()));
        Put8(out, 0);  // compressed characters
        out.append(name);
        EndRecord(out, at);
    }

    // The 15 style XFs (Normal first, then the built-in styles Excel expects) and the one
    // cell XF every cell uses: General number format, font 0, bottom-aligned.
    for (int i = 0; i <= 15; ++i) {
        const bool style = i < 15;
        at = BeginRecord(out, Xf);
        Put16(out, (i == 1 || i == 2) ? 1 : (i == 3 || i == 4) ? 2 : 0);  // font
        Put16(out, 0);                                                    // format: General
        Put16(out, style ? 0xFFF5 : 0x0001);  // style XF without parent / locked cell of style 0
        Put8(out, 0x20);                      // vertical alignment: bottom
        Put8(out, 0);                         // no rotation
        Put8(out, 0);                         // no indent
        Put8(out, (style && i != 0) ? 0xF4 : 0x00);  // which attributes the XF sets itself
        Put32(out, 0);                               // no borders
        Put32(out, 0);
        Put16(out, 0x20C0);  // pattern colours: system foreground 0x40, background 0x41
        EndRecord(out, at);
    }

    at = BeginRecord(out, Style);
    Put16(out, 0x8000);  // built-in style of XF 0
    Put8(out, 0);        // Normal
    Put8(out, 0xFF);     // no outline level
    EndRecord(out, at);
}

// Writes the SST and its CONTINUE records, then the EXTSST index into it.
//
// An SST record holds at most 8224 bytes of data; the table goes on in CONTINUE records.
// A string's 3-byte header (length and flags) never splits across records; its characters
// may, at a character boundary, and the part in the new record starts with a flags byte
// again (0 = compressed, 1 = UTF-16). A surrogate pair (a character outside the basic
// plane) never splits: readers decode each record's part of a text on its own.
void PutSharedStrings(std::string& out, const std::vector<BiffText>& strings,
                      std::uint32_t totalRefs) {
    const std::uint32_t unique = static_cast<std::uint32_t>(strings.size());
    const std::uint32_t perBucket = std::max<std::uint32_t>(8, unique / 128 + 1);
    std::vector<std::pair<std::uint32_t, std::uint16_t>> buckets;  // stream position, offset

    std::size_t recordAt = out.size();
    std::size_t lengthAt = BeginRecord(out, Sst);
    Put32(out, totalRefs);
    Put32(out, unique);
    auto room = [&] { return MaxRecordData - (out.size() - lengthAt - 2); };
    auto nextRecord = [&] {
        EndRecord(out, lengthAt);
        recordAt = out.size();
        lengthAt = BeginRecord(out, Continue);
    };

    for (std::uint32_t i = 0; i < unique; ++i) {
        const BiffText& s = strings[i];
        const std::size_t charSize = s.wide ? 2 : 1;
        // Room for the header and the first character, or the first surrogate pair.
        if (room() < 3 + (s.bytes.empty() ? 0 : 2 * charSize)) nextRecord();
        if (i % perBucket == 0) {
            buckets.emplace_back(static_cast<std::uint32_t>(out.size()),
                                 static_cast<std::uint16_t>(out.size() - recordAt));
        }
        Put16(out, static_cast<std::uint16_t>(s.Length()));
        Put8(out, s.wide ? 1 : 0);
        std::size_t done = 0;
        for (;;) {
            std::size_t take = std::min(s.bytes.size() - done, room() / charSize * charSize);
            if (s.wide && done + take < s.bytes.size() &&
                IsHighSurrogate(LittleEndian::Get16(s.bytes, done + take - 2))) {
                take -= 2;
            }
            out.append(s.bytes, done, take);
            done += take;
            if (done == s.bytes.size()) break;
            nextRecord();
            Put8(out, s.wide ? 1 : 0);
        }
    }
    EndRecord(out, lengthAt);

    const std::size_t at = BeginRecord(out, ExtSst);
    Put16(out, static_cast<std::uint16_t>(perBucket));
    for (const auto& [position, offset] : buckets) {
        Put32(out, position);
        Put16(out, offset);
        Put16(out, 0);
    }
    EndRecord(out, at);
}

// The distinct texts of the workbook, each stored once.
struct SharedStrings {
    std::unordered_map<std::string, std::uint32_t> index;
    std::vector<BiffText> strings;
    std::uint32_t refs = 0;

    std::uint32_t Add(std::string_view text) {
        auto [it, added] =
            index.try_emplace(std::string(text), static_cast<std::uint32_t>(strings.size()));
        if (added) strings.push_back(ToBiffText(text));
        ++refs;
        return it->second;
    }
};

// One worksheet: a block of the sheet, and its cell records.
struct Worksheet {
    int firstRow = 0;
    int rows = 0;
    int firstCol = 0;
    int cols = 0;
    std::string name;
    std::string head;  // BOF, DIMENSIONS
    std::string records;
    std::string tail;  // WINDOW2, EOF
    std::size_t Size() const { return head.size() + records.size() + tail.size(); }
};

void CollectCells(const Export::CellSource& cells, char decimalSeparator, SharedStrings& strings,
                  Worksheet& sheet) {
    for (int r = 0; r < sheet.rows; ++r) {
        for (int c = 0; c < sheet.cols; ++c) {
            const std::string_view text = cells.Text(sheet.firstRow + r, sheet.firstCol + c);
            if (text.empty()) continue;
            // Both cell records are built in a small buffer and appended at once: this loop
            // runs for every cell of sheets with millions of them.
            std::array<char, 18> record{};
            std::size_t size = 0;
            auto put = [&](std::uint64_t v, int bytes) {
                for (int i = 0; i < bytes; ++i)
                    record[size++] = static_cast<char>(v >> (8 * i));
            };
            if (const std::optional<double> value = CellNumber(text, decimalSeparator)) {
                put(Number, 2);
                put(14, 2);
                put(static_cast<std::uint64_t>(r), 2);
                put(static_cast<std::uint64_t>(c), 2);
                put(CellXf, 2);
                put(std::bit_cast<std::uint64_t>(*value), 8);
            } else {
                const std::uint32_t index = strings.Add(text);
                put(LabelSst, 2);
                put(10, 2);
                put(static_cast<std::uint64_t>(r), 2);
                put(static_cast<std::uint64_t>(c), 2);
                put(CellXf, 2);
                put(index, 4);
            }
            sheet.records.append(record.data(), size);
        }
    }
}

void PutSheetHeadAndTail(Worksheet& sheet, bool selected) {
    PutBof(sheet.head, 0x0010);  // worksheet
    const bool empty = sheet.records.empty();
    std::size_t at = BeginRecord(sheet.head, Dimensions);
    Put32(sheet.head, 0);                                                   // first row
    Put32(sheet.head, static_cast<std::uint32_t>(empty ? 0 : sheet.rows));  // last row + 1
    Put16(sheet.head, 0);                                                   // first column
    Put16(sheet.head, static_cast<std::uint16_t>(empty ? 0 : sheet.cols));  // last column + 1
    Put16(sheet.head, 0);
    EndRecord(sheet.head, at);

    at = BeginRecord(sheet.tail, Window2);
    // Gridlines, headings, zero values, outline symbols; the first sheet is the selected,
    // active one.
    Put16(sheet.tail, selected ? 0x06B6 : 0x00B6);
    Put16(sheet.tail, 0);       // top row shown
    Put16(sheet.tail, 0);       // left column shown
    Put16(sheet.tail, 0x0040);  // gridline colour: the system window text colour
    Put16(sheet.tail, 0);
    Put16(sheet.tail, 0);  // zoom of the page break preview: default
    Put16(sheet.tail, 0);  // zoom of the normal view: default
    Put32(sheet.tail, 0);
    EndRecord(sheet.tail, at);
    PutEof(sheet.tail);
}

// "Rows 65537-131072", "Columns 257-512" or "Rows 1-65536, Cols 257-512": where in the sheet
// the worksheet's block lies, 1-based, along the directions in which the sheet was cut.
std::string WorksheetName(const Worksheet& sheet, bool rowsCut, bool colsCut) {
    if (!rowsCut && !colsCut) return "Sheet1";
    auto range = [](int first, int count) {
        return std::to_string(first + 1) + "-" + std::to_string(first + count);
    };
    const std::string rows = range(sheet.firstRow, sheet.rows);
    const std::string cols = range(sheet.firstCol, sheet.cols);
    if (!colsCut) return "Rows " + rows;
    if (!rowsCut) return "Columns " + cols;
    const std::string name = "Rows " + rows + ", Cols " + cols;
    return name.size() <= 31 ? name : "R" + rows + " C" + cols;  // 31: a sheet name's limit
}

}  // namespace

bool WriteWorkbook(const Export::CellSource& cells, const Export::Sink& sink,
                   char decimalSeparator) {
    const int rows = std::max(0, cells.Rows());
    const int cols = rows == 0 ? 0 : std::max(0, cells.Cols());
    const bool rowsCut = rows > MaxRows;
    const bool colsCut = cols > MaxCols;

    SharedStrings strings;
    std::vector<Worksheet> sheets;
    for (int firstRow = 0;; firstRow += MaxRows) {
        for (int firstCol = 0;; firstCol += MaxCols) {
            Worksheet& sheet = sheets.emplace_back();
            sheet.firstRow = firstRow;
            sheet.rows = std::min(MaxRows, rows - firstRow);
            sheet.firstCol = firstCol;
            sheet.cols = std::min(MaxCols, cols - firstCol);
            sheet.name = WorksheetName(sheet, rowsCut, colsCut);
            CollectCells(cells, decimalSeparator, strings, sheet);
            PutSheetHeadAndTail(sheet, sheets.size() == 1);
            if (cols - firstCol <= MaxCols) break;
        }
        if (rows - firstRow <= MaxRows) break;
    }

    std::string globals;
    PutGlobalsHead(globals);
    std::vector<std::size_t> sheetOffsetAt;
    for (const Worksheet& sheet : sheets) {
        const std::size_t at = BeginRecord(globals, BoundSheet);
        sheetOffsetAt.push_back(globals.size());
        Put32(globals, 0);  // position of the sheet's BOF, set below
        Put8(globals, 0);   // visible
        Put8(globals, 0);   // a worksheet
        Put8(globals, static_cast<std::uint8_t>(sheet.name.size()));
        Put8(globals, 0);  // compressed characters
        globals.append(sheet.name);
        EndRecord(globals, at);
    }
    PutSharedStrings(globals, strings.strings, strings.refs);
    PutEof(globals);

    // The positions in the stream are 32-bit; a larger stream cannot be written anyway.
    std::uint64_t position = globals.size();
    std::vector<std::string_view> parts = {globals};
    for (std::size_t i = 0; i < sheets.size(); ++i) {
        if (position > CompoundFile::MaxStreamSize) return false;
        Set32(globals, sheetOffsetAt[i], static_cast<std::uint32_t>(position));
        position += sheets[i].Size();
        parts.insert(parts.end(), {sheets[i].head, sheets[i].records, sheets[i].tail});
    }
    return CompoundFile::Write("Workbook", parts, sink);
}

}  // namespace Xls
