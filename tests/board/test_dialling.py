#!/usr/bin/python3
"""Dial-up on the simulated board: real touches, the real pppd and chat, a link that carries."""

import re
import unittest
from dataclasses import dataclass, field

from boardtest import DOWN, EXPECTED, NO_LINK, UP, BoardTest
from panel.facts import (CHAT_SCRIPT, CHECK_SECONDS, FILES, LOGS, PEER_FILE, PIN, PPP_LOG, SETTING,
                         SOON_SECONDS, STATUS, USER, stored_parameters)
from virtualboard.dongle import NETWORK_ADDRESS, NETWORK_LOG, NETWORK_NAME

# Seconds on the board from the touch of Connect to the notice: the program waits for 15 s after it
# has started pppd.
NOTICE_LEAST, NOTICE_MOST = 14.5, 25
FREEZE = "pkill -STOP -x netpppd"  # the network's end of the link
# Without an answer, pppd of an earlier attempt holds the line for some seconds after SIGTERM.
NO_PPPD = "killall -q -KILL pppd chat; while pgrep -x 'pppd|chat'; do sleep 0.1; done"
SENT_PIN = 'AT+CPIN=\\"'
# Debian's pppd options allow four echo requests without an answer, 30 s apart.
SILENCE_LEAST, SILENCE_MOST = 100, 170  # seconds on the board
SILENCE_SECONDS = 600  # the same on a busy host
SILENT = "a dead link is shown as connected until the LCP echo requests of pppd time out"
EXECUTED = "/run/executed"
EXECUTES = ("option injection. pppd runs, as root, a command that follows a space and the word "
            "welcome in a user name, because the peer file is not quoted")
# Seconds on the board, for the figures of ./torture.
NOTICES: list[float] = []
SILENCES: list[float] = []


@dataclass
class Dial:
    """One touch of Connect: the modem and the network behind it, and the outcome."""

    name: str
    modem: dict[str, str] = field(default_factory=dict)
    pin: str = ""
    connects: bool = False
    says: str = ""  # in the log of pppd or the modem
    tries: int = 0  # of the PIN
    before: str = ":"  # shell commands just before the touch


# ./test runs them in this order, in one run of the program. chat does not wait for the answer to
# its last line, the dial command.
EVERYDAY = [
    Dial("busy", {"dial": "busy"}, says=r'reply "\r\nBUSY\r\n"'),
    Dial("silent modem", {"answer": "silent"}, says="Connect script failed"),
    Dial("wrong PIN", {"sim.pin": "4321"}, "1234", says="Connect script failed", tries=1),
    Dial("PUK required", {"sim.pin": "1234", "sim.tries": "0"}, "0471", says="asks for the PUK"),
    Dial("another user", {"auth": "pap", "user": "other", "password": "other"},
         says="PAP authentication failed"),
    Dial("PAP", {"auth": "pap", "user": "operator", "password": "secret"}, connects=True),
]
# ./torture runs each on its own.
FAULTS = [
    Dial("no SIM", {"sim.present": "no"}),
    Dial("CHAP fails", {"auth": "chap", "user": "operator", "password": "other"}),
    Dial("another APN", {"apn": "elsewhere"}),
    *(Dial(f"ERROR to AT{command}", {"refused": command})
      for command in ("Z", "I", "+COPS", "+CGDCONT")),
    Dial("LCP is not answered",
         before=f"(until {FREEZE}; do sleep 0.05; done) >/dev/null 2>&1 &"),
    Dial("IPCP is not answered", {"ipcp": "no"}),
    Dial("replies later than chat waits", {"answer": "slow", "delay_ms": "4000"}),
    Dial("slow modem", {"answer": "slow"}, connects=True),
    Dial("echo stays on", {"answer": "echo"}, connects=True),
    Dial("pieces, a slow dial, CHAP", {"answer": "pieces", "dial_ms": "3000", "auth": "chap",
                                       "user": "operator", "password": "secret"}, connects=True),
    Dial("ERROR to AT+CPIN", {"refused": "+CPIN"}, "1234", connects=True, tries=1),
]


