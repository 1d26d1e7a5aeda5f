"""How much a run of the bench does, and how two programs take turns."""

from collections.abc import Callable
from typing import NamedTuple, TypeVar

T = TypeVar("T")


class Effort(NamedTuple):
    """How often things are done, and how long an idle program is watched."""

    rounds: int = 45
    callgrind_rounds: int = 3
    gap_rounds: int = 5
    idle_seconds: int = 60
    appearances: int = 100
    checks: int = 200
    attempts: int = 4


QUICK = Effort(5, 1, 1, 10, 10, 20, 1)


class NotInBuild(Exception):
    """The build lacks what a row measures; the text says what."""


def in_turn(rounds: int, ours: Callable[[], T], theirs: Callable[[], T]) -> list[tuple[T, T]]:
    """Measures both in every round, ours first in one round and second in the next."""
    pairs = []
    for number in range(rounds):
        if number % 2:
            second = theirs()
            pairs.append((ours(), second))
        else:
            pairs.append((ours(), theirs()))
    return pairs
