"""The panel's operator, who touches, types, and waits for what the screen shows then."""

from __future__ import annotations

import json
import time
from collections.abc import Callable
from pathlib import Path
from typing import Any, TypeVar
from urllib.parse import quote

from host.sockets import connect
from panel.facts import DOUBLE_TOUCH_SECONDS
from panel.patience import patient
from panel.screen import NotShown, PanelError, Screen, Widget, centre

T = TypeVar("T")

LOOK_SECONDS = 0.02  # between two looks, at first
LONGER, LONGEST = 1.2, 2.5  # how much longer after each look; up to so many times
SECONDS = 30.0  # for what a touch or a key does: the simulated board may be slow


class Panel:
    """Looks at the panel, touches it and waits for it.

    @param request  sends one request line to the inspector and gives its reply; it raises OSError
           while nothing answers
    @param pause  seconds between the first two looks of a wait; later ones are further apart
    @param rest  lets seconds pass for the program, whose clock may be slower than the host's
    """

    def __init__(self, request: Callable[[str], dict[str, Any]], pause: float = LOOK_SECONDS,
                 rest: Callable[[float], object] = time.sleep) -> None:
        self._request = request
        self._pause = pause
        self._rest = rest

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
        """Touches the middle of a widget or item, and does not wait for what that does."""
        x, y = centre(widget)
        self._ask(f"click {x} {y}")

    def press(self, text: str) -> None:
        """Touches the button with this text."""
        self.click(self.button(text))

    def key(self, name: str) -> None:
        """Presses one key, named as in "Esc" or "Ctrl+A", where the focus is."""
        self._ask(f"key {name}")

    def fill(self, label: str, text: str, timeout: float = SECONDS) -> None:
        """Touches the field beside a label and types a text over what it holds."""
        self.click(self.field(label))
        self.wait(lambda screen: screen.field(label)["focus"], timeout, f"focus in {label!r}")
        self.key("Ctrl+A")
        self.key("Del")
        if text:
            self._ask(f"type {quote(text, safe='')}")
        self._wait_text(label, text, timeout)

    def raise_keys(self, label: str, timeout: float = SECONDS) -> Screen:
        """Touches the field beside a label. @return a look once the keys take touches"""
        self.click(self.field(label))
        self.wait(lambda screen: screen.keys and screen.field(label)["focus"], timeout,
                  f"keys for {label!r}")
        self._rest(DOUBLE_TOUCH_SECONDS)
        return self.screen()

    def touch_in(self, label: str, text: str, timeout: float = SECONDS) -> None:
        """Fills the field beside a label by touches on the drawn keys alone."""
        screen = self.raise_keys(label, timeout)
        for _ in screen.field(label)["text"]:
            self.click(screen.key("Backspace"))
        for at, character in enumerate(text, 1):
            name = character.lower()
            screen = self._turn_to(screen, name, timeout)
            if name.isalpha() and screen.key(name)["upper"] != character.isupper():
                self.click(screen.key("Shift"))
            self.click(screen.key(name))
            if character.isupper():  # Shift is for one letter: look again once it is typed.
                screen = self._wait_text(label, text[:at], timeout)
        self._wait_text(label, text, timeout)

    def put_keys_away(self, key: str = "Hide", timeout: float = SECONDS) -> None:
        """Touches a key that ends typing: Hide or Enter."""
        self.click(self.screen().key(key))
        self.wait(lambda screen: not screen.keys, timeout, "the keys gone")
        self._rest(DOUBLE_TOUCH_SECONDS)

    def _turn_to(self, screen: Screen, name: str, timeout: float) -> Screen:
        """Turns to the page that has a key. @return the look that shows it"""
        while not screen.has_key(name):
            page = "ABC" if name.isalpha() else "#+=" if screen.has_key("#+=") else "123"
            screen = self._turn(screen, page, timeout)
        return screen

    def _turn(self, screen: Screen, page: str, timeout: float) -> Screen:
        """Touches the key that leads to another page. @return the look that shows the page"""
        self.click(screen.key(page))
        return self.wait(lambda now: None if now.has_key(page) else now, timeout,
                         f"the page behind {page!r}")

    def _wait_text(self, label: str, text: str, timeout: float) -> Screen:
        return self.wait(lambda screen: screen if screen.field(label)["text"] == text else None,
                         timeout, f"{text[:60]!r} in {label!r}")

    def choose(self, label: str, row: str, timeout: float = SECONDS) -> None:
        """Touches the combo box beside a label and then a row of its list."""
        self.click(self.field(label))
        self.click(self.wait(lambda screen: screen.row(row), timeout, f"the row {row!r}"))
        self.wait(lambda screen: screen.field(label)["text"] == row, timeout,
                  f"{row!r} in {label!r}")

    def open_tab(self, text: str, timeout: float = SECONDS) -> None:
        """Touches a tab and waits until its page is the one shown."""
        self.click(self.tab(text))

        def shown(screen: Screen) -> bool:
            bar = next(screen.all("QTabBar"))
            return bar["items"][bar["index"]]["text"] == text

        self.wait(shown, timeout, f"the tab {text!r} open")

    def invoke(self, cls: str, slot: str, argument: int | None = None) -> int:
        """Has a slot called from the event loop. @return the call's index in `Screen.invoked`"""
        at = len(self.screen().invoked)
        self._ask(f"invoke {cls} {slot}" + ("" if argument is None else f" {argument}"))
        return at

    def shot(self, file: Path | str) -> None:
        """Has a picture of the screen written, in the format that the file's name ends in."""
        self._ask(f"shot {file}")

    def wait(self, predicate: Callable[[Screen], T | None], timeout: float, what: str) -> T:
        """
        Looks until the predicate gives something true.

        @param predicate  gets each look; when it raises NotShown, the wait goes on
        @param timeout  seconds, of which patient() may make more
        @return what the predicate gave
        @raise PanelError with what was shown last
        """
        deadline = time.monotonic() + patient(timeout)
        last = "nothing: no reply"
        pause = self._pause
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
                raise PanelError(f"not within {timeout:g} s: {what}; the panel showed {last}")
            time.sleep(pause)
            pause = min(pause * LONGER, self._pause * LONGEST)


def unix_request(path: Path, timeout: float = 10.0) -> Callable[[str], dict[str, Any]]:
    """
    What a `Panel` needs for an inspector that listens on a Unix socket of the host.

    @param timeout  seconds for an answer
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