class Dialling(BoardTest):
    MODEM = {"sim.pin": "1234", "auth": "chap", "user": "guest", "password": "password",
             "csq": "17,99"}

    def test_from_connect_to_disconnect(self) -> None:
        self.start_edited(self.MODEM, stored_parameters("web.example", "*99***1#", "guest",
                                                        "password", "1234"))
        self.panel.invoke("Makeup", "checkSignalStrength", 1)
        self.wait("the signal", SOON_SECONDS, lambda screen: any(
            bar["value"] == 54 for bar in screen.orphans("QProgressBar")))
        self.assertEqual(self.heard(), ['"AAT+CSQ"'])
        for path in FILES:  # Connect takes over the files of another user
            self.sh(f"touch {path}; chown 1000:1000 {path}; chmod 644 {path}")
        self.panel.press("Connect")
        self.wait_up()
        self.check_dialled()
        network = self.board.guest.read(NETWORK_LOG).decode()
        self.assertRegex(network, r'rcvd \[CHAP Response .* name = "guest"\]\nsent \[CHAP Success')
        self.assertIn("default dev ppp0", self.sh("ip route"))
        self.sh(f"ping -c 2 -i 0.3 -W 5 {NETWORK_NAME}", 60)
        self.panel.invoke("Makeup", "pinResponse")
        self.wait("the ping", SOON_SECONDS, lambda screen: any(
            "3 received, 0% packet loss" in box["text"] for box in screen.orphans("QTextEdit")))

        # Exit keeps the link; the next start finds it and can take it down.
        pppd = self.sh("pgrep -x pppd")
        self.leave()
        self.assertEqual(self.sh("pgrep -x pppd"), pppd)
        self.sh(f"ping -c 1 -W 5 {NETWORK_ADDRESS}")
        self.start_program()
        self.wait_up(SOON_SECONDS)
        self.panel.press("Disconnect")
        self.wait_down()
        self.assertNotEqual(self.board.guest.run("pgrep -x pppd").status, 0)
        self.assertTrue(self.panel.button("Connect")["enabled"])
        # pppd told the network's side; the panel's killall did not reach it.
        self.wait_board("! pgrep -x netpppd")
        network = self.board.guest.read(NETWORK_LOG).decode()
        self.assertIn("LCP terminated by peer", network)
        self.assertNotIn("Terminating on signal", network)

        # The next attempt dials with the files that are there, because nothing has changed.
        written = self.sh(f"stat -c %y {CHAT_SCRIPT} {PEER_FILE}")
        self.panel.press("Connect")
        self.wait_up()
        self.assertEqual(self.sh(f"stat -c %y {CHAT_SCRIPT} {PEER_FILE}"), written)

    def check_dialled(self) -> None:
        """Expect the generated files, what the modem has received, and no PIN in a log."""
        self.assertEqual(self.board.guest.read(CHAT_SCRIPT),
                         (EXPECTED / "chat-with-pin").read_bytes())
        modes = self.sh(f"stat -c '%a %U %G' {' '.join(FILES + LOGS)}").splitlines()
        self.assertEqual(set(modes), {"600 root root"})
        # From release 253 on, systemd can keep the PIN out of the journal.
        logged = self.sh("journalctl --quiet --identifier=chat")
        self.assertIn("AT+COPS?", logged)
        version = re.match(r"systemd (\d+)", self.sh("systemctl --version"))
        assert version
        self.assertEqual("CPIN" in logged, int(version[1]) < 253)
        _, pin_query, _, *script = self.heard()
        self.assertEqual(pin_query, '"AT+CPIN?"')
        self.assertEqual(script, [
            r'"AT+CPIN=\"1234\""', '"AT"', '"ATZ"', '"ATI"', '"AT+COPS?"',
            r'"AT+CGDCONT=1,\"IP\",\"web.example\""', r'"\"ATD*99***1#\""'])


