"""The dongle of a simulated board, and the behaviour of its modem and network."""

from collections.abc import Mapping

from machine.guest import Guest
from panel.constants import DONGLE_PRODUCT

PORTS = 3
SCENARIO = "/run/dongle/scenario"
MODEM_LOG = "/run/dongle/modem.log"
MODEM_OUTPUT = "/run/dongle/modemsim.out"
NETWORK_LOG = "/run/dongle/network.log"
NETWORK_ADDRESS = "203.0.113.7"  # a host behind the network
NETWORK_NAME = "host.example"  # name of this host, which the network's name server resolves
PLUG_SECONDS = 60


class Dongle:
    """The dongle of a board, which may be unplugged."""

    def __init__(self, guest: Guest) -> None:
        self._guest = guest

    def plug(self, product: int = DONGLE_PRODUCT, ports: int = PORTS) -> None:
        """
        Plug in a dongle and wait for its ports.

        @param product  USB product id, 0 to 0xffff; the program detects 0x1001 only
        @param ports  number of serial ports: PORTS, or 0 for a dongle without a driver
        """
        self._guest.sh(f"dongle plug {product:#06x} {ports}", PLUG_SECONDS)

    def unplug(self) -> None:
        """Unplug the dongle, and wait until the board has detected this."""
        self._guest.sh("dongle unplug", PLUG_SECONDS)

    def tell_modem(self, settings: Mapping[str, str] | None = None) -> None:
        """
        Set the behaviour of the modem and the network. The dongle need not be plugged in.

        @param settings  values of keys that `modemsim --help` lists; all others get their defaults
        @raise BoardError when a key or value is invalid; then nothing is changed
        """
        lines = "".join(f"{key}={value}\n" for key, value in (settings or {}).items())
        self._guest.write(f"{SCENARIO}.new", lines.encode())
        self._guest.sh(f"/app/modemsim --check-scenario {SCENARIO}.new && "
                       f"mv {SCENARIO}.new {SCENARIO}")
