"""The emulated console as a tool: how programs end, what they say, and how it fails."""

import os
import pty
import select
import subprocess
import sys
import tempfile
import time
import unittest
from pathlib import Path

from console import Board, GuestError, Machine, TimeLimit

LIMIT = 60


def console(*arguments, stdin=b""):
    command = [sys.executable, "-m", "console", "--quiet", *arguments]
    return subprocess.run(command, input=stdin, capture_output=True, timeout=LIMIT, check=False)


class Programs(unittest.TestCase):
    """On one console."""

    @classmethod
    def setUpClass(cls):
        cls.machine = cls.enterClassContext(Machine(Board()))

    def test_tell_their_exit_status(self):
        self.assertEqual([self.machine.shell(f"exit {status}").status for status in (0, 1, 255)], [0, 1, 255])

    def test_tell_the_signal_that_ended_them(self):
        self.assertEqual([self.machine.shell(f"kill -{number} $$").status for number in (9, 11)], [137, 139])

    def test_say_what_goes_to_output_and_errors_apart(self):
        ended = self.machine.shell("echo one; echo two >&2; printf three")
        self.assertEqual((ended.stdout, ended.stderr), (b"one\nthree", b"two\n"))

    def test_take_any_bytes_and_give_them_back(self):
        data = bytes(range(256)) * 100
        self.assertEqual(self.machine.run(["cat"], stdin=data).stdout, data)

    def test_that_are_not_there_end_with_127(self):
        ended = self.machine.run(["no-such-program"])
        self.assertEqual((ended.status, ended.errors), (127, "console: no program no-such-program inside\n"))

    def test_are_ended_when_their_time_is_over_and_the_console_goes_on(self):
        with self.assertRaises(TimeLimit):
            self.machine.shell("sleep 1000 & sleep 1000", timeout=0.2)
        # The one that nobody waits for may take a moment to go.
        self.assertEqual(self.machine.shell("while pidof sleep; do usleep 10000; done", LIMIT).status, 0)

    def test_run_beside_each_other_and_take_signals(self):
        job = self.machine.start_job(["sleep", "1000"])
        self.assertEqual(self.machine.shell("exit 3").status, 3)
        self.assertTrue(job.is_running())
        job.signal("TERM")
        self.assertEqual(job.wait(LIMIT).status, 128 + 15)

    def test_run_as_another_user(self):
        self.assertEqual(self.machine.run(["id", "-un"], user="nobody").text, "nobody\n")

    def test_share_the_folder_out_with_the_desk(self):
        (self.machine.out / "there").write_bytes(b"from the desk")
        self.assertEqual(self.machine.shell("cat /out/there; echo inside >/out/back").stdout, b"from the desk")
        self.assertEqual((self.machine.out / "back").read_bytes(), b"inside\n")


class Ends(unittest.TestCase):
    """Each on a console of its own."""

    def test_of_the_kernel_are_told(self):
        with Machine(Board()) as machine, self.assertRaisesRegex(GuestError, "Kernel panic"):
            machine.shell("echo 1 >/proc/sys/kernel/sysrq; echo c >/proc/sysrq-trigger", LIMIT)

    def test_that_nobody_asked_for_are_told(self):
        with Machine(Board()) as machine, self.assertRaisesRegex(GuestError, "ended by itself"):
            machine.shell("poweroff -f", LIMIT)

    def test_in_good_order_leave_nothing_running_and_no_files(self):
        with Machine(Board()) as machine:
            machine.power_off()
        self.assertFalse(machine.folder.exists())


class CommandLine(unittest.TestCase):
    def test_hands_on_output_errors_input_and_status(self):
        ended = console("sh", "-c", "cat; echo two >&2; exit 3", stdin=b"one")
        self.assertEqual((ended.returncode, ended.stdout, ended.stderr), (3, b"one", b"two\n"))

    def test_ends_with_124_when_the_time_is_over_and_shows_what_was_said(self):
        ended = console("--limit", "1", "sh", "-c", "echo begun; exec sleep 1000")
        self.assertEqual((ended.returncode, ended.stdout), (124, b"begun\n"))
        self.assertEqual(ended.stderr, b"console: no end within 1 s\n")

    def test_takes_commands_from_a_pipe_and_files_both_ways(self):
        with tempfile.TemporaryDirectory() as name:
            file = Path(name) / "brought"
            file.write_bytes(b"content")
            out = Path(name) / "out"
            ended = console("--add", f"{file}:/etc/given", "--out", str(out), "--shell", stdin=b"cp /etc/given /out\n")
            self.assertEqual((ended.returncode, ended.stdout, ended.stderr), (0, b"", b""))
            self.assertEqual((out / "given").read_bytes(), b"content")

    def test_starts_with_the_time_it_is_given(self):
        ended = console("--rtc", "2026-03-29T00:59:00", "date", "-u", "+%F %H")
        self.assertIn(ended.stdout, (b"2026-03-29 00\n", b"2026-03-29 01\n"))

    def test_gives_a_prompt_on_a_terminal(self):
        process, terminal = pty.fork()
        if process == 0:
            os.execv(sys.executable, [sys.executable, "-m", "console", "--shell"])
        self.read_until(terminal, b"console:~# ")
        os.write(terminal, b"echo be''gun; sleep 1000\r")
        self.read_until(terminal, b"begun")
        os.write(terminal, b"\x03")
        self.read_until(terminal, b"console:~# ")
        os.write(terminal, b"tty; exit\r")
        self.read_until(terminal, b"/dev/ttyS0")
        self.read_until(terminal, None)
        self.assertEqual(os.waitpid(process, 0)[1], 0)

    def read_until(self, terminal, text):
        """Reads until the text has come, without one until the other side has closed."""
        seen = b""
        limit = time.monotonic() + LIMIT
        while text is None or text not in seen:
            self.assertLess(time.monotonic(), limit, seen)
            if not select.select([terminal], [], [], 1)[0]:
                continue
            try:
                data = os.read(terminal, 4096)
            except OSError:
                data = b""
            if not data:
                self.assertIsNone(text, seen)
                return
            seen += data


if __name__ == "__main__":
    unittest.main()
