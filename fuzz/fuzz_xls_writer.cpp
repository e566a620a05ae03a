// The workbook writer on any table (read from the input as tab-separated text), the file
// read back with libfreexl: it opens, has the table's size, number texts are number cells
// of the same value and other texts are text cells of the same text.
#include <freexl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

#include "DelimitedText.h"
#include "NumberShape.h"
#include "Utf8.h"
#include "XlsWriter.h"

namespace {

class TableSource : public Export::CellSource {
public:
    explicit TableSource(const TextTable& table) : table_(table) {}
    int Rows() const override { return table_.Rows(); }
    int Cols() const override { return table_.Cols(); }
    std::string_view Text(int row, int col) const override { return table_.Cell(row, col); }

private:
    const TextTable& table_;
};

// Texts that freexl hands back as they were: valid UTF-8 without NUL characters.
bool Comparable(std::string_view text) {
    if (text.find('\0') != std::string_view::npos) return false;
    for (std::size_t at = 0, length = 0; at < text.size(); at += length) {
        if (Utf8::Decode(text, at, length) == 0xFFFD && text.substr(at, 3) != "\xEF\xBF\xBD")
            return false;
    }
    return true;
}

void Check(const TextTable& table, const char* path) {
    const void* handle = nullptr;
    unsigned int rows = 0;
    unsigned short cols = 0;
    if (freexl_open(path, &handle) != FREEXL_OK || freexl_select_active_worksheet(handle, 0) ||
        freexl_worksheet_dimensions(handle, &rows, &cols) != FREEXL_OK)
        std::abort();
    // An all-empty table has no cells to give the sheet a size.
    for (unsigned int r = 0; r < rows; ++r) {
        for (unsigned short c = 0; c < cols; ++c) {
            FreeXL_CellValue value{};
            if (freexl_get_cell_value(handle, r, c, &value) != FREEXL_OK) std::abort();
            const std::string_view text = table.Cell(int(r), int(c));
            if (const auto number = CellNumber(text)) {
                const double read = value.type == FREEXL_CELL_INT      ? value.value.int_value
                                    : value.type == FREEXL_CELL_DOUBLE ? value.value.double_value
                                                                       : -*number - 1;
                if (read != *number) std::abort();
            } else if (text.empty()) {
                if (value.type != FREEXL_CELL_NULL) std::abort();
            } else if (value.type != FREEXL_CELL_SST_TEXT && value.type != FREEXL_CELL_TEXT) {
                std::abort();
            } else if (Comparable(text) && text != value.value.text_value) {
                std::abort();
            }
        }
    }
    freexl_close(handle);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view input(reinterpret_cast<const char*>(data), size);
    const TextTable table = TableText::ParseTsv(input, {300, 40});
    const int fd = memfd_create("workbook", 0);
    if (fd < 0) return 0;
    const bool written = Xls::WriteWorkbook(TableSource(table), [&](std::string_view part) {
        return write(fd, part.data(), part.size()) == ssize_t(part.size());
    });
    if (written) {
        char path[64];
        std::snprintf(path, sizeof path, "/proc/self/fd/%d", fd);
        Check(table, path);
    }
    close(fd);
    return 0;
}
