#!/usr/bin/python3
"""The library is built with what protects an installed library: checked copies, guarded stacks, read-only tables.

test_hardening.py BINARY_DIR
"""

import pathlib
import re
import subprocess
import sys

SKIPPED = 77


def told(*command):
    return subprocess.run(command, check=True, capture_output=True, text=True).stdout


def missing_of(segments, dynamic, imports):
    """What a library lacks, by the segments, the dynamic section and the imported names that readelf and nm tell."""
    wanted = {
        "a stack that is not executable": re.search(r"GNU_STACK.* RW +0x", segments),
        "tables that become read-only": "GNU_RELRO" in segments,
        "all addresses filled in at the start": re.search(r"\(FLAGS\).*BIND_NOW", dynamic),
        "no writable code": "TEXTREL" not in dynamic,
        "guarded stacks": "__stack_chk_fail" in imports,
        "checked functions": re.search(r"\b__\w+_chk\b", imports),
    }
    return [name for name, found in wanted.items() if not found]


# The counter-proof: a library with nothing of it.
assert len(missing_of("GNU_STACK 0x0 0x0 0x0 RWE 0x10", "0x16 (TEXTREL)", "U printf")) == 6


def main():
    library = pathlib.Path(sys.argv[1]) / "Utils" / "libzemoUtils.so"
    cache = (pathlib.Path(sys.argv[1]) / "CMakeCache.txt").read_text(encoding="utf-8")
    if "-fsanitize" in cache or re.search(r"^CMAKE_BUILD_TYPE:\w+=Debug$", cache, re.MULTILINE):
        print("skipped: sanitizers and Debug builds look closer and are not installed")
        return SKIPPED
    missing = missing_of(
        told("readelf", "-lW", str(library)), told("readelf", "-dW", str(library)),
        told("nm", "-D", "--undefined-only", str(library)),
    )
    # Clang checks what needs no function for it.
    is_clang = re.search(r"^CMAKE_CXX_COMPILER:\w+=.*clang", cache, re.MULTILINE)
    missing = [name for name in missing if not (is_clang and name == "checked functions")]
    for name in missing:
        print("libzemoUtils.so lacks " + name)
    return 1 if missing else 0


if __name__ == "__main__":
    sys.exit(main())
