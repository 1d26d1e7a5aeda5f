"""The F-RAM chip of a simulated board: its content, its faults and its log."""

import shlex
from collections.abc import Mapping

from host.errors import BoardError
from panel.facts import CHIP_MARKER
from virtualboard.guest import Guest

NODE = "/dev/spidev1.0"
PARAMETERS, VALUES = 100, 65536  # number of parameters, and of values of each
FAULTS = ("missing", "open", "queries", "transfers", "short", "zeros", "ones", "slow")
SLOW_MS = 1500
LOG = "/run/chip/chip.log"

_PID = "/run/chip/pid"
_OUT = "/run/chip/chipsim.out"

_TAKE_OUT = f"""
if [ -e {_PID} ]; then
    kill $(<{_PID}) 2>/dev/null
    rm {_PID}
    while [ -c {NODE} ]; do sleep 0.02; done
fi"""


def _put_in(words: list[str]) -> str:
    return f"""
[ -c /dev/cuse ] || modprobe cuse || exit
setsid /app/chipsim {LOG} {shlex.join(words)} </dev/null >{_OUT} 2>&1 &
echo $! >{_PID}
until [ -c {NODE} ]; do
    if ! kill -0 $!; then
        cat {_OUT}
        exit 1
    fi
    sleep 0.02
done"""


class Chip:
    """The F-RAM chip of a board, which may be missing."""

    def __init__(self, guest: Guest) -> None:
        self._guest = guest

    def put_in(self, parameters: Mapping[int, int] | None = None, *, marker: bool = True,
               fault: str | None = None) -> None:
        """
        Put a chip with an empty log into the board, in place of any earlier one.

        @param parameters  0 to 65535 by index, 0 to 99; the others are 0
        @param marker  true to create the file without which the program reads no parameters
        @param fault  one of FAULTS: "missing" is no chip at all, "slow" delays every message by
               SLOW_MS
        @raise BoardError when there is no such fault or parameter, or the device does not appear
        """
        if fault not in (None, *FAULTS):
            raise BoardError("faults of the chip are " + ", ".join(FAULTS))
        for index, value in (parameters or {}).items():
            if not (0 <= index < PARAMETERS and 0 <= value < VALUES):
                raise BoardError(f"the chip has parameters 0 to {PARAMETERS - 1} of 0 to "
                                 f"{VALUES - 1}, not {index}={value}")
        words = [fault or "none", str(SLOW_MS if fault == "slow" else 0),
                 *(f"{index}={value}" for index, value in (parameters or {}).items())]
        mark = "touch" if marker else "rm -f"
        put_in = "" if fault == "missing" else _put_in(words)
        # One command, because each takes the board noticeable time.
        self._guest.sh(f"{_TAKE_OUT}\nmkdir -p /run/chip; rm -f {LOG}; {mark} {CHIP_MARKER}\n"
                       f"{put_in}")

    def take_out(self) -> None:
        """Take the chip out, if there is one, but keep its log."""
        self._guest.sh(_TAKE_OUT)

    def log(self) -> list[str]:
        """Return the chip's log entries without the times; chipsim.cpp has their format."""
        return [text for _, text in self.timed_log()]

    def timed_log(self) -> list[tuple[float, str]]:
        """Return the log entries with their times, in seconds since the chip was put in."""
        try:
            lines = self._guest.read(LOG).decode().splitlines()
        except FileNotFoundError:
            return []
        return [(float(time), text) for time, _, text in (line.partition(" ") for line in lines)]
