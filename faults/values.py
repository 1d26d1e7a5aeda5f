"""What an operator or a tool may have put into a parameter: it is shown, kept, and passed on as it
stands."""

from __future__ import annotations

from functools import partial

from faults.panel import generated, repairable, shown, type_counts
from faults.rows import Group, Row
from panel.facts import FIELDS, PARAMETERS
from privateroot.operating import connect, expect, leave, started
from privateroot.process import PrivateRoot

TYPED = {
    "every ASCII character": bytes(range(0x21, 0x7f)).decode(),
    "single quotes": "it's",
    "double quotes": 'say "web"',
    "backslashes": "\\x\\\\n\\",
    "what a shell would expand": "$(reboot) `id` $HOME ${x} * ~",
    "what chat would take for options": "'' -v ^C \\c \\d TIMEOUT 1",
    "what pppd would take for a comment": "a # b",
    "spaces inside": "a  b",
    "format directives": "%s%n%1$s %1 %2",
    "markup": "<b>x</b>&amp;",
    "Latin letters": "é ü ß",
    "Chinese": "電話 设置",
    "right to left": "אב",
    "combining": "a\u0301",
    "byte order mark": "\ufeffx",
    "no-break spaces around": "\u00a0x\u00a0",
    "a thousand characters": "0123456789" * 100,
}
NO_KEY = {  # No single key types them.
    "tab inside": b"a\tb",
    "control characters": b"a\x01\x07\x1b[2J\x7fb",
    "half of a surrogate pair": b"a\xed\xa0\xbdb",
    "beyond the basic plane": "😀".encode(),
}


def throw_stored(value: bytes) -> None:
    """All five texts are the value; an edit elsewhere has all four files written."""
    content = (value + b"\n") * len(FIELDS) + b"0\n"
    with started(parameters=content) as root:
        type_counts(root)
        connect(root)
        holds(root, content)
        leave(root)
        holds(root, content)


def throw_typed(text: str) -> None:
    """Typed into every field, each time behind the field's number and with spaces around: what is
    stored, a second start shows."""
    values = [f"{at}{text}" for at in range(len(FIELDS))]
    content = "".join(f"{value}\n" for value in [*values, "0"]).encode()
    with started() as root:
        for label, value in zip(FIELDS, values):
            root.panel.fill(label, f" {value} ")
        connect(root)
        holds(root, content)
        expect(shown(root) == content, f"shown: {shown(root)!r}")
        leave(root)
        holds(root, content)
        repairable(root, content)


def holds(root: PrivateRoot, content: bytes) -> None:
    """The parameters are these, and the generated files are made of them, byte for byte."""
    for path, expected in {PARAMETERS: content, **generated(content)}.items():
        expect(root.read(path) == expected, f"{path} holds {root.read(path)!r}")


GROUPS = [Group("values", "unusual parameter values", lambda: [
    *(Row(f"typed: {name}", partial(throw_typed, text), chosen=name == "every ASCII character")
      for name, text in TYPED.items()),
    *(Row(name, partial(throw_stored, value), chosen=name == "half of a surrogate pair")
      for name, value in NO_KEY.items())])]
