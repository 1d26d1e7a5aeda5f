"""A dump of the screen by the inspector plugin, and searches in it.

Widgets are found by what an operator sees: buttons and tabs by their texts, fields and values by
the label to their left.
"""

from __future__ import annotations

from collections.abc import Iterator
from typing import Any, TypedDict

# A widget, a window, an item of a list or tab bar, or a key of the on-screen keyboard. dump.cpp of
# the inspector sets the entries. A "rect" is [x, y, width, height] in pixels of the screen.
Widget = TypedDict("Widget", {
    "class": str, "text": str, "style": str, "rect": list[int], "window": int,
    "visible": bool, "enabled": bool, "focus": bool, "modal": bool, "checked": bool, "index": int,
    "value": int, "minimum": int, "maximum": int, "echo": int, "format": int, "hint": list[int],
    "minimumHint": list[int], "items": list["Widget"], "buttons": list[str],
    "keys": list["Widget"], "upper": bool}, total=False)

BUTTONS = ("QPushButton", "QRadioButton", "QCheckBox")
LEAVES = (*BUTTONS, "QLabel", "QLineEdit", "QComboBox", "QTabBar")


class PanelError(AssertionError):
    """The screen does not show the expected content, or the inspector does not answer."""


class NotShown(PanelError, LookupError):
    """The requested item is not on the screen."""


def centre(widget: Widget) -> tuple[int, int]:
    """Return the middle of a widget's or item's "rect", in global pixels."""
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
    """Return true when the widget is in the label's row, to its right."""
    x, y, width, height = label["rect"]
    return widget["rect"][0] >= x + width and y <= centre(widget)[1] < y + height


class Screen:
    """A dump of the screen: the inspector's reply."""

    def __init__(self, dump: dict[str, Any]) -> None:
        width, height = dump["screen"]
        self.size: tuple[int, int] = (width, height)
        self.windows: list[Widget] = dump["windows"]
        self.widgets: list[Widget] = dump["widgets"]
        self.invoked: list[dict[str, Any]] = dump.get("invoked", [])
        self.keys: list[Widget] = []
        for window in self.windows:
            left, top, _, _ = window["rect"]
            for key in window.get("keys", []) if window["visible"] else ():
                x, y, *extent = key["rect"]  # relative to the window
                self.keys.append(key.copy())
                self.keys[-1]["rect"] = [left + x, top + y, *extent]

    def all(self, *classes: str, visible: bool = True) -> Iterator[Widget]:
        """Yield the widgets of these classes; hidden ones, too, when `visible` is false."""
        for widget in self.widgets:
            if widget["class"] in classes and (widget["visible"] or not visible):
                yield widget

    def button(self, text: str) -> Widget:
        """Return the visible button with this text, in the topmost window that has one."""
        found = [w for w in self.all(*BUTTONS) if w["text"] == text]
        if found:
            return found[-1]
        raise NotShown(f"no button {text!r} on {self.short()}")

    def beside(self, label: str, *classes: str) -> Widget:
        """
        Return the widget of these classes next to a label.

        On a visible page it is the next one in the label's row, on a hidden page the next child.

        @raise NotShown when there is none
        """
        for at, widget in enumerate(self.widgets):
            if widget["class"] != "QLabel" or widget["text"] != label:
                continue
            row = self.widgets[at + 1:at + 2]
            if widget["visible"]:
                row = [w for w in self.all(*classes) if _right_of(widget, w)]
            row = [w for w in row if w["class"] in classes and w["window"] == widget["window"]]
            if row:
                return min(row, key=lambda w: w["rect"][0])
        raise NotShown(f"nothing next to {label!r} on {self.short()}")

    def field(self, label: str) -> Widget:
        """Return the line edit or combo box next to a label."""
        return self.beside(label, "QLineEdit", "QComboBox")

    def value(self, label: str) -> Widget:
        """Return the value next to a label, which is a label, too."""
        return self.beside(label, "QLabel")

    def tab(self, text: str) -> Widget:
        """Return a tab: {"text", "rect"}."""
        return self._item(text, "QTabBar")

    def row(self, text: str) -> Widget:
        """Return a row of an open list, such as that of a combo box: {"text", "rect"}."""
        return self._item(text, "QComboBoxListView", "QListView")

    def _item(self, text: str, *classes: str) -> Widget:
        for widget in self.all(*classes):
            for item in widget.get("items", []):
                if item["text"] == text:
                    return item
        raise NotShown(f"no item {text!r} on {self.short()}")

    def key(self, name: str) -> Widget:
        """Return a key of the on-screen keyboard by its name: a character (letters in lower case),
        Backspace, Enter, Hide, Shift, or the name of a page."""
        for key in self.keys:
            if key["text"] == name:
                return key
        raise NotShown(f"no key {name!r} among {[key['text'] for key in self.keys]}")

    def has_key(self, text: str) -> bool:
        return any(key["text"] == text for key in self.keys)

    def dialog(self) -> Widget:
        """Return the topmost modal window, with "text" (the texts of its labels) and "buttons" (the
        texts of its buttons)."""
        for at in reversed(range(len(self.windows))):
            window = self.windows[at]
            if not (window["visible"] and window["modal"]):
                continue
            inside = [w for w in self.widgets if w["window"] == at and w["visible"]]
            texts = [w["text"] for w in inside if w["class"] == "QLabel"]
            buttons = [w["text"] for w in inside if w["class"] in BUTTONS]
            dialog = window.copy()
            dialog.update({"text": "\n".join(texts), "buttons": buttons})
            return dialog
        raise NotShown(f"no dialog on {self.short()}")

    def has_dialog(self) -> bool:
        return any(w["visible"] and w["modal"] for w in self.windows)

    def main_window(self) -> Widget:
        """Return the main window, visible or hidden."""
        for window in self.windows:
            if window["class"] == "Widget":
                return window
        raise NotShown(f"no main window on {self.short()}")

    def busy_bars(self) -> list[Widget]:
        """Return the visible busy bars."""
        return [w for w in self.all("QProgressBar") if w["minimum"] == w["maximum"]]

    def orphans(self, cls: str) -> list[Widget]:
        """Return the widgets of this class without a parent widget, which are on no page."""
        return [w for w in self.all(cls, visible=False)
                if self.windows[w["window"]]["class"] == cls]

    def cut_off(self) -> list[str]:
        """
        Return the layout faults, one line each.

        A fault is a widget that extends beyond its window, is smaller than its content or overlaps
        another widget, or a window that extends beyond the screen.
        """
        faults = []
        leaves = [w for w in self.all(*LEAVES) if "hint" in w]
        for at, widget in enumerate(leaves):
            name = f'{widget["class"]} {widget.get("text", "")!r} at {widget["rect"]}'
            if not _inside(widget["rect"], self.windows[widget["window"]]["rect"]):
                faults.append(f"{name} extends beyond its window")
            needs = widget["minimumHint"] if widget["class"] == "QLineEdit" else widget["hint"]
            if widget["rect"][2] < needs[0] or widget["rect"][3] < needs[1]:
                faults.append(f"{name} is smaller than its content, {needs}")
            for other in leaves[at + 1:]:
                if (other["window"] == widget["window"]
                        and _overlap(widget["rect"], other["rect"])):
                    faults.append(f'{name} overlaps {other["class"]} at {other["rect"]}')
        for at, window in enumerate(self.windows):
            if window["visible"] and not _inside(window["rect"], [0, 0, *self.size]):
                faults.append(
                    f'window {window["class"]} at {window["rect"]} extends beyond the screen')
        return faults

    def short(self) -> str:
        """Return the visible content, one line per window and per widget with a text."""
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
