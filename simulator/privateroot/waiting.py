"""Waits for a condition."""

from __future__ import annotations

import time
from collections.abc import Callable

from panel.patience import patient


class RootError(AssertionError):
    """The private root did not start, or a condition did not become true in time."""


def wait_until(condition: Callable[[], object], timeout: float, what: str) -> None:
    """Check a condition every 10 ms until it is true.
    @raise RootError after patient(timeout) seconds"""
    deadline = time.monotonic() + patient(timeout)
    while not condition():
        if time.monotonic() > deadline:
            raise RootError(f"not within {timeout:g} s: {what}")
        time.sleep(0.01)
