"""What can go wrong around an emulated console."""


class ConsoleError(Exception):
    """Something that the caller is told in one sentence."""


class Unavailable(ConsoleError):
    """This machine has not got what an emulated console needs; nothing is wrong with the library."""


class GuestError(ConsoleError):
    """The emulated console did not start, ended by itself or no longer answers."""


class TimeLimit(ConsoleError):
    """A program inside ran longer than it was given."""
