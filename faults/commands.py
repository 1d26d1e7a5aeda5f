"""The board's own programs: missing, failing, killed, printing without end, reading, slow."""

from __future__ import annotations

from functools import cache, partial
from pathlib import Path
from signal import SIGUSR1

from faults.calls import STARTING
from faults.panel import APN, EDITED, TYPED, alive, generated, leave, stored, stored_root
from faults.rows import Group, Row, expect
from faults.trace import Call, Fault, calls_so_far, launch
from faults.unseen import connecting, thrown, unseen_root
from faults.unseen import leave as leave_unseen
from panel.facts import GREEN, LINK_STATUS, RED
from panel.screen import Screen
from privateroot.files import LAUNCH, STAND_IN, STAND_INS
from privateroot.process import PrivateRoot

NAMES = ("ls", "ifconfig", "route", "killall", "pppd")
TOOLS = ("grep", "sh")
DIALLING = ["killall pppd", "pppd call ppp-connect"]
MUCH = 100_000_000  # bytes
PANEL_KIB = 4096  # that the panel's memory may exceed its peak by
SECONDS = 10  # for what a touch or a check does
LATE = "/testrun/late"  # made by what has printed when its shell had ended
MISSING, PRINTS, PRINTS_LATE = "is missing", "prints 100 MB", "prints when its shell has ended"
USUAL = {  # answers, in shell; the other programs have none
    "ls": 'exec /usr/bin/ls "$@"\n',
    "ifconfig": "/usr/bin/cat /testrun/interfaces\n",
}
# What the program does under its name, in shell; its usual answer follows where it is asked for.
DEEDS = {
    "fails": ("exit 3\n", False),
    "is killed": ("kill -9 $$\n", False),
    PRINTS: (f"/usr/bin/head -c {MUCH} /dev/zero\n", True),
    f"{PRINTS} of errors": (f"/usr/bin/head -c {MUCH} /dev/zero >&2\n", True),
    "reads its input": ("/usr/bin/cat >/dev/null\n", True),
    "takes two seconds": ("/usr/bin/sleep 2\n", True),
    PRINTS_LATE: (f"(/usr/bin/sleep 0.2; echo late; echo late >&2; echo survived >>{LATE}) &\n",
                  True),
}
KEPT = 1 << 16  # bytes of each output of the ping test
LINE = "64 bytes from 168.95.1.1: icmp_seq=1 ttl=55 time=21.7 ms"
MANY_LINES = f"/usr/bin/yes '{LINE}' | /usr/bin/head -c {MUCH}"
KEPT_LINES = f"{LINE}\n" * KEPT
# What ping does, the output in the text box, and the end of what it or its shell complains about.
PINGS = {
    "fails": ("exit 3\n", "", ""),
    "is killed": ("kill -9 $$\n", "", ""),
    PRINTS: (f"{MANY_LINES}\n", KEPT_LINES[:KEPT], ""),
    f"{PRINTS} of errors": (f"{MANY_LINES} >&2\n", "", KEPT_LINES[:KEPT]),
    MISSING: ("", "", "ping: not found\n"),
}


def peak_kib(pid: int) -> int:
    """The most memory that a process has had at a time, in KiB."""
    return int(Path(f"/proc/{pid}/status").read_text().partition("VmHWM:")[2].split()[0])


def shows_link(screen: Screen, up: bool) -> bool:
    value = screen.value(LINK_STATUS)
    return (screen.button("Connect")["enabled"] is not up
            and screen.button("Disconnect")["enabled"] is up
            and screen.field(APN)["enabled"] is not up
            and (value["text"], value["style"])
            == (("connected", GREEN) if up else ("disconnected", RED)))


def wait_link(root: PrivateRoot, up: bool) -> None:
    root.wait(partial(shows_link, up=up), SECONDS, f"the link {'up' if up else 'down'}")


