"""The modem and the network behind it, on the simulated board: what the operator sees, and when."""

from __future__ import annotations

import time
from collections.abc import Mapping
from functools import partial
from pathlib import Path

from faults import unplugged
from faults.boards import (SIZE, SharedBoards, alive, check_link, dialled, edited, uptime,
                           wait_link, wait_notice, wait_until)
from faults.rows import Group, Row, expect
from panel.facts import (AUTO_CONNECT, CHAT_SCRIPT, CHECK_SECONDS, FIELDS, FILES, GREEN,
                         LINK_STATUS, PARAMETERS, PEER_FILE, RED, SETTING, SOON_SECONDS,
                         START_SECONDS, STATUS, STORED, WITHOUT_KEYS)
from panel.screen import Screen, centre
from virtualboard.board import Board
from virtualboard.dongle import MODEM_LOG

PIN = "1234"
USER = FIELDS[2]
FREEZE = "pkill -STOP -x netpppd"  # the network's end of the link
# An earlier attempt's may hold the line.
NO_PPPD = "killall -q -KILL pppd chat; while pgrep -x 'pppd|chat'; do sleep 0.1; done"
FIRST_COMMAND = b'heard "ATZ"'
ATTEMPTS = SharedBoards("refused")
SILENT = ("a dead link is shown as connected until the LCP echo requests of pppd time out")
GIVE_UP_SECONDS = 600  # of the host
GIVE_UP = 100, 170  # on the board: Debian's options have four echoes, 30 s apart, go unanswered
HELD_LINE = ("Connect starts pppd immediately after killall. An earlier pppd without an answer "
             "occupies the port for a few more seconds, so the first dial fails, the failure "
             "notice appears, and pppd redials 30 s later")
EXECUTED = "/run/executed"
EXECUTES = ("option injection. pppd runs, as root, a command that follows a space and the word "
            "welcome in a user name, because the peer file is not quoted")
# Seconds on the board from the touch of Connect to the notice: the program waits 15 s from pppd's
# start on.
NOTICE = 14.5, 25
# What was measured on the way, in seconds on the board: for figures().
NOTICES: list[float] = []
GIVEN_UP: list[float] = []
GONE = "[ ! -e /sys/class/net/ppp0 ]"


def see_refusal(board: Board, since: float) -> None:
    """The notice comes 15 s after pppd was started, whatever the modem does; no link is shown.
    @param since the board's uptime at the touch of Connect"""
    board.guest.sh(f"sleep {int(NOTICE[0])}", CHECK_SECONDS)  # each look costs the board time
    wait_notice(board)
    NOTICES.append(uptime(board) - since)
    least, most = NOTICE
    expect(least < NOTICES[-1] < most, f"the notice after {NOTICES[-1]:.1f} s")
    status = board.panel.value(LINK_STATUS)
    expect((status["text"], status["style"]) == ("disconnected", RED), f"the status is {status}")
    board.panel.press("OK")
    board.panel.wait(lambda screen: not screen.has_dialog() and screen.button("Connect")["enabled"],
                     SOON_SECONDS, "Connect enabled")


def throw_refused(modem: Mapping[str, str]) -> None:
    with ATTEMPTS.taken() as board:
        board.guest.sh(NO_PPPD)
        board.dongle.tell_modem(modem)
        heard = board.guest.read(MODEM_LOG).count(FIRST_COMMAND)
        begin = uptime(board)
        board.panel.press("Connect")
        see_refusal(board, begin)
        expect(board.guest.read(MODEM_LOG).count(FIRST_COMMAND) > heard, "the modem was asked")


def throw_first_refused(name: str, modem: Mapping[str, str], pin: str = "",
                        before: str = ":") -> None:
    with dialled(name, modem, pin, before) as board:
        see_refusal(board, uptime(board))
        alive(board)


def throw_last() -> str | None:
    """After attempts that were refused the next one has its link, perhaps by pppd's second dial,
    and Exit ends the program."""
    def seen(screen: Screen) -> str | None:
        if screen.has_dialog():
            return "notice"
        return "link" if screen.value(LINK_STATUS)["text"] == "connected" else None

    with ATTEMPTS.ending() as board:
        board.dongle.tell_modem()
        board.panel.open_tab(STATUS)
        board.panel.press("Connect")
        found = board.panel.wait(seen, CHECK_SECONDS, "the notice or the link")
        if found == "notice":
            board.panel.press("OK")
        wait_link(board, "connected", GREEN)
        alive(board)
        return HELD_LINE if found == "notice" else None


def throw_connected(name: str, modem: Mapping[str, str], pin: str = "") -> None:
    with dialled(name, modem, pin) as board:
        wait_link(board, "connected", GREEN)
        alive(board)


