# Reads exported files back with readers we did not write and prints what they hold:
#   xls BOOK              xlrd: per worksheet a line "# name", then a line
#                         "row<TAB>col<TAB>value" per number or text cell, numbers as %.17g
#   sheets NAME=FILE...   the same for tab-separated files (LibreOffice's conversions)
#   csv FILE              the csv module (strict): the records as JSON
#   markup FILE ROW CELL  ElementTree: the root's attributes and, per ROW element, its
#                         attributes and the attributes and text of its CELL elements, as JSON
import csv
import json
import sys
import xml.etree.ElementTree as ET


def cell_lines(name, rows):
    yield '# ' + name
    for r, row in enumerate(rows):
        yield from ('%d\t%d\t%s' % (r, c, value) for c, value in enumerate(row) if value != '')


def xls(path):
    import xlrd
    for sheet in xlrd.open_workbook(path).sheets():
        yield from cell_lines(sheet.name, ([
            '%.17g' % cell.value if cell.ctype == xlrd.XL_CELL_NUMBER else
            cell.value if cell.ctype == xlrd.XL_CELL_TEXT else '' for cell in sheet.row(r)
        ] for r in range(sheet.nrows)))


def sheets(*named):
    for name, path in (arg.split('=', 1) for arg in named):
        with open(path, newline='', encoding='utf-8') as f:
            yield from cell_lines(name, csv.reader(f, delimiter='\t'))


def records(path):
    with open(path, newline='', encoding='utf-8') as f:
        yield json.dumps(list(csv.reader(f, strict=True)))


def markup(path, row, cell):
    root = ET.parse(path).getroot()
    tags = {e: e.tag.rpartition('}')[2] for e in root.iter()}  # without the namespace
    yield json.dumps({'root': root.attrib, 'rows': [
        [r.attrib, [[c.attrib, ''.join(c.itertext())] for c in r if tags[c] == cell]]
        for r in root.iter() if tags[r] == row]})


mode = {'xls': xls, 'sheets': sheets, 'csv': records, 'markup': markup}[sys.argv[1]]
sys.stdout.buffer.write(''.join(line + '\n' for line in mode(*sys.argv[2:])).encode('utf-8'))
