"""The dongle on the simulated board: away, two of them, pulled again and again."""

from __future__ import annotations

import re
from functools import partial

from faults.boards import (alive, check_link, dialled, edit, edited, off, wait_link, wait_notice,
                           wait_shown, wait_undetected, wait_until, wait_value)
from faults.rows import Row, expect
from panel.facts import (DONGLE_PRODUCT, DONGLE_STATUS, DONGLE_VENDOR, GREEN, RED,
                         SETTING, SOON_SECONDS, UNDETECTED, WITHOUT_KEYS)
from virtualboard.board import Board

CYCLES = 20
OTHER_PRODUCT = DONGLE_PRODUCT + 1
SECOND_UDC = "/sys/kernel/config/usb_gadget/second/UDC"
# The dummy host controller has a bus for each dongle.
TWO_BUSES = "modprobe -r dummy_hcd; modprobe dummy_hcd num=2"
SECOND_DONGLE = f"""
set -e
mkdir {SECOND_UDC.removesuffix("/UDC")}
cd {SECOND_UDC.removesuffix("/UDC")}
echo {DONGLE_VENDOR} >idVendor
echo {DONGLE_PRODUCT} >idProduct
mkdir configs/c.1 functions/gser.3
ln -s $PWD/functions/gser.3 configs/c.1/
echo dummy_udc.1 >UDC
"""


def throw_pulled_in_negotiation(name: str) -> None:
    """Pull the dongle while LCP is negotiated; plugged again, it dials when Connect is touched."""
    with dialled(name, {}) as board:
        wait_until(board, "pgrep -x netpppd")
        board.dongle.unplug()
        wait_notice(board)
        board.panel.press("OK")
        wait_link(board, "disconnected", RED)
        board.dongle.plug()
        board.guest.sh("killall -q pppd; true")
        board.panel.press("Connect")
        wait_link(board, "connected", GREEN)
        alive(board)


def throw_away_at_connect(name: str) -> None:
    """The dialog stays for another dongle, and for one that is pulled again; then it dials."""
    with edited(name, {}) as board:
        board.dongle.unplug()
        board.panel.press("Connect")
        wait_undetected(board)
        board.dongle.plug(product=OTHER_PRODUCT)
        board.guest.sh("sleep 3")
        expect(board.panel.dialog()["text"] == UNDETECTED, "it stays for another dongle")
        board.dongle.unplug()
        board.dongle.plug(ports=0)
        board.panel.wait(lambda screen: screen.busy_bars() and not screen.has_dialog(),
                         SOON_SECONDS, "the wait for the node")
        board.dongle.unplug()
        board.guest.sh("sleep 3")
        expect(board.guest.run("pgrep -x pppd").status != 0, "nothing is dialled")
        board.dongle.plug()
        wait_link(board, "connected", GREEN)
        alive(board)


def wait_dongle(board: Board, text: str, style: str) -> None:
    """Has the program look at the dongle, and waits for what it shows."""
    check_link(board)
    wait_value(board, DONGLE_STATUS, text, style)


def throw_two(name: str) -> None:
    """Two of the same kind: the first is dialled; one that stays counts as detected."""
    with off(name, {}) as board:
        board.guest.sh(TWO_BUSES)
        board.dongle.plug()
        board.guest.sh(SECOND_DONGLE)
        wait_until(board, "[ -c /dev/ttyUSB3 ]")
        board.program.start(WITHOUT_KEYS)
        wait_shown(board)
        edit(board)
        board.panel.press("Connect")
        wait_link(board, "connected", GREEN)
        board.guest.sh("dongle pulled")
        wait_until(board, "[ ! -e /dev/ttyUSB0 ]")
        wait_link(board, "disconnected", RED)
        wait_dongle(board, "detected", GREEN)
        board.guest.sh(f"echo >{SECOND_UDC}")
        wait_until(board, "[ ! -e /dev/ttyUSB3 ]")
        wait_dongle(board, "undetected", RED)
        alive(board)


def throw_cycles(name: str) -> None:
    """Pulled and plugged again and again: it is noticed, it dials as before, and no more is open
    than before."""
    def open_now() -> list[str]:
        found = board.guest.sh(f"ls -l /proc/{board.program.pid()}/fd")
        return sorted(re.findall("-> (.*)", found))

    with edited(name, {}) as board:
        before = open_now()
        for _ in range(CYCLES):
            board.dongle.unplug()
            wait_dongle(board, "undetected", RED)
            board.dongle.plug()
            wait_dongle(board, "detected", GREEN)
        board.guest.sh("sleep 3")
        expect(open_now() == before, f"open: {before}, then {open_now()}")
        board.panel.open_tab(SETTING)
        board.panel.press("Connect")
        wait_link(board, "connected", GREEN)
        alive(board)


def rows() -> list[Row]:
    return [
        Row(f"the dongle is pulled {CYCLES} times", partial(throw_cycles, "cycles"), seconds=150),
        Row("two dongles", partial(throw_two, "two"), seconds=60),
        Row("the dongle is away at Connect", partial(throw_away_at_connect, "away"), seconds=70),
        Row("the dongle is pulled while LCP is negotiated",
            partial(throw_pulled_in_negotiation, "pulled"), seconds=60),
    ]
