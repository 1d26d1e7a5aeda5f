"""The link and the panel's service: the link stays up without the panel, and the panel shows it."""

from boardtest import INSTALL_SECONDS, PACKAGE, OperatedBoard
from panel.constants import CHECK_SECONDS, LINK_DOWN, LINK_UP, PPP_LOG, STATUS
from virtualboard.dongle import NETWORK_ADDRESS
from virtualboard.program import UNIT

FOLLOWED_SECONDS = 2.0  # limit from a change of the link until the panel shows it, on the board
FAKES = "/run/fakes"  # directory of stand-ins for commands that the board does not have
OUTAGE_SECONDS = 240
HOLDOFF_SECONDS = 5
RETURN_SECONDS = 60
GADGETS = "/sys/kernel/config/usb_gadget"
# Plugs in a serial adapter of another maker on its own bus, and then the dongle.
ADAPTER = f"""mkdir {GADGETS}/adapter && cd {GADGETS}/adapter
echo 0x0403 >idVendor; echo 0x1234 >idProduct
mkdir strings/0x409 configs/c.1 functions/gser.9
ln -s functions/gser.9 configs/c.1/
echo 0403 1234 ff >/sys/bus/usb-serial/drivers/option1/new_id
echo dummy_udc.1 >UDC
until [ -c /dev/ttyUSB0 ]; do sleep 0.1; done
dongle plug 0x1001 3
"""
MAIN_PID = f"systemctl show --property=MainPID --value {UNIT}"


def dial(board: OperatedBoard) -> None:
    """Dial. Shorten pppd's holdoff, its wait before a redial."""
    board.sh(f"echo holdoff {HOLDOFF_SECONDS} >>/etc/ppp/options")
    board.provide()
    board.panel.press("Connect")


def test_panel_follows_the_link_that_survives_it(board: OperatedBoard) -> None:
    """Without a touch, the panel shows that the link is up, is down, and is up after the redial.
    The link stays up during a restart, a crash, an upgrade and the removal of the program."""
    dial(board)
    board.panel.open_tab(STATUS)
    for change, there, shown in (("true", "", LINK_UP), ("killall netpppd", "! ", LINK_DOWN),
                                 ("true", "", LINK_UP)):
        changed = float(board.sh(
            f"{change}; until {there}ifconfig | grep -q ppp0; do sleep 0.1; done; date +%s.%N",
            CHECK_SECONDS))
        while board.link() != shown:
            assert float(board.sh("date +%s.%N")) - changed < FOLLOWED_SECONDS

    pppd = board.sh("pgrep -x pppd")
    board.sh(f"setsid ping -i 0.3 {NETWORK_ADDRESS} >/run/ping 2>&1 </dev/null & "
             "echo $! >/run/pinger")
    for commands in (f"systemctl restart {UNIT}",
                     f"before=$({MAIN_PID}); kill -SEGV $before; until now=$({MAIN_PID}) && "
                     "[ $now != 0 ] && [ $now != $before ]; do sleep 0.2; done",
                     f"dpkg --install {PACKAGE}"):
        before = board.program.pid()
        board.sh(commands, INSTALL_SECONDS)
        board.await_window()
        assert board.link() == LINK_UP
        assert board.program.pid() != before
        assert board.sh("pgrep -x pppd") == pppd
    board.sh("dpkg --remove corvanta", INSTALL_SECONDS)
    assert board.sh("pgrep -x pppd") == pppd
    assert " 0% packet loss" in board.sh("kill -INT $(</run/pinger); sleep 0.5; cat /run/ping")


def test_link_returns_under_another_port_name(board: OperatedBoard) -> None:
    """Replug the dongle before pppd has closed its port, so that the port gets another name. Then
    let another adapter take the port name of the unplugged dongle."""
    dial(board)
    board.wait_checked()
    took = board.sh("dongle pulled; dongle plug 0x1001 3; from=$(date +%s); "
                    "until ! ifconfig | grep -q ppp0; do sleep 0.1; done; "
                    "until ifconfig | grep -q ppp0; do sleep 0.1; done; "
                    "echo $(($(date +%s) - from)); test -L /dev/ttyUSB0", OUTAGE_SECONDS)
    # pppd's default holdoff is 30 s.
    assert int(took) < RETURN_SECONDS - 30 + HOLDOFF_SECONDS
    board.dongle.unplug()
    board.sh(ADAPTER)
    heard = len(board.heard())
    board.wait_for(f"grep 'ttyUSB0 belongs to another USB device' {PPP_LOG}", OUTAGE_SECONDS)
    board.wait_down()
    assert len(board.heard()) == heard
    board.sh(f"echo >{GADGETS}/adapter/UDC")
    board.wait_up()


def test_hooks_without_a_panel(board: OperatedBoard) -> None:
    """Without the panel the hooks succeed, so that later scripts run. They do not signal another
    program of the same name."""
    board.program.stop()
    board.sh("cp /bin/sleep /run/corvanta; /run/corvanta 600 & "
             "trap 'kill $!; rm /run/corvanta' EXIT; "
             "for hook in /etc/ppp/ip-up.d/corvanta-panel /etc/ppp/ip-down.d/corvanta-panel; do "
             "$hook ppp0 ttyUSB0 115200 10.0.0.1 10.0.0.2 || exit; done; kill -0 $!")


def test_name_servers_for_resolved(board: OperatedBoard) -> None:
    """The hook passes the name servers to systemd-resolved if that is running. It never prints."""
    both, one = "DNS1=10.0.0.1 DNS2=10.0.0.2", "DNS1=10.0.0.1"
    for given, active, resolvectl, passed in (
            (both, "true", "", "dns ppp0 10.0.0.1 10.0.0.2"),
            (one, "true", "", "dns ppp0 10.0.0.1"),
            (one, "true", "false", "dns ppp0 10.0.0.1"),
            (one, "true", "sleep 60", "dns ppp0 10.0.0.1"),
            ("", "true", "", ""),
            (both, "false", "", ""),
            (both, "true", None, "")):
        make = "" if resolvectl is None else (
            f"echo '#!/bin/sh\necho \"$@\" >{FAKES}/passed\n{resolvectl}' >resolvectl; ")
        printed = board.sh(f"rm -rf {FAKES}; mkdir {FAKES}; cd {FAKES}; "
                           f"echo '#!/bin/sh\n{active}' >systemctl; touch passed; {make}"
                           f"chmod +x *ctl; env {given} PATH={FAKES}:$PATH USEPEERDNS=1 "
                           "PPP_IFACE=ppp0 /etc/ppp/ip-up.d/corvanta-resolved 2>&1; cat passed")
        assert printed.strip() == passed, resolvectl
