"""The panel as its operator sees it, from what the inspector plug-in reports.

A `Screen` is one look at the panel; a `Panel` takes looks, touches and waits. Things are found as
an operator finds them: a button or tab by its text, a field or a value by the label at its left.
"""

from __future__ import annotations

import json
import socket
import time
from collections.abc import Callable, Iterator
from pathlib import Path
from typing import Any, TypeVar
from urllib.parse import quote

Widget = dict[str, Any]
T = TypeVar("T")

BUTTONS = ("QPushButton", "QRadioButton", "QCheckBox")
LEAVES = (*BUTTONS, "QLabel", "QLineEdit", "QComboBox", "QTabBar")
# Keys that are found by what they do, as the keyboard's library numbers it; all others by their text.
KEY_TYPES = {"Backspace": 1, "Enter": 3, "Hide": 6, "Shift": 11, " ": 12}
DOUBLE_TOUCH = 0.5  # seconds after which a touch is not taken for the second of a double touch
POLL_SECONDS = 0.02
SECONDS = 30.0  # for what a touch or a key does: the simulated board may be slow


class PanelError(AssertionError):
    """The panel does not show what it should, or answers nothing."""


class NotShown(PanelError, LookupError):
    """What was looked for is not on the screen."""


def centre(widget: Widget) -> tuple[int, int]:
    """The middle of a widget's or item's "rect", in global pixels."""
    x, y, width, height = widget["rect"]
    return x + width // 2, y + height // 2


def _inside(inner: list[int], outer: list[int]) -> bool:
    x, y, width, height = inner
    left, top, outer_width, outer_height = outer
    return (left <= x and top <= y and x + width <= left + outer_width
            and y + height <= top + outer_height)


def _overlap(a: list[int], b: list[int]) -> bool:
    return (a[0] < b[0] + b[2] and b[0] < a[0] + a[2]
            and a[1] < b[1] + b[3] and b[1] < a[1] + a[3])


def _right_of(label: Widget, widget: Widget) -> bool:
    """Whether the widget stands in the label's row, to its right."""
    x, y, width, height = label["rect"]
    return widget["rect"][0] >= x + width and y <= centre(widget)[1] < y + height


class Screen:
    """One look at the panel: the reply to the inspector's dump."""

    def __init__(self, dump: dict[str, Any]) -> None:
        self.size: tuple[int, int] = tuple(dump["screen"])
        self.windows: list[Widget] = dump["windows"]
        self.widgets: list[Widget] = dump["widgets"]
        self.invoked: list[Widget] = dump.get("invoked", [])
        self.keys: list[Widget] = dump.get("keys", [])

    def all(self, *classes: str, visible: bool = True) -> Iterator[Widget]:
        """Every widget of these classes; hidden ones too when `visible` is false."""
        for widget in self.widgets:
            if widget["class"] in classes and (widget["visible"] or not visible):
                yield widget

    def button(self, text: str) -> Widget:
        """The visible push or radio button with this text, in the topmost window that has one."""
        found = [w for w in self.all(*BUTTONS) if w["text"] == text]
        if not found:
            raise NotShown(f"no button {text!r} on {self.short()}")
        return found[-1]

    def beside(self, label: str, *classes: str) -> Widget:
        """The widget of these classes beside a label: in its row on a shown page, next to it in
        child order on a hidden one."""
        for at, widget in enumerate(self.widgets):
            if widget["class"] != "QLabel" or widget["text"] != label:
                continue
            if widget["visible"]:
                row = [w for w in self.all(*classes) if _right_of(widget, w)
                       and w["window"] == widget["window"]]
                row.sort(key=lambda w: w["rect"][0])
            else:
                row = [w for w in self.widgets[at + 1:at + 2]
                       if w["class"] in classes and w["window"] == widget["window"]]
            if row:
                return row[0]
        raise NotShown(f"nothing beside {label!r} on {self.short()}")

    def field(self, label: str) -> Widget:
        """The line edit or combo box beside a label."""
        return self.beside(label, "QLineEdit", "QComboBox")

    def value(self, label: str) -> Widget:
        """The label that shows the value beside a label."""
        return self.beside(label, "QLabel")

    def tab(self, text: str) -> Widget:
        """A tab: {"text", "rect"}."""
        return self._item(text, "QTabBar")

    def row(self, text: str) -> Widget:
        """A row of an open list, such as a combo box's: {"text", "rect"}."""
        return self._item(text, "QComboBoxListView", "QListView")

    def _item(self, text: str, *classes: str) -> Widget:
        for widget in self.all(*classes):
            for item in widget.get("items", []):
                if item["text"] == text:
                    return item
        raise NotShown(f"no item {text!r} on {self.short()}")

    def key(self, name: str) -> Widget:
        """The key of the on-screen keyboard with this text, or that does this (KEY_TYPES)."""
        for key in self.keys:
            if key["type"] == KEY_TYPES[name] if name in KEY_TYPES else key["text"] == name:
                return key
        raise NotShown(f"no key {name!r} among {[key['text'] for key in self.keys]}")

    def has_key(self, text: str) -> bool:
        return any(key["text"] == text for key in self.keys)

    def dialog(self) -> Widget:
        """The modal window on top, with "text" (its labels) and "buttons" (their texts)."""
        for at in reversed(range(len(self.windows))):
            window = self.windows[at]
            if not (window["visible"] and window["modal"]):
                continue
            inside = [w for w in self.widgets if w["window"] == at and w["visible"]]
            texts = [w["text"] for w in inside if w["class"] == "QLabel"]
            buttons = [w["text"] for w in inside if w["class"] in BUTTONS]
            return {**window, "text": "\n".join(texts), "buttons": buttons}
        raise NotShown(f"no dialog on {self.short()}")

    def has_dialog(self) -> bool:
        return any(w["visible"] and w["modal"] for w in self.windows)

    def main_window(self) -> Widget:
        """The main window, shown or not."""
        for window in self.windows:
            if window["class"] == "Widget":
                return window
        raise NotShown(f"no main window on {self.short()}")

    def busy_bars(self) -> list[Widget]:
        """The busy indicators that are shown."""
        return [w for w in self.all("QProgressBar") if w["minimum"] == w["maximum"]]

    def orphans(self, cls: str) -> list[Widget]:
        """Widgets of this class that were put on no page."""
        return [w for w in self.all(cls, visible=False)
                if self.windows[w["window"]]["class"] == cls]

    def cut_off(self) -> list[str]:
        """What an operator cannot see whole: outside its window, smaller than its content needs,
        or under another widget. Empty when all is well."""
        faults = []
        leaves = [w for w in self.all(*LEAVES) if "hint" in w]
        for at, widget in enumerate(leaves):
            name = f'{widget["class"]} {widget.get("text", "")!r} at {widget["rect"]}'
            if not _inside(widget["rect"], self.windows[widget["window"]]["rect"]):
                faults.append(f"{name} leaves its window")
            needs = widget["minimumHint" if widget["class"] == "QLineEdit" else "hint"]
            if widget["rect"][2] < needs[0] or widget["rect"][3] < needs[1]:
                faults.append(f"{name} needs {needs}")
            for other in leaves[at + 1:]:
                if (other["window"] == widget["window"]
                        and _overlap(widget["rect"], other["rect"])):
                    faults.append(f'{name} overlaps {other["class"]} at {other["rect"]}')
        for at, window in enumerate(self.windows):
            if window["visible"] and not _inside(window["rect"], [0, 0, *self.size]):
                faults.append(f'window {window["class"]} at {window["rect"]} leaves the screen')
        return faults

    def short(self) -> str:
        """What is shown, one line per window and per widget that says something."""
        lines = [f"screen {self.size}"]
        for at, window in enumerate(self.windows):
            if not window["visible"]:
                continue
            modal = " modal" if window["modal"] else ""
            lines.append(f'{window["class"]} {window["rect"]}{modal}')
            for widget in self.widgets:
                if widget["window"] == at and widget["visible"] and widget.get("text"):
                    state = "" if widget["enabled"] else " (disabled)"
                    lines.append(f'  {widget["class"]} {widget["text"][:60]!r}{state}')
        if self.keys:
            lines.append("keys " + "".join(key["text"] or " " for key in self.keys))
        return "\n".join(lines)


