"""./preview: its screen over VNC, its simulated commands, and its clean-up."""

import os
import signal
import socket
import subprocess
import sys
import time
from collections.abc import Iterator
from contextlib import contextmanager
from pathlib import Path

from panel.catalogue import Texts
from panel.constants import BUTTON_GUARD_SECONDS, SETTING
from panel.panel import Panel, unix_request
from panel.screen import Screen, centre
from privateroot.procfs import ENDED, descendants, process_name
from privateroot.viewer import Viewer

SIMULATOR = Path(__file__).resolve().parents[2] / "simulator"


class Preview:
    """The process that ./preview runs after the build."""

    def __init__(self, process: subprocess.Popen[str]) -> None:
        assert process.stdout
        self.process = process
        address, pid, usb = (process.stdout.readline().split()[1] for _ in range(3))
        host, port = address.split(":")
        self.address, self.program, self._usb = (host, int(port)), int(pid), Path(usb)
        self._processes = descendants(process.pid)
        self.panel = Panel(unix_request(self._usb.with_name("inspector")))

    def expect_gone(self, status: int) -> None:
        assert self.process.wait(5) == status
        assert {process_name(pid) for pid in self._processes} <= {*ENDED}
        assert not self._usb.parent.exists()


@contextmanager
def preview(*options: str) -> Iterator[Preview]:
    environment = {**os.environ, "DISPLAY": "", "WAYLAND_DISPLAY": "", "PYTHONPATH": str(SIMULATOR)}
    with subprocess.Popen([sys.executable, "-B", "-m", "privateroot.preview", *options],
                          env=environment, stdout=subprocess.PIPE, text=True) as process:
        try:
            yield Preview(process)
        finally:
            process.terminate()  # on SIGTERM it removes its directory


def test_preview() -> None:
    """Touch Connect over VNC and wait for the link. Ctrl-C removes all processes and files."""
    texts = Texts(1)
    with preview("--size", "480x272", "--language", "1") as shown:
        shown.panel.tab(texts(SETTING))
        with Viewer(socket.create_connection(shown.address, 5)) as viewer:
            assert viewer.size == (480, 272)
            time.sleep(BUTTON_GUARD_SECONDS)
            viewer.touch(*centre(shown.panel.button(texts("Connect"))))

            def is_up(screen: Screen) -> bool:
                os.kill(shown.program, signal.SIGUSR1)  # check the link without waiting 15 s
                return bool(screen.button(texts("Disconnect"))["enabled"])

            shown.panel.wait(is_up, 5, "the link")
        shown.process.send_signal(signal.SIGINT)
        shown.expect_gone(128 + signal.SIGINT)
