"""Unusual parameter values of an operator or tool, which must be shown, stored and passed on
unchanged."""

from __future__ import annotations

from functools import partial

from faults.panel import generated, shown, type_counts
from faults.rows import Group, Row
from panel.facts import FIELDS, PARAMETERS
from privateroot.operating import connect, expect, leave, started

VALUES = {
    "every ASCII character": bytes(range(0x21, 0x7f)).decode(),
    "single quotes": "it's",
    "double quotes": 'say "web"',
    "backslashes": "\\x\\\\n\\",
    "what a shell would expand": "$(reboot) `id` $HOME ${x} * ~",
    "what chat would take for options": "'' -v ^C \\c \\d TIMEOUT 1",
    "what pppd would take for a comment": "a # b",
    "spaces inside": "a  b",
    "tab inside": "a\tb",
    "control characters": "a\x01\x07\x1b[2J\x7fb",
    "format directives": "%s%n%1$s %1 %2",
    "markup": "<b>x</b>&amp;",
    "Latin letters": "é ü ß",
    "Chinese": "電話 设置",
    "beyond the basic plane": "😀",
    "right to left": "אב",
    "combining": "a\u0301",
    "byte order mark": "\ufeffx",
    "half of a surrogate pair": "a\ud83db",
    "no-break spaces around": "\u00a0x\u00a0",
    "a thousand characters": "0123456789" * 100,
}


def throw(value: bytes) -> None:
    """Store the value in each field, after the field's number, and check the parameter file and the
    generated files after an edit of another field."""
    content = b"".join(b"%d%s\n" % (at, value) for at in range(len(FIELDS))) + b"0\n"
    with started(parameters=content) as root:
        if b"\xed" not in value:  # Qt shows a replacement character for half of a pair
            expect(shown(root) == content, f"shown: {shown(root)!r}")
        type_counts(root)
        connect(root)
        leave(root)
        for path, expected in {PARAMETERS: content, **generated(content)}.items():
            expect(root.read(path) == expected, f"{path} holds {root.read(path)!r}")


GROUPS = [Group("values", "unusual parameter values", lambda: [
    Row(name, partial(throw, text.encode(errors="surrogatepass")), chosen=name in (
        "every ASCII character", "half of a surrogate pair")) for name, text in VALUES.items()])]
