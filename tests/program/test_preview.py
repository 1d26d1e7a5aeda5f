"""./preview: the screen answers through VNC, the fakes do as they say, and nothing is left."""

import os
import signal
import socket
import subprocess
import sys
import unittest
from pathlib import Path

from panel.catalogue import Texts
from panel.facts import LINK_STATUS, SETTING, UNDETECTED
from panel.panel import Panel, unix_request
from panel.screen import Screen, centre
from privateroot.procfs import ENDED, descendants, process_name
from privateroot.viewer import Viewer
from privateroot.waiting import wait_until


class Preview(unittest.TestCase):
    def start(self, *options: str) -> Panel:
        """Starts ./preview as it is once everything is built."""
        environment = {**os.environ, "DISPLAY": "", "WAYLAND_DISPLAY": ""}
        self.preview = subprocess.Popen(
            [sys.executable, "-B", "-m", "privateroot.preview", *options], env=environment,
            stdout=subprocess.PIPE, text=True)
        self.addCleanup(self.preview.wait)
        self.addCleanup(self.preview.terminate)  # It removes its folder then.
        said = self.enterContext(self.preview.stdout or self.fail())
        host, port = said.readline().split()[1].split(":")
        self.address = host, int(port)
        self.program = int(said.readline().split()[1])
        self.usb = Path(said.readline().split()[1])
        self.processes = descendants(self.preview.pid)
        return Panel(unix_request(self.usb.with_name("inspector")))

    def wait_link(self, panel: Panel, text: str) -> None:
        """Has the program look at the link, not first 15 seconds after Connect, until it shows
        the text."""
        def shown(screen: Screen) -> bool:
            os.kill(self.program, signal.SIGUSR1)
            value = str(screen.value(LINK_STATUS)["text"])
            return value == text and not screen.busy_bars()

        panel.wait(shown, 5, f"the link {text}")

    def assert_gone(self, status: int) -> None:
        self.assertEqual(self.preview.wait(5), status)
        names = [process_name(pid) for pid in self.processes]
        self.assertEqual([name for name in names if name not in ENDED], [])
        self.assertFalse(self.usb.parent.exists())

    def touch(self, x: int, y: int) -> tuple[int, int]:
        """Touches by VNC what ends the program. @return the screen's size as VNC has it"""
        with Viewer(socket.create_connection(self.address, 5)) as viewer:
            viewer.touch(x, y)
            self.assertTrue(viewer.wait_end())
            return viewer.size

    def test_exit(self) -> None:
        panel = self.start("--size", "480x272", "--language", "1")
        texts = Texts(1)
        panel.tab(texts(SETTING))
        self.assertEqual(self.touch(*centre(panel.button(texts("Exit")))), (480, 272))
        self.assert_gone(0)

    def test_links_and_interruption(self) -> None:
        panel = self.start()
        table = ((1, "internet", "connected"), (2, "fail", "disconnected"))
        for number, apn, shown in table:
            with self.subTest(apn):
                panel.touch_in("APN NAME:", apn)
                panel.put_keys_away()  # They lie over the buttons.
                panel.press("Connect")
                panel.wait(lambda screen: screen.busy_bars(), 5, "the attempt")
                calls = self.usb.with_name("calls")
                wait_until(lambda: calls.read_text().count("pppd call") == number, 5, "pppd")
                self.wait_link(panel, shown)
                if shown == "connected":
                    panel.press("Disconnect")
                    self.wait_link(panel, "disconnected")
        self.usb.write_text("")
        panel.press("Connect")
        panel.wait(lambda screen: screen.has_dialog(), 5, "the dialog")
        self.assertEqual(panel.dialog()["text"], UNDETECTED)
        self.preview.send_signal(signal.SIGINT)
        self.assert_gone(128 + signal.SIGINT)


if __name__ == "__main__":
    unittest.main()
