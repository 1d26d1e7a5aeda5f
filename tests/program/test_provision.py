"""corvanta-provision: the panel's own files, refusals, and a panel that runs meanwhile."""

from shlex import join, quote

from panel.facts import (AUTO_CONNECT, CHAT_SCRIPT, FIELDS, FILES, PARAMETERS, PEER_FILE, STORED,
                         stored_parameters)
from privateroot.files import LAUNCH
from privateroot.operating import leave
from privateroot.process import BUILD, PrivateRoot
from programtest import ProgramTest

PROVISION = "/app/corvanta-provision"
MOUNTS = ("--ro-bind", str(BUILD / "app/provision/corvanta-provision"), PROVISION, "--tmpfs", "/run")
SAID = "/testrun/said"
ALL = ("--as-is", "apn=web.example", "dial=*99***1#", "user=guest", "password=pass word",
       "pin=1234", "auth=PAP", "auto-connect=YES", "counts=7")
VALUES = ("web.example", "*99***1#", "guest", "pass word", "1234")


def run(words: str) -> str:
    """Run a command line to its end; its exit status and then its output are added to SAID."""
    return (f"{words} >/testrun/output 2>&1\n"
            f"echo \"status $?\" >>{SAID}; cat /testrun/output >>{SAID}\n")


def command(*words: str, lines: str = "") -> str:
    """Run the program. @param lines its standard input, with printf's escapes"""
    return run(f"printf %b {quote(lines)} | {join([PROVISION, *words])}")


