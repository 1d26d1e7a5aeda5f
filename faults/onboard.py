"""The modem and the network behind it, on the simulated board: what the operator sees, and when."""

from __future__ import annotations

import re
import time
from collections.abc import Iterator, Mapping
from contextlib import contextmanager
from functools import partial
from pathlib import Path

from faults.rows import Group, Row, expect
from panel.facts import (AUTO_CONNECT, CHECK_SECONDS, COUNTS, FAILED, FIELDS, GREEN, LINK_STATUS,
                         MISC, PARAMETERS, RED, SETTING, SOON_SECONDS, START_SECONDS, STATUS,
                         STORED, WITHOUT_KEYS, stored_parameters)
from panel.screen import centre
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
    board.program.await_check()


def throw_refused(name: str, *modems: Mapping[str, str], before: str = ":") -> None:
    """One attempt after the other: the notice comes 15 s after pppd was started, whatever the modem
    does."""
    with dialled(name, modems[0], before=before) as board:
        for modem in modems:
            if modem is not modems[0]:
                board.dongle.tell_modem(modem)
                board.panel.press("Connect")
            board.panel.wait(lambda screen: screen.dialog()["text"] == FAILED, CHECK_SECONDS,
                             f"{FAILED} with {modem}")
            board.panel.press("OK")
            board.panel.wait(lambda screen: not screen.has_dialog()
                             and screen.button("Connect")["enabled"], SOON_SECONDS,
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


def throw_pulled(name: str, moment: str, up: bool) -> None:
    """The dongle is pulled; plugged again, it dials when Connect is touched.
    @param moment shell condition at which it is pulled
    @param up whether the link was up then: without it the attempt ends with the notice"""
    with dialled(name, {}) as board:
        if up:
            wait_link(board, "connected", GREEN)
        board.guest.sh(f"until {moment}; do sleep 0.05; done", CHECK_SECONDS)
        board.dongle.unplug()
        if not up:
            board.panel.wait(lambda screen: screen.dialog()["text"] == FAILED, CHECK_SECONDS,
                             FAILED)
            board.panel.press("OK")
        wait_link(board, "disconnected", RED)
        board.dongle.plug()
        board.guest.sh("killall -q pppd; true")
        board.panel.press("Connect")
        wait_link(board, "connected", GREEN)
        alive(board)


def throw_full_disk(name: str) -> None:
    """A save of which half fails, in a process without the inspector, by touches and keys alone."""
    with Board((480, 272), f"faults-{name}") as board:
        board.guest.sh(f"mount -t tmpfs -o size=4k,mode=700 full {Path(PARAMETERS).parent}")
        board.guest.write(PARAMETERS, STORED)  # fills it
        board.dongle.plug()
        board.program.start(WITHOUT_KEYS)
        board.panel.wait(lambda screen: screen.main_window()["visible"], START_SECONDS, "a start")
        field, end = centre(board.panel.field(FIELDS[0])), centre(board.panel.button("Exit"))
        shown = board.photograph("inspected.png").read_bytes()
        board.program.stop()
        board.program.start(WITHOUT_KEYS | {"QT_QPA_GENERIC_PLUGINS": ""})
        deadline = time.monotonic() + START_SECONDS
        while board.records.picture("alone.png").read_bytes() != shown:
            expect(time.monotonic() < deadline, "the same picture without the inspector")
            time.sleep(1)
        board.fingers.touch(*field)
        board.keyboard.press("End")
        board.keyboard.type("2")
        board.fingers.touch(*end)
        expect(board.program.wait_end(SOON_SECONDS) == 0, "exit status 0")
        expect(board.guest.read(PARAMETERS) == STORED.replace(b"internet", b"internet2"), "saved")
        expect(board.guest.run(f"test -e {AUTO_CONNECT}").status != 0, "no room for the other file")


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
    refused: dict[str, list[Mapping[str, str]]] = {
        "silent modem": [{"answer": "silent"}],
        "no carrier, busy, error, no dialtone, no answer, delayed": [
            {"dial": end} for end in ("no-carrier", "busy", "error", "no-dialtone", "no-answer",
                                      "delayed")],
        "ERROR to ATZ, ATI, AT+COPS, AT+CGDCONT": [
            {"refused": command} for command in ("Z", "I", "+COPS", "+CGDCONT")],
        "no SIM, another APN": [{"sim.present": "no"}, {"apn": "elsewhere"}],
        "the network knows another user": [{"auth": "pap", "user": "x", "password": "y"}],
        "CHAP fails": [{"auth": "chap", "user": "operator", "password": "other"}],
        "IPCP is not answered": [{"ipcp": "no"}],
    }
    connected: dict[str, Mapping[str, str]] = {
        "echo stays on": {"answer": "echo"}, "replies in pieces": {"answer": "pieces"},
        "three seconds to connect": {"dial_ms": "3000"},
        "CHAP": {"auth": "chap", "user": "operator", "password": "secret"},
    }
    pulled = {"before the dial command": ("pgrep -x chat", False),
              "while LCP is negotiated": ("pgrep -x netpppd", False),
              "while the link is up": (":", True)}
    return [
        # The longest first.
        Row("wrong PIN, then the PUK is asked for", partial(throw_wrong_pin, "wrong-pin"),
            ordered=REDIALS),
        *(Row(name, partial(throw_refused, name[:20], *modems))
          for name, modems in refused.items()),
        Row("a save on a full disk, no inspector", partial(throw_full_disk, "full-disk")),
        *(Row(f"the dongle is pulled {name}", partial(throw_pulled, f"pulled {name}", *how))
          for name, how in pulled.items()),
        *(Row(name, partial(throw_connected, name, modem)) for name, modem in connected.items()),
        Row("LCP is not answered", partial(
            throw_refused, "lcp", {},
            before=f"(until {FREEZE}; do sleep 0.05; done) >/dev/null 2>&1 &")),
        Row("the network drops the call", partial(
            throw_ended, "drop", GONE, {"drop_after_s": "25"})),
        Row("LCP echoes are not answered", partial(
            throw_ended, "echo", f"{FREEZE}; {GONE}", {}, ECHOES)),
        Row("the network answers nothing any more", partial(
            throw_silenced, "silenced"), ordered=SILENT),
        Row("ERROR to AT+CPIN", partial(throw_connected, "pin-error", {"refused": "+CPIN"}, PIN)),
    ]


# Most of a row is waiting.
GROUPS = [Group("board", "modem and network, on the simulated board", rows, at_once=5)]
