"""Constants of the program for tools and tests: texts, files, stored values and timeouts."""

import re

from host.paths import ROOT

# Width and height of the panels in pixels: the first two numbers of each row in core/panels.h.
SIZES = tuple((int(width), int(height)) for width, height in re.findall(
    r"\{(\d+), (\d+), ", (ROOT / "core/panels.h").read_text("utf-8")))

# USB vendor and product ID of the dongle.
DONGLE_VENDOR, DONGLE_PRODUCT = 0x12D1, 0x1001

# English texts of the screen; panel.catalogue has the other languages.
SETTING, STATUS, MISC = "3G/4G Setting", "3G/4G Status", "Misc Setting"
FIELDS = APN, DIAL, USER, PASSWORD, PIN = (
    "APN NAME:", "Dial Num:", "USER:", "PASSWORD:", "PinCode:")
AUTH = "APN Auth Methods:"
COUNTS = "Counts:"
DONGLE_STATUS, LINK_STATUS = "Dongle Status:", "PPP Status:"
UNDETECTED = "Undetected dongle,Please plugin and wait a moment!"
FAILED = "Connect Fail! Please Check the Parameter And Try Again!"
GREEN, RED = "color:green;", "color:red;"  # style sheets of the status values
# Text and style sheet of the link's value and of the dongle's.
LINK_UP, LINK_DOWN = ("connected", GREEN), ("disconnected", RED)
DONGLE_DETECTED, DONGLE_UNDETECTED = ("detected", GREEN), ("undetected", RED)

# Files of the board.
PARAMETERS = "/quenfold/configs/3gparam"
AUTO_CONNECT = "/quenfold/configs/autoparam"
CHIP_MARKER = "/quenfold/configs/initedFram"  # without it the program does not read the chip
PEER_FILE = "/etc/ppp/peers/ppp-connect"
CHAT_SCRIPT = "/etc/ppp/chat/chat"
FILES = (PARAMETERS, AUTO_CONNECT, PEER_FILE, CHAT_SCRIPT)  # files that the program writes
PPP_LOG, CHAT_LOG = LOGS = ("/etc/ppp/ppp.log", "/etc/ppp/chat.log")
OLD_LOG = ".old"  # suffix that Exit adds to the name of a log

# Index of the F-RAM parameter that sets the language, and its values; all other values are English.
LANGUAGE = 10
LANGUAGES = {0: "English", 1: "Traditional Chinese", 2: "Simplified Chinese"}

WITHOUT_KEYS = {"QT_IM_MODULE": "none"}  # environment without the on-screen keyboard

# Timeouts on the simulated board, in seconds of the host's clock; the host may be busy.
SOON_SECONDS = 30  # for the immediate effect of a touch
CHECK_SECONDS = 120  # for the link check 15 s after the start of pppd
START_SECONDS = 120  # for a start of the program
DOUBLE_TOUCH_SECONDS = 0.5  # after this time, a touch does not complete a double tap
# If the on-screen keyboard is in use, push buttons ignore touches for this time after a change of
# windows.
BUTTON_GUARD_SECONDS = 1.2


def stored_parameters(apn: str = "internet", dial: str = "*99#", user: str = "",
                      password: str = "", pin: str = "", method: str = "0") -> bytes:
    """Return a content of PARAMETERS. @param method row of the authentication method in its list"""
    return "".join(f"{value}\n" for value in (apn, dial, user, password, pin, method)).encode()


# Contents that tests store before the start of the program.
STORED = stored_parameters(user="operator", password="secret")
STORED_AUTO = b"1\n5\n"
