"""A fault, its check and its outcome."""

from __future__ import annotations

import os
import time
from collections.abc import Callable
from concurrent.futures import ThreadPoolExecutor
from dataclasses import dataclass
from enum import Enum
from functools import partial

from privateroot import operating

expect = operating.expect


class Outcome(Enum):
    """The outcome of a row."""

    HELD = "passed"
    ORDERED = "known limitation"
    FAILED = "failed"


@dataclass
class Row:
    """One fault.

    @ivar throw injects the fault and checks the program; raises AssertionError when a check fails.
        It may return a known limitation that the fault has shown
    @ivar ordered known limitation of the program under this fault; None when there is none, or when
        `throw` returns it
    @ivar chosen true when ./test injects it, too
    @ivar seconds duration of the run
    @ivar why cause of the failure; empty when the row has not failed
    """

    name: str
    throw: Callable[[], str | None]
    ordered: str | None = None
    chosen: bool = False
    seconds: float = 0
    why: str = ""

    @property
    def outcome(self) -> Outcome:
        if self.why:
            return Outcome.FAILED
        return Outcome.ORDERED if self.ordered else Outcome.HELD

    def run(self, tell: Callable[[Row], None]) -> None:
        begin = time.monotonic()
        try:
            self.ordered = self.throw() or self.ordered
        except Exception as error:  # run the next row after any error
            self.why = f"{type(error).__name__}: {error}"
        self.seconds = time.monotonic() - begin
        tell(self)


@dataclass
class Group:
    """Faults of one kind. `rows` computes them when it is called, which may need a run."""

    name: str
    title: str
    rows: Callable[[], list[Row]]
    at_once: int = 2 * (os.cpu_count() or 1)  # most of a row is waiting
    figures: Callable[[], list[str]] = list  # measured figures, one line each
    end: Callable[[], object] = list  # called once all rows have run

    def throw(self, rows: list[Row], tell: Callable[[Row], None]) -> list[Row]:
        """Inject faults, several at once. @param tell called with each row that has run"""
        with ThreadPoolExecutor(self.at_once) as pool:
            list(pool.map(partial(Row.run, tell=tell), rows))
            self.end()  # while the pool's threads live: a machine is killed with its thread
        return rows
