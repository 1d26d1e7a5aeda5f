"""Measures start-up time, memory and CPU time of the program, and compares them with baselines."""

import argparse
import itertools
import json
import subprocess
import sys
import traceback
from collections.abc import Iterator

from benchmark import root, table
from benchmark.effort import QUICK, Effort, NotInBuild
from benchmark.rows import BOARD, TABLES, Row

ROWS = {row.name: row for rows in TABLES.values() for row in rows}
INSIDE = "--inside"  # the private root: with the effort and the names of rows


def measured(rows: list[Row], effort: Effort) -> Iterator[str]:
    """The rows' lines, whatever comes of each row."""
    for row in rows:
        try:
            yield table.line(row, row.measure(effort))
        except NotInBuild as reason:
            yield table.line(row, str(reason))
        except Exception:  # The rows after it are still worth their time.
            traceback.print_exc()
            yield table.line(row, "failed")


def measured_inside(rows: list[Row], effort: Effort) -> Iterator[str]:
    """The same for rows that need the private root, all of them in one."""
    if not rows:
        return
    words = root.command("/usr/bin/python3", "-m", "benchmark", INSIDE,
                         json.dumps(effort), *(row.name for row in rows))
    with subprocess.Popen(words, stdout=subprocess.PIPE, text=True) as process:
        assert process.stdout is not None
        yield from (text.rstrip("\n") for text in process.stdout)
    if process.returncode:
        raise SystemExit(process.returncode)


def inside(effort: str, *names: str) -> None:
    """What runs in the private root."""
    root.furnish()
    for text in measured([ROWS[name] for name in names], Effort(*json.loads(effort))):
        print(text, flush=True)


def build_board() -> None:
    """Makes the simulated board, as ./run does."""
    for words in (["tools/setup", "simulator/image/data/host-packages.txt"], ["tools/build-board"]):
        subprocess.run(words, cwd=root.PROJECT, stdout=sys.stderr, check=True)


def main() -> None:
    parser = argparse.ArgumentParser(prog="./bench", description=__doc__,
                                     epilog="Rows: " + ", ".join(ROWS))
    parser.add_argument("rows", nargs="*", metavar="ROW",
                        help="measure only these; the beginning of a name selects every row "
                        "that starts with it")
    parser.add_argument("--rounds", type=int,
                        help="number of rounds for measurements in turn (default: 45)")
    parser.add_argument("--quick", action="store_true", help="measure few rounds, for a rough look")
    parser.add_argument("--write-docs", action="store_true",
                        help="also write the figures into docs/measured/bench.md")
    options = parser.parse_args()
    wanted = [row for name, row in ROWS.items()
              if not options.rows or name.startswith(tuple(options.rows))]
    if not wanted:
        parser.error("no such row; rows are " + ", ".join(ROWS))
    native = [row for row in wanted if row not in BOARD]
    board = [row for row in wanted if row in BOARD]
    if board:
        build_board()
    effort = QUICK if options.quick else Effort()
    effort = effort._replace(rounds=options.rounds or effort.rounds)

    when = table.machine()
    new = []
    print(table.HEAD, flush=True)
    for text in itertools.chain(measured_inside(native, effort), measured(board, effort)):
        print(text, flush=True)
        new.append(text)
    if options.write_docs:
        table.write(new, when)


if __name__ == "__main__":
    if sys.argv[1:2] == [INSIDE]:
        inside(*sys.argv[2:])
    else:
        main()
