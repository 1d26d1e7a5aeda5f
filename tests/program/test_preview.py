"""./preview: its screen over VNC, its simulated commands, and its clean-up."""

import os
import socket
import subprocess
import sys
import time
from pathlib import Path
from signal import SIGINT, SIGUSR1

from panel.catalogue import Texts
from panel.constants import BUTTON_GUARD_SECONDS, SETTING
from panel.panel import Panel, unix_request
from panel.screen import Screen, centre
from privateroot.procfs import ENDED, descendants, process_name
from privateroot.viewer import Viewer

SIMULATOR = Path(__file__).resolve().parents[2] / "simulator"


def test_preview() -> None:
    """Touch Connect over VNC and wait for the link. Ctrl-C removes all processes and files."""
    texts, command = Texts(1), [sys.executable, "-B", "-m", "privateroot.preview", "--size",
                                "480x272", "--language", "1"]
    environment = {**os.environ, "DISPLAY": "", "WAYLAND_DISPLAY": "", "PYTHONPATH": str(SIMULATOR)}
    with subprocess.Popen(command, env=environment, stdout=subprocess.PIPE, text=True) as preview:
        try:
            assert preview.stdout
            address, program, usb = (preview.stdout.readline().split()[1] for _ in range(3))
            panel = Panel(unix_request(Path(usb).with_name("inspector")))
            panel.tab(texts(SETTING))
            host, port = address.split(":")
            with Viewer(socket.create_connection((host, int(port)), 5)) as viewer:
                assert viewer.size == (480, 272)
                time.sleep(BUTTON_GUARD_SECONDS)
                viewer.touch(*centre(panel.button(texts("Connect"))))

                def is_up(screen: Screen) -> bool:
                    os.kill(int(program), SIGUSR1)  # check the link without waiting 15 s
                    return bool(screen.button(texts("Disconnect"))["enabled"])

                panel.wait(is_up, 5, "the link")
            processes = descendants(preview.pid)
            preview.send_signal(SIGINT)
            assert preview.wait(5) == 128 + SIGINT
            assert {process_name(pid) for pid in processes} <= {*ENDED}
            assert not Path(usb).parent.exists()
        finally:
            preview.terminate()  # on SIGTERM it removes its directory
