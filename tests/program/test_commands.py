"""External commands are missing, fail, are killed, are slow, print 100 MB or read their input."""

from pathlib import Path

import pytest

from panel.constants import APN
from privateroot.files import STAND_IN
from privateroot.operating import DIALLING, SECONDS, check_link, expect, link_shown, wait_link
from privateroot.process import PrivateRoot
from program.programtest import EDITED, LATE, PRINTS_LATE, TYPED, generated, row, stored

NAMES = ("ls", "ifconfig", "route", "killall", "pppd")
MUCH = 100_000_000  # bytes
PANEL_KIB = 4096  # permitted growth of the program's peak memory
MISSING, PRINTS, LATER = "is missing", "prints 100 MB", "prints when its shell has ended"
USUAL = {  # shell scripts of the usual answers; the other programs print nothing
    "ls": 'exec /usr/bin/ls "$@"\n',
    "ifconfig": "/usr/bin/cat /testrun/interfaces\n",
}
# Shell script of a faulty command; true if the usual answer follows.
DEEDS = {
    MISSING: ("", False),
    "fails": ("exit 3\n", False),
    "is killed": ("kill -9 $$\n", False),
    PRINTS: (f"/usr/bin/head -c {MUCH} /dev/zero\n", True),
    f"{PRINTS} of errors": (f"/usr/bin/head -c {MUCH} /dev/zero >&2\n", True),
    "reads its input": ("/usr/bin/cat >/dev/null\n", True),
    "takes two seconds": ("/usr/bin/sleep 2\n", True),
    LATER: (PRINTS_LATE, True),
}
EVERYDAY = (("route", PRINTS), ("ifconfig", "is killed"), ("killall", "fails"),
            ("route", MISSING), ("pppd", LATER))


def peak_kib(root: PrivateRoot) -> int:
    """Return the program's peak resident memory in KiB."""
    status = Path(f"/proc/{root.pid}/status").read_text()
    return int(status.partition("VmHWM:")[2].split()[0])


def spoil(root: PrivateRoot, name: str, deed: str) -> None:
    script, usual = DEEDS[deed]
    if deed == MISSING:
        root.host(f"/testrun/bin/{name}").unlink()
    else:
        root.answer(name, script + (USUAL.get(name, "") if usual else ""))


def mend(root: PrivateRoot, name: str, deed: str) -> None:
    root.answer_as_usual(name)
    if deed == MISSING:
        root.host(f"/testrun/bin/{name}").symlink_to(STAND_IN)


def connect(root: PrivateRoot, name: str, deed: str, blind: bool) -> None:
    """Edit the APN and touch Connect. Check that the edit is saved and that the program runs all
    commands that are not missing.

    @param blind true when the program cannot find the device node until mend()"""
    before = len(root.calls())
    root.panel.fill(APN, TYPED)
    root.panel.press("Connect")
    if blind:
        root.wait(lambda screen: screen.busy_bars(), SECONDS, "the attempt")
        mend(root, name, deed)
    wanted = [call for call in DIALLING if deed != MISSING or call.split()[0] != name]
    root.wait_until(lambda: root.commands(before) == wanted, SECONDS, f"{wanted}")
    root.wait_until(lambda: stored(root) == EDITED, SECONDS, "the edit is stored")
    for path, content in generated(EDITED).items():
        root.wait_until(lambda: root.content(path) == content, SECONDS, f"{path} is up to date")


@pytest.mark.parametrize("name, deed", [
    row(f"{name} {deed}", name, deed, everyday=(name, deed) in EVERYDAY)
    for name in NAMES for deed in DEEDS])
def test_command(root: PrivateRoot, name: str, deed: str) -> None:
    """Check that the program shows the link and dials as far as the faulty command permits, that
    its memory does not grow, and that it works again after mend()."""
    silent = not DEEDS[deed][1]
    shown = not (silent and name == "ifconfig")
    if not shown:
        check_link(root, True)
    before, calls = peak_kib(root), len(root.calls(name))
    spoil(root, name, deed)
    check_link(root, True, shown)
    if name == "killall":
        root.panel.press("Disconnect")
        root.wait(lambda screen: not screen.button("Disconnect")["enabled"], SECONDS, "the touch")
        root.set_link(silent)  # the link stays up if nothing has stopped pppd
        wait_link(root, silent)
    if link_shown(root.panel.screen(), True):
        check_link(root, False)
    root.set_link(False)
    blind = silent and name == "ls"
    connect(root, name, deed, blind)
    if deed == LATER:
        root.wait_until(lambda: root.read(LATE), SECONDS, "the command survives its late output")
    expect(deed == MISSING or len(root.calls(name)) > calls, f"{name} was called")
    if not blind:
        mend(root, name, deed)
    check_link(root, True)
    grown = peak_kib(root) - before
    expect(grown < PANEL_KIB, f"the peak has grown by {grown} KiB")
