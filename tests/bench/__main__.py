"""Measures start-up time, memory and CPU time of the program, and compares them with baselines."""

import argparse
import datetime
import os
import platform
import re
import statistics
from collections.abc import Callable
from functools import partial
from pathlib import Path
from typing import NamedTuple

from bench import measures
from bench.boot import boot
from bench.measures import IDLE_STATES, Pairs
from host.architecture import ARCH
from panel.constants import SIZES

PAGE = Path(__file__).resolve().parents[2] / "docs/measured/bench.md"
OPENING = """\
# Figures of ./bench

Written by `./bench --write-docs`. Do not edit this page: [performance.md](../performance.md)
explains the figures.
"""
HEAD = ("| measurement | program | compared with | reference | ratio or difference | limit "
        "| result |\n|---|---|---|---|---|---|---|\n")
FLOOR, REFERENCE, UNTOUCHED = "baseline program", "C reference", "before a touch"


class Row(NamedTuple):
    """A measurement and its limit."""

    what: str  # measurement with its unit
    limit: float | None = None
    reference: str = ""  # what the program is compared with; if empty, the limit is absolute
    difference: bool = False  # true when the limit applies to the difference, not to the ratio


Group = tuple[Callable[[int], list[Pairs]], list[Row]]  # a measuring function and its rows

TABLES: dict[str, list[Group]] = {"Compared with the baseline": [
    (measures.start_instructions, [
        Row("start to first idle, million instructions", 0.66, FLOOR),
        Row("start to first idle, million instructions, the panel's font only", None,
            "with the board's fonts")]),
    (measures.starts, [
        Row("start to first frame, ms", 1.03, FLOOR),
        Row("start to first frame, CPU time, ms", 1.05, FLOOR),
        Row("resident memory, idle, MiB", 1.03, FLOOR),
        Row("private anonymous memory, idle, MiB", 1.06, FLOOR),
        Row("shared libraries", 0, FLOOR, True)]),
    # While the keyboard is shown, the blinking text cursor causes two wakeups per second.
    (measures.idle, [Row(f"wakeups in 60 s: {state}", 122 if state == "keyboard shown" else 0)
                     for state in IDLE_STATES]),
    (measures.checks, [
        Row("link check, status page hidden, CPU time, ms", 1.05, REFERENCE),
        Row("link check, status page shown, CPU time, ms", 1.05, REFERENCE)]),
    (measures.connects, [
        Row("Connect touched to pppd started, CPU time, ms", 1.2, FLOOR)]),
], f"On the simulated board ({ARCH.name})": [
    (partial(boot, SIZES[1]), [
        Row("boot, kernel's first line to setting page, s"),
        Row("boot, kernel's first line to setting page, million instructions"),
        Row("boot, start of the service to setting page, s"),
        Row("boot, start of the service to setting page, million instructions of the program")]),
    *((partial(measures.keyboard_on_board, (width, height)), [
        Row(f"{width}x{height}, field touched: {figure}", None, UNTOUCHED, True)
        for figure in ("CPU time since the start, ms", "resident memory, MiB",
                       "private memory, MiB")])
      for width, height in SIZES)
]}


def shown(value: float) -> str:
    return f"{value:.0f}" if value >= 1000 or value == int(value) else f"{value:.3g}"


def line(row: Row, pairs: Pairs) -> str:
    """Return a line of the table. The ratio or difference is the median over the rounds, because a
    slow round affects both of its figures."""
    program, reference = (statistics.median(column) for column in zip(*pairs))
    compared, judged = "", program
    if row.reference:
        judged = statistics.median(ours - theirs if row.difference else ours / theirs
                                   for ours, theirs in pairs)
        compared = f"{judged:+.3g}" if row.difference else f"{judged:.3f}"
    cells = [row.what, shown(program), row.reference, shown(reference) if row.reference else "",
             compared, "", ""]
    if row.limit is not None:
        cells[5:] = f"{row.limit:g}", "met" if judged <= row.limit else "**missed**"
    return f"| {' | '.join(cells)} |\n"


def machine() -> str:
    """Return the date, the Debian release, the CPUs and the load."""
    model = re.search(r"model name\s*: (.*)", Path("/proc/cpuinfo").read_text())
    return (f"{datetime.date.today()}, {platform.freedesktop_os_release()['PRETTY_NAME']}, "
            f"{os.cpu_count()} x {model[1] if model else 'unknown'}, load {os.getloadavg()[0]:.1f}")


def arguments() -> argparse.Namespace:
    parser = argparse.ArgumentParser(prog="./bench", description=__doc__)
    parser.add_argument("words", nargs="*", metavar="WORDS",
                        help="measure only rows whose names contain one of these words, such "
                        "as \"wakeups\", and the rows that are measured together with them")
    parser.add_argument("--quick", action="store_true",
                        help="measure 5 rounds instead of 45: quick, but not reliable")
    parser.add_argument("--write-docs", action="store_true",
                        help="also write docs/measured/bench.md; not with WORDS")
    options = parser.parse_args()
    if options.words and options.write_docs:
        parser.error("--write-docs needs all rows")
    names = "\n".join(row.what for groups in TABLES.values() for _, rows in groups for row in rows)
    if unknown := [word for word in options.words if word not in names]:
        parser.error(f"no row contains {unknown[0]}; the rows are:\n{names}")
    return options


def main() -> None:
    options = arguments()
    rounds = 5 if options.quick else 45
    page = f"{OPENING}\nLast run: {machine()}, {rounds} rounds.\n"
    for title, groups in TABLES.items():
        page += f"\n## {title}\n\n{HEAD}"
        print(HEAD, end="", flush=True)
        for measure, rows in groups:
            if any(word in row.what for word in options.words or [""] for row in rows):
                figures = measure(rounds)
                lines = "".join(line(row, pairs) for row, pairs in zip(rows, figures))
                print(lines, end="", flush=True)
                page += lines
    if options.write_docs:
        PAGE.write_text(page)


if __name__ == "__main__":
    main()
