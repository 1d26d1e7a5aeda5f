"""How the board's programs end on a signal: they say so at once and clean up on their way out."""

import signal
import sys
from types import FrameType

INTERRUPTED = 130  # exit status after Ctrl-C


def end_orderly(doing: str) -> None:
    """
    Make SIGINT, SIGTERM and SIGHUP exceptions, so that what was begun is cleaned up.

    @param doing  what still has to be done then, in words, said on Ctrl-C
    """
    def interrupt(_: int, __: FrameType | None) -> None:
        print(f"\nInterrupted: {doing}.", file=sys.stderr, flush=True)
        raise KeyboardInterrupt

    def leave(number: int, _: FrameType | None) -> None:
        sys.exit(128 + number)

    signal.signal(signal.SIGINT, interrupt)
    signal.signal(signal.SIGTERM, leave)
    signal.signal(signal.SIGHUP, leave)
