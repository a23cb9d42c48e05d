"""A copy of what is built of the tree: with the dates of now, without what builds leave."""

import os
import shutil

NEEDED = ("CMakeLists.txt", "CMakePresets.json", "CHANGELOG.md", "LICENSE", "Utils", "cmake", "docs", "examples",
          "packaging", "platform", "tools")


def copy(source, destination):
    os.makedirs(destination)
    for name in NEEDED:
        old, new = os.path.join(source, name), os.path.join(destination, name)
        if os.path.isdir(old):
            shutil.copytree(old, new, copy_function=shutil.copy, ignore=shutil.ignore_patterns("__pycache__"))
        else:
            shutil.copy(old, new)
