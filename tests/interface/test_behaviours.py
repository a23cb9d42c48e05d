"""Each row of docs/behaviours.md has a behaviour, a reason and tests, and every test that it names is there."""

import pathlib
import re
import sys


TEST_NAME = re.compile(r"`([A-Z]\w+)\.([A-Z]\w+)`")


def mistakes_of_rows(text):
    rows = [line for line in text.splitlines() if line.startswith("|") and not line.startswith(("|---", "| behaviour "))]
    for row in rows:
        cells = [cell.strip() for cell in re.split(r"(?:^|\s)\|(?:\s|$)", row)[1:-1]]
        if len(cells) != 3 or not all(cells):
            yield "has not three cells: " + row
        elif not TEST_NAME.search(cells[2]) or TEST_NAME.search(cells[1]):
            yield "names no test, or not in its place: " + row
    if len(rows) < 100:
        yield "has lost rows"


# The counter-proof: rows that are not whole.
assert len(list(mistakes_of_rows("| a | | `A.B` |\n| a | `Aa.Bb` |\n| a | b | c |\n| a | b | `Aa.Bb` |"))) == 4


def main():
    root = pathlib.Path(__file__).resolve().parents[2]
    text = (root / "docs" / "behaviours.md").read_text(encoding="utf-8")
    named = set(TEST_NAME.findall(text))
    there = set()
    for path in (root / "tests").rglob("*.cpp"):
        there |= set(re.findall(r"TEST(?:_F|_P)?\(\s*(\w+),\s*(\w+)\s*\)", path.read_text(encoding="utf-8")))
    missing = sorted(".".join(name) for name in named - there)
    for name in missing:
        print("docs/behaviours.md names a test that is not there: " + name)
    wrong = list(mistakes_of_rows(text))
    for mistake in wrong:
        print("docs/behaviours.md: a row " + mistake)
    return 1 if missing or wrong else 0


if __name__ == "__main__":
    sys.exit(main())
