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
    bool opened = false;  // freexl opened the file and selected the sheet
    unsigned int rows = 0;
    unsigned short cols = 0;
    unsigned int sheetCount = 0;
    unsigned int fatSectors = 0;
    std::vector<std::vector<XlsCell>> cells;

    const XlsCell& At(unsigned int row, unsigned short col) const { return cells[row][col]; }
};

// Reads the cells of rows firstRow and below (rows above stay empty vectors).
inline XlsSheet ReadXls(const std::string& path, unsigned int firstRow = 0) {
    XlsSheet sheet;
    const void* handle = nullptr;
    const int opened = freexl_open(path.c_str(), &handle);
    if (opened == FREEXL_OK && handle != nullptr &&
        freexl_get_info(handle, FREEXL_BIFF_SHEET_COUNT, &sheet.sheetCount) == FREEXL_OK &&
        freexl_get_info(handle, FREEXL_CFBF_FAT_COUNT, &sheet.fatSectors) == FREEXL_OK &&
        freexl_select_active_worksheet(handle, 0) == FREEXL_OK &&
        freexl_worksheet_dimensions(handle, &sheet.rows, &sheet.cols) == FREEXL_OK) {
        sheet.opened = true;
        sheet.cells.resize(sheet.rows);
        for (unsigned int r = firstRow; r < sheet.rows && sheet.opened; ++r) {
            sheet.cells[r].resize(sheet.cols);
            for (unsigned short c = 0; c < sheet.cols; ++c) {
                FreeXL_CellValue value{};
                if (freexl_get_cell_value(handle, r, c, &value) != FREEXL_OK) {
                    sheet.opened = false;
                    break;
                }
                XlsCell& cell = sheet.cells[r][c];
                cell.type = value.type;
                if (value.type == FREEXL_CELL_INT) cell.number = value.value.int_value;
                if (value.type == FREEXL_CELL_DOUBLE) cell.number = value.value.double_value;
                if (value.type == FREEXL_CELL_TEXT || value.type == FREEXL_CELL_SST_TEXT) {
                    cell.text = value.value.text_value;
                }
            }
        }
    }
    if (handle != nullptr) freexl_close(handle);
    return sheet;
}
