#!/usr/bin/env python3
"""Measures how the board's pppd and chat interpret the parameters, and prints tables.

For each row, the program's own code writes the files, the real pppd and chat dial the simulated
dongle, and the row shows what its network received. A complete run takes some minutes.
"""

from __future__ import annotations

import argparse
import itertools
import re
import sys
from collections.abc import Callable, Iterable, Iterator
from dataclasses import dataclass
from pathlib import Path
from shlex import join, quote

from host.paths import ROOT
from panel.facts import CHAT_LOG, CHAT_SCRIPT, PARAMETERS, PPP_LOG
from virtualboard.board import Board
from virtualboard.dongle import MODEM_LOG, NETWORK_LOG, SCENARIO

Run = Callable[[str, float], str]
TRIES = itertools.cycle("32")
PAGE = ROOT / "docs/measured/dialling.md"
OPENING = """\
# How pppd and chat interpret the parameters: results

Written by `simulator/measure_pppd.py --write-docs`. Do not edit this page:
[dialling.md](../dialling.md) has the rules that follow from these results.

`/etc/ppp/options`, `/etc/ppp/options.ttyUSB0` and both secrets files are empty unless a row says
otherwise. "Received by the network" is spelled as the network's `pppd` logs it, with a backslash
before each quote and backslash. "Received by the modem" is spelled with escapes, as in the dongle's
log. The dongle refuses every call in the last table (NO CARRIER), and its SIM has the PIN 1234 in
the rows with a PIN.
"""

OTHER = "other"  # an index that the screen's list does not have
METHODS = ("AUTO", "PAP", "CHAP", OTHER)
NETWORK_SECRETS = "network * netsecret *\n"
NETWORK_PROVES_ITSELF = ("network.user=network", "network.password=netsecret")


def generate(**values: str) -> str:
    """
    Return shell commands that generate chat script and peer file with the program's own code.

    @param values  by their names in `corvanta-provision --help`; the others get defaults
    """
    values = {"apn": "internet", "dial": "*99#", "user": "", "password": "", "pin": "",
              "auth": "AUTO"} | values
    stored = ""
    if values["auth"] == OTHER:
        stored = f"printf '\\n\\n\\n\\n\\n3\\n' >{PARAMETERS}\n"
        del values["auth"]
    words = [f"{name}={value}" for name, value in values.items()]
    return f"{stored}corvanta-provision --as-is {join(words)} || exit\n"


@dataclass(frozen=True)
class PeerCase:
    method: str
    user: str
    password: str
    scenario: tuple[str, ...] = ()
    files: tuple[tuple[str, str], ...] = ()  # further files on the board: path, content
    note: str = ""


@dataclass(frozen=True)
class PeerResult:
    status: int  # of the "pppd call" command
    message: str  # what it printed, first line
    dialled: bool
    up: bool
    credentials: str  # as the network received them, empty if it received none
    end: str  # first reason in pppd's log why the link did not come up

    def describe(self) -> str:
        if not self.dialled:
            return "does not dial" + (f": {self.message or self.end}" if self.message or self.end
                                      else "")
        return "link up" if self.up else f"dials, no link: {self.end or 'no reason logged'}"


LOGS = f"modem_log={MODEM_LOG} network_log={NETWORK_LOG} ppp_log={PPP_LOG} chat_log={CHAT_LOG}\n"
# End an earlier case's call on the network's side: it would answer a case that does not dial.
PEER_COMMANDS = LOGS + r"""
if killall -q netpppd; then
    while pgrep -x netpppd >/dev/null; do sleep 0.1; done
    timeout 0.5 cat /dev/ttyUSB0 >/dev/null  # what the modem says about its end
fi
rm -f $ppp_log $chat_log
: >$network_log
lines=$(wc -l <$modem_log)
new() { tail -n +$((lines + 1)) $modem_log; }
pppd call ppp-connect >/tmp/message 2>&1
echo "STATUS $?"
up=0
while ((SECONDS < 20)); do
    pgrep -x pppd >/dev/null || break
    if ip -4 address show | grep -q "inet 10.11.12.13"; then up=1; break; fi
    new | sed '1,/event dialled/d' | grep -q "event network ended" && break
    grep -qs "script failed" $ppp_log && break
    sleep 0.3
done
echo "UP $up"
killall -q -KILL pppd
echo "MESSAGE $(head -1 /tmp/message)"
echo "DIALLED $(new | grep -c 'event dialled')"
sed 's/^/NETWORK /' $network_log
if [[ -e $ppp_log ]]; then sed 's/^/PPPD /' $ppp_log; fi
"""

REASONS = ("authentication failed", "refused to authenticate", "No auth is possible", "not allowed",
           "no response", "timeout sending", "Modem hangup", "Connect script failed")


def write_files(files: Iterable[tuple[str, str]]) -> str:
    return "".join(f"mkdir -p {quote(str(Path(path).parent))}; "
                   f"printf %s {quote(content)} >{quote(path)}; chmod 600 {quote(path)}\n"
                   for path, content in files)


