"""The Debian package: its content, installation, upgrade and removal on a board, and a boot."""

import re
import subprocess
import tempfile
from pathlib import Path
from shlex import quote

from boardtest import EXPECTED, INSTALL_SECONDS, PACKAGE, RESTART, SETTINGS, OperatedBoard
from host.paths import ARM, ROOT
from panel.constants import (CHAT_LOG, CHAT_SCRIPT, CHIP_MARKER, FILES, LOGS, OLD_LOG, PARAMETERS,
                             PEER_FILE, PPP_LOG, stored_parameters)
from virtualboard.program import UNIT

OTHERS = "/etc/ppp/ppp.login"  # another program's file in the directory of the logs
OPTIONS = "/etc/ppp/options.ttyUSB0"
MINE = stored_parameters(user="operator", password="secret")
# Options with which lintian also checks what it considers informational.
HARDENING = ("--display-info", "--tags",
             "hardening-no-pie,hardening-no-relro,hardening-no-bindnow,"
             "hardening-no-fortify-functions")
# Turns on the panel during the boot, and lets the service wait longer for the framebuffer, because
# a boot on a busy host takes longer than the usual wait.
LATE_PANEL = """
set -e
systemctl enable panel 2>/dev/null
mkdir /etc/systemd/system/dev-fb0.device.d
printf '[Unit]\\nJobTimeoutSec=120\\n' >/etc/systemd/system/dev-fb0.device.d/late.conf
"""


def test_fresh(board: OperatedBoard) -> None:
    modes = board.sh(f"stat -c '%a %U' /quenfold/configs /etc/ppp/chat {' '.join(LOGS)}")
    assert modes == "700 root\n" * 2 + "600 root\n" * 2


def first_version(settings: bytes) -> bytes:
    """@return a package of version 0.1.0 that has the settings as a conffile"""
    with tempfile.TemporaryDirectory() as directory:
        tree, package = Path(directory, "tree"), Path(directory, "first.deb")
        subprocess.run(["dpkg-deb", "--raw-extract", next(ARM.glob("corvanta_*.deb")), tree],
                       check=True)
        control, conffiles = tree / "DEBIAN/control", tree / "DEBIAN/conffiles"
        control.write_text(re.sub(r"(?m)^Version: .*", "Version: 0.1.0", control.read_text()))
        conffiles.write_text(conffiles.read_text() + f"{SETTINGS}\n")
        (tree / "etc/default").mkdir()
        (tree / SETTINGS[1:]).write_bytes(settings)
        subprocess.run(["dpkg-deb", "--root-owner-group", "--build", tree, package], check=True,
                       stdout=subprocess.DEVNULL)
        return package.read_bytes()


def test_upgraded_from_the_first_version(board: OperatedBoard) -> None:
    """Upgrade from version 0.1.0 without a question from dpkg. Unchanged settings and pppd options
    are replaced, changed ones are kept."""
    options, present = (EXPECTED / "options-0.1.0").read_bytes(), board.guest.read(OPTIONS)
    settings = b"CORVANTA_AFTER_EXIT=stay\n"
    board.guest.write("/run/first.deb", first_version(settings))
    for change in (b"", b"debug\n"):
        board.sh("dpkg --purge corvanta; dpkg --install /run/first.deb", INSTALL_SECONDS)
        board.guest.write(OPTIONS, options + change)
        if change:
            board.guest.write(SETTINGS, settings + change)
        board.sh(f"dpkg --install {PACKAGE} </dev/null", INSTALL_SECONDS)
        assert board.guest.read(OPTIONS) == (options + change if change else present)
        kept = board.guest.run(f"cat {SETTINGS} 2>/dev/null").text.encode()
        assert kept == (settings + change if change else b"")


def test_reinstalled(board: OperatedBoard) -> None:
    """A reinstallation keeps the parameters, the integrator's settings and the modes of
    directories. A log that other users can read gets mode 0600."""
    board.sh(RESTART)
    board.guest.write(PARAMETERS, MINE)
    logs = f"{PPP_LOG} {PPP_LOG}{OLD_LOG}"
    board.sh(f"chmod 0750 /quenfold/configs; install -m 0644 /dev/null {PPP_LOG}; "
             f"cp {PPP_LOG} {PPP_LOG}{OLD_LOG}; setpriv --reuid=65534 --clear-groups "
             "corvanta-provision --show; [ $? = 77 ]")
    board.sh(f"dpkg --install --force-confold {PACKAGE}", INSTALL_SECONDS)
    assert board.guest.read(PARAMETERS) == MINE
    assert "CORVANTA_AFTER_EXIT=restart" in board.sh(f"cat {SETTINGS}")
    assert board.sh(f"stat -c %a /quenfold/configs {logs}") == "750\n600\n600\n"


