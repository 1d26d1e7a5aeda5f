#!/usr/bin/env python3
"""Runs a scripted operator session on the simulated board, with a real dial-up and screenshots."""

import argparse
import contextlib
import os
import subprocess
import sys
import time
from collections.abc import Iterator
from concurrent.futures import Future, ThreadPoolExecutor
from pathlib import Path

from host.architecture import ARCH, ARCHITECTURES, VARIABLE
from host.errors import BoardError
from host.paths import HOST_PACKAGES, ROOT
from host.signals import INTERRUPTED, exit_on_signals
from machine.qemu import VNC_BASE
from panel.catalogue import Texts
from panel.constants import (APN, AUTO_CONNECT, BUTTON_GUARD_SECONDS, CHAT_LOG, CHECK_SECONDS,
                             COUNTS, DIAL, DONGLE_STATUS, FAILED, LANGUAGE, LANGUAGES, LINK_DOWN,
                             LINK_STATUS, LINK_UP, MISC, OLD_LOG, PARAMETERS, PASSWORD, PIN,
                             PPP_LOG, SETTING, SIZES, SOON_SECONDS, START_SECONDS, STATUS,
                             UNDETECTED, USER, stored_parameters)
from panel.screen import PanelError, Screen
from virtualboard import cli
from virtualboard.board import Board
from virtualboard.dongle import NETWORK_NAME

VALUES = {APN: "internet", DIAL: "*99#", USER: "operator", PASSWORD: "Secret-1!", PIN: "1234"}
MODEM = {"sim.pin": VALUES[PIN], "apn": VALUES[APN], "auth": "pap", "user": VALUES[USER],
         "password": VALUES[PASSWORD]}
STORED = stored_parameters(*VALUES.values())
LOOK_SECONDS = 0.5  # interval of the checks whether the program has exited


