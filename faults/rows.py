"""A fault, what is expected of the program under it, and what came of it."""

from __future__ import annotations

import os
import time
from collections.abc import Callable
from concurrent.futures import ThreadPoolExecutor
from dataclasses import dataclass, replace
from enum import Enum
from operator import attrgetter

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

    @ivar throw throws the fault and looks at what the program does; AssertionError when it is not
        what was expected. It may return the reason why, by design, something was lost
    @ivar ordered why the program loses something under this fault by design; None when it must
        not, or when what the throw finds is to say so
    @ivar chosen whether ./test throws it, too
    @ivar seconds that it takes, about: of a group's rows the longest are thrown first
    """

    name: str
    throw: Callable[[], str | None]
    ordered: str | None = None
    chosen: bool = False
    seconds: float = 0


@dataclass
class Result:
    """What came of a row."""

    row: Row
    seconds: float  # that it has taken
    why: str = ""  # it failed

    @property
    def outcome(self) -> Outcome:
        if self.why:
            return Outcome.FAILED
        return Outcome.ORDERED if self.row.ordered else Outcome.HELD


@dataclass
class Group:
    """Faults of one kind. Its rows are found when they are asked for: that may take a run."""

    name: str
    title: str
    rows: Callable[[], list[Row]]
    at_once: int = 2 * (os.cpu_count() or 1)  # most of a row is waiting
    figures: Callable[[], list[str]] = list  # what was measured, a line each
    last: Callable[[], list[Row]] = list  # rows about what the others have used

    def throw(self, rows: list[Row], tell: Callable[[Result], None]) -> list[Result]:
        """Throws rows, several at once. @param tell is called with each result as it comes"""
        def one(row: Row) -> Result:
            begin, why = time.monotonic(), ""
            try:
                row = replace(row, ordered=row.throw() or row.ordered)
            except Exception as error:  # whatever went wrong, the next row is thrown
                why = f"{type(error).__name__}: {error}"
            result = Result(row, time.monotonic() - begin, why)
            tell(result)
            return result
        with ThreadPoolExecutor(self.at_once) as pool:
            results = list(pool.map(one, sorted(rows, key=attrgetter("seconds"), reverse=True)))
            return results + list(pool.map(one, self.last()))
