#!/usr/bin/python3
"""The link beside the panel's service: it outlives what happens to the panel, which follows it."""

import re
import subprocess
import tempfile
import unittest
from pathlib import Path

from boardtest import DOWN, UP, BoardTest
from host.paths import ARM
from panel.facts import CHECK_SECONDS, PPP_LOG, STATUS
from virtualboard.dongle import NETWORK_ADDRESS
from virtualboard.program import UNIT

FOLLOWED_SECONDS = 2.0  # of the board's clock, from a change of the link to the screen
INSTALL_SECONDS = 120
FAKES = "/run/fakes"  # of commands that the board does not have
OUTAGE_SECONDS = 240
HOLDOFF_SECONDS = 5
RETURN_SECONDS = 60
PACKAGE = "/app/corvanta.deb"
GADGETS = "/sys/kernel/config/usb_gadget"
# Plugs in a serial adapter of another maker on a bus of its own, and then the dongle.
ADAPTER = f"""modprobe -r dummy_hcd && modprobe dummy_hcd num=2
mkdir {GADGETS}/adapter && cd {GADGETS}/adapter
echo 0x0403 >idVendor; echo 0x1234 >idProduct
mkdir strings/0x409 configs/c.1 functions/gser.9
ln -s functions/gser.9 configs/c.1/
echo 0403 1234 ff >/sys/bus/usb-serial/drivers/option1/new_id
echo dummy_udc.1 >UDC
until [ -c /dev/ttyUSB0 ]; do sleep 0.1; done
echo dummy_udc.0 >{GADGETS}/dongle/UDC
"""
MAIN_PID = f"systemctl show --property=MainPID --value {UNIT}"


def newer_package() -> bytes:
    """The package with a later version, and otherwise the same."""
    built = next(ARM.glob("corvanta_*_armhf.deb"))
    with tempfile.TemporaryDirectory() as folder:
        tree, newer = Path(folder, "tree"), Path(folder, "newer.deb")
        subprocess.run(["dpkg-deb", "--raw-extract", built, tree], check=True)
        control = tree / "DEBIAN/control"
        control.write_text(re.sub(r"(?m)^Version: .*", r"\g<0>+next", control.read_text()))
        subprocess.run(["dpkg-deb", "--root-owner-group", "--build", tree, newer], check=True,
                       stdout=subprocess.DEVNULL)
        return newer.read_bytes()