class Session:
    """The steps of an operator's session, in order. Each prints a line with its duration."""

    def __init__(self, board: Board, language: int) -> None:
        self.board = board
        self.language = language
        self.text = Texts(language)
        self.panel = board.panel
        self.screenshots: list[Path] = []

    def run(self) -> None:
        for step in (self.start_without_dongle, self.plug_in, self.fill_in, self.connect,
                     self.see_connected, self.reach_network, self.check_on_signal,
                     self.disconnect, self.connect_without_dongle, self.plug_in_again,
                     self.fail_to_dial, self.leave):
            with self.timed(str(step.__doc__)):
                step()

    @contextlib.contextmanager
    def timed(self, what: str) -> Iterator[None]:
        started = time.monotonic()
        try:
            yield
        except (BoardError, AssertionError, OSError) as error:
            print(f"  FAILED  {what}: {error}", flush=True)
            with contextlib.suppress(BoardError):
                self.save_screenshot("failed")
            raise BoardError(what) from error
        print(f"{time.monotonic() - started:7.1f} s  {what}", flush=True)

    def save_screenshot(self, name: str) -> None:
        path = self.board.photograph(f"{len(self.screenshots) + 1:02}-{name}.png")
        self.screenshots.append(path)

    def await_link(self, shown: tuple[str, str]) -> None:
        def holds(screen: Screen) -> bool:
            value = screen.value(self.text(LINK_STATUS))
            return (value["text"], value["style"]) == (self.text(shown[0]), shown[1])
        self.panel.wait(holds, CHECK_SECONDS, f"{shown}")

    # Steps -----------------------------------------------------------------------------------

    def start_without_dongle(self) -> None:
        """the panel starts without a dongle: the waiting dialog"""
        self.board.dongle.tell_modem(MODEM)
        self.board.chip.put_in({LANGUAGE: self.language})
        self.board.program.start()
        self.panel.wait(lambda screen: screen.dialog()["text"] == self.text(UNDETECTED),
                        START_SECONDS, "the waiting dialog")
        self.save_screenshot("start-without-dongle")

    def plug_in(self) -> None:
        """the dongle is plugged in: the dialog closes, the setting page is shown"""
        self.board.dongle.plug()
        self.panel.wait(lambda screen: screen.main_window()["visible"] and not screen.has_dialog(),
                        START_SECONDS, "the main window")
        screen = self.panel.screen()
        whole_panel = [0, 0, *self.board.size]
        assert screen.main_window()["rect"] == whole_panel, "the window fills the panel"
        assert not screen.cut_off(), screen.cut_off()

    def fill_in(self) -> None:
        """the parameters are typed on the on-screen keyboard"""
        for label, text in VALUES.items():
            self.panel.touch_in(self.text(label), text)
            if label in (APN, PASSWORD):
                self.save_screenshot("typing-" + label.split()[0].strip(":").lower())
            self.panel.put_keys_away()
        self.panel.open_tab(self.text(MISC))
        self.panel.press(self.text("YES"))
        self.panel.touch_in(self.text(COUNTS), "3")
        self.panel.put_keys_away("Enter")
        self.save_screenshot("misc-setting")
        self.panel.open_tab(self.text(SETTING))
        self.save_screenshot("setting-filled")

    def connect(self) -> None:
        """Connect is touched: the busy bar shows"""
        self.panel.press(self.text("Connect"))
        self.panel.wait(lambda screen: screen.busy_bars(), SOON_SECONDS, "the busy bar")
        assert not self.panel.button(self.text("Connect"))["enabled"], "Connect is disabled"
        self.save_screenshot("busy")

    def see_connected(self) -> None:
        """the link is up: "connected" in green, Disconnect enabled, the setting page disabled"""
        self.panel.open_tab(self.text(STATUS))
        self.await_link(LINK_UP)
        screen = self.panel.screen()
        dongle = screen.value(self.text(DONGLE_STATUS))["text"]
        assert dongle == self.text("detected"), f"the dongle is {dongle!r}"
        assert screen.button(self.text("Disconnect"))["enabled"], "Disconnect is enabled"
        assert not screen.busy_bars(), "the busy bar is hidden"
        self.save_screenshot("connected")
        self.panel.open_tab(self.text(SETTING))
        assert not self.panel.field(self.text(APN))["enabled"], "the setting page is disabled"
        self.save_screenshot("setting-disabled")

    def reach_network(self) -> None:
        """the default route is over ppp0, a name is resolved and pinged over the link"""
        routes = self.board.guest.sh("ip route show default")
        assert "dev ppp0" in routes, f"the default route is over ppp0: {routes!r}"
        self.board.guest.sh(f"ping -c 3 -i 0.3 -W 5 {NETWORK_NAME}", seconds=30)

    def check_on_signal(self) -> None:
        """SIGUSR1 requests a link check: the program restores the lost default route"""
        self.board.guest.sh("ip route del default")
        self.board.guest.sh(
            f"kill -USR1 {self.board.program.pid()}; "
            "until ip route show default | grep -q 'dev ppp0'; do sleep 0.1; done", SOON_SECONDS)

    def disconnect(self) -> None:
        """Disconnect is touched: "disconnected" in red"""
        self.board.program.await_check()
        self.panel.open_tab(self.text(STATUS))
        self.panel.press(self.text("Disconnect"))
        self.await_link(LINK_DOWN)
        assert self.panel.button(self.text("Connect"))["enabled"], "Connect is enabled"
        assert self.board.guest.run("pgrep -x pppd").status != 0, "no pppd is left"
        self.save_screenshot("disconnected")

    def connect_without_dongle(self) -> None:
        """the dongle is pulled and Connect is touched: the waiting dialog"""
        self.board.dongle.unplug()
        self.board.dongle.tell_modem(MODEM | {"dial": "busy"})
        self.panel.open_tab(self.text(SETTING))
        self.panel.press(self.text("Connect"))
        self.panel.wait(lambda screen: screen.dialog()["text"] == self.text(UNDETECTED),
                        SOON_SECONDS, "the waiting dialog")
        self.save_screenshot("waiting-for-dongle")

    def plug_in_again(self) -> None:
        """the dongle is plugged in again: the connection attempt continues by itself"""
        self.board.dongle.plug()
        self.panel.wait(lambda screen: not screen.has_dialog(), SOON_SECONDS, "the dialog closed")
        self.board.guest.sh("until pgrep -x pppd >/dev/null; do sleep 0.1; done", SOON_SECONDS)

    def fail_to_dial(self) -> None:
        """the network is busy: the notice, then the setting page is enabled again"""
        self.panel.wait(lambda screen: screen.dialog()["text"] == self.text(FAILED), CHECK_SECONDS,
                        "the notice")
        self.save_screenshot("connect-failed")
        page = self.board.directory / "doctor.txt"
        page.write_text(self.board.guest.run("corvanta-doctor").text, encoding="utf-8")
        print(f"diagnosis  {page.relative_to(ROOT)}", flush=True)
        self.board.guest.sh(f"sleep {BUTTON_GUARD_SECONDS}")
        self.panel.press(self.text("OK"))
        self.panel.wait(lambda screen: not screen.has_dialog()
                        and screen.field(self.text(APN))["enabled"],
                        SOON_SECONDS, "the setting page")
        self.panel.touch_in(self.text(APN), "internet2")
        self.panel.put_keys_away()

    def leave(self) -> None:
        """Exit is touched: logs are rotated, parameters saved, and the program exits"""
        self.panel.press(self.text("Exit"))
        assert self.board.program.wait_end(SOON_SECONDS) == 0, "exit status 0"
        guest = self.board.guest
        saved = guest.read(PARAMETERS)
        assert saved == STORED.replace(b"internet", b"internet2"), f"saved: {saved!r}"
        saved = guest.read(AUTO_CONNECT)
        assert saved == b"0\n3\n", f"saved: {saved!r}"
        assert b"Connect: ppp0" in guest.read(PPP_LOG + OLD_LOG), "the old log is of this run"
        guest.sh(f"test -e {CHAT_LOG}{OLD_LOG}")  # the log is empty if pppd was redialling
        guest.sh("killall pppd")  # pppd keeps running after Exit
        self.save_screenshot("ended")


