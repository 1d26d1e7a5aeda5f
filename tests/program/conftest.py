"""Fixtures of the program tests: private roots and modems, closed after the test."""

import subprocess
from collections.abc import Callable, Iterator
from contextlib import ExitStack, closing
from signal import SIGTERM
from typing import Any

import pytest

from privateroot.operating import CLOCK_FILE, STEPPED, ended, step_clock, stored_root
from privateroot.process import PrivateRoot
from privateroot.procfs import process_name
from program.modem import Modem


class Roots:
    """Makes private roots. After a test, a program that still runs must exit cleanly on SIGTERM.

    @param stack closes the roots at the end of the test
    @param clock time, in the format of faketime; the program's clock alternates between it and the
        present. "" for a clock that does not step
    """

    def __init__(self, stack: ExitStack, clock: str) -> None:
        self._stack = stack
        self._clock = clock

    def new(self, make: Callable[..., PrivateRoot] = PrivateRoot, **how: Any) -> PrivateRoot:
        root = self._stack.enter_context(make(**(STEPPED if self._clock else {}), **how))
        self._stack.callback(expect_no_report, root)
        self._stack.callback(end, root)
        if self._clock:
            step_clock(root, "+0")
            script = "while sleep 0.7; do echo \"$1\" >\"$0\"; sleep 0.7; echo +0 >\"$0\"; done"
            stepper = self._stack.enter_context(subprocess.Popen(
                ["sh", "-c", script, root.host(CLOCK_FILE), self._clock]))
            self._stack.callback(stepper.kill)
        return root

    def stored(self, **how: Any) -> PrivateRoot:
        """Make a root with stored parameters."""
        return self.new(stored_root, **how)

    def started(self, **how: Any) -> PrivateRoot:
        """Make a root with stored parameters and start the program in it."""
        return self.stored(**how).start()


def end(root: PrivateRoot) -> None:
    """If the program still runs, check that it exits cleanly on SIGTERM."""
    if root.exit_status() is None and process_name(root.pid) == "corvanta":
        root.signal(SIGTERM)
        ended(root)


def expect_no_report(root: PrivateRoot) -> None:
    """Check that no sanitizer has reported anything."""
    assert not [line for line in root.errors() if "Sanitizer" in line or "runtime error" in line]


@pytest.fixture
def clock() -> str:
    return ""


@pytest.fixture
def roots(clock: str) -> Iterator[Roots]:
    with ExitStack() as stack:
        yield Roots(stack, clock)


@pytest.fixture
def root(roots: Roots) -> PrivateRoot:
    """Provide a private root in which the program runs with stored parameters."""
    return roots.started()


@pytest.fixture
def modems() -> Iterator[Callable[..., Modem]]:
    """Provide a function that makes modems; its arguments are those of Modem."""
    with ExitStack() as stack:
        yield lambda *arguments: stack.enter_context(closing(Modem(*arguments)))
