"""Injects faults into the program and reports the outcome of each."""

from __future__ import annotations

import argparse
import os
import sys
import time
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

from faults import onboard, powercuts
from faults.rows import Group, Outcome, Row

MODULES = (onboard, powercuts)
GROUPS: list[Group] = [group for module in MODULES for group in module.GROUPS]
LANES = (("board", "power"), ())  # groups of each parallel lane; (): all others
PAGE = Path("docs/measured/torture.md")
HEAD = """\
# Results of ./torture

Written by `./torture --write-docs`. Do not edit this page: [reliability.md](../reliability.md)
describes the behaviour in words.

| group | passed | known limitation | failed |
|---|---|---|---|"""
WHOLE = "Total"  # first word of the line on all groups


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


def counts(rows: list[Row]) -> dict[str, int]:
    return {outcome.value: sum(row.outcome is outcome for row in rows)
            for outcome in Outcome}


def summary(rows: list[Row]) -> str:
    return ", ".join(f"{count} {outcome}" for outcome, count in counts(rows).items())


def throw(group: Group, wanted: argparse.Namespace) -> list[Row]:
    """Inject a group's faults; print those that have failed and a line for the group."""
    begin = time.monotonic()

    def tell(row: Row) -> None:
        if row.why or wanted.rows:
            print(f"  {row.outcome.value}: {group.name}: {row.name} ({row.seconds:.0f} s)",
                  *row.why.splitlines(), sep="\n      ", flush=True)

    rows = group.throw([row for row in group.rows() if wanted.only in row.name
                        and (row.chosen or not wanted.chosen)], tell)
    if rows:
        print(f"{group.name}: {summary(rows)} ({time.monotonic() - begin:.0f} s)",
              *group.figures(), sep="\n  ", flush=True)
    return rows


def write_docs(results: dict[str, list[Row]], whole: str) -> None:
    """Write the page. The lines of groups that were not run are kept.
    @param whole line on all groups, written when all were run"""
    lines = PAGE.read_text().splitlines()
    for group in GROUPS:
        if thrown := results.get(group.name):
            entry, note = f"| {group.name}: ", f"- {group.name}, "
            cells = " | ".join(map(str, counts(thrown).values()))
            lines = [line for line in lines if not line.startswith((entry, note))]
            lines.append(f"{entry}{group.title} | {cells} |")
            lines += [note + figure for figure in group.figures()]
            lines += {f"{note}known limitation: {row.ordered}" for row in thrown
                      if row.outcome is Outcome.ORDERED}
    if len(results) == len(GROUPS):
        lines = [*(line for line in lines if not line.startswith(WHOLE)), whole]
    table = [line for group in GROUPS for line in lines if line.startswith(f"| {group.name}: ")]
    wholes = [line for line in lines if line.startswith(WHOLE)]
    notes = sorted(line for line in lines if line.startswith("- "))
    PAGE.write_text("\n".join([HEAD, *table, "", *wholes, "", *notes, ""]))


def main() -> int:
    begin = time.monotonic()
    wanted = arguments()
    groups = [group for group in GROUPS if not wanted.groups or group.name in wanted.groups]
    named = {name for lane in LANES for name in lane}
    results: dict[str, list[Row]] = {}

    def throw_lane(lane: tuple[str, ...]) -> None:
        for group in groups:
            if group.name in lane or not lane and group.name not in named:
                results[group.name] = throw(group, wanted)

    with ThreadPoolExecutor(len(LANES)) as pool:
        list(pool.map(throw_lane, LANES))
    everything = [row for found in results.values() for row in found]
    if not everything:
        print("torture: no fault matches the arguments (./torture --help lists the groups)",
              file=sys.stderr)
        return 2
    seconds = time.monotonic() - begin
    print(f"{len(everything)} faults: {summary(everything)} ({seconds:.0f} s)")
    if wanted.write_docs:
        write_docs(results, f"{WHOLE}: {len(everything)} faults in {seconds:.0f} s on "
                            f"{os.cpu_count()} cores.")
    return 1 if any(row.why for row in everything) else 0


if __name__ == "__main__":
    sys.exit(main())
