"""The man pages say what the programs say: options as --help lists them, variables as the sources read them."""

import pathlib
import re
import shutil
import subprocess
import sys
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
BUILD = pathlib.Path(sys.argv[1] if len(sys.argv) > 1 else ".").resolve()
MAN = ROOT / "docs" / "man"
# The programs that run an application, and those that only look at a bus: they ask for different variables.
APPLICATIONS = {"zemo-demo", "zemo-survey-demo", "zemo-console-app"}
TOOLS = {"zemo-service-tool", "zemo-terminal"}


def programs():
    """The programs that the build makes, as CMake names them."""
    named = set()
    for folder in ("tools", "examples"):
        for path in (ROOT / folder).rglob("CMakeLists.txt"):
            if "guide" not in path.parts:
                named |= set(re.findall(r"(?:add_executable|zemo_example|zemo_tool)\(\s*(zemo-[\w-]+)",
                                        path.read_text(encoding="utf-8")))
    return named


def page(name):
    return (MAN / f"{name}.1").read_text(encoding="utf-8")


def help_of(name):
    found = [path for path in (BUILD / "tools" / name, BUILD / "examples" / name) if path.exists()]
    return subprocess.run([found[0], "--help"], stdout=subprocess.PIPE, text=True, timeout=60, check=True).stdout


def help_options(text):
    """The options of a help text with their arguments, as {"--port": "P"}; --help is listed or understood."""
    return {"--help": ""} | dict(re.findall(r"^  (--[\w-]+) ?([A-Z]*) ", text, re.MULTILINE))


def synopsis_options(text):
    section = re.search(r"^\.Sh SYNOPSIS\n(.*?)^\.Sh ", text, re.MULTILINE | re.DOTALL).group(1)
    return {f"--{name}": argument for name, argument in
            re.findall(r"^\.(?:Op )?Fl Fl ([\w-]+)(?: Ar (\w+))?$", section, re.MULTILINE)}


def described_options(text):
    return {f"--{name}": argument for name, argument in
            re.findall(r"^\.It Fl Fl ([\w-]+)(?: Ar (\w+))?$", text, re.MULTILINE)}


def read_variables(*folders):
    read = set()
    for folder in folders:
        for path in (ROOT / folder).rglob("*.cpp"):
            read |= set(re.findall(r'"(ZEMO_[A-Z0-9_]+)"', path.read_text(encoding="utf-8")))
    return read


class ManPages(unittest.TestCase):
    def test_each_program_has_a_page_and_each_page_a_program(self):
        self.assertEqual({path.stem for path in MAN.glob("*.1")}, programs())
        self.assertGreaterEqual(len(programs()), 7)

    def test_the_title_and_the_name_are_those_of_the_program(self):
        for name in sorted(programs()):
            with self.subTest(name):
                self.assertIn(f".Dt {name.upper()} 1\n", page(name))
                self.assertRegex(page(name), rf"(?m)^\.Sh NAME\n\.Nm {name}\n\.Nd \S")

    def test_pages_have_no_warnings(self):
        if not shutil.which("mandoc"):
            self.skipTest("mandoc is not installed")
        for path in sorted(MAN.glob("*.1")):
            with self.subTest(path.name):
                result = subprocess.run(["mandoc", "-Tlint", "-Wwarning", path], stdout=subprocess.PIPE,
                                        stderr=subprocess.DEVNULL, text=True, timeout=60, check=False)
                self.assertEqual((result.returncode, result.stdout), (0, ""))

    def test_options_are_those_of_the_help_text(self):
        for name in sorted(programs()):
            with self.subTest(name):
                expected = help_options(help_of(name))
                self.assertEqual(synopsis_options(page(name)), expected)
                self.assertEqual(described_options(page(name)), expected)

    def test_defaults_of_the_help_text_stand_in_the_page(self):
        for name in sorted(programs()):
            defaults = re.findall(r"^  (--[\w-]+).*\(default:? (?!ZEMO_)(in memory|\w+)[;,)]", help_of(name), re.MULTILINE)
            for option, default in defaults:
                with self.subTest(name + option):
                    text = re.search(rf"^\.It Fl Fl {option[2:]}\b.*\n((?:[^.].*\n)+)", page(name), re.MULTILINE)
                    self.assertRegex(text.group(1), rf"\b{default} by default")

    def test_the_environment_is_the_one_that_the_sources_read(self):
        console = read_variables("platform/console/src")
        self.assertEqual(console, {"ZEMO_CONSOLE_VALUES"})
        self.assertEqual(read_variables("tools"), {"ZEMO_CAN0"})
        host = (ROOT / "platform/isoaglib/src/stack/Host.cpp").read_text(encoding="utf-8")
        self.assertIn('"ZEMO_CAN" + std::to_string(busNumber)', host)
        for name in sorted(programs()):
            with self.subTest(name):
                expected = {"ZEMO_CAN0", "ZEMO_CAN1"} | console if name in APPLICATIONS else (
                    {"ZEMO_CAN0"} if name in TOOLS else set())
                self.assertEqual(set(re.findall(r"^\.It Ev (\w+)$", page(name), re.MULTILINE)), expected)
                self.assertLessEqual(set(re.findall(r"\b(ZEMO_[A-Z0-9_]+)", help_of(name))), expected)

    def test_the_lines_of_the_terminal_are_those_of_its_help(self):
        result = subprocess.run([BUILD / "tools" / "zemo-terminal", "--can0", "local"], input="help\nquit\n", text=True,
                                stdout=subprocess.PIPE, timeout=60, check=True)
        listed = set(re.findall(r"^  ([a-z0-9]+)", result.stdout, re.MULTILINE)) | set(
            re.findall(r"; (open) ID", result.stdout))
        self.assertGreater(len(listed), 15)
        self.assertEqual(set(re.findall(r"^\.It Ic (\w+)", page("zemo-terminal"), re.MULTILINE)), listed)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1] + sys.argv[2:], verbosity=2)
