"""How things are found on the panel, on screens made up for it."""

import unittest
from typing import Any, cast

from panel.screen import Screen, Widget


def widget(cls: str, rect: tuple[int, int, int, int], text: str = "", **more: Any) -> Widget:
    """A widget of window 0 that is as large as it needs to be."""
    size = list(rect[2:])
    made = {"class": cls, "rect": list(rect), "text": text, "window": 0, "visible": True,
            "enabled": True, "hint": size, "minimumHint": size}
    return cast(Widget, made | more)


def changed(widget: Widget, **other: Any) -> Widget:
    """A copy of a widget with other values."""
    return cast(Widget, {**widget, **other})


def screen(*widgets: Widget, window: tuple[int, int, int, int] = (0, 0, 480, 272)) -> Screen:
    top = widget("Widget", window, modal=False)
    return Screen({"screen": [480, 272], "windows": [top, changed(top, visible=False)],
                   "widgets": list(widgets)})


class Beside(unittest.TestCase):
    LABEL = widget("QLabel", (10, 40, 60, 20), "USER:")

    def test_the_row_decides(self) -> None:
        above = widget("QLineEdit", (80, 15, 90, 20), "above")
        below = widget("QLineEdit", (80, 65, 90, 20), "below")
        left = widget("QLineEdit", (0, 40, 9, 20), "left")
        far = widget("QLineEdit", (200, 40, 90, 20), "far")
        near = widget("QLineEdit", (80, 38, 90, 24), "near")
        shown = screen(above, below, left, far, self.LABEL, near)
        self.assertEqual(shown.field("USER:")["text"], "near")

    def test_nothing_there(self) -> None:
        other = widget("QLineEdit", (80, 40, 90, 20), window=1)
        hidden = widget("QLineEdit", (80, 40, 90, 20), visible=False)
        for name, found in {"no label": screen(), "only the label": screen(self.LABEL),
                            "in another window": screen(self.LABEL, other),
                            "hidden": screen(self.LABEL, hidden)}.items():
            with self.subTest(name), self.assertRaises(LookupError):
                found.field("USER:")

    def test_hidden_page(self) -> None:
        label = changed(self.LABEL, visible=False)
        value = widget("QLabel", (0, 0, 640, 480), "value", visible=False)
        self.assertEqual(screen(label, value).value("USER:")["text"], "value")
        with self.assertRaises(LookupError):
            screen(value, label).value("USER:")


class CutOff(unittest.TestCase):
    def test_faults(self) -> None:
        button = widget("QPushButton", (10, 240, 100, 32), "Exit")
        small = changed(button, hint=[101, 32])
        low = changed(button, hint=[100, 33])
        table: dict[str, tuple[Screen, list[str]]] = {
            "all well": (screen(button), []),
            "one pixel below the window": (screen(widget("QPushButton", (10, 241, 100, 32))),
                                           ["leaves its window"]),
            "one pixel left of it": (screen(widget("QLabel", (-1, 0, 10, 10))),
                                     ["leaves its window"]),
            "too narrow": (screen(small), ["needs [101, 32]"]),
            "too low": (screen(low), ["needs [100, 33]"]),
            "touching": (screen(button, widget("QLabel", (110, 240, 20, 20))), []),
            "one pixel over": (screen(button, widget("QLabel", (109, 240, 20, 20))),
                               ["overlaps QLabel"]),
            "a wide window": (screen(button, window=(0, 0, 481, 272)), ["leaves the screen"]),
            "a hidden one": (screen(changed(small, visible=False)), []),
        }
        for name, (shown, faults) in table.items():
            with self.subTest(name):
                found = shown.cut_off()
                self.assertEqual(len(found), len(faults), found)
                for fault, text in zip(found, faults):
                    self.assertIn(text, fault)


if __name__ == "__main__":
    unittest.main()
