"""A fault, what is expected of the program under it, and its outcome."""

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
    """What a row has shown."""

    HELD = "passed"
    ORDERED = "known limitation"
    FAILED = "failed"


@dataclass
class Row:
    """One fault.

    @ivar throw injects the fault and checks what the program does; AssertionError when it is not
        what was expected. It may return the reason why, by design, something was lost
    @ivar ordered why the program loses something under this fault by design; None when it must
        not, or when the throw returns the reason
    @ivar chosen true when ./test injects it, too
    @ivar seconds that it has taken
    @ivar why it has failed, if it has
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
        except Exception as error:  # whatever went wrong, the next row is run
            self.why = f"{type(error).__name__}: {error}"
        self.seconds = time.monotonic() - begin
        tell(self)


@dataclass
class Group:
    """Faults of one kind. Its rows are found when they are asked for: that may take a run."""

    name: str
    title: str
    rows: Callable[[], list[Row]]
    at_once: int = 2 * (os.cpu_count() or 1)  # most of a row is waiting
    figures: Callable[[], list[str]] = list  # what was measured, a line each
    end: Callable[[], object] = list  # called once all rows have run

    def throw(self, rows: list[Row], tell: Callable[[Row], None]) -> list[Row]:
        """Inject faults, several at once. @param tell is called with each row that has run"""
        with ThreadPoolExecutor(self.at_once) as pool:
            list(pool.map(partial(Row.run, tell=tell), rows))
            self.end()  # while the pool's threads live: a machine is killed with its thread
        return rows
