"""What an operator or a tool may have put into a parameter: it is shown, kept, and passed on as it
stands."""

from __future__ import annotations

from functools import partial

from faults.panel import leave, repairable, shown, stored, stored_root
from faults.rows import Group, Row, expect
from panel.facts import CHAT_SCRIPT, COUNTS, MISC, PARAMETERS, PEER_FILE, SETTING

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


def throw(value: bytes) -> None:
    """All five texts are the value; an edit elsewhere has all four files written."""
    content = (value + b"\n") * 5 + b"0\n"
    with stored_root() as root:
        root.write(PARAMETERS, content)
        root.start()
        root.panel.open_tab(MISC)
        root.panel.fill(COUNTS, "9")
        root.panel.open_tab(SETTING)
        root.panel.press("Connect")
        root.wait_calls("pppd", 1)
        expect(root.content(PARAMETERS) == content, f"stored: {root.content(PARAMETERS)!r}")
        for path, line in (
                (CHAT_SCRIPT, b"'OK' 'AT+CGDCONT=1,\"IP\",\"" + value + b"\"'\n"),
                (CHAT_SCRIPT, b"'' 'AT+CPIN=\"" + value + b"\"'\n"),
                (CHAT_SCRIPT, b"'OK' '\"ATD" + value + b"\"'\n"),
                (PEER_FILE, b"\nuser " + value + b"\n"),
                (PEER_FILE, b"\npassword " + value + b"\n")):
            expect(line in root.content(path), f"{line!r} is in {path}")
        leave(root)
        expect(stored(root) == content, f"stored: {stored(root)!r}")


def throw_typed(text: str) -> None:
    """Typed into every field: what is stored, a second start shows."""
    with stored_root() as root:
        root.start()
        for label in ("APN NAME:", "USER:", "PASSWORD:"):
            root.panel.fill(label, text)
        root.panel.press("Connect")
        root.wait_calls("pppd", 1)
        saved = stored(root)
        expect(saved.decode().splitlines()[0] == text.strip(), f"stored: {saved!r}")
        expect(shown(root) == saved, f"shown: {shown(root)!r}")
        leave(root)
        repairable(root, saved)


def rows() -> list[Row]:
    return [*(Row(name, partial(throw, value),
                  chosen=name in ("half of a surrogate pair", "byte order mark"))
              for name, value in VALUES.items()),
            *(Row(f"typed: {text}", partial(throw_typed, text))
              for text in (" web ", "p w", "'\"\\#%$`", "a" * 300))]


GROUPS = [Group("values", "what a parameter may hold", rows)]
