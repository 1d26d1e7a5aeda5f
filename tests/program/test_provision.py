"""corvanta-provision: the files that it writes, invalid input, and a panel that is running."""

from shlex import join, quote

import pytest

from panel.constants import (AUTO_CONNECT, CHAT_SCRIPT, FIELDS, FILES, PARAMETERS, PEER_FILE,
                             STORED, stored_parameters)
from privateroot.files import LAUNCH
from program.programtest import PROVISION, SAID, TOOLS, generated, run_tools, said
from program.conftest import Roots

ALL = ("--as-is", "apn=web.example", "dial=*99***1#", "user=guest", "password=pass word",
       "pin=1234", "auth=PAP", "auto-connect=YES", "counts=7")
VALUES = ("web.example", "*99***1#", "guest", "pass word", "1234")


def run(words: str) -> str:
    """Return a shell script that runs a command line and appends exit status and output to SAID."""
    return (f"{words} >/testrun/output 2>&1\n"
            f"echo \"status $?\" >>{SAID}; cat /testrun/output >>{SAID}\n")


def command(*words: str, lines: str = "") -> str:
    """Return shell commands that run corvanta-provision.

    @param words arguments
    @param lines standard input, with printf's escapes"""
    return run(f"printf %b {quote(lines)} | {join([PROVISION, *words])}")


@pytest.mark.parametrize("setup", (
    command(*ALL), command(*ALL[:3], "-", lines="\n".join(["", "# secrets", *ALL[3:]]))),
    ids=("arguments", "standard input"))
def test_every_value(roots: Roots, setup: str) -> None:
    """Set every value. The files equal those that the panel would write, have mode 0600, and the
    panel shows their values."""
    root = roots.new(mounts=TOOLS, setup=setup).start()
    assert said(root) == "status 0\n" + "".join(f"wrote {file}\n" for file in FILES)
    parameters = stored_parameters(*VALUES, "1")
    for file, content in {PARAMETERS: parameters, AUTO_CONNECT: b"0\n7\n",
                          **generated(parameters)}.items():
        assert root.read(file) == content
    assert [root.mode(file) for file in FILES] == ["600"] * 4
    assert tuple(root.panel.field(label)["text"] for label in FIELDS) == VALUES


@pytest.mark.parametrize("stored, kept", (
    (STORED, b"internet\n*99#\noperator\nsecret\n0000\n0\n"),
    (b"apn\n*99#\n", b"apn\n*99#\n\n\n0000\n0\n"), (b"a\n\n\n\n\n7\n", b"a\n\n\n\n0000\n-1\n")),
    ids=("complete", "short", "unknown method"))
def test_values_that_are_not_named(roots: Roots, stored: bytes, kept: bytes) -> None:
    """Values that the command does not name are kept, even if the stored file has too few lines."""
    root = run_tools(roots, f"printf %s {quote(stored.decode())} >{PARAMETERS}\n"
                     + command("pin=0000"))
    assert root.read(PARAMETERS) == kept


def test_refusals(roots: Roots) -> None:
    """Invalid input changes no file, and no error message contains a value."""
    table = (
        ("no newline", "password=hidden\n1"), ("no white space at an end", "apn= x"),
        ("no unknown name", "hidden=x"), ("no other method", "auth=pap"),
        ("no other choice", "auto-connect=maybe"), ("no word alone", "internet"),
        ("no length beyond a line edit's", "user=" + "x" * 32768),
        ("no option of pppd", 'user=x init "touch /run/executed"'),
        ("no quote into the next line", "password='hidden"),
        ("no word after a quote", "user='x'y z"), ("no comment", "user=#x"),
    )
    root = run_tools(roots, "".join(
        (*(command("apn=new", word) for _, word in table),
         command("apn=new", "-", lines="user=half-a-character-\\0303"),
         command("apn=new", "-", lines="hidden"), command())))
    text = said(root)
    assert text.count("status 64\n") == len(table) + 3
    assert text.count("; no file was changed\n") == len(table) + 2
    assert "hidden" not in text
    assert [root.read(file) for file in FILES] == [None] * 4


@pytest.mark.parametrize("broken, message", (
    (f"mkdir {PARAMETERS}", f"could not read {PARAMETERS}: Is a directory; no file was changed"),
    ("rm -r /etc/ppp/chat", f"could not write {CHAT_SCRIPT}; already written: "
     f"{PARAMETERS}, {AUTO_CONNECT}, {PEER_FILE}")), ids=("unreadable", "unwritable"))
