#!/usr/bin/python3
"""What the emulated console's own code does without an emulator.

test_console.py BINARY_DIR
"""

import hashlib
import lzma
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
    """The suites of a build that has only the program made here."""

    LISTING = "printf 'Running main\\nFirst.\\n  Passes\\n  Fails  # not a part of it\\nMany/Second.\\n  Case/0\\n'"

    def setUp(self):
        super().setUp()
        self.program("tests/zemo_system_tests", self.LISTING)
        self.environment = {"ZEMO_BINARY_DIR": str(self.folder), "PATH": str(self.folder)}

    def test_names_are_read_from_the_programs_list(self):
        with mock.patch.dict(os.environ, self.environment):
            self.assertEqual(cases.listed("system"), ["First.Passes", "First.Fails", "Many/Second.Case/0"])

    def test_without_an_emulator_every_case_is_skipped_and_the_exit_status_is_0(self):
        ended = console("--system", "--cases", "system.First.*", **self.environment)
        self.assertEqual(ended.stdout.splitlines()[-1], b"0 passed, 0 failed, 2 skipped")
        self.assertIn(b"skipped 2: no emulator here", ended.stderr)
        self.assertEqual(ended.returncode, 0)

    def test_a_program_that_was_not_built_is_an_error_and_no_skip(self):
        (self.folder / "tests/zemo_system_tests").unlink()
        ended = console("--system", **self.environment)
        self.assertEqual(ended.returncode, 125)
        self.assertIn(b"has not been built", ended.stderr)

    def test_a_pattern_that_fits_nothing_is_an_error(self):
        ended = console("--system", "--cases", "system.Nothing.*", **self.environment)
        self.assertEqual(ended.returncode, 125)


class Rules(unittest.TestCase):
    """What tests/system/boards.json may say of a case."""

    def case(self, *rules):
        return cases.case_of("unit", "Suite.Case", list(rules))

    def test_the_first_pattern_that_fits_counts(self):
        case = self.case({"cases": "Other.*"}, {"cases": "Suite.*", "seconds": 7}, {"cases": "Suite.Case", "seconds": 9})
        self.assertEqual(case.seconds, 7)

    def test_a_pattern_may_name_the_folder(self):
        self.assertTrue(self.case({"cases": "unit.Suite.*", "alone": True}).alone)
        self.assertFalse(self.case({"cases": "bus.Suite.*", "alone": True}).alone)

    def test_options_of_the_board_are_those_of_board(self):
        made = board.Board(**dict(self.case({"cases": "*", "nand": "vfat:2:ro", "memory": 64}).options))
        self.assertEqual((made.nand, made.memory), (board.Storage("vfat", 2, True), 64))

    def test_a_mistyped_key_is_an_error(self):
        with self.assertRaises(ConsoleError):
            self.case({"cases": "*", "memmory": 64})


class Patterns(unittest.TestCase):
    def test_are_those_of_googletest(self):
        for pattern, fitting in (("*", "abc"), ("a:b", "ab"), ("*-b", "ac"), ("-b:c", "a"), ("d", "")):
            self.assertEqual("".join(filter(cases.matcher(pattern), "abc")), fitting, pattern)


class Batches(unittest.TestCase):
    def batches(self, *members):
        return [[case.name for case in batch.members] for batch in suite.batches(list(members))]

    def test_cases_with_the_same_board_share_a_batch(self):
        small = (("memory", 64),)
        made = self.batches(
            cases.Case("unit", "A.a"), cases.Case("unit", "B.b", options=small), cases.Case("unit", "C.c")
        )
        self.assertEqual(made, [["A.a", "C.c"], ["B.b"]])

    def test_a_case_alone_has_a_batch_of_its_own(self):
        made = self.batches(cases.Case("unit", "A.a", alone=True), cases.Case("unit", "B.b", alone=True))
        self.assertEqual(made, [["A.a"], ["B.b"]])

    def test_slow_cases_come_first_and_few_at_a_time(self):
        slow = [cases.Case("unit", f"S.s{number}", cases.SECONDS + 1) for number in range(suite.SLOW_BATCH + 1)]
        made = self.batches(cases.Case("unit", "A.a"), *slow)
        self.assertEqual([len(batch) for batch in made], [suite.SLOW_BATCH, 1, 1])
        self.assertEqual(made[-1], ["A.a"])

    def test_a_batch_has_an_end(self):
        made = self.batches(*(cases.Case("unit", f"A.a{number}") for number in range(suite.BATCH + 1)))
        self.assertEqual([len(batch) for batch in made], [suite.BATCH, 1])


