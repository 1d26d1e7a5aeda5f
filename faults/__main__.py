"""Injects faults into the program and reports the outcome of each."""

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
PAGE = Path("docs/measured/torture.md")
OPENING = """\
# Results of ./torture

Written by `./torture --write-docs`. Do not edit this page: [reliability.md](../reliability.md)
describes the behaviour in words.

"""
WHOLE = "Total"  # first word of the sentence on all groups


def arguments() -> argparse.Namespace:
    parser = argparse.ArgumentParser(
        prog="./torture", description="Injects faults into the shipped program and reports the "
        "outcome. The exit status is 1 when a fault has failed, 2 when there is no such fault.",
        epilog="groups: " + ", ".join(f"{group.name} ({group.title})" for group in GROUPS))
    parser.add_argument("groups", nargs="*", metavar="GROUP", help="inject only these groups")
    parser.add_argument("--chosen", action="store_true", help="inject only the selection of ./test")
    parser.add_argument("--rows", action="store_true",
                        help="print a line for each fault, not only for each group")
    parser.add_argument("--only", metavar="TEXT", default="",
                        help="inject only faults whose name contains TEXT")
    parser.add_argument("--write-docs", action="store_true", help=f"write the results into {PAGE}")
    found = parser.parse_args()
    unknown = set(found.groups) - {group.name for group in GROUPS}
    if unknown:
        parser.error(f"unknown group: {', '.join(sorted(unknown))}")
    if found.write_docs and (found.chosen or found.only):
        parser.error("--write-docs needs complete groups: omit --chosen and --only")
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
    """Write the page. The lines of groups that were not thrown are kept.
    @param whole sentence on all groups, written when all were thrown"""
    earlier = PAGE.read_text()
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
        reasons += sorted({f"- {group.name}, known limitation: {result.row.ordered}"
                           for result in thrown if result.outcome is Outcome.ORDERED})
    names = {f"{name}," for name in results}
    notes = [line for line in earlier.splitlines()
             if line.startswith("- ") and line.split()[1] not in names] + figures + reasons
    if len(results) < len(GROUPS):
        whole = next((line for line in earlier.splitlines() if line.startswith(WHOLE)), "")
    lines = ["| group | passed | known limitation | failed |", "|---|---|---|---|", *table, "",
             *([whole, ""] if whole else []), *sorted(notes), ""]
    PAGE.write_text(OPENING + "\n".join(lines))


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
        print("torture: no fault matches the arguments (./torture --help lists the groups)",
              file=sys.stderr)
        return 2
    seconds = time.monotonic() - begin
    print(f"{len(everything)} faults: {counted(everything)} ({seconds:.0f} s)")
    if wanted.write_docs:
        write_docs(results, f"{WHOLE}: {len(everything)} faults in {seconds:.0f} s on "
                            f"{os.cpu_count()} cores.")
    return 1 if any(result.why for result in everything) else 0


if __name__ == "__main__":
    sys.exit(main())
