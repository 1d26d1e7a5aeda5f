"""Handles termination signals, so that the tools clean up before they exit."""

import signal
import sys
from types import FrameType

INTERRUPTED = 130  # exit status after Ctrl-C


def exit_on_signals() -> None:
    """Turn SIGTERM and SIGHUP into SystemExit; Python turns SIGINT into KeyboardInterrupt."""
    def leave(number: int, _: FrameType | None) -> None:
        sys.exit(128 + number)

    signal.signal(signal.SIGTERM, leave)
    signal.signal(signal.SIGHUP, leave)