class ScenarioFiles(unittest.TestCase):
    def kinds(self, *texts):
        """Of a file whose one case fails with these texts, run after run, and passes with none."""
        runs = [[results.Verdict("a", "failed" if text else "passed", text)] for text in texts]
        with mock.patch.object(suite, "run_scenario_file_once", side_effect=runs) as once:
            found = suite.run_scenario_file(Path("file.py"))
        return [verdict.kind for verdict in found], once.call_count

    def test_are_run_once_more_where_the_console_was_lost(self):
        lost = "Traceback\nconsole.errors.TimeLimit: no end within 30 s\n"
        self.assertEqual(self.kinds(lost, ""), (["passed"], 2))
        self.assertEqual(self.kinds(lost, lost), (["failed"], 2))

    def test_are_not_where_a_case_failed_for_its_own_reasons(self):
        self.assertEqual(self.kinds("Traceback\nAssertionError: console.errors.TimeLimit\n"), (["failed"], 1))
        self.assertEqual(self.kinds(""), (["passed"], 1))


class Verdicts(WithFolder):
    def verdicts(self, text, why="", outputs=None):
        self.file("results", text.encode())
        for number, output in (outputs or {}).items():
            self.file(str(number), output)
        members = [cases.Case("unit", f"S.c{number}") for number in (1, 2, 3)]
        verdicts, left = suite.verdicts_of(members, self.folder, why)
        return [(one.name, one.kind, one.text) for one in verdicts], [case.name for case in left]

    def test_are_what_the_cases_ended_with(self):
        text = "begin 1\nend 1 passed 0 12\nbegin 2\nend 2 killed 11 3\nbegin 3\nend 3 late 0 60000\n"
        found, left = self.verdicts(text, outputs={2: b"said"})
        self.assertEqual(found[0], ("unit.S.c1", "passed", ""))
        self.assertEqual(found[1], ("unit.S.c2", "failed", "said\nsignal 11"))
        self.assertEqual(found[2], ("unit.S.c3", "failed", f"\nno end within {cases.SECONDS} s"))
        self.assertEqual(left, [])

    def test_a_lost_console_takes_the_running_case_with_it_and_no_other(self):
        found, left = self.verdicts("begin 1\nend 1 passed 0 1\nbegin 2\n", why="the guest's kernel gave up")
        self.assertEqual(found[1], ("unit.S.c2", "failed", "the guest's kernel gave up"))
        self.assertEqual(left, ["S.c3"])

    def test_a_program_that_runs_no_case_fails_all_of_them(self):
        found, left = self.verdicts("", why="zemo_unit_tests ended with 127")
        self.assertEqual([kind for _, kind, _ in found], ["failed"] * 3)
        self.assertEqual(left, [])

    def test_a_skipped_case_tells_the_reason(self):
        output = b"[ RUN      ] S.c1\n./tests/unit/S.cpp:7: Skipped\nno memory for it\n[  SKIPPED ] S.c1 (0 ms)\n"
        found, _ = self.verdicts("begin 1\nend 1 skipped 0 1\n", outputs={1: output})
        self.assertEqual(found[0], ("unit.S.c1", "skipped", "no memory for it"))

    def test_are_summed_as_those_of_ctest(self):
        path = self.folder / "results.xml"
        kinds = ("passed", "passed", "failed", "skipped")
        results.write(path, [results.Verdict(f"a.{number}", kind, "\0") for number, kind in enumerate(kinds)])
        ended = subprocess.run(
            [sys.executable, ROOT / "tests/support/summary.py", "console", path, "1"], capture_output=True, check=False
        )
        self.assertEqual(ended.stdout.splitlines()[-1], b"2 passed, 1 failed, 1 skipped")
        self.assertEqual(ended.returncode, 1)


