"""Scales the timeouts of waits for a program under test."""

import os

# Factor for all timeouts, for slow runs such as those under sanitizers.
PATIENCE = float(os.environ.get("CORVANTA_PATIENCE", "1"))


def patient(seconds: float) -> float:
    """Return a timeout in seconds, multiplied by PATIENCE."""
    return seconds * PATIENCE
