"""The guide does what it says: its listings are the files of examples/guide, its transcripts are typed and compared."""

import os
import pathlib
import re
import shlex
import shutil
import socket
import sys
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1] / "interface"))
import building  # noqa: E402
import guide  # noqa: E402
import windows  # noqa: E402

TEXT = guide.GUIDE.read_text(encoding="utf-8")
LONGEST_WAIT = 240  # seconds for a command; reached only where a test hangs


def free_port():
    with socket.socket() as probe:
        probe.bind(("127.0.0.1", 0))
        return probe.getsockname()[1]


class Listings(unittest.TestCase):
    def test_each_block_says_where_it_comes_from(self):
        for block in guide.blocks(TEXT):
            with self.subTest(str(block)):
                self.assertRegex(block.note, r"^(file: \S+|part: \S+|window: \w+(, in the tree)?|not run: .+)$")
        self.assertEqual(len(guide.blocks(TEXT)) * 2, len(re.findall(r"^ *(?:```|~~~)", TEXT, re.MULTILINE)))

    def test_listings_are_those_of_the_files(self):
        shown = [block for block in guide.blocks(TEXT) if block.kind in ("file", "part")]
        self.assertGreaterEqual(len(shown), 5)
        self.assertEqual([mistake for mistake in map(guide.listing_mistake, shown) if mistake], [])

    def test_programs_are_in_listings_only(self):
        for block in guide.blocks(TEXT):
            with self.subTest(str(block)):
                self.assertEqual(block.language == "console", block.kind in ("window", "not run"))

    def test_each_file_is_shown_unless_it_is_said_to_be_like_another(self):
        shown = {block.subject for block in guide.blocks(TEXT) if block.kind in ("file", "part")}
        there = {str(path.relative_to(guide.LISTINGS)) for path in guide.LISTINGS.rglob("*") if path.is_file()}
        self.assertEqual(there - shown, {"screen/CMakeLists.txt"})

    def test_packages_to_install_are_those_that_a_build_needs(self):
        script = (guide.ROOT / "dev").read_text(encoding="utf-8")
        needed = re.search(r"^readonly packages_build=\((.*?)\)", script, re.MULTILINE | re.DOTALL).group(1).split()
        first, packages = [block.text for block in guide.blocks(TEXT) if block.kind == "not run"]
        self.assertEqual(first, "$ sudo apt-get install -y " + " ".join(needed) + "\n")
        self.assertRegex(packages, r"^\$ ./dev package\n\$ sudo apt-get install -y ./build/packages/\*_amd64.deb\n")
        self.assertIn("\n$ cp -r /usr/share/doc/zemo-desk/examples/guide ~/guide\n$ cd ~/guide\n", packages)

    def test_packages_are_made_and_laid_out_as_it_says(self):
        script = (guide.ROOT / "dev").read_text(encoding="utf-8")
        self.assertIn("\n  package [--check] ", script)
        maker = (guide.ROOT / "packaging" / "make_packages").read_text(encoding="utf-8")
        self.assertIn("\npackages=$build/packages\n", maker)
        rules = (guide.ROOT / "cmake" / "Packages.cmake").read_text(encoding="utf-8")
        self.assertIn("set(examples_dir ${CMAKE_INSTALL_DATAROOTDIR}/doc/zemo-desk/examples)", rules)
        self.assertIn("install(DIRECTORY ${PROJECT_SOURCE_DIR}/examples/guide DESTINATION ${examples_dir} ", rules)


class BrokenListings(unittest.TestCase):
    """The counter-proof: a guide that differs from its files, or from what is printed, is reported."""

    def mistake(self, text):
        (block,) = guide.blocks(text)
        return guide.listing_mistake(block)

    def test_a_changed_line_is_reported(self):
        content = (guide.LISTINGS / "first" / "main.cpp").read_text(encoding="utf-8")
        shown = f"<!-- file: first/main.cpp -->\n```cpp\n{content}```\n"
        self.assertEqual(self.mistake(shown), "")
        self.assertIn("differs from first/main.cpp", self.mistake(shown.replace("s_stop = 1", "s_stop = 2")))
        self.assertIn("is no part", self.mistake(shown.replace("file:", "part:").replace("s_stop = 1", "s_stop = 2")))
        self.assertIn("there is no file", self.mistake(shown.replace("first/main", "first/other")))
        self.assertIn("not written as c", self.mistake(shown.replace("```cpp", "```c")))

    def test_a_part_begins_with_a_line(self):
        self.assertIn("is no part", self.mistake("<!-- part: first/main.cpp -->\n```cpp\n  s_stop = 1;\n\n```\n"))
        self.assertEqual(self.mistake("<!-- part: first/main.cpp -->\n```cpp\n  s_stop = 1;\n}\n```\n"), "")
        self.assertIn("is no part", self.mistake("<!-- part: first/main.cpp -->\n```cpp\ns_stop = 1;\n}\n```\n"))

    def test_output_is_compared_line_by_line(self):
        rows = ((["a", "b"], ["a", "b"], True), (["a"], ["a", "b"], False), (["a"], ["ab"], False),
                (["a", "b"], ["a"], False), (["..."], [], True), (["...", "b"], ["a", "b"], True),
                (["a", "..."], ["b"], False), (["...", "b", "...", "c"], ["b", "c", "c"], True),
                (["a ..."], ["a rest"], True), (["a ..."], ["b rest"], False), (["1.234 a"], ["99.000 a"], True),
                (["1.234 a"], ["a"], False), (["x 1.234 a"], ["x 1.235 a"], False))
        for shown, printed, holds in rows:
            with self.subTest(f"{shown} {printed}"):
                expected = guide.Expected(shown)
                expected.printed = printed
                self.assertEqual(expected.matches(whole=True), holds)

    def test_a_command_that_prints_something_else_or_fails_is_reported(self):
        for command, shown in (("echo b", ["a"]), ("true", ["a"]), ("echo a; echo b", ["a"]), ("echo a; false", ["a"])):
            with self.subTest(command):
                window = windows.Window("/", {"PATH": "/usr/bin:/bin"}, 1)
                self.addCleanup(window.close)
                with self.assertRaises(AssertionError):
                    window.run(command, guide.Expected(shown))


