"""The dongle of a simulated board, and the behaviour of its modem and network."""

from collections.abc import Mapping

from host.errors import BoardError
from panel.facts import DONGLE_PRODUCT
from virtualboard.guest import Guest

PORTS = 3
PORTS_MOST = 3
SCENARIO = "/run/dongle/scenario"
MODEM_LOG = "/run/dongle/modem.log"
MODEM_OUTPUT = "/run/dongle/modemsim.out"
NETWORK_LOG = "/run/dongle/network.log"
NETWORK_ADDRESS = "203.0.113.7"  # a host behind the network
NETWORK_NAME = "host.example"  # its name, which the network's name server resolves
PLUG_SECONDS = 60
REFUSED = 1  # exit status of modemsim for an invalid scenario


class Dongle:
    """The dongle of a board, plugged in or not."""

    def __init__(self, guest: Guest) -> None:
        self._guest = guest

    def plug(self, product: int = DONGLE_PRODUCT, ports: int = PORTS) -> None:
        """
        Plug in a dongle and wait for its ports.

        The ports are raw and without echo with the default product, and in the kernel's default
        mode with any other.

        @param product  USB product id, 0 to 0xffff; the program detects 0x1001 only
        @param ports  number of serial ports, 0 to PORTS_MOST
        @raise BoardError when a value is out of range
        """
        if not 0 <= product <= 0xFFFF:
            raise BoardError(f"a USB product id is 0 to ffff, not {product:x}")
        if not 0 <= ports <= PORTS_MOST:
            raise BoardError(f"a dongle has 0 to {PORTS_MOST} ports, not {ports}")
        self._guest.sh(f"dongle plug {product:#06x} {ports}", PLUG_SECONDS)

    def unplug(self) -> None:
        """Pull the dongle out, and wait until the board has detected it."""
        self._guest.sh("dongle unplug", PLUG_SECONDS)

    def tell_modem(self, settings: Mapping[str, str] | None = None) -> None:
        """
        Set the behaviour of the modem and the network, before or after plugging in.

        @param settings  keys that `modemsim --help` lists; the others get their defaults
        @raise BoardError when a key or value is invalid, without any change
        """
        told = f"{SCENARIO}.new"
        lines = "".join(f"{key}={value}\n" for key, value in (settings or {}).items())
        self._guest.write(told, lines.encode())
        done = self._guest.run(f"/app/modemsim --check-scenario {told}; checked=$?; "
                               f"[ $checked = {REFUSED} ] || mv {told} {SCENARIO}; exit $checked")
        if done.status == REFUSED:
            raise BoardError(f"the modem cannot do that: {done.text.strip()}")
