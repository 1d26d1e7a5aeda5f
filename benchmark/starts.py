"""The rows about a start, about what is in memory then, and about the program's size."""

import os
import subprocess
import tempfile
from functools import cache
from pathlib import Path
from typing import NamedTuple

from benchmark import estimate
from benchmark.effort import Effort, in_turn
from benchmark.estimate import Pairs
from benchmark.process import FLOOR, PROGRAM, Process
from benchmark.root import PROJECT

OWN_FONTS = {"FONTCONFIG_FILE": str(PROJECT / "resources/fontconfig/corvanta-fonts.conf")}


class Start(NamedTuple):
    """One start: ms to the first picture, and MiB when idle."""

    time: float
    processor: float
    resident: float
    private: float


def start(program: Path = PROGRAM) -> Start:
    with Process(program) as process:
        process.settle()
        first = next(wait for wait in process.waits() if wait.idle)
        time = (first.waits - process.started) / 1e6
        return Start(time, first.processor / 1e6, *process.memory())


@cache
def _starts(effort: Effort) -> list[tuple[Start, Start]]:
    return in_turn(effort.rounds, start, lambda: start(FLOOR))


def figure(name: str, effort: Effort) -> Pairs:
    """@param name of a member of Start"""
    return [(getattr(ours, name), getattr(theirs, name)) for ours, theirs in _starts(effort)]


def _millions(program: Path, extra: dict[str, str]) -> float:
    """Millions of instructions of a process until it is idle."""
    with tempfile.NamedTemporaryFile() as out:
        under = ("/usr/bin/valgrind", "--tool=callgrind", f"--callgrind-out-file={out.name}")
        with Process(program, extra | {"CORVANTA_BENCH_STOP": "1"}, under) as process:
            process.end()
        return estimate.instructions(Path(out.name).read_text(errors="replace")) / 1e6


def instructions(effort: Effort) -> Pairs:
    return in_turn(effort.callgrind_rounds, lambda: _millions(PROGRAM, {}),
                   lambda: _millions(FLOOR, {}))


def own_fonts(effort: Effort) -> Pairs:
    return in_turn(effort.callgrind_rounds, lambda: _millions(PROGRAM, OWN_FONTS),
                   lambda: _millions(PROGRAM, {}))


def libraries(_: Effort) -> Pairs:
    def number(program: Path) -> int:
        with Process(program) as process:
            process.settle()
            return process.libraries()
    return [(number(PROGRAM), number(FLOOR))]


def stripped(_: Effort) -> Pairs:
    with tempfile.NamedTemporaryFile() as out:
        subprocess.run(["/usr/bin/strip", "-o", out.name, PROGRAM], check=True)
        return [(os.path.getsize(out.name) / 1024, 0)]
