"""Free and total memory of boards with little and with much of it."""

import subprocess
import sys
from pathlib import Path

sys.path.insert(0, str(Path(__file__).parent))
from _scenario import LIMIT, Scenario
from console import program

COMMON_MEGABYTES = 1  # what else is going on between two looks


class Sizes(Scenario):
    def figures(self):
        """(free, total, whether below the reserve, the kernel's table before), of one moment or nearly so."""
        before = self.table()
        free, total, below = self.done("memory").split()
        return float(free), float(total), below == "1", before

    def table(self):
        """The kernel's figures in kilobytes."""
        lines = self.shell("cat /proc/meminfo").splitlines()
        return {line.split(":")[0]: int(line.split()[1]) for line in lines}

    def assert_near(self, shown, expected):
        self.assertAlmostEqual(shown, expected, delta=COMMON_MEGABYTES)

    def assert_total(self, total, table):
        self.assertAlmostEqual(total, table["MemTotal"] * 1024 / 1e6, delta=0.001 + total * 1e-6)

    def cases_of_the_suite(self):
        """The system suite's own cases of memory, one process each, on this board."""
        path = program("zemo_system_tests")
        listed = subprocess.run([path, "--gtest_list_tests", "--gtest_filter=BoardMemory.*"], capture_output=True,
                                text=True, check=True).stdout.splitlines()
        names = ["BoardMemory." + line.strip() for line in listed if line.startswith("  ")]
        self.assertGreater(len(names), 3)
        return [(name, self.machine.run([path, f"--gtest_filter={name}"], 2 * LIMIT)) for name in names]


class Little(Sizes):
    options = {"memory": 72}

    def test_is_told_as_the_kernel_tells_it(self):
        free, total, below, table = self.figures()
        self.assert_near(free, (table["MemFree"] + table["Cached"]) * 1024 / 1e6)
        self.assert_total(total, table)
        self.assertLess(total, 72 * 1.048576)
        self.assertEqual(below, free < 30)
        self.assertLess(free, 50)

    def test_passes_the_cases_of_the_suite(self):
        for name, ended in self.cases_of_the_suite():
            self.assertEqual(ended.status, 0, f"{name}\n{ended.text}{ended.errors}")


class Much(Sizes):
    options = {"memory": 3072}

    def test_of_two_gibibytes_and_more_turns_the_free_figure_negative(self):
        free, total, below, table = self.figures()
        kilobytes = table["MemFree"] + table["Cached"]
        self.assertGreaterEqual(kilobytes, 2 * 1024 * 1024)
        self.assert_near(free, (kilobytes * 1024 - 2**32) / 1e6)
        self.assertLess(free, 0)
        # Deliberately: a negative figure is below every reserve.
        self.assertTrue(below)

    def test_is_told_whole_as_the_total(self):
        _, total, _, table = self.figures()
        self.assert_total(total, table)
        self.assertGreater(total, 3000)

    def test_passes_the_cases_of_the_suite(self):
        for name, ended in self.cases_of_the_suite():
            self.assertEqual(ended.status, 0, f"{name}\n{ended.text}{ended.errors}")


class Usual(Sizes):
    options = {"memory": 1024}

    def test_is_told_as_the_kernel_tells_it(self):
        free, total, below, table = self.figures()
        self.assert_near(free, (table["MemFree"] + table["Cached"]) * 1024 / 1e6)
        self.assert_total(total, table)
        self.assertFalse(below)
