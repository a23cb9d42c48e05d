"""The installed package, as a project that knows nothing but the package sees it."""

import os
import shutil

import building

CONSUMER = os.path.join(building.INTERFACE_FOLDER, "consumer")


def expected_output():
    bits = 32 if "-m32" in building.COMPILER_FLAGS else 64
#The identity number of the host console's serial number "ZC123456" has the last six digits.
    return ("Consumer#ZEMOLib.891.170906.0046#IsoAgLib.host.1.0.0\n"
            "123456\n"
            f"{bits} bit\n"
            "closed\n")


class Install(building.TemporaryFolderTest):
    def setUp(self):
        super().setUp()
        building.install(building.BUILD_FOLDER, self.prefix)

    def pkg_config(self, *arguments, **expectation):
        return building.run("pkg-config", *arguments,
                            PKG_CONFIG_LIBDIR=self.installed(building.LIBRARY_FOLDER, "pkgconfig"),
                            **expectation).split()

    def compile(self, arguments, **expectation):
        return building.run(building.CACHE["CMAKE_CXX_COMPILER"], "-std=c++11", *building.COMPILER_FLAGS,
                            os.path.join(CONSUMER, "main.cpp"), "-o", self.path("consumer"), *arguments, **expectation)

    def run_with_libraries(self, program):
        return building.run(program, LD_LIBRARY_PATH=self.installed(building.LIBRARY_FOLDER))

    def test_a_consumer_finds_the_package_with_cmake(self):
        building.configure(CONSUMER, self.path("build"), f"-DCMAKE_PREFIX_PATH={self.prefix}")
        building.build(self.path("build"))
        self.assertEqual(building.run(self.path("build", "consumer")), expected_output())

    def test_a_consumer_finds_the_package_with_pkg_config(self):
        self.compile(self.pkg_config("--cflags", "--libs", "zemoUtils", "zemoUtils-host"))
        self.assertEqual(self.run_with_libraries(self.path("consumer")), expected_output())

    def test_a_linker_that_drops_unneeded_libraries_keeps_the_platform(self):
        self.compile(["-Wl,--as-needed"] + self.pkg_config("--cflags", "--libs", "zemoUtils", "zemoUtils-host"))
        self.assertEqual(self.run_with_libraries(self.path("consumer")), expected_output())

    def test_the_library_does_not_bring_the_platform_with_it(self):
        headers = self.pkg_config("--cflags", "zemoUtils", "zemoUtils-host")
        output = self.compile(headers + self.pkg_config("--libs", "zemoUtils"), succeeds=False)
        self.assertIn("undefined reference to `__IsoAgLib::getSystemInstance()'", output)
        output = self.compile(self.pkg_config("--cflags", "--libs", "zemoUtils"), succeeds=False)
        self.assertRegex(output, r"fatal error: '?IsoAgLib/isoaglib\.h'?:? (No such file|file not found)")

    def test_an_installed_tree_can_be_moved(self):
        moved = self.path("moved")
        shutil.move(self.prefix, moved)
        self.prefix = moved
        self.compile(self.pkg_config("--cflags", "--libs", "zemoUtils", "zemoUtils-host"))
        self.assertEqual(self.run_with_libraries(self.path("consumer")), expected_output())
        building.configure(CONSUMER, self.path("build"), f"-DCMAKE_PREFIX_PATH={moved}")
        building.build(self.path("build"))
        self.assertEqual(building.run(self.path("build", "consumer")), expected_output())

    def test_installed_files_name_no_folder_of_the_build(self):
        for folder, _, names in os.walk(self.prefix):
            for name in names:
                if name.endswith((".cmake", ".pc", ".h")):
                    with open(os.path.join(folder, name), encoding="utf-8") as file:
                        text = file.read()
                    for unwanted in (building.BUILD_FOLDER, building.SOURCE_FOLDER, self.prefix):
                        self.assertNotIn(unwanted, text, name)

    def test_installed_programs_run_from_where_they_are(self):
        programs = sorted(os.listdir(self.installed("bin")))
        self.assertEqual(programs, ["zemo-bus-server", "zemo-console-app", "zemo-demo", "zemo-folder-report",
                                    "zemo-service-tool", "zemo-survey-demo", "zemo-terminal"])
        for program in programs:
            self.assertIn(program, building.run(self.installed("bin", program), "--help"))

    def test_the_package_refuses_another_major_version(self):
        project = self.path("project")
        os.mkdir(project)
        with open(os.path.join(project, "CMakeLists.txt"), "w", encoding="utf-8") as file:
            file.write("cmake_minimum_required(VERSION 3.25)\nproject(other LANGUAGES CXX)\n"
                       "find_package(zemoUtils 2.0 REQUIRED)\n")
        output = building.configure(project, self.path("build"), f"-DCMAKE_PREFIX_PATH={self.prefix}", succeeds=False)
        self.assertIn('compatible with requested version "2.0"', " ".join(output.split()))


class Components(building.TemporaryFolderTest):
    def test_the_library_can_be_installed_without_the_host_platform(self):
        for component in ("runtime", "development"):
            building.install(building.BUILD_FOLDER, self.prefix, "--component", component)
        self.assertFalse(os.path.exists(self.installed("bin")))
        self.assertEqual(os.listdir(self.installed("include")), ["zemoUtils"])
        libraries = os.listdir(self.installed(building.LIBRARY_FOLDER))
        self.assertEqual([name for name in libraries if "host" in name], [])
        output = building.configure(CONSUMER, self.path("build"), f"-DCMAKE_PREFIX_PATH={self.prefix}", succeeds=False)
        self.assertIn("The host platform is not installed beside libzemoUtils.", output)


if __name__ == "__main__":
    building.main()
