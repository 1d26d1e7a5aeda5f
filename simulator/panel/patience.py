"""Waits for a program under test."""

import os
import time
from collections.abc import Callable

# Factor for all timeouts, for slow runs such as those under sanitizers.
PATIENCE = float(os.environ.get("CORVANTA_PATIENCE", "1"))


def patient(seconds: float) -> float:
    """Return a timeout in seconds, multiplied by PATIENCE."""
    return seconds * PATIENCE


def wait_until(condition: Callable[[], object], timeout: float, what: str) -> None:
    """Check a condition every 10 ms until it is true.
    @raise AssertionError after patient(timeout) seconds"""
    deadline = time.monotonic() + patient(timeout)
    while not condition():
        if time.monotonic() > deadline:
            raise AssertionError(f"not within {timeout:g} s: {what}")
        time.sleep(0.01)