class Refusals(BoardTest):
    """Attempts of which most fail: the operator is told and can try again."""

    def check_dial(self, dial: Dial) -> None:
        """Touch Connect and expect the link, or the notice 15 s after the start of pppd."""
        self.board.dongle.tell_modem(dial.modem)
        self.panel.open_tab(SETTING)
        self.panel.fill(PIN, dial.pin)
        logged = len(self.modem_log())
        self.sh(f"{NO_PPPD}; rm -f {PPP_LOG}; {dial.before}")
        begin = self.uptime()
        self.panel.press("Connect")
        if dial.connects:
            self.wait_up()
        else:
            self.sh(f"sleep {int(NOTICE_LEAST)}", CHECK_SECONDS)  # each look costs the board time
            self.wait_notice()
            NOTICES.append(self.uptime() - begin)
            self.wait_failed()
            self.assertGreater(NOTICES[-1], NOTICE_LEAST)
            self.assertLess(NOTICES[-1], NOTICE_MOST)
            self.panel.open_tab(STATUS)
            self.assertEqual(self.link(), DOWN)
        log = self.modem_log()[logged:]
        self.assertIn(" heard ", log)
        self.assertEqual(log.count(SENT_PIN), dial.tries)
        self.assertIn(dial.says, log + self.sh(f"cat {PPP_LOG}"))

    def test_everyday(self) -> None:
        self.start_edited()
        for dial in EVERYDAY:
            with self.subTest(dial.name):
                self.check_dial(dial)

    def throw_dial(self, dial: Dial) -> None:
        self.start_edited()
        self.check_dial(dial)
        self.leave()

    def test_one_press_one_try(self) -> None:
        """pppd redials by itself, but a PIN that the SIM has refused is sent once, and one that the
        SIM has accepted each time a SIM requires it."""
        self.sh("echo holdoff 2 >>/etc/ppp/options")
        self.addCleanup(self.sh, "sed -i '/^holdoff 2$/d' /etc/ppp/options")
        self.start_edited({"sim.pin": "4321"}, stored_parameters(pin="1234"))
        self.panel.press("Connect")
        self.wait_failed()
        self.wait_skipped_dials()
        self.replug()
        self.wait_skipped_dials()
        self.assertEqual(self.modem_log().count(SENT_PIN), 1, "wrong, then plugged in again")
        self.panel.open_tab(SETTING)
        self.panel.fill(PIN, "4321")
        self.panel.press("Connect")
        self.wait_up()
        self.assertEqual(self.modem_log().count(SENT_PIN), 2, "corrected")
        self.replug()
        self.wait_up()
        self.assertEqual(self.modem_log().count(SENT_PIN), 3, "right, then plugged in again")

    def wait_skipped_dials(self) -> None:
        """Wait until pppd has skipped two further dials."""
        self.sh(f"count() {{ grep -c 'not sent again' {PPP_LOG}; }}; before=$(count); "
                "until [ $(count) -ge $((before + 2)) ]; do sleep 0.5; done", CHECK_SECONDS)

    def replug(self) -> None:
        """Unplug the dongle while pppd runs, and plug it in once the link is down."""
        self.board.dongle.unplug()
        self.wait_board(NO_LINK, CHECK_SECONDS)
        self.board.dongle.plug()

    def throw_silence(self) -> str:
        """The link is shown as connected until pppd terminates it."""
        self.connect()
        self.sh(FREEZE)
        begin = self.uptime()
        self.check_link()
        self.sh("sleep 3")
        self.assertEqual(self.link(), UP)
        self.wait_board(NO_LINK, SILENCE_SECONDS)
        SILENCES.append(self.uptime() - begin)
        self.assertGreater(SILENCES[-1], SILENCE_LEAST)
        self.assertLess(SILENCES[-1], SILENCE_MOST)
        self.wait_down()
        self.leave()
        return SILENT

    def throw_command(self) -> str:
        """A user name that pppd reads as a further option."""
        self.start()
        self.panel.fill(USER, f'x welcome "id -un >{EXECUTED}"')
        self.panel.press("Connect")
        self.wait_board(f"[ -s {EXECUTED} ]", CHECK_SECONDS)
        self.assertEqual(self.sh(f"cat {EXECUTED}; rm {EXECUTED}"), "root\n")
        self.wait_up()
        self.leave()
        return EXECUTES


if __name__ == "__main__":
    unittest.main()
