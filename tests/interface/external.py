"""The library on the platform in external_platform, and the application that brings that platform."""

import os

import building

PLATFORM = os.path.join(building.INTERFACE_FOLDER, "external_platform")
INCLUDE_FOLDERS = {
    "ZEMO_ISOAGLIB_INCLUDE_DIRS": ";".join(os.path.join(PLATFORM, "stack", part) for part in ("api", "core")),
    "ZEMO_CONSOLE_INCLUDE_DIRS": os.path.join(PLATFORM, "console"),
}


def configure_library(folder, *options, **expectation):
    """Options come last: they stand in for those before them."""
    folders = [f"-D{name}={value}" for name, value in INCLUDE_FOLDERS.items()]
    return building.configure(building.SOURCE_FOLDER, folder, "-DZEMO_PLATFORM=external", *folders, *options,
                              **expectation)


def install_library(folder, prefix, *options):
    configure_library(folder, *options)
    building.build(folder)
    building.install(folder, prefix)


def build_application(folder, prefix):
    building.configure(PLATFORM, folder, f"-DCMAKE_PREFIX_PATH={prefix}")
    building.build(folder)
    return os.path.join(folder, "application")


def expected_calls():
    with open(os.path.join(PLATFORM, "expected_calls.txt"), encoding="utf-8") as file:
        return file.read()
