"""The F-RAM chip of a simulated board: its content, its faults and its log."""

import shlex
from collections.abc import Mapping

from machine.guest import Guest
from panel.constants import CHIP_MARKER

NODE = "/dev/spidev1.0"
LOG = "/run/chip/chip.log"

TAKE_OUT = f"""
if [ -e /run/chip/pid ]; then
    kill $(</run/chip/pid) 2>/dev/null
    rm /run/chip/pid
    while [ -c {NODE} ]; do sleep 0.02; done
fi"""
PUT_IN = f"""
[ -c /dev/cuse ] || modprobe cuse || exit
setsid /app/chipsim {LOG} %s </dev/null >/run/chip/chipsim.out 2>&1 &
echo $! >/run/chip/pid
until [ -c {NODE} ]; do
    if ! kill -0 $!; then
        cat /run/chip/chipsim.out
        exit 1
    fi
    sleep 0.02
done"""


class Chip:
    """The F-RAM chip of a board, which may be missing."""

    def __init__(self, guest: Guest) -> None:
        self._guest = guest

    def put_in(self, parameters: Mapping[int, int], fault: str | None = None) -> None:
        """
        Insert a chip with an empty log; it replaces any earlier chip.

        @param parameters  values, 0 to 65535, by index, 0 to 99; all others are 0
        @param fault  fault of the chip, as in chipsim.cpp
        @raise BoardError when the device does not appear
        """
        words = [fault or "none", *(f"{index}={value}" for index, value in parameters.items())]
        # One command for everything, because each command takes the board noticeable time.
        self._guest.sh(f"{TAKE_OUT}\nmkdir -p /run/chip; rm -f {LOG}; touch {CHIP_MARKER}\n"
                       f"{PUT_IN % shlex.join(words)}")

    def log(self) -> list[str]:
        """Return the entries of the chip's log, in the format described in chipsim.cpp."""
        return self._guest.run(f"cat {LOG} 2>/dev/null").text.splitlines()