def test_files_that_cannot_be_used(roots: Roots, broken: str, message: str) -> None:
    """A file that cannot be read is not overwritten. If a file cannot be written, the error message
    names it and the files already written."""
    root = run_tools(roots, f"{broken}\n" + command("apn=new"))
    assert "status 74\n" in said(root)
    assert message in said(root)


def test_callers(roots: Roots) -> None:
    """Exit statuses for missing secrets, locked parameters, no parameters and --help."""
    table = ((66, f"{PROVISION} apn=new - </"), (66, f"{PROVISION} apn=new - <&-"),
             (66, f"{PROVISION} apn=new - </dev/null"),
             (75, f"flock /run/corvanta-parameters.lock {PROVISION} apn=x"),
             (64, f"{PROVISION} --as-is"), (0, f"{PROVISION} --help"), (0, f"{PROVISION} -h"),
             (0, f"{PROVISION} --version"))
    root = run_tools(roots, "".join(run(words) for _, words in table))
    statuses = [line for line in said(root).splitlines() if line.startswith("status ")]
    assert statuses == [f"status {status}" for status, _ in table]
    assert root.read(PARAMETERS) is None


def test_show(roots: Roots) -> None:
    """--show prints the stored values with the secrets masked, and names generated files that are
    out of date."""
    changes = f"echo >>{CHAT_SCRIPT}\nprintf '0\\n' >{AUTO_CONNECT}\n"
    root = run_tools(roots, command(*ALL) + changes + command("--show"))
    assert said(root).split("status 0\n")[2] == (
        "apn=web.example\ndial=*99***1#\nuser=guest\npassword=********\npin=********\n"
        "auth=PAP\nauto-connect=NO\ncounts=\n"
        f"{PEER_FILE} agrees with the parameters\n{CHAT_SCRIPT} differs from the parameters\n")


def test_check(roots: Roots) -> None:
    """--check explains how pppd and chat interpret the values, as observed with both."""
    good = ("dial=*99#", "user=guest", "password=hidden")
    secrets = "echo '* * \"\" *' >/etc/ppp/pap-secrets\n"
    table: tuple[tuple[int, str, tuple[str, ...], str], ...] = (
        (0, "", good, "pppd and chat dial with these values."),
        (0, "", ("dial=*99#",), "only in networks without authentication"),
        (0, "", (*good, 'user="a b"'), "pppd reads user as: a b."),
        (0, "", (*good, "password=hid\\\\den"), "pppd reads 7 of the 8 characters"),
        (0, "", (*good, "apn=$HOME"), "chat interprets"),
        (0, "", (*good, "apn=a\\$b"), "pppd and chat dial with these values."),
        (0, secrets, (*good, "auth=PAP"), "only if its secrets files have an entry"),
        (1, "", (*good, "auth=PAP"), "it exits before it dials"),
        (1, secrets, (*good, "auth=CHAP"), "it exits before it dials"),
        (1, "", (*good, "password="), "password is empty and user is not"),
        (1, "", (*good, "user="), "user is empty and password is not"),
        (1, "", (*good, "user=a b"), "user is not one word"),
        (1, "", (*good, "password='hidden"), "unclosed quotation mark"),
        (1, "", (*good, "apn=o'b"), "for the next word and fails"),
        (1, "", (*good, "pin=12 34"), "pin is not 4 to 8 digits"),
        (1, "", (*good, "dial="), "dial is empty"),
    )
    clear = f"rm -f {' '.join(FILES)} /etc/ppp/pap-secrets\n"
    root = run_tools(roots, "".join(
        f"{clear}{setup}{PROVISION} --as-is {join(words)} >/dev/null\n{command('--check')}"
        f"echo :: >>{SAID}\n" for _, setup, words, _ in table))
    for (status, _, words, message), answer in zip(table, said(root).split("::\n")[:-1],
                                                   strict=True):
        assert f"status {status}\n" in answer, words
        assert message in answer, words
        assert "hid" not in answer, words


def test_with_a_panel(roots: Roots) -> None:
    """While the panel runs, print that it must be restarted, because Exit would overwrite the new
    values with those on the screen."""
    root = roots.new(mounts=TOOLS, launch=(
        "(until [ -e /testrun/go ]; do sleep 0.1; done\n"
        f"{command('apn=new')}touch /testrun/done) & {LAUNCH}")).start()
    root.write("/testrun/go", "")
    root.wait_until(root.host("/testrun/done").exists, 5, "corvanta-provision has run")
    assert "status 0\n" in said(root)
    assert "Restart it" in said(root)
