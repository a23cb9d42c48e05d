"""Runs the system suite and the whole 32-bit suite on emulated consoles, several of them at a time."""

import os
import subprocess
import sys
import tempfile
import threading
import time
from collections import defaultdict
from pathlib import Path

from . import cases, results, scenarios
from .errors import ConsoleError, GuestError, TimeLimit, Unavailable
from .machine import Machine
from .packages import say
from .results import Verdict
from .tree import binary_folder, source_folder, tree_board

# A program is loaded once a batch; a console that is lost takes no more than one case with it.
BATCH = 80
SLOW_BATCH = 8
SAYING_INTERVAL = 60
SCENARIO_LIMIT = 600
DESK_ONLY = "a script of the desk; the console has no Python"


class Batch:
    """Cases of one program that are run on one console after the other."""

    def __init__(self, members):
        self.members = members
        self.board_options = members[0].options
        self.alone = members[0].alone


def batches(members):
    """Slow cases come first and few at a time, so that no console is left alone with many of them at the end."""
    groups = defaultdict(list)
    for number, case in enumerate(members):
        is_slow = case.seconds > cases.SECONDS
        groups[not is_slow, case.folder, case.options, number if case.alone else -1].append(case)
    made = []
    for key, group in sorted(groups.items(), key=lambda item: item[0][0]):
        size = BATCH if key[0] else SLOW_BATCH
        made += [Batch(group[begin : begin + size]) for begin in range(0, len(group), size)]
    return made


class Worker(threading.Thread):
    """One console at a time, kept as long as the batches can share it."""

    def __init__(self, suite):
        super().__init__(daemon=True)
        self.suite = suite
        self.machine = None
        self.options = None

    def run(self):
        try:
            for task in iter(self.suite.take, None):
                if isinstance(task, Batch):
                    self.run_batch(task)
                else:
                    self.suite.add(run_scenario_file(task))
        except ConsoleError as error:
            self.suite.fail(error)
        except Exception as error:  # what nobody foresaw must not end the thread unheard
            self.suite.fail(ConsoleError(f"{type(error).__name__}: {error}"))
        finally:
            self.end_machine()

    def end_machine(self):
        if self.machine:
            self.machine.end()
        self.machine = None

    def machine_for(self, batch):
        if self.machine and (batch.alone or self.options != batch.board_options):
            self.end_machine()
        if not self.machine:
            self.machine = Machine(tree_board(**dict(batch.board_options)))
            self.options = batch.board_options
            self.machine.start()
        return self.machine

    def run_batch(self, batch):
        machine = self.machine_for(batch)
        number = self.suite.next_number()
        folder = machine.out / f"batch{number}"
        folder.mkdir()
        lines = [f"{case.seconds} {case.name}\n" for case in batch.members]
        (folder / "cases").write_text("".join(lines), encoding="utf-8")
        inside = f"/out/batch{number}"
        program = [batch.members[0].program, "--each-case", f"{inside}/cases", inside]
        why = ""
        try:
            ended = machine.run(program, SAYING_INTERVAL + sum(case.seconds for case in batch.members))
            if ended.status != 0:
                why = f"{program[0]} ended with {ended.status}\n{ended.text}{ended.errors}"
        except (GuestError, TimeLimit) as error:
            why = f"{error}\n{machine.console_text()}"
        verdicts, left = verdicts_of(batch.members, folder, why)
        self.suite.add(verdicts)
        if left:
            self.suite.give_back(Batch(left))
        if why or batch.alone:
            self.end_machine()


def outcomes_in(path):
    """number -> (how, value, milliseconds), or None where a case has begun and not ended."""
    outcomes = {}
    text = path.read_text(encoding="ascii", errors="replace") if path.exists() else ""
    for line in text.splitlines():
        words = line.split()
        if words[:1] == ["begin"] and len(words) == 2:
            outcomes[int(words[1])] = None
        elif words[:1] == ["end"] and len(words) == 5:
            outcomes[int(words[1])] = (words[2], int(words[3]), int(words[4]))
    return outcomes


def verdicts_of(members, folder, why):
    """The verdicts, and the cases that are still to be run. `why`: what has ended the batch before its time."""
    outcomes = outcomes_in(folder / "results")
    if not outcomes:
        return [Verdict(case.full_name, "failed", why or "it left no result") for case in members], []
    verdicts = []
    left = []
    for number, case in enumerate(members, 1):
        outcome = outcomes.get(number)
        if outcome:
            verdicts.append(verdict_of(case, outcome, folder / str(number)))
        elif number in outcomes:
            verdicts.append(Verdict(case.full_name, "failed", why or "it left no result"))
        else:
            left.append(case)
    return verdicts, left


