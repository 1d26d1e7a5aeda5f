"""Steps the board's clock forward and back in each wait, and checks that the wait ends on time.
Most rows run tests of tests/program with a clock that steps."""

from __future__ import annotations

import os
import subprocess
import sys
import time
from functools import partial
from pathlib import Path

from faults.rows import Group, Row
from faults.unseen import connecting, terminate, unseen_root
from privateroot.operating import STEPPED, expect, step_clock

ROOT = Path(__file__).resolve().parents[1]
STEPS = {"to 2040": "@2040-01-01 00:00:00", "to 1971": "@1971-01-01 00:00:00", "an hour on": "+1h",
         "an hour back": "-1h"}
LEAST_STEP = 3000  # seconds
ATTEMPT_SECONDS = (14, 18)
WAITS = {
    "the checks of an attempt and a disconnect": "test_supervision.AfterConnect."
                                                 "test_fifteen_seconds",
    "the wait for the node": "test_connect.ConnectWait.test_served_with_a_moving_bar",
    "the waiting dialog": "test_connect.ConnectWait.test_dongle_dialog_closes_itself",
    "the wait for the modem's answer": "test_modem.SignalQuery.test_silence",
    "the start's wait for the node": "test_startup.StartUp.test_node_wait_is_served",
    "the start's waiting dialog": "test_startup.StartUp.test_dongle_dialog",
}


def throw(test: str, moment: str) -> None:
    run = subprocess.run(
        [sys.executable, "-B", "-m", "unittest", test], cwd=ROOT / "tests/program",
        env={**os.environ, "PYTHONPATH": str(ROOT / "simulator"), "CORVANTA_CLOCK": moment,
             "CORVANTA_PATIENCE": "3"},
        capture_output=True, text=True, check=False)
    expect(run.returncode == 0, run.stderr)


def throw_unseen(moment: str) -> None:
    """Check an attempt without the inspector, whose requests wake the program up."""
    with unseen_root(**STEPPED) as root:
        step_clock(root, "+0")
        with connecting(root):
            root.wait_calls("pppd", 1)
            begin = time.monotonic()
            checks, looks = len(root.calls("ifconfig")), len(root.calls("usb"))
            step_clock(root, moment)
            root.wait_calls("ifconfig", checks + 1, 20)
            seconds = time.monotonic() - begin
            expect(ATTEMPT_SECONDS[0] < seconds < ATTEMPT_SECONDS[1], f"after {seconds:.1f} s")
            root.wait_calls("usb", looks + 1)
            terminate(root)
        # The stand-in for libusb logs the program's time.
        expect(abs(root.calls("usb")[-1].time - time.time()) > LEAST_STEP, "the clock has stepped")


GROUPS = [Group("clock", "the clock steps during a wait", lambda: [
    *(Row(f"{name}: {step}", partial(throw, test, moment),
          chosen=step == "to 1971" and "node" in name)
      for name, test in WAITS.items() for step, moment in STEPS.items()),
    *(Row(f"the check of an attempt: {step}, no inspector", partial(throw_unseen, moment))
      for step, moment in STEPS.items())], at_once=8)]