class Panel:
    """Looks at the panel, touches it and waits for it.

    @param request sends one request line to the inspector and gives its reply; it raises OSError
           or PanelError while nothing answers.
    @param pause  seconds between two looks of a wait
    @param rest  lets seconds pass for the panel, whose clock may be slower than ours
    """

    def __init__(self, request: Callable[[str], dict[str, Any]], pause: float = POLL_SECONDS,
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
        """Touches the middle of a widget or item; does not wait for what it starts."""
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
        """Touches the field beside a label; a look once the keyboard takes touches."""
        self.click(self.field(label))
        self.wait(lambda screen: screen.keys and screen.field(label)["focus"], timeout,
                  f"keys for {label!r}")
        self._rest(DOUBLE_TOUCH)
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
        self.wait(lambda screen: not screen.keys, timeout, "the keyboard gone")
        self._rest(DOUBLE_TOUCH)

    def _turn_to(self, screen: Screen, name: str, timeout: float) -> Screen:
        """Turns to the page that has a key; the look that shows it."""
        while name not in KEY_TYPES and not screen.has_key(name):
            page = "ABC" if name.isalpha() else "#+=" if screen.has_key("#+=") else "123"
            self.click(screen.key(page))
            screen = self.wait(lambda now, left=page: None if now.has_key(left) else now,
                               timeout, f"the page behind {page!r}")
        return screen

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
        """Has a slot called from the event loop.
        @return the call's index in `Screen.invoked`"""
        at = len(self.screen().invoked)
        self._ask(f"invoke {cls} {slot}" + ("" if argument is None else f" {argument}"))
        return at

    def shot(self, file: Path | str) -> None:
        """Has the screen's picture written, in the format that the name ends in."""
        self._ask(f"shot {file}")

    def wait(self, predicate: Callable[[Screen], T], timeout: float, what: str) -> T:
        """Looks until the predicate gives something true.

        @param predicate gets each look; NotShown that it raises counts as not yet
        @param timeout seconds
        @return what the predicate gave
        """
        deadline = time.monotonic() + timeout
        last = "nothing: no reply"
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
            time.sleep(self._pause)


def unix_request(path: Path, timeout: float = 10.0) -> Callable[[str], dict[str, Any]]:
    """The request callable for an inspector that listens on a Unix socket of this machine."""

    def request(line: str) -> dict[str, Any]:
        with socket.socket(socket.AF_UNIX, socket.SOCK_STREAM) as connection:
            connection.settimeout(timeout)
            connection.connect(str(path))
            connection.sendall(line.encode() + b"\n")
            with connection.makefile("rb") as stream:
                reply = stream.readline()
        if not reply.endswith(b"\n"):
            raise ConnectionError(f"no reply to {line!r}")
        return json.loads(reply)

    return request
