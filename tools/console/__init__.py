"""The operator console as an emulated machine: a stock 32-bit kernel in qemu with what the board has."""

from .board import Board, Share, Storage
from .errors import ConsoleError, GuestError, TimeLimit, Unavailable
from .machine import Job, Machine, Result
from .tree import program, tree_board

__all__ = (
    "Board",
    "ConsoleError",
    "GuestError",
    "Job",
    "Machine",
    "Result",
    "Share",
    "Storage",
    "TimeLimit",
    "Unavailable",
    "program",
    "tree_board",
)
