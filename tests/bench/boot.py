"""Measures a boot of the simulated board, whose clock counts instructions, to the setting page."""

from bench.measures import Pairs
from panel.constants import DONGLE_PRODUCT
from virtualboard.board import Board
from virtualboard.dongle import PORTS
from virtualboard.program import PID, UNIT

MILLION_PER_SECOND = 125  # instructions: one is 8 ns of the board's time (-icount)
BOOT_SECONDS = 180
SHOWN = "/run/setting-page"  # uptime and idle time in s, then the CPU time in ns of each thread

# Looks at the middle row of the screen every 50 ms. It is black until the setting page is shown.
WATCH = f"""
use strict;
sub slurp {{ local (@ARGV, $/) = @_; -e $ARGV[0] ? <> : "" }}
my $row = "";
until ($row =~ tr/\\0//c > 1000) {{
    select undef, undef, undef, 0.05;
    my ($width, $height) = split /,/, slurp("/sys/class/graphics/fb0/virtual_size");
    open my $screen, "<", "/dev/fb0" or next;
    sysseek $screen, $width * 4 * int($height / 2), 0;
    sysread $screen, $row, $width * 4;
}}
chomp(my $pid = slurp("{PID}"));
print map slurp($_), "/proc/uptime", glob "/proc/$pid/task/*/schedstat";
"""
UNITS = {
    "watch": f"""
[Unit]
DefaultDependencies=no
[Service]
ExecStart=/usr/bin/perl /etc/watch.pl
StandardOutput=truncate:{SHOWN}
[Install]
WantedBy=sysinit.target
""",
    "plugged": f"""
[Unit]
Before={UNIT}
[Service]
Type=oneshot
ExecStart=/usr/sbin/dongle plug {DONGLE_PRODUCT:#06x} {PORTS}
[Install]
WantedBy=multi-user.target
"""}
# The panel is on and the dongle plugged in at the boot. The program runs without the inspector.
PREPARE = f"""
set -e
mkdir -p /etc/systemd/system/dev-fb0.device.d
printf '[Unit]\\nJobTimeoutSec=120\\n' >/etc/systemd/system/dev-fb0.device.d/late.conf
printf '[Service]\\nEnvironment=QT_QPA_GENERIC_PLUGINS=\\n' \
    >/etc/systemd/system/{UNIT}.d/zz-measured.conf
systemctl enable panel watch plugged 2>/dev/null
"""


def boot(size: tuple[int, int], _: int) -> list[Pairs]:
    """
    Boot once, with the program's package installed.

    @return time in s and million instructions, from the kernel's first line to the setting page;
            then both from the start of the service, with the instructions of the program only
    """
    with Board(size, "bench-boot-before") as board:
        board.guest.write("/etc/watch.pl", WATCH.encode())
        for name, text in UNITS.items():
            board.guest.write(f"/etc/systemd/system/{name}.service", text.encode())
        board.guest.sh(PREPARE)
        changes = board.directory / "changes.tar"
        changes.write_bytes(board.stored())
    with Board(size, "bench-boot", changes=changes, panel_on=False) as board:
        board.guest.sh(f"until [ -s {SHOWN} ]; do sleep 1; done; sleep 1", BOOT_SECONDS)
        started = int(board.guest.sh(
            f"systemctl show --property=ExecMainStartTimestampMonotonic --value {UNIT}")) / 1e6
        times, *threads = board.guest.read(SHOWN).decode().splitlines()
    uptime, idle = map(float, times.split())
    spent = sum(int(thread.split()[0]) for thread in threads) / 1e9
    return [[(figure, 0)] for figure in (uptime, (uptime - idle) * MILLION_PER_SECOND,
                                         uptime - started, spent * MILLION_PER_SECOND)]
