"""The same source makes the same library: another build of a copy, in other folders and at another time, without a
compiler's cache, gives the bytes of the tested one.

    python3 test_reproducible.py BUILD_FOLDER
"""

import os
import sys
import unittest

sys.dont_write_bytecode = True
sys.path.insert(0, os.path.join(os.path.dirname(os.path.dirname(os.path.abspath(__file__))), "interface"))
import building  # pylint: disable=wrong-import-position
import copied_tree  # pylint: disable=wrong-import-position

LIBRARY = os.path.join("Utils", "libzemoUtils.so")


class Reproducible(building.TemporaryFolderTest):
    def build_copy(self):
        source = self.path("elsewhere", "tree of someone else")
        folder = self.path("build")
        copied_tree.copy(building.SOURCE_FOLDER, source)
        same = [f"-D{name}={value}" for name, value in building.CACHE.items() if name == "ZEMO_STRING_ABI"]
        surroundings = {"TZ": "Pacific/Auckland", "CCACHE_DISABLE": "1"}
        building.configure(source, folder, "-DZEMO_BUILD_TESTS=OFF", "-DCMAKE_CXX_COMPILER_LAUNCHER=", *same,
                           **surroundings)
        building.build(folder, "--target", "zemoUtils", "-j", "1", **surroundings)
        return folder

    def test_a_copy_elsewhere_makes_the_same_library(self):
        with open(os.path.join(building.BUILD_FOLDER, LIBRARY), "rb") as file:
            tested = file.read()
        with open(os.path.join(self.build_copy(), LIBRARY), "rb") as file:
            other = file.read()
        self.assertIn(b".debug_line", tested)
        self.assertNotIn(building.SOURCE_FOLDER.encode(), tested)
        self.assertNotIn(self.folder.encode(), other)
        self.assertTrue(tested == other, "the two libraries differ; diffoscope shows where")


if __name__ == "__main__":
    building.main()
