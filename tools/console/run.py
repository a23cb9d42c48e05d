"""Runs one program, or a prompt, and hands on what it says."""

import os
import stat
import sys
import termios
import time
from pathlib import Path

from .errors import ConsoleError, TimeLimit
from .machine import Machine
from .packages import say
from .tree import binary_folder, is_for_the_console, program as built_program, source_folder

STDIN_LIMIT = 64 * 1024 * 1024
LOOK_INTERVAL = 0.02
# What stands in these is meant as it is inside.
FOLDERS_INSIDE = ("/bin", "/sbin", "/usr/bin", "/usr/sbin")


def standard_input():
    """What a pipe or a file brings; a terminal and a device bring nothing."""
    try:
        mode = os.fstat(0).st_mode
    except OSError:
        return b""
    if not (stat.S_ISFIFO(mode) or stat.S_ISREG(mode) or stat.S_ISSOCK(mode)):
        return b""
    data = sys.stdin.buffer.read(STDIN_LIMIT + 1)
    if len(data) > STDIN_LIMIT:
        raise ConsoleError(f"standard input is longer than {STDIN_LIMIT} bytes")
    return data


def located(name, board):
    """Where the program is inside; one of this desk from outside the tree is brought in."""
    if "/" not in name:
        try:
            name = built_program(name)
        except ConsoleError:
            return name
    path = Path(name).absolute()
    if str(path.parent) in FOLDERS_INSIDE or not path.is_file():
        return name
    if not is_for_the_console(path):
        raise ConsoleError(f"{name} is not a 32-bit x86 program")
    resolved = path.resolve()
    if source_folder() in resolved.parents or binary_folder() in resolved.parents:
        return str(resolved)
    inside = f"/root/{path.name}"
    board.files[inside] = resolved
    return inside


class Outlet:
    """Hands on what a growing file gets."""

    def __init__(self, path, target):
        self._path = path
        self._target = target
        self._position = 0

    def hand_on(self):
        with open(self._path, "rb") as file:
            file.seek(self._position)
            data = file.read()
        if data:
            self._position += len(data)
            self._target.write(data)
            self._target.flush()


def follow(job, limit):
    """Hands the job's output on until it ends; its exit status."""
    outlets = [
        Outlet(job.folder / "stdout", sys.stdout.buffer),
        Outlet(job.folder / "stderr", sys.stderr.buffer),
    ]
    began = time.monotonic()
    try:
        while True:
            left = limit - (time.monotonic() - began)
            try:
                return job.wait_shortly(LOOK_INTERVAL)
            except TimeLimit:
                if left <= 0:
                    job.signal("KILL")
                    raise TimeLimit(f"no end within {limit:g} s") from None
            for outlet in outlets:
                outlet.hand_on()
    finally:
        for outlet in outlets:
            outlet.hand_on()


def program(board, options):
    name = options.program[0]
    inside = located(name, board)
    began = time.monotonic()
    stdin = standard_input()
    with Machine(board, options.out) as machine:
        ready = time.monotonic() - began
        status = follow(machine.start_job([inside, *options.program[1:]], stdin), options.limit)
    if not options.quiet:
        say(f"console: first program after {ready:.1f} s, end after {time.monotonic() - began:.1f} s")
    return status


def shell(board, options):
    if not sys.stdin.isatty():
        options.program = ["/bin/sh", "-s"]
        return program(board, options)
    machine = Machine(board, options.out)
    settings = termios.tcgetattr(sys.stdin)
    try:
        say("console: exit, or poweroff -f, ends it")
        machine.start(console="terminal")
        return machine.wait_for_end()
    finally:
        machine.end()
        # An emulator that was killed leaves the terminal without echo.
        termios.tcsetattr(sys.stdin, termios.TCSADRAIN, settings)
