"""The library on a second stack and a second console library, whose headers are laid out another way."""

import os

import building

PLATFORM = os.path.join(building.INTERFACE_FOLDER, "external_platform")


class ExternalPlatform(building.TemporaryFolderTest):
    def test_the_library_works_with_it_and_brings_nothing_of_its_own(self):
        stack = ";".join(os.path.join(PLATFORM, "stack", part) for part in ("api", "core"))
        building.configure(building.SOURCE_FOLDER, self.path("library"), "-DZEMO_PLATFORM=external",
                           f"-DZEMO_ISOAGLIB_INCLUDE_DIRS={stack}",
                           f"-DZEMO_CONSOLE_INCLUDE_DIRS={os.path.join(PLATFORM, 'console')}")
        building.build(self.path("library"))
        building.install(self.path("library"), self.prefix)
        self.assertEqual(os.listdir(self.installed("include")), ["zemoUtils"])
        self.assertFalse(os.path.exists(self.installed("bin")))

        building.configure(PLATFORM, self.path("application"), f"-DCMAKE_PREFIX_PATH={self.prefix}")
        building.build(self.path("application"))
        with open(os.path.join(PLATFORM, "expected_calls.txt"), encoding="utf-8") as file:
            expected = file.read()
        self.maxDiff = None
        self.assertEqual(building.run(self.path("application", "application")), expected)


if __name__ == "__main__":
    building.main()
