"""Runs the fault-injection groups of the test suite in parallel, and reports each outcome."""

from __future__ import annotations

import argparse
import os
import sys
import time
from collections import Counter
from collections.abc import Iterator
from pathlib import Path
from typing import TYPE_CHECKING, NamedTuple

if TYPE_CHECKING:
    import pytest

TESTS = Path(__file__).resolve().parent
PAGE = TESTS.parent / "docs/measured/torture.md"
HEAD = """\
# Results of ./torture

Written by `./torture --write-docs`. Do not edit this page: [reliability.md](../reliability.md)
describes the behaviour in words.

| group | passed | known limitation | failed |
|---|---|---|---|"""
PASSED, LIMITED, FAILED = OUTCOMES = ("passed", "known limitation", "failed")
# Names of the properties with which a test records a known limitation, and a line for the page.
LIMITATION, FIGURE = "limitation", "figure"


class Group(NamedTuple):
    """A group of tests.

    @ivar title description of the faults
    @ivar files test files
    @ivar within text that the node IDs must contain
    @ivar marked true to select only the tests that ./test skips
    """

    title: str
    files: tuple[str, ...]
    within: str = ""
    marked: bool = False


GROUPS = {
    "calls": Group("system calls of the program fail", ("program/test_calls.py",)),
    "saves": Group("terminated or killed at each system call of a save",
                   ("program/test_saves.py",)),
    "launch": Group("state inherited from the parent process", ("program/test_launch.py",)),
    "commands": Group("external commands fail or misbehave", ("program/test_commands.py",)),
    "files": Group("unexpected file types and contents", ("program/test_files.py",)),
    "values": Group("unusual parameter values", ("program/test_params.py",), "::test_unusual["),
    "clock": Group("the clock steps during a wait", tuple(
        f"program/test_{subject}.py" for subject in (
            "supervision", "connect", "modem", "startup")), "[clock "),
    "growth": Group("memory growth over time, and a dongle that comes and goes",
                    ("program/test_growth.py",)),
    "board": Group("modem, network and dongle, on the simulated board",
                   ("board/test_dialling.py",), marked=True),
    "power": Group("power cut during a save, on ext4 of the simulated board",
                   ("board/test_powercuts.py",)),
}


def group_of(test: str) -> str:
    """Return the group of a test by its node ID; "" if it belongs to none."""
    return next((name for name, group in GROUPS.items()
                 if test.startswith(group.files) and group.within in test), "")


def pytest_addoption(parser: pytest.Parser) -> None:
    parser.addoption("--only", default="")
    parser.addoption("--group", action="append")


def pytest_collection_modifyitems(config: pytest.Config, items: list[pytest.Item]) -> None:
    """Select the rows of the chosen groups whose names contain the text of --only. Run the long
    rows of the group growth first."""
    wanted, only = config.getoption("--group"), config.getoption("--only")

    def is_wanted(item: pytest.Item) -> bool:
        group = group_of(item.nodeid)
        return group in wanted and only in item.nodeid and (
            not GROUPS[group].marked or item.get_closest_marker("torture") is not None)

    items[:] = sorted(filter(is_wanted, items),
                      key=lambda item: group_of(item.nodeid) != "growth")


