"""Throws faults at the program and says, fault by fault, what came of it."""

from __future__ import annotations

import argparse
import os
import sys
import time
from collections import Counter
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

from faults import (calls, clock, commands, devices, dongle, files, growth, launching, onboard,
                    powercuts, saves, values)
from faults.rows import Group, Outcome, Result

MODULES = (calls, saves, launching, commands, files, values, devices, dongle, clock, growth,
           onboard, powercuts)
GROUPS: list[Group] = [group for module in MODULES for group in module.GROUPS]
LANES = (("board", "power"), ("growth",), ())  # what is thrown beside each other; (): all others
PAGE = Path("docs/reliability.md")
WHOLE = "All groups together"  # the sentence on them begins so
BEGIN, END = "<!-- written by ./torture -->\n", "<!-- up to here -->"


def arguments() -> argparse.Namespace:
    parser = argparse.ArgumentParser(
        prog="./torture", description="Throws faults at the program that ships and says what came "
        "of each. The exit status is 1 when a row has failed, 2 when there is no such row.",
        epilog="groups: " + ", ".join(f"{group.name} ({group.title})" for group in GROUPS))
    parser.add_argument("groups", nargs="*", metavar="GROUP", help="only these groups")
    parser.add_argument("--chosen", action="store_true", help="the part that ./test throws")
    parser.add_argument("--rows", action="store_true", help="a line for each row, not each group")
    parser.add_argument("--only", metavar="TEXT", default="", help="rows with this in their name")
    parser.add_argument("--write-docs", action="store_true", help=f"write the counts into {PAGE}")
    found = parser.parse_args()
    unknown = set(found.groups) - {group.name for group in GROUPS}
    if unknown:
        parser.error(f"no group is called {', '.join(sorted(unknown))}")
    if found.write_docs and (found.chosen or found.only):
        parser.error("--write-docs counts whole groups: without --chosen and --only")
    return found


def counted(results: list[Result]) -> str:
    counts = Counter(result.outcome for result in results)
    return ", ".join(f"{counts[outcome]} {outcome.value}" for outcome in Outcome)


def throw(group: Group, wanted: argparse.Namespace) -> list[Result]:
    """Throws a group's rows; tells each that has failed, and the whole in one line."""
    begin = time.monotonic()
    rows = [row for row in group.rows()
            if wanted.only in row.name and (row.chosen or not wanted.chosen)]

    def tell(result: Result) -> None:
        if result.why or wanted.rows:
            print(f"  {result.outcome.value}: {group.name}: {result.row.name}"
                  f" ({result.seconds:.0f} s)"
                  + "".join(f"\n      {line}" for line in result.why.splitlines()), flush=True)

    results = group.throw(rows, tell)
    if results:
        lines = [f"{group.name}: {counted(results)} ({time.monotonic() - begin:.0f} s)",
                 *(f"  {figure}" for figure in group.figures())]
        print("\n".join(lines), flush=True)
    return results


def write_docs(results: dict[str, list[Result]], whole: str) -> None:
    """Renews the lines of the groups that were thrown; the page keeps those of the others.
    @param whole sentence on all groups together, written when all were thrown"""
    head, _, rest = PAGE.read_text().partition(BEGIN)
    earlier, _, tail = rest.partition(END)
    kept = {line.split(":")[0].strip("|- "): line for line in earlier.splitlines() if ":" in line}
    table, figures, reasons = [], [], []
    for group in GROUPS:
        thrown = results.get(group.name)
        if thrown is None:
            table += [line for name, line in kept.items() if name == group.name]
            continue
        counts = Counter(result.outcome for result in thrown)
        cells = [f"{group.name}: {group.title}", *(str(counts[outcome]) for outcome in Outcome)]
        table.append(f"| {' | '.join(cells)} |")
        figures += [f"- {group.name}, {figure}" for figure in group.figures()]
        reasons += sorted({f"- {group.name}, ordered: {result.row.ordered}" for result in thrown
                           if result.outcome is Outcome.ORDERED})
    names = {f"{name}," for name in results}
    notes = [line for line in earlier.splitlines()
             if line.startswith("- ") and line.split()[1] not in names] + figures + reasons
    if len(results) < len(GROUPS):
        whole = next((line for line in earlier.splitlines() if line.startswith(WHOLE)), "")
    lines = ["| group | held | ordered by the design | failed |", "|---|---|---|---|", *table, "",
             *([whole, ""] if whole else []), *sorted(notes), ""]
    PAGE.write_text(head + BEGIN + "\n".join(lines) + END + tail)


def main() -> int:
    begin = time.monotonic()
    wanted = arguments()
    groups = [group for group in GROUPS if not wanted.groups or group.name in wanted.groups]
    named = {name for lane in LANES for name in lane}
    results: dict[str, list[Result]] = {}

    def throw_lane(lane: tuple[str, ...]) -> None:
        for group in groups:
            if group.name in lane or not lane and group.name not in named:
                results[group.name] = throw(group, wanted)

    with ThreadPoolExecutor(len(LANES)) as pool:
        list(pool.map(throw_lane, LANES))
    everything = [result for found in results.values() for result in found]
    if not everything:
        print("./torture: there is no such fault: nothing was thrown", file=sys.stderr)
        return 2
    seconds = time.monotonic() - begin
    print(f"{len(everything)} faults: {counted(everything)} ({seconds:.0f} s)")
    if wanted.write_docs:
        write_docs(results, f"{WHOLE}: {len(everything)} faults in {seconds:.0f} s on "
                            f"{os.cpu_count()} cores.")
    return 1 if any(result.why for result in everything) else 0


if __name__ == "__main__":
    sys.exit(main())
