# Prints a workbook as xlrd (Python's .xls reader) finds it: per worksheet a line
# "# name", then a line "row<TAB>col<TAB>value" per number or text cell, numbers as %.17g.
import sys

import xlrd

book = xlrd.open_workbook(sys.argv[1])
out = []
for sheet in book.sheets():
    out.append('# ' + sheet.name)
    for r in range(sheet.nrows):
        for c, cell in enumerate(sheet.row(r)):
            if cell.ctype == xlrd.XL_CELL_NUMBER:
                out.append('%d\t%d\t%.17g' % (r, c, cell.value))
            elif cell.ctype == xlrd.XL_CELL_TEXT:
                out.append('%d\t%d\t%s' % (r, c, cell.value))
sys.stdout.buffer.write(('\n'.join(out) + '\n').encode('utf-8'))
