"""What applications in binary rely on: the library against the record of what it promises, and the check itself."""

import os
import shutil
import sys
import tempfile
import unittest

import building

import abi

LIBRARY = os.path.join(building.BUILD_FOLDER, "Utils", "libzemoUtils.so")
RECORDS = os.path.join(building.SOURCE_FOLDER, "tests", "data", "abi")
HEADERS = os.path.join(building.SOURCE_FOLDER, "Utils", "include")
SOURCES = os.path.join(building.SOURCE_FOLDER, "Utils", "src")
IS_64_BIT = "-m32" not in building.COMPILER_FLAGS
PLATFORM = [os.path.join(building.SOURCE_FOLDER, "platform", name, "include") for name in ("isoaglib", "console")]


class RecordedAbi(building.TemporaryFolderTest):
    def test_the_library_keeps_what_is_recorded(self):
        current = self.path("current.abi")
        with open(current, "w", encoding="utf-8") as file:
            file.write(abi.describe(LIBRARY))
        record = abi.record_of(LIBRARY, RECORDS)
        report = abi.differences(record, current)
        if report:
            self.fail(f"{LIBRARY} is not what {record} tells:\n\n{report}\n"
                      "Applications that are in use would not run with it. Where the change is meant, renew the record "
                      f"of both builds with\n  python3 {building.INTERFACE_FOLDER}/record_abi.py "
                      f"{building.BUILD_FOLDER}\nand raise the major version of the project, which the SONAME tells.")

    def test_the_records_name_no_folder(self):
        for name in os.listdir(RECORDS):
            with open(os.path.join(RECORDS, name), encoding="utf-8") as file:
                self.assertNotRegex(file.read(), r"='[^']*/", name)

    def test_the_records_differ_in_offsets_and_sizes_alone(self):
        def names(record):
            with open(os.path.join(RECORDS, record), encoding="utf-8") as file:
                lines = [line.strip() for line in file if "name='" in line]
            return [line.partition("name='")[2].partition("'")[0].replace("_ZThn8_", "_ZThn4_") for line in lines]

        self.assertEqual(names("i386.abi"), names("amd64.abi"))


class Differences(unittest.TestCase):
    """A library of two of our sources, and what is told of it when these are changed."""

    @classmethod
    def setUpClass(cls):
        folder = tempfile.TemporaryDirectory(prefix="zemo-interface-")
        cls.addClassCleanup(folder.cleanup)
        cls.folder = folder.name
        cls.before = cls().described()

    def described(self, *changes, flags=("-O2",)):
        """Builds a copy of the sources with changes (file, text, new text); gives the file of its description."""
        folder = os.path.join(self.folder, self._testMethodName)
        shutil.copytree(HEADERS, folder)
        sources = [shutil.copy(os.path.join(SOURCES, source), folder) for source in ("DataStorage_c.cpp", "Thread_c.cpp")]
        for file_name, old, new in changes:
            with open(os.path.join(folder, file_name), encoding="utf-8") as file:
                text = file.read()
            self.assertIn(old, text)
            with open(os.path.join(folder, file_name), "w", encoding="utf-8") as file:
                file.write(text.replace(old, new))
        library = os.path.join(folder, "libsmall.so")
        includes = [option for include in PLATFORM for option in ("-isystem", include)]
        building.run(building.CACHE["CMAKE_CXX_COMPILER"], "-std=c++17", *building.COMPILER_FLAGS, "-g", "-fPIC", *flags,
                     "-fvisibility=hidden", "-shared", "-Wl,-soname,libsmall.so.1", "-I", folder, *includes, *sources,
                     "-o", library)
        with open(os.path.join(folder, "small.abi"), "w", encoding="utf-8") as file:
            file.write(abi.describe(library))
        return file.name

    def report(self, *changes, flags=("-O2",)):
        return abi.differences(self.before, self.described(*changes, flags=flags))

    def test_nothing_is_told_of_the_same_interface(self):
        self.assertEqual(self.report(), "")

    def test_flags_and_bodies_are_of_no_account(self):
        self.assertEqual(self.report(("Thread_c.cpp", "m_bAborted = true;", "if (!m_bAborted) { m_bAborted = true; }"),
                                     flags=("-O0", "-ffunction-sections")), "")

    def test_a_name_that_is_gone_is_told(self):
        report = self.report(("Thread_c.h", "void stop();", "void halt();"), ("Thread_c.cpp", "::stop()", "::halt()"))
        self.assertIn("1 Removed", report)
        self.assertIn("Thread_c::stop()", report)
        self.assertIn("1 Added", report)
        self.assertIn("Thread_c::halt()", report)

    def test_a_name_that_is_more_is_told(self):
        report = self.report(("Thread_c.h", "void stop();", "void stop();\n  static int count();"),
                             ("Thread_c.cpp", "void Thread_c::stop()", "int Thread_c::count() { return 0; }\n"
                              "void Thread_c::stop()"))
        self.assertIn("0 Removed", report)
        self.assertIn("Thread_c::count()", report)

    def test_a_signature_of_the_same_name_is_told(self):
        report = self.report(("Thread_c.h", "bool isRunning()", "int isRunning()"),
                             ("Thread_c.cpp", "bool Thread_c::isRunning()", "int Thread_c::isRunning()"))
        self.assertIn("'method bool Thread_c::isRunning()' has some", report)
        self.assertIn("type name changed from 'bool' to 'int'", report)

    def test_the_size_of_an_object_is_told(self):
        report = self.report(("Thread_c.h", "bool m_bAborted;", "bool m_bAborted;\n  void* m_more[2];"))
        self.assertIn("in pointed to type 'class Thread_c'", report)
        sizes = "24 to 40" if IS_64_BIT else "12 to 20"
        self.assertIn(f"type size changed from {sizes} (in bytes)", report)
        self.assertIn("'void* m_more[2]'", report)

    def test_the_offset_of_a_private_field_is_told(self):
        report = self.report(("Thread_c.h", "  bool m_bRunning;\n  bool m_bAborted;", "  bool m_bAborted;\n"
                              "  bool m_bRunning;"))
        begin = 16 if IS_64_BIT else 8
        self.assertIn(f"'bool m_bRunning' offset changed from {begin} to {begin + 1} (in bytes)", report)

    def test_the_slot_of_a_virtual_function_is_told(self):
        report = self.report(("DataStorage_c.h", "  virtual ~DataStorage_c();\n", ""),
                             ("DataStorage_c.h", "\nprivate:", "  virtual ~DataStorage_c();\n\nprivate:"))
        self.assertIn("the vtable offset of method virtual void DataStorage_c::loadPreferredVt", report)
        self.assertIn("changed from 6 to 4", report)

    def test_a_function_that_is_virtual_no_longer_is_told(self):
        report = self.report(("Thread_c.h", "virtual ~Thread_c();", "~Thread_c();"))
        self.assertIn("_ZTV8Thread_c", report)

    def test_a_library_without_debug_information_is_refused(self):
        library = os.path.join(self.folder, "libplain.so")
        building.run(building.CACHE["CMAKE_CXX_COMPILER"], *building.COMPILER_FLAGS, "-shared", "-s", "-x", "c++",
                     "/dev/null", "-o", library)
        with self.assertRaises(abi.MissingDebugInformation):
            abi.describe(library)


if __name__ == "__main__":
    REASON = abi.unsuitable(building.CACHE)
    if REASON:
        print(REASON)
        sys.exit(77)
    building.main()