class Packages(WithFolder):
    OFFERS = [("one.deb", 3, hashlib.sha256(b"one").hexdigest())]

    def test_are_whole_when_each_is_what_was_offered(self):
        self.assertFalse(packages.is_whole(self.folder, self.OFFERS))
        for content, is_whole in ((b"on", False), (b"two", False), (b"one", True)):
            self.file("one.deb", content)
            self.assertEqual(packages.is_whole(self.folder, self.OFFERS), is_whole, content)

    def test_are_not_fetched_again(self):
        self.file("packages/packages.json", b"[]")
        with mock.patch.dict(os.environ, {"PATH": str(self.folder)}):
            self.assertEqual(packages.fetch(self.folder), self.folder / "packages")

    def test_what_an_interrupted_run_left_is_not_taken_for_all(self):
        self.file("packages.partial/one.deb", b"on")
        with mock.patch.dict(os.environ, {"PATH": str(self.folder)}), self.assertRaises(Unavailable):
            packages.fetch(self.folder)

    def test_come_from_the_main_packages_of_the_machines_own_release(self):
        release = packages.release_name()
        lines = (f"{release} main", f"{release} contrib", f"{release}-updates main", "other main", f"{release} main")
        self.program("apt-get", "".join(f"echo http://mirror.example/ {line}\n" for line in lines))
        with mock.patch.dict(os.environ, {"PATH": f"{self.folder}"}):
            self.assertEqual(packages.sources(), [f"deb [ arch=i386 ] http://mirror.example/ {release} main"])

    def test_are_kept_where_the_environment_says(self):
        places = (
            ({"ZEMO_CONSOLE_CACHE": "/a", "XDG_CACHE_HOME": "/b"}, "/a"),
            ({"XDG_CACHE_HOME": "/b"}, "/b/zemo-console"),
            ({"HOME": "/c"}, "/c/.cache/zemo-console"),
        )
        for environment, place in places:
            with mock.patch.dict(os.environ, environment, clear=True):
                self.assertEqual(str(packages.cache_folder()), place)


class ImageOfTheConsole(WithFolder):
    def setUp(self):
        super().setUp()
        self.file("packages/packages.json", b"[]")
        self.built = []

    def prepared(self):
        def build(_, folder):
            self.built.append(folder)
            (folder / "base.cpio").write_bytes(b"archive")

        environment = {"ZEMO_CONSOLE_CACHE": str(self.folder)}
        with mock.patch.dict(os.environ, environment), mock.patch.object(image, "build", build):
            return image.prepare()

    def test_is_made_once(self):
        self.assertEqual(self.prepared().base.read_bytes(), b"archive")
        self.prepared()
        self.assertEqual(len(self.built), 1)

    def test_is_made_again_when_the_packages_change_and_the_old_one_is_gone(self):
        old = self.prepared().base
        self.file("packages/packages.json", b"[1]")
        self.assertTrue(self.prepared().base.exists())
        self.assertEqual((len(self.built), old.exists()), (2, False))

    def test_is_made_again_after_an_interruption(self):
        with mock.patch.object(image, "build", side_effect=KeyboardInterrupt), self.assertRaises(KeyboardInterrupt):
            with mock.patch.dict(os.environ, {"ZEMO_CONSOLE_CACHE": str(self.folder)}):
                image.prepare()
        self.prepared()
        self.assertEqual(len(self.built), 1)

    def test_has_the_program_of_the_packed_kernel(self):
        program = b"\x7fELF the kernel's program" * 9
        payload = lzma.compress(program)
        sectors = 3
        begin = (sectors + 1) * 512
        packed = bytearray(begin + 100)
        packed[0x1F1] = sectors
        struct.pack_into("<II", packed, 0x248, 100, len(payload))
        self.assertEqual(image.kernel_program(bytes(packed) + payload + b"what follows"), program)