def throw_silenced(name: str) -> None:
    """A link on which nothing comes back: shown as connected as long as pppd takes it for one."""
    with dialled(name, {}) as board:
        wait_link(board, "connected", GREEN)
        board.guest.sh(FREEZE)
        begin = uptime(board)
        check_link(board)
        board.guest.sh("sleep 3")
        expect(board.panel.value(LINK_STATUS)["text"] == "connected", "pppd has its interface")
        wait_until(board, GONE, GIVE_UP_SECONDS)
        GIVEN_UP.append(uptime(board) - begin)
        wait_link(board, "disconnected", RED)
        least, most = GIVE_UP
        expect(least < GIVEN_UP[-1] < most, f"given up after {GIVEN_UP[-1]:.0f} s")
        alive(board)


def throw_full_disk(name: str) -> None:
    """A save of which half fails, in a process without the inspector, by touches and keys alone."""
    with Board(SIZE, f"faults-{name}", logs=False) as board:
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
        board.guest.sh("sleep 1")  # touches and keys come by different ways
        board.keyboard.press("End")
        board.keyboard.type("2")
        board.guest.sh("sleep 1")
        board.fingers.touch(*end)
        expect(board.program.wait_end(SOON_SECONDS) == 0, "exit status 0")
        expect(board.guest.read(PARAMETERS) == STORED.replace(b"internet", b"internet2"), "saved")
        expect(board.guest.run(f"test -e {AUTO_CONNECT}").status != 0, "no room for the other file")


def throw_executed(name: str) -> None:
    """What pppd runs because it stands in the user name, typed on the panel."""
    with edited(name, {}) as board:
        board.panel.open_tab(SETTING)
        board.panel.fill(USER, f'x welcome "id -un >{EXECUTED}"')
        board.panel.press("Connect")
        wait_until(board, f"[ -s {EXECUTED} ]")
        ran_as = board.guest.read(EXECUTED)
        expect(ran_as == b"root\n", f"it ran as {ran_as!r}")
        wait_link(board, "connected", GREEN)
        alive(board)


def expect_own(board: Board, contents: Mapping[str, bytes]) -> None:
    """Files that are root's alone. @param contents by path, what each has in it"""
    for path, content in contents.items():
        owner = board.guest.sh(f"stat -c '%U %G %a' {path}")
        expect(owner == "root root 600\n", f"{path}: {owner}")
        found = board.guest.read(path)
        expect(content in found and b"foreign" not in found, f"{path}: {found!r}")


def throw_foreign(name: str) -> None:
    """All files are another user's: those that Connect and Exit write are root's then."""
    def foreign(*modes: str) -> str:
        return "".join(f"echo foreign >{path}; chown 1000:1000 {path}; chmod {mode} {path}; "
                       for path, mode in zip(FILES, modes, strict=True))

    saved = {PARAMETERS: STORED, AUTO_CONNECT: b"\n7\n"}
    generated = {PEER_FILE: b"\nuser operator\n", CHAT_SCRIPT: b'"internet"'}
    with dialled(name, {}, before=foreign("644", "600", "644", "600")) as board:
        wait_link(board, "connected", GREEN)
        expect_own(board, saved | generated)
        board.guest.sh(foreign("600", "644", "600", "644"))
        alive(board)
        expect_own(board, saved)


REFUSED: dict[str, Mapping[str, str]] = {
    "no SIM": {"sim.present": "no"},
    "CHAP fails": {"auth": "chap", "user": "operator", "password": "other"},
    "another APN": {"apn": "elsewhere"},
    **{f"ERROR to AT{command}": {"refused": command}
       for command in ("Z", "I", "+COPS", "+CGDCONT")},
    "IPCP is not answered": {"ipcp": "no"},
    "replies later than chat waits": {"answer": "slow", "delay_ms": "4000"},
}
CONNECTED: dict[str, Mapping[str, str]] = {
    "slow modem": {"answer": "slow"}, "echo stays on": {"answer": "echo"},
    "pieces, a slow dial, CHAP": {
        "answer": "pieces", "dial_ms": "3000",
        "auth": "chap", "user": "operator", "password": "secret"},
}


def rows() -> list[Row]:
    return [
        Row("a command in the user name", partial(throw_executed, "executed"), ordered=EXECUTES,
            seconds=50),
        Row("files of another owner", partial(throw_foreign, "foreign"), seconds=50),
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
        Row("the network answers nothing any more", partial(throw_silenced, "silenced"),
            ordered=SILENT, seconds=200),
        *unplugged.rows(),
    ]


def last() -> list[Row]:
    return [Row("a link after attempts that were refused", throw_last)] if ATTEMPTS.up() else []


def figures() -> list[str]:
    def listed(seconds: list[float]) -> str:
        return ", ".join(f"{number:.0f}" for number in seconds) + " s"

    return [text for times, text in (
        (NOTICES, f"failure notice: {min(NOTICES, default=0):.1f} to "
         f"{max(NOTICES, default=0):.1f} s after Connect ({len(NOTICES)} attempts)"),
        (GIVEN_UP, f"link without answers: dropped by pppd after {listed(GIVEN_UP)}")) if times]


# Most of a row is waiting.
GROUPS = [Group("board", "modem, network and dongle, on the simulated board", rows, at_once=5,
                figures=figures, last=last)]
