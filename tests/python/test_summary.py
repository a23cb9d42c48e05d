"""The summary of ./dev test: what ctest wrote is added up, and nothing that did not run counts as passed."""

import os
import subprocess
import sys
import tempfile
import unittest

SUMMARY = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "support", "summary.py")

PASSED = '<testcase name="{}" status="run"><system-out></system-out></testcase>'
FAILED = '<testcase name="{}" status="fail"><failure message=""/><system-out>{}</system-out></testcase>'
SKIPPED = '<testcase name="{}" status="notrun"><skipped message="{}"/><system-out></system-out></testcase>'
DISABLED = '<testcase name="{}" status="disabled"><system-out>Disabled</system-out></testcase>'


class Summary(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = folder.name

    def results(self, name, *cases):
        path = os.path.join(self.folder, name + ".xml")
        with open(path, "w", encoding="utf-8") as file:
            file.write('<?xml version="1.0" encoding="UTF-8"?><testsuite>' + "".join(cases) + "</testsuite>")
        return [name, path, "7"]

    def summary(self, *arguments):
        result = subprocess.run([sys.executable, SUMMARY, *arguments], stdout=subprocess.PIPE, text=True, check=False)
        return result.returncode, result.stdout.splitlines()

    def test_adds_the_builds_up_and_ends_with_the_totals(self):
        status, lines = self.summary(
            *self.results("host64", PASSED.format("a"), PASSED.format("b"), SKIPPED.format("c", "SKIP_RETURN_CODE=77")),
            *self.results("host32", PASSED.format("a")))
        self.assertEqual(status, 0)
        self.assertEqual(lines, ["build   passed  failed  skipped    time",
                                 "host64       2       0        1     7 s",
                                 "host32       1       0        0     7 s",
                                 "skipped: host64: c",
                                 "3 passed, 0 failed, 1 skipped"])

    def test_names_a_failed_test_and_shows_its_output(self):
        status, lines = self.summary(*self.results("b", PASSED.format("a"), FAILED.format("x", "why &amp; where")))
        self.assertEqual(status, 1)
        self.assertEqual(lines[:2], ["---- b: x", "why & where"])
        self.assertIn("failed: b: x", lines)
        self.assertEqual(lines[-1], "1 passed, 1 failed, 0 skipped")

    def test_shows_the_end_of_a_long_output(self):
        output = "\n".join(f"line {number}" for number in range(100))
        _, lines = self.summary(*self.results("b", FAILED.format("x", output)))
        self.assertEqual(lines[1:3], ["(the last 40 of 100 lines)", "line 60"])
        self.assertIn("line 99", lines)
        self.assertNotIn("line 59", lines)

    def test_a_test_that_could_not_be_started_has_failed(self):
        status, lines = self.summary(*self.results("b", SKIPPED.format("x", "Unable to find executable"),
                                                   SKIPPED.format("y", "Fixture dependency failed")))
        self.assertEqual(status, 1)
        self.assertEqual(lines[-1], "0 passed, 2 failed, 0 skipped")

    def test_tests_that_were_disabled_or_skipped_themselves_are_skipped(self):
        status, lines = self.summary(*self.results("b", PASSED.format("a"), DISABLED.format("x"),
                                                   SKIPPED.format("y", "SKIP_REGULAR_EXPRESSION_MATCHED")))
        self.assertEqual(status, 0)
        self.assertEqual(lines[-1], "1 passed, 0 failed, 2 skipped")

    def test_a_build_without_results_has_failed(self):
        status, lines = self.summary("gone", os.path.join(self.folder, "gone.xml"), "3")
        self.assertEqual(status, 1)
        self.assertIn("failed: gone: (no results: ", "\n".join(lines))
        self.assertEqual(lines[-1], "0 passed, 1 failed, 0 skipped")

    def test_a_build_with_broken_results_has_failed(self):
        path = os.path.join(self.folder, "half.xml")
        with open(path, "w", encoding="utf-8") as file:
            file.write("<testsuite><testcase")
        status, lines = self.summary("half", path, "3")
        self.assertEqual(status, 1)
        self.assertEqual(lines[-1], "0 passed, 1 failed, 0 skipped")

    def test_a_build_without_tests_has_failed(self):
        status, lines = self.summary(*self.results("empty"))
        self.assertEqual(status, 1)
        self.assertIn("failed: empty: (no tests found)", lines)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
