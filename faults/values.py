"""What an operator or a tool may have put into a parameter: it is shown, kept, and passed on as it
stands."""

from __future__ import annotations

from functools import partial

from faults.panel import generated, leave, repairable, shown, stored_root, type_counts
from faults.rows import Group, Row, expect
from panel.facts import FIELDS, PARAMETERS
from privateroot.process import PrivateRoot

VALUES = {
    "every ASCII character": bytes(range(0x21, 0x7f)),
    "single quotes": b"it's",
    "double quotes": b'say "web"',
    "backslashes": b"\\x\\\\n\\",
    "what a shell would expand": b"$(reboot) `id` $HOME ${x} * ~",
    "what chat would take for options": b"'' -v ^C \\c \\d TIMEOUT 1",
    "what pppd would take for a comment": b"a # b",
    "blanks inside": b"a  b",
    "tab inside": b"a\tb",
    "control characters": b"a\x01\x07\x1b[2J\x7fb",
    "format directives": b"%s%n%1$s %1 %2",
    "markup": b"<b>x</b>&amp;",
    "Latin letters": "é ü ß".encode(),
    "Chinese": "電話 设置".encode(),
    "beyond the basic plane": "😀".encode(),
    "right to left": "אב".encode(),
    "combining": "a\u0301".encode(),
    "byte order mark": "\ufeffx".encode(),
    "half of a surrogate pair": b"a\xed\xa0\xbdb",
    "no-break spaces around": "\u00a0x\u00a0".encode(),
    "a thousand characters": b"0123456789" * 100,
}
# No single key types them.
NO_KEY = ("tab inside", "control characters", "half of a surrogate pair", "beyond the basic plane")


def throw(value: bytes) -> None:
    """All five texts are the value; an edit elsewhere has all four files written."""
    content = (value + b"\n") * 5 + b"0\n"
    with stored_root() as root:
        root.write(PARAMETERS, content)
        root.start()
        type_counts(root)
        root.panel.press("Connect")
        root.wait_calls("pppd", 1)
        holds(root, content)
        leave(root)
        holds(root, content)


def throw_typed(text: str) -> None:
    """Typed into every field, each time behind the field's number and with blanks around: what is
    stored, a second start shows."""
    values = [f"{at}{text}" for at in range(len(FIELDS))]
    content = "".join(f"{value}\n" for value in [*values, "0"]).encode()
    with stored_root() as root:
        root.start()
        for label, value in zip(FIELDS, values):
            root.panel.fill(label, f" {value} ")
        root.panel.press("Connect")
        root.wait_calls("pppd", 1)
        holds(root, content)
        expect(shown(root) == content, f"shown: {shown(root)!r}")
        leave(root)
        holds(root, content)
        repairable(root, content)


def holds(root: PrivateRoot, content: bytes) -> None:
    """The parameters are these, and the generated files are made of them, byte for byte."""
    for path, expected in {PARAMETERS: content, **generated(content)}.items():
        expect(root.read(path) == expected, f"{path} holds {root.read(path)!r}")


def rows() -> list[Row]:
    return [*(Row(name, partial(throw, value),
                  chosen=name in ("half of a surrogate pair", "byte order mark"))
              for name, value in VALUES.items()),
            *(Row(f"typed: {name}", partial(throw_typed, value.decode()),
                  chosen=name == "every ASCII character")
              for name, value in VALUES.items() if name not in NO_KEY)]


GROUPS = [Group("values", "unusual parameter values", rows)]
