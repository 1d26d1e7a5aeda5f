"""The board's own programs: missing, failing, killed, printing without end, reading, slow."""

from __future__ import annotations

from functools import partial

from faults.panel import EDITED, alive, leave, stored, stored_root, type_and_connect
from faults.rows import Group, Row, expect
from privateroot.process import PrivateRoot
from privateroot.procfs import private_kib

NAMES = ("ls", "ifconfig", "route", "killall", "pppd")
MUCH = 100_000_000  # bytes
PANEL_KIB = 4096  # that the panel may grow by
# What the program does under its name, in shell; its usual answer follows where it is asked for.
DEEDS = {
    "fails": ("exit 3\n", False),
    "is killed": ("kill -9 $$\n", False),
    "prints 100 MB": (f"/usr/bin/head -c {MUCH} /dev/zero\n", True),
    "prints 100 MB of errors": (f"/usr/bin/head -c {MUCH} /dev/zero >&2\n", True),
    "reads its input": ("/usr/bin/cat >/dev/null\n", True),
    "takes two seconds": ("/usr/bin/sleep 2\n", True),
    "prints when its shell has ended": ("(/usr/bin/sleep 0.2; echo late; echo late >&2; "
                                        "echo survived >>/testrun/late) &\n", True),
}
USUAL = {"ls": 'exec /usr/bin/ls "$@"\n', "ifconfig": "exec /usr/bin/cat /testrun/interfaces\n"}


def disconnect(root: PrivateRoot) -> None:
    """Disconnect, and a link that goes."""
    root.set_link(True)
    alive(root)
    root.panel.press("Disconnect")
    root.set_link(False)
    root.wait(lambda screen: screen.button("Connect")["enabled"], 10, "the link down")


def throw(name: str, deed: str) -> None:
    """The program dials as far as the command lets it, shows no link, ends, and has not grown."""
    answer, answers = DEEDS[deed]
    with stored_root() as root:
        root.start()
        alive(root)
        before = private_kib(root.pid)
        root.answer(name, answer + (USUAL.get(name, "") if answers else ""))
        blind = name == "ls" and not answers  # the node is not found, the attempt waits for it
        if blind:
            root.panel.press("Connect")
            root.wait_calls("ls", len(root.calls("ls")) + 2)
        else:
            type_and_connect(root)
            expect(stored(root) == EDITED, f"{stored(root)!r} is stored")
        alive(root)
        if name == "killall":
            disconnect(root)
        grown = private_kib(root.pid) - before
        expect(grown < PANEL_KIB, f"grown by {grown} KiB")
        if name == "pppd" and "late" in answer:
            root.wait_until(lambda: root.read("/testrun/late"), 5, "what it prints kills it")
        leave(root)


def throw_missing(name: str) -> None:
    with stored_root() as root:
        root.start()
        root.host(f"/testrun/bin/{name}").unlink()
        root.panel.press("Connect")
        root.wait(lambda screen: screen.busy_bars(), 5, "the attempt")
        leave(root)


def rows() -> list[Row]:
    return [*(Row(f"{name} {deed}", partial(throw, name, deed),
                  chosen=(name, deed) in (("pppd", "prints when its shell has ended"),
                                          ("ifconfig", "prints 100 MB")))
              for name in NAMES for deed in DEEDS),
            *(Row(f"{name} is missing", partial(throw_missing, name))
              for name in (*NAMES, "grep", "sh"))]


GROUPS = [Group("commands", "the board's programs misbehave", rows)]