def measure_peer(run: Run, case: PeerCase) -> PeerResult:
    """Dial once. The board's secrets and options files are empty unless the case sets them."""
    files = {"/etc/ppp/options": "", "/etc/ppp/options.ttyUSB0": "", "/etc/ppp/pap-secrets": "",
             "/etc/ppp/chap-secrets": "", SCENARIO: "\n".join(case.scenario) + "\n",
             **dict(case.files)}
    generated = generate(user=case.user, password=case.password, auth=case.method)
    output = run(write_files(files.items()) + generated + PEER_COMMANDS, 300)
    lines = {key: [line[len(key) + 1:] for line in output.splitlines()
                   if line.startswith(key + " ")]
             for key in ("STATUS", "UP", "MESSAGE", "DIALLED", "NETWORK", "PPPD")}
    seen = "\n".join(lines["NETWORK"])
    credentials = ""
    if pap := re.search(r"rcvd \[PAP AuthReq id=\S+ user=(.*) password=(.*)\]", seen):
        credentials = f"PAP user {pap[1]}, password {pap[2]}"
    elif chap := re.search(r"rcvd \[CHAP Response .*name = (.*)\]", seen):
        accepted = "accepted" if "sent [CHAP Success" in seen else "refused"
        credentials = f"CHAP name {chap[1]}, {accepted}"
    end = next((line for line in lines["PPPD"] if any(text in line for text in REASONS)), "")
    return PeerResult(int(lines["STATUS"][0]), lines["MESSAGE"][0].strip(),
                      int(lines["DIALLED"][0]) > 0, lines["UP"][0] == "1", credentials, end)


def empty_value_cases() -> list[PeerCase]:
    pap = ("auth=pap", "user=user", "password=secret")
    return [PeerCase(method, user, password, pap)
            for method in METHODS for user in ("user", "") for password in ("secret", "")] + [
        PeerCase("AUTO", "", "", ("auth=none",))]


def character_cases() -> list[PeerCase]:
    """Return cases with values as typed; the network accepts the values that the operator means."""
    passwords = {"pass word": "pass word", '"pass word"': "pass word", "'pass word'": "pass word",
                 "pass\\ word": "pass word", "it's": "it's", '"it\'s"': "it's", 'say"so': 'say"so',
                 '"say\\"so"': 'say"so', "'say\"so'": 'say"so', "back\\slash": "back\\slash",
                 "back\\\\slash": "back\\slash", '"back\\slash"': "back\\slash",
                 "ends\\": "ends\\", "a#b": "a#b", "#ab": "#ab", '"#ab"': "#ab", "a@b": "a@b",
                 "a$b": "a$b", "a^b": "a^b", "p\u00e4ss": "p\u00e4ss"}
    users = {"user@apn": "user@apn", "a user": "a user", '"a user"': "a user", "o'user": "o'user",
             '"o\'user"': "o'user", "#user": "#user", "us\u00e9r": "us\u00e9r"}
    return [PeerCase("AUTO", "user", typed, ("auth=pap", "user=user", f"password={meant}"))
            for typed, meant in passwords.items()] + [
        PeerCase("AUTO", typed, "secret", ("auth=pap", f"user={meant}", "password=secret"))
        for typed, meant in users.items()]


def secrets_cases() -> list[PeerCase]:
    files = ("/etc/ppp/pap-secrets", "/etc/ppp/chap-secrets")
    anybody = tuple((path, '* * "" *\n') for path in files)
    known = tuple((path, NETWORK_SECRETS) for path in files)
    options = (("/etc/ppp/options", "noauth\n"),)
    line_options = (("/etc/ppp/options.ttyUSB0", "noauth\n"),)
    cases = []
    for method, asked in (("AUTO", "none"), ("AUTO", "pap"), ("AUTO", "chap")):
        cases.append(PeerCase(method, "user", "secret", (
            f"auth={asked}", "user=user", "password=secret")))
    for method, asked in (("PAP", "pap"), ("CHAP", "chap"), (OTHER, "pap")):
        told = (f"auth={asked}", "user=user", "password=secret")
        proves = told + NETWORK_PROVES_ITSELF
        cases += [
            PeerCase(method, "user", "secret", told, options, "`noauth` in options"),
            PeerCase(method, "user", "secret", told, line_options, "`noauth` in options.ttyUSB0"),
            PeerCase(method, "user", "secret", told, anybody, '`* * "" *` in both secrets files'),
            PeerCase(method, "user", "secret", told, known,
                     "`network * netsecret *`; network does not authenticate itself"),
            PeerCase(method, "user", "secret", proves, known,
                     "`network * netsecret *`; network authenticates itself"),
        ]
    return cases


