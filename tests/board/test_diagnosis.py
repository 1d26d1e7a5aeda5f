"""corvanta-doctor: causes that only a board can show, and the bundle of a board that dialled."""

import pytest

from boardtest import OperatedBoard
from panel.constants import CHECK_SECONDS, PPP_LOG

SECRETS = USER, PASSWORD, PIN, IMEI = "phoneuser", "longsecret", "8642", "490154203237518"
PROVISION = f"corvanta-provision apn=web dial=*99# user={USER} password={PASSWORD} pin={PIN}"
FILL = "mount -t tmpfs -o size=64k x /quenfold/configs; ! cat /dev/zero >/quenfold/configs/full"
FAIL = ("mv /dev/fb0 /dev/fb9; systemctl start corvanta; "
        "until systemctl is-failed -q corvanta; do sleep 1; done; mv /dev/fb9 /dev/fb0")
DIAL = f"pppd call ppp-connect; until grep Connect: {PPP_LOG}; do sleep 0.5; done; sleep 10"
# Commands that make the cause, part of the last line.
CAUSES = {
    "wrong APN": (DIAL, "not answered. To do: compare APN"),
    "full": (FILL, "/quenfold/configs is full"),
    "failed": (FAIL, "corvanta.service is failed"),
}
LINKS = (  # the same on a board with a link
    (":", ":", "No failure was found"),
    ("mount --bind /dev/null /etc/resolv.conf", "umount /etc/resolv.conf", "no name server"),
    ("ip route replace default dev lo", "ip route replace default dev ppp0", "route is over lo"),
)


@pytest.mark.parametrize("made, cause", CAUSES.values(), ids=CAUSES)
def test_cause(board: OperatedBoard, made: str, cause: str) -> None:
    board.dongle.tell_modem({"apn": "internet"})
    board.dongle.plug()
    board.sh(f"{PROVISION}; {made}", CHECK_SECONDS)
    page = board.guest.run("corvanta-doctor", CHECK_SECONDS).text
    assert cause in page.split("Most probable cause: ")[1]


def test_board_that_dialled(board: OperatedBoard) -> None:
    board.dongle.tell_modem({"sim.pin": PIN, "auth": "chap", "user": USER, "password": PASSWORD})
    board.dongle.plug()
    board.sh(f"{PROVISION}; pppd call ppp-connect; "
             "until ip -4 address show dev ppp0 | grep inet; do sleep 0.5; done", CHECK_SECONDS)
    for made, undo, cause in LINKS:
        board.sh(made)
        assert cause in board.guest.run("corvanta-doctor", CHECK_SECONDS).text.splitlines()[-1]
        board.sh(undo)
    bundle = board.sh("corvanta-doctor --bundle /run/b.tgz >/dev/null; tar -xzOf /run/b.tgz; "
                      "rm /run/b.tgz", CHECK_SECONDS)
    assert [part for part in ("Connect: ppp0", "AT+CPIN=", "IMEI: ") if part not in bundle] == []
    assert [secret for secret in SECRETS if secret in bundle] == []