class Gallery:
    """Screenshots of the main screens in every language, on a separate board per panel size."""

    def __init__(self) -> None:
        self.screenshots: list[Path] = []
        self._boards = [Board(size, f"gallery-{size[0]}x{size[1]}") for size in SIZES]

    def start(self, threads: ThreadPoolExecutor) -> list[Future[None]]:
        return [threads.submit(self._run, board) for board in self._boards]

    def stop(self) -> None:
        """Make the threads end soon. After the run, this has no effect."""
        for board in self._boards:
            board.cut_power()

    def _run(self, board: Board) -> None:
        with board:
            board.guest.write(PARAMETERS, STORED)
            board.dongle.plug()
            for language in LANGUAGES:
                self._photograph(board, language)

    def _photograph(self, board: Board, language: int) -> None:
        text, panel = Texts(language), board.panel
        board.chip.put_in({LANGUAGE: language})
        board.program.start()
        panel.wait(lambda screen: screen.main_window()["visible"], START_SECONDS,
                   f"the main window in {LANGUAGES[language]}")
        for tab, what in ((STATUS, "status"), (MISC, "misc"), (SETTING, "setting")):
            panel.open_tab(text(tab), START_SECONDS)
            faults = panel.screen().cut_off()
            assert not faults, faults
            self._save_screenshot(board, language, what)
        panel.raise_keys(text(PIN), START_SECONDS)
        self._save_screenshot(board, language, "typing")
        board.program.stop()

    def _save_screenshot(self, board: Board, language: int, what: str) -> None:
        name = LANGUAGES[language].lower().replace(" ", "-")
        self.screenshots.append(board.photograph(f"{name}-{what}.png"))


def interactive(board: Board, language: int, port: int) -> None:
    """Let a person operate the panel until the program exits or Ctrl-C."""
    board.chip.put_in({LANGUAGE: language})
    board.dongle.plug()
    board.program.start()
    print(f"Connect a VNC viewer to 127.0.0.1:{port} (display {port - VNC_BASE}). "
          "To end, touch Exit on the panel or press Ctrl-C here.", flush=True)
    try:
        while board.program.status() is None:
            time.sleep(LOOK_SECONDS)
    except KeyboardInterrupt:
        board.records.logs()  # Board does not copy the logs after Ctrl-C, the usual end
        raise


def run_all(size: tuple[int, int], language: int) -> None:
    """Run the session and the gallery in parallel. @raise BoardError if a step fails"""
    gallery = Gallery()
    # The gallery takes what the session leaves of the CPUs: Linux has a nice value per thread.
    with (Board(size, "session") as board,
          ThreadPoolExecutor(initializer=os.nice, initargs=(10,)) as threads):
        running = gallery.start(threads)
        session = Session(board, language)
        try:
            session.run()
            with session.timed("the main screens in every language on every panel"):
                for photographed in running:
                    photographed.result()
        finally:
            gallery.stop()
            for path in (*session.screenshots, *gallery.screenshots):
                print(f"screenshot {path.relative_to(ROOT)}")
            print(f"logs       {board.directory.relative_to(ROOT)}", flush=True)


def build() -> int:
    """Install packages and build what a board needs.

    @return 0, or the exit status of a failed command"""
    for command in (["tools/install-packages", "tools/packages-build.txt", str(HOST_PACKAGES)],
                    ["tools/build-board"]):
        if status := subprocess.run(command, cwd=ROOT, check=False).returncode:
            return status
    return 0


def arguments() -> argparse.Namespace:
    parser = argparse.ArgumentParser(prog="run", description=__doc__)
    parser.add_argument("--arch", choices=ARCHITECTURES, default=ARCH.name,
                        help=f"architecture of the board (default: {ARCH.name})")
    cli.add_size(parser)
    cli.add_language(parser)
    parser.add_argument("--interactive", action="store_true",
                        help="keep the panel running for a VNC viewer")
    parser.add_argument("--port", type=int, default=VNC_BASE + 7,
                        help=f"TCP port of the live view (default: {VNC_BASE + 7})")
    return parser.parse_args()


def main() -> int:
    chosen = arguments()
    exit_on_signals()
    if chosen.arch != ARCH.name:  # start again, because modules read ARCH when they are loaded
        os.execve(sys.executable, [sys.executable, "-B", *sys.argv],
                  {**os.environ, VARIABLE: chosen.arch})
    try:
        if status := build():
            return status
        started = time.monotonic()
        if chosen.interactive:
            with Board(chosen.size, "interactive", vnc_port=chosen.port) as board:
                interactive(board, chosen.language, chosen.port)
        else:
            run_all(chosen.size, chosen.language)
            print(f"All steps passed ({time.monotonic() - started:.0f} s).")
    except (BoardError, PanelError, OSError) as error:
        print(f"run: {error}", file=sys.stderr)
        return 1
    except KeyboardInterrupt:
        return INTERRUPTED
    return 0


if __name__ == "__main__":
    sys.exit(main())
