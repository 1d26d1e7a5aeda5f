"""Dates after 2038 and files over 2 GiB: a clock in 2040, and files of 3 GiB."""

import re
import subprocess

from boardtest import OperatedBoard
from host.paths import ARM
from panel.constants import (APN, AUTO_CONNECT, CHAT_SCRIPT, CHECK_SECONDS, COUNTS, LOGS, OLD_LOG,
                             PARAMETERS, PEER_FILE, PPP_LOG, STORED, STORED_AUTO, USER)

HUGE = 3 << 30  # bytes
# Functions of the C library that support neither large files nor dates after 2038 on 32-bit boards.
NARROW = re.compile(r" U (stat|fstat|lstat|fstatat|open|openat|lseek|ftruncate|pread|pwrite|mmap|"
                    r"time|gettimeofday|clock_gettime|utimensat)(@|$)", re.MULTILINE)


def test_narrow_functions() -> None:
    """No program of the package imports one of them."""
    for name in ("app/corvanta", "app/provision/corvanta-provision",
                 "app/plugins/corvanta/libcorvantahttpprobe.so"):
        names = subprocess.run(["arm-linux-gnueabihf-nm", "-D", ARM / name], check=True,
                               capture_output=True, text=True).stdout
        assert " U " in names
        assert NARROW.findall(names) == []


def date_2040(board: OperatedBoard, *paths: str) -> None:
    for path in paths:
        assert board.sh(f"touch -d 2040-01-01 {path}; date -r {path} +%Y") == "2040\n"


def test_files_dated_2040(board: OperatedBoard) -> None:
    """Show, save, generate, dial with and rotate files that are dated 2040."""
    old = {PARAMETERS: STORED, AUTO_CONNECT: STORED_AUTO, PEER_FILE: b"old\n",
           CHAT_SCRIPT: b"old\n"}
    for path, content in old.items():
        board.guest.write(path, content)
    date_2040(board, *old)
    board.dongle.plug()
    board.start_program()
    assert board.panel.field(USER)["text"] == "operator"
    assert board.panel.field(COUNTS)["text"] == "5"
    board.panel.fill(APN, "later")
    board.panel.press("Connect")
    board.wait_checked()
    saved = {PARAMETERS: STORED.replace(b"internet", b"later"), AUTO_CONNECT: STORED_AUTO}
    for path, content in saved.items():
        assert board.guest.read(path) == content
    assert b"\nuser operator\n" in board.guest.read(PEER_FILE)
    assert b'"later"' in board.guest.read(CHAT_SCRIPT)
    board.panel.press("Disconnect")
    board.wait_down()
    date_2040(board, *old, *LOGS)
    board.panel.press("Connect")  # the generated files are the same except for their date
    board.wait_checked()
    board.panel.press("Disconnect")
    board.wait_down()
    date_2040(board, *LOGS)
    board.leave()
    for log in LOGS:
        assert board.sh(f"ls {log}*; date -r {log}{OLD_LOG} +%Y") == f"{log}{OLD_LOG}\n2040\n"
    for path, content in saved.items():
        assert board.guest.read(path) == content


def test_large_files(board: OperatedBoard) -> None:
    """Show and save a parameter file of 3 GiB, and rotate a log of 3 GiB."""
    board.dongle.plug()
    board.guest.write(PARAMETERS, STORED)
    board.sh(f"truncate -s {HUGE} {PARAMETERS} {PPP_LOG}")
    board.start_program()
    assert board.panel.field(USER)["text"] == "operator"
    board.panel.fill(APN, "large")
    board.leave()
    assert board.guest.read(PARAMETERS) == STORED.replace(b"internet", b"large")
    assert int(board.sh(f"stat -c %s {PPP_LOG}{OLD_LOG}; rm {PPP_LOG}{OLD_LOG}")) == HUGE


def test_clock_steps_in_an_attempt(board: OperatedBoard) -> None:
    """Set the clock to 2040 during an attempt. The link check still runs and shows its result."""
    board.provide()
    board.panel.fill(APN, "later")
    board.panel.press("Connect")
    board.wait_for("pgrep -x pppd")
    # In 2040 the board's own shell, pppd and systemd do not work: they use old calls of the C
    # library, which fail for files of that date.
    board.sh("date -s 2040-01-01 >/dev/null")
    board.wait("the link check", CHECK_SECONDS, lambda screen: screen.has_dialog()
               or screen.button("Disconnect")["enabled"])
    assert b"later" in board.guest.read(PARAMETERS)
