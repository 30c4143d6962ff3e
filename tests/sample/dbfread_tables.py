#!/usr/bin/python3
"""Reads every .dbf of a folder with python3-dbfread (memos included, code page 437, strict
decoding) and prints one line per table: file name, live records, date fields that hold no
readable date, and the number of non-empty memos.

    dbfread_tables.py FOLDER
"""
import os
import sys

import dbfread


class TolerantDates(dbfread.FieldParser):
    """Damaged date fields are counted instead of stopping the read."""
    bad_dates = 0

    def parseD(self, field, data):
        try:
            return super().parseD(field, data)
        except ValueError:
            TolerantDates.bad_dates += 1
            return None


def main():
    folder = sys.argv[1]
    for name in sorted(os.listdir(folder)):
        if not name.lower().endswith('.dbf'):
            continue
        TolerantDates.bad_dates = 0
        table = dbfread.DBF(os.path.join(folder, name), encoding='cp437', char_decode_errors='strict',
                            parserclass=TolerantDates)
        memo_fields = [field.name for field in table.fields if field.type == 'M']
        records = memos = 0
        for record in table:
            records += 1
            memos += sum(1 for field in memo_fields if record[field])
        print(name, records, TolerantDates.bad_dates, memos)


main()
