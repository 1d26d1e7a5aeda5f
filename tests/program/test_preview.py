"""./preview: the screen answers through VNC, the commands do as they are set, nothing is left."""

import os
import signal
import socket
import subprocess
import sys
import unittest
from pathlib import Path

from panel.catalogue import Texts
from panel.facts import APN, LINK_STATUS, SETTING
from panel.panel import Panel, unix_request
from panel.screen import Screen, centre
from privateroot.procfs import ENDED, descendants, process_name
from privateroot.viewer import Viewer


class Preview(unittest.TestCase):
    def start(self, *options: str) -> Panel:
        """Start ./preview as it does once everything is built."""
        environment = {**os.environ, "DISPLAY": "", "WAYLAND_DISPLAY": ""}
        self.preview = subprocess.Popen(
            [sys.executable, "-B", "-m", "privateroot.preview", *options], env=environment,
            stdout=subprocess.PIPE, text=True)
        self.addCleanup(self.preview.wait)
        self.addCleanup(self.preview.terminate)  # It removes its directory then.
        said = self.enterContext(self.preview.stdout or self.fail())
        address, process, usb = (said.readline().split()[1] for _ in range(3))
        host, port = address.split(":")
        self.address, self.program, self.usb = (host, int(port)), int(process), Path(usb)
        self.processes = descendants(self.preview.pid)
        return Panel(unix_request(self.usb.with_name("inspector")))

    def assert_gone(self, status: int) -> None:
        self.assertEqual(self.preview.wait(5), status)
        names = [process_name(pid) for pid in self.processes]
        self.assertEqual([name for name in names if name not in ENDED], [])
        self.assertFalse(self.usb.parent.exists())

    def test_exit(self) -> None:
        panel, texts = self.start("--size", "480x272", "--language", "1"), Texts(1)
        panel.tab(texts(SETTING))
        with Viewer(socket.create_connection(self.address, 5)) as viewer:
            viewer.touch(*centre(panel.button(texts("Exit"))))
            self.assertTrue(viewer.wait_end())
            self.assertEqual(viewer.size, (480, 272))
        self.assert_gone(0)

    def test_link_and_interruption(self) -> None:
        panel = self.start()
        panel.touch_in(APN, "internet")
        panel.put_keys_away()  # They cover the buttons.
        for button, shown in (("Connect", "connected"), ("Disconnect", "disconnected")):
            panel.press(button)
            self.wait_link(panel, shown)
        self.preview.send_signal(signal.SIGINT)
        self.assert_gone(128 + signal.SIGINT)

    def wait_link(self, panel: Panel, text: str) -> None:
        """Request link checks, not first 15 s after Connect, until the text is shown."""
        def shown(screen: Screen) -> bool:
            os.kill(self.program, signal.SIGUSR1)
            return screen.value(LINK_STATUS)["text"] == text and not screen.busy_bars()
        panel.wait(shown, 5, f"the link {text}")
