"""The panel's systemd service: exit and crash of the program, its devices and the console."""

from boardtest import RESTART, OperatedBoard
from panel.constants import CHECK_SECONDS, USER, WITHOUT_KEYS
from virtualboard.dongle import PORTS
from virtualboard.program import UNIT

LIMIT = 5  # number of failures after which systemd does not restart the panel
MOUNT = "/run/systemd/system/quenfold-configs.mount"
DROP_INS = "/run/systemd/system/corvanta.service.d"
RULES = "/run/udev/rules.d/85-power.rules"
CGROUP = f"/sys/fs/cgroup/system.slice/{UNIT}/cgroup.procs"
# Prints the lines of the console that are not blank. /dev/vcs1 has no newlines, so fold splits its
# text at the console's width.
CONSOLE = "fold -w $(stty -F /dev/tty1 size | cut -d' ' -f2) /dev/vcs1 | grep -o '[^ ].*[^ ]'"


def state(board: OperatedBoard) -> str:
    return board.guest.run(f"systemctl is-active {UNIT}").text.strip()


def microseconds(board: OperatedBoard, unit: str, name: str) -> int:
    """@return a time span property of a unit"""
    return int(board.sh(f"systemd-analyze timespan \"$(systemctl show --property={name} --value "
                        f"{unit})\" | grep -o '[0-9]*000000$'"))


def test_running(board: OperatedBoard) -> None:
    """Run several checks during one run of the panel, which none of them may stop."""
    board.sh("echo 'ACTION==\"add\", SUBSYSTEM==\"usb\", TEST==\"power/control\", "
             f"ATTR{{power/control}}=\"auto\"' >{RULES}; udevadm control --reload")
    board.dongle.plug()
    board.start_program(WITHOUT_KEYS | {"QT_LOGGING_RULES": "corvanta.*.warning=true"})
    pid = board.program.pid()
    # The package overrides a power-saving udev rule, so the dongle is not suspended.
    assert board.sh("cd /sys/bus/usb/devices; cat $(dirname $(grep -l 12d1 */idVendor))"
                    "/power/control") == "on\n"
    port = board.sh("udevadm info --query=property --name=/dev/ttyUSB0").splitlines()
    assert {"ID_MM_PORT_IGNORE=1", "ID_MM_DEVICE_IGNORE=1"} <= set(port)
    # No port echoes the modem's responses to it as commands.
    modes = [board.sh(f"stty --file=/dev/ttyUSB{number} --all").split() for number in range(PORTS)]
    assert all({"-icanon", "-echo"} <= set(mode) for mode in modes)
    check_console(board)
    check_killed_child(board)
    # With QT_LOGGING_RULES, the error messages of pppd are in the journal.
    board.panel.fill(USER, "two words")
    board.panel.press("Connect")
    board.wait_for("journalctl --quiet --identifier=corvanta | grep -q \"option 'words'\"")
    assert (state(board), board.program.pid()) == ("active", pid)
    board.program.stop()
    board.sh("sleep 1")
    assert board.is_black()


def check_console(board: OperatedBoard) -> None:
    """Check that the panel shows no login prompt, no text of the console and no kernel message."""
    clean = board.photograph("clean.png").read_bytes()
    board.sh("echo 'text on the console' >/dev/tty1; echo '<0>a message' >/dev/kmsg; sleep 1")
    assert board.photograph("disturbed.png").read_bytes() == clean
    assert board.guest.run("systemctl is-active getty@tty1").text.strip() == "inactive"


def check_killed_child(board: OperatedBoard) -> None:
    """Let the kernel's OOM killer kill a process of the unit. The service must keep running."""
    board.sh(f"(echo $BASHPID >{CGROUP}; echo 1000 >/proc/self/oom_score_adj; exec sleep 600) & "
             "until [ $(</proc/$!/comm) = sleep ]; do sleep 0.1; done; "
             "echo f >/proc/sysrq-trigger; wait $! || true; "
             f"until journalctl -q --unit={UNIT} | grep -q 'OOM killer'; do sleep 0.1; done")