class Results:
    """Collects the outcomes of all rows.

    @ivar outcomes outcome by group and node ID
    @ivar recorded values that rows have recorded, by group and name
    """

    def __init__(self, groups: list[str]) -> None:
        self.outcomes: dict[str, dict[str, str]] = {group: {} for group in groups}
        self.recorded: dict[str, dict[str, list[object]]] = {group: {} for group in groups}

    def pytest_report_teststatus(self, report: pytest.TestReport) -> tuple[str, str, str] | None:
        limited = report.when == "call" and LIMITATION in dict(report.user_properties)
        return (LIMITED, ".", LIMITED.upper()) if report.passed and limited else None

    def pytest_runtest_logreport(self, report: pytest.TestReport) -> None:
        group = group_of(report.nodeid)
        if not report.passed:
            self.outcomes[group][report.nodeid] = FAILED
        if report.when == "teardown":
            for name, value in report.user_properties:
                self.recorded[group].setdefault(name, []).append(value)
            limited = LIMITATION in dict(report.user_properties)
            self.outcomes[group].setdefault(report.nodeid, LIMITED if limited else PASSED)

    def counts(self, *groups: str) -> list[int]:
        """Return the number of rows with each of OUTCOMES."""
        found = [outcome for group in groups for outcome in self.outcomes[group].values()]
        return [found.count(outcome) for outcome in OUTCOMES]

    def summary(self, *groups: str) -> str:
        return ", ".join(f"{count} {outcome}"
                         for count, outcome in zip(self.counts(*groups), OUTCOMES, strict=True))

    def figures(self, group: str) -> Iterator[str]:
        """Yield lines with the values that the rows of a group have recorded."""
        for name, values in self.recorded[group].items():
            numbers = [value for value in values if isinstance(value, float)]
            if name == FIGURE:
                yield from map(str, values)
            elif name == LIMITATION:
                yield from (f"{LIMITED}: {text}" for text in sorted(set(map(str, values))))
            elif numbers:
                yield f"{name}: {min(numbers):.1f} to {max(numbers):.1f} ({len(numbers)} times)"
            else:
                counted = sorted(Counter(map(str, values)).items())
                yield f"{len(values)} times {name}: " + ", ".join(
                    f"{count} {value}" for value, count in counted)


def write_docs(results: Results, total: str) -> None:
    """Write the page. @param total line about all groups"""
    table = [f"| {name}: {group.title} | {' | '.join(map(str, results.counts(name)))} |"
             for name, group in GROUPS.items()]
    notes = sorted(f"- {name}, {figure}" for name in GROUPS for figure in results.figures(name))
    PAGE.write_text("\n".join([HEAD, *table, "", total, "", *notes, ""]))


def arguments() -> argparse.Namespace:
    parser = argparse.ArgumentParser(
        prog="./torture", description="Inject faults into the shipped program and report the "
        "outcomes. Exit status: 1 if a row fails, 2 if no row matches the arguments.",
        epilog="groups: " + ", ".join(f"{name} ({group.title})" for name, group in GROUPS.items()))
    parser.add_argument("groups", nargs="*", metavar="GROUP", help="inject only these groups")
    parser.add_argument("--rows", action="store_true",
                        help="print the name and the outcome of each fault")
    parser.add_argument("--only", metavar="TEXT", default="",
                        help="inject only faults whose name contains TEXT")
    parser.add_argument("--write-docs", action="store_true",
                        help=f"also write the results to {PAGE.relative_to(TESTS.parent)}")
    found = parser.parse_args()
    if unknown := set(found.groups) - set(GROUPS):
        parser.error(f"unknown group: {', '.join(sorted(unknown))}")
    if found.write_docs and (found.groups or found.only):
        parser.error("--write-docs needs all groups: omit GROUP and --only")
    return found


def main() -> int:
    begin, wanted, cores = time.monotonic(), arguments(), os.cpu_count() or 1
    import pytest  # not at the top, so that --help needs no package
    groups = wanted.groups or list(GROUPS)
    files = {f"{TESTS}/{file}" for group in groups for file in GROUPS[group].files}
    results = Results(groups)
    status = pytest.main([
        "-p", "torture", "-vv" if wanted.rows else "-q",  # pytest.ini has another -q
        "-n", str(2 * cores + 1),  # most of a row is waiting
        "--only", wanted.only, *(f"--group={group}" for group in groups), *sorted(files)],
        plugins=[results])
    for group in filter(results.outcomes.get, groups):
        print(f"{group}: {results.summary(group)}", *results.figures(group), sep="\n  ")
    seconds, total = time.monotonic() - begin, sum(results.counts(*groups))
    if not total:
        print("torture: no fault matches the arguments (./torture --help lists the groups)",
              file=sys.stderr)
        return 2
    print(f"{total} faults: {results.summary(*groups)} ({seconds:.0f} s)")
    if wanted.write_docs:
        write_docs(results, f"Total: {total} faults in {seconds:.0f} s on {cores} cores.")
    return 1 if status else 0


if __name__ == "__main__":
    sys.exit(main())
