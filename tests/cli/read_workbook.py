"""Prints a workbook as JSON, for the workbook tests: per sheet its frozen
cell, its autofilter, its column widths and its rows, each cell as
{"t": kind, "v": value}: "n" a number, "s" a text, "d" a date or time of day
(ISO 8601), "p" a duration in seconds, null an empty cell."""
import datetime
import json
import sys

import openpyxl

workbook = openpyxl.load_workbook(sys.argv[1])
sheets = {}
for sheet in workbook.worksheets:
    rows = []
    for row in sheet.iter_rows(values_only=True):
        cells = []
        for value in row:
            if value is None:
                cells.append(None)
            elif isinstance(value, bool):
                cells.append({"t": "s", "v": str(value)})
            elif isinstance(value, (int, float)):
                cells.append({"t": "n", "v": value})
            elif isinstance(value, datetime.timedelta):
                cells.append({"t": "p", "v": value.total_seconds()})
            elif isinstance(value, (datetime.datetime, datetime.date, datetime.time)):
                cells.append({"t": "d", "v": value.isoformat()})
            else:
                cells.append({"t": "s", "v": str(value)})
        rows.append(cells)
    widths = {key: dimension.width for key, dimension in sheet.column_dimensions.items()}
    sheets[sheet.title] = {"freeze": sheet.freeze_panes, "filter": sheet.auto_filter.ref, "widths": widths,
                           "rows": rows}
json.dump({"sheets": sheets, "order": workbook.sheetnames}, sys.stdout)
