"""corvanta-doctor: the cause in its last line, and a page and a bundle that are safe to show."""

import json
import re
import unittest
from shlex import join

from panel.constants import CHAT_SCRIPT, PARAMETERS, PPP_LOG
from privateroot.process import BUILD, PrivateRoot
from program.modem import Modem

SAID = "/testrun/said"
DOCTOR, PROVISION = "/app/corvanta-doctor", "/app/corvanta-provision"
MOUNTS = ("--ro-bind", str(BUILD / "app/doctor/corvanta-doctor"), DOCTOR,
          "--ro-bind", str(BUILD / "app/provision/corvanta-provision"), PROVISION,
          "--tmpfs", "/run", "--tmpfs", "/sys", "--tmpfs", "/readonly", "--remount-ro", "/readonly",
          "--size", "65536", "--tmpfs", "/full")
# "board" sets up a board that dials: a process called pppd has the dongle's only port open.
BOARD = f"""
usb=/sys/bus/usb/devices
hold() {{ # name
    kill $holder 2>/dev/null; cp /usr/bin/sleep /run/$1
    /run/$1 999 <>/dev/ttyUSB0 & holder=$!
}}
adapter() {{ # name, vendor, product, port
    mkdir -p $usb/$1:1.0/$4 $usb/$1 /sys/class/tty/$4 /sys/devices/$1/$1:1.0/$4
    echo $2 >$usb/$1/idVendor; echo $3 >$usb/$1/idProduct; cp $usb/$1/id* /sys/devices/$1
    ln -sfn /sys/devices/$1/$1:1.0/$4 /sys/class/tty/$4/device
}}
board() {{
    rm -rf /sys/* /run/* /etc/ppp/*.log /quenfold/configs
    mkdir -p /quenfold/configs /sys/class/graphics/fb0
    echo 800,480 >/sys/class/graphics/fb0/virtual_size; touch /dev/fb0 /dev/ttyUSB0
    adapter 1-1 12d1 1001 ttyUSB0
    hold pppd
    {PROVISION} apn=internet 'dial=*99#' user=guest password=hidden pin= >/dev/null
}}
doctor() {{ {DOCTOR} "$@" >>{SAID}; echo "status $?" >>{SAID}; }}
"""


def logged(*lines: str) -> str:
    return join(["printf", "%s\\n", *lines]) + f" >{PPP_LOG}"


# name, commands that make the cause on that board, exit status, part of the last line
CAUSES = (
    ("in order", ":", 0, "No failure was found"),
    ("no dongle", "rm -r $usb", 1, "no dongle on the USB bus"),
    ("storage mode", "echo 14fe >$usb/1-1/idProduct", 1, "from storage to modem mode"),
    ("no driver", "rm -r $usb/1-1:1.0/ttyUSB0", 1, "no serial port"),
    ("foreign adapter", "mv $usb/1-1:1.0/ttyUSB0 $usb/1-1:1.0/ttyUSB1; "
     "adapter 1-2 0403 6001 ttyUSB0", 1, "belongs to another adapter (0403:6001)"),
    ("no port", "rm /dev/ttyUSB0", 1, "/dev/ttyUSB0 does not exist"),
    ("busy port", "hold ModemManager", 1, "ModemManager (PID"),
    ("locked port", "mkdir /run/lock; echo $$ >/run/lock/LCK..ttyUSB0", 1, "/dev/ttyUSB0 open"),
    ("no terminal", "kill $holder; wait", 1, "as a serial port"),
    ("FIFO", f"rm {PARAMETERS}; mkfifo {PARAMETERS}", 1, f"{PARAMETERS} cannot be read"),
    ("too short", f"echo internet >{PARAMETERS}", 1, "only 1 of 6 lines"),
    ("no password", f"{PROVISION} password= >/dev/null", 1, "password is empty and user is not"),
    ("older script", f"sed -i s/internet/web/ {PARAMETERS}; touch -d 1990-01-01 {CHAT_SCRIPT}", 0,
     f"{CHAT_SCRIPT} differs from the stored parameters and is older"),
    ("no script", f"rm {CHAT_SCRIPT}", 1, f"{CHAT_SCRIPT} does not exist"),
    ("read-only", "rm -r /quenfold/configs; ln -s /readonly /quenfold/configs", 1, "is read-only"),
    ("full", "rm -r /quenfold/configs; ln -s /full /quenfold/configs; echo x >/full/x", 1,
     "/quenfold/configs is full"),
    ("no framebuffer", "rm /dev/fb0", 1, "there is no framebuffer"),
    ("refused", logged("Script chat -f x finished (pid 5), status = 0xb", "Connect script failed"),
     1, "answered ERROR to chat"),
    ("wrong APN", logged("Connect: ppp0 <--> /dev/ttyUSB0"), 1, "the network has not answered"),
    ("given up", "hold chat; " + logged("LCP: timeout sending Config-Requests", "Exit."), 1,
     "pppd has given up; last dial: the network has not accepted the call"),
    ("earlier log", logged("The SIM refused this PIN once.", "local  IP address 10.0.0.1"), 0,
     "No failure was found"),
)
# name, what the modem answers to every command, commands, part of the last line
NETWORK = ("\r\n+CSQ: 17,99\r\n+CPIN: READY\r\n+CREG: 0,{}\r\n"
           '+COPS: 0,0,"\033[31mNet",7\r\n\r\nOK\r\n')