def verdict_of(case, outcome, path):
    how, value, milliseconds = outcome
    seconds = milliseconds / 1000
    if how == "passed":
        return Verdict(case.full_name, "passed", "", seconds)
    output = path.read_text(encoding="utf-8", errors="replace") if path.exists() else ""
    if how == "skipped":
        return Verdict(case.full_name, "skipped", skip_reason(output), seconds)
    ends = {"exited": f"exit status {value}", "killed": f"signal {value}", "late": f"no end within {case.seconds} s"}
    return Verdict(case.full_name, "failed", f"{output}\n{ends.get(how, how)}", seconds)


def skip_reason(output):
    """What GTEST_SKIP was given: the lines after the place where it stands."""
    lines = output.splitlines()
    for number, line in enumerate(lines):
        if line.endswith(": Skipped"):
            return " ".join(lines[number + 1 : number + 2])
    return ""


def lost_its_console(verdict):
    """Whether a case ended with an error of the console and not with one of its own."""
    return verdict.kind == "failed" and verdict.text.rstrip().rpartition("\n")[2].startswith("console.errors.")


def run_scenario_file(path):
    """Its verdicts. An emulator on a busy desk may stand still; what fails for its own reasons fails again."""
    verdicts = run_scenario_file_once(path)
    if any(map(lost_its_console, verdicts)):
        say(f"console: {path.name} lost its console and is run once more")
        verdicts = run_scenario_file_once(path)
    return verdicts


def run_scenario_file_once(path):
    with tempfile.NamedTemporaryFile(suffix=".json") as file:
        environment = dict(
            os.environ, PYTHONPATH=str(source_folder() / "tools"), ZEMO_BINARY_DIR=str(binary_folder())
        )
        command = ["setpriv", "--pdeathsig", "TERM", sys.executable, "-m", "console.scenarios", str(path), file.name]
        try:
            ended = subprocess.run(
                command, env=environment, capture_output=True, text=True, timeout=SCENARIO_LIMIT, check=False
            )
            said = ended.stdout + ended.stderr
        except subprocess.TimeoutExpired:
            said = f"no end within {SCENARIO_LIMIT} s"
        return scenarios.read(path, file.name, said)


class Suite:
    """The work of several consoles, and what came of it."""

    def __init__(self, members, scenario_files):
        self._changed = threading.Lock()
        self._tasks = [*scenario_files, *batches(members)]
        self._number = 0
        self._said = time.monotonic()
        self.verdicts = []
        self.error = None

    def take(self):
        with self._changed:
            return self._tasks.pop(0) if self._tasks and not self.error else None

    def give_back(self, batch):
        with self._changed:
            self._tasks.insert(0, batch)

    def next_number(self):
        with self._changed:
            self._number += 1
            return self._number

    def add(self, verdicts):
        with self._changed:
            self.verdicts += verdicts
            if time.monotonic() - self._said > SAYING_INTERVAL:
                self._said = time.monotonic()
                say(f"console: {len(self.verdicts)} cases done")

    def fail(self, error):
        with self._changed:
            self.error = self.error or error

    def run(self, consoles):
        workers = [Worker(self) for _ in range(consoles)]
        for worker in workers:
            worker.start()
        for worker in workers:
            worker.join()


def scripts_of_the_desk():
    found = (source_folder() / "tests").glob("*/test_*.py")
    return [Verdict(f"{path.parent.name}.{path.stem.removeprefix('test_')}", "skipped", DESK_ONLY) for path in found]


def run(folders, pattern, consoles):
    """Verdicts of the folders' cases whose full names fit the pattern."""
    fits = cases.matcher(pattern)
    members = [case for folder in folders for case in cases.cases_of(folder) if fits(case.full_name)]
    verdicts = [Verdict(case.full_name, "skipped", case.left_out) for case in members if case.left_out]
    if len(folders) > 1:
        verdicts += [verdict for verdict in scripts_of_the_desk() if fits(verdict.name)]
    files = scenarios.files(fits) if "system" in folders else []
    suite = Suite([case for case in members if not case.left_out], files)
    suite.run(consoles)
    verdicts += suite.verdicts
    known = {verdict.name for verdict in verdicts}
    left = [case.full_name for case in members] + [name for path in files for name in scenarios.names(path)]
    for name in left:
        if name not in known:
            verdicts.append(not_run(name, suite.error))
    return [verdict for verdict in verdicts if fits(verdict.name)]


def not_run(name, error):
    if isinstance(error, Unavailable):
        return Verdict(name, "skipped", str(error))
    return Verdict(name, "failed", f"was not run: {error or 'lost'}")
