#pragma once
// Reads a worksheet of an .xls file back with libfreexl, for checking our workbooks with a
// reader we did not write.

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
    unsigned int sheetCount = 0;
    std::string name;
    unsigned int rows = 0;
    unsigned short cols = 0;
    std::vector<std::vector<XlsCell>> cells;  // rows above the first row read stay empty
    const XlsCell& At(unsigned int row, unsigned short col) const { return cells[row][col]; }
};

inline XlsSheet ReadXls(const std::string& path, unsigned int firstRow = 0,
                        unsigned short sheetIndex = 0) {
    XlsSheet sheet;
    const void* handle = nullptr;
    const char* name = nullptr;
    bool ok = freexl_open(path.c_str(), &handle) == FREEXL_OK && handle != nullptr &&
              freexl_get_info(handle, FREEXL_BIFF_SHEET_COUNT, &sheet.sheetCount) == FREEXL_OK &&
              freexl_select_active_worksheet(handle, sheetIndex) == FREEXL_OK &&
              freexl_get_worksheet_name(handle, sheetIndex, &name) == FREEXL_OK &&
              freexl_worksheet_dimensions(handle, &sheet.rows, &sheet.cols) == FREEXL_OK;
    if (ok && name != nullptr) sheet.name = name;
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
