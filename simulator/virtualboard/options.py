"""Checks the values on the command lines of the board's tools."""

import argparse
import re
from collections.abc import Callable

from machine.qemu import VNC_BASE
from panel.facts import SIZES
from virtualboard.board import RUN_NAME

PORT_MOST = 65535
PRODUCT_DIGITS = 4


def size(text: str) -> tuple[int, int]:
    """Return a panel size, such as "800x480"."""
    sizes = {f"{width}x{height}": (width, height) for width, height in SIZES}
    if text not in sizes:
        raise argparse.ArgumentTypeError(f"{text!r} is none of " + ", ".join(sizes))
    return sizes[text]


def run(text: str) -> str:
    """Return the name of a run and of its directory."""
    if not re.fullmatch(RUN_NAME, text):
        raise argparse.ArgumentTypeError(f"{text!r} is no name for a run: letters, digits, . - _")
    return text


def pair(text: str) -> tuple[str, str]:
    key, separator, value = text.partition("=")
    if not (key and separator):
        raise argparse.ArgumentTypeError(f"{text!r} is not NAME=VALUE")
    return key, value


def numbers(text: str) -> tuple[int, int]:
    """Return index and value of a parameter of the chip, such as "10=1"."""
    key, _, value = text.partition("=")
    if not (key.isdecimal() and value.isdecimal()):
        raise argparse.ArgumentTypeError(f"{text!r} is not NUMBER=NUMBER")
    return int(key), int(value)


def product(text: str) -> int:
    """Return a USB product id from hexadecimal digits."""
    digits = text.lower().removeprefix("0x")
    if not (0 < len(digits) <= PRODUCT_DIGITS and set(digits) <= set("0123456789abcdef")):
        raise argparse.ArgumentTypeError(
            f"{text!r} is not a USB product id: {PRODUCT_DIGITS} hexadecimal digits, as in 1001")
    return int(digits, 16)


def whole_number(least: int, most: int) -> Callable[[str], int]:
    def number(text: str) -> int:
        if not (text.isdecimal() and least <= int(text) <= most):
            raise argparse.ArgumentTypeError(f"{text!r} is not a number from {least} to {most}")
        return int(text)
    return number


def seconds(text: str) -> float:
    try:
        value = float(text)
    except ValueError:
        value = -1
    if not 0 < value <= 86400:
        raise argparse.ArgumentTypeError(f"{text!r} is not a number of seconds up to a day")
    return value


vnc_port = whole_number(VNC_BASE, PORT_MOST)
