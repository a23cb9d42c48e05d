"""The library on a second stack and a second console library, whose headers are laid out another way."""

import json
import os

import building
import external


class ExternalPlatform(building.TemporaryFolderTest):
    maxDiff = None

    def test_the_library_works_with_it_and_brings_nothing_of_its_own(self):
        external.install_library(self.path("library"), self.prefix, "-DCMAKE_EXPORT_COMPILE_COMMANDS=ON")
        self.assertEqual(os.listdir(self.installed("include")), ["zemoUtils"])
        self.assertFalse(os.path.exists(self.installed("bin")))
        self.assert_only_the_library_is_compiled()

        application = external.build_application(self.path("application"), self.prefix)
        self.assertEqual(building.run(application), external.expected_calls())

    def assert_only_the_library_is_compiled(self):
        with open(self.path("library", "compile_commands.json"), encoding="utf-8") as file:
            commands = json.load(file)
        sources = os.path.join(building.SOURCE_FOLDER, "Utils", "src")
        self.assertEqual({os.path.dirname(command["file"]) for command in commands}, {sources})
        for command in commands:
            self.assertNotIn(os.path.join(building.SOURCE_FOLDER, "platform"), command["command"])
            self.assertIn(os.path.join(external.PLATFORM, "stack", "core"), command["command"])


class WrongPaths(building.TemporaryFolderTest):
    """What is told where a path is missing or wrong, before anything is compiled."""

    def error_of(self, *options):
        output = external.configure_library(self.path("library"), *options, succeeds=False)
        return " ".join(output.split())

    def test_an_unknown_platform_is_refused(self):
        self.assertIn('ZEMO_PLATFORM is "extern"; it can be host or external', self.error_of("-DZEMO_PLATFORM=extern"))

    def test_missing_headers_of_the_stack_are_named(self):
        self.assertIn("The headers of the ISOBUS stack are missing: <IsoAgLib/isoaglib.h> is not in the folders of "
                      'ZEMO_ISOAGLIB_INCLUDE_DIRS, which is ""', self.error_of("-DZEMO_ISOAGLIB_INCLUDE_DIRS="))

    def test_headers_in_another_folder_are_named(self):
        folder = os.path.join(external.PLATFORM, "stack")
        self.assertIn(f'ZEMO_CONSOLE_INCLUDE_DIRS, which is "{folder}"',
                      self.error_of(f"-DZEMO_CONSOLE_INCLUDE_DIRS={folder}"))

    def test_a_folder_that_is_none_is_named(self):
        for folder in (self.path("nowhere"), "tests"):
            with self.subTest(folder=folder):
                self.assertIn(f'ZEMO_CONSOLE_INCLUDE_DIRS names "{folder}", which is no folder with its whole path',
                              self.error_of(f"-DZEMO_CONSOLE_INCLUDE_DIRS={folder}"))

    def test_a_library_that_does_not_exist_is_named(self):
        library = self.path("libstack.so")
        self.assertIn(f'ZEMO_ISOAGLIB_LIBRARIES names "{library}", which does not exist',
                      self.error_of(f"-DZEMO_ISOAGLIB_LIBRARIES={library}"))


if __name__ == "__main__":
    building.main()
