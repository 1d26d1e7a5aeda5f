"""Faults of modem and network on the simulated board: the attempts of tests/board that ./test
skips."""

from __future__ import annotations

from functools import partial

import test_dialling
from boardtest import turn_off_boards
from faults.rows import Group, Row
from test_dialling import Refusals


def throw(method: str, *arguments: object) -> str | None:
    """Run one method of the test case. @return the known limitation, or None"""
    test = Refusals(method)
    try:
        test.setUp()
        lost: str | None = getattr(test, method)(*arguments)
        return lost
    except BaseException:
        test.reusable = False
        raise
    finally:
        test.doCleanups()


def rows() -> list[Row]:
    return [Row("the network answers nothing any more", partial(throw, "throw_silence")),
            Row("a command in the user name", partial(throw, "throw_command")),
            *(Row(dial.name, partial(throw, "throw_dial", dial)) for dial in test_dialling.FAULTS)]


def figures() -> list[str]:
    notices, silences = test_dialling.NOTICES, test_dialling.SILENCES
    found = []
    if notices:
        found.append(f"failure notice: {min(notices):.1f} to {max(notices):.1f} s after Connect "
                     f"({len(notices)} attempts)")
    if silences:
        found.append(f"link without answers: dropped by pppd after {silences[-1]:.0f} s")
    return found


# Most of a row is waiting.
GROUPS = [Group("board", "modem, network and dongle, on the simulated board", rows, at_once=5,
                figures=figures, end=turn_off_boards)]