class FirstFileSystem(unittest.TestCase):
    def entries(self, data):
        """name -> (mode, content) of an archive in the form newc."""
        found = {}
        position = 0
        while not found or "TRAILER!!!" not in found:
            self.assertEqual(data[position : position + 6], b"070701")
            fields = [int(data[position + 6 + 8 * n : position + 14 + 8 * n], 16) for n in range(13)]
            name_end = position + 110 + fields[11]
            name = data[position + 110 : name_end - 1].decode()
            begin = (name_end + 3) // 4 * 4
            found[name] = (fields[1], data[begin : begin + fields[6]])
            self.assertEqual(fields[2:4], [0, 0], "not the root user's")
            position = (begin + fields[6] + 3) // 4 * 4
        return found

    def test_has_each_folder_once_and_before_what_is_in_it(self):
        archive = Archive()
        archive.file("/a/b/one", b"1")
        archive.file("/a/b/two", b"22", 0o755)
        archive.link("a/link", "b/one")
        data = archive.finished()
        found = self.entries(data)
        self.assertEqual(list(found), ["a", "a/b", "a/b/one", "a/b/two", "a/link", "TRAILER!!!"])
        self.assertEqual(found["a/b/two"], (0o100755, b"22"))
        self.assertEqual(found["a/link"], (0o120777, b"b/one"))
        self.assertEqual(data.count(b"070701"), len(found))
        self.assertEqual(len(data) % 512, 0)

    def test_has_the_files_that_the_board_is_given(self):
        found = self.entries(board.Board(files={"/etc/given": b"content"}).archive({}))
        self.assertEqual(found["etc/given"][1], b"content")
        self.assertEqual(found["init"][0], 0o100755)


class Boards(unittest.TestCase):
    def test_name_disks_in_the_order_of_their_drives(self):
        made = board.Board(nand=board.Storage("tmpfs", 1), media={"/mnt/usb1": board.Storage("vfat")})
        self.assertIn("tmpfs /mnt/nand size=1048576,rw\ndisk vda /mnt/usb1 vfat rw\n", made.plan({}))
        self.assertEqual(list(made.disks()), ["/mnt/usb1"])

    def test_mount_what_is_read_only_so(self):
        self.assertIn("disk vda /mnt/nand ext4 ro\n", board.Board(nand=board.Storage.parsed("ext4:8:ro")).plan({}))


class Commands(WithFolder):
    def ended(self, program, **options):
        script = self.file("command", command_text(program, directory=str(self.folder), **options).encode())
        return subprocess.run(["/bin/sh", script], capture_output=True, check=False)

    def test_hand_every_argument_on_as_it_is(self):
        arguments = ["it's", "$HOME", "a b", "", "*", "\n"]
        ended = self.ended(["printf", "%s|", *arguments])
        self.assertEqual(ended.stdout, "".join(f"{one}|" for one in arguments).encode())

    def test_have_the_environment_and_the_folder_they_were_given(self):
        ended = self.ended(["sh", "-c", 'echo "$NAME"; pwd'], environment={"NAME": "a 'b'"})
        self.assertEqual(ended.stdout, f"a 'b'\n{self.folder}\n".encode())

    def test_end_with_127_and_one_line_where_there_is_no_such_program(self):
        ended = self.ended(["no-such-program"])
        self.assertEqual((ended.returncode, ended.stdout), (127, b""))
        self.assertEqual(ended.stderr, b"console: no program no-such-program inside\n")


class Locations(WithFolder):
    def located(self, name):
        made = board.Board()
        with mock.patch.dict(os.environ, {"ZEMO_BINARY_DIR": str(self.folder / "build")}):
            return run.located(name, made), made.files

    def test_a_built_program_is_found_by_its_name(self):
        path = self.program("build/examples/zemo-demo", "")
        self.assertEqual(self.located("zemo-demo"), (str(path), {}))

    def test_another_name_is_that_of_a_program_inside(self):
        self.assertEqual(self.located("candump"), ("candump", {}))
        self.assertEqual(self.located("/sbin/hwclock"), ("/sbin/hwclock", {}))

    def test_a_program_from_elsewhere_is_brought_in(self):
        path = self.program("elsewhere/tool", "")
        self.assertEqual(self.located(str(path)), ("/root/tool", {"/root/tool": path}))

    def test_only_programs_of_32_bit_x86_are_taken(self):
        for kind, machine, is_taken in ((1, 3, True), (2, 62, False), (1, 40, False), (2, 3, False)):
            content = bytes([0x7F, 0x45, 0x4C, 0x46, kind]) + bytes(13) + struct.pack("<H", machine)
            self.assertEqual(tree.is_for_the_console(self.file("program", content)), is_taken)
        self.assertFalse(tree.is_for_the_console(self.file("text", b"text")))


if __name__ == "__main__":
    os.environ["ZEMO_BINARY_DIR"] = sys.argv.pop(1) if len(sys.argv) > 1 else ""
    unittest.main()
