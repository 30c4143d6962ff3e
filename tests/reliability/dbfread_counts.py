#!/usr/bin/python3
"""Prints, for each .dbf of a folder, how many live records python3-dbfread reads whole from
it: one line "NAME COUNT" per table (0 when dbfread cannot open it). Records are read raw, so
a value that does not parse still counts; a record cut short by the end of the file does not.

    dbfread_counts.py FOLDER
"""
import os
import sys

import dbfread


def count(path):
    whole = 0
    try:
        table = dbfread.DBF(path, raw=True, ignore_missing_memofile=True, load=False)
        widths = [field.length for field in table.fields]
        for record in table:
            if all(len(value) == width for value, width in zip(record.values(), widths)):
                whole += 1
    except Exception:  # dbfread gives up here: what it read before counts
        pass
    return whole


def main():
    folder = sys.argv[1]
    for name in sorted(os.listdir(folder)):
        if name.lower().endswith('.dbf'):
            print(name.lower(), count(os.path.join(folder, name)))


if __name__ == '__main__':
    main()
