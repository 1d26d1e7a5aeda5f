"""Connects to a Unix socket of the host by a path of any length."""

import os
import socket
import time
from pathlib import Path


def connect(path: Path, timeout: float = 0) -> socket.socket:
    """
    Connect to a socket.

    A socket address has at most 107 bytes, so the address is a short path by way of a descriptor of
    the directory.

    @param timeout  seconds to wait for a socket that does not exist yet
    @raise OSError of the last attempt
    """
    deadline = time.monotonic() + timeout
    directory = os.open(path.parent, os.O_PATH | os.O_CLOEXEC)
    try:
        while True:
            client = socket.socket(socket.AF_UNIX)
            try:
                client.connect(f"/proc/self/fd/{directory}/{path.name}")
                return client
            except OSError:
                client.close()
                if time.monotonic() >= deadline:
                    raise
            time.sleep(0.01)
    finally:
        os.close(directory)
