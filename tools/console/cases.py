"""Which cases there are and what each of them needs."""

import json
import subprocess
from dataclasses import dataclass, field
from fnmatch import fnmatchcase

from .board import Storage
from .errors import ConsoleError
from .tree import binary_folder, source_folder

WHOLE_SUITE = ("unit", "process", "bus", "load", "interface")
SECONDS = 120
SUITE_MEMORY = 512
KEYS = {"cases", "nand", "memory", "rtc", "modules", "alone", "seconds", "left_out"}


@dataclass(frozen=True)
class Case:
    folder: str
    name: str
    seconds: int = SECONDS
    alone: bool = False
    left_out: str = ""
    # What Board() is given, as sorted pairs: cases with the same may share a console.
    options: tuple = field(default=())

    @property
    def full_name(self):
        return f"{self.folder}.{self.name}"

    @property
    def program(self):
        return binary_folder() / "tests" / f"zemo_{self.folder}_tests"


def names_in(listing):
    """The cases in what --gtest_list_tests prints."""
    suite = ""
    for line in listing.splitlines():
        text = line.split("#")[0].rstrip()
        if text and not text.startswith(" "):
            suite = text if text.endswith(".") else ""
        elif text and suite:
            yield suite + text.strip()


def listed(folder):
    program = binary_folder() / "tests" / f"zemo_{folder}_tests"
    if not program.is_file():
        raise ConsoleError(f"{program} has not been built")
    ended = subprocess.run(
        [program, "--gtest_list_tests", "--gtest_filter=-*.DISABLED_*"], capture_output=True, check=False
    )
    if ended.returncode != 0:
        raise ConsoleError(f"{program} does not list its cases")
    # Values of parameters may be any bytes.
    return list(names_in(ended.stdout.decode("utf-8", "replace")))


def rules():
    """tests/system/boards.json: the first entry whose pattern fits a case's full name counts."""
    path = source_folder() / "tests/system/boards.json"
    return json.loads(path.read_text(encoding="utf-8")) if path.is_file() else []


def board_options(rule):
    options = {"memory": rule.get("memory", SUITE_MEMORY)}
    if "nand" in rule:
        options["nand"] = Storage.parsed(rule["nand"])
    if "rtc" in rule:
        options["rtc"] = rule["rtc"]
    if "modules" in rule:
        options["modules"] = tuple(rule["modules"])
    return tuple(sorted(options.items()))


def checked(rule):
    unknown = set(rule) - KEYS
    if unknown:
        raise ConsoleError(f"boards.json: no key {', '.join(sorted(unknown))}")
    return rule


def case_of(folder, name, entries):
    full_name = f"{folder}.{name}"
    # Patterns without a folder are those of the system suite.
    fitting = (rule for rule in entries if fnmatchcase(full_name, rule["cases"]) or fnmatchcase(name, rule["cases"]))
    rule = checked(next(fitting, {}))
    return Case(
        folder,
        name,
        rule.get("seconds", SECONDS),
        rule.get("alone", False),
        rule.get("left_out", ""),
        board_options(rule),
    )


def cases_of(folder):
    entries = rules()
    return [case_of(folder, name, entries) for name in listed(folder)]


def matcher(pattern):
    """A function that tells whether a full name fits, as with GoogleTest: patterns apart by colons, and after a minus
    those that do not count."""
    wanted, _, unwanted = pattern.partition("-")

    def fits(name, patterns):
        return any(fnmatchcase(name, one) for one in patterns.split(":") if one)

    return lambda name: fits(name, wanted or "*") and not fits(name, unwanted)
