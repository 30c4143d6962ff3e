#!/usr/bin/python3
"""Prints every live record of a .dbf as python3-dbfread reads it, one line per field value, in
the canonical form the FoxPro reader tests print too: text as is, numbers with %.10g, dates
ISO, logicals 1/0, empty values as <null>, binary memos as <binary N>.

    dbfread_dump.py TABLE.dbf ENCODING
"""
import datetime
import sys

import dbfread


def canonical(value):
    if value is None:
        return '<null>'
    if isinstance(value, bool):
        return '1' if value else '0'
    if isinstance(value, (int, float)):
        return '%.10g' % value
    if isinstance(value, datetime.date):
        return value.isoformat()
    if isinstance(value, bytes):
        return '<binary %d>' % len(value)
    return value.replace('\\', '\\\\').replace('\r', '\\r').replace('\n', '\\n')


def main():
    path, encoding = sys.argv[1], sys.argv[2]
    table = dbfread.DBF(path, encoding=encoding, char_decode_errors='replace', raw=False,
                        ignore_missing_memofile=True)
    out = sys.stdout
    names = [field.name for field in table.fields]
    for record in table:
        for name in names:
            value = '<dup>' if names.count(name) > 1 else canonical(record[name])
            out.write('%s=%s\n' % (name, value))
        out.write('--\n')


main()
