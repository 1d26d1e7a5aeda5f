"""The modem and the network behind it, on the simulated board: what the operator sees, and when."""

from __future__ import annotations

import time
from collections.abc import Mapping
from functools import partial
from pathlib import Path

from faults import unplugged
from faults.boards import SIZE, SharedBoards, alive, dialled, uptime, wait_link, wait_notice
from faults.rows import Group, Row, expect
from panel.facts import (AUTO_CONNECT, CHECK_SECONDS, FIELDS, GREEN, LINK_STATUS, PARAMETERS, RED,
                         SOON_SECONDS, START_SECONDS, STORED, WITHOUT_KEYS, stored_parameters)
from panel.screen import centre
from virtualboard.board import Board
from virtualboard.dongle import MODEM_LOG

PIN = stored_parameters(user="operator", password="secret", pin="1234")
WRONG_PIN = stored_parameters(user="operator", password="secret", pin="1111")
FREEZE = "pkill -STOP -x netpppd"  # the network's end of the link
PIN_TRIES = 3  # of a SIM
FIRST_COMMAND = b'heard "ATZ"'
ATTEMPTS = SharedBoards("faults-refused")
NOTICE_LEAST = 14.5  # seconds on the board after the touch of Connect
NOTICES: list[float] = []  # after how many seconds they came
REDIALS = ("a wrong PIN is tried again by pppd (persist) some 33 s later: one press of Connect "
           "spends the SIM's three tries in two minutes, unless Disconnect is touched")
SILENT = ("a link on which nothing comes back stays shown as connected until pppd gives it up, two "
          "minutes later with Debian's options")
GONE = "until ! ifconfig | grep -q ppp; do sleep 0.2; done"
ECHOES = "printf 'lcp-echo-interval 2\\nlcp-echo-failure 2\\n' >>/etc/ppp/options"


def see_refusal(board: Board, since: float) -> None:
    """The notice comes 15 s after pppd was started, whatever the modem does.
    @param since the board's uptime at the touch of Connect"""
    wait_notice(board)
    NOTICES.append(uptime(board) - since)
    expect(NOTICES[-1] > NOTICE_LEAST, f"the notice after {NOTICES[-1]:.1f} s")
    board.panel.press("OK")
    board.panel.wait(lambda screen: not screen.has_dialog() and screen.button("Connect")["enabled"],
                     SOON_SECONDS, "Connect enabled")


def throw_refused(modem: Mapping[str, str]) -> None:
    with ATTEMPTS.taken() as board:
        board.dongle.tell_modem(modem)
        heard = board.guest.read(MODEM_LOG).count(FIRST_COMMAND)
        begin = uptime(board)
        board.panel.press("Connect")
        see_refusal(board, begin)
        expect(board.guest.read(MODEM_LOG).count(FIRST_COMMAND) > heard, "the modem was asked")


def throw_first_refused(name: str, modem: Mapping[str, str], parameters: bytes = STORED,
                        before: str = ":") -> None:
    with dialled(name, modem, parameters, before) as board:
        see_refusal(board, uptime(board))
        alive(board)


def throw_last() -> None:
    """After attempts that were refused the next one has its link, and Exit ends the program."""
    with ATTEMPTS.ending() as board:
        board.dongle.tell_modem()
        board.panel.press("Connect")
        wait_link(board, "connected", GREEN)
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


def throw_full_disk(name: str) -> None:
    """A save of which half fails, in a process without the inspector, by touches and keys alone."""
    with Board(SIZE, f"faults-{name}") as board:
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
        wait_notice(board)
        deadline = time.monotonic() + 5 * CHECK_SECONDS
        while board.guest.read(MODEM_LOG).count(b"heard \"AT+CPIN=") < PIN_TRIES:
            expect(time.monotonic() < deadline, "three tries")
            board.guest.sh("sleep 5", SOON_SECONDS)
        board.panel.press("OK")
        alive(board)


REFUSED: dict[str, Mapping[str, str]] = {
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
CONNECTED: dict[str, Mapping[str, str]] = {
    "echo stays on": {"answer": "echo"}, "replies in pieces": {"answer": "pieces"},
    "three seconds to connect": {"dial_ms": "3000"},
    "CHAP": {"auth": "chap", "user": "operator", "password": "secret"},
}


def rows() -> list[Row]:
    return [
        Row("wrong PIN, then the PUK is asked for", partial(throw_wrong_pin, "wrong-pin"),
            ordered=REDIALS, seconds=120),
        Row("a save on a full disk, no inspector", partial(throw_full_disk, "full-disk"),
            seconds=60),
        *(Row(name, partial(throw_refused, modem), seconds=30) for name, modem in REFUSED.items()),
        Row("the PUK is asked for at once", partial(
            throw_first_refused, "puk", {"sim.pin": "1234", "sim.tries": "0"}, PIN), seconds=50),
        Row("LCP is not answered", partial(
            throw_first_refused, "lcp", {},
            before=f"(until {FREEZE}; do sleep 0.05; done) >/dev/null 2>&1 &"), seconds=50),
        *(Row(name, partial(throw_connected, name, modem), seconds=40)
          for name, modem in CONNECTED.items()),
        Row("ERROR to AT+CPIN", partial(throw_connected, "pin-error", {"refused": "+CPIN"}, PIN),
            seconds=40),
        Row("the network drops the call", partial(
            throw_ended, "drop", GONE, {"drop_after_s": "25"}), seconds=60),
        Row("LCP echoes are not answered", partial(
            throw_ended, "echo", f"{FREEZE}; {GONE}", {}, ECHOES), seconds=50),
        Row("the network answers nothing any more", partial(throw_silenced, "silenced"),
            ordered=SILENT, seconds=50),
        *unplugged.rows(),
    ]


def last() -> list[Row]:
    return [Row("a link after attempts that were refused", throw_last)] * ATTEMPTS.up()


def figures() -> list[str]:
    return [f"{len(NOTICES)} notices of failed attempts: {min(NOTICES):.0f} to {max(NOTICES):.0f} "
            "s after Connect is touched"] if NOTICES else []


# Most of a row is waiting.
GROUPS = [Group("board", "modem, network and dongle, on the simulated board", rows, at_once=5,
                figures=figures, last=last)]
