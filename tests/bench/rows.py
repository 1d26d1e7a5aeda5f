"""The rows of ./bench: measurement, reference, limit and output format."""

import datetime
import os
import platform
import re
import statistics
from collections.abc import Callable
from functools import partial
from pathlib import Path
from typing import NamedTuple

from bench import measures, onboard
from bench.measures import AWAITED, IDLE_STATES, KEYBOARD, LINES, Pairs
from panel.facts import SETTING, SIZES, STATUS

PAGE = Path(__file__).resolve().parents[2] / "docs/measured/bench.md"
OPENING = """\
# Figures of ./bench

Written by `./bench --write-docs`. Do not edit this page: [performance.md](../performance.md)
explains the figures.
"""
HEAD = ("| measurement | program | compared with | reference | ratio or difference | limit "
        "| result |\n|---|---|---|---|---|---|---|")
FLOOR, REFERENCE, UNTOUCHED = "baseline program", "C reference", "before a touch"


class Row(NamedTuple):
    """A measurement and its limit."""

    name: str  # name on the command line
    what: str  # measurement with its unit
    limit: float | None = None
    reference: str = ""  # if empty, the limit applies to the figure itself
    difference: bool = False  # true when the limit applies to the difference, not to the ratio


Group = tuple[Callable[[int], list[Pairs]], list[Row]]  # a measurement and its rows

NATIVE: list[Group] = [
    (measures.start_instructions, [
        Row("instructions", "start to first idle, million instructions", 0.97, FLOOR),
        Row("fonts", "start with corvanta-fonts.conf, million instructions", None, "without it")]),
    (measures.starts, [
        Row("time", "start to first frame, ms", 1.03, FLOOR),
        Row("cpu", "start to first frame, CPU time, ms", 1.05, FLOOR),
        Row("resident", "resident memory, idle, MiB", 1.03, FLOOR),
        Row("private", "private anonymous memory, idle, MiB", 1.06, FLOOR),
        Row("libraries", "shared libraries", 0, FLOOR, True)]),
    (measures.stripped, [Row("stripped", "size of the stripped binary, KiB", 200)]),
    (measures.keyboard_memory, [
        Row("keys-up", "private memory, keyboard shown, MiB", 1.5, UNTOUCHED, True),
        Row("keys-hidden", "private memory, keyboard hidden after being shown 100 times, MiB", 1,
            UNTOUCHED, True)]),
    # The text cursor blinks while the keyboard is shown: two wakeups a second.
    (measures.idle, [Row(f"idle-{number}", f"wakeups in 60 s: {what}, link {link}",
                         122 if what == KEYBOARD else 0)
                     for number, (what, link) in enumerate(IDLE_STATES, 1)]),
    (measures.connect,
     [Row("connect", "Connect touched to pppd started, CPU time, ms", 1.2, REFERENCE)]),
    *((partial(measures.check, tab),
       [Row(f"check-{state}", f"link check, status page {state}, CPU time, ms", 1.05, REFERENCE)])
      for tab, state in ((SETTING, "hidden"), (STATUS, "shown"))),
    (measures.stalls, [
        Row(f"gap-{name}", f"longest event-loop stall while waiting for the {awaited}, ms", 30)
        for name, awaited in zip(("node", "dongle", "signal"), AWAITED)]),
    (measures.leave, [Row("exit", "Exit touched to process exit, ms", 1.3, FLOOR)]),
]
FILES: list[Group] = [
    (measures.large_files, [
        Row(f"lines-{lines}", f"start to first frame, {lines} lines of parameters, ms", None,
            "six lines") for lines in LINES]),
]
BOARD: list[Group] = [
    (partial(onboard.keyboard_cost, (width, height)), [
        Row(f"board-{width}x{height}-{name}", f"{width}x{height}, field touched: {what}", None,
            UNTOUCHED, True)
        for name, what in (("processor", "CPU time since the start, ms"),
                           ("resident", "resident memory, MiB"),
                           ("private", "private memory, MiB"))])
    for width, height in SIZES
]
TABLES = {"Compared with the baseline": NATIVE, "Long parameter files": FILES,
          "On the simulated board": BOARD}
GROUPS = [group for groups in TABLES.values() for group in groups]


def shown(value: float) -> str:
    return f"{value:.0f}" if value >= 1000 or value == int(value) else f"{value:.3g}"


def line(row: Row, pairs: Pairs) -> str:
    """Return a row in Markdown, with the median of the rounds' ratios or differences, because a
    slow round affects both of its figures."""
    program, reference = (statistics.median(column) for column in zip(*pairs))
    compared, judged = "", program
    if row.difference:
        judged = statistics.median(ours - theirs for ours, theirs in pairs)
        compared = f"{judged:+.3g}"
    elif row.reference:
        judged = statistics.median(ours / theirs for ours, theirs in pairs)
        compared = f"{judged:.3f}"
    cells = [row.what, shown(program), row.reference, shown(reference) if row.reference else "",
             compared, "", ""]
    if row.limit is not None:
        cells[5:] = f"{row.limit:g}", "met" if judged <= row.limit else "**missed**"
    return f"| {' | '.join(cells)} |"


def machine() -> str:
    """Return the date, the CPUs, the kernel and the load."""
    model = re.search(r"model name\s*: (.*)", Path("/proc/cpuinfo").read_text())
    return (f"{datetime.date.today()}, {os.cpu_count()} x {model[1] if model else 'unknown'}, "
            f"Linux {platform.release()}, load {os.getloadavg()[0]:.1f}")


def page(old: str, new: list[str], when: str) -> str:
    """Return the page with new lines; rows that were not measured again keep their old lines."""
    lines = {text.split(" | ")[0]: text for text in old.splitlines() + new}
    parts = [OPENING, f"Last run: {when}.\n"]
    for title, groups in TABLES.items():
        found = [lines.get(f"| {row.what}") for _, rows in groups for row in rows]
        parts.append("\n".join([f"## {title}\n", HEAD, *filter(None, found), ""]))
    return "\n".join(parts)
