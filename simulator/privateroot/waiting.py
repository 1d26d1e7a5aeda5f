"""Waiting for what the program does."""

from __future__ import annotations

import time
from collections.abc import Callable

from panel.patience import patient


class RootError(AssertionError):
    """The program did not do what was waited for."""


def wait_until(condition: Callable[[], object], timeout: float, what: str) -> None:
    """Looks at the condition every 10 ms.
    @raise RootError after patient(timeout) seconds"""
    deadline = time.monotonic() + patient(timeout)
    while not condition():
        if time.monotonic() > deadline:
            raise RootError(f"not within {timeout:g} s: {what}")
        time.sleep(0.01)
