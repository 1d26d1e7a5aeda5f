"""Operates the panel: touches it, types, and waits for the screen to show a result."""

from __future__ import annotations

import json
import time
from collections.abc import Callable
from pathlib import Path
from typing import Any, TypeVar
from urllib.parse import quote

from host.sockets import connect
from panel.constants import BUTTON_GUARD_SECONDS, DOUBLE_TOUCH_SECONDS
from panel.patience import patient
from panel.screen import NotShown, PanelError, Screen, Widget, centre

T = TypeVar("T")

LOOK_SECONDS = 0.03  # interval of the dumps of the screen during a wait
SECONDS = 30.0  # timeout for the effect of a touch or key; the simulated board may be slow


class Panel:
    """
    Dumps the panel's screen, touches it and waits for it to change.

    @param request  sends one request line to the inspector and returns its reply; raises OSError
           while the inspector does not answer
    @param pause  interval of the dumps of the screen during a wait, in seconds
    @param rest  waits for a time in seconds by the program's clock, which may be slower than the
           host's
    """

    def __init__(self, request: Callable[[str], dict[str, Any]], pause: float = LOOK_SECONDS,
                 rest: Callable[[float], object] = time.sleep) -> None:
        self._request = request
        self._pause = pause
        self._rest = rest
        self._guard = 0.0  # seconds for which buttons may still ignore touches

    def _ask(self, line: str) -> dict[str, Any]:
        reply = self._request(line)
        if reply.get("ok") is False:
            raise PanelError(f'{line}: {reply["error"]}')
        return reply

    def screen(self) -> Screen:
        return Screen(self._ask("dump"))

    def button(self, text: str) -> Widget:
        return self.screen().button(text)

    def field(self, label: str) -> Widget:
        return self.screen().field(label)

    def value(self, label: str) -> Widget:
        return self.screen().value(label)

    def tab(self, text: str) -> Widget:
        return self.screen().tab(text)

    def dialog(self) -> Widget:
        return self.screen().dialog()

    def click(self, widget: Widget) -> None:
        """Touch the middle of a widget or item; do not wait for the effect."""
        x, y = centre(widget)
        self._ask(f"click {x} {y}")

    def press(self, text: str) -> None:
        """Touch the button with this text, once buttons accept touches."""
        self._rest(self._guard)
        self._guard = 0.0
        self.click(self.button(text))

    def key(self, name: str) -> None:
        """Send a key or chord, such as "Esc" or "Ctrl+A", to the widget with the focus."""
        self._ask(f"key {name}")

    def fill(self, label: str, text: str) -> None:
        """Touch the field next to a label and replace its text by hardware key presses."""
        self.click(self.field(label))
        self.wait(lambda screen: screen.field(label)["focus"], SECONDS, f"focus in {label!r}")
        self.key("Ctrl+A")
        self.key("Del")
        if text:
            self._ask(f"type {quote(text, safe='')}")
        self._wait_text(label, text)

    def raise_keys(self, label: str, timeout: float = SECONDS) -> Screen:
        """Touch the field next to a label and wait for the keyboard. @return the screen, once a
        touch on a key does not complete a double tap"""
        self.click(self.field(label))
        self.wait(lambda screen: screen.keys and screen.field(label)["focus"], timeout,
                  f"the keyboard for {label!r}")
        self._rest(DOUBLE_TOUCH_SECONDS)
        return self.screen()

    def touch_in(self, label: str, text: str) -> None:
        """Replace the text of the field next to a label, with touches on the on-screen keyboard."""
        screen = self.raise_keys(label)
        for _ in screen.field(label)["text"]:
            self.click(screen.key("Backspace"))
        for at, character in enumerate(text, 1):
            name = character.lower()
            screen = self._turn_to(screen, name)
            if name.isalpha() and screen.key(name)["upper"] != character.isupper():
                self.click(screen.key("Shift"))
            self.click(screen.key(name))
            if character.isupper():  # Shift applies to one letter; dump the screen again
                screen = self._wait_text(label, text[:at])
        self._wait_text(label, text)

    def put_keys_away(self, key: str = "Hide") -> None:
        """Hide the keyboard by a touch on Hide or Enter."""
        self.click(self.screen().key(key))
        self.wait(lambda screen: not screen.keys, SECONDS, "the keyboard hidden")
        self._rest(DOUBLE_TOUCH_SECONDS)
        self._guard = BUTTON_GUARD_SECONDS - DOUBLE_TOUCH_SECONDS

    def _turn_to(self, screen: Screen, name: str) -> Screen:
        """Open the keyboard page that has a key. @return the screen with that key"""
        while not screen.has_key(name):
            page = "ABC" if name.isalpha() else "#+=" if screen.has_key("#+=") else "123"
            self.click(screen.key(page))
            screen = self.wait(lambda now: None if now.has_key(page) else now, SECONDS,
                               f"the page that {page!r} opens")
        return screen

    def _wait_text(self, label: str, text: str) -> Screen:
        return self.wait(lambda screen: screen if screen.field(label)["text"] == text else None,
                         SECONDS, f"{text[:60]!r} in {label!r}")

    def choose(self, label: str, row: str) -> None:
        """Touch the combo box next to a label, then a row of its list."""
        self.click(self.field(label))
        self.click(self.wait(lambda screen: screen.row(row), SECONDS, f"the row {row!r}"))
        self._wait_text(label, row)

    def open_tab(self, text: str, timeout: float = SECONDS) -> None:
        """Touch a tab and wait until its page is shown."""
        self.click(self.tab(text))

        def shown(screen: Screen) -> bool:
            bar = next(screen.all("QTabBar"))
            return bar["items"][bar["index"]]["text"] == text

        self.wait(shown, timeout, f"the tab {text!r} open")

    def invoke(self, cls: str, slot: str, argument: int | None = None) -> int:
        """Call a slot from the program's event loop.

        @param cls  class of the object
        @param argument  int argument of the slot, if it has one
        @return index of the call in `Screen.invoked`"""
        at = len(self.screen().invoked)
        self._ask(f"invoke {cls} {slot}" + ("" if argument is None else f" {argument}"))
        return at

    def shot(self, file: Path | str) -> None:
        """Write a screenshot in the format of the file name's suffix."""
        self._ask(f"shot {file}")

    def wait(self, predicate: Callable[[Screen], T | None], timeout: float, what: str) -> T:
        """
        Dump the screen repeatedly until the predicate returns a true value.

        @param predicate  called with each dump; NotShown counts as false
        @param timeout  seconds, scaled by patient()
        @return the predicate's value
        @raise PanelError with the last dump after the timeout
        """
        deadline = time.monotonic() + patient(timeout)
        last = "nothing"
        while True:
            try:
                screen = self.screen()
                last = screen.short()
                if result := predicate(screen):
                    return result
            except NotShown:
                pass
            except OSError as error:
                last = f"nothing: {error}"
            if time.monotonic() > deadline:
                raise PanelError(f"timeout after {timeout:g} s: {what}; the panel showed {last}")
            time.sleep(self._pause)


def unix_request(path: Path, timeout: float = 10.0) -> Callable[[str], dict[str, Any]]:
    """
    Return a `Panel` request function for an inspector on a Unix socket of the host.

    @param timeout  seconds to wait for the reply
    """

    def request(line: str) -> dict[str, Any]:
        with connect(path) as connection:
            connection.settimeout(timeout)
            connection.sendall(line.encode() + b"\n")
            with connection.makefile("rb") as stream:
                reply = stream.readline()
        if not reply.endswith(b"\n"):
            raise ConnectionError(f"no reply to {line!r}")
        answer: dict[str, Any] = json.loads(reply)
        return answer

    return request