CHAT_COMMANDS = f"""
lines=$(wc -l <{MODEM_LOG})
timeout 40 chat -t5 -E -v -f {CHAT_SCRIPT} </dev/ttyUSB0 >/dev/ttyUSB0 2>/dev/null
echo "STATUS $?"
sleep 0.3
tail -n +$((lines + 1)) {MODEM_LOG}
"""


def measure_chat(run: Run, kind: str, value: str) -> tuple[int, str]:
    """Run the chat script. @return its exit status, and the modem log's line with the value"""
    # Another number of PIN attempts means another SIM card, so that each PIN gets a fresh one.
    card = f"sim.pin=1234\nsim.tries={next(TRIES)}\n" if kind == "pin" else ""
    files = ((SCENARIO, "dial=no-carrier\n" + card),)
    output = run(write_files(files) + generate(**{kind: value}) + CHAT_COMMANDS, 300)
    status = re.search(r"^STATUS (\d+)", output, re.M)
    heard = re.findall(r'^\S+ heard (".*")$', output, re.M)
    sign = {"apn": "CGDCONT", "dial": "ATD", "pin": "CPIN"}[kind]
    carrying = [line for line in heard if sign in line]
    assert status
    return int(status[1]), carrying[0] if carrying else ""


def chat_values() -> list[tuple[str, str]]:
    common = ["a b", "o'b", 'a"b', "a\\b", "a\\\\b", "a\\nb", "a^b", "a^^b", "a\\^b", "a^Mb",
              "$HOME", "a$", "a$b", "a\\$b", "#a", "\\c", "\u00e9"]
    return ([("apn", "internet"), ("apn", "")] + [("apn", value) for value in common] +
            [("dial", "*99#"), ("dial", ""), ("dial", "*99***1#")] +
            [("dial", value) for value in ("*9 9#", "*99#'", '"*99#"', "*99#\\c", "^M*99#")] +
            [("pin", value) for value in ("1234", "1111", "12 34", "12'34", '12"34', "12\\34",
                                          "12^34", "12$34")])


def row(*cells: str) -> str:
    return "| " + " | ".join(cell.replace("|", "\\|") for cell in cells) + " |"


def required(scenario: tuple[str, ...]) -> str:
    """Return the authentication that the network requires of the board."""
    method = scenario[0].removeprefix("auth=")
    return "network requires " + ("no authentication" if method == "none" else method.upper())


def code(text: str) -> str:
    """Return a text as Markdown code, and a note for an empty text."""
    return f"`{text}`" if text else "(empty)"


def peer_table(run: Run, title: str, cases: list[PeerCase]) -> Iterator[str]:
    yield f"\n## {title}\n"
    yield row("Method", "User", "Password", "Set-up", "`pppd` exit status", "Result",
              "Received by the network")
    yield row(*["---"] * 7)
    for case in cases:
        result = measure_peer(run, case)
        yield row(case.method, code(case.user), code(case.password),
                  case.note or required(case.scenario), str(result.status), result.describe(),
                  code(result.credentials) if result.credentials else "nothing")


def chat_table(run: Run) -> Iterator[str]:
    yield "\n## Values in the chat script\n"
    yield row("Parameter", "Value", "`chat` exit status", "Received by the modem")
    yield row(*["---"] * 4)
    for kind, value in chat_values():
        status, heard = measure_chat(run, kind, value)
        yield row(kind.upper(), code(value), str(status), code(heard))


PEER_TABLES = {
    "secrets": ("Methods, secrets and options", secrets_cases),
    "characters": ("Characters in user name and password", character_cases),
    "empty": ("Empty user name or password", empty_value_cases),
}
TABLES = (*PEER_TABLES, "chat")


def measured(tables: Iterable[str]) -> Iterator[str]:
    """Yield each line of the tables as soon as it has been measured."""
    with Board(run="measure-pppd") as board:
        board.dongle.plug()
        version = board.guest.sh("pppd --version 2>&1").strip()
        yield f"Measured with {version}."
        for name in tables:
            if name == "chat":
                yield from chat_table(board.guest.sh)
            else:
                title, cases = PEER_TABLES[name]
                yield from peer_table(board.guest.sh, title, cases())


def main() -> int:
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("tables", nargs="*", metavar="TABLE",
                        help="which: " + ", ".join(TABLES) + "; all by default")
    parser.add_argument("--write-docs", action="store_true",
                        help=f"also write all tables into {PAGE.relative_to(ROOT)}")
    options = parser.parse_args()
    tables = options.tables or TABLES
    if unknown := set(tables) - set(TABLES):
        parser.error("tables are " + ", ".join(TABLES) + ", not " + ", ".join(unknown))
    if options.write_docs and options.tables:
        parser.error("--write-docs needs all tables: name none")
    lines = []
    for line in measured(tables):
        print(line, flush=True)
        lines.append(line)
    if options.write_docs:
        PAGE.write_text(OPENING + "\n" + "\n".join(lines) + "\n")
    return 0


if __name__ == "__main__":
    sys.exit(main())