class Link(BoardTest):
    """What happens to the panel must not happen to the link."""

    def dial(self, holdoff: int) -> None:
        """Dial with provisioned parameters, without an edit on the panel.

        @param holdoff pppd's wait between two dials, in seconds
        """
        self.sh("corvanta-provision apn=internet 'dial=*99#' user=operator password=secret; "
                f"echo 'holdoff {holdoff}' >>/etc/ppp/peers/ppp-connect")
        self.board.dongle.plug()
        self.start_program()
        self.panel.press("Connect")

    def test_link_outlives_the_panel(self) -> None:
        """Stop, restart, upgrade and crash, with traffic over the link all the while."""
        self.dial(HOLDOFF_SECONDS)
        self.wait_up()
        pppd = self.sh("pgrep -x pppd")
        self.sh(f"setsid ping -i 0.3 {NETWORK_ADDRESS} >/run/ping 2>&1 </dev/null & "
                "echo $! >/run/pinger")
        self.board.guest.write("/run/newer.deb", newer_package())
        for name, commands in (
                ("stop and start", f"systemctl stop {UNIT}; systemctl start {UNIT}"),
                ("restart", f"systemctl restart {UNIT}"),
                ("crash", f"before=$({MAIN_PID}); kill -SEGV $before; until now=$({MAIN_PID}) && "
                 "[ $now != 0 ] && [ $now != $before ]; do sleep 0.2; done"),
                ("upgrade", "dpkg --install /run/newer.deb"),
        ):
            with self.subTest(name):
                before = self.board.program.pid()
                self.sh(commands, INSTALL_SECONDS)
                self.await_window()
                self.assertEqual(self.link(), UP)
                self.assertNotEqual(self.board.program.pid(), before)
                self.assertEqual(self.sh("pgrep -x pppd"), pppd)
        self.assertIn("+next", self.sh("dpkg-query --show corvanta"))
        self.sh("dpkg --remove corvanta", INSTALL_SECONDS)
        self.assertEqual(self.sh("pgrep -x pppd"), pppd)
        said = self.sh("kill -INT $(</run/pinger); sleep 0.5; cat /run/ping")
        self.assertIn(" 0% packet loss", said)
        self.sh(f"dpkg --install {PACKAGE}; systemctl stop {UNIT}", INSTALL_SECONDS)

    def test_screen_follows_the_link(self) -> None:
        """The hooks: up before the check of Connect, down, and up again, without a touch."""
        self.dial(HOLDOFF_SECONDS)
        self.panel.open_tab(STATUS)
        for name, change, there, shown in (
                ("up", "true", "", UP),
                ("down", "killall netpppd", "! ", DOWN),
                ("redialled", "true", "", UP)):
            with self.subTest(name):
                changed = float(self.sh(
                    f"{change}; until {there}ifconfig | grep -q ppp0; do sleep 0.1; done; "
                    "date +%s.%N", CHECK_SECONDS))
                while self.link() != shown:
                    now = float(self.sh("date +%s.%N"))
                    self.assertLess(now - changed, FOLLOWED_SECONDS, self.link())
        self.board.program.stop()

    def test_link_returns_after_an_outage(self) -> None:
        """More failures in a row than the ten on which pppd gives up by default, then a dongle that
        is away for as many: the link and the label come back without a touch."""
        self.dial(1)
        self.wait_up()
        self.board.dongle.tell_modem({"refused": "+CGDCONT"})
        self.sh("killall netpppd")
        self.wait_board(f"[ $(grep -c 'Connect script failed' {PPP_LOG}) -ge 12 ]", OUTAGE_SECONDS)
        self.wait_down()
        self.board.dongle.tell_modem()
        self.wait_up()
        self.board.dongle.unplug()
        self.wait_board(f"[ $(grep -c 'Failed to open' {PPP_LOG}) -ge 12 ]", OUTAGE_SECONDS)
        self.board.dongle.plug()
        self.wait_up()

    def test_link_returns_under_another_port_name(self) -> None:
        """A dongle that is back on the bus before pppd has closed its port, and one that another
        adapter has taken its name from."""
        self.dial(HOLDOFF_SECONDS)
        self.wait_up()
        took = self.sh("dongle pulled; dongle plug 0x1001 3; from=$(date +%s); "
                       "until ! ifconfig | grep -q ppp0; do sleep 0.1; done; "
                       "until ifconfig | grep -q ppp0; do sleep 0.1; done; "
                       "echo $(($(date +%s) - from)); test -L /dev/ttyUSB0", OUTAGE_SECONDS)
        # pppd's own holdoff is 30 s.
        self.assertLess(int(took), RETURN_SECONDS - 30 + HOLDOFF_SECONDS)
        self.board.dongle.unplug()
        self.sh(ADAPTER)
        self.addCleanup(self.sh, f"cd {GADGETS}/adapter; rm configs/c.1/gser.9; "
                        "rmdir configs/c.1 functions/* strings/0x409; rmdir $PWD")
        heard = len(self.heard())
        self.wait_board(f"grep 'ttyUSB0 belongs to another USB device' {PPP_LOG}", OUTAGE_SECONDS)
        self.wait_down()
        self.assertEqual(len(self.heard()), heard)
        self.sh(f"echo >{GADGETS}/adapter/UDC")
        self.wait_up()

    def test_hooks_without_a_panel(self) -> None:
        """They end well, so that the scripts behind them run, and signal no namesake."""
        self.board.program.stop()
        self.sh("cp /bin/sleep /run/corvanta; /run/corvanta 600 & "
                "trap 'kill $!; rm /run/corvanta' EXIT; "
                "for hook in /etc/ppp/ip-up.d/corvanta-panel /etc/ppp/ip-down.d/corvanta-panel; do "
                "$hook ppp0 ttyUSB0 115200 10.0.0.1 10.0.0.2 || exit; done; kill -0 $!")

    def test_name_servers_for_resolved(self) -> None:
        """Handed over where systemd-resolved runs; nothing is said or lost elsewhere."""
        both, one = "DNS1=10.0.0.1 DNS2=10.0.0.2", "DNS1=10.0.0.1"
        for name, given, active, resolvectl, handed in (
                ("two servers", both, "true", "", "dns ppp0 10.0.0.1 10.0.0.2"),
                ("one server", one, "true", "", "dns ppp0 10.0.0.1"),
                ("it fails", one, "true", "false", "dns ppp0 10.0.0.1"),
                ("it hangs", one, "true", "sleep 60", "dns ppp0 10.0.0.1"),
                ("no server", "", "true", "", ""),
                ("resolved does not run", both, "false", "", ""),
                ("no resolvectl", both, "true", None, "")):
            with self.subTest(name):
                self.sh(f"rm -rf {FAKES}; mkdir {FAKES}; cd {FAKES}; "
                        f"echo '#!/bin/sh\n{active}' >systemctl; touch handed; chmod +x systemctl")
                if resolvectl is not None:
                    self.sh(f"cd {FAKES}; echo '#!/bin/sh\necho \"$@\" >{FAKES}/handed\n"
                            f"{resolvectl}' >resolvectl; chmod +x resolvectl")
                said = self.sh(f"env {given} PATH={FAKES}:$PATH USEPEERDNS=1 PPP_IFACE=ppp0 "
                               "/etc/ppp/ip-up.d/corvanta-resolved 2>&1")
                self.assertEqual((said, self.sh(f"cat {FAKES}/handed").strip()), ("", handed))


if __name__ == "__main__":
    unittest.main()
