#!/usr/bin/env python3
"""An operator's session on the simulated board: touches, a real dial-up, and pictures of it all."""

import argparse
import signal
import sys
import time
from collections.abc import Callable
from concurrent.futures import ThreadPoolExecutor
from contextlib import contextmanager
from pathlib import Path
from typing import Any, Iterator

from boardlib import qemu
from boardlib.catalogue import Texts
from boardlib.chip import LANGUAGE, LANGUAGES, start_chip
from boardlib.cli import size_of
from boardlib.host import BoardError
from boardlib.machine import KEYBOARD, Board
from boardlib.panel import PanelError, Screen

NETWORK_ADDRESS = "203.0.113.7"  # a host behind the simulated network
VALUES = {"APN NAME:": "internet", "Dial Num:": "*99#", "USER:": "operator",
          "PASSWORD:": "Secret-1!", "PinCode:": "1234"}
MODEM = {"sim.pin": "1234", "apn": "internet", "auth": "pap", "user": "operator",
         "password": "Secret-1!"}
CHECK_SECONDS = 60  # for what the panel does after 15 s: a busy host slows the board's clock
GREEN, RED = "color:green;", "color:red;"
UNDETECTED = "Undetected dongle,Please plugin and wait a moment!"
FAILED = "Connect Fail! Please Check the Parameter And Try Again!"
PARAMETERS = "internet\n*99#\noperator\nSecret-1!\n1234\n0\n"
SOON = 30
START_SECONDS = 120  # for a start of the panel while other boards run as well


class SessionError(Exception):
    """A step did not hold."""


def expect(holds: Any, what: str) -> None:
    if not holds:
        raise SessionError(what)


