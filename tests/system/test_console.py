#!/usr/bin/python3
"""What the emulated console's own code does without an emulator.

test_console.py BINARY_DIR
"""

import hashlib
import json
import os
import struct
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path
from unittest import mock

ROOT = Path(__file__).resolve().parents[2]
sys.path.insert(0, str(ROOT / "tools"))

from console import board, cases, image, packages, results, run, suite, tree  # noqa: E402
from console.archive import Archive  # noqa: E402
from console.errors import ConsoleError, Unavailable  # noqa: E402
from console.machine import command_text  # noqa: E402


def console(*arguments, stdin=b"", **environment):
    return subprocess.run(
        [sys.executable, "-m", "console", *arguments],
        input=stdin,
        capture_output=True,
        env=dict(os.environ, PYTHONPATH=str(ROOT / "tools"), **environment),
        check=False,
    )


class WithFolder(unittest.TestCase):
    def setUp(self):
        made = tempfile.TemporaryDirectory()
        self.addCleanup(made.cleanup)
        self.folder = Path(made.name)

    def file(self, name, content=b"", mode=0o644):
        path = self.folder / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_bytes(content)
        path.chmod(mode)
        return path

    def program(self, name, text):
        return self.file(name, f"#!/bin/sh\n{text}\n".encode(), 0o755)


class CommandLine(WithFolder):
    def test_an_unknown_option_ends_with_2(self):
        ended = console("--nonsense")
        self.assertEqual((ended.returncode, ended.stdout), (2, b""))
        self.assertIn(b"--nonsense", ended.stderr)

    def test_a_wrong_file_system_ends_with_2_and_names_those_there_are(self):
        ended = console("--nand", "ntfs:4", "ls")
        self.assertEqual(ended.returncode, 2)
        self.assertIn(b"there are tmpfs, vfat, ext4", ended.stderr)

    def test_a_shell_takes_no_program(self):
        self.assertEqual(console("--shell", "ls").returncode, 2)

    def test_a_file_to_bring_in_has_to_be_there(self):
        ended = console("--add", str(self.folder / "absent"), "ls")
        self.assertEqual(ended.returncode, 2)
        self.assertIn(b"absent", ended.stderr)

    def test_the_arguments_after_the_program_are_the_programs(self):
        self.assertEqual(console("--targets", "zemo-demo", "--help", "--shell").stdout, b"zemo-demo\n")

    def test_a_program_of_64_bits_is_refused(self):
        ended = console(str(self.file("program", b"\x7fELF\x02\x01\x01" + bytes(11) + struct.pack("<H", 62))))
        self.assertEqual((ended.returncode, ended.stdout), (125, b""))
        self.assertEqual(ended.stderr, f"console: {self.folder}/program is not a 32-bit x86 program\n".encode())

    def test_without_an_emulator_a_program_ends_with_125(self):
        ended = console("ls", PATH=str(self.folder))
        self.assertEqual((ended.returncode, ended.stdout), (125, b""))
        self.assertIn(b"no emulator here: qemu-system-i386 is missing", ended.stderr)


class Suites(WithFolder):
    """The suites of a build that has only the programs made here."""

    LISTING = "printf 'Running main\\nFirst.\\n  Passes\\n  Fails  # not a part of it\\nMany/Second.\\n  Case/0\\n'"

    def setUp(self):
        super().setUp()
        self.program("tests/zemo_system_tests", self.LISTING)
        self.environment = {"ZEMO_BINARY_DIR": str(self.folder)}

    def test_names_are_read_from_the_programs_list(self):
        with mock.patch.dict(os.environ, self.environment):
            self.assertEqual(cases.listed("system"), ["First.Passes", "First.Fails", "Many/Second.Case/0"])

    def test_without_an_emulator_every_case_is_skipped_and_the_exit_status_is_0(self):
        ended = console("--system", "--cases", "system.First.*", PATH=f"{self.folder}:/usr/bin:/bin", **self.environment)
        if Path("/usr/bin/qemu-system-i386").exists():
            self.skipTest("the emulator stands beside the tools that this needs")
        self.assertEqual(ended.stdout.splitlines()[-1], b"0 passed, 0 failed, 2 skipped")
        self.assertEqual(ended.returncode, 0)

    def test_a_program_that_was_not_built_is_an_error_and_no_skip(self):
        (self.folder / "tests/zemo_system_tests").unlink()
        ended = console("--system", **self.environment)
        self.assertEqual(ended.returncode, 125)
        self.assertIn(b"has not been built", ended.stderr)


if __name__ == "__main__":
    os.environ["ZEMO_BINARY_DIR"] = sys.argv.pop(1) if len(sys.argv) > 1 else ""
    unittest.main()
