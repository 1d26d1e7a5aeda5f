"""Measures start-up time, memory and CPU time of the program, and compares them with baselines."""

import argparse
import sys
import traceback

from bench.rows import GROUPS, HEAD, PAGE, line, machine, page

NAMES = [row.name for _, rows in GROUPS for row in rows]


def arguments() -> argparse.Namespace:
    parser = argparse.ArgumentParser(prog="./bench", description=__doc__,
                                     epilog="Rows: " + ", ".join(NAMES))
    parser.add_argument("rows", nargs="*", metavar="ROW", default=[""],
                        help="measure only these; the beginning of a name selects every row "
                        "that starts with it")
    parser.add_argument("--rounds", type=int, default=45,
                        help="number of rounds for measurements in turn (default: 45)")
    parser.add_argument("--quick", action="store_const", dest="rounds", const=5,
                        help="measure few rounds, for a rough look")
    parser.add_argument("--write-docs", action="store_true",
                        help="also write the figures into docs/measured/bench.md")
    options = parser.parse_args()
    if not any(name.startswith(tuple(options.rows)) for name in NAMES):
        parser.error("no such row; rows are " + ", ".join(NAMES))
    return options


def main() -> int:
    options, when, status = arguments(), machine(), 0
    measured = []
    print(HEAD, flush=True)
    for measure, rows in GROUPS:
        wanted = [row for row in rows if row.name.startswith(tuple(options.rows))]
        if not wanted:
            continue
        try:
            figures = dict(zip(rows, measure(options.rounds)))
        except Exception:  # Measure the following rows after any error.
            traceback.print_exc()
            status = 1
            continue
        lines = [line(row, figures[row]) for row in wanted]
        print(*lines, sep="\n", flush=True)
        measured += lines
    if options.write_docs:
        PAGE.write_text(page(PAGE.read_text(), measured, when))
    return status


if __name__ == "__main__":
    sys.exit(main())
