"""The command line of simulator/board."""

import argparse
import sys
import time
from collections.abc import Callable
from pathlib import Path
from typing import TypeAlias

from host.errors import BoardError, in_words
from host.signals import INTERRUPTED, end_orderly
from image import appdisk, sysroot
from machine.qemu import VNC_BASE
from panel.facts import DONGLE_PRODUCT, LANGUAGE, LANGUAGES, SIZES
from panel.screen import NotShown, PanelError, centre
from virtualboard import options, states
from virtualboard.board import Board
from virtualboard.chip import FAULTS, PARAMETERS, VALUES
from virtualboard.dongle import PORTS, PORTS_MOST

FAILED = 1  # exit status; after a usage error argparse exits with 2

Options = argparse.Namespace
Verbs: TypeAlias = "argparse._SubParsersAction[argparse.ArgumentParser]"


def say(text: str) -> None:
    print(text, flush=True)


def do_image(_: Options) -> None:
    started = time.monotonic()
    folder = states.ensure(say)
    say(f"image ready in {folder} ({time.monotonic() - started:.1f} s)")


def do_sysroot(_: Options) -> None:
    say(f"sysroot ready in {sysroot.ensure()}")


def do_app(_: Options) -> None:
    say(f"programs' disk ready in {appdisk.ensure()}")
    for source in appdisk.missing():
        say(f"not built for the board yet: {source}")


def do_boot(chosen: Options) -> None:
    states.ensure(say)
    started = time.monotonic()
    board = Board(chosen.size, chosen.run, fresh=chosen.fresh, vnc_port=chosen.vnc, detached=True)
    board.start()
    board.detach()
    say(f"board {chosen.run} is up after {time.monotonic() - started:.2f} s; {board.folder}")
    if chosen.vnc:
        say(f"live view: a VNC viewer on 127.0.0.1:{chosen.vnc}")


def do_plug(board: Board, chosen: Options) -> None:
    board.dongle.plug(chosen.product, chosen.ports)


def do_unplug(board: Board, _: Options) -> None:
    board.dongle.unplug()


def do_touch(board: Board, chosen: Options) -> None:
    where = chosen.where
    if len(where) == 2 and all(word.isdecimal() for word in where):
        x, y = int(where[0]), int(where[1])
    else:
        x, y = _find(board, " ".join(where))
    board.fingers.touch(x, y)
    say(f"touched {x} {y}")


def _find(board: Board, text: str) -> tuple[int, int]:
    """Return the middle of the button, list row, tab, labelled field or key with this text."""
    try:
        screen = board.panel.screen()
    except OSError as error:
        raise BoardError("the program does not run, so nothing shows a text: "
                         "simulator/board panel start") from error
    for look in (screen.button, screen.row, screen.tab, screen.field, screen.key):
        try:
            return centre(look(text))
        except NotShown:
            continue
    raise BoardError(f"nothing on the panel shows {text!r}")


def do_type(board: Board, chosen: Options) -> None:
    board.keyboard.type(chosen.text)


def do_key(board: Board, chosen: Options) -> None:
    board.keyboard.press(chosen.name)


def do_shot(board: Board, chosen: Options) -> None:
    say(str(board.records.picture(Path(chosen.file).absolute())))


def do_sh(board: Board, chosen: Options) -> int:
    def write(output: bytes) -> None:
        sys.stdout.buffer.write(output)
        sys.stdout.flush()
    return board.guest.follow(" ".join(chosen.command), chosen.seconds, write)


def do_modem(board: Board, chosen: Options) -> None:
    board.dongle.tell_modem(dict(chosen.settings))


def do_chip(board: Board, chosen: Options) -> None:
    board.chip.put_in({LANGUAGE: chosen.language} | dict(chosen.parameter), marker=chosen.marker,
                      fault=chosen.fault)


def do_panel(board: Board, chosen: Options) -> None:
    if chosen.action == "start":
        board.program.start(dict(chosen.environment))
    elif chosen.action == "stop":
        _say_status(board.program.stop())
    elif board.program.running():
        say(board.panel.screen().short())
    else:
        _say_status(board.program.status())


def _say_status(status: int | None) -> None:
    say("the program has not run yet" if status is None else
        f"the program has ended with exit status {status}")


def do_gdb(board: Board, chosen: Options) -> None:
    say(board.serve_debugger(chosen.port))


def do_logs(board: Board, _: Options) -> None:
    for path in board.records.logs():
        say(str(path))


def do_off(board: Board, _: Options) -> None:
    try:
        board.records.logs()
    finally:
        board.off()


def parser() -> argparse.ArgumentParser:
    """Return the parser, with the verbs in the order in which they are needed."""
    top = argparse.ArgumentParser(prog="board", description="The simulated board: build it, boot "
                                  "it, touch it, look at it.")
    verbs = top.add_subparsers(dest="verb", required=True, metavar="VERB")
    _add_making(verbs)
    _add_dongle_and_chip(verbs)
    _add_hands(verbs)
    _add_looks(verbs)
    return top


