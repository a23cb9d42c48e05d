"""Every test that docs/behaviours.md names must be there."""

import pathlib
import re
import sys


def main():
    root = pathlib.Path(__file__).resolve().parents[2]
    named = set(re.findall(r"`([A-Z]\w+)\.([A-Z]\w+)`", (root / "docs" / "behaviours.md").read_text(encoding="utf-8")))
    there = set()
    for path in (root / "tests").rglob("*.cpp"):
        there |= set(re.findall(r"TEST(?:_F|_P)?\(\s*(\w+),\s*(\w+)\s*\)", path.read_text(encoding="utf-8")))
    missing = sorted(".".join(name) for name in named - there)
    for name in missing:
        print("docs/behaviours.md names a test that is not there: " + name)
    if not named:
        print("docs/behaviours.md names no test")
    return 1 if missing or not named else 0


if __name__ == "__main__":
    sys.exit(main())
