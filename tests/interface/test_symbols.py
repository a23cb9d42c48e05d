"""What the built library takes from the platforms: names to be resolved by the application, and nothing else."""

import os
import unittest

import building

LIBRARY = os.path.join(building.BUILD_FOLDER, "Utils", "libzemoUtils.so")
PLATFORM = [os.path.join(building.BUILD_FOLDER, "platform", name)
            for name in ("libisoaglib_host.so", "libzemoconsole_host.so")]


def symbols(library, kind):
    """The dynamic symbols of a library: {mangled name}."""
    return {line.split()[-1].partition("@")[0]
            for line in building.standard_output("nm", "-D", kind, library).splitlines()
}

def platform_symbols():
#Functions of the C++ library that the compiler leaves in every binary belong to nobody.
    names = set().union(*(symbols(library, "--defined-only") for library in PLATFORM))
    return {name for name in names if any(part in name for part in ("IsoAgLib", "isoaglib", "IsoBusHost", "DBus",
                                                                    "ConsoleHost", "ConsoleHWVersion"))
}

def platform_symbols_defined_by(library):
    return sorted(symbols(library, "--defined-only") & platform_symbols())


def needed_host_libraries(binary):
    return sorted(line.split("[")[1].rstrip("]")
                  for line in building.standard_output("readelf", "-d", binary).splitlines()
                  if "(NEEDED)" in line and "_host" in line)


class Symbols(unittest.TestCase):
    def test_the_library_defines_no_symbol_of_the_platforms(self):
        self.assertEqual(platform_symbols_defined_by(LIBRARY), [])

    def test_a_library_that_defines_them_is_reported(self):
        self.assertIn("_ZN10__IsoAgLib17getSystemInstanceEv", platform_symbols_defined_by(PLATFORM[0]))
        self.assertIn("GetConsoleHWVersion", platform_symbols_defined_by(PLATFORM[1]))

    def test_the_library_leaves_the_symbols_of_the_platforms_undefined(self):
        undefined = symbols(LIBRARY, "--undefined-only")
        for name in ("_ZN10__IsoAgLib17getSystemInstanceEv",
                     "_ZN10__IsoAgLib12IsoMonitor_c17registerIdentItemERNS_11IdentItem_cE",
                     "_Z25isoaglib_assert_callStartv", "_Z18getIsoAgLibVersionv", "_Z24getDBusInterfaceInstancev",
                     "_ZN16DBusConnection_c16getSetProductVinEbPc", "GetConsoleHWVersion"):
            self.assertIn(name, undefined)

    def test_the_host_platform_has_every_symbol_that_the_library_asks_of_a_platform(self):
        asked = {name for name in symbols(LIBRARY, "--undefined-only")
                 if any(part in name for part in ("IsoAgLib", "isoaglib", "DBus", "GetConsole"))}
        self.assertEqual(sorted(asked - platform_symbols()), [])

    def test_the_library_needs_no_host_library(self):
        self.assertEqual(needed_host_libraries(LIBRARY), [])

    def test_a_binary_that_needs_them_is_reported(self):
        self.assertEqual(needed_host_libraries(os.path.join(building.BUILD_FOLDER, "examples", "zemo-demo")),
                         ["libisoaglib_host.so.1", "libzemoconsole_host.so.1"])


if __name__ == "__main__":
    building.main()