def test_after_exit(board: OperatedBoard) -> None:
    """Exit stops the service or, if configured, restarts the panel. systemctl stop stops it."""
    board.dongle.plug()
    board.start_program()
    board.leave()
    board.wait_for(f"[ $(systemctl is-active {UNIT}) = inactive ]")
    board.sh(RESTART)
    board.start_program()
    before = board.program.pid()
    board.panel.press("Exit")
    board.wait_for(f"[ -e /run/program/pid ] && [ $(</run/program/pid) != {before} ]")
    board.program.stop()
    board.sh("sleep 3")
    assert state(board) == "inactive"


def test_failures_end_in_a_message(board: OperatedBoard) -> None:
    """systemd restarts the panel after a crash, up to the limit; then the console shows a message.
    Restarts by hand do not count towards the limit."""
    dark = board.records.picture("dark.png").read_bytes()
    board.program.start()
    for _ in range(LIMIT):
        board.sh(f"systemctl restart {UNIT}")
    for number in range(LIMIT):
        pid = board.program.pid()
        assert state(board) == "active"
        last = number == LIMIT - 1
        board.sh(f"kill -KILL {pid}; until " + (
            f"[ $(systemctl is-active {UNIT}) = failed ]" if last else
            f"[ $(</run/program/pid) != {pid} ]") + "; do sleep 0.2; done")
    board.wait_for(f"{CONSOLE} | grep -q 'failed five times'")
    assert board.records.picture("given-up.png").read_bytes() != dark
    assert "failed five times" in board.sh("journalctl --quiet --identifier=corvanta")


def test_no_framebuffer(board: OperatedBoard) -> None:
    """Without a framebuffer, each start waits for it and then fails as after a crash, so that
    systemd tries again up to the limit."""
    wait = microseconds(board, "dev-fb0.device", "JobTimeoutUSec")
    assert microseconds(board, UNIT, "StartLimitIntervalUSec") > 1.2 * LIMIT * wait
    board.sh(f"cd /run/systemd/system; mkdir -p dev-fb7.device.d {DROP_INS}\n"
             "printf '[Unit]\\nJobTimeoutSec=1\\n' >dev-fb7.device.d/short.conf\n"
             "printf '[Unit]\\nWants=dev-fb7.device\\nAfter=dev-fb7.device\\n' "
             f">{DROP_INS}/fb7.conf; systemctl daemon-reload", CHECK_SECONDS)
    board.program.start({"QT_QPA_PLATFORM": "linuxfb:fb=/dev/fb7"})
    board.wait_for(f"[ $(systemctl show --property=NRestarts --value {UNIT}) -ge 2 ]",
                   CHECK_SECONDS)
    logged = board.sh("journalctl --quiet --output=cat --identifier=corvanta --since=-60")
    assert "no display" in logged


def test_mounts_come_first(board: OperatedBoard) -> None:
    """systemd mounts the directory of the parameters before it starts the panel."""
    board.sh(f"printf '[Mount]\\nWhat=tmpfs\\nType=tmpfs\\n' >{MOUNT}; systemctl daemon-reload")
    board.program.start()
    board.sh("mountpoint /quenfold/configs")


def test_second_instance(board: OperatedBoard) -> None:
    """Start a panel with the launcher for other init systems. The service then refuses to start a
    second instance and does not change the screen."""
    board.dongle.plug()
    board.start_program()
    shown = board.photograph("service.png").read_bytes()
    board.program.stop()
    board.sh(f"env $(systemctl show --property=Environment --value {UNIT}) XDG_RUNTIME_DIR=/run "
             "setsid /usr/libexec/corvanta/launch </dev/null >/run/launched 2>&1 &")
    board.wait_picture(shown, "the launched panel")
    board.sh(f"systemctl start {UNIT}; "
             f"until [ $(systemctl is-active {UNIT}) = inactive ]; do sleep 0.2; done; sleep 2")
    assert state(board) == "inactive"
    assert "another instance" in board.program.log()
    assert board.records.picture("undisturbed.png").read_bytes() == shown
