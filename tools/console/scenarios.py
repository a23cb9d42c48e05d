"""Runs a file of unittest cases that work at consoles from outside: restarts, power cuts, what is brought out.

    python3 -m console.scenarios FILE RESULTS
"""

import importlib.util
import json
import sys
import time
import unittest
from pathlib import Path

from .results import Verdict
from .errors import Unavailable
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
    def __init__(self, path):
        super().__init__()
        self._path = path
        self._began = 0
        self.found = []

    def startTest(self, test):
        super().startTest(test)
        self._began = time.monotonic()

    def _add(self, test, kind, text=""):
        self.found.append([name_of(self._path, test), kind, text, round(time.monotonic() - self._began, 3)])

    def addSuccess(self, test):
        self._add(test, "passed")

    def addFailure(self, test, err):
        super().addFailure(test, err)
        self._add(test, "failed", self.failures[-1][1])

    def addError(self, test, err):
        super().addError(test, err)
        if issubclass(err[0], Unavailable):
            self._add(test, "skipped", str(err[1]))
        else:
            self._add(test, "failed", self.errors[-1][1])

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
    recorder = Recorder(path)
    for test in tests_in(path):
        test.run(recorder)
        Path(results_path).write_text(json.dumps(recorder.found), encoding="utf-8")


if __name__ == "__main__":
    main(*sys.argv[1:])