def check(root: PrivateRoot, up: bool, shown: bool) -> None:
    """A link check. @param shown whether it has the panel show a link"""
    root.set_link(up)
    root.signal(SIGUSR1)
    wait_link(root, shown)


def spoil(root: PrivateRoot, name: str, deed: str) -> None:
    if deed == MISSING:
        root.host(f"/testrun/bin/{name}").unlink()
    else:
        answer, usual = DEEDS[deed]
        root.answer(name, answer + (USUAL.get(name, "") if usual else ""))


def mend(root: PrivateRoot, name: str) -> None:
    root.answer_as_usual(name)
    program = root.host(f"/testrun/bin/{name}")
    if not program.is_symlink():
        program.symlink_to(STAND_IN if name in STAND_INS else f"/usr/bin/{name}")


def disconnect(root: PrivateRoot, left: bool, shown: bool) -> None:
    """Disconnect is touched. @param left whether the link stays, which a check has shown before
    @param shown whether the panel shows a link three seconds later"""
    root.panel.press("Disconnect")
    root.wait(lambda screen: not screen.button("Disconnect")["enabled"], SECONDS, "the touch")
    root.set_link(left)
    wait_link(root, shown)


def connect(root: PrivateRoot, name: str, deed: str, blind: bool) -> None:
    """Connect is touched: all is saved, and the commands that there are dial.
    @param blind whether no node is found: the attempt goes on when the command is mended"""
    before = len(root.calls())
    root.panel.fill(APN, TYPED)
    root.panel.press("Connect")
    if blind:
        root.wait(lambda screen: screen.busy_bars(), SECONDS, "the attempt")
        mend(root, name)
    wanted = [call for call in DIALLING if deed != MISSING or call.split()[0] != name]
    root.wait_until(lambda: root.commands(before) == wanted, SECONDS, f"{wanted}")
    root.wait_until(lambda: stored(root) == EDITED, SECONDS, "what was typed is stored")
    for path, content in generated(EDITED).items():
        root.wait_until(lambda: root.content(path) == content, SECONDS, f"{path} of it")


def throw(name: str, deed: str) -> None:
    """The panel shows what the command lets it see, dials as far as it lets it, does not grow, and
    goes on as before once the command is mended."""
    silent = deed == MISSING or not DEEDS[deed][1]
    shown = not (silent and name in ("ifconfig", *TOOLS))
    with stored_root() as root:
        root.start()
        if not shown:
            check(root, True, True)
        before, calls = peak_kib(root.pid), len(root.calls(name))
        spoil(root, name, deed)
        check(root, True, shown)
        if name == "killall":
            disconnect(root, silent, silent)
        if shows_link(root.panel.screen(), True):
            check(root, False, False)
        root.set_link(False)
        connect(root, name, deed, silent and name in ("ls", *TOOLS))
        if deed == PRINTS_LATE:
            root.wait_until(lambda: root.read(LATE), SECONDS, "what it prints does not kill it")
        expect(deed == MISSING or len(root.calls(name)) > calls, f"{name} was called")
        mend(root, name)
        check(root, True, True)
        grown = peak_kib(root.pid) - before
        expect(grown < PANEL_KIB, f"the peak has grown by {grown} KiB")
        leave(root)


def ping(root: PrivateRoot) -> str:
    """@return what the ping test adds to the text box"""
    def box(screen: Screen) -> str:
        return str(screen.orphans("QTextEdit")[0]["text"])
    before = box(root.panel.screen())
    call = root.panel.invoke("Makeup", "pinResponse")
    root.wait(lambda screen: not screen.invoked[call]["running"], SECONDS, "the ping's end")
    return box(root.panel.screen()).removeprefix(before).removeprefix("\n")


