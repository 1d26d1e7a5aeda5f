"""The modem and the network behind it, on the simulated board: what the operator sees, and when."""

from __future__ import annotations

import re
import time
from collections.abc import Iterator, Mapping
from contextlib import contextmanager
from functools import partial

from faults.rows import Group, Row, expect
from panel.facts import (CHECK_SECONDS, COUNTS, FAILED, GREEN, LINK_STATUS, MISC, PARAMETERS, RED,
                         SETTING, SOON_SECONDS, START_SECONDS, STATUS, STORED, WITHOUT_KEYS,
                         stored_parameters)
from virtualboard.board import Board
from virtualboard.dongle import MODEM_LOG

PIN = stored_parameters(user="operator", password="secret", pin="1234")
WRONG_PIN = stored_parameters(user="operator", password="secret", pin="1111")
FREEZE = "pkill -STOP -x netpppd"  # the network's end of the link
PIN_TRIES = 3  # of a SIM
REDIALS = ("a wrong PIN is tried again by pppd (persist) some 33 s later: one press of Connect "
           "spends the SIM's three tries in two minutes, unless Disconnect is touched")
SILENT = ("a link on which nothing comes back stays shown as connected until pppd gives it up, two "
          "minutes later with Debian's options")
GONE = "until ! ifconfig | grep -q ppp; do sleep 0.2; done"
ECHOES = "printf 'lcp-echo-interval 2\\nlcp-echo-failure 2\\n' >>/etc/ppp/options"


@contextmanager
def dialled(name: str, modem: Mapping[str, str], parameters: bytes = STORED,
            before: str = ":") -> Iterator[Board]:
    """A board on which Connect has been touched. @param before shell commands just before that"""
    with Board((480, 272), f"faults-{re.sub('[^a-z0-9]+', '-', name.lower())}") as board:
        board.dongle.tell_modem(modem)
        board.dongle.plug()
        board.guest.write(PARAMETERS, parameters)
        board.program.start(WITHOUT_KEYS)
        board.panel.wait(lambda screen: screen.main_window()["visible"], START_SECONDS, "a start")
        board.panel.open_tab(MISC)  # an edit there has both generated files written
        board.panel.fill(COUNTS, "7")
        board.panel.open_tab(SETTING)
        board.guest.sh(before)
        board.panel.press("Connect")
        yield board


def alive(board: Board) -> None:
    """It takes touches, and Exit ends it."""
    board.panel.open_tab(STATUS)
    board.panel.press("Exit")
    expect(board.program.wait_end(SOON_SECONDS) == 0, "exit status 0")


def wait_link(board: Board, text: str, style: str) -> None:
    board.panel.open_tab(STATUS)
    board.panel.wait(lambda screen: (screen.value(LINK_STATUS)["text"],
                                     screen.value(LINK_STATUS)["style"]) == (text, style),
                     CHECK_SECONDS, f"{text} in {style}")


def throw_refused(name: str, modem: Mapping[str, str], before: str = ":") -> None:
    """The notice comes 15 s after pppd was started, whatever the modem does."""
    with dialled(name, modem, before=before) as board:
        board.panel.wait(lambda screen: screen.dialog()["text"] == FAILED, CHECK_SECONDS, FAILED)
        board.panel.press("OK")
        board.panel.wait(lambda screen: screen.button("Connect")["enabled"], SOON_SECONDS,
                         "Connect enabled")
        alive(board)


def throw_connected(name: str, modem: Mapping[str, str], parameters: bytes = STORED) -> None:
    with dialled(name, modem, parameters) as board:
        wait_link(board, "connected", GREEN)
        alive(board)


def throw_ended(name: str, end: str, modem: Mapping[str, str], before: str = ":") -> None:
    """A link that ends: shown without a touch, as pppd's scripts tell the panel.
    @param end shell commands that end with the link"""
    with dialled(name, modem, before=before) as board:
        wait_link(board, "connected", GREEN)
        board.guest.sh(end, CHECK_SECONDS)
        wait_link(board, "disconnected", RED)
        alive(board)


def throw_silenced(name: str) -> None:
    """A link on which nothing comes back: shown as connected as long as pppd takes it for one."""
    with dialled(name, {}) as board:
        wait_link(board, "connected", GREEN)
        board.guest.sh(f"{FREEZE}; kill -USR1 {board.program.pid()}; sleep 3", SOON_SECONDS)
        expect(board.panel.value(LINK_STATUS)["text"] == "connected", "pppd has its interface")
        board.guest.sh("killall pppd")
        wait_link(board, "disconnected", RED)
        alive(board)


def throw_wrong_pin(name: str) -> None:
    """The operator is told after 15 s; pppd goes on until the SIM is locked."""
    with dialled(name, {"sim.pin": "4321"}, WRONG_PIN) as board:
        board.panel.wait(lambda screen: screen.dialog()["text"] == FAILED, CHECK_SECONDS, FAILED)
        deadline = time.monotonic() + 5 * CHECK_SECONDS
        while board.guest.read(MODEM_LOG).count(b"heard \"AT+CPIN=") < PIN_TRIES:
            expect(time.monotonic() < deadline, "three tries")
            board.guest.sh("sleep 5", SOON_SECONDS)
        board.panel.press("OK")
        alive(board)


def rows() -> list[Row]:
    refused: dict[str, Mapping[str, str]] = {
        "silent modem": {"answer": "silent"}, "no carrier": {"dial": "no-carrier"},
        "busy": {"dial": "busy"}, "error at the dial command": {"dial": "error"},
        "no dialtone": {"dial": "no-dialtone"}, "no answer": {"dial": "no-answer"},
        "delayed": {"dial": "delayed"}, "no SIM": {"sim.present": "no"},
        "the network knows another user": {"auth": "pap", "user": "x", "password": "y"},
        "CHAP fails": {"auth": "chap", "user": "operator", "password": "other"},
        "another APN": {"apn": "elsewhere"},
        **{f"ERROR to AT{command}": {"refused": command}
           for command in ("Z", "I", "+COPS", "+CGDCONT")},
        "IPCP is not answered": {"ipcp": "no"},
    }
    connected: dict[str, Mapping[str, str]] = {
        "echo stays on": {"answer": "echo"}, "replies in pieces": {"answer": "pieces"},
        "three seconds to connect": {"dial_ms": "3000"},
        "CHAP": {"auth": "chap", "user": "operator", "password": "secret"},
    }
    return [
        *(Row(name, partial(throw_refused, name, modem)) for name, modem in refused.items()),
        *(Row(name, partial(throw_connected, name, modem)) for name, modem in connected.items()),
        Row("LCP is not answered", partial(
            throw_refused, "lcp", {}, f"(until {FREEZE}; do sleep 0.05; done) >/dev/null 2>&1 &")),
        Row("the network drops the call", partial(
            throw_ended, "drop", GONE, {"drop_after_s": "25"})),
        Row("LCP echoes are not answered", partial(
            throw_ended, "echo", f"{FREEZE}; {GONE}", {}, ECHOES)),
        Row("the network answers nothing any more", partial(
            throw_silenced, "silenced"), ordered=SILENT),
        Row("ERROR to AT+CPIN", partial(throw_connected, "pin-error", {"refused": "+CPIN"}, PIN)),
        Row("wrong PIN, then the PUK is asked for", partial(throw_wrong_pin, "wrong-pin"),
            ordered=REDIALS),
    ]


GROUPS = [Group("board", "modem and network, on the simulated board", rows, at_once=2)]