class Session:
    """The steps, in an operator's order. Each prints a line with the time it took."""

    def __init__(self, board: Board, language: int) -> None:
        self.board = board
        self.language = language
        self.text = Texts(language)
        self.panel = board.panel
        self.pictures: list[Path] = []

    def run(self) -> None:
        for step in (self.start_without_stick, self.plug_in, self.fill_in, self.connect,
                     self.see_connected, self.reach_network, self.check_on_signal,
                     self.disconnect, self.connect_without_stick, self.plug_in_again,
                     self.fail_to_dial, self.leave):
            with self.timed(str(step.__doc__)):
                step()

    @contextmanager
    def timed(self, what: str) -> Iterator[None]:
        started = time.monotonic()
        try:
            yield
        except (BoardError, PanelError, SessionError, OSError) as error:
            print(f"  FAILED  {what}: {error}", flush=True)
            self.picture("failed")
            raise SessionError(what) from error
        print(f"{time.monotonic() - started:7.1f} s  {what}", flush=True)

    def picture(self, name: str) -> None:
        path = self.board.shot(f"{len(self.pictures) + 1:02}-{name}.png")
        self.pictures.append(path)

    def await_screen(self, what: str, seconds: float, holds: Callable[[Screen], Any]) -> None:
        self.panel.wait(holds, seconds, what)

    def await_link(self, text: str, style: str, seconds: float) -> None:
        def holds(screen: Screen) -> bool:
            value = screen.value(self.text("PPP Status:"))
            return value["text"] == self.text(text) and value["style"] == style
        self.await_screen(f"{text!r} in {style}", seconds, holds)

    # Steps -----------------------------------------------------------------------------------

    def start_without_stick(self) -> None:
        """the panel starts without a stick: the waiting dialog"""
        self.board.modem(MODEM)
        start_chip(self.board, {LANGUAGE: self.language})
        self.board.start_panel(KEYBOARD)
        self.await_screen("the waiting dialog", START_SECONDS,
                          lambda screen: screen.dialog()["text"] == self.text(UNDETECTED))
        self.picture("start-without-stick")

    def plug_in(self) -> None:
        """the stick is plugged: the dialog goes, the setting page comes"""
        self.board.plug()
        self.await_screen("the main window", START_SECONDS,
                          lambda screen: screen.main_window()["visible"]
                          and not screen.has_dialog())
        screen = self.panel.screen()
        expect(tuple(screen.main_window()["rect"]) == (0, 0, *self.board.size),
               "the window is exactly the panel")
        expect(not screen.cut_off(), f"nothing is cut off: {screen.cut_off()}")

    def fill_in(self) -> None:
        """the parameters are typed on the drawn keys"""
        for label, text in VALUES.items():
            self.panel.touch_in(self.text(label), text)
            if label in ("APN NAME:", "PASSWORD:"):
                self.picture("typing-" + label.split()[0].strip(":").lower())
            self.panel.put_keys_away()
        self.panel.open_tab(self.text("Misc Setting"))
        self.panel.press(self.text("YES"))
        self.panel.touch_in(self.text("Counts:"), "3")
        self.panel.put_keys_away("Enter")
        self.picture("misc-setting")
        self.panel.open_tab(self.text("3G/4G Setting"))
        self.picture("setting-filled")

    def connect(self) -> None:
        """Connect is touched: the busy bar shows and moves"""
        self.panel.press(self.text("Connect"))
        self.await_screen("the busy bar", SOON, lambda screen: screen.busy_bars())
        screen = self.panel.screen()
        expect(not screen.button(self.text("Connect"))["enabled"], "Connect is disabled")
        expect(not screen.field(self.text("APN NAME:"))["enabled"], "the setting page is disabled")
        self.picture("busy")
        first = self.pictures[-1].read_bytes()
        moving = self.board.shot("busy-later.png")
        deadline = time.monotonic() + 3
        while moving.read_bytes() == first:
            expect(time.monotonic() < deadline, "the busy bar moves")
            moving = self.board.shot("busy-later.png")
        moving.unlink()

    def see_connected(self) -> None:
        """the link is up: "connected" in green, Disconnect enabled, the setting page disabled"""
        self.panel.open_tab(self.text("3G/4G Status"))
        self.await_link("connected", GREEN, CHECK_SECONDS)
        screen = self.panel.screen()
        expect(screen.value(self.text("Dongle Status:"))["text"] == self.text("detected"),
               "the dongle is detected")
        expect(screen.button(self.text("Disconnect"))["enabled"], "Disconnect is enabled")
        expect(not screen.button(self.text("Connect"))["enabled"], "Connect is disabled")
        expect(not screen.busy_bars(), "the busy bar has gone")
        self.picture("connected")
        self.panel.open_tab(self.text("3G/4G Setting"))
        expect(not self.panel.field(self.text("APN NAME:"))["enabled"],
               "the setting page is disabled")
        self.picture("setting-disabled")

    def reach_network(self) -> None:
        """the default route leads over ppp0, and a ping crosses the link"""
        routes = self.board.sh("ip route show default")
        expect("dev ppp0" in routes, f"the default route is over ppp0: {routes!r}")
        self.board.sh(f"ping -c 3 -i 0.3 -W 5 {NETWORK_ADDRESS}", seconds=30)

    def check_on_signal(self) -> None:
        """SIGUSR1 makes the panel check the link: it sets the lost default route again"""
        self.board.sh("ip route del default")
        self.board.sh(f"kill -USR1 {self.board.panel_pid()}; "
                      "until ip route show default | grep -q 'dev ppp0'; do sleep 0.1; done",
                      seconds=SOON)

    def disconnect(self) -> None:
        """Disconnect is touched: "disconnected" in red"""
        self.panel.open_tab(self.text("3G/4G Status"))
        self.panel.press(self.text("Disconnect"))
        self.await_link("disconnected", RED, CHECK_SECONDS)
        expect(self.panel.button(self.text("Connect"))["enabled"], "Connect is enabled")
        expect(self.board.run("pgrep -x pppd").status != 0, "no pppd is left")
        self.picture("disconnected")

    def connect_without_stick(self) -> None:
        """the stick is pulled and Connect touched: the waiting dialog"""
        self.board.unplug()
        self.board.modem(MODEM | {"dial": "busy"})
        self.panel.open_tab(self.text("3G/4G Setting"))
        self.panel.press(self.text("Connect"))
        self.await_screen("the waiting dialog", SOON,
                          lambda screen: screen.dialog()["buttons"] == ["Close"])
        self.picture("waiting-for-stick")

    def plug_in_again(self) -> None:
        """the stick is plugged again: the attempt goes on by itself"""
        self.board.plug()
        self.await_screen("the dialog gone", SOON, lambda screen: not screen.has_dialog())
        self.board.sh("until pgrep -x pppd >/dev/null; do sleep 0.1; done", seconds=SOON)

    def fail_to_dial(self) -> None:
        """the network is busy: the notice, and the setting page is back"""
        self.await_screen("the notice", CHECK_SECONDS,
                          lambda screen: screen.dialog()["text"] == self.text(FAILED))
        self.picture("connect-failed")
        self.panel.press(self.text("OK"))
        self.await_screen("the setting page", SOON, lambda screen: not screen.has_dialog()
                          and screen.field(self.text("APN NAME:"))["enabled"])
        self.panel.touch_in(self.text("APN NAME:"), "internet2")
        self.panel.put_keys_away()

    def leave(self) -> None:
        """Exit is touched: logs rotated, parameters saved, the program ended"""
        self.panel.press(self.text("Exit"))
        expect(self.board.wait_panel_end(SOON) == 0, "exit status 0")
        saved = self.board.read("/quenfold/configs/3gparam").decode()
        expect(saved == PARAMETERS.replace("internet", "internet2"), f"saved: {saved!r}")
        saved = self.board.read("/quenfold/configs/autoparam").decode()
        expect(saved == "0\n3\n", f"saved: {saved!r}")
        expect(b"Connect: ppp0" in self.board.read("/etc/ppp/ppp.log.old"),
               "the old log is the log of this run")
        self.board.sh("test -e /etc/ppp/chat.log.old")  # empty, if pppd was just dialling again
        self.board.sh("killall pppd") # The link stays for the operator; here nobody needs it.
        self.picture("ended")


