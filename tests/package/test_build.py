"""Makes the Debian packages and looks at them: python3 test_build.py BUILD_FOLDER [whole].

The packages are made in BUILD_FOLDER/packages. With "whole", a copy of the tree makes all of them once more, otherwise
only those of the library in 32 bit.
"""

import filecmp
import glob
import os
import re
import shutil
import subprocess
import sys
import tempfile
import unittest

sys.dont_write_bytecode = True
import copied_tree  # pylint: disable=wrong-import-position

SOURCE_FOLDER = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
BUILD_FOLDER = os.path.abspath(sys.argv[1])
IS_WHOLE = sys.argv[2:3] == ["whole"]
ARCHITECTURES = ("amd64", "i386")
PACKAGES = ("libzemoutils", "libzemoutils-dev", "zemo-desk")
LONGEST_WAIT = 1200  # seconds; reached only where a command hangs
SKIPPED = 77
# Another zone of time, another language, and no results of an earlier compiler; files are for oneself only.
OTHER_SURROUNDINGS = {"TZ": "Pacific/Auckland", "LC_ALL": "C", "CCACHE_DISABLE": "1"}
FOR_ONESELF = 0o077


def run(*command, umask=0o022, **environment):
    result = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, check=False,
                            timeout=LONGEST_WAIT, env={**os.environ, **environment}, umask=umask)
    if result.returncode != 0:
        raise AssertionError(f"{' '.join(command)} ended with {result.returncode}:\n{result.stdout[-8000:]}")
    return result.stdout


def version():
    with open(os.path.join(SOURCE_FOLDER, "packaging", "changelog"), encoding="utf-8") as file:
        return re.search(r"\((.*)\)", file.readline()).group(1)


def package_file(name, architecture):
    return os.path.join(BUILD_FOLDER, "packages", f"{name}_{version()}_{architecture}.deb")


def field(name, architecture, key):
    return run("dpkg-deb", "--field", package_file(name, architecture), key).strip()


def setUpModule():
    for tool in ("dpkg-shlibdeps", "dpkg-parsechangelog", "lintian", "ninja", "readelf"):
        if not shutil.which(tool):
            print(f"skipped: {tool} is not installed")
            sys.exit(SKIPPED)
    output = run(os.path.join(SOURCE_FOLDER, "packaging", "make_packages"), BUILD_FOLDER)
    print("\n".join(output.splitlines()[-6:]), flush=True)


class Packages(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory(prefix="zemo-package-")
        self.addCleanup(folder.cleanup)
        self.folder = folder.name

    def unpacked(self, name, architecture):
        folder = os.path.join(self.folder, f"{name}-{architecture}")
        run("dpkg-deb", "--extract", package_file(name, architecture), folder)
        return folder

    def binaries(self, architecture):
        for name in PACKAGES:
            folder = self.unpacked(name, architecture)
            for pattern in ("usr/bin/*", "usr/lib/*/*.so.*.*.*"):
                yield from glob.glob(os.path.join(folder, pattern))

    def test_three_packages_are_made_for_each_of_two_architectures(self):
        wanted = [package_file(name, architecture) for name in PACKAGES for architecture in ARCHITECTURES]
        self.assertEqual(sorted(glob.glob(os.path.join(BUILD_FOLDER, "packages", "*"))), sorted(wanted))
        for architecture in ARCHITECTURES:
            for name in PACKAGES:
                self.assertEqual(field(name, architecture, "Architecture"), architecture)

    def test_lintian_finds_neither_errors_nor_warnings(self):
        packages = [package_file(name, architecture) for name in PACKAGES for architecture in ARCHITECTURES]
        run("lintian", "--allow-root", "--tag-display-limit", "0", "--fail-on", "error,warning", *packages,
            LC_ALL="C.UTF-8")

    def test_packages_ask_for_exactly_each_other(self):
        for architecture in ARCHITECTURES:
            same = f"libzemoutils (= {version()})"
            self.assertEqual(field("libzemoutils-dev", architecture, "Depends"), same)
            self.assertEqual(field("zemo-desk", architecture, "Depends").split(", ")[0], same)
            self.assertEqual(field("libzemoutils", architecture, "Multi-Arch"), "same")
            self.assertEqual(field("libzemoutils-dev", architecture, "Multi-Arch"), "same")
            self.assertIn(field("zemo-desk", architecture, "Multi-Arch"), ("", "no"))

    def test_programs_and_libraries_are_stripped_and_name_no_folder(self):
        for architecture in ARCHITECTURES:
            found = list(self.binaries(architecture))
            self.assertEqual(len(found), 10)
            for binary in found:
                self.assertNotIn(".symtab", run("readelf", "--sections", "--wide", binary), binary)
                self.assertNotRegex(run("readelf", "--dynamic", binary), "R(UN)?PATH", binary)
                with open(binary, "rb") as file:
                    content = file.read()
                for folder in (SOURCE_FOLDER, BUILD_FOLDER):
                    self.assertNotIn(folder.encode() + b"/", content, binary)

    def test_an_application_that_is_packaged_asks_for_the_right_packages(self):
        for name, lines in (("libzemoutils", ["libzemoUtils 1 libzemoutils (>= 1.0.0)"]),
                            ("zemo-desk", ["libisoaglib_host 1 zemo-desk (>= 1.0.0)",
                                           "libzemoconsole_host 1 zemo-desk (>= 1.0.0)"])):
            for architecture in ARCHITECTURES:
                package = package_file(name, architecture)
                self.assertEqual(run("dpkg-deb", "--info", package, "shlibs").splitlines(), lines)
                self.assertEqual(run("dpkg-deb", "--info", package, "triggers"), "activate-noawait ldconfig\n")

    def test_a_copy_elsewhere_makes_the_same_packages(self):
        source = os.path.join(self.folder, "tree of someone else")
        copied_tree.copy(SOURCE_FOLDER, source)
        made = self.make_all(source) if IS_WHOLE else self.make_library32(source)
        for file in made:
            first = os.path.join(BUILD_FOLDER, "packages", os.path.basename(file))
            self.assertTrue(filecmp.cmp(first, file, shallow=False), f"{first} and {file} differ")

    def make_all(self, source):
        folder = os.path.join(self.folder, "build")
        run(os.path.join(source, "packaging", "make_packages"), folder, umask=FOR_ONESELF, **OTHER_SURROUNDINGS)
        made = glob.glob(os.path.join(folder, "packages", "*.deb"))
        self.assertEqual(len(made), 6)
        return made

    def make_library32(self, source):
        folder = os.path.join(self.folder, "build")
        changelog = os.path.join(source, "packaging", "changelog")
        epoch = run("dpkg-parsechangelog", "-l", changelog, "-S", "Timestamp").strip()
        surroundings = {"SOURCE_DATE_EPOCH": epoch, **OTHER_SURROUNDINGS}
        run("cmake", "-S", source, "--preset", "package32", "-B", folder, umask=FOR_ONESELF, **surroundings)
        run("cmake", "--build", folder, "--target", "zemoUtils", umask=FOR_ONESELF, **surroundings)
        run("cpack", "--config", os.path.join(folder, "CPackConfig.cmake"), "-B", os.path.join(folder, "cpack"),
            "-D", "CPACK_COMPONENTS_ALL=runtime;development", **surroundings)
        made = glob.glob(os.path.join(folder, "cpack", "*.deb"))
        self.assertEqual(len(made), 2)
        return made


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1], verbosity=2)