def throw_ping(deed: str) -> None:
    """The text box has the beginning of each output, and the next ping test is as ever."""
    answer, output, errors = PINGS[deed]
    with stored_root() as root:
        root.start()
        alive(root)
        before = peak_kib(root.pid)
        root.answer("ping", answer)
        if deed == MISSING:
            spoil(root, "ping", deed)
        text = ping(root)
        expect(text.startswith(f"oo\n{output}\n") and text.endswith(errors)
               and len(text) <= len("oo\n\n") + KEPT, f"in the text box: {text[:200]!r}")
        grown = peak_kib(root.pid) - before
        expect(grown < PANEL_KIB, f"the peak has grown by {grown} KiB")
        mend(root, "ping")
        root.answer("ping", "echo one\n")
        expect(ping(root) == "oo\none\n\n", "the next ping test")
        alive(root)
        leave(root)


def throw_unseen_late() -> None:
    with unseen_root(LAUNCH) as root:
        spoil(root, "pppd", PRINTS_LATE)
        with connecting(root) as viewer:
            root.wait_until(lambda: root.read(LATE), SECONDS, "what it prints does not kill it")
            leave_unseen(root, viewer)


def throw_unseen_output() -> None:
    with unseen_root(LAUNCH) as root, connecting(root) as viewer:
        root.wait_calls("pppd", 1, SECONDS)
        before, looks = peak_kib(root.pid), len(root.calls("usb"))
        spoil(root, "ifconfig", PRINTS)
        root.signal(SIGUSR1)
        root.wait_calls("usb", looks + 1, SECONDS)  # once the command has ended
        grown = peak_kib(root.pid) - before
        expect(grown < PANEL_KIB, f"the peak has grown by {grown} KiB")
        leave_unseen(root, viewer)


def linked(root: PrivateRoot) -> None:
    root.start()
    check(root, True, True)
    root.wait_calls("route", 1)  # the last command of a check


@cache
def starts_at_disconnect() -> list[Call]:
    """The calls that start a process when Disconnect is touched."""
    with stored_root(launch=launch(None, (), STARTING)) as root:
        linked(root)
        done = len(calls_so_far(root))
        root.panel.press("Disconnect")
        root.wait_calls("killall", 1)
        return calls_so_far(root)[done:]


def throw_at_disconnect(fault: Fault) -> None:
    """No killall: the panel shows the link that is left, and Disconnect can be touched again. When
    no command starts at all, it shows none."""
    with stored_root(launch=launch(fault, (), STARTING)) as root:
        linked(root)
        disconnect(root, True, not fault.lasting)
        thrown(root)
        expect(not root.calls("killall"), "killall did not start")
        if not fault.lasting:
            disconnect(root, False, False)
            expect(root.calls("killall"), "killall starts")
        leave(root)


def at_disconnect() -> list[Row]:
    calls = starts_at_disconnect()
    faults = [*(Fault(call, "error=EAGAIN") for call in calls),
              Fault(calls[0], "error=EMFILE", lasting=True)]
    return [Row(f"killall cannot be started at Disconnect: {fault}",
                partial(throw_at_disconnect, fault), chosen=fault.lasting) for fault in faults]


CHOSEN = (("ifconfig", PRINTS), ("ifconfig", "is killed"), ("killall", "fails"),
          ("route", MISSING), ("pppd", PRINTS_LATE))


def rows() -> list[Row]:
    return [*(Row(f"{name} {deed}", partial(throw, name, deed), chosen=(name, deed) in CHOSEN)
              for name in NAMES for deed in (*DEEDS, MISSING)),
            *(Row(f"{name} {MISSING}", partial(throw, name, MISSING)) for name in TOOLS),
            *(Row(f"ping {deed}", partial(throw_ping, deed), chosen=deed == PRINTS)
              for deed in PINGS),
            Row(f"pppd {PRINTS_LATE}, no inspector", throw_unseen_late),
            Row(f"ifconfig {PRINTS}, no inspector", throw_unseen_output, chosen=True),
            *at_disconnect()]


GROUPS = [Group("commands", "external commands fail or misbehave", rows)]
