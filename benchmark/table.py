"""The tables, on the terminal and in docs/measured/bench.md."""

import datetime
import os
import platform
import re
from pathlib import Path

from benchmark import estimate
from benchmark.estimate import Judge, Pairs
from benchmark.rows import TABLES, Row

PAGE = Path(__file__).resolve().parents[1] / "docs/measured/bench.md"
OPENING = """\
# Figures of ./bench

Written by `./bench --write-docs`. Do not edit this page: [performance.md](../performance.md)
explains the figures.
"""
HEAD = ("| measurement | program | compared with | reference | ratio or difference | limit "
        "| result |\n|---|---|---|---|---|---|---|")


def _figure(value: float) -> str:
    return f"{value:.0f}" if value >= 1000 or value == int(value) else f"{value:.3g}"


def line(row: Row, found: Pairs | str) -> str:
    """A row in Markdown. @param found what was measured, or why nothing was"""
    bound = "" if row.bound is None else f"{row.bound:g}"
    if isinstance(found, str):
        cells = [row.what, "", row.against, "", "", bound, found]
    else:
        program, other, judged = estimate.outcome(row.judge, found)
        verdict = "" if row.bound is None else "met" if judged <= row.bound else "**missed**"
        shown = {Judge.RATIO: f"{judged:.3f}", Judge.EXCESS: f"{judged:+.3g}", Judge.FIGURE: ""}
        cells = [row.what, _figure(program), row.against, "" if other is None else _figure(other),
                 shown[row.judge], bound, verdict]
    return f"| {' | '.join(cells)} |"


def machine() -> str:
    """Where and when: the date, the processors, the kernel and how busy it is."""
    model = re.search(r"model name\s*: (.*)", Path("/proc/cpuinfo").read_text())
    return (f"{datetime.date.today()}, {os.cpu_count()} x {model[1] if model else 'unknown'}, "
            f"Linux {platform.release()}, load {os.getloadavg()[0]:.1f}")


def _by_name(lines: list[str]) -> dict[str, str]:
    """Lines by their first cell."""
    return {text.split(" | ")[0].removeprefix("| "): text for text in lines}


def renewed(page: str, new: list[str], when: str) -> str:
    """The page with new lines in its tables; rows that were not measured again are kept."""
    lines = _by_name(page.splitlines()) | _by_name(new)
    parts = [OPENING, f"Last run: {when}.\n"]
    for title, rows in TABLES.items():
        body = [lines.get(row.what) or line(row, "not measured yet") for row in rows]
        parts.append("\n".join([f"## {title}\n", HEAD, *body, ""]))
    return "\n".join(parts)


def write(new: list[str], when: str) -> None:
    """Write the page with new lines."""
    PAGE.write_text(renewed(PAGE.read_text(), new, when))
