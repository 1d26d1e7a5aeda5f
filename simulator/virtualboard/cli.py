"""The command line of simulator/board."""

import argparse
import sys
from collections.abc import Callable
from pathlib import Path

from host.errors import BoardError
from host.signals import INTERRUPTED, exit_on_signals
from image import sysroot
from machine.qemu import VNC_BASE
from panel.constants import LANGUAGE, LANGUAGES, SIZES
from panel.screen import NotShown, PanelError, centre
from virtualboard import states
from virtualboard.board import Board

Options = argparse.Namespace


def add_size(parser: argparse.ArgumentParser) -> None:
    parser.add_argument("--size", type=size, default=(800, 480), metavar="WxH",
                        help="panel size: " + ", ".join(f"{w}x{h}" for w, h in SIZES))


def add_language(parser: argparse.ArgumentParser) -> None:
    parser.add_argument("--language", type=int, choices=LANGUAGES, default=0,
                        help=", ".join(f"{number} {name}" for number, name in LANGUAGES.items()))


def size(text: str) -> tuple[int, int]:
    """Return a panel size, such as "800x480". @raise ValueError for an unknown size"""
    width, height = map(int, text.split("x"))
    return SIZES[SIZES.index((width, height))]


def pair(text: str) -> tuple[str, str]:
    """Return key and value of KEY=VALUE. @raise ValueError without a "=" """
    key, value = text.split("=", 1)
    return key, value


def do_boot(chosen: Options) -> None:
    states.ensure()
    board = Board(chosen.size, chosen.run, vnc_port=chosen.vnc, detached=True)
    board.start()
    board.detach()
    print(f"board {chosen.run} runs; logs and screenshots: {board.directory}")


def do_touch(board: Board, chosen: Options) -> None:
    if all(word.isdecimal() for word in chosen.where) and len(chosen.where) == 2:
        x, y = map(int, chosen.where)
    else:
        x, y = _find(board, " ".join(chosen.where))
    board.fingers.touch(x, y)
    print(f"touched {x} {y}")


def _find(board: Board, text: str) -> tuple[int, int]:
    """Return the middle of the button, list row, tab, field or key with this text or label.

    @raise BoardError when there is none"""
    screen = board.panel.screen()
    for look in (screen.button, screen.row, screen.tab, screen.field, screen.key):
        try:
            return centre(look(text))
        except NotShown:
            continue
    raise BoardError(f"nothing on the panel has the text {text!r}")


def do_sh(board: Board, chosen: Options) -> int:
    done = board.guest.run(" ".join(chosen.command), chosen.seconds)
    sys.stdout.buffer.write(done.output)
    return done.status


def do_panel(board: Board, chosen: Options) -> None:
    if chosen.action == "start":
        board.program.start(dict(chosen.environment))
    elif chosen.action == "stop":
        print(f"exit status {board.program.stop()}")
    else:
        print(board.panel.screen().short())


def do_off(board: Board, _: Options) -> None:
    try:
        board.records.logs()
    finally:
        board.off()


def parser() -> argparse.ArgumentParser:
    """Return the parser, with the verbs in the order in which they are needed."""
    top = argparse.ArgumentParser(prog="board", description="Control the simulated board.")
    verbs = top.add_subparsers(required=True, metavar="VERB")
    run = argparse.ArgumentParser(add_help=False)
    run.add_argument("--run", default="board", metavar="NAME",
                     help="name of the board (default: board)")

    def add(name: str, action: Callable[[Board, Options], object],
            text: str) -> argparse.ArgumentParser:
        verb = verbs.add_parser(name, help=text, description=text, parents=[run])
        verb.set_defaults(on_board=action)
        return verb

    for name, action, text in (
            ("image", lambda _: print(f"image ready in {states.ensure()}"),
             "build the disk image and the saved states"),
            ("sysroot", lambda _: print(f"sysroot ready in {sysroot.ensure()}"),
             "build the sysroot of the cross build")):
        verbs.add_parser(name, help=text, description=text).set_defaults(on_host=action)
    boot = verbs.add_parser("boot", help="start a board that runs until the verb off",
                            parents=[run])
    boot.set_defaults(on_host=do_boot)
    add_size(boot)
    boot.add_argument("--vnc", type=int, metavar="PORT",
                      help=f"TCP port for a VNC viewer, {VNC_BASE} or above")
    chip = add("chip", lambda board, chosen: board.chip.put_in(
        {LANGUAGE: chosen.language}, fault=chosen.fault), "insert an F-RAM chip")
    add_language(chip)
    chip.add_argument("--fault", choices=("queries",), help="ioctls for a setting fail")
    add("modem", lambda board, chosen: board.dongle.tell_modem(dict(chosen.settings)),
        "set the behaviour of the dongle; /app/modemsim --help on the board lists the settings"
        ).add_argument("settings", nargs="*", type=pair, metavar="NAME=VALUE")
    add("plug", lambda board, _: board.dongle.plug(), "plug in the dongle")
    add("unplug", lambda board, _: board.dongle.unplug(), "unplug the dongle")
    panel = add("panel", do_panel, "start or stop the program, or print the screen as text")
    panel.add_argument("action", choices=("start", "stop", "show"))
    panel.add_argument("environment", nargs="*", type=pair, metavar="NAME=VALUE")
    add("touch", do_touch, "touch a position, or what has this text or label").add_argument(
        "where", nargs="+", metavar="X Y | TEXT")
    add("type", lambda board, chosen: board.keyboard.type(chosen.text),
        "type a text on the USB keyboard").add_argument("text")
    add("key", lambda board, chosen: board.keyboard.press(chosen.name),
        "press a key or chord, such as Tab or Ctrl+A").add_argument("name")
    add("shot", lambda board, chosen: print(board.records.picture(chosen.file.absolute())),
        "save a screenshot as PNG").add_argument("file", type=Path)
    command = add("sh", do_sh, "run a command on the board")
    command.add_argument("--seconds", type=float, default=60, help="timeout (default: 60)")
    command.add_argument("command", nargs="+")
    add("gdb", lambda board, _: print(board.serve_debugger()),
        "let gdb-multiarch connect, and print its command line")
    add("logs", lambda board, _: board.records.logs(),
        "copy the board's logs to the run's directory")
    add("off", do_off, "copy the logs and switch the board off")
    return top


def main() -> int:
    """Run a verb. @return exit status: 0, 1 after a failure, or that of a command on the board"""
    chosen = parser().parse_args()
    exit_on_signals()
    try:
        if "on_host" in chosen:
            chosen.on_host(chosen)
            return 0
        board = Board.attach(chosen.run)
        try:
            return int(chosen.on_board(board, chosen) or 0)
        finally:
            board.detach()
    except KeyboardInterrupt:
        return INTERRUPTED
    except (BoardError, PanelError, OSError, ValueError) as error:
        print(f"board: {error}", file=sys.stderr)
        return 1
