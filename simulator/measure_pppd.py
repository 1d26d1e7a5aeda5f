#!/usr/bin/env python3
"""Measures what the board's pppd and chat make of the two generated files, as tables for docs/.

Each row has the files written by the program's own code, runs the real programs against the
simulated dongle and reads what arrived at its network. Takes some minutes.
"""

from __future__ import annotations

import argparse
import itertools
import re
import sys
from collections.abc import Callable, Iterable
from dataclasses import dataclass
from pathlib import Path
from shlex import join, quote

from panel.facts import CHAT_LOG, CHAT_SCRIPT, PARAMETERS, PPP_LOG
from virtualboard.board import Board
from virtualboard.dongle import MODEM_LOG, NETWORK_LOG, SCENARIO

Run = Callable[[str, float], str]
PUKS = itertools.count(10000001)

OTHER = "other"  # an index that the screen's list does not have
METHODS = ("AUTO", "PAP", "CHAP", OTHER)
NETWORK_SECRETS = "network * netsecret *\n"
NETWORK_PROVES_ITSELF = ("network.user=network", "network.password=netsecret")


def generate(**values: str) -> str:
    """
    Shell commands that make the chat script and the peer file by the program's own code.

    @param values  as `corvanta-provision --help` names them; the others are empty or usual
    """
    values = {"apn": "internet", "dial": "*99#", "user": "", "password": "", "pin": "",
              "auth": "AUTO"} | values
    stored = ""
    if values["auth"] == OTHER:
        stored = f"printf '\\n\\n\\n\\n\\n3\\n' >{PARAMETERS}\n"
        del values["auth"]
    words = [f"{name}={value}" for name, value in values.items()]
    return f"{stored}corvanta-provision {join(words)} || exit\n"


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
    credentials: str  # as they arrived at the network, empty when none did
    end: str  # first reason in pppd's log for not getting up

    def describe(self) -> str:
        if not self.dialled:
            return "does not dial" + (f": {self.message or self.end}" if self.message or self.end
                                      else "")
        return "link up" if self.up else f"dials, no link: {self.end or 'no reason logged'}"


LOGS = f"modem_log={MODEM_LOG} network_log={NETWORK_LOG} ppp_log={PPP_LOG} chat_log={CHAT_LOG}\n"
# A call that an earlier case has left on the network's side would answer one that does not dial.
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
    """Dials once. The board's secrets and options are empty unless the case brings some."""
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
    """Values as they are typed; the network accepts what the operator means by them."""
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
            f"auth={asked}", "user=user", "password=secret"), note=f"network asks for {asked}"))
    for method, asked in (("PAP", "pap"), ("CHAP", "chap"), (OTHER, "pap")):
        told = (f"auth={asked}", "user=user", "password=secret")
        proves = told + NETWORK_PROVES_ITSELF
        cases += [
            PeerCase(method, "user", "secret", told, options, "`noauth` in options"),
            PeerCase(method, "user", "secret", told, line_options, "`noauth` in options.ttyUSB0"),
            PeerCase(method, "user", "secret", told, anybody, '`* * "" *` in both secrets files'),
            PeerCase(method, "user", "secret", told, known,
                     "`network * netsecret *`; network does not prove itself"),
            PeerCase(method, "user", "secret", proves, known,
                     "`network * netsecret *`; network proves itself"),
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
    """@return chat's exit status, and the line in which the modem has heard the value"""
    # Each PUK stands for another SIM, so that every PIN meets a fresh one.
    card = f"sim.pin=1234\nsim.puk={next(PUKS)}\n" if kind == "pin" else ""
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


def row(*cells: str) -> None:
    print("| " + " | ".join(cell.replace("|", "\\|") for cell in cells) + " |", flush=True)


def code(text: str) -> str:
    """A text as Markdown code; an empty one can still be seen."""
    return f"`{text}`" if text else "(empty)"


def print_peer_table(run: Run, title: str, cases: list[PeerCase]) -> None:
    print(f"\n### {title}\n")
    row("Method", "User", "Password", "Board and network", "Exit status", "What happens",
        "What the network gets")
    row(*["---"] * 7)
    for case in cases:
        result = measure_peer(run, case)
        row(case.method, code(case.user), code(case.password), case.note or
            "network asks for " + case.scenario[0].removeprefix("auth="),
            str(result.status), result.describe(),
            code(result.credentials) if result.credentials else "nothing")


def print_chat_table(run: Run) -> None:
    print("\n### chat\n")
    row("Value", "Text", "Exit status", "What the modem hears")
    row(*["---"] * 4)
    for kind, value in chat_values():
        status, heard = measure_chat(run, kind, value)
        row(kind.upper(), code(value), str(status), code(heard))


PEER_TABLES = {
    "empty": ("Empty user name or password", empty_value_cases),
    "characters": ("Characters in user name and password", character_cases),
    "secrets": ("Methods, secrets and options", secrets_cases),
}
TABLES = (*PEER_TABLES, "chat")


def main() -> int:
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("tables", nargs="*", metavar="TABLE",
                        help="which: " + ", ".join(TABLES) + "; all by default")
    tables = parser.parse_args().tables or TABLES
    if unknown := set(tables) - set(TABLES):
        parser.error("tables are " + ", ".join(TABLES) + ", not " + ", ".join(unknown))
    with Board(run="measure-pppd") as board:
        board.dongle.plug()
        print(board.guest.sh("pppd --version 2>&1").strip())
        for name in tables:
            if name == "chat":
                print_chat_table(board.guest.sh)
            else:
                title, cases = PEER_TABLES[name]
                print_peer_table(board.guest.sh, title, cases())
    return 0


if __name__ == "__main__":
    sys.exit(main())
