"""Handles termination signals: the tools print a message and clean up before they exit."""

import signal
import sys
from types import FrameType

INTERRUPTED = 130  # exit status after Ctrl-C


def end_orderly(doing: str) -> None:
    """
    Turn SIGINT, SIGTERM and SIGHUP into exceptions, so that clean-up code runs.

    @param doing  the clean-up that follows, for the message on Ctrl-C
    """
    def interrupt(_: int, __: FrameType | None) -> None:
        print(f"\nInterrupted: {doing}.", file=sys.stderr, flush=True)
        raise KeyboardInterrupt

    def leave(number: int, _: FrameType | None) -> None:
        sys.exit(128 + number)

    signal.signal(signal.SIGINT, interrupt)
    signal.signal(signal.SIGTERM, leave)
    signal.signal(signal.SIGHUP, leave)
