"""How long is waited for a program under test."""

import os

# Times as long as without: what runs under sanitizers is slow, and its subject is not time.
PATIENCE = float(os.environ.get("CORVANTA_PATIENCE", "1"))


def patient(seconds: float) -> float:
    """The seconds to wait for what takes so many at most."""
    return seconds * PATIENCE