SIM = "\r\n+CPIN: SIM {}\r\n\r\nOK\r\n"
MODEMS = (
    ("registered", NETWORK.format(1), ":", "Look first at this: pppd is not running"),
    ("denied", NETWORK.format(3), ":", "the network denies the SIM its registration"),
    ("searching", NETWORK.format(2), ":", "the modem finds no network"),
    ("no SIM", "\r\n+CME ERROR: 10\r\n", ":", "the modem finds no SIM"),
    ("PIN", SIM.format("PIN"), ":", "asks for its PIN, and none is stored"),
    ("wrong PIN", SIM.format("PIN"), f"{PROVISION} pin=1234 >/dev/null", "refused the stored PIN"),
    ("PUK", SIM.format("PUK"), ":", "asks for its PUK"),
    ("silent", "", ":", "the modem does not answer"),
    ("not raw", NETWORK.format(1), "stty -F /dev/ttyUSB0 icanon echo", "is not in raw mode"),
    ("in use", NETWORK.format(1), "hold pppd", "No failure was found"),
)
SECRETS = ("hidden-pass", "hidden-user", "8642", "886912345678", "001010123456789",
           "8988600000000000001F", "490154203237518")


class Doctor(unittest.TestCase):
    def said(self, commands: str, *mounts: str) -> str:
        """Run commands on the board. @return the content of SAID"""
        with PrivateRoot(mounts=MOUNTS + mounts, setup=BOARD + commands, launch="true") as root:
            root.start(shown=False, timeout=60).wait_exit(60)
            return root.content(SAID).decode()

    def test_causes(self) -> None:
        said = self.said("".join(f"board; {made}\ndoctor\n" for _, made, _, _ in CAUSES))
        found = re.findall(r"\n\n(.*)\nstatus (\d)\n", said)
        for (name, _, status, cause), (line, ended) in zip(CAUSES, found, strict=True):
            with self.subTest(name):
                self.assertIn(cause, line)
                self.assertEqual(int(ended), status)

    def test_modem(self) -> None:
        """It is asked only if nobody has its port open; the port keeps its modes."""
        for name, answer, made, cause in MODEMS:
            with self.subTest(name):
                modem = Modem([answer.encode()] if answer else [])
                self.addCleanup(modem.close)
                said = self.said(f"board; kill $holder; wait; {made}; echo 5 5 >/run/corvanta-pin\n"
                                 "stty -F /dev/ttyUSB0 -g >/run/modes; doctor\n"
                                 f"stty -F /dev/ttyUSB0 -g | cmp - /run/modes >>{SAID} 2>&1\n",
                                 "--dev-bind", modem.path, "/dev/ttyUSB0")
                self.assertIn(cause, said.splitlines()[-2])
                self.assertNotIn("\033", said)
                self.assertEqual(modem.heard == b"", name in ("not raw", "in use"))

    def test_printable(self) -> None:
        """A value can neither colour a terminal nor break a line; a missing program is reported."""
        page = self.said(f"""board; {PROVISION} 'user="\\033[31m\\n\\342\\200\\256"' >/dev/null
                         PATH=/none; doctor --reach\n""")
        self.assertTrue(all(line.isprintable() for line in page.splitlines()), page)
        self.assertIn("pppd reads user as: \ufffd[31m \ufffd.", page)
        self.assertIn("could not look", page)

    def test_arguments(self) -> None:
        found = json.loads(self.said("board; rm -r $usb; doctor --json\n").split("status 1\n")[0])
        self.assertIn("no dongle", found["cause"] if found["failed"] else "")
        self.assertIn("/etc/ppp can be written", [row["text"] for row in found["findings"]])
        said = self.said("doctor --wrong; doctor --bundle; doctor --bundle /x/y")
        self.assertEqual(said.count("status 2\n"), 3)

    def test_bundle(self) -> None:
        """It has the files, and none of the secrets."""
        password, user, pin, phone = SECRETS[:4]
        log = (f'rcvd [CHAP Response <0123456789abcdef0>, name = "{user}"]', *SECRETS, 'CPIN="12"')
        unpacked = self.said(
            f"board; {PROVISION} user={user} password={password} pin={pin} dial={phone}\n"
            f"{logged(*log)}; {DOCTOR} --bundle /run/b.tgz\n"
            f"(tar -tzf /run/b.tgz; tar -xzOf /run/b.tgz; ls /run) >>{SAID}\n")
        for part in ("./page.txt", "etc-ppp-ppp.log", "etc-ppp-chat-chat", "AT+CPIN=", "b.tgz"):
            self.assertIn(part, unpacked)
        for secret in (*SECRETS, "0123456789abcdef", 'CPIN="12', "corvanta-doctor."):
            self.assertNotIn(secret, unpacked)
