"""The power is cut while a program logs: what is left of the log, and that it goes on.

A message is written to the file and the file is closed, and that is all: no message waits for the disk. What was
synchronised is there, whole and in order; of what came later as much as the kernel had on the disk by then, which is
measured here, and told, and not promised.
"""

import re
import sys
import time
from pathlib import Path

sys.path.insert(0, str(Path(__file__).parent))
from _scenario import LIMIT, Scenario
from console import Storage, program

LOG = "/mnt/nand/DebugLog.txt"
SYNCED = 200
MESSAGES_BEHIND = 300  # at least, at the moment of the cut


def message(number):
    return b"message %08d of the log\n" % number


def messages(first, count):
    return b"".join(message(number) for number in range(first, first + count))


class PowerCut:
    """The cases of one kind of flash."""

    def log_until_cut(self, first=1):
        """Cuts the power while messages are written one after the other. Gives how many had been written by then."""
        job = self.machine.start_job([program("zemo_board_program"), "log", str(first), str(first + SYNCED - 1)])
        limit = time.monotonic() + LIMIT
        while job.stderr.count(b"\n") < SYNCED + MESSAGES_BEHIND or b"synced" not in job.stdout:
            self.assertLess(time.monotonic(), limit, job.stderr[-200:])
            time.sleep(0.02)
        self.machine.power_cut()
        return job.stderr.count(b"\n")

    def log(self):
        self.machine.shell(f"cp {LOG} /out/log", LIMIT)
        return (self.machine.out / "log").read_bytes()

    def clear(self):
        self.shell(f"rm -f {LOG}; sync")

    def test_leaves_every_message_that_was_synchronised_whole_and_in_order(self):
        self.clear()
        written = self.log_until_cut()
        self.assertTrue(self.is_mounted("/mnt/nand"))
        found = self.log()
        synced = messages(1, SYNCED)
        self.assertEqual(found[: len(synced)], synced)
        behind = found[len(synced) :]
        whole = 0
        while behind.startswith(message(SYNCED + 1 + whole), whole * len(message(1))):
            whole += 1
        rest = behind[whole * len(message(1)) :]
        print(f"{self.kind}: {SYNCED} messages synchronised, at least {written - SYNCED} written afterwards: "
              f"{whole} of them are left, and {len(rest)} other bytes", file=sys.stderr)
        self.look_at_file_system()

    def test_is_followed_by_a_log_that_goes_on(self):
        self.clear()
        self.log_until_cut()
        before = self.log()
        ended = self.board("message", "after the power cut")
        self.assertEqual((ended.status, ended.errors), (0, "after the power cut\n"))
        self.assertEqual(self.log(), before + b"after the power cut\n")

    def test_leaves_a_log_cleared_that_was_cleared_and_synchronised(self):
        self.shell(f"head -c 1000001 /dev/zero >{LOG}; sync")
        self.done("check-log")
        self.shell("sync")
        self.machine.power_cut()
        self.assertEqual(self.log(), b"LogCleared")

    def look_at_file_system(self):
        """Whether what is mounted has faults; each kind of flash in its own way."""


class OnExt4(PowerCut, Scenario):
    kind = "ext4"
    options = {"nand": Storage("ext4", 8)}

    def look_at_file_system(self):
        self.shell("umount /mnt/nand")
        ended = self.machine.shell("e2fsck -f -n /dev/vda", LIMIT)
        self.shell("mount -t ext4 /dev/vda /mnt/nand")
        self.assertEqual(ended.status, 0, ended.text + ended.errors)


class OnVfat(PowerCut, Scenario):
    kind = "vfat"
    options = {"nand": Storage("vfat", 8)}


class InMemory(Scenario):
    options = {"nand": Storage("tmpfs", 8)}

    def test_loses_the_log_and_begins_a_new_one(self):
        self.board("message", "before")
        self.assertEqual(self.shell(f"cat {LOG}"), "before")
        self.machine.power_cut()
        self.assertEqual(self.machine.shell(f"cat {LOG}").status, 1)
        self.board("message", "after")
        self.assertEqual(self.shell(f"cat {LOG}"), "after")


class ReadOnly(Scenario):
    """A board whose flash is read-only from its start on."""

    options = {"nand": Storage("ext4", 8, read_only=True)}

    def test_gets_no_log_and_its_programs_run_on(self):
        ended = self.board("message", "still here")
        self.assertEqual((ended.status, ended.text, ended.errors), (0, "", "still here\n"))
        self.assertEqual(self.machine.shell(f"ls {LOG}").status, 1)
        self.done("check-log")


class Small(Scenario):
    """A flash that the log itself fills, message by message."""

    options = {"nand": Storage("vfat", 1.5)}

    def test_is_filled_by_its_log_and_freed_by_the_check(self):
        job = self.machine.start_job([program("zemo_board_program"), "log", "1", "1"])
        limit = time.monotonic() + 10 * LIMIT
        while int(self.shell("stat -f -c %f /mnt/nand")) > 0:
            self.assertLess(time.monotonic(), limit)
        written = job.stderr.count(b"\n")
        while job.stderr.count(b"\n") < written + 50:  # it goes on, on standard error only
            self.assertLess(time.monotonic(), limit)
        job.signal("KILL")
        job.wait(LIMIT)
        self.shell(f"cp {LOG} /out/log")
        found = (self.machine.out / "log").read_bytes()
        self.assertGreater(len(found), 1000000)
        self.assertTrue(messages(1, len(found) // len(message(1)) + 1).startswith(found))
        self.done("check-log")
        self.board("message", "\nafter")
        self.assertEqual(self.shell(f"cat {LOG}"), "LogCleared\nafter")
