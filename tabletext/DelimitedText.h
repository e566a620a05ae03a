#pragma once
// Delimited text: tab-separated text with spreadsheet quoting, and comma-separated values.

#include <string>
#include <string_view>

#include "TextTable.h"

namespace TableText {

// Tab-separated text as spreadsheets write it: every row ends in "\n"; a cell holding a tab,
// a line break or a double quote is wrapped in double quotes with inner quotes doubled.
std::string EncodeTsv(const TextTable& table);
// Tab-separated text with the same quoting; "\r\n" and "\n" end rows, and a final line end
// adds no row.
TextTable ParseTsv(std::string_view text, TableBound bound = {});
// Comma-separated values (RFC 4180 quoting); blanks around unquoted values are dropped.
// The whole text is read even past the bound, so that the table tells how many fields
// every line has (TextTable::EvenRows).
TextTable ParseCsv(std::string_view text, TableBound bound = {});
// Semicolon-separated values, as spreadsheets save and copy them where the comma is the
// decimal separator; quoting and reading as ParseCsv. A number written with a decimal comma
// ("-1,5E3") is written with decimalSeparator.
TextTable ParseSemicolonText(std::string_view text, TableBound bound, char decimalSeparator);

}  // namespace TableText
