"""corvanta-doctor: the cause in its last line, and a page and a bundle that are safe to show."""

import json
from collections.abc import Callable
from shlex import join

import pytest

from panel.constants import AUTO_CONNECT, CHAT_SCRIPT, PARAMETERS, PPP_LOG
from program.conftest import Roots
from program.modem import Modem
from program.programtest import DOCTOR, PROVISION, SAID, run_tools, said

Modems = Callable[..., Modem]
MOUNTS = ("--tmpfs", "/sys", "--tmpfs", "/readonly", "--remount-ro", "/readonly",
          "--size", "8192", "--tmpfs", "/full")
# A board that dials: a process called pppd has the dongle's only port open.
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
program() {{ echo "#!/bin/sh\n$2" >/run/bin/$1; chmod +x /run/bin/$1; }} # name, script
doctor() {{ {DOCTOR} "$@" >>{SAID}; echo "status $?" >>{SAID}; }}
mkdir -p /run/bin; PATH=/run/bin:$PATH
mkdir -p /sys/class/graphics/fb0
echo 800,480 >/sys/class/graphics/fb0/virtual_size; touch /dev/fb0 /dev/ttyUSB0
adapter 1-1 12d1 1001 ttyUSB0
hold pppd
{PROVISION} apn=internet 'dial=*99#' user=guest password=hidden pin= >/dev/null
"""
# Shell commands that create the cause on that board, exit status, part of the last line.
CAUSES = {
    "in order": (":", 0, "No failure was found"),
    "escapes": (f"{PROVISION} user='\"\\033[1m\\n\\033\"' >/dev/null", 0,
                "pppd reads user as: \ufffd[1m \ufffd. To do"),
    "no dongle": ("rm -r $usb", 1, "there is no dongle on the USB bus"),
    "storage mode": ("echo 14fe >$usb/1-1/idProduct", 1, "as 12d1:14fe"),
    "no driver": ("rm -r $usb/1-1:1.0/ttyUSB0", 1, "no serial port"),
    "foreign adapter": ("mv $usb/1-1:1.0/ttyUSB0 $usb/1-1:1.0/ttyUSB1; "
                        "adapter 1-2 0403 6001 ttyUSB0", 1, "another adapter (0403:6001)"),
    "busy port": ("hold ModemManager", 1, "ModemManager (PID"),
    "locked port": ("mkdir /run/lock; echo $$ >/run/lock/LCK..ttyUSB0", 1, "/dev/ttyUSB0 open"),
    "FIFO": (f"rm {PARAMETERS}; mkfifo {PARAMETERS}", 1, f"could not read {PARAMETERS}"),
    "autoparam": (f"rm {AUTO_CONNECT}; mkdir {AUTO_CONNECT}", 1, f"could not read {AUTO_CONNECT}"),
    "too short": (f"echo internet >{PARAMETERS}", 1, "has 1 of 6 lines"),
    "no password": (f"{PROVISION} password= >/dev/null", 1, "password is empty and user is not"),
    "older script": (f"sed -i s/internet/web/ {PARAMETERS}; touch -d 1990-01-01 {CHAT_SCRIPT}", 1,
                     f"{CHAT_SCRIPT} is older than the stored parameters and differs from them. "
                     "To do: run corvanta-provision 'apn=web'"),
    "no script": (f"rm {CHAT_SCRIPT}", 1, f"{CHAT_SCRIPT} does not exist"),
    "open to others": (f"chmod 644 {PARAMETERS}", 0, f"other users can access {PARAMETERS}"),
    "read-only": ("rm -r /quenfold/configs; ln -s /readonly /quenfold/configs", 1, "is read-only"),
    "no framebuffer": ("rm /dev/fb0", 1, "there is no framebuffer"),
    "first dial": (f"echo 'Connect: ppp0 <--> ttyUSB0' >{PPP_LOG}", 0, "network has not answered"),
    "given up": (f"hold chat; echo 'LCP: timeout sending Config-Requests\\nExit.' >{PPP_LOG}", 1,
                 "pppd has given up; last dial: the network has not accepted the call"),
    "earlier log": (f"echo 'refused this PIN once' >{PPP_LOG}; touch -d 1990-01-01 {PPP_LOG}", 0,
                    "has not reported why"),
}
# The modem's reply to every AT command, shell commands to run first, part of the last line.
NETWORK = ("\r\n+CSQ: 17,99\r\n+CPIN: READY\r\n+CREG: 0,{}\r\n"
           '+COPS: 0,0,"\033[31mNet",7\r\n\r\nOK\r\n')
NEEDS_PIN = "\r\n+CPIN: SIM PIN\r\n\r\nOK\r\n"
MODEMS = {
    "registered": (NETWORK.format(1), ":", "Look first at this: pppd is not running"),
    "searching": (NETWORK.format(2), ":", "the modem finds no network"),
    "denied": (NETWORK.format(3), ":", "the network refuses to register this SIM"),
    "no SIM": ("\r\n+CME ERROR: 10\r\n", ":", "the modem finds no SIM"),
    "PIN": (NEEDS_PIN, ":", "asks for its PIN, and none is stored"),
    "PUK": ("\r\n+CPIN: SIM PUK\r\n\r\nOK\r\n", ":", "asks for its PUK"),
    "network lock": ("\r\n+CPIN: PH-NET PIN\r\n\r\nOK\r\n", ":", "locked to another network"),
    "wrong PIN": (NEEDS_PIN, f"{PROVISION} pin=1234 >/dev/null", "refused the stored PIN"),
    "silent": ("", ":", "the modem does not answer"),
    "not raw": (NETWORK.format(1), "stty -F /dev/ttyUSB0 icanon echo", "is not in raw mode"),
    "in use": (NETWORK.format(1), "hold pppd", "No failure was found"),
}
SECRETS = ("hidden-pass", "hidden-user", "8642", "886912345678", "001010123456789",
           "8988600000000000001F", "490154203237518")


def told(roots: Roots, commands: str, *mounts: str) -> str:
    """Run commands on that board. @return the content of SAID"""
    return said(run_tools(roots, BOARD + commands, *MOUNTS, *mounts))


@pytest.mark.parametrize("made, status, cause", CAUSES.values(), ids=CAUSES)
def test_cause(roots: Roots, made: str, status: int, cause: str) -> None:
    *_, line, ended = told(roots, f"{made}\ndoctor\n").splitlines()
    assert cause in line
    assert ended == f"status {status}"


@pytest.mark.parametrize("answer, made, cause", MODEMS.values(), ids=MODEMS)
def test_modem(roots: Roots, modems: Modems, answer: str, made: str, cause: str) -> None:
    """The doctor queries the modem only if its port is in raw mode and no process has it open. It
    does not change the port's modes."""
    modem = modems(answer.encode())
    page = told(roots, f"kill $holder; wait; {made}; echo 5 5 >/run/corvanta-pin\n"
                "stty -F /dev/ttyUSB0 -g >/run/modes; doctor\n"
                f"stty -F /dev/ttyUSB0 -g | cmp - /run/modes >>{SAID} 2>&1\n",
                "--dev-bind", modem.path, "/dev/ttyUSB0")
    assert cause in page.splitlines()[-2]
    assert "\033" not in page
    assert (modem.heard == b"") == (cause in ("is not in raw mode", "No failure was found"))


