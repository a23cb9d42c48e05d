"""The headers that are for C too, as programs in C see them."""

import os
import shutil
import unittest

import building

HEADERS = ("UtfConversion.h", "string_util.h")
INCLUDE_FOLDER = os.path.join(building.SOURCE_FOLDER, "Utils", "include")
LIBRARY_FOLDERS = [os.path.join(building.BUILD_FOLDER, name) for name in ("Utils", "platform")]
PROGRAM = os.path.join(building.INTERFACE_FOLDER, "c_caller.c")
WARNINGS = ("-Wall", "-Wextra", "-Wpedantic", "-Wconversion", "-Wshadow", "-Wstrict-prototypes", "-Wundef", "-Werror")


def compilers():
    return [name for name in ("gcc", "clang") if shutil.which(name)]


class CCallers(building.TemporaryFolderTest):
    def compile(self, compiler, standard, text, **expectation):
        source = self.path("source.c")
        with open(source, "w", encoding="utf-8") as file:
            file.write(text)
        bits = [flag for flag in building.COMPILER_FLAGS if flag == "-m32"]
        return building.run(compiler, f"-std={standard}", *bits, *WARNINGS, "-fsyntax-only", "-I", INCLUDE_FOLDER,
                            source, **expectation)

    def test_each_header_compiles_by_itself_without_a_warning(self):
        self.assertTrue(compilers())
        for compiler in compilers():
            for standard in ("c99", "c11", "c17"):
                for header in HEADERS:
                    include = f'#include "{header}"\n'
                    with self.subTest(compiler=compiler, standard=standard, header=header):
                        self.assertEqual(self.compile(compiler, standard, include + include + "int unused;\n"), "")

    def test_a_header_that_is_for_cpp_alone_is_reported(self):
        for compiler in compilers():
            self.assertIn("error", self.compile(compiler, "c11", '#include "FileUtil.h"\n', succeeds=False))

    def test_a_program_in_c_finds_and_calls_every_plain_name(self):
        program = self.path("c_caller")
        folders = [option for folder in LIBRARY_FOLDERS for option in (f"-L{folder}", f"-Wl,-rpath,{folder}")]
        building.run(building.CACHE["CMAKE_C_COMPILER"], "-std=c11", *WARNINGS, *building.COMPILER_FLAGS,
                     "-I", INCLUDE_FOLDER, PROGRAM, "-o", program, *folders, "-lzemoUtils", "-lisoaglib_host",
                     "-lzemoconsole_host")
        self.assertEqual(building.run(program), "0061 D83D DE00 0\n0061 1\n1\n1 0 3\n")


if __name__ == "__main__":
    building.main()
