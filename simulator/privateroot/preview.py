"""Runs the real program on this host, with a simulated dongle and simulated board commands.

Connect succeeds. With the APN "fail" it fails after 15 s, when the program checks the link.
"""

from __future__ import annotations

import argparse
import math
import os
import shutil
import signal
import socket
import subprocess
import sys
from contextlib import ExitStack

from panel.constants import CHAT_SCRIPT, PARAMETERS, SIZES, STORED_AUTO
from panel.patience import wait_until
from privateroot.files import LINK_DOWN, LINK_UP
from privateroot.operating import stored_root
from privateroot.process import PrivateRoot
from privateroot.viewer import SETUP, SOCKET

HOST = "127.0.0.1"
INTERFACES = "/testrun/interfaces"
VIEWER = "vncviewer"
COMMANDS = {
    "pppd": f"""/usr/bin/grep -qs ',"fail"' {CHAT_SCRIPT} || printf '{LINK_UP}' >{INTERFACES}\n""",
    "killall": f"printf '{LINK_DOWN}' >{INTERFACES}\n",
    "ping": 'echo "PING $3: this is a preview, nothing was sent"\n',
}


def size(text: str) -> tuple[int, int]:
    width, height = text.split("x")
    return int(width), int(height)


def arguments() -> argparse.Namespace:
    parser = argparse.ArgumentParser(prog="./preview", description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    sizes = ", ".join(f"{width}x{height}" for width, height in SIZES)
    parser.add_argument("--size", type=size, default=SIZES[1], metavar="WxH",
                        help=f"panel size in pixels (the board's panels: {sizes})")
    return parser.parse_args()


def make_root(size: tuple[int, int]) -> PrivateRoot:
    root = stored_root(auto=STORED_AUTO, size=size, setup=SETUP, keys=True)
    for name, answer in COMMANDS.items():
        root.answer(name, answer)
    return root


def start(stack: ExitStack, *command: str) -> None:
    """Start a program that is terminated when the stack is closed or this process exits."""
    process = subprocess.Popen(["setpriv", "--pdeathsig", "TERM", *command],
                               stderr=subprocess.DEVNULL)
    stack.callback(process.wait)
    stack.callback(process.terminate)


def lead_out(stack: ExitStack, root: PrivateRoot) -> str:
    """Forward a free port of the host's loopback interface to the program's VNC server.

    @return address and port"""
    with socket.create_server((HOST, 0)) as server:
        port = server.getsockname()[1]
    start(stack, "socat", f"TCP-LISTEN:{port},bind={HOST},reuseaddr,fork",
          f"UNIX-CONNECT:{root.run}/{SOCKET}")

    def listens() -> bool:
        with socket.socket() as probe:
            return probe.connect_ex((HOST, port)) == 0

    wait_until(listens, 5, "socat listening")
    return f"{HOST}:{port}"


def show(stack: ExitStack, root: PrivateRoot) -> None:
    """Print the VNC address, and start a viewer if the host has a display."""
    address = lead_out(stack, root)
    print(f"VNC: {address}\nProcess: {root.pid}\n"
          f"Dongle: {root.run}/usb (empty this file to unplug the dongle)\n"
          f"Parameters: {root.host(PARAMETERS)}\n"
          "To end, touch Exit on the panel or press Ctrl-C here.", flush=True)
    if os.environ.keys() & {"DISPLAY", "WAYLAND_DISPLAY"} and shutil.which(VIEWER):
        start(stack, VIEWER, address.replace(":", "::"))


def main() -> int:
    options, status = arguments(), None
    signal.signal(signal.SIGTERM, lambda *_: sys.exit(128 + signal.SIGTERM))
    with ExitStack() as stack:
        root = stack.enter_context(make_root(options.size))
        root.start()
        show(stack, root)
        if status := root.wait_exit(math.inf):
            print(root.report(), file=sys.stderr)
    return status or 0


if __name__ == "__main__":
    try:
        sys.exit(main())
    except KeyboardInterrupt:
        sys.exit(128 + signal.SIGINT)