def test_arguments(roots: Roots) -> None:
    statuses = told(roots, "doctor; doctor --wrong; doctor --bundle; doctor x; doctor --help\n")
    assert [int(rest[0]) for rest in statuses.split("status ")[1:]] == [0, 2, 2, 2, 0]


def test_output(roots: Roots) -> None:
    """A slow reader receives the complete output, even if a device ID contains control characters.
    If the reader hangs, the doctor exits with status 2."""
    page, _, status = told(roots, f"""printf '\\377\\033[1\\n\\342\\200\\256m' >$usb/1-1/idProduct
        (head -c 65000 /dev/zero; {DOCTOR} --json) | (sleep 1; tr -d '\\0' >>{SAID})
        (head -c 65000 /dev/zero; {DOCTOR}; echo "status $?" >>{SAID}) | sleep 5
        """).partition("status")
    found = json.loads(page)
    assert "Most probable cause: the dongle is on the USB bus as 12d1:" in found["cause"]
    assert ":\ufffd\ufffd[1 \ufffdm, not as 12d1:1001" in found["cause"]
    assert "/etc/ppp can be written" in [finding["text"] for finding in found["findings"]]
    assert int(status) == 2


def test_hung(roots: Roots, modems: Modems) -> None:
    """If the modem and some programs hang, the doctor still finishes within 9 s. It leaves none of
    these programs running."""
    page = told(roots, "kill $holder; for name in systemctl journalctl dpkg-query getent; do "
                "program $name 'exec /usr/bin/sleep 99'; done; before=$(date +%s); doctor; "
                f"(echo $(($(date +%s) - before)); cat /proc/[0-9]*/comm) >>{SAID}\n",
                "--dev-bind", modems().path, "/dev/ttyUSB0").split("status 1\n")
    assert "the modem does not answer" in page[0].splitlines()[-1]
    seconds, *processes = page[1].split()
    assert int(seconds) <= 9
    assert "sleep" not in processes


def test_bundle(roots: Roots) -> None:
    """The bundle has the files and none of the secrets, and only root can read it."""
    password, user, pin, phone = SECRETS[:4]
    log = (f'rcvd [CHAP Response <0123456789abcdef0>, name = "{user}"]', *SECRETS, 'CPIN="12"')
    unpacked = told(roots, f"{PROVISION} user={user} password={password} pin={pin} dial={phone}\n"
                    f"printf '%s\\n' {join(log)} >{PPP_LOG}; {DOCTOR} --bundle /run/b.tgz\n"
                    "(tar -tzf /run/b.tgz; tar -xzOf /run/b.tgz; ls /run; "
                    f"stat -c mode%a /run/b.tgz) >>{SAID}\n")
    parts = "mode600", "./page.txt", "etc-ppp-ppp.log", "etc-ppp-chat-chat", "AT+CPIN=", "b.tgz"
    assert [part for part in parts if part not in unpacked] == []
    secrets = (*SECRETS, "0123456789abcdef", 'CPIN="12', "corvanta-doctor.")
    assert [secret for secret in secrets if secret in unpacked] == []


@pytest.mark.parametrize("made, file", (
    ("echo other >/run/b", "/run/b"), ("ln -s /etc/ppp/other /run/b", "/run/b"),
    ("head -c 99999 /dev/zero >/full/other", "/full/b"), (":", "/readonly/b"),
    ("program dmesg '/usr/bin/pkill -f doctor...bundle'", "/run/b")),
    ids=("foreign file", "symlink", "full", "read-only", "terminated"))
def test_no_bundle(roots: Roots, made: str, file: str) -> None:
    """An archive that cannot be written leaves nothing behind and nothing changed."""
    files = "find /run /full /etc/ppp -printf '%p %s %l\\n' | sort"
    page = told(roots, f"{made}; {files} >/tmp/before; doctor --bundle {file}; "
                f"{files} | diff /tmp/before - >>{SAID}\n")
    assert page.splitlines()[-1] == "status 2"
