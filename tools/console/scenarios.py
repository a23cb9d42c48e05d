"""Runs a file of unittest cases that work at consoles from outside: restarts, power cuts, what is brought out.

    python3 -m console.scenarios FILE RESULTS
"""

import importlib.util
import json
import signal
import sys
import time
import unittest
from pathlib import Path

from .errors import Unavailable
from .results import Verdict
from .tree import source_folder


def name_of(path, test):
    return "scenarios." + Path(path).stem + "." + test.id().split(".", 1)[1]


def tests_in(path):
    """The file's cases. What files share stands beside them, in files that begin with an underscore."""
    folder = str(Path(path).parent)
    if folder not in sys.path:
        sys.path.insert(0, folder)
    spec = importlib.util.spec_from_file_location(Path(path).stem, path)
    module = importlib.util.module_from_spec(spec)
    spec.loader.exec_module(module)
    found = unittest.defaultTestLoader.loadTestsFromModule(module)
    return [test for suite in found for test in suite]


def names(path):
    return [name_of(path, test) for test in tests_in(path)]


def files(fits):
    """Those with a case whose name fits."""
    found = sorted((source_folder() / "tests/system/scenarios").glob("*.py"))
    return [path for path in found if not path.name.startswith("_") and any(map(fits, names(path)))]


class Recorder(unittest.TestResult):
    """Writes down each verdict at once, so that a crash leaves those before it."""

    def __init__(self, path, results_path, tests):
        super().__init__()
        self._path = path
        self._results_path = Path(results_path)
        self._tests = tests
        self._began = 0
        self._found = []

    def startTest(self, test):
        super().startTest(test)
        self._began = time.monotonic()

    def _add(self, test, kind, text=""):
        self._found.append([name_of(self._path, test), kind, text, round(time.monotonic() - self._began, 3)])
        self._results_path.write_text(json.dumps(self._found), encoding="utf-8")

    def addSuccess(self, test):
        self._add(test, "passed")

    def addFailure(self, test, err):
        super().addFailure(test, err)
        self._add(test, "failed", self.failures[-1][1])

    def addError(self, test, err):
        super().addError(test, err)
        kind, text = ("skipped", str(err[1])) if issubclass(err[0], Unavailable) else ("failed", self.errors[-1][1])
        # What a class cannot be set up for happens to all of its cases.
        members = [test] if isinstance(test, unittest.TestCase) else self._members_named_in(test.id())
        for member in members:
            self._add(member, kind, text)

    def _members_named_in(self, text):
        return [test for test in self._tests if f".{type(test).__name__})" in text]

    def addSkip(self, test, reason):
        self._add(test, "skipped", reason)


def read(path, results_path, said):
    """Verdicts out of a finished run; a case without one has failed."""
    try:
        found = [Verdict(*entry) for entry in json.loads(Path(results_path).read_text(encoding="utf-8"))]
    except ValueError:
        found = []
    known = {verdict.name for verdict in found}
    return found + [Verdict(name, "failed", f"no result\n{said}") for name in names(path) if name not in known]


def main(path, results_path):
    tests = tests_in(path)
    unittest.TestSuite(tests).run(Recorder(path, results_path, tests))


if __name__ == "__main__":
    # unittest lets only this one through.
    signal.signal(signal.SIGTERM, signal.default_int_handler)
    main(*sys.argv[1:])
