"""The F-RAM chip of a simulated board: what it holds, how it fails, what it saw."""

import shlex
from collections.abc import Mapping

from .host import BoardError
from .machine import Board

NODE = "/dev/spidev1.0"
MARKER = "/quenfold/configs/initedFram"  # says that the chip's parameters have been initialised
LANGUAGE = 10                            # the parameter with the language
LANGUAGES = {0: "English", 1: "Traditional Chinese", 2: "Simplified Chinese"}
FAULTS = ("missing", "open", "queries", "transfers", "short", "zeros", "ones", "slow")
SLOW_MS = 1500

_FOLDER = "/run/chip"
_PID = f"{_FOLDER}/pid"
_LOG = f"{_FOLDER}/chip.log"
_OUT = f"{_FOLDER}/chipsim.out"

_TAKE_OUT = f"""
if [ -e {_PID} ]; then
    kill $(<{_PID}) 2>/dev/null
    rm {_PID}
    while [ -c {NODE} ]; do sleep 0.02; done
fi"""


def _put_in(options: list[str]) -> str:
    return f"""
[ -c /dev/cuse ] || modprobe cuse || exit
setsid /app/chipsim --log={_LOG} {shlex.join(options)} </dev/null >{_OUT} 2>&1 &
echo $! >{_PID}
until [ -c {NODE} ]; do
    if ! kill -0 $!; then # it does not like its options
        cat {_OUT}
        exit 1
    fi
    sleep 0.02
done"""


def start_chip(board: Board, parameters: Mapping[int, int] | None = None, *, marker: bool = True,
               fault: str | None = None) -> None:
    """
    Put a chip with a fresh log into the board, in the place of the one before.

    @param parameters  0 to 65535 by index, 0 to 99; the others are 0
    @param marker  whether the file is there without which the panel program does not read the block
    @param fault  one of FAULTS: "missing" is no chip at all, "slow" adds SLOW_MS to every message
    @raise BoardError when there is no such fault or parameter, or the device does not appear
    """
    if fault not in (None, *FAULTS):
        raise BoardError("faults of the chip are " + ", ".join(FAULTS))
    options = [f"--parameter={index}={value}" for index, value in (parameters or {}).items()]
    if fault == "slow":
        options.append(f"--delay={SLOW_MS}")
    elif fault:
        options.append(f"--fault={fault}")
    mark = "touch" if marker else "rm -f"
    put_in = "" if fault == "missing" else _put_in(options)
    # One command: each costs the board noticeable time.
    board.sh(f"{_TAKE_OUT}\nmkdir -p {_FOLDER}; rm -f {_LOG}; {mark} {MARKER}\n{put_in}",
             seconds=30)


def stop_chip(board: Board) -> None:
    """Take the chip out, if there is one; its log stays."""
    board.sh(_TAKE_OUT)


def chip_log(board: Board) -> list[str]:
    """What the chip has seen since it was put in, without the times; see spidev_device.h."""
    return [text for _, text in timed_chip_log(board)]


def timed_chip_log(board: Board) -> list[tuple[float, str]]:
    """The same with each entry's time, in seconds since the chip was put in."""
    lines = board.sh(f"[ ! -e {_LOG} ] || cat {_LOG}").splitlines()
    return [(float(time), text) for time, _, text in (line.partition(" ") for line in lines)]
