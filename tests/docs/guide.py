"""Reads docs/guide.md: its listings, its transcripts, and what is said of each in the comment before it."""

import pathlib
import re

ROOT = pathlib.Path(__file__).resolve().parents[2]
GUIDE = ROOT / "docs" / "guide.md"
LISTINGS = ROOT / "examples" / "guide"

BLOCK = re.compile(r"(?:^<!-- (?P<note>[^\n]*) -->\n)?^```(?P<language>\w*)\n(?P<text>.*?)^```$",
                   re.MULTILINE | re.DOTALL)
LISTING_LANGUAGES = {".cpp": "cpp", ".h": "cpp", ".txt": "cmake"}


class Block:
    """A fenced block of the guide."""

    def __init__(self, match, text):
        self.line = text.count("\n", 0, match.start("language")) + 1
        self.note = match["note"] or ""
        self.kind, _, self.subject = self.note.partition(": ")
        self.language = match["language"]
        self.text = match["text"]

    def __str__(self):
        return f"docs/guide.md, line {self.line}"


def blocks(text):
    return [Block(match, text) for match in BLOCK.finditer(text)]


def listing_mistake(block, folder=LISTINGS):
    """Returns why a block is not what stands in its file, an empty text where it is."""
    path = folder / block.subject
    if not path.is_file():
        return f"{block}: there is no file {block.subject}"
    if LISTING_LANGUAGES.get(path.suffix) != block.language:
        return f"{block}: {block.subject} is not written as {block.language}"
    content = path.read_text(encoding="utf-8")
    if block.kind == "file" and content != block.text:
        return f"{block}: differs from {block.subject}"
    if block.kind == "part" and ("\n" + block.text not in "\n" + content or not block.text.strip()):
        return f"{block}: is no part of {block.subject}"
    return ""


def is_as_shown(shown, printed):
    """Whether a printed line is the one that the guide shows.

    "..." within a line stands for anything. A time in seconds in front, as the terminal prints it, is any time.
    """
    pattern = ".*".join(re.escape(piece) for piece in shown.split("..."))
    pattern = re.sub(r"^\d+\\\.\d{3}\\ ", r"\\d+\\.\\d{3}\\ ", pattern)
    return re.fullmatch(pattern, printed) is not None


class Expected:
    """What a command shall print, compared line by line as it comes. A line "..." stands for any number of lines."""

    def __init__(self, lines):
        self.lines = lines
        self.printed = []

    def matches(self, whole):
        """Whether the lines so far are all that was to come; or, where not whole, whether they can become it."""
        states = {0}
        for printed in self.printed:
            states = self._skipped(states)
            states = {after for state in states if state < len(self.lines)
                      for after in self._after(state, printed)}
        return len(self.lines) in self._skipped(states) if whole else bool(states)

    def _after(self, state, printed):
        if self.lines[state] == "...":
            return [state]
        return [state + 1] if is_as_shown(self.lines[state], printed) else []

    def _skipped(self, states):
        reached = set(states)
        for state in sorted(states):
            while state < len(self.lines) and self.lines[state] == "...":
                state += 1
                reached.add(state)
        return reached


def steps(block):
    """The inputs of a transcript, each with what it prints: [(kind, input, Expected)]. A block that begins with output
    goes on with what was started before: its first input is None."""
    found = []
    for line in block.text.splitlines():
        if line.startswith(("$ ", "> ")):
            found.append((line[0], line[2:], []))
        elif not found:
            found.append(("", None, [line]))
        else:
            found[-1][2].append(line)
    return [(kind, text, Expected(lines)) for kind, text, lines in found]
