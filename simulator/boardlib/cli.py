"""The command line of simulator/board."""

import argparse
import signal
import sys
import time
from pathlib import Path

from . import appdisk, image, qemu, sysroot
from .chip import FAULTS, LANGUAGE, LANGUAGES, start_chip
from .host import BoardError
from .machine import Board
from .panel import PanelError, centre
from .qemu import VNC_BASE


def say(text: str) -> None:
    print(text, flush=True)


def size_of(text: str) -> tuple[int, int]:
    sizes = {f"{w}x{h}": (w, h) for w, h in qemu.SIZES}
    if text not in sizes:
        raise argparse.ArgumentTypeError("one of " + ", ".join(sizes))
    return sizes[text]


def pair(text: str) -> tuple[str, str]:
    key, separator, value = text.partition("=")
    if not separator:
        raise argparse.ArgumentTypeError(f"{text!r} is not KEY=VALUE")
    return key, value


def numbers(text: str) -> tuple[int, int]:
    key, value = pair(text)
    return int(key), int(value)


def do_image(_: argparse.Namespace) -> None:
    started = time.monotonic()
    folder = image.ensure(say)
    say(f"image ready in {folder} ({time.monotonic() - started:.1f} s)")


def do_sysroot(_: argparse.Namespace) -> None:
    say(f"sysroot ready in {sysroot.ensure()}")


def do_app(_: argparse.Namespace) -> None:
    say(f"programs' disk ready in {appdisk.ensure()}")
    for source in appdisk.missing():
        say(f"not built for the board yet: {source}")


def do_boot(options: argparse.Namespace) -> None:
    image.ensure(say)
    started = time.monotonic()
    board = Board(options.size, options.run, fresh=options.fresh, vnc_port=options.vnc,
                  detached=True)
    board.start()
    board.detach()
    say(f"board {options.run} is up after {time.monotonic() - started:.2f} s; {board.folder}")
    if options.vnc:
        say(f"live view: a VNC viewer on 127.0.0.1:{options.vnc}")


def do_plug(board: Board, options: argparse.Namespace) -> None:
    board.plug(options.product, options.ports)


def do_unplug(board: Board, _: argparse.Namespace) -> None:
    board.unplug()


def do_touch(board: Board, options: argparse.Namespace) -> None:
    where = options.where
    if len(where) == 2 and all(word.isdecimal() for word in where):
        x, y = int(where[0]), int(where[1])
    else:
        x, y = _find(board, " ".join(where))
    board.touch(x, y)
    say(f"touched {x} {y}")


def _find(board: Board, text: str) -> tuple[int, int]:
    """The middle of what shows this text: a button, a tab, a row of a list, a field's label, or a
    key of the on-screen keyboard."""
    screen = board.panel.screen()
    for look in (screen.button, screen.row, screen.tab, screen.field, screen.key):
        try:
            return centre(look(text))
        except PanelError:
            continue
    raise BoardError(f"nothing on the panel shows {text!r}")


def do_type(board: Board, options: argparse.Namespace) -> None:
    board.type(options.text)


def do_key(board: Board, options: argparse.Namespace) -> None:
    board.key(options.name)


def do_shot(board: Board, options: argparse.Namespace) -> None:
    say(str(board.shot(Path(options.file).absolute())))


def do_sh(board: Board, options: argparse.Namespace) -> int:
    done = board.run(" ".join(options.command), options.seconds)
    sys.stdout.buffer.write(done.output)
    sys.stdout.flush()
    return done.status


def do_modem(board: Board, options: argparse.Namespace) -> None:
    board.modem(dict(options.settings))


def do_chip(board: Board, options: argparse.Namespace) -> None:
    start_chip(board, {LANGUAGE: options.language} | dict(options.parameter),
               marker=options.marker, fault=options.fault)


def do_panel(board: Board, options: argparse.Namespace) -> None:
    if options.action == "start":
        board.start_panel(dict(options.environment))
    elif options.action == "stop":
        say(f"exit status {board.stop_panel()}")
    elif board.panel_running():
        say(board.panel.screen().short())
    else:
        say(f"the panel program does not run; exit status {board.panel_status()}")