class Gallery:
    """The key screens in every language on every panel, on boards of their own."""

    def __init__(self) -> None:
        self.pictures: list[Path] = []
        self.wanted = True  # cleared when nobody waits for the pictures any more

    def run(self) -> None:
        for size in qemu.SIZES:
            if not self.wanted:
                return
            with Board(size, f"gallery-{size[0]}x{size[1]}") as board:
                board.write("/quenfold/configs/3gparam", PARAMETERS.encode())
                for language, name in LANGUAGES.items():
                    self.photograph(board, Texts(language), language, name)

    def photograph(self, board: Board, text: Texts, language: int, name: str) -> None:
        start_chip(board, {LANGUAGE: language})
        board.start_panel(KEYBOARD)
        board.panel.wait(lambda screen: screen.dialog()["text"] == text(UNDETECTED),
                         START_SECONDS, f"the waiting dialog in {name}")
        self.picture(board, name, "waiting")
        board.plug()
        board.panel.wait(lambda screen: screen.main_window()["visible"]
                         and not screen.has_dialog(), START_SECONDS, "the main window")
        for tab, what in (("3G/4G Status", "status"), ("Misc Setting", "misc"),
                          ("3G/4G Setting", "setting")):
            board.panel.open_tab(text(tab), START_SECONDS)
            expect(not board.panel.screen().cut_off(),
                   f"{name}, {tab}: {board.panel.screen().cut_off()}")
            self.picture(board, name, what)
        board.panel.raise_keys(text("PinCode:"), START_SECONDS)
        self.picture(board, name, "typing")
        board.panel.put_keys_away(timeout=START_SECONDS)
        board.panel.press(text("Exit"))
        expect(board.wait_panel_end(START_SECONDS) == 0, "exit status 0")
        board.unplug()

    def picture(self, board: Board, name: str, what: str) -> None:
        self.pictures.append(board.shot(f"{name.lower().replace(' ', '-')}-{what}.png"))


def interactive(board: Board, language: int, port: int) -> None:
    """Leaves the panel to a person until the panel program ends or the person has enough."""
    start_chip(board, {LANGUAGE: language})
    board.plug()
    board.start_panel(KEYBOARD)
    print(f"The panel is live: a VNC viewer on 127.0.0.1:{port} (display {port - 5900}).\n"
          "Exit on the panel, or Ctrl-C here, ends it.", flush=True)
    while board.panel_running():
        time.sleep(0.5)


def whole_session(size: tuple[int, int], language: int) -> int:
    """The session, and the gallery beside it; 0 when every step held."""
    gallery = Gallery()
    with ThreadPoolExecutor(1) as beside, Board(size, "session") as board:
        print(f"         a board with a panel of {size[0]}x{size[1]} is up", flush=True)
        beside_it = beside.submit(gallery.run)
        session = Session(board, language)
        try:
            session.run()
            with session.timed("every language on every panel: the key screens"):
                beside_it.result()
        finally:
            gallery.wanted = False
            for path in (*session.pictures, *gallery.pictures):
                print(f"picture  {path.relative_to(Path.cwd())}")
            print(f"logs     {board.folder.relative_to(Path.cwd())}", flush=True)
    return 0


def main() -> int:
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--size", type=size_of, default=(800, 480), metavar="WxH",
                        help="panel: " + ", ".join(f"{w}x{h}" for w, h in qemu.SIZES))
    parser.add_argument("--language", type=int, default=0, choices=LANGUAGES,
                        help=", ".join(f"{number} {name}" for number, name in LANGUAGES.items()))
    parser.add_argument("--interactive", action="store_true",
                        help="leave the panel live for a person (VNC)")
    parser.add_argument("--port", type=int, default=5907, help="TCP port of the live view")
    options = parser.parse_args()
    signal.signal(signal.SIGTERM, lambda *_: sys.exit(143))

    started = time.monotonic()
    try:
        if options.interactive:
            with Board(options.size, "interactive", vnc_port=options.port) as board:
                interactive(board, options.language, options.port)
        else:
            whole_session(options.size, options.language)
            print(f"Every step held ({time.monotonic() - started:.0f} s).")
    except (BoardError, PanelError, SessionError) as error:
        print(f"The session failed: {error}", file=sys.stderr)
        return 1
    except KeyboardInterrupt:
        return 130
    return 0


if __name__ == "__main__":
    sys.exit(main())
