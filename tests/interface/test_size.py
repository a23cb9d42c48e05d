#!/usr/bin/python3
"""The stripped library for 32-bit x86 has less than 80 KiB.

test_size.py BINARY_DIR
"""

import pathlib
import re
import subprocess
import sys
import tempfile

SKIPPED = 77
LIMIT = 80 * 1024


def stripped_size(library):
    with tempfile.TemporaryDirectory() as folder:
        stripped = pathlib.Path(folder) / library.name
        subprocess.run(["strip", "--strip-unneeded", "-o", str(stripped), str(library)], check=True)
        return stripped.stat().st_size


def reason_to_skip(library, cache):
    if library.read_bytes()[4:5] != b"\x01":
        return "the library is not for 32 bit"
    if re.search(r"^CMAKE_BUILD_TYPE:\w+=Debug$", cache, re.MULTILINE):
        return "a Debug build is not installed"
    if re.search(r"^CMAKE_CXX_COMPILER:\w+=.*clang", cache, re.MULTILINE):
        return "the limit is for GCC's library"
    return None


def main():
    binary_dir = pathlib.Path(sys.argv[1])
    library = (binary_dir / "Utils" / "libzemoUtils.so").resolve()
    reason = reason_to_skip(library, (binary_dir / "CMakeCache.txt").read_text(encoding="utf-8"))
    if reason is not None:
        print("skipped: " + reason)
        return SKIPPED
    size = stripped_size(library)
    if size >= LIMIT:
        print(f"the stripped library has {size} bytes, the limit is {LIMIT}")
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main())
