"""Figures from what was measured, with estimators that hold on a busy machine."""

import statistics
from collections.abc import Iterable
from enum import Enum
from typing import NamedTuple

Pairs = list[tuple[float, float]]  # per round: the program's figure, and what it is compared with


class Judge(Enum):
    """What of a row is compared with its bound."""

    RATIO = "times"
    EXCESS = "more"
    FIGURE = "itself"


class Outcome(NamedTuple):
    """A row's figures in its unit; `judged` is what the bound is for."""

    program: float
    other: float | None
    judged: float


def outcome(judge: Judge, pairs: Pairs) -> Outcome:
    """The median of each round's ratio or difference: what slows a round down meets both halves of
    it. Medians of the two columns alone would not cancel it."""
    program, other = (statistics.median(column) for column in zip(*pairs))
    if judge is Judge.FIGURE:
        return Outcome(program, None, program)
    if judge is Judge.RATIO:
        return Outcome(program, other, statistics.median(ours / theirs for ours, theirs in pairs))
    return Outcome(program, other, statistics.median(ours - theirs for ours, theirs in pairs))


def instructions(callgrind: str) -> int:
    """The total of a callgrind output file. @raise ValueError when it has none"""
    for line in callgrind.splitlines():
        if line.startswith("totals:"):
            return int(line.split()[1])
    raise ValueError("no totals in callgrind's output")


def memory(smaps: str, without: Iterable[str] = ()) -> tuple[int, int]:
    """Resident memory and its private anonymous part, in KiB.
    @param smaps text of /proc/PID/smaps
    @param without beginnings of paths whose mappings do not count"""
    resident = anonymous = 0
    counts = True
    for line in smaps.splitlines():
        name, *fields = line.split(maxsplit=5)
        if not name.endswith(":"):
            path = fields[4] if len(fields) == 5 else ""
            counts = not path.startswith(tuple(without))
        elif counts and name == "Rss:":
            resident += int(fields[0])
        elif counts and name == "Anonymous:":
            anonymous += int(fields[0])
    return resident, anonymous


def libraries(maps: str) -> set[str]:
    """The shared libraries among the mappings of /proc/PID/maps."""
    paths = (line.split(maxsplit=5)[-1] for line in maps.splitlines())
    return {path for path in paths if ".so" in path}
