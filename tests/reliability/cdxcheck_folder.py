#!/usr/bin/python3
"""Runs the independent index checker (cdxcheck.py of the shared tools) on every table of a
folder that has a structural .cdx, in one process: prints "NAME ok" or "NAME FAILED" and the
checker's failing lines, and exits 1 when any index fails.

    cdxcheck_folder.py TOOLS_FOLDER FOLDER
"""
import contextlib
import io
import os
import sys


def main():
    tools, folder = sys.argv[1], sys.argv[2]
    sys.path.insert(0, tools)
    import cdxcheck

    names = {name.lower(): name for name in os.listdir(folder)}
    failed = False
    for lower, name in sorted(names.items()):
        if not lower.endswith('.dbf') or lower[:-4] + '.cdx' not in names:
            continue
        out = io.StringIO()
        with contextlib.redirect_stdout(out):
            status = cdxcheck.run_checks(os.path.join(folder, name), None, False, out).finish()
        if status == 0:
            print(lower, 'ok')
        else:
            failed = True
            print(lower, 'FAILED')
            for line in out.getvalue().splitlines():
                if line.startswith('FAIL'):
                    print('  ' + line)
    return 1 if failed else 0


if __name__ == '__main__':
    sys.exit(main())