def test_removed_purged_and_installed_again(board: OperatedBoard) -> None:
    """dpkg --remove stops the panel and keeps its files. A purge deletes files with secrets, and
    the target if such a file is a symlink. It keeps other programs' files and targets of other
    symlinks. An installation changes no existing file, and a later purge keeps the pppd options,
    which have no secrets."""
    board.dongle.plug()
    board.start_program()
    board.sh(f"corvanta-provision apn=internet; touch {CHIP_MARKER}; "
             f"mv {PARAMETERS} /var/secret; ln -s /var/secret {PARAMETERS}; "
             f"for log in {{{','.join(LOGS)}}}{{,{OLD_LOG}}}{{,.1}}; do echo log >$log; done; "
             f"ln -sf /dev/null {CHAT_LOG}{OLD_LOG}; echo log | tee {OTHERS} >/var/shared; "
             f"ln -sf /var/shared {PPP_LOG}{OLD_LOG}")
    board.sh("dpkg --remove corvanta", INSTALL_SECONDS)
    assert board.guest.run("pgrep -x corvanta").text == ""
    assert board.guest.run(f"systemctl cat {UNIT}").status != 0
    for file in FILES:
        board.sh(f"test -s {quote(file)}")
    board.sh("dpkg --purge corvanta", INSTALL_SECONDS)
    left = board.sh(f"ls /quenfold/configs; ls -d /var/secret {CHAT_SCRIPT} /etc/ppp/peers/* "
                    f"{OPTIONS} {PPP_LOG}* {CHAT_LOG}* 2>/dev/null || true; "
                    "find / -xdev -name '*corvanta*'")
    # The drop-in directory belongs to the simulated board.
    assert left.split() == [Path(CHIP_MARKER).name, OTHERS,
                            "/etc/systemd/system/corvanta.service.d"]
    board.sh(f"test -c /dev/null; test -s /var/shared; rm /var/shared {OTHERS}")

    for file in (PARAMETERS, PEER_FILE, OPTIONS):
        board.guest.write(file, MINE)
    board.sh("rmdir /etc/ppp/chat 2>/dev/null; ln -s /not/mounted/yet /etc/ppp/chat; "
             f"dpkg --install {PACKAGE}", INSTALL_SECONDS)
    board.await_window()
    for file in (PARAMETERS, PEER_FILE, OPTIONS):
        assert board.guest.read(file) == MINE
    board.sh("dpkg --purge corvanta", INSTALL_SECONDS)
    assert board.guest.read(OPTIONS) == MINE


def test_bounded_logs(board: OperatedBoard) -> None:
    """logrotate truncates a log that pppd has open, before and after Exit has renamed it."""
    for name in (PPP_LOG, PPP_LOG + OLD_LOG):
        sizes = board.sh(f"exec 9>>{PPP_LOG}; head -c 2000000 /dev/zero >&9\n"
                         f"[ -e {name} ] || mv {PPP_LOG} {name}\n"
                         "logrotate -s /run/rotated /etc/logrotate.d/corvanta\n"
                         f"echo more >&9; stat -c %s {name} {name}.1; rm {PPP_LOG}*")
        assert sizes.split() == ["5", "2000000"]


def test_lintian_and_reproducible_build() -> None:
    """lintian has no findings, and the programs that run as root are built with Debian's hardening
    flags. A second build, at another time and with another umask, gives the same package."""
    package = next(ARM.glob("corvanta_*.deb"))
    for options in ((), HARDENING):
        done = subprocess.run(["lintian", "--allow-root", *options, package], capture_output=True,
                              text=True, check=False)
        assert (done.returncode, done.stdout) == (0, ""), done.stderr
    first = package.read_bytes()
    subprocess.run([ROOT / "tools/make-package", "armhf"], stdout=subprocess.DEVNULL, check=True,
                   umask=0o077)
    assert package.read_bytes() == first


def test_panel_starts_at_boot(board: OperatedBoard, tmp_path: Path) -> None:
    """After a boot, the panel shows the same screen as after a start by hand."""
    board.program.start()
    board.wait_undetected()
    wanted = board.photograph("wanted.png").read_bytes()
    board.program.stop()
    board.sh(LATE_PANEL)
    changes = tmp_path / "changes.tar"
    changes.write_bytes(board.stored())
    with OperatedBoard(board.size, "test-boot", changes=changes, panel_on=False) as booted:
        booted.wait_picture(wanted, "the waiting dialog")
        assert booted.sh(f"systemctl show --property=NRestarts --value {UNIT}; "
                         "systemctl --failed --no-legend") == "0\n"
