"""The parameter files: the values that the screen shows, and the content after the next save."""

import os

import pytest

from panel.constants import AUTO_CONNECT, COUNTS, FIELDS, PARAMETERS
from privateroot.files import LAUNCH
from privateroot.operating import connect, leave
from program.programtest import generated, row, shown, type_counts
from program.conftest import Roots

YES, NO, NEITHER = [True, False], [False, True], [False, False]
# Content, and the shown values in the format of the next save.
PARAMETER_FILES: dict[str, tuple[bytes | None, str]] = {
    "missing": (None, "\n\n\n\n\n0\n"),
    "complete": (b"a\nb\nc\nd\n1234\n1\n", "a\nb\nc\nd\n1234\n1\n"),
    "five lines": (b"a\nb\nc\nd\ne\n", "\n\n\n\n\n0\n"),
    "very long": (b"a\nb\nc\nd\ne\n1\n" + b"x\n" * 200000, "a\nb\nc\nd\ne\n1\n"),
    "UTF-8 and ISO 8859-1": (b"gr\xc3\xbcn\n\xe4\xb8\n\xff\n\n\n0\n",
                             "gr\u00fcn\n\u00e4\u00b8\n\u00ff\n\n\n0\n"),
    "method beyond the list": (b"\n\n\n\n\n3\n", "\n\n\n\n\n-1\n"),
    "method is no number": (b"\n\n\n\n\nPAP\n", "\n\n\n\n\n0\n"),
}
# Content, radio buttons YES and NO, counts, content after a save.
AUTO_CONNECT_FILES: dict[str, tuple[bytes | None, list[bool], str, bytes]] = {
    "missing": (None, NO, "5", b"1\n5\n"),
    "one line": (b"0\n", NEITHER, "", b"1\n\n"),
    "yes": (b"0\n7\n", YES, "7", b"0\n7\n"),
    "no": (b"1\n7\n", NO, "7", b"1\n7\n"),
    "flag is no number": (b"NO\n7\n", YES, "7", b"0\n7\n"),
    "other number": (b"-2\n many \nx\n", NO, "many", b"1\nmany\n"),
}

# Values that the program must show, store and write into the generated files unchanged.
VALUES = {
    "every ASCII character": bytes(range(0x21, 0x7f)).decode(),
    "words and options of chat": "a  b\tc '' -v ^C \\c \\d TIMEOUT 1",
    "control characters": "a\x01\x07\x1b[2J\x7fb",
    "format directives": "%s%n%1$s %1 %2",
    "beyond ASCII": "\ufeffé ü 電話 设置 😀 אב a\u0301",
    "halves of a surrogate pair": "a\ud83db\ude00c",
    "no-break spaces around": "\u00a0x\u00a0",
    "a thousand characters": "0123456789" * 100,
}
EVERYDAY = ("every ASCII character", "halves of a surrogate pair")


@pytest.mark.parametrize("content, saved", PARAMETER_FILES.values(), ids=PARAMETER_FILES)
def test_parameter_file(roots: Roots, content: bytes | None, saved: str) -> None:
    """Read and save the file in the C locale, which must not affect the encoding."""
    root = roots.new(launch=LAUNCH.replace("program", "program /usr/bin/env LC_ALL=C"))
    if content is not None:
        root.write(PARAMETERS, content)
        root.host(PARAMETERS).chmod(0o644)
    assert shown(root.start()).decode() == saved
    assert root.read(PARAMETERS) == content
    leave(root)
    assert root.content(PARAMETERS).decode() == saved
    assert root.mode(PARAMETERS) == "600"
    for directory in ("/etc/ppp/chat", "/etc/ppp/peers"):
        assert os.listdir(root.host(directory)) == []


@pytest.mark.parametrize("content, radios, counts, saved", AUTO_CONNECT_FILES.values(),
                         ids=AUTO_CONNECT_FILES)
def test_auto_connect_file(roots: Roots, content: bytes | None, radios: list[bool], counts: str,
                           saved: bytes) -> None:
    root = roots.new()
    if content is not None:
        root.write(AUTO_CONNECT, content)
    screen = root.start().panel.screen()
    assert [radio["checked"] for radio in screen.all("QRadioButton", visible=False)] == radios
    assert screen.field(COUNTS)["text"] == counts
    leave(root)
    assert root.read(AUTO_CONNECT) == saved
    assert root.mode(AUTO_CONNECT) == "600"


@pytest.mark.parametrize("text", [row(name, text, everyday=name in EVERYDAY)
                                  for name, text in VALUES.items()])
def test_unusual(roots: Roots, text: str) -> None:
    """Store the value in each field, with the field's number in front. Edit the counts, connect,
    and check the parameter file and the generated files."""
    value = text.encode(errors="surrogatepass")
    content = b"".join(b"%d%s\n" % (at, value) for at in range(len(FIELDS))) + b"0\n"
    root = roots.started(parameters=content)
    if b"\xed" not in value:  # Qt shows a replacement character instead
        assert shown(root) == content
    type_counts(root)
    connect(root)
    leave(root)
    for path, expected in {PARAMETERS: content, **generated(content)}.items():
        assert root.read(path) == expected
