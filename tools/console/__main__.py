"""The console from the command line; ./dev console calls it.

usage: ./dev console [OPTION...]                       the suites
       ./dev console [OPTION...] --shell               a prompt, or the commands of standard input
       ./dev console [OPTION...] PROGRAM [ARGUMENT...] one program; a path of this desk, or a name
"""

import argparse
import os
import signal
import sys
import time
from pathlib import Path

from . import cases, results, run, suite
from .board import Storage
from .errors import ConsoleError, TimeLimit
from .packages import say
from .tree import binary_folder, source_folder, tree_board

# As env(1) and timeout(1) end when it is they that fail.
TIME_IS_OVER = 124
CONSOLE_FAILED = 125


def added(text):
    """FILE[:PATH] -> (path inside, file)"""
    name, _, path = text.partition(":")
    file = Path(name).absolute()
    if not file.is_file():
        raise argparse.ArgumentTypeError(f"no file {name}")
    return path or f"/root/{file.name}", file


def storage(text):
    try:
        return Storage.parsed(text)
    except ValueError as error:
        raise argparse.ArgumentTypeError(str(error)) from None


def parser():
    description = "The library on an emulated 32-bit console; without --shell and PROGRAM the suites run."
    made = argparse.ArgumentParser(prog="./dev console", description=description, add_help=False)
    add = made.add_argument
    add("-h", "--help", action="store_true", help="this text")
    add("--shell", action="store_true", help="a prompt inside; without a terminal, commands from standard input")
    add("--system", action="store_true", help="only the system suite, not the whole 32-bit suite")
    add("--cases", metavar="PATTERN", default="*", help="only these cases, such as 'unit.*-*Exhaustive*'")
    add("--consoles", type=int, metavar="N", help="how many consoles run at once (as many as processors)")
    add("--memory", type=int, default=256, metavar="MB", help="memory of the board (256)")
    add("--rtc", default="utc", metavar="TIME", help="what its clock shows at the start: 2026-03-29T00:59:00")
    add("--nand", type=storage, default=Storage(), metavar="KIND[:MB][:ro]", help="/mnt/nand: ext4, vfat or tmpfs")
    add("--add", type=added, action="append", default=[], metavar="FILE[:PATH]", help="a file to be found inside")
    add("--out", type=Path, metavar="FOLDER", help="the folder that is /out inside")
    add("--limit", type=float, default=600, metavar="SECONDS", help="time limit of the program (600)")
    add("--quiet", action="store_true", help="no word about the times")
    add("--targets", action="store_true", help=argparse.SUPPRESS)
    add("program", nargs=argparse.REMAINDER, metavar="PROGRAM [ARGUMENT...]")
    return made


def targets(options):
    """What has to be built first, as far as it is something that is built."""
    if options.help:
        return []
    if options.shell:
        return ["tools/all", "examples/all"]
    if not options.program:
        names = ("system",) if options.system else ("system", *cases.WHOLE_SUITE)
        return [f"zemo_{name}_tests" for name in names]
    path = Path(options.program[0])
    if len(path.parts) == 1 or binary_folder() in path.resolve().parents:
        return [path.name]
    return []


def run_suites(options):
    began = time.monotonic()
    consoles = options.consoles or int(os.environ.get("ZEMO_JOBS") or os.cpu_count())
    verdicts = []
    summary = []
    for name, folders in (("console-system", ("system",)), ("console", cases.WHOLE_SUITE)):
        if name == "console" and options.system:
            continue
        started = time.monotonic()
        found = suite.run(folders, options.cases, consoles)
        if not found:
            continue
        path = binary_folder() / "results" / f"{name}.xml"
        results.write(path, found)
        verdicts += found
        summary += [name, str(path), str(round(time.monotonic() - started))]
    if not summary:
        raise ConsoleError(f"no case fits {options.cases}")
    for reason, number in results.reasons(verdicts).items():
        say(f"console: skipped {number}: {reason}")
    say(f"console: {time.monotonic() - began:.0f} s")
    sys.stdout.flush()
    return os.spawnv(
        os.P_WAIT, sys.executable, [sys.executable, str(source_folder() / "tests/support/summary.py"), *summary]
    )


def board_of(options):
    return tree_board(memory=options.memory, rtc=options.rtc, nand=options.nand, files=dict(options.add))


def main(arguments):
    options = parser().parse_args(arguments)
    if options.shell and options.program:
        parser().error("--shell takes no program")
    if options.targets:
        print(" ".join(targets(options)))
        return 0
    if options.help:
        parser().print_help()
        return 0
    if not options.shell and not options.program:
        return run_suites(options)
    try:
        if options.program:
            return run.program(board_of(options), options)
        return run.shell(board_of(options), options)
    except TimeLimit as error:
        say(f"console: {error}")
        return TIME_IS_OVER


if __name__ == "__main__":
    signal.signal(signal.SIGTERM, lambda number, _: sys.exit(128 + number))
    try:
        sys.exit(main(sys.argv[1:]))
    except ConsoleError as problem:
        say(f"console: {problem}")
        sys.exit(CONSOLE_FAILED)
    except KeyboardInterrupt:
        sys.exit(130)
