"""Dial-up on the simulated board: real touches, the real pppd and chat, and traffic on the link."""

import re
from collections.abc import Callable
from dataclasses import dataclass, field

import pytest

from boardtest import EXPECTED, NO_LINK, OperatedBoard
from panel.constants import (CHAT_SCRIPT, CHECK_SECONDS, COUNTS, FILES, LINK_DOWN, LINK_UP, LOGS,
                             MISC, PARAMETERS, PIN, PPP_LOG, SETTING, SOON_SECONDS, STATUS,
                             stored_parameters)
from virtualboard.dongle import NETWORK_ADDRESS, NETWORK_LOG, NETWORK_NAME

# Seconds on the board from the touch on Connect to the notice. The program checks the link 15 s
# after it has started pppd.
NOTICE_LEAST, NOTICE_MOST = 14.5, 25
SENT_PIN = 'AT+CPIN=\\"'
# Debian's pppd options: the link is dropped after four unanswered echo requests, 30 s apart.
SILENCE_LEAST, SILENCE_MOST = 100, 170  # seconds on the board
SILENCE_SECONDS = 600  # timeout of that wait by the clock of a busy host
OUTAGE_SECONDS = 600
SILENT = "a dead link is shown as connected until the LCP echo requests of pppd time out"


@dataclass
class Dial:
    """One touch on Connect: the modem, the network behind it, and the outcome."""

    name: str
    modem: dict[str, str] = field(default_factory=dict)  # settings of modemsim
    pin: str = ""  # stored PIN
    connects: bool = False  # true if the link comes up
    says: str = ""  # text in the log of pppd or the modem
    attempts: int = 0  # expected number of PIN attempts


# chat does not wait for the answer to its last line, the dial command.
FAULTS = [
    Dial("busy", {"dial": "busy"}, says=r'reply "\r\nBUSY\r\n"'),
    Dial("silent modem", {"answer": "silent"}, says="Connect script failed"),
    Dial("no SIM", {"sim.present": "no"}),
    Dial("PUK required", {"sim.pin": "1234", "sim.tries": "0"}, "0471", says="asks for the PUK"),
    Dial("CHAP fails", {"auth": "chap", "user": "operator", "password": "other"}),
    Dial("another APN", {"apn": "elsewhere"}),
    Dial("ERROR to AT+CGDCONT", {"refused": "+CGDCONT"}),
    Dial("IPCP is not answered", {"ipcp": "no"}),
    Dial("replies later than chat waits", {"answer": "slow", "delay_ms": "4000"}),
    Dial("slow modem", {"answer": "slow"}, connects=True),
    Dial("echo stays on", {"answer": "echo"}, connects=True),
    Dial("pieces, a slow dial, CHAP", {"answer": "pieces", "dial_ms": "3000", "auth": "chap",
                                       "user": "operator", "password": "secret"}, connects=True),
    Dial("ERROR to AT+CPIN", {"refused": "+CPIN"}, "1234", connects=True, attempts=1),
]
Record = Callable[[str, object], None]


def test_from_connect_to_disconnect(board: OperatedBoard) -> None:
    board.dongle.tell_modem({"sim.pin": "1234", "auth": "chap", "user": "guest",
                             "password": "password"})
    board.dongle.plug()
    board.guest.write(PARAMETERS, stored_parameters("web.example", "*99***1#", "guest", "password",
                                                    "1234"))
    board.start_program()
    board.panel.invoke("Makeup", "checkSignalStrength", 1)
    board.wait("the signal", SOON_SECONDS, lambda screen: any(
        bar["value"] == 54 for bar in screen.orphans("QProgressBar")))
    assert board.heard() == ['"AAT+CSQ"']
    for path in FILES:  # Connect makes root the owner of existing files
        board.sh(f"touch {path}; chown 1000:1000 {path}; chmod 644 {path}")
    board.panel.open_tab(MISC)
    board.panel.fill(COUNTS, "7")
    board.panel.press("Connect")
    board.wait_up()
    check_dialled(board)
    network = board.guest.read(NETWORK_LOG).decode()
    assert re.search(r'rcvd \[CHAP Response .* name = "guest"\]\nsent \[CHAP Success', network)
    assert "default dev ppp0" in board.sh("ip route")
    board.sh(f"ping -c 2 -i 0.3 -W 5 {NETWORK_NAME}", 60)
    board.program.await_check()
    board.panel.invoke("Makeup", "pinResponse")
    board.wait("the ping", SOON_SECONDS, lambda screen: any(
        "3 received, 0% packet loss" in box["text"] for box in screen.orphans("QTextEdit")))

    # The link stays up after Exit. The next start shows it, and Disconnect terminates it.
    pppd = board.sh("pgrep -x pppd")
    board.leave()
    assert board.sh("pgrep -x pppd") == pppd
    board.sh(f"ping -c 1 -W 5 {NETWORK_ADDRESS}")
    board.start_program()
    board.wait_up(SOON_SECONDS)
    board.panel.press("Disconnect")
    board.wait_down()
    assert board.guest.run("pgrep -x pppd").status != 0
    assert board.panel.button("Connect")["enabled"]
    # The board's pppd has terminated the link by LCP; the program's killall has not reached the
    # pppd of the network.
    board.wait_for("! pgrep -x netpppd")
    network = board.guest.read(NETWORK_LOG).decode()
    assert "LCP terminated by peer" in network
    assert "Terminating on signal" not in network


