"""What the tests of the installed package have in common: the build that is tested, and how to build on it.

A test is a program: python3 test_NAME.py BUILD_FOLDER.
"""

import os
import shlex
import subprocess
import sys
import tempfile
import unittest

sys.dont_write_bytecode = True
BUILD_FOLDER = os.path.abspath(sys.argv[1] if len(sys.argv) > 1 else ".")
INTERFACE_FOLDER = os.path.dirname(os.path.abspath(__file__))
LONGEST_WAIT = 300  # seconds; reached only where a test hangs


def read_cache():
    entries = {}
    with open(os.path.join(BUILD_FOLDER, "CMakeCache.txt"), encoding="utf-8") as cache:
        for line in cache:
            name, separator, value = line.rstrip("\n").partition("=")
            if separator and not line.startswith(("#", "//")):
                entries[name.partition(":")[0]] = value
    return entries


CACHE = read_cache()
SOURCE_FOLDER = CACHE["CMAKE_HOME_DIRECTORY"]
LIBRARY_FOLDER = CACHE.get("CMAKE_INSTALL_LIBDIR", "lib")
COMPILER_FLAGS = shlex.split(CACHE.get("CMAKE_CXX_FLAGS", ""))
# The options with which every CMake build of a test meets the tested one.
SAME_COMPILER = [f"-D{name}={CACHE[name]}" for name in (
    "CMAKE_CXX_COMPILER", "CMAKE_CXX_FLAGS", "CMAKE_C_FLAGS", "CMAKE_BUILD_TYPE", "CMAKE_CXX_COMPILER_LAUNCHER",
    "CMAKE_INSTALL_LIBDIR") if name in CACHE]


def clean_environment(**more):
    """The caller's settings of a console or a bus do not reach the programs of a test."""
    environment = {name: value for name, value in os.environ.items()
                   if not name.startswith(("ZEMO_", "PKG_CONFIG", "CMAKE_PREFIX", "zemoUtils_"))}
    environment["LC_ALL"] = "C"
    environment.update(more)
    return environment


def run(*command, succeeds=True, **environment):
    """Returns what the command prints, standard error included."""
    result = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True,
                            timeout=LONGEST_WAIT, env=clean_environment(**environment), check=False)
    if (result.returncode == 0) != succeeds:
        raise AssertionError(f"{shlex.join(command)} ended with {result.returncode}:\n{result.stdout}")
    return result.stdout


def standard_output(*command):
    return subprocess.run(command, stdout=subprocess.PIPE, text=True, timeout=LONGEST_WAIT, env=clean_environment(),
                          check=True).stdout


def configure(source, folder, *options, **expectation):
    return run(CACHE["CMAKE_COMMAND"], "-S", source, "-B", folder, "-G", CACHE["CMAKE_GENERATOR"], *SAME_COMPILER,
               *options, **expectation)


def build(folder, *options, **expectation):
    return run(CACHE["CMAKE_COMMAND"], "--build", folder, *options, **expectation)


def install(folder, prefix, *options):
    return run(CACHE["CMAKE_COMMAND"], "--install", folder, "--prefix", prefix, *options)


class TemporaryFolderTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory(prefix="zemo-interface-")
        self.addCleanup(folder.cleanup)
        self.folder = folder.name
        self.prefix = os.path.join(self.folder, "prefix")

    def path(self, *names):
        return os.path.join(self.folder, *names)

    def installed(self, *names):
        return os.path.join(self.prefix, *names)


def main():
    unittest.main(argv=sys.argv[:1] + sys.argv[2:], verbosity=2)
