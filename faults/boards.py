"""What the rows on the simulated board have in common: how one begins, what is waited for, how it
ends."""

from __future__ import annotations

import re
from collections.abc import Iterator, Mapping
from contextlib import ExitStack, contextmanager
from functools import cache
from itertools import count
from pathlib import Path
from queue import Empty, SimpleQueue
from threading import Lock

from faults.rows import expect
from panel.facts import (CHECK_SECONDS, COUNTS, FAILED, FIELDS, LINK_STATUS, MISC, PARAMETERS,
                         SETTING, SOON_SECONDS, START_SECONDS, STATUS, STORED, UNDETECTED,
                         WITHOUT_KEYS)
from virtualboard.board import Board
from virtualboard.program import PID

SIZE = (480, 272)
SAVING = Lock()  # of edited_state()
PIN_FIELD = FIELDS[-1]


def run_name(row: str) -> str:
    return f"faults-{re.sub('[^a-z0-9]+', '-', row.lower())}"


@contextmanager
def off(name: str, modem: Mapping[str, str]) -> Iterator[Board]:
    """A board with stored parameters on which the program does not run and no dongle is plugged in.
    @param name of the row"""
    with Board(SIZE, run_name(name), logs=False) as board:
        board.dongle.tell_modem(modem)
        board.guest.write(PARAMETERS, STORED)
        yield board


def wait_until(board: Board, condition: str, seconds: float = CHECK_SECONDS) -> None:
    """Waits for a shell's condition on the board, where it costs much to start a program."""
    board.guest.sh(f"exec {{never}}<> <(:); until {condition}; do read -rt 0.1 -u $never || :; "
                   "done", seconds)


def wait_shown(board: Board) -> None:
    board.panel.wait(lambda screen: screen.main_window()["visible"] and not screen.has_dialog(),
                     START_SECONDS, "the main window")


def edit(board: Board) -> None:
    """An edit that has both generated files written at the next touch of Connect. The page that is
    left open has least to paint below a busy bar."""
    board.panel.open_tab(MISC)
    board.panel.fill(COUNTS, "7")
    board.panel.open_tab(STATUS)


@cache
def edited_state() -> Path:
    """A saved state of a board on which a touch of Connect dials."""
    with off("edited", {}) as board:
        board.dongle.plug()
        board.program.start(WITHOUT_KEYS)
        wait_shown(board)
        edit(board)
        state = board.folder / "state"
        board.save(state)
        return state


@contextmanager
def edited(name: str, modem: Mapping[str, str]) -> Iterator[Board]:
    """A board on which a touch of Connect dials."""
    with SAVING:
        state = edited_state()
    with Board(SIZE, run_name(name), state=state, logs=False) as board:
        board.dongle.tell_modem(modem)
        yield board


@contextmanager
def dialled(name: str, modem: Mapping[str, str], pin: str = "",
            before: str = ":") -> Iterator[Board]:
    """A board on which Connect has been touched.
    @param pin typed before, if any
    @param before shell commands just before the touch"""
    with edited(name, modem) as board:
        if pin:
            board.panel.open_tab(SETTING)
            board.panel.fill(PIN_FIELD, pin)
            board.panel.open_tab(STATUS)
        board.guest.sh(before)
        board.panel.press("Connect")
        yield board


def uptime(board: Board) -> float:
    """Seconds since the board was switched on, of its own clock: a busy host makes it slow."""
    return float(board.guest.read("/proc/uptime").split()[0])


def wait_undetected(board: Board) -> None:
    board.panel.wait(lambda screen: screen.dialog()["text"] == UNDETECTED, START_SECONDS,
                     "the waiting dialog")


def alive(board: Board) -> None:
    """It takes touches, and Exit ends it."""
    board.panel.open_tab(STATUS)
    board.panel.press("Exit")
    expect(board.program.wait_end(SOON_SECONDS) == 0, "exit status 0")


def wait_value(board: Board, label: str, text: str, style: str) -> None:
    """Waits for a value of the status tab, which is open, without a touch."""
    board.panel.wait(lambda screen: (screen.value(label)["text"], screen.value(label)["style"])
                     == (text, style), CHECK_SECONDS, f"{label} {text} in {style}")


def wait_link(board: Board, text: str, style: str) -> None:
    board.panel.open_tab(STATUS)
    wait_value(board, LINK_STATUS, text, style)
    board.program.await_check()


def check_link(board: Board) -> None:
    """Has the program look at dongle and link, as pppd's scripts do."""
    board.guest.sh(f"kill -USR1 $(<{PID})")


def wait_notice(board: Board) -> None:
    board.panel.wait(lambda screen: screen.dialog()["text"] == FAILED, CHECK_SECONDS, FAILED)


class SharedBoards:
    """Boards that rows of one kind use one after the other, in the same run of the program."""

    def __init__(self, name: str) -> None:
        self._name = name
        self._numbers = count(1)
        self._idle: SimpleQueue[tuple[Board, ExitStack]] = SimpleQueue()

    @contextmanager
    def taken(self) -> Iterator[Board]:
        """A board that a touch of Connect has dial. One on which a row fails is not used again."""
        try:
            board, stack = self._idle.get_nowait()
        except Empty:
            stack = ExitStack()
            board = stack.enter_context(edited(f"{self._name}-{next(self._numbers)}", {}))
        with ExitStack() as failed:
            failed.push(stack)
            yield board
            failed.pop_all()
        self._idle.put((board, stack))

    def up(self) -> bool:
        """Whether rows have left a board behind."""
        return not self._idle.empty()

    @contextmanager
    def ending(self) -> Iterator[Board]:
        """One of these boards; all are taken down."""
        board, stack = self._idle.get_nowait()
        with stack:
            while not self._idle.empty():
                self._idle.get_nowait()[1].close()
            yield board
