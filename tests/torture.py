"""Runs the fault-injection groups of the test suite in parallel, and reports their outcomes."""

from __future__ import annotations

import argparse
import os
import sys
import time
from collections import Counter, defaultdict
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

"""
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


GROUPS = {  # in the order of their start: the longest rows are in the first group
    "growth": Group("memory growth over time, and a dongle that comes and goes",
                    ("program/test_growth.py",)),
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
    parser.addoption("--only")
    parser.addoption("--group", action="append")


def pytest_collection_modifyitems(config: pytest.Config, items: list[pytest.Item]) -> None:
    """Select the rows of the chosen groups whose names contain the text of --only."""
    def is_wanted(item: pytest.Item) -> bool:
        group = group_of(item.nodeid)
        return (group in config.getoption("--group")
                and config.getoption("--only") in item.nodeid
                and (not GROUPS[group].marked or item.get_closest_marker("torture") is not None))

    items[:] = filter(is_wanted, items)


class Results:
    """Collects the outcomes of all rows.

    @ivar outcomes outcome by node ID
    @ivar recorded values that rows have recorded, by group and name of the value
    """

    def __init__(self) -> None:
        self.outcomes: dict[str, str] = {}
        self.recorded: dict[tuple[str, str], list[object]] = defaultdict(list)

    def pytest_runtest_logreport(self, report: pytest.TestReport) -> None:
        if not report.passed:
            self.outcomes[report.nodeid] = FAILED
        if report.when == "teardown":
            for name, value in report.user_properties:
                self.recorded[group_of(report.nodeid), name].append(value)
            limited = LIMITATION in dict(report.user_properties)
            self.outcomes.setdefault(report.nodeid, LIMITED if limited else PASSED)

    def page(self, duration: str) -> str:
        """Return the page without its head: the number of rows with each outcome, by group, and the
        values that the rows have recorded."""
        lines = [f"| group | {' | '.join(OUTCOMES)} |", "|---|---|---|---|"]
        for name, group in GROUPS.items():
            found = [outcome for test, outcome in self.outcomes.items() if group_of(test) == name]
            counts = " | ".join(str(found.count(outcome)) for outcome in OUTCOMES)
            if found:
                lines.append(f"| {name}: {group.title} | {counts} |")
        lines += ["", f"Total: {len(self.outcomes)} faults in {duration}.", ""]
        lines += sorted(f"- {group}, {line}" for (group, name), values in self.recorded.items()
                        for line in lines_of(name, values))
        return "\n".join(lines)


def lines_of(name: str, values: list[object]) -> Iterator[str]:
    """Yield lines about the values that the rows of a group have recorded under one name."""
    numbers = [value for value in values if isinstance(value, float)]
    if name == FIGURE:
        yield from map(str, values)
    elif name == LIMITATION:
        yield from (f"{LIMITED}: {text}" for text in {*map(str, values)})
    elif numbers:
        yield f"{name}: {min(numbers):.1f} to {max(numbers):.1f} ({len(numbers)} times)"
    else:
        yield f"{len(values)} times {name}: " + ", ".join(
            f"{count} {value}" for value, count in sorted(Counter(map(str, values)).items()))


def arguments() -> argparse.Namespace:
    parser = argparse.ArgumentParser(
        prog="./torture", description="Inject faults into the shipped program and report the "
        "outcomes. Exit status: 1 if a row fails, 5 if no row matches the arguments.",
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
    files = [f"{TESTS}/{file}" for group in groups for file in GROUPS[group].files]
    results = Results()
    status = pytest.main([
        "-p", "torture", "-vv" if wanted.rows else "-q",  # pytest.ini has another -q
        "-n", str(2 * cores + 1),  # most of a row is waiting
        "--only", wanted.only, *(f"--group={group}" for group in groups), *files],
        plugins=[results])
    page = results.page(f"{time.monotonic() - begin:.0f} s on {cores} cores")
    print(page)
    if wanted.write_docs:
        PAGE.write_text(f"{HEAD}{page}\n")
    return int(status)


if __name__ == "__main__":
    sys.exit(main())