class Provision(ProgramTest):
    def provisioned(self, setup: str) -> PrivateRoot:
        """Start a panel after these shell commands."""
        return self.root(mounts=MOUNTS, setup=setup).start()

    def said(self, root: PrivateRoot) -> str:
        return root.content(SAID).decode()

    def test_every_value(self) -> None:
        """The files of a panel on which all was typed, for root alone; the panel shows them."""
        for setup in (command(*ALL),
                      command(*ALL[:3], "-", lines="\n".join(["", "# secrets", *ALL[3:]]))):
            with self.subTest(setup):
                root = self.provisioned(setup)
                self.assertEqual(self.said(root),
                                 "status 0\n" + "".join(f"wrote {file}\n" for file in FILES))
                self.assertEqual(root.read(PARAMETERS), stored_parameters(*VALUES, "1"))
                self.assertEqual(root.read(AUTO_CONNECT), b"0\n7\n")
                self.assert_file(root, CHAT_SCRIPT, "chat-with-pin")
                self.assert_file(root, PEER_FILE, "peer-pap")
                self.assertEqual([root.mode(file) for file in FILES], ["600"] * 4)
                self.assertEqual(tuple(root.panel.field(label)["text"] for label in FIELDS), VALUES)
                leave(root)

    def test_values_that_are_not_named(self) -> None:
        """They are kept, also those of a list that is too short."""
        for stored, kept in ((STORED, b"internet\n*99#\noperator\nsecret\n0000\n0\n"),
                             (b"apn\n*99#\n", b"apn\n*99#\n\n\n0000\n0\n"),
                             (b"a\n\n\n\n\n7\n", b"a\n\n\n\n0000\n-1\n")):
            with self.subTest(stored):
                root = self.provisioned(f"printf %s {quote(stored.decode())} >{PARAMETERS}\n"
                                        + command("pin=0000"))
                self.assertEqual(root.read(PARAMETERS), kept)
                leave(root)

    def test_refusals(self) -> None:
        """Nothing is changed, and no message repeats a value."""
        table = (
            ("no newline", "password=hidden\n1"), ("no white space at an end", "apn= x"),
            ("no unknown name", "hidden=x"), ("no other method", "auth=pap"),
            ("no other choice", "auto-connect=maybe"), ("no word alone", "internet"),
            ("no length beyond a line edit's", "user=" + "x" * 32768),
            ("no option of pppd", 'user=x init "touch /run/executed"'),
            ("no quote into the next line", "password='hidden"),
            ("no word after a quote", "user='x'y z"), ("no comment", "user=#x"),
        )
        root = self.provisioned("".join(
            (*(command("apn=new", word) for _, word in table),
             command("apn=new", "-", lines="user=half-a-character-\\0303"),
             command("apn=new", "-", lines="hidden"), command())))
        said = self.said(root)
        self.assertEqual(said.count("status 64\n"), len(table) + 3, said)
        self.assertEqual(said.count("; no file was changed\n"), len(table) + 2, said)
        self.assertNotIn("hidden", said)
        self.assertEqual([root.read(file) for file in FILES], [None] * 4)

    def test_files_that_cannot_be_used(self) -> None:
        """What cannot be read is not written over; what cannot be written is named."""
        for broken, said in (
                (f"mkdir {PARAMETERS}",
                 f"could not read {PARAMETERS}: Is a directory; no file was changed"),
                ("rm -r /etc/ppp/chat", f"could not write {CHAT_SCRIPT}; already written: "
                 f"{PARAMETERS}, {AUTO_CONNECT}, {PEER_FILE}")):
            with self.subTest(broken):
                root = self.provisioned(f"{broken}\n" + command("apn=new"))
                self.assertIn("status 74\n", self.said(root))
                self.assertIn(said, self.said(root))

    def test_callers(self) -> None:
        """Secrets that do not arrive, locked parameters, no parameters and questions about the
        program have their statuses."""
        table = ((66, f"{PROVISION} apn=new - </"), (66, f"{PROVISION} apn=new - <&-"),
                 (66, f"{PROVISION} apn=new - </dev/null"),
                 (75, f"flock /run/corvanta-parameters.lock {PROVISION} apn=x"),
                 (64, f"{PROVISION} --as-is"), (0, f"{PROVISION} --help"), (0, f"{PROVISION} -h"),
                 (0, f"{PROVISION} --version"))
        root = self.provisioned("".join(run(words) for _, words in table))
        statuses = [line for line in self.said(root).splitlines() if line.startswith("status ")]
        self.assertEqual(statuses, [f"status {status}" for status, _ in table])
        self.assertIsNone(root.read(PARAMETERS))

    def test_show(self) -> None:
        """What is stored, without the secrets, and which generated file is behind."""
        changes = f"echo >>{CHAT_SCRIPT}\nprintf '0\\n' >{AUTO_CONNECT}\n"
        root = self.provisioned(command(*ALL) + changes + command("--show"))
        self.assertEqual(self.said(root).split("status 0\n")[2], (
            "apn=web.example\ndial=*99***1#\nuser=guest\npassword=********\npin=********\n"
            "auth=PAP\nauto-connect=NO\ncounts=\n"
            f"{PEER_FILE} agrees with the parameters\n{CHAT_SCRIPT} differs from the parameters\n"))

    def test_check(self) -> None:
        """What pppd and chat make of the values, as they were measured to do."""
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
        root = self.provisioned("".join(
            f"{clear}{setup}{PROVISION} --as-is {join(words)} >/dev/null\n{command('--check')}"
            f"echo :: >>{SAID}\n" for _, setup, words, _ in table))
        answers = self.said(root).split("::\n")[:-1]
        for (status, _, words, message), said in zip(table, answers, strict=True):
            with self.subTest(words):
                self.assertIn(f"status {status}\n", said)
                self.assertIn(message, said)
                self.assertNotIn("hid", said)

    def test_two_at_once(self) -> None:
        """The files are those of one of them, whole, and agree."""
        one, other = (f"{PROVISION} {values} >/dev/null || echo failed >>{SAID}" for values in (
            "apn=a user=one pin=1", "apn=another.example user= pin="))
        note = f"cat {' '.join(FILES)} | md5sum >>{SAID}"
        root = self.provisioned(
            f"{one}; {note}; {other}; {note}\n"
            f"for i in 1 2 3 4 5 6 7 8 9; do ({one}) & ({other}) & wait; {note}; done\n")
        said = self.said(root).splitlines()
        self.assertEqual(len(said), 11, said)
        self.assertEqual(set(said), set(said[:2]))

    def test_with_a_panel(self) -> None:
        """It says that the panel must be restarted, for its Exit would store what it shows."""
        root = self.root(mounts=MOUNTS, launch=(
            "(until [ -e /testrun/go ]; do sleep 0.1; done\n"
            f"{command('apn=new')}touch /testrun/done) & {LAUNCH}")).start()
        root.write("/testrun/go", "")
        root.wait_until(root.host("/testrun/done").exists, 5, "it has run")
        self.assertIn("status 0\n", self.said(root))
        self.assertIn("Restart it", self.said(root))
        leave(root)
