#!/usr/bin/python3
"""Prints one field of every live record of a .dbf, one value per line, read with
python3-dbfread (an independent reader): damaged dates are read as empty, text trimmed.

    dbf_values.py TABLE.DBF FIELD
"""
import sys

import dbfread


class TolerantDates(dbfread.FieldParser):
    def parseD(self, field, data):
        try:
            return super().parseD(field, data)
        except ValueError:
            return None


def main():
    table = dbfread.DBF(sys.argv[1], encoding='cp437', parserclass=TolerantDates, char_decode_errors='strict')
    wanted = sys.argv[2].upper()
    for record in table:
        for name, value in record.items():
            if name.upper() == wanted:
                sys.stdout.write(('' if value is None else str(value).strip()) + '\n')


main()