class Reader(building.TemporaryFolderTest):
    """Goes through the guide from its first line to its last."""

    def setUp(self):
        super().setUp()
        if "-fsanitize=thread" in building.COMPILER_FLAGS:
            self.skipTest("the guide prints a stack within a signal handler, which the thread sanitizer reports")
        self.windows = {}
        self.home = self.path("home")
        os.mkdir(self.home)
        self.port = free_port()

    def board(self):
        """A folder laid out as that of the board: the stack and the console library of this build stand in for those
        of the board, and are of the bits of this build."""
        building.install(building.BUILD_FOLDER, self.path("stand-in"))
        board = pathlib.Path(self.path("board"))
        (board / "lib").mkdir(parents=True)
        stand_in = pathlib.Path(self.path("stand-in"))
        shutil.copytree(stand_in / "include" / "zemoUtils-platform", board / "include")
        for name in ("isoaglib", "zemoconsole"):
            (board / "lib" / f"lib{name}.so").symlink_to(stand_in / building.LIBRARY_FOLDER / f"lib{name}_host.so")
        return str(board)

    def replacements(self):
        """What is not the same in a test: folders, the port, and the build of this test in place of a new one."""
        return {"build/guide": building.BUILD_FOLDER, "/opt/board": self.board(), "build/board": self.path("for-board"),
                "-m32": shlex.quote(" ".join(building.COMPILER_FLAGS) or "-m64"), "29536": str(self.port),
                "zemo-bus-server &": f"zemo-bus-server --port {self.port} &"}

    def environment(self):
        launcher = building.CACHE.get("CMAKE_CXX_COMPILER_LAUNCHER", "")
        return building.clean_environment(
            HOME=self.home, CXX=building.CACHE["CMAKE_CXX_COMPILER"], CXXFLAGS=" ".join(building.COMPILER_FLAGS),
            CC=building.CACHE.get("CMAKE_C_COMPILER", "cc"), CFLAGS=building.CACHE.get("CMAKE_C_FLAGS", ""),
            CMAKE_CXX_COMPILER_LAUNCHER=launcher,
            CCACHE_DIR=os.environ.get("CCACHE_DIR", os.path.expanduser("~/.cache/ccache")))

    def window(self, name, in_the_tree):
        if name not in self.windows:
            folder = building.SOURCE_FOLDER if in_the_tree else self.home
            self.windows[name] = windows.Window(folder, self.environment(), LONGEST_WAIT)
        return self.windows[name]

    def take(self, block, replacements):
        name, _, place = block.subject.partition(", ")
        window = self.window(name, place == "in the tree")
        for kind, text, expected in guide.steps(block):
            expected.lines = [windows.substituted(line, replacements) for line in expected.lines]
            if kind == "$" and not self.is_done_already(text):
                window.run(windows.substituted(text, replacements), expected, runs_on=text == "zemo-terminal")
            elif kind == ">":
                window.type(text, expected)
            elif not kind:
                window.watch(expected)

    @staticmethod
    def is_done_already(command):
        """The library is the one of the build that is tested; its options are looked at all the same."""
        if not command.endswith(("--build build/guide", "-DZEMO_BUILD_TESTS=OFF")):
            return False
        for option in re.findall(r" -D(ZEMO_\w+)=", command):
            assert option in building.CACHE, option
        return True

    def test_every_transcript_is_what_happens(self):
        replacements = self.replacements()
        try:
            for block in guide.blocks(TEXT):
                if block.kind == "window":
                    try:
                        self.take(block, replacements)
                    except AssertionError as mistake:
                        raise AssertionError(f"{block}: {mistake}") from None
            left = {name: window.left() for name, window in self.windows.items()}
        finally:
            for window in self.windows.values():
                window.close()
        self.assertEqual(left, {"work": [], "terminal": [], "board": []})


if __name__ == "__main__":
    building.main()