def _add(verbs: Verbs, name: str, action: Callable[[Board, Options], int | None],
         text: str) -> argparse.ArgumentParser:
    """Add a verb for a running board."""
    added = verbs.add_parser(name, help=text, description=text)
    added.set_defaults(on_board=action)
    _add_run(added)
    return added


def _add_run(verb: argparse.ArgumentParser) -> None:
    verb.add_argument("--run", type=options.run, default="board", metavar="NAME",
                      help="which board (default: board)")


def _add_making(verbs: Verbs) -> None:
    for name, action, text in (("image", do_image, "build all that a board starts from"),
                               ("sysroot", do_sysroot, "build only what cross-compiling needs"),
                               ("app", do_app, "make the disk with the cross-built programs"),
                               ("boot", do_boot, "bring a board up; it runs until off")):
        added = verbs.add_parser(name, help=text, description=text)
        added.set_defaults(on_host=action)
    _add_run(added)
    added.add_argument("--size", type=options.size, default=(800, 480), metavar="WxH",
                       help="panel: " + ", ".join(f"{w}x{h}" for w, h in SIZES))
    added.add_argument("--fresh", action="store_true", help="boot, without the saved state")
    added.add_argument("--vnc", type=options.vnc_port, metavar="PORT",
                       help=f"live view, {VNC_BASE} or above")


def _add_dongle_and_chip(verbs: Verbs) -> None:
    plug = _add(verbs, "plug", do_plug, "plug the dongle in")
    plug.add_argument("--product", type=options.product, default=DONGLE_PRODUCT, metavar="ID",
                      help=f"USB product id (default: {DONGLE_PRODUCT:04x})")
    plug.add_argument("--ports", type=options.whole_number(0, PORTS_MOST), default=PORTS,
                      metavar="N", help=f"serial ports (default: {PORTS})")
    _add(verbs, "unplug", do_unplug, "pull the dongle out")
    modem = _add(verbs, "modem", do_modem, "tell the modem simulator how to behave; "
                 "`sh '/app/modemsim --help'` lists the names and values")
    modem.add_argument("settings", nargs="*", type=options.pair, metavar="NAME=VALUE")
    chip = _add(verbs, "chip", do_chip,
                "put an F-RAM chip in, which the program reads as it starts")
    chip.add_argument("--language", type=options.whole_number(0, VALUES - 1), default=0,
                      metavar="N", help=", ".join(
                          f"{number} {name}" for number, name in LANGUAGES.items())
                      + " (default: 0)")
    chip.add_argument("--parameter", type=options.numbers, action="append", default=[],
                      metavar="N=V", help=f"N is 0 to {PARAMETERS - 1}, V 0 to {VALUES - 1}")
    chip.add_argument("--no-marker", dest="marker", action="store_false",
                      help="without the file that has the program read the parameters")
    chip.add_argument("--fault", choices=FAULTS)


def _add_hands(verbs: Verbs) -> None:
    touch = _add(verbs, "touch", do_touch, "touch a pixel, or what shows a text")
    touch.add_argument("where", nargs="+", metavar="X Y | TEXT")
    _add(verbs, "type", do_type, "type a text on the USB keyboard").add_argument("text")
    _add(verbs, "key", do_key, "press a key or chord: Tab, Ctrl+A").add_argument("name")


def _add_looks(verbs: Verbs) -> None:
    panel = _add(verbs, "panel", do_panel,
                 "start the program on the panel, stop it, say what it shows")
    panel.add_argument("action", choices=("start", "stop", "show"))
    panel.add_argument("environment", nargs="*", type=options.pair, metavar="NAME=VALUE")
    _add(verbs, "shot", do_shot, "photograph the panel as PNG").add_argument("file")
    command = _add(verbs, "sh", do_sh, "run a command inside the board")
    command.add_argument("--seconds", type=options.seconds, default=60,
                         help="end it after that time (default: 60)")
    command.add_argument("command", nargs="+")
    debugger = _add(verbs, "gdb", do_gdb, "let gdb-multiarch connect; prints its command line")
    debugger.add_argument("--port", type=options.whole_number(1, 65535), default=1234,
                          help="on the loopback (default: 1234)")
    _add(verbs, "logs", do_logs, "bring the board's logs into its run folder")
    _add(verbs, "off", do_off, "end the board, after its logs were brought")


def main() -> int:
    """Run a verb. @return exit status: 0, FAILED, or that of a command inside the board"""
    chosen = parser().parse_args()
    # Unfinished directories are removed when an exception is raised, but not by a signal.
    end_orderly("what was begun is being undone")
    try:
        if "on_host" in chosen:
            return int(chosen.on_host(chosen) or 0)
        board = Board.attach(chosen.run)
        try:
            return int(chosen.on_board(board, chosen) or 0)
        finally:
            board.detach()
    except KeyboardInterrupt:
        return INTERRUPTED
    except (BoardError, PanelError, OSError, ValueError) as error:
        print(f"board: {in_words(error)}", file=sys.stderr)
        return FAILED