def check_dialled(board: OperatedBoard) -> None:
    """Check the generated files, all modes, the commands to the modem, and whether the journal
    contains the PIN."""
    assert board.guest.read(CHAT_SCRIPT) == (EXPECTED / "chat-with-pin").read_bytes()
    modes = board.sh(f"stat -c '%a %U %G' {' '.join(FILES + LOGS)}").splitlines()
    assert set(modes) == {"600 root root"}
    # The filter that keeps the PIN out of the journal needs systemd 253 or later.
    logged = board.sh("journalctl --quiet --identifier=chat")
    assert "AT+COPS?" in logged
    version = re.match(r"systemd (\d+)", board.sh("systemctl --version"))
    assert version
    assert ("CPIN" in logged) == (int(version[1]) < 253)
    _, pin_query, _, *script = board.heard()
    assert pin_query == '"AT+CPIN?"'
    assert script == [
        r'"AT+CPIN=\"1234\""', '"AT"', '"ATZ"', '"ATI"', '"AT+COPS?"',
        r'"AT+CGDCONT=1,\"IP\",\"web.example\""', r'"\"ATD*99***1#\""']


@pytest.mark.torture
@pytest.mark.parametrize("dial", FAULTS, ids=[dial.name for dial in FAULTS])
def test_fault(board: OperatedBoard, dial: Dial, record_property: Record) -> None:
    """Touch Connect. The link comes up, or the notice appears after 15 s."""
    board.provide(dial.modem, dial.pin)
    begin = board.uptime()
    board.panel.press("Connect")
    if dial.connects:
        board.wait_checked()
    else:
        board.sh(f"sleep {int(NOTICE_LEAST)}", CHECK_SECONDS)  # each dump slows the board
        board.wait_notice()
        seconds = board.uptime() - begin
        assert NOTICE_LEAST < seconds < NOTICE_MOST
        record_property("failure notice, s after Connect", seconds)
        board.wait_failed()
        board.panel.open_tab(STATUS)
        assert board.link() == LINK_DOWN
    log = board.modem_log()
    assert " heard " in log
    assert log.count(SENT_PIN) == dial.attempts
    assert dial.says in log + board.sh(f"cat {PPP_LOG}")
    board.leave()


# By default, pppd exits after ten failed dials in a row. With the default holdoff of 30 s before a
# redial, the longer row would be an outage of 20 min, followed by 10 min without the dongle.
@pytest.mark.parametrize("refused, away", [
    (2, 10), pytest.param(36, 20, marks=pytest.mark.torture)], ids=["short", "long"])
def test_outage(board: OperatedBoard, refused: int, away: int) -> None:
    """The network refuses calls, then the dongle is unplugged. When both are back, the link and its
    label come up without a touch."""
    board.sh("echo holdoff 1 >>/etc/ppp/options")
    board.provide()
    board.panel.press("Connect")
    board.wait_checked()
    board.dongle.tell_modem({"refused": "+CGDCONT"})
    board.sh("killall netpppd")
    board.wait_for(f"[ $(grep -c 'Connect script failed' {PPP_LOG}) -ge {refused} ]",
                   OUTAGE_SECONDS)
    board.wait_down()
    board.dongle.unplug()
    board.dongle.tell_modem()
    board.wait_for(f"[ $(grep -c 'Failed to open' {PPP_LOG}) -ge {away} ]", OUTAGE_SECONDS)
    board.dongle.plug()
    board.wait_up()


def test_one_press_one_attempt(board: OperatedBoard) -> None:
    """pppd redials by itself. A PIN that the SIM card has refused is sent only once; an
    accepted PIN is sent each time the SIM card requires it."""
    board.sh("echo holdoff 2 >>/etc/ppp/options")
    board.provide({"sim.pin": "4321"}, pin="1234")
    board.panel.press("Connect")
    board.wait_failed()
    wait_skipped_dial(board)
    replug(board)
    wait_skipped_dial(board)
    assert board.modem_log().count(SENT_PIN) == 1, "wrong, then plugged in again"
    board.panel.open_tab(SETTING)
    board.panel.fill(PIN, "4321")
    board.panel.press("Connect")
    board.wait_checked()
    assert board.modem_log().count(SENT_PIN) == 2, "corrected"
    replug(board)
    board.wait_up()
    assert board.modem_log().count(SENT_PIN) == 3, "right, then plugged in again"


def wait_skipped_dial(board: OperatedBoard) -> None:
    """Wait until pppd has skipped a further dial."""
    board.sh(f"count() {{ grep -c 'not sent again' {PPP_LOG}; }}; before=$(count); "
             "until [ $(count) -gt $before ]; do sleep 0.5; done", CHECK_SECONDS)


def replug(board: OperatedBoard) -> None:
    """Unplug the dongle while pppd runs, and plug it in once the link is down."""
    board.dongle.unplug()
    board.wait_for(NO_LINK, CHECK_SECONDS)
    board.dongle.plug()


@pytest.mark.torture
def test_network_answers_nothing_any_more(board: OperatedBoard, record_property: Record) -> None:
    """The network stops answering. The panel shows the link as connected until pppd drops it."""
    board.provide()
    board.panel.press("Connect")
    board.wait_checked()
    board.sh("pkill -STOP -x netpppd")
    begin = board.uptime()
    board.sh(f"kill -USR1 {board.program.pid()}; sleep 3")  # as the pppd hooks do
    assert board.link() == LINK_UP
    board.wait_for(NO_LINK, SILENCE_SECONDS)
    seconds = board.uptime() - begin
    assert SILENCE_LEAST < seconds < SILENCE_MOST
    board.wait_down()
    board.leave()
    record_property("figure", f"link without answers: dropped by pppd after {seconds:.0f} s")
    record_property("limitation", SILENT)
