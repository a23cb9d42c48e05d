"""The tree on this desk, which the console finds inside at the same places as here."""

import os
import struct
from pathlib import Path

from .board import Board, Share
from .errors import ConsoleError

PROGRAM_FOLDERS = ("examples", "tools", "tests")
CLASS_32 = 1
MACHINE_386 = 3


def source_folder():
    return Path(__file__).resolve().parents[2]


def binary_folder():
    """Where the 32-bit programs are built."""
    return Path(os.environ.get("ZEMO_BINARY_DIR") or source_folder() / "build/host32").resolve()


def shares():
    listed = [Share(source_folder(), str(source_folder()))]
    if source_folder() not in binary_folder().parents:
        listed.append(Share(binary_folder(), str(binary_folder())))
    return tuple(listed)


def tree_board(**options):
    """A Board that has the tree and its build."""
    options["shares"] = shares() + tuple(options.get("shares", ()))
    return Board(**options)


def program(name):
    """The path of a built program; the same here and inside."""
    for folder in PROGRAM_FOLDERS:
        path = binary_folder() / folder / name
        if path.is_file():
            return str(path)
    raise ConsoleError(f"no program {name} in {binary_folder()}")


def is_for_the_console(path):
    """A 32-bit x86 program, or a script."""
    with open(path, "rb") as file:
        begin = file.read(20)
    if begin[:2] == b"#!":
        return True
    if len(begin) < 20 or begin[:4] != b"\x7fELF":
        return False
    return begin[4] == CLASS_32 and struct.unpack_from("<H", begin, 18)[0] == MACHINE_386