def do_logs(board: Board, _: argparse.Namespace) -> None:
    for path in board.logs():
        say(str(path))


def do_off(board: Board, _: argparse.Namespace) -> None:
    try:
        board.logs()
    finally:
        board.off()


def parser() -> argparse.ArgumentParser:
    top = argparse.ArgumentParser(prog="board", description=__doc__.splitlines()[0])
    verbs = top.add_subparsers(dest="verb", required=True, metavar="VERB")

    def verb(name: str, action, text: str, *, running: bool = True) -> argparse.ArgumentParser:
        added = verbs.add_parser(name, help=text, description=text)
        added.set_defaults(perform=action, running=running)
        if running or name == "boot":
            added.add_argument("--run", default="board", help="which board (default: board)")
        return added

    verb("image", do_image, "build all that a board starts from", running=False)
    verb("sysroot", do_sysroot, "build only what cross-compiling needs", running=False)
    verb("app", do_app, "make the disk with the cross-built programs", running=False)
    boot = verb("boot", do_boot, "bring a board up; it runs until off", running=False)
    boot.add_argument("--size", type=size_of, default=(800, 480), metavar="WxH")
    boot.add_argument("--fresh", action="store_true", help="boot, without the saved state")
    boot.add_argument("--vnc", type=int, metavar="PORT", help=f"live view, {VNC_BASE} or above")
    plug = verb("plug", do_plug, "plug the modem stick in")
    plug.add_argument("--product", type=lambda text: int(text, 16), default=0x1001)
    plug.add_argument("--ports", type=int, choices=range(4), default=3)
    verb("unplug", do_unplug, "pull the modem stick out")
    touch = verb("touch", do_touch, "touch a pixel, or what shows a text")
    touch.add_argument("where", nargs="+", metavar="X Y | TEXT")
    verb("type", do_type, "type a text on the keyboard").add_argument("text")
    verb("key", do_key, "press a key or chord: Tab, Ctrl+A").add_argument("name")
    verb("shot", do_shot, "photograph the panel as PNG").add_argument("file")
    command = verb("sh", do_sh, "run a command inside the board")
    command.add_argument("--seconds", type=float, default=60, help="kill it after that time")
    command.add_argument("command", nargs="+")
    modem = verb("modem", do_modem, "tell the modem simulator how to behave")
    modem.add_argument("settings", nargs="*", type=pair, metavar="KEY=VALUE")
    chip = verb("chip", do_chip, "put an F-RAM chip in, which the panel program reads as it starts")
    chip.add_argument("--language", type=int, default=0, metavar="N", help=", ".join(
        f"{number} {language}" for number, language in LANGUAGES.items()) + " (default: 0)")
    chip.add_argument("--parameter", type=numbers, action="append", default=[], metavar="N=V")
    chip.add_argument("--no-marker", dest="marker", action="store_false",
                      help="without the file that has the program read the parameters")
    chip.add_argument("--fault", choices=FAULTS)
    panel = verb("panel", do_panel, "the panel program: start it, stop it, say what it shows")
    panel.add_argument("action", choices=("start", "stop", "show"))
    panel.add_argument("environment", nargs="*", type=pair, metavar="NAME=VALUE")
    verb("logs", do_logs, "bring the board's logs into its run folder")
    verb("off", do_off, "end the board, after its logs were brought")
    return top


def main() -> int:
    # Folders under construction are cleaned up on the way out of an exception, not of a signal.
    for number in (signal.SIGTERM, signal.SIGHUP):
        signal.signal(number, lambda caught, _: sys.exit(128 + caught))
    options = parser().parse_args()
    try:
        if not options.running:
            return options.perform(options) or 0
        board = Board.attach(options.run)
        try:
            return options.perform(board, options) or 0
        finally:
            board.detach()
    except KeyboardInterrupt:
        return 130
    except (BoardError, PanelError, OSError, ValueError) as error:
        print(f"board: {error}", file=sys.stderr)
        return 1
