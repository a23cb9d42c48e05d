"""What the scenarios have in common: a console that the cases of a file share, and the programs on it."""

import atexit
import unittest

from console import Machine, program, tree_board

LIMIT = 30  # seconds for what takes a moment; reached only where a case fails


class Scenario(unittest.TestCase):
    """A case at a console. Those of a class share it until one of them fails; `options` are those of tree_board."""

    options = {}
    _machines = {}

    @classmethod
    def _started(cls):
        if cls not in Scenario._machines:
            machine = Machine(tree_board(**cls.options))
            Scenario._machines[cls] = machine
            atexit.register(machine.end)
            machine.start()
        return Scenario._machines[cls]

    @classmethod
    def _forget(cls):
        machine = Scenario._machines.pop(cls, None)
        if machine:
            machine.end()

    def setUp(self):
        for other in [cls for cls in Scenario._machines if cls is not type(self)]:
            other._forget()
        self.machine = self._started()

    def run(self, result=None):
        def failed():
            return len(result.failures) + len(result.errors) if result else 0

        before = failed()
        super().run(result)
        if failed() > before:
            self._forget()

    def board(self, *arguments, environment=None):
        """How the program with the library at work has ended."""
        return self.machine.run([program("zemo_board_program"), *arguments], LIMIT, environment=environment)

    def done(self, *arguments, environment=None):
        """What it has printed; it has ended well and complained of nothing."""
        ended = self.board(*arguments, environment=environment)
        self.assertEqual((ended.status, ended.errors), (0, ""))
        return ended.text

    def shell(self, text, environment=None):
        ended = self.machine.shell(text, LIMIT, environment=environment)
        self.assertEqual((ended.status, ended.errors), (0, ""), text)
        return ended.text.strip()

    def is_mounted(self, path):
        return any(line.split()[1] == path for line in self.shell("cat /proc/mounts").splitlines())
