#pragma once
// Reads the first worksheet of an .xls file back with libfreexl, for checking our workbooks
// with a reader we did not write.

#include <freexl.h>

#include <string>
#include <vector>

struct XlsCell {
    int type = FREEXL_CELL_NULL;
    double number = 0;  // for FREEXL_CELL_INT and FREEXL_CELL_DOUBLE
    std::string text;   // for the text types
};

struct XlsSheet {
    bool opened = false;  // freexl opened the file (handle included) and read every cell
    unsigned int rows = 0;
    unsigned short cols = 0;
    std::vector<std::vector<XlsCell>> cells;  // rows above the first row read stay empty
    const XlsCell& At(unsigned int row, unsigned short col) const { return cells[row][col]; }
};

inline XlsSheet ReadXls(const std::string& path, unsigned int firstRow = 0) {
    XlsSheet sheet;
    const void* handle = nullptr;
    bool ok = freexl_open(path.c_str(), &handle) == FREEXL_OK && handle != nullptr &&
              freexl_select_active_worksheet(handle, 0) == FREEXL_OK &&
              freexl_worksheet_dimensions(handle, &sheet.rows, &sheet.cols) == FREEXL_OK;
    sheet.cells.resize(ok ? sheet.rows : 0);
    for (unsigned int r = firstRow; ok && r < sheet.rows; ++r) {
        sheet.cells[r].resize(sheet.cols);
        for (unsigned short c = 0; ok && c < sheet.cols; ++c) {
            FreeXL_CellValue value{};
            ok = freexl_get_cell_value(handle, r, c, &value) == FREEXL_OK;
            XlsCell& cell = sheet.cells[r][c];
            cell.type = value.type;
            if (value.type == FREEXL_CELL_INT) cell.number = value.value.int_value;
            if (value.type == FREEXL_CELL_DOUBLE) cell.number = value.value.double_value;
            if (value.type == FREEXL_CELL_TEXT || value.type == FREEXL_CELL_SST_TEXT) {
                cell.text = value.value.text_value;
            }
        }
    }
    if (handle != nullptr) freexl_close(handle);
    sheet.opened = ok;
    return sheet;
}
