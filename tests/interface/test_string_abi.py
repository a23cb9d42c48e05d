"""The library with the std::string of GCC that is not the compiler's own: its names, its users, its running."""

import os

import building
import external

OTHER = "cxx11" if building.CACHE.get("ZEMO_STRING_ABI") == "old" else "old"
DEFINITION = f"-D_GLIBCXX_USE_CXX11_ABI={int(OTHER == 'cxx11')}"
LONG_STRING = "std::basic_string<char, std::char_traits<char>, std::allocator<char>>"
# Keeps its texts in the library and in objects of the library, whose size is that of the string that both know.
PROGRAM = """
#include <ComponentVersions_c.h>
#include <DebugLog.h>
#include <FileUtil.h>
#include <iostream>
static_assert(_GLIBCXX_USE_CXX11_ABI == %d, "the string of the package");
static_assert(sizeof(ComponentVersions_c) == sizeof(void*) + 5 * sizeof(std::string), "five strings");
int main() {
  std::string parent;
  FileUtil::getParentDirectory("/usr/lib/", parent);
  ComponentVersions_c versions;
  versions.setSoftwareVersion("a version text that is longer than most");
  set_log_filename("/dev/null");
  std::cout << parent << ' ' << versions.getSoftwareVersion() << ' ' << g_LogFileName << std::endl;
}
"""


def without_string(name):
    """A name as it is whatever string it holds."""
    plain = name.replace("[abi:cxx11]", "").replace("std::__cxx11::", "std::").replace(" >", ">")
    return plain.replace(LONG_STRING, "std::string")


def exported_names(library):
    lines = building.standard_output("nm", "-D", "-C", "--defined-only", library).splitlines()
    return sorted(without_string(line.split(maxsplit=2)[2]) for line in lines)


def documented_names():
    with open(os.path.join(building.SOURCE_FOLDER, "tests", "data", "exported_names.txt"), encoding="utf-8") as file:
        return sorted(without_string(line.rstrip("\n")) for line in file if line.strip() and not line.startswith("#"))


class StringAbi(building.TemporaryFolderTest):
    maxDiff = None

    def test_the_other_string_makes_a_library_of_the_same_names_that_runs(self):
        external.install_library(self.path("library"), self.prefix, f"-DZEMO_STRING_ABI={OTHER}")
        library = self.installed(building.LIBRARY_FOLDER, "libzemoUtils.so")
        self.assertEqual(exported_names(library), documented_names())
        mangled = building.standard_output("nm", "-D", "--defined-only", library)
        self.assertEqual("cxx11" in mangled, OTHER == "cxx11")

        application = external.build_application(self.path("application"), self.prefix)
        self.assertEqual(building.run(application), external.expected_calls())
        self.run_program_of_pkg_config()

    def run_program_of_pkg_config(self):
        options = building.run("pkg-config", "--cflags", "--libs", "zemoUtils",
                               PKG_CONFIG_LIBDIR=self.installed(building.LIBRARY_FOLDER, "pkgconfig")).split()
        self.assertIn(DEFINITION, options)
        source = self.path("main.cpp")
        with open(source, "w", encoding="utf-8") as file:
            file.write(PROGRAM % (OTHER == "cxx11"))
        program = self.path("program")
        building.run(building.CACHE["CMAKE_CXX_COMPILER"], "-std=c++17", *building.COMPILER_FLAGS, source, "-o", program,
                     *options, f"-L{self.path('application')}", "-lrecordingStack", "-lrecordingConsole")
        folders = f"{self.installed(building.LIBRARY_FOLDER)}:{self.path('application')}"
        self.assertEqual(building.run(program, LD_LIBRARY_PATH=folders),
                         "/usr/ a version text that is longer than most /dev/null\n")


class OptionOfTheBuild(building.TemporaryFolderTest):
    def test_the_names_of_the_tested_library_are_the_documented_ones_too(self):
        library = os.path.join(building.BUILD_FOLDER, "Utils", "libzemoUtils.so")
        self.assertEqual(exported_names(library), documented_names())

    def test_another_value_is_refused(self):
        output = external.configure_library(self.path("library"), "-DZEMO_STRING_ABI=new", succeeds=False)
        self.assertIn('ZEMO_STRING_ABI is "new"; it can be default, cxx11 or old', " ".join(output.split()))

    def test_a_package_of_the_compilers_own_string_sets_nothing(self):
        external.configure_library(self.path("library"), "-DZEMO_STRING_ABI=default")
        with open(self.path("library", "zemoUtils.pc"), encoding="utf-8") as file:
            self.assertNotIn("GLIBCXX", file.read())


if __name__ == "__main__":
    building.main()
